#include "snake/snakeframe.h"

#include <cmath>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "images/rasters/image.h"

namespace vorlen {

namespace {

Curve<float> pointsOf(const std::vector<std::pair<float, float>>& points) {
    const int n = int(points.size());
    Curve<float> curve(2, n, n, 1, false);
    for (int i = 0; i < n; ++i) {
        curve[i][0] = points[static_cast<std::size_t>(i)].first;
        curve[i][1] = points[static_cast<std::size_t>(i)].second;
    }
    return curve;
}

/// Gray values that are linear in the middles of the pixels.
Image ramp(int width, int height) {
    Image image(width, height, 8);
    for (int i = 0; i < height; ++i)
        for (int j = 0; j < width; ++j)
            image.getPixels()[i][j] = static_cast<unsigned char>(2 * j + 3 * i);
    return image;
}

} // namespace

TEST(SnakeFrame, valuesOfAFrameAreThoseOfTheImageAtItsPixels) {
    const Image image = ramp(50, 30);
    const Curve<float> curve = pointsOf({{20, 12}, {28, 12}, {28, 17}, {20, 17}});
    for (const double aspect : {0.4, 1.0, 3.0})
        for (const unsigned int scale : {1u, 2u, 3u}) {
            const SnakeFrame frame(50, 30, aspect, scale, curve, 3);
            const PixelMatrix<float> pixels = frame.pixels(image);
            ASSERT_GT(pixels.getSize1(), 0);
            EXPECT_FALSE(frame.isWhole());
            for (int i = 0; i < pixels.getSize1(); ++i)
                for (int j = 0; j < pixels.getSize2(); ++j) {
                    const Curve<float> place = frame.toSlice(pointsOf({{float(j) + 0.5f, float(i) + 0.5f}}));
                    const double x = place[0][0], y = place[0][1];
                    // The mean over parts of pixels differs a little; at the end, where there is no more to cover, a
                    // lot.
                    if (i + 1 < pixels.getSize1() && j + 1 < pixels.getSize2() && i > 0 && j > 0) {
                        EXPECT_NEAR(pixels[i][j], 2 * x + 3 * y, 0.2) << aspect << " " << scale;
                    }
                }
            Image part(frame.width(), frame.height(), image.getDepth());
            for (int i = 0; i < frame.height(); ++i)
                for (int k = 0; k < frame.width() * image.bytesPerPixel(); ++k)
                    part.getPixels()[i][k] =
                        image.getPixels()[frame.top() + i][frame.left() * image.bytesPerPixel() + k];
            const PixelMatrix<float> ofPart = frame.pixelsOfPart(part);
            ASSERT_EQ(ofPart.getSize1(), pixels.getSize1());
            ASSERT_EQ(ofPart.getSize2(), pixels.getSize2());
            for (int i = 0; i < pixels.getSize1(); ++i)
                for (int j = 0; j < pixels.getSize2(); ++j)
                    ASSERT_EQ(ofPart[i][j], pixels[i][j]) << aspect << " " << scale;
            const Curve<float> back = frame.toSlice(frame.toFrame(curve));
            for (int k = 0; k < curve.getSize(); ++k)
                for (const int axis : {0, 1})
                    EXPECT_NEAR(back[k][axis], curve[k][axis], 1e-4);
        }
}

TEST(SnakeFrame, aCurveLeavesItWhereTheImageGoesOn) {
    const SnakeFrame frame(100, 40, 1, 1, pointsOf({{5, 15}, {60, 20}}), 20); // columns 0 to 80, rows 0 to 39
    EXPECT_FALSE(frame.isWhole());
    EXPECT_FALSE(frame.isLeftBy(pointsOf({{1, 1}, {40, 39}}), 10));
    EXPECT_TRUE(frame.isLeftBy(pointsOf({{40, 20}, {75, 20}}), 10));
    EXPECT_TRUE(SnakeFrame(100, 40, 1, 1, pointsOf({{50, 20}}), 1000).isWhole());
    // A contour that lies beyond the image, and an aspect that is none.
    const SnakeFrame odd(100, 40, 0, 7, pointsOf({{500, 20}, {600, 90}}), 1);
    EXPECT_GT(odd.pixels(ramp(100, 40)).getSize1(), 0);
}

} // namespace vorlen
