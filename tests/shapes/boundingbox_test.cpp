#include "shapes/boundingbox.h"

#include <cmath>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/testcurves.h"

namespace vorlen {

namespace {

template <class T>
BoundingBox<T> boxOf(std::initializer_list<T> first, std::initializer_list<T> second) {
    return BoundingBox<T>(vectorOf<T>(first), vectorOf<T>(second));
}

} // namespace

TEST(BoundingBox, isValidWithTwoCornersOfOneDimension) {
    EXPECT_FALSE(BoundingBox<float>().isValid());
    EXPECT_FALSE(boxOf<float>({1}, {1, 2}).isValid());
    EXPECT_TRUE(boxOf<float>({5}, {1}).isValid());
}

TEST(BoundingBox, measuresWhateverTheOrderOfItsCorners) {
    BoundingBox<double> box = boxOf<double>({5, -1, 0}, {2, 3, 0});
    EXPECT_EQ(box.min(0), 2);
    EXPECT_EQ(box.max(0), 5);
    EXPECT_EQ(box.widths(), vectorOf<double>({3, 4, 0}));
    EXPECT_EQ(box.diagonal(), 5);
    EXPECT_EQ(box.cog(), vectorOf<double>({3.5, 1, 0}));
    EXPECT_FALSE(box.contains(vectorOf<double>({3, 0, 0})));
    box.rectify();
    EXPECT_EQ(box.getVertex1(), vectorOf<double>({2, -1, 0}));
    EXPECT_EQ(box.getVertex2(), vectorOf<double>({5, 3, 0}));
    EXPECT_TRUE(box.contains(vectorOf<double>({3, 0, 0})));
    EXPECT_TRUE(box.contains(box.getVertex1()));
    EXPECT_TRUE(box.contains(box.getVertex2()));
    EXPECT_FALSE(box.contains(vectorOf<double>({3, 0, 0.1})));
    EXPECT_THROW(box.contains(vectorOf<double>({3, 0})), SizeError);
}

TEST(BoundingBox, expandsByOneMarginOrOneForEachAxis) {
    BoundingBox<float> box = boxOf<float>({0, 0}, {1, 2});
    box.expand(1);
    EXPECT_EQ(box.getVertex1(), vectorOf<float>({-1, -1}));
    EXPECT_EQ(box.getVertex2(), vectorOf<float>({2, 3}));
    box.expand(vectorOf<float>({0, -1}));
    EXPECT_EQ(box.getVertex1(), vectorOf<float>({-1, 0}));
    EXPECT_EQ(box.getVertex2(), vectorOf<float>({2, 2}));
    EXPECT_THROW(box.expand(vectorOf<float>({1})), SizeError);
    EXPECT_EQ(box.getVertex1(), vectorOf<float>({-1, 0}));
}

TEST(BoundingBox, adjustsItsWidthsToWholeSteps) {
    BoundingBox<double> box = boxOf<double>({0, 0, 1}, {10, 9, 1});
    EXPECT_EQ(box.adjustToResolution(2.5), vectorOf<int>({4, 4, 0}));
    EXPECT_EQ(box.getVertex1(), vectorOf<double>({0, -0.5, 1}));
    EXPECT_EQ(box.getVertex2(), vectorOf<double>({10, 9.5, 1}));
    BoundingBox<int> whole = boxOf<int>({0}, {8});
    EXPECT_EQ(whole.adjustToResolution(3), vectorOf<int>({3}));
    EXPECT_EQ(whole.width(0), 9);
    for (const double resolution : {0.0, -1.0, std::nan(""), 1e-300}) {
        EXPECT_THROW(box.adjustToResolution(resolution), ValueError) << resolution;
    }
    EXPECT_EQ(box.getVertex2(), vectorOf<double>({10, 9.5, 1}));
}

TEST(BoundingBox, findsAnyVertexOfAShape) {
    const BoundingBox<int> box = boxOf<int>({0, 0}, {4, 4});
    CurveStack<int> stack;
    stack.append(curveOf<int>({{9, 9}, {5, 5}}));
    EXPECT_FALSE(box.containsAny(stack));
    stack.append(curveOf<int>({{9, 9}, {4, 0}}));
    EXPECT_TRUE(box.containsAny(stack));
    EXPECT_FALSE(box.containsAny(Vertices<int>()));
}

TEST(BoundingBox, mergesAndTakesTheEmptyBoxAsNothing) {
    const BoundingBox<int> a = boxOf<int>({0, 5}, {3, 6});
    const BoundingBox<int> b = boxOf<int>({-2, 7}, {1, 9});
    const BoundingBox<int> both = a.merge(b);
    EXPECT_EQ(both.getVertex1(), vectorOf<int>({-2, 5}));
    EXPECT_EQ(both.getVertex2(), vectorOf<int>({3, 9}));
    EXPECT_EQ(BoundingBox<int>().merge(a).getVertex2(), a.getVertex2());
    EXPECT_EQ(a.merge(BoundingBox<int>()).getVertex1(), a.getVertex1());
    EXPECT_THROW(a.merge(boxOf<int>({1}, {2})), SizeError);
}

TEST(BoundingBox, itsCornersFollowTheBitsOfTheirNumber) {
    const Vertices<int> corners = boxOf<int>({1, 2}, {8, 9}).vertices();
    EXPECT_EQ(coordinatesOf(corners), (std::vector<int>{8, 9, 1, 9, 8, 2, 1, 2}));
    EXPECT_EQ((boxOf<int>({0, 0, 0}, {1, 1, 1}).vertices().getSize()), 8);
    EXPECT_THROW(boxOf<int>({1}, {1, 2}).vertices(), SizeError);
}

} // namespace vorlen
