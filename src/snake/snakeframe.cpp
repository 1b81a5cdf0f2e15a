#include "snake/snakeframe.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <vector>

#include "images/rasters/image.h"

namespace vorlen {

namespace {

constexpr double mostParts = 4;

/// The slice's pixels, from the first on, that make one of the frame, and their shares.
struct Shares {
    int first = 0;
    std::vector<float> weights;
};

std::vector<Shares> sharesAlong(int available, int size, double step) {
    std::vector<Shares> shares(static_cast<std::size_t>(size));
    for (int j = 0; j < size; ++j) {
        Shares& share = shares[static_cast<std::size_t>(j)];
        if (step < 1) {
            const double place = std::clamp((j + 0.5) * step - 0.5, 0.0, available - 1.0);
            share.first = std::min(int(place), std::max(available - 2, 0));
            const auto next = float(place - share.first);
            share.weights = {1 - next};
            if (next > 0)
                share.weights.push_back(next);
            continue;
        }
        const double begin = std::min(j * step, available - 1.0);
        const double end = std::clamp((j + 1) * step, begin, double(available));
        share.first = int(begin);
        for (int i = share.first; i < end; ++i)
            share.weights.push_back(float((std::min(end, i + 1.0) - std::max(begin, double(i))) / (end - begin)));
    }
    return shares;
}

Image cut(const Image& image, int left, int top, int width, int height) {
    ImageHeader header = image.getHeader();
    header.setWidth(width);
    header.setHeight(height);
    Image part;
    part.setHeader(header);
    part.allocatePixels();
    const auto offset = static_cast<std::size_t>(left) * static_cast<std::size_t>(image.bytesPerPixel());
    for (int i = 0; i < height; ++i)
        std::memcpy(part.getPixels()[i], image.getPixels()[top + i] + offset,
                    static_cast<std::size_t>(part.bytesPerLine()));
    return part;
}

PixelMatrix<float> valuesOf(const Image& part, ImageColorContent content, float step) {
    PixelMatrix<float> values;
    if (content == GreenContent)
        values.convertFromImage(part, GreenChannel);
    else if (content == BlueContent)
        values.convertFromImage(part, BlueChannel);
    else if (content == RedContent)
        values.convertFromImage(part, RedChannel);
    else
        values.convertGreyFromImage(part);
    for (int i = 0; i < values.getSize1(); ++i)
        for (float& value : values[i])
            value = std::isfinite(value) ? value / step : 0;
    return values;
}

Curve<float> mapped(const Curve<float>& curve, double offsetX, double factorX, double shiftX, double offsetY,
                    double factorY, double shiftY) {
    Curve<float> result = curve;
    result.detach();
    for (int i = 0; i < result.getSize(); ++i) {
        result[i][0] = float((double(curve[i][0]) + offsetX) * factorX + shiftX);
        result[i][1] = float((double(curve[i][1]) + offsetY) * factorY + shiftY);
    }
    return result;
}

} // namespace

SnakeFrame::SnakeFrame(int width, int height, double aspect, unsigned int scale, const Curve<float>& curve,
                       double margin) {
    if (!(aspect > 0 && std::isfinite(aspect)))
        aspect = 1;
    const double times = std::max(scale, 1u);
    // The sides of a pixel of the slice are 1 and aspect; that of the frame is the shorter, or a quarter of the longer.
    const double square = std::max(std::min(1.0, aspect), std::max(1.0, aspect) / mostParts) * times;
    double lower[2] = {std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
    double upper[2] = {std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest()};
    for (int i = 0; i < curve.getSize(); ++i)
        for (const int axis : {0, 1}) {
            lower[axis] = std::min(lower[axis], double(curve[i][axis]));
            upper[axis] = std::max(upper[axis], double(curve[i][axis]));
        }
    __x = side(width, square, lower[0], upper[0], margin);
    __y = side(height, square / aspect, lower[1], upper[1], margin);
}

SnakeFrame::Side SnakeFrame::side(int size, double step, double lower, double upper, double margin) {
    Side side;
    side.whole = size;
    side.step = step;
    if (size < 1)
        return side;
    side.first = int(std::clamp(std::floor(lower - margin * step), 0.0, size - 1.0));
    side.end = int(std::clamp(std::ceil(upper + margin * step) + 1, side.first + 1.0, double(size)));
    // So much is whole pixels of the frame; of the last the mean is over what the image has of it.
    side.size = std::max(int(std::ceil((side.end - side.first) / step - 1e-6)), 1);
    side.end = int(std::min(double(size), std::ceil(side.first + side.size * step - 1e-6)));
    return side;
}

bool SnakeFrame::isWhole() const {
    return __x.first == 0 && __y.first == 0 && __x.end == __x.whole && __y.end == __y.whole;
}

bool SnakeFrame::isLeftBy(const Curve<float>& curve, double distance) const {
    const auto leaves = [distance](const Side& side, double coordinate) {
        return (side.first > 0 && coordinate < distance) ||
               (side.end < side.whole && coordinate > side.size - distance);
    };
    for (int i = 0; i < curve.getSize(); ++i)
        if (leaves(__x, curve[i][0]) || leaves(__y, curve[i][1]))
            return true;
    return false;
}

Curve<float> SnakeFrame::toFrame(const Curve<float>& curve) const {
    return mapped(curve, 0.5 - __x.first, 1 / __x.step, 0, 0.5 - __y.first, 1 / __y.step, 0);
}

Curve<float> SnakeFrame::toSlice(const Curve<float>& curve) const {
    return mapped(curve, 0, __x.step, __x.first - 0.5, 0, __y.step, __y.first - 0.5);
}

PixelMatrix<float> SnakeFrame::pixels(const Image& image, float step) const {
    return inFrame(valuesOf(cut(image, left(), top(), width(), height()), image.colorContent(), step));
}

PixelMatrix<float> SnakeFrame::pixels(const ImageParts::Part& part, float step) const {
    if (PixelWindow{part.left, part.top, part.image->getWidth(), part.image->getHeight()} == window())
        return pixelsOfPart(*part.image, step);
    const Image cutOut = cut(*part.image, left() - part.left, top() - part.top, width(), height());
    return inFrame(valuesOf(cutOut, part.image->colorContent(), step));
}

PixelMatrix<float> SnakeFrame::pixelsOfPart(const Image& part, float step) const {
    return inFrame(valuesOf(part, part.colorContent(), step));
}

/// The values of the part, as those of the frame.
PixelMatrix<float> SnakeFrame::inFrame(const PixelMatrix<float>& values) const {
    if (__x.step == 1 && __y.step == 1)
        return values;
    const std::vector<Shares> columns = sharesAlong(width(), __x.size, __x.step);
    const std::vector<Shares> rows = sharesAlong(height(), __y.size, __y.step);
    PixelMatrix<float> result(__y.size, __x.size);
    std::vector<float> line(static_cast<std::size_t>(width()));
    for (int i = 0; i < __y.size; ++i) {
        const Shares& row = rows[static_cast<std::size_t>(i)];
        std::fill(line.begin(), line.end(), 0.0f);
        for (std::size_t k = 0; k < row.weights.size(); ++k) {
            const float* const source = values[row.first + int(k)].data();
            const float weight = row.weights[k];
            for (std::size_t j = 0; j < line.size(); ++j)
                line[j] += weight * source[j];
        }
        float* const target = result[i].data();
        for (int j = 0; j < __x.size; ++j) {
            const Shares& column = columns[static_cast<std::size_t>(j)];
            float sum = 0;
            for (std::size_t k = 0; k < column.weights.size(); ++k)
                sum += column.weights[k] * line[static_cast<std::size_t>(column.first) + k];
            target[j] = sum;
        }
    }
    return result;
}

} // namespace vorlen
