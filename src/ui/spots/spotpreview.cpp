#include "ui/spots/spotpreview.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QImage>
#include <QPainter>
#include <QWheelEvent>

namespace vorlen {

namespace {

constexpr int gap = 6; // pixels between the panes

QRgb blend(int grey, QRgb mark) {
    const auto mix = [grey](int colour) { return (grey + 2 * colour) / 3; };
    return qRgb(mix(qRed(mark)), mix(qGreen(mark)), mix(qBlue(mark)));
}

} // namespace

SpotPreview::SpotPreview(const VoxelMatrix<float>& filtered, const VoxelMatrix<float>& grey, QWidget* parent)
    : QWidget(parent), __filtered(filtered), __grey(grey) {
    const Vector<float> range = grey.range();
    if (std::isfinite(range[0]) && std::isfinite(range[1])) {
        __darkest = range[0];
        __brightest = range[1];
    }
    setMinimumSize(360, 140);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAccessibleName("Preview");
    setToolTip("The slice before, the current one and the one behind, with what the threshold takes. "
               "The wheel goes through the slices.");
}

QSize SpotPreview::sizeHint() const {
    return {720, 250};
}

void SpotPreview::setThreshold(double threshold) {
    __threshold = float(threshold);
    __spots.reset();
    update();
}

void SpotPreview::setSpots(std::shared_ptr<const SpotLabels> spots) {
    __spots = std::move(spots);
    update();
}

void SpotPreview::setPlane(int plane) {
    plane = std::clamp(plane, 0, std::max(0, __grey.getSize3() - 1));
    if (plane == __plane)
        return;
    __plane = plane;
    update();
    emit planeChanged(plane);
}

void SpotPreview::wheelEvent(QWheelEvent* event) {
    setPlane(__plane + (event->angleDelta().y() > 0 ? 1 : -1));
    event->accept();
}

/// A pixel of the picture stands for a block of voxels; it is marked when one of them is.
QImage SpotPreview::picture(int plane, const QSize& most) const {
    const int rows = __grey.getSize1(), columns = __grey.getSize2();
    const QSize size = QSize(columns, rows).scaled(most.expandedTo(QSize(1, 1)), Qt::KeepAspectRatio);
    const int width = std::clamp(size.width(), 1, columns), height = std::clamp(size.height(), 1, rows);
    QImage result(width, height, QImage::Format_RGB32);
    const float scale = __brightest > __darkest ? 255 / (__brightest - __darkest) : 0;
    constexpr QRgb spot = qRgb(255, 230, 0), leftOut = qRgb(230, 40, 40);
    for (int y = 0; y < height; ++y) {
        auto* const line = reinterpret_cast<QRgb*>(result.scanLine(y));
        const int i0 = int(qint64(y) * rows / height), i1 = int(qint64(y + 1) * rows / height);
        for (int x = 0; x < width; ++x) {
            const int j0 = int(qint64(x) * columns / width), j1 = int(qint64(x + 1) * columns / width);
            bool isAbove = false, isSpot = false;
            float grey = -HUGE_VALF;
            for (int i = i0; i < i1; ++i)
                for (int j = j0; j < j1; ++j) {
                    grey = std::max(grey, __grey(i, j, plane));
                    isAbove = isAbove || __filtered(i, j, plane) >= __threshold;
                    isSpot = isSpot || (__spots != nullptr && __spots->labels(i, j, plane) > 0);
                }
            const int level = std::isfinite(grey) ? int(std::clamp((grey - __darkest) * scale, 0.0f, 255.0f)) : 0;
            if (isSpot || (isAbove && __spots == nullptr))
                line[x] = blend(level, spot);
            else
                line[x] = isAbove ? blend(level, leftOut) : qRgb(level, level, level);
        }
    }
    return result;
}

void SpotPreview::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const int captionHeight = fontMetrics().height() + 2;
    const int width = (this->width() - 2 * gap) / 3, height = this->height() - captionHeight;
    if (width < 8 || height < 8)
        return;
    for (int pane = 0; pane < 3; ++pane) {
        const int plane = __plane + pane - 1;
        const QRect frame(pane * (width + gap), 0, width, height);
        const QRect caption(frame.left(), height, width, captionHeight);
        if (plane < 0 || plane >= __grey.getSize3()) {
            painter.setPen(palette().color(QPalette::PlaceholderText));
            painter.drawText(frame, Qt::AlignCenter, plane < 0 ? "first slice" : "last slice");
            continue;
        }
        const QImage image = picture(plane, frame.size());
        const QSize shown = image.size().scaled(frame.size(), Qt::KeepAspectRatio);
        QRect target(QPoint(), shown);
        target.moveCenter(frame.center());
        painter.drawImage(target, image);
        painter.setPen(palette().color(QPalette::WindowText));
        if (pane == 1)
            painter.drawRect(target.adjusted(0, 0, -1, -1));
        painter.drawText(caption, Qt::AlignCenter, QString("Slice %1").arg(plane + 1));
    }
}

} // namespace vorlen
