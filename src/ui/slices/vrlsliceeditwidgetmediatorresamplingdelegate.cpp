#include "ui/slices/vrlsliceeditwidgetmediatorresamplingdelegate.h"

#include <algorithm>

#include "numerics/maths.h"
#include "shapes/curveresampling.h"
#include "ui/slices/vrlcurveresamplingdialog.h"

namespace vorlen {

void VRLSliceEditWidgetMediatorResamplingDelegate::numVerticesChange(int numVertices) {
    preview([this, numVertices] {
        Curve<float> resampled;
        CurveResampling<float>().apply(__curve, resampled, numVertices);
        const int m = resampled.getNumVertices();
        Vertices<int> vertices(2, m, m, m);
        int kept = 0;
        for (int k = 0; k < m; ++k) {
            Vector<int>& vertex = vertices[kept];
            for (const int axis : {0, 1})
                vertex[axis] = int(Maths::fround(resampled[k][axis]));
            if (kept == 0 || vertex != vertices[kept - 1])
                ++kept;
        }
        vertices.setSize(kept, false);
        return vertices;
    });
}

QDialog* VRLSliceEditWidgetMediatorResamplingDelegate::newDialog() {
    const Vertices<int>& vertices = getItem()->getVertices();
    const int n = vertices.getNumVertices();
    __curve = Curve<float>(2, n, n, n, false);
    for (int k = 0; k < n; ++k)
        for (const int axis : {0, 1})
            __curve[k][axis] = float(vertices[k][axis]);
    const int most = std::max(3, int(std::min(__curve.length(), 1e6f)));
    VRLCurveResamplingDialog* const dialog = newNumberDialog("Contour resampling", "Vertices", 3, most, n);
    connect(dialog, &VRLCurveResamplingDialog::numVerticesChanged, this,
            &VRLSliceEditWidgetMediatorResamplingDelegate::numVerticesChange);
    numVerticesChange(dialog->getValue());
    return dialog;
}

QString VRLSliceEditWidgetMediatorResamplingDelegate::refusal() const {
    return "Cannot resample to less than 3 vertices";
}

} // namespace vorlen
