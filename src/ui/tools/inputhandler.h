#pragma once

#include <QObject>

class QContextMenuEvent;
class QEvent;
class QKeyEvent;
class QMouseEvent;
class QTabletEvent;

namespace vorlen {

/// One way of working with a canvas: is shown the events of the canvas before the canvas sees them, and can be switched
/// on and off.
///
/// A handler that accepts the event keeps it from those behind and from the canvas; one that only watches leaves it
/// ignored. The handlers of this class pass everything on to anyEvent().
///
/// A subclass that does something on activation calls the operation of this class first. Activating an active handler
/// and deactivating an inactive one are errors of the program. So is destroying an active one: as a destructor cannot
/// throw, the error goes to the standard error stream and the handler is gone all the same.
class InputHandler : public QObject {
    Q_OBJECT

public:
    explicit InputHandler(QObject* parent = nullptr);
    ~InputHandler() override;

    /// Throw ProgramError when there is nothing to do.
    virtual void activate();
    virtual void deactivate();

    /// Handles an event of the canvas, or one that is passed on as if it had come from there. True when the event is
    /// accepted.
    virtual bool process(QEvent* event);

    /// By activate() and deactivate(), and so an error when nothing would change.
    void setActive(bool active);
    bool isActive() const { return __active; }

    /// A blocking handler keeps all input to itself while it is active.
    void setBlocking(bool blocking) { __blocking = blocking; }
    bool isBlocking() const { return __blocking; }

    /// The pen then clicks and moves like a mouse: its events are left alone, and come again as those of the mouse.
    void setPenAsMouse(bool on) { __penAsMouse = on; }

protected:
    /// Whether the canvas takes input.
    virtual bool isCanvasEnabled() const = 0;

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

    /// Accepts everything on a disabled canvas, and while this handler is active and blocking; else ignores.
    void anyEvent(QEvent* event);

private:
    void penEvent(QTabletEvent* event);

    bool __active = false;
    bool __blocking = false;
    bool __penAsMouse = false;
};

} // namespace vorlen
