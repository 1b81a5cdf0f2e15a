#include "ui/scenes/scenepanel.h"

#include <QHideEvent>
#include <QPushButton>

#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/scenes/vrlrenderingmediator.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/widgets/viewpane.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

ScenePanel::ScenePanel(QWidget* parent) : QWidget(parent) {
    __canvas = new ViewerCanvasGL(this);
    __canvas->setMinimumSize(120, 90);
    // No child of the window: the keys of its commands are those of a window of its own, and act in no pane.
    __mediator = new VRLRenderingMediator(nullptr);
    __mediator->setCanvas(__canvas);
    __mediator->initialize();
    auto* const whole = new QPushButton("Whole scene", this);
    whole->setToolTip("Let the models fill the picture, turned as they are");
    connect(whole, &QPushButton::clicked, __mediator, &ViewerMediator::fit);
    auto* const window = new QPushButton("Own window", this);
    window->setToolTip("Show the scene in a window of its own, with poses, lights, videos and exports");
    connect(window, &QPushButton::clicked, this, &ScenePanel::windowRequested);
    layOutPane(*this, __canvas, {whole, window});
}

// The mediator takes its painters off the canvas, so it goes first.
ScenePanel::~ScenePanel() {
    delete __mediator;
}

void ScenePanel::setStack(VRLStack* stack) {
    if (stack == __stack)
        return;
    __stack = stack;
    __fitted = nullptr;
    if (__mediator->getStack() != nullptr)
        __mediator->clear();
    if (isVisible())
        fillScene();
}

/// A stack that cannot be shown in space says why, and the pane stays empty.
void ScenePanel::fillScene() {
    if (__stack == nullptr || __mediator->getStack() == __stack)
        return;
    guarded(this, "The models cannot be shown in space.", [this] {
        const WaitCursor cursor;
        __stack->updateReconstruction();
        __mediator->setStack(*__stack);
        if (__fitted != __stack)
            __mediator->fit();
        __fitted = __stack;
    });
}

void ScenePanel::stackCloseEvent(VRLStackCloseEvent& event) {
    if (event.getStack() == __stack)
        setStack(nullptr);
}

void ScenePanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    fillScene();
}

void ScenePanel::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous() && __mediator->getStack() != nullptr)
        __mediator->clear();
}

} // namespace vorlen
