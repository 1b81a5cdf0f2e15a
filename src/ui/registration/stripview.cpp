#include "ui/registration/stripview.h"

#include <algorithm>
#include <cmath>

#include <QMouseEvent>
#include <QPainter>

#include "document/stack.h"
#include "editing/stacks/vrlstack.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "ui/registration/greyimage.h"

namespace vorlen {

namespace {

constexpr int heading = 18; // pixels above a strip
constexpr double mostBytes = 64e6;

double sizeOfPixel(float size) {
    return std::isfinite(size) && size > 0 ? double(size) : 1;
}

/// Longest side of the small pictures of so many slices.
int smallSide(int numSlices) {
    return int(std::clamp(std::sqrt(mostBytes / std::max(1, numSlices)), 64.0, 400.0));
}

void cutRow(const CutSection& section, bool acrossX, double at, double from, double step, int columns,
            unsigned char* row) {
    const RigidMotion back = section.place.inverse();
    const Image& picture = *section.picture;
    const double scaleX = picture.getWidth() / section.width, scaleY = picture.getHeight() / section.height;
    for (int column = 0; column < columns; ++column) {
        const double along = from + step * (column + 0.5);
        const PlanePoint seen = back.apply(acrossX ? PlanePoint{along, at} : PlanePoint{at, along});
        const double u = std::floor((seen.x + section.width / 2) * scaleX);
        const double v = std::floor((seen.y + section.height / 2) * scaleY);
        if (u >= 0 && v >= 0 && u < picture.getWidth() && v < picture.getHeight())
            row[column] = picture.getPixels()[int(v)][int(u)];
    }
}

} // namespace

QImage cutThrough(const std::vector<CutSection>& sections, bool acrossX, double at, double from, double to,
                  int columns) {
    const int n = int(sections.size());
    QImage cut(std::max(1, columns), std::max(1, n), QImage::Format_Grayscale8);
    cut.fill(255);
    const double step = (to - from) / std::max(1, columns);
    for (int i = 0; i < n; ++i) {
        const CutSection& section = sections[static_cast<std::size_t>(i)];
        if (section.picture != nullptr && section.width > 0 && section.height > 0)
            cutRow(section, acrossX, at, from, step, columns, cut.scanLine(n - 1 - i));
    }
    return cut;
}

SmallPictures::~SmallPictures() {
    stop();
}

void SmallPictures::read(const Stack& stack, const std::vector<int>& places, int side) {
    start(
        stack,
        [this, places, side](const Stack& copy, ProgressSubject& progress) {
            for (const int place : places) {
                if (progress.isCanceled())
                    return;
                auto picture = std::make_shared<Image>();
                try {
                    loadGrey(copy.getSlice(place), *picture);
                    const double ratio = std::max(picture->getWidth(), picture->getHeight()) / double(side);
                    const int width = std::max(1, int(picture->getWidth() / std::max(1.0, ratio)));
                    const int height = std::max(1, int(picture->getHeight() / std::max(1.0, ratio)));
                    smoothToSize(*picture, width, height);
                    resizeTo(*picture, width, height);
                } catch (const std::exception&) {
                    picture.reset();
                } catch (const Exception&) {
                    picture.reset();
                }
                tell([this, slice = original(place), picture] { emit pictureRead(slice, picture); });
            }
        });
}

StripView::StripView(QWidget* parent) : QFrame(parent) {
    setMinimumHeight(90);
    setAccessibleName("Cuts through the stack");
    setToolTip(
        "Cuts through the stack as it is registered. Click to move the other cut, double-click to go to a slice.");
    connect(&__reader, &SmallPictures::pictureRead, this,
            [this](const StackSlice* slice, const std::shared_ptr<Image>& picture) {
                __pictures[slice] = picture;
                __old = true;
                update();
            });
    connect(&__reader, &SmallPictures::finished, this, &StripView::readMissing);
}

StripView::~StripView() = default;

QSize StripView::sizeHint() const {
    return {600, 200};
}

void StripView::showStack(VRLStack* stack, const StackSlice* slice, const Registration& registration) {
    if (stack != __stack) {
        __reader.cancel();
        __pictures.clear();
    }
    __stack = stack;
    __slice = slice;
    __registration = registration;
    __old = true;
    readMissing();
    update();
}

void StripView::forgetPictures() {
    __reader.cancel();
    __pictures.clear();
    readMissing();
}

bool StripView::isComplete() const {
    if (__stack == nullptr)
        return false;
    for (int i = 0; i < __stack->getNumSlices(); ++i)
        if (__pictures.count(&__stack->getSlice(i)) == 0)
            return false;
    return true;
}

/// Only what can be seen is read.
void StripView::readMissing() {
    if (__stack == nullptr || !isVisible() || __reader.isRunning())
        return;
    std::vector<int> places;
    for (int i = 0; i < __stack->getNumSlices(); ++i)
        if (__pictures.count(&__stack->getSlice(i)) == 0)
            places.push_back(i);
    if (!places.empty())
        __reader.read(*__stack, places, smallSide(__stack->getNumSlices()));
}

void StripView::updateSections() {
    __sections.clear();
    RigidMotion place;
    for (int i = 0; i < __stack->getNumSlices(); ++i) {
        const StackSlice& slice = __stack->getSlice(i);
        const double pixelWidth = sizeOfPixel(slice.getPixelCalibration().getPixelWidth());
        const double pixelHeight = sizeOfPixel(slice.getPixelCalibration().getPixelHeight());
        const Registration& registration = &slice == __slice ? __registration : slice.getRegistration();
        place = place * motionOf(registration, pixelWidth, pixelHeight);
        CutSection section;
        section.place = place;
        if (!slice.isEmpty()) {
            section.width = slice.getImageSource().getSize2() * pixelWidth;
            section.height = slice.getImageSource().getSize1() * pixelHeight;
        }
        const auto found = __pictures.find(&slice);
        section.picture = found == __pictures.end() ? nullptr : found->second.get();
        __sections.push_back(section);
        for (const double x : {-0.5, 0.5})
            for (const double y : {-0.5, 0.5}) {
                const PlanePoint corner = place.apply({x * section.width, y * section.height});
                const bool first = i == 0 && x < 0 && y < 0;
                __from[0] = first ? corner.x : std::min(__from[0], corner.x);
                __to[0] = first ? corner.x : std::max(__to[0], corner.x);
                __from[1] = first ? corner.y : std::min(__from[1], corner.y);
                __to[1] = first ? corner.y : std::max(__to[1], corner.y);
            }
    }
}

/// The strips stand side by side, as wide as the stack is in x and in y.
double StripView::shareOf(int which) const {
    const double x = std::max(1e-9, __to[0] - __from[0]), y = std::max(1e-9, __to[1] - __from[1]);
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
    updateSections();
    for (int which = 0; which < 2; ++which) {
        const int other = 1 - which;
        const double at = __from[other] + __at[other] * (__to[other] - __from[other]);
        __cuts[which] =
            cutThrough(__sections, which == 0, at, __from[which], __to[which], std::max(1, strip(which).width()));
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
    const int n = int(__sections.size());
    const int current = __slice == nullptr ? -1 : __stack->findSlice(*__slice);
    for (int which = 0; which < 2; ++which) {
        const QRect place = strip(which);
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(QRect(place.left(), place.top() - heading, place.width(), heading),
                         Qt::AlignLeft | Qt::AlignVCenter, titles[which]);
        painter.drawImage(place, __cuts[which]);
        painter.setPen(QPen(QColor(255, 120, 0), 1, Qt::DashLine));
        const int x = place.left() + int(__at[which] * (place.width() - 1));
        painter.drawLine(x, place.top(), x, place.bottom());
        if (current >= 0) {
            const int top = place.top() + (n - 1 - current) * place.height() / n;
            const int bottom = place.top() + (n - current) * place.height() / n;
            painter.setPen(QPen(QColor(0, 90, 255), 1));
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
    const int n = int(__sections.size());
    for (int which = 0; which < 2; ++which)
        if (const QRect place = strip(which); n > 0 && place.contains(event->pos()))
            emit sliceChosen(std::clamp(n - 1 - (event->pos().y() - place.top()) * n / place.height(), 0, n - 1));
}

} // namespace vorlen
