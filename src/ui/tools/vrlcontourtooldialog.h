#pragma once

#include <QDialog>

class QPushButton;
class QVBoxLayout;

namespace vorlen {

class QInputBox;

/// Dialog of a contour tool: numbers to choose, below one another, and "Cancel" and "OK".
class VRLContourToolDialog : public QDialog {
    Q_OBJECT

public:
    VRLContourToolDialog(QWidget* parent, const QString& title);

protected:
    /// A box below those that are there, in line with them.
    QInputBox* addBox(const QString& label, int minimum, int maximum, const QString& suffix, const QString& toolTip);

    /// Below what is there.
    void addWidget(QWidget* widget);

    /// After all boxes.
    void addButtons(const QString& cancelTip = "Leaves the contour as it was",
                    const QString& okTip = "Gives the contour the vertices of the preview");

    /// Whether "OK" can be pressed, as at first.
    void setAcceptable(bool acceptable);

private:
    QVBoxLayout* __layout;
    QPushButton* __ok = nullptr;
};

} // namespace vorlen
