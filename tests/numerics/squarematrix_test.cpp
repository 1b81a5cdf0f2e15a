#include "numerics/exception.h"
#include "numerics/matrixtools.h"
#include "numerics/squarematrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

namespace vorlen {

using namespace matrixtools;

namespace {

// Symmetric matrix with entries in -2..2.
template <class T>
SquareMatrix<T> symmetricNoise(int n, unsigned int seed) {
    const Matrix<T> m = noise<T>(n, n, seed);
    return m + m.transpose();
}

const char* const defaultSizeError = "Undocumented size error";

} // namespace

TEST(SquareMatrix, onlySquaresAreAccepted) {
    SquareMatrix<double> m(matrix({{1.0, 2.0}, {3.0, 4.0}}));
    EXPECT_EQ(m.getSize(), 2);
    expectError<SizeError>([&] { m.setSize(2, 3); }, "void SquareMatrix<T>::setSize(const int, const int)",
                           "Arguments n and p have distinct values.");
    expectError<SizeError>([] { SquareMatrix<double> n(Matrix<double>(2, 3)); },
                           "SquareMatrix<T>::SquareMatrix(const Matrix<T>&)", defaultSizeError);
    // Through the base as well: the shape is refused before anything changes.
    Matrix<double>& base = m;
    EXPECT_THROW(base = Matrix<double>(2, 3), SizeError);
    EXPECT_THROW(base *= Matrix<double>(2, 3), SizeError);
    EXPECT_EQ(m, matrix({{1.0, 2.0}, {3.0, 4.0}}));
    m.setSize(3, 3);
    EXPECT_EQ(m.getSize1(), 3);
    EXPECT_EQ(m.getSize2(), 3);
}

TEST(SquareMatrix, identityZerosOnesAndHilbert) {
    SquareMatrix<double> m;
    m.setIdentity(2);
    EXPECT_EQ(m, matrix({{1.0, 0.0}, {0.0, 1.0}}));
    m.setOnes(2);
    EXPECT_EQ(m, matrix({{1.0, 1.0}, {1.0, 1.0}}));
    m.setIdentity();
    EXPECT_EQ(m.trace(), 2.0);
    m.setZeros(1);
    EXPECT_EQ(m, matrix({{0.0}}));
    m.setHilbert(3);
    EXPECT_EQ(m, matrix({{1.0, 1.0 / 2, 1.0 / 3}, {1.0 / 2, 1.0 / 3, 1.0 / 4}, {1.0 / 3, 1.0 / 4, 1.0 / 5}}));
    m.setOnes(2);
    m.setHilbert(0);
    EXPECT_EQ(m, matrix({{1.0, 1.0 / 2}, {1.0 / 2, 1.0 / 3}}));
}

TEST(SquareMatrix, quaternionOfAQuarterTurnAboutZ) {
    const double h = std::sqrt(0.5);
    const Matrix<double> turn = matrix({{0.0, -1.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}});
    EXPECT_LT(difference<double>(SquareMatrix<double>(Quaternion<double>{h, 0, 0, h}, false), turn), 1e-15);
    const SquareMatrix<double> homogeneous(Quaternion<double>{h, 0, 0, h}, true);
    EXPECT_LT(difference(homogeneous.copy(0, 2, 0, 2), turn), 1e-15);
    EXPECT_EQ(homogeneous.getRow(3), vector({0.0, 0.0, 0.0, 1.0}));
    EXPECT_EQ(homogeneous.getColumn(3), vector({0.0, 0.0, 0.0, 1.0}));
}

TEST(SquareMatrix, quaternionIsNotNormalised) {
    // By the formula, element by element, for (1, 2, 3, 4).
    EXPECT_EQ(SquareMatrix<int>(Quaternion<int>{1, 2, 3, 4}, false),
              matrix<int>({{-20, 4, 22}, {20, -10, 20}, {10, 28, 4}}));
}

TEST(SquareMatrix, diagonalsAreSetAndRead) {
    SquareMatrix<int> m(3u);
    m.fill(9);
    m.setTridiagonal(vector<int>({1, 2, 3}), vector<int>({4, 5}), vector<int>({6, 7}));
    EXPECT_EQ(m, matrix<int>({{1, 4, 0}, {6, 2, 5}, {0, 7, 3}}));
    EXPECT_EQ(m.diagonal(), vector<int>({1, 2, 3}));
    EXPECT_EQ(m.upperDiagonal(), vector<int>({4, 5}));
    EXPECT_EQ(m.lowerDiagonal(), vector<int>({6, 7}));
    EXPECT_EQ(m.trace(), 6);
    m.setUpperBidiagonal(vector<int>({1, 2, 3}), vector<int>({4, 5}));
    EXPECT_EQ(m, matrix<int>({{1, 4, 0}, {0, 2, 5}, {0, 0, 3}}));
    m.setLowerBidiagonal(vector<int>({1, 2, 3}), vector<int>({4, 5}));
    EXPECT_EQ(m, matrix<int>({{1, 0, 0}, {4, 2, 0}, {0, 5, 3}}));
    m.setDiagonal(8);
    EXPECT_EQ(m, matrix<int>({{8, 0, 0}, {0, 8, 0}, {0, 0, 8}}));
    m.setDiagonal(vector<int>({1, 2, 3}));
    EXPECT_EQ(m, matrix<int>({{1, 0, 0}, {0, 2, 0}, {0, 0, 3}}));
}

TEST(SquareMatrix, pastedDiagonalsLeaveTheRestAlone) {
    SquareMatrix<int> m;
    m.setOnes(4);
    m.pasteDiagonal(vector<int>({2, 3, 4, 5}));
    m.pasteUpperDiagonal(vector<int>({6, 7, 8}));
    m.pasteUpperDiagonal2(vector<int>({9, 10}));
    m.pasteLowerDiagonal(vector<int>({11, 12, 13}));
    m.pasteLowerDiagonal2(vector<int>({14, 15}));
    EXPECT_EQ(m, matrix<int>({{2, 6, 9, 1}, {11, 3, 7, 10}, {14, 12, 4, 8}, {1, 15, 13, 5}}));
}

TEST(SquareMatrix, diagonalsOfTheWrongSizeAreRefusedBeforeAnyChange) {
    SquareMatrix<int> m;
    m.setOnes(3);
    const SquareMatrix<int> before(m);
    const Vector<int> two = vector<int>({1, 2}), three = vector<int>({1, 2, 3});
    expectError<SizeError>([&] { m.setDiagonal(two); }, "void SquareMatrix<T>::setDiagonal(const Vector<T>&)",
                           defaultSizeError);
    expectError<SizeError>([&] { m.setUpperBidiagonal(three, three); },
                           "void SquareMatrix<T>::setUpperBidiagonal(const Vector<T>&, const Vector<T>&)",
                           defaultSizeError);
    expectError<SizeError>([&] { m.setLowerBidiagonal(two, two); },
                           "void SquareMatrix<T>::setLowerBidiagonal(const Vector<T>&, const Vector<T>&)",
                           defaultSizeError);
    expectError<SizeError>([&] { m.setTridiagonal(three, two, three); }, "void SquareMatrix<T>::setTridiagonal(...)",
                           defaultSizeError);
    const char* const what = "Incompatible matrix and vector dimensions";
    expectError<SizeError>([&] { m.pasteDiagonal(two); }, "void SquareMatrix<T>::pasteDiagonal(...)", what);
    expectError<SizeError>([&] { m.pasteUpperDiagonal(three); }, "void SquareMatrix<T>::pasteUpperDiagonal(...)", what);
    expectError<SizeError>([&] { m.pasteUpperDiagonal2(two); }, "void SquareMatrix<T>::pasteUpperDiagonal2(...)", what);
    expectError<SizeError>([&] { m.pasteLowerDiagonal(three); }, "void SquareMatrix<T>::pasteLowerDiagonal(...)", what);
    expectError<SizeError>([&] { m.pasteLowerDiagonal2(two); }, "void SquareMatrix<T>::pasteLowerDiagonal2(...)", what);
    EXPECT_EQ(m, before);
}

TEST(SquareMatrix, symmetryIsExactAndAntisymmetryNeedsAZeroDiagonal) {
    SquareMatrix<double> m(matrix({{1.0, 2.0}, {2.0, 3.0}}));
    EXPECT_TRUE(m.isSymmetrical());
    EXPECT_FALSE(m.isAntiSymmetrical());
    m(0, 1) = std::nextafter(2.0, 3.0);
    EXPECT_FALSE(m.isSymmetrical());
    EXPECT_TRUE(SquareMatrix<double>(matrix({{0.0, 2.0}, {-2.0, 0.0}})).isAntiSymmetrical());
    EXPECT_FALSE(SquareMatrix<double>(matrix({{1.0, 2.0}, {-2.0, 0.0}})).isAntiSymmetrical());
}

TEST(SquareMatrix, handednessIsReadFromTheColumns) {
    SquareMatrix<double> m;
    m.setIdentity(3);
    EXPECT_TRUE(m.isRHSystem());
    m(2, 2) = -1;
    EXPECT_FALSE(m.isRHSystem());
    // Columns e2, e3, e1: a cyclic exchange stays right-handed, also inside a homogeneous matrix.
    SquareMatrix<double> h;
    h.setZeros(4);
    h(1, 0) = h(2, 1) = h(0, 2) = 1;
    h(3, 3) = -1;
    EXPECT_TRUE(h.isRHSystem());
    EXPECT_THROW(SquareMatrix<double>(2u).isRHSystem(), SizeError);
}

TEST(SquareMatrix, luDecompReturnsTheFactorsTheExchangesAndTheParity) {
    // Scaled pivoting takes row 1 first: 4/5 of its greatest element against 2/8.
    SquareMatrix<double> m(matrix({{2.0, 8.0}, {4.0, 5.0}}));
    Vector<int> index;
    EXPECT_EQ(m.luDecomp(index, 1e-12), -1);
    EXPECT_EQ(index, vector<int>({1, 1}));
    EXPECT_EQ(m, matrix({{4.0, 5.0}, {0.5, 5.5}}));
    Vector<double> b = vector({18.0, 14.0}); // of x = (1, 2)
    m.luSolve(b, index);
    EXPECT_NEAR(b[0], 1.0, 1e-15);
    EXPECT_NEAR(b[1], 2.0, 1e-15);
    m.setIdentity(3);
    EXPECT_EQ(m.luDecomp(index, 1e-12), 1);
    EXPECT_EQ(index, vector<int>({0, 1, 2}));
}

TEST(SquareMatrix, lastOfEqualPivotsWins) {
    SquareMatrix<double> m(matrix({{1.0, 0.5}, {1.0, 1.0}}));
    Vector<int> index;
    EXPECT_EQ(m.luDecomp(index, 1e-12), -1);
    EXPECT_EQ(index[0], 1);
}

TEST(SquareMatrix, singularMatricesStayAsTheyWere) {
    const SquareMatrix<double> zeroRow(matrix({{0.0, 0.0}, {1.0, 2.0}}));
    const SquareMatrix<double> dependent(matrix({{1.0, 2.0}, {2.0, 4.0}}));
    for (const SquareMatrix<double>& original : {zeroRow, dependent}) {
        SquareMatrix<double> m(original);
        Vector<int> index = vector<int>({7});
        expectError<MathError>([&] { m.luDecomp(index, 1e-12); }, "int SquareMatrix<T>::luDecomp(...)",
                               "This matrix is singular");
        EXPECT_EQ(m, original);
        EXPECT_EQ(index, vector<int>({7}));
        EXPECT_EQ(m.det(), 0.0);
        try {
            m.inverse();
            ADD_FAILURE();
        } catch (const MathError& e) {
            EXPECT_EQ(e.getWhat(), "This matrix is singular");
            EXPECT_EQ(e.callStack(), "[0] int SquareMatrix<T>::luDecomp(...)\n"
                                     "[1] SquareMatrix<T> SquareMatrix<T>::inverse() const");
        }
    }
}

// A matrix of small numbers is none of zeros: its unit may be the metre.
TEST(SquareMatrix, pivotsAreHeldAgainstTheirRow) {
    for (const double unit : {1e9, 1.0, 1e-9}) {
        const SquareMatrix<double> m(matrix({{2 * unit, unit}, {unit, 3 * unit}}));
        EXPECT_NEAR(m.det() / (5 * unit * unit), 1, 1e-14);
        EXPECT_NEAR(m.inverse()(0, 0) * unit, 0.6, 1e-14);
        // Singular but for what rounding leaves: the third row is the mean of the others.
        const SquareMatrix<double> flat(matrix({{0.1 * unit, 0.2 * unit, 0.3 * unit},
                                                {0.7 * unit, 0.5 * unit, 0.9 * unit},
                                                {0.4 * unit, 0.35 * unit, 0.6 * unit}}));
        EXPECT_EQ(flat.det(), 0);
        EXPECT_THROW(flat.inverse(), MathError);
    }
    const double undefined = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(SquareMatrix<double>(matrix({{1.0, 0.0}, {undefined, 1.0}})).det()));
}

TEST(SquareMatrix, determinantCountsTheExchanges) {
    // 2*3*1 + 0 + 1*1*4 - 1*3*2 - 2*0*4 - 0 by the rule of Sarrus.
    EXPECT_NEAR(SquareMatrix<double>(matrix({{2.0, 0.0, 1.0}, {1.0, 3.0, 0.0}, {2.0, 4.0, 1.0}})).det(), 4.0, 1e-14);
    EXPECT_EQ(SquareMatrix<double>(matrix({{0.0, 1.0}, {1.0, 0.0}})).det(), -1.0);
    EXPECT_EQ(SquareMatrix<double>().det(), 1.0);
}

template <class T>
class Inversion : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double, long double>;
TYPED_TEST_SUITE(Inversion, RealTypes);

// Sizes around the block of 64 columns.
TYPED_TEST(Inversion, matrixTimesItsInverseIsTheIdentity) {
    using T = TypeParam;
    for (const int n : {0, 1, 2, 3, 8, 63, 64, 65, 130}) {
        SquareMatrix<T> a(noise<T>(n, n, 19));
        for (int i = 0; i < n; ++i)
            a(i, (i * 5 + 3) % n) += T(n % 5 ? n : 1); // great elements off the diagonal force exchanges
        const SquareMatrix<T> before(a);
        const SquareMatrix<T> inverse = a.inverse();
        EXPECT_LT(difference(plainProduct<T>(a, inverse), identity<T>(n)), T(2000) * Vector<T>::epsilon()) << n;
        EXPECT_EQ(a, before);
    }
}

TYPED_TEST(Inversion, luSolveFindsTheSolutionThatWasPutIn) {
    using T = TypeParam;
    const int n = 97;
    const SquareMatrix<T> a(noise<T>(n, n, 23) + identity<T>(n) * T(8));
    Vector<T> x(static_cast<unsigned int>(n));
    x.setSequence(T(-1), T(0.0625));
    Vector<T> b = a * x;
    SquareMatrix<T> lu(a);
    Vector<int> index;
    const int parity = lu.luDecomp(index, T(1e-6));
    EXPECT_EQ(std::abs(parity), 1);
    lu.luSolve(b, index);
    for (int i = 0; i < n; ++i)
        EXPECT_NEAR(double(b[i]), double(x[i]), 1000 * double(Vector<T>::epsilon()));
    Vector<T> tooShort(3u);
    EXPECT_THROW(lu.luSolve(tooShort, index), SizeError);
}

TYPED_TEST(Inversion, eigenvectorsTurnTheMatrixDiagonal) {
    using T = TypeParam;
    for (const int n : {1, 2, 3, 10, 41}) {
        const SquareMatrix<T> a = symmetricNoise<T>(n, 31);
        const SquareMatrix<T> before(a);
        Vector<T> values;
        SquareMatrix<T> vectors;
        a.eigenJacobi(values, vectors, true);
        const T tolerance = T(300) * Vector<T>::epsilon();
        EXPECT_LT(difference(plainProduct<T>(a, vectors), plainProduct<T>(vectors, diagonalOf(values, n))), tolerance);
        EXPECT_LT(difference(plainProduct<T>(vectors.transpose(), vectors), identity<T>(n)), tolerance);
        EXPECT_TRUE(values.isDecreasing());
        EXPECT_EQ(a, before);
    }
}

TEST(SquareMatrix, eigenvaluesOfAKnownMatrix) {
    const SquareMatrix<double> a(matrix({{2.0, 1.0, 0.0}, {1.0, 2.0, 1.0}, {0.0, 1.0, 2.0}}));
    Vector<double> values;
    SquareMatrix<double> vectors;
    a.eigenJacobi(values, vectors, true);
    EXPECT_NEAR(values[0], 2 + std::sqrt(2.0), 1e-14);
    EXPECT_NEAR(values[1], 2.0, 1e-14);
    EXPECT_NEAR(values[2], 2 - std::sqrt(2.0), 1e-14);
    EXPECT_NEAR(vectors.det(), 1.0, 1e-14); // rotations only, and each exchange keeps the determinant
}

TEST(SquareMatrix, eigenJacobiReadsOnlyTheUpperTriangle) {
    const SquareMatrix<double> a(matrix({{1.0, 2.0}, {777.0, 1.0}}));
    Vector<double> values;
    SquareMatrix<double> vectors;
    a.eigenJacobi(values, vectors, true);
    EXPECT_NEAR(values[0], 3.0, 1e-14);
    EXPECT_NEAR(values[1], -1.0, 1e-14);
}

TEST(SquareMatrix, eigenJacobiOfADiagonalMatrixMakesNoRotation) {
    SquareMatrix<double> a(3u), vectors;
    a.setDiagonal(vector({1.0, 3.0, 2.0}));
    Vector<double> values;
    a.eigenJacobi(values, vectors, false);
    EXPECT_EQ(values, vector({1.0, 3.0, 2.0}));
    EXPECT_EQ(vectors, identity<double>(3));
    a.eigenJacobi(values, vectors, true);
    EXPECT_EQ(values, vector({3.0, 2.0, 1.0}));
    // Exchange of 0 and 1 negates column 1, then exchange of 1 and 2 negates column 2.
    EXPECT_EQ(vectors, matrix({{0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}}));
}

TEST(SquareMatrix, eigenJacobiEndsForEqualEigenvaluesAndDenormalNumbers) {
    SquareMatrix<double> a, vectors;
    a.setIdentity(6);
    for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j)
            if (i != j)
                a(i, j) = std::numeric_limits<double>::denorm_min() * ((i + j) % 3 + 1);
    Vector<double> values;
    a.eigenJacobi(values, vectors, false);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(values[i], 1.0);
    a.setOnes(6); // 6 once, 0 five times
    a.eigenJacobi(values, vectors, true);
    EXPECT_NEAR(values[0], 6.0, 1e-13);
    EXPECT_NEAR(values[1], 0.0, 1e-13);
}

TEST(SquareMatrix, eigenJacobiRefusesNonFiniteElements) {
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity()}) {
        SquareMatrix<double> a(matrix({{1.0, bad}, {bad, 1.0}}));
        Vector<double> values = vector({5.0});
        SquareMatrix<double> vectors;
        EXPECT_THROW(a.eigenJacobi(values, vectors, true), MathError);
        EXPECT_EQ(values, vector({5.0}));
    }
}

TEST(SquareMatrix, jacobiRotateFollowsItsFormula) {
    SquareMatrix<double> m(matrix({{1.0, 2.0}, {3.0, 4.0}}));
    m.jacobiRotate(0, 1, 1, 0, 0.5, 0.25);
    EXPECT_EQ(m(0, 1), 2.0 - 0.5 * (3.0 + 2.0 * 0.25));
    EXPECT_EQ(m(1, 0), 3.0 + 0.5 * (2.0 - 3.0 * 0.25));
    EXPECT_EQ(m(0, 0), 1.0);
    EXPECT_EQ(m(1, 1), 4.0);
}

TEST(SquareMatrix, tridiagSolveAgreesWithTheFullMatrix) {
    const Vector<double> d = vector({4.0, 5.0, -6.0, 4.5, 3.0});
    const Vector<double> upper = vector({1.0, -1.0, 2.0, 0.5}), lower = vector({2.0, 1.0, 1.5, -1.0});
    SquareMatrix<double> m(5u);
    m.setTridiagonal(d, upper, lower);
    const Vector<double> x = vector({1.0, -2.0, 3.0, -4.0, 5.0});
    Vector<double> b = m * x;
    SquareMatrix<double>::tridiagSolve(b, d, upper, lower);
    SquareMatrix<double> inverse;
    SquareMatrix<double>::tridiagInverse(inverse, d, upper, lower);
    for (int i = 0; i < 5; ++i)
        EXPECT_NEAR(b[i], x[i], 1e-13);
    EXPECT_LT(difference(plainProduct<double>(m, inverse), identity<double>(5)), 1e-14);
}

TEST(SquareMatrix, tridiagSolveOfOneUnknownDividesOnce) {
    Vector<double> x = vector({6.0});
    SquareMatrix<double>::tridiagSolve(x, vector({4.0}), Vector<double>(), Vector<double>());
    EXPECT_EQ(x, vector({1.5}));
    SquareMatrix<double> inverse;
    SquareMatrix<double>::tridiagInverse(inverse, vector({4.0}), Vector<double>(), Vector<double>());
    EXPECT_EQ(inverse, matrix({{0.25}}));
}

TEST(SquareMatrix, nullPivotsOfTridiagonalSystemsLeaveEverythingAsItWas) {
    // The second pivot is 1 - 1 * 1 = 0.
    const Vector<double> ones = vector({1.0, 1.0, 1.0}), sides = vector({1.0, 1.0});
    Vector<double> x = vector({1.0, 2.0, 3.0});
    expectError<MathError>([&] { SquareMatrix<double>::tridiagSolve(x, ones, sides, sides); },
                           "void SquareMatrix<T>::tridiagSolve(...)", "Null pivoting element found.");
    EXPECT_EQ(x, vector({1.0, 2.0, 3.0}));
    SquareMatrix<double> inverse(matrix({{5.0}}));
    expectError<Exception>([&] { SquareMatrix<double>::tridiagInverse(inverse, ones, sides, sides); },
                           "void SquareMatrix<T>::tridiagInverse(...)",
                           "Null pivoting element found. Try another inversion method.");
    EXPECT_EQ(inverse, matrix({{5.0}}));
    EXPECT_THROW(SquareMatrix<double>::tridiagSolve(x, ones, vector({1.0}), sides), SizeError);
}

TEST(SquareMatrix, cyclicTridiagSolveHonoursTheCorners) {
    const Vector<double> d = vector({4.0, 5.0, 6.0, 7.0});
    const Vector<double> upper = vector({1.0, -1.0, 2.0}), lower = vector({2.0, 1.0, 1.5});
    SquareMatrix<double> m(4u);
    m.setTridiagonal(d, upper, lower);
    m(3, 0) = 0.75; // alpha, bottom left
    m(0, 3) = -1.25;
    const Vector<double> x = vector({1.0, -2.0, 3.0, -4.0});
    const Vector<double> y = vector({0.5, 7.0, -0.25, 3.0});
    Vector<double> b = m * x, c = m * y;
    const Vector<double> right = b;
    SquareMatrix<double>::cyclicTridiagSolve(b, d, upper, lower, 0.75, -1.25);
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(b[i], x[i], 1e-13);
    Vector<double> again = right, shorter(3);
    EXPECT_THROW(SquareMatrix<double>::cyclicTridiagSolve(again, shorter, d, upper, lower, 0.75, -1.25), SizeError);
    EXPECT_EQ(again, right);
    SquareMatrix<double>::cyclicTridiagSolve(again, c, d, upper, lower, 0.75, -1.25);
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(again[i], x[i], 1e-13);
        EXPECT_NEAR(c[i], y[i], 1e-13);
    }
}

TEST(SquareMatrix, singularCyclicSystemIsRefused) {
    // Second differences on a ring: every row adds up to 0.
    const Vector<double> d = vector({2.0, 2.0, 2.0, 2.0}), sides = vector({-1.0, -1.0, -1.0});
    Vector<double> x = vector({1.0, 2.0, 3.0, 4.0});
    expectError<MathError>([&] { SquareMatrix<double>::cyclicTridiagSolve(x, d, sides, sides, -1.0, -1.0); },
                           "void SquareMatrix<T>::cyclicTridiagSolve(...)", "Singular cyclic tridiagonal matrix.");
    EXPECT_EQ(x, vector({1.0, 2.0, 3.0, 4.0}));
}

TEST(SquareMatrix, integerMatricesNameTheirTypeWhenTheyRefuse) {
    SquareMatrix<int> m(matrix<int>({{1, 2}, {3, 4}})), vectors;
    Vector<int> index, b = vector<int>({1, 2}), none;
    const std::string what = "Method not available for type 'int'";
    expectError<TypeError>([&] { m.setHilbert(2); }, "void SquareMatrix<int>::setHilbert(const int)", what);
    expectError<TypeError>([&] { m.luDecomp(index, 0); }, "int SquareMatrix<int>::luDecomp(...)", what);
    expectError<TypeError>([&] { m.luSolve(b, index); }, "void SquareMatrix<int>::luSolve(...) const", what);
    expectError<TypeError>([&] { m.eigenJacobi(b, vectors, true); },
                           "SquareMatrix<int> SquareMatrix<int>::eigenJacobi(...) const", what);
    expectError<TypeError>([&] { SquareMatrix<int>::tridiagInverse(m, b, none, none); },
                           "void SquareMatrix<int>::tridiagInverse(...)", what);
    expectError<TypeError>([&] { SquareMatrix<int>::tridiagSolve(b, b, none, none); },
                           "void SquareMatrix<int>::tridiagSolve(...)", what);
    EXPECT_EQ(m, matrix<int>({{1, 2}, {3, 4}}));
}

} // namespace vorlen
