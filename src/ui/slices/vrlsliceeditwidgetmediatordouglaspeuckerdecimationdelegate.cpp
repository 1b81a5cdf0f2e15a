#include "ui/slices/vrlsliceeditwidgetmediatordouglaspeuckerdecimationdelegate.h"

#include <cmath>

#include "shapes/douglaspeuckercurvedecimation.h"
#include "ui/slices/vrlcurveresamplingdialog.h"

namespace vorlen {

namespace {

/// The vertex that is farthest from the first.
int farthest(const Curve<int>& curve) {
    const auto distance = [&](int k) {
        return std::hypot(double(curve[k][0]) - curve[0][0], double(curve[k][1]) - curve[0][1]);
    };
    int best = 0;
    for (int k = 1; k < curve.getSize(); ++k)
        if (distance(k) > distance(best))
            best = k;
    return best;
}

} // namespace

void VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate::toleranceChange(int tolerance) {
    preview([this, tolerance] {
        DouglasPeuckerCurveDecimation<int> decimation;
        decimation.setTolerance(tolerance);
        Curve<int> curve = __curve;
        if (__turn == 0) {
            decimation.apply(curve);
            return curve;
        }
        Curve<int> back = __curve;
        back.removeOutside(__turn, back.getSize() - 1);
        curve.removeOutside(0, __turn);
        decimation.apply(back);
        decimation.apply(curve);
        back.remove(0);
        curve.append(back);
        return curve;
    });
}

QDialog* VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate::newDialog() {
    const auto endsMeet = [this] { return __curve.getSize() > 1 && __curve[__curve.getSize() - 1] == __curve[0]; };
    __curve = Curve<int>(getItem()->getVertices(), !getItem()->isClosed());
    while (__curve.isClosed() && endsMeet())
        __curve.remove(__curve.getSize() - 1);
    __turn = endsMeet() ? farthest(__curve) : 0;
    VRLCurveResamplingDialog* const dialog =
        newNumberDialog("Douglas-Peucker decimation", "Tolerance (pixels)", 0, 100, 1);
    connect(dialog, &VRLCurveResamplingDialog::numVerticesChanged, this,
            &VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate::toleranceChange);
    toleranceChange(dialog->getValue());
    return dialog;
}

QString VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate::refusal() const {
    return "Cannot decimate to less than 3 vertices";
}

} // namespace vorlen
