#include "shapes/edge.h"

#include "numerics/exception.h"
#include "support/testmeshes.h"

#include <gtest/gtest.h>

namespace vorlen {

namespace {

template <class T>
Edge<T> edgeOf(const Vector<T>& a, const Vector<T>& b) {
    Edge<T> edge(a.getSize());
    edge[0] = a;
    edge[1] = b;
    return edge;
}

Edge<double> flatEdge(double x1, double y1, double x2, double y2) {
    return edgeOf(vectorOf<double>({x1, y1}), vectorOf<double>({x2, y2}));
}

} // namespace

TEST(Edge, isAnOpenCurveOfTwoVertices) {
    const Edge<float> edge(3);
    EXPECT_TRUE(edge.isOpen());
    EXPECT_EQ(edge.getNumVertices(), 2);
    EXPECT_EQ(edge[1], vectorOf<float>({0, 0, 0}));
    EXPECT_EQ(edge.getShapeType(), OpenCurveType);
    EXPECT_TRUE(Edge<float>().isOpen());
}

TEST(Edge, onOtherVerticesFollowsThem) {
    Vertices<double> vertices(2, 3, 3, 3);
    for (int i = 0; i < 3; i++) {
        vertices[i] = vectorOf<double>({1.0 * i, 0});
    }
    vertices.reverse();
    const Edge<double> edge(vertices, 0, 2);
    EXPECT_EQ(edge[0][0], 2);
    EXPECT_EQ(edge[1][0], 0);
    vertices[0][0] = 7;
    EXPECT_EQ(edge[0][0], 7);
    EXPECT_EQ(vertices.getServer()->getSize(), 3);
}

TEST(Edge, cloneIsAnEdgeOnTheSameServer) {
    Edge<double> edge = flatEdge(1, 2, 3, 4);
    const std::unique_ptr<Shape<double>> clone(edge.clone());
    ASSERT_NE(dynamic_cast<Edge<double>*>(clone.get()), nullptr);
    EXPECT_EQ(clone->getServer(), edge.getServer());
}

TEST(Edge, closestPointIsAnEndOrThePerpendicularFoot) {
    const Edge<double> edge = flatEdge(0, 0, 4, 0);
    Vector<double> out;
    EXPECT_DOUBLE_EQ(edge.closestPoint(vectorOf<double>({-3, 4}), out), 5);
    EXPECT_EQ(out, vectorOf<double>({0, 0}));
    EXPECT_DOUBLE_EQ(edge.closestPoint(vectorOf<double>({7, -4}), out), 5);
    EXPECT_EQ(out, vectorOf<double>({4, 0}));
    EXPECT_DOUBLE_EQ(edge.closestPoint(vectorOf<double>({1, 2}), out), 2);
    EXPECT_EQ(out, vectorOf<double>({1, 0}));
}

TEST(Edge, closestPointOfAnEdgeWithoutLengthIsItsVertex) {
    Vector<double> out;
    EXPECT_DOUBLE_EQ(flatEdge(1, 1, 1, 1).closestPoint(vectorOf<double>({4, 5}), out), 5);
    EXPECT_EQ(out, vectorOf<double>({1, 1}));
}

TEST(Edge, closestPointRefusesAnotherDimensionAndInt) {
    Vector<double> out;
    EXPECT_THROW(flatEdge(0, 0, 1, 1).closestPoint(vectorOf<double>({0, 0, 0}), out), SizeError);
    Vector<int> outInt;
    EXPECT_THROW(Edge<int>(2).closestPoint(vectorOf<int>({0, 0}), outInt), TypeError);
}

TEST(Edge, projectionsCrossInTheMiddleAndAtTheEndsButNotBeyond) {
    const Edge<double> edge = flatEdge(0, 0, 2, 2);
    Vector<double> out;
    EXPECT_TRUE(edge.projectionIntersects(flatEdge(0, 2, 2, 0), 0, 1, &out));
    EXPECT_EQ(out, vectorOf<double>({1, 1}));
    EXPECT_TRUE(flatEdge(0, 2, 2, 0).projectionIntersects(edge, 0, 1));
    EXPECT_TRUE(edge.projectionIntersects(flatEdge(2, 2, 5, 0), 0, 1, &out));
    EXPECT_EQ(out, vectorOf<double>({2, 2}));
    EXPECT_FALSE(edge.projectionIntersects(flatEdge(2.001, 2, 5, 0), 0, 1));
    EXPECT_FALSE(edge.projectionIntersects(flatEdge(0, 1, 0.4, 0.6), 0, 1));
}

TEST(Edge, parallelProjectionsNeverCross) {
    EXPECT_FALSE(flatEdge(0, 0, 4, 0).projectionIntersects(flatEdge(1, 0, 2, 0), 0, 1));
    EXPECT_FALSE(flatEdge(0, 0, 4, 0).projectionIntersectsLine(flatEdge(0, 1, 4, 1), 0, 1));
}

TEST(Edge, projectionTakesTheAskedAxes) {
    const Edge<double> edge = edgeOf(vectorOf<double>({9, 0, 0}), vectorOf<double>({9, 2, 2}));
    const Edge<double> other = edgeOf(vectorOf<double>({5, 0, 2}), vectorOf<double>({6, 2, 0}));
    EXPECT_TRUE(edge.projectionIntersects(other, 1, 2));
    EXPECT_FALSE(edge.projectionIntersects(other, 0, 1));
}

TEST(Edge, lineFormReachesBeyondTheEndsOfTheOtherEdgeOnly) {
    Vector<double> out;
    const Edge<double> edge = flatEdge(0, 0, 4, 0);
    EXPECT_TRUE(edge.projectionIntersectsLine(flatEdge(3, 5, 3, 4), 0, 1, &out));
    EXPECT_EQ(out, vectorOf<double>({3, 0}));
    EXPECT_FALSE(edge.projectionIntersectsLine(flatEdge(5, -1, 5, 1), 0, 1));
}

TEST(Edge, intCrossingIsRoundedAndDoesNotOverflow) {
    const Edge<int> edge = edgeOf(vectorOf<int>({-100000, -100000}), vectorOf<int>({100000, 100001}));
    const Edge<int> other = edgeOf(vectorOf<int>({-100000, 100000}), vectorOf<int>({100000, -100000}));
    Vector<int> out;
    EXPECT_TRUE(edge.projectionIntersects(other, 0, 1, &out));
    EXPECT_EQ(out, vectorOf<int>({0, 0}));
}

TEST(Edge, planeCutsTheInsideAndTheEnds) {
    const Edge<double> edge = edgeOf(vectorOf<double>({1, 2, 0}), vectorOf<double>({1, 4, 10}));
    const Vector<double> up = vectorOf<double>({0, 0, 1});
    Vector<double> out;
    EXPECT_EQ(edge.intersects(up, 5, out), 1);
    EXPECT_EQ(out, vectorOf<double>({1, 3, 5}));
    EXPECT_EQ(edge.intersects(up, 0, out), 1);
    EXPECT_EQ(out, edge[0]);
    EXPECT_EQ(edge.intersects(up, 10, out), 1);
    EXPECT_EQ(out, edge[1]);
    EXPECT_EQ(edge.intersects(up, 10.5, out), 0);
}

TEST(Edge, planeParallelToTheEdgeHoldsItOrMissesIt) {
    const Edge<double> edge = edgeOf(vectorOf<double>({1, 2, 3}), vectorOf<double>({4, 5, 3}));
    Vector<double> out;
    EXPECT_EQ(edge.intersects(vectorOf<double>({0, 0, 1}), 4, out), 0);
    EXPECT_EQ(out.getSize(), 0);
    EXPECT_EQ(edge.intersects(vectorOf<double>({0, 0, 1}), 3, out), 2);
    EXPECT_EQ(out, edge[0]);
}

TEST(Edge, planeIsNotForInt) {
    Vector<int> out;
    try {
        Edge<int>(3).intersects(vectorOf<int>({0, 0, 1}), 0, out);
        FAIL();
    } catch (const UsageError& error) {
        EXPECT_EQ(error.getWhere(), "int Edge<int>::intersects(...)");
        EXPECT_EQ(error.getWhat(), "Method not available for type 'int'");
    }
}

} // namespace vorlen
