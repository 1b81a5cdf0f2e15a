#include "ui/slices/scalebar.h"

#include <algorithm>
#include <cmath>

#include <QFontMetricsF>
#include <QPainter>

namespace vorlen {

std::optional<ScaleBar> scaleBarFor(double lengthOfUnit, const LengthUnit& unit, int canvasWidth) {
    const double widest = std::min(200.0, canvasWidth / 4.0);
    const double longest = widest * lengthOfUnit;
    if (!(longest > 0) || !std::isfinite(longest))
        return std::nullopt;
    const double power = std::floor(std::log10(longest) + 1e-9);
    const double step = longest / std::pow(10.0, power) + 1e-9; // from 1 to 10
    const double first = step >= 5 ? 5 : step >= 2 ? 2 : 1;
    const int exponent = int(power) + unit.getScale(); // of the metre
    // A prefix stands for each third power of ten, from pico to kilo.
    const int scale = std::clamp(int(std::floor(exponent / 3.0)) * 3, -12, 3);
    ScaleBar bar;
    bar.pixels = first * std::pow(10.0, power) / lengthOfUnit;
    bar.text = QString::number(first * std::pow(10.0, exponent - scale), 'g', 12) + ' ' +
               QString::fromStdString(LengthUnit(scale).symbol());
    return bar;
}

void paintScaleBar(QPainter& painter, const QRect& area, const std::optional<ScaleBar>& bar) {
    constexpr int margin = 16;
    if (!bar || area.width() < bar->pixels + 2 * margin)
        return;
    painter.save();
    const QRectF line(area.right() - margin - bar->pixels, area.bottom() - margin - 4, bar->pixels, 4);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.fillRect(line.adjusted(-1, -1, 1, 1), Qt::black);
    painter.fillRect(line, Qt::white);
    painter.setRenderHint(QPainter::Antialiasing);
    const double width = QFontMetricsF(painter.font()).horizontalAdvance(bar->text);
    paintLabel(painter, QPointF(line.center().x() - width / 2, line.top() - 7), bar->text);
    painter.restore();
}

void paintLabel(QPainter& painter, const QPointF& position, const QString& text) {
    const QFontMetricsF metrics(painter.font());
    const QRectF box(position.x(), position.y() - metrics.height(), metrics.horizontalAdvance(text), metrics.height());
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 170));
    painter.drawRoundedRect(box.adjusted(-4, -1, 4, 1), 3, 3);
    painter.setPen(Qt::white);
    painter.drawText(box, Qt::AlignCenter, text);
}

} // namespace vorlen
