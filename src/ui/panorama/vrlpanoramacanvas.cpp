#include "ui/panorama/vrlpanoramacanvas.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include <QPainter>

#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "images/rasters/colormap.h"
#include "images/rasters/image.h"
#include "ui/imageserver/panoramaimageserver.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/imageserver/vrlimageserver.h"
#include "ui/session/vrlpreferences.h"
#include "ui/slices/vrlpainter.h"

namespace vorlen {

namespace {

/// The picture of a plain image; grey values beyond bytes are shown by the scale.
QImage toQImage(const Image& image, const GreyScale& scale) {
    const int width = image.getWidth();
    const int height = image.getHeight();
    if (image.getDepth() == 24 || (image.getDepth() == 32 && !image.isReal())) {
        QImage picture(width, height, QImage::Format_RGB32);
        const int step = image.bytesPerPixel();
        for (int i = 0; i < height; ++i) {
            const unsigned char* from = image.getPixels()[i];
            auto* const to = reinterpret_cast<QRgb*>(picture.scanLine(i));
            for (int j = 0; j < width; ++j, from += step)
                to[j] = qRgb(from[0], from[1], from[2]);
        }
        return picture;
    }
    QImage picture(width, height, QImage::Format_Grayscale8);
    for (int i = 0; i < height; ++i) {
        const unsigned char* const from = image.getPixels()[i];
        uchar* const to = picture.scanLine(i);
        if (image.isReal()) {
            for (int j = 0; j < width; ++j)
                to[j] = scale.shown(image.realRow(i)[j]);
        } else if (image.getDepth() == 16) {
            for (int j = 0; j < width; ++j) {
                std::uint16_t value = 0;
                std::memcpy(&value, from + 2 * j, sizeof value);
                to[j] = scale.shown(float(value));
            }
        } else {
            std::memcpy(to, from, std::size_t(width));
        }
    }
    return picture;
}

} // namespace

VRLPanoramaCanvas::VRLPanoramaCanvas(QWidget* parent) : QFrame(parent), __proxy(new VRLImageProxy(this)) {
    setFrameStyle(QFrame::Box | QFrame::Plain);
    setLineWidth(1);
    setContentsMargins(1, 1, 1, 1);
    setThumbnailSize(__size);
    connect(__proxy, &VRLImageProxy::imageChanged, this, &VRLPanoramaCanvas::takeImage);
    connect(__proxy, &VRLImageProxy::imageFailed, this, [this] {
        itemsChanged();
        emit imageSettled();
    });
}

VRLPanoramaCanvas::~VRLPanoramaCanvas() {
    __proxy->disconnect(this);
}

void VRLPanoramaCanvas::setSlice(StackSlice& slice) {
    forgetImage();
    __slice = &slice;
    if (__awake)
        askForImage();
    itemsChanged();
}

void VRLPanoramaCanvas::clear() {
    forgetImage();
    __slice = nullptr;
    itemsChanged();
}

void VRLPanoramaCanvas::setAwake(bool awake) {
    if (awake == __awake)
        return;
    __awake = awake;
    if (awake)
        askForImage();
    else
        forgetImage();
}

void VRLPanoramaCanvas::setCanvasMode(CanvasMode mode) {
    __mode = mode;
    itemsChanged();
}

void VRLPanoramaCanvas::setThumbnailSize(const QSize& size) {
    __size = size;
    setFixedSize(size + 2 * QSize(frameWidth(), frameWidth()));
    itemsChanged();
}

void VRLPanoramaCanvas::itemsChanged() {
    __picture = QPixmap();
    update();
}

QString VRLPanoramaCanvas::failure() const {
    if (__slice == nullptr)
        return QString();
    if (__slice->isEmpty())
        return "The slice has no image.";
    return __proxy->getFailure();
}

void VRLPanoramaCanvas::paintEvent(QPaintEvent* event) {
    if (__awake && __slice != nullptr) {
        if (__proxy->hasImage() && __scale != stackScale())
            takeImage();
        if (__picture.isNull() || __picture.devicePixelRatio() != devicePixelRatioF())
            compose();
        QPainter(this).drawPixmap(frameWidth(), frameWidth(), __picture);
    }
    QFrame::paintEvent(event);
}

void VRLPanoramaCanvas::askForImage() {
    if (__slice == nullptr || __slice->isEmpty())
        return;
    auto* const stack = dynamic_cast<VRLStack*>(__slice->getStack());
    if (stack == nullptr)
        return;
    __proxy->setImageServer(getPanoramaImageServer(*stack));
    __proxy->setImageSource(__slice->getImageSource());
}

void VRLPanoramaCanvas::forgetImage() {
    __proxy->clear();
    __thumbnail = QImage();
    __picture = QPixmap();
}

// The whole stack has one scale, found from images of full resolution; a thumbnail alone is only good until then.
void VRLPanoramaCanvas::takeImage() {
    const Image& image = __proxy->getImage();
    __scale = stackScale();
    GreyScale scale;
    if (__scale) {
        scale = *__scale;
    } else if (hasGreyScale(image)) {
        GreyScaleFinder finder;
        finder.add(image);
        scale = finder.find().value_or(GreyScale());
    }
    __thumbnail = image.getData() == nullptr ? QImage() : toQImage(image, scale);
    itemsChanged();
    emit imageSettled();
}

std::optional<GreyScale> VRLPanoramaCanvas::stackScale() const {
    const Stack* const stack = __slice != nullptr ? __slice->getStack() : nullptr;
    return stack != nullptr ? stack->getGreyScale() : std::nullopt;
}

void VRLPanoramaCanvas::compose() {
    const double density = devicePixelRatioF();
    __picture = QPixmap(__size * density);
    __picture.setDevicePixelRatio(density);
    __picture.fill(VRLPreferences::getImageCanvasBackgroundColor());
    QPainter painter(&__picture);
    const QRect area = imageArea();
    if (__mode != ForegroundMode && !__thumbnail.isNull()) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(area, __thumbnail);
    }
    if (__mode != ForegroundMode && !failure().isEmpty())
        drawSign(painter);
    painter.end();
    if (__mode != BackgroundMode && area.width() > 1 && area.height() > 1) {
        VRLPainter items(&__picture);
        drawItems(items, area);
    }
}

/// Where the image lies in the picture: in the middle, as large as it can be, in the shape that it has in space.
QRect VRLPanoramaCanvas::imageArea() const {
    if (!__slice->hasImageSource())
        return QRect();
    const ImageSource& source = __slice->getImageSource();
    const float aspect = __slice->getPixelCalibration().getAspectRatio();
    const double ratio = aspect > 0 && std::isfinite(aspect) ? double(aspect) : 1;
    const QSizeF shown(source.getSize2() * std::min(1.0, 1 / ratio), source.getSize1() * std::min(1.0, ratio));
    if (!(shown.width() > 0) || !(shown.height() > 0))
        return QRect();
    const QSize size = shown.scaled(QSizeF(__size), Qt::KeepAspectRatio).toSize().expandedTo(QSize(1, 1));
    return QRect(QPoint((__size.width() - size.width()) / 2, (__size.height() - size.height()) / 2), size);
}

void VRLPanoramaCanvas::drawItems(VRLPainter& painter, const QRect& area) const {
    const ImageSource& source = __slice->getImageSource();
    if (source.getSize2() < 2 || source.getSize1() < 2)
        return;
    VRLWMConverter converter;
    converter.setWorld(QRect(0, 0, source.getSize2(), source.getSize1()));
    converter.setModel(area);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setWMConverter(converter);
    for (int i = 0; i < __slice->getNumItems(); ++i)
        painter.drawItem(__slice->getItem(i));
}

void VRLPanoramaCanvas::drawSign(QPainter& painter) const {
    const bool dark = qGray(VRLPreferences::getImageCanvasBackgroundColor().rgb()) < 140;
    painter.setPen(dark ? Qt::white : Qt::black);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect all(QPoint(0, 0), __size);
    const int side = std::min(__size.width(), __size.height()) / 4;
    QRectF sign(0, 0, side * 1.25, side);
    sign.moveCenter(QPointF(all.center()) - QPointF(0, side / 3.0));
    painter.drawRoundedRect(sign, 3, 3);
    painter.drawLine(sign.topLeft(), sign.bottomRight());
    painter.drawLine(sign.bottomLeft(), sign.topRight());
    const QRect below(4, int(sign.bottom()) + 4, __size.width() - 8, __size.height() - int(sign.bottom()) - 8);
    painter.drawText(below, Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap,
                     __slice->isEmpty() ? "No image" : "Image missing");
}

} // namespace vorlen
