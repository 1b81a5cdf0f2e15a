#include "shapes/boundingbox.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "numerics/exception.h"
#include "shapes/shapearithmetic.h"
#include "shapes/vertices.h"

namespace vorlen {

template <class T>
BoundingBox<T>::BoundingBox(const Vector<T>& first, const Vector<T>& second) : __vertex1(first), __vertex2(second) {
}

template <class T>
bool BoundingBox<T>::isValid() const {
    return __vertex1.getSize() > 0 && __vertex1.getSize() == __vertex2.getSize();
}

template <class T>
void BoundingBox<T>::rectify() {
    for (int k = 0; k < std::min(__vertex1.getSize(), __vertex2.getSize()); ++k)
        if (__vertex2[k] < __vertex1[k])
            std::swap(__vertex1[k], __vertex2[k]);
}

template <class T>
void BoundingBox<T>::expand(T margin) {
    __vertex1 -= margin;
    __vertex2 += margin;
}

template <class T>
void BoundingBox<T>::expand(const Vector<T>& margins) {
    // The second operand is formed first, so that a failure leaves both corners.
    const Vector<T> upper = __vertex2 + margins;
    __vertex1 -= margins;
    __vertex2 = upper;
}

template <class T>
T BoundingBox<T>::min(int axis) const {
    return std::min(__vertex1[axis], __vertex2[axis]);
}

template <class T>
T BoundingBox<T>::max(int axis) const {
    return std::max(__vertex1[axis], __vertex2[axis]);
}

template <class T>
T BoundingBox<T>::width(int axis) const {
    return max(axis) - min(axis);
}

template <class T>
Vector<T> BoundingBox<T>::widths() const {
    Vector<T> widths(std::min(__vertex1.getSize(), __vertex2.getSize()));
    for (int k = 0; k < widths.getSize(); ++k)
        widths[k] = width(k);
    return widths;
}

template <class T>
T BoundingBox<T>::diagonal() const {
    return __vertex1.distance(__vertex2);
}

template <class T>
Vector<T> BoundingBox<T>::cog() const {
    return (__vertex1 + __vertex2) / T(2);
}

template <class T>
Vector<int> BoundingBox<T>::adjustToResolution(T resolution) {
    // Real numbers are divided in T, so that a width that is a multiple in T stays as it is.
    using Real = std::conditional_t<std::is_integral_v<T>, double, T>;
    const char* where = "Vector<int> BoundingBox<T>::adjustToResolution(const T)";
    if (!(resolution > 0))
        throw ValueError(where, "The resolution is not above 0");
    constexpr int tooMany = std::numeric_limits<int>::max() / 2;
    Vector<int> counts(std::min(__vertex1.getSize(), __vertex2.getSize()));
    for (int k = 0; k < counts.getSize(); ++k) {
        const Real count = std::ceil(Real(width(k)) / Real(resolution));
        if (!(count < Real(tooMany)))
            throw ValueError(where, "The resolution is too fine for this box");
        counts[k] = int(count);
    }
    for (int k = 0; k < counts.getSize(); ++k) {
        const T growth = T(counts[k]) * resolution - width(k);
        const T delta = growth / 2;
        __vertex1[k] -= delta;
        __vertex2[k] += growth - delta; // an odd growth of int goes to the second corner
    }
    return counts;
}

template <class T>
bool BoundingBox<T>::contains(const Vector<T>& p) const {
    if (p.getSize() != __vertex1.getSize() || p.getSize() != __vertex2.getSize())
        throw SizeError("bool BoundingBox<T>::contains(const Vector<T>&) const", "Incompatible vector dimensions");
    for (int k = 0; k < p.getSize(); ++k)
        if (!(__vertex1[k] <= p[k] && p[k] <= __vertex2[k]))
            return false;
    return true;
}

template <class T>
bool BoundingBox<T>::containsAny(const Shape<T>& shape) const {
    for (ConstVertexIterator<T> it(shape); it.current(); ++it)
        if (contains(*it.current()))
            return true;
    return false;
}

template <class T>
BoundingBox<T> BoundingBox<T>::merge(const BoundingBox& other) const {
    if (__vertex1.getSize() == 0 && __vertex2.getSize() == 0)
        return other;
    if (other.__vertex1.getSize() == 0 && other.__vertex2.getSize() == 0)
        return *this;
    if (__vertex1.getSize() != other.__vertex1.getSize() || __vertex2.getSize() != other.__vertex2.getSize()) {
        throw SizeError("BoundingBox<T> BoundingBox<T>::merge(const BoundingBox&) const",
                        "Incompatible vector dimensions");
    }
    BoundingBox box(*this);
    for (int k = 0; k < __vertex1.getSize(); ++k)
        box.__vertex1[k] = std::min(__vertex1[k], other.__vertex1[k]);
    for (int k = 0; k < __vertex2.getSize(); ++k)
        box.__vertex2[k] = std::max(__vertex2[k], other.__vertex2[k]);
    return box;
}

template <class T>
Vertices<T> BoundingBox<T>::vertices() const {
    const int space = __vertex1.getSize();
    if (space != __vertex2.getSize() || space > 20)
        throw SizeError("Vertices<T> BoundingBox<T>::vertices() const", "Incompatible vector dimensions");
    const int n = 1 << space;
    Vertices<T> corners(space, n, n, n);
    for (int j = 0; j < n; ++j)
        for (int k = 0; k < space; ++k)
            corners[j][k] = (j >> k & 1) ? __vertex1[k] : __vertex2[k];
    return corners;
}

template class BoundingBox<int>;
template class BoundingBox<float>;
template class BoundingBox<double>;
template class BoundingBox<long double>;

} // namespace vorlen
