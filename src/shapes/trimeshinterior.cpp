#include "shapes/trimeshinterior.h"

#include "numerics/exception.h"
#include "shapes/trimesh.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace vorlen {

namespace {

constexpr int leafSize = 4;
constexpr int maxRays = 10000;

// The first rays end on one line, and so lie in one plane: an edge in this plane spoils all of them. The others go in
// all directions.
constexpr int maxRaysInPlane = 8;

} // namespace

template <class T>
TriMeshInterior<T>::TriMeshInterior(const TriMesh<T>& mesh) : __boundingBox(mesh.boundingBox()) {
    const char* where = "TriMeshInterior<T>::TriMeshInterior(const TriMesh<T>&)";
    const int numTriangles = int(mesh.getNumTriangles());
    if (numTriangles > 0 && mesh.getSpace() != 3)
        throw SizeError(where, "The mesh is not of space 3");
    const unsigned int numVertices = mesh.getNumVertices();
    std::vector<TriangleGeometry::Facet<T>> facets;
    std::vector<T> centers;
    facets.reserve(numTriangles);
    centers.reserve(3 * std::size_t(numTriangles));
    for (int i = 0; i < numTriangles; i++) {
        const Vector<unsigned int>& corners = mesh.getTriangleIndexes(i);
        if (std::max({corners[0], corners[1], corners[2]}) >= numVertices)
            throw RangeError(where, "A triangle has a vertex that is not there");
        const T* a = mesh[int(corners[0])].data();
        const T* b = mesh[int(corners[1])].data();
        const T* c = mesh[int(corners[2])].data();
        facets.push_back(TriangleGeometry::makeFacet<T>(a, b, c, nullptr));
        for (int k = 0; k < 3; k++) {
            const T center = a[k] / 3 + b[k] / 3 + c[k] / 3;
            centers.push_back(center == center ? center : T(0)); // undefined coordinates have no order
        }
    }

    std::size_t divisions = 1;
    for (int count = numTriangles; count > leafSize; count = (count + 1) / 2)
        divisions *= 2;
    __boxes.resize(2 * divisions - 1);
    if (numTriangles > 0) {
        std::vector<int> order(numTriangles);
        std::iota(order.begin(), order.end(), 0);
        __facets = facets;
        __fill(0, 0, numTriangles, order, centers);
        for (int i = 0; i < numTriangles; i++)
            __facets[i] = facets[order[i]];
    }
}

/// Puts the triangles order[first] and the following in the order of their leaves. __facets still has that of the mesh.
template <class T>
typename TriMeshInterior<T>::Box TriMeshInterior<T>::__fill(std::size_t node, int first, int count,
                                                            std::vector<int>& order, const std::vector<T>& centers) {
    Box box;
    if (count <= leafSize) {
        T size = 0;
        for (int k = 0; k < 3; k++)
            size = std::max({size, std::abs(__boundingBox.getVertex1()[k]), std::abs(__boundingBox.getVertex2()[k])});
        for (int k = 0; k < 3; k++) {
            box.lower[k] = std::numeric_limits<T>::infinity();
            box.upper[k] = -box.lower[k];
            for (int i = first; i < first + count; i++) {
                for (const T* corner : __facets[order[i]].corner) {
                    box.lower[k] = std::min(box.lower[k], corner[k]);
                    box.upper[k] = std::max(box.upper[k], corner[k]);
                }
            }
            // Covers the distance at which a point still counts as on a triangle, and the rounding of ray positions.
            const T margin = (2 * Vector<T>::epsilon() + 64 * std::numeric_limits<T>::epsilon()) * size;
            box.lower[k] -= margin;
            box.upper[k] += margin;
        }
    } else {
        T lower[3], upper[3];
        int axis = 0;
        for (int k = 0; k < 3; k++) {
            lower[k] = upper[k] = centers[3 * std::size_t(order[first]) + k];
            for (int i = first + 1; i < first + count; i++) {
                lower[k] = std::min(lower[k], centers[3 * std::size_t(order[i]) + k]);
                upper[k] = std::max(upper[k], centers[3 * std::size_t(order[i]) + k]);
            }
            if (upper[k] - lower[k] > upper[axis] - lower[axis])
                axis = k;
        }
        const int half = count / 2;
        const auto precedes = [&centers, axis](int a, int b) {
            return centers[3 * std::size_t(a) + axis] < centers[3 * std::size_t(b) + axis];
        };
        std::nth_element(order.begin() + first, order.begin() + first + half, order.begin() + first + count, precedes);
        const Box left = __fill(2 * node + 1, first, half, order, centers);
        const Box right = __fill(2 * node + 2, first + half, count - half, order, centers);
        for (int k = 0; k < 3; k++) {
            box.lower[k] = std::min(left.lower[k], right.lower[k]);
            box.upper[k] = std::max(left.upper[k], right.upper[k]);
        }
    }
    __boxes[node] = box;
    return box;
}

template <class T>
template <class Enter, class Visit>
bool TriMeshInterior<T>::__walk(std::size_t node, int first, int count, const Enter& enter, const Visit& visit) const {
    if (!enter(__boxes[node]))
        return true;
    if (count <= leafSize) {
        for (int i = first; i < first + count; i++)
            if (!visit(__facets[i]))
                return false;
        return true;
    }
    const int half = count / 2;
    return __walk(2 * node + 1, first, half, enter, visit) &&
           __walk(2 * node + 2, first + half, count - half, enter, visit);
}

template <class T>
bool TriMeshInterior<T>::__onSurface(const T* p) const {
    const auto enter = [p](const Box& box) {
        for (int k = 0; k < 3; k++)
            if (p[k] < box.lower[k] || p[k] > box.upper[k])
                return false;
        return true;
    };
    const auto misses = [p](const TriangleGeometry::Facet<T>& facet) {
        return !TriangleGeometry::touches(facet, p, p) || !TriangleGeometry::isOn(facet, p);
    };
    return !__walk(0, 0, int(__facets.size()), enter, misses);
}

/// -1 when the ray from p to q meets a side or corner, unless such meetings are to be counted as crossings.
template <class T>
int TriMeshInterior<T>::__countCrossings(const T* p, const T* q, bool countDoubtful) const {
    // The part of the ray between two faces of a box, from 0 at p to 1 at q, must not be empty on any axis.
    const auto enter = [p, q](const Box& box) {
        T from = 0, to = 1;
        for (int k = 0; k < 3; k++) {
            const T direction = q[k] - p[k];
            if (direction == 0) {
                if (p[k] < box.lower[k] || p[k] > box.upper[k])
                    return false;
                continue;
            }
            const T atLower = (box.lower[k] - p[k]) / direction;
            const T atUpper = (box.upper[k] - p[k]) / direction;
            from = std::max(from, std::min(atLower, atUpper));
            to = std::min(to, std::max(atLower, atUpper));
        }
        return from <= to;
    };
    int crossings = 0;
    T lower[3], upper[3];
    for (int k = 0; k < 3; k++) {
        lower[k] = std::min(p[k], q[k]);
        upper[k] = std::max(p[k], q[k]);
    }
    const auto count = [&](const TriangleGeometry::Facet<T>& facet) {
        T point[3];
        if (!TriangleGeometry::touches(facet, lower, upper))
            return true;
        const int code = TriangleGeometry::intersects(facet, p, q, point);
        crossings += code != 0;
        return code != 2 || countDoubtful;
    };
    return __walk(0, 0, int(__facets.size()), enter, count) ? crossings : -1;
}

template <class T>
bool TriMeshInterior<T>::contains(const Vector<T>& p) const {
    if (__facets.empty())
        return false;
    if (!__boundingBox.contains(p))
        return false;
    if (__onSurface(p.data()))
        return true;
    const Vector<T>& corner = __boundingBox.getVertex1();
    int crossings = -1;
    const T extent = corner.distance(__boundingBox.getVertex2()), unit = extent / 8;
    for (int k = 1; k <= maxRays && crossings < 0; k++) {
        T q[3] = {corner[0] - unit * T(k), corner[1] - unit * T(2 * k - 1), corner[2] - unit * T(3 * k - 2)};
        if (k > maxRaysInPlane) {
            // Directions spread evenly by the golden ratio, long enough to leave the box.
            const T height = 1 - 2 * (T(k - maxRaysInPlane) - T(0.5)) / T(maxRays - maxRaysInPlane);
            const T radius = std::sqrt(1 - height * height), angle = T(2.399963229728653) * T(k);
            q[0] = p[0] + 3 * extent * radius * std::cos(angle);
            q[1] = p[1] + 3 * extent * radius * std::sin(angle);
            q[2] = p[2] + 3 * extent * height;
        }
        crossings = __countCrossings(p.data(), q, k == maxRays);
    }
    return crossings % 2 == 1;
}

template class TriMeshInterior<float>;
template class TriMeshInterior<double>;
template class TriMeshInterior<long double>;

} // namespace vorlen
