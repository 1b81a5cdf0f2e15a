#pragma once

#include "shapes/curve.h"
#include "ui/slices/vrlsliceeditwidgetmediatordialogdelegate.h"

namespace vorlen {

/// Drops vertices of the selected outline that lie within a tolerance of its course.
///
/// Decision: between equal ends there is no line to measure from. A closed contour whose last vertices stand where the
/// first one does is taken without these; an open one that comes back to its start is taken in two parts, there and
/// back, that meet at its farthest vertex.
class VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate : public VRLSliceEditWidgetMediatorDialogDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorDialogDelegate::VRLSliceEditWidgetMediatorDialogDelegate;

public slots:
    /// In pixels.
    void toleranceChange(int tolerance);

protected:
    QDialog* newDialog() override;
    QString refusal() const override;

private:
    Curve<int> __curve; // shares the item's vertices, of which only the list changes
    int __turn = 0;     // where the way back of an open curve with equal ends begins; else 0
};

} // namespace vorlen
