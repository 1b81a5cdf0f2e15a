#include "ui/slices/crosshairlines.h"

#include <QColor>
#include <QLineF>
#include <QPainter>
#include <QPen>
#include <QPointF>
#include <QRectF>

namespace vorlen {

void paintCrosshair(QPainter& painter, const QRectF& area, const QPointF& at, bool dashed) {
    constexpr double gap = 8; // from the place to the ends of the lines
    const QLineF lines[] = {
        QLineF(area.left(), at.y(), at.x() - gap, at.y()),
        QLineF(at.x() + gap, at.y(), area.right(), at.y()),
        QLineF(at.x(), area.top(), at.x(), at.y() - gap),
        QLineF(at.x(), at.y() + gap, at.x(), area.bottom()),
    };
    painter.save();
    painter.setClipRect(area, Qt::IntersectClip);
    painter.setRenderHint(QPainter::Antialiasing, false);
    // Bright on a dark ground, so that it is seen on every image.
    for (const QPen& pen :
         {QPen(QColor(0, 0, 0, 110), 3), QPen(QColor(255, 210, 0), 1, dashed ? Qt::DashLine : Qt::SolidLine)}) {
        painter.setPen(pen);
        for (int k = 0; k < 4; ++k)
            if (k < 2 ? lines[k].x2() > lines[k].x1() : lines[k].y2() > lines[k].y1())
                painter.drawLine(lines[k]);
    }
    painter.restore();
}

} // namespace vorlen
