#pragma once

#include <optional>

#include <QObject>
#include <QPoint>

#include "editing/bus/vrleventclient.h"

class QEvent;
class QPointF;

namespace vorlen {

class VRLSliceEditWidgetMediator;
class VRLStack;

/// The crosshair on the canvas of a slice editor: shows where the place that all windows of the stack point at lies on
/// the slice, and sets it.
///
/// Decisions: a click sets the place while the crosshair is shown and the tool that selects has the canvas, and does
/// what it does besides; a drag does not, nor a click with a modifier. With any other tool, also while something is
/// drawn, the place under the pointer is set by a command. Places beside the image are not set.
class SliceCrosshair : public QObject, public VRLEventClient {
    Q_OBJECT

public:
    /// The editor is its parent, and the source of the places that are set here.
    explicit SliceCrosshair(VRLSliceEditWidgetMediator& editor);

    /// Shows the place anew; to be called when another slice has come, or none.
    void update();

    /// Sees what comes to the canvas, before the tools do. Whether the tool that selects has it.
    void watch(const QEvent& event, bool selecting);

    /// The place at a position of the canvas. False, and nothing done, beside the image.
    bool setPlaceAt(const QPointF& position);
    /// The same under the pointer.
    bool setPlaceUnderPointer();
    /// In the middle of what is seen, where the stack has no place yet.
    void setFirstPlace();

    void stackRegistrationEvent(VRLStackRegistrationEvent& event) override;
    void stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) override;
    void stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) override;
    void sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;

private:
    const VRLStack* stack() const;

    VRLSliceEditWidgetMediator& __editor;
    std::optional<QPoint> __press; // of a click that may come
};

} // namespace vorlen
