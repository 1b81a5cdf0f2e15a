#include "normalization/thinplatesplinewarp2d.h"
#include "normalization/thinplatesplinewarp3d.h"

#include <cmath>

#include <gtest/gtest.h>

#include "normalization/points.h"
#include "normalization/radialkernels.h"
#include "numerics/exception.h"
#include "numerics/squarematrix.h"
#include "support/vectors.h"

namespace vorlen {

namespace {

/// The spline's displacement at v from its definition: the whole system, inverted.
Vector<double> displacementByInverse(const RadialBasisFunctionWarp<double>& warp, const Vertices<double>& moving,
                                     const Vertices<double>& target, const Vector<double>& v) {
    const int n = moving.getSize(), d = moving.getSpace(), q = n + d + 1;
    SquareMatrix<double> system(q);
    Matrix<double> wanted(q, d);
    system.fill(0);
    wanted.fill(0);
    for (int k = 0; k < n; ++k) {
        for (int l = 0; l < n; ++l)
            system(k, l) = k == l ? 0 : warp.rbf(moving[k], moving[l]);
        for (int a = 0; a < d; ++a) {
            system(k, n + a) = system(n + a, k) = moving[k][a];
            wanted(k, a) = target[k][a] - moving[k][a];
        }
        system(k, n + d) = system(n + d, k) = 1;
    }
    const Matrix<double> coefficients = system.inverse() * wanted;
    Vector<double> displacement(d);
    for (int a = 0; a < d; ++a) {
        displacement[a] = coefficients(n + d, a);
        for (int k = 0; k < n; ++k)
            displacement[a] += coefficients(k, a) * warp.rbf(v, moving[k]);
        for (int m = 0; m < d; ++m)
            displacement[a] += coefficients(n + m, a) * v[m];
    }
    return displacement;
}

template <class Warp>
void expectDefinition(int space) {
    const Vertices<double> moving = randomPoints<double>(space, 25, -3, 3, 11);
    const Vertices<double> target = randomPoints<double>(space, 25, -3, 3, 12);
    Warp warp;
    warp.fit(moving, target);
    const Vertices<double> places = randomPoints<double>(space, 20, -6, 6, 13);
    for (int i = 0; i < places.getSize(); ++i) {
        const Vector<double> expected = displacementByInverse(warp, moving, target, places[i]);
        EXPECT_LT(warp.eval(places[i]).distance(expected), 1e-10);
    }
}

/// Targets drawn at random, so that the warp is rough; more control points than one block of kernels holds.
template <class Warp, class T>
void expectInterpolation(int space, double tolerance) {
    const Vertices<T> moving = randomPoints<T>(space, 300, 0, 100, 21);
    const Vertices<T> target = randomPoints<T>(space, 300, 0, 100, 22);
    Warp warp;
    warp.fit(moving, target);
    for (int i = 0; i < moving.getSize(); ++i) {
        Vector<T> v = moving[i];
        warp.apply(v);
        ASSERT_LT(v.distance(target[i]), tolerance) << "control point " << i;
    }
}

/// The bending part of an affine map is null: the warp is the map itself, also far from the control points.
template <class Warp, class T>
void expectAffineReproduction(int space, double tolerance) {
    const Vertices<T> moving = randomPoints<T>(space, 40, -1, 1, 31);
    Warp warp;
    warp.fit(moving, imagesOf(moving, affineImage<T>));
    const Vertices<T> places = randomPoints<T>(space, 40, -10, 10, 32);
    for (int i = 0; i < places.getSize(); ++i) {
        Vector<T> v = places[i];
        warp.apply(v);
        EXPECT_LT(v.distance(affineImage(places[i])), tolerance);
    }
}

template <class Error>
void expectRefused(const Vertices<double>& moving, const Vertices<double>& target) {
    // A warp that was fitted before stays as it was.
    const Vertices<double> before = randomPoints<double>(3, 8, 0, 1, 1);
    ThinPlateSplineWarp3D<double> warp;
    warp.fit(before, imagesOf(before, affineImage<double>));
    EXPECT_THROW(warp.fit(moving, target), Error);
    Vector<double> v = vectorOf<double>({0.2, 0.4, 0.6});
    const Vector<double> expected = affineImage(v);
    warp.apply(v);
    EXPECT_LT(v.distance(expected), 1e-12);
}

} // namespace

TEST(ThinPlateSpline, isTheSolutionOfTheWholeSystem) {
    expectDefinition<ThinPlateSplineWarp2D<double>>(2);
    expectDefinition<ThinPlateSplineWarp3D<double>>(3);
}

TEST(ThinPlateSpline, carriesControlPointsToTheirTargets) {
    expectInterpolation<ThinPlateSplineWarp2D<float>, float>(2, 1e-4);
    expectInterpolation<ThinPlateSplineWarp2D<double>, double>(2, 1e-7);
    expectInterpolation<ThinPlateSplineWarp2D<long double>, long double>(2, 1e-10);
    expectInterpolation<ThinPlateSplineWarp3D<float>, float>(3, 1e-4);
    expectInterpolation<ThinPlateSplineWarp3D<double>, double>(3, 1e-10);
    expectInterpolation<ThinPlateSplineWarp3D<long double>, long double>(3, 1e-13);
}

TEST(ThinPlateSpline, reproducesAffineMaps) {
    expectAffineReproduction<ThinPlateSplineWarp2D<float>, float>(2, 1e-4);
    expectAffineReproduction<ThinPlateSplineWarp2D<double>, double>(2, 1e-11);
    expectAffineReproduction<ThinPlateSplineWarp3D<float>, float>(3, 1e-4);
    expectAffineReproduction<ThinPlateSplineWarp3D<double>, double>(3, 1e-11);
    expectAffineReproduction<ThinPlateSplineWarp3D<long double>, long double>(3, 1e-14);
}

// Values by hand; the squared distance e gives e ln e = e.
TEST(ThinPlateSpline, hasTheKernelsOfPlaneAndSpace) {
    const ThinPlateSplineWarp2D<double> plane;
    const ThinPlateSplineWarp3D<double> space;
    const Vector<double> origin = vectorOf<double>({0, 0});
    EXPECT_EQ(0, plane.rbf(origin, origin));
    EXPECT_EQ(0, plane.rbf(origin, vectorOf<double>({3e-8, 0})));
    EXPECT_NEAR(std::exp(1.0), plane.rbf(origin, vectorOf<double>({0, std::exp(0.5)})), 1e-14);
    EXPECT_NEAR(25 * std::log(25.0), plane.rbf(origin, vectorOf<double>({-3, 4})), 1e-13);
    EXPECT_EQ(0, space.rbf(vectorOf<double>({1, 2, 3}), vectorOf<double>({1, 2, 3})));
    EXPECT_EQ(7, space.rbf(vectorOf<double>({1, 1, 1}), vectorOf<double>({3, 4, 7})));
}

// All powers of two with a few fractions, and the roots of two at which the logarithm changes its exponent.
TEST(ThinPlateSpline, worksOutManyKernelsAsWellAsOne) {
    std::vector<double> squares;
    for (int e = -48; e <= 1000; ++e)
        for (const double m : {1.0, 1.0000000000000002, 1.25, 1.41421356, 1.41421357, 1.75, 1.9999999999999998})
            squares.push_back(std::ldexp(m, e));
    std::vector<double> kernels(squares);
    radialkernels::thinPlates(kernels.data(), int(kernels.size()), 1e-15);
    for (std::size_t k = 0; k < squares.size(); ++k) {
        const double expected = squares[k] * std::log(squares[k]);
        EXPECT_NEAR(expected, kernels[k], 6e-16 * std::abs(expected)) << squares[k];
    }
    double small[] = {0, 1e-15, 1e-300, 5e-324, std::nan("")};
    radialkernels::thinPlates(small, 5, 1e-15);
    for (const double value : small)
        EXPECT_EQ(0, value);
}

TEST(ThinPlateSpline, worksInAnyUnitOfLength) {
    for (const double scale : {1e-9, 1e-3, 1e6}) {
        const Vertices<double> moving = randomPoints<double>(3, 60, 0, scale, 41);
        const Vertices<double> target = randomPoints<double>(3, 60, 0, scale, 42);
        ThinPlateSplineWarp3D<double> warp;
        warp.fit(moving, target);
        for (int i = 0; i < moving.getSize(); ++i) {
            Vector<double> v = moving[i];
            warp.apply(v);
            EXPECT_LT(v.distance(target[i]), 1e-10 * scale);
        }
    }
}

TEST(ThinPlateSpline, staysThatOfTheFitWhenItsControlPointsMoveAway) {
    Vertices<double> moving = randomPoints<double>(3, 20, 0, 1, 51);
    const Vertices<double> target = randomPoints<double>(3, 20, 0, 1, 52);
    ThinPlateSplineWarp3D<double> warp;
    warp.fit(moving, target);
    warp.apply(moving);
    for (int i = 0; i < moving.getSize(); ++i)
        EXPECT_LT(moving[i].distance(target[i]), 1e-12);
}

TEST(ThinPlateSpline, refusesControlPointsThatDetermineNoWarp) {
    const Vertices<double> three = randomPoints<double>(3, 3, 0, 1, 61);
    const Vertices<double> many = randomPoints<double>(3, 80, 0, 1, 62);
    const Vertices<double> others = randomPoints<double>(3, 80, 0, 1, 63);
    expectRefused<MathError>(Vertices<double>(3, 0, 0, 0), Vertices<double>(3, 0, 0, 0));
    expectRefused<MathError>(three, three);
    Vertices<double> coincident(many);
    coincident.detach();
    coincident[70] = coincident[3];
    expectRefused<MathError>(coincident, others);
    const auto flatten = [](Vector<double> v) {
        v[2] = 0.3 * v[0] - 0.7 * v[1] + 5;
        return v;
    };
    expectRefused<MathError>(imagesOf(many, flatten), others);
    Vertices<double> undefined(many);
    undefined.detach();
    undefined[7][1] = std::nan("");
    expectRefused<MathError>(undefined, others);
    expectRefused<ProgramError>(three, many);
    expectRefused<SizeError>(many, randomPoints<double>(2, 80, 0, 1, 64));
}

TEST(ThinPlateSpline, leavesPointsInPlaceBeforeAFitAndRefusesThoseOfAnotherDimension) {
    ThinPlateSplineWarp3D<float> warp;
    Vector<float> v = vectorOf<float>({1, 2});
    warp.apply(v);
    EXPECT_EQ(vectorOf<float>({1, 2}), v);
    const Vertices<float> points = randomPoints<float>(3, 9, 0, 1, 71);
    warp.fit(points, points);
    EXPECT_THROW(warp.apply(v), SizeError);
}

} // namespace vorlen
