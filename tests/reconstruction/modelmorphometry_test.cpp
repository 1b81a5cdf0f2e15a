#include "reconstruction/modelmorphometry.h"

#include <cmath>
#include <memory>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/documentmaker.h"
#include "support/fixedsource.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

/// Slices of 400 by 400 pixels of side 0.5, spaced by 2.
std::unique_ptr<Stack> calibratedStack(int numSlices) {
    auto stack = std::make_unique<Stack>();
    stack->setDefaultSliceSpacing(2);
    addSlices(*stack, numSlices);
    for (int i = 0; i < numSlices; ++i) {
        stack->getSlice(i).setImageSource(FixedSource(400, 400));
        PixelCalibration calibration;
        calibration.setPixelWidth(0.5);
        calibration.setPixelHeight(0.5);
        stack->getSlice(i).setPixelCalibration(calibration);
    }
    return stack;
}

std::vector<std::pair<int, int>> square(int x, int y, int side) {
    return {{x, y}, {x + side, y}, {x + side, y + side}, {x, y + side}};
}

std::vector<std::pair<int, int>> circle(double radius, int n) {
    std::vector<std::pair<int, int>> points;
    for (int i = 0; i < n; ++i)
        points.emplace_back(int(std::lround(200 + radius * std::cos(2 * pi * i / n))),
                            int(std::lround(200 + radius * std::sin(2 * pi * i / n))));
    return points;
}

ModelMorphometry measured(const Model& model) {
    ModelMorphometry morphometry;
    morphometry.setModel(model);
    morphometry.run();
    return morphometry;
}

} // namespace

// A prism of squares of side 10 (20 pixels) on 5 slices, 8 high, its last cylinder reaching 2 further.
TEST(ModelMorphometry, aPrismHasTheAreaOfItsWallsAndTheVolumeOfItsCylinders) {
    const auto stack = calibratedStack(5);
    Model& model = addModel(*stack, "m");
    for (int i = 0; i < 5; ++i)
        addItem(model, stack->getSlice(i), square(190, 150, 20));
    const ModelMorphometry prism = measured(model);
    EXPECT_EQ(prism.getNumVertices(), 20);
    EXPECT_EQ(prism.getNumContours(), 5);
    EXPECT_NEAR(prism.getArea(), 40 * 8, 1e-9);
    EXPECT_NEAR(prism.getVolume(), 100 * 5 * 2, 1e-9);
    EXPECT_NEAR(prism.getEquivRadius(), std::cbrt(3 * 1000 / (4 * pi)), 1e-9);
    // Pixel (200, 160) is the centre: 0 right of the image's centre, 20 above it.
    EXPECT_NEAR(prism.getIsobarycenter()[0], 0, 1e-12);
    EXPECT_NEAR(prism.getIsobarycenter()[1], 20, 1e-12);
    EXPECT_NEAR(prism.getIsobarycenter()[2], 4, 1e-12);
    // Deviations: corners at 5 from the axes, levels at 0, 2, 4, 6, 8.
    EXPECT_NEAR(prism.getMainAxesLengths()[0], 5, 1e-9);
    EXPECT_NEAR(prism.getMainAxesLengths()[2], std::sqrt(8), 1e-9);
    EXPECT_EQ(prism.getMatchingCoordinateAxes()[2], 2);
}

TEST(ModelMorphometry, theOnlySliceOfAStackIsAsThickAsTheSpacing) {
    const auto stack = calibratedStack(1);
    Model& model = addModel(*stack, "m");
    addItem(model, stack->getSlice(0), square(190, 150, 20));
    addItem(model, stack->getSlice(0), square(195, 155, 10));
    const ModelMorphometry ring = measured(model);
    EXPECT_TRUE(ring.getCertificate().isSound()) << ring.getCertificate().toText();
    EXPECT_EQ(ring.getCertificate().genus(), 1);
    EXPECT_NEAR(ring.getClosedVolume(), (100 - 25) * 2, 1e-9);
    EXPECT_NEAR(ring.getVolume(), (100 - 25) * 2, 1e-9);
    EXPECT_NEAR(ring.getClosedArea(), 2 * (100 - 25) + (40 + 20) * 2, 1e-9);
    Model& plate = addModel(*stack, "p");
    addItem(plate, stack->getSlice(0), square(20, 30, 40));
    EXPECT_NEAR(measured(plate).getBestVolume(), 800, 1e-9);
    EXPECT_TRUE(measured(plate).isBestVolumeOfSurface());
}

TEST(ModelMorphometry, linesForOutlinesEncloseNothing) {
    const auto stack = calibratedStack(6);
    Model &edges = addModel(*stack, "e"), &flat = addModel(*stack, "f"), &mixed = addModel(*stack, "m");
    for (int i = 0; i < 6; ++i) {
        addItem(edges, stack->getSlice(i), {{100 + 3 * i, 200}, {177, 233 + 10 * i}});
        addItem(flat, stack->getSlice(i), {{10, 17 + i}, {30, 57 + i}, {60, 117 + i}, {30, 57 + i}});
        if (i < 5)
            addItem(mixed, stack->getSlice(i), square(190, 150, 20));
        else
            addItem(mixed, stack->getSlice(i), {{195, 160}, {205, 160}});
    }
    for (const Model* model : {&edges, &flat}) {
        const ModelMorphometry lines = measured(*model);
        EXPECT_EQ(lines.getVolume(), 0) << model->getName();
        EXPECT_EQ(lines.getClosedVolume(), 0) << model->getName();
        EXPECT_EQ(lines.getBestVolume(), 0) << model->getName();
        EXPECT_EQ(lines.getCertificate().toText().find("ward"), std::string::npos) << lines.getCertificate().toText();
    }
    EXPECT_GT(measured(mixed).getClosedVolume(), 100 * 9); // a wedge on top of a prism
}

TEST(ModelMorphometry, aRegistrationMovesTheBarycenterAndKeepsTheVolume) {
    const auto stack = calibratedStack(3);
    Model& model = addModel(*stack, "m");
    for (int i = 0; i < 3; ++i)
        addItem(model, stack->getSlice(i), square(190, 190, 20));
    stack->getSlice(0).setRegistration(Registration(8, -6, 33));
    const ModelMorphometry moved = measured(model);
    EXPECT_NEAR(moved.getIsobarycenter()[0], 4, 1e-9);
    EXPECT_NEAR(moved.getIsobarycenter()[1], 3, 1e-9);
    EXPECT_NEAR(moved.getVolume(), 600, 1e-9);
    EXPECT_NEAR(moved.getArea(), 160, 1e-9);
}

TEST(ModelMorphometry, aBallIsMeasuredWithinTheCoarsenessOfItsPixels) {
    const auto stack = calibratedStack(41);
    Model& model = addModel(*stack, "m");
    // Radius 40 in world units, centred on slice 20.
    for (int i = 1; i < 40; ++i) {
        const double z = 2.0 * (i - 20);
        addItem(model, stack->getSlice(i), circle(2 * std::sqrt(1600 - z * z), 200));
    }
    const ModelMorphometry ball = measured(model);
    EXPECT_NEAR(ball.getVolume() / (4.0 / 3 * pi * 64000), 1, 0.005);
    // The tiled surface has no caps: what is missing are the two calottes of height 2 beyond the last contours.
    EXPECT_NEAR(ball.getArea() / (4 * pi * 1600 - 2 * 2 * pi * 40 * 2), 1, 0.02);
    EXPECT_NEAR(ball.getEquivRadius(), 40, 0.1);
}

TEST(ModelMorphometry, anOutlineWithinAnotherIsAHoleWhicheverWayTheyTurn) {
    const auto stack = calibratedStack(2);
    for (const bool turned : {false, true}) {
        Model& model = addModel(*stack, turned ? "turned" : "ring");
        for (int i = 0; i < 2; ++i) {
            auto inner = square(195, 195, 10);
            if (turned)
                std::reverse(inner.begin(), inner.end());
            addItem(model, stack->getSlice(i), i == 0 ? inner : square(190, 190, 20));
            addItem(model, stack->getSlice(i), i == 0 ? square(190, 190, 20) : inner);
        }
        const ModelMorphometry ring = measured(model);
        EXPECT_NEAR(ring.getArea(), (40 + 20) * 2, 1e-9);
        EXPECT_NEAR(ring.getClosedArea(), (40 + 20) * 4 + 2 * (100 - 25), 1e-9);
        EXPECT_NEAR(ring.getClosedVolume(), (100 - 25) * 4, 1e-9);
        EXPECT_TRUE(ring.getCertificate().isSound());
        EXPECT_EQ(ring.getCertificate().genus(), 1);
        EXPECT_NEAR(ring.getVolume(), (100 - 25) * 4, 1e-9);
        EXPECT_NEAR(ring.getSlabVolume(), (100 - 25) * 2, 1e-9);
    }
}

TEST(ModelMorphometry, aContourDrawnTheOtherWayChangesNothing) {
    const auto stack = calibratedStack(5);
    Model& model = addModel(*stack, "m");
    for (int i = 0; i < 5; ++i) {
        auto contour = circle(40 + 5 * i, 100);
        if (i % 2 == 1)
            std::reverse(contour.begin(), contour.end());
        addItem(model, stack->getSlice(i), contour);
    }
    // A frustum from radius 20 to 30 and 8 high: pi (20 + 30) sqrt(8^2 + 10^2) and pi 8 / 3 (400 + 600 + 900). Pixels
    // and corners take up to a hundredth.
    const ModelMorphometry frustum = measured(model);
    EXPECT_NEAR(frustum.getArea() / (pi * 50 * std::sqrt(164)), 1, 0.01);
    EXPECT_NEAR(frustum.getSlabVolume() / (pi * 8 / 3 * 1900), 1, 0.01);
    // Half a section on, 1 higher, the greater end stays as wide, and the other's area goes on to shrink, from 400 pi
    // at its contour by half of 506.25 - 400 more.
    const double last = 400 - 0.5 * (22.5 * 22.5 - 400);
    EXPECT_NEAR(frustum.getClosedVolume() /
                    (pi * 8 / 3 * 1900 + pi * 900 + pi / 3 * (400 + last + std::sqrt(400 * last))),
                1, 0.01);
    EXPECT_TRUE(frustum.getCertificate().isSound());
    EXPECT_EQ(frustum.getCertificate().genus(), 0);
    // The caps that the model shows change nothing; with lids the frustum alone is left.
    model.getProperties().setBeginCapFlag(true);
    model.getProperties().setEndCapFlag(true);
    ModelMorphometry capped = measured(model);
    EXPECT_EQ(capped.getClosedVolume(), frustum.getClosedVolume());
    capped.setEnds({SurfaceEnd::Flat, SurfaceEnd::Flat});
    capped.run();
    EXPECT_NEAR(capped.getClosedVolume() / (pi * 8 / 3 * 1900), 1, 0.01);
    EXPECT_NEAR(capped.getClosedArea() / (pi * 50 * std::sqrt(164) + pi * 1300), 1, 0.01);
    EXPECT_NEAR(capped.getClosedVolume(), capped.getSlabVolume(), 1e-3 * capped.getSlabVolume());
}

TEST(ModelMorphometry, emptySlicesBetweenContoursCountAsFilled) {
    const auto stack = calibratedStack(6);
    Model& model = addModel(*stack, "m");
    addItem(model, stack->getSlice(1), square(190, 190, 20));
    addItem(model, stack->getSlice(4), square(190, 190, 40));
    // 100 over three spacings, then 400 over one.
    EXPECT_NEAR(measured(model).getVolume(), 100 * 6 + 400 * 2, 1e-9);
}

TEST(ModelMorphometry, anItemWithoutVerticesLeavesNoGapInTheSurface) {
    const auto stack = calibratedStack(3);
    Model& model = addModel(*stack, "m");
    addItem(model, stack->getSlice(0), square(190, 190, 20));
    addItem(model, stack->getSlice(2), square(190, 190, 20));
    const ModelMorphometry before = measured(model);
    EXPECT_NEAR(before.getArea(), 40 * 4, 1e-9);
    addItem(model, stack->getSlice(1), {});
    const ModelMorphometry after = measured(model);
    EXPECT_EQ(after.getArea(), before.getArea());
    EXPECT_EQ(after.getVolume(), before.getVolume());
    EXPECT_EQ(after.getNumContours(), 3);
}

TEST(ModelMorphometry, aSingleContourReachesByItsSpacing) {
    const auto stack = calibratedStack(2);
    Model& model = addModel(*stack, "m");
    addItem(model, stack->getSlice(1), square(190, 190, 20));
    const ModelMorphometry slab = measured(model);
    EXPECT_EQ(slab.getArea(), 0);
    EXPECT_NEAR(slab.getVolume(), 200, 1e-9);
}

TEST(ModelMorphometry, openModelsHaveAnAreaAndPointsHaveAxesOnly) {
    const auto stack = calibratedStack(3);
    Model& open = addModel(*stack, "open", PolylinePrimitive);
    Model& points = addModel(*stack, "points", PolypointPrimitive);
    for (int i = 0; i < 3; ++i) {
        addItem(open, stack->getSlice(i), {{100, 200}, {140, 200}});
        addItem(points, stack->getSlice(i), {{100, 200}, {300, 200}});
    }
    const ModelMorphometry sheet = measured(open);
    EXPECT_NEAR(sheet.getArea(), 20 * 4, 1e-9);
    EXPECT_EQ(sheet.getVolume(), 0);
    const ModelMorphometry cloud = measured(points);
    EXPECT_EQ(cloud.getArea(), 0);
    EXPECT_EQ(cloud.getVolume(), 0);
    EXPECT_NEAR(cloud.getMainAxesLengths()[0], 50, 1e-9);
    EXPECT_NEAR(std::abs(cloud.getMainAxes()(0, 0)), 1, 1e-9);
    EXPECT_EQ(cloud.getMatchingCoordinateAxes()[0], 0);
    EXPECT_EQ(cloud.getMatchingCoordinateAxes()[1], 2);
}

// Pixels of 0.5 and sections 2 apart, as in all of these: a way of 30 x 40 pixels and two sections, one of them left
// out, and one straight on.
TEST(ModelMorphometry, aPointOnEachSliceIsAPath) {
    const auto stack = calibratedStack(4);
    Model& path = addModel(*stack, "path", PolylinePrimitive);
    addItem(path, stack->getSlice(0), {{100, 200}});
    addItem(path, stack->getSlice(2), {{130, 240}});
    addItem(path, stack->getSlice(3), {{130, 240}});
    const ModelMorphometry measures = measured(path);
    EXPECT_NEAR(measures.getPathLength(), std::hypot(25, 4) + 2, 1e-9);
    // Two lines, or two points on a slice, are none.
    addItem(path, stack->getSlice(1), {{100, 200}, {140, 200}});
    EXPECT_EQ(measured(path).getPathLength(), -1);
}

TEST(ModelMorphometry, withoutVerticesAllIsZeroAndWithoutAModelNothingRuns) {
    ModelMorphometry morphometry;
    EXPECT_THROW(morphometry.run(), UsageError);
    const auto stack = calibratedStack(1);
    Model& model = addModel(*stack, "m");
    addItem(model, stack->getSlice(0), {});
    morphometry.setModel(model);
    morphometry.run();
    EXPECT_EQ(morphometry.getNumContours(), 1);
    EXPECT_EQ(morphometry.getNumVertices(), 0);
    EXPECT_EQ(morphometry.getVolume(), 0);
    EXPECT_EQ(morphometry.getEquivRadius(), 0);
    EXPECT_EQ(morphometry.getMainAxesLengths().getSize(), 3);
}

} // namespace vorlen
