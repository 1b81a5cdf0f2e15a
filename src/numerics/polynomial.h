#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "numerics/vector.h"

namespace vorlen {

/// Polynomial in several variables, of bounded total degree, with least-squares fitting.
///
/// Coefficients are ordered by the exponents of their monomials, the first variable's descending, then the second's,
/// and so on; the last one is the constant term. For degree 2 in two variables: (2,0), (1,1), (1,0), (0,2), (0,1),
/// (0,0). The order is that of the leaves of a tree with one level for each variable, in which Horner's rule evaluates.
///
/// A polynomial in no variables holds no coefficients and is 0 everywhere. Negative degrees and dimensions, and shapes
/// of more than 2^27 nodes, throw ValueError. Exponents that are negative or whose sum exceeds the degree throw
/// RangeError, a text that does not hold one number for each variable throws ValueError.
///
/// eval() uses work space inside the object: one polynomial must not be evaluated from two threads at once.
/// Compiled for float, double, long double.
template <class T>
class Polynomial {
public:
    /// Degree 0 in no variables.
    Polynomial();
    /// All coefficients 0.
    Polynomial(int degree, int dimension);

    /// Changes the shape; all coefficients become 0, also when the shape stays.
    void reset(int degree, int dimension);
    int getDegree() const { return __degree; }
    int getDimension() const { return __dimension; }
    void setDegree(int degree);
    void setDimension(int dimension);
    /// Number of coefficients, (degree + dimension)! / (degree! dimension!); 0 without variables.
    int numTerms() const { return __coefficients.getSize(); }

    /// All coefficients in the order of the class.
    const Vector<T>& getCoefficients() const { return __coefficients; }
    /// Throws SizeError unless there are numTerms() of them.
    void setCoefficients(const Vector<T>& coefficients);

    /// Coefficient with these exponents, one for each variable; as text they are separated by commas.
    void setCoeff(const int* exponents, T value);
    T getCoeff(const int* exponents) const;
    void setCoeff(const std::string& exponents, T value);
    T getCoeff(const std::string& exponents) const;
    /// Index of the coefficient with these exponents.
    int locate(const int* exponents) const;
    int locate(const std::string& exponents) const;

    /// Value at x, of which the first getDimension() elements are read. One multiplication and one addition for each
    /// term, no allocation.
    T eval(const Vector<T>& x) const;

    /// Throw SizeError unless degrees and dimensions agree.
    void operator+=(const Polynomial& p);
    void operator-=(const Polynomial& p);
    Polynomial operator+(const Polynomial& p) const;
    Polynomial operator-(const Polynomial& p) const;
    void operator*=(T x);
    void operator/=(T x);
    Polynomial operator*(T x) const;
    Polynomial operator/(T x) const;

    /// Partial derivative by variable k, of degree one less; of a constant, the zero polynomial of degree 0.
    /// Throws RangeError unless k is from 0 to below the dimension.
    Polynomial derivative(int k) const;
    /// Sum over the points of the product of the two values.
    T innerProduct(const Polynomial& p, const std::vector<Vector<T>>& points) const;
    void print(const std::string& title, std::ostream& stream) const;

    /// The monomials as polynomials of one coefficient each, from the constant 1 to the first of the class's order.
    static void buildBasis(int degree, int dimension, std::vector<Polynomial>& out);
    /// Modified Gram-Schmidt process for innerProduct() on the points. A polynomial that vanishes to rounding on the
    /// points stays in out, but no other is reduced by it; the number of such goes to the error stream.
    /// Throws SizeError when degrees, dimensions or the sizes of the points differ.
    static void gramSchmidt(const std::vector<Polynomial>& in, const std::vector<Vector<T>>& points,
                            std::vector<Polynomial>& out);
    /// Makes this the combination of polys, which are orthogonal on the points, that is nearest to the values in the
    /// least-squares sense. Polynomials that vanish on the points add nothing.
    /// Throws SizeError when the numbers of points and values, or the dimensions, differ, and ValueError without polys.
    void approximate(const std::vector<Polynomial>& polys, const std::vector<Vector<T>>& points,
                     const Vector<T>& values);
    /// Least-squares polynomial of this degree. Throws as the other form, and ValueError without points.
    void approximate(const std::vector<Vector<T>>& points, const Vector<T>& values, int degree);

private:
    void __checkSameShape(const Polynomial& p, const char* where) const;

    int __degree = 0;
    int __dimension = 0;
    Vector<T> __coefficients;
    mutable Vector<T> __scratch;                // one value for each node of the last level but one
    std::vector<int> __nodeCount;               // nodes at each level
    std::vector<std::vector<int>> __exponents;  // of each node, at each level
    std::vector<std::vector<int>> __firstChild; // of each node at each level, and one more that ends the last run
};

} // namespace vorlen
