#include "shapes/edge.h"

#include "numerics/elementtype.h"
#include "shapes/trianglegeometry.h"

#include <cmath>

namespace vorlen {

namespace {

template <class T>
bool projectionCrosses(const Edge<T>& edge1, const Edge<T>& edge2, int i, int j, bool line, Vector<T>* out) {
    using W = TriangleGeometry::Wide<T>;
    const T* a = edge1[0].data();
    const T* b = edge1[1].data();
    const T* c = edge2[0].data();
    const T* d = edge2[1].data();
    W position = 0;
    if (!TriangleGeometry::segmentsCross<W>(a[i], a[j], b[i], b[j], c[i], c[j], d[i], d[j], line, &position))
        return false;
    if (out) {
        const W x = W(a[i]) - position * (W(a[i]) - W(b[i]));
        const W y = W(a[j]) - position * (W(a[j]) - W(b[j]));
        out->setSize(2);
        (*out)[0] = roundToCoordinate<T>(x);
        (*out)[1] = roundToCoordinate<T>(y);
    }
    return true;
}

} // namespace

template <class T>
Edge<T>::Edge() {
    Curve<T>::setOpen(true);
    Curve<T>::setSize(2, true);
}

template <class T>
Edge<T>::Edge(int space) : Curve<T>(space, 2, 2, 2, true) {
    (*this)[0].setZeros();
    (*this)[1].setZeros();
}

template <class T>
Edge<T>::Edge(const Vertices<T>& vertices, int i, int j) {
    Curve<T>::setOpen(true);
    VertexClient<T>::assign(vertices); // the server alone. NOLINT(bugprone-parent-virtual-call)
    Curve<T>::setSize(2, false);
    Curve<T>::setIndex(0, vertices.getIndex(i));
    Curve<T>::setIndex(1, vertices.getIndex(j));
}

template <class T>
Edge<T>::Edge(const Edge& edge) = default;

template <class T>
Edge<T>::~Edge() = default;

template <class T>
Edge<T>& Edge<T>::operator=(const Edge& edge) {
    Curve<T>::operator=(edge);
    return *this;
}

template <class T>
Edge<T>* Edge<T>::clone() const {
    return new Edge(*this);
}

template <class T>
T Edge<T>::closestPoint(const Vector<T>& p, Vector<T>& out) const {
    if constexpr (std::is_same_v<T, int>) {
        raiseNotAvailable<T>("# Edge<#>::closestPoint(const Vector<#>&,Vector<#>&) const");
    } else {
        const Vector<T>& a = (*this)[0];
        const Vector<T>& b = (*this)[1];
        const int space = a.getSize();
        if (p.getSize() != space) {
            throw SizeError("T Edge<T>::closestPoint(const Vector<T>&,Vector<T>&) const",
                            "Incompatible vector dimensions");
        }
        using W = TriangleGeometry::Wide<T>;
        const W position = TriangleGeometry::closestPosition(a.data(), b.data(), p.data(), space);
        W sum = 0;
        Vector<T> closest(space);
        for (int k = 0; k < space; k++) {
            closest[k] = position == 1 ? b[k] : static_cast<T>(a[k] + position * (W(b[k]) - W(a[k])));
            sum += (W(closest[k]) - W(p[k])) * (W(closest[k]) - W(p[k]));
        }
        out = closest;
        return static_cast<T>(std::sqrt(sum));
    }
}

template <class T>
bool Edge<T>::projectionIntersects(const Edge& edge, int i, int j, Vector<T>* out) const {
    return projectionCrosses(*this, edge, i, j, false, out);
}

template <class T>
bool Edge<T>::projectionIntersectsLine(const Edge& edge, int i, int j, Vector<T>* out) const {
    return projectionCrosses(*this, edge, i, j, true, out);
}

template <class T>
int Edge<T>::intersects(const Vector<T>& n, T d, Vector<T>& out) const {
    if constexpr (std::is_same_v<T, int>) {
        (void)n, (void)d, (void)out;
        throw UsageError("int Edge<int>::intersects(...)", "Method not available for type 'int'");
    } else {
        const Vector<T>& a = (*this)[0];
        const Vector<T>& b = (*this)[1];
        const int space = a.getSize();
        if (n.getSize() != space) {
            throw SizeError("int Edge<T>::intersects(const Vector<T>&,const T,Vector<T>&) const",
                            "Incompatible vector dimensions");
        }
        Vector<T> point(space);
        const int result = TriangleGeometry::cutByPlane(a.data(), b.data(), n.data(), d, space, point.data());
        if (result != 0)
            out = point;
        return result;
    }
}

template class Edge<int>;
template class Edge<float>;
template class Edge<double>;
template class Edge<long double>;

} // namespace vorlen
