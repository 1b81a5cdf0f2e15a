#pragma once

#include <QWidget>

#include "editing/bus/vrleventclient.h"

namespace vorlen {

class ViewerCanvasGL;
class VRLRenderingMediator;
class VRLStack;

/// The models of a stack in space, as a pane beside its slices: what VRLRenderingWindow shows, without its menus and
/// its panel. It follows the edits, and the crosshair leads from it to the slices and back.
///
/// Decisions: the scene is made when the pane is first seen, and given up when it is hidden, so that a pane that nobody
/// sees costs no edit anything. The view is kept meanwhile. A stack that comes fills the picture.
class ScenePanel : public QWidget, public VRLEventClient {
    Q_OBJECT

public:
    explicit ScenePanel(QWidget* parent = nullptr);
    ~ScenePanel() override;

    /// Null for none.
    void setStack(VRLStack* stack);

    VRLRenderingMediator& mediator() const { return *__mediator; }
    ViewerCanvasGL& canvas() const { return *__canvas; }

    void stackCloseEvent(VRLStackCloseEvent& event) override;

signals:
    /// A window of its own is wanted, with poses, lights and exports.
    void windowRequested();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void fillScene();

    VRLRenderingMediator* __mediator;
    ViewerCanvasGL* __canvas;
    VRLStack* __stack = nullptr;
    const VRLStack* __fitted = nullptr; // whose view is kept
};

} // namespace vorlen
