#pragma once

#include <QPointer>

#include "ui/slices/vrlimagewidgetcanvas.h"
#include "ui/tools/inputhandler.h"

namespace vorlen {

class VRLImageWidgetMediator;

/// A way of working with the canvas of an image widget. The mediator shows it the events of the canvas: of several
/// delegates the one made last sees an event first, and one that accepts the event keeps it from those behind, from the
/// mediator and from the canvas.
class VRLImageWidgetMediatorDelegate : public InputHandler {
    Q_OBJECT

public:
    /// The mediator, which must have its canvas, becomes the parent.
    explicit VRLImageWidgetMediatorDelegate(VRLImageWidgetMediator& mediator);

    VRLImageWidgetMediator& getMediator() const { return *__mediator; }

    /// Events of the canvas go to process().
    bool eventFilter(QObject* object, QEvent* event) override;

protected:
    bool isCanvasEnabled() const override;

    VRLImageWidgetCanvas& canvas() const;

private:
    VRLImageWidgetMediator* __mediator;
    QPointer<VRLImageWidgetCanvas> __canvas;
};

} // namespace vorlen
