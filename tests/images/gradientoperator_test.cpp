#include "images/filters/derichegradient.h"

#include <cmath>
#include <limits>
#include <numbers>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "support/failures.h"
#include "support/vectors.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

// The two parts written out with the border as zeros, in long double.
std::vector<long double> recursion(const std::vector<long double>& x, const long double (&a)[4], long double b1,
                                   long double b2, long double scale) {
    const int n = static_cast<int>(x.size());
    std::vector<long double> y(x.size() + 2, 0.0L), z(x.size() + 2, 0.0L), result(x.size());
    const auto at = [&](int i) { return i >= 0 && i < n ? x[std::size_t(i)] : 0.0L; };
    for (int i = 0; i < n; ++i)
        y[std::size_t(i + 2)] = a[0] * at(i) + a[1] * at(i - 1) + b1 * y[std::size_t(i + 1)] + b2 * y[std::size_t(i)];
    for (int i = n - 1; i >= 0; --i)
        z[std::size_t(i)] =
            a[2] * at(i + 1) + a[3] * at(i + 2) + b1 * z[std::size_t(i + 1)] + b2 * z[std::size_t(i + 2)];
    for (int i = 0; i < n; ++i)
        result[std::size_t(i)] = (y[std::size_t(i + 2)] + z[std::size_t(i)]) * scale;
    return result;
}

struct Formulas {
    explicit Formulas(long double alpha) {
        const long double e = std::exp(-alpha), k = std::pow(1 - e, 4.0L) / (1 + 2 * alpha * e - e * e);
        const long double values[4] = {k, (alpha - 1) * e * k, (alpha + 1) * e * k, -e * e * k};
        std::copy(values, values + 4, smoothing);
        b1 = 2 * e;
        b2 = -e * e;
        scale = -(1 - e) * (1 - e);
    }
    const long double derivative[4] = {0, 1, -1, 0};
    long double smoothing[4];
    long double b1, b2, scale;
};

// Derivative along one axis (0 down, 1 along the rows, 2 across the planes), smoothing along the other ones of the
// steps.
VoxelMatrix<long double> gradientByDefinition(VoxelMatrix<long double> volume, float alpha, int axis,
                                              const std::vector<int>& steps = {1, 0}) {
    const Formulas formulas(alpha);
    for (const int step : steps)
        replaceLines<long double>(
            volume, nullptr, step, [&](const std::vector<long double>& line, const std::vector<long double>&) {
                return step == axis ? recursion(line, formulas.derivative, formulas.b1, formulas.b2, formulas.scale)
                                    : recursion(line, formulas.smoothing, formulas.b1, formulas.b2, 1.0L);
            });
    return volume;
}

PixelMatrix<double> verticalStep(int rows, int columns, int first) {
    return volumeOf<double>(rows, columns, 1, [=](int, int j, int) { return j >= first ? 100 : 0; })[0];
}

int countNonzero(const PixelMatrix<double>& matrix) {
    int count = 0;
    for (int i = 1; i + 1 < matrix.getSize1(); ++i)
        for (int j = 1; j + 1 < matrix.getSize2(); ++j)
            count += matrix[i][j] != 0.0;
    return count;
}

// The test of the fine thinning, spelled out on one matrix.
PixelMatrix<double> thinnedByDefinition(const PixelMatrix<double>& norm, const PixelMatrix<double>& h,
                                        const PixelMatrix<double>& v) {
    PixelMatrix<double> result = norm;
    for (int i = 1; i + 1 < norm.getSize1(); ++i)
        for (int j = 1; j + 1 < norm.getSize2(); ++j) {
            const double g = norm(i, j);
            if (g == 0.0)
                continue;
            const double dx = h(i, j) / g, dy = v(i, j) / g, ax = std::abs(dx), ay = std::abs(dy);
            const int sx = dx >= 0.0 ? 1 : -1, sy = dy >= 0.0 ? 1 : -1;
            const auto probe = [&](int s) {
                return (1 - ax) * (1 - ay) * g + ax * (1 - ay) * norm(i, j + s * sx) +
                       (1 - ax) * ay * norm(i + s * sy, j) + ax * ay * norm(i + s * sy, j + s * sx);
            };
            if (probe(1) >= g || probe(-1) > g)
                result(i, j) = 0.0;
        }
    return result;
}

// Adds a different constant along each index.
class Constants : public GradientOperator<double> {
public:
    void gradient1(PixelMatrix<double>& matrix) override { matrix += 2.0; }
    void gradient2(PixelMatrix<double>& matrix) override { matrix += 3.0; }
    void hGradient(PixelMatrix<double>& matrix) override { gradient2(matrix); }
    void vGradient(PixelMatrix<double>& matrix) override { gradient1(matrix); }
    void gradient1(VoxelMatrix<double>& volume) override { volume += 2.0; }
    void gradient2(VoxelMatrix<double>& volume) override { volume += 3.0; }
    void gradient3(VoxelMatrix<double>& volume) override { volume += 6.0; }
};

template <class T>
class DericheGradientOf : public testing::Test {};

using RealTypes = testing::Types<float, double, long double>;
TYPED_TEST_SUITE(DericheGradientOf, RealTypes);

} // namespace

// Rows around the number that is filtered at once and columns beyond a block; lines of one and two elements.
TYPED_TEST(DericheGradientOf, equalsTheRecursionAlongBothAxes) {
    using T = TypeParam;
    for (const auto& [rows, columns] :
         {std::pair(1, 1), std::pair(1, 9), std::pair(2, 2), std::pair(3, 70), std::pair(16, 5), std::pair(37, 66)})
        for (const float alpha : {0.3f, 1.0f, 4.0f}) {
            const auto exact = randomVolume<long double>(rows, columns, 1, 5, -20, 20);
            DericheGradient<T> gradient(alpha);
            const PixelMatrix<T> matrix = exact.template toType<T>()[0];
            for (const int axis : {0, 1}) {
                PixelMatrix<T> derived = matrix;
                axis == 0 ? gradient.gradient1(derived) : gradient.gradient2(derived);
                PixelMatrix<T> same = matrix;
                axis == 0 ? gradient.vGradient(same) : gradient.hGradient(same);
                EXPECT_TRUE(derived == same);
                const auto expected = gradientByDefinition(exact, alpha, axis);
                for (int i = 0; i < rows; ++i)
                    for (int j = 0; j < columns; ++j)
                        ASSERT_LE(std::abs(derived[i][j] - expected(i, j, 0)), T(200) * Vector<T>::epsilon())
                            << axis << " " << alpha << " " << i << " " << j;
            }
        }
}

TYPED_TEST(DericheGradientOf, filtersALineWithAllCoefficientsOrWithout) {
    using T = TypeParam;
    const DericheGradient<T> gradient(1.0f);
    for (const int n : {0, 1, 2, 3, 20}) {
        const auto exact = randomVolume<long double>(1, 20, 1, 6, -20, 20);
        std::vector<long double> line;
        for (int i = 0; i < n; ++i)
            line.push_back(exact(0, i, 0));
        for (const bool full : {true, false}) {
            const long double a[4] = {full ? 0.5L : 0.0L, full ? -2.0L : 1.0L, full ? 3.0L : -1.0L,
                                      full ? 0.25L : 0.0L};
            const auto expected = recursion(line, a, 0.5L, -0.125L, 2.0L);
            Vector<T> x(static_cast<unsigned int>(n));
            for (int i = 0; i < n; ++i)
                x[i] = static_cast<T>(line[std::size_t(i)]);
            gradient.recursiveFiltering1D(x, T(a[0]), T(a[1]), T(a[2]), T(a[3]), T(0.5), T(-0.125), T(2));
            ASSERT_EQ(x.getSize(), n);
            for (int i = 0; i < n; ++i)
                EXPECT_LE(std::abs(x[i] - expected[std::size_t(i)]), T(300) * Vector<T>::epsilon()) << full << " " << i;
        }
    }
}

// With a0 and a3 zero, a1 counts as 1 and a2 as -1 except next to the ends; the matrix form does the same.
TEST(DericheGradient, takesUnitWeightsWhereTheOuterOnesAreZero) {
    DericheGradient<double> gradient(1.0f);
    Vector<double> x = vectorOf({1.0, 10.0, 100.0, 1000.0});
    gradient.recursiveFiltering1D(x, 0.0, 5.0, 7.0, 0.0, 0.0, 0.0, 1.0);
    // y: 0, 5 * 1, 10, 100; z: -10, -100, 7 * 1000, 0
    EXPECT_EQ(x, vectorOf({-10.0, -95.0, 7010.0, 100.0}));
    PixelMatrix<double> row = matrixOf<double>({{1, 10, 100, 1000}}), column(4, 1);
    column.setColumn(0, vectorOf({1.0, 10.0, 100.0, 1000.0}));
    const auto identity = [&](PixelMatrix<double>& matrix, bool along) {
        const double s = along ? 0.0 : 1.0, d = along ? 5.0 : 0.0, e = along ? 7.0 : 0.0;
        if (along)
            gradient.apply(matrix, s, d, e, s, 1.0, 0.0, 0.0, 1e-300, 0.0, 0.0, 1.0, 1.0);
        else
            gradient.apply(matrix, 1.0, 0.0, 0.0, 1e-300, 0.0, 5.0, 7.0, 0.0, 0.0, 0.0, 1.0, 1.0);
    };
    identity(row, true);
    identity(column, false);
    EXPECT_EQ(row.getRow(0), x);
    EXPECT_EQ(column.getColumn(0), x);
}

// Far from the ends the derivative of x is that of a ramp of slope 1, the recursion's own gain being 1: the taps of the
// derivative, c d e^(-alpha |d|), sum to 1 when multiplied by their distance.
TEST(DericheGradient, measuresTheSlopeOfARampInTheMiddle) {
    for (const float alpha : {0.5f, 1.0f, 2.0f}) {
        const int side = 161;
        const double e = std::exp(-double(alpha));
        PixelMatrix<double> ramp = volumeOf<double>(side, side, 1, [](int, int j, int) { return 3 * j; })[0];
        PixelMatrix<double> h = ramp, v = ramp;
        DericheGradient<double> gradient(alpha);
        gradient.hGradient(h);
        gradient.vGradient(v);
        // sum over d of d^2 e^(alpha (1 - |d|)): 2 (1 + e) / (1 - e)^3, times the scale and the gain of the smoothing
        const double gain = 2 * (1 + e) / std::pow(1 - e, 3) * std::pow(1 - e, 2) * std::pow(1 - e, 2);
        EXPECT_NEAR(std::abs(h[80][80]), 3.0 * gain, 1e-6) << alpha;
        EXPECT_GT(h[80][80], 0.0);
        EXPECT_NEAR(v[80][80], 0.0, 1e-6) << alpha;
    }
}

TEST(DericheGradient, seesTheBorderOfAConstantImageOnly) {
    PixelMatrix<double> matrix(101, 101);
    matrix.fill(50.0);
    DericheGradient<double>(1.0f).apply(matrix);
    EXPECT_GT(matrix[0][50], 1.0);
    EXPECT_GT(matrix[50][100], 1.0);
    EXPECT_NEAR(matrix[50][50], 0.0, 1e-12);
    PixelMatrix<double> zeros(5, 7);
    zeros.setZeros();
    DericheGradient<double>(1.0f).apply(zeros);
    EXPECT_EQ(zeros.range()[1], 0.0);
    PixelMatrix<double> none;
    DericheGradient<double>(1.0f).apply(none);
}

TEST(DericheGradient, hasFiniteCoefficientsForAnyPositiveAlphaAndRefusesOthers) {
    for (const float alpha : {std::numeric_limits<float>::denorm_min(), 1e-8f, 1e-3f, 50.0f, 3e38f}) {
        PixelMatrix<float> matrix = randomMatrix<float>(9, 8, 1, 0, 9);
        DericheGradient<float>(alpha).apply(matrix);
        for (int i = 0; i < 9; ++i)
            for (int j = 0; j < 8; ++j)
                ASSERT_TRUE(std::isfinite(matrix[i][j])) << alpha;
    }
    // A narrow filter takes the plain difference of the two neighbours.
    PixelMatrix<double> narrow = matrixOf<double>({{0, 0, 5, 7, 9}});
    DericheGradient<double>(60.0f).hGradient(narrow);
    EXPECT_NEAR(narrow[0][3], 4.0, 1e-12);
    for (const float alpha : {0.0f, -1.0f, NAN, INFINITY})
        EXPECT_THROW(DericheGradient<float>{alpha}, ValueError);
}

// The derivative along one index, the smoothing along both others; the norm has the bits of the norm of the three.
// Lines of one element, and blocks of columns that are not whole.
TYPED_TEST(DericheGradientOf, equalsTheRecursionAlongTheThreeAxesOfAVolume) {
    using T = TypeParam;
    for (const auto& [rows, columns, planes] : {std::tuple(5, 9, 7), std::tuple(1, 70, 3), std::tuple(18, 2, 1)}) {
        const auto exact = randomVolume<long double>(rows, columns, planes, 5, -20, 20);
        DericheGradient<T> gradient(0.7f);
        const VoxelMatrix<T> volume = exact.template toType<T>();
        VoxelMatrix<T> derived[3] = {volume, volume, volume};
        gradient.gradient1(derived[0]);
        gradient.gradient2(derived[1]);
        gradient.gradient3(derived[2]);
        for (const int axis : {0, 1, 2}) {
            const auto expected = gradientByDefinition(exact, 0.7f, axis, {2, 1, 0});
            for (int k = 0; k < planes; ++k)
                for (int i = 0; i < rows; ++i)
                    for (int j = 0; j < columns; ++j)
                        ASSERT_LE(std::abs(derived[axis](i, j, k) - expected(i, j, k)), T(200) * Vector<T>::epsilon())
                            << axis << ": " << i << " " << j << " " << k;
        }
        VoxelMatrix<T> norm = volume;
        gradient.apply(norm);
        GradientOperator<T>::norm(derived[0], derived[1], derived[2]);
        EXPECT_TRUE(norm == derived[0]);
    }
    VoxelMatrix<T> none(0, 4, 2);
    DericheGradient<T>(1.0f).apply(none);
    DericheGradient<T>(1.0f).gradient3(none);
    EXPECT_EQ(none.getSize2(), 4);
}

TEST(GradientOperator, givesNormAndAngleOfAGradient) {
    const PixelMatrix<double> h = matrixOf<double>({{3, -1, 0}}), v = matrixOf<double>({{4, 0, -2}});
    PixelMatrix<double> norm, angle;
    GradientOperator<double>::norm(norm, h, v);
    EXPECT_TRUE(norm == matrixOf<double>({{5, 1, 2}}));
    GradientOperator<double>::angle(angle, h, v);
    EXPECT_NEAR(angle[0][0], std::atan(4.0 / 3.0), 1e-15);
    EXPECT_NEAR(angle[0][1], std::numbers::pi, 1e-15);
    EXPECT_NEAR(angle[0][2], -std::numbers::pi / 2, 1e-15);
    VoxelMatrix<double> a(1, 1, 1), b(1, 1, 1), c(1, 1, 1);
    a.fill(2.0);
    b.fill(3.0);
    c.fill(-6.0);
    GradientOperator<double>::norm(a, b, c);
    EXPECT_EQ(a(0, 0, 0), 7.0);
    EXPECT_THROW(GradientOperator<double>::norm(norm, h, PixelMatrix<double>(2, 3)), SizeError);
    EXPECT_THROW(GradientOperator<double>::norm(a, b, numberedVolume<double>(1, 1, 2)), SizeError);
    // All derivatives are taken of what was there before: 2, 3 and 6 of zeros.
    VoxelMatrix<double> zeros(2, 3, 4);
    zeros.setZeros();
    Constants().apply(zeros);
    EXPECT_EQ(zeros.range()[0], 7.0);
    EXPECT_EQ(zeros.range()[1], 7.0);
    PixelMatrix<double> ones = matrixOf<double>({{1, 1}});
    Constants().apply(ones); // 3 and 4
    EXPECT_TRUE(ones == matrixOf<double>({{5, 5}}));
    // The gradient of a slanted ramp points along it: atan2(2, 1).
    PixelMatrix<double> slanted = volumeOf<double>(61, 61, 1, [](int i, int j, int) { return 2 * i + j; })[0];
    PixelMatrix<double> whole = slanted;
    DericheGradient<double> gradient(1.0f);
    gradient.angle(slanted);
    EXPECT_NEAR(slanted[30][30], std::atan2(2.0, 1.0), 1e-6);
    PixelMatrix<double> again = whole;
    gradient.norm(whole);
    gradient.apply(again);
    EXPECT_TRUE(whole == again);
}

TEST(GradientOperator, fineThinningEqualsItsDefinitionInBothForms) {
    for (const auto& [rows, columns] : {std::pair(1, 5), std::pair(5, 2), std::pair(3, 3), std::pair(20, 31)}) {
        PixelMatrix<double> h = randomMatrix<double>(rows, columns, 1, -4, 4);
        const PixelMatrix<double> v = randomMatrix<double>(rows, columns, 2, -4, 4);
        PixelMatrix<double> norm;
        GradientOperator<double>::norm(norm, h, v);
        const PixelMatrix<double> expected = thinnedByDefinition(norm, h, v);
        PixelMatrix<double> thinned = norm;
        GradientOperator<double>::fineNonmaxSuppression(thinned, h, v);
        EXPECT_TRUE(thinned == expected) << rows << " " << columns;
        GradientOperator<double>::fineNonmaxSuppression(h, v);
        EXPECT_TRUE(h == expected) << rows << " " << columns;
    }
    PixelMatrix<double> h(3, 3);
    EXPECT_THROW(GradientOperator<double>::fineNonmaxSuppression(h, PixelMatrix<double>(3, 4)), SizeError);
}

TEST(GradientOperator, everyThinningKeepsOneColumnOfAVerticalStep) {
    const int rows = 40, columns = 41;
    PixelMatrix<double> h = verticalStep(rows, columns, 20), v = h;
    DericheGradient<double> gradient(1.0f);
    gradient.hGradient(h);
    gradient.vGradient(v);
    // Away from the border, so that the ends of the recursion do not show.
    h = h.copy(12, 28, 10, 30);
    v = v.copy(12, 28, 10, 30);
    v.setZeros();
    PixelMatrix<double> norm;
    gradient.norm(norm, h, v);
    PixelMatrix<double> fine = h, canny = norm, four = norm, eight = norm;
    gradient.fineNonmaxSuppression(fine, v);
    gradient.nonmaxSuppressionN4(four, h, v);
    EXPECT_EQ(countNonzero(fine), 15);
    EXPECT_EQ(countNonzero(four), 15);
    for (int i = 1; i < 16; ++i)
        EXPECT_EQ(fine[i][10] != 0.0, four[i][10] != 0.0);
    // A step between two columns has two columns of one norm, both of which the strict comparisons keep.
    gradient.nonmaxSuppression(canny, h, v);
    gradient.nonmaxSuppressionN8(eight, h, v);
    EXPECT_TRUE(canny == eight);
    EXPECT_LE(countNonzero(canny), 30);
    EXPECT_GE(countNonzero(canny), 15);
}

// One pixel of norm 5 with neighbours chosen so that each form sees others of them.
TEST(GradientOperator, thinningLooksAlongTheGradient) {
    const PixelMatrix<double> norm = matrixOf<double>({{9, 1, 4}, {2, 5, 3}, {4, 8, 9}});
    const auto centre = [&](auto operation, double x, double y) {
        PixelMatrix<double> h(3, 3), v(3, 3), thinned = norm;
        h.fill(x);
        v.fill(y);
        operation(thinned, h, v);
        EXPECT_EQ(thinned[0][0], 9.0);
        EXPECT_EQ(thinned[2][1], 8.0);
        return thinned[1][1];
    };
    using M = PixelMatrix<double>;
    const auto canny = [](M& n, const M& h, const M& v) { GradientOperator<double>::nonmaxSuppression(n, h, v); };
    const auto four = [](M& n, const M& h, const M& v) { GradientOperator<double>::nonmaxSuppressionN4(n, h, v); };
    const auto eight = [](M& n, const M& h, const M& v) { GradientOperator<double>::nonmaxSuppressionN8(n, h, v); };
    // Horizontally 2 and 3, vertically 1 and 8, on the main diagonal 9 and 9, on the other 4 and 4.
    EXPECT_EQ(centre(canny, 1, 0), 5.0);
    EXPECT_EQ(centre(canny, 0, 1), 0.0);
    EXPECT_EQ(centre(canny, 1, 1), 0.0);
    EXPECT_EQ(centre(canny, -1, 1), 5.0);
    EXPECT_EQ(centre(canny, 4, 1), 5.0); // 3 * 3/4 + 9 / 4 is 4.5, 2 * 3/4 + 9 / 4 less
    EXPECT_EQ(centre(canny, 2, 1), 0.0); // 3 / 2 + 9 / 2 is 6
    EXPECT_EQ(centre(four, 2, 1), 5.0);
    EXPECT_EQ(centre(four, 1, 2), 0.0);
    EXPECT_EQ(centre(four, -1, 1), 5.0);
    EXPECT_EQ(centre(eight, 3, 1), 5.0);
    EXPECT_EQ(centre(eight, 2, 1), 0.0); // |h| must exceed twice |v| to be horizontal
    EXPECT_EQ(centre(eight, 2, -1), 5.0);
    EXPECT_EQ(centre(eight, -1, 2), 0.0); // vertical
    EXPECT_EQ(centre(eight, -3, 2), 5.0);
    // Equal neighbours: only the one ahead clears.
    const PixelMatrix<double> plateau = matrixOf<double>({{0, 0, 0, 0}, {0, 5, 5, 0}, {0, 0, 0, 0}});
    PixelMatrix<double> h(3, 4), v(3, 4), thinned = plateau;
    h.fill(1.0);
    v.setZeros();
    four(thinned, h, v);
    EXPECT_TRUE(thinned == matrixOf<double>({{0, 0, 0, 0}, {0, 0, 5, 0}, {0, 0, 0, 0}}));
    h.fill(-5.0);
    thinned = plateau;
    GradientOperator<double>::fineNonmaxSuppression(thinned, h, v);
    EXPECT_TRUE(thinned == matrixOf<double>({{0, 0, 0, 0}, {0, 5, 0, 0}, {0, 0, 0, 0}}));
}

TEST(GradientOperator, hysteresisKeepsWeakPixelsThatJoinStrongOnes) {
    PixelMatrix<float> matrix = matrixOf<float>({{9, 9, 9, 9, 9, 9, 9},
                                                 {9, 8, 1, 1, 1, 5, 9},
                                                 {9, 1, 5, 1, 1, 1, 9},
                                                 {9, 1, 1, 5, 1, 1, -3},
                                                 {9, 9, 9, 9, 9, 9, 9}});
    GradientOperator<float>::hysteresisThresholding(matrix, 5.0f, 8.0f);
    EXPECT_TRUE(matrix == matrixOf<float>({{9, 9, 9, 9, 9, 9, 9},
                                           {9, 1, 0, 0, 0, 0, 9},
                                           {9, 0, 1, 0, 0, 0, 9},
                                           {9, 0, 0, 1, 0, 0, -3},
                                           {9, 9, 9, 9, 9, 9, 9}}));
    // The border joins nothing: a strong pixel beside -3 leaves it.
    matrix[3][5] = 9.0f;
    GradientOperator<float>::hysteresisThresholding(matrix, 2.0f, 2.0f);
    EXPECT_EQ(matrix[3][6], -3.0f);
    EXPECT_EQ(matrix[3][5], 1.0f);
    EXPECT_EQ(matrix[2][2], 0.0f);
    PixelMatrix<float> small = matrixOf<float>({{1, 9}, {9, 1}, {5, 5}});
    GradientOperator<float>::hysteresisThresholding(small, 2.0f, 6.0f);
    EXPECT_TRUE(small == matrixOf<float>({{1, 9}, {9, 1}, {5, 5}}));
}

} // namespace vorlen
