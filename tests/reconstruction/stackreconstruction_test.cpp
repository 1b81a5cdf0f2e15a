#include "reconstruction/stackreconstruction.h"

#include <cmath>
#include <memory>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/curvestack.h"
#include "support/documentmaker.h"
#include "support/fixedsource.h"

namespace vorlen {

namespace {

constexpr int rows = 80, columns = 100;

/// Slices of 100 by 80 pixels of side 1, spaced by 10, without registration.
std::unique_ptr<Stack> regularStack(int numSlices) {
    auto stack = std::make_unique<Stack>();
    stack->setDefaultSliceSpacing(10);
    addSlices(*stack, numSlices);
    for (int i = 0; i < numSlices; ++i) {
        stack->getSlice(i).setImageSource(FixedSource(rows, columns));
        PixelCalibration calibration;
        calibration.setPixelWidth(1);
        calibration.setPixelHeight(1);
        stack->getSlice(i).setPixelCalibration(calibration);
    }
    return stack;
}

void calibrate(StackSlice& slice, float width, float height) {
    PixelCalibration calibration;
    calibration.setPixelWidth(width);
    calibration.setPixelHeight(height);
    slice.setPixelCalibration(calibration);
}

/// World position of a pixel of a slice, by way of an item with this one vertex.
template <class T>
Vector<T> world(Stack& stack, int slice, int u, int v) {
    const StackReconstruction<T> reconstruction(stack);
    Model& model = addModel(stack, "probe", PolypointPrimitive);
    addItem(model, stack.getSlice(slice), {{u, v}});
    Vertices<T> out;
    reconstruction.map(out, model.getItem(0));
    const Vector<T> result = out[0];
    stack.deleteModel(stack.findModel(model));
    return result;
}

template <class T>
void expectAt(const Vector<T>& point, double x, double y, double z, double tolerance) {
    EXPECT_NEAR(double(point[0]), x, tolerance);
    EXPECT_NEAR(double(point[1]), y, tolerance);
    EXPECT_NEAR(double(point[2]), z, tolerance);
}

} // namespace

template <class T>
class StackReconstructionOf : public ::testing::Test {};
using Types = ::testing::Types<float, double, long double>;
TYPED_TEST_SUITE(StackReconstructionOf, Types);

TYPED_TEST(StackReconstructionOf, theImageCentreIsTheOriginAndYPointsUp) {
    const auto stack = regularStack(1);
    stack->getSlice(0).setAbsolutePosition(3);
    expectAt(world<TypeParam>(*stack, 0, 50, 40), 0, 0, 3, 0);
    expectAt(world<TypeParam>(*stack, 0, 60, 40), 10, 0, 3, 0);
    expectAt(world<TypeParam>(*stack, 0, 50, 30), 0, 10, 3, 0);
    calibrate(stack->getSlice(0), 2, 3);
    expectAt(world<TypeParam>(*stack, 0, 60, 30), 20, 30, 3, 0);
}

TYPED_TEST(StackReconstructionOf, aRotationTurnsAllSlicesBehindIt) {
    const auto stack = regularStack(3);
    stack->getSlice(1).setRegistration(Registration(0, 0, 90));
    const double tolerance = 1e-4;
    expectAt(world<TypeParam>(*stack, 0, 60, 40), 10, 0, 0, tolerance);
    expectAt(world<TypeParam>(*stack, 1, 60, 40), 0, -10, 10, tolerance);
    expectAt(world<TypeParam>(*stack, 2, 60, 40), 0, -10, 20, tolerance);
}

TYPED_TEST(StackReconstructionOf, aShiftIsToldInTheFrameOfTheSliceBefore) {
    const auto stack = regularStack(3);
    stack->getSlice(1).setRegistration(Registration(5, 2, 0));
    expectAt(world<TypeParam>(*stack, 1, 50, 40), 5, -2, 10, 0);

    // The second slice's own rotation does not turn its shift, but that of the third slice: (5, -2), then 4 along the
    // turned column axis, which points down.
    stack->getSlice(1).setRegistration(Registration(5, 2, 90));
    stack->getSlice(2).setRegistration(Registration(4, 0, 0));
    expectAt(world<TypeParam>(*stack, 1, 50, 40), 5, -2, 10, 1e-4);
    expectAt(world<TypeParam>(*stack, 2, 50, 40), 5, -6, 20, 1e-4);

    // The first slice's registration counts too, in the world frame.
    stack->getSlice(0).setRegistration(Registration(1, 1, 0));
    expectAt(world<TypeParam>(*stack, 0, 50, 40), 1, -1, 0, 1e-4);
    expectAt(world<TypeParam>(*stack, 2, 50, 40), 6, -7, 20, 1e-4);
}

TEST(StackReconstruction, slicesKeepTheirOwnSizesAndCalibrations) {
    const auto stack = regularStack(2);
    stack->getSlice(1).setImageSource(FixedSource(21, 11));
    calibrate(stack->getSlice(1), 0.5f, 4);
    // By hand: 0.5 (7 - 5.5), 4 (10.5 - 3).
    expectAt(world<double>(*stack, 1, 7, 3), 0.75, 30, 10, 1e-12);
}

TEST(StackReconstruction, aSliceWithoutAnImageIsCentredOnItsFirstPixelAndOneThatLostItOnTheSizeItHad) {
    Stack stack;
    addSlices(stack, 2);
    calibrate(stack.getSlice(0), 2, 2);
    calibrate(stack.getSlice(1), 2, 2);
    stack.getSlice(1).setImageSource(FixedSource(80, 100, false));
    expectAt(world<double>(stack, 0, 3, 4), 6, -8, 0, 1e-12);
    expectAt(world<double>(stack, 1, 3, 4), 2 * (3 - 50), -2 * (4 - 40), 0, 1e-12);
}

TEST(StackReconstruction, theMapsAreThoseOfTheLastComputation) {
    const auto stack = regularStack(2);
    StackReconstruction<double> reconstruction(*stack);
    Model& model = addModel(*stack, "m");
    ModelItem& item = addItem(model, stack->getSlice(1), {{50, 40}});
    stack->setDefaultSliceSpacing(7);
    Vertices<double> out;
    reconstruction.map(out, item);
    expectAt(out[0], 0, 0, 10, 0);
    reconstruction.computeMaps();
    reconstruction.map(out, item);
    expectAt(out[0], 0, 0, 7, 0);
    EXPECT_EQ(reconstruction.getZMap().getSize(), 2);
    EXPECT_EQ(reconstruction.getZMap()[1], 7);

    // A slice put in since then has no map yet: its items are refused rather than mapped by another slice's row.
    auto* late = new StackSlice;
    stack->addSlice(late);
    ModelItem& newItem = addItem(model, *late, {{1, 1}});
    Vertices<double> untouched;
    ::testing::internal::CaptureStderr();
    reconstruction.map(untouched, newItem);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "invalid stack/item pair in StackReconstruction (ignored)\n");
    EXPECT_EQ(untouched.getNumVertices(), 0);
}

TEST(StackReconstruction, anItemOfAnotherStackIsRefusedWithALine) {
    const auto stack = regularStack(1), other = regularStack(1);
    ModelItem& item = addItem(addModel(*other, "m"), other->getSlice(0), {{1, 2}, {3, 4}, {5, 0}});
    const StackReconstruction<float> reconstruction(*stack);
    ::testing::internal::CaptureStderr();
    const auto shape = reconstruction.apply(item);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "invalid stack/item pair in StackReconstruction (ignored)\n");
    EXPECT_EQ(shape->getNumVertices(), 0);
    EXPECT_EQ(shape->getSpace(), 3);
}

TEST(StackReconstruction, withoutAStackEverythingIsRefused) {
    StackReconstruction<float> reconstruction;
    const ModelItem item;
    const Model model;
    Vertices<float> out;
    EXPECT_THROW(reconstruction.computeMaps(), UsageError);
    EXPECT_THROW(reconstruction.map(out, item), UsageError);
    EXPECT_THROW(reconstruction.apply(item), UsageError);
    EXPECT_THROW(reconstruction.apply(model), UsageError);
}

TEST(StackReconstruction, geometriesBecomeTheirShapes) {
    const auto stack = regularStack(3);
    const StackReconstruction<float> reconstruction(*stack);
    Model& closed = addModel(*stack, "closed", PolygonPrimitive);
    Model& open = addModel(*stack, "open", PolylinePrimitive);
    Model& points = addModel(*stack, "points", PolypointPrimitive);
    for (Model* model : {&closed, &open, &points})
        for (int i : {2, 0})
            addItem(*model, stack->getSlice(i), {{50 + i, 40}, {60, 40}, {60, 50}});

    const auto one = reconstruction.apply(closed.getItem(0));
    EXPECT_EQ(one->getShapeType(), ClosedCurveType);
    EXPECT_TRUE(static_cast<Curve<float>&>(*one).isClosed());
    expectAt(static_cast<Curve<float>&>(*one)[0], 2, 0, 20, 0);
    EXPECT_TRUE(static_cast<Curve<float>&>(*reconstruction.apply(open.getItem(0))).isOpen());
    EXPECT_EQ(reconstruction.apply(points.getItem(0))->getShapeType(), VerticesType);

    // Levels come in the order of the slices, not of the model's list.
    const auto surface = reconstruction.apply(closed);
    const auto& curves = dynamic_cast<CurveStack<float>&>(*surface);
    EXPECT_TRUE(curves.isClosed());
    ASSERT_EQ(curves.getHeight(), 2);
    EXPECT_EQ(curves[0][0][2], 0);
    EXPECT_EQ(curves[1][0][2], 20);
    EXPECT_EQ(curves[0].getServer(), curves[1].getServer());
    EXPECT_FALSE(curves.isBranching());
    EXPECT_TRUE(dynamic_cast<CurveStack<float>&>(*reconstruction.apply(open)).isOpen());
    const auto cloud = reconstruction.apply(points);
    EXPECT_EQ(cloud->getShapeType(), VertexStackType);
    EXPECT_EQ(cloud->getNumVertices(), 6);
}

TEST(StackReconstruction, twoItemsOnASliceAreTwoLevelsInTheOrderOfTheSlicesList) {
    const auto stack = regularStack(1);
    Model& model = addModel(*stack, "m");
    addItem(addModel(*stack, "other"), stack->getSlice(0), {{0, 0}, {1, 0}, {1, 1}});
    addItem(model, stack->getSlice(0), {{51, 40}, {60, 40}, {60, 50}});
    addItem(model, stack->getSlice(0), {{52, 40}, {60, 40}, {60, 50}});
    const auto shape = StackReconstruction<double>(*stack).apply(model);
    const auto& curves = dynamic_cast<CurveStack<double>&>(*shape);
    ASSERT_EQ(curves.getHeight(), 2);
    EXPECT_EQ(curves[0][0][0], 1);
    EXPECT_EQ(curves[1][0][0], 2);
    EXPECT_TRUE(curves.isBranching());
}

TEST(StackReconstruction, aModelWithoutItemsGivesNoLevels) {
    const auto stack = regularStack(2);
    const auto shape = StackReconstruction<float>(*stack).apply(addModel(*stack, "m"));
    EXPECT_EQ(dynamic_cast<CurveStack<float>&>(*shape).getHeight(), 0);
    EXPECT_EQ(shape->getNumVertices(), 0);
}

} // namespace vorlen
