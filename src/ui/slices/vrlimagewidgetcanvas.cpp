#include "ui/slices/vrlimagewidgetcanvas.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include <QMutexLocker>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLPaintDevice>
#include <QPainter>
#include <QTextOption>

#include <GL/glu.h>

#include "images/rasters/image.h"
#include "images/sections/sectionsource.h"
#include "numerics/maths.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/session/vrlpreferences.h"
#include "ui/slices/sectionview.h"
#include "ui/widgets/vorlenapplication.h"

namespace vorlen {

namespace {

/// How many pixels of an image fall on one of the screen.
int stepOf(double zoom) {
    return zoom > 0 ? int(std::clamp(std::floor(1 / zoom), 1.0, 65536.0)) : 65536;
}

} // namespace

VRLImageWidgetCanvas::VRLImageWidgetCanvas(QWidget* parent) : QOpenGLWidget(parent) {
    setFormat(VorlenApplication::surfaceFormat());
    setAutoFillBackground(false);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAccessibleName("Image");
    setAccessibleDescription("The image of a slice. Zoom with plus and minus, scroll with the arrow keys.");
}

// The context goes in the destructor of the base, when this object is none of its class any more.
VRLImageWidgetCanvas::~VRLImageWidgetCanvas() {
    disconnect(__contextGoes);
    forgetTextures();
}

void VRLImageWidgetCanvas::clear() {
    __viewOrigin = QPoint(0, 0);
    __zoomFactor = 1;
    __bestFitMode = true;
    __notice.clear();
    update();
}

VRLImageProxy* VRLImageWidgetCanvas::newImageProxy() const {
    return new VRLImageProxy;
}

VRLImageProxy& VRLImageWidgetCanvas::getImageProxy() {
    if (__imageProxy == nullptr) {
        __imageProxy = newImageProxy();
        __imageProxy->setParent(this);
        connect(__imageProxy, &VRLImageProxy::imageChanged, this, &VRLImageWidgetCanvas::imageProxyChange);
    }
    return *__imageProxy;
}

float VRLImageWidgetCanvas::betaWidth() const {
    return std::min(1.0f, 1 / aspectRatio());
}

float VRLImageWidgetCanvas::betaHeight() const {
    return std::min(1.0f, aspectRatio());
}

void VRLImageWidgetCanvas::setZoomFactor(float zoomFactor) {
    if (!(zoomFactor > 0) || !std::isfinite(zoomFactor))
        return;
    __zoomFactor = zoomFactor;
    rectifyViewOrigin();
    update();
}

void VRLImageWidgetCanvas::setBestFitMode(bool on, bool roundUp) {
    if (on == __bestFitMode)
        return;
    __bestFitMode = on;
    if (on) {
        setBestFitZoomFactor();
        rectifyViewOrigin();
        return;
    }
    const float present = __zoomFactor;
    if (roundUp && present >= 0.5f)
        __zoomFactor = std::ceil(present);
    else if (roundUp)
        for (__zoomFactor = 0.5f; __zoomFactor / 2 > present;)
            __zoomFactor /= 2;
    else if (present > 1)
        __zoomFactor = std::floor(present);
    else
        for (__zoomFactor = 1; __zoomFactor > present;)
            __zoomFactor /= 2;
    rectifyViewOrigin();
}

void VRLImageWidgetCanvas::setBestFitZoomFactor() {
    const QSize size = originalSize();
    if (size.isEmpty() || width() < 1 || height() < 1)
        return;
    const long long imageWidth = std::max(1, int(betaWidth() * float(size.width())));
    const long long imageHeight = std::max(1, int(betaHeight() * float(size.height())));
    const long long canvasWidth = width();
    const long long canvasHeight = height();
    const auto fitted = [](long long side, long long other, long long whole) {
        return std::max(1.0, std::floor(double(side * other) / double(whole) + 0.5)) / double(other);
    };
    __zoomFactor =
        float(canvasHeight * imageWidth > canvasWidth * imageHeight ? fitted(canvasWidth, imageHeight, imageWidth)
                                                                    : fitted(canvasHeight, imageWidth, imageHeight));
}

QSize VRLImageWidgetCanvas::computeMaxViewSize() const {
    const QSize size = originalSize();
    if (__bestFitMode)
        return size;
    const float horizontal = std::ceil(float(width()) / (betaWidth() * __zoomFactor));
    const float vertical = std::ceil(float(height()) / (betaHeight() * __zoomFactor));
    return QSize(horizontal < float(size.width()) ? int(horizontal) : size.width(),
                 vertical < float(size.height()) ? int(vertical) : size.height());
}

QPoint VRLImageWidgetCanvas::computeMaxViewOrigin() const {
    if (__bestFitMode)
        return QPoint(0, 0);
    const QSize rest = originalSize() - computeMaxViewSize();
    return QPoint(rest.width(), rest.height());
}

void VRLImageWidgetCanvas::setViewOrigin(const QPoint& origin) {
    __viewOrigin = origin;
    rectifyViewOrigin();
}

void VRLImageWidgetCanvas::rectifyViewOrigin() {
    const QPoint last = computeMaxViewOrigin();
    __viewOrigin.setX(std::clamp(__viewOrigin.x(), 0, std::max(last.x(), 0)));
    __viewOrigin.setY(std::clamp(__viewOrigin.y(), 0, std::max(last.y(), 0)));
}

QRect VRLImageWidgetCanvas::currentView() const {
    return QRect(__viewOrigin, computeMaxViewSize());
}

void VRLImageWidgetCanvas::setViewCenter(const QPoint& center) {
    const QSize size = computeMaxViewSize();
    setViewOrigin(center - QPoint(size.width() / 2, size.height() / 2));
}

QPoint VRLImageWidgetCanvas::viewCenter() const {
    const QSize size = computeMaxViewSize();
    return __viewOrigin + QPoint(size.width() / 2, size.height() / 2);
}

QPointF VRLImageWidgetCanvas::imagePlace() const {
    const QSize view = computeMaxViewSize();
    const double density = devicePixelRatioF();
    const auto before = [density](int canvas, int pixels, float zoom) {
        return std::max(0.0, std::floor((canvas - pixels * double(zoom)) / 2 * density) / density);
    };
    return QPointF(before(width(), view.width(), __zoomFactor * betaWidth()),
                   before(height(), view.height(), __zoomFactor * betaHeight()));
}

QPoint VRLImageWidgetCanvas::convertToImagePosition(const QPoint& position) const {
    const QPointF place = position - imagePlace();
    return QPoint(int(std::floor(float(place.x()) / (__zoomFactor * betaWidth()))) + __viewOrigin.x(),
                  int(std::floor(float(place.y()) / (__zoomFactor * betaHeight()))) + __viewOrigin.y());
}

Vector<int> VRLImageWidgetCanvas::convertToVectori(const QPoint& position) const {
    const QPoint pixel = convertToImagePosition(position);
    Vector<int> vector(2);
    vector[0] = pixel.x();
    vector[1] = pixel.y();
    return vector;
}

QPointF VRLImageWidgetCanvas::convertToImagePoint(const QPointF& position) const {
    const QPointF place = position - imagePlace();
    return QPointF(place.x() / double(__zoomFactor * betaWidth()) + __viewOrigin.x(),
                   place.y() / double(__zoomFactor * betaHeight()) + __viewOrigin.y());
}

QPointF VRLImageWidgetCanvas::convertToPosition(const QPointF& point) const {
    return imagePlace() + QPointF((point.x() - __viewOrigin.x()) * double(__zoomFactor * betaWidth()),
                                  (point.y() - __viewOrigin.y()) * double(__zoomFactor * betaHeight()));
}

std::shared_ptr<TiledSection> VRLImageWidgetCanvas::getSection() const {
    return __section != nullptr ? __section->getSection() : nullptr;
}

void VRLImageWidgetCanvas::setNotice(const QString& notice) {
    if (notice == __notice)
        return;
    __notice = notice;
    update();
}

void VRLImageWidgetCanvas::setBlackAndWhite(const float black, const float white) {
    if (!std::isfinite(black) || !std::isfinite(white))
        return;
    __black = black;
    __white = white;
    update();
}

void VRLImageWidgetCanvas::setGreyScale(const GreyScale& scale) {
    if (scale == __greyScale)
        return;
    __greyScale = scale;
    ++__imageRevision; // a kept picture is another one
    update();
}

GreyScale VRLImageWidgetCanvas::shownScale() const {
    GreyScale scale = __greyScale;
    const float range = scale.high - scale.low;
    scale.low = __greyScale.low + __black * range;
    scale.high = __greyScale.low + __white * range;
    return scale;
}

/// There is a section where the image that has come is less than the source has.
void VRLImageWidgetCanvas::updateSection() {
    const bool isWanted = __imageProxy != nullptr && __imageProxy->isOverview() && __imageProxy->hasImageSource() &&
                          isLargeSection(__imageProxy->getImageSource());
    if (!isWanted) {
        __section.reset();
        return;
    }
    if (__section && __section->shows(__imageProxy->getImageSource()))
        return;
    __section = std::make_unique<SectionView>(__imageProxy->getImageSource());
    connect(__section.get(), &SectionView::changed, this, [this] {
        ++__imageRevision; // a kept picture is another one
        update();
    });
}

void VRLImageWidgetCanvas::imageProxyChange() {
    ++__imageRevision;
    __textures.forgetImages();
    updateSection();
    if (__bestFitMode)
        setBestFitZoomFactor();
    rectifyViewOrigin();
    update();
}

void VRLImageWidgetCanvas::initializeGL() {
    __contextGoes =
        connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &VRLImageWidgetCanvas::forgetTextures);
}

void VRLImageWidgetCanvas::forgetTextures() {
    if (context() == nullptr)
        return;
    makeCurrent();
    __textures.clear();
    doneCurrent();
}

void VRLImageWidgetCanvas::resizeGL(int width, int height) {
    const double density = devicePixelRatioF();
    glViewport(0, 0, qRound(width * density), qRound(height * density));
    if (__bestFitMode)
        setBestFitZoomFactor();
    else
        rectifyViewOrigin();
}

void VRLImageWidgetCanvas::paintGL() {
    beforePaintGL();
    paintImageGL();
}

void VRLImageWidgetCanvas::beforePaintGL() {
    QOpenGLFunctions& gl = *QOpenGLContext::currentContext()->functions();
    gl.glUseProgram(0);
    gl.glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    for (const GLenum state : {GL_DEPTH_TEST, GL_STENCIL_TEST, GL_SCISSOR_TEST, GL_BLEND, GL_DITHER, GL_TEXTURE_2D,
                               GL_LIGHTING, GL_CULL_FACE})
        glDisable(state);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glShadeModel(GL_FLAT);
    const QColor& color = VRLPreferences::getImageCanvasBackgroundColor();
    glClearColor(float(color.redF()), float(color.greenF()), float(color.blueF()), 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, std::max(width(), 1), -std::max(height(), 1), 0, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

void VRLImageWidgetCanvas::paintImageGL() {
    const QMutexLocker locker(&__mutex);
    const Image* const image = paintedImage();
    if (isVisible() && image != nullptr)
        paintSection(*image);
    else if (isVisible() && !__notice.isEmpty() && (__imageProxy == nullptr || !__imageProxy->hasImage()))
        paintNotice();
    // A lost context may report errors without end.
    for (int i = 0; i < 16; ++i) {
        const GLenum error = glGetError();
        if (error == GL_NO_ERROR)
            break;
        std::cerr << "*** OpenGL error: " << reinterpret_cast<const char*>(gluErrorString(error)) << std::endl;
    }
}

// A painter on the widget itself would paint elsewhere while a window around the canvas is grabbed.
std::unique_ptr<QPaintDevice> VRLImageWidgetCanvas::newPaintDevice() const {
    const double density = devicePixelRatioF();
    auto device = std::make_unique<QOpenGLPaintDevice>(qRound(width() * density), qRound(height() * density));
    device->setDevicePixelRatio(density);
    return device;
}

QSize VRLImageWidgetCanvas::originalSize() const {
    return __imageProxy != nullptr ? __imageProxy->getOriginalImageSize() : QSize(0, 0);
}

float VRLImageWidgetCanvas::aspectRatio() const {
    const float ratio = __imageProxy != nullptr ? __imageProxy->getPixelCalibration().getAspectRatio() : 1;
    return ratio > 0 && std::isfinite(ratio) ? ratio : 1;
}

const Image* VRLImageWidgetCanvas::paintedImage() const {
    if (__imageProxy == nullptr || !__imageProxy->hasImage() || originalSize().isEmpty())
        return nullptr;
    const QSize original = originalSize();
    const double zoom = double(__zoomFactor) * devicePixelRatioF();
    // Less one, as a reduced image of just this size is the best there can be.
    const QSize target(int(std::min(zoom * original.width() + 0.5, 1e9)) - 1,
                       int(std::min(zoom * original.height() + 0.5, 1e9)) - 1);
    const Image& image = __imageProxy->getImage(target);
    return image.getData() != nullptr && image.getWidth() > 0 && image.getHeight() > 0 ? &image : nullptr;
}

/// The image, and over it the tiles of a section.
void VRLImageWidgetCanvas::paintSection(const Image& overview) {
    __textures.beginFrame();
    paintImageGL(overview, nullptr, QRectF(QPointF(0, 0), QSizeF(originalSize())));
    const double zoom = double(__zoomFactor) * devicePixelRatioF();
    if (__section)
        for (const SectionView::Piece& piece : __section->piecesIn(currentView(), zoom > 0 ? 1 / zoom : 1))
            paintImageGL(*piece.tile, piece.tile, piece.place);
    __textures.endFrame();
    if (__textures.isBehind()) {
        ++__imageRevision; // a kept picture lacks something
        update();
    }
}

// A texel begins where its first pixel does on the screen, which has whole pixels although the widget may have none.
void VRLImageWidgetCanvas::paintImageGL(const Image& image, const std::shared_ptr<const Image>& owner,
                                        const QRectF& place) {
    const double density = devicePixelRatioF();
    const double horScale = image.getWidth() / place.width();
    const double verScale = image.getHeight() / place.height();
    const QRect whole = currentView();
    const QRectF view = place & QRectF(whole);
    if (view.isEmpty())
        return;
    const double horZoom = double(__zoomFactor) * density * double(betaWidth());
    const double verZoom = double(__zoomFactor) * density * double(betaHeight());
    ImageTextures::Steps steps{stepOf(horZoom / horScale), stepOf(verZoom / verScale)};
    if (std::max(steps.columns, steps.rows) <= 2)
        steps = {};

    const double left = (view.x() - place.x()) * horScale / steps.columns;
    const double top = (view.y() - place.y()) * verScale / steps.rows;
    const double right = left + view.width() * horScale / steps.columns;
    const double bottom = top + view.height() * verScale / steps.rows;
    const int column = int(left), row = int(top);
    const QRect texels(column, row, std::max(int(std::ceil(right - 1e-6)) - column, 1),
                       std::max(int(std::ceil(bottom - 1e-6)) - row, 1));
    const double horUnit = std::max(width(), 1) / std::max(double(qRound(width() * density)), 1.0);
    const double verUnit = std::max(height(), 1) / std::max(double(qRound(height() * density)), 1.0);
    const QPointF corner = imagePlace() * density;
    __textures.draw(
        image, owner, {shownScale(), __black, __white}, steps, texels,
        [&](int texel) {
            return (corner.x() + (texel * steps.columns / horScale + place.x() - whole.x()) * horZoom) * horUnit;
        },
        [&](int texel) {
            return -(corner.y() + (texel * steps.rows / verScale + place.y() - whole.y()) * verZoom) * verUnit;
        });
}

void VRLImageWidgetCanvas::paintNotice() {
    const std::unique_ptr<QPaintDevice> device = newPaintDevice();
    QPainter painter(device.get());
    const bool darkBackground = qGray(VRLPreferences::getImageCanvasBackgroundColor().rgb()) < 140;
    painter.setPen(darkBackground ? Qt::white : Qt::black);
    QTextOption option(Qt::AlignCenter);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    painter.drawText(QRectF(rect()).adjusted(12, 12, -12, -12), __notice, option);
}

} // namespace vorlen
