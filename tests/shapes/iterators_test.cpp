#include <memory>

#include <gtest/gtest.h>

#include "shapes/curvestack.h"
#include "shapes/edge.h"
#include "shapes/trimesh.h"
#include "support/testcurves.h"

namespace vorlen {

namespace {

using Ints = std::vector<int>;

/// Server numbers of the ends of all edges, one after the other.
Ints edgeEnds(const Shape<int>& shape) {
    Ints ends;
    for (ConstEdgeIterator<int> it(shape); it.current(); ++it) {
        ends.push_back(it.current()->getIndex(0));
        ends.push_back(it.current()->getIndex(1));
    }
    return ends;
}

} // namespace

TEST(VertexIterator, walksAListAndTellsWhereItStands) {
    Vertices<int> vertices = verticesOf<int>({{1}, {2}, {3}});
    vertices.reverse();
    Ints seen;
    for (VertexIterator<int> it(vertices); it.current(); it++) {
        seen.push_back((*it.current())[0]);
        seen.push_back(it.currentServerIndex());
        EXPECT_EQ(&vertices[it.locator()], it.current());
        (*it.current())[0] *= 10;
    }
    EXPECT_EQ(seen, (Ints{3, 2, 2, 1, 1, 0}));
    EXPECT_EQ(coordinatesOf(vertices), (Ints{30, 20, 10}));
    VertexIterator<int> it(vertices);
    ++it;
    ++it;
    ++it;
    EXPECT_EQ(it.current(), nullptr);
    EXPECT_EQ(it.currentServerIndex(), -1);
    ++it;
    EXPECT_EQ(it.current(), nullptr);
    it.rewind();
    EXPECT_EQ((*it.current())[0], 30);
}

TEST(VertexIterator, stepsOverEmptyLevelsOfAStack) {
    VertexStack<int> stack;
    for (const auto& rows : std::vector<std::vector<Ints>>{{}, {{1}, {2}}, {}, {}, {{3}}, {}}) {
        Vertices<int> level(1, int(rows.size()), 0, 0);
        for (int k = 0; k < int(rows.size()); ++k) {
            level[k][0] = rows[k][0];
        }
        stack.append(level);
    }
    Ints seen;
    for (ConstVertexIterator<int> it(stack); it.current(); ++it) {
        seen.insert(seen.end(), {(*it.current())[0], int(it.locator()[0]), int(it.locator()[1])});
        EXPECT_EQ(&std::as_const(stack)[it.locator()], it.current());
    }
    EXPECT_EQ(seen, (Ints{1, 1, 0, 2, 1, 1, 3, 4, 0}));
    ConstVertexIterator<int> it(stack);
    ++it;
    ConstVertexIterator<int> copy(it);
    ++copy;
    EXPECT_EQ((*it.current())[0], 2);
    EXPECT_EQ((*copy.current())[0], 3);
    it = copy;
    EXPECT_EQ((*it.current())[0], 3);
    VertexStack<int> empty;
    EXPECT_EQ(VertexIterator<int>(empty).current(), nullptr);
}

TEST(EdgeIterator, walksTheEdgesOfACurveInOrder) {
    EXPECT_EQ(edgeEnds(curveOf<int>({{0}, {0}, {0}}, true)), (Ints{0, 1, 1, 2}));
    EXPECT_EQ(edgeEnds(curveOf<int>({{0}, {0}, {0}})), (Ints{0, 1, 1, 2, 2, 0}));
    EXPECT_EQ(edgeEnds(curveOf<int>({{0}, {0}})), (Ints{0, 1, 1, 0}));
    EXPECT_EQ(edgeEnds(curveOf<int>({{0}, {0}}, true)), (Ints{0, 1}));
    EXPECT_EQ(edgeEnds(curveOf<int>({{0}})), Ints{});
    EXPECT_EQ(edgeEnds(Curve<int>()), Ints{});
    EXPECT_EQ(edgeEnds(verticesOf<int>({{0}, {0}})), Ints{});
}

TEST(EdgeIterator, theEdgesLieOnTheServerOfTheCurve) {
    Curve<int> curve = curveOf<int>({{1, 1}, {2, 2}, {3, 3}}, true);
    curve.reverse();
    EdgeIterator<int> it(curve);
    it++;
    EXPECT_EQ((*it.current())[0], vectorOf<int>({2, 2}));
    (*it.current())[1][0] = 7;
    EXPECT_EQ(curve[2], vectorOf<int>({7, 1}));
    ++it;
    EXPECT_EQ(it.current(), nullptr);
    ++it;
    it.rewind();
    EXPECT_EQ((*it.current())[0], vectorOf<int>({3, 3}));
}

TEST(EdgeIterator, neighboursOnTheSameCurveAreToldFromOthers) {
    using Iterator = Curve<int>::__ConcreteEdgeIterator;
    const Curve<int> closed = curveOf<int>({{0}, {0}, {0}, {0}});
    const Curve<int> open(closed, true);
    const auto at = [](const Curve<int>& curve, int rank) {
        auto it = std::make_unique<Iterator>(curve);
        for (int k = 0; k < rank; ++k) {
            (*it)++;
        }
        return it;
    };
    for (int a = 0; a < 4; ++a) {
        EXPECT_EQ(at(closed, a)->getIndex(), a);
        for (int b = 0; b < 4; ++b) {
            EXPECT_EQ(*at(closed, a) == *at(closed, b), a == b);
            EXPECT_EQ(*at(closed, a) != *at(closed, b), a != b);
            EXPECT_EQ(at(closed, a)->isPrevious(*at(closed, b)), (a + 1) % 4 == b);
            EXPECT_EQ(at(closed, a)->isNext(*at(closed, b)), (b + 1) % 4 == a);
            EXPECT_EQ(at(closed, a)->isAdjacent(*at(closed, b)), a != b && (a + b) % 2 == 1);
        }
    }
    EXPECT_FALSE(at(open, 2)->isPrevious(*at(open, 0)));
    EXPECT_TRUE(at(open, 0)->isAdjacent(*at(open, 1)));
    EXPECT_FALSE(*at(open, 1) == *at(closed, 1));
    EXPECT_FALSE(at(open, 0)->isPrevious(*at(closed, 1)));
}

} // namespace vorlen
