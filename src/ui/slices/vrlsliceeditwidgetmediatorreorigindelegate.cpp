#include "ui/slices/vrlsliceeditwidgetmediatorreorigindelegate.h"

#include "ui/slices/vrlcurveresamplingdialog.h"

namespace vorlen {

void VRLSliceEditWidgetMediatorReoriginDelegate::originChange(int origin) {
    preview([this, origin] {
        Vertices<int> vertices = getItem()->getVertices();
        vertices.setOrigin(origin);
        return vertices;
    });
}

QDialog* VRLSliceEditWidgetMediatorReoriginDelegate::newDialog() {
    VRLCurveResamplingDialog* const dialog =
        newNumberDialog("Contour reparameterization", "Origin", 0, getItem()->getSize() - 1, 0);
    connect(dialog, &VRLCurveResamplingDialog::numVerticesChanged, this,
            &VRLSliceEditWidgetMediatorReoriginDelegate::originChange);
    originChange(0);
    return dialog;
}

QString VRLSliceEditWidgetMediatorReoriginDelegate::refusal() const {
    return "Cannot change the origin of a contour of less than 3 vertices";
}

} // namespace vorlen
