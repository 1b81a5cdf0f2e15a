#include "registration/matrixprincipalaxesanalysis.h"

#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"
#include "support/failures.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

template <class T>
MatrixPrincipalAxesAnalysis<T> analysisOf(const PixelMatrix<T>& matrix) {
    MatrixPrincipalAxesAnalysis<T> analysis;
    analysis.apply(matrix);
    return analysis;
}

} // namespace

// Masses 1 at (0, 0), 2 at (1, 1) and 1 at (2, 0): by hand, centre (1, 0.5), moments 0.5, 0.25 and 0.
TEST(MatrixPrincipalAxesAnalysis, givesTheMomentsOfAFewMasses) {
    const auto analysis = analysisOf(matrixOf<double>({{1, 0}, {0, 2}, {1, 0}}));
    EXPECT_DOUBLE_EQ(1, analysis.getInertiaCenter()[0]);
    EXPECT_DOUBLE_EQ(0.5, analysis.getInertiaCenter()[1]);
    EXPECT_DOUBLE_EQ(0.5, analysis.getInertiaMatrix()[0][0]);
    EXPECT_DOUBLE_EQ(0.25, analysis.getInertiaMatrix()[1][1]);
    EXPECT_DOUBLE_EQ(0, analysis.getInertiaMatrix()[0][1]);
    EXPECT_EQ(0, analysis.getAngle());
    EXPECT_TRUE(analysis.hasMass());

    // On the diagonal, all moments are 1/4 and the axis is at 45 degrees; y of the formula is 0.
    EXPECT_DOUBLE_EQ(0.25, analysisOf(matrixOf<double>({{3, 0}, {0, 3}})).getInertiaMatrix()[1][0]);
    EXPECT_DOUBLE_EQ(M_PI / 4, analysisOf(matrixOf<double>({{3, 0}, {0, 3}})).getAngle());
}

TEST(MatrixPrincipalAxesAnalysis, agreesWithTheSumsOfTheDefinition) {
    std::mt19937 random(4);
    std::uniform_real_distribution<float> grey(0, 255);
    PixelMatrix<float> matrix(37, 53);
    double total = 0, c[2] = {}, a = 0, b = 0, d = 0;
    for (int i = 0; i < 37; ++i)
        for (int j = 0; j < 53; ++j) {
            matrix[i][j] = grey(random) * float(i + 2 * j);
            total += matrix[i][j];
            c[0] += double(i) * matrix[i][j];
            c[1] += double(j) * matrix[i][j];
        }
    c[0] /= total;
    c[1] /= total;
    for (int i = 0; i < 37; ++i)
        for (int j = 0; j < 53; ++j) {
            a += (i - c[0]) * (i - c[0]) * matrix[i][j] / total;
            b += (i - c[0]) * (j - c[1]) * matrix[i][j] / total;
            d += (j - c[1]) * (j - c[1]) * matrix[i][j] / total;
        }
    const auto analysis = analysisOf(matrix);
    EXPECT_NEAR(c[0], analysis.getInertiaCenter()[0], 1e-5);
    EXPECT_NEAR(c[1], analysis.getInertiaCenter()[1], 1e-5);
    EXPECT_NEAR(a, analysis.getInertiaMatrix()[0][0], 1e-4);
    EXPECT_NEAR(b, analysis.getInertiaMatrix()[0][1], 1e-5);
    EXPECT_NEAR(b, analysis.getInertiaMatrix()[1][0], 1e-5);
    EXPECT_NEAR(d, analysis.getInertiaMatrix()[1][1], 1e-4);
    const double y = (d - a) / (2 * b);
    EXPECT_NEAR(std::atan(y + std::sqrt(y * y + 1)), analysis.getAngle(), 1e-5);
}

// Bars through the middle of an image, at angles from the direction of the rows' index.
TEST(MatrixPrincipalAxesAnalysis, tellsTheDirectionOfTheGreatestSpread) {
    for (const double angle : {-80.0, -45.0, -10.0, 0.0, 15.0, 45.0, 75.0, 90.0}) {
        const double c = std::cos(angle * M_PI / 180), s = std::sin(angle * M_PI / 180);
        PixelMatrix<double> matrix(101, 101);
        for (int i = 0; i < 101; ++i)
            for (int j = 0; j < 101; ++j) {
                const double along = c * (i - 50) + s * (j - 50), across = -s * (i - 50) + c * (j - 50);
                matrix[i][j] = std::exp(-along * along / 200 - across * across / 50);
            }
        const auto analysis = analysisOf(matrix);
        EXPECT_NEAR(angle * M_PI / 180, analysis.getMajorAngle(), 1e-4) << angle;
        // The other angle is that of the axis in the first quadrant.
        EXPECT_NEAR((angle < 0 ? angle + 90 : angle) * M_PI / 180, analysis.getAngle(), 1e-4) << angle;
    }
}

TEST(MatrixPrincipalAxesAnalysis, hasAngleZeroWhereNoDirectionPrevails) {
    PixelMatrix<float> disc(41, 41);
    for (int i = 0; i < 41; ++i)
        for (int j = 0; j < 41; ++j)
            disc[i][j] = (i - 20) * (i - 20) + (j - 20) * (j - 20) <= 225 ? 200.0f : 0.0f;
    EXPECT_EQ(0, analysisOf(disc).getAngle());
    EXPECT_EQ(1.5707964f, analysisOf(matrixOf<float>({{0, 0, 0}, {1, 1, 1}, {0, 0, 0}})).getAngle());
}

TEST(MatrixPrincipalAxesAnalysis, putsTheCentreOfAnImageWithoutMassInItsMiddle) {
    for (const float grey : {0.0f, std::nanf(""), INFINITY}) {
        PixelMatrix<float> matrix(4, 7);
        matrix.fill(grey);
        const auto analysis = analysisOf(matrix);
        EXPECT_FALSE(analysis.hasMass());
        EXPECT_EQ(1.5f, analysis.getInertiaCenter()[0]);
        EXPECT_EQ(3, analysis.getInertiaCenter()[1]);
        EXPECT_EQ(0, analysis.getInertiaMatrix()[1][1]);
        EXPECT_EQ(0, analysis.getAngle());
    }
}

TEST(MatrixPrincipalAxesAnalysis, hasNoResultsBeforeTheFirstImageAndNewOnesWithEach) {
    MatrixPrincipalAxesAnalysis<float> analysis;
    const std::string what = "No image was analyzed yet";
    expectFailure<UsageError>([&] { analysis.getInertiaCenter(); },
                              "const Vector<T>& MatrixPrincipalAxesAnalysis<T>::getInertiaCenter() const", what);
    expectFailure<UsageError>([&] { analysis.getInertiaMatrix(); },
                              "const SquareMatrix<T>& MatrixPrincipalAxesAnalysis<T>::getInertiaMatrix() const", what);
    expectFailure<UsageError>([&] { analysis.getAngle(); }, "T MatrixPrincipalAxesAnalysis<T>::getAngle() const", what);
    EXPECT_THROW(analysis.apply(PixelMatrix<float>(0, 3)), SizeError);
    EXPECT_THROW(analysis.getAngle(), UsageError);
    analysis.apply(matrixOf<float>({{0, 0, 0, 0, 1}}));
    analysis.apply(matrixOf<float>({{1, 0}, {0, 0}}));
    EXPECT_EQ(0, analysis.getInertiaCenter()[1]);
}

} // namespace vorlen
