#include "ui/slices/vrlimagewidgetmediatorpixelinfodelegate.h"

#include <cstring>
#include <memory>

#include <QMouseEvent>

#include "images/rasters/image.h"
#include "images/sections/tiledsection.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/slices/vrlimagewidgetcanvas.h"
#include "ui/slices/vrlimagewidgetmediator.h"
#include "ui/slices/vrlimagewidgetstatusbar.h"

namespace vorlen {

namespace {

QString rgbText(int red, int green, int blue) {
    return QString(", RGB=%1 %2 %3").arg(red).arg(green).arg(blue);
}

QString valueText(const Image& image, int x, int y) {
    const unsigned char* const pixel = image.getPixels()[y] + static_cast<std::ptrdiff_t>(x) * image.bytesPerPixel();
    if (image.isIndexed()) {
        const Colormap& colors = *image.getColormap();
        const int index = *pixel;
        const bool known = index < colors.getSize();
        return QString(", Idx=%1").arg(index) + rgbText(known ? colors.getRed()[index] : 0,
                                                        known ? colors.getGreen()[index] : 0,
                                                        known ? colors.getBlue()[index] : 0);
    }
    if (image.isReal()) {
        float value;
        std::memcpy(&value, pixel, sizeof value);
        return QString(", G=%1").arg(double(value));
    }
    if (image.getDepth() == 8)
        return QString(", G=%1").arg(*pixel);
    if (image.getDepth() == 16) {
        unsigned short value;
        std::memcpy(&value, pixel, sizeof value);
        return QString(", G=%1").arg(value);
    }
    return rgbText(pixel[0], pixel[1], pixel[2]);
}

} // namespace

void VRLImageWidgetMediatorPixelInfoDelegate::updatePixelInfo(const QPoint& position) {
    if (VRLImageWidgetStatusBar* const statusBar = getMediator().getStatusBar())
        statusBar->setPixelInfo(pixelInfo(position));
}

// The image may be a smaller one than that of the source, as in the servers of thumbnails. Of a section too large for
// memory, the pixel itself counts where its tile has been read.
QString VRLImageWidgetMediatorPixelInfoDelegate::pixelInfo(const QPoint& position) const {
    const VRLImageProxy& proxy = canvas().getImageProxy();
    const QPoint pixel = canvas().convertToImagePosition(position);
    const QSize size = proxy.getOriginalImageSize();
    if (!proxy.hasImage() || !canvas().rect().contains(position) || !QRect(QPoint(0, 0), size).contains(pixel))
        return QString();
    const Image& image = proxy.getImage();
    if (image.getPixels() == nullptr || image.getWidth() < 1 || image.getHeight() < 1)
        return QString();
    const int x = int(static_cast<long long>(pixel.x()) * image.getWidth() / size.width());
    const int y = int(static_cast<long long>(pixel.y()) * image.getHeight() / size.height());
    const QString place = QString("X=%1, Y=%2").arg(pixel.x()).arg(pixel.y());
    const std::shared_ptr<TiledSection> section = canvas().getSection();
    if (section == nullptr)
        return place + valueText(image, x, y);
    constexpr int side = TiledSection::tileSide;
    if (const TiledSection::Tile tile = section->findTile(0, pixel.x() / side, pixel.y() / side))
        return place + valueText(*tile, pixel.x() % side, pixel.y() % side);
    return place + ", about" + valueText(image, x, y).mid(1); // a pixel that stands for many
}

bool VRLImageWidgetMediatorPixelInfoDelegate::process(QEvent* event) {
    if (event->type() == QEvent::Leave && getMediator().getStatusBar() != nullptr)
        getMediator().getStatusBar()->setPixelInfo(QString());
    return VRLImageWidgetMediatorDelegate::process(event);
}

void VRLImageWidgetMediatorPixelInfoDelegate::mouseMoveEvent(QMouseEvent* event) {
    if (isActive())
        updatePixelInfo(event->position().toPoint());
    event->ignore();
}

} // namespace vorlen
