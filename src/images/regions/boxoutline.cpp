#include "images/regions/boxoutline.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <vector>

#include "images/filters/sumfilter.h"
#include "images/rasters/image.h"
#include "images/regions/isodatathresholding.h"
#include "images/regions/levelline.h"
#include "images/regions/standingregion.h"
#include "images/sections/imageparts.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

Image partOf(const Image& image, int left, int top, int width, int height) {
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

/// Real values in 65536 steps from the least to the greatest; those that are no number count as the least.
PixelMatrix<int> levelsOf(const Image& part, double& origin, double& step) {
    float least = std::numeric_limits<float>::max(), greatest = std::numeric_limits<float>::lowest();
    for (int i = 0; i < part.getHeight(); ++i)
        for (int j = 0; j < part.getWidth(); ++j)
            if (const float value = part.realRow(i)[j]; std::isfinite(value)) {
                least = std::min(least, value);
                greatest = std::max(greatest, value);
            }
    origin = greatest >= least ? double(least) : 0;
    step = greatest > least ? (double(greatest) - double(least)) / 65535 : 0;
    PixelMatrix<int> levels(part.getHeight(), part.getWidth());
    for (int i = 0; i < part.getHeight(); ++i)
        for (int j = 0; j < part.getWidth(); ++j) {
            const float value = part.realRow(i)[j];
            levels[i][j] = std::isfinite(value) && step > 0 ? int((double(value) - origin) / step + 0.5) : 0;
        }
    return levels;
}

PixelMatrix<int> greysOf(const Image& part) {
    PixelMatrix<int> greys;
    switch (part.colorContent()) {
    case RedContent:
        greys.convertFromImage(part, RedChannel);
        break;
    case GreenContent:
        greys.convertFromImage(part, GreenChannel);
        break;
    case BlueContent:
        greys.convertFromImage(part, BlueChannel);
        break;
    default:
        greys.convertGreyFromImage(part);
    }
    return greys;
}

/// Regions of the values below a level, one after the other.
class Regions {
public:
    struct Region {
        int row = 0, column = 0; // of its first pixel, in the order of rows
        double weight = 0;
        bool atRim = false;
        bool hasSeed = false;
    };

    Regions(const PixelMatrix<int>& values, double level, int seedRow, int seedColumn)
        : __rows(values.getSize1()), __columns(values.getSize2()), __seed(indexOf(seedRow, seedColumn)) {
        __open.resize(std::size_t(__rows) * std::size_t(__columns));
        for (int i = 0; i < __rows; ++i)
            std::transform(values[i].data(), values[i].data() + __columns,
                           __open.begin() + std::ptrdiff_t(indexOf(i, 0)),
                           [level](int value) { return value < level ? char(1) : char(0); });
    }

    /// The one with the seed where there is one, else the one of most weight.
    std::optional<Region> chosen(bool bySeed) {
        std::optional<Region> best;
        for (int i = 0; i < __rows; ++i)
            for (int j = 0; j < __columns; ++j) {
                if (__open[indexOf(i, j)] == 0)
                    continue;
                const Region region = taken(i, j);
                if (bySeed ? region.hasSeed : !best || region.weight > best->weight)
                    best = region;
                if (bySeed && best)
                    return best;
            }
        return best;
    }

private:
    std::size_t indexOf(int row, int column) const {
        return std::size_t(row) * std::size_t(__columns) + std::size_t(column);
    }

    /// 0 at the rim, 1 in the middle.
    static double weightAt(int place, int size) { return size > 1 ? 1 - std::abs(2.0 * place / (size - 1) - 1) : 1; }

    Region taken(int row, int column) {
        Region region;
        region.row = row;
        region.column = column;
        __waiting.assign(1, indexOf(row, column));
        __open[__waiting.front()] = 0;
        while (!__waiting.empty()) {
            const std::size_t index = __waiting.back();
            __waiting.pop_back();
            const int i = int(index / std::size_t(__columns)), j = int(index % std::size_t(__columns));
            region.weight += std::min(weightAt(i, __rows), weightAt(j, __columns));
            region.atRim = region.atRim || i == 0 || j == 0 || i == __rows - 1 || j == __columns - 1;
            region.hasSeed = region.hasSeed || index == __seed;
            for (int k = std::max(i - 1, 0); k <= std::min(i + 1, __rows - 1); ++k)
                for (int l = std::max(j - 1, 0); l <= std::min(j + 1, __columns - 1); ++l)
                    if (char& open = __open[indexOf(k, l)]; open != 0) {
                        open = 0;
                        __waiting.push_back(indexOf(k, l));
                    }
        }
        return region;
    }

    int __rows, __columns;
    std::size_t __seed;
    std::vector<char> __open; // not taken yet
    std::vector<std::size_t> __waiting;
};

} // namespace

BoxOutline::BoxOutline(const Image& image, const BoundingBox<int>& box, int smoothing)
    : BoxOutline(ImageParts(image), box, smoothing) {
}

BoxOutline::BoxOutline(const ImageParts& image, const BoundingBox<int>& box, int smoothing) {
    const char* const where = "BoxOutline::BoxOutline(const ImageParts&, const BoundingBox<int>&, int)";
    const Vector<int>& low = box.getVertex1();
    const Vector<int>& high = box.getVertex2();
    if (low[0] < 0 || low[1] < 0 || high[0] >= image.getWidth() || high[1] >= image.getHeight() || low[0] > high[0] ||
        low[1] > high[1])
        throw RangeError(where, "The box does not lie on the image");
    if (smoothing < 0 || smoothing > maxSmoothing)
        throw RangeError(where, "The smoothing is not from 0 to " + std::to_string(maxSmoothing));
    const int left = std::max(low[0] - smoothing, 0), top = std::max(low[1] - smoothing, 0);
    const int right = std::min(high[0] + smoothing, image.getWidth() - 1);
    const int bottom = std::min(high[1] + smoothing, image.getHeight() - 1);
    const ImageParts::Part part = image.read({left, top, right - left + 1, bottom - top + 1});
    search(*part.image, part.toPart(box), smoothing);
    __firstColumn = low[0];
    __firstRow = low[1];
}

/// The box lies on the image, which has all of the section that there is around the box.
void BoxOutline::search(const Image& image, const BoundingBox<int>& box, int smoothing) {
    const Vector<int>& low = box.getVertex1();
    const Vector<int>& high = box.getVertex2();
    const int left = std::max(low[0] - smoothing, 0), top = std::max(low[1] - smoothing, 0);
    const int right = std::min(high[0] + smoothing, image.getWidth() - 1);
    const int bottom = std::min(high[1] + smoothing, image.getHeight() - 1);
    const Image part = partOf(image, left, top, right - left + 1, bottom - top + 1);
    PixelMatrix<int> sums = image.isReal() ? levelsOf(part, __origin, __step) : greysOf(part);
    SumFilter<int> sum;
    sum.setHalfSize(smoothing);
    sum.apply(sums);

    __area = (2 * smoothing + 1) * (2 * smoothing + 1);
    __sums = PixelMatrix<int>(high[1] - low[1] + 1, high[0] - low[0] + 1);
    PixelMatrix<int> means = __sums;
    __least = std::numeric_limits<int>::max();
    __greatest = 0;
    for (int i = 0; i < __sums.getSize1(); ++i) {
        const int* const source = sums[i + low[1] - top].data() + (low[0] - left);
        for (int j = 0; j < __sums.getSize2(); ++j) {
            __sums[i][j] = source[j];
            means[i][j] = source[j] / __area;
            __least = std::min(__least, means[i][j]);
            __greatest = std::max(__greatest, means[i][j]);
        }
    }
    IsodataThresholding<int> isodata;
    isodata.setBins(0, 1, image.getDepth() == 16 || image.isReal() ? 65536 : 256);
    __proposed = isodata.computeThreshold(means);
}

double BoxOutline::valueOf(int threshold) const {
    return __origin + __step * threshold;
}

/// Whether the darker side has less of the rim.
bool BoxOutline::isDarkerInside(int level) const {
    const int rows = __sums.getSize1(), columns = __sums.getSize2();
    int darker = 0, all = 0;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; j += i == 0 || i == rows - 1 ? 1 : std::max(columns - 1, 1)) {
            darker += __sums[i][j] < level ? 1 : 0;
            ++all;
        }
    return 2 * darker <= all;
}

/// With the bright dark.
PixelMatrix<int> BoxOutline::turnedSums() const {
    PixelMatrix<int> turned = __sums;
    for (int i = 0; i < turned.getSize1(); ++i)
        for (int& value : turned[i])
            value = -value;
    return turned;
}

std::optional<int> BoxOutline::thresholdAlone(const std::pair<int, int>& seed, Side side) const {
    constexpr int numThresholds = 24;
    constexpr int leastPart = 400;
    constexpr double goodContrast = 0.97;
    const int column = seed.first - __firstColumn, row = seed.second - __firstRow;
    const int rows = __sums.getSize1(), columns = __sums.getSize2();
    if (column < 0 || row < 0 || column >= columns || row >= rows)
        return std::nullopt;
    const int value = __sums[row][column];
    const bool darker = side == Side::Either ? value < __proposed * __area : side == Side::Darker;
    const PixelMatrix<int> turned = darker ? PixelMatrix<int>() : turnedSums();
    const int first = value / __area, last = darker ? __greatest : __least;
    std::vector<std::pair<int, double>> contrasts;
    contrasts.reserve(numThresholds);
    double best = 0;
    for (int k = 1; k <= numThresholds; ++k) {
        const int tried = first + (last - first) * k / numThresholds;
        const int level = tried * __area;
        const StandingRegion region(darker ? __sums : turned, row, column, darker ? level - 0.5 : -level + 0.5);
        if (region.atRim())
            break; // and so are the larger ones
        if (region.numPixels() < rows * columns / leastPart)
            continue;
        contrasts.emplace_back(tried, region.contrast());
        best = std::max(best, contrasts.back().second);
    }
    if (best <= 0)
        return std::nullopt;
    const auto isBest = [best](const auto& each) { return each.second >= goodContrast * best; };
    const auto nearest = std::find_if(contrasts.begin(), contrasts.end(), isBest);
    const auto farthest = std::find_if(contrasts.rbegin(), contrasts.rend(), isBest);
    return (nearest->first + farthest->first) / 2; // in the middle of the edge
}

BoxOutline::Found BoxOutline::find(const Choice& choice) const {
    const int level = choice.threshold * __area;
    const int seedColumn = choice.seed ? choice.seed->first - __firstColumn : 0;
    const int seedRow = choice.seed ? choice.seed->second - __firstRow : 0;
    Found found;
    found.outline = Curve<double>(2, 0, 0, 1, false);
    if (seedColumn < 0 || seedRow < 0 || seedColumn >= __sums.getSize2() || seedRow >= __sums.getSize1())
        return found;
    if (choice.side != Side::Either)
        found.darker = choice.side == Side::Darker;
    else
        found.darker = choice.seed ? __sums[seedRow][seedColumn] < level : isDarkerInside(level);

    const PixelMatrix<int> turned = found.darker ? PixelMatrix<int>() : turnedSums();
    const PixelMatrix<int>& values = found.darker ? __sums : turned;
    const double border = found.darker ? level - 0.5 : -level + 0.5; // sums are whole: each is on one side
    const auto region = Regions(values, border, seedRow, seedColumn).chosen(choice.seed.has_value());
    if (!region)
        return found;
    found.touchesBox = region->atRim;
    found.outline = levelLine(values, region->row, region->column, border, choice.tolerance);
    for (int k = 0; k < found.outline.getSize(); ++k) {
        found.outline[k][0] += __firstColumn;
        found.outline[k][1] += __firstRow;
    }
    return found;
}

} // namespace vorlen
