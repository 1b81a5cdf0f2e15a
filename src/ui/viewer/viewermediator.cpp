#include "ui/viewer/viewermediator.h"

#include "ui/viewer/viewercanvasgl.h"
#include "ui/viewer/viewercommands.h"
#include "ui/viewer/viewerposepanel.h"

#include <QKeyEvent>
#include <QMenu>

namespace vorlen {

ViewerMediator::ViewerMediator(QObject* parent) : QObject(parent) {
    __commands.add(viewerCommands());
    __commands.bind("viewer.snapshot", [this] { snapshot(); });
    __commands.bind("pose.standard1", [this] { setStandardPose1(); });
    __commands.bind("pose.standard2", [this] { setStandardPose2(); });
    __commands.bind("pose.standard3", [this] { setStandardPose3(); });
    __commands.bind("pose.reverse1", [this] { setRevStandardPose1(); });
    __commands.bind("pose.reverse2", [this] { setRevStandardPose2(); });
    __commands.bind("pose.reverse3", [this] { setRevStandardPose3(); });
    __commands.bind("pose.fit", [this] { fit(); });
    __commands.update();
}

void ViewerMediator::initialize() {
    Pose start;
    start.setAmbientLight(80);
    start.setDiffuseLight(128);
    start.setSpecularLight(128);
    constexpr int boundingBoxScaling = 110;
    if (__canvas != nullptr) {
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
    __commands.fill(menu, viewerFileMenu());
}

void ViewerMediator::populatePoseMenu(QMenu& menu) {
    __commands.fill(menu, viewerPoseMenu());
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

void ViewerMediator::fit() {
    if (__canvas != nullptr)
        setPose(__canvas->fittingPose());
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

} // namespace vorlen
