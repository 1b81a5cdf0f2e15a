#include "ui/slices/slicecrosshair.h"

#include <QApplication>
#include <QCursor>
#include <QMouseEvent>

#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "reconstruction/spaceplace.h"
#include "ui/session/crosshair.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"
#include "ui/tools/toolhost.h"

namespace vorlen {

SliceCrosshair::SliceCrosshair(VRLSliceEditWidgetMediator& editor) : QObject(&editor), __editor(editor) {
    connect(&Crosshair::crosshair(), &Crosshair::shownChanged, this, &SliceCrosshair::update);
    connect(&Crosshair::crosshair(), &Crosshair::placeChanged, this, [this](const VRLStack* changed) {
        if (changed == stack())
            update();
    });
}

const VRLStack* SliceCrosshair::stack() const {
    const StackSlice* const slice = __editor.getSlice();
    return slice == nullptr ? nullptr : dynamic_cast<const VRLStack*>(slice->getStack());
}

void SliceCrosshair::update() {
    const Crosshair& crosshair = Crosshair::crosshair();
    const VRLStack* const shown = stack();
    std::optional<PlanePoint> pixel;
    bool elsewhere = false;
    if (shown != nullptr && crosshair.isShown())
        if (const auto place = crosshair.placeIn(*shown)) {
            pixel = pixelUnder(*shown, *__editor.getSlice(), *place);
            elsewhere = nearestSlice(*shown, *place) != shown->findSlice(*__editor.getSlice());
        }
    __editor.getCanvas().setCrosshair(pixel ? std::optional<QPointF>(QPointF(pixel->x, pixel->y)) : std::nullopt,
                                      elsewhere);
}

void SliceCrosshair::watch(const QEvent& event, bool selecting) {
    const bool press = event.type() == QEvent::MouseButtonPress;
    if (!press && event.type() != QEvent::MouseButtonRelease)
        return;
    const auto& mouse = static_cast<const QMouseEvent&>(event);
    const QPoint at = mouse.position().toPoint();
    const bool plain = mouse.button() == Qt::LeftButton && mouse.modifiers() == Qt::NoModifier;
    if (press) {
        __press.reset();
        if (plain && selecting && mouse.buttons() == Qt::LeftButton)
            __press = at;
        return;
    }
    const bool click = plain && __press && (at - *__press).manhattanLength() < QApplication::startDragDistance();
    __press.reset();
    if (click && Crosshair::crosshair().isShown())
        setPlaceAt(mouse.position());
}

bool SliceCrosshair::setPlaceAt(const QPointF& position) {
    const VRLStack* const shown = stack();
    const ToolHost& host = __editor.getToolHost();
    if (shown == nullptr || !host.isOnImage(host.imagePoint(position.toPoint())))
        return false;
    const QPointF pixel = host.exactImagePoint(position);
    const auto place = spacePlaceOf(*shown, *__editor.getSlice(), {pixel.x(), pixel.y()});
    if (place)
        Crosshair::crosshair().setPlace(*shown, *place, &__editor);
    return place.has_value();
}

bool SliceCrosshair::setPlaceUnderPointer() {
    const QWidget& canvas = __editor.getCanvas();
    const QPoint position = canvas.mapFromGlobal(QCursor::pos());
    return canvas.rect().contains(position) && setPlaceAt(position);
}

void SliceCrosshair::setFirstPlace() {
    const VRLStack* const shown = stack();
    if (shown == nullptr || Crosshair::crosshair().placeIn(*shown))
        return;
    const QPoint middle = __editor.getCanvas().viewCenter();
    if (const auto place = spacePlaceOf(*shown, *__editor.getSlice(), {double(middle.x()), double(middle.y())}))
        Crosshair::crosshair().setPlace(*shown, *place, &__editor);
}

void SliceCrosshair::stackRegistrationEvent(VRLStackRegistrationEvent&) {
    update();
}

void SliceCrosshair::stackSliceSpacingEvent(VRLStackSliceSpacingEvent&) {
    update();
}

void SliceCrosshair::stackImageCalibrationEvent(VRLStackImageCalibrationEvent&) {
    update();
}

void SliceCrosshair::sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent&) {
    update();
}

void SliceCrosshair::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction&) {
    update();
}

} // namespace vorlen
