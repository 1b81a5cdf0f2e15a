#include "numerics/polynomial.h"

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <numeric>

#include "numerics/exception.h"
#include "numerics/matrix.h"

namespace vorlen {

namespace {

constexpr long long maxNodes = 1LL << 27;

std::vector<int> parseExponents(const std::string& text, int dimension, const char* where) {
    std::vector<int> exponents;
    const char* position = text.c_str();
    while (*position != '\0') {
        char* end = nullptr;
        const long exponent = std::strtol(position, &end, 10);
        if (end == position || (*end != '\0' && *end != ','))
            throw ValueError(where, "Exponents are not numbers separated by commas: '" + text + "'");
        exponents.push_back(exponent < 0 || exponent > maxNodes ? -1 : static_cast<int>(exponent));
        position = *end == ',' ? end + 1 : end;
    }
    if (static_cast<int>(exponents.size()) != dimension)
        throw ValueError(where, "Number of exponents differs from the number of variables: '" + text + "'");
    return exponents;
}

template <class T>
void evaluateAll(const Polynomial<T>& p, const std::vector<Vector<T>>& points, T* values) {
    for (const Vector<T>& point : points)
        *values++ = p.eval(point);
}

template <class T>
void checkPoints(const std::vector<Vector<T>>& points, int dimension, const char* where) {
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (i == 0 && points[i].getSize() != dimension)
            throw SizeError(where, "Dimension mismatch");
        if (points[i].getSize() != points[0].getSize())
            throw SizeError(where, "Size mismatch");
    }
}

} // namespace

template <class T>
Polynomial<T>::Polynomial() = default;

template <class T>
Polynomial<T>::Polynomial(int degree, int dimension) {
    reset(degree, dimension);
}

template <class T>
void Polynomial<T>::reset(int degree, int dimension) {
    const char* const where = "void Polynomial<T>::reset(const int, const int)";
    if (degree < 0 || dimension < 0)
        throw ValueError(where, "Degree and dimension cannot be negative");
    if (degree == __degree && dimension == __dimension) {
        __coefficients.setZeros();
        return;
    }
    if (dimension == 0) {
        *this = Polynomial();
        __degree = degree;
        return;
    }

    // Every new table is complete before this object changes.
    std::vector<int> nodeCount = {1};
    long long numNodes = 1;
    for (int k = 1; k <= dimension; ++k) {
        const long long count = (static_cast<long long>(degree) + k) * nodeCount.back() / k;
        numNodes += count;
        if (numNodes > maxNodes)
            throw ValueError(where, "Too many terms");
        nodeCount.push_back(static_cast<int>(count));
    }
    std::vector<std::vector<int>> exponents = {{0}};
    std::vector<std::vector<int>> firstChild;
    std::vector<int> remaining = {degree}; // what the exponents up to a node leave of the degree
    for (int k = 1; k <= dimension; ++k) {
        std::vector<int> levelExponents;
        std::vector<int> levelRemaining;
        std::vector<int> children;
        levelExponents.reserve(nodeCount[k]);
        levelRemaining.reserve(nodeCount[k]);
        children.reserve(nodeCount[k - 1] + 1);
        for (const int left : remaining) {
            children.push_back(static_cast<int>(levelExponents.size()));
            for (int exponent = left; exponent >= 0; --exponent) {
                levelExponents.push_back(exponent);
                levelRemaining.push_back(left - exponent);
            }
        }
        children.push_back(static_cast<int>(levelExponents.size()));
        firstChild.push_back(std::move(children));
        exponents.push_back(std::move(levelExponents));
        remaining = std::move(levelRemaining);
    }
    std::vector<int> identity(nodeCount[dimension] + 1);
    std::iota(identity.begin(), identity.end(), 0);
    firstChild.push_back(std::move(identity));
    Vector<T> coefficients(static_cast<unsigned int>(nodeCount[dimension]));
    coefficients.setZeros();
    Vector<T> scratch(static_cast<unsigned int>(nodeCount[dimension - 1]));
    scratch.setZeros();

    __degree = degree;
    __dimension = dimension;
    __coefficients.swap(coefficients);
    __scratch.swap(scratch);
    __nodeCount.swap(nodeCount);
    __exponents.swap(exponents);
    __firstChild.swap(firstChild);
}

template <class T>
void Polynomial<T>::setDegree(int degree) {
    reset(degree, __dimension);
}

template <class T>
void Polynomial<T>::setDimension(int dimension) {
    reset(__degree, dimension);
}

template <class T>
void Polynomial<T>::setCoefficients(const Vector<T>& coefficients) {
    if (coefficients.getSize() != numTerms())
        throw SizeError("void Polynomial<T>::setCoefficients(const Vector<T>&)", "Size mismatch");
    __coefficients = coefficients;
}

template <class T>
void Polynomial<T>::setCoeff(const int* exponents, T value) {
    __coefficients[locate(exponents)] = value;
}

template <class T>
T Polynomial<T>::getCoeff(const int* exponents) const {
    return __coefficients[locate(exponents)];
}

template <class T>
void Polynomial<T>::setCoeff(const std::string& exponents, T value) {
    __coefficients[locate(exponents)] = value;
}

template <class T>
T Polynomial<T>::getCoeff(const std::string& exponents) const {
    return __coefficients[locate(exponents)];
}

template <class T>
int Polynomial<T>::locate(const int* exponents) const {
    const char* const where = "int Polynomial<T>::locate(const int*) const";
    if (__dimension == 0)
        throw RangeError(where, "This polynomial has no variables");
    int node = 0;
    int left = __degree;
    for (int k = 0; k < __dimension; ++k) {
        const int exponent = exponents[k];
        if (exponent < 0 || exponent > left)
            throw RangeError(where, "Exponents out of range");
        // The children of a node carry the exponents left, left - 1, ..., 0.
        node = __firstChild[k][node] + left - exponent;
        left -= exponent;
    }
    return node;
}

template <class T>
int Polynomial<T>::locate(const std::string& exponents) const {
    return locate(parseExponents(exponents, __dimension, "int Polynomial<T>::locate(const string&) const").data());
}

template <class T>
T Polynomial<T>::eval(const Vector<T>& x) const {
    if (__dimension == 0)
        return T(0);
    const T* from = __coefficients.data();
    T* const to = __scratch.data();
    for (int k = __dimension; k > 0; --k) {
        const T t = x[k - 1];
        const int* const ends = __firstChild[k - 1].data() + 1;
        const int count = __nodeCount[k - 1];
        int position = 0;
        for (int node = 0; node < count; ++node) {
            T value = from[position++];
            for (const int end = ends[node]; position < end; ++position)
                value = value * t + from[position];
            to[node] = value; // never ahead of the reading position
        }
        from = to;
    }
    return to[0];
}

template <class T>
void Polynomial<T>::__checkSameShape(const Polynomial& p, const char* where) const {
    if (p.__degree != __degree)
        throw SizeError(where, "Degree mismatch");
    if (p.__dimension != __dimension)
        throw SizeError(where, "Dimension mismatch");
}

template <class T>
void Polynomial<T>::operator+=(const Polynomial& p) {
    __checkSameShape(p, "void Polynomial<T>::operator+=(const Polynomial&)");
    __coefficients += p.__coefficients;
}

template <class T>
void Polynomial<T>::operator-=(const Polynomial& p) {
    __checkSameShape(p, "void Polynomial<T>::operator-=(const Polynomial&)");
    __coefficients -= p.__coefficients;
}

template <class T>
Polynomial<T> Polynomial<T>::operator+(const Polynomial& p) const {
    __checkSameShape(p, "Polynomial<T> Polynomial<T>::operator+(const Polynomial&) const");
    Polynomial result(*this);
    result.__coefficients += p.__coefficients;
    return result;
}

template <class T>
Polynomial<T> Polynomial<T>::operator-(const Polynomial& p) const {
    __checkSameShape(p, "Polynomial<T> Polynomial<T>::operator-(const Polynomial&) const");
    Polynomial result(*this);
    result.__coefficients -= p.__coefficients;
    return result;
}

template <class T>
void Polynomial<T>::operator*=(T x) {
    __coefficients *= x;
}

template <class T>
void Polynomial<T>::operator/=(T x) {
    __coefficients /= x;
}

template <class T>
Polynomial<T> Polynomial<T>::operator*(T x) const {
    Polynomial result(*this);
    result *= x;
    return result;
}

template <class T>
Polynomial<T> Polynomial<T>::operator/(T x) const {
    Polynomial result(*this);
    result /= x;
    return result;
}

template <class T>
Polynomial<T> Polynomial<T>::derivative(int k) const {
    if (k < 0 || k >= __dimension)
        throw RangeError("Polynomial<T> Polynomial<T>::derivative(const int) const",
                         "Index of derivation out of range");
    if (__degree == 0)
        return Polynomial(0, __dimension);
    Polynomial result(__degree - 1, __dimension);
    // Taking a node's exponent down by one maps the tree's nodes, in order, onto the tree of the lower degree.
    int to = 0;
    for (int node = 0; node < __nodeCount[k + 1]; ++node) {
        const int exponent = __exponents[k + 1][node];
        if (exponent == 0)
            continue;
        int first = node;
        int end = node + 1;
        for (int level = k + 1; level < __dimension; ++level) {
            first = __firstChild[level][first];
            end = __firstChild[level][end];
        }
        for (int i = first; i < end; ++i)
            result.__coefficients[to++] = __coefficients[i] * static_cast<T>(exponent);
    }
    return result;
}

template <class T>
T Polynomial<T>::innerProduct(const Polynomial& p, const std::vector<Vector<T>>& points) const {
    T total = T(0);
    for (const Vector<T>& point : points)
        total += eval(point) * p.eval(point);
    return total;
}

template <class T>
void Polynomial<T>::print(const std::string& title, std::ostream& stream) const {
    stream << (title.empty() ? "Polynomial " : title) << '\n'
           << "  Dimension " << __dimension << '\n'
           << "  Degree    " << __degree << '\n'
           << "  Terms     " << numTerms() << '\n'
           << "  Coeffs    ";
    for (int i = 0; i < numTerms(); ++i)
        stream << (i == 0 ? "" : " ") << __coefficients[i];
    stream << '\n';
}

template <class T>
void Polynomial<T>::buildBasis(int degree, int dimension, std::vector<Polynomial>& out) {
    const Polynomial zero(degree, dimension);
    const int n = zero.numTerms();
    out.assign(static_cast<std::size_t>(n), zero);
    for (int i = 0; i < n; ++i)
        out[i].__coefficients[n - 1 - i] = T(1);
}

template <class T>
void Polynomial<T>::gramSchmidt(const std::vector<Polynomial>& in, const std::vector<Vector<T>>& points,
                                std::vector<Polynomial>& out) {
    const char* const where = "void Polynomial<T>::gramSchmidt(...)";
    for (const Polynomial& p : in)
        in[0].__checkSameShape(p, where);
    if (!in.empty())
        checkPoints(points, in[0].__dimension, where);
    try {
        const int n = static_cast<int>(in.size());
        const T epsilon = Vector<T>::epsilon() * static_cast<T>(n);
        Matrix<T> values(static_cast<unsigned int>(n), static_cast<unsigned int>(points.size()));
        Vector<T> norm(static_cast<unsigned int>(n));
        norm.setZeros();
        int numDiscarded = 0;
        std::vector<Polynomial> result(in);
        for (int i = 0; i < n; ++i) {
            evaluateAll(in[i], points, values[i].data());
            for (int j = 0; j < i; ++j) {
                if (!(norm[j] > epsilon))
                    continue;
                const T factor = values[i].scalarProduct(values[j]) / norm[j];
                T* const coefficients = result[i].__coefficients.data();
                const T* const otherCoefficients = result[j].__coefficients.data();
                for (int k = 0; k < result[i].numTerms(); ++k)
                    coefficients[k] -= factor * otherCoefficients[k];
                T* const row = values[i].data();
                const T* const otherRow = values[j].data();
                for (int k = 0; k < values.getSize2(); ++k)
                    row[k] -= factor * otherRow[k];
            }
            norm[i] = values[i].snorm();
            if (!(norm[i] > epsilon))
                ++numDiscarded;
        }
        if (numDiscarded > 0)
            std::cerr << "Polynomial<T>::gramSchmidt(...): warning: " << numDiscarded << " polynomial(s) discarded.\n"
                      << "epsilon = " << epsilon << '\n';
        out.swap(result);
    } catch (Exception& exception) {
        exception.addCall(where);
        throw;
    }
}

template <class T>
void Polynomial<T>::approximate(const std::vector<Polynomial>& polys, const std::vector<Vector<T>>& points,
                                const Vector<T>& values) {
    const char* const where =
        "void Polynomial<T>::approximate(const vector<Polynomial>&,const vector<Vector<T> >&,const Vector<T>&)";
    if (values.getSize() != static_cast<int>(points.size()))
        throw SizeError(where, "Sizes of input vectors x and y differ.");
    if (polys.empty())
        throw ValueError(where, "There is no polynomial to approximate with");
    checkPoints(points, polys[0].__dimension, where);
    Polynomial result(polys[0].__degree, polys[0].__dimension);
    const T threshold = Vector<T>::epsilon() * static_cast<T>(result.numTerms());
    Vector<T> p(static_cast<unsigned int>(points.size()));
    for (std::size_t i = polys.size(); i-- > 0;) {
        result.__checkSameShape(polys[i], where);
        evaluateAll(polys[i], points, p.data());
        const T numerator = values.scalarProduct(p);
        const T denominator = p.snorm();
        if (std::fabs(denominator) > threshold)
            result += polys[i] * (numerator / denominator);
    }
    *this = std::move(result);
}

template <class T>
void Polynomial<T>::approximate(const std::vector<Vector<T>>& points, const Vector<T>& values, int degree) {
    const char* const where = "void Polynomial<T>::approximate(const vector<Vector<T> >&,const Vector<T>&,const int)";
    if (points.empty())
        throw ValueError(where, "There is no point to approximate at");
    std::vector<Polynomial> polys;
    buildBasis(degree, points[0].getSize(), polys);
    gramSchmidt(polys, points, polys);
    approximate(polys, points, values);
}

template class Polynomial<float>;
template class Polynomial<double>;
template class Polynomial<long double>;

} // namespace vorlen
