#include "ui/tools/vrlsliceeditwidgetmediatorfourierdelegate.h"

#include "editing/operations/contouroperations.h"
#include "ui/tools/vrlfourierdialog.h"

namespace vorlen {

void VRLSliceEditWidgetMediatorFourierDelegate::fidelityChange(int percent) {
    preview(
        [this, percent] {
            const SmoothedContour smoothed = smoothedToFidelity(getItem()->getVertices(), float(percent / 100.0));
            __numDescriptors = smoothed.numDescriptors;
            __dialog->setNumDescriptors(__numDescriptors, getItem()->getSize() / 2);
            return smoothed.vertices;
        },
        false);
}

void VRLSliceEditWidgetMediatorFourierDelegate::numDescriptorsChange(int numDescriptors) {
    __numDescriptors = numDescriptors;
    preview(
        [this] {
            const SmoothedContour smoothed = smoothedContour(getItem()->getVertices(), __numDescriptors);
            __dialog->setFidelity(int(smoothed.fidelity * 100));
            return smoothed.vertices;
        },
        false);
}

QDialog* VRLSliceEditWidgetMediatorFourierDelegate::newDialog() {
    using Delegate = VRLSliceEditWidgetMediatorFourierDelegate;
    const int most = getItem()->getSize() / 2;
    __dialog = new VRLFourierDialog(&canvas());
    __dialog->setFidelity(100);
    __dialog->setNumDescriptors(most, most);
    connect(__dialog, &VRLFourierDialog::fidelityChanged, this, &Delegate::fidelityChange);
    connect(__dialog, &VRLFourierDialog::numDescriptorsChanged, this, &Delegate::numDescriptorsChange);
    numDescriptorsChange(most);
    return __dialog;
}

Outcome VRLSliceEditWidgetMediatorFourierDelegate::apply(VRLStack& stack, ModelItem& item) {
    return smoothContour(stack, item, __numDescriptors);
}

} // namespace vorlen
