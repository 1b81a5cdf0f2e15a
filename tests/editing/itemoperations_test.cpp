#include "editing/operations/itemoperations.h"

#include "editing/bus/vrleventclient.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/operationfixture.h"
#include "editing/operations/contouroperations.h"
#include "editing/operations/splitcontour.h"
#include "editing/operations/vertexoperations.h"
#include "numerics/exception.h"

namespace vorlen {

TEST_F(OperationTest, itemsAreCreatedCounterClockwiseAndNeedEnoughVertices) {
    expectStep([&] { return createItem(stack, *slice, polygon, makeVertices({{100, 100}, {100, 50}, {50, 50}})); });
    EXPECT_EQ(verticesOf(slice->getItem(0)), (Points{{50, 50}, {100, 50}, {100, 100}}));
    expectRefusal(
        [&] {
            return createItem(stack, *slice, polygon, makeVertices({{1, 1}, {2, 2}}));
        },
        "Cannot create a closed contour with less than 3 points.");
    expectRefusal(
        [&] {
            return createItem(stack, *slice, line, makeVertices({{1, 1}}));
        },
        "Cannot create an open contour with less than 2 points.");
    // What lies in line goes when that is asked for, unless two would be left.
    const Vertices<double> six = makeVertices({{50, 50}, {50, 70}, {50, 100}, {100, 100}, {100, 70}, {100, 50}});
    expectStep([&] { return createItem(stack, *slice, polygon, six, true); });
    EXPECT_EQ(verticesOf(slice->getItem(1)), (Points{{100, 50}, {100, 100}, {50, 100}, {50, 50}}));
    expectStep([&] { return createItem(stack, *slice, line, makeVertices({{1, 1}, {2, 1}, {3, 1}}), true); });
    EXPECT_EQ(slice->getItem(2).getSize(), 3);
    expectStep([&] { return deleteItem(stack, slice->getItem(1)); });
    EXPECT_EQ(slice->getNumItems(), 2);
}

TEST_F(OperationTest, pointsGoToTheSetThatLooksTheSame) {
    addItem(dots, *slice, {{5, 5}}).getProperties().setColor(1, 2, 3);
    expectStep([&] { return createItem(stack, *slice, dots, makeVertices({{10, 10}})); });
    expectStep([&] { return createItem(stack, *slice, dots, makeVertices({{40, 40}, {30, 30}})); });
    ASSERT_EQ(slice->getNumItems(), 2);
    EXPECT_EQ(verticesOf(slice->getItem(0)), (Points{{5, 5}}));
    EXPECT_EQ(verticesOf(slice->getItem(1)), (Points{{10, 10}, {40, 40}, {30, 30}}));
}

TEST_F(OperationTest, deletionOfASelectionIsOneStepAndRefusesTooFewVertices) {
    ModelItem& kept = addItem(polygon, *slice, square);
    ModelItem& shortened = addItem(polygon, *slice, {{150, 50}, {150, 100}, {200, 100}, {200, 50}});
    std::vector<std::string> refusals;
    const auto deletion = [&] { return deleteSelection(stack, *slice, refusals); };
    expectRefusal(deletion, "Nothing is selected that this could change");
    select(kept, {0, 1});
    select(shortened, {3});
    addItem(line, *slice, {{10, 10}, {20, 20}}).getSelection().set(true);
    expectStep(deletion);
    EXPECT_EQ(verticesOf(kept), square);
    EXPECT_EQ(shortened.getSize(), 3);
    EXPECT_EQ(slice->getNumItems(), 2);
    EXPECT_EQ(refusals, (std::vector<std::string>{
                            "Polygon:\n\nCould not remove selected vertices since this would leave only 2 vertices on "
                            "the contour (the minimum number of vertices per contour is 3 in this model)."}));
}

TEST_F(OperationTest, decimationAndConversionOfASelectionAreOneStepEach) {
    ModelItem& straight = addItem(line, *slice, {{10, 10}, {20, 10}, {30, 10}, {30, 40}});
    ModelItem& contour = addItem(polygon, *slice, square);
    addItem(dots, *slice, {{1, 1}, {2, 2}, {3, 3}}).getSelection().set(true);
    straight.getSelection().set(true);
    contour.getSelection().set(true);
    std::vector<DecimationReport> reports;
    expectStep([&] { return decimateSelection(stack, *slice, reports); });
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].model, "Line");
    EXPECT_EQ(reports[0].numRemoved, 1);
    EXPECT_EQ(reports[0].numVertices, 4);
    EXPECT_EQ(slice->getItem(2).getSize(), 3);
    straight.getSelection().set(false);
    slice->getItem(2).getSelection().set(false);
    expectStep([&] { return convertSelection(stack, *slice, other); });
    EXPECT_EQ(contour.getModel(), &other);
    expectRefusal([&] { return convertSelection(stack, *slice, other); }, "Nothing is selected that this could change");
}

TEST_F(OperationTest, verticesAreMovedInsertedAndRemovedAsLongAsEnoughAreLeft) {
    ModelItem& contour = addItem(polygon, *slice, square);
    expectStep([&] { return moveVertex(stack, contour, 0, point(30, 30)); });
    expectRefusal([&] { return moveVertex(stack, contour, 0, point(30, 30)); }, "The vertex stays where it is");
    expectStep([&] { return insertVertex(stack, contour, 4, point(60, 20)); });
    expectStep([&] { return removeVertex(stack, contour, 1); });
    EXPECT_EQ(verticesOf(contour), (Points{{30, 30}, {100, 100}, {100, 50}, {60, 20}}));
    for (const int index : {-1, 5})
        expectRefusal([&] { return insertVertex(stack, contour, index, point(1, 1)); },
                      "There is no vertex of this number");
    expectStep([&] { return removeVertex(stack, contour, 0); });
    const auto removalOf = [&](ModelItem& item) { return [&] { return removeVertex(stack, item, 0); }; };
    const std::string refusal = "You cannot remove any vertex from this contour.\n\nReason: cannot make ";
    expectRefusal(removalOf(contour), refusal + "a closed contour with less than 3 vertices.");
    expectRefusal(removalOf(addItem(line, *slice, {{1, 1}, {2, 2}})),
                  refusal + "an open contour with less than 2 vertices.");
    expectRefusal(removalOf(addItem(dots, *slice, {{1, 1}})),
                  "You cannot remove this vertex.\n\nReason: it is the last one.");
}

TEST_F(OperationTest, aDragIsSeenAtOnceAndTakenBackUnlessItIsFinished) {
    ModelItem& contour = addItem(polygon, *slice, square);
    {
        VertexDrag drag(stack, contour, 2);
        drag.moveTo(point(1, 2));
        EXPECT_EQ(verticesOf(contour)[2], std::make_pair(1, 2));
    }
    EXPECT_EQ(verticesOf(contour), square);
    EXPECT_THROW(VertexDrag(stack, contour, 4), RangeError);
    expectStep([&] {
        VertexDrag drag(stack, contour, 2);
        drag.moveTo(point(1, 2));
        drag.moveTo(point(3, 4));
        return drag.finish();
    });
    EXPECT_EQ(verticesOf(contour)[2], std::make_pair(3, 4));
}

namespace {

/// A client of the bus that fails at each change of items.
class FailingClient : public VRLEventClient {
public:
    void modelItemCreateEvent(VRLModelItemCreateEvent&) override { fail(); }
    void modelItemDeleteEvent(VRLModelItemDeleteEvent&) override { fail(); }
    void modelItemVertexEvent(VRLModelItemVertexEvent&) override { fail(); }
    void modelItemConvertEvent(VRLModelItemConvertEvent&) override { fail(); }

private:
    static void fail() { throw std::runtime_error("client"); }
};

} // namespace

TEST_F(OperationTest, anOperationAtWhichAClientFailsLeavesNothingBehindAndNoneIsDoneInTheMidstOfAnother) {
    ModelItem& contour = addItem(polygon, *slice, ring(40));
    contour.getSelection().set(true);
    std::vector<std::string> refusals;
    const Curve<double> cut(makeVertices({{151, 20}, {153, 180}}), true);
    const std::function<Outcome()> operations[] = {
        [&] { return createItem(stack, *slice, line, makeVertices(square)); },
        [&] { return deleteSelection(stack, *slice, refusals); },
        [&] { return convertSelection(stack, *slice, other); },
        [&] { return moveVertex(stack, contour, 0, point(1, 1)); },
        [&] { return insertVertex(stack, contour, 0, point(1, 1)); },
        [&] { return removeVertex(stack, contour, 0); },
        [&] { return resampleContour(stack, contour, 20); },
        [&] { return splitContour(stack, contour, cut); },
    };
    const std::string before = text();
    for (const auto& operation : operations) {
        {
            FailingClient client;
            EXPECT_THROW(operation(), std::runtime_error);
        }
        EXPECT_EQ(text(), before);
        EXPECT_FALSE(history().isUndoable());
        EXPECT_FALSE(history().isStepOpen());
        history().openStep();
        EXPECT_EQ(operation().getReason(), "Another change of this stack is not finished yet");
        history().closeStep();
        EXPECT_EQ(text(), before);
    }
}

} // namespace vorlen
