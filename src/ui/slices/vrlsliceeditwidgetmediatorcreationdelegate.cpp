#include "ui/slices/vrlsliceeditwidgetmediatorcreationdelegate.h"

#include <exception>

#include <QContextMenuEvent>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QTabletEvent>

#include "document/model.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemappendpointsaction.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/history/vrlactionhistory.h"
#include "shapes/curvedecimation.h"
#include "ui/models/guarded.h"
#include "ui/session/vrlpreferences.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"

namespace vorlen {

namespace {

bool isPenDown(const QTabletEvent& event) {
    return event.pointerType() == QPointingDevice::PointerType::Pen && event.pressure() > 0.25;
}

} // namespace

VRLSliceEditWidgetMediatorCreationDelegate::VRLSliceEditWidgetMediatorCreationDelegate(
    VRLSliceEditWidgetMediator& mediator)
    : VRLSliceEditWidgetMediatorDelegate(mediator) {
    setBlocking(true);
}

void VRLSliceEditWidgetMediatorCreationDelegate::activate(const QString& modelName) {
    if (history() == nullptr)
        return;
    Stack& stack = *slice()->getStack();
    const int index = stack.findModel(modelName.toStdString());
    if (index < 0)
        return;
    VRLSliceEditWidgetMediatorDelegate::activate();
    __item = std::make_unique<ModelItem>();
    __item->setModel(&stack.getModel(index));
    __item->setSlice(slice());
    canvas().setExtraItem(__item.get());
    canvas().setFocus();
    setEditMode("CREATE");
    getMediator().setHint(isPointSet() ? "Click: add a point. Return or double click: done. Backspace: take back. "
                                         "Escape or right click: give up."
                                       : "Click or drag: draw. Return or double click: done. Backspace: take back. "
                                         "Escape or right click: give up.");
    getMediator().requestLock(true);
    QGuiApplication::setOverrideCursor(Qt::CrossCursor);
}

void VRLSliceEditWidgetMediatorCreationDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    QGuiApplication::restoreOverrideCursor();
    setEditMode("READY");
    getMediator().setRestingHint();
    getMediator().requestLock(false);
}

void VRLSliceEditWidgetMediatorCreationDelegate::cancel() {
    if (!isActive())
        return;
    canvas().setExtraItem(nullptr);
    __item.reset();
    canvas().update();
    deactivate();
}

void VRLSliceEditWidgetMediatorCreationDelegate::apply() {
    if (!isActive())
        return;
    const QPointer<VRLSliceEditWidgetMediatorCreationDelegate> self(this);
    if (__item->getSize() == 0 || refuses()) {
        if (self)
            cancel();
        return;
    }
    ModelItem* const buddy = isPointSet() ? slice()->buddyItem(*__item) : nullptr;
    std::unique_ptr<VRLAction> action;
    if (buddy != nullptr) {
        auto append = std::make_unique<VRLItemAppendPointsAction>(*buddy);
        append->setVertices(__item->getVertices());
        action = std::move(append);
    } else {
        __item->setClockwise(false);
        if (!isPointSet() && VRLPreferences::autoDecimationEnabled())
            decimate();
        action = std::make_unique<VRLItemCreationAction>(*__item);
    }
    canvas().setExtraItem(nullptr);
    if (buddy == nullptr)
        (void)__item.release(); // the document's, or the action's, from here on
    __item.reset();
    std::exception_ptr failure;
    try {
        applyStep(std::move(action));
    } catch (...) {
        failure = std::current_exception();
    }
    deactivate();
    if (failure)
        guarded(&canvas(), "What was drawn cannot be added.", [&failure] { std::rethrow_exception(failure); });
}

void VRLSliceEditWidgetMediatorCreationDelegate::appendVertex(const QPoint& position) {
    if (!acts())
        return;
    const Vector<int> point = imagePoint(position);
    if (!isOnImage(point))
        return;
    const int size = __item->getSize();
    if (size > 0 && __item->getVertices()[size - 1] == point)
        return;
    __item->appendVertex(point);
    canvas().update();
}

void VRLSliceEditWidgetMediatorCreationDelegate::removeLastVertex() {
    if (!isActive() || __item->getSize() == 0)
        return;
    if (__item->getSize() == 1) {
        cancel();
        return;
    }
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
    if (event->buttons() == Qt::LeftButton)
        appendVertex(event->position().toPoint());
    if (event->buttons() == Qt::RightButton) {
        cancel();
        __menuPending = true;
    }
    event->accept();
}

void VRLSliceEditWidgetMediatorCreationDelegate::mouseMoveEvent(QMouseEvent* event) {
    if (acts() && event->buttons() == Qt::LeftButton && !isPointSet())
        appendVertex(event->position().toPoint());
    anyEvent(event);
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

bool VRLSliceEditWidgetMediatorCreationDelegate::refuses() {
    if (__item->isClosed() && __item->getSize() < 3) {
        warn("User error", "Cannot create a closed contour with less than 3 points.\n\nCreation canceled.");
        return true;
    }
    if (__item->isConnected() && __item->getSize() < 2) {
        warn("User error", "Cannot create an open contour with less than 2 points.\n\nCreation canceled.");
        return true;
    }
    return false;
}

void VRLSliceEditWidgetMediatorCreationDelegate::decimate() {
    Vertices<int> vertices = __item->getVertices();
    vertices.detach();
    Curve<int> curve(vertices, false);
    CurveDecimation<int> decimation;
    decimation.setRecursive(true);
    decimation.apply(curve);
    if (curve.getNumVertices() > 2)
        __item->setVertices(curve);
}

} // namespace vorlen
