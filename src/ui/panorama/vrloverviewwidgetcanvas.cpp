#include "ui/panorama/vrloverviewwidgetcanvas.h"

#include <algorithm>
#include <cmath>

#include <QPainter>
#include <QPen>

#include "ui/imageserver/vrlimageproxy.h"

namespace vorlen {

namespace {

constexpr int smallestFrame = 9;

} // namespace

VRLOverviewWidgetCanvas::VRLOverviewWidgetCanvas(QWidget* parent) : VRLSliceEditWidgetCanvas(parent) {
    setAccessibleName("Overview");
}

void VRLOverviewWidgetCanvas::setLocalView(const QRect& localView) {
    if (localView == __localView)
        return;
    __localView = localView;
    update();
}

QRect VRLOverviewWidgetCanvas::frame() const {
    if (__localView.isEmpty() || getSlice() == nullptr)
        return QRect();
    const QPointF first = convertToPosition(__localView.topLeft());
    const QPointF last = convertToPosition(__localView.topLeft() + QPoint(__localView.width(), __localView.height()));
    const int left = int(std::floor(first.x()));
    const int top = int(std::floor(first.y()));
    const int right = int(std::ceil(last.x()));
    const int bottom = int(std::ceil(last.y()));
    QRect frame(left, top, std::max(right - left, 1), std::max(bottom - top, 1));
    const int moreWidth = std::max(smallestFrame - frame.width(), 0);
    const int moreHeight = std::max(smallestFrame - frame.height(), 0);
    frame.adjust(-moreWidth / 2, -moreHeight / 2, moreWidth - moreWidth / 2, moreHeight - moreHeight / 2);
    // No part of a frame around all of the image lies beyond the canvas.
    return frame.intersected(rect());
}

// Black and yellow dashes take turns, to be seen on any background.
void VRLOverviewWidgetCanvas::paintGL() {
    VRLSliceEditWidgetCanvas::paintGL();
    const QRect outline = frame();
    if (outline.isEmpty())
        return;
    withPainter([&outline](QPainter& painter) {
        painter.resetTransform();
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setBrush(Qt::NoBrush);
        QPen pen(Qt::black, 1);
        pen.setCapStyle(Qt::FlatCap);
        pen.setDashPattern({2, 2, 2, 2});
        painter.setPen(pen);
        painter.drawRect(outline.adjusted(0, 0, -1, -1));
        pen.setColor(Qt::yellow);
        pen.setDashPattern({2, 2, 2, 2});
        pen.setDashOffset(2);
        painter.setPen(pen);
        painter.drawRect(outline.adjusted(0, 0, -1, -1));
    });
}

} // namespace vorlen
