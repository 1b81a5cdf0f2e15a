#pragma once

#include <QMainWindow>

class QDockWidget;
class QFrame;
class QToolBar;

namespace vorlen {

class CutsPanel;
class HistoryPanel;
class ModelPanel;
class ScenePanel;
class VRLRootSliceEditWidget;
class VRLSliceEditWidgetMediator;
class VRLStack;

/// The middle of a root window: the slice, a tool bar of the tools that stay on, and around it docks that move, close
/// and come back where they were: models, history, the options of the tool, and the cuts across the stack and the
/// models in space, which are not seen at first.
///
/// Over the slice lies what is to be done first: without a stack, how to get one; in a stack without models, "New
/// model".
class Workspace : public QMainWindow {
    Q_OBJECT

public:
    /// The slice widget, which has been initialized, becomes a part of the views, which become the middle.
    Workspace(QWidget* views, VRLRootSliceEditWidget& sliceWidget, QWidget* parent);

    ModelPanel& models() { return *__models; }
    HistoryPanel& history() { return *__history; }
    CutsPanel& cuts() { return *__cuts; }
    QDockWidget& modelDock() { return *__modelDock; }
    QDockWidget& historyDock() { return *__historyDock; }
    QDockWidget& optionsDock() { return *__optionsDock; }
    QDockWidget& cutsDock() { return *__cutsDock; }
    ScenePanel& scene() { return *__scene; }
    QDockWidget& sceneDock() { return *__sceneDock; }
    QToolBar& tools() { return *__tools; }

    /// Null for none.
    void setStack(VRLStack* stack);

    /// Says what to do first, or nothing.
    void updateFirstSteps();

    /// Shows the slice, its cuts and the 3D view side by side; the cuts and the 3D view get the lower half.
    void showPanes();

    /// Keeps the places of docks and tool bar, and finds them again.
    void saveLayout() const;
    void restoreLayout();

    /// Gives the options of the tool the height that they need, where the docks above them have it.
    void fitToolOptions();

signals:
    void openRequested();
    void newRequested();
    void sampleRequested();

private:
    void foldOnLowScreen();
    QDockWidget* newDock(const QString& title, const char* name, QWidget* content);
    QFrame* newFirstSteps(QWidget* views);
    QWidget* newCuts();
    QWidget* newToolOptions(VRLSliceEditWidgetMediator& editor);

    VRLStack* __stack = nullptr;
    ModelPanel* __models;
    HistoryPanel* __history;
    CutsPanel* __cuts;
    ScenePanel* __scene;
    QDockWidget* __modelDock;
    QDockWidget* __historyDock;
    QDockWidget* __optionsDock;
    QDockWidget* __cutsDock;
    QDockWidget* __sceneDock;
    QToolBar* __tools;
    QFrame* __welcome;
    QFrame* __noModels;
};

} // namespace vorlen
