#include "ui/cuts/sectioncuts.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "document/stack.h"
#include "images/rasters/image.h"

namespace vorlen {

namespace {

double sizeOfPixel(float size) {
    return std::isfinite(size) && size > 0 ? double(size) : 1;
}

void cutRow(const CutSection& section, bool acrossX, double at, double from, double step, int columns, QRgb* row) {
    const RigidMotion back = section.place.inverse();
    const Image& picture = *section.picture;
    const double scaleX = picture.getWidth() / section.width, scaleY = picture.getHeight() / section.height;
    for (int column = 0; column < columns; ++column) {
        const double along = from + step * (column + 0.5);
        const PlanePoint seen = back.apply(acrossX ? PlanePoint{along, at} : PlanePoint{at, along});
        const double u = std::floor((seen.x + section.width / 2) * scaleX);
        const double v = std::floor((seen.y + section.height / 2) * scaleY);
        if (u >= 0 && v >= 0 && u < picture.getWidth() && v < picture.getHeight()) {
            const int grey = picture.getPixels()[int(v)][int(u)];
            row[column] = qRgb(grey, grey, grey);
        }
    }
}

void extend(CutFrame& frame, const CutSection& section, bool first) {
    for (const double x : {-0.5, 0.5})
        for (const double y : {-0.5, 0.5}) {
            const PlanePoint corner = section.place.apply({x * section.width, y * section.height});
            const double at[] = {corner.x, corner.y};
            for (int k = 0; k < 2; ++k) {
                frame.from[k] = first ? at[k] : std::min(frame.from[k], at[k]);
                frame.to[k] = first ? at[k] : std::max(frame.to[k], at[k]);
            }
            first = false;
        }
}

} // namespace

QImage cutThrough(const std::vector<CutSection>& sections, bool acrossX, double at, double from, double to,
                  int columns) {
    const int n = int(sections.size());
    QImage cut(std::max(1, columns), std::max(1, n), QImage::Format_ARGB32_Premultiplied);
    cut.fill(Qt::transparent);
    const double step = (to - from) / std::max(1, columns);
    for (int i = 0; i < n; ++i) {
        const CutSection& section = sections[static_cast<std::size_t>(i)];
        if (section.picture != nullptr && section.width > 0 && section.height > 0)
            cutRow(section, acrossX, at, from, step, columns, reinterpret_cast<QRgb*>(cut.scanLine(n - 1 - i)));
    }
    return cut;
}

CutFrame cutFrameOf(const Stack& stack, const std::function<const Image*(const StackSlice&)>& pictureOf,
                    const StackSlice* changed, const Registration& registration) {
    CutFrame frame;
    frame.sections.reserve(std::size_t(stack.getNumSlices()));
    RigidMotion place;
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const StackSlice& slice = stack.getSlice(i);
        const double pixelWidth = sizeOfPixel(slice.getPixelCalibration().getPixelWidth());
        const double pixelHeight = sizeOfPixel(slice.getPixelCalibration().getPixelHeight());
        place = place * motionOf(&slice == changed ? registration : slice.getRegistration(), pixelWidth, pixelHeight);
        CutSection section;
        section.place = place;
        if (!slice.isEmpty()) {
            section.width = slice.getImageSource().getSize2() * pixelWidth;
            section.height = slice.getImageSource().getSize1() * pixelHeight;
        }
        section.picture = pictureOf(slice);
        extend(frame, section, i == 0);
        frame.sections.push_back(section);
    }
    return frame;
}

} // namespace vorlen
