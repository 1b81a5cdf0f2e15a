#include "normalization/kerneldensityestimator.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "images/volumes/voxelmatrix.h"
#include "normalization/points.h"
#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "support/vectors.h"

namespace vorlen {

namespace {

constexpr DensityKernel kernels[] = {GaussianKernel, UniformKernel, EpanechnikovKernel, BiweightKernel};

/// The kernel of bandwidth 1 at distance r, by its formula.
double kernelAt(DensityKernel kernel, double r) {
    if (kernel == GaussianKernel)
        return std::exp(-r * r / 2) / std::pow(2 * M_PI, 1.5);
    if (r > 1)
        return 0;
    return kernel == UniformKernel        ? 3 / (4 * M_PI)
           : kernel == EpanechnikovKernel ? 15 / (8 * M_PI) * (1 - r * r)
                                          : 105 / (32 * M_PI) * (1 - r * r) * (1 - r * r);
}

template <class T>
void expectSumOfKernels(double tolerance) {
    Vertices<T> first = randomPoints<T>(3, 7, -2, 12, 1);
    Vertices<T> second = randomPoints<T>(3, 40, -2, 12, 2);
    const BoundingBox<T> box(vectorOf<T>({0, 1, 2}), vectorOf<T>({10, 9, 8}));
    for (const DensityKernel kernel : kernels) {
        KernelDensityEstimator<T> estimator;
        estimator.setShapes({&first, &second});
        estimator.setKernel(kernel);
        estimator.setBandwidth(T(2.5));
        VoxelMatrix<T> map(5, 6, 4);
        map.fill(T(-1));
        estimator.compute(map, box);
        for (int i = 0; i < 5; ++i)
            for (int j = 0; j < 6; ++j)
                for (int k = 0; k < 4; ++k) {
                    const Vector<T> node = vectorOf<T>({T(2.5) * T(i), 1 + T(1.6) * T(j), 2 + T(2) * T(k)});
                    double expected = 0;
                    for (int p = 0; p < first.getSize(); ++p)
                        expected += kernelAt(kernel, double(first[p].distance(node)) / 2.5) / (7 * 2);
                    for (int p = 0; p < second.getSize(); ++p)
                        expected += kernelAt(kernel, double(second[p].distance(node)) / 2.5) / (40 * 2);
                    EXPECT_NEAR(expected / std::pow(2.5, 3), double(map(i, j, k)), tolerance) << kernel;
                }
    }
}

} // namespace

TEST(KernelDensityEstimator, isTheSumOfTheKernelsWithPatternsOfEqualWeight) {
    expectSumOfKernels<float>(1e-8);
    expectSumOfKernels<double>(1e-15);
    expectSumOfKernels<long double>(1e-15);
}

// Sum over nodes times the volume of a node's cell, over a box that holds the reach of all points.
TEST(KernelDensityEstimator, integratesToOne) {
    // More points than are handled at once, and a second pattern of three.
    Vertices<float> many = randomPoints<float>(3, 5000, -3, 3, 3);
    Vertices<float> few = randomPoints<float>(3, 3, -3, 3, 4);
    for (const DensityKernel kernel : kernels) {
        KernelDensityEstimator<float> estimator;
        estimator.setShapes({&many, &few});
        estimator.setKernel(kernel);
        estimator.setBandwidth(kernel == GaussianKernel ? 1.f : 3.f);
        const BoundingBox<float> box(vectorOf<float>({-9, -9, -9}), vectorOf<float>({9, 9, 9}));
        const int n = kernel == GaussianKernel ? 25 : 73;
        VoxelMatrix<float> map(n, n, n);
        estimator.compute(map, box);
        double sum = 0;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                for (int k = 0; k < n; ++k)
                    sum += map(i, j, k);
        // Sharp edges make the sum of the uniform kernel the least exact.
        EXPECT_NEAR(1, sum * std::pow(18. / (n - 1), 3), kernel == UniformKernel ? 5e-3 : 1e-3) << kernel;
    }
}

TEST(KernelDensityEstimator, putsASingleNodeOfAnAxisOnTheLowerFace) {
    Vertices<double> point(3, 1, 1, 1);
    point[0] = vectorOf<double>({1, 2, 3});
    KernelDensityEstimator<double> estimator;
    estimator.addShape(point);
    estimator.setKernel(EpanechnikovKernel);
    estimator.setBandwidth(2);
    VoxelMatrix<double> map(1, 3, 1);
    estimator.compute(map, BoundingBox<double>(vectorOf<double>({1, 1, 4}), vectorOf<double>({7, 5, 9})));
    // The nodes are (1, 1, 4), (1, 3, 4) and (1, 5, 4), at squared distances of 2, 2 and 10.
    const double expected = 15 / (8 * M_PI) * (1 - 2. / 4) / 8;
    EXPECT_NEAR(expected, map(0, 0, 0), 1e-16);
    EXPECT_NEAR(expected, map(0, 1, 0), 1e-16);
    EXPECT_EQ(0, map(0, 2, 0));
}

TEST(KernelDensityEstimator, leavesUndefinedPointsAndEmptyPatternsOut) {
    Vertices<double> points = randomPoints<double>(3, 6, 0, 1, 5);
    Vertices<double> withUndefined(points);
    withUndefined.detach();
    withUndefined.append(vectorOf<double>({0.5, std::nan(""), 0.5}));
    withUndefined.append(vectorOf<double>({std::numeric_limits<double>::infinity(), 0, 0}));
    Vertices<double> empty(3, 0, 0, 0);
    const BoundingBox<double> box(vectorOf<double>({0, 0, 0}), vectorOf<double>({1, 1, 1}));
    VoxelMatrix<double> expected(3, 3, 3), map(3, 3, 3);
    KernelDensityEstimator<double> estimator, other;
    estimator.addShape(points);
    estimator.compute(expected, box);
    other.setShapes({&empty, &withUndefined});
    other.compute(map, box);
    EXPECT_TRUE(expected == map);
    EXPECT_GT(map(1, 1, 1), 0);

    other.removeShape(withUndefined);
    other.compute(map, box);
    EXPECT_EQ(0, map(1, 1, 1));
    for (const double bandwidth : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_THROW(other.setBandwidth(bandwidth), ValueError);
}

} // namespace vorlen
