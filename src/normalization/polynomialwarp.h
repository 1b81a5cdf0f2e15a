#pragma once

#include <vector>

#include "normalization/shapewarp.h"
#include "numerics/polynomial.h"
#include "numerics/squarematrix.h"

namespace vorlen {

/// Warp whose displacement along each axis is a polynomial of bounded total degree, the least-squares approximation of
/// the displacements of the moving shape's vertices to those of the target.
///
/// The basis of monomials is made orthogonal on the moving vertices by Polynomial::gramSchmidt(); terms that the
/// vertices cannot tell apart, as on a plane or with fewer vertices than terms, are left out of the sum. The vertices
/// are not normalised. For float shapes the fit runs in double and its coefficients are rounded: powers of coordinates
/// in the thousands are beyond float.
///
/// Before the first fit, and after a fit on empty shapes of no dimension, the warp leaves every point where it is. Not
/// to be used from two threads at once: evaluation has work space in the object.
template <class T>
class PolynomialWarp : public ShapeWarp<T> {
public:
    using ShapeTransform<T>::apply;

    /// Highest total degree of the polynomials of the next fit, 1 at first. Throws ValueError below 0.
    void setDegree(int degree);
    int getDegree() const { return __degree; }

    /// Vertices of equal rank correspond. O(n t^2) for n vertices and t terms, of which there are (degree + d)! /
    /// (degree! d!). The warp stays as it was when this throws: ProgramError for different numbers of vertices,
    /// SizeError for vertices of different dimensions, ValueError when there are too many terms.
    void fit(const Shape<T>& moving, const Shape<T>& target) override;

    /// Adds the displacement at v to v. Throws SizeError for a point of another dimension than that of the fit.
    void apply(Vector<T>& v) const override;

    /// Whether the Jacobian determinant of the map at v is above 0. Throws as apply() does.
    bool isValidAt(const Vector<T>& v) const override;

private:
    void __computeJacobianMatrix();

    int __degree = 1;
    int __dimension = 0;
    std::vector<Polynomial<T>> __polynomials;           // displacement along each axis
    std::vector<std::vector<Polynomial<T>>> __partials; // [i][j]: derivative of polynomial i along axis j
    mutable SquareMatrix<double> __jacobian;
};

} // namespace vorlen
