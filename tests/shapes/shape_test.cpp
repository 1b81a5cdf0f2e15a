#include "shapes/shape.h"

#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "shapes/curvestack.h"
#include "shapes/shapeset.h"
#include "support/failures.h"
#include "support/testcurves.h"

namespace vorlen {

namespace {

using Doubles = std::vector<double>;
using Locator = Vector<unsigned int>;

Locator at(unsigned int position) {
    return vectorOf<unsigned int>({position});
}

Vertices<double> triangle() {
    return verticesOf<double>({{0, 0}, {6, 0}, {0, 3}});
}

/// Rotation about an axis through the origin (Rodrigues).
SquareMatrix<double> rotation(Vector<double> axis, double angle) {
    axis.normalize();
    SquareMatrix<double> r(3);
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            r[i][j] = (i == j ? c : 0) + (1 - c) * axis[i] * axis[j];
        }
    }
    for (int i = 0; i < 3; ++i) {
        r[i][(i + 1) % 3] -= s * axis[(i + 2) % 3];
        r[(i + 1) % 3][i] += s * axis[(i + 2) % 3];
    }
    return r;
}

double largestDifference(const Matrix<double>& a, const Matrix<double>& b) {
    double largest = 0;
    for (int i = 0; i < a.getSize(1); ++i) {
        for (int j = 0; j < a.getSize(2); ++j) {
            largest = std::max(largest, std::abs(a[i][j] - b[i][j]));
        }
    }
    return largest;
}

} // namespace

TEST(Shape, neitherNameNorExtensionsFollowACopy) {
    Vertices<double> shape = triangle();
    Vertices<double> attached = triangle();
    shape.setName("cortex");
    EXPECT_FALSE(shape.hasExtensions());
    shape.getExtensions().addShape(&attached, false);
    EXPECT_TRUE(shape.hasExtensions());
    const Vertices<double> copy(shape);
    EXPECT_EQ(copy.getName(), "");
    EXPECT_FALSE(copy.hasExtensions());
    Vertices<double> assigned;
    assigned.setName("own");
    assigned = shape;
    EXPECT_EQ(assigned.getName(), "own");
    EXPECT_FALSE(assigned.hasExtensions());
}

TEST(Shape, movesAllItsVertices) {
    Vertices<double> shape = triangle();
    EXPECT_EQ(shape.cog(), vectorOf<double>({2, 1}));
    shape.center();
    EXPECT_EQ(coordinatesOf(shape), (Doubles{-2, -1, 4, -1, -2, 2}));
    shape.translate(vectorOf<double>({2, 2}));
    shape.scale(vectorOf<double>({0.5, 3}));
    EXPECT_EQ(coordinatesOf(shape), (Doubles{0, 3, 3, 3, 0, 12}));
    shape.scale(2.0);
    EXPECT_EQ(coordinatesOf(shape), (Doubles{0, 6, 6, 6, 0, 24}));
    SquareMatrix<double> turn(2);
    turn[0][0] = turn[1][1] = 0;
    turn[0][1] = -1;
    turn[1][0] = 1;
    shape.multiply(turn);
    EXPECT_EQ(coordinatesOf(shape), (Doubles{-6, 0, -6, 6, -24, 0}));
    expectFailure<SizeError>([&] { shape.scale(vectorOf<double>({1})); }, "void Shape<T>::scale(const Vector<T>&)",
                             "Incorrect number of scales");
    expectFailure<SizeError>([] { Vertices<double>().cog(); }, "Vector<T> Shape<T>::cog() const",
                             "This shape contains no vertex");
    EXPECT_THROW(shape.translate(vectorOf<double>({1})), SizeError);
    EXPECT_THROW(shape.multiply(Matrix<double>(2, 3)), SizeError);
    EXPECT_EQ(coordinatesOf(shape), (Doubles{-6, 0, -6, 6, -24, 0}));
}

// The sum of a million coordinates near 1000 has no digits left for them in float.
TEST(Shape, centreOfManyFloatVerticesKeepsItsDigits) {
    const int n = 1000000;
    Vertices<float> shape(1, n, n, n);
    for (int i = 0; i < n; ++i) {
        shape[i][0] = 1000 + float(i % 2);
    }
    EXPECT_FLOAT_EQ(shape.cog()[0], 1000.5f);
    EXPECT_FLOAT_EQ(shape.inertia()[0][0], 250000.0f);
}

TEST(Shape, divisionReachesTheExtensionsAndMultiplicationDoesNot) {
    Vertices<double> shape = triangle();
    Vertices<double> attached = triangle();
    Vertices<double> nested = triangle();
    shape.getExtensions().addShape(&attached, false);
    shape.getExtensions().addShape(nullptr, false);
    attached.getExtensions().addShape(&nested, false);
    shape *= 4;
    EXPECT_EQ(coordinatesOf(attached), coordinatesOf(triangle()));
    shape /= 2;
    EXPECT_EQ(coordinatesOf(shape), (Doubles{0, 0, 12, 0, 0, 6}));
    EXPECT_EQ(coordinatesOf(attached), (Doubles{0, 0, 3, 0, 0, 1.5}));
    EXPECT_EQ(coordinatesOf(nested), (Doubles{0, 0, 3, 0, 0, 1.5}));
}

TEST(Shape, addsAndSubtractsCompatibleShapesOnly) {
    Vertices<double> shape = triangle();
    shape += triangle();
    EXPECT_EQ(coordinatesOf(shape), (Doubles{0, 0, 12, 0, 0, 6}));
    shape -= triangle();
    shape -= triangle();
    EXPECT_EQ(coordinatesOf(shape), (Doubles{0, 0, 0, 0, 0, 0}));
    for (const bool subtract : {false, true}) {
        const auto combine = [&](const Shape<double>& other) { subtract ? shape -= other : shape += other; };
        const char* where = "void Shape<T>::operator+=(const Shape&)";
        const char* what = "Shapes are not compatible for addition";
        expectFailure<UsageError>([&] { combine(verticesOf<double>({{1, 2}})); }, where, what);
        expectFailure<UsageError>([&] { combine(verticesOf<double>({{1}, {2}, {3}})); }, where, what);
        expectFailure<UsageError>([&] { combine(Curve<double>(triangle(), false)); }, where, what);
    }
}

TEST(Shape, goesToAVectorAndBack) {
    Vertices<double> shape = triangle();
    Vector<double> all = shape.toVector();
    all[5] = 9;
    shape.fromVector(all);
    EXPECT_EQ(shape[2], vectorOf<double>({0, 9}));
    expectFailure<UsageError>(
        [&] {
            shape.fromVector(vectorOf<double>({1, 2}));
        },
        "void Shape<T>::fromVector(const Vector<T>&)", "Size mismatch between this shape and the argument vector");
}

TEST(Shape, distancesOfEqualRankAndTheirRootMean) {
    const Vertices<double> a = triangle();
    const Vertices<double> b = verticesOf<double>({{3, 4}, {6, 1}, {0, 3}});
    EXPECT_EQ(a.squareDistances(b), vectorOf<double>({25, 1, 0}));
    EXPECT_DOUBLE_EQ(a.rmsDistance(b), std::sqrt(26.0 / 3));
    const char* where = "Vector<T> Shape<T>::squareDistances(const Shape<T>&) const";
    expectFailure<ValueError>([&] { a.squareDistances(a); }, where, "Argument shape is equal to this");
    expectFailure<SizeError>(
        [&] {
            a.squareDistances(verticesOf<double>({{1, 2}}));
        },
        where, "The two shapes have distinct sizes");
}

// Few different coordinates, so that many neighbours are equally near and vertices coincide.
TEST(Shape, nearestNeighborsAreThoseOfTheWalkOverAllPairs) {
    for (unsigned int seed = 1; seed < 25; ++seed) {
        const auto a = randomVertices<double>(1 + int(seed % 3), 1 + int(seed * 7 % 80), 1 + int(seed % 6), seed);
        const auto b = randomVertices<double>(1 + int(seed % 3), 1 + int(seed * 5 % 90), 1 + int(seed % 6), seed + 50);
        const Vector<double> squares = a.squareNearestNeighborDistances(b);
        const Vector<double> roots = a.nearestNeighborDistances(b);
        const Vector<double> ownSquares = a.squareNearestNeighborDistances();
        const auto neighbors = a.nearestNeighbors(b);
        const auto ownNeighbors = a.nearestNeighbors();
        for (int i = 0; i < a.getSize(); ++i) {
            int best = 0;
            for (int j = 1; j < b.getSize(); ++j) {
                best = a[i].sdistance(b[j]) < a[i].sdistance(b[best]) ? j : best;
            }
            EXPECT_EQ(neighbors[i], at(static_cast<unsigned int>(best)));
            EXPECT_EQ(squares[i], a[i].sdistance(b[best]));
            EXPECT_DOUBLE_EQ(roots[i], std::sqrt(squares[i]));
            int own = -1;
            for (int j = 0; j < a.getSize(); ++j) {
                if (j != i && (own < 0 || a[i].sdistance(a[j]) < a[i].sdistance(a[own]))) {
                    own = j;
                }
            }
            if (own >= 0) {
                EXPECT_EQ(ownNeighbors[i], at(static_cast<unsigned int>(own)));
                EXPECT_EQ(ownSquares[i], a[i].sdistance(a[own]));
            }
        }
    }
}

TEST(Shape, nearestNeighborsOfSmallShapesAndOfStacks) {
    const Vertices<double> single = verticesOf<double>({{1, 1}});
    EXPECT_EQ(single.squareNearestNeighborDistances(), vectorOf<double>({0}));
    EXPECT_EQ(Vertices<double>().squareNearestNeighborDistances().getSize(), 0);
    CurveStack<double> stack;
    stack.append(curveOf<double>({{9, 9}, {8, 8}}));
    stack.append(curveOf<double>({{5, 5}, {1, 2}}));
    EXPECT_EQ(single.nearestNeighbors(stack)[0], vectorOf<unsigned int>({1, 1}));
    EXPECT_EQ(stack.nearestNeighbors()[0], vectorOf<unsigned int>({0, 1}));
    expectFailure<ValueError>([&] { single.squareNearestNeighborDistances(single); },
                              "Vector<T> Shape<T>::squareNearestNeighborDistances(const Shape<T>&) const",
                              "Argument s is equal to this");
    expectFailure<UsageError>([] { verticesOf<int>({{1}}).nearestNeighborDistances(verticesOf<int>({{2}})); },
                              "Vector<int> Shape<int>::nearestNeighborDistances(const Shape&) const",
                              "Method not available for type 'int'");
}

TEST(Shape, statsAreThoseOfTheNorms) {
    double mean = -1;
    double max = -1;
    verticesOf<double>({{3, 4}, {0, 0}, {-6, 8}}).stats(mean, max);
    EXPECT_EQ(mean, 5);
    EXPECT_EQ(max, 10);
    Vertices<double>().stats(mean, max);
    EXPECT_EQ(mean, 0);
    EXPECT_EQ(max, 0);
}

TEST(Shape, inertiaIsTheScatterAroundTheCentre) {
    Vector<double> centre;
    const SquareMatrix<double> scatter = triangle().inertia(centre);
    EXPECT_EQ(centre, vectorOf<double>({2, 1}));
    // By hand: (-2, -1), (4, -1), (-2, 2).
    EXPECT_DOUBLE_EQ(scatter[0][0], 24);
    EXPECT_DOUBLE_EQ(scatter[0][1], -6);
    EXPECT_DOUBLE_EQ(scatter[1][0], -6);
    EXPECT_DOUBLE_EQ(scatter[1][1], 6);
    const SquareMatrix<double> none = Vertices<double>(2, 0, 0, 0).inertia(centre);
    EXPECT_EQ(none[0][0], 0);
    EXPECT_EQ(centre, vectorOf<double>({0, 0}));
}

TEST(Shape, principalAxesAreThoseOfATurnedBox) {
    const SquareMatrix<double> turn = rotation(vectorOf<double>({1, 2, -1}), 0.7);
    Vertices<double> box(3, 8, 8, 8);
    for (int i = 0; i < 8; ++i) {
        box[i] = vectorOf<double>({i & 1 ? 3.0 : -3.0, i & 2 ? 1.0 : -1.0, i & 4 ? 7.0 : -7.0});
    }
    box.multiply(turn);
    box.translate(vectorOf<double>({10, 20, 30}));
    Vector<double> values;
    const SquareMatrix<double> axes = box.principalAxes(values);
    EXPECT_NEAR(values[0], 49, 1e-9);
    EXPECT_NEAR(values[1], 9, 1e-9);
    EXPECT_NEAR(values[2], 1, 1e-9);
    for (int k = 0; k < 3; ++k) {
        const int axis[3] = {2, 0, 1};
        double along = 0;
        for (int i = 0; i < 3; ++i) {
            along += axes[i][k] * turn[i][axis[k]];
        }
        EXPECT_NEAR(std::abs(along), 1, 1e-9);
    }
    box.applyPAT();
    for (int i = 0; i < 8; ++i) {
        EXPECT_NEAR(std::abs(box[i][0]), 7, 1e-9);
        EXPECT_NEAR(std::abs(box[i][1]), 3, 1e-9);
        EXPECT_NEAR(std::abs(box[i][2]), 1, 1e-9);
    }
    EXPECT_LT(box.cog().norm(), 1e-9);
}

TEST(Shape, registrationFindsTheRigidMotion) {
    const SquareMatrix<double> turn = rotation(vectorOf<double>({3, -1, 2}), 2.5);
    const Vector<double> shift = vectorOf<double>({-40, 7, 1000});
    Vertices<double> source = randomVertices<double>(3, 30, 50, 4);
    Vertices<double> target(source);
    target.detach();
    target.multiply(turn);
    target.translate(shift);
    Vector<double> t;
    SquareMatrix<double> r;
    source.computeLSRegistration(t, r, target);
    EXPECT_LT(largestDifference(r, turn), 1e-10);
    EXPECT_LT(t.distance(shift), 1e-9);
    // The target in another order, with its partners named.
    std::vector<Locator> partners;
    for (unsigned int i = 0; i < 30; ++i) {
        partners.push_back(at(29 - i));
    }
    target.reverse();
    source.computeLSRegistration(t, r, target, partners);
    EXPECT_LT(largestDifference(r, turn), 1e-10);
    EXPECT_LT(t.distance(shift), 1e-9);
    partners.pop_back();
    EXPECT_THROW(source.computeLSRegistration(t, r, target, partners), SizeError);
    EXPECT_THROW(source.computeLSRegistration(t, r, Vertices<double>(3, 2, 2, 2)), SizeError);
}

// Mirrored in a plane the best orthogonal map is a reflection; the best rotation is found by trial.
TEST(Shape, registrationOnAReflectionGivesTheBestProperRotation) {
    for (unsigned int seed = 1; seed < 6; ++seed) {
        Vertices<double> source = randomVertices<double>(3, 12, 10, seed);
        source.scale(vectorOf<double>({3, 1, 0.3}));
        Vertices<double> target(source);
        target.detach();
        target.scale(vectorOf<double>({1, 1, -1}));
        target.multiply(rotation(vectorOf<double>({1, 1, 1}), 0.4 * seed));
        Vector<double> t;
        SquareMatrix<double> r;
        source.computeLSRegistration(t, r, target);
        EXPECT_NEAR(r.det(), 1, 1e-9);
        EXPECT_LT(largestDifference(r * r.transpose(), rotation(vectorOf<double>({1, 0, 0}), 0)), 1e-9);
        const auto errorOf = [&](const SquareMatrix<double>& m) {
            Vertices<double> moved(source);
            moved.detach();
            moved.multiply(m);
            moved.translate(target.cog() - m * source.cog());
            return moved.rmsDistance(target);
        };
        const double error = errorOf(r);
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> component(-1, 1);
        for (int trial = 0; trial < 300; ++trial) {
            const Vector<double> axis = vectorOf<double>({component(random), component(random), component(random)});
            EXPECT_LE(error, errorOf(rotation(axis, 3.2 * component(random))) + 1e-9);
            EXPECT_LE(error, errorOf(rotation(axis, 0.05 * component(random)) * r) + 1e-9);
        }
    }
}

TEST(Shape, registrationInThePlane) {
    const Vertices<float> source = verticesOf<float>({{0, 0}, {4, 0}, {0, 2}});
    const Vertices<float> target = verticesOf<float>({{5, 5}, {5, 9}, {3, 5}});
    Vector<float> t;
    SquareMatrix<float> r;
    source.computeLSRegistration(t, r, target);
    EXPECT_NEAR(r[0][0], 0, 1e-5);
    EXPECT_NEAR(r[0][1], -1, 1e-5);
    EXPECT_NEAR(r[1][0], 1, 1e-5);
    EXPECT_NEAR(t[0], 5, 1e-5);
    EXPECT_NEAR(t[1], 5, 1e-5);
}

TEST(Shape, boundingBoxHoldsAllVertices) {
    const BoundingBox<double> box = verticesOf<double>({{3, -1}, {-2, 5}, {0, 0}}).boundingBox();
    EXPECT_EQ(box.getVertex1(), vectorOf<double>({-2, -1}));
    EXPECT_EQ(box.getVertex2(), vectorOf<double>({3, 5}));
    const BoundingBox<double> empty = Vertices<double>(3, 0, 0, 0).boundingBox();
    EXPECT_EQ(empty.getVertex1(), vectorOf<double>({0, 0, 0}));
    EXPECT_EQ(empty.getVertex2(), vectorOf<double>({0, 0, 0}));
}

TEST(Shape, deformationsLeadFromEachVertexToItsCounterpart) {
    const Vertices<double> other = verticesOf<double>({{1, 1}, {2, 2}, {3, 3}});
    const CurveStack<double> stack = triangle().deformations(other);
    ASSERT_EQ(stack.getHeight(), 3);
    EXPECT_TRUE(stack[1].isOpen());
    EXPECT_EQ(coordinatesOf(stack[1]), (Doubles{6, 0, 2, 2}));
    expectFailure<SizeError>([] { triangle().deformations(Vertices<double>(2, 4, 4, 4)); },
                             "void Shape<T>::saveDeformations(const Shape<T>&,const string&) const",
                             "Space or size mismatch between shapes");
}

} // namespace vorlen
