#pragma once

#include <QWidget>

#include "editing/bus/vrleventclient.h"

class QAction;
class QFrame;
class QMenu;
class QMenuBar;
class QScrollArea;

namespace vorlen {

class ViewerCanvasGL;
class ViewerPosePanel;
class VRLRenderingMediator;
class VRLRenderingToolbar;
class VRLStack;

/// A window of its own with the models of one stack in space. It follows the edits of the stack, and deletes itself
/// when it is closed, when the stack is closed, or when the program ends.
///
/// Position, size, and whether toolbar and pose panel are shown, are kept in the settings. A position that is on no
/// screen any more is replaced by the default. A pose that is recorded under an empty name is called "Pose" and its
/// number.
class VRLRenderingWindow : public QWidget, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLRenderingWindow(QWidget* parent = nullptr);
    ~VRLRenderingWindow() override;

    /// The stack's reconstruction must be up to date.
    void setStack(VRLStack& stack);

    VRLRenderingMediator& getMediator() const { return *__mediator; }
    ViewerCanvasGL& getCanvas() const { return *__canvas; }

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackNameEvent(VRLStackNameEvent& event) override;

public slots:
    void editModels();
    void initPoseMenu();
    void updatePoseMenu();
    /// Asks for a name and keeps the present camera and lights with the stack.
    void recordPose();
    /// The pose whose place in the stack is the action's data.
    void selectPose(QAction* action);
    void deletePose(QAction* action);
    void togglePanel();
    void toggleToolBar();

protected:
    /// The first time, the scene is made to fill the picture.
    void showEvent(QShowEvent* event) override;

private:
    void buildMenus();
    void restoreSettings();
    void showStackName();

    VRLRenderingMediator* __mediator;
    VRLRenderingToolbar* __toolbar;
    QFrame* __frame;
    ViewerCanvasGL* __canvas;
    ViewerPosePanel* __panel;
    QScrollArea* __panelArea;
    QMenuBar* __menuBar;
    QMenu* __selectPoseMenu;
    QMenu* __deletePoseMenu;
    bool __fitted = false;
};

} // namespace vorlen
