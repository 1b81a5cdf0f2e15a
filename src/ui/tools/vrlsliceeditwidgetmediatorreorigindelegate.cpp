#include "ui/tools/vrlsliceeditwidgetmediatorreorigindelegate.h"

#include "editing/operations/contouroperations.h"
#include "ui/tools/vrlcurveresamplingdialog.h"

namespace vorlen {

void VRLSliceEditWidgetMediatorReoriginDelegate::originChange(int origin) {
    __origin = origin;
    preview([this] { return contourFrom(getItem()->getVertices(), __origin); });
}

QDialog* VRLSliceEditWidgetMediatorReoriginDelegate::newDialog() {
    VRLCurveResamplingDialog* const dialog =
        newNumberDialog("Contour reparameterization", "Origin", 0, getItem()->getSize() - 1, 0);
    connect(dialog, &VRLCurveResamplingDialog::numVerticesChanged, this,
            &VRLSliceEditWidgetMediatorReoriginDelegate::originChange);
    originChange(0);
    return dialog;
}

Outcome VRLSliceEditWidgetMediatorReoriginDelegate::apply(VRLStack& stack, ModelItem& item) {
    return changeOrigin(stack, item, __origin);
}

} // namespace vorlen
