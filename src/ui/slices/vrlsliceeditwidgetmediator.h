#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QAction>
#include <QList>
#include <QMenu>
#include <QPointer>

#include "ui/slices/vrlslicewidgetmediator.h"

class QContextMenuEvent;

namespace vorlen {

class StackSliceSelectionInfo;
class VRLMenu;
class VRLSliceEditWidgetCanvas;
class VRLSliceEditWidgetMediatorCreationDelegate;
class VRLSliceEditWidgetMediatorDelegate;
class VRLSliceEditWidgetMediatorEditionDelegate;
class VRLSliceEditWidgetMediatorSelectionDelegate;
class VRLSliceEditWidgetMediatorSnakeDelegate;
class VRLSliceEditWidgetStatusBar;

/// Mediator of the slice editor: the commands on items, their menus, the delegates that carry them out, and the lock
/// that an interaction asks for while it runs.
///
/// Decisions: the keys of the commands act while the canvas has the keyboard, so that lists and fields beside it keep
/// theirs; Escape acts in the tool window of the edition too. While an interaction runs every command but "Cancel"
/// does nothing. Interactions end when another slice comes, and when the document loses what they work on. The
/// enablement of the commands also follows changes of the document, such as an undo. Commands without a tool behind
/// them stay disabled.
class VRLSliceEditWidgetMediator : public VRLSliceWidgetMediator {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetMediator(VRLImageWidget& widget);
    ~VRLSliceEditWidgetMediator() override;

    /// Throw ProgramError for parts of another kind.
    void setCanvas(VRLImageWidgetCanvas& canvas) override;
    void setStatusBar(VRLImageWidgetStatusBar& statusBar) override;

    void initialize() override;
    void clear() override;
    void setSlice(StackSlice& slice) override;

    void sliceItemSelectionEvent(VRLSliceItemSelectionEvent& event) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemVertexEvent(VRLModelItemVertexEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;

    VRLSliceEditWidgetCanvas& getCanvas() const;
    /// Null without one.
    VRLSliceEditWidgetStatusBar* getStatusBar() const;

    /// Null before initialize().
    VRLSliceEditWidgetMediatorSelectionDelegate* getSelectionDelegate() const { return __selection; }
    VRLSliceEditWidgetMediatorCreationDelegate* getCreationDelegate() const { return __creation; }
    VRLSliceEditWidgetMediatorSnakeDelegate* getSnakeDelegate() const { return __snake; }
    VRLSliceEditWidgetMediatorEditionDelegate* getEditionDelegate() const { return __edition; }

    /// Enables the commands and menus that make sense for this selection.
    void selectionChange(const StackSliceSelectionInfo& info);

    /// Asks others to leave the slice alone, or gives it back.
    void requestLock(bool on);

    /// Says in the status bar what the next input will do.
    void setHint(const QString& text);
    /// The hint for a canvas on which no interaction runs.
    void setRestingHint();

    /// Puts the action, which is seen and not owned, behind those that the context menu has.
    void addContextualMenuAction(QAction* action);

    /// The context menu as it stands now, with its submenus filled anew; these must not outlive this object.
    std::unique_ptr<QMenu> newContextMenu();

    /// Sorted names: of the models of the slice's items, once each; of all models of the stack; of its polygon models.
    QStringList buildSliceModelList() const;
    QStringList buildStackModelList() const;
    QStringList buildPolygonModelList() const;

    bool eventFilter(QObject* object, QEvent* event) override;

signals:
    void lockRequested(const bool on);

protected:
    /// Runs the context menu. Without a slice the event is left to others.
    void contextMenuEvent(QContextMenuEvent* event);

private:
    QAction* newCommand(const QString& text, const QString& key = QString());
    void connectCommand(QAction* action, const std::function<void()>& work);
    void connectMenu(VRLMenu* menu, const std::function<void(const QString&)>& work);
    void fill(QMenu& menu, const QStringList& names);
    void refreshMenus();
    bool isInteracting() const;
    template <class Subject>
    void endToolsAbout(const Subject& subject);
    void endInteractions();
    void selectionMayHaveChanged(const ModelItem* item);
    void updateSelection();

    std::unique_ptr<QMenu> __drawMenu;
    std::unique_ptr<QMenu> __editMenu;
    std::unique_ptr<VRLMenu> __selectMenu;
    std::unique_ptr<VRLMenu> __convertMenu;
    VRLMenu* __manualMenu;
    VRLMenu* __automaticMenu;
    QAction* __cancel;
    QAction* __delete;
    QAction* __editPoints;
    QAction* __decimate;
    QAction* __douglasPeucker;
    QAction* __changeOrigin;
    QAction* __resample;
    QAction* __runSnake;
    QAction* __smooth;
    QAction* __selectAll;
    QAction* __split;
    QAction* __properties;
    QList<QPointer<QAction>> __contextualActions;
    VRLSliceEditWidgetMediatorSelectionDelegate* __selection = nullptr;
    VRLSliceEditWidgetMediatorCreationDelegate* __creation = nullptr;
    VRLSliceEditWidgetMediatorSnakeDelegate* __snake = nullptr;
    VRLSliceEditWidgetMediatorEditionDelegate* __edition = nullptr;
    std::vector<VRLSliceEditWidgetMediatorDelegate*> __tools; // that change or make a contour, beside those above
    bool __selectionPending = false;
};

} // namespace vorlen
