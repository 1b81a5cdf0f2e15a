#pragma once

#include "ui/tools/canvasnote.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

/// What the slice measures from one place to another.
struct SliceDistance {
    double length = 0;  // in the slice's unit, or in pixels where their size is not known
    double degrees = 0; // from the columns, counter-clockwise as seen
    bool calibrated = false;
};
SliceDistance distanceOn(const StackSlice& slice, const QPointF& from, const QPointF& to);

/// The angle at a place between two others, in degrees from 0 to 180; 0 where one of them is that place.
double angleOn(const StackSlice& slice, const QPointF& from, const QPointF& at, const QPointF& to);

/// Measures as long as it is the tool that stays on: a drag a distance; one more that begins where the last has ended
/// the angle between the two. What was measured stays to be read until the next press, on this slice.
class MeasuringTool : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorDelegate::VRLSliceEditWidgetMediatorDelegate;

    void deactivate() override;
    void cancel() override;
    void abandon() override;
    QString restingHint(const StackSliceSelectionInfo& selected) const override;

    /// What is shown; empty for nothing.
    QString text() const { return __note.text; }

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void follow(const QMouseEvent& event);
    void forget();

    CanvasNote __note;
    bool __dragging = false;
};

} // namespace vorlen
