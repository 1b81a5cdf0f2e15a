#pragma once

#include <memory>
#include <utility>
#include <vector>

#include <QAction>
#include <QList>
#include <QMenu>
#include <QPointer>

#include "document/stacksliceselectioninfo.h"
#include "shapes/vertices.h"
#include "ui/slices/vrlslicewidgetmediator.h"

class QContextMenuEvent;

namespace vorlen {

class Model;
class ModelViews;
class SliceCrosshair;
class SliceToolHost;
struct ToolCommand;
class ToolHost;
class ToolMenus;
class VRLSliceEditWidgetCanvas;
class VRLSliceEditWidgetMediatorDelegate;
class VRLSliceEditWidgetStatusBar;

/// Mediator of the slice editor: makes the tools and their commands from the list of ui/tools, shows the current tool
/// what comes to the canvas, tells it what happens to the document, and passes on the lock that it asks for.
///
/// One tool is chosen, and is current as long as no other runs: the one that selects, or another that stays on. A
/// context menu by the mouse belongs to the press before it, and is shown to the tool that the press has ended.
///
/// Decisions: the keys of the commands act while the canvas has the keyboard, so that lists and fields beside it keep
/// theirs; Escape acts in the tool window of the edition too. While an interaction runs every command but "Cancel"
/// does nothing. Interactions end when another slice comes, and when the document loses what they work on. The
/// enablement of the commands also follows changes of the document, such as an undo.
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

    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void stackRegistrationEvent(VRLStackRegistrationEvent& event) override;
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

    /// The editor as the tools see it. The tools themselves are children of this object, made by initialize().
    ToolHost& getToolHost() const;
    QAction& getCancelCommand() const { return *__cancel; }

    /// Of an initialized editor.
    SliceCrosshair& getCrosshair() const { return *__crosshair; }

    /// How the models are looked at in this window.
    ModelViews& modelViews() const { return *__views; }

    /// The commands of the tools that stay on, for a tool bar: one of them is checked.
    QList<QAction*> getToolActions();
    /// A command of a tool that offers no models.
    QAction& getCommand(const char* id);
    /// Controls for the options of the tool that stays on; null for one that has none. The parent owns them.
    QWidget* newToolOptions(QWidget* parent) const;

    /// The tool that has the canvas while no other runs is the one of this command; it stays on until another is
    /// chosen. Nothing for a command of another kind.
    void chooseTool(const char* id);
    /// For one who goes to another slice: what the tool shows on this one, and could be taken by a key, is taken. Says
    /// what; empty where there is nothing to take.
    QString takeShown();
    void chooseSelection();
    /// Runs the command of a tool for the model, and shows what it has started the input.
    void begin(const char* id, const Model& model, QEvent& input);
    /// Whether the outlines of the slices before and behind are shown too. Off at first.
    void setGhostsShown(bool shown);
    bool areGhostsShown() const { return __ghostsShown; }

    /// The id of its command.
    QString getChosenTool() const { return __chosenId; }

    /// Enables the commands and menus that make sense for this selection.
    void selectionChange(const StackSliceSelectionInfo& info);
    /// The same for what is selected now.
    void updateSelection();

    /// Goes on with a drawing of the model on the slice that was given up, unless something else is being done.
    void resumeDrawing(const Model& model, const Vertices<double>& vertices);

    /// Asks others to leave the slice alone, or gives it back.
    void requestLock(bool on);

    /// Asks for another slice of the stack on the canvas.
    void requestSlice(StackSlice& slice);

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

signals:
    void lockRequested(const bool on);
    void sliceRequested(StackSlice& slice);
    /// Another tool stays on from here.
    void toolChosen(const QString& id);

protected:
    bool canvasEvent(QEvent* event) override;

    /// Runs the context menu. Without a slice the event is left to others.
    void contextMenuEvent(QContextMenuEvent* event);

    /// Says why the key of a command that makes no sense now does nothing.
    void keyWithoutEffect(const QKeyEvent& event);

private:
    friend class SliceToolHost;

    using Tool = VRLSliceEditWidgetMediatorDelegate;
    using ToolMaker = Tool* (*)(ToolHost&);

    Tool& toolOf(ToolMaker make);
    void toolStarts(Tool& tool);
    void toolEnds(Tool& tool);
    void runCommand(const ToolCommand& command, const QString& model);
    void cancelInteraction();
    bool isInteracting() const;
    void endInteractions();
    void selectionMayHaveChanged(const ModelItem* item);
    void choose(const ToolCommand& command);
    void viewsChanged();
    void updateGhosts();
    void updateGhostsLater(const ModelItem* item);

    std::unique_ptr<SliceToolHost> __host;
    ToolMenus* __menus;
    QAction* __cancel;
    QList<QPointer<QAction>> __contextualActions;
    std::vector<std::pair<ToolMaker, Tool*>> __tools;
    ModelViews* __views;                   // a child
    SliceCrosshair* __crosshair = nullptr; // a child
    Tool* __resting = nullptr;             // that selects
    Tool* __chosen = nullptr; // that has the canvas while no other runs: the resting one, or one that stays on
    QString __chosenId;
    QPointer<Tool> __current; // that is not the resting one; null while none runs
    QPointer<Tool> __pressed; // that was shown the last press
    StackSliceSelectionInfo __selected;
    bool __selectionPending = false;
    bool __ghostsShown = false;
    bool __ghostsPending = false;
};

} // namespace vorlen
