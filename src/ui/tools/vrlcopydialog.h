#pragma once

#include <vector>

#include <QString>

#include "ui/tools/vrlcontourtooldialog.h"

class QCheckBox;
class QLabel;

namespace vorlen {

/// Asks to how many slices before and behind the current one something is copied, and says which these are.
///
/// Slices that have an outline there already are passed over, unless the user wants a second one there; how many they
/// are is said, and where there are none nothing is asked. One slice behind is proposed, on the last slice one before.
class VRLCopyDialog : public VRLContourToolDialog {
    Q_OBJECT

public:
    /// A slice that the outline can be copied to.
    struct Slice {
        QString name;
        bool outlined = false; // an outline stands there already
    };

    /// The slices of the stack, and the rank of the current one.
    VRLCopyDialog(QWidget* parent, std::vector<Slice> slices, int rank);

    void setNumBefore(int number);
    void setNumBehind(int number);

    /// The ranks of the slices that get copies, ascending.
    std::vector<int> targets() const;

private:
    QString summary() const;
    void tell();

    std::vector<Slice> __slices;
    int __rank;
    QInputBox* __before;
    QInputBox* __behind;
    QCheckBox* __passOver;
    QLabel* __summary;
};

} // namespace vorlen
