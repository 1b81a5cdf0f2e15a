#include "document/modelitem.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/documentmaker.h"

namespace vorlen {

namespace {

using Points = std::vector<std::pair<int, int>>;

class ModelItemTest : public testing::Test {
protected:
    ModelItemTest() {
        addSlices(stack, 2);
        // No margin but the one pixel that every painted box has at its far side.
        for (Model* model : {&polygons, &polylines, &polypoints}) {
            model->getItemProperties().setLineWidth(0);
            model->getItemProperties().setPointSize(0);
        }
    }

    Stack stack;
    Model& polygons = addModel(stack, "polygons", PolygonPrimitive);
    Model& polylines = addModel(stack, "polylines", PolylinePrimitive);
    Model& polypoints = addModel(stack, "polypoints", PolypointPrimitive);
};

TEST_F(ModelItemTest, isEmptyAtFirstAndUnlisted) {
    const ModelItem item;
    EXPECT_EQ(item.getModel(), nullptr);
    EXPECT_EQ(item.getSlice(), nullptr);
    EXPECT_EQ(item.getSize(), 0);
    EXPECT_FALSE(item.getProperties().definesAny());
    EXPECT_FALSE(item.isConnected() || item.isClosed() || item.isClockwise());
    EXPECT_EQ(item.findNearVertex(point(0, 0), 10), -1);
    EXPECT_EQ(item.findInsertion(point(0, 0), 10), -1);
    EXPECT_FALSE(item.boundingBox().isValid());
}

TEST_F(ModelItemTest, itsModelTellsWhatIsJoined) {
    EXPECT_TRUE(addItem(polygons, stack.getSlice(0)).isClosed());
    EXPECT_TRUE(addItem(polygons, stack.getSlice(0)).isConnected());
    EXPECT_FALSE(addItem(polylines, stack.getSlice(0)).isClosed());
    EXPECT_TRUE(addItem(polylines, stack.getSlice(0)).isConnected());
    EXPECT_FALSE(addItem(polypoints, stack.getSlice(0)).isConnected());
}

TEST_F(ModelItemTest, keepsItsVerticesForItself) {
    const Vertices<double> vertices = makeVertices({{1, 2}, {3, 4}});
    ModelItem item;
    item.setVertices(vertices);
    item.moveVertex(0, point(9, 9));
    EXPECT_EQ(coordinates(vertices), (Points{{1, 2}, {3, 4}}));
    ModelItem copy(item);
    copy.moveVertex(1, point(7, 7));
    EXPECT_EQ(coordinates(item.getVertices()), (Points{{9, 9}, {3, 4}}));
    EXPECT_EQ(coordinates(copy.getVertices()), (Points{{9, 9}, {7, 7}}));
}

// As they come from a file: plain numbers until somebody asks for more.
TEST_F(ModelItemTest, coordinatesComeOutAsTheyWereGiven) {
    const std::vector<std::vector<double>> given = {
        {32767, -32767, 0, 5, -1, 17},   // pixels
        {32768, 2, -32768, 4, 1, 5},     // whole ones further out
        {1, 2, -0.0, 4, 5, 6},           // a zero of its own
        {1, 2, 30, 4, 5, 60.125},        // thousandths
        {0.1234, 2, -0.0, 4, 1e300, -7}, // other numbers
        {2000000, -2000000, 1999999.999, 0.001, -0.001, 3},
    };
    for (const std::vector<double>& numbers : given) {
        ModelItem& item = addItem(polygons, stack.getSlice(0));
        ModelItem untouched;
        for (ModelItem* const each : {&item, &untouched})
            each->setVertices(numbers.data(), 3);
        const ModelItem copy(item);
        EXPECT_EQ(item.getSelection().getNumBits(), 3);
        EXPECT_EQ(corners(item.extent())[2], std::max({numbers[0], numbers[2], numbers[4]}));
        for (int i = 0; i < 3; ++i)
            for (const int axis : {0, 1}) {
                const double number = numbers[std::size_t(2 * i + axis)];
                for (const double found : {untouched.getCoordinate(i, axis), item.getVertices()[i][axis],
                                           item.getCoordinate(i, axis), copy.getVertices()[i][axis]}) {
                    EXPECT_EQ(found, number);
                    EXPECT_EQ(std::signbit(found), std::signbit(number));
                }
            }
        EXPECT_EQ(untouched.getSize(), 3);
        untouched.moveVertex(1, point(8, 9));
        untouched.removeVertex(0);
        EXPECT_EQ(decimals(untouched.getVertices()),
                  (std::vector<std::pair<double, double>>{{8, 9}, {numbers[4], numbers[5]}}));
        untouched.setVertices(numbers.data(), 2);
        EXPECT_EQ(untouched.getSize(), 2);
        EXPECT_EQ(untouched.getCoordinate(1, 1), numbers[3]);
    }
    // The corners of the greatest square that is held in whole pixels, one way and back.
    const double square[] = {-32767, -32767, 32767, -32767, 32767, 32767, -32767, 32767};
    ModelItem& large = addItem(polygons, stack.getSlice(0));
    large.setVertices(square, 4);
    EXPECT_FALSE(large.isClockwise());
    large.setClockwise(true);
    EXPECT_TRUE(large.isClockwise());
    EXPECT_EQ(large.getCoordinate(0, 1), 32767);
    EXPECT_EQ(large.getCoordinate(1, 0), 32767);
    // A sliver far out has its sense, of which products of doubles keep nothing.
    const double line[] = {1999999.997, 1999999.998, 1999999.998, 1999999.999, 1999999.996, 1999999.997};
    const double sliver[] = {1999999.997, 1999999.998, 1999999.998, 1999999.999, 1999999.996, 1999999.996};
    ModelItem& thin = addItem(polygons, stack.getSlice(0));
    thin.setVertices(line, 3);
    EXPECT_FALSE(thin.isClockwise());
    thin.setVertices(sliver, 3);
    EXPECT_TRUE(thin.isClockwise());
    // The other way round, looked at before and not.
    const double clockwise[] = {0, 0, 0, 4, 4, 4, 4, 0};
    for (const bool looked : {false, true}) {
        ModelItem& item = addItem(polygons, stack.getSlice(0));
        item.setVertices(clockwise, 4);
        if (looked) {
            EXPECT_EQ(item.getVertices().getNumVertices(), 4);
        }
        EXPECT_TRUE(item.isClockwise());
        item.setClockwise(!item.isClockwise());
        EXPECT_FALSE(item.isClockwise());
        EXPECT_EQ(item.getCoordinate(0, 0), 4);
        EXPECT_EQ(coordinates(item.getVertices()), (Points{{4, 0}, {4, 4}, {0, 4}, {0, 0}}));
    }
}

TEST_F(ModelItemTest, severalThreadsMayAskForTheVertices) {
    std::vector<const ModelItem*> items;
    items.reserve(200);
    for (int n = 0; n < 200; ++n) {
        ModelItem& item = addItem(polygons, stack.getSlice(0));
        const double numbers[] = {double(n), 1, double(n + 1), 2};
        item.setVertices(numbers, 2);
        items.push_back(&item);
    }
    std::vector<double> sums(4);
    std::vector<std::thread> threads;
    for (double& sum : sums)
        threads.emplace_back([&items, &sum] {
            for (const ModelItem* const item : items)
                sum += item->getVertices()[1][0] + item->getCoordinate(0, 1);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(sums, std::vector<double>(4, 200 * 199 / 2 + 200 + 200));
}

TEST_F(ModelItemTest, aCopyIsListedNowhere) {
    ModelItem& item = addItem(polygons, stack.getSlice(0), {{1, 1}});
    {
        const ModelItem copy(item);
        EXPECT_EQ(copy.getModel(), &polygons);
        EXPECT_EQ(copy.getSlice(), &stack.getSlice(0));
        EXPECT_EQ(polygons.getNumItems(), 1);
    }
    EXPECT_EQ(polygons.getNumItems(), 1);
    EXPECT_EQ(&polygons.getItem(0), &item);
}

TEST_F(ModelItemTest, appendingGrowsTheBoxFromTheLastVertexAndClearsTheSelection) {
    ModelItem& item = addItem(polylines, stack.getSlice(0));
    item.appendVertex(point(5, 6));
    EXPECT_EQ(corners(item.updateBox()), (std::vector<int>{5, 6, 6, 7}));
    item.getSelection().set(true);
    item.appendVertex(point(2, 9));
    EXPECT_EQ(corners(item.updateBox()), (std::vector<int>{2, 6, 6, 10}));
    EXPECT_EQ(item.getSelection().getNumBits(), 2);
    EXPECT_TRUE(item.getSelection().isEmpty());
    item.appendVertices(makeVertices({}));
    EXPECT_EQ(item.getSize(), 2);
    item.appendVertices(makeVertices({{0, 0}, {20, 1}}));
    EXPECT_EQ(coordinates(item.getVertices()), (Points{{5, 6}, {2, 9}, {0, 0}, {20, 1}}));
    EXPECT_EQ(item.getSelection().getNumBits(), 4);
    // The box is grown when it is stored, and again when it is read.
    EXPECT_EQ(corners(item.updateBox()), (std::vector<int>{0, 0, 22, 11}));
}

TEST_F(ModelItemTest, canTakeItsOwnVerticesAgain) {
    ModelItem& item = addItem(polylines, stack.getSlice(0), {{1, 1}, {2, 2}});
    item.appendVertices(item.getVertices());
    EXPECT_EQ(coordinates(item.getVertices()), (Points{{1, 1}, {2, 2}, {1, 1}, {2, 2}}));
    item.appendVertex(item.getVertices()[0]);
    item.insertVertex(1, item.getVertices()[3]);
    item.setVertices(item.getVertices());
    EXPECT_EQ(coordinates(item.getVertices()), (Points{{1, 1}, {2, 2}, {2, 2}, {1, 1}, {2, 2}, {1, 1}}));
}

TEST_F(ModelItemTest, insertingAndRemovingKeepTheSelectionInStep) {
    ModelItem& item = addItem(polygons, stack.getSlice(0), {{0, 0}, {10, 0}, {10, 10}, {0, 10}});
    item.getSelection().set(true, 1, false);
    item.insertVertex(1, point(5, -3));
    EXPECT_EQ(coordinates(item.getVertices()), (Points{{0, 0}, {5, -3}, {10, 0}, {10, 10}, {0, 10}}));
    EXPECT_FALSE(item.getSelection().isSelected(1));
    EXPECT_TRUE(item.getSelection().isSelected(2));
    EXPECT_EQ(corners(item.updateBox()), (std::vector<int>{0, -3, 11, 1}));
    // The box covers the old neighbours.
    item.removeVertex(1);
    EXPECT_EQ(corners(item.updateBox()), (std::vector<int>{0, -3, 11, 1}));
    EXPECT_TRUE(item.getSelection().isSelected(1));
    item.removeVertices(0, 1);
    EXPECT_EQ(coordinates(item.getVertices()), (Points{{10, 10}, {0, 10}}));
    EXPECT_EQ(corners(item.updateBox()), (std::vector<int>{0, 0, 12, 12}));
    EXPECT_EQ(item.getSelection().getNumBits(), 2);
}

TEST_F(ModelItemTest, theUpdateBoxOfAVertexCoversItsNeighbours) {
    const Points zigzag = {{0, 0}, {10, 5}, {20, 0}, {30, 7}};
    ModelItem& polyline = addItem(polylines, stack.getSlice(0), zigzag);
    polyline.computeVertexUpdateBox(0);
    EXPECT_EQ(corners(polyline.updateBox()), (std::vector<int>{0, 0, 11, 6}));
    polyline.computeVertexUpdateBox(2);
    EXPECT_EQ(corners(polyline.updateBox()), (std::vector<int>{10, 0, 31, 8}));
    polyline.computeVertexUpdateBox(3);
    EXPECT_EQ(corners(polyline.updateBox()), (std::vector<int>{20, 0, 31, 8}));
    ModelItem& polygon = addItem(polygons, stack.getSlice(0), zigzag);
    polygon.computeVertexUpdateBox(0);
    EXPECT_EQ(corners(polygon.updateBox()), (std::vector<int>{0, 0, 31, 8}));
    polygon.computeVertexUpdateBox(3);
    EXPECT_EQ(corners(polygon.updateBox()), (std::vector<int>{0, 0, 31, 8}));
    ModelItem& points = addItem(polypoints, stack.getSlice(0), zigzag);
    points.computeVertexUpdateBox(1);
    EXPECT_EQ(corners(points.updateBox()), (std::vector<int>{10, 5, 11, 6}));
    ModelItem& pair = addItem(polygons, stack.getSlice(0), {{4, 1}, {2, 8}});
    pair.computeVertexUpdateBox(0);
    EXPECT_EQ(corners(pair.updateBox()), (std::vector<int>{2, 1, 5, 9}));
    ModelItem& single = addItem(polygons, stack.getSlice(0), {{4, 1}});
    single.computeVertexUpdateBox(0);
    EXPECT_EQ(corners(single.updateBox()), (std::vector<int>{4, 1, 5, 2}));
}

TEST_F(ModelItemTest, movingCoversWhereTheVertexWasAndIs) {
    ModelItem& item = addItem(polypoints, stack.getSlice(0), {{0, 0}, {5, 5}});
    item.getSelection().set(true, 1, false);
    item.moveVertex(1, point(1, 9));
    EXPECT_EQ(corners(item.updateBox()), (std::vector<int>{1, 5, 6, 10}));
    EXPECT_TRUE(item.getSelection().isSelected(1));
}

TEST_F(ModelItemTest, boxesGrowByTheLargerOfLineWidthAndPointSize) {
    polylines.getItemProperties().setLineWidth(2.9f);
    polylines.getItemProperties().setPointSize(1);
    ModelItem& item = addItem(polylines, stack.getSlice(0), {{10, 20}, {30, 15}});
    EXPECT_EQ(corners(item.boundingBox()), (std::vector<int>{8, 13, 33, 23}));
    item.getProperties().setPointSize(5);
    EXPECT_EQ(corners(item.boundingBox()), (std::vector<int>{5, 10, 36, 26}));
    item.getProperties().setLineWidth(0);
    item.getProperties().setPointSize(0);
    EXPECT_EQ(corners(item.boundingBox()), (std::vector<int>{10, 15, 31, 21}));
}

TEST_F(ModelItemTest, boxesOfExtremeCoordinatesStayWithinInt) {
    const int low = std::numeric_limits<int>::min();
    const int high = std::numeric_limits<int>::max();
    polygons.getItemProperties().setLineWidth(std::numeric_limits<float>::infinity());
    ModelItem& item = addItem(polygons, stack.getSlice(0), {{low, low}, {high, low}, {high, high}});
    EXPECT_EQ(corners(item.boundingBox()), (std::vector<int>{low, low, high, high}));
    EXPECT_FALSE(item.isClockwise());
    EXPECT_EQ(item.findNearestVertex(point(high, high), 1), 2);
}

TEST_F(ModelItemTest, splitsBySelection) {
    ModelItem& item = addItem(polypoints, stack.getSlice(0), {{0, 0}, {1, 1}, {2, 2}, {3, 3}});
    item.removeSelectedVertices();
    EXPECT_EQ(item.getSize(), 4);
    item.getSelection().set(true, 1, false);
    item.getSelection().set(true, 3, false);
    EXPECT_EQ(coordinates(item.selectedVertices()), (Points{{1, 1}, {3, 3}}));
    EXPECT_EQ(coordinates(item.unselectedVertices()), (Points{{0, 0}, {2, 2}}));
    ModelItem copy(item);
    copy.removeUnselectedVertices();
    EXPECT_EQ(coordinates(copy.getVertices()), (Points{{1, 1}, {3, 3}}));
    EXPECT_EQ(copy.getSelection().getNumBits(), 2);
    EXPECT_TRUE(copy.getSelection().isEmpty());
    item.removeSelectedVertices();
    EXPECT_EQ(coordinates(item.getVertices()), (Points{{0, 0}, {2, 2}}));
    EXPECT_TRUE(item.getSelection().isEmpty());
    item.getSelection().set(true);
    item.removeUnselectedVertices();
    EXPECT_EQ(item.getSize(), 2);
}

TEST_F(ModelItemTest, aSelectionOfAnotherSizeIsRefused) {
    ModelItem& item = addItem(polypoints, stack.getSlice(0), {{0, 0}, {1, 1}});
    ModelItemSelection selection;
    selection.reset(3);
    EXPECT_THROW(item.setSelection(selection), SizeError);
    selection.reset(2);
    selection.set(true, 0, false);
    item.setSelection(selection);
    EXPECT_EQ(item.getSelection(), selection);
}

TEST_F(ModelItemTest, verticesBetweenPixelsAreHitSelectedAndPaintedWhereTheyAre) {
    ModelItem& item = addItem(polygons, stack.getSlice(0));
    item.setVertices(makeDecimals({{10.25, 10.5}, {20.75, 10.5}, {20.75, 30.25}}));
    EXPECT_EQ(corners(item.extent()), (std::vector<double>{10.25, 10.5, 20.75, 30.25}));
    // The whole pixels around the vertices; an edit tells those before and after it.
    const std::vector<int> around = corners(item.boundingBox());
    EXPECT_LE(around[0], 10);
    EXPECT_LE(around[1], 10);
    EXPECT_GE(around[2], 21);
    EXPECT_GE(around[3], 31);
    item.moveVertex(0, point(5.5, 7.75));
    EXPECT_LE(corners(item.updateBox())[0], 5);
    EXPECT_LE(corners(item.updateBox())[1], 7);
    EXPECT_GE(corners(item.updateBox())[3], 31);
    item.moveVertex(0, point(10.25, 10.5));
    EXPECT_EQ(item.findNearestVertex(point(10.5, 10.5), 0.25f), 0);
    EXPECT_EQ(item.findNearestVertex(point(10.51, 10.5), 0.25f), -1);
    EXPECT_DOUBLE_EQ(item.distanceTo(point(15.5, 10.75)), 0.25);
    // Beside the first segment, near its start: a place within less than a pixel of it counts.
    EXPECT_EQ(item.findInsertion(point(10.3, 10.4), 0.25f), 1);
    EXPECT_TRUE(item.partiallyContains(item));
}

TEST_F(ModelItemTest, everyChangeOfTheVerticesIsToldByExtentAndRevision) {
    ModelItem& item = addItem(polygons, stack.getSlice(0));
    std::uint64_t last = item.getRevision();
    const auto expect = [&](const std::vector<double>& extent) {
        EXPECT_EQ(corners(item.extent()), extent);
        EXPECT_NE(item.getRevision(), last);
        last = item.getRevision();
    };
    EXPECT_FALSE(item.extent().isValid());
    item.appendVertex(point(3, 4));
    expect({3, 4, 3, 4});
    item.appendVertices(makeVertices({{-5, 8}, {6, 9}}));
    expect({-5, 4, 6, 9});
    item.insertVertex(1, point(20, 1));
    expect({-5, 1, 20, 9});
    item.moveVertex(1, point(1, 1));
    expect({-5, 1, 6, 9});
    item.removeVertex(1);
    expect({-5, 4, 6, 9});
    item.setClockwise(!item.isClockwise());
    expect({-5, 4, 6, 9});
    item.getSelection().set(true, 0, true);
    item.removeSelectedVertices();
    EXPECT_EQ(item.getSize(), 2);
    const ModelItem copy(item);
    EXPECT_EQ(corners(copy.extent()), corners(item.extent()));
    EXPECT_EQ(copy.getRevision(), item.getRevision());
    last = copy.getRevision() - 1;
    item.setVertices(makeVertices({{0, 0}, {1, 7}, {2, 3}}));
    expect({0, 0, 2, 7});
    item.removeVertices(1, 2);
    expect({0, 0, 0, 0});
    item.appendVertex(point(2, 2));
    item.getSelection().set(true, 1, true);
    item.removeUnselectedVertices();
    expect({2, 2, 2, 2});
    item.getSelection().set(true);
    item.removeSelectedVertices();
    EXPECT_FALSE(item.extent().isValid());
    const std::uint64_t before = item.getRevision();
    item.getProperties().setColor(1, 2, 3);
    EXPECT_EQ(item.getRevision(), before);
}

// Brute force over segments and vertices, at points in and around the box.
TEST_F(ModelItemTest, hitsAreThoseOfEveryVertexAndSegment) {
    const Points points = {{40, 40}, {90, 45}, {70, 80}, {30, 75}};
    ModelItem& contour = addItem(polygons, stack.getSlice(0), points);
    for (const float tolerance : {0.0f, 2.5f, 7.0f})
        for (int y = 25; y < 95; ++y)
            for (int x = 15; x < 105; ++x) {
                const Vector<double> p = point(x, y);
                double nearest = 1e9;
                bool beside = false, near = false;
                for (std::size_t i = 0; i < points.size(); ++i) {
                    const auto& [ax, ay] = points[i];
                    const auto& [bx, by] = points[(i + 1) % points.size()];
                    nearest = std::min(nearest, std::hypot(x - ax, y - ay));
                    beside = beside || ModelItem::pointNearSegment(point(ax, ay), point(bx, by), p, tolerance, false);
                    near = near || ModelItem::pointNearSegment(point(ax, ay), point(bx, by), p, tolerance, true);
                }
                ASSERT_EQ(contour.findNearestVertex(p, tolerance) >= 0, nearest <= double(tolerance));
                ASSERT_EQ(contour.findNearVertex(p, tolerance) >= 0, near);
                ASSERT_EQ(contour.findInsertion(p, tolerance) >= 0, beside);
                ASSERT_LE(contour.distanceTo(p), nearest);
                ASSERT_TRUE(near == (contour.distanceTo(p) <= double(tolerance)) || tolerance == 0);
            }
}

TEST_F(ModelItemTest, nearestVertexIsTheFirstOfTheNearestWithinTheTolerance) {
    ModelItem& item = addItem(polypoints, stack.getSlice(0), {{10, 0}, {3, 0}, {-3, 0}, {0, 2}});
    EXPECT_EQ(item.findNearestVertex(point(0, 0), 5), 3);
    EXPECT_EQ(item.findNearestVertex(point(0, -1), 5), 3);
    EXPECT_EQ(item.findNearestVertex(point(0, -2), 5), 1);
    EXPECT_EQ(item.findNearestVertex(point(0, 0), 2), 3);
    EXPECT_EQ(item.findNearestVertex(point(0, 0), 1.9f), -1);
}

TEST_F(ModelItemTest, nearVertexOfPointsIsTheFirstWithinTheTolerance) {
    ModelItem& item = addItem(polypoints, stack.getSlice(0), {{10, 0}, {3, 0}, {1, 0}});
    EXPECT_EQ(item.findNearVertex(point(0, 0), 3), 1);
    EXPECT_EQ(item.findNearVertex(point(0, 0), 2), 2);
    EXPECT_EQ(item.findNearVertex(point(0, 0), 0.5f), -1);
}

TEST_F(ModelItemTest, nearVertexOfLinesIsTheEndOfTheFirstSegmentNearby) {
    const Points corner = {{0, 0}, {10, 0}, {10, 10}};
    ModelItem& polyline = addItem(polylines, stack.getSlice(0), corner);
    EXPECT_EQ(polyline.findNearVertex(point(5, 1), 1), 1);
    EXPECT_EQ(polyline.findNearVertex(point(10, 0), 1), 1);
    EXPECT_EQ(polyline.findNearVertex(point(11, 5), 1), 2);
    EXPECT_EQ(polyline.findNearVertex(point(5, 5), 1), -1);
    ModelItem& polygon = addItem(polygons, stack.getSlice(0), corner);
    EXPECT_EQ(polygon.findNearVertex(point(5, 5), 1), 0);
    EXPECT_EQ(polygon.findNearVertex(point(0, 0), 1), 0);
    EXPECT_EQ(polygon.findNearVertex(point(5, 0), 1), 1);
}

TEST_F(ModelItemTest, aSingleVertexHasNoSegmentInAPolyline) {
    EXPECT_EQ(addItem(polylines, stack.getSlice(0), {{1, 1}}).findNearVertex(point(1, 1), 1000), -1);
    EXPECT_EQ(addItem(polygons, stack.getSlice(0), {{1, 1}}).findNearVertex(point(1, 1), 1), 0);
    EXPECT_EQ(addItem(polygons, stack.getSlice(0)).findNearVertex(point(1, 1), 1000), -1);
}

TEST_F(ModelItemTest, insertionLooksStrictlyInsideTheSegments) {
    const Points corner = {{0, 0}, {10, 0}, {10, 10}};
    ModelItem& polyline = addItem(polylines, stack.getSlice(0), corner);
    EXPECT_EQ(polyline.findInsertion(point(5, 1), 1), 1);
    EXPECT_EQ(polyline.findInsertion(point(9, 5), 1), 2);
    EXPECT_EQ(polyline.findInsertion(point(0, 0), 5), -1);
    EXPECT_EQ(polyline.findInsertion(point(5, 5), 1), -1);
    ModelItem& polygon = addItem(polygons, stack.getSlice(0), corner);
    EXPECT_EQ(polygon.findInsertion(point(5, 5), 1), 3);
    EXPECT_EQ(polygon.findInsertion(point(0, 9), 1), -1);
    // The nearest wall of a thin band, not the first in reach.
    ModelItem& band = addItem(polygons, stack.getSlice(0), {{0, 0}, {100, 0}, {100, 6}, {0, 6}});
    EXPECT_EQ(band.findInsertion(point(50, 1), 10), 1);
    EXPECT_EQ(band.findInsertion(point(50, 5), 10), 3);
    EXPECT_EQ(band.findInsertion(point(2, 3), 10), 4);
    EXPECT_EQ(band.distanceTo(point(50, 5)), 1);
    EXPECT_EQ(addItem(polypoints, stack.getSlice(0), corner).findInsertion(point(99, 99), 0), 3);
}

TEST_F(ModelItemTest, pointNearSegmentMeasuresBesideAndAtTheEnds) {
    const Vector<double> a = point(0, 0), b = point(4, 3);
    // Distance of (1, 7) to the line is |4 * 7 - 3 * 1| / 5 = 5.
    EXPECT_TRUE(ModelItem::pointNearSegment(a, point(8, 6), point(1, 7), 5, false));
    EXPECT_FALSE(ModelItem::pointNearSegment(a, point(8, 6), point(1, 7), 4.99f, false));
    EXPECT_FALSE(ModelItem::pointNearSegment(a, b, point(8, 6), 5, false));
    EXPECT_TRUE(ModelItem::pointNearSegment(a, b, point(8, 6), 5, true));
    EXPECT_TRUE(ModelItem::pointNearSegment(a, b, point(-4, -3), 5, true));
    EXPECT_FALSE(ModelItem::pointNearSegment(a, b, point(-4, -3), 4.99f, true));
    EXPECT_FALSE(ModelItem::pointNearSegment(a, a, a, 10, false));
    EXPECT_TRUE(ModelItem::pointNearSegment(a, a, a, 0, true));
}

TEST_F(ModelItemTest, orientationFollowsTheSignedArea) {
    // Shoelace sum of the square is 2 * 16 in this order.
    ModelItem& square = addItem(polygons, stack.getSlice(0), {{0, 0}, {4, 0}, {4, 4}, {0, 4}});
    EXPECT_FALSE(square.isClockwise());
    square.getSelection().set(true, 0, false);
    square.setClockwise(false);
    EXPECT_EQ(square.getVertices()[0][1], 0);
    EXPECT_TRUE(square.getSelection().isSelected(0));
    square.setClockwise(true);
    EXPECT_TRUE(square.isClockwise());
    EXPECT_EQ(coordinates(square.getVertices()), (Points{{0, 4}, {4, 4}, {4, 0}, {0, 0}}));
    EXPECT_TRUE(square.getSelection().isSelected(3));
    EXPECT_EQ(square.getSelection().getSize(), 1);
    ModelItem& line = addItem(polylines, stack.getSlice(0), {{0, 4}, {4, 4}, {4, 0}, {0, 0}});
    EXPECT_FALSE(line.isClockwise());
    line.setClockwise(true);
    EXPECT_EQ(line.getVertices()[0][1], 4);
}

TEST_F(ModelItemTest, partlyContainsWhatHasAVertexInsideOnTheSameSlice) {
    ModelItem& square = addItem(polygons, stack.getSlice(0), {{0, 0}, {10, 0}, {10, 10}, {0, 10}});
    ModelItem& inside = addItem(polypoints, stack.getSlice(0), {{20, 20}, {5, 5}});
    ModelItem& outside = addItem(polypoints, stack.getSlice(0), {{-1, 5}, {11, 5}, {5, -1}, {5, 11}});
    ModelItem& elsewhere = addItem(polypoints, stack.getSlice(1), {{5, 5}});
    ModelItem& line = addItem(polylines, stack.getSlice(0), {{0, 0}, {10, 0}, {10, 10}, {0, 10}});
    EXPECT_TRUE(square.partiallyContains(inside));
    EXPECT_FALSE(square.partiallyContains(outside));
    EXPECT_FALSE(square.partiallyContains(elsewhere));
    EXPECT_FALSE(line.partiallyContains(inside));
    EXPECT_TRUE(polygons.partiallyContains(polypoints));
    EXPECT_FALSE(polylines.partiallyContains(polypoints));
    inside.detach();
    delete &inside;
    EXPECT_FALSE(polygons.partiallyContains(polypoints));
}

TEST_F(ModelItemTest, aDentIsOutside) {
    ModelItem& arrow = addItem(polygons, stack.getSlice(0), {{0, 0}, {10, 0}, {10, 10}, {5, 3}, {0, 10}});
    EXPECT_FALSE(arrow.partiallyContains(addItem(polypoints, stack.getSlice(0), {{5, 8}})));
    EXPECT_TRUE(arrow.partiallyContains(addItem(polypoints, stack.getSlice(0), {{1, 7}})));
}

} // namespace

} // namespace vorlen
