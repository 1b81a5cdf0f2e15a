#include "images/regions/boxoutline.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "images/rasters/image.h"
#include "images/sections/imageparts.h"
#include "images/sections/tiledsection.h"
#include "numerics/exception.h"
#include "support/temporaryfolder.h"

namespace vorlen {

namespace {

/// 8 bits deep, with these values by column and row.
Image drawnImage(int width, int height, const std::function<double(int, int)>& value) {
    Image image(width, height, 8);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.getPixels()[y][x] = static_cast<unsigned char>(std::lround(std::clamp(value(x, y), 0.0, 255.0)));
    return image;
}

BoundingBox<int> boxOf(int left, int top, int right, int bottom) {
    Vector<int> low(2), high(2);
    low[0] = left;
    low[1] = top;
    high[0] = right;
    high[1] = bottom;
    return {low, high};
}

double enclosed(const Curve<double>& curve) {
    double twice = 0;
    for (int k = 0; k < curve.getSize(); ++k) {
        const auto& next = curve[(k + 1) % curve.getSize()];
        twice += curve[k][0] * next[1] - next[0] * curve[k][1];
    }
    return std::abs(twice) / 2;
}

/// A disc of this value and an edge of four pixels on a ground of 200 or 40, as far as possible from it.
Image blurredDisc(double x, double y, double radius, double value, int size = 120) {
    const double ground = value < 120 ? 200 : 40;
    return drawnImage(size, size, [=](int column, int row) {
        const double share = std::clamp((std::hypot(column - x, row - y) - radius) / 4 + 0.5, 0.0, 1.0);
        return value + share * (ground - value);
    });
}

constexpr double pi = 3.14159265358979;

} // namespace

TEST(BoxOutline, aDarkOrBrightDiscIsMetBetweenThePixelsWithoutBeingTold) {
    for (const double value : {40.0, 200.0}) {
        const Image image = blurredDisc(60.3, 58.7, 25.4, value);
        for (const int smoothing : {0, 1}) {
            const BoxOutline outline(image, boxOf(20, 20, 100, 100), smoothing);
            EXPECT_NEAR(outline.valueOf(outline.getProposedThreshold()), 120, 3);
            const auto found = outline.find({.threshold = 120});
            EXPECT_EQ(found.darker, value < 120);
            EXPECT_FALSE(found.touchesBox);
            for (int k = 0; k < found.outline.getSize(); ++k)
                EXPECT_NEAR(std::hypot(found.outline[k][0] - 60.3, found.outline[k][1] - 58.7), 25.4, 0.25) << k;
            EXPECT_NEAR(enclosed(found.outline), pi * 25.4 * 25.4, 12); // half a percent
            const auto thin = outline.find({.threshold = 120, .tolerance = 2});
            EXPECT_LT(2 * thin.outline.getSize(), found.outline.getSize());
            EXPECT_NEAR(enclosed(thin.outline), enclosed(found.outline), 0.02 * enclosed(found.outline));
        }
    }
}

TEST(BoxOutline, whatTheBoxIsDrawnAroundCountsMoreThanWhatReachesIntoIt) {
    // A disc in the middle; darker land with more pixels reaches in from the left.
    const Image image = drawnImage(200, 120, [](int x, int y) {
        return std::hypot(x - 100, y - 60) < 15 ? 60.0 : x < 60 ? 40.0 : 200.0;
    });
    const BoxOutline outline(image, boxOf(50, 20, 150, 100), 0);
    EXPECT_NEAR(enclosed(outline.find({.threshold = 120}).outline), pi * 15 * 15, 30);
    const auto land = outline.find({.threshold = 120, .seed = {{52, 60}}});
    EXPECT_TRUE(land.touchesBox);
    double right = 0;
    for (int k = 0; k < land.outline.getSize(); ++k) {
        EXPECT_GE(land.outline[k][0], 50); // no farther than the box
        EXPECT_GE(land.outline[k][1], 20);
        EXPECT_LE(land.outline[k][1], 100);
        right = std::max(right, land.outline[k][0]);
    }
    EXPECT_NEAR(right, 59.5, 0.01);
    const auto ground = outline.find({.threshold = 120, .seed = {{140, 60}}});
    EXPECT_FALSE(ground.darker);
    EXPECT_TRUE(ground.touchesBox);
}

TEST(BoxOutline, thresholdAndSideAreThoseChosen) {
    // Rings of 20, 100, 180 around (50, 50) to the radii 10, 20, 30 on 220.
    const Image image = drawnImage(100, 100, [](int x, int y) {
        const double r = std::hypot(x - 50, y - 50);
        return r < 10 ? 20.0 : r < 20 ? 100.0 : r < 30 ? 180.0 : 220.0;
    });
    const BoxOutline outline(image, boxOf(10, 10, 90, 90), 0);
    EXPECT_EQ(outline.getLeast(), 20);
    EXPECT_EQ(outline.getGreatest(), 220);
    for (const auto& [threshold, radius] : {std::pair{60, 10.0}, std::pair{140, 20.0}, std::pair{200, 30.0}}) {
        const auto found = outline.find({.threshold = threshold, .side = BoxOutline::Side::Darker});
        EXPECT_NEAR(enclosed(found.outline), pi * radius * radius, 2.5 * radius) << threshold;
    }
    const auto brighter = outline.find({.threshold = 140, .side = BoxOutline::Side::Brighter});
    EXPECT_NEAR(enclosed(brighter.outline), 80 * 80, 1); // to the middles of the box's last pixels; the hole is filled
    EXPECT_EQ(outline.find({.threshold = 20, .side = BoxOutline::Side::Darker}).outline.getSize(), 0);
    EXPECT_EQ(
        outline.find({.threshold = 140, .side = BoxOutline::Side::Brighter, .seed = {{50, 50}}}).outline.getSize(), 0);
    EXPECT_EQ(outline.find({.threshold = 140, .seed = {{5, 5}}}).outline.getSize(), 0); // beside the box
}

TEST(BoxOutline, otherDepthsAndTheEndsOfTheImageAreNoExceptions) {
    Image deep(60, 60, 16), real, green(60, 60, 24);
    real.initReal(60, 60);
    real.allocatePixels();
    green.clear();
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 60; ++x) {
            const bool inside = x < 20 && y < 30; // in the corner
            reinterpret_cast<unsigned short*>(deep.getPixels()[y])[x] = inside ? 1000 : 1040;
            real.realRow(y)[x] = inside ? -0.25f : 0.75f;
            green.getPixels()[y][3 * x + 1] = inside ? 90 : 30;
        }
    real.realRow(50)[50] = std::nanf("");
    for (const Image* const image : {&deep, &real, &green}) {
        const BoxOutline outline(*image, boxOf(0, 0, 59, 59), 2);
        const auto found = outline.find({.threshold = outline.getProposedThreshold(), .seed = {{5, 5}}});
        EXPECT_NEAR(enclosed(found.outline), 19.5 * 29.5, 15); // the blurred corner is round
        EXPECT_TRUE(found.touchesBox);
    }
    const BoxOutline outline(real, boxOf(0, 0, 40, 40), 0);
    EXPECT_NEAR(outline.valueOf(outline.getLeast()), -0.25, 1e-4);
    EXPECT_NEAR(outline.valueOf(outline.getGreatest()), 0.75, 1e-4);
    EXPECT_THROW(BoxOutline(deep, boxOf(0, 0, 60, 59), 0), RangeError);
    EXPECT_THROW(BoxOutline(deep, boxOf(-1, 0, 5, 5), 0), RangeError);
    EXPECT_THROW(BoxOutline(deep, boxOf(0, 0, 5, 5), -1), RangeError);
    EXPECT_THROW(BoxOutline(deep, boxOf(0, 0, 5, 5), 1000), RangeError);
    // A box of one pixel, and one of a single value, have something or nothing, but no error.
    EXPECT_EQ(BoxOutline(deep, boxOf(3, 3, 3, 3), 0)
                  .find({.threshold = 2000, .side = BoxOutline::Side::Darker})
                  .outline.getSize(),
              1);
    const BoxOutline flat(deep, boxOf(40, 40, 50, 50), 1);
    EXPECT_EQ(flat.find({.threshold = flat.getProposedThreshold(), .side = BoxOutline::Side::Darker}).outline.getSize(),
              0);
}

// Of a section only the box is read, and what the means at its sides need: up to the ends of the section.
TEST(BoxOutline, aSectionInPartsHasTheOutlinesOfTheWholeImage) {
    const TemporaryFolder folder;
    const Image image = blurredDisc(60.3, 58.7, 50, 40);
    image.writeFile("a.tif", folder.path());
    const ImageParts parts(
        std::make_shared<TiledSection>(folder.file("a.tif"), 0, 0, LevelStore(folder.file("levels"))));
    EXPECT_FALSE(parts.isInMemory());
    const ImageParts::Part part = parts.read({30, 20, 7, 5});
    ASSERT_EQ(part.image->getWidth(), 7);
    EXPECT_EQ(part.image->getPixels()[4][6], image.getPixels()[24][36]);
    EXPECT_THROW(parts.read({114, 0, 7, 5}), RangeError);
    for (const auto& box : {boxOf(40, 30, 119, 119), boxOf(5, 2, 117, 116)}) {
        BoxOutline::Choice choice;
        const BoxOutline whole(image, box, 4), read(parts, box, 4);
        choice.threshold = whole.getProposedThreshold();
        choice.seed = {60, 58};
        EXPECT_EQ(read.getProposedThreshold(), choice.threshold);
        const Curve<double> expected = whole.find(choice).outline, found = read.find(choice).outline;
        ASSERT_GT(expected.getSize(), 50);
        ASSERT_EQ(found.getSize(), expected.getSize());
        for (int k = 0; k < found.getSize(); ++k)
            EXPECT_EQ(found[k], expected[k]) << k;
    }
}

// A disc that a bridge, half as far from the ground, joins to a frame as dark as itself: at the threshold proposed it
// goes on to the rim, as an organelle beside a membrane does.
TEST(BoxOutline, whatIsJoinedToItsSurroundingsStandsAloneAtAnotherThreshold) {
    for (const bool dark : {true, false}) {
        const Image image = drawnImage(200, 160, [dark](int x, int y) {
            const bool frame = x < 10 || y < 10 || x >= 190 || y >= 150;
            const bool bridge = std::abs(y - 80) < 4 && x > 90;
            const double value = frame || std::hypot(x - 90, y - 80) < 30 ? 60 : bridge ? 110 : 200;
            return dark ? value : 255 - value;
        });
        const BoxOutline outline(image, boxOf(5, 5, 196, 156), 0);
        const auto seed = std::make_pair(95, 75);
        const auto joined = outline.find({.threshold = outline.getProposedThreshold(), .seed = seed});
        EXPECT_TRUE(joined.touchesBox);
        const auto threshold = outline.thresholdAlone(seed, BoxOutline::Side::Either);
        ASSERT_TRUE(threshold.has_value());
        const auto alone = outline.find({.threshold = *threshold, .seed = seed});
        EXPECT_EQ(alone.darker, dark);
        EXPECT_FALSE(alone.touchesBox);
        EXPECT_NEAR(enclosed(alone.outline), pi * 30 * 30, 0.05 * pi * 30 * 30);
        EXPECT_FALSE(outline.thresholdAlone({7, 7}, BoxOutline::Side::Either).has_value());  // the frame
        EXPECT_FALSE(outline.thresholdAlone({3, 80}, BoxOutline::Side::Either).has_value()); // out of the box
        EXPECT_FALSE(
            outline.thresholdAlone(seed, dark ? BoxOutline::Side::Brighter : BoxOutline::Side::Darker).has_value());
    }
}

} // namespace vorlen
