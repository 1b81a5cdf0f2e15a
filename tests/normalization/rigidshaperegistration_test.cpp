#include <gtest/gtest.h>

#include <limits>

#include "normalization/leastsquaresrigidshaperegistration.h"
#include "normalization/principalaxesshaperegistration.h"
#include "normalization/shapemaker.h"
#include "numerics/exception.h"
#include "support/failures.h"

namespace vorlen {

namespace {

template <class T>
double sumOfSquares(const Shape<T>& moving, const Shape<T>& target, const Motion<T>& motion) {
    double sum = 0;
    ConstVertexIterator<T> other(target);
    for (ConstVertexIterator<T> it(moving); it.current(); ++it, ++other) {
        sum += double(motion(*it.current()).sdistance(*other.current()));
    }
    return sum;
}

} // namespace

template <class T>
class RigidRegistration : public testing::Test {};
using Reals = testing::Types<float, double, long double>;
TYPED_TEST_SUITE(RigidRegistration, Reals);

TYPED_TEST(RigidRegistration, recoversAnyMotionOfAShape) {
    using T = TypeParam;
    std::mt19937 random(17);
    // Compared as double numbers.
    const double tolerance =
        1e4 * std::max(double(std::numeric_limits<T>::epsilon()), std::numeric_limits<double>::epsilon());
    const auto shape = bumpyTube<T>(5, 14, 30, 0.3, true);
    for (int trial = 0; trial < 30; ++trial) {
        const Motion<T> motion = randomMotion<T>(random, 3.1, 500);
        QuadMesh<T> target(*shape);
        target.detach();
        move(target, motion);
        LeastSquaresRigidShapeRegistration<T> registration;
        registration.fit(*shape, target);
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                EXPECT_NEAR(double(motion.rotation[i][j]), double(registration.getRotationMatrix()[i][j]),
                            tolerance / 500);
            }
            EXPECT_NEAR(double(motion.translation[i]), double(registration.getTranslationVector()[i]), tolerance);
        }
        // The motion takes the caps along.
        QuadMesh<T> moved(*shape);
        moved.detach();
        registration.apply(moved);
        EXPECT_LT(greatestDifference(coordinatesOf(target), coordinatesOf(moved)), tolerance);
        EXPECT_LT(greatestDifference(coordinatesOf(target.getEndCap()), coordinatesOf(moved.getEndCap())), tolerance);
    }
}

TYPED_TEST(RigidRegistration, keepsScaleAndTurnsAReflectionIntoTheBestRotation) {
    using T = TypeParam;
    const auto shape = bumpyTube<T>(4, 10, 10);
    // Twice as great: the best rigid map leaves it at its size, centre on centre.
    QuadMesh<T> great(*shape);
    great.detach();
    great *= T(2);
    LeastSquaresRigidShapeRegistration<T> registration;
    registration.fit(*shape, great);
    EXPECT_LT(rotationDefect(registration.getRotationMatrix()), 1e-5);
    EXPECT_NEAR(1, double(registration.getRotationMatrix()[0][0]), 1e-5);
    EXPECT_NEAR(double(shape->cog()[1]), double(registration.getTranslationVector()[1]), 1e-4);

    std::mt19937 random(3);
    for (int axis = 0; axis < 3; ++axis) {
        QuadMesh<T> mirrored(*shape);
        mirrored.detach();
        Vector<T> scales(3);
        scales.fill(1);
        scales[axis] = -1;
        mirrored.scale(scales);
        registration.fit(*shape, mirrored);
        EXPECT_LT(rotationDefect(registration.getRotationMatrix()), 1e-5);
        const Motion<T> best = {registration.getRotationMatrix(), registration.getTranslationVector()};
        const double least = sumOfSquares(*shape, mirrored, best);
        for (int trial = 0; trial < 200; ++trial) {
            const double size = trial % 2 ? 0.1 : 3; // near the best rotation, and anywhere
            Motion<T> other = randomMotion<T>(random, size, 0);
            other.rotation = other.rotation * best.rotation;
            other.translation = mirrored.cog() - other.rotation * shape->cog();
            EXPECT_GE(sumOfSquares(*shape, mirrored, other), least * (1 - 1e-5));
        }
    }
}

TYPED_TEST(RigidRegistration, copesWithShapesThatLeaveTheRotationOpen) {
    using T = TypeParam;
    LeastSquaresRigidShapeRegistration<T> registration;
    Vertices<T> point(3, 1, 1, 1), there(3, 1, 1, 1);
    point[0] = vectorOf<T>({1, 2, 3});
    there[0] = vectorOf<T>({-4, 0, 9});
    registration.fit(point, there);
    Vector<T> v = point[0];
    registration.apply(v);
    EXPECT_LT(double(v.distance(there[0])), 1e-5);

    Vertices<T> line(3, 4, 4, 4), turned(3, 4, 4, 4);
    for (int i = 0; i < 4; ++i) {
        line[i] = vectorOf<T>({T(i), 0, 0});
        turned[i] = vectorOf<T>({5, T(7 - i), 2});
    }
    registration.fit(line, turned);
    EXPECT_LT(rotationDefect(registration.getRotationMatrix()), 1e-5);
    registration.apply(line);
    EXPECT_LT(double(line.rmsDistance(turned)), 1e-5);
}

TEST(LeastSquaresRigidShapeRegistration, refusesWhatDoesNotCorrespond) {
    LeastSquaresRigidShapeRegistration<float> registration;
    Vertices<float> three(3, 3, 3, 3), two(3, 2, 2, 2), none(3, 0, 0, 0);
    const auto fit = [&](const Shape<float>& a, const Shape<float>& b) { registration.fit(a, b); };
    expectFailure<ProgramError>([&] { fit(three, two); }, "void RigidShapeRegistration<T>::fit(...)",
                                "Moving and target shapes have distinct sizes");
    EXPECT_THROW(fit(none, none), SizeError);
    Vertices<float> plane(2, 3, 3, 3);
    for (int i = 0; i < 3; ++i) {
        plane[i] = vectorOf<float>({float(i), float(i * i)});
        three[i] = vectorOf<float>({float(i), float(i * i), 1});
    }
    EXPECT_THROW(fit(three, plane), SizeError);
    three[1][1] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_THROW(fit(three, three), MathError);
    // Nothing of all that left a transform.
    Vector<float> v = vectorOf<float>({1, 2, 3});
    EXPECT_THROW(registration.apply(v), SizeError);
    EXPECT_EQ(vectorOf<float>({1, 2, 3}), v);
    // In the plane it is a plane motion.
    registration.fit(plane, plane);
    Vector<float> w = vectorOf<float>({4, 5});
    registration.apply(w);
    EXPECT_NEAR(4, w[0], 1e-5);
    EXPECT_NEAR(5, w[1], 1e-5);
}

TYPED_TEST(RigidRegistration, principalAxesPutTheLongestAxisFirstAndTheCentreAtTheOrigin) {
    using T = TypeParam;
    // Corners of a box of 2 by 10 by 4: scatter 8 (1, 25, 4) along its own axes.
    Vertices<T> box(3, 8, 8, 8);
    for (int i = 0; i < 8; ++i) {
        box[i] = vectorOf<T>({T(i & 1 ? 1 : -1), T(i & 2 ? 5 : -5), T(i & 4 ? 2 : -2)});
    }
    move(box, motionOf<T>(0.4, 1.1, -0.7, 100, -50, 20));
    PrincipalAxesShapeRegistration<T> registration;
    const ShapeRegistration<T>& base = registration;
    EXPECT_EQ(0, registration.getTranslationVector().getSize());
    registration.fit(box, box);
    EXPECT_EQ(0, registration.getTranslationVector().getSize()) << "a fit on a target does nothing";
    registration.fit(box);
    EXPECT_LT(rotationDefect(registration.getRotationMatrix()), 1e-5);
    static_cast<ShapeRegistration<T>&>(registration).apply(static_cast<Shape<T>&>(box));
    EXPECT_TRUE(base.isValidAt(box[0]));
    for (int i = 0; i < 8; ++i) {
        EXPECT_NEAR(5, std::abs(double(box[i][0])), 1e-4);
        EXPECT_NEAR(2, std::abs(double(box[i][1])), 1e-4);
        EXPECT_NEAR(1, std::abs(double(box[i][2])), 1e-4);
    }
    EXPECT_LT(double(box.cog().norm()), 1e-4);

    EXPECT_THROW(registration.fit(Vertices<T>(3, 0, 0, 0)), SizeError);
    EXPECT_THROW(registration.fit(ShapeSet<T>()), SizeError);
}

// Whatever way a shape lies before, it lies the same way afterwards, and not head over heels.
TEST(PrincipalAxesShapeRegistration, laysCopiesOfAShapeAlike) {
    std::mt19937 random(8);
    const auto first = bumpyTube<double>(7, 18, 12);
    PrincipalAxesShapeRegistration<double> registration;
    registration.fit(*first);
    registration.apply(*first);
    for (int trial = 0; trial < 20; ++trial) {
        const auto copy = bumpyTube<double>(7, 18, 12);
        move(*copy, randomMotion<double>(random, 3, 40));
        registration.fit(*copy);
        EXPECT_LT(rotationDefect(registration.getRotationMatrix()), 1e-12);
        registration.apply(*copy);
        EXPECT_LT(copy->rmsDistance(*first), 1e-9);
    }
}

TEST(PrincipalAxesShapeRegistration, seesASetAsOneCloudOfVertices) {
    const auto set = specimen<double>(5, 12, true);
    PrincipalAxesShapeRegistration<double> ofSet, ofCloud;
    ofSet.fit(*set);
    const Vertices<double> cloud = set->asVertexStack().cat();
    ofCloud.fit(cloud);
    EXPECT_EQ(ofCloud.getTranslationVector(), ofSet.getTranslationVector());
    EXPECT_TRUE(ofCloud.getRotationMatrix() == ofSet.getRotationMatrix());
    ofSet.apply(*set);
    Vector<double> centre;
    const SquareMatrix<double> scatter = set->asVertexStack().inertia(centre);
    EXPECT_LT(centre.norm(), 1e-10);
    EXPECT_GT(scatter[0][0], scatter[1][1]);
    EXPECT_GT(scatter[1][1], scatter[2][2]);
    EXPECT_LT(std::abs(scatter[0][1]) + std::abs(scatter[0][2]) + std::abs(scatter[1][2]), 1e-8 * scatter[0][0]);
}

} // namespace vorlen
