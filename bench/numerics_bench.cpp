#include "compare.h"
#include "inputs.h"

#include "numerics/squarematrix.h"

#include <Eigen/Dense>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

namespace vorlen {

namespace {

using Reference = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

constexpr int svdRows = 500;
constexpr int svdColumns = 200;
constexpr int inverseSize = 1000;
constexpr int productSize = 500;
constexpr int eigenSize = 200;

Matrix<double> makeMatrix(int rows, int cols) {
    const std::vector<double> values = inputs::matrix(rows, cols);
    Matrix<double> m(static_cast<unsigned int>(rows), static_cast<unsigned int>(cols));
    for (int i = 0; i < rows; ++i)
        std::copy_n(values.data() + std::size_t(i) * std::size_t(cols), cols, m[i].data());
    return m;
}

Reference makeReference(int rows, int cols) {
    const std::vector<double> values = inputs::matrix(rows, cols);
    return Eigen::Map<const Reference>(values.data(), rows, cols);
}

void svd(benchmark::State& state) {
    const Matrix<double> m = makeMatrix(svdRows, svdColumns);
    SquareMatrix<double> u, v;
    for (auto _ : state)
        benchmark::DoNotOptimize(m.svd(&u, &v));
}

void svdReference(benchmark::State& state) {
    const Eigen::MatrixXd m = makeReference(svdRows, svdColumns);
    for (auto _ : state) {
        const Eigen::BDCSVD<Eigen::MatrixXd> decomposition(m, Eigen::ComputeFullU | Eigen::ComputeFullV);
        benchmark::DoNotOptimize(decomposition.singularValues().sum());
    }
}

void singularValues(benchmark::State& state) {
    const Matrix<double> m = makeMatrix(svdRows, svdColumns);
    for (auto _ : state)
        benchmark::DoNotOptimize(m.svd(nullptr, nullptr));
}

void singularValuesReference(benchmark::State& state) {
    const Eigen::MatrixXd m = makeReference(svdRows, svdColumns);
    for (auto _ : state) {
        const Eigen::BDCSVD<Eigen::MatrixXd> decomposition(m);
        benchmark::DoNotOptimize(decomposition.singularValues().sum());
    }
}

void pinverse(benchmark::State& state) {
    const Matrix<double> m = makeMatrix(svdRows, svdColumns);
    for (auto _ : state)
        benchmark::DoNotOptimize(m.pinverse());
}

void pinverseReference(benchmark::State& state) {
    const Eigen::MatrixXd m = makeReference(svdRows, svdColumns);
    for (auto _ : state) {
        const Eigen::BDCSVD<Eigen::MatrixXd> decomposition(m, Eigen::ComputeThinU | Eigen::ComputeThinV);
        const Eigen::MatrixXd result = decomposition.matrixV() *
                                       decomposition.singularValues().cwiseInverse().asDiagonal() *
                                       decomposition.matrixU().transpose();
        benchmark::DoNotOptimize(result.data());
    }
}

void inverse(benchmark::State& state) {
    const SquareMatrix<double> m(makeMatrix(inverseSize, inverseSize));
    for (auto _ : state)
        benchmark::DoNotOptimize(m.inverse());
}

void inverseReference(benchmark::State& state) {
    const Eigen::MatrixXd m = makeReference(inverseSize, inverseSize);
    for (auto _ : state) {
        const Eigen::MatrixXd result = m.inverse();
        benchmark::DoNotOptimize(result.data());
    }
}

void product(benchmark::State& state) {
    const Matrix<double> m = makeMatrix(productSize, productSize);
    for (auto _ : state)
        benchmark::DoNotOptimize(m * m);
}

void productReference(benchmark::State& state) {
    const Eigen::MatrixXd m = makeReference(productSize, productSize);
    for (auto _ : state) {
        const Eigen::MatrixXd result = m * m;
        benchmark::DoNotOptimize(result.data());
    }
}

void eigenJacobi(benchmark::State& state) {
    const Matrix<double> m = makeMatrix(eigenSize, eigenSize);
    const SquareMatrix<double> symmetric(m + m.transpose());
    Vector<double> values;
    SquareMatrix<double> vectors;
    for (auto _ : state) {
        symmetric.eigenJacobi(values, vectors, true);
        benchmark::DoNotOptimize(values.data());
    }
}

void eigenJacobiReference(benchmark::State& state) {
    const Eigen::MatrixXd m = makeReference(eigenSize, eigenSize);
    const Eigen::MatrixXd symmetric = m + m.transpose();
    for (auto _ : state) {
        const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(symmetric);
        benchmark::DoNotOptimize(solver.eigenvalues().sum());
    }
}

[[maybe_unused]] const bool registered = [] {
    compare("svd500x200", svd, svdReference, {});
    compare("singularvalues500x200", singularValues, singularValuesReference, {});
    compare("pinverse500x200", pinverse, pinverseReference, {});
    compare("inverse1000", inverse, inverseReference, {});
    compare("matrixproduct500", product, productReference, {});
    compare("eigenjacobi200", eigenJacobi, eigenJacobiReference, {});
    return true;
}();

} // namespace

} // namespace vorlen
