#include "shapes/vertices.h"

#include <cmath>
#include <memory>
#include <sstream>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/failures.h"
#include "support/testcurves.h"

namespace vorlen {

namespace {

Vertices<int> numbered(int n) {
    Vertices<int> vertices(1, n, n, n);
    for (int i = 0; i < n; ++i) {
        vertices[i][0] = 10 * i;
    }
    return vertices;
}

std::vector<int> indexesOf(const Vertices<int>& vertices) {
    std::vector<int> indexes;
    for (int i = 0; i < vertices.getSize(); ++i) {
        indexes.push_back(vertices.getIndex(i));
    }
    return indexes;
}

using Ints = std::vector<int>;

} // namespace

TEST(Vertices, copiesShareTheCoordinatesUntilTheyAreDetached) {
    Vertices<int> first = numbered(3);
    Vertices<int> second(first);
    std::unique_ptr<Vertices<int>> third(first.clone());
    second[1][0] = 7;
    EXPECT_EQ(first[1][0], 7);
    EXPECT_EQ((*third)[1][0], 7);
    second.detach();
    second[1][0] = 8;
    EXPECT_EQ(first[1][0], 7);
    EXPECT_EQ(first.getServer()->getRefs(), 2);
    EXPECT_EQ(second.getServer()->getRefs(), 1);
    third->remove(0);
    EXPECT_EQ(first.getSize(), 3);
}

TEST(Vertices, assignmentTakesOverTheListAndRefusesOtherShapes) {
    Vertices<int> source = numbered(4);
    source.remove(1);
    Vertices<int> target = numbered(2);
    target = source;
    EXPECT_EQ(indexesOf(target), (Ints{0, 2, 3}));
    EXPECT_EQ(target.getServer(), source.getServer());
    Shape<int>& base = target;
    EXPECT_THROW(base = CurveStack<int>(), std::bad_cast);
    EXPECT_EQ(indexesOf(target), (Ints{0, 2, 3}));
}

TEST(Vertices, sizesCountUpOnlyWhenAskedTo) {
    Vertices<int> vertices = numbered(2);
    vertices.setSize(4, true);
    EXPECT_EQ(indexesOf(vertices), (Ints{0, 1, 2, 3}));
    vertices.setSize(1, false);
    vertices.setSize(3, false);
    EXPECT_EQ(indexesOf(vertices), (Ints{0, 0, 0}));
    vertices.setSize(0, false);
    vertices.setSize(2, true);
    EXPECT_EQ(indexesOf(vertices), (Ints{0, 1}));
    EXPECT_EQ(vertices.getServer()->getSize(), 2);
}

TEST(Vertices, appendedPrependedAndInsertedVerticesGoToTheEndOfTheServer) {
    Vertices<int> vertices = numbered(2);
    const Vertices<int> sharing(vertices);
    vertices.append(vectorOf<int>({5}));
    vertices.prepend(vectorOf<int>({6}));
    vertices.insert(2, vectorOf<int>({7}));
    EXPECT_EQ(indexesOf(vertices), (Ints{3, 0, 4, 1, 2}));
    EXPECT_EQ(coordinatesOf(vertices), (Ints{6, 0, 7, 10, 5}));
    EXPECT_EQ(sharing.getSize(), 2);
    EXPECT_EQ(sharing.getServer()->getSize(), 5);
    EXPECT_THROW(vertices.append(vectorOf<int>({1, 2})), SizeError);
    EXPECT_EQ(vertices.getSize(), 5);
    Vertices<int> fresh;
    fresh.append(vectorOf<int>({1, 2}));
    EXPECT_EQ(fresh.getSpace(), 2);
}

TEST(Vertices, appendingAListSharesOnTheSameServerAndCopiesFromAnother) {
    Vertices<int> vertices = numbered(3);
    Vertices<int> same(vertices);
    same.remove(0);
    vertices.append(same);
    EXPECT_EQ(indexesOf(vertices), (Ints{0, 1, 2, 1, 2}));
    vertices.append(vertices);
    EXPECT_EQ(vertices.getSize(), 10);
    Vertices<int> other = numbered(2);
    other.reverse();
    same.append(other);
    EXPECT_EQ(indexesOf(same), (Ints{1, 2, 3, 4}));
    EXPECT_EQ(coordinatesOf(same), (Ints{10, 20, 10, 0}));
    other[0][0] = 99;
    EXPECT_EQ(same[2][0], 10);
    EXPECT_THROW(same.append(Vertices<int>(2, 1, 1, 1)), SizeError);
}

TEST(Vertices, entriesAreRemovedFromTheListAndStayOnTheServer) {
    Vertices<int> vertices = numbered(8);
    vertices.remove(7);
    vertices.remove(2, 3);
    EXPECT_EQ(indexesOf(vertices), (Ints{0, 1, 4, 5, 6}));
    vertices.remove(3, 2);
    vertices.removeOutside(3, 2);
    EXPECT_EQ(vertices.getSize(), 5);
    vertices.removeOutside(1, 3);
    EXPECT_EQ(indexesOf(vertices), (Ints{1, 4, 5}));
    EXPECT_EQ(vertices.getServer()->getSize(), 8);
}

TEST(Vertices, theListIsReversedAndRotated) {
    Vertices<int> vertices = numbered(4);
    vertices.setOrigin(1);
    EXPECT_EQ(indexesOf(vertices), (Ints{1, 2, 3, 0}));
    vertices.setOrigin(0);
    vertices.setOrigin(-2);
    EXPECT_EQ(indexesOf(vertices), (Ints{1, 2, 3, 0}));
    vertices.reverse();
    EXPECT_EQ(indexesOf(vertices), (Ints{0, 3, 2, 1}));
}

TEST(Vertices, theLowestPositionIsFoundAmongEqualExtremes) {
    const auto vertices = verticesOf<int>({{1, 5}, {3, 2}, {3, 2}, {1, 5}});
    EXPECT_EQ(vertices.findMax(0), 1);
    EXPECT_EQ(vertices.findMin(0), 0);
    EXPECT_EQ(vertices.findMax(1), 0);
    EXPECT_EQ(vertices.findMin(1), 1);
    EXPECT_EQ(Vertices<int>().findMax(0), 0);
    EXPECT_EQ(Vertices<int>().findMin(0), 0);
}

// Few different coordinates, so that many pairs are equally close; compared with the walk over all pairs.
TEST(Vertices, closestPairAndClosestPointMapAreThoseOfTheWalkOverAllPairs) {
    for (unsigned int seed = 0; seed < 40; ++seed) {
        const int n = 1 + int(seed * 7 % 60);
        const int m = 1 + int(seed * 13 % 75);
        const auto a = randomVertices<float>(1 + int(seed % 3), n, 1 + int(seed % 9), seed);
        const auto b = randomVertices<float>(1 + int(seed % 3), m, 1 + int(seed % 9), seed + 100);
        int bestI = 0;
        int bestJ = 0;
        const Vector<int> map = a.closestPointMap(b);
        for (int i = 0; i < n; ++i) {
            int nearest = 0;
            for (int j = 0; j < m; ++j) {
                if (a[i].sdistance(b[j]) < a[i].sdistance(b[nearest])) {
                    nearest = j;
                }
                if (a[i].sdistance(b[j]) < a[bestI].sdistance(b[bestJ])) {
                    bestI = i;
                    bestJ = j;
                }
            }
            EXPECT_EQ(map[i], nearest);
        }
        int i = -5;
        int j = -5;
        a.closestPoints(b, i, j);
        EXPECT_EQ(i, bestI);
        EXPECT_EQ(j, bestJ);
    }
    int i = 0;
    int j = 0;
    numbered(2).closestPoints(Vertices<int>(), i, j);
    EXPECT_EQ(i, -1);
    EXPECT_EQ(j, -1);
    EXPECT_THROW(numbered(2).closestPointMap(verticesOf<int>({{1, 2}})), SizeError);
}

// Long lists take another way through the search than short ones. Scores of whole numbers are exact, so that the first
// of several equal offsets is known; periodic lists have many.
TEST(Vertices, findMatchIsThatOfTheSumsOverAllOffsets) {
    for (const int n : {1, 2, 3, 50, 191, 192, 193, 400, 512}) {
        for (const int period : {n, (n + 1) / 2, 5}) {
            auto a = randomVertices<float>(2, n, 50, unsigned(n));
            auto b = randomVertices<float>(2, n, 50, unsigned(n) + 7);
            for (int k = period; k < n; ++k) {
                a[k] = a[k % period];
            }
            int best = 0;
            double bestScore = 0;
            for (int d = 0; d < n; ++d) {
                double score = 0;
                for (int k = 0; k < n; ++k) {
                    score += a[(k + d) % n].scalarProduct(b[k]);
                }
                if (d == 0 || score > bestScore) {
                    best = d;
                    bestScore = score;
                }
            }
            EXPECT_EQ(a.findMatch(b), best) << n << ' ' << period;
        }
    }
}

TEST(Vertices, matchUndoesARotationEvenFarFromTheOrigin) {
    for (const int n : {20, 700}) {
        Curve<double> curve = polygonOf<double>(n, 10, 1e6, -1e6);
        for (int k = 0; k < n; ++k) {
            curve[k] = curve[k] + vectorOf<double>({3 * std::sin(5.0 * k / n), 2 * std::cos(11.0 * k / n)});
        }
        Vertices<double> turned(curve);
        turned.setOrigin(n / 3);
        EXPECT_EQ(turned.findMatch(curve), n - n / 3);
        turned.match(curve);
        EXPECT_EQ(coordinatesOf(turned), coordinatesOf(curve));
    }
}

TEST(Vertices, findMatchRefusesListsOfOtherSizes) {
    expectFailure<SizeError>([] { numbered(3).findMatch(numbered(4)); },
                             "int Vertices<T>::findMatch(const Vertices&) const", "Size mismatch");
    EXPECT_EQ(Vertices<int>().findMatch(Vertices<int>()), 0);
}

TEST(Vertices, meanDirectionTakesOppositeDirectionsAsOne) {
    const Vector<double> centre = vectorOf<double>({1, 1});
    // Both arms of a line at 30 degrees, and the centre itself, which has no direction.
    const double x = std::sqrt(3.0) / 2;
    const auto line = verticesOf<double>({{1 + 2 * x, 2}, {1 - 2 * x, 0}, {1 + 4 * x, 3}, {1, 1}, {1 - 6 * x, -2}});
    for (const bool weighted : {false, true}) {
        const Vector<double> mean = line.meanDirection(centre, weighted);
        EXPECT_NEAR(mean[0], x, 1e-12);
        EXPECT_NEAR(mean[1], 0.5, 1e-12);
    }
    // By hand: the doubled angles 0, 0 and 180 degrees; lengths 1, 1 and 4.
    const auto cross = verticesOf<double>({{2, 1}, {0, 1}, {1, 5}});
    const Vector<double> plain = cross.meanDirection(centre, false);
    EXPECT_NEAR(plain[0], 1.0 / 3, 1e-12);
    EXPECT_NEAR(plain[1], 0, 1e-12);
    const Vector<double> weighted = cross.meanDirection(centre, true);
    EXPECT_NEAR(weighted[0], 0, 1e-12);
    EXPECT_NEAR(std::abs(weighted[1]), 1.0 / 3, 1e-12);
    // Around the centre of gravity (1, 0) these are the directions 0 and 180 degrees.
    const auto pair = verticesOf<double>({{0, 0}, {2, 0}});
    EXPECT_NEAR(pair.meanDirection(false)[0], 1, 1e-12);
    expectFailure<ProgramError>([] { numbered(3).meanDirection(vectorOf<int>({0}), false); },
                                "Vector<T> Vertices<T>::meanDirectionVector(...) const", "Space dimension is not 2");
}

TEST(Vertices, printShowsNameServerAndList) {
    Vertices<int> vertices = numbered(1);
    vertices.setName("spots");
    std::ostringstream stream;
    vertices.print("title", stream);
    const std::string text = stream.str();
    EXPECT_EQ(text.rfind("title\nShape: spots\n Server:\n  address  = ", 0), 0u) << text;
    EXPECT_NE(text.find("\n Size = 1\n Indexes = \n   0\n"), std::string::npos) << text;
}

} // namespace vorlen
