#pragma once

#include <string>
#include <vector>

#include <QDialog>

class QLabel;
class QTextEdit;

namespace vorlen {

/// Shows what the reader of a stack had to complain about.
class VRLStackErrorDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLStackErrorDialog(QWidget* parent = nullptr);

    void setBanner(const QString& banner);

    /// One line for each entry.
    void setLog(const std::vector<std::string>& log);

private:
    QLabel* __banner;
    QTextEdit* __log;
};

} // namespace vorlen
