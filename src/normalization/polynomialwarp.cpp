#include "normalization/polynomialwarp.h"

#include "numerics/exception.h"
#include "shapes/shape.h"
#include "shapes/shapearithmetic.h"

namespace vorlen {

namespace {

/// The determinant without the copy that a decomposition needs, up to the dimensions that shapes have.
double determinant(const SquareMatrix<double>& m) {
    switch (m.getSize()) {
    case 1:
        return m(0, 0);
    case 2:
        return m(0, 0) * m(1, 1) - m(0, 1) * m(1, 0);
    case 3:
        return m(0, 0) * (m(1, 1) * m(2, 2) - m(1, 2) * m(2, 1)) - m(0, 1) * (m(1, 0) * m(2, 2) - m(1, 2) * m(2, 0)) +
               m(0, 2) * (m(1, 0) * m(2, 1) - m(1, 1) * m(2, 0));
    default:
        return m.det();
    }
}

template <class T, class Wide>
Polynomial<T> rounded(const Polynomial<Wide>& polynomial) {
    Polynomial<T> result(polynomial.getDegree(), polynomial.getDimension());
    Vector<T> coefficients(static_cast<unsigned int>(polynomial.numTerms()));
    for (int i = 0; i < coefficients.getSize(); ++i)
        coefficients[i] = T(polynomial.getCoefficients()[i]);
    result.setCoefficients(coefficients);
    return result;
}

} // namespace

template <class T>
void PolynomialWarp<T>::setDegree(int degree) {
    if (degree < 0)
        throw ValueError("void PolynomialWarp<T>::setDegree(int)", "Degree cannot be negative");
    __degree = degree;
}

template <class T>
void PolynomialWarp<T>::fit(const Shape<T>& moving, const Shape<T>& target) {
    const char* const where = "void PolynomialWarp<T>::fit(const Shape<T>&, const Shape<T>&)";
    using Wide = WideCoordinate<T>;
    ShapeWarp<T>::checkCorrespondence(moving, target, where);
    const int n = moving.getSize();
    const int dimension = moving.getSpace();

    std::vector<Vector<Wide>> points;
    std::vector<Vector<Wide>> displacements(std::size_t(dimension), Vector<Wide>(static_cast<unsigned int>(n)));
    points.reserve(std::size_t(n));
    ConstVertexIterator<T> to(target);
    for (ConstVertexIterator<T> from(moving); from.current(); ++from, ++to) {
        const int k = int(points.size());
        points.emplace_back(static_cast<unsigned int>(dimension));
        for (int i = 0; i < dimension; ++i) {
            points.back()[i] = (*from.current())[i];
            displacements[i][k] = Wide((*to.current())[i]) - Wide((*from.current())[i]);
        }
    }

    std::vector<Polynomial<T>> polynomials;
    try {
        std::vector<Polynomial<Wide>> basis;
        if (dimension > 0) {
            Polynomial<Wide>::buildBasis(__degree, dimension, basis);
            Polynomial<Wide>::gramSchmidt(basis, points, basis);
        }
        for (const Vector<Wide>& values : displacements) {
            Polynomial<Wide> polynomial;
            polynomial.approximate(basis, points, values);
            polynomials.push_back(rounded<T>(polynomial));
        }
    } catch (Exception& exception) {
        exception.addCall(where);
        throw;
    }
    __dimension = dimension;
    __polynomials.swap(polynomials);
    __computeJacobianMatrix();
}

template <class T>
void PolynomialWarp<T>::__computeJacobianMatrix() {
    __partials.assign(std::size_t(__dimension), {});
    for (int i = 0; i < __dimension; ++i)
        for (int j = 0; j < __dimension; ++j)
            __partials[i].push_back(__polynomials[i].derivative(j));
    __jacobian.setSize(__dimension);
}

template <class T>
void PolynomialWarp<T>::apply(Vector<T>& v) const {
    if (__dimension == 0)
        return;
    if (v.getSize() != __dimension)
        throw SizeError("void PolynomialWarp<T>::apply(Vector<T>&) const", "Incompatible vector dimensions");
    Vector<T> displacement(static_cast<unsigned int>(__dimension));
    for (int i = 0; i < __dimension; ++i)
        displacement[i] = __polynomials[i].eval(v);
    v += displacement;
}

template <class T>
bool PolynomialWarp<T>::isValidAt(const Vector<T>& v) const {
    if (__dimension == 0)
        return true;
    if (v.getSize() != __dimension)
        throw SizeError("bool PolynomialWarp<T>::isValidAt(const Vector<T>&) const", "Incompatible vector dimensions");
    for (int i = 0; i < __dimension; ++i)
        for (int j = 0; j < __dimension; ++j)
            __jacobian(i, j) = double(__partials[i][j].eval(v)) + (i == j ? 1 : 0);
    return determinant(__jacobian) > 0;
}

template class PolynomialWarp<float>;
template class PolynomialWarp<double>;
template class PolynomialWarp<long double>;

} // namespace vorlen
