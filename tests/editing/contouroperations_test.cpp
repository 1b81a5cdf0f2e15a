#include "editing/operations/contouroperations.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <set>

#include "editing/operationfixture.h"
#include "editing/operations/outlineshape.h"
#include "editing/operations/splitcontour.h"
#include "shapes/curve.h"
#include "shapes/fourierdescriptors.h"

namespace vorlen {

namespace {

/// By the shoelace formula: positive where the contour turns from the first axis to the second.
double signedArea(const std::vector<std::pair<double, double>>& points) {
    double sum = 0;
    for (std::size_t k = 0; k < points.size(); ++k) {
        const auto& [x, y] = points[k];
        const auto& [nextX, nextY] = points[(k + 1) % points.size()];
        sum += x * nextY - nextX * y;
    }
    return sum / 2;
}

double signedArea(const Points& points) {
    return signedArea(decimals(makeVertices(points)));
}

} // namespace

TEST_F(OperationTest, resamplingPutsVerticesAtEvenDistancesAndMergesNeighbours) {
    ModelItem& contour = addItem(polygon, *slice, square);
    EXPECT_EQ(mostResampledVertices(contour.getVertices()), 200);
    expectStep([&] { return resampleContour(stack, contour, 8); });
    EXPECT_EQ(verticesOf(contour),
              (Points{{50, 50}, {50, 75}, {50, 100}, {75, 100}, {100, 100}, {100, 75}, {100, 50}, {75, 50}}));
    EXPECT_TRUE(contour.getSelection().isComplete());

    // Length 4 * 3 * sqrt(2). Finer than the thousandths that vertices are rounded to, they merge.
    contour.setVertices(makeVertices({{50, 10}, {53, 13}, {50, 16}, {47, 13}}));
    EXPECT_EQ(mostResampledVertices(contour.getVertices()), 16);
    const auto points = decimals(resampledContour(contour.getVertices(), 16));
    ASSERT_EQ(points.size(), 16u);
    EXPECT_EQ(points[1], std::make_pair(50.75, 10.75));
    EXPECT_NEAR(resampledContour(contour.getVertices(), 100000).getNumVertices(), 4 * 3000, 1);

    contour.setVertices(makeVertices({{50, 10}, {50, 10}, {50, 10}, {50, 10}}));
    expectRefusal([&] { return resampleContour(stack, contour, 4); }, "Cannot resample to less than 3 vertices");
}

TEST_F(OperationTest, smoothingKeepsAsManyDescriptorsAsAskedOrAsTheFidelityNeeds) {
    ModelItem& contour = addItem(polygon, *slice, ring(61));
    Curve<double> expected(makeVertices(ring(61)), false);
    const int needed = FourierDescriptors<double>::filter(expected, 0.95f);
    const auto expectSmooth = [&](const Vertices<double>& vertices) {
        ASSERT_EQ(vertices.getNumVertices(), 61);
        for (int k = 0; k < 61; ++k)
            for (const int axis : {0, 1})
                EXPECT_NEAR(vertices[k][axis], expected[k][axis], 0.001);
    };
    EXPECT_GT(needed, 1);
    EXPECT_LT(needed, 30);
    const SmoothedContour faithful = smoothedToFidelity(contour.getVertices(), 0.95f);
    EXPECT_EQ(faithful.numDescriptors, needed);
    expectSmooth(faithful.vertices);
    EXPECT_EQ(verticesOf(contour), ring(61));
    EXPECT_GE(smoothedContour(contour.getVertices(), needed).fidelity, 0.95f);
    expectStep([&] { return smoothContour(stack, contour, needed); });
    expectSmooth(contour.getVertices());
}

// A contour that is smoothed again and again with the same descriptors stays where it is.
TEST_F(OperationTest, smoothingMovesNoContour) {
    ModelItem& contour = addItem(polygon, *slice, ring(61));
    ASSERT_TRUE(bool(smoothContour(stack, contour, 5)));
    const auto once = decimals(contour.getVertices());
    for (int time = 0; time < 20; ++time)
        ASSERT_TRUE(bool(smoothContour(stack, contour, 5)));
    const auto often = decimals(contour.getVertices());
    for (std::size_t k = 0; k < once.size(); ++k) {
        EXPECT_NEAR(often[k].first, once[k].first, 0.002) << k;
        EXPECT_NEAR(often[k].second, once[k].second, 0.002) << k;
    }
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

TEST(ContourOperations, spursAreCutOffAndCornersStay) {
    const auto verticesAt = [](const Outline& outline) { return verticesOf(outline, true); };
    const Outline box = {{0, 0}, {20, 0}, {20, 20}, {0, 20}};
    EXPECT_EQ(coordinates(withoutSpurs(verticesAt(box), 1)), coordinates(verticesAt(box)));
    // Exactly the way back, in several steps; a little beside; at the first vertex.
    const Outline spurs = {{0, 0},  {-5, -5}, {0, 0},   {10, 0},  {10, -4},   {10, -9}, {10, -4},
                           {10, 0}, {20, 0},  {20, 20}, {30, 30}, {19.5, 20}, {0, 20}};
    EXPECT_NEAR(Curve<double>(withoutSpurs(verticesAt(spurs), 1), false).length(), 80, 1.5);
    const Outline needle = {{0, 0}, {20, 0}, {20, 6}, {50, 10}, {20, 14}, {20, 20}, {0, 20}}; // 8 wide at its foot
    EXPECT_EQ(withoutSpurs(verticesAt(needle), 1).getNumVertices(), 7);
    const Outline flat = {{0, 0}, {10, 0}, {20, 0}, {10, 0}};
    EXPECT_EQ(withoutSpurs(verticesAt(flat), 1).getNumVertices(), 4); // nothing would be left
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
    const Curve<double> cut(makeVertices({{151, 20}, {153, 180}}), true);
    EXPECT_TRUE(isSplitBy(contour, cut));
    expectStep([&] { return splitContour(stack, contour, cut); });
    ASSERT_EQ(slice->getNumItems(), 3);
    EXPECT_EQ(verticesOf(slice->getItem(0)), square);
    for (const int k : {1, 2}) {
        const ModelItem& piece = slice->getItem(k);
        EXPECT_NEAR(std::abs(signedArea(decimals(piece.getVertices()))), std::abs(signedArea(ring(40))) / 2, 300) << k;
        EXPECT_TRUE(piece.getProperties().definesColor());
    }
    const std::string noCut = "Nothing was split: the line has to enter the contour and to leave it again.";
    for (const Points& beside : {Points{{10, 10}, {30, 45}}, {{10, 75}, {75, 75}}, {{90, 90}, {90, 90}}}) {
        const Curve<double> lineBeside(makeVertices(beside), true);
        expectRefusal([&] { return splitContour(stack, slice->getItem(0), lineBeside); }, noCut);
    }
    // A line along an edge, and one that leaves a piece too thin for thousandths of a pixel.
    const Curve<double> across(makeVertices({{75, 20}, {75, 150}}), true);
    expectStep([&] { return splitContour(stack, slice->getItem(0), across); });
    EXPECT_EQ(verticesOf(slice->getItem(2)), (Points{{50, 50}, {50, 100}, {75, 100}, {75, 50}}));
    EXPECT_EQ(verticesOf(slice->getItem(3)), (Points{{75, 100}, {100, 100}, {100, 50}, {75, 50}}));
    ModelItem& thin = addItem(polygon, *slice, {{0, 0}, {100, 1}, {100, 0}});
    const Curve<double> tip(makeDecimals({{0.01, -5}, {0.01, 5}}), true);
    EXPECT_EQ(splitContour(stack, thin, tip).getReason().rfind("Cannot split the contour there", 0), 0u);
}

// A letter C, which the line enters and leaves twice.
TEST(SplitPieces, areThoseOfTheLineHoweverOftenItCrosses) {
    const Points letter = {{0, 0}, {100, 0}, {100, 20}, {20, 20}, {20, 60}, {100, 60}, {100, 80}, {0, 80}};
    const Curve<double> down(makeVertices({{60, -10}, {60, 90}}), true);
    for (std::size_t origin = 0; origin < letter.size(); ++origin) {
        Points points = letter;
        std::rotate(points.begin(), points.begin() + std::ptrdiff_t(origin), points.end());
        std::multiset<double> areas;
        for (const Curve<double>& piece : splitPieces(Curve<double>(makeVertices(points), false), down))
            areas.insert(signedArea(decimals(piece)));
        EXPECT_EQ(areas, (std::multiset<double>{800, 800, 3200})) << origin;
    }
    // A line that ends within cuts as far as it leaves again.
    EXPECT_EQ(splitPieces(Curve<double>(makeVertices(letter), false),
                          Curve<double>(makeVertices({{60, -10}, {60, 70}}), true))
                  .size(),
              2u);
    EXPECT_EQ(
        splitPieces(Curve<double>(makeVertices(letter), false), Curve<double>(makeVertices({{60, 10}, {60, 70}}), true))
            .size(),
        1u);
}

// Random stars on a coarse grid, where lines often run through vertices and along edges.
TEST(SplitPieces, encloseTogetherWhatTheContourDidEachOnOneSide) {
    std::srand(20261125);
    const auto below = [](int n) { return std::rand() % n; };
    int touching = 0, severalCuts = 0;
    for (int round = 0; round < 2000; ++round) {
        const int n = 5 + below(5);
        Points points;
        for (int k = 0; k < n; ++k) {
            const double angle = 2 * std::numbers::pi * (k + 0.1) / n, radius = 40 + below(160);
            points.emplace_back(int(radius * std::cos(angle)) / 10 * 10, int(radius * std::sin(angle)) / 10 * 10);
        }
        const int column = 10 * (below(31) - 15);
        const Curve<double> line(makeVertices({{column, -500}, {column, 500}}), true);
        const std::vector<Curve<double>> pieces = splitPieces(Curve<double>(makeVertices(points), false), line);
        double area = 0;
        for (const Curve<double>& piece : pieces) {
            const auto vertices = decimals(piece);
            area += signedArea(vertices);
            const auto [least, greatest] = std::minmax_element(vertices.begin(), vertices.end());
            EXPECT_TRUE(pieces.size() == 1 || greatest->first <= column || least->first >= column) << round;
        }
        EXPECT_NEAR(area, signedArea(points), 0.1 * double(pieces.size() - 1)) << round;
        touching += std::any_of(points.begin(), points.end(), [&](const auto& each) { return each.first == column; });
        severalCuts += pieces.size() > 2;
    }
    EXPECT_GT(touching, 300);
    EXPECT_GT(severalCuts, 10);
}

} // namespace vorlen
