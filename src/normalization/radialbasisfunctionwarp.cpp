#include "normalization/radialbasisfunctionwarp.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "numerics/exception.h"
#include "numerics/rowkernels.h"
#include "numerics/squarematrix.h"
#include "shapes/shape.h"

namespace vorlen {

namespace {

constexpr int maxControlPoints = 20000;

// Kernels worked out before they meet their weights: stays in the first cache.
constexpr int blockSize = 256;

} // namespace

template <class T>
RadialBasisFunctionWarp<T>::Points::Points(const Matrix<Wide>& coordinates) : space(coordinates.getSize1()) {
    for (int a = 0; a < space; ++a)
        axes.push_back(coordinates[a].data());
}

template <class T>
void RadialBasisFunctionWarp<T>::kernelValues(const Points& points, const Wide* v, int first, int count,
                                              Wide* values) const {
    Vector<T> origin(static_cast<unsigned int>(points.space));
    Vector<T> point(static_cast<unsigned int>(points.space));
    std::copy_n(v, points.space, origin.data());
    for (int k = 0; k < count; ++k) {
        for (int a = 0; a < points.space; ++a)
            point[a] = T(points.axes[a][first + k]);
        values[k] = rbf(origin, point);
    }
}

template <class T>
void RadialBasisFunctionWarp<T>::fit(const Shape<T>& moving, const Shape<T>& target) {
    const char* const where = "void RadialBasisFunctionWarp<T>::fit(const Shape<T>&, const Shape<T>&)";
    ShapeWarp<T>::checkCorrespondence(moving, target, where);
    const int n = moving.getSize();
    const int d = moving.getSpace();
    const int q = n + d + 1;
    if (n > maxControlPoints)
        throw SizeError(where, "Too many control points");

    Matrix<Wide> controlPoints(static_cast<unsigned int>(d), static_cast<unsigned int>(n));
    std::vector<Vector<Wide>> solutions(std::size_t(d), Vector<Wide>(static_cast<unsigned int>(q)));
    for (Vector<Wide>& solution : solutions)
        solution.setZeros();
    int rank = 0;
    ConstVertexIterator<T> to(target);
    for (ConstVertexIterator<T> from(moving); from.current(); ++from, ++to, ++rank) {
        for (int a = 0; a < d; ++a) {
            controlPoints(a, rank) = (*from.current())[a];
            solutions[a][rank] = Wide((*to.current())[a]) - Wide((*from.current())[a]);
        }
    }

    SquareMatrix<Wide> system(static_cast<unsigned int>(q));
    system.fill(Wide(0));
    const Points points(controlPoints);
    Vector<Wide> point(static_cast<unsigned int>(d));
    Wide greatest = 1; // of the constant part
    for (int k = 0; k < n; ++k) {
        for (int a = 0; a < d; ++a)
            point[a] = controlPoints(a, k);
        Wide* const row = system[k].data();
        kernelValues(points, point.data(), 0, n, row);
        row[k] = Wide(0);
        std::copy_n(point.data(), d, row + n);
        row[n + d] = Wide(1);
        for (int l = 0; l < n + d; ++l)
            greatest = std::max(greatest, std::abs(row[l]));
    }
    for (int a = 0; a < d; ++a)
        std::copy_n(controlPoints[a].data(), n, system[n + a].data());
    std::fill_n(system[n + d].data(), n, Wide(1));

    try {
        Vector<int> index;
        system.luDecomp(index, std::numeric_limits<Wide>::epsilon() * Wide(q) * greatest);
        for (Vector<Wide>& solution : solutions)
            system.luSolve(solution, index);
    } catch (Exception& exception) {
        exception.addCall(where);
        throw;
    }

    Matrix<Wide> weights(static_cast<unsigned int>(d), static_cast<unsigned int>(q));
    for (int a = 0; a < d; ++a)
        std::copy_n(solutions[a].data(), q, weights[a].data());
    __controlPoints.swap(controlPoints);
    __weights.swap(weights);
}

template <class T>
void RadialBasisFunctionWarp<T>::apply(Vector<T>& v) const {
    v += eval(v);
}

template <class T>
Vector<T> RadialBasisFunctionWarp<T>::eval(const Vector<T>& v) const {
    const int n = __controlPoints.getSize2();
    const int d = __controlPoints.getSize1();
    Vector<T> displacement(static_cast<unsigned int>(v.getSize()));
    displacement.setZeros();
    if (d == 0)
        return displacement;
    if (v.getSize() != d) {
        throw SizeError("Vector<T> RadialBasisFunctionWarp<T>::eval(const Vector<T>&) const",
                        "Incompatible vector dimensions");
    }
    const Vector<Wide> point = v.template toType<Wide>();
    Vector<Wide> sum(static_cast<unsigned int>(d));
    for (int j = 0; j < d; ++j) {
        const Wide* const affine = __weights[j].data() + n;
        sum[j] = affine[d];
        for (int m = 0; m < d; ++m)
            sum[j] += affine[m] * point[m];
    }
    const Points points(__controlPoints);
    Wide kernels[blockSize];
    for (int first = 0; first < n; first += blockSize) {
        const int count = std::min(blockSize, n - first);
        kernelValues(points, point.data(), first, count, kernels);
        for (int j = 0; j < d; ++j)
            sum[j] += rowkernels::dot(__weights[j].data() + first, kernels, count);
    }
    for (int j = 0; j < d; ++j)
        displacement[j] = T(sum[j]);
    return displacement;
}

template class RadialBasisFunctionWarp<float>;
template class RadialBasisFunctionWarp<double>;
template class RadialBasisFunctionWarp<long double>;

} // namespace vorlen
