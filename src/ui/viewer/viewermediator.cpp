#include "ui/viewer/viewermediator.h"

#include "ui/viewer/viewercanvasgl.h"
#include "ui/viewer/viewerposepanel.h"

#include <QAction>
#include <QKeyEvent>
#include <QMenu>

namespace vorlen {

ViewerMediator::ViewerMediator(QObject* parent) : QObject(parent) {
    __snapshotAction = __addAction("Snapshot", "Save the picture to a file", &ViewerMediator::snapshot);
    __recordAction = __addAction("Record", "Record a video", nullptr);
    __randomMotionAction = __addAction("Toggle random motion", "Turn the scene at random, or stop", nullptr);
    __spinningMotionAction = __addAction("Toggle spinning motion", "Let the scene spin, or stop", nullptr);
    __motionAngleAction = __addAction("Set motion angle...", "Set how far a step of the motion turns", nullptr);
    __motionTimeoutAction = __addAction("Set motion timeout...", "Set the time between steps of the motion", nullptr);
    __animationAction = __addAction("Toggle animation", "Show the selected shapes in turn, or stop", nullptr);
    using Slot = void (ViewerMediator::*)();
    const Slot poseSlots[] = {&ViewerMediator::setStandardPose1, &ViewerMediator::setStandardPose2,
                              &ViewerMediator::setStandardPose3};
    const Slot revPoseSlots[] = {&ViewerMediator::setRevStandardPose1, &ViewerMediator::setRevStandardPose2,
                                 &ViewerMediator::setRevStandardPose3};
    const char* const axes[] = {"z", "x", "y"};
    for (int k = 0; k < 3; ++k)
        __standardPoseActions[k] = __addAction(QString("Standard pose %1").arg(k + 1),
                                               QString("Look along the %1 axis").arg(axes[k]), poseSlots[k]);
    for (int k = 0; k < 3; ++k)
        __revStandardPoseActions[k] =
            __addAction(QString("Reverse standard pose %1").arg(k + 1),
                        QString("Look along the %1 axis from the other side").arg(axes[k]), revPoseSlots[k]);
}

void ViewerMediator::initialize() {
    Pose start;
    start.setAmbientLight(80);
    start.setDiffuseLight(128);
    start.setSpecularLight(128);
    constexpr int boundingBoxScaling = 110;
    if (__canvas != nullptr) {
        __canvas->setZoom(start.getZoom()); // before the translation, which is converted with it
        __canvas->setPose(start);
        __canvas->setBoundingBoxScaling(boundingBoxScaling);
    }
    if (__panel != nullptr) {
        __panel->setPose(start);
        __panel->setBoundingBoxScaling(boundingBoxScaling);
    }
    if (__canvas == nullptr || __panel == nullptr)
        return;
    __panel->setBackground(__canvas->getBackground());

    connect(__panel, &ViewerPosePanel::rotationChanged, __canvas, &ViewerCanvasGL::setRotation);
    connect(__panel, &ViewerPosePanel::translationChanged, __canvas, &ViewerCanvasGL::setTranslation);
    connect(__panel, &ViewerPosePanel::zoomChanged, __canvas, &ViewerCanvasGL::setZoom);
    connect(__panel, &ViewerPosePanel::boundingBoxScalingChanged, __canvas, &ViewerCanvasGL::setBoundingBoxScaling);
    connect(__panel, &ViewerPosePanel::ambientLightChanged, __canvas, &ViewerCanvasGL::setAmbientLight);
    connect(__panel, &ViewerPosePanel::diffuseLightChanged, __canvas, &ViewerCanvasGL::setDiffuseLight);
    connect(__panel, &ViewerPosePanel::specularLightChanged, __canvas, &ViewerCanvasGL::setSpecularLight);
    connect(__panel, &ViewerPosePanel::backgroundChanged, __canvas, &ViewerCanvasGL::setBackground);
    connect(__panel, &ViewerPosePanel::projectionChanged, __canvas, &ViewerCanvasGL::setProjection);
    connect(__panel, &ViewerPosePanel::boundingBoxToggled, __canvas, &ViewerCanvasGL::toggleBoundingBox);
    connect(__canvas, &ViewerCanvasGL::rotationChanged, __panel, &ViewerPosePanel::setRotation);
    connect(__canvas, &ViewerCanvasGL::translationChanged, __panel, &ViewerPosePanel::setTranslation);
    connect(__canvas, &ViewerCanvasGL::zoomChanged, __panel, &ViewerPosePanel::setZoom);
    connect(__canvas, &ViewerCanvasGL::poseChanged, __panel, &ViewerPosePanel::setPose);
}

void ViewerMediator::setCanvas(ViewerCanvasGL* canvas) {
    if (__canvas != nullptr)
        __canvas->removeEventFilter(this);
    __canvas = canvas;
    if (__canvas != nullptr)
        __canvas->installEventFilter(this);
}

ViewerCanvasGL* ViewerMediator::getCanvas() const {
    return __canvas;
}

void ViewerMediator::setPosePanel(ViewerPosePanel* panel) {
    __panel = panel;
}

ViewerPosePanel* ViewerMediator::getPosePanel() const {
    return __panel;
}

QWidget* ViewerMediator::parentWidget() const {
    return __canvas;
}

void ViewerMediator::populateFileMenu(QMenu& menu) {
    menu.addAction(__snapshotAction);
    menu.addAction(__recordAction);
}

void ViewerMediator::populatePoseMenu(QMenu& menu) {
    for (QAction* action : __standardPoseActions)
        menu.addAction(action);
    for (QAction* action : __revStandardPoseActions)
        menu.addAction(action);
    menu.addSeparator();
    for (QAction* action :
         {__animationAction, __randomMotionAction, __spinningMotionAction, __motionAngleAction, __motionTimeoutAction})
        menu.addAction(action);
}

bool ViewerMediator::eventFilter(QObject* watched, QEvent* event) {
    if (watched == __canvas && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_R || key == Qt::Key_Delete)
            return true;
    }
    return QObject::eventFilter(watched, event);
}

void ViewerMediator::resetPose() {
    setPose(Pose());
}

void ViewerMediator::setPose(const Pose& pose) {
    if (__canvas == nullptr)
        return;
    const Pose present = __canvas->getPose();
    Pose copy(pose);
    copy.setAmbientLight(present.getAmbientLight());
    copy.setDiffuseLight(present.getDiffuseLight());
    copy.setSpecularLight(present.getSpecularLight());
    __canvas->setPose(copy);
    if (__panel != nullptr)
        __panel->setPose(copy);
}

void ViewerMediator::setStandardPose1() {
    setPose(Pose::canonicalPose1());
}

void ViewerMediator::setStandardPose2() {
    setPose(Pose::canonicalPose2());
}

void ViewerMediator::setStandardPose3() {
    setPose(Pose::canonicalPose3());
}

void ViewerMediator::setRevStandardPose1() {
    setPose(Pose::reverseCanonicalPose1());
}

void ViewerMediator::setRevStandardPose2() {
    setPose(Pose::reverseCanonicalPose2());
}

void ViewerMediator::setRevStandardPose3() {
    setPose(Pose::reverseCanonicalPose3());
}

void ViewerMediator::snapshot() {
    if (__canvas != nullptr)
        __canvas->snapshot();
}

QAction* ViewerMediator::__addAction(const QString& text, const QString& toolTip, void (ViewerMediator::*slot)()) {
    auto* action = new QAction(text, this);
    action->setToolTip(toolTip);
    action->setEnabled(slot != nullptr);
    if (slot != nullptr)
        connect(action, &QAction::triggered, this, slot);
    return action;
}

} // namespace vorlen
