#include "registration/preparedsection.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>

namespace vorlen {

namespace {

using Level = SectionLevel;

constexpr float present = SectionLevel::present;
constexpr int leastSide = SectionAligner::Section::leastSide;

/// What the source's indexes are for those of the target, as warpAffine() takes it.
cv::Matx23d indexMap(const Level& target, const Level& source, const RigidMotion& motion) {
    const RigidMotion back = motion.inverse();
    const double c = std::cos(back.angle), s = std::sin(back.angle);
    const PlanePoint origin = back.apply({target.originX, target.originY});
    return {
        c * target.stepX / source.stepX, -s * target.stepY / source.stepX, (origin.x - source.originX) / source.stepX,
        s * target.stepX / source.stepY, c * target.stepY / source.stepY,  (origin.y - source.originY) / source.stepY};
}

/// Half the size; a last odd row or column goes.
Level halved(const Level& level) {
    Level half;
    const cv::Mat whole = level.image(cv::Rect(0, 0, level.image.cols & ~1, level.image.rows & ~1));
    cv::resize(whole, half.image, cv::Size(whole.cols / 2, whole.rows / 2), 0, 0, cv::INTER_AREA);
    for (int i = 0; i < half.image.rows; ++i) {
        float* const p = half.image.ptr<float>(i);
        for (int j = 0; j < 2 * half.image.cols; j += 2) {
            const bool some = p[j + 1] >= 0.5f;
            p[j] = some ? p[j] / p[j + 1] : 0;
            p[j + 1] = some ? 1.0f : 0.0f;
        }
    }
    half.stepX = 2 * level.stepX;
    half.stepY = 2 * level.stepY;
    half.originX = level.originX + level.stepX / 2;
    half.originY = level.originY + level.stepY / 2;
    return half;
}

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

/// Pixels at either end of the range of the greys, and between.
struct GreyEnds {
    double black = 0, between = 0, white = 0;

    explicit GreyEnds(const SectionImage& image) {
        constexpr double near = 0.02; // of the range: files with losses blur it
        const auto low = float(near * image.white), high = float((1 - near) * image.white);
        for (int i = 0; i < image.grey.getSize1(); ++i) {
            const float* const p = image.grey[i].data();
            int numBlack = 0, numWhite = 0, numOther = 0;
            for (int j = 0; j < image.grey.getSize2(); ++j) {
                numBlack += p[j] <= low ? 1 : 0;
                numWhite += p[j] >= high ? 1 : 0;
                numOther += p[j] > low && p[j] < high ? 1 : 0;
            }
            black += numBlack;
            white += numWhite;
            between += numOther;
        }
    }

    /// Nearly nothing is left between black and white.
    bool isBlackAndWhite() const { return std::min(black, white) > 10 * between && std::min(black, white) > 0; }
    /// More is cut off at either end than is left.
    bool isMostlyCut() const { return std::min(black, white) > between; }
    bool isWhite() const { return white > 0 && black + between <= 0; }
};

/// Blank and the like.
std::string faultOf(const cv::Mat& image, const GreyEnds& ends) {
    double n = 0, least = std::numeric_limits<double>::infinity(), most = -least;
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = image.ptr<float>(i);
        for (int j = 0; j < 2 * image.cols; j += 2) {
            if (!(p[j + 1] > 0))
                continue;
            ++n;
            least = std::min(least, double(p[j]));
            most = std::max(most, double(p[j]));
        }
    }
    if (n < leastSide * leastSide)
        return "blank";
    double low = 0, high = 0;
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = image.ptr<float>(i);
        for (int j = 0; j < 2 * image.cols; j += 2) {
            low += p[j + 1] > 0 && p[j] <= least ? 1 : 0;
            high += p[j + 1] > 0 && p[j] >= most ? 1 : 0;
        }
    }
    if (!(most > least) || low > 0.9995 * n)
        return ends.isWhite() ? "saturated" : "blank";
    if (high > 0.95 * n)
        return "saturated";
    if (low + high > 0.9995 * n && std::min(low, high) < 0.02 * n)
        return "saturated";
    return "";
}

/// The image in working pixels: boxes of whole pixels, then, where these are not square, as fine as the finer side.
Level reduced(const SectionImage& image, double pixel) {
    const int rows = image.grey.getSize1(), cols = image.grey.getSize2();
    const auto boxOf = [&](double size, int n) {
        const int wanted = std::max(1, int(pixel / size + 0.01));
        return std::clamp(
            std::max(wanted, (n + 2 * SectionAligner::workingSize - 1) / (2 * SectionAligner::workingSize)), 1,
            std::max(1, n / leastSide));
    };
    const int bx = boxOf(image.pixelWidth, cols), by = boxOf(image.pixelHeight, rows);
    Level level;
    level.image = cv::Mat(rows / by, cols / bx, CV_32FC2);
    for (int i = 0; i < level.image.rows; ++i) {
        float* const out = level.image.ptr<float>(i);
        std::fill(out, out + 2 * level.image.cols, 0.0f);
        for (int k = 0; k < by; ++k) {
            const float* in = image.grey[i * by + k].data();
            for (int j = 0; j < level.image.cols; ++j)
                for (int l = 0; l < bx; ++l, ++in)
                    if (std::isfinite(*in)) {
                        out[2 * j] += *in;
                        out[2 * j + 1] += 1;
                    }
        }
        for (int j = 0; j < level.image.cols; ++j) {
            out[2 * j] = out[2 * j + 1] > 0 ? out[2 * j] / out[2 * j + 1] : 0;
            out[2 * j + 1] = 2 * out[2 * j + 1] >= float(bx * by) ? 1.0f : 0.0f;
        }
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
        for (int i = 0; i < size.height; ++i)
            for (int j = 0; j < size.width; ++j)
                square.image.at<cv::Vec2f>(i, j)[1] = square.image.at<cv::Vec2f>(i, j)[1] > present ? 1.0f : 0.0f;
        return square;
    }
    return level;
}

/// Whether there may be areas of the least or the greatest grey of at least so many pixels.
bool hasExtremes(const cv::Mat& image, double area) {
    float least = std::numeric_limits<float>::infinity(), most = -least;
    double numLeast = 0, numMost = 0;
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = image.ptr<float>(i);
        for (int j = 0; j < 2 * image.cols; j += 2) {
            if (!(p[j + 1] > 0.5f))
                continue;
            numLeast = p[j] < least ? 0 : numLeast;
            numMost = p[j] > most ? 0 : numMost;
            least = std::min(least, p[j]);
            most = std::max(most, p[j]);
            numLeast += p[j] == least ? 1 : 0;
            numMost += p[j] == most ? 1 : 0;
        }
    }
    return std::max(numLeast, numMost) >= area;
}

/// Of each labelled area the mean grey of the pixels that adjoin it.
std::vector<double> greysAround(const std::vector<cv::Mat>& channels, const cv::Mat& labels, int numAreas) {
    std::vector<double> sums(std::size_t(numAreas), 0), counts(std::size_t(numAreas), 0);
    const auto add = [&](int area, const cv::Point& beside) {
        if (channels[1].at<float>(beside) > 0.5f) {
            sums[std::size_t(area)] += double(channels[0].at<float>(beside));
            ++counts[std::size_t(area)];
        }
    };
    for (int i = 0; i < labels.rows; ++i)
        for (int j = 0; j < labels.cols; ++j)
            for (const cv::Point other : {cv::Point(j + 1, i), cv::Point(j, i + 1)}) {
                if (other.x >= labels.cols || other.y >= labels.rows)
                    continue;
                const int one = labels.at<int>(i, j), two = labels.at<int>(other);
                if (one == two)
                    continue;
                add(one, other);
                add(two, {j, i});
            }
    for (std::size_t k = 0; k < sums.size(); ++k)
        sums[k] = counts[k] > 0 ? sums[k] / counts[k] : 0;
    return sums;
}

/// Takes areas of the least and the greatest grey out that are no ground on which the tissue lies: a frame with
/// straight sides round the picture, and what is cut off inside of it. Areas into which the greys pass over, as of
/// tissue that was taken too bright, stay: they have as much to tell.
void maskExtremes(cv::Mat& image) {
    const double total = double(image.rows) * image.cols;
    const double leastArea = 0.001 * total;
    if (!hasExtremes(image, leastArea))
        return;
    std::vector<cv::Mat> channels;
    cv::split(image, channels);
    double least = 0, most = 0;
    cv::minMaxLoc(channels[0], &least, &most, nullptr, nullptr, channels[1] > 0.5f);
    cv::Mat outside = cv::Mat::zeros(image.size(), CV_8U);
    for (const double extreme : {least, most}) {
        const cv::Mat same = (channels[0] == extreme) & (channels[1] > 0.5f);
        cv::Mat labels, boxes, centres;
        const int n = cv::connectedComponentsWithStats(same, labels, boxes, centres, 4);
        const std::vector<double> around = greysAround(channels, labels, n);
        constexpr double gradual = 0.2; // of the range of the greys
        cv::Mat border = cv::Mat::zeros(image.size(), CV_8U);
        std::vector<int> inside;
        for (int k = 1; k < n; ++k) {
            const int* const box = boxes.ptr<int>(k);
            if (box[cv::CC_STAT_AREA] < leastArea)
                continue;
            const bool touches =
                box[0] == 0 || box[1] == 0 || box[0] + box[2] == image.cols || box[1] + box[3] == image.rows;
            if (touches)
                border |= labels == k;
            else if (std::abs(around[std::size_t(k)] - extreme) > gradual * (most - least))
                inside.push_back(k);
        }
        const double bordering = cv::countNonZero(border);
        if (bordering > 0.7 * total)
            continue;
        if (bordering > 0) {
            std::vector<cv::Point> points, hull, corners;
            cv::findNonZero(~border & (channels[1] > 0.5f), points);
            cv::convexHull(points, hull);
            cv::approxPolyDP(hull, corners, 0.008 * std::hypot(image.cols, image.rows), true);
            cv::Mat frame = cv::Mat::zeros(image.size(), CV_8U);
            cv::fillConvexPoly(frame, hull, cv::Scalar(255));
            const bool straight = corners.size() <= 8 && cv::countNonZero(frame & border) < 0.03 * total;
            if (!straight)
                continue; // tissue on a ground
            outside |= border;
        }
        for (const int k : inside)
            outside |= labels == k;
    }
    if (cv::countNonZero(outside) == 0)
        return;
    cv::dilate(outside, outside, cv::Mat(), {-1, -1}, 2);
    channels[1].setTo(0, outside);
    channels[0].setTo(0, outside);
    cv::merge(channels, image);
}

/// Mean 0 and spread 1 where there is a value.
void standardize(cv::Mat& image) {
    double n = 0, sum = 0, squares = 0;
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = image.ptr<float>(i);
        for (int j = 0; j < 2 * image.cols; j += 2)
            if (p[j + 1] > present) {
                ++n;
                sum += p[j];
                squares += double(p[j]) * p[j];
            }
    }
    const double mean = n > 0 ? sum / n : 0;
    const double spread = n > 0 ? std::sqrt(std::max(1e-30, squares / n - mean * mean)) : 1;
    for (int i = 0; i < image.rows; ++i) {
        float* const p = image.ptr<float>(i);
        for (int j = 0; j < 2 * image.cols; j += 2) {
            p[j] = p[j + 1] > present ? float((p[j] - mean) / spread) : 0;
            p[j + 1] = p[j + 1] > present ? 1.0f : 0.0f;
        }
    }
}

} // namespace

double SectionLevel::numPresent() const {
    double n = 0;
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = image.ptr<float>(i);
        int row = 0;
        for (int j = 1; j < 2 * image.cols; j += 2)
            row += p[j] > present ? 1 : 0;
        n += row;
    }
    return n;
}

cv::Mat SectionLevel::moved(const SectionLevel& source, const RigidMotion& motion) const {
    cv::Mat result;
    move(source, motion, result);
    return result;
}

void SectionLevel::move(const SectionLevel& source, const RigidMotion& motion, cv::Mat& result) const {
    cv::warpAffine(source.image, result, indexMap(*this, source, motion), image.size(),
                   cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_CONSTANT, cv::Scalar::all(0));
}

SectionAligner::Section::Section(const SectionImage& image, double workingPixel)
    : width(image.width()), height(image.height()), pixel(workingPixel) {
    if (image.grey.getSize1() < leastSide || image.grey.getSize2() < leastSide) {
        fault = "too small";
        return;
    }
    Level level = reduced(image, pixel);
    const GreyEnds ends(image);
    isBlackAndWhite = ends.isBlackAndWhite();
    isMostlyCut = ends.isMostlyCut();
    fault = faultOf(level.image, ends);
    if (!fault.empty())
        return;
    maskExtremes(level.image);
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
        levels.push_back(halved(levels.back()));
}

/// What lies between two pixels is smooth then. What is missing has no part in it. In place, as new memory costs more
/// than all else here.
void SectionAligner::Section::smoothScales() {
    std::vector<unsigned char> shows;
    for (Level& one : levels) {
        cv::Mat& image = one.image;
        shows.assign(image.total(), 0);
        const auto cols = std::size_t(image.cols);
        for (int i = 0; i < image.rows; ++i) {
            const float* const p = image.ptr<float>(i);
            unsigned char* const m = shows.data() + std::size_t(i) * cols;
            for (std::size_t j = 0; j < cols; ++j)
                m[j] = p[2 * j + 1] > present ? 1 : 0;
        }
        cv::GaussianBlur(image, image, {}, 1.0);
        for (int i = 0; i < image.rows; ++i) {
            float* const p = image.ptr<float>(i);
            const unsigned char* const m = shows.data() + std::size_t(i) * cols;
            for (std::size_t j = 0; j < cols; ++j) {
                p[2 * j] = m[j] != 0 ? p[2 * j] / std::max(p[2 * j + 1], 0.05f) : 0;
                p[2 * j + 1] = m[j] != 0 ? 1.0f : 0.0f;
            }
        }
    }
}

/// Finds the levels for choice and search.
void SectionAligner::Section::chooseScales() {
    while (choice + 1 < levels.size() && levels[choice].side() > choiceSide)
        ++choice;
    std::size_t k = choice;
    while (k + 1 < levels.size() && levels[k].side() > searchSide)
        ++k;
    search = levels[k];
    search.image = evened(search.image, 0.06 * search.side());
}

const GreyClasses& SectionAligner::Section::classes() const {
    if (__classes)
        return *__classes;
    const cv::Mat& image = levels[choice].image;
    std::vector<float> values;
    values.reserve(image.total());
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = image.ptr<float>(i);
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
    result.image = levels[level].image.clone();
    for (int i = 0; i < result.image.rows; ++i) {
        float* const p = result.image.ptr<float>(i);
        for (int j = 0; j < 2 * result.image.cols; j += 2)
            p[j] = p[j + 1] > present ? classes().of(p[j]) : 0.0f;
    }
    return __levelsInClasses.emplace(level, std::move(result)).first->second;
}

const SectionAligner::Section::Features& SectionAligner::Section::features() const {
    if (__features)
        return *__features;
    __features.emplace();
    std::size_t k = 0;
    while (k + 1 < levels.size() && levels[k].side() > 640)
        ++k;
    const Level& level = levels[k];
    std::vector<cv::Mat> channels;
    cv::split(level.image, channels);
    cv::Mat bytes, mask;
    channels[0].convertTo(bytes, CV_8U, 40, 128);
    channels[1].convertTo(mask, CV_8U, 255);
    std::vector<cv::KeyPoint> points;
    cv::SIFT::create(1500)->detectAndCompute(bytes, mask, points, __features->descriptors);
    __features->places.reserve(points.size());
    for (const cv::KeyPoint& point : points)
        __features->places.push_back(
            {level.originX + level.stepX * double(point.pt.x), level.originY + level.stepY * double(point.pt.y)});
    return *__features;
}

} // namespace vorlen
