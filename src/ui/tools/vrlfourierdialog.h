#pragma once

#include "ui/tools/vrlcontourtooldialog.h"

namespace vorlen {

/// Asks how much a contour is smoothed, in one of two ways: by fidelity in per cent, or by number of descriptors.
class VRLFourierDialog : public VRLContourToolDialog {
    Q_OBJECT

public:
    explicit VRLFourierDialog(QWidget* parent = nullptr);

    int getFidelity() const;
    int getNumDescriptors() const;

    /// These send no signal, so that each value can follow the other.
    void setFidelity(int percent);
    void setNumDescriptors(int value, int maximum);

signals:
    void fidelityChanged(int percent);
    void numDescriptorsChanged(int value);

private:
    QInputBox* __fidelity;
    QInputBox* __descriptors;
};

} // namespace vorlen
