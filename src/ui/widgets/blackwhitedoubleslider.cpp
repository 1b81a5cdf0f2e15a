#include "ui/widgets/blackwhitedoubleslider.h"

#include <algorithm>
#include <cmath>

#include <QMouseEvent>
#include <QPainter>

namespace vorlen {

BlackWhiteDoubleSlider::BlackWhiteDoubleSlider(QWidget* parent) : QFrame(parent) {
    setFixedSize(100, 10);
    setAccessibleName("Contrast");
    setToolTip("Contrast: drag the black and the white disc; double click to reset");
    setWhatsThis("The grey levels of the image from the black disc to the white disc are spread over the whole range "
                 "from black to white. The image itself is not changed.");
}

void BlackWhiteDoubleSlider::reset() {
    __black = 0;
    __white = 1;
    update();
    emit valuesChanged(__black, __white);
}

void BlackWhiteDoubleSlider::setValues(float black, float white) {
    const float pixel = 1 / static_cast<float>(width());
    __black = std::clamp(black, 0.0f, 1 - pixel);
    __white = std::clamp(white, __black + pixel, 1.0f);
    update();
    emit valuesChanged(__black, __white);
}

void BlackWhiteDoubleSlider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient gradient(0, 0, width(), 0);
    gradient.setColorAt(0, Qt::black);
    gradient.setColorAt(1, Qt::white);
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    const qreal bar = height() * 0.4;
    painter.drawRoundedRect(QRectF(0, (height() - bar) / 2, width(), bar), bar / 2, bar / 2);

    const qreal radius = height() / 2.0;
    const auto disc = [&](float level, const QColor& pen, const QColor& brush) {
        // The discs stay whole at the ends of the bar.
        const qreal x = std::clamp<qreal>(qreal(level) * width(), radius, width() - radius);
        painter.setPen(pen);
        painter.setBrush(brush);
        painter.drawEllipse(QPointF(x, radius), radius - 0.5, radius - 0.5);
    };
    disc(__white, Qt::black, isEnabled() ? Qt::white : Qt::lightGray);
    disc(__black, Qt::white, isEnabled() ? Qt::black : Qt::darkGray);
}

bool BlackWhiteDoubleSlider::discContains(float level, const QPointF& position) const {
    const qreal radius = height() / 2.0;
    const qreal x = std::clamp<qreal>(qreal(level) * width(), radius, width() - radius);
    return std::hypot(position.x() - x, position.y() - radius) <= radius;
}

void BlackWhiteDoubleSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    if (discContains(__black, event->position()))
        __drag = Drag::Black;
    else if (discContains(__white, event->position()))
        __drag = Drag::White;
}

void BlackWhiteDoubleSlider::mouseMoveEvent(QMouseEvent* event) {
    if (__drag != Drag::None)
        dragTo(static_cast<int>(event->position().x()));
}

void BlackWhiteDoubleSlider::dragTo(int x) {
    const float w = static_cast<float>(width());
    x = std::clamp(x, 0, width());
    if (__drag == Drag::Black) {
        x = std::min(x, width() - 1);
        __black = static_cast<float>(x) / w;
        if (__white * w <= static_cast<float>(x))
            __white = static_cast<float>(x + 1) / w;
    } else {
        x = std::max(x, 1);
        __white = static_cast<float>(x) / w;
        if (__black * w >= static_cast<float>(x))
            __black = static_cast<float>(x - 1) / w;
    }
    update();
    emit valuesChanged(__black, __white);
}

void BlackWhiteDoubleSlider::mouseReleaseEvent(QMouseEvent*) {
    __drag = Drag::None;
}

void BlackWhiteDoubleSlider::mouseDoubleClickEvent(QMouseEvent*) {
    __drag = Drag::None;
    reset();
}

} // namespace vorlen
