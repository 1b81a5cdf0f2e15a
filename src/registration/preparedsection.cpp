#include "registration/preparedsection.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>

namespace vorlen {

namespace {

using Level = SectionLevel;

constexpr float present = SectionLevel::present;
constexpr int leastSide = SectionAligner::Section::leastSide;

/// Local mean off, local spread made even; what is missing stays 0.
cv::Mat evened(const cv::Mat& image, double sigma) {
    std::vector<cv::Mat> channels;
    cv::split(image, channels);
    const cv::Mat &value = channels[0], &mask = channels[1];
    cv::Mat weight, mean, square;
    cv::GaussianBlur(mask, weight, {}, sigma, sigma, cv::BORDER_CONSTANT);
    weight = cv::max(weight, 1e-3f);
    cv::GaussianBlur(value, mean, {}, sigma, sigma, cv::BORDER_CONSTANT);
    mean /= weight;
    cv::Mat flat = (value - mean).mul(mask);
    cv::GaussianBlur(flat.mul(flat), square, {}, sigma, sigma, cv::BORDER_CONSTANT);
    square /= weight;
    cv::sqrt(square, square);
    const double whole = std::sqrt(std::max(1e-12, cv::mean(flat.mul(flat))[0]));
    channels[0] = flat / (square + 0.3 * whole);
    cv::Mat result;
    cv::merge(channels, result);
    return result;
}

/// The greys of an image as they come, by some of the rows of a great one.
struct GreyRange {
    double black = 0, between = 0, white = 0; ///< pixels at either end of the range that they are of, and between
    double mean = 0, spread = 1;              ///< of those between the least and the greatest that there are

    explicit GreyRange(const SectionImage& image);

    /// Nearly nothing is left between black and white.
    bool isBlackAndWhite() const { return std::min(black, white) > 10 * between && std::min(black, white) > 0; }
    /// More is cut off at either end than is left.
    bool isMostlyCut() const { return std::min(black, white) > between; }
    bool isWhite() const { return white > 0 && black + between <= 0; }

private:
    static int stepOf(const SectionImage& image) { return 1 + image.grey.getSize1() / 512; }
    void findMean(const SectionImage& image, float least, float most);
};

GreyRange::GreyRange(const SectionImage& image) {
    constexpr double near = 0.02; // of the range: files with losses blur it
    const auto low = float(near * image.white), high = float((1 - near) * image.white);
    float least = std::numeric_limits<float>::infinity(), most = -least;
    for (int i = 0; i < image.grey.getSize1(); i += stepOf(image)) {
        const float* const p = image.grey[i].data();
        int numBlack = 0, numWhite = 0, numOther = 0;
        for (int j = 0; j < image.grey.getSize2(); ++j) {
            const bool isNumber = std::isfinite(p[j]);
            numBlack += isNumber && p[j] <= low ? 1 : 0;
            numWhite += isNumber && p[j] >= high ? 1 : 0;
            numOther += p[j] > low && p[j] < high ? 1 : 0;
            least = isNumber && p[j] < least ? p[j] : least;
            most = isNumber && p[j] > most ? p[j] : most;
        }
        black += numBlack;
        white += numWhite;
        between += numOther;
    }
    findMean(image, least, most);
}

/// Without the least and the greatest, which may be a frame far off from all else; where there is nothing else, of
/// both.
void GreyRange::findMean(const SectionImage& image, float least, float most) {
    double n = 0, sum = 0, squares = 0;
    for (int i = 0; i < image.grey.getSize1(); i += stepOf(image)) {
        const float* const p = image.grey[i].data();
        for (int j = 0; j < image.grey.getSize2(); ++j)
            if (p[j] > least && p[j] < most) {
                const double grey = double(p[j]) - double(least);
                ++n;
                sum += grey;
                squares += grey * grey;
            }
    }
    if (n > 0) {
        mean = sum / n + double(least);
        spread = std::sqrt(std::max(0.0, squares / n - sum / n * (sum / n)));
    } else if (most > least)
        mean = 0.5 * (double(least) + double(most));
    if (!(spread > 0) || n == 0)
        spread = most > least ? 0.5 * (double(most) - double(least)) : 1;
}

/// The least and the greatest grey, and of how many of the pixels.
struct Extremes {
    float least = std::numeric_limits<float>::infinity(), most = -std::numeric_limits<float>::infinity();
    double numPixels = 0, numLeast = 0, numMost = 0;

    explicit Extremes(const cv::Mat& image) {
        LevelRows rows(image);
        for (int i = 0; i < image.rows; ++i) {
            const float* const p = rows(i);
            for (int j = 0; j < 2 * image.cols; j += 2) {
                if (!(p[j + 1] > 0.5f))
                    continue;
                ++numPixels;
                numLeast = p[j] < least ? 0 : numLeast;
                numMost = p[j] > most ? 0 : numMost;
                least = std::min(least, p[j]);
                most = std::max(most, p[j]);
                numLeast += p[j] == least ? 1 : 0;
                numMost += p[j] == most ? 1 : 0;
            }
        }
    }
};

/// Blank and the like.
std::string faultOf(const Extremes& extremes, const GreyRange& greys) {
    const double n = extremes.numPixels, low = extremes.numLeast, high = extremes.numMost;
    if (n < leastSide * leastSide)
        return "blank";
    if (!(extremes.most > extremes.least) || low > 0.9995 * n)
        return greys.isWhite() ? "saturated" : "blank";
    if (high > 0.95 * n)
        return "saturated";
    if (low + high > 0.9995 * n && std::min(low, high) < 0.02 * n)
        return "saturated";
    return "";
}

/// The image in working pixels: boxes of whole pixels, then, where these are not square, as fine as the finer side.
Level reduced(const SectionImage& image, double pixel, const GreyRange& greys) {
    const int rows = image.grey.getSize1(), cols = image.grey.getSize2();
    const auto boxOf = [&](double size, int n) {
        const int wanted = std::max(1, int(pixel / size + 0.01));
        return std::clamp(
            std::max(wanted, (n + 2 * SectionAligner::workingSize - 1) / (2 * SectionAligner::workingSize)), 1,
            std::max(1, n / leastSide));
    };
    const int bx = boxOf(image.pixelWidth, cols), by = boxOf(image.pixelHeight, rows);
    Level level;
    level.image = Level::emptyImage(rows / by, cols / bx);
    const auto perSpread = float(1 / greys.spread), mean = float(greys.mean);
    std::vector<float> out;
    for (int i = 0; i < level.image.rows; ++i) {
        out.assign(std::size_t(2 * level.image.cols), 0.0f);
        for (int k = 0; k < by; ++k) {
            const float* in = image.grey[i * by + k].data();
            for (std::size_t j = 0; j < out.size(); j += 2)
                for (int l = 0; l < bx; ++l, ++in)
                    if (std::isfinite(*in)) {
                        out[j] += *in;
                        out[j + 1] += 1;
                    }
        }
        for (std::size_t j = 0; j < out.size(); j += 2) {
            out[j] = out[j + 1] > 0 ? perSpread * (out[j] / out[j + 1] - mean) : 0;
            out[j + 1] = 2 * out[j + 1] >= float(bx * by) ? 1.0f : 0.0f;
        }
        setLevelRow(level.image, i, out.data());
    }
    level.stepX = bx * image.pixelWidth;
    level.stepY = by * image.pixelHeight;
    level.originX = image.pixelWidth * (0.5 * (bx - 1) - 0.5 * cols);
    level.originY = image.pixelHeight * (0.5 * (by - 1) - 0.5 * rows);
    const double finer = std::min(level.stepX, level.stepY);
    if (std::max(level.stepX, level.stepY) > 1.02 * finer) {
        Level square;
        const cv::Size size(
            std::min(4 * SectionAligner::workingSize, int(std::lround(level.image.cols * level.stepX / finer))),
            std::min(4 * SectionAligner::workingSize, int(std::lround(level.image.rows * level.stepY / finer))));
        square.stepX = level.stepX * level.image.cols / size.width;
        square.stepY = level.stepY * level.image.rows / size.height;
        square.originX = level.originX + (square.stepX - level.stepX) / 2;
        square.originY = level.originY + (square.stepY - level.stepY) / 2;
        cv::resize(level.image, square.image, size, 0, 0, cv::INTER_LINEAR);
        changeLevelRows(square.image, [&size](int, float* p) {
            for (int j = 1; j < 2 * size.width; j += 2)
                p[j] = p[j] > present ? 1.0f : 0.0f;
        });
        return square;
    }
    return level;
}

/// 255 where the image has this grey, else 0.
cv::Mat whereIs(const cv::Mat& image, float grey) {
    cv::Mat result(image.size(), CV_8U);
    LevelRows rows(image);
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = rows(i);
        unsigned char* const out = result.ptr<unsigned char>(i);
        for (int j = 0; j < image.cols; ++j)
            out[j] = p[2 * j + 1] > 0.5f && p[2 * j] == grey ? 255 : 0;
    }
    return result;
}

/// Of each labelled area the mean grey of the pixels that adjoin it.
std::vector<double> greysAround(const cv::Mat& image, const cv::Mat& labels, int numAreas) {
    std::vector<double> sums(std::size_t(numAreas), 0), counts(std::size_t(numAreas), 0);
    const auto add = [&](int area, const float* pixel) {
        if (pixel[1] > 0.5f) {
            sums[std::size_t(area)] += double(pixel[0]);
            ++counts[std::size_t(area)];
        }
    };
    LevelRows rows(image), rowsBelow(image);
    for (int i = 0; i < labels.rows; ++i) {
        const bool isLast = i + 1 == labels.rows;
        const float* const here = rows(i);
        const float* const below = isLast ? here : rowsBelow(i + 1);
        const int* const areas = labels.ptr<int>(i);
        const int* const areasBelow = isLast ? areas : labels.ptr<int>(i + 1);
        for (int j = 0; j < labels.cols; ++j) {
            if (j + 1 < labels.cols && areas[j] != areas[j + 1]) {
                add(areas[j], here + 2 * j + 2);
                add(areas[j + 1], here + 2 * j);
            }
            if (areas[j] != areasBelow[j]) {
                add(areas[j], below + 2 * j);
                add(areasBelow[j], here + 2 * j);
            }
        }
    }
    for (std::size_t k = 0; k < sums.size(); ++k)
        sums[k] = counts[k] > 0 ? sums[k] / counts[k] : 0;
    return sums;
}

/// What an area of an extreme grey is.
enum AreaKind : unsigned char { NoArea, AtBorder, CutOut };

/// The kind of area at each pixel, for areas of one grey of some size.
cv::Mat areasOf(const cv::Mat& image, const Extremes& extremes, float grey, double leastArea) {
    cv::Mat labels, boxes, centres;
    const int n = cv::connectedComponentsWithStats(whereIs(image, grey), labels, boxes, centres, 4);
    const std::vector<double> around = greysAround(image, labels, n);
    constexpr double gradual = 0.2; // of the range of the greys
    std::vector<unsigned char> kinds(std::size_t(n), NoArea);
    for (int k = 1; k < n; ++k) {
        const int* const box = boxes.ptr<int>(k);
        if (box[cv::CC_STAT_AREA] < leastArea)
            continue;
        const bool touches =
            box[0] == 0 || box[1] == 0 || box[0] + box[2] == image.cols || box[1] + box[3] == image.rows;
        if (touches)
            kinds[std::size_t(k)] = AtBorder;
        else if (std::abs(around[std::size_t(k)] - double(grey)) > gradual * double(extremes.most - extremes.least))
            kinds[std::size_t(k)] = CutOut;
    }
    cv::Mat result(image.size(), CV_8U);
    for (int i = 0; i < image.rows; ++i)
        for (int j = 0; j < image.cols; ++j)
            result.at<unsigned char>(i, j) = kinds[std::size_t(labels.at<int>(i, j))];
    return result;
}

/// Whether what is left within the areas at the border has few, straight sides.
bool isStraightFrame(const cv::Mat& image, const cv::Mat& areas) {
    std::vector<cv::Point> points, hull, corners; // the first and the last of each row
    LevelRows rows(image);
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = rows(i);
        int first = -1, last = -1;
        for (int j = 0; j < image.cols; ++j)
            if (p[2 * j + 1] > 0.5f && areas.at<unsigned char>(i, j) != AtBorder) {
                first = first < 0 ? j : first;
                last = j;
            }
        if (first >= 0) {
            points.emplace_back(first, i);
            points.emplace_back(last, i);
        }
    }
    if (points.empty())
        return false;
    cv::convexHull(points, hull);
    cv::approxPolyDP(hull, corners, 0.008 * std::hypot(image.cols, image.rows), true);
    cv::Mat frame = cv::Mat::zeros(image.size(), CV_8U);
    cv::fillConvexPoly(frame, hull, cv::Scalar(255));
    return corners.size() <= 8 && cv::countNonZero(frame & (areas == AtBorder)) < 0.03 * double(image.total());
}

/// Every so many pixels of every so many rows.
cv::Mat sampled(const cv::Mat& image, int step) {
    cv::Mat result(image.rows / step, image.cols / step, image.type());
    LevelRows rows(image);
    std::vector<float> row(std::size_t(2 * result.cols));
    for (int i = 0; i < result.rows; ++i) {
        const float* const p = rows(step * i);
        for (int j = 0; j < result.cols; ++j) {
            row[std::size_t(2 * j)] = p[2 * step * j];
            row[std::size_t(2 * j + 1)] = p[2 * step * j + 1];
        }
        setLevelRow(result, i, row.data());
    }
    return result;
}

/// Where areas of the least and the greatest grey are no ground on which the tissue lies; empty for nowhere.
cv::Mat outsideOf(const cv::Mat& image, const Extremes& extremes) {
    const double total = double(image.total()), leastArea = 0.001 * total;
    cv::Mat outside;
    for (const float extreme : {extremes.least, extremes.most}) {
        const cv::Mat areas = areasOf(image, extremes, extreme, leastArea);
        const double bordering = cv::countNonZero(areas == AtBorder);
        if (bordering > 0.7 * total || (bordering > 0 && !isStraightFrame(image, areas)))
            continue; // tissue on a ground
        if (outside.empty())
            outside = areas;
        else
            outside |= areas;
    }
    return !outside.empty() && cv::countNonZero(outside) > 0 ? outside : cv::Mat();
}

/// Takes areas of the least and the greatest grey out that are no ground on which the tissue lies: a frame with
/// straight sides round the picture, and what is cut off inside of it. Areas into which the greys pass over, as of
/// tissue that was taken too bright, stay: they have as much to tell. Of great images they are looked for on every
/// second row and column, which takes a fourth of the time and the memory.
void maskExtremes(cv::Mat& image, const Extremes& extremes) {
    if (std::max(extremes.numLeast, extremes.numMost) < 0.001 * double(image.total()))
        return;
    const int step = std::max(image.rows, image.cols) > 2 * SectionLevel::floatSide ? 2 : 1;
    cv::Mat outside = outsideOf(step > 1 ? sampled(image, step) : image, extremes);
    if (outside.empty())
        return;
    cv::dilate(outside, outside, cv::Mat(), {-1, -1}, 2);
    const int cols = image.cols;
    changeLevelRows(image, [&outside, step, cols](int i, float* p) {
        const unsigned char* const isOutside = outside.ptr<unsigned char>(std::min(i / step, outside.rows - 1));
        const int last = outside.cols - 1;
        for (int j = 0; j < cols; ++j)
            if (isOutside[std::min(j / step, last)] != NoArea)
                p[2 * j] = p[2 * j + 1] = 0;
    });
}

/// Mean 0 and spread 1 where there is a value.
void standardize(cv::Mat& image) {
    LevelRows rows(image);
    double n = 0, sum = 0, squares = 0;
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = rows(i);
        for (int j = 0; j < 2 * image.cols; j += 2)
            if (p[j + 1] > present) {
                ++n;
                sum += double(p[j]);
                squares += double(p[j]) * double(p[j]);
            }
    }
    const double mean = n > 0 ? sum / n : 0;
    const double spread = n > 0 ? std::sqrt(std::max(1e-30, squares / n - mean * mean)) : 1;
    const auto middle = float(mean), perSpread = float(1 / spread);
    changeLevelRows(image, [&](int, float* p) {
        for (int j = 0; j < 2 * image.cols; j += 2) {
            p[j] = p[j + 1] > present ? perSpread * (p[j] - middle) : 0;
            p[j + 1] = p[j + 1] > present ? 1.0f : 0.0f;
        }
    });
}

} // namespace

SectionAligner::Section::Section(const SectionImage& image, double workingPixel)
    : width(image.width()), height(image.height()), pixel(workingPixel) {
    if (image.grey.getSize1() < leastSide || image.grey.getSize2() < leastSide) {
        fault = "too small";
        return;
    }
    const GreyRange greys(image);
    Level level = reduced(image, pixel, greys);
    isBlackAndWhite = greys.isBlackAndWhite();
    isMostlyCut = greys.isMostlyCut();
    const Extremes extremes(level.image);
    fault = faultOf(extremes, greys);
    if (!fault.empty())
        return;
    maskExtremes(level.image, extremes);
    standardize(level.image);
    if (level.numPresent() < leastSide * leastSide) {
        fault = "blank";
        return;
    }
    levels.push_back(level);
    addScales();
    smoothScales();
    chooseScales();
}

SectionAligner::Section::Section(const Section& onto, const SectionLevel& level)
    : width(onto.width), height(onto.height), pixel(onto.pixel), levels({level}) {
    addScales();
    chooseScales();
}

/// Halves the finest level as long as something is left.
void SectionAligner::Section::addScales() {
    while (levels.back().side() > 64 && std::min(levels.back().image.rows, levels.back().image.cols) >= 2 * leastSide)
        levels.push_back(levels.back().halved());
}

/// What lies between two pixels is smooth then.
void SectionAligner::Section::smoothScales() {
    for (Level& one : levels)
        one.smooth();
}

/// Finds the levels for choice and search.
void SectionAligner::Section::chooseScales() {
    while (choice + 1 < levels.size() && levels[choice].side() > choiceSide)
        ++choice;
    std::size_t k = choice;
    while (k + 1 < levels.size() && levels[k].side() > searchSide)
        ++k;
    search = levels[k];
    search.image = evened(levelInFloats(search.image), 0.06 * search.side());
}

const GreyClasses& SectionAligner::Section::classes() const {
    if (__classes)
        return *__classes;
    const cv::Mat& image = levels[choice].image;
    std::vector<float> values;
    values.reserve(image.total());
    LevelRows rows(image);
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = rows(i);
        for (int j = 0; j < 2 * image.cols; j += 2)
            if (p[j + 1] > present)
                values.push_back(p[j]);
    }
    __classes.emplace(std::move(values));
    return *__classes;
}

const SectionLevel& SectionAligner::Section::inClasses(std::size_t level) const {
    const auto known = __levelsInClasses.find(level);
    if (known != __levelsInClasses.end())
        return known->second;
    SectionLevel result = levels[level];
    result.image = levelInFloats(levels[level].image).clone();
    for (int i = 0; i < result.image.rows; ++i) {
        float* const p = result.image.ptr<float>(i);
        for (int j = 0; j < 2 * result.image.cols; j += 2)
            p[j] = p[j + 1] > present ? classes().of(p[j]) : 0.0f;
    }
    return __levelsInClasses.emplace(level, std::move(result)).first->second;
}

namespace {

/// Points on an image of bytes, and what they look like.
struct FoundPoints {
    std::vector<cv::KeyPoint> points;
    cv::Mat descriptors;

    void add(const FoundPoints& found, std::size_t k, const cv::Point2f& origin, float scale) {
        points.push_back(found.points[k]);
        // The middle of a pixel of a reduced image is that of its 2 x 2.
        points.back().pt = origin + scale * found.points[k].pt + 0.5f * (scale - 1) * cv::Point2f(1, 1);
        descriptors.push_back(found.descriptors.row(int(k)));
    }
};

FoundPoints pointsIn(const cv::Mat& bytes, const cv::Mat& mask, int most) {
    FoundPoints found;
    cv::SIFT::create(most)->detectAndCompute(bytes, mask, found.points, found.descriptors);
    // Of the image in double size a pixel begins a quarter of one earlier than the library takes it to.
    for (cv::KeyPoint& point : found.points)
        point.pt -= cv::Point2f(0.25f, 0.25f);
    return found;
}

/// Whether it was found on the image in double size, where the library begins.
bool isFinest(const cv::KeyPoint& point) {
    return (point.octave & 255) == 255;
}

/// The finest points of great images in tiles, and all others on half the size. In one go all scales together would
/// take many times the memory of the image.
FoundPoints pointsInTiles(const cv::Mat& bytes, const cv::Mat& mask, int most) {
    if (std::max(bytes.cols, bytes.rows) <= Level::floatSide)
        return pointsIn(bytes, mask, most);
    constexpr int greatest = 192, rim = 24; // the finest points are described by what is less than that away
    FoundPoints all;
    const int across = (bytes.cols + greatest - 1) / greatest, down = (bytes.rows + greatest - 1) / greatest;
    const int ofTile = 2 * most / (across * down); // no tile has much more than its share
    for (int i = 0; i < down; ++i)
        for (int j = 0; j < across; ++j) {
            const cv::Point first(bytes.cols * j / across, bytes.rows * i / down);
            const cv::Point last(bytes.cols * (j + 1) / across, bytes.rows * (i + 1) / down);
            const cv::Rect core(first, last);
            const cv::Rect tile =
                cv::Rect(first - cv::Point(rim, rim), last + cv::Point(rim, rim)) & cv::Rect({0, 0}, bytes.size());
            const FoundPoints found = pointsIn(bytes(tile), mask(tile), ofTile);
            const cv::Point2f origin(tile.tl());
            for (std::size_t k = 0; k < found.points.size(); ++k)
                if (isFinest(found.points[k]) && cv::Rect2f(core).contains(origin + found.points[k].pt))
                    all.add(found, k, origin, 1);
        }
    cv::Mat half, halfMask;
    cv::resize(bytes, half, {}, 0.5, 0.5, cv::INTER_AREA);
    cv::resize(mask, halfMask, half.size(), 0, 0, cv::INTER_NEAREST);
    const FoundPoints coarse = pointsInTiles(half, halfMask, most);
    for (std::size_t k = 0; k < coarse.points.size(); ++k)
        all.add(coarse, k, {0, 0}, 2);
    return all;
}

/// Of more points than that those that stand out most.
FoundPoints strongest(FoundPoints found, std::size_t most) {
    if (found.points.size() <= most)
        return found;
    std::vector<std::size_t> order(found.points.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::stable_sort(order.begin(), order.end(), [&found](std::size_t a, std::size_t b) {
        return found.points[a].response > found.points[b].response;
    });
    FoundPoints best;
    for (std::size_t k = 0; k < most; ++k)
        best.add(found, order[k], {0, 0}, 1);
    return best;
}

} // namespace

const SectionAligner::Section::Features& SectionAligner::Section::features() const {
    constexpr int most = 1500;
    if (__features)
        return *__features;
    __features.emplace();
    std::size_t k = 0;
    while (k + 1 < levels.size() && levels[k].side() > 640)
        ++k;
    const Level& level = levels[k];
    cv::Mat bytes(level.image.size(), CV_8U), mask(level.image.size(), CV_8U);
    LevelRows rows(level.image);
    for (int i = 0; i < level.image.rows; ++i) {
        const float* const p = rows(i);
        for (int j = 0; j < level.image.cols; ++j) {
            bytes.at<unsigned char>(i, j) = cv::saturate_cast<unsigned char>(40 * p[2 * j] + 128);
            mask.at<unsigned char>(i, j) = cv::saturate_cast<unsigned char>(255 * p[2 * j + 1]);
        }
    }
    const bool isFromBehind = level.stepX < 0; // what the points look like is not the same from there
    if (isFromBehind) {
        cv::flip(bytes, bytes, 1);
        cv::flip(mask, mask, 1);
    }
    const FoundPoints found = strongest(pointsInTiles(bytes, mask, most), most);
    __features->descriptors = found.descriptors;
    __features->places.reserve(found.points.size());
    for (const cv::KeyPoint& point : found.points) {
        const double column = isFromBehind ? level.image.cols - 1 - double(point.pt.x) : double(point.pt.x);
        __features->places.push_back(
            {level.originX + level.stepX * column, level.originY + level.stepY * double(point.pt.y)});
    }
    return *__features;
}

} // namespace vorlen
