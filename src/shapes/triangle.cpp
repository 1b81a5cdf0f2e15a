#include "shapes/triangle.h"

#include "numerics/elementtype.h"
#include "shapes/edge.h"
#include "shapes/trianglegeometry.h"

#include <cmath>

namespace vorlen {

namespace {

template <class T>
TriangleGeometry::Facet<T> facetOf(const Triangle<T>& triangle, const Vector<T>& normal) {
    return TriangleGeometry::makeFacet(triangle[0].data(), triangle[1].data(), triangle[2].data(), normal.data());
}

} // namespace

template <class T>
Triangle<T>::Triangle() {
    Curve<T>::setOpen(false);
    Curve<T>::setSize(3, true);
}

template <class T>
Triangle<T>::Triangle(int space) : Curve<T>(space, 3, 3, 3, false) {
    for (int k = 0; k < 3; k++)
        (*this)[k].setZeros();
}

template <class T>
Triangle<T>::Triangle(const Vertices<T>& vertices, int i, int j, int k) {
    Curve<T>::setOpen(false);
    VertexClient<T>::assign(vertices); // the server alone. NOLINT(bugprone-parent-virtual-call)
    Curve<T>::setSize(3, false);
    Curve<T>::setIndex(0, vertices.getIndex(i));
    Curve<T>::setIndex(1, vertices.getIndex(j));
    Curve<T>::setIndex(2, vertices.getIndex(k));
}

template <class T>
Triangle<T>::Triangle(const Triangle& triangle) = default;

template <class T>
Triangle<T>::~Triangle() = default;

template <class T>
Triangle<T>& Triangle<T>::operator=(const Triangle& triangle) {
    Curve<T>::operator=(triangle);
    return *this;
}

template <class T>
Triangle<T>* Triangle<T>::clone() const {
    return new Triangle(*this);
}

template <class T>
void Triangle<T>::__checkPoint(const Vector<T>& p, const char* where) const {
    if ((*this)[0].getSize() != 3 || p.getSize() != 3)
        throw SizeError(where, "The triangle or the argument is not of space 3");
}

template <class T>
Vector<T> Triangle<T>::normal(bool normalize) const {
    Vector<T> result = ((*this)[1] - (*this)[0]).vectorProduct((*this)[2] - (*this)[1]);
    if (normalize)
        result.normalize();
    return result;
}

template <class T>
bool Triangle<T>::contains(const Vector<T>& p, const Vector<T>& normal) const {
    if constexpr (std::is_same_v<T, int>) {
        (void)p, (void)normal;
        raiseNotAvailable<T>("bool Triangle<#>::contains(const Vector<#>&,const Vector<#>&) const");
    } else {
        const char* where = "bool Triangle<T>::contains(const Vector<T>&,const Vector<T>&) const";
        __checkPoint(p, where);
        __checkPoint(normal, where);
        return TriangleGeometry::contains(facetOf(*this, normal), p.data());
    }
}

template <class T>
bool Triangle<T>::contains(const Vector<T>& p) const {
    return contains(p, normal(true));
}

template <class T>
int Triangle<T>::intersects(const Edge<T>& edge, Vector<T>& out, const Vector<T>& normal) const {
    if constexpr (std::is_same_v<T, int>) {
        return edge.intersects(normal, 0, out); // not available for int, as told there
    } else {
        const char* where = "int Triangle<T>::intersects(Edge<T>&,Vector<T>&,const Vector<T>&) const";
        __checkPoint(edge[0], where);
        __checkPoint(normal, where);
        Vector<T> point(3);
        const int result =
            TriangleGeometry::intersects(facetOf(*this, normal), edge[0].data(), edge[1].data(), point.data());
        if (result != 0)
            out = point;
        return result;
    }
}

template <class T>
int Triangle<T>::intersects(const Edge<T>& edge, Vector<T>& out) const {
    return intersects(edge, out, normal(!std::is_same_v<T, int>));
}

template <class T>
T Triangle<T>::closestPoint(const Vector<T>& p, Vector<T>& out) const {
    if constexpr (std::is_same_v<T, int>) {
        (void)p, (void)out;
        throw UsageError("int Triangle<int>::closestPoint(...) const", "Method not available for type 'int'");
    } else {
        const Vector<T>& a = (*this)[0];
        const Vector<T>& b = (*this)[1];
        const Vector<T>& c = (*this)[2];
        const int space = a.getSize();
        if (p.getSize() != space) {
            throw SizeError("T Triangle<T>::closestPoint(const Vector<T>&,Vector<T>&) const",
                            "Incompatible vector dimensions");
        }
        using W = TriangleGeometry::Wide<T>;
        W s, t;
        const W squared = TriangleGeometry::closestParameters(a.data(), b.data(), c.data(), p.data(), space, s, t);
        Vector<T> closest(space);
        for (int k = 0; k < space; k++)
            closest[k] = static_cast<T>(a[k] + s * (W(b[k]) - W(a[k])) + t * (W(c[k]) - W(a[k])));
        out = closest;
        return static_cast<T>(std::sqrt(squared));
    }
}

template class Triangle<int>;
template class Triangle<float>;
template class Triangle<double>;
template class Triangle<long double>;

} // namespace vorlen
