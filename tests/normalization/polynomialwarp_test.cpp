#include "normalization/polynomialwarp.h"

#include <gtest/gtest.h>

#include "normalization/points.h"
#include "numerics/exception.h"
#include "support/failures.h"
#include "support/vectors.h"

namespace vorlen {

namespace {

/// x + y^2, y - 2 x y + 3, z + x z: displacements of total degree 2.
template <class T>
Vector<T> quadraticImage(const Vector<T>& v) {
    return vectorOf<T>({v[0] + v[1] * v[1], v[1] - 2 * v[0] * v[1] + 3, v[2] + v[0] * v[2]});
}

template <class T>
PolynomialWarp<T> fitted(int degree, const Vertices<T>& moving, const Vertices<T>& target) {
    PolynomialWarp<T> warp;
    warp.setDegree(degree);
    warp.fit(moving, target);
    return warp;
}

template <class T, class Map>
void expectReproduction(int space, int degree, Map map, double tolerance) {
    const Vertices<T> moving = randomPoints<T>(space, 60, -1, 1, 5);
    const PolynomialWarp<T> warp = fitted(degree, moving, imagesOf(moving, map));
    const Vertices<T> places = randomPoints<T>(space, 30, -2, 2, 6);
    for (int i = 0; i < places.getSize(); ++i) {
        Vector<T> v = places[i];
        warp.apply(v);
        EXPECT_LT(v.distance(map(places[i])), tolerance);
    }
}

} // namespace

TEST(PolynomialWarp, reproducesMapsOfItsDegreeBesideTheVerticesOfTheFit) {
    expectReproduction<float>(2, 1, affineImage<float>, 1e-5);
    expectReproduction<double>(3, 1, affineImage<double>, 1e-12);
    expectReproduction<float>(3, 2, quadraticImage<float>, 1e-4);
    expectReproduction<double>(3, 2, quadraticImage<double>, 1e-12);
    expectReproduction<double>(3, 4, quadraticImage<double>, 1e-10);
    expectReproduction<long double>(3, 2, quadraticImage<long double>, 1e-15);
}

// The residual of the least-squares fit is orthogonal to every monomial on the vertices.
TEST(PolynomialWarp, isTheLeastSquaresApproximationOfTheDisplacements) {
    const Vertices<double> moving = randomPoints<double>(3, 50, -1, 1, 7);
    const Vertices<double> target = randomPoints<double>(3, 50, -1, 1, 8);
    const PolynomialWarp<double> warp = fitted(2, moving, target);
    std::vector<Polynomial<double>> monomials;
    Polynomial<double>::buildBasis(2, 3, monomials);
    for (const Polynomial<double>& monomial : monomials) {
        Vector<double> sum = vectorOf<double>({0, 0, 0});
        double greatest = 0;
        for (int i = 0; i < moving.getSize(); ++i) {
            Vector<double> v = moving[i];
            warp.apply(v);
            greatest = std::max(greatest, v.distance(target[i]));
            sum += (target[i] - v) * monomial.eval(moving[i]);
        }
        EXPECT_LT(sum.norm(), 1e-11);
        EXPECT_GT(greatest, 0.5); // there is something left over to be orthogonal
    }
}

// Coordinates as of pixels, far from the origin and in the thousands, whose cubes are beyond float.
TEST(PolynomialWarp, fitsFloatShapesFarFromTheOrigin) {
    const Vertices<float> moving = randomPoints<float>(3, 200, 1000, 3000, 9);
    const auto bend = [](Vector<float> v) {
        v[0] += 1e-5f * (v[1] - 2000) * (v[2] - 2000);
        return v;
    };
    const PolynomialWarp<float> warp = fitted(2, moving, imagesOf(moving, bend));
    for (int i = 0; i < moving.getSize(); ++i) {
        Vector<float> v = moving[i];
        warp.apply(v);
        EXPECT_LT(v.distance(bend(moving[i])), 0.01);
    }
}

TEST(PolynomialWarp, leavesAShapeThatIsItsOwnTargetInPlaceAndIsValidThere) {
    Vertices<float> shape = randomPoints<float>(3, 40, -5, 5, 10);
    PolynomialWarp<float> warp = fitted(3, shape, shape);
    EXPECT_EQ(0u, warp.jacobianErrors(static_cast<const Shape<float>&>(shape)));
    const Vector<float> before = shape.toVector();
    warp.apply(static_cast<Shape<float>&>(shape));
    EXPECT_EQ(before, shape.toVector());
}

// The map (x - x^2, y) turns over where 1 - 2 x changes sign, by hand; (x, -y) is a reflection everywhere.
TEST(PolynomialWarp, isValidWhereItKeepsTheOrientation) {
    const Vertices<double> moving = randomPoints<double>(2, 40, -1, 1, 14);
    const PolynomialWarp<double> fold = fitted(2, moving, imagesOf(moving, [](Vector<double> v) {
                                                   v[0] -= v[0] * v[0];
                                                   return v;
                                               }));
    EXPECT_TRUE(fold.isValidAt(vectorOf<double>({0.499, 3})));
    EXPECT_FALSE(fold.isValidAt(vectorOf<double>({0.501, 3})));
    int folded = 0;
    for (int i = 0; i < moving.getSize(); ++i)
        folded += moving[i][0] > 0.5;
    EXPECT_EQ(static_cast<unsigned int>(folded),
              PolynomialWarp<double>(fold).jacobianErrors(static_cast<const Shape<double>&>(moving)));

    const PolynomialWarp<double> mirror = fitted(1, moving, imagesOf(moving, [](Vector<double> v) {
                                                     v[1] = -v[1];
                                                     return v;
                                                 }));
    EXPECT_FALSE(mirror.isValidAt(vectorOf<double>({0, 0})));
    // A contraction by a million keeps the orientation all the same.
    const PolynomialWarp<double> contraction =
        fitted(1, moving, imagesOf(moving, [](Vector<double> v) { return v * 1e-6; }));
    EXPECT_TRUE(contraction.isValidAt(vectorOf<double>({0, 0})));
}

// In space the sign of a 3 by 3 determinant counts: two turned axes keep it, three and one change it.
TEST(PolynomialWarp, judgesTheOrientationOfSpace) {
    const Vertices<double> moving = randomPoints<double>(3, 40, -1, 1, 15);
    for (int turned = 0; turned < 8; ++turned) {
        const PolynomialWarp<double> warp =
            fitted(1, moving, imagesOf(moving, [turned](const Vector<double>& v) {
                       Vector<double> turnedPoint(3);
                       for (int a = 0; a < 3; ++a) // the axes in turn: an even permutation
                           turnedPoint[a] = ((turned >> a) & 1) ? -2 * v[(a + 1) % 3] : 3 * v[(a + 1) % 3];
                       return turnedPoint;
                   }));
        const int count = (turned & 1) + ((turned >> 1) & 1) + (turned >> 2);
        EXPECT_EQ(count % 2 == 0, warp.isValidAt(vectorOf<double>({0.3, -2, 1}))) << turned;
    }
}

TEST(PolynomialWarp, followsFlatShapesAndFewVerticesOnThem) {
    // On the plane z = 1 nothing tells z from a constant; the fit is exact on it.
    const auto flatten = [](Vector<double> v) {
        v[2] = 1;
        return v;
    };
    const Vertices<double> flat = imagesOf(randomPoints<double>(3, 30, -1, 1, 16), flatten);
    const Vertices<double> few = randomPoints<double>(3, 3, -1, 1, 17);
    testing::internal::CaptureStderr(); // the number of discarded terms
    const PolynomialWarp<double> onPlane = fitted(2, flat, imagesOf(flat, quadraticImage<double>));
    const PolynomialWarp<double> onFew = fitted(2, few, imagesOf(few, quadraticImage<double>));
    // Without vertices there is nothing to displace.
    PolynomialWarp<double> onNone = fitted(1, Vertices<double>(3, 0, 0, 0), Vertices<double>(3, 0, 0, 0));
    testing::internal::GetCapturedStderr();
    Vector<double> anywhere = vectorOf<double>({1, 2, 3});
    onNone.apply(anywhere);
    EXPECT_EQ(vectorOf<double>({1, 2, 3}), anywhere);
    for (int i = 0; i < flat.getSize(); ++i) {
        Vector<double> v = flat[i];
        onPlane.apply(v);
        EXPECT_LT(v.distance(quadraticImage(flat[i])), 1e-11);
    }
    for (int i = 0; i < few.getSize(); ++i) {
        Vector<double> v = few[i];
        onFew.apply(v);
        EXPECT_LT(v.distance(quadraticImage(few[i])), 1e-11);
    }
}

TEST(PolynomialWarp, refusesWhatItCannotFitAndKeepsItsState) {
    const char* const where = "void PolynomialWarp<T>::fit(const Shape<T>&, const Shape<T>&)";
    const Vertices<double> moving = randomPoints<double>(3, 20, -1, 1, 18);
    PolynomialWarp<double> warp;
    Vector<double> v = vectorOf<double>({0.1, 0.2, 0.3});
    const Vector<double> start = v;
    warp.apply(v);
    EXPECT_EQ(start, v);
    EXPECT_TRUE(warp.isValidAt(v));

    warp.fit(moving, imagesOf(moving, affineImage<double>));
    expectFailure<ProgramError>([&] { warp.fit(moving, randomPoints<double>(3, 19, 0, 1, 1)); }, where,
                                "Moving and target shapes have distinct sizes");
    expectFailure<SizeError>([&] { warp.fit(moving, randomPoints<double>(2, 20, 0, 1, 1)); }, where,
                             "Incompatible vector dimensions");
    EXPECT_THROW(warp.setDegree(-1), ValueError);
    EXPECT_EQ(1, warp.getDegree());
    warp.setDegree(100000);
    EXPECT_THROW(warp.fit(moving, moving), ValueError);
    warp.apply(v);
    EXPECT_LT(v.distance(affineImage(start)), 1e-12);
    Vector<double> plane = vectorOf<double>({1, 2});
    EXPECT_THROW(warp.apply(plane), SizeError);
    EXPECT_THROW(warp.isValidAt(plane), SizeError);
}

} // namespace vorlen
