#include "images/filters/isotropyfilter.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "numerics/matrix.h"
#include "support/countingmonitor.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

// Covariance matrix of the clipped cube around a voxel, from the definition; planes lie so many columns apart.
Matrix<double> covarianceAt(const VoxelMatrix<double>& volume, int i, int j, int k, int h, double step) {
    const int across = std::max(1, int(std::lround(h / step)));
    double mass = 0, mean[3] = {0, 0, 0};
    Matrix<double> covariance(3, 3);
    covariance.setZeros();
    for (int pass = 0; pass < 2; ++pass)
        for (int a = -h; a <= h; ++a)
            for (int b = -h; b <= h; ++b)
                for (int c = -across; c <= across; ++c) {
                    if (!volume.contains(i + a, j + b, k + c))
                        continue;
                    const double m = volume(i + a, j + b, k + c), offset[3] = {double(a), double(b), c * step};
                    if (pass == 0)
                        mass += m;
                    for (int p = 0; p < 3; ++p) {
                        if (pass == 0)
                            mean[p] += m * offset[p];
                        for (int q = 0; pass == 1 && q < 3; ++q)
                            covariance[p][q] += m / mass * (offset[p] - mean[p] / mass) * (offset[q] - mean[q] / mass);
                    }
                }
    return covariance;
}

double determinant(const Matrix<double>& m) {
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

double sphericityOf(const Matrix<double>& m) {
    return determinant(m) * std::pow(3.0 / (m[0][0] + m[1][1] + m[2][2]), 3.0);
}

// A symmetric matrix without negative eigenvalues has them for singular values.
double eigenvalueRatioOf(const Matrix<double>& m) {
    const Vector<double> values = m.svd(nullptr, nullptr);
    return values.min() / values.max();
}

template <class T>
class IsotropyFilterOf : public testing::Test {};

using RealTypes = testing::Types<float, double, long double>;
TYPED_TEST_SUITE(IsotropyFilterOf, RealTypes);

} // namespace

TYPED_TEST(IsotropyFilterOf, equalsTheIndexOfTheCovarianceMatrix) {
    for (const auto& [rows, columns, planes] : {std::tuple(6, 7, 5), std::tuple(2, 3, 9), std::tuple(9, 12, 3)})
        for (const auto& [h, step] : {std::pair(1, 1.0), {2, 1.0}, {4, 1.0}, {4, 2.2}}) {
            auto masses = randomVolume<double>(rows, columns, planes, 3, 0, 9);
            masses(1, 1, 1) = 0.0;
            for (const IsotropyAnalysis analysis : {SphericityAnalysis, EigenvalueRatioAnalysis}) {
                IsotropyFilter<TypeParam> filter;
                filter.setHalfSize(h);
                filter.setPlaneStep(step);
                filter.setAnalysis(analysis);
                VoxelMatrix<TypeParam> volume = masses.template toType<TypeParam>();
                filter.apply(volume);
                for (int k = 0; k < planes; ++k)
                    for (int i = 0; i < rows; ++i)
                        for (int j = 0; j < columns; ++j) {
                            const Matrix<double> covariance = covarianceAt(masses, i, j, k, h, step);
                            const double expected = masses(i, j, k) == 0.0           ? 0.0
                                                    : analysis == SphericityAnalysis ? sphericityOf(covariance)
                                                                                     : eigenvalueRatioOf(covariance);
                            ASSERT_NEAR(double(volume(i, j, k)), expected, 1e-6)
                                << analysis << " " << h << ": " << i << " " << j << " " << k;
                        }
            }
        }
}

TEST(IsotropyFilter, givesOneForASphereAndNothingForAPlaneAndALine) {
    for (const IsotropyAnalysis analysis : {SphericityAnalysis, EigenvalueRatioAnalysis}) {
        IsotropyFilter<double> filter;
        filter.setAnalysis(analysis);
        filter.setHalfSize(2);
        VoxelMatrix<double> volume(9, 9, 9);
        volume.fill(7.0);
        filter.apply(volume);
        EXPECT_NEAR(volume(4, 4, 4), 1.0, 1e-12) << analysis;
        EXPECT_NEAR(volume(2, 6, 3), 1.0, 1e-12) << analysis;
        EXPECT_LT(volume(0, 4, 4), 0.99) << analysis; // clipped to 3 x 5 x 5
        for (int dimension = 1; dimension < 3; ++dimension) {
            volume.setZeros();
            for (int a = -2; a <= 2; ++a)
                for (int b = -2; b <= 2; ++b)
                    volume(4 + a, 4 + (dimension > 1 ? b : 0), 4) = 1.0;
            filter.apply(volume);
            EXPECT_EQ(volume(4, 4, 4), 0.0) << analysis << " " << dimension;
        }
    }
}

// A box of 3 x 3 x 5: variances 2/3, 2/3 and 2; sphericity 8/9 * (3 / (10/3))^3, ratio 1/3.
TEST(IsotropyFilter, weighsALongBoxByItsVariances) {
    VoxelMatrix<double> box(9, 9, 9);
    box.setZeros();
    for (int a = -1; a <= 1; ++a)
        for (int b = -1; b <= 1; ++b)
            for (int c = -2; c <= 2; ++c)
                box(4 + a, 4 + b, 4 + c) = 2.0;
    IsotropyFilter<double> filter;
    EXPECT_EQ(filter.getAnalysis(), SphericityAnalysis);
    filter.setHalfSize(3);
    VoxelMatrix<double> volume = box;
    filter.apply(volume);
    EXPECT_NEAR(volume(4, 4, 4), 8.0 / 9.0 * std::pow(0.9, 3), 1e-12);
    EXPECT_EQ(volume(0, 0, 0), 0.0);
    filter.setAnalysis(EigenvalueRatioAnalysis);
    volume = box;
    filter.apply(volume);
    EXPECT_NEAR(volume(4, 4, 4), 1.0 / 3.0, 1e-7);
    filter.setAnalysis(static_cast<IsotropyAnalysis>(7));
    volume = box;
    filter.apply(volume);
    EXPECT_EQ(volume.range()[1], 0.0);
}

TEST(IsotropyFilter, leavesZerosAndVolumesWithoutWindowAlone) {
    IsotropyFilter<double> filter;
    VoxelMatrix<double> zeros(4, 4, 4);
    zeros.setZeros();
    filter.apply(zeros);
    EXPECT_EQ(zeros.range()[1], 0.0);
    filter.setHalfSize(0);
    VoxelMatrix<double> volume = numberedVolume<double>(3, 4, 2);
    filter.apply(volume);
    EXPECT_TRUE(volume == numberedVolume<double>(3, 4, 2));
    filter.setHalfSize(1000000000); // the tolerance outgrows every index
    filter.apply(volume);
    EXPECT_EQ(volume.range()[1], 0.0);
    VoxelMatrix<double> none(0, 3, 3);
    filter.apply(none);
}

TEST(IsotropyFilter, stopsWhenCancelledAndLeavesTheVolume) {
    CountingMonitor monitor;
    IsotropyFilter<double> filter;
    filter.addMonitor(monitor);
    VoxelMatrix<double> volume = numberedVolume<double>(4, 5, 6);
    filter.apply(volume);
    EXPECT_EQ(monitor.last, 6u);
    EXPECT_EQ(monitor.lastTotal, 6u);
    EXPECT_EQ(monitor.finished, 1);
    volume = numberedVolume<double>(4, 5, 6);
    monitor.cancelAt = monitor.steps + 2;
    filter.apply(volume);
    EXPECT_EQ(monitor.last, 2u);
    EXPECT_EQ(monitor.canceled, 1);
    EXPECT_EQ(monitor.finished, 1);
    EXPECT_TRUE(volume == numberedVolume<double>(4, 5, 6));
}

} // namespace vorlen
