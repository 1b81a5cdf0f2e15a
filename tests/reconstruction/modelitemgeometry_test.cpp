#include "reconstruction/modelitemgeometry.h"

#include <cmath>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/curve.h"
#include "shapes/sectionregion.h"
#include "support/documentmaker.h"

namespace vorlen {

namespace {

/// Two slices with pixels of 0.5 by 2, at 0 and 4.
class ModelItemGeometryTest : public ::testing::Test {
protected:
    ModelItemGeometryTest() {
        stack.setDefaultSliceSpacing(4);
        addSlices(stack, 2);
        for (int i = 0; i < 2; ++i) {
            PixelCalibration calibration;
            calibration.setPixelWidth(0.5);
            calibration.setPixelHeight(2);
            stack.getSlice(i).setPixelCalibration(calibration);
        }
        // The registration must not enter.
        stack.getSlice(1).setRegistration(Registration(7, 8, 30));
    }

    const ModelItem& item(MPrimitive primitive, const std::vector<std::pair<int, int>>& points) {
        return addItem(addModel(stack, "m", primitive), stack.getSlice(1), points);
    }

    Stack stack;
    ModelItemGeometry geometry;
};

} // namespace

TEST_F(ModelItemGeometryTest, aPolygonHasItsPerimeterAndSignedArea) {
    // A rectangle of 4 by 3 pixels, that is 2 by 6.
    geometry.setModelItem(item(PolygonPrimitive, {{2, 1}, {6, 1}, {6, 4}, {2, 4}}));
    geometry.run();
    EXPECT_DOUBLE_EQ(geometry.getLength(), 16);
    EXPECT_DOUBLE_EQ(geometry.getArea(), 12);
    EXPECT_DOUBLE_EQ(geometry.getIsobarycenter()[0], 2);
    EXPECT_DOUBLE_EQ(geometry.getIsobarycenter()[1], 5);
    EXPECT_DOUBLE_EQ(geometry.getIsobarycenter()[2], 4);
    EXPECT_EQ(geometry.getNumVertices(), 4);
    EXPECT_EQ(geometry.getVertices().getSpace(), 2);
    EXPECT_DOUBLE_EQ(geometry.getVertices()[1][0], 3);
    EXPECT_TRUE(dynamic_cast<const Curve<double>&>(geometry.getVertices()).isClosed());

    geometry.setModelItem(item(PolygonPrimitive, {{2, 4}, {6, 4}, {6, 1}, {2, 1}}));
    geometry.run();
    EXPECT_DOUBLE_EQ(geometry.getArea(), -12);
}

// Two triangles of 2 by 3 pixels each, one of which turns against the other; and a pentagram, whose middle is a hole.
TEST_F(ModelItemGeometryTest, anOutlineThatCrossesItselfHasTheAreaThatItEncloses) {
    geometry.setModelItem(item(PolygonPrimitive, {{0, 0}, {4, 3}, {4, 0}, {0, 3}}));
    geometry.run();
    EXPECT_DOUBLE_EQ(std::fabs(geometry.getArea()), 6);
    const auto& star = item(PolygonPrimitive, {{0, 4}, {10, 4}, {1, 10}, {5, 0}, {9, 10}});
    geometry.setModelItem(star);
    geometry.run();
    SectionRegion region;
    region.add(geometry.getVertices());
    EXPECT_NEAR(std::fabs(geometry.getArea()), region.area(), 1e-9);
    EXPECT_GT(region.area(), 1);
}

TEST_F(ModelItemGeometryTest, aPolylineHasALengthAndPointsHaveNone) {
    geometry.setModelItem(item(PolylinePrimitive, {{2, 1}, {6, 1}, {6, 4}, {2, 4}}));
    geometry.run();
    EXPECT_DOUBLE_EQ(geometry.getLength(), 2 + 6 + 2);
    EXPECT_EQ(geometry.getArea(), 0);

    geometry.setModelItem(item(PolypointPrimitive, {{2, 1}, {6, 1}, {6, 4}, {2, 4}}));
    geometry.run();
    EXPECT_EQ(geometry.getLength(), 0);
    EXPECT_EQ(geometry.getArea(), 0);
    EXPECT_DOUBLE_EQ(geometry.getIsobarycenter()[1], 5);
    EXPECT_EQ(dynamic_cast<const Curve<double>*>(&geometry.getVertices()), nullptr);
    EXPECT_DOUBLE_EQ(geometry.getVertices()[2][1], 8);
}

TEST_F(ModelItemGeometryTest, anotherItemClearsAndTheSameDoesNot) {
    const ModelItem& first = item(PolygonPrimitive, {{0, 0}, {4, 0}, {4, 4}});
    EXPECT_EQ(geometry.getModelItem(), nullptr);
    geometry.setModelItem(first);
    geometry.run();
    geometry.setModelItem(first);
    EXPECT_NE(geometry.getArea(), 0);
    geometry.setModelItem(item(PolygonPrimitive, {{0, 0}, {2, 0}, {2, 2}}));
    EXPECT_EQ(geometry.getArea(), 0);
    EXPECT_EQ(geometry.getNumVertices(), 0);
    EXPECT_THROW(geometry.getVertices(), UsageError);
}

TEST_F(ModelItemGeometryTest, emptyAndHomelessItemsDoNoHarm) {
    EXPECT_THROW(geometry.run(), UsageError);
    geometry.setModelItem(item(PolygonPrimitive, {}));
    geometry.run();
    EXPECT_EQ(geometry.getNumVertices(), 0);
    EXPECT_EQ(geometry.getLength(), 0);
    const ModelItem homeless;
    geometry.setModelItem(homeless);
    EXPECT_THROW(geometry.run(), UsageError);
}

} // namespace vorlen
