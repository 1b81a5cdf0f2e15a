#pragma once

#include "ui/tools/vrlsliceeditwidgetmediatordialogdelegate.h"

namespace vorlen {

class VRLFourierDialog;

/// Smooths the selected contour by dropping the higher frequencies of its Fourier series. The contour stays in view
/// under the preview.
class VRLSliceEditWidgetMediatorFourierDelegate : public VRLSliceEditWidgetMediatorDialogDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorDialogDelegate::VRLSliceEditWidgetMediatorDialogDelegate;

public slots:
    /// Keep as much of the contour, in per cent, or as many descriptors; the dialog shows the other value.
    void fidelityChange(int percent);
    void numDescriptorsChange(int numDescriptors);

protected:
    QDialog* newDialog() override;
    bool hidesItem() const override { return false; }
    Outcome apply(VRLStack& stack, ModelItem& item) override;

private:
    VRLFourierDialog* __dialog = nullptr;
    int __numDescriptors = 0;
};

} // namespace vorlen
