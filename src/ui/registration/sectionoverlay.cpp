#include "ui/registration/sectionoverlay.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "images/rasters/image.h"
#include "numerics/maths.h"

namespace vorlen {

namespace {

constexpr unsigned char white = 255;

unsigned char mixed(ImageTransparencyMode mode, int b, int f) {
    switch (mode) {
    case SubtractionTransparency:
        return static_cast<unsigned char>(std::abs(b - f));
    case MultiplicationTransparency:
        return static_cast<unsigned char>((b * f) >> 8);
    case MinimumTransparency:
        return static_cast<unsigned char>(std::min(b, f));
    case MaximumTransparency:
        return static_cast<unsigned char>(std::max(b, f));
    default:
        return static_cast<unsigned char>((b + f) >> 1);
    }
}

bool isForegroundSquare(int x, int y) {
    return (x / checkerboardSide + y / checkerboardSide) % 2 != 0;
}

void drawBackground(QImage& display, const Image& background, QPoint origin, QImage* drawn) {
    const int first = std::max(0, -origin.x());
    const int last = std::min(background.getWidth(), display.width() - origin.x());
    if (first >= last)
        return;
    for (int row = std::max(0, -origin.y()); row < std::min(background.getHeight(), display.height() - origin.y());
         ++row) {
        std::copy(background.getPixels()[row] + first, background.getPixels()[row] + last,
                  display.scanLine(origin.y() + row) + origin.x() + first);
        if (drawn != nullptr)
            std::fill_n(drawn->scanLine(origin.y() + row) + origin.x() + first, last - first, 1);
    }
}

} // namespace

TransparencyMap::TransparencyMap() {
    setMode(AdditionTransparency);
}

void TransparencyMap::setMode(ImageTransparencyMode mode) {
    __mode = mode;
    for (int b = 0; b < 256; ++b)
        for (int f = 0; f < 256; ++f)
            __values[static_cast<std::size_t>(256 * b + f)] = mixed(mode, b, f);
}

SectionPlaces::SectionPlaces(QSize display, QSize background, QSize foreground, double horShift, double verShift,
                             double angle)
    : __background(background), __foreground(foreground), __centre(QRect(QPoint(0, 0), foreground).center()) {
    const QPoint middle(display.width() / 2, display.height() / 2);
    // Shifts come from files: those beyond any display are as good as the nearest that can be counted with.
    const auto whole = [](double shift) { return Maths::fround(std::clamp(shift, -1e6, 1e6)); };
    __backgroundOrigin = middle - QRect(QPoint(0, 0), background).center();
    __foregroundOrigin = middle - __centre + QPoint(whole(horShift), whole(verShift));
    const double radians = angle * 3.14159265358979323846 / 180;
    __cosine = std::cos(radians);
    __sine = std::sin(radians);
}

std::array<QPoint, 4> SectionPlaces::corners() const {
    const QRect frame(QPoint(0, 0), __foreground);
    std::array<QPoint, 4> turned = {frame.topLeft(), frame.topRight(), frame.bottomRight(), frame.bottomLeft()};
    for (QPoint& corner : turned) {
        const int dx = corner.x() - __centre.x(), dy = corner.y() - __centre.y();
        corner = QPoint(Maths::fround(__cosine * dx - __sine * dy) + __centre.x(),
                        Maths::fround(__sine * dx + __cosine * dy) + __centre.y());
    }
    return turned;
}

QPolygon SectionPlaces::foregroundFrame() const {
    QPolygon frame;
    for (const QPoint& corner : corners())
        frame.append(corner + __foregroundOrigin);
    return frame;
}

QRect SectionPlaces::foregroundArea() const {
    QPolygon frame;
    for (const QPoint& corner : corners())
        frame.append(corner);
    return frame.boundingRect().adjusted(-2, -2, 2, 2);
}

void drawSections(QImage& display, const Image& background, const Image& foreground, const SectionPlaces& places,
                  const TransparencyMap& map, SectionComparison comparison, QImage* drawn) {
    display.fill(white);
    if (comparison != SectionComparison::Foreground)
        drawBackground(display, background, places.backgroundOrigin(), drawn);
    if (comparison == SectionComparison::Background)
        return;
    const QPoint origin = places.foregroundOrigin(), centre = places.foregroundCentre();
    const QRect area = places.foregroundArea() & QRect(-origin, display.size());
    if (area.isEmpty())
        return;
    std::vector<int> columnOf(static_cast<std::size_t>(area.width())), rowOf(columnOf);
    for (int x = area.left(); x <= area.right(); ++x) {
        columnOf[static_cast<std::size_t>(x - area.left())] = Maths::fround(places.cosine() * (x - centre.x()));
        rowOf[static_cast<std::size_t>(x - area.left())] = Maths::fround(places.sine() * (x - centre.x()));
    }
    const auto width = static_cast<unsigned int>(foreground.getWidth());
    const auto height = static_cast<unsigned int>(foreground.getHeight());
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const int a = Maths::fround(places.sine() * (y - centre.y())) + centre.x();
        const int b = Maths::fround(places.cosine() * (y - centre.y())) + centre.y();
        const int start = origin.x() + area.left();
        unsigned char* shown = display.scanLine(origin.y() + y) + start;
        unsigned char* mask = drawn == nullptr ? nullptr : drawn->scanLine(origin.y() + y) + start;
        for (int k = 0; k < area.width(); ++k) {
            const auto column = static_cast<unsigned int>(a + columnOf[static_cast<std::size_t>(k)]);
            const auto row = static_cast<unsigned int>(b - rowOf[static_cast<std::size_t>(k)]);
            if (column >= width || row >= height) // also those below 0
                continue;
            const unsigned char value = foreground.getPixels()[row][column];
            if (comparison == SectionComparison::Overlay)
                shown[k] = map.over(shown[k])[value];
            else if (comparison == SectionComparison::Foreground || isForegroundSquare(start + k, origin.y() + y))
                shown[k] = value;
            else
                continue;
            if (mask != nullptr)
                mask[k] = 1;
        }
    }
}

QImage onGround(const QImage& display, const QImage& drawn, QRgb ground) {
    QImage shown(display.size(), QImage::Format_RGB32);
    for (int y = 0; y < display.height(); ++y) {
        const uchar *grey = display.constScanLine(y), *mask = drawn.constScanLine(y);
        auto* pixels = reinterpret_cast<QRgb*>(shown.scanLine(y));
        for (int x = 0; x < display.width(); ++x)
            pixels[x] = mask[x] != 0 ? qRgb(grey[x], grey[x], grey[x]) : ground;
    }
    return shown;
}

} // namespace vorlen
