#include "shapes/shapeset.h"

#include <gtest/gtest.h>

#include "support/testcurves.h"

namespace vorlen {

namespace {

/// Counts how often it is destroyed.
class Watched : public Vertices<float> {
public:
    explicit Watched(int& destroyed) : Vertices<float>(2, 3, 3, 3), __destroyed(&destroyed) {}
    ~Watched() override { ++*__destroyed; }
    using Vertices<float>::operator=;

private:
    int* __destroyed;
};

} // namespace

TEST(ShapeSet, seesShapesWithAFlagForEachAndNullForMissingOnes) {
    Vertices<float> points(2, 3, 3, 3);
    Curve<float> curve = polygonOf<float>(5, 1);
    ShapeSet<float> set;
    set.setName("specimen");
    EXPECT_FALSE(set.onlyReference());
    EXPECT_FALSE(set.onlyShapeType(VerticesType));
    set.addShape(&points, true);
    EXPECT_TRUE(set.onlyReference());
    EXPECT_TRUE(set.onlyShapeType(VerticesType));
    set.addShape(nullptr, true);
    EXPECT_FALSE(set.onlyShapeType(VerticesType));
    set.addShape(&curve, false);
    EXPECT_EQ(set.getSize(), 3);
    EXPECT_EQ(set.getNumShapes(), 3);
    EXPECT_EQ(set.numVertices(), 8);
    EXPECT_FALSE(set.onlyReference());
    EXPECT_EQ(set[2], &curve);
    EXPECT_FALSE(set.isReference(2));

    const ShapeSet<float> references = set.referenceShapeSet();
    ASSERT_EQ(references.getSize(), 2);
    EXPECT_EQ(references[0], &points);
    EXPECT_EQ(references[1], nullptr);
    EXPECT_TRUE(references.onlyReference());

    set.removeShape(&points);
    EXPECT_EQ(set.getSize(), 2);
    EXPECT_TRUE(set.isReference(0));
    EXPECT_FALSE(set.isReference(1));
    set.removeShape(&points);
    EXPECT_EQ(set.getSize(), 2);
}

TEST(ShapeSet, onlyClearDestroysTheShapesAndEachOnce) {
    int destroyed = 0;
    ShapeSet<float> set;
    {
        ShapeSet<float> builder;
        auto* shape = new Watched(destroyed); // owned by whoever clears
        builder.addShape(shape, false);
        builder.addShape(nullptr, false);
        builder.addShape(new Watched(destroyed), true);
        builder.addShape(shape, true);
        set = builder;
    }
    EXPECT_EQ(destroyed, 0);
    set.clear();
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(set.getSize(), 0);
    set.clear();
    EXPECT_EQ(destroyed, 2);
}

} // namespace vorlen
