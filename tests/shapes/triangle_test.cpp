#include "shapes/triangle.h"

#include "numerics/exception.h"
#include "shapes/edge.h"
#include "support/testmeshes.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace vorlen {

namespace {

using Point = Vector<double>;

Point point(double x, double y, double z) {
    return vectorOf<double>({x, y, z});
}

Triangle<double> triangleOf(const Point& a, const Point& b, const Point& c) {
    Triangle<double> triangle(a.getSize());
    triangle[0] = a;
    triangle[1] = b;
    triangle[2] = c;
    return triangle;
}

Edge<double> edgeOf(const Point& a, const Point& b) {
    Edge<double> edge(a.getSize());
    edge[0] = a;
    edge[1] = b;
    return edge;
}

const Triangle<double>& flatTriangle() {
    static const Triangle<double> triangle = triangleOf(point(0, 0, 1), point(4, 0, 1), point(0, 4, 1));
    return triangle;
}

} // namespace

TEST(Triangle, isAClosedCurveOfThreeVertices) {
    EXPECT_TRUE(flatTriangle().isClosed());
    EXPECT_EQ(flatTriangle().getNumVertices(), 3);
    EXPECT_NEAR(flatTriangle().length(), 8 + std::sqrt(32.0), 1e-12);
    const std::unique_ptr<Shape<double>> clone(flatTriangle().clone());
    EXPECT_NE(dynamic_cast<Triangle<double>*>(clone.get()), nullptr);
}

TEST(Triangle, normalFollowsTheOrderOfTheVertices) {
    EXPECT_EQ(flatTriangle().normal(false), point(0, 0, 16));
    EXPECT_EQ(flatTriangle().normal(true), point(0, 0, 1));
    EXPECT_EQ(triangleOf(point(0, 4, 1), point(4, 0, 1), point(0, 0, 1)).normal(true), point(0, 0, -1));
    EXPECT_THROW(Triangle<double>(2).normal(true), SizeError);
}

TEST(Triangle, containsPointsOfItsPlaneInsideItsSides) {
    EXPECT_TRUE(flatTriangle().contains(point(1, 1, 1)));
    EXPECT_TRUE(flatTriangle().contains(point(0, 0, 1)));
    EXPECT_TRUE(flatTriangle().contains(point(0, 4, 1)));
    EXPECT_FALSE(flatTriangle().contains(point(3, 3, 1)));
    EXPECT_FALSE(flatTriangle().contains(point(1, 1, 1.001)));
}

TEST(Triangle, containsWorksForTrianglesAcrossEachAxis) {
    for (int axis = 0; axis < 3; axis++) {
        Point corners[3], inside(3), outside(3);
        for (int k = 0; k < 3; k++) {
            corners[k].setZeros(3);
            corners[k][axis] = 2;
        }
        corners[1][(axis + 1) % 3] = 4;
        corners[2][(axis + 2) % 3] = 4;
        inside.fill(1);
        inside[axis] = 2;
        outside.fill(3);
        outside[axis] = 2;
        const Triangle<double> triangle = triangleOf(corners[0], corners[1], corners[2]);
        EXPECT_TRUE(triangle.contains(inside)) << axis;
        EXPECT_FALSE(triangle.contains(outside)) << axis;
    }
}

TEST(Triangle, ofZeroAreaContainsNothingAndIsNotCrossed) {
    const Triangle<double> line = triangleOf(point(0, 0, 0), point(1, 0, 0), point(3, 0, 0));
    EXPECT_FALSE(line.contains(point(5, 0, 0)));
    EXPECT_FALSE(line.contains(point(1, 0, 0)));
    Point out;
    EXPECT_EQ(line.intersects(edgeOf(point(1, -1, 0), point(1, 1, 0)), out), 0);
}

TEST(Triangle, intersectionIsOneInside) {
    Point out;
    EXPECT_EQ(flatTriangle().intersects(edgeOf(point(1, 1, 0), point(1, 1, 3)), out), 1);
    EXPECT_EQ(out, point(1, 1, 1));
    EXPECT_EQ(flatTriangle().intersects(edgeOf(point(3, 3, 0), point(3, 3, 3)), out), 0);
    EXPECT_EQ(flatTriangle().intersects(edgeOf(point(1, 1, 2), point(1, 1, 3)), out), 0);
}

// Whichever side it is: the rule of contains() counts in one half of them only.
TEST(Triangle, intersectionIsInDoubtOnSidesAndCorners) {
    Point out;
    for (const auto& [x, y] : {std::pair(0, 0), {4, 0}, {0, 4}, {0, 2}, {2, 0}, {2, 2}}) {
        EXPECT_EQ(flatTriangle().intersects(edgeOf(point(x, y, 0), point(x, y, 3)), out), 2) << x << ' ' << y;
    }
    // On the lines of the sides, but beyond their ends.
    for (const auto& [x, y] : {std::pair(0, 5), {0, -1}, {5, 0}, {-1, 0}, {5, -1}, {-1, 5}}) {
        EXPECT_EQ(flatTriangle().intersects(edgeOf(point(x, y, 0), point(x, y, 3)), out), 0) << x << ' ' << y;
    }
}

TEST(Triangle, edgeInItsPlaneIsInDoubtWhenItCrossesASide) {
    Point out;
    EXPECT_EQ(flatTriangle().intersects(edgeOf(point(-1, 1, 1), point(1, 1, 1)), out), 2);
    EXPECT_EQ(flatTriangle().intersects(edgeOf(point(5, 5, 1), point(6, 6, 1)), out), 0);
}

TEST(Triangle, closestPointLiesInTheRightRegion) {
    struct Case {
        Point from;
        Point closest;
    };
    // By hand: above the inside, beyond each side, beyond each corner.
    for (const Case& c : {Case{point(1, 1, 5), point(1, 1, 1)}, Case{point(2, -3, 1), point(2, 0, 1)},
                          Case{point(-3, 2, 1), point(0, 2, 1)}, Case{point(4, 4, 1), point(2, 2, 1)},
                          Case{point(-1, -2, 1), point(0, 0, 1)}, Case{point(9, 1, 1), point(4, 0, 1)},
                          Case{point(1, 9, 1), point(0, 4, 1)}}) {
        Point out;
        const double distance = flatTriangle().closestPoint(c.from, out);
        EXPECT_NEAR(out.distance(c.closest), 0, 1e-14);
        EXPECT_NEAR(distance, c.from.distance(c.closest), 1e-14);
    }
}

// Against the best of a fine lattice of points of the triangle: never worse, and nearer than the lattice's step.
TEST(Triangle, closestPointIsTheBestOfAllPoints) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> coordinate(-2, 2);
    const int steps = 60;
    for (int trial = 0; trial < 100; trial++) {
        Point corners[4];
        for (Point& corner : corners) {
            corner = point(coordinate(random), coordinate(random), coordinate(random));
        }
        const Triangle<double> triangle = triangleOf(corners[0], corners[1], corners[2]);
        const Point e0 = corners[1] - corners[0], e1 = corners[2] - corners[0];
        double best = std::numeric_limits<double>::max();
        for (int i = 0; i <= steps; i++) {
            for (int j = 0; i + j <= steps; j++) {
                const Point p = corners[0] + e0 * (double(i) / steps) + e1 * (double(j) / steps);
                best = std::min(best, p.distance(corners[3]));
            }
        }
        Point out;
        const double distance = triangle.closestPoint(corners[3], out);
        EXPECT_NEAR(out.distance(corners[3]), distance, 1e-12);
        EXPECT_LE(distance, best + 1e-12);
        EXPECT_GT(distance, best - (e0.norm() + e1.norm()) / steps);
    }
}

TEST(Triangle, closestPointOfADegenerateTriangleIsThatOfItsSegment) {
    Point out;
    const Triangle<double> line = triangleOf(point(0, 0, 0), point(6, 0, 0), point(2, 0, 0));
    EXPECT_DOUBLE_EQ(line.closestPoint(point(5, 3, 0), out), 3);
    EXPECT_EQ(out, point(5, 0, 0));
    const Triangle<double> single = triangleOf(point(1, 1, 1), point(1, 1, 1), point(1, 1, 1));
    EXPECT_DOUBLE_EQ(single.closestPoint(point(1, 1, 4), out), 3);
    EXPECT_EQ(out, point(1, 1, 1));
}

TEST(Triangle, ofIntRefusesWhatNeedsRoots) {
    const Triangle<int> triangle(3);
    Vector<int> out;
    try {
        triangle.closestPoint(vectorOf<int>({0, 0, 0}), out);
        FAIL();
    } catch (const UsageError& error) {
        EXPECT_EQ(error.getWhere(), "int Triangle<int>::closestPoint(...) const");
        EXPECT_EQ(error.getWhat(), "Method not available for type 'int'");
    }
    EXPECT_THROW(triangle.normal(true), TypeError);
    EXPECT_THROW(triangle.intersects(Edge<int>(3), out), UsageError);
}

} // namespace vorlen
