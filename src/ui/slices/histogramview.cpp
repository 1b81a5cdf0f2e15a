#include "ui/slices/histogramview.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QMouseEvent>
#include <QPainter>

namespace vorlen {

namespace {

constexpr int margin = 6;

} // namespace

HistogramView::HistogramView(QWidget* parent) : QWidget(parent) {
    setMinimumSize(160, 60);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAccessibleName("Histogram");
    setToolTip("Drag the dark and the light line: values below the one are black, above the other white");
}

void HistogramView::setHistogram(const GreyHistogram& histogram) {
    __histogram = histogram;
    updateRange();
}

void HistogramView::setWindow(double black, double white) {
    __black = black;
    __white = white;
    updateRange();
}

int HistogramView::columnOf(double value) const {
    return int(std::lround(margin + (value - __from) / (__to - __from) * (width() - 1 - 2 * margin)));
}

void HistogramView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().base());
    QColor bars = palette().color(QPalette::Text); // seen in the dark too
    bars.setAlpha(110);
    const int bottom = height() - 12;
    const std::size_t most = *std::max_element(__histogram.counts.begin(), __histogram.counts.end());
    const double scale = most > 0 ? (bottom - 4) / std::log1p(double(most)) : 0;
    const double binWidth = (double(__histogram.greatest) - double(__histogram.least)) / GreyHistogram::numBins;
    for (int bin = 0; bin < GreyHistogram::numBins; ++bin) {
        const int bar = int(std::lround(scale * std::log1p(double(__histogram.counts[std::size_t(bin)]))));
        const double value = double(__histogram.valueOf(bin));
        const int left = columnOf(value - binWidth / 2), right = columnOf(value + binWidth / 2);
        if (bar > 0)
            painter.fillRect(left, bottom - bar, std::max(right - left, 1), bar, bars);
    }
    // What each value is shown as, below the bars.
    const int black = columnOf(__black), white = columnOf(__white);
    QLinearGradient shades(black, 0, std::max(white, black + 1), 0);
    shades.setColorAt(0, Qt::black);
    shades.setColorAt(1, Qt::white);
    painter.fillRect(margin, bottom + 2, width() - 2 * margin, 8, shades);
    painter.setPen(bars);
    painter.drawRect(margin, bottom + 2, width() - 2 * margin - 1, 7);
    for (const auto& [column, fill] : {std::pair(black, QColor(Qt::black)), std::pair(white, QColor(Qt::white))}) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1));
        painter.drawLine(column, 0, column, bottom + 1);
        painter.setBrush(fill);
        painter.drawEllipse(QPoint(column, 6), 4, 4);
    }
}

void HistogramView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    const double column = event->position().x();
    const double toBlack = std::abs(column - columnOf(__black)), toWhite = std::abs(column - columnOf(__white));
    // Where both stand, the side that is clicked decides.
    const bool black = toBlack < toWhite || (toBlack == toWhite && column < columnOf(__black));
    __drag = black ? Drag::Black : Drag::White;
    dragTo(column);
}

void HistogramView::mouseMoveEvent(QMouseEvent* event) {
    if (__drag != Drag::None)
        return dragTo(event->position().x());
    const double column = event->position().x();
    const bool near = std::min(std::abs(column - columnOf(__black)), std::abs(column - columnOf(__white))) < 5;
    setCursor(near ? Qt::SizeHorCursor : Qt::ArrowCursor);
}

void HistogramView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || __drag == Drag::None)
        return;
    __drag = Drag::None;
    updateRange();
    emit windowSettled();
}

void HistogramView::updateRange() {
    if (__drag == Drag::None) {
        const bool empty = __histogram.isEmpty();
        __from = std::min(empty ? __black : double(__histogram.least), __black);
        __to = std::max(empty ? __white : double(__histogram.greatest), __white);
        if (!(__to > __from))
            __to = __from + 1;
    }
    update();
}

double HistogramView::valueAt(double column) const {
    const double part = (column - margin) / std::max(width() - 1 - 2 * margin, 1);
    return __from + std::clamp(part, 0.0, 1.0) * (__to - __from);
}

// Black stays below white.
void HistogramView::dragTo(double column) {
    const double least = (__to - __from) / 1000;
    if (__drag == Drag::Black)
        __black = std::min(valueAt(column), __white - least);
    else
        __white = std::max(valueAt(column), __black + least);
    update();
    emit windowChanged(__black, __white);
}

} // namespace vorlen
