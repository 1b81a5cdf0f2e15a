#pragma once

#include <string>
#include <vector>

#include <QDialog>

class QHBoxLayout;
class QLabel;
class QPushButton;
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

    /// Offers to look for lost images in a folder.
    void offerToFindImages();
    bool wantsToFindImages() const { return __wantsImages; }

private:
    QLabel* __banner;
    QTextEdit* __log;
    QPushButton* __ok;
    QHBoxLayout* __buttons;
    bool __wantsImages = false;
};

} // namespace vorlen
