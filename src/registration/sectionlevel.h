#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include <opencv2/core.hpp>

#include "registration/rigidmotion.h"

namespace vorlen {

/// An image of a section at one scale. Index (column, row) stands at the position (originX + stepX column, originY +
/// stepY row), seen from the middle of the section, in the length unit; of a section seen from behind stepX is
/// negative. For the sources of SectionAligner alone.
///
/// A pixel has a value, 0 where there is none, and a mark, 1 where there is one. Small images hold both as floats
/// (CV_32FC2). Great ones take half of the memory: there they are whole numbers of 1/1024 (CV_16SC2), which is far
/// less than what greys in bytes are rounded by, for values that have mean 0 and spread 1. LevelRows reads both alike.
struct SectionLevel {
    /// What a pixel's mark is at least where the section shows something.
    static constexpr float present = 0.999f;
    /// Greatest side of an image of floats.
    static constexpr int floatSide = 256;

    cv::Mat image;
    double stepX = 1, stepY = 1, originX = 0, originY = 0;

    /// Without values, of the type that this size has.
    static cv::Mat emptyImage(int rows, int columns);

    int side() const { return std::max(image.cols, image.rows); }
    /// In the square of the length unit: where the section shows something.
    double area() const { return numPresent() * std::abs(stepX * stepY); }
    double numPresent() const;

    /// Half the size; a last odd row or column goes.
    SectionLevel halved() const;

    /// By a Gaussian with a deviation of one pixel. What is missing has no part in it, and stays so. In place, as new
    /// memory costs more than all else here. For images of 5 pixels a side and more.
    void smooth();

    /// A section as it comes to lie on this one's grid when the motion takes it onto this one: of the source's type.
    cv::Mat moved(const SectionLevel& source, const RigidMotion& motion) const;
    /// The same, into an image whose memory serves again when the size fits.
    void move(const SectionLevel& source, const RigidMotion& motion, cv::Mat& result) const;
};

/// The rows of a level's image as floats, value and mark of each pixel in turn.
class LevelRows {
public:
    explicit LevelRows(const cv::Mat& image) : __image(image) {}

    /// Until the next one is asked for.
    const float* operator()(int row);

private:
    const cv::Mat& __image;
    std::vector<float> __buffer;
};

/// A row of a level's image, of values and marks.
void setLevelRow(cv::Mat& image, int row, const float* pixels);

/// The image as floats: itself when it is of such.
cv::Mat levelInFloats(const cv::Mat& image);

/// Lets each row be changed, as floats; change(row, pixels).
template <class F>
void changeLevelRows(cv::Mat& image, F&& change) {
    LevelRows rows(image);
    std::vector<float> pixels(std::size_t(2 * image.cols));
    for (int i = 0; i < image.rows; ++i) {
        const float* const p = rows(i);
        std::copy(p, p + pixels.size(), pixels.begin());
        change(i, pixels.data());
        setLevelRow(image, i, pixels.data());
    }
}

} // namespace vorlen
