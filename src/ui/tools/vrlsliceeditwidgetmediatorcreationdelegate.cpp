#include "ui/tools/vrlsliceeditwidgetmediatorcreationdelegate.h"

#include <cmath>
#include <exception>

#include <QContextMenuEvent>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QTabletEvent>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/operations/itemoperations.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/session/vrlpreferences.h"
#include "ui/tools/toollist.h"

namespace vorlen {

namespace {

const char* const givenUpHint = "The drawing was given up. Undo (Ctrl+Z) brings it back.";

bool isPenDown(const QTabletEvent& event) {
    return event.pointerType() == QPointingDevice::PointerType::Pen && event.pressure() > 0.25;
}

} // namespace

VRLSliceEditWidgetMediatorCreationDelegate::VRLSliceEditWidgetMediatorCreationDelegate(ToolHost& host)
    : VRLSliceEditWidgetMediatorDelegate(host) {
    setBlocking(true);
}

void VRLSliceEditWidgetMediatorCreationDelegate::activate(const QString& modelName) {
    if (stack() == nullptr)
        return;
    const int index = stack()->findModel(modelName.toStdString());
    if (index >= 0)
        begin(stack()->getModel(index));
}

void VRLSliceEditWidgetMediatorCreationDelegate::resume(const Model& model, const Vertices<double>& vertices) {
    if (isActive() || stack() == nullptr)
        return;
    const int index = stack()->findModel(model);
    if (index < 0)
        return;
    begin(stack()->getModel(index));
    __item->setVertices(vertices);
    __resumed = vertices;
    canvas().update();
}

void VRLSliceEditWidgetMediatorCreationDelegate::begin(Model& model) {
    VRLSliceEditWidgetMediatorDelegate::activate();
    __resumed.reset();
    __item = std::make_unique<ModelItem>();
    __item->setModel(&model);
    __item->setSlice(slice());
    host().setPreview(__item.get());
    canvas().setFocus();
    host().setEditMode("CREATE");
    host().setHint(isPointSet() ? "Click: add a point. Return or double click: done. Backspace: take back. "
                                  "Escape or right click: give up."
                                : "Click or drag: draw. Return or double click: done. Backspace: take back. "
                                  "Escape or right click: give up.");
    host().requestLock(true);
    QGuiApplication::setOverrideCursor(Qt::CrossCursor);
}

void VRLSliceEditWidgetMediatorCreationDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    QGuiApplication::restoreOverrideCursor();
    host().setEditMode("READY");
    host().setRestingHint();
    host().requestLock(false);
}

void VRLSliceEditWidgetMediatorCreationDelegate::cancel() {
    if (!isActive())
        return;
    const bool kept = keep();
    end();
    if (kept)
        host().setHint(givenUpHint);
}

void VRLSliceEditWidgetMediatorCreationDelegate::abandon() {
    if (isActive())
        end();
}

/// In the history, to be had back. Not a second time what came back from there and has not changed since.
bool VRLSliceEditWidgetMediatorCreationDelegate::keep() {
    if (stack() == nullptr || slice() == nullptr || __item->getSize() == 0)
        return false;
    const Vertices<double>& drawn = __item->getVertices();
    bool same = __resumed && __resumed->getNumVertices() == drawn.getNumVertices();
    for (int i = 0; same && i < drawn.getNumVertices(); ++i)
        same = (*__resumed)[i] == drawn[i];
    if (same)
        return false;
    keepDiscardedDrawing(*stack(), *slice(), *__item->getModel(), drawn);
    return true;
}

void VRLSliceEditWidgetMediatorCreationDelegate::end() {
    host().setPreview(nullptr);
    __item.reset();
    __resumed.reset();
    __everyMove.reset();
    canvas().update();
    deactivate();
}

// The box of a refusal runs a loop of its own, in which the interaction may be ended and this object deleted.
void VRLSliceEditWidgetMediatorCreationDelegate::apply() {
    if (!isActive())
        return;
    if (__item->getSize() == 0 || stack() == nullptr)
        return cancel();
    const QPointer<VRLSliceEditWidgetMediatorCreationDelegate> self(this);
    std::exception_ptr failure;
    bool created = false;
    try {
        const Outcome outcome = createItem(*stack(), *slice(), *__item->getModel(), __item->getVertices(),
                                           VRLPreferences::autoDecimationEnabled());
        created = bool(outcome);
        if (!outcome)
            warn("User error", QString::fromStdString(outcome.getReason()) + "\n\nCreation canceled.");
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || !isActive())
        return;
    const bool kept = !created && keep();
    end();
    if (kept)
        host().setHint(givenUpHint);
    if (failure)
        guarded(&canvas(), "What was drawn cannot be added.", [&failure] { std::rethrow_exception(failure); });
}

void VRLSliceEditWidgetMediatorCreationDelegate::appendVertex(const QPoint& position) {
    if (!acts())
        return;
    if (!isOnImage(imagePoint(position)))
        return;
    const Vector<double> point = vertexAt(position);
    const int size = __item->getSize();
    if (size > 0 && __item->getVertices()[size - 1] == point)
        return;
    __item->appendVertex(point);
    canvas().update();
}

void VRLSliceEditWidgetMediatorCreationDelegate::removeLastVertex() {
    if (!isActive() || __item->getSize() == 0)
        return;
    if (__item->getSize() == 1)
        return end();
    __item->removeVertex(__item->getSize() - 1);
    canvas().update();
}

void VRLSliceEditWidgetMediatorCreationDelegate::mouseDoubleClickEvent(QMouseEvent* event) {
    if (acts() && event->buttons() == Qt::LeftButton) {
        appendVertex(event->position().toPoint());
        apply();
        event->accept();
        return;
    }
    anyEvent(event);
}

void VRLSliceEditWidgetMediatorCreationDelegate::mousePressEvent(QMouseEvent* event) {
    __menuPending = false;
    if (!acts())
        return anyEvent(event);
    __stroke = false;
    if (event->buttons() == Qt::LeftButton) {
        const QPoint position = event->position().toPoint();
        event->accept();
        if (closesAt(position, false))
            return apply();
        __everyMove = std::make_unique<EveryMove>();
        appendVertex(position);
    }
    if (event->buttons() == Qt::RightButton) {
        cancel();
        __menuPending = true;
    }
    event->accept();
}

void VRLSliceEditWidgetMediatorCreationDelegate::mouseMoveEvent(QMouseEvent* event) {
    if (acts() && event->buttons() == Qt::LeftButton && !isPointSet()) {
        appendVertex(event->position().toPoint());
        __stroke = true;
    }
    anyEvent(event);
}

void VRLSliceEditWidgetMediatorCreationDelegate::mouseReleaseEvent(QMouseEvent* event) {
    anyEvent(event);
    __everyMove.reset();
    const bool closes =
        acts() && event->button() == Qt::LeftButton && __stroke && closesAt(event->position().toPoint(), true);
    __stroke = false;
    if (closes)
        apply();
}

/// A hand that draws seldom meets its beginning: a stroke that has come round may leave a gap.
bool VRLSliceEditWidgetMediatorCreationDelegate::closesAt(const QPoint& position, bool byStroke) const {
    constexpr double near = 8, gapOfStroke = 20, timesTheGap = 8; // units of the canvas
    if (!__item->isClosed() || __item->getSize() < 3 || host().isChosen(selectingToolId))
        return false;
    const auto distance = [](const QPointF& way) { return std::hypot(way.x(), way.y()); };
    const auto at = [this](int i) { return host().canvasPosition(__item->getVertices()[i]); };
    const double gap = distance(at(0) - QPointF(position));
    if (gap <= near || !byStroke || gap > gapOfStroke)
        return gap <= near;
    double length = 0;
    for (int i = 1; i < __item->getSize(); ++i)
        length += distance(at(i) - at(i - 1));
    return length >= timesTheGap * gap;
}

void VRLSliceEditWidgetMediatorCreationDelegate::tabletMoveEvent(QTabletEvent* event) {
    if (acts() && isPenDown(*event) && !isPointSet())
        appendVertex(event->position().toPoint());
    anyEvent(event);
}

void VRLSliceEditWidgetMediatorCreationDelegate::tabletPressEvent(QTabletEvent* event) {
    if (acts() && isPenDown(*event))
        appendVertex(event->position().toPoint());
    anyEvent(event);
}

void VRLSliceEditWidgetMediatorCreationDelegate::keyPressEvent(QKeyEvent* event) {
    if (!acts())
        return anyEvent(event);
    switch (event->key()) {
    case Qt::Key_Backspace:
        removeLastVertex();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        apply();
        break;
    case Qt::Key_X:
        appendVertex(canvas().mapFromGlobal(QCursor::pos()));
        break;
    default:
        break;
    }
    event->accept();
}

void VRLSliceEditWidgetMediatorCreationDelegate::contextMenuEvent(QContextMenuEvent* event) {
    if (__menuPending && event->reason() == QContextMenuEvent::Mouse) {
        __menuPending = false;
        event->accept();
        return;
    }
    anyEvent(event);
}

bool VRLSliceEditWidgetMediatorCreationDelegate::isPointSet() const {
    return !__item->isConnected();
}

bool VRLSliceEditWidgetMediatorCreationDelegate::isAbout(const Model& model) const {
    return __item != nullptr && __item->getModel() == &model;
}

} // namespace vorlen
