#include "ui/slices/vrlwmconverter.h"

#include <climits>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "shapes/vertices.h"
#include "values/registration.h"

namespace vorlen {

namespace {

/// World (10, 20), 5 by 9; model (100, 200), 9 by 5: a column is 8/4 = 2 wide, a row 4/8 = 0.5 high.
VRLWMConverter makeConverter() {
    VRLWMConverter converter;
    converter.setWorld(10u, 20u, 5u, 9u);
    converter.setModel(100u, 200u, 9u, 5u);
    return converter;
}

Vector<int> position(int x, int y) {
    Vector<int> result(2);
    result[0] = x;
    result[1] = y;
    return result;
}

} // namespace

TEST(WMConverter, mapsFirstToFirstAndLastToLastAndRoundsHalvesUp) {
    const VRLWMConverter converter = makeConverter();
    EXPECT_EQ(converter.xToModel(10), 100);
    EXPECT_EQ(converter.xToModel(14), 108);
    EXPECT_EQ(converter.xToModel(9), 98);
    EXPECT_EQ(converter.yToModel(20), 200);
    EXPECT_EQ(converter.yToModel(21), 201); // 0.5 goes up
    EXPECT_EQ(converter.yToModel(19), 200); // -0.5 goes up
    EXPECT_EQ(converter.yToModel(28), 204);
    EXPECT_EQ(converter.xToWorld(101), 11); // 0.5
    EXPECT_EQ(converter.xToWorld(99), 10);  // -0.5
    EXPECT_EQ(converter.xToWorld(108), 14);
    EXPECT_EQ(converter.yToWorld(203), 26);
}

TEST(WMConverter, convertsPositionsBoxesVerticesAndRegistrations) {
    const VRLWMConverter converter = makeConverter();
    EXPECT_EQ(converter.toModel(position(12, 24)), position(104, 202));
    EXPECT_EQ(converter.toWorld(position(104, 202)), position(12, 24));
    EXPECT_THROW(converter.toModel(Vector<int>(3)), SizeError);

    const BoundingBox<int> box = converter.toModel(BoundingBox<int>(position(10, 20), position(14, 28)));
    EXPECT_EQ(box.getVertex1(), position(100, 200));
    EXPECT_EQ(box.getVertex2(), position(108, 204));
    EXPECT_FALSE(converter.toWorld(BoundingBox<int>()).isValid());

    const Registration registration = converter.toModel(Registration(13, 26, 12.5f));
    EXPECT_EQ(registration, Registration(106, 203, 12.5f));
    EXPECT_EQ(converter.toWorld(registration), Registration(13, 26, 12.5f));
    // Shifts keep their decimals.
    const Registration between = converter.toModel(Registration(11.3, -2.25, 359.5f));
    EXPECT_NEAR(between.getHorShift(), 102.6, 1e-9);
    EXPECT_NEAR(between.getVerShift(), 188.875, 1e-9);
    EXPECT_EQ(between.getRotationAngle(), 359.5f);
    EXPECT_NEAR(converter.toWorld(between).getHorShift(), 11.3, 1e-9);
    EXPECT_NEAR(converter.toWorld(between).getVerShift(), -2.25, 1e-9);

    Vertices<int> vertices(2, 2, 2, 0);
    vertices[0] = position(10, 28);
    vertices[1] = position(11, 20);
    Vertices<int> converted = converter.toModel(vertices);
    ASSERT_EQ(converted.getNumVertices(), 2);
    EXPECT_EQ(converted[0], position(100, 204));
    EXPECT_EQ(converted[1], position(102, 200));
    converted[0] = position(0, 0);
    EXPECT_EQ(vertices[0], position(10, 28));
    EXPECT_EQ(converter.toWorld(converter.toModel(vertices))[0], position(10, 28));
    EXPECT_EQ(converter.toModel(Vertices<int>()).getNumVertices(), 0);
}

TEST(WMConverter, convertsLengthsByTheWidthsAlone) {
    const VRLWMConverter converter = makeConverter();
    EXPECT_EQ(converter.lengthToModel(3), 5u);  // 27 / 5
    EXPECT_EQ(converter.lengthToWorld(10), 5u); // 50 / 9
    EXPECT_EQ(converter.lengthToModel(UINT_MAX), UINT_MAX);
}

TEST(WMConverter, keepsToTheStartOnSidesTooShortToConvert) {
    VRLWMConverter converter;
    EXPECT_EQ(converter.xToModel(5), 0);
    EXPECT_EQ(converter.lengthToModel(5), 5u);
    converter.setModel(100u, 200u, 9u, 5u);
    converter.setWorld(3u, 4u, 1u, 0u);
    EXPECT_EQ(converter.toModel(QPoint(50, 60)), QPoint(100, 200));
    EXPECT_EQ(converter.toWorld(QPoint(108, 204)), QPoint(3, 3));
    converter.setWorld(0u, 0u, 2u, 2u);
    converter.setModel(0u, 0u, UINT_MAX / 2, 5u);
    EXPECT_EQ(converter.xToModel(INT_MAX), INT_MAX);
    EXPECT_EQ(converter.xToModel(INT_MIN), INT_MIN);
}

// The rounding to float of this direction shows above 2^24.
TEST(WMConverter, dividesInFloatTowardsTheWorld) {
    VRLWMConverter converter;
    converter.setModel(0u, 0u, 3u, 3u);
    converter.setWorld(0u, 0u, 3u, 3u);
    EXPECT_EQ(converter.xToWorld(16777217), 16777216);
    EXPECT_EQ(converter.xToModel(16777217), 16777217);
}

TEST(VRLWMConverter, takesRectanglesWithNegativeCornersAndGivesThemBack) {
    VRLWMConverter converter;
    const QRect world(-7, -3, 11, 21);
    const QRect model(40, -50, 31, 41);
    converter.setWorld(world);
    converter.setModel(model);
    EXPECT_EQ(converter.getWorldX(), -7);
    EXPECT_EQ(converter.getWorldHeight(), 21);
    EXPECT_EQ(converter.getModelWidth(), 31);
    EXPECT_EQ(converter.getWorld(), world);
    EXPECT_EQ(converter.getModel(), model);
    EXPECT_EQ(converter.toModel(world), model);
    EXPECT_EQ(converter.toWorld(model), world);
    EXPECT_EQ(converter.toModel(QPoint(-6, -2)), QPoint(43, -48));
}

TEST(VRLWMConverter, printsBothRectanglesAndWhatBecomesOfThem) {
    testing::internal::CaptureStdout();
    makeConverter().print("title");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "title\nModel\n  x 100\n  y 200\n  w 9\n  h 5\nWorld\n  x 10\n  y 20\n  w 5\n  h 9\n"
              "converted world 100 200 9 5\nconverted model 10 20 5 9\n");
}

} // namespace vorlen
