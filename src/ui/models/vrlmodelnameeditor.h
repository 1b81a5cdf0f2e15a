#pragma once

#include <string>

#include <QWidget>

class QLineEdit;

namespace vorlen {

/// The name of a model.
class VRLModelNameEditor : public QWidget {
    Q_OBJECT

public:
    explicit VRLModelNameEditor(QWidget* parent = nullptr);

    void setName(const std::string& name);

    /// Without blanks at the ends, and with single blanks between the words.
    std::string getName() const;
    void clear();

    /// Puts the cursor here, with the text selected.
    void selectName();

signals:
    /// The user has edited the name.
    void modified();

private:
    QLineEdit* __name;
};

} // namespace vorlen
