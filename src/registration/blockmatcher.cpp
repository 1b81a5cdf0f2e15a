#include "registration/blockmatcher.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace vorlen {

namespace {

constexpr int halfBlock = 16; // pixels
constexpr double leastCorrelation = 0.5;
constexpr double mostNothing = 0.2;    // share of a block
constexpr double leastContrast = 0.15; // of a block against its section
const float nothing = std::numeric_limits<float>::quiet_NaN();

/// An image and the positions of its pixels: origin plus step times the index.
struct Raster {
    cv::Mat grey; // CV_32F, NaN where nothing is known
    double originX = 0, originY = 0, stepX = 1, stepY = 1;
};

Raster reduced(const Raster& raster, int columns, int rows) {
    Raster result;
    cv::resize(raster.grey, result.grey, cv::Size(columns, rows), 0, 0,
               columns < raster.grey.cols || rows < raster.grey.rows ? cv::INTER_AREA : cv::INTER_LINEAR);
    const double across = double(raster.grey.cols) / columns, down = double(raster.grey.rows) / rows;
    result.stepX = raster.stepX * across;
    result.stepY = raster.stepY * down;
    result.originX = raster.originX + raster.stepX * (0.5 * across - 0.5);
    result.originY = raster.originY + raster.stepY * (0.5 * down - 0.5);
    return result;
}

/// Mean and standard deviation of what is known, and the share of it.
struct Spread {
    double mean = 0, deviation = 0, known = 0;
};

Spread spreadOf(const cv::Mat& grey) {
    double sum = 0, squares = 0, n = 0;
    for (int i = 0; i < grey.rows; ++i) {
        const float* const row = grey.ptr<float>(i);
        for (int j = 0; j < grey.cols; ++j) {
            if (std::isnan(row[j]))
                continue;
            sum += row[j];
            squares += double(row[j]) * row[j];
            ++n;
        }
    }
    Spread spread;
    if (n > 0) {
        spread.mean = sum / n;
        spread.deviation = std::sqrt(std::max(0.0, squares / n - spread.mean * spread.mean));
        spread.known = n / double(grey.total());
    }
    return spread;
}

cv::Mat filled(const cv::Mat& grey, double value) {
    cv::Mat result = grey.clone();
    for (int i = 0; i < result.rows; ++i) {
        float* const row = result.ptr<float>(i);
        std::replace_if(
            row, row + result.cols, [](float one) { return std::isnan(one); }, float(value));
    }
    return result;
}

/// The top of a parabola through three values, from the middle one.
double topOf(double left, double middle, double right) {
    const double curve = left - 2 * middle + right;
    return curve < 0 ? std::clamp(0.5 * (left - right) / curve, -0.5, 0.5) : 0;
}

} // namespace

/// At one and at half the size.
class BlockMatcher::Picture {
public:
    Raster rasters[2];
    double deviation = 0;

    const Raster& raster(int reduction) const { return rasters[reduction > 1 ? 1 : 0]; }
};

BlockMatcher::PicturePointer BlockMatcher::prepare(const SectionImage& image, double pixel) {
    auto picture = std::make_shared<Picture>();
    const int rows = image.grey.getSize1(), columns = image.grey.getSize2();
    if (rows < 1 || columns < 1)
        return picture;
    Raster whole;
    whole.grey.create(rows, columns, CV_32F);
    for (int i = 0; i < rows; ++i) {
        float* const row = whole.grey.ptr<float>(i);
        for (int j = 0; j < columns; ++j) {
            const float value = image.grey[i][j];
            row[j] = value > 0 && double(value) < image.white ? value : nothing;
        }
    }
    whole.stepX = image.pixelWidth;
    whole.stepY = image.pixelHeight;
    whole.originX = -0.5 * image.width();
    whole.originY = -0.5 * image.height();
    const auto pixels = [&](double length, int factor) {
        return std::max(1, int(std::lround(length / (pixel * factor))));
    };
    picture->rasters[0] = reduced(whole, pixels(image.width(), 1), pixels(image.height(), 1));
    picture->rasters[1] = reduced(whole, pixels(image.width(), 2), pixels(image.height(), 2));
    picture->deviation = spreadOf(picture->rasters[0].grey).deviation;
    return picture;
}

namespace {

/// The section as its field bends it and as it lies, on the pixels of another one.
cv::Mat warped(const Raster& raster, const ElasticField& field, const RigidMotion& ontoIt, const Raster& grid) {
    cv::Mat mapX(grid.grey.size(), CV_32F), mapY(grid.grey.size(), CV_32F);
    for (int i = 0; i < mapX.rows; ++i) {
        float* const x = mapX.ptr<float>(i);
        float* const y = mapY.ptr<float>(i);
        for (int j = 0; j < mapX.cols; ++j) {
            const PlanePoint at =
                field.before(ontoIt.apply({grid.originX + grid.stepX * j, grid.originY + grid.stepY * i}));
            x[j] = float((at.x - raster.originX) / raster.stepX);
            y[j] = float((at.y - raster.originY) / raster.stepY);
        }
    }
    cv::Mat result;
    cv::remap(raster.grey, result, mapX, mapY, cv::INTER_CUBIC, cv::BORDER_CONSTANT, cv::Scalar(double(nothing)));
    return result;
}

/// False when the block says nothing; the shift in pixels.
bool findBlock(const cv::Mat& block, const cv::Mat& search, PlanePoint& shift, double& correlation, double least,
               double leastAround) {
    const Spread known = spreadOf(block), around = spreadOf(search);
    if (known.known < 1 - mostNothing || around.known < 0.4 || known.deviation <= least ||
        around.deviation <= leastAround)
        return false;
    cv::Mat fit;
    cv::matchTemplate(filled(search, around.mean), filled(block, known.mean), fit, cv::TM_CCOEFF_NORMED);
    double best = 0;
    cv::Point at;
    cv::minMaxLoc(fit, nullptr, &best, nullptr, &at);
    if (!(best >= leastCorrelation) || at.x < 1 || at.y < 1 || at.x + 1 >= fit.cols || at.y + 1 >= fit.rows)
        return false;
    const auto value = [&](int row, int column) { return double(fit.at<float>(row, column)); };
    shift.x = at.x + topOf(value(at.y, at.x - 1), best, value(at.y, at.x + 1)) - 0.5 * (fit.cols - 1);
    shift.y = at.y + topOf(value(at.y - 1, at.x), best, value(at.y + 1, at.x)) - 0.5 * (fit.rows - 1);
    correlation = best;
    return true;
}

} // namespace

std::vector<BlockMatch> BlockMatcher::match(const Side& source, const Side& target, double reach, int reduction) {
    std::vector<BlockMatch> matches;
    const Raster& grid = source.picture.raster(reduction);
    const Raster& other = target.picture.raster(reduction);
    if (grid.grey.empty() || other.grey.empty())
        return matches;
    const int side = std::max(2, int(std::ceil(reach / reduction)));
    const cv::Mat onto = warped(other, target.field, target.place.inverse() * source.place, grid);
    if (onto.cols <= 2 * halfBlock || onto.rows <= 2 * halfBlock)
        return matches;
    cv::Mat own; // with a rim, so that blocks at the border are looked for as well
    cv::copyMakeBorder(warped(grid, source.field, {}, grid), own, side, side, side, side, cv::BORDER_CONSTANT,
                       cv::Scalar(double(nothing)));
    for (int row = 0; row < source.field.rows(); ++row)
        for (int column = 0; column < source.field.columns(); ++column) {
            const PlanePoint node = source.field.node(row, column);
            const int x = std::clamp(int(std::lround((node.x - grid.originX) / grid.stepX)), halfBlock,
                                     onto.cols - 1 - halfBlock);
            const int y = std::clamp(int(std::lround((node.y - grid.originY) / grid.stepY)), halfBlock,
                                     onto.rows - 1 - halfBlock);
            const int length = 2 * halfBlock + 1;
            const cv::Rect block(x - halfBlock, y - halfBlock, length, length);
            const cv::Rect search(x - halfBlock, y - halfBlock, length + 2 * side, length + 2 * side);
            PlanePoint shift{0, 0};
            BlockMatch match;
            match.middle = {grid.originX + grid.stepX * x, grid.originY + grid.stepY * y};
            if (!findBlock(onto(block), own(search), shift, match.correlation, leastContrast * target.picture.deviation,
                           leastContrast * source.picture.deviation))
                continue;
            match.way = {shift.x * grid.stepX, shift.y * grid.stepY};
            matches.push_back(match);
        }
    return matches;
}

double BlockMatcher::score(const Side& source, const Side& target) {
    const Raster& grid = source.picture.raster(2);
    if (grid.grey.empty() || target.picture.raster(2).grey.empty())
        return 0;
    const cv::Mat own = warped(grid, source.field, {}, grid);
    const cv::Mat onto = warped(target.picture.raster(2), target.field, target.place.inverse() * source.place, grid);
    double n = 0, x = 0, y = 0, xx = 0, yy = 0, xy = 0;
    for (int i = 0; i < own.rows; ++i)
        for (int j = 0; j < own.cols; ++j) {
            const double a = own.at<float>(i, j), b = onto.at<float>(i, j);
            if (std::isnan(a) || std::isnan(b))
                continue;
            ++n;
            x += a;
            y += b;
            xx += a * a;
            yy += b * b;
            xy += a * b;
        }
    const double spread = (xx * n - x * x) * (yy * n - y * y);
    return n < 100 || !(spread > 0) ? 0 : std::min(1.0, std::abs(xy * n - x * y) / std::sqrt(spread));
}

} // namespace vorlen
