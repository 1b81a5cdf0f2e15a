#include "ui/density/densitycolor.h"

#include <algorithm>
#include <cmath>

#include <QPainter>

namespace vorlen {

namespace {

constexpr int stops[][3] = {{24, 20, 82}, {38, 74, 150}, {20, 140, 150}, {90, 190, 100}, {250, 240, 120}};
constexpr int numSteps = 4;
constexpr int barHeight = 14;

QString shortText(double value) {
    return QString::number(value, 'g', 3);
}

} // namespace

QColor densityColor(double share) {
    const double place = share > 0 ? std::min(share, 1.0) * numSteps : 0;
    const int first = std::min(int(place), numSteps - 1);
    const double part = place - first;
    int mixed[3];
    for (int i = 0; i < 3; ++i)
        mixed[i] = int(std::lround((1 - part) * stops[first][i] + part * stops[first + 1][i]));
    return {mixed[0], mixed[1], mixed[2]};
}

DensityColorScale::DensityColorScale(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void DensityColorScale::setRange(double least, double greatest, const QString& unit) {
    const QString behind = unit.isEmpty() ? QString() : " " + unit;
    setTexts(shortText(least), shortText((least + greatest) / 2) + behind, shortText(greatest),
             "Density from " + shortText(least) + " to " + shortText(greatest) + behind);
}

void DensityColorScale::setTexts(const QString& least, const QString& middle, const QString& greatest,
                                 const QString& toolTip) {
    __known = true;
    __texts[0] = least;
    __texts[1] = middle;
    __texts[2] = greatest;
    setToolTip(toolTip);
    update();
}

void DensityColorScale::clear() {
    __known = false;
    setToolTip({});
    update();
}

QSize DensityColorScale::sizeHint() const {
    return {200, barHeight + fontMetrics().height() + 4};
}

void DensityColorScale::paintEvent(QPaintEvent*) {
    if (!__known)
        return;
    QPainter painter(this);
    for (int x = 0; x < width(); ++x)
        painter.fillRect(x, 0, 1, barHeight, densityColor(double(x) / std::max(width() - 1, 1)));
    const QRect text(0, barHeight + 2, width(), fontMetrics().height());
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(text, Qt::AlignLeft, __texts[0]);
    painter.drawText(text, Qt::AlignHCenter, __texts[1]);
    painter.drawText(text, Qt::AlignRight, __texts[2]);
}

} // namespace vorlen
