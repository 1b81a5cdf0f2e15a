#include "reconstruction/surfaceends.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "reconstruction/partlid.h"
#include "reconstruction/sectionparts.h"

namespace vorlen {

namespace {

/// Whether the walls run along the first edge of the ring from its first vertex to its second.
template <class T>
bool runsForward(const TriMesh<T>& walls, unsigned int first, bool otherwise) {
    for (unsigned int i = 0; i < walls.getNumTriangles(); ++i) {
        const Vector<unsigned int>& t = walls.getTriangleIndexes(i);
        for (int k = 0; k < 3; ++k) {
            const unsigned int a = t[k], b = t[k < 2 ? k + 1 : 0];
            if (a == first && b == first + 1)
                return true;
            if (a == first + 1 && b == first)
                return false;
        }
    }
    return otherwise;
}

/// The points of a contour, relative to its first vertex.
template <class T>
std::vector<PlanePoint> ringOf(const TriMesh<T>& mesh, int first, int size) {
    std::vector<PlanePoint> points;
    points.reserve(std::size_t(size));
    for (int k = 0; k < size; ++k)
        points.push_back(
            {double(mesh[first + k][0]) - double(mesh[first][0]), double(mesh[first + k][1]) - double(mesh[first][1])});
    return points;
}

} // namespace

double scaleOfEnd(double area, double areaBefore, double gapBefore, double rise) {
    constexpr double leastScale = 0.05;
    if (!(area > 0) || !(gapBefore > 0))
        return 1;
    const double scale = std::sqrt(std::clamp(1 + (area - areaBefore) / area * rise / gapBefore, 0.0, 1.0));
    return scale < leastScale ? 0 : scale;
}

PlanePoint asideOfEnd(const PlanePoint& centroid, const PlanePoint& centroidBefore, double gapBefore, double rise,
                      double meanRadius) {
    if (!(gapBefore > 0))
        return {};
    const double x = (centroid.x - centroidBefore.x) * rise / gapBefore;
    const double y = (centroid.y - centroidBefore.y) * rise / gapBefore, way = std::hypot(x, y);
    const double share = way > meanRadius ? meanRadius / way : 1;
    return {x * share, y * share};
}

template <class T>
TriMesh<T> closeEnds(const TriMesh<T>& walls, int firstSize, int lastSize, std::optional<EndShape<T>> begin,
                     std::optional<EndShape<T>> end) {
    const int size = walls.getNumVertices();
    std::vector<std::array<T, 3>> added;
    std::vector<std::array<int, 3>> faces;
    const auto close = [&](int first, int numVertices, const std::optional<EndShape<T>>& wanted, bool wallsRunForward) {
        if (!wanted || numVertices < 3) // two edges on each other are closed by each other
            return;
        const auto add = [&](int a, int b, int c) {
            faces.push_back(wallsRunForward ? std::array<int, 3>{b, a, c} : std::array<int, 3>{a, b, c});
        };
        std::vector<PlanePoint> points = ringOf(walls, first, numVertices);
        const SectionRing ring(points);
        const PlanePoint centre = ring.contains(ring.centroid) ? ring.centroid : ring.innerPoint();
        const EndShape<T> shape = ring.isSeenFrom(centre) ? *wanted : wanted->blunt();
        const auto addVertex = [&](const PlanePoint& p) {
            added.push_back({walls[first][0] + T(p.x) + shape.asideX, walls[first][1] + T(p.y) + shape.asideY,
                             walls[first][2] + shape.rise});
            return size + int(added.size()) - 1;
        };
        const auto behind = [numVertices](int k) { return k + 1 < numVertices ? k + 1 : 0; };
        int copy = first;
        if (shape.rise != 0 && shape.scale == 0) {
            const int apex = addVertex(centre);
            for (int k = 0; k < numVertices; ++k)
                add(first + k, first + behind(k), apex);
            return;
        }
        if (shape.rise != 0) {
            copy = size + int(added.size());
            for (PlanePoint& p : points) {
                p = {centre.x + double(shape.scale) * (p.x - centre.x),
                     centre.y + double(shape.scale) * (p.y - centre.y)};
                addVertex(p);
            }
            for (int k = 0; k < numVertices; ++k) {
                add(first + k, first + behind(k), copy + behind(k));
                add(first + k, copy + behind(k), copy + k);
            }
        }
        for (const std::array<int, 3>& t : lidOf({points}))
            add(copy + t[0], copy + t[1], copy + t[2]);
    };
    if (size > 0) {
        close(0, firstSize, begin, runsForward(walls, 0, true));
        close(size - lastSize, lastSize, end, runsForward(walls, static_cast<unsigned int>(size - lastSize), false));
    }

    const int all = size + int(added.size());
    TriMesh<T> mesh(3, all, all, all);
    for (int i = 0; i < size; ++i)
        mesh[i] = walls[i];
    for (std::size_t i = 0; i < added.size(); ++i)
        std::copy(added[i].begin(), added[i].end(), mesh[size + int(i)].data());
    mesh.reserveTriangles(walls.getNumTriangles() + static_cast<unsigned int>(faces.size()));
    for (unsigned int i = 0; i < walls.getNumTriangles(); ++i) {
        const Vector<unsigned int>& t = walls.getTriangleIndexes(i);
        mesh.addTriangle(t[0], t[1], t[2]);
    }
    for (const auto& face : faces)
        mesh.addTriangle(static_cast<unsigned int>(face[0]), static_cast<unsigned int>(face[1]),
                         static_cast<unsigned int>(face[2]));
    if (begin && end && mesh.volume() < 0)
        for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i)
            std::swap(mesh.getTriangleIndexes(i)[0], mesh.getTriangleIndexes(i)[1]);
    mesh.computeNormals();
    return mesh;
}

template TriMesh<float> closeEnds<float>(const TriMesh<float>&, int, int, std::optional<EndShape<float>>,
                                         std::optional<EndShape<float>>);
template TriMesh<double> closeEnds<double>(const TriMesh<double>&, int, int, std::optional<EndShape<double>>,
                                           std::optional<EndShape<double>>);
template TriMesh<long double> closeEnds<long double>(const TriMesh<long double>&, int, int,
                                                     std::optional<EndShape<long double>>,
                                                     std::optional<EndShape<long double>>);

} // namespace vorlen
