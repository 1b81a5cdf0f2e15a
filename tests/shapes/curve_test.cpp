#include "shapes/curve.h"

#include <cmath>
#include <memory>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/edge.h"
#include "support/failures.h"
#include "support/testcurves.h"

namespace vorlen {

namespace {

using Ints = std::vector<int>;

template <class T>
Curve<T> square(double side = 4) {
    const T s = T(side);
    return curveOf<T>({{0, 0}, {s, 0}, {s, s}, {0, s}});
}

/// Edges of a curve as a list of their own.
template <class T>
std::vector<Edge<T>> edgesOf(const Curve<T>& curve) {
    std::vector<Edge<T>> edges;
    for (ConstEdgeIterator<T> it(curve); it.current(); ++it) {
        edges.push_back(*it.current());
    }
    return edges;
}

template <class T>
void expectCrossingsAsOfAllPairs(const Curve<T>& a, const Curve<T>& b, const std::string& note) {
    const auto first = edgesOf(a);
    const auto second = edgesOf(b);
    Ints ranks;
    for (std::size_t k = 0; k < first.size(); ++k) {
        for (const Edge<T>& edge : second) {
            if (first[k].projectionIntersects(edge, 0, 1)) {
                ranks.push_back(int(k));
            }
        }
    }
    EXPECT_EQ(a.intersectionIndexes(b, 0, 1), ranks) << note;
    EXPECT_EQ(a.intersects(b, 0, 1), !ranks.empty()) << note;
    bool self = false;
    const int n = int(first.size());
    for (int k = 0; k < n; ++k) {
        for (int l = k + 2; l < n; ++l) {
            const bool adjacent = a.isClosed() && k == 0 && l == n - 1;
            self = self || (!adjacent && first[k].projectionIntersects(first[l], 0, 1));
        }
    }
    EXPECT_EQ(a.selfIntersects(0, 1), self) << note;
}

} // namespace

TEST(Curve, knowsItsClosureAndCarriesItInCopies) {
    Curve<int> curve = square<int>();
    EXPECT_TRUE(Curve<int>().isClosed());
    EXPECT_EQ(curve.getShapeType(), ClosedCurveType);
    curve.setOpen(true);
    EXPECT_EQ(curve.getShapeType(), OpenCurveType);
    const std::unique_ptr<Curve<int>> clone(curve.clone());
    EXPECT_TRUE(clone->isOpen());
    Curve<int> assigned;
    assigned = curve;
    EXPECT_TRUE(assigned.isOpen());
    Shape<int>& base = assigned;
    EXPECT_THROW(base = Vertices<int>(2, 1, 1, 1), std::bad_cast);
    EXPECT_EQ(assigned.getSize(), 4);
}

TEST(Curve, lengthCountsTheClosingEdgeOfAClosedCurveOnly) {
    Curve<float> curve = square<float>();
    EXPECT_EQ(curve.length(), 16);
    curve.setOpen(true);
    EXPECT_EQ(curve.length(), 12);
    EXPECT_EQ(curveOf<double>({{1, 1}}).length(), 0);
    EXPECT_EQ(curveOf<double>({{0, 0, 0}, {1, 2, 2}}).length(), 6);
    EXPECT_EQ(Curve<double>().length(), 0);
    EXPECT_EQ(curveOf<int>({{0, 0}, {1, 1}}, true).length(), 1);
    EXPECT_EQ(curveOf<int>({{0, 0}, {2, 3}}, true).length(), 4); // root of 13, rounded
}

TEST(Curve, twiceAreaIsThatOfTheSquareAndSignedByTheOrder) {
    Curve<float> curve = square<float>();
    EXPECT_EQ(curve.twiceArea(0, 1), 32);
    EXPECT_EQ(curve.twiceArea(1, 0), -32);
    EXPECT_FALSE(curve.isClockwise(0, 1));
    curve.setClockwise(false, 0, 1);
    EXPECT_EQ(coordinatesOf(curve), coordinatesOf(square<float>()));
    curve.setClockwise(true, 0, 1);
    EXPECT_TRUE(curve.isClockwise(0, 1));
    const auto reversed = coordinatesOf(curve);
    EXPECT_NE(reversed, coordinatesOf(square<float>()));
    curve.setClockwise(true, 0, 1);
    EXPECT_EQ(coordinatesOf(curve), reversed);
    curve.setOpen(true);
    EXPECT_EQ(curve.twiceArea(0, 1), 0);
    EXPECT_EQ(curveOf<float>({{0, 0}, {5, 3}}).twiceArea(0, 1), 0);
    Curve<float> flat = curveOf<float>({{0, 0}, {1, 1}, {2, 2}});
    flat.setClockwise(true, 0, 1);
    EXPECT_EQ(coordinatesOf(flat), (std::vector<float>{0, 0, 1, 1, 2, 2}));
}

// In double the shoelace products near 10^12 would leave nothing of an area of 32 in 24 bits.
TEST(Curve, twiceAreaKeepsItsDigitsFarFromTheOrigin) {
    Curve<float> curve = square<float>();
    curve.translate(vectorOf<float>({1e6f, -1e6f}));
    EXPECT_EQ(curve.twiceArea(0, 1), 32);
    EXPECT_NEAR((polygonOf<double>(1000, 3, 1e7, 1e7).twiceArea(0, 1)), 1000 * 9 * std::sin(6.283185307179586 / 1000),
                1e-4);
}

TEST(Curve, signatureIsTheSquaredDistanceToTheCentre) {
    const Vector<float> signature = square<float>().signature();
    ASSERT_EQ(signature.getSize(), 4);
    for (const float distance : signature) {
        EXPECT_EQ(distance, 8);
    }
}

TEST(Curve, closestPointLiesOnTheFirstOfTheNearestEdges) {
    const Curve<double> curve = square<double>();
    Vector<double> out;
    curve.closestPoint(vectorOf<double>({1, -3}), out);
    EXPECT_EQ(out, vectorOf<double>({1, 0}));
    curve.closestPoint(vectorOf<double>({-2, 1}), out);
    EXPECT_EQ(out, vectorOf<double>({0, 1}));
    curve.closestPoint(vectorOf<double>({2, 2}), out); // the middle: all edges are equally near
    EXPECT_EQ(out, vectorOf<double>({2, 0}));
    Curve<double> open = square<double>();
    open.setOpen(true);
    open.closestPoint(vectorOf<double>({-2, 1}), out);
    EXPECT_EQ(out, vectorOf<double>({0, 0}));
    out = vectorOf<double>({9, 9});
    curveOf<double>({{1, 1}}).closestPoint(vectorOf<double>({0, 0}), out);
    EXPECT_EQ(out, vectorOf<double>({9, 9}));
    EXPECT_THROW(curve.closestPoint(vectorOf<double>({0, 0, 0}), out), SizeError);
}

TEST(Curve, normalsOfACounterClockwiseCircleStandInwardsOnIt) {
    const Curve<double> circle = polygonOf<double>(40, 5, 1, 2);
    const Vertices<double> normals = circle.normals(0, 1);
    ASSERT_EQ(normals.getSize(), 40);
    for (int k = 0; k < 40; ++k) {
        EXPECT_NEAR(normals[k][0], -(circle[k][0] - 1) / 5, 1e-12);
        EXPECT_NEAR(normals[k][1], -(circle[k][1] - 2) / 5, 1e-12);
    }
    // The ends of an open curve look along their own edge.
    const Vertices<double> open = curveOf<double>({{0, 9, 0}, {3, 9, 0}, {3, 9, 5}}, true).normals(0, 2);
    EXPECT_EQ(open[0], vectorOf<double>({0, 1}));
    EXPECT_NEAR(open[1][0], -5 / std::sqrt(34.0), 1e-12);
    EXPECT_NEAR(open[1][1], 3 / std::sqrt(34.0), 1e-12);
    EXPECT_EQ(open[2], vectorOf<double>({-1, 0}));
    EXPECT_EQ(curveOf<double>({{4, 4}}).normals(0, 1)[0], vectorOf<double>({0, 0}));
    EXPECT_THROW(square<int>().normals(0, 1), TypeError);
}

// Small coordinates make many edges that touch, cover each other or have length 0; large ones plain crossings.
TEST(Curve, crossingsAreThoseOfAllPairsOfEdges) {
    for (unsigned int seed = 0; seed < 120; ++seed) {
        const int n = 1 + int(seed * 5 % 47);
        const int m = 1 + int(seed * 11 % 90);
        const int range = seed % 3 == 0 ? 3 : seed % 3 == 1 ? 20 : 1000;
        const Curve<float> a(randomVertices<float>(2, n, range, seed), seed % 2 == 0);
        Curve<float> b(randomVertices<float>(2, m, range, seed + 1000), seed % 4 < 2);
        expectCrossingsAsOfAllPairs(a, b, "seed " + std::to_string(seed));
        // Chains of short edges, of which most are far from each other.
        for (int k = 1; k < m; ++k) {
            b[k] = b[k - 1] + vectorOf<float>({float(k * 7 % 5 - 2), float(k * 5 % 7 - 3)});
        }
        expectCrossingsAsOfAllPairs(b, a, "chain " + std::to_string(seed));
    }
}

TEST(Curve, simplePolygonsDoNotCrossThemselves) {
    EXPECT_FALSE((polygonOf<float>(5000, 100).selfIntersects(0, 1)));
    Curve<float> knot = polygonOf<float>(5000, 100);
    knot[4000][0] = 200;
    knot[4000][1] = 200;
    EXPECT_TRUE(knot.selfIntersects(0, 1));
    EXPECT_TRUE(curveOf<int>({{0, 0}, {4, 4}, {4, 0}, {0, 4}}).selfIntersects(0, 1));
    EXPECT_FALSE(curveOf<int>({{0, 0}, {4, 4}, {4, 0}}).selfIntersects(0, 1));
    EXPECT_FALSE(Curve<int>().selfIntersects(0, 1));
}

TEST(Curve, splitCutsPiecesOutAndLeavesTheRest) {
    Curve<int> curve(1, 10, 10, 10, true);
    for (int k = 0; k < 10; ++k) {
        curve[k][0] = k;
    }
    const std::vector<Curve<int>> pieces = curve.split({1, 3, 6, 6});
    ASSERT_EQ(pieces.size(), 3u);
    EXPECT_EQ(coordinatesOf(pieces[0]), (Ints{0, 1, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(coordinatesOf(pieces[1]), (Ints{1, 2, 3, 4}));
    EXPECT_EQ(coordinatesOf(pieces[2]), (Ints{6, 7}));
    for (const Curve<int>& piece : pieces) {
        EXPECT_TRUE(piece.isOpen());
        EXPECT_NE(piece.getServer(), curve.getServer());
    }
    ASSERT_EQ(curve.split(Ints{}).size(), 1u);
    EXPECT_EQ(coordinatesOf(curve.split(Ints{})[0]), coordinatesOf(curve));
    EXPECT_THROW(curve.split(Ints{1}), UsageError);
    EXPECT_THROW(curve.split(Ints{3, 1}), UsageError);
    EXPECT_THROW(curve.split(Ints{0, 9}), UsageError);
    EXPECT_THROW(curve.split(Ints{-1, 2}), UsageError);
    curve.setOpen(false);
    EXPECT_EQ(coordinatesOf(curve.split({7, 9})[1]), (Ints{7, 8, 9, 0}));
}

TEST(Curve, splitByACurveGivesThePartsOnItsTwoSides) {
    const Curve<double> knife = curveOf<double>({{1, -1}, {1, 5}}, true);
    const std::vector<Curve<double>> pieces = square<double>().split(knife, 0, 1);
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_EQ(coordinatesOf(pieces[0]), (std::vector<double>{0, 0, 0, 4}));
    EXPECT_EQ(coordinatesOf(pieces[1]), (std::vector<double>{0, 0, 4, 0, 4, 4, 0, 4}));
}

TEST(Curve, joinWalksTheBridgeTwice) {
    const Curve<int> left = curveOf<int>({{0, 0}, {2, 1}, {0, 2}});
    const Curve<int> right = curveOf<int>({{6, 0}, {6, 2}, {4, 1}});
    const Curve<int> joined = left.join(right);
    EXPECT_EQ(coordinatesOf(joined), (Ints{0, 0, 2, 1, 4, 1, 6, 0, 6, 2, 4, 1, 2, 1, 0, 2}));
    EXPECT_TRUE(joined.isClosed());
    EXPECT_EQ(joined.twiceArea(0, 1), left.twiceArea(0, 1) + right.twiceArea(0, 1));
    EXPECT_THROW(left.join(Curve<int>()), SizeError);
}

TEST(Curve, containsFollowsTheEvenOddRule) {
    const Curve<int> star = curveOf<int>({{0, 0}, {8, 0}, {2, 6}, {4, -4}, {6, 6}}); // crosses itself
    EXPECT_FALSE(star.contains(vectorOf<int>({4, 1}), 0, 1));
    EXPECT_TRUE(star.contains(vectorOf<int>({4, -2}), 0, 1));
    EXPECT_TRUE(square<int>().contains(vectorOf<int>({1, 3}), 0, 1));
    EXPECT_FALSE(square<int>().contains(vectorOf<int>({5, 3}), 0, 1));
    EXPECT_FALSE(square<int>().contains(vectorOf<int>({-1, 0}), 0, 1));
    for (int k = 0; k < 4; ++k) {
        EXPECT_TRUE(square<int>().contains(square<int>()[k], 0, 1));
    }
    Curve<int> open = square<int>();
    open.setOpen(true);
    EXPECT_FALSE(open.contains(vectorOf<int>({1, 3}), 0, 1));
    EXPECT_FALSE(open.contains(open[0], 0, 1));
}

// Off the sides the rule agrees with the number of turns around the point.
TEST(Curve, containsAgreesWithTheWindingNumberOfSimplePolygons) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> coordinate(-7, 7);
    Curve<double> star = polygonOf<double>(24, 6);
    for (int k = 0; k < 24; k += 2) {
        star[k] *= 0.4;
    }
    int inside = 0;
    for (int trial = 0; trial < 2000; ++trial) {
        const Vector<double> p = vectorOf<double>({coordinate(random), coordinate(random)});
        double turn = 0;
        for (int k = 0; k < 24; ++k) {
            const Vector<double> a = star[k] - p;
            const Vector<double> b = star[(k + 1) % 24] - p;
            turn += std::atan2(a[0] * b[1] - a[1] * b[0], a.scalarProduct(b));
        }
        EXPECT_EQ(star.contains(p, 0, 1), std::abs(turn) > 3);
        inside += std::abs(turn) > 3;
    }
    EXPECT_GT(inside, 200);
}

TEST(Curve, resamplingAnOpenCurveKeepsItsEndsAndSpacesTheRestEvenly) {
    const Curve<double> corner = curveOf<double>({{0, 0}, {3, 0}, {3, 1}}, true);
    const Curve<double> five = corner.resample(5);
    EXPECT_TRUE(five.isOpen());
    EXPECT_EQ(coordinatesOf(five), (std::vector<double>{0, 0, 1, 0, 2, 0, 3, 0, 3, 1}));
    EXPECT_EQ(coordinatesOf(corner.resample(2)), (std::vector<double>{0, 0, 3, 1}));
    EXPECT_EQ(coordinatesOf(corner.resample(1)), (std::vector<double>{0, 0}));
    EXPECT_EQ(corner.resample(0).getSize(), 0);
    const Curve<double> still = curveOf<double>({{2, 2}, {2, 2}, {2, 2}}, true).resample(4);
    EXPECT_EQ(coordinatesOf(still), (std::vector<double>{2, 2, 2, 2, 2, 2, 2, 2}));
    EXPECT_EQ(coordinatesOf(curveOf<int>({{0, 0}, {10, 0}}, true).resample(4)), (Ints{0, 0, 3, 0, 7, 0, 10, 0}));
}

TEST(Curve, resamplingAClosedCurveGoesRoundIt) {
    const Curve<double> eight = square<double>().resample(8);
    EXPECT_TRUE(eight.isClosed());
    EXPECT_EQ(coordinatesOf(eight), (std::vector<double>{0, 0, 2, 0, 4, 0, 4, 2, 4, 4, 2, 4, 0, 4, 0, 2}));
    expectFailure<UsageError>([] { square<int>().resample(8); }, "void Curve<T>::resamplePolygon(Curve&) const",
                              "Method not available for type 'int'");
    EXPECT_THROW(Curve<double>().resample(3), SizeError);
}

TEST(Curve, resamplingWritesTheVerticesOfTheOutputInPlace) {
    Curve<double> out(2, 4, 4, 4, true);
    const Vertices<double> sharing(out);
    square<double>().resample(out);
    EXPECT_TRUE(out.isClosed());
    EXPECT_EQ(coordinatesOf(sharing), coordinatesOf(square<double>()));
}

TEST(Curve, resamplingErrorIsTheDistanceToTheLineAtTheSameLength) {
    // Straight line against an arch of two edges of length 5: by hand 3 at the top, 0 at both ends.
    const Curve<double> arch = curveOf<double>({{0, 0}, {4, 3}, {8, 0}}, true);
    const Curve<double> line = curveOf<double>({{0, 0}, {8, 0}}, true);
    Vector<double> errors;
    arch.resamplingError(line, errors, 0, 1);
    EXPECT_EQ(errors, vectorOf<double>({0, 3, 0}));
    line.resamplingError(line, errors, 0, 1);
    EXPECT_EQ(errors, vectorOf<double>({0, 0}));
    const Curve<double> fine = polygonOf<double>(360, 10);
    fine.resamplingError(fine.resample(36), errors, 0, 1);
    ASSERT_EQ(errors.getSize(), 360);
    // The sagitta of a tenth of 36 degrees.
    EXPECT_LT(errors.max(), 10 * (1 - std::cos(0.0873)) * 1.05);
    EXPECT_GT(errors.max(), 10 * (1 - std::cos(0.0873)) * 0.9);
    expectFailure<UsageError>(
        [] {
            Vector<int> none;
            square<int>().resamplingError(square<int>(), none, 0, 1);
        },
        "void Curve<int>::resamplingError(...) const", "Method not available for type 'int'");
}

} // namespace vorlen
