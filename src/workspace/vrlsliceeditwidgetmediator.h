#pragma once

#include <memory>

#include <QAction>
#include <QList>
#include <QPointer>

#include "workspace/vrlslicewidgetmediator.h"

class QContextMenuEvent;
class QMenu;
class VRLSliceEditWidgetCanvas;
class VRLSliceEditWidgetStatusBar;

/// Mediator of the slice editor: the canvas's context menu, and the lock that an interaction asks for while it runs.
class VRLSliceEditWidgetMediator : public VRLSliceWidgetMediator {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetMediator(VRLImageWidget& widget);

    /// Throw ProgramError for parts of another kind.
    void setCanvas(VRLImageWidgetCanvas& canvas) override;
    void setStatusBar(VRLImageWidgetStatusBar& statusBar) override;

    VRLSliceEditWidgetCanvas& getCanvas() const;
    /// Null without one.
    VRLSliceEditWidgetStatusBar* getStatusBar() const;

    /// Asks others to leave the slice alone, or gives it back.
    void requestLock(bool on);

    /// Puts the action, which is seen and not owned, behind those that the context menu has.
    void addContextualMenuAction(QAction* action);

    /// The context menu as it stands now.
    std::unique_ptr<QMenu> newContextMenu();

    bool eventFilter(QObject* object, QEvent* event) override;

signals:
    void lockRequested(const bool on);

protected:
    /// Runs the context menu. Without a slice, or with nothing to choose, the event is left to others.
    void contextMenuEvent(QContextMenuEvent* event);

private:
    QList<QPointer<QAction>> __contextualActions;
};
