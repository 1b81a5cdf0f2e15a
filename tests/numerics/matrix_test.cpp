#include "numerics/exception.h"
#include "numerics/matrix.h"
#include "numerics/matrixtools.h"
#include "numerics/numericio.h"
#include "numerics/squarematrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <vector>

namespace vorlen {

using namespace matrixtools;

TEST(Matrix, setSizeOfThePresentShapeKeepsTheContents) {
    Matrix<int> m(2, 3);
    m.fill(7);
    const int* row = m[1].data();
    m.setSize(2, 3);
    EXPECT_EQ(m[1].data(), row);
    EXPECT_EQ(m(1, 2), 7);
    m.setSize(vector<int>({5, 1}));
    EXPECT_EQ(m.getSize1(), 5);
    EXPECT_EQ(m.getSize2(), 1);
    EXPECT_EQ(m[4].getSize(), 1);
    m.setSize(-3, -1);
    EXPECT_EQ(m.getSize(), vector<int>({0, 0}));
}

TEST(Matrix, getSizeNamesRowsFirstAndKnowsNoThirdDimension) {
    const Matrix<float> m(4, 9);
    int rows = 0, cols = 0;
    m.getSize(rows, cols);
    EXPECT_EQ(rows, 4);
    EXPECT_EQ(cols, 9);
    EXPECT_EQ(m.getSize(1), 4);
    EXPECT_EQ(m.getSize(2), 9);
    EXPECT_EQ(m.getSize(3), 0);
    EXPECT_EQ(m.getSize(0), 0);
    EXPECT_EQ(m.getSize(), vector<int>({4, 9}));
}

TEST(Matrix, vectorBecomesARowOrAColumn) {
    const Vector<double> v = vector({1.0, 2.0, 3.0});
    EXPECT_EQ(Matrix<double>(v, true), matrix({{1.0, 2.0, 3.0}}));
    EXPECT_EQ(Matrix<double>(v, false), matrix({{1.0}, {2.0}, {3.0}}));
}

TEST(Matrix, copiesAreDeepAndMovesLeaveAnEmptyMatrix) {
    Matrix<double> a = matrix({{1.0, 2.0, 3.0, 4.0, 5.0}, {6.0, 7.0, 8.0, 9.0, 10.0}});
    Matrix<double> b(a);
    b(0, 0) = 99;
    EXPECT_EQ(a(0, 0), 1.0);
    b = a;
    EXPECT_EQ(b, a);
    b = static_cast<const Matrix<double>&>(b);
    EXPECT_EQ(b, a);
    const Matrix<double> c(std::move(b));
    EXPECT_EQ(c, a);
    EXPECT_EQ(b.getSize1(), 0);
    EXPECT_EQ(b.getSize2(), 0);
    b = Matrix<double>(a);
    EXPECT_EQ(b, a);
}

TEST(Matrix, rowsAndColumnsAreCopiedInAndOut) {
    Matrix<int> m = matrix<int>({{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(m.getRow(1), vector<int>({4, 5, 6}));
    EXPECT_EQ(m.getColumn(2), vector<int>({3, 6}));
    Vector<int> v(9u);
    m.getColumn(v, 0);
    EXPECT_EQ(v, vector<int>({1, 4}));
    m.setRow(0, vector<int>({7, 8, 9}));
    m.setColumn(1, vector<int>({0, -1}));
    EXPECT_EQ(m, matrix<int>({{7, 0, 9}, {4, -1, 6}}));
    expectError<SizeError>(
        [&] {
            m.setRow(0, vector<int>({1, 2}));
        },
        "void Matrix<T>::setRow(const int,const Vector<T>&)", "Incompatible matrix row and vector dimensions");
    expectError<SizeError>(
        [&] {
            m.setColumn(0, vector<int>({1, 2, 3}));
        },
        "void Matrix<T>::setColumn(const int,const Vector<T>&)", "Incompatible matrix column and vector dimensions");
    EXPECT_EQ(m, matrix<int>({{7, 0, 9}, {4, -1, 6}}));
}

TEST(Matrix, pasteFillsABlockUpToTheEdgeAndNotBeyond) {
    Matrix<int> m;
    m.setZeros(3, 4);
    const Matrix<int> block = matrix<int>({{1, 2}, {3, 4}});
    m.paste(1, 2, block);
    EXPECT_EQ(m, matrix<int>({{0, 0, 0, 0}, {0, 0, 1, 2}, {0, 0, 3, 4}}));
    EXPECT_EQ(m.copy(1, 2, 2, 3), block);
    EXPECT_EQ(m.copy(1, 1, 1, 3), matrix<int>({{0, 1, 2}}));
    for (const auto& [row, col] : {std::pair(2, 0), std::pair(0, 3), std::pair(-1, 0), std::pair(0, -1)})
        expectError<SizeError>([&, r = row, c = col] { m.paste(r, c, block); }, "void Matrix<T>::paste(...)",
                               "Cannot paste block at specified position");
}

TEST(Matrix, transposeCatAndSwapMoveWholeRows) {
    const Matrix<int> m = matrix<int>({{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(m.transpose(), matrix<int>({{1, 4}, {2, 5}, {3, 6}}));
    EXPECT_EQ(m.cat(), vector<int>({1, 2, 3, 4, 5, 6}));
    Matrix<int> a(m), b = matrix<int>({{9}});
    a.swap(b);
    EXPECT_EQ(b, m);
    EXPECT_EQ(a, matrix<int>({{9}}));
    b.swapRows(0, 1);
    EXPECT_EQ(b, matrix<int>({{4, 5, 6}, {1, 2, 3}}));
    const Matrix<double> wide = noise<double>(19, 37, 5);
    const Matrix<double> turned = wide.transpose();
    for (int i = 0; i < 19; ++i)
        for (int j = 0; j < 37; ++j)
            ASSERT_EQ(turned(j, i), wide(i, j));
}

TEST(Matrix, applyAndConversionGoElementByElement) {
    Matrix<double> m = matrix({{1.75, -2.25}});
    EXPECT_EQ(m.toType<int>(), matrix<int>({{1, -2}}));
    EXPECT_EQ(m.toType<float>()(0, 1), -2.25f);
    m.apply([](double x) { return 2 * x; });
    EXPECT_EQ(m, matrix({{3.5, -4.5}}));
}

TEST(Matrix, printWritesTheTitleAndKeepsTheTransposeSetting) {
    NumericIO::setIOTranspose(true);
    std::ostringstream stream;
    matrix({{1.0, 2.0}, {3.0, 4.0}}).print("M", stream);
    EXPECT_TRUE(NumericIO::getIOTranspose());
    NumericIO::setIOTranspose(false);
    // The title's line and one line end for each row; the elements themselves go to the standard error.
    EXPECT_EQ(stream.str(), "M\n\n\n");
}

TEST(Matrix, statisticsOfRowsAreThoseOfVectors) {
    const Matrix<double> m = matrix({{1.0, 2.0, 6.0}, {-1.0, 0.0, -5.0}});
    EXPECT_EQ(m.min(), vector({1.0, -5.0}));
    EXPECT_EQ(m.max(), vector({6.0, 0.0}));
    EXPECT_EQ(m.sum(), vector({9.0, -6.0}));
    EXPECT_EQ(m.mean(), vector({3.0, -2.0}));
    EXPECT_EQ(m.prod(), vector({12.0, 0.0}));
    // Squared deviations 4 + 1 + 9 and 1 + 4 + 9, over 3.
    EXPECT_DOUBLE_EQ(m.var()[0], 14.0 / 3);
    EXPECT_DOUBLE_EQ(m.std()[1], std::sqrt(14.0 / 3));
    EXPECT_EQ(m.range(), vector({-5.0, 6.0}));
}

TEST(Matrix, statisticsOfAllElementsTakeThePopulationVariance) {
    const Matrix<double> m = matrix({{1.0, 3.0}, {5.0, 7.0}});
    EXPECT_DOUBLE_EQ(m.mean2(), 4.0);
    EXPECT_DOUBLE_EQ(m.var2(), 5.0); // (9 + 1 + 1 + 9) / 4
    EXPECT_DOUBLE_EQ(m.std2(), std::sqrt(5.0));
    EXPECT_DOUBLE_EQ(m.snorm(), 84.0);
    const Matrix<double> empty;
    EXPECT_EQ(empty.mean2(), 0.0);
    EXPECT_EQ(empty.var2(), 0.0);
    EXPECT_EQ(empty.snorm(), 0.0);
    expectError<SizeError>([&] { empty.range(); }, "Vector<T> Matrix<T>::range() const", "This matrix is empty.");
}

TEST(Matrix, meanOfBytesDoesNotOverflow) {
    Matrix<unsigned char> m(20, 20);
    m.fill(200);
    m(0, 0) = 0;
    m(0, 1) = 200;
    EXPECT_EQ(m.mean2(), 199);
}

TEST(Matrix, histogramAddsUpTheRows) {
    const Matrix<int> m = matrix<int>({{0, 5, 10}, {12, -3, 100}});
    const Vector<unsigned int> counts = m.histogram(0, 5, 3);
    EXPECT_EQ(counts[0], 2u); // 0 and -3
    EXPECT_EQ(counts[1], 1u); // 5
    EXPECT_EQ(counts[2], 3u); // 10, 12 and 100
}

TEST(Matrix, arithmeticGoesElementByElement) {
    const Matrix<int> a = matrix<int>({{1, 2}, {3, 4}});
    const Matrix<int> b = matrix<int>({{10, 20}, {30, 40}});
    EXPECT_EQ(a + b, matrix<int>({{11, 22}, {33, 44}}));
    EXPECT_EQ(b - a, matrix<int>({{9, 18}, {27, 36}}));
    EXPECT_EQ(a.pointwiseProduct(b), matrix<int>({{10, 40}, {90, 160}}));
    EXPECT_EQ(-a, matrix<int>({{-1, -2}, {-3, -4}}));
    EXPECT_EQ(a + 1, matrix<int>({{2, 3}, {4, 5}}));
    EXPECT_EQ(a - 1, matrix<int>({{0, 1}, {2, 3}}));
    EXPECT_EQ(a * 3, matrix<int>({{3, 6}, {9, 12}}));
    EXPECT_EQ(b / 10, a);
    Matrix<int> c(a);
    c += a;
    c -= b;
    EXPECT_EQ(c, matrix<int>({{-8, -16}, {-24, -32}}));
    EXPECT_NE(c, a);
    EXPECT_NE(a, matrix<int>({{1, 2}}));
}

TEST(Matrix, shapesThatDifferAreRefused) {
    Matrix<double> a(2, 3);
    a.setOnes();
    const Matrix<double> before(a);
    const Matrix<double> b(3, 2);
    const std::string what = "The dimensions of the two matrices differ";
    expectError<SizeError>([&] { a + b; }, "Matrix<T> Matrix<T>::operator+(const Matrix&) const", what);
    expectError<SizeError>([&] { a - b; }, "Matrix<T> Matrix<T>::operator-(const Matrix&) const", what);
    expectError<SizeError>([&] { a += b; }, "void Matrix<T>::operator+=(const Matrix&)", what);
    expectError<SizeError>([&] { a -= b; }, "void Matrix<T>::operator-=(const Matrix&)", what);
    expectError<SizeError>([&] { a.pointwiseProduct(b); }, "Matrix<T> Matrix<T>::pointwiseProduct(const Matrix&) const",
                           what);
    expectError<SizeError>([&] { a* a; }, "Matrix<T> Matrix<T>::operator*(const Matrix&) const",
                           "The dimensions of the two matrices are not compatible");
    expectError<SizeError>([&] { a *= a; }, "void Matrix<T>::operator*=(const Matrix&)",
                           "The dimensions of the two matrices are not compatible");
    expectError<SizeError>(
        [&] {
            a* vector({1.0, 2.0});
        },
        "Vector<T> Matrix<T>::operator*(const Vector<T>&)", "Incompatible vector and matrix dimensions");
    EXPECT_EQ(a, before);
}

TEST(Matrix, productsFollowTheDefinition) {
    const Matrix<int> a = matrix<int>({{1, 2, 3}, {4, 5, 6}});
    const Matrix<int> b = matrix<int>({{1, 0}, {2, 1}, {0, -1}});
    EXPECT_EQ(a * b, matrix<int>({{5, -1}, {14, -1}}));
    EXPECT_EQ(a * vector<int>({1, 1, 2}), vector<int>({9, 21}));
    Matrix<int> c(a);
    c *= b;
    EXPECT_EQ(c, matrix<int>({{5, -1}, {14, -1}}));
}

// Sizes around the widths of strips and blocks of the fast product.
TEST(Matrix, productOfAnySizeAgreesWithThePlainOne) {
    for (const int m : {1, 3, 5, 66})
        for (const int k : {1, 15, 16, 63, 64, 65, 130})
            for (const int n : {1, 7, 8, 9, 33}) {
                const Matrix<double> a = noise<double>(m, k, 3), b = noise<double>(k, n, 11);
                ASSERT_LT(difference(a * b, plainProduct(a, b)), 1e-13) << m << " " << k << " " << n;
                const Matrix<float> af = a.toType<float>(), bf = b.toType<float>();
                ASSERT_LT(difference(af * bf, plainProduct(af, bf)), 1e-4f) << m << " " << k << " " << n;
            }
    const Matrix<long double> a = noise<long double>(6, 70, 3), b = noise<long double>(70, 5, 11);
    EXPECT_LT(difference(a * b, plainProduct(a, b)), 1e-16L);
}

TEST(Matrix, sortRowsMovesWholeRows) {
    Matrix<int> m = matrix<int>({{5, 50, 1}, {3, 30, 2}, {9, 90, 3}, {1, 10, 4}, {7, 70, 5}});
    m.sortRows(0);
    EXPECT_EQ(m, matrix<int>({{1, 10, 4}, {3, 30, 2}, {5, 50, 1}, {7, 70, 5}, {9, 90, 3}}));
    // Rows 1 to 3 by the last column, with the ends in the wrong order.
    m.sortRows(2, 3, 1);
    EXPECT_EQ(m, matrix<int>({{1, 10, 4}, {5, 50, 1}, {3, 30, 2}, {7, 70, 5}, {9, 90, 3}}));
    Matrix<int> single = matrix<int>({{2, 1}});
    single.sortRows(0);
    EXPECT_EQ(single, matrix<int>({{2, 1}}));
    Matrix<int> none;
    none.sortRows(0);
    EXPECT_EQ(none.getSize1(), 0);
}

TEST(Matrix, sortRowsKeepsEveryRowOfALongTableWithEqualKeys) {
    const int n = 500;
    Matrix<double> m(n, 6);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < 6; ++j)
            m(i, j) = j == 2 ? (i * 7919) % 37 : i;
    m.sortRows(2);
    std::vector<int> seen(n, 0);
    for (int i = 0; i < n; ++i) {
        const int from = int(m(i, 0));
        ++seen[from];
        ASSERT_EQ(m(i, 5), from);
        ASSERT_EQ(m(i, 2), (from * 7919) % 37);
        if (i > 0) {
            ASSERT_LE(m(i - 1, 2), m(i, 2));
        }
    }
    EXPECT_EQ(seen, std::vector<int>(n, 1));
}

TEST(Matrix, sortRowsPutsKeysThatAreNotNumbersLast) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Matrix<double> m = matrix({{nan, 1.0}, {2.0, 2.0}, {nan, 3.0}, {1.0, 4.0}});
    m.sortRows(0);
    EXPECT_EQ(m(0, 1), 4.0);
    EXPECT_EQ(m(1, 1), 2.0);
    EXPECT_TRUE(std::isnan(m(2, 0)) && std::isnan(m(3, 0)));
}

TEST(Matrix, householderTransformsAreProductsWithAReflection) {
    const Matrix<double> m = noise<double>(6, 5, 21);
    const Vector<double> v = vector({1.0, -0.5, 0.25, 2.0, 0.0, 1.5});
    const Vector<double> w = vector({1.0, 3.0, -1.0, 0.5, 0.1});
    Matrix<double> left(m), right(m);
    left.leftHouseholderTransform(v, 0.3);
    right.rightHouseholderTransform(w, 0.7);
    EXPECT_LT(difference(left, plainProduct(identity<double>(6) - v.outerProduct(v) * 0.3, m)), 1e-14);
    EXPECT_LT(difference(right, plainProduct(m, identity<double>(5) - w.outerProduct(w) * 0.7)), 1e-14);
}

TEST(Matrix, blockTransformsTouchOnlyTheBlock) {
    const Matrix<double> m = noise<double>(6, 5, 4);
    const Vector<double> v = vector({1.0, 2.0, -1.0});
    Matrix<double> left(m), right(m);
    left.leftHouseholderTransform(v, 0.5, 2, 4, 1, 2);
    right.rightHouseholderTransform(v, 0.5, 1, 2, 2, 4);
    Matrix<double> expectedLeft(m), expectedRight(m);
    const Matrix<double> reflection = identity<double>(3) - v.outerProduct(v) * 0.5;
    expectedLeft.paste(2, 1, plainProduct(reflection, m.copy(2, 4, 1, 2)));
    expectedRight.paste(1, 2, plainProduct(m.copy(1, 2, 2, 4), reflection));
    EXPECT_LT(difference(left, expectedLeft), 1e-14);
    EXPECT_LT(difference(right, expectedRight), 1e-14);
    for (const int i : {0, 1, 5})
        EXPECT_EQ(left[i], m[i]);
    expectError<SizeError>([&] { left.leftHouseholderTransform(v, 0.5, 2, 5, 1, 2); },
                           "Matrix<T> Matrix<T>::leftHouseholderTransform(...)",
                           "Incompatible block and Householder vector dimensions");
    expectError<SizeError>([&] { left.rightHouseholderTransform(v, 0.5); },
                           "Matrix<T> Matrix<T>::rightHouseholderTransform(...)",
                           "Incompatible block and Householder vector dimensions");
}

TEST(Matrix, givensTurnsTheSecondNumberToZero) {
    double c, s;
    Matrix<double>::givens(c, s, 3.0, 0.0);
    EXPECT_EQ(c, 1.0);
    EXPECT_EQ(s, 0.0);
    // |a| > |b|: t = -3/4, c = 4/5, s = -3/5.
    Matrix<double>::givens(c, s, 4.0, 3.0);
    EXPECT_DOUBLE_EQ(c, 0.8);
    EXPECT_DOUBLE_EQ(s, -0.6);
    // |a| <= |b|: t = -3/4, s = 4/5, c = -3/5.
    Matrix<double>::givens(c, s, 3.0, 4.0);
    EXPECT_DOUBLE_EQ(s, 0.8);
    EXPECT_DOUBLE_EQ(c, -0.6);
}

TEST(Matrix, givensRotationsTakeTheOldValuesOfBothRowsOrColumns) {
    Matrix<double> m = matrix({{1.0, 2.0}, {3.0, 4.0}, {5.0, 6.0}});
    m.leftGivensRotate(0.6, 0.8, 0, 2);
    EXPECT_LT(difference(m, matrix({{-3.4, -3.6}, {3.0, 4.0}, {3.8, 5.2}})), 1e-14);
    m = matrix({{1.0, 2.0}, {3.0, 4.0}});
    m.rightGivensRotate(0.6, 0.8, 0, 1);
    EXPECT_LT(difference(m, matrix({{-1.0, 2.0}, {-1.4, 4.8}})), 1e-14);
    // The factors may be elements of the rows that are turned.
    m = matrix({{0.6, 0.8}, {0.0, 1.0}});
    m.leftGivensRotate(m(0, 0), m(0, 1), 0, 1);
    EXPECT_LT(difference(m, matrix({{0.36, -0.32}, {0.48, 1.24}})), 1e-14);
}

template <class T>
class Decomposition : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double, long double>;
TYPED_TEST_SUITE(Decomposition, RealTypes);

TYPED_TEST(Decomposition, bidiagonalFormIsReachedByTheTwoFactors) {
    using T = TypeParam;
    const T tolerance = T(100) * Vector<T>::epsilon();
    for (const auto& [n, p] : {std::pair(1, 1), std::pair(3, 2), std::pair(5, 5), std::pair(9, 4), std::pair(40, 23)}) {
        const Matrix<T> a = noise<T>(n, p, 77);
        Matrix<T> b(a);
        SquareMatrix<T> u, v;
        b.householderBidiag(&u, &v);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < p; ++j)
                if (j != i && j != i + 1) {
                    ASSERT_EQ(b(i, j), T(0)) << i << " " << j;
                }
        EXPECT_LT(difference(plainProduct<T>(plainProduct<T>(u, a), v), b), tolerance);
        EXPECT_LT(difference(plainProduct<T>(u, u.transpose()), identity<T>(n)), tolerance);
        EXPECT_LT(difference(plainProduct<T>(v, v.transpose()), identity<T>(p)), tolerance);
        Matrix<T> withoutFactors(a);
        withoutFactors.householderBidiag(nullptr, nullptr);
        EXPECT_EQ(withoutFactors, b);
    }
}

TYPED_TEST(Decomposition, svdDiagonalisesWithOrthogonalFactors) {
    using T = TypeParam;
    const T tolerance = T(300) * Vector<T>::epsilon();
    for (const auto& [n, p] : {std::pair(1, 1), std::pair(2, 1), std::pair(3, 2), std::pair(3, 3), std::pair(8, 8),
                               std::pair(50, 20), std::pair(70, 65)}) {
        const Matrix<T> a = noise<T>(n, p, 5);
        const Matrix<T> before(a);
        SquareMatrix<T> u, v;
        const Vector<T> s = a.svd(&u, &v);
        ASSERT_EQ(s.getSize(), p);
        for (int i = 0; i < p; ++i)
            EXPECT_GE(s[i], T(0));
        EXPECT_LT(difference(plainProduct<T>(plainProduct<T>(u, a), v), diagonalOf(s, n)), tolerance) << n << " " << p;
        EXPECT_LT(difference(plainProduct<T>(u, u.transpose()), identity<T>(n)), tolerance);
        EXPECT_LT(difference(plainProduct<T>(v.transpose(), v), identity<T>(p)), tolerance);
        EXPECT_EQ(a, before);
        EXPECT_EQ(a.svd(nullptr, nullptr), s);
    }
}

TEST(Matrix, singularValuesOfAKnownMatrix) {
    // A^T A = {{25, 20}, {20, 25}} has the eigenvalues 45 and 5.
    Vector<double> s = matrix({{3.0, 0.0}, {4.0, 5.0}}).svd(nullptr, nullptr);
    s.sort();
    EXPECT_NEAR(s[0], std::sqrt(5.0), 1e-14);
    EXPECT_NEAR(s[1], std::sqrt(45.0), 1e-14);
    // Columns of lengths 5 and 2 at right angles.
    s = matrix({{3.0, 0.0}, {4.0, 0.0}, {0.0, -2.0}}).svd(nullptr, nullptr);
    s.sort();
    EXPECT_NEAR(s[0], 2.0, 1e-14);
    EXPECT_NEAR(s[1], 5.0, 1e-14);
}

TEST(Matrix, svdOfZerosEndsAtOnce) {
    Matrix<double> m;
    m.setZeros(4, 3);
    SquareMatrix<double> u, v;
    EXPECT_EQ(m.svd(&u, &v), vector({0.0, 0.0, 0.0}));
    EXPECT_EQ(u.getSize(), 4);
    EXPECT_EQ(v.getSize(), 3);
    EXPECT_EQ(m.pinverse(), m.transpose());
    EXPECT_EQ(m.solve(vector({1.0, 2.0, 3.0, 4.0})), vector({0.0, 0.0, 0.0}));
    EXPECT_EQ(Matrix<double>().svd(&u, &v).getSize(), 0);
}

// Zeros on the diagonal of the bidiagonal form, in the middle and at the end of a block.
TEST(Matrix, svdCleansRowsAndColumnsOfZeroDiagonalElements) {
    for (int zero = 0; zero < 5; ++zero) {
        SquareMatrix<double> a(5u), u, v;
        Vector<double> d = vector({2.0, 3.0, 1.0, 4.0, 5.0});
        d[zero] = 0;
        a.setUpperBidiagonal(d, vector({1.0, 1.0, 1.0, 1.0}));
        const Vector<double> s = a.svd(&u, &v);
        EXPECT_LT(difference(plainProduct<double>(plainProduct<double>(u, a), v), diagonalOf(s, 5)), 1e-13) << zero;
        EXPECT_LT(s.min(), 1e-14);
        EXPECT_LT(difference(plainProduct<double>(u, u.transpose()), identity<double>(5)), 1e-13);
    }
}

TEST(Matrix, svdScalesWithTheMatrixFarOutsideTheRangeOfSquares) {
    const Matrix<double> a = noise<double>(7, 4, 9);
    Vector<double> s = a.svd(nullptr, nullptr);
    s.sort();
    for (const int exponent : {-900, -500, 500, 900}) {
        Matrix<double> scaled(a);
        scaled *= std::ldexp(1.0, exponent);
        Vector<double> t = scaled.svd(nullptr, nullptr);
        t.sort();
        for (int i = 0; i < 4; ++i)
            EXPECT_NEAR(std::ldexp(t[i], -exponent), s[i], 1e-13) << exponent;
    }
}

TEST(Matrix, svdOfWideOrNonFiniteMatricesIsRefused) {
    Matrix<double> wide(2, 3);
    wide.setOnes();
    expectError<SizeError>([&] { wide.svd(nullptr, nullptr); }, "Vector<T> Matrix<T>::svd(...) const",
                           "Cannot perform svd of (n,p) matrix with p > n");
    expectError<SizeError>([&] { wide.householderBidiag(nullptr, nullptr); },
                           "Matrix<T> Matrix<T>::householderBidiag(...) const",
                           "Cannot perform bidiagonalization of (n,p) matrix with p > n");
    try {
        wide.pinverse();
        ADD_FAILURE();
    } catch (const SizeError& e) {
        EXPECT_EQ(e.callStack(), "[0] Vector<T> Matrix<T>::svd(...) const\n[1] Matrix<T> Matrix<T>::pinverse() const");
    }
    try {
        wide.solve(vector({1.0, 2.0}));
        ADD_FAILURE();
    } catch (const SizeError& e) {
        EXPECT_EQ(e.callStack(), "[0] Vector<T> Matrix<T>::svd(...) const\n[1] Vector<T> Matrix<T>::solve(...) const");
    }
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        Matrix<double> m = noise<double>(4, 3, 1);
        m(2, 1) = bad;
        EXPECT_THROW(m.svd(nullptr, nullptr), MathError);
        EXPECT_THROW(m.pinverse(), MathError);
    }
}

TYPED_TEST(Decomposition, pseudoInverseMeetsThePenroseConditions) {
    using T = TypeParam;
    const T tolerance = T(3000) * Vector<T>::epsilon();
    Matrix<T> a = noise<T>(12, 7, 3);
    for (int rank : {7, 5}) {
        for (int i = 0; i < 12; ++i)
            for (int j = rank; j < 7; ++j)
                a(i, j) = a(i, 0) + T(j) * a(i, 1); // dependent columns
        const Matrix<T> b = a.pinverse();
        ASSERT_EQ(b.getSize1(), 7);
        ASSERT_EQ(b.getSize2(), 12);
        const Matrix<T> ab = plainProduct(a, b), ba = plainProduct(b, a);
        EXPECT_LT(difference(plainProduct(ab, a), a), tolerance);
        EXPECT_LT(difference(plainProduct(ba, b), b), tolerance);
        EXPECT_LT(difference(ab, ab.transpose()), tolerance);
        EXPECT_LT(difference(ba, ba.transpose()), tolerance);
    }
}

TEST(Matrix, solveFitsALineByLeastSquares) {
    // Points (0, 1), (1, 3), (2, 4), (3, 4): slope 1, intercept 1.5 by the normal equations.
    const Matrix<double> a = matrix({{0.0, 1.0}, {1.0, 1.0}, {2.0, 1.0}, {3.0, 1.0}});
    const Vector<double> x = a.solve(vector({1.0, 3.0, 4.0, 4.0}));
    EXPECT_NEAR(x[0], 1.0, 1e-13);
    EXPECT_NEAR(x[1], 1.5, 1e-13);
    EXPECT_THROW(a.solve(vector({1.0, 2.0})), SizeError);
}

TEST(Matrix, solveTakesTheShortestOfManySolutions) {
    // Equal columns: x + y = 2 has the shortest solution (1, 1).
    const Vector<double> x = matrix({{1.0, 1.0}, {2.0, 2.0}}).solve(vector({2.0, 4.0}));
    EXPECT_NEAR(x[0], 1.0, 1e-14);
    EXPECT_NEAR(x[1], 1.0, 1e-14);
}

TEST(Matrix, integerMatricesNameTheirTypeWhenTheyRefuse) {
    const Matrix<int> m = matrix<int>({{1, 2}, {3, 4}});
    const std::string what = "Method not available for type 'int'";
    int c = 0, s = 0;
    expectError<TypeError>([&] { m.mean2(); }, "int Matrix<int>::mean2() const", what);
    expectError<TypeError>([&] { m.var2(); }, "int Matrix<int>::var2() const", what);
    expectError<TypeError>([&] { m.std2(); }, "int Matrix<int>::std2() const", what);
    expectError<TypeError>([&] { m.svd(nullptr, nullptr); }, "Matrix<int> Matrix<int>::svd(...) const", what);
    expectError<TypeError>([&] { m.pinverse(); }, "Matrix<int> Matrix<int>::pinverse() const", what);
    expectError<TypeError>([&] { Matrix<int>::givens(c, s, 1, 2); }, "void Matrix<int>::givens(...)", what);
    expectError<TypeError>([] { Matrix<unsigned short>(1, 1).mean2(); },
                           "unsigned short Matrix<unsigned short>::mean2() const",
                           "Method not available for type 'unsigned short'");
    expectError<TypeError>([] { Matrix<char>(1, 1).svd(nullptr, nullptr); },
                           "Matrix<char> Matrix<char>::svd(...) const", "Method not available for type 'char'");
}

} // namespace vorlen
