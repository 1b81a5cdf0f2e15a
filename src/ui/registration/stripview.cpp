#include "ui/registration/stripview.h"

#include <algorithm>

#include <QMouseEvent>
#include <QPainter>

#include "editing/stacks/vrlstack.h"

namespace vorlen {

namespace {

constexpr int heading = 18; // pixels above a strip

} // namespace

StripView::StripView(QWidget* parent) : QFrame(parent) {
    setMinimumHeight(90);
    setAccessibleName("Cuts through the stack");
    setToolTip(
        "Cuts through the stack as it is registered. Click to move the other cut, double-click to go to a slice.");
    connect(&__pictures, &SectionPictures::pictureRead, this, [this] {
        __old = true;
        update();
    });
    connect(&__pictures, &SectionPictures::finished, this, &StripView::readMissing);
}

StripView::~StripView() = default;

QSize StripView::sizeHint() const {
    return {600, 200};
}

void StripView::showStack(VRLStack* stack, const StackSlice* slice, const Registration& registration) {
    if (stack != __stack)
        __pictures.forget();
    __stack = stack;
    __slice = slice;
    __registration = registration;
    __old = true;
    readMissing();
    update();
}

void StripView::forgetPictures() {
    __pictures.forget();
    readMissing();
}

bool StripView::isComplete() const {
    return __stack != nullptr && __pictures.isComplete(*__stack);
}

/// Only what can be seen is read.
void StripView::readMissing() {
    if (__stack != nullptr && isVisible())
        __pictures.readMissing(*__stack);
}

/// The strips stand side by side, as wide as the stack is in x and in y.
double StripView::shareOf(int which) const {
    const double x = std::max(1e-9, __frame.to[0] - __frame.from[0]);
    const double y = std::max(1e-9, __frame.to[1] - __frame.from[1]);
    const double share = std::clamp(x / (x + y), 0.25, 0.75);
    return which == 0 ? share : 1 - share;
}

QRect StripView::strip(int which) const {
    const QRect inside = contentsRect().adjusted(10, heading + 2, -10, -6);
    const int gap = 16;
    const int first = int((inside.width() - gap) * shareOf(0));
    if (which == 0)
        return QRect(inside.left(), inside.top(), first, inside.height());
    return QRect(inside.left() + first + gap, inside.top(), inside.width() - gap - first, inside.height());
}

void StripView::updateCuts() {
    __frame = cutFrameOf(
        *__stack, [this](const StackSlice& slice) { return __pictures.pictureOf(slice); }, __slice, __registration);
    for (int which = 0; which < 2; ++which) {
        const int other = 1 - which;
        const double at = __frame.from[other] + __at[other] * (__frame.to[other] - __frame.from[other]);
        __cuts[which] = cutThrough(__frame.sections, which == 0, at, __frame.from[which], __frame.to[which],
                                   std::max(1, strip(which).width()));
    }
    __old = false;
}

void StripView::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    QPainter painter(this);
    if (__stack == nullptr)
        return;
    if (__old)
        updateCuts();
    const char* titles[] = {"From left to right (XZ)", "From top to bottom (YZ)"};
    const int n = int(__frame.sections.size());
    const int current = __slice == nullptr ? -1 : __stack->findSlice(*__slice);
    for (int which = 0; which < 2; ++which) {
        const QRect place = strip(which);
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(QRect(place.left(), place.top() - heading, place.width(), heading),
                         Qt::AlignLeft | Qt::AlignVCenter, titles[which]);
        painter.fillRect(place, palette().base());
        painter.drawImage(place, __cuts[which]);
        painter.setPen(QPen(QColor(255, 120, 0), 1, Qt::DashLine));
        const int x = place.left() + int(__at[which] * (place.width() - 1));
        painter.drawLine(x, place.top(), x, place.bottom());
        if (current >= 0) {
            const int top = place.top() + (n - 1 - current) * place.height() / n;
            const int bottom = place.top() + (n - current) * place.height() / n;
            painter.setPen(QPen(QColor(40, 130, 255), 2));
            painter.drawRect(QRect(QPoint(place.left() - 2, top - 1), QPoint(place.right() + 2, bottom)));
        }
    }
    if (!isComplete()) {
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(contentsRect().adjusted(10, 0, -10, 0), Qt::AlignRight | Qt::AlignTop,
                         "Reading the images...");
    }
}

void StripView::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    __old = true;
}

void StripView::showEvent(QShowEvent* event) {
    QFrame::showEvent(event);
    readMissing();
}

void StripView::mousePressEvent(QMouseEvent* event) {
    for (int which = 0; which < 2; ++which)
        if (const QRect place = strip(which); place.contains(event->pos())) {
            __at[which] = double(event->pos().x() - place.left()) / std::max(1, place.width() - 1);
            __old = true;
            update();
        }
}

void StripView::mouseDoubleClickEvent(QMouseEvent* event) {
    const int n = int(__frame.sections.size());
    for (int which = 0; which < 2; ++which)
        if (const QRect place = strip(which); n > 0 && place.contains(event->pos()))
            emit sliceChosen(std::clamp(n - 1 - (event->pos().y() - place.top()) * n / place.height(), 0, n - 1));
}

} // namespace vorlen
