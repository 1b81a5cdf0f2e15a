#include "ui/slices/vrlimagewidgetmediatordelegate.h"

#include "ui/slices/vrlimagewidgetmediator.h"

namespace vorlen {

VRLImageWidgetMediatorDelegate::VRLImageWidgetMediatorDelegate(VRLImageWidgetMediator& mediator)
    : InputHandler(&mediator), __mediator(&mediator), __canvas(&mediator.getCanvas()) {
    mediator.addDelegate(*this);
}

bool VRLImageWidgetMediatorDelegate::eventFilter(QObject* object, QEvent* event) {
    return object == __canvas ? process(event) : InputHandler::eventFilter(object, event);
}

bool VRLImageWidgetMediatorDelegate::isCanvasEnabled() const {
    return canvas().isEnabled();
}

VRLImageWidgetCanvas& VRLImageWidgetMediatorDelegate::canvas() const {
    return *__canvas;
}

} // namespace vorlen
