#include "ui/slices/vrlsliceeditwidgetmediatorfourierdelegate.h"

#include "shapes/fourierdescriptors.h"
#include "ui/slices/vrlfourierdialog.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"

namespace vorlen {

namespace {

Curve<int> copyOf(const Vertices<int>& vertices) {
    Curve<int> curve(vertices, false);
    curve.detach();
    return curve;
}

} // namespace

void VRLSliceEditWidgetMediatorFourierDelegate::fidelityChange(int percent) {
    preview(
        [this, percent] {
            Curve<int> curve = copyOf(getItem()->getVertices());
            const int numDescriptors = FourierDescriptors<int>::filter(curve, float(percent / 100.0));
            __dialog->setNumDescriptors(numDescriptors, getItem()->getSize() / 2);
            return curve;
        },
        false);
}

void VRLSliceEditWidgetMediatorFourierDelegate::numDescriptorsChange(int numDescriptors) {
    preview(
        [this, numDescriptors] {
            Curve<int> curve = copyOf(getItem()->getVertices());
            const float fidelity = FourierDescriptors<int>::filter(curve, numDescriptors);
            __dialog->setFidelity(int(fidelity * 100));
            return curve;
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

QString VRLSliceEditWidgetMediatorFourierDelegate::refusal() const {
    return "Cannot smooth a contour of less than 3 vertices";
}

} // namespace vorlen
