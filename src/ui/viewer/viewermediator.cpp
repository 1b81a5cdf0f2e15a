#include "ui/viewer/viewermediator.h"

#include "ui/viewer/shapeviewerpaintergl.h"
#include "ui/viewer/videoencoder.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/viewer/viewercommands.h"
#include "ui/viewer/viewerposepanel.h"
#include "ui/viewer/vrlcreatevideodialog.h"

#include <algorithm>
#include <limits>

#include <QInputDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QMessageBox>

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
    bindMotions();
    __commands.update();
}

void ViewerMediator::bindMotions() {
    __commands.bind("viewer.record", [this] { videoStart(); });
    __commands.bind("motion.animation", [this] { toggleAnimation(); });
    __commands.bind("motion.random", [this] { toggleRandomMotion(); });
    __commands.bind("motion.spinning", [this] { toggleSpinningMotion(); });
    __commands.bind("motion.angle", [this] { runRandomMotionAngleDialog(); });
    __commands.bind("motion.timeout", [this] { runRandomMotionTimeoutDialog(); });
    __animation.setCircular(true);
    __animation.setTimeout(1000);
    __animation.setShow([this](PainterGL<float>& painter, bool shown) { showPainter(painter, shown); });
    connect(&__animation, &ViewerAnimation::currentIndexChanged, this, [this] {
        if (__canvas != nullptr)
            __canvas->repaint();
    });
    const auto turn = [this](const Vector<float>& rotation) {
        if (__canvas != nullptr)
            __canvas->setRotation(rotation);
        if (__panel != nullptr)
            __panel->setRotation(rotation);
    };
    connect(&__randomMotion, &ViewerMotion::rotationChanged, this, turn);
    connect(&__spinningMotion, &ViewerMotion::rotationChanged, this, turn);
    connect(&__randomMotion, &ViewerMotion::rotationChanged, &__spinningMotion,
            qOverload<const Vector<float>&>(&ViewerMotion::setRotation));
    connect(&__spinningMotion, &ViewerMotion::rotationChanged, &__randomMotion,
            qOverload<const Vector<float>&>(&ViewerMotion::setRotation));
    __video.setScript([this](VideoPath path, int numFrames, int rate) { return makeScript(path, numFrames, rate); });
    connect(&__video, &VRLRenderingVideo::ended, this, &ViewerMediator::showAllPainters);
}

void ViewerMediator::setMotionRotation(const Vector<float>& rotation) {
    __randomMotion.setRotation(rotation);
    __spinningMotion.setRotation(rotation);
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
        connect(__canvas, &ViewerCanvasGL::rotationChanged, this, &ViewerMediator::setMotionRotation);
        connect(__canvas, &ViewerCanvasGL::poseChanged, this,
                [this](const Pose& pose) { setMotionRotation(pose.getRotation()); });
    }
    setMotionRotation(start.getRotation());
    if (__panel != nullptr) {
        __panel->setPose(start);
        __panel->setBoundingBoxScaling(boundingBoxScaling);
    }
    if (__canvas == nullptr || __panel == nullptr)
        return;
    __panel->setBackground(__canvas->getBackground());

    connect(__panel, &ViewerPosePanel::rotationChanged, __canvas, &ViewerCanvasGL::setRotation);
    connect(__panel, &ViewerPosePanel::rotationChanged, this, &ViewerMediator::setMotionRotation);
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
        if (key == Qt::Key_R)
            toggleRandomMotion();
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
    copy.setAmbientLight(present.getExactAmbientLight());
    copy.setDiffuseLight(present.getExactDiffuseLight());
    copy.setSpecularLight(present.getExactSpecularLight());
    __canvas->setPose(copy);
    setMotionRotation(copy.getRotation());
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

void ViewerMediator::setRandomMotionAngle(int angle) {
    __randomMotion.setAngle(angle);
    __spinningMotion.setAngle(angle);
}

void ViewerMediator::setRandomMotionTimeout(int timeout) {
    __randomMotion.setTimeout(timeout);
    __spinningMotion.setTimeout(timeout);
}

void ViewerMediator::toggleRandomMotion() {
    if (!__randomMotion.isActive())
        __spinningMotion.setActive(false);
    __randomMotion.toggle();
}

void ViewerMediator::toggleSpinningMotion() {
    if (!__spinningMotion.isActive())
        __randomMotion.setActive(false);
    __spinningMotion.toggle();
}

std::optional<int> ViewerMediator::askForNumber(const QString& title, const QString& text, int value, int least,
                                                int most) {
    bool accepted = false;
    const int number = QInputDialog::getInt(parentWidget(), title, text, value, least, most, 1, &accepted);
    return accepted ? std::optional(number) : std::nullopt;
}

void ViewerMediator::runRandomMotionAngleDialog() {
    if (const auto angle =
            askForNumber(QString(), "Enter motion angle (in degrees):", getRandomMotionAngle(), -180, 180))
        setRandomMotionAngle(*angle);
}

void ViewerMediator::runRandomMotionTimeoutDialog() {
    if (const auto timeout =
            askForNumber(QString(), "Enter motion interval (msec):", getRandomMotionTimeout(), 0, 10000))
        setRandomMotionTimeout(*timeout);
}

std::vector<PainterGL<float>*> ViewerMediator::animatedPainters() const {
    std::vector<PainterGL<float>*> selected;
    if (__canvas == nullptr)
        return selected;
    bool isList = false;
    for (PainterGL<float>* painter : __canvas->getPainters())
        if (const auto* shape = dynamic_cast<const ShapeViewerPainterGL*>(painter)) {
            isList = true;
            if (shape->isSelected())
                selected.push_back(painter);
        }
    return isList ? selected : __canvas->getPainters();
}

/// A painter that has gone meanwhile is not looked at.
void ViewerMediator::showPainter(PainterGL<float>& painter, bool shown) {
    if (__canvas == nullptr)
        return;
    const std::vector<PainterGL<float>*>& present = __canvas->getPainters();
    if (std::find(present.begin(), present.end(), &painter) == present.end())
        return;
    auto* const viewer = dynamic_cast<ShapeViewerPainterGL*>(&painter);
    if (viewer == nullptr) {
        __canvas->setPainterShown(painter, shown);
    } else if (viewer->getProxy() != nullptr) {
        ShapePainterAttributesGL attributes = viewer->getProxy()->getAttributes();
        attributes.setVisibility(shown);
        viewer->getProxy()->setAttributes(attributes);
    }
}

void ViewerMediator::showAllPainters() {
    if (__canvas == nullptr || __animation.isRunning())
        return;
    for (const PainterGL<float>* painter : __canvas->getPainters())
        __canvas->setPainterShown(*painter, true);
    __canvas->repaint();
}

void ViewerMediator::followPainters() {
    if (__animation.isRunning() || __video.isRecording())
        __animation.setPainters(animatedPainters());
    if (__animation.isRunning())
        __animation.setCurrentIndex(__animation.getCurrentIndex());
}

void ViewerMediator::toggleAnimation() {
    if (__animation.isRunning()) {
        __animation.toggle();
        return showAllPainters();
    }
    constexpr int least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
    const auto size =
        askForNumber("Animation step size", "Enter animation step size", __animation.getStepSize(), least, most);
    const auto timeout =
        size ? askForNumber("Animation timeout", "Enter animation timeout", __animation.getTimeout(), least, most)
             : std::nullopt;
    if (!timeout)
        return;
    __animation.setStepSize(*size);
    __animation.setTimeout(*timeout);
    __animation.setPainters(animatedPainters());
    __animation.toggle();
}

VideoScript ViewerMediator::makeScript(VideoPath path, int numFrames, int rate) {
    const ViewerCamera camera = __canvas == nullptr ? ViewerCamera{Vector<float>(3)} : __canvas->getCamera();
    switch (path) {
    case VideoPath::Random:
        return randomScript(camera, numFrames, rate, getRandomMotionAngle(), getRandomMotionTimeout(), -1);
    case VideoPath::Animation: {
        __animation.setPainters(animatedPainters());
        return standingScript(camera, numFrames, rate, [this](double seconds) {
            const int timeout = std::max(1, __animation.getTimeout()), step = std::max(1, __animation.getStepSize());
            const int numPainters = std::max(1, int(animatedPainters().size()));
            const int numGroups = (numPainters + step - 1) / step;
            __animation.setCurrentIndex(int(seconds * 1000 / timeout) % numGroups * step);
        });
    }
    case VideoPath::Poses: {
        std::vector<ViewerCamera> cameras;
        for (const Pose& pose : storedPoses())
            cameras.push_back(ViewerCanvasGL::cameraOf(pose));
        return posesScript(cameras, numFrames);
    }
    case VideoPath::Slices:
        return slicesScript(camera, numFrames);
    default:
        return spinningScript(camera, numFrames);
    }
}

/// The probe is whether the program is there.
void ViewerMediator::videoStart() {
    if (__canvas == nullptr)
        return;
    if (!VideoEncoder::isAvailable()) {
        QMessageBox box(QMessageBox::Critical, "QMessageBox::critical()",
                        "Please install ffmpeg software  https://ffmpeg.org/download.html", QMessageBox::Ok,
                        parentWidget());
        box.setTextFormat(Qt::PlainText);
        box.exec();
        return;
    }
    __video.initialize(*__canvas);
    __video.getDialog()->setPathEnabled(VideoPath::Poses, storedPoses().size() > 1,
                                        "There are no two poses stored with the stack");
}

} // namespace vorlen
