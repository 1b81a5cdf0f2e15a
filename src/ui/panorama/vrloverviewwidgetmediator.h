#pragma once

#include "ui/slices/vrlslicewidgetmediator.h"

namespace vorlen {

class VRLOverviewWidgetMediatorDelegate;

/// Mediator of the overview: always the whole image in 256 x 256, without scroll bars, and a frame to be dragged.
class VRLOverviewWidgetMediator : public VRLSliceWidgetMediator {
    Q_OBJECT

public:
    explicit VRLOverviewWidgetMediator(VRLImageWidget& widget);
    ~VRLOverviewWidgetMediator() override;

    void initialize() override;

    /// For the delegate: the user moves the frame to this rectangle.
    void localViewChange(const QRect& localView);

protected:
    /// The wheel zooms the editor.
    bool canvasEvent(QEvent* event) override;

private:
    VRLOverviewWidgetMediatorDelegate* __delegate = nullptr; // a child
    int __wheel = 0;                                         // what has not made a notch yet
};

} // namespace vorlen
