#include <gtest/gtest.h>

#include "normalization/shapemaker.h"
#include "normalization/shapesetgroup.h"
#include "numerics/exception.h"
#include "shapes/trimesh.h"
#include "support/failures.h"

namespace vorlen {

namespace {

const char* const averagePlace = "Shape<T>& ShapeSet<T>::average() const";

std::unique_ptr<Vertices<double>> pointsOf(const std::vector<Vector<double>>& points) {
    const int n = int(points.size());
    auto shape = std::make_unique<Vertices<double>>(3, n, n, n);
    for (int i = 0; i < n; ++i) {
        (*shape)[i] = points[std::size_t(i)];
    }
    return shape;
}

Vector<double> p(double x, double y, double z) {
    return vectorOf<double>({x, y, z});
}

} // namespace

TEST(ShapeSet, nullEntriesCountAsEntriesAndHaveNoVertices) {
    OwnedSet<double> set;
    set.addShape(nullptr, false);
    EXPECT_EQ(0, set.asVertexStack().getSize());
    set.add(pointsOf({p(1, 2, 3), p(4, 5, 6)}), false);
    set.addShape(nullptr, false);
    EXPECT_EQ(3, set.getSize());
    EXPECT_EQ(2, set.numVertices());
    EXPECT_EQ(2, set.asVertexStack().getSize());
    EXPECT_EQ(1, set.asVertexStack().getHeight());
    EXPECT_EQ(0, set.referenceShapeSet().getSize());
    EXPECT_FALSE(set.onlyReference());
}

TEST(ShapeSet, asVertexStackGivesShapesLevelsAndExtensionsInOrderOnTheSameCoordinates) {
    OwnedSet<double> set;
    auto tube = std::make_unique<QuadMesh<double>>(tubeMesh<double>(2, 4, 3));
    tube->buildEndCap();
    QuadMesh<double>& mesh = *tube;
    set.add(pointsOf({p(7, 8, 9)}), true);
    set.addShape(nullptr, false);
    set.add(std::move(tube), true);
    set.add(std::make_unique<TriMesh<double>>(cubeMesh<double>(2)), false);
    VertexStack<double> stack = set.asVertexStack();
    // The point, 2 levels and 10 rings of the cap, the corners of the cube.
    ASSERT_EQ(1 + 2 + 10 + 1, stack.getHeight());
    EXPECT_EQ(1 + 8 + 40 + 8, stack.getSize());
    EXPECT_EQ(p(7, 8, 9), stack[0][0]);
    EXPECT_EQ(mesh[1][2], stack[2][2]);
    EXPECT_EQ(mesh.getEndCap()[9][3], stack[12][3]);
    EXPECT_EQ(p(2, 2, 2), stack[13][7]);
    stack[1][0][0] = 55;
    EXPECT_EQ(55, mesh[0][0][0]);
}

TEST(ShapeSet, matchSurfacesUndoesATurnOfClosedSurfacesAndLeavesAllElseAlone) {
    OwnedSet<float> still, turned;
    for (OwnedSet<float>* set : {&still, &turned}) {
        set->addShape(nullptr, false);
        set->add(bumpyTube<float>(4, 12, 10, 0, true), true);
        auto open = bumpyTube<float>(4, 12, 10);
        open->setOpen(true);
        set->add(std::move(open), false);
        set->add(bumpyTube<float>(4, set == &still ? 12 : 9, 10), false);
        set->add(std::make_unique<Vertices<float>>(3, 1, 1, 1), false);
        (*(*set)[4]->vertexIterator()->current()).setZeros();
    }
    auto& mesh = dynamic_cast<QuadMesh<float>&>(*turned[1]);
    const std::vector<float> before = coordinatesOf(mesh);
    const std::vector<float> capBefore = coordinatesOf(mesh.getBeginCap());
    turn(mesh, 5);
    turn(mesh.getBeginCap(), 5);
    const Vector<int> shifts = turned.matchSurfaces(still);
    EXPECT_EQ(vectorOf<int>({0, 7, 0, 0, 0}), shifts);
    EXPECT_EQ(before, coordinatesOf(mesh));
    EXPECT_EQ(capBefore, coordinatesOf(mesh.getBeginCap()));
}

TEST(ShapeSet, rmsDistancesPairShapesOfEqualRankAndRefuseWhatHasNoDistance) {
    OwnedSet<double> a, b;
    a.add(pointsOf({p(0, 0, 0), p(1, 0, 0)}), true);
    a.add(pointsOf({p(0, 0, 0)}), true);
    b.add(pointsOf({p(0, 3, 0), p(1, 0, 5)}), true);
    b.add(pointsOf({p(2, 3, 6)}), true);
    // sqrt((9 + 25) / 2) and sqrt(4 + 9 + 36).
    const Vector<float> distances = a.rmsDistances(b);
    ASSERT_EQ(2, distances.getSize());
    EXPECT_FLOAT_EQ(std::sqrt(17.0f), distances[0]);
    EXPECT_FLOAT_EQ(7, distances[1]);
    EXPECT_THROW(a.rmsDistances(a), ValueError);
    b.addShape(nullptr, true);
    EXPECT_THROW(a.rmsDistances(b), SizeError);
    a.add(pointsOf({p(0, 0, 0)}), true);
    EXPECT_THROW(a.rmsDistances(b), UsageError);
}

TEST(ShapeSet, averageIsANewShapeThatPassesOverNullEntries) {
    OwnedSet<double> set;
    EXPECT_EQ(nullptr, set.average());
    set.add(pointsOf({p(1, 2, 3), p(0, 0, 6)}), false);
    set[0]->setName("spot");
    std::unique_ptr<Shape<double>> one(set.average());
    EXPECT_EQ(coordinatesOf(*set[0]), coordinatesOf(*one));
    EXPECT_EQ("spot", one->getName());
    *one *= 100;
    EXPECT_EQ(p(1, 2, 3), *set[0]->vertexIterator()->current());

    set.addShape(nullptr, false);
    set.add(pointsOf({p(3, 2, 1), p(3, 0, 0)}), false);
    const std::unique_ptr<Shape<double>> two(set.average());
    EXPECT_EQ((std::vector<double>{2, 2, 2, 1.5, 0, 3}), coordinatesOf(*two));

    set.add(bumpyTube<double>(2, 3, 1), false);
    expectFailure<UsageError>([&] { set.average(); }, averagePlace, "Shapes in this set are not of the same type");
}

TEST(ShapeSet, computeMeanGathersTheSurfacesOfEachRank) {
    OwnedSet<float> first, second, third;
    first.addShape(nullptr, true);
    second.add(bumpyTube<float>(3, 5, 10, 0, true), true);
    third.add(bumpyTube<float>(3, 5, 10, 0, true), false);
    move(*third[0], motionOf<float>(0, 0, 0, 2, 4, 6));
    second[0]->setName("second's");
    third[0]->setName("third's");
    first.add(std::make_unique<Vertices<float>>(3, 2, 2, 2), true);
    second.addShape(nullptr, false);
    third.add(std::make_unique<Vertices<float>>(3, 2, 2, 2), true);
    first.add(bumpyTube<float>(3, 5, 1), false);
    auto open = bumpyTube<float>(3, 5, 9);
    open->setOpen(true);
    second.add(std::move(open), true);

    const OwnedSet<float> mean(ShapeSet<float>::computeMean({&first, &second, &third}));
    EXPECT_EQ("mean", mean.getName());
    ASSERT_EQ(3, mean.getSize());
    // Of rank 0 the first set has none, and the second set is the first one that counts.
    EXPECT_EQ("second's", mean[0]->getName());
    EXPECT_TRUE(mean.isReference(0));
    const auto& surface = dynamic_cast<const QuadMesh<float>&>(*mean[0]);
    const auto& of = dynamic_cast<const QuadMesh<float>&>(*second[0]);
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(of[2][3][k] + float(k + 1), surface[2][3][k], 1e-5f);
        EXPECT_NEAR(of.getEndCap()[9][1][k] + float(k + 1), surface.getEndCap()[9][1][k], 1e-5f);
    }
    EXPECT_EQ(nullptr, mean[1]);
    EXPECT_FALSE(mean.isReference(1));
    // The open surface is none of the closed one's kind.
    EXPECT_EQ(coordinatesOf(*first[2]), coordinatesOf(*mean[2]));
    EXPECT_FALSE(mean.isReference(2));
}

TEST(ShapeSetGroup, averageIsAReferenceOnlyWhereAllEntriesAre) {
    OwnedSet<double> a, b, c;
    for (OwnedSet<double>* set : {&a, &b, &c}) {
        const double x = set == &a ? 0 : set == &b ? 3 : 9;
        set->add(pointsOf({p(x, 1, 1)}), true);
        set->add(pointsOf({p(1, x, 1)}), set != &b);
        set->addShape(set == &c ? pointsOf({p(5, 6, 7)}).release() : nullptr, true);
        set->addShape(nullptr, false);
    }
    ShapeSetGroup<double> group;
    EXPECT_EQ(0, group.average().getSize());
    for (OwnedSet<double>* set : {&a, &b, &c}) {
        group.addShapeSet(*set);
    }
    const OwnedSet<double> average(group.average());
    ASSERT_EQ(4, average.getSize());
    EXPECT_EQ((std::vector<double>{4, 1, 1}), coordinatesOf(*average[0]));
    EXPECT_TRUE(average.isReference(0));
    EXPECT_FALSE(average.isReference(1));
    EXPECT_EQ((std::vector<double>{5, 6, 7}), coordinatesOf(*average[2]));
    EXPECT_EQ(nullptr, average[3]);

    group.removeShapeSet(b);
    EXPECT_EQ(2, group.getNumShapeSets());
    EXPECT_EQ(&c, &group[1]);
    const OwnedSet<double> two(group.average());
    EXPECT_EQ((std::vector<double>{4.5, 1, 1}), coordinatesOf(*two[0]));
    EXPECT_TRUE(two.isReference(1));
}

} // namespace vorlen
