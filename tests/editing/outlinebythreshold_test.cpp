#include "editing/operations/outlinebythreshold.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "editing/operationfixture.h"
#include "editing/operations/regionoutline.h"
#include "images/rasters/pixelmatrix.h"
#include "images/regions/isodatathresholding.h"
#include "images/sections/imageparts.h"
#include "images/sections/tiledsection.h"
#include "numerics/exception.h"
#include "support/temporaryfolder.h"
#include "support/testimages.h"

namespace vorlen {

namespace {

/// Dark rectangle of columns 100 to 179 and rows 60 to 129 on a light ground, in one channel or in all.
Image darkRectangle(int channel = -1) {
    Image image(300, 200, channel < 0 ? 8 : 24);
    image.clear();
    const int bytes = image.bytesPerPixel();
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 300; ++x) {
            const bool dark = x >= 100 && x < 180 && y >= 60 && y < 130;
            image.getPixels()[y][x * bytes + std::max(channel, 0)] = dark ? 40 : 200;
        }
    return image;
}

/// Between the pixels of both values, and around the corners.
const std::vector<std::pair<double, double>> rectangle = {{100, 59.5},  {179, 59.5},  {179.5, 60}, {179.5, 129},
                                                          {179, 129.5}, {100, 129.5}, {99.5, 129}, {99.5, 60}};

} // namespace

TEST_F(OperationTest, anOutlineByThresholdIsOneStepOrRefused) {
    const BoundingBox<int> box(pixel(80, 90), pixel(140, 110));
    const Image image = darkRectangle();
    expectStep([&] { return outlineByThreshold(stack, *slice, polygon, image, box, 0, 0); });
    const auto corners = decimals(slice->getItem(0).getVertices());
    EXPECT_EQ(corners.size(), 8u);
    for (const auto& corner : rectangle)
        EXPECT_EQ(std::count(corners.begin(), corners.end(), corner), 1);
    EXPECT_FALSE(slice->getItem(0).isClockwise());
    const BoundingBox<int> away(pixel(10, 10), pixel(40, 40));
    expectRefusal([&] { return outlineByThreshold(stack, *slice, polygon, image, away, 0, 0); }, noOutlineInBox);
    Image single = TestImages::uniform(300, 200, 8, 200);
    single.getPixels()[100][100] = 40; // one dark pixel
    expectRefusal([&] { return outlineByThreshold(stack, *slice, polygon, single, box, 0, 0); },
                  "The detected contour does not contain enough points\nHint: try using a smaller decimation level");
}

TEST(RegionOutline, comesFromTheChannelThatHoldsTheImage) {
    const BoundingBox<int> box(pixel(80, 80), pixel(140, 110));
    for (const int channel : {-1, 0, 1, 2}) {
        const RegionOutline outline(darkRectangle(channel), box, 0);
        ASSERT_TRUE(outline.isFound());
        const auto points = decimals(outline.follow(0));
        for (const auto& corner : rectangle)
            EXPECT_EQ(std::count(points.begin(), points.end(), corner), 1) << channel;
    }
    // Two channels: the first one counts, which is empty.
    Image mixed = darkRectangle(1);
    for (int y = 0; y < 200; ++y)
        mixed.getPixels()[y][2] = 9;
    EXPECT_FALSE(RegionOutline(mixed, box, 0).isFound());
    const BoundingBox<int> outside(pixel(80, 80), pixel(140, 200)); // of a file that has shrunk since
    EXPECT_THROW(RegionOutline(mixed, outside, 0), RangeError);
}

// Against means that are formed pixel by pixel, on noise of 8 and 16 bits.
TEST(RegionOutline, cutsTheMeansOverTheSquareAtTheThresholdOfTheBox) {
    for (const int depth : {8, 16}) {
        const int width = 61, height = 47;
        Image image(width, height, depth);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const int noise = (x * 7919 + y * 104729 + x * y * 31) % 60;
                const int level = (std::hypot(x - 30, y - 24) < 15 ? 60 : 160) + noise;
                if (depth == 8)
                    image.getPixels()[y][x] = static_cast<unsigned char>(level);
                else
                    reinterpret_cast<unsigned short*>(image.getPixels()[y])[x] =
                        static_cast<unsigned short>(200 * level);
            }
        const int L = 2;
        PixelMatrix<int> means(image);
        const PixelMatrix<int> source(image);
        // Along an axis on which the window would leave the image the pixel stands for all of it.
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const int h = x >= L && x < width - L ? L : 0, v = y >= L && y < height - L ? L : 0;
                int sum = 0;
                for (int i = y - v; i <= y + v; ++i)
                    for (int j = x - h; j <= x + h; ++j)
                        sum += source[i][j];
                means[y][x] =
                    sum * (2 * L + 1) * (2 * L + 1) / ((2 * h + 1) * (2 * v + 1)) / ((2 * L + 1) * (2 * L + 1));
            }
        PixelMatrix<int> region(21, 25);
        for (int i = 0; i < 21; ++i)
            for (int j = 0; j < 25; ++j)
                region[i][j] = means[14 + i][5 + j];
        IsodataThresholding<int> isodata;
        isodata.setBins(0, 1, 65536);
        const int threshold = isodata.computeThreshold(region);
        const RegionOutline outline(image, BoundingBox<int>(pixel(5, 14), pixel(29, 34)), L);
        EXPECT_EQ(outline.getThreshold(), threshold);
        ASSERT_TRUE(outline.isFound());
        const Curve<double> curve = outline.follow(0);
        const auto isDark = [&](double x, double y) { return means[int(y)][int(x)] < threshold; };
        int start = 5;
        while (!isDark(start, 24))
            ++start;
        EXPECT_EQ(curve[0][1], 24);
        EXPECT_LT(curve[0][0], start);
        EXPECT_GT(curve[0][0], start - 1);
        // Each vertex lies between a dark pixel and a light one, in a row or a column.
        for (const auto& [x, y] : decimals(curve)) {
            EXPECT_TRUE(x == std::floor(x) || y == std::floor(y));
            EXPECT_NE(isDark(std::floor(x), std::floor(y)), isDark(std::ceil(x), std::ceil(y)));
        }
        EXPECT_GT(curve.getSize(), 20);
    }
}

// The part around the box grows until all of the outline is in it.
TEST(RegionOutline, ofASectionAsMuchIsReadAsTheOutlineNeeds) {
    const TemporaryFolder folder;
    Image image(1500, 900, 8);
    for (int y = 0; y < 900; ++y)
        for (int x = 0; x < 1500; ++x) {
            const double far = std::hypot((x - 760) / 700.0, (y - 440) / 400.0);
            image.getPixels()[y][x] = static_cast<unsigned char>(far < 1 ? 60 + (x * 7 + y * 3) % 9 : 180 + x % 5);
        }
    image.writeFile("a.tif", folder.path());
    const auto section = std::make_shared<TiledSection>(folder.file("a.tif"), 0, 0, LevelStore(folder.file("levels")));
    const ImageParts parts(section);
    const BoundingBox<int> box(pixel(40, 400), pixel(90, 480)); // over its left end
    for (const int smoothing : {0, 3}) {
        const RegionOutline whole(image, box, smoothing), read(parts, box, smoothing);
        ASSERT_TRUE(whole.isFound() && read.isFound());
        EXPECT_EQ(read.getThreshold(), whole.getThreshold());
        EXPECT_FALSE(read.isCut() || whole.isCut());
        const auto expected = decimals(whole.follow(0));
        EXPECT_GT(expected.size(), 500u);
        EXPECT_EQ(decimals(read.follow(0)), expected);
        if (smoothing > 0)
            continue;
        // Of a part of columns 8 to 122 and rows 368 to 512, what lies in it, and that there is more.
        const RegionOutline cut(ImageParts(section, 20000), box, 0);
        ASSERT_TRUE(cut.isFound());
        EXPECT_TRUE(cut.isCut());
        int numInside = 0;
        for (const auto& vertex : decimals(cut.follow(0)))
            if (vertex.first > 10 && vertex.first < 120 && vertex.second > 370 && vertex.second < 510) {
                ++numInside;
                EXPECT_EQ(std::count(expected.begin(), expected.end(), vertex), 1);
            }
        EXPECT_GT(numInside, 130); // a row each
    }
}

} // namespace vorlen
