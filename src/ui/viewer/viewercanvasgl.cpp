#include "ui/viewer/viewercanvasgl.h"

#include "numerics/exception.h"
#include "numerics/maths.h"
#include "ui/widgets/plaintext.h"
#include "ui/widgets/vorlenapplication.h"

#include <QApplication>
#include <QBuffer>
#include <QColor>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QMatrix4x4>
#include <QMessageBox>
#include <QMouseEvent>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QSaveFile>
#include <QSettings>
#include <QVector3D>
#include <QWheelEvent>

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <iostream>

namespace vorlen {

namespace {

const char* const colorKey = "viewerCanvas/background/color";
const char* const gradientKey = "viewerCanvas/background/gradient";

constexpr int slowPaint = 50; // milliseconds
constexpr float minZoom = 0.01f, maxZoom = 5.0f;

Vector<float> nullVector() {
    Vector<float> v(3);
    v.setZeros();
    return v;
}

Vector<float> inSpace3(const Vector<float>& corner) {
    Vector<float> v = nullVector();
    std::copy_n(corner.data(), std::min(corner.getSize(), 3), v.data());
    return v;
}

/// A float's last digits would stand in the file otherwise.
double thousandths(float value) {
    return std::round(double(value) * 1000) / 1000;
}

float lightOf(double light) {
    return float(std::clamp(light, 0.0, 255.0)) / 255;
}

/// Matrix of the rotation that the angles, in degrees, make of the scene.
Matrix<float> rotationMatrix(const Vector<float>& angles) {
    return Maths::xRotationMatrix3D(Maths::toRadians(angles[0])) *
           Maths::yRotationMatrix3D(Maths::toRadians(angles[1])) *
           Maths::zRotationMatrix3D(Maths::toRadians(angles[2]));
}

/// What is drawn leaves the state of OpenGL as it was; a failure leaves it out.
template <class Work>
void drawSafely(Work&& work) {
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_LIGHTING_BIT | GL_POINT_BIT | GL_LINE_BIT | GL_POLYGON_BIT);
    glEnable(GL_COLOR_MATERIAL);
    glColor4ub(255, 255, 255, 255);
    try {
        work();
    } catch (const Exception& failure) {
        std::cerr << "A painter of the 3D view failed: " << failure;
    } catch (const std::exception& failure) {
        std::cerr << "A painter of the 3D view failed: " << failure.what() << std::endl;
    }
    glPopAttrib();
}

} // namespace

ViewerCanvasGL::ViewerCanvasGL(QWidget* parent)
    : QOpenGLWidget(parent), __center(nullVector()), __rotation(nullVector()) {
    setFormat(VorlenApplication::surfaceFormat());
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName("3D view");
    setWhatsThis("Drag to turn the scene, with Shift about the line of sight, with Ctrl to zoom, with Alt to move. "
                 "The wheel zooms; a double click takes all back.");
    __restoreBackground();
}

void ViewerCanvasGL::setPainters(const std::vector<PainterGL<float>*>& list) {
    __painters = list;
}

void ViewerCanvasGL::addPainter(PainterGL<float>& painter) {
    __painters.push_back(&painter);
}

void ViewerCanvasGL::removePainter(PainterGL<float>& painter) {
    std::erase(__painters, &painter);
    __hidden.erase(&painter);
}

void ViewerCanvasGL::removePainters() {
    __painters.clear();
    __hidden.clear();
}

Pose ViewerCanvasGL::getPose() const {
    Pose pose;
    pose.setRotation(__rotation);
    const float shown = 1 + 1 / __zoom;
    pose.setXTranslation(thousandths(-100 * __tx / shown));
    pose.setYTranslation(thousandths(-100 * __ty / shown));
    pose.setZoom(thousandths(100 * __zoom));
    pose.setAmbientLight(thousandths(255 * __ambient));
    pose.setDiffuseLight(thousandths(255 * __diffuse));
    pose.setSpecularLight(thousandths(255 * __specular));
    return pose;
}

void ViewerCanvasGL::setPose(const Pose& pose) {
    __rotation = pose.getRotation();
    __applyZoom(pose.getExactZoom()); // with which the translation is converted
    __applyTranslation(pose.getExactXTranslation(), pose.getExactYTranslation());
    __ambient = lightOf(pose.getExactAmbientLight());
    __diffuse = lightOf(pose.getExactDiffuseLight());
    __specular = lightOf(pose.getExactSpecularLight());
    __lightDirty = true;
    repaint();
}

void ViewerCanvasGL::initializeGL() {
    updateBoundingBox();
    if (context() == nullptr)
        return; // not shown yet: the first show comes back here
    const bool current = QOpenGLContext::currentContext() == context();
    if (!current)
        makeCurrent();
    __initializeState();
    if (!current)
        doneCurrent();
}

void ViewerCanvasGL::updateBoundingBox() {
    __sceneBox = BoundingBox<float>();
    for (const PainterGL<float>* painter : __painters) {
        const BoundingBox<float> box = painter->boundingBox();
        if (box.isValid())
            __sceneBox = __sceneBox.merge(BoundingBox<float>(inSpace3(box.getVertex1()), inSpace3(box.getVertex2())));
    }
    __center = nullVector();
    __radius = 1;
    if (__sceneBox.isValid()) {
        __center = __sceneBox.cog();
        const float radius = 0.6f * __sceneBox.diagonal();
        if (std::isfinite(radius) && radius > 0)
            __radius = radius;
    }
    __scaleBoundingBox();
    __projectionDirty = true;
}

Pose ViewerCanvasGL::fittingPose() const {
    Pose pose = getPose();
    pose.setXTranslation(0);
    pose.setYTranslation(0);
    pose.setZoom(100);
    std::vector<float> points;
    for (const PainterGL<float>* painter : __painters)
        painter->addPoints(points);
    const Matrix<float> rotation = rotationMatrix(__rotation);
    const float eye = __projection.eyeDistance() * __radius;
    // The shadows of the points on the plane through the centre, in world coordinates.
    float low[2] = {HUGE_VALF, HUGE_VALF}, high[2] = {-HUGE_VALF, -HUGE_VALF};
    for (std::size_t i = 0; i + 2 < points.size(); i += 3) {
        Vector<float> p(3);
        for (int k = 0; k < 3; ++k)
            p[k] = points[i + std::size_t(k)] - __center[k];
        p = rotation * p;
        const float scale = __projection.isPerspective() ? (eye - __radius) / (eye - p[2]) : 1;
        for (int k = 0; k < 2; ++k) {
            low[k] = std::min(low[k], p[k] * scale);
            high[k] = std::max(high[k], p[k] * scale);
        }
    }
    if (!(high[0] >= low[0]) || !(high[1] >= low[1]))
        return pose;
    const float shown[2] = {float(std::max(width(), 1)), float(std::max(height(), 1))};
    float zoom = maxZoom;
    for (int k = 0; k < 2; ++k)
        if (high[k] > low[k])
            zoom = std::min(zoom, shown[k] / std::max(shown[0], shown[1]) * 2 * __radius / (high[k] - low[k]));
    pose.setZoom(std::max(1, int(96 * zoom))); // translations are whole percents: they need a margin
    const float percent = (1 + 100 / float(pose.getZoom())) / 100 * __radius;
    pose.setXTranslation(Maths::fround(-(low[0] + high[0]) / 2 / percent));
    pose.setYTranslation(Maths::fround(-(low[1] + high[1]) / 2 / percent));
    return pose;
}

void ViewerCanvasGL::combineXYRotation(int a, int b) {
    __combine(Maths::xRotationMatrix3D(Maths::toRadians(0.25f * float(a))) *
              Maths::yRotationMatrix3D(Maths::toRadians(0.25f * float(b))));
}

void ViewerCanvasGL::combineZRotation(int a) {
    __combine(Maths::zRotationMatrix3D(Maths::toRadians(float(a))));
}

void ViewerCanvasGL::translateBy(int dx, int dy) {
    __tx -= float(dx) / float(std::max(width(), 1));
    __ty += float(dy) / float(std::max(height(), 1));
    __projectionDirty = true;
    emit translationChanged(__translation());
    emit poseChanged(getPose());
    repaint();
}

void ViewerCanvasGL::zoomBy(float difference) {
    __zoom = std::clamp(__zoom + difference, minZoom, maxZoom);
    __projectionDirty = true;
    emit zoomChanged(Maths::fround(100 * __zoom));
    emit poseChanged(getPose());
    repaint();
}

ViewerCamera ViewerCanvasGL::getCamera() const {
    return {__rotation, __tx, __ty, __zoom, __revealed};
}

ViewerCamera ViewerCanvasGL::cameraOf(const Pose& pose) {
    const float zoom = std::max(float(pose.getExactZoom()) / 100, minZoom), shown = 1 + 1 / zoom;
    return {pose.getRotation(), -float(pose.getExactXTranslation()) * shown / 100,
            -float(pose.getExactYTranslation()) * shown / 100, zoom, 1};
}

void ViewerCanvasGL::__setCamera(const ViewerCamera& camera) {
    __rotation = camera.rotation;
    __tx = camera.tx;
    __ty = camera.ty;
    __zoom = camera.zoom;
    __revealed = camera.revealed;
    __projectionDirty = true;
}

QImage ViewerCanvasGL::renderFrame(const QSize& size, const ViewerCamera& camera) {
    if (context() == nullptr || size.isEmpty())
        return {};
    makeCurrent();
    GLint most = 0;
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &most);
    QImage picture;
    if (size.width() <= most && size.height() <= most) {
        QOpenGLFramebufferObjectFormat form;
        form.setAttachment(QOpenGLFramebufferObject::Depth);
        form.setSamples(format().samples());
        QOpenGLFramebufferObject frame(size, form);
        if (frame.isValid() && frame.bind()) {
            const ViewerCamera present = getCamera();
            ViewerCamera fitted = camera;
            const auto part = [](int side, const QSize& whole) {
                return float(side) / float(std::max({whole.width(), whole.height(), 1}));
            };
            fitted.zoom /= std::max(part(width(), this->size()) / part(size.width(), size),
                                    part(height(), this->size()) / part(size.height(), size));
            __setCamera(fitted);
            __frameSize = size;
            __paint(true);
            __frameSize = {};
            __setCamera(present);
            picture = frame.toImage().convertToFormat(QImage::Format_RGB32);
            frame.release();
        }
    }
    doneCurrent();
    return picture;
}

void ViewerCanvasGL::setPainterShown(const PainterGL<float>& painter, bool shown) {
    if (shown)
        __hidden.erase(&painter);
    else
        __hidden.insert(&painter);
}

void ViewerCanvasGL::setMark(const std::optional<Vector<float>>& place) {
    __mark = place;
    update();
}

std::optional<Vector<float>> ViewerCanvasGL::placeAt(const QPoint& position) {
    if (context() == nullptr || !rect().contains(position))
        return std::nullopt;
    makeCurrent();
    std::optional<Vector<float>> place;
    const double density = devicePixelRatioF();
    const QSize size(int(std::lround(width() * density)), int(std::lround(height() * density)));
    // One sample for a pixel: depths of several can't be read.
    QOpenGLFramebufferObject frame(size, QOpenGLFramebufferObject::Depth);
    if (frame.isValid() && frame.bind()) {
        __setViewport();
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        if (__projectionDirty)
            __updateGLProjection();
        __loadCamera();
        for (const PainterGL<float>* painter : __painters) // what shines through can be pointed at, too
            if (isPainterShown(*painter))
                __draw(*painter);
        const QPoint pixel(int(position.x() * density), size.height() - 1 - int(position.y() * density));
        place = __placeDrawnAt(pixel, size);
        frame.release();
    }
    doneCurrent();
    return place;
}

/// By the depths that have been drawn, with the camera set. The pixel counts from the bottom.
std::optional<Vector<float>> ViewerCanvasGL::__placeDrawnAt(const QPoint& pixel, const QSize& frame) const {
    constexpr int reach = 3;
    float depth = 1;
    QPoint found;
    int nearest = reach * reach + 1;
    for (int dy = -reach; dy <= reach; ++dy)
        for (int dx = -reach; dx <= reach; ++dx) {
            const QPoint at = pixel + QPoint(dx, dy);
            const int distance = dx * dx + dy * dy;
            GLfloat here = 1;
            if (distance >= nearest || !QRect(QPoint(0, 0), frame).contains(at))
                continue;
            glReadPixels(at.x(), at.y(), 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &here);
            if (here < 1) {
                depth = here;
                found = at;
                nearest = distance;
            }
        }
    if (depth >= 1)
        return std::nullopt;
    GLfloat view[16], projection[16];
    GLint port[4];
    glGetFloatv(GL_MODELVIEW_MATRIX, view);
    glGetFloatv(GL_PROJECTION_MATRIX, projection);
    glGetIntegerv(GL_VIEWPORT, port);
    // OpenGL gives columns, and takes the middle of a pixel.
    const QVector3D world = QVector3D(float(found.x()) + 0.5f, float(found.y()) + 0.5f, depth)
                                .unproject(QMatrix4x4(view).transposed(), QMatrix4x4(projection).transposed(),
                                           QRect(port[0], port[1], port[2], port[3]));
    Vector<float> place(3);
    for (int k = 0; k < 3; ++k)
        place[k] = world[k];
    return place;
}

bool ViewerCanvasGL::saveSnapshot(const QString& file, QString* reason) {
    // A picture is opaque, whatever the frame buffer holds in its alpha channel.
    const QImage picture = grabFramebuffer().convertToFormat(QImage::Format_RGB32);
    QSaveFile out(file);
    // Made before it is written: of a full disk the library of PNG would say no more than that it could not write.
    QBuffer bytes;
    bytes.open(QIODevice::WriteOnly);
    const bool isMade = picture.save(&bytes, "PNG");
    bool isSaved = isMade && out.open(QIODevice::WriteOnly);
    // On a full disk a part is written at first, and only the rest tells why not.
    for (QByteArray rest = bytes.data(); isSaved && !rest.isEmpty();) {
        const qint64 written = out.write(rest);
        isSaved = written > 0;
        rest.remove(0, qsizetype(std::max(written, qint64(0))));
    }
    isSaved = isSaved && out.flush() && out.commit();
    if (!isSaved && reason != nullptr)
        *reason = isMade ? out.errorString() : "There is no picture";
    return isSaved;
}

QSize ViewerCanvasGL::sizeHint() const {
    return {640, 480};
}

void ViewerCanvasGL::setRotation(const Vector<float>& rotation) {
    if (rotation.getSize() != 3)
        throw SizeError("void ViewerCanvasGL::setRotation(const Vector<float>&)", "A rotation has three angles");
    __rotation = rotation;
    repaint();
}

void ViewerCanvasGL::setTranslation(const Vector<int>& translation) {
    if (translation.getSize() != 2)
        throw SizeError("void ViewerCanvasGL::setTranslation(const Vector<int>&)", "A translation has two components");
    __applyTranslation(translation[0], translation[1]);
    repaint();
}

void ViewerCanvasGL::setZoom(int zoom) {
    __applyZoom(zoom);
    repaint();
}

void ViewerCanvasGL::setBoundingBoxScaling(int scaling) {
    __boundingBoxScaling = scaling;
    __scaleBoundingBox();
    repaint();
}

void ViewerCanvasGL::setAmbientLight(int light) {
    __ambient = lightOf(light);
    __lightDirty = true;
    repaint();
}

void ViewerCanvasGL::setDiffuseLight(int light) {
    __diffuse = lightOf(light);
    __lightDirty = true;
    repaint();
}

void ViewerCanvasGL::setSpecularLight(int light) {
    __specular = lightOf(light);
    __lightDirty = true;
    repaint();
}

void ViewerCanvasGL::resetPose() {
    __tx = __ty = 0;
    __rotation.setZeros();
    __zoom = 1;
    __projectionDirty = true;
    repaint();
    emit poseChanged(getPose());
}

void ViewerCanvasGL::setStandardPose1() {
    setPose(Pose::canonicalPose1());
}

void ViewerCanvasGL::setStandardPose2() {
    setPose(Pose::canonicalPose2());
}

void ViewerCanvasGL::setStandardPose3() {
    setPose(Pose::canonicalPose3());
}

void ViewerCanvasGL::setRevStandardPose1() {
    setPose(Pose::reverseCanonicalPose1());
}

void ViewerCanvasGL::setRevStandardPose2() {
    setPose(Pose::reverseCanonicalPose2());
}

void ViewerCanvasGL::setRevStandardPose3() {
    setPose(Pose::reverseCanonicalPose3());
}

void ViewerCanvasGL::setBackground(const BackgroundGL& background) {
    __applyBackground(background);
    const Vector<int>& color = __background.getColor();
    QSettings settings;
    settings.setValue(colorKey, QColor(color[0], color[1], color[2], color[3]));
    settings.setValue(gradientKey, __background.isGradientEnabled());
    repaint();
}

void ViewerCanvasGL::setProjection(const ProjectionGL& projection) {
    __projection = projection;
    __projectionDirty = true;
    repaint();
}

void ViewerCanvasGL::toggleBoundingBox(bool shown) {
    __boundingBoxPainter.setActive(shown);
    repaint();
}

void ViewerCanvasGL::snapshot() {
    const QString file =
        QFileDialog::getSaveFileName(this, "Enter output filename", QString(), "Portable Network Graphics (*.png)");
    if (file.isEmpty() || saveSnapshot(file))
        return;
    PlainMessageBox box(QMessageBox::Critical, QString(), "Could not write file\n\n" + file, QMessageBox::Ok, this);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

void ViewerCanvasGL::resizeGL(int, int) {
    __setViewport();
}

void ViewerCanvasGL::paintGL() {
    if (!__moving || __coarse) {
        __paint(!__coarse);
        return;
    }
    QElapsedTimer timer;
    timer.start();
    __paint(true);
    glFinish(); // drawing goes on behind the calls
    __coarse = timer.elapsed() > slowPaint;
}

void ViewerCanvasGL::mousePressEvent(QMouseEvent* event) {
    __lastX = event->position().toPoint().x();
    __lastY = event->position().toPoint().y();
    __pressed = event->position().toPoint();
}

void ViewerCanvasGL::mouseMoveEvent(QMouseEvent* event) {
    const QPoint position = event->position().toPoint();
    const int dx = position.x() - __lastX;
    const int dy = position.y() - __lastY;
    __lastX = position.x();
    __lastY = position.y();
    __moving = true;
    const Qt::KeyboardModifiers modifiers = event->modifiers();
    const bool drag = event->buttons() == Qt::LeftButton;
    if (drag && modifiers == Qt::NoModifier)
        combineXYRotation(dy, dx);
    else if (drag && modifiers == Qt::ControlModifier)
        zoomBy(float(dx) * 3 / float(std::max(width(), 1)));
    else if (drag && modifiers == Qt::AltModifier)
        translateBy(dx, dy);
    else if (drag && modifiers == Qt::ShiftModifier)
        combineZRotation(dx);
    else
        repaint();
}

void ViewerCanvasGL::mouseReleaseEvent(QMouseEvent* event) {
    if (__moving) {
        __moving = false;
        __coarse = false;
        repaint();
    }
    const QPoint at = event->position().toPoint();
    if (event->button() == Qt::LeftButton && event->modifiers() == Qt::NoModifier &&
        (at - __pressed).manhattanLength() < QApplication::startDragDistance())
        emit clicked(at);
}

void ViewerCanvasGL::mouseDoubleClickEvent(QMouseEvent*) {
    resetPose();
}

void ViewerCanvasGL::wheelEvent(QWheelEvent* event) {
    const QPoint angle = event->angleDelta(); // with Alt held down, the wheel turns sideways
    zoomBy(-float(angle.y() != 0 ? angle.y() : angle.x()) / 800);
    event->accept();
}

void ViewerCanvasGL::__paint(bool smooth) {
    if (smooth)
        glEnable(GL_MULTISAMPLE);
    else
        glDisable(GL_MULTISAMPLE);
    __setViewport(); // the widget sets its own before each paint
    __background.glDraw();
    // Colours blend, the alpha channel stays that of the ground: the window must not shine through the scene.
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_FALSE);
    if (__projectionDirty)
        __updateGLProjection();
    if (__lightDirty)
        __updateGLLight();
    __loadCamera();
    __draw(__boundingBoxPainter);
    __clipUnrevealed();
    for (const PainterGL<float>* painter : __painters)
        if (painter->isOpaque() && isPainterShown(*painter))
            __draw(*painter);
    glDepthMask(GL_FALSE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    __drawTranslucent();
    glDisable(GL_BLEND);
    glDepthMask(GL_TRUE);
    glDisable(GL_CLIP_PLANE0);
    __drawMark();
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

void ViewerCanvasGL::__restoreBackground() {
    const QSettings settings;
    if (!settings.contains(colorKey))
        return;
    const auto stored = settings.value(colorKey).value<QColor>();
    if (!stored.isValid())
        return;
    BackgroundGL background;
    Vector<int> color(4);
    color[0] = stored.red();
    color[1] = stored.green();
    color[2] = stored.blue();
    color[3] = stored.alpha();
    background.setColor(color);
    background.setGradientEnabled(settings.value(gradientKey, true).toBool());
    __applyBackground(background);
}

// The frame stands out from the ground, whose alpha does not make it lighter.
void ViewerCanvasGL::__applyBackground(const BackgroundGL& background) {
    __background = background;
    Vector<int> frame(3);
    frame.fill(__background.getColor().copy(0, 2).max() < 127 ? 255 : 0);
    __boundingBoxPainter.setColor(frame);
}

void ViewerCanvasGL::__scaleBoundingBox() {
    BoundingBox<float> frame = __sceneBox;
    if (frame.isValid())
        frame.expand(frame.widths() * (float(__boundingBoxScaling - 100) * 0.01f));
    __boundingBoxPainter.setBoundingBox(frame);
}

void ViewerCanvasGL::__initializeState() {
    glEnable(GL_LIGHTING);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
    glEnable(GL_COLOR_MATERIAL);
    const GLfloat towardsViewer[] = {0, 0, 1, 0};
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glLightfv(GL_LIGHT0, GL_POSITION, towardsViewer);
    glEnable(GL_LIGHT0);
    glEnable(GL_DEPTH_TEST);
    glShadeModel(GL_SMOOTH);
    __projectionDirty = true;
    __lightDirty = true;
}

void ViewerCanvasGL::__setViewport() {
    const bool isFrame = !__frameSize.isEmpty();
    const int w = isFrame ? __frameSize.width() : int(std::lround(width() * devicePixelRatioF()));
    const int h = isFrame ? __frameSize.height() : int(std::lround(height() * devicePixelRatioF()));
    if (w > h)
        glViewport(0, (h - w) / 2, w, w);
    else
        glViewport((w - h) / 2, 0, h, h);
}

void ViewerCanvasGL::__updateGLProjection() {
    const double px = double(__tx) * __radius, py = double(__ty) * __radius, r = double(__radius) / __zoom;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    if (__projection.isPerspective()) {
        const double eye = double(__projection.eyeDistance()) * __radius;
        glFrustum(px - r, px + r, py - r, py + r, eye - __radius, eye + __radius);
    } else {
        glOrtho(px - r, px + r, py - r, py + r, -__radius, __radius);
    }
    glMatrixMode(GL_MODELVIEW);
    __projectionDirty = false;
}

void ViewerCanvasGL::__updateGLLight() {
    const auto setLight = [](GLenum kind, float v) {
        const GLfloat color[] = {v, v, v, 1};
        glLightfv(GL_LIGHT0, kind, color);
    };
    setLight(GL_AMBIENT, __ambient);
    setLight(GL_DIFFUSE, __diffuse);
    setLight(GL_SPECULAR, __specular);
    __lightDirty = false;
}

void ViewerCanvasGL::__loadCamera() const {
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    if (__projection.isPerspective())
        glTranslatef(0, 0, -__projection.eyeDistance() * __radius);
    glRotatef(__rotation[0], 1, 0, 0);
    glRotatef(__rotation[1], 0, 1, 0);
    glRotatef(__rotation[2], 0, 0, 1);
    glTranslatef(-__center[0], -__center[1], -__center[2]);
}

void ViewerCanvasGL::__clipUnrevealed() const {
    if (__revealed >= 1 || !__sceneBox.isValid())
        return;
    const double last = double(__sceneBox.min(2)) + double(__revealed) * double(__sceneBox.max(2) - __sceneBox.min(2));
    const GLdouble plane[] = {0, 0, -1, last};
    glClipPlane(GL_CLIP_PLANE0, plane);
    glEnable(GL_CLIP_PLANE0);
}

void ViewerCanvasGL::__drawMark() const {
    if (!__mark || !__frameSize.isEmpty())
        return;
    const BoundingBox<float>& box = __boundingBoxPainter.getBoundingBox();
    GLfloat points[7][3]; // the ends of the lines, and the place itself
    for (int k = 0; k < 3; ++k) {
        for (GLfloat(&point)[3] : points)
            point[k] = (*__mark)[k];
        points[2 * k][k] = std::min(points[2 * k][k], box.isValid() ? box.min(k) : __center[k] - __radius);
        points[2 * k + 1][k] = std::max(points[2 * k + 1][k], box.isValid() ? box.max(k) : __center[k] + __radius);
    }
    drawSafely([&points] {
        glDisable(GL_LIGHTING);
        glColor4ub(255, 210, 0, 255);
        glLineWidth(1);
        glEnableClientState(GL_VERTEX_ARRAY);
        glVertexPointer(3, GL_FLOAT, 0, points);
        glDrawArrays(GL_LINES, 0, 6);
        glDisable(GL_DEPTH_TEST);
        glPointSize(7);
        glDrawArrays(GL_POINTS, 6, 1);
        glDisableClientState(GL_VERTEX_ARRAY);
    });
}

void ViewerCanvasGL::__draw(const PainterGL<float>& painter) const {
    drawSafely([&painter] { painter.glDraw(); });
}

void ViewerCanvasGL::__drawTranslucent() const {
    std::vector<const PainterGL<float>*> translucent;
    for (const PainterGL<float>* painter : __painters)
        if (!painter->isOpaque() && isPainterShown(*painter))
            translucent.push_back(painter);
    if (translucent.empty())
        return;
    const TranslucentSceneGL::Eye eye{rotationMatrix(__rotation),
                                      {__center[0], __center[1], __center[2]},
                                      __projection.isPerspective() ? __projection.eyeDistance() * __radius : 0};
    drawSafely([&] { __translucent.glDraw(translucent, eye); });
}

void ViewerCanvasGL::__combine(const Matrix<float>& turn) {
    float angles[3];
    Maths::decomposeRotationMatrix3D(turn * rotationMatrix(__rotation), angles[0], angles[1], angles[2]);
    for (int k = 0; k < 3; ++k)
        __rotation[k] = Maths::fround(Maths::toDegrees(angles[k]), 0.25f);
    emit rotationChanged(__rotation);
    emit poseChanged(getPose());
    repaint();
}

void ViewerCanvasGL::__applyTranslation(double x, double y) {
    const float shown = 1 + 1 / __zoom;
    __tx = -float(x) * shown / 100;
    __ty = -float(y) * shown / 100;
    __projectionDirty = true;
}

void ViewerCanvasGL::__applyZoom(double zoom) {
    __zoom = std::max(float(zoom) / 100, minZoom);
    __projectionDirty = true;
}

Vector<int> ViewerCanvasGL::__translation() const {
    const float shown = 1 + 1 / __zoom;
    Vector<int> translation(2);
    translation[0] = -Maths::fround(100 * __tx / shown);
    translation[1] = -Maths::fround(100 * __ty / shown);
    return translation;
}

} // namespace vorlen
