#include "shapes/vertexstack.h"

#include <memory>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/testcurves.h"

namespace vorlen {

namespace {

using Ints = std::vector<int>;

/// Levels of space 1, whose vertices have the numbers of the rows.
VertexStack<int> stackOf(const std::vector<Ints>& levels) {
    VertexStack<int> stack;
    for (const Ints& numbers : levels) {
        const int n = int(numbers.size());
        Vertices<int> level(1, n, n, n);
        for (int k = 0; k < n; ++k) {
            level[k][0] = numbers[k];
        }
        stack.append(level);
    }
    return stack;
}

Ints firstOfLevels(const VertexStack<int>& stack) {
    Ints numbers;
    for (int l = 0; l < stack.getHeight(); ++l) {
        numbers.push_back(stack[l].getSize() > 0 ? stack[l][0][0] : -1);
    }
    return numbers;
}

} // namespace

TEST(VertexStack, sizedStacksNumberTheirVerticesFromLevelToLevel) {
    const VertexStack<int> stack(3, 2, 4, 0, 0);
    EXPECT_EQ(stack.getHeight(), 2);
    EXPECT_EQ(stack.getSize(), 8);
    EXPECT_EQ(stack.getSpace(), 3);
    EXPECT_TRUE(stack.isComposite());
    EXPECT_EQ(stack.getShapeType(), VertexStackType);
    for (int l = 0; l < 2; ++l) {
        EXPECT_EQ(stack[l].getServer(), stack.getServer());
        for (int k = 0; k < 4; ++k) {
            EXPECT_EQ(stack[l].getIndex(k), 4 * l + k);
        }
    }
    EXPECT_EQ(stack.getServer()->getCapacity(), 8);
    EXPECT_EQ(stack.getServer()->getGrowth(), 8);
    EXPECT_EQ(stack.getServer()->getRefs(), 3);
    EXPECT_THROW(VertexStack<int>(3, -1, 2, 0, 0), SizeError);
    EXPECT_THROW(VertexStack<int>(3, 100000, 100000, 0, 0), SizeError);
    EXPECT_EQ(VertexStack<int>().getSpace(), 0);
}

TEST(VertexStack, levelsAreInsertedAsCopiesOnTheirOwnServer) {
    VertexStack<int> stack = stackOf({{1}, {2}});
    Vertices<int> level = verticesOf<int>({{7}, {8}});
    stack.insert(1, level);
    stack.prepend(level);
    EXPECT_EQ(firstOfLevels(stack), (Ints{7, 1, 7, 2}));
    level[0][0] = 9;
    level.remove(1);
    EXPECT_EQ(firstOfLevels(stack), (Ints{9, 1, 9, 2}));
    EXPECT_EQ(stack[0].getSize(), 2);
    EXPECT_EQ(stack.getServer(), stack[1].getServer()); // that of the first level that came
    EXPECT_THROW(stack.insert(5, level), RangeError);
    EXPECT_THROW(stack.remove(4), RangeError);
    stack.remove(1);
    EXPECT_EQ(firstOfLevels(stack), (Ints{9, 9, 2}));
}

TEST(VertexStack, stacksAreAppendedAndPrependedInOrderEvenToThemselves) {
    VertexStack<int> stack = stackOf({{1}, {2}});
    stack.append(stackOf({{3}, {4}}));
    stack.prepend(stackOf({{5}, {6}}));
    EXPECT_EQ(firstOfLevels(stack), (Ints{5, 6, 1, 2, 3, 4}));
    VertexStack<int> twice = stackOf({{1}, {2}, {3}});
    twice.append(twice);
    EXPECT_EQ(firstOfLevels(twice), (Ints{1, 2, 3, 1, 2, 3}));
    VertexStack<int> before = stackOf({{1}, {2}, {3}});
    before.prepend(before);
    EXPECT_EQ(firstOfLevels(before), (Ints{1, 2, 3, 1, 2, 3}));
}

TEST(VertexStack, levelsAreSortedStablyByTheirFirstVertex) {
    VertexStack<int> stack = stackOf({{3, 0}, {}, {1, 0}, {3, 0, 0}, {2}, {1, 0, 0}});
    stack.sort(0);
    Ints sizes;
    for (int l = 0; l < 6; ++l) {
        sizes.push_back(stack[l].getSize());
    }
    EXPECT_EQ(firstOfLevels(stack), (Ints{1, 1, 2, 3, 3, -1}));
    EXPECT_EQ(sizes, (Ints{2, 3, 1, 2, 3, 0}));
    stack.reverse();
    EXPECT_EQ(firstOfLevels(stack), (Ints{-1, 3, 3, 2, 1, 1}));
}

TEST(VertexStack, catGathersCopiesOfAllVertices) {
    VertexStack<int> stack = stackOf({{1, 2}, {}, {3}});
    const Vertices<int> all = stack.cat();
    EXPECT_EQ(coordinatesOf(all), (Ints{1, 2, 3}));
    stack[0][0][0] = 5;
    EXPECT_EQ(all[0][0], 1);
    EXPECT_EQ(VertexStack<int>().cat().getSize(), 0);
}

TEST(VertexStack, detachGathersLevelsOfSeveralServersOnANewOne) {
    VertexStack<int> stack = stackOf({{1, 2}, {3}});
    const VertexStack<int> sharing(stack);
    stack[0].reverse();
    stack.detach();
    EXPECT_EQ(coordinatesOf(stack), (Ints{2, 1, 3}));
    for (int l = 0; l < 2; ++l) {
        EXPECT_EQ(stack[l].getServer(), stack.getServer());
    }
    EXPECT_EQ(stack[1].getIndex(0), 2);
    stack[0][0][0] = 77;
    EXPECT_EQ(coordinatesOf(sharing), (Ints{1, 2, 3}));
    VertexServer<int>* own = stack.getServer();
    stack.detach();
    EXPECT_EQ(stack.getServer(), own); // nobody shares it
    const Vertices<int> other(stack[1]);
    stack.detach();
    EXPECT_NE(stack.getServer(), own);
    VertexStack<int> empty;
    empty.detach();
    EXPECT_EQ(empty.getServer(), nullptr);
}

TEST(VertexStack, copiesShareCoordinatesAndHaveLevelsOfTheirOwn) {
    VertexStack<int> stack = stackOf({{1, 2}, {3}});
    const std::unique_ptr<VertexStack<int>> clone(stack.clone());
    VertexStack<int> assigned = stackOf({{9}});
    assigned = stack;
    stack[0][1][0] = 8;
    stack.remove(1);
    EXPECT_EQ(coordinatesOf(*clone), (Ints{1, 8, 3}));
    EXPECT_EQ(coordinatesOf(assigned), (Ints{1, 8, 3}));
    Shape<int>& base = assigned;
    EXPECT_THROW(base = Vertices<int>(), std::bad_cast);
    EXPECT_EQ(assigned.getHeight(), 2);
}

TEST(VertexStack, closestPointMapHoldsLevelAndPositionOfTheFirstNearest) {
    VertexStack<float> own;
    own.append(randomVertices<float>(2, 17, 5, 1));
    own.append(Vertices<float>(2, 0, 0, 0));
    own.append(randomVertices<float>(2, 40, 5, 2));
    VertexStack<float> other;
    for (unsigned int l = 0; l < 4; ++l) {
        other.append(randomVertices<float>(2, int(7 * l), 5, 3 + l));
    }
    const VertexStack<float> map = own.closestPointMap(other);
    ASSERT_EQ(map.getHeight(), 3);
    EXPECT_EQ(map.getSpace(), 2);
    for (int l = 0; l < 3; ++l) {
        ASSERT_EQ(map[l].getSize(), own[l].getSize());
        for (int k = 0; k < own[l].getSize(); ++k) {
            std::pair<int, int> best(1, 0);
            for (int m = 0; m < 4; ++m) {
                for (int i = 0; i < other[m].getSize(); ++i) {
                    if (own[l][k].sdistance(other[m][i]) < own[l][k].sdistance(other[best.first][best.second])) {
                        best = {m, i};
                    }
                }
            }
            EXPECT_EQ(map[l][k], vectorOf<float>({float(best.first), float(best.second)}));
        }
    }
    EXPECT_EQ(own.closestPointMap(VertexStack<float>())[0][0], vectorOf<float>({-1, -1}));
}

} // namespace vorlen
