#include "ui/tools/vrlsliceeditwidgetmediatordouglaspeuckerdecimationdelegate.h"

#include "editing/operations/contouroperations.h"
#include "ui/tools/vrlcurveresamplingdialog.h"

namespace vorlen {

void VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate::toleranceChange(int tolerance) {
    __tolerance = tolerance;
    preview([this] { return decimatedContour(getItem()->getVertices(), getItem()->isClosed(), __tolerance); });
}

QDialog* VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate::newDialog() {
    VRLCurveResamplingDialog* const dialog =
        newNumberDialog("Douglas-Peucker decimation", "Tolerance (pixels)", 0, 100, 1);
    connect(dialog, &VRLCurveResamplingDialog::numVerticesChanged, this,
            &VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate::toleranceChange);
    toleranceChange(dialog->getValue());
    return dialog;
}

Outcome VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate::apply(VRLStack& stack, ModelItem& item) {
    return decimateContour(stack, item, __tolerance);
}

} // namespace vorlen
