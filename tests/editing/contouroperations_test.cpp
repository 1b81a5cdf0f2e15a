#include "editing/operations/contouroperations.h"

#include <algorithm>
#include <cstdlib>

#include "editing/operationfixture.h"
#include "editing/operations/splitcontour.h"
#include "shapes/fourierdescriptors.h"

namespace vorlen {

TEST_F(OperationTest, resamplingPutsVerticesAtEvenDistancesAndMergesNeighbours) {
    ModelItem& contour = addItem(polygon, *slice, square);
    EXPECT_EQ(mostResampledVertices(contour.getVertices()), 200);
    expectStep([&] { return resampleContour(stack, contour, 8); });
    EXPECT_EQ(verticesOf(contour),
              (Points{{50, 50}, {50, 75}, {50, 100}, {75, 100}, {100, 100}, {100, 75}, {100, 50}, {75, 50}}));
    EXPECT_TRUE(contour.getSelection().isComplete());

    // Length 4 * 3 * sqrt(2); along a slope the steps of one pixel of length are less than one of columns.
    contour.setVertices(makeVertices({{50, 10}, {53, 13}, {50, 16}, {47, 13}}));
    EXPECT_EQ(mostResampledVertices(contour.getVertices()), 16);
    const Points points = coordinates(resampledContour(contour.getVertices(), 16));
    EXPECT_LT(points.size(), 16u);
    EXPECT_GE(points.size(), 12u);
    EXPECT_EQ(std::adjacent_find(points.begin(), points.end()), points.end());

    contour.setVertices(makeVertices({{50, 10}, {50, 10}, {50, 10}, {50, 10}}));
    expectRefusal([&] { return resampleContour(stack, contour, 4); }, "Cannot resample to less than 3 vertices");
}

TEST_F(OperationTest, smoothingKeepsAsManyDescriptorsAsAskedOrAsTheFidelityNeeds) {
    ModelItem& contour = addItem(polygon, *slice, ring(61));
    Curve<int> expected(makeVertices(ring(61)), false);
    const int needed = FourierDescriptors<int>::filter(expected, 0.95f);
    EXPECT_GT(needed, 1);
    EXPECT_LT(needed, 30);
    const SmoothedContour faithful = smoothedToFidelity(contour.getVertices(), 0.95f);
    EXPECT_EQ(faithful.numDescriptors, needed);
    EXPECT_EQ(coordinates(faithful.vertices), coordinates(expected));
    EXPECT_EQ(verticesOf(contour), ring(61));
    EXPECT_GE(smoothedContour(contour.getVertices(), needed).fidelity, 0.95f);
    expectStep([&] { return smoothContour(stack, contour, needed); });
    EXPECT_EQ(verticesOf(contour), coordinates(expected));
}

TEST_F(OperationTest, decimationWorksOnClosedAndOpenOutlinesAndRefusesTooLittle) {
    // The end of the ring repeats its start, between which there is no line to measure from.
    ModelItem& contour = addItem(polygon, *slice, {{50, 50}, {50, 75}, {50, 100}, {100, 100}, {100, 50}, {50, 50}});
    expectStep([&] { return decimateContour(stack, contour, 1); });
    EXPECT_EQ(verticesOf(contour), square);
    // An open outline keeps its ends, also where they meet.
    for (const int end : {10, 20}) {
        ModelItem& open = addItem(line, *slice, {{10, 10}, {30, 11}, {50, 10}, {60, 40}, {70, 10}, {end, 10}});
        expectStep([&] { return decimateContour(stack, open, 1); });
        EXPECT_EQ(verticesOf(open), (Points{{10, 10}, {50, 10}, {60, 40}, {70, 10}, {end, 10}}));
    }
    ModelItem& round = addItem(polygon, *slice, ring(50));
    expectRefusal([&] { return decimateContour(stack, round, 100); }, "Cannot decimate to less than 3 vertices");
    EXPECT_EQ(verticesOf(round), ring(50));
}

TEST_F(OperationTest, aContourBeginsAtAnotherVertex) {
    ModelItem& contour = addItem(polygon, *slice, square);
    expectStep([&] { return changeOrigin(stack, contour, 3); });
    EXPECT_EQ(verticesOf(contour), (Points{{100, 50}, {50, 50}, {50, 100}, {100, 100}}));
    for (const int origin : {-1, 4})
        expectRefusal([&] { return changeOrigin(stack, contour, origin); }, "There is no vertex of this number");
}

TEST_F(OperationTest, aLineSplitsAContourIntoPiecesOfItsOwnLook) {
    ModelItem& contour = addItem(polygon, *slice, ring(40));
    contour.getProperties().setColor(1, 2, 3);
    addItem(polygon, *slice, square);
    const Curve<int> cut(makeVertices({{151, 20}, {153, 180}}), true);
    EXPECT_TRUE(isSplitBy(contour, cut));
    expectStep([&] { return splitContour(stack, contour, cut); });
    ASSERT_EQ(slice->getNumItems(), 3);
    EXPECT_EQ(verticesOf(slice->getItem(0)), square);
    const auto pieces = Curve<int>(makeVertices(ring(40)), false).split(cut, 0, 1);
    ASSERT_EQ(pieces.size(), 2u);
    for (const int k : {0, 1}) {
        EXPECT_EQ(verticesOf(slice->getItem(1 + k)), coordinates(pieces[std::size_t(k)]));
        EXPECT_TRUE(slice->getItem(1 + k).getProperties().definesColor());
    }
    const std::string noCut = "Nothing was split: the line has to enter the contour and to leave it again.";
    for (const Points& beside : {Points{{10, 10}, {30, 45}}, {{10, 75}, {75, 75}}, {{90, 90}, {90, 90}}}) {
        const Curve<int> lineBeside(makeVertices(beside), true);
        expectRefusal([&] { return splitContour(stack, slice->getItem(0), lineBeside); }, noCut);
    }
    // Four vertices cannot be cut without leaving two.
    const Curve<int> across(makeVertices({{75, 20}, {75, 150}}), true);
    EXPECT_TRUE(isSplitBy(slice->getItem(0), across));
    EXPECT_EQ(splitContour(stack, slice->getItem(0), across).getReason().rfind("Cannot split the contour there", 0),
              0u);
}

// Random contours and lines on a coarse grid, where lines often run through vertices and along edges. The count of the
// crossings is that of a line a hair beside, whose half plane holds just the vertices on one side.
TEST(SplittingEdges, areCountedOnceWhereVerticesLieOnTheLine) {
    std::srand(20261125);
    const auto below = [](int n) { return std::rand() % n; };
    int touching = 0;
    for (int round = 0; round < 3000; ++round) {
        const int n = 3 + below(8);
        Points points;
        for (int k = 0; k < n; ++k)
            points.emplace_back(below(7), below(7));
        const int column = below(7);
        // From far above to far below: all of the line counts.
        const std::vector<int> ranks = splittingEdges(Curve<int>(makeVertices(points), false),
                                                      Curve<int>(makeVertices({{column, -50}, {column, 50}}), true));
        EXPECT_TRUE(std::is_sorted(ranks.begin(), ranks.end()));
        // Changes of side along the vertices that are beside the line.
        Points beside;
        for (const auto& point : points)
            if (point.first != column)
                beside.push_back(point);
        int changes = 0;
        for (std::size_t k = 0; k < beside.size(); ++k)
            changes += (beside[k].first > column) != (beside[(k + 1) % beside.size()].first > column);
        EXPECT_EQ(int(ranks.size()), changes);
        touching += beside.size() < points.size();
    }
    EXPECT_GT(touching, 1000);
}

} // namespace vorlen
