#include "reconstruction/surfaceends.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
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

/// Vertices behind those of the mesh, and triangles.
template <class T>
void add(TriMesh<T>& mesh, const std::vector<std::array<T, 3>>& vertices,
         const std::vector<std::array<int, 3>>& faces) {
    if (!vertices.empty())
        mesh.getServer()->setGrowth(int(vertices.size())); // all of them in one step, and no room beside
    Vector<T> place(3);
    for (const std::array<T, 3>& vertex : vertices) {
        std::copy(vertex.begin(), vertex.end(), place.data());
        mesh.append(place);
    }
    for (const std::array<int, 3>& face : faces)
        mesh.addTriangle(static_cast<unsigned int>(face[0]), static_cast<unsigned int>(face[1]),
                         static_cast<unsigned int>(face[2]));
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
T gapFrom(T height, T direction, const std::vector<T>& sections) {
    for (const T way : {direction, -direction}) {
        T gap = std::numeric_limits<T>::infinity();
        for (const T section : sections)
            if (way * (section - height) > 0)
                gap = std::min(gap, way * (section - height));
        if (gap < std::numeric_limits<T>::infinity())
            return gap;
    }
    return 0;
}

template <class T>
std::optional<EndShape<T>> shapeOfEnd(SurfaceEnd end, T gap, T direction, const std::vector<PlanePoint>& here,
                                      const std::vector<PlanePoint>& before, double gapBefore) {
    if (end == SurfaceEnd::Open)
        return std::nullopt;
    if (end == SurfaceEnd::Flat)
        return EndShape<T>{};
    const T rise = end == SurfaceEnd::HalfSection ? gap / 2 : gap;
    EndShape<T> shape{direction * rise, end == SurfaceEnd::HalfSection ? T(1) : T(0)};
    if (before.empty())
        return shape;
    const SectionRing ring(here), ringBefore(before);
    if (end == SurfaceEnd::HalfSection)
        shape.scale = T(scaleOfEnd(std::fabs(ring.area), std::fabs(ringBefore.area), gapBefore, double(rise)));
    const PlanePoint aside = asideOfEnd(ring.centroid, ringBefore.centroid, gapBefore, double(rise), ring.meanRadius());
    shape.asideX = T(aside.x);
    shape.asideY = T(aside.y);
    return shape;
}

template <class T>
EndPiece<T> EndPiece<T>::of(const std::vector<PlanePoint>& points, const std::array<T, 3>& origin,
                            const EndShape<T>& wanted, bool wallsRunForward) {
    EndPiece piece;
    const int n = int(points.size());
    if (n < 3)
        return piece;
    const auto add = [&](int a, int b, int c) {
        piece.faces.push_back(wallsRunForward ? std::array<int, 3>{b, a, c} : std::array<int, 3>{a, b, c});
    };
    const SectionRing ring(points);
    const PlanePoint centre = ring.contains(ring.centroid) ? ring.centroid : ring.innerPoint();
    const EndShape<T> shape = ring.isSeenFrom(centre) ? wanted : wanted.blunt();
    const auto addVertex = [&](const PlanePoint& p) {
        piece.vertices.push_back(
            {origin[0] + T(p.x) + shape.asideX, origin[1] + T(p.y) + shape.asideY, origin[2] + shape.rise});
    };
    const auto behind = [n](int k) { return k + 1 < n ? k + 1 : 0; };
    if (shape.rise != 0 && shape.scale == 0) {
        addVertex(centre);
        for (int k = 0; k < n; ++k)
            add(k, behind(k), n);
        return piece;
    }
    if (shape.rise == 0) {
        for (const std::array<int, 3>& t : lidOf({points}))
            add(t[0], t[1], t[2]);
        return piece;
    }
    std::vector<PlanePoint> copy = points;
    for (PlanePoint& p : copy) {
        p = {centre.x + double(shape.scale) * (p.x - centre.x), centre.y + double(shape.scale) * (p.y - centre.y)};
        addVertex(p);
    }
    for (int k = 0; k < n; ++k) {
        add(k, behind(k), n + behind(k));
        add(k, n + behind(k), n + k);
    }
    for (const std::array<int, 3>& t : lidOf({copy}))
        add(n + t[0], n + t[1], n + t[2]);
    return piece;
}

template <class T>
void closeEnds(TriMesh<T>& walls, int firstSize, int lastSize, std::optional<EndShape<T>> begin,
               std::optional<EndShape<T>> end) {
    const int size = walls.getNumVertices();
    std::vector<std::array<T, 3>> added;
    std::vector<std::array<int, 3>> faces;
    const auto close = [&](int first, int n, const std::optional<EndShape<T>>& shape, bool wallsRunForward) {
        if (!shape || n < 3)
            return;
        const std::array<T, 3> origin = {walls[first][0], walls[first][1], walls[first][2]};
        const EndPiece<T> piece = EndPiece<T>::of(ringOf(walls, first, n), origin, *shape, wallsRunForward);
        for (const std::array<int, 3>& face : piece.faces) {
            std::array<int, 3>& placed = faces.emplace_back(face);
            for (int& vertex : placed)
                vertex += vertex < n ? first : size + int(added.size()) - n;
        }
        added.insert(added.end(), piece.vertices.begin(), piece.vertices.end());
    };
    if (size > 0) {
        close(0, firstSize, begin, runsForward(walls, 0, true));
        close(size - lastSize, lastSize, end, runsForward(walls, static_cast<unsigned int>(size - lastSize), false));
    }
    add(walls, added, faces);
    if (begin && end && walls.volume() < 0)
        for (unsigned int i = 0; i < walls.getNumTriangles(); ++i)
            std::swap(walls.getTriangleIndexes(i)[0], walls.getTriangleIndexes(i)[1]);
    walls.computeNormals();
}

template float gapFrom<float>(float, float, const std::vector<float>&);
template double gapFrom<double>(double, double, const std::vector<double>&);
template long double gapFrom<long double>(long double, long double, const std::vector<long double>&);
template std::optional<EndShape<float>> shapeOfEnd<float>(SurfaceEnd, float, float, const std::vector<PlanePoint>&,
                                                          const std::vector<PlanePoint>&, double);
template std::optional<EndShape<double>> shapeOfEnd<double>(SurfaceEnd, double, double, const std::vector<PlanePoint>&,
                                                            const std::vector<PlanePoint>&, double);
template std::optional<EndShape<long double>> shapeOfEnd<long double>(SurfaceEnd, long double, long double,
                                                                      const std::vector<PlanePoint>&,
                                                                      const std::vector<PlanePoint>&, double);
template struct EndPiece<float>;
template struct EndPiece<double>;
template struct EndPiece<long double>;
template void closeEnds<float>(TriMesh<float>&, int, int, std::optional<EndShape<float>>,
                               std::optional<EndShape<float>>);
template void closeEnds<double>(TriMesh<double>&, int, int, std::optional<EndShape<double>>,
                                std::optional<EndShape<double>>);
template void closeEnds<long double>(TriMesh<long double>&, int, int, std::optional<EndShape<long double>>,
                                     std::optional<EndShape<long double>>);

} // namespace vorlen
