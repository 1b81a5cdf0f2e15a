#include "ui/tools/movingtool.h"

#include <algorithm>
#include <cmath>

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/tools/outlinepicking.h"

namespace vorlen {

MovingTool::MovingTool(ToolHost& host) : VRLSliceEditWidgetMediatorDelegate(host) {
}

MovingTool::~MovingTool() = default;

void MovingTool::deactivate() {
    giveUp();
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    host().setRestingHint();
}

void MovingTool::cancel() {
    if (__item != nullptr)
        giveUp();
    else if (isActive())
        host().leaveTool();
}

void MovingTool::abandon() {
    if (isActive())
        deactivate();
}

QString MovingTool::restingHint(const StackSliceSelectionInfo&) const {
    return "Drag an outline: move it. Shift+drag: turn it. Ctrl+drag: scale it. Escape: done.";
}

void MovingTool::giveUp() {
    if (__item == nullptr)
        return;
    __item = nullptr;
    host().setPreview(nullptr);
    __preview.reset();
    host().requestLock(false);
    canvas().update();
}

void MovingTool::itemGone(const ModelItem& item) {
    if (&item == __item)
        giveUp();
}

/// Two quick presses are two.
void MovingTool::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event);
}

void MovingTool::mousePressEvent(QMouseEvent* event) {
    if (!acts() || event->buttons() != Qt::LeftButton || stack() == nullptr)
        return anyEvent(event);
    event->accept();
    const QPointF point = host().exactImagePoint(event->position());
    ModelItem* const item = itemMeantAt(host(), point, double(clickTolerance()));
    if (item == nullptr)
        return host().setHint("There is no outline here.");
    selectAlone(host(), *item);
    __item = item;
    __start = point;
    __modifiers = event->modifiers();
    __preview = std::make_unique<ModelItem>(*item);
    host().setPreview(__preview.get());
    host().requestLock(true);
    canvas().update();
}

OutlineMotion MovingTool::motionTo(const QMouseEvent& event) const {
    OutlineMotion motion;
    const double aspect = double(slice()->getPixelCalibration().getAspectRatio());
    motion.aspect = aspect > 0 && std::isfinite(aspect) ? aspect : 1;
    motion.centre = middleOf(outlineOf(__item->getVertices()), __item->isClosed());
    const QPointF end = host().exactImagePoint(event.position());
    const double x0 = __start.x() - motion.centre.x, y0 = (__start.y() - motion.centre.y) * motion.aspect;
    const double x1 = end.x() - motion.centre.x, y1 = (end.y() - motion.centre.y) * motion.aspect;
    if (__modifiers & Qt::ShiftModifier)
        motion.angle = std::atan2(y1, x1) - std::atan2(y0, x0);
    else if (__modifiers & Qt::ControlModifier)
        motion.growth = std::max(std::hypot(x1, y1), 1e-3) / std::max(std::hypot(x0, y0), 1.0);
    else
        motion.shift = {end.x() - __start.x(), end.y() - __start.y()};
    return motion;
}

void MovingTool::mouseMoveEvent(QMouseEvent* event) {
    if (!acts() || __item == nullptr)
        return anyEvent(event);
    event->accept();
    if (!(event->buttons() & Qt::LeftButton))
        return giveUp(); // the release went elsewhere
    __preview->setVertices(verticesOf(moved(outlineOf(__item->getVertices()), motionTo(*event)), false));
    canvas().update();
}

void MovingTool::mouseReleaseEvent(QMouseEvent* event) {
    if (!acts() || __item == nullptr || event->button() != Qt::LeftButton)
        return anyEvent(event);
    event->accept();
    ModelItem& item = *__item;
    const OutlineMotion motion = motionTo(*event);
    const bool wide = motion.angle != 0 || motion.growth != 1 || motion.shift.x != 0 || motion.shift.y != 0;
    giveUp();
    if (!wide)
        return;
    guarded(&canvas(), "The outline cannot be moved.", [&] {
        warnUnlessDone("Move, turn, scale", moveItem(*stack(), item, motion));
        item.getSelection().set(true);
        host().selectionChanged();
    });
}

} // namespace vorlen
