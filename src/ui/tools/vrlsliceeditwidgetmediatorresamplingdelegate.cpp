#include "ui/tools/vrlsliceeditwidgetmediatorresamplingdelegate.h"

#include "editing/operations/contouroperations.h"
#include "ui/tools/vrlcurveresamplingdialog.h"

namespace vorlen {

void VRLSliceEditWidgetMediatorResamplingDelegate::numVerticesChange(int numVertices) {
    __numVertices = numVertices;
    preview([this] { return resampledContour(getItem()->getVertices(), __numVertices); });
}

QDialog* VRLSliceEditWidgetMediatorResamplingDelegate::newDialog() {
    VRLCurveResamplingDialog* const dialog = newNumberDialog(
        "Contour resampling", "Vertices", 3, mostResampledVertices(getItem()->getVertices()), getItem()->getSize());
    connect(dialog, &VRLCurveResamplingDialog::numVerticesChanged, this,
            &VRLSliceEditWidgetMediatorResamplingDelegate::numVerticesChange);
    numVerticesChange(dialog->getValue());
    return dialog;
}

Outcome VRLSliceEditWidgetMediatorResamplingDelegate::apply(VRLStack& stack, ModelItem& item) {
    return resampleContour(stack, item, __numVertices);
}

} // namespace vorlen
