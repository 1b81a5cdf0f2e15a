#pragma once

#include <QObject>
#include <QPointer>

#include "ui/slices/vrlimagewidgetcanvas.h"

class QContextMenuEvent;
class QEvent;
class QKeyEvent;
class QMouseEvent;
class QTabletEvent;

namespace vorlen {

class VRLImageWidgetMediator;

/// One way of working with a canvas: sees the events of the canvas before the canvas does, and can be switched on and
/// off.
///
/// Of several delegates the one made last sees an event first. A handler that accepts the event keeps it from the
/// delegates behind, from the mediator and from the canvas; one that only watches leaves it ignored. The handlers of
/// this class pass everything on to anyEvent().
///
/// A subclass that does something on activation calls the operation of this class first. Activating an active delegate
/// and deactivating an inactive one are errors of the program. So is destroying an active one: as a destructor cannot
/// throw, the error goes to the standard error stream and the delegate is gone all the same.
class VRLImageWidgetMediatorDelegate : public QObject {
    Q_OBJECT

public:
    /// The mediator, which must have its canvas, becomes the parent.
    explicit VRLImageWidgetMediatorDelegate(VRLImageWidgetMediator& mediator);
    ~VRLImageWidgetMediatorDelegate() override;

    /// Throw ProgramError when there is nothing to do.
    virtual void activate();
    virtual void deactivate();

    /// Handles the event as if it had come from the canvas, so that a delegate can pass one on to another.
    virtual void process(QEvent* event);

    /// By activate() and deactivate(), and so an error when nothing would change.
    void setActive(bool active);
    bool isActive() const { return __active; }

    /// A blocking delegate keeps all input to itself while it is active.
    void setBlocking(bool blocking) { __blocking = blocking; }
    bool isBlocking() const { return __blocking; }

    /// The pen then clicks and moves like a mouse: its events are left alone, and come again as those of the mouse.
    void setPenAsMouse(bool on) { __penAsMouse = on; }

    VRLImageWidgetMediator& getMediator() const { return *__mediator; }

    bool eventFilter(QObject* object, QEvent* event) override;

protected:
    virtual void mouseDoubleClickEvent(QMouseEvent* event);
    virtual void mousePressEvent(QMouseEvent* event);
    virtual void mouseMoveEvent(QMouseEvent* event);
    virtual void mouseReleaseEvent(QMouseEvent* event);
    virtual void tabletMoveEvent(QTabletEvent* event);
    virtual void tabletPressEvent(QTabletEvent* event);
    virtual void tabletReleaseEvent(QTabletEvent* event);
    virtual void keyPressEvent(QKeyEvent* event);
    virtual void keyReleaseEvent(QKeyEvent* event);
    virtual void contextMenuEvent(QContextMenuEvent* event);

    /// Accepts everything on a disabled canvas, and while this delegate is active and blocking; else ignores.
    void anyEvent(QEvent* event);

    VRLImageWidgetCanvas& canvas() const;

private:
    void penEvent(QTabletEvent* event);

    VRLImageWidgetMediator* __mediator;
    QPointer<VRLImageWidgetCanvas> __canvas;
    bool __active = false;
    bool __blocking = false;
    bool __penAsMouse = false;
};

} // namespace vorlen
