#include "registration/sectionlevel.h"

#include <array>
#include <cmath>
#include <cstring>

#include <opencv2/imgproc.hpp>

namespace vorlen {

namespace {

/// Whole numbers that stand for 1.
constexpr double fineUnit = 1024;

/// What the source's indexes are for those of the target, as warpAffine() takes it.
cv::Matx23d indexMap(const SectionLevel& target, const SectionLevel& source, const RigidMotion& motion) {
    const RigidMotion back = motion.inverse();
    const double c = std::cos(back.angle), s = std::sin(back.angle);
    const PlanePoint origin = back.apply({target.originX, target.originY});
    return {
        c * target.stepX / source.stepX, -s * target.stepY / source.stepX, (origin.x - source.originX) / source.stepX,
        s * target.stepX / source.stepY, c * target.stepY / source.stepY,  (origin.y - source.originY) / source.stepY};
}

/// The place of a pixel beyond a border, as in a mirror that stands on the last one.
int mirrored(int index, int n) {
    return index < 0 ? -index : index >= n ? 2 * (n - 1) - index : index;
}

/// Half of a Gaussian with a deviation of one pixel, from its middle on.
constexpr int reach = 4;
std::array<float, reach + 1> halfGaussian() {
    std::array<double, reach + 1> values{};
    double sum = 0;
    for (int k = 0; k <= reach; ++k) {
        values[std::size_t(k)] = std::exp(-0.5 * k * k);
        sum += (k == 0 ? 1 : 2) * values[std::size_t(k)];
    }
    std::array<float, reach + 1> result{};
    for (std::size_t k = 0; k < values.size(); ++k)
        result[k] = float(values[k] / sum);
    return result;
}

/// A row of values and marks, smoothed along itself; wide is memory.
void smoothAlong(const float* pixels, int columns, std::vector<float>& wide, std::vector<float>& result) {
    static const std::array<float, reach + 1> weights = halfGaussian();
    const auto n = std::size_t(2 * columns);
    constexpr std::size_t margin = 2 * reach;
    wide.resize(n + 2 * margin);
    result.resize(n);
    std::copy(pixels, pixels + n, wide.begin() + margin);
    for (int k = 1; k <= reach; ++k)
        for (const int j : {-k, columns - 1 + k})
            for (int channel = 0; channel < 2; ++channel)
                wide[std::size_t(2 * (j + reach) + channel)] = pixels[2 * mirrored(j, columns) + channel];
    const float* const in = wide.data() + margin;
    float* const out = result.data();
    for (std::ptrdiff_t j = 0; j < std::ptrdiff_t(n); ++j)
        out[j] = weights[0] * in[j] + weights[1] * (in[j - 2] + in[j + 2]) + weights[2] * (in[j - 4] + in[j + 4]) +
                 weights[3] * (in[j - 6] + in[j + 6]) + weights[4] * (in[j - 8] + in[j + 8]);
}

} // namespace

cv::Mat SectionLevel::emptyImage(int rows, int columns) {
    return cv::Mat::zeros(rows, columns, std::max(rows, columns) > floatSide ? CV_16SC2 : CV_32FC2);
}

double SectionLevel::numPresent() const {
    LevelRows rows(image);
    double n = 0;
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = rows(i);
        int row = 0;
        for (int j = 1; j < 2 * image.cols; j += 2)
            row += p[j] > present ? 1 : 0;
        n += row;
    }
    return n;
}

SectionLevel SectionLevel::halved() const {
    SectionLevel half;
    half.image = emptyImage(image.rows / 2, image.cols / 2);
    LevelRows above(image), below(image);
    std::vector<float> row(std::size_t(2 * half.image.cols));
    for (int i = 0; i < half.image.rows; ++i) {
        const float* const p = above(2 * i);
        const float* const q = below(2 * i + 1);
        for (int j = 0; j < half.image.cols; ++j) {
            const int k = 4 * j;
            const float n = p[k + 1] + p[k + 3] + q[k + 1] + q[k + 3];
            const bool some = n >= 2;
            row[std::size_t(2 * j)] = some ? (p[k] + p[k + 2] + q[k] + q[k + 2]) / n : 0.0f;
            row[std::size_t(2 * j + 1)] = some ? 1.0f : 0.0f;
        }
        setLevelRow(half.image, i, row.data());
    }
    half.stepX = 2 * stepX;
    half.stepY = 2 * stepY;
    half.originX = originX + stepX / 2;
    half.originY = originY + stepY / 2;
    return half;
}

void SectionLevel::smooth() {
    static const std::array<float, reach + 1> weights = halfGaussian();
    constexpr int numKept = 2 * reach + 1;
    std::vector<float> kept[numKept], wide, out(std::size_t(2 * image.cols)); // rows that are smoothed along themselves
    LevelRows rows(image);
    const auto near = [&](int i) { return kept[mirrored(i, image.rows) % numKept].data(); };
    for (int last = 0; last < image.rows + reach; ++last) {
        if (last < image.rows)
            smoothAlong(rows(last), image.cols, wide, kept[last % numKept]);
        const int i = last - reach;
        if (i < 0)
            continue;
        const float* const middle = near(i);
        for (std::size_t j = 0; j < out.size(); ++j)
            out[j] = weights[0] * middle[j];
        for (int k = 1; k <= reach; ++k) {
            const float* const above = near(i - k);
            const float* const below = near(i + k);
            const float weight = weights[std::size_t(k)];
            for (std::size_t j = 0; j < out.size(); ++j)
                out[j] += weight * (above[j] + below[j]);
        }
        const float* const old = rows(i);
        for (std::size_t j = 0; j < out.size(); j += 2) {
            const bool shows = old[j + 1] > present;
            out[j] = shows ? out[j] / std::max(out[j + 1], 0.05f) : 0;
            out[j + 1] = shows ? 1.0f : 0.0f;
        }
        setLevelRow(image, i, out.data());
    }
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

const float* LevelRows::operator()(int row) {
    if (__image.depth() == CV_32F)
        return __image.ptr<float>(row);
    const auto n = std::size_t(2 * __image.cols);
    __buffer.resize(n);
    const short* const p = __image.ptr<short>(row);
    for (std::size_t j = 0; j < n; ++j)
        __buffer[j] = float(1 / fineUnit) * float(p[j]);
    return __buffer.data();
}

void setLevelRow(cv::Mat& image, int row, const float* pixels) {
    const int n = 2 * image.cols;
    if (image.depth() == CV_32F) {
        std::memcpy(image.ptr<float>(row), pixels, std::size_t(n) * sizeof(float));
        return;
    }
    short* const p = image.ptr<short>(row);
    for (int j = 0; j < n; ++j) {
        const float scaled = std::clamp(float(fineUnit) * pixels[j], -32767.0f, 32767.0f);
        p[j] = short(scaled + std::copysign(0.5f, scaled));
    }
}

cv::Mat levelInFloats(const cv::Mat& image) {
    if (image.depth() == CV_32F)
        return image;
    cv::Mat result;
    image.convertTo(result, CV_32F, 1 / fineUnit);
    return result;
}

} // namespace vorlen
