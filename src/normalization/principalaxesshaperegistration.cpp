#include "normalization/principalaxesshaperegistration.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "numerics/exception.h"
#include "shapes/shapearithmetic.h"
#include "shapes/shapeset.h"
#include "shapes/vertexstack.h"

namespace vorlen {

namespace {

// Skewness below this is that of a symmetrical shape, but for rounding.
constexpr double leastSkewness = 1e-4;

/// Turns all axes but the one of least skewness to the longer tail, and that one so that the rotation stays proper.
template <class T>
void directAxes(const Shape<T>& shape, const Vector<T>& centre, SquareMatrix<T>& axes) {
    using Wide = WideCoordinate<T>;
    const int space = axes.getSize();
    std::vector<Wide> squares(space, 0), cubes(space, 0);
    for (ConstVertexIterator<T> it(shape); it.current(); ++it) {
        const Vector<T>& v = *it.current();
        for (int k = 0; k < space; ++k) {
            Wide x = 0;
            for (int l = 0; l < space; ++l)
                x += Wide(axes[k][l]) * (Wide(v[l]) - Wide(centre[l]));
            squares[k] += x * x;
            cubes[k] += x * x * x;
        }
    }
    std::vector<Wide> skewness(space, 0);
    int least = 0;
    for (int k = 0; k < space; ++k) {
        const Wide variance = squares[k] / shape.getSize();
        skewness[k] = variance > 0 ? cubes[k] / shape.getSize() / (variance * std::sqrt(variance)) : Wide(0);
        least = std::abs(skewness[k]) < std::abs(skewness[least]) ? k : least;
    }
    for (int k = 0; k < space; ++k) {
        if (k != least && skewness[k] < -leastSkewness) {
            axes[k] *= T(-1);
            axes[least] *= T(-1);
        }
    }
}

} // namespace

template <class T>
PrincipalAxesShapeRegistration<T>::~PrincipalAxesShapeRegistration() = default;

template <class T>
void PrincipalAxesShapeRegistration<T>::fit(const Shape<T>&, const Shape<T>&) {
}

template <class T>
void PrincipalAxesShapeRegistration<T>::fit(const Shape<T>& shape) {
    if (shape.getSize() == 0) {
        throw SizeError("void PrincipalAxesShapeRegistration<T>::fit(const Shape<T>&)",
                        "This shape contains no vertex");
    }
    Vector<T> centre, values;
    SquareMatrix<T> vectors;
    shape.inertia(centre).eigenJacobi(values, vectors, true);
    SquareMatrix<T> axes = vectors.transpose();
    directAxes(shape, centre, axes);
    this->__rotation = axes;
    this->__translation = -(this->__rotation * centre);
}

template <class T>
void PrincipalAxesShapeRegistration<T>::fit(const ShapeSet<T>& set) {
    fit(set.asVertexStack());
}

template class PrincipalAxesShapeRegistration<float>;
template class PrincipalAxesShapeRegistration<double>;
template class PrincipalAxesShapeRegistration<long double>;

} // namespace vorlen
