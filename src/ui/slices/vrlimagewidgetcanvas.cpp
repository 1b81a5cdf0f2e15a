#include "ui/slices/vrlimagewidgetcanvas.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iostream>
#include <vector>

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

/// A block of pixels as OpenGL takes it.
struct Pixels {
    const unsigned char* data;
    int rowLength; // pixels
    int skipColumns;
    int skipRows;
    int width;
    int height;
    double horZoom; // device pixels for one of these pixels
    double verZoom;
};

/// Every step-th pixel of the block, which then needs no more memory than the screen.
std::vector<unsigned char> thinOut(Pixels& pixels, int bytesPerPixel, int horStep, int verStep) {
    const int width = (pixels.width + horStep - 1) / horStep;
    const int height = (pixels.height + verStep - 1) / verStep;
    const auto size = static_cast<std::size_t>(bytesPerPixel);
    std::vector<unsigned char> thin(size * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    unsigned char* to = thin.data();
    for (int i = 0; i < height; ++i) {
        const int row = pixels.skipRows + std::min(i * verStep + verStep / 2, pixels.height - 1);
        const unsigned char* const from =
            pixels.data + size * static_cast<std::size_t>(row) * static_cast<std::size_t>(pixels.rowLength);
        for (int j = 0; j < width; ++j, to += size) {
            const int column = pixels.skipColumns + std::min(j * horStep + horStep / 2, pixels.width - 1);
            std::memcpy(to, from + size * static_cast<std::size_t>(column), size);
        }
    }
    pixels = {thin.data(), width, 0, 0, width, height, pixels.horZoom * horStep, pixels.verZoom * verStep};
    return thin;
}

/// The block of values as they are shown, in bytes.
std::vector<unsigned char> toBytes(Pixels& pixels, bool real, const GreyScale& scale) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height));
    const std::size_t size = real ? 4 : 2;
    // Words are looked up, as there are fewer than pixels.
    std::vector<unsigned char> table(real ? 0 : 65536);
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = scale.shown(float(i));
    unsigned char* to = bytes.data();
    for (int i = 0; i < pixels.height; ++i) {
        const unsigned char* from = pixels.data + size * (static_cast<std::size_t>(pixels.skipRows + i) *
                                                              static_cast<std::size_t>(pixels.rowLength) +
                                                          static_cast<std::size_t>(pixels.skipColumns));
        for (int j = 0; j < pixels.width; ++j, from += size) {
            float value = 0;
            unsigned short word = 0;
            if (real)
                std::memcpy(&value, from, 4);
            else
                std::memcpy(&word, from, 2);
            *to++ = real ? scale.shown(value) : table[word];
        }
    }
    pixels = {bytes.data(), pixels.width, 0, 0, pixels.width, pixels.height, pixels.horZoom, pixels.verZoom};
    return bytes;
}

/// The maps are padded to 256 entries, as indices beyond the end of a colormap are black.
void setIndexMaps(const Colormap& colormap) {
    const unsigned char* const tables[] = {colormap.getRed(), colormap.getGreen(), colormap.getBlue()};
    const GLenum maps[] = {GL_PIXEL_MAP_I_TO_R, GL_PIXEL_MAP_I_TO_G, GL_PIXEL_MAP_I_TO_B};
    const int size = std::min(colormap.getSize(), 256);
    for (int k = 0; k < 3; ++k) {
        std::array<GLfloat, 256> values{};
        for (int i = 0; i < size; ++i)
            values[static_cast<std::size_t>(i)] = float(tables[k][i]) / 255;
        glPixelMapfv(maps[k], 256, values.data());
    }
    const GLfloat opaque = 1;
    glPixelMapfv(GL_PIXEL_MAP_I_TO_A, 1, &opaque);
}

/// Red, green and blue alike; whatever a fourth byte means, images are opaque.
void setTransfer(float black, float white) {
    const float range = std::max(white - black, 1e-4f);
    for (const GLenum scale : {GL_RED_SCALE, GL_GREEN_SCALE, GL_BLUE_SCALE})
        glPixelTransferf(scale, 1 / range);
    for (const GLenum bias : {GL_RED_BIAS, GL_GREEN_BIAS, GL_BLUE_BIAS})
        glPixelTransferf(bias, -black / range);
    glPixelTransferf(GL_ALPHA_SCALE, 0);
    glPixelTransferf(GL_ALPHA_BIAS, 1);
}

void draw(const Pixels& pixels, GLenum format, GLenum type) {
    glPixelZoom(float(pixels.horZoom), float(-pixels.verZoom));
    glPixelStorei(GL_UNPACK_SWAP_BYTES, GL_FALSE);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, pixels.rowLength);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, pixels.skipColumns);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, pixels.skipRows);
    glDrawPixels(pixels.width, pixels.height, format, type, pixels.data);
}

GLenum formatOf(int depth) {
    return depth == 24 ? GL_RGB : depth == 32 ? GL_RGBA : GL_LUMINANCE;
}

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

VRLImageWidgetCanvas::~VRLImageWidgetCanvas() = default;

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
    updateSection();
    if (__bestFitMode)
        setBestFitZoomFactor();
    rectifyViewOrigin();
    update();
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
    paintImageGL(overview, QRectF(QPointF(0, 0), QSizeF(originalSize())));
    if (!__section)
        return;
    const double zoom = double(__zoomFactor) * devicePixelRatioF();
    for (const SectionView::Piece& piece : __section->piecesIn(currentView(), zoom > 0 ? 1 / zoom : 1))
        paintImageGL(*piece.tile, piece.place);
}

// A view that begins within a pixel of a reduced image begins left of and above the canvas. A raster position out there
// would be invalid and nothing be drawn: it is set to the corner and moved from there, which is allowed.
void VRLImageWidgetCanvas::paintImageGL(const Image& image, const QRectF& place) {
    const double zoom = double(__zoomFactor) * devicePixelRatioF();
    const double horScale = image.getWidth() / place.width();
    const double verScale = image.getHeight() / place.height();
    const QRect whole = currentView();
    const QRectF view = place & QRectF(whole);
    if (view.isEmpty())
        return;
    const double left = (view.x() - place.x()) * horScale;
    const double top = (view.y() - place.y()) * verScale;

    Pixels pixels;
    pixels.data = image.getData();
    pixels.rowLength = image.getWidth();
    pixels.skipColumns = std::min(int(left), image.getWidth() - 1);
    pixels.skipRows = std::min(int(top), image.getHeight() - 1);
    pixels.width = std::clamp(int(std::ceil(left + view.width() * horScale - 1e-6)) - pixels.skipColumns, 1,
                              image.getWidth() - pixels.skipColumns);
    pixels.height = std::clamp(int(std::ceil(top + view.height() * verScale - 1e-6)) - pixels.skipRows, 1,
                               image.getHeight() - pixels.skipRows);
    pixels.horZoom = zoom * double(betaWidth()) / horScale;
    pixels.verZoom = zoom * double(betaHeight()) / verScale;
    const double toRight = (view.x() - whole.x()) * horScale * pixels.horZoom;
    const double toBottom = (view.y() - whole.y()) * verScale * pixels.verZoom;
    const double beforeLeft = (left - pixels.skipColumns) * pixels.horZoom - toRight;
    const double aboveTop = (top - pixels.skipRows) * pixels.verZoom - toBottom;

    std::vector<unsigned char> thin; // keeps the pixels until they are drawn
    const int horStep = stepOf(pixels.horZoom);
    const int verStep = stepOf(pixels.verZoom);
    if (std::max(horStep, verStep) > 2)
        thin = thinOut(pixels, image.bytesPerPixel(), horStep, verStep);
    const bool throughScale = hasGreyScale(image);
    if (throughScale)
        thin = toBytes(pixels, image.isReal(), shownScale());

    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPushAttrib(GL_PIXEL_MODE_BIT);
    glRasterPos2i(0, 0);
    const QPointF corner = imagePlace() * devicePixelRatioF();
    glBitmap(0, 0, 0, 0, float(corner.x() - beforeLeft), float(aboveTop - corner.y()), nullptr);
    if (image.isIndexed() && !image.getColormap()->isIdentity()) {
        setIndexMaps(*image.getColormap());
        glPixelTransferi(GL_MAP_COLOR, GL_TRUE);
        draw(pixels, GL_COLOR_INDEX, GL_UNSIGNED_BYTE);
    } else {
        throughScale ? setTransfer(0, 1) : setTransfer(__black, __white);
        draw(pixels, throughScale ? GL_LUMINANCE : formatOf(image.getDepth()), GL_UNSIGNED_BYTE);
    }
    glPopAttrib();
    glPopClientAttrib();
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
