#include "editing/operations/outlineediting.h"

#include <cmath>
#include <limits>

#include "editing/operationfixture.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979324;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// By the formula for polygons; positive for contours as they are kept.
double areaOf(const ModelItem& item) {
    const Outline outline = outlineOf(item.getVertices());
    double twice = 0;
    for (std::size_t k = 0; k < outline.size(); ++k) {
        const OutlinePoint& next = outline[(k + 1) % outline.size()];
        twice += outline[k].x * next.y - next.x * outline[k].y;
    }
    return twice / 2;
}

BrushStroke stroke(const Outline& points, double radius, double aspect = 1) {
    BrushStroke result;
    result.points = points;
    result.radius = radius;
    result.aspect = aspect;
    return result;
}

const Points plate = {{90, 30}, {90, 70}, {40, 70}, {40, 30}}; // 50 x 40

} // namespace

class OutlineEditingTest : public OperationTest {
protected:
    double onlyArea() {
        EXPECT_EQ(slice->getNumItems(), 1);
        return slice->getNumItems() == 1 ? areaOf(slice->getItem(0)) : nan;
    }
};

// A coordinate may be rounded to a whole pixel: an area may be wrong by half of that along its border.
TEST_F(OutlineEditingTest, aStrokeOfTheBrushIsAnOutlineOfItsCover) {
    expectStep([&] { return paintOutline(stack, *slice, polygon, stroke({{50, 50}, {110, 50}}, 20)); });
    EXPECT_NEAR(onlyArea(), 60 * 40 + pi * 400, 30);
    history().undo();
    expectStep([&] { return paintOutline(stack, *slice, polygon, stroke({{50, 50}}, 20)); });
    EXPECT_NEAR(onlyArea(), pi * 400, 30);
}

TEST_F(OutlineEditingTest, theBrushIsRoundInSpace) {
    ASSERT_TRUE(paintOutline(stack, *slice, polygon, stroke({{60, 60}}, 40, 2)));
    const auto box = slice->getItem(0).getVertices().boundingBox();
    EXPECT_NEAR(double(box.getVertex1()[0]), 20, 1);
    EXPECT_NEAR(double(box.getVertex2()[0]), 100, 1);
    EXPECT_NEAR(double(box.getVertex1()[1]), 40, 1); // half as many of the rows, which are twice as high
    EXPECT_NEAR(double(box.getVertex2()[1]), 80, 1);
}

TEST_F(OutlineEditingTest, paintJoinsWhatItTouchesOfTheModelAlone) {
    ModelItem& first = addItem(polygon, *slice, plate);
    addItem(polygon, *slice, {{190, 30}, {190, 70}, {140, 70}, {140, 30}});
    addItem(polygon, *slice, {{190, 130}, {190, 170}, {140, 170}, {140, 130}});
    addItem(other, *slice, plate);
    expectStep([&] { return paintOutline(stack, *slice, polygon, stroke({{80, 50}, {150, 50}}, 5)); });
    ASSERT_EQ(slice->getNumItems(), 3);
    EXPECT_EQ(polygon.getNumItems(), 2);
    EXPECT_EQ(&slice->getItem(0), &first); // it is the one that has grown
    EXPECT_NEAR(areaOf(first), 2 * 2000 + 50 * 10, 3);
}

TEST_F(OutlineEditingTest, theEraserCutsOutlinesApartAndAway) {
    addItem(polygon, *slice, plate);
    addItem(other, *slice, plate);
    expectStep([&] { return eraseOutline(stack, *slice, polygon, stroke({{65, 0}, {65, 100}}, 5)); });
    ASSERT_EQ(polygon.getNumItems(), 2);
    EXPECT_NEAR(areaOf(polygon.getItem(0)), 20 * 40, 1);
    EXPECT_NEAR(areaOf(polygon.getItem(1)), 20 * 40, 1);
    EXPECT_EQ(other.getNumItems(), 1);
    expectStep([&] { return eraseOutline(stack, *slice, polygon, stroke({{0, 50}, {65, 50}}, 60)); });
    EXPECT_EQ(polygon.getNumItems(), 0);
    expectRefusal(
        [&] {
            return eraseOutline(stack, *slice, polygon, stroke({{65, 50}}, 5));
        },
        "There is no outline of the model under the brush");
}

TEST_F(OutlineEditingTest, anErasedHoleIsNoChange) {
    addItem(polygon, *slice, plate);
    expectRefusal(
        [&] {
            return eraseOutline(stack, *slice, polygon, stroke({{65, 50}}, 5));
        },
        "There is no outline of the model under the brush");
}

TEST_F(OutlineEditingTest, strokesThatMakeNothingAreRefused) {
    const std::string nothing = "The stroke covers nothing";
    expectRefusal([&] { return paintOutline(stack, *slice, polygon, stroke({}, 5)); }, nothing);
    expectRefusal([&] { return paintOutline(stack, *slice, polygon, stroke({{5, 5}}, 0)); }, nothing);
    expectRefusal([&] { return paintOutline(stack, *slice, polygon, stroke({{5, nan}}, 5)); }, nothing);
    expectRefusal(
        [&] {
            return paintOutline(stack, *slice, line, stroke({{5, 5}}, 5));
        },
        "The brush paints models of closed outlines alone");
    EXPECT_TRUE(paintedOutlines(*slice, line, stroke({{5, 5}}, 5), false).empty());
}

TEST_F(OutlineEditingTest, selectedOutlinesOfAModelAreJoinedAlsoOverGaps) {
    ModelItem& first = addItem(polygon, *slice, plate);
    ModelItem& crossing =
        addItem(polygon, *slice, {{100, 50}, {100, 90}, {80, 90}, {80, 50}});              // 20 x 40, 10 x 20 shared
    ModelItem& apart = addItem(polygon, *slice, {{30, 40}, {30, 60}, {10, 60}, {10, 40}}); // 10 from the first
    for (ModelItem* const item : {&first, &crossing, &apart})
        item->getSelection().set(true);
    expectStep([&] { return joinSelection(stack, *slice); });
    EXPECT_EQ(&slice->getItem(0), &first);
    EXPECT_NEAR(onlyArea(), 2000 + 800 - 200 + 400 + 10 * 2, 2);
}

TEST_F(OutlineEditingTest, onlyOutlinesOfOneModelAreJoined) {
    ModelItem& first = addItem(polygon, *slice, plate);
    ModelItem& foreign = addItem(other, *slice, plate);
    first.getSelection().set(true);
    expectRefusal([&] { return joinSelection(stack, *slice); }, "Select two or more closed outlines to join them");
    foreign.getSelection().set(true);
    expectRefusal([&] { return joinSelection(stack, *slice); }, "Only outlines of one model can be joined");
}

TEST_F(OutlineEditingTest, anOutlineIsMovedTurnedAndScaled) {
    ModelItem& item = addItem(polygon, *slice, plate);
    const OutlinePoint middle = middleOf(outlineOf(item.getVertices()), true);
    EXPECT_NEAR(middle.x, 65, 1e-9);
    EXPECT_NEAR(middle.y, 50, 1e-9);
    OutlineMotion motion;
    motion.centre = middle;
    motion.shift = {7, -3};
    expectStep([&] { return moveItem(stack, item, motion); });
    EXPECT_EQ(verticesOf(item), (Points{{97, 27}, {97, 67}, {47, 67}, {47, 27}}));
    history().undo();
    motion.shift = {};
    motion.angle = pi / 2; // from the columns towards the rows
    motion.aspect = 0.5;   // the plate is 50 x 20 in space
    expectStep([&] { return moveItem(stack, item, motion); });
    EXPECT_EQ(verticesOf(item), (Points{{75, 100}, {55, 100}, {55, 0}, {75, 0}}));
    history().undo();
    motion = {};
    motion.centre = middle;
    motion.growth = 2;
    expectStep([&] { return moveItem(stack, item, motion); });
    EXPECT_NEAR(areaOf(item), 4 * 2000, 1e-6);
    motion.growth = 0;
    expectRefusal([&] { return moveItem(stack, item, motion); }, "An outline cannot be made that small");
    motion.growth = 1e9;
    expectRefusal([&] { return moveItem(stack, item, motion); }, "An outline cannot be moved that far");
}

TEST_F(OutlineEditingTest, aPlaceIsInsideOfWhatAnOutlineWindsAround) {
    const Outline hook = {{0, 0}, {10, 0}, {10, 10}, {8, 10}, {8, 2}, {0, 2}};
    EXPECT_TRUE(isInside(hook, {9, 9}));
    EXPECT_TRUE(isInside(hook, {1, 1}));
    EXPECT_FALSE(isInside(hook, {4, 5}));
    EXPECT_FALSE(isInside({}, {4, 5}));
}

} // namespace vorlen
