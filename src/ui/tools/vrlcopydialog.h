#pragma once

#include "ui/tools/vrlcontourtooldialog.h"

namespace vorlen {

/// Asks to how many slices before and behind the current one something is copied.
class VRLCopyDialog : public VRLContourToolDialog {
    Q_OBJECT

public:
    /// With the numbers of slices that there are.
    VRLCopyDialog(QWidget* parent, int before, int behind);

    int getNumBefore() const;
    int getNumBehind() const;
    void setNumBefore(int number);
    void setNumBehind(int number);

private:
    QInputBox* __before;
    QInputBox* __behind;
};

} // namespace vorlen
