#include "reconstruction/surfaceends.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace vorlen {

namespace {

using Triangles = std::vector<std::array<unsigned int, 3>>;

struct Point {
    double x, y;
};

double cross(const Point& a, const Point& b, const Point& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

/// A contour, relative to its first vertex, with the sign of its direction.
struct Ring {
    std::vector<Point> points;
    Point centroid{0, 0};
    double area = 0;

    template <class T>
    Ring(const TriMesh<T>& mesh, int first, int size) {
        for (int k = 0; k < size; ++k)
            points.push_back({double(mesh[first + k][0]) - double(mesh[first][0]),
                              double(mesh[first + k][1]) - double(mesh[first][1])});
        for (std::size_t k = 0; k < points.size(); ++k) {
            const Point &p = points[k], &q = points[k + 1 < points.size() ? k + 1 : 0];
            const double product = p.x * q.y - q.x * p.y;
            area += product;
            centroid.x += product * (p.x + q.x) / 3;
            centroid.y += product * (p.y + q.y) / 3;
        }
        if (area != 0)
            centroid = {centroid.x / area, centroid.y / area};
    }

    bool isSeenFromCentroid() const {
        for (std::size_t k = 0; k < points.size(); ++k) {
            const double product = cross(centroid, points[k], points[k + 1 < points.size() ? k + 1 : 0]);
            if (!(product * area > 0) &&
                (points[k].x != points[(k + 1) % points.size()].x || points[k].y != points[(k + 1) % points.size()].y))
                return false;
        }
        return area != 0;
    }

    /// No other remaining vertex lies in the triangle of the ear.
    bool isEar(const std::vector<unsigned int>& rest, std::size_t k) const {
        const std::size_t n = rest.size();
        const Point &a = points[rest[(k + n - 1) % n]], &b = points[rest[k]], &c = points[rest[(k + 1) % n]];
        if (cross(a, b, c) * area <= 0)
            return false;
        for (std::size_t m = 2; m + 1 < n; ++m) {
            const Point& p = points[rest[(k + m) % n]];
            const bool isCorner = (p.x == a.x && p.y == a.y) || (p.x == c.x && p.y == c.y);
            if (!isCorner && cross(a, b, p) * area >= 0 && cross(b, c, p) * area >= 0 && cross(c, a, p) * area >= 0)
                return false;
        }
        return true;
    }

    /// The inside as triangles that turn as the ring does. A ring that crosses itself has no inside; it gets triangles
    /// between all of its edges all the same, so that it is closed.
    Triangles lid() const {
        std::vector<unsigned int> rest(points.size());
        for (unsigned int k = 0; k < rest.size(); ++k)
            rest[k] = k;
        Triangles triangles;
        std::size_t k = 0, tried = 0;
        while (rest.size() >= 3) {
            const std::size_t n = rest.size();
            k %= n;
            if (!isEar(rest, k) && tried < n) {
                ++k;
                ++tried;
                continue;
            }
            triangles.push_back({rest[(k + n - 1) % n], rest[k], rest[(k + 1) % n]});
            rest.erase(rest.begin() + std::ptrdiff_t(k));
            tried = 0;
        }
        return triangles;
    }

    Triangles tip(unsigned int apex) const {
        Triangles triangles;
        const auto n = static_cast<unsigned int>(points.size());
        for (unsigned int k = 0; k < n; ++k)
            triangles.push_back({k, k + 1 < n ? k + 1 : 0, apex});
        return triangles;
    }
};

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

} // namespace

template <class T>
TriMesh<T> closeEnds(const TriMesh<T>& walls, int firstSize, int lastSize, std::optional<T> beginRise,
                     std::optional<T> endRise) {
    const int size = walls.getNumVertices();
    std::vector<std::array<T, 3>> apexes;
    Triangles lids;
    const auto close = [&](int first, int numVertices, std::optional<T> rise, bool wallsRunForward) {
        if (!rise || numVertices < 3) // two edges on each other are closed by each other
            return;
        const Ring ring(walls, first, numVertices);
        const bool pointed = *rise != 0 && ring.isSeenFromCentroid();
        const auto apex = static_cast<unsigned int>(size) + static_cast<unsigned int>(apexes.size());
        Triangles triangles = pointed ? ring.tip(apex) : ring.lid();
        if (pointed)
            apexes.push_back(
                {walls[first][0] + T(ring.centroid.x), walls[first][1] + T(ring.centroid.y), walls[first][2] + *rise});
        for (std::array<unsigned int, 3>& triangle : triangles) {
            for (unsigned int& vertex : triangle)
                vertex += !pointed || vertex != apex ? static_cast<unsigned int>(first) : 0;
            if (wallsRunForward)
                std::swap(triangle[0], triangle[1]);
            lids.push_back(triangle);
        }
    };
    if (size > 0) {
        close(0, firstSize, beginRise, runsForward(walls, 0, true));
        close(size - lastSize, lastSize, endRise,
              runsForward(walls, static_cast<unsigned int>(size - lastSize), false));
    }

    const int all = size + int(apexes.size());
    TriMesh<T> mesh(3, all, all, all);
    for (int i = 0; i < size; ++i)
        mesh[i] = walls[i];
    for (std::size_t i = 0; i < apexes.size(); ++i)
        std::copy(apexes[i].begin(), apexes[i].end(), mesh[size + int(i)].data());
    mesh.reserveTriangles(walls.getNumTriangles() + static_cast<unsigned int>(lids.size()));
    for (unsigned int i = 0; i < walls.getNumTriangles(); ++i) {
        const Vector<unsigned int>& t = walls.getTriangleIndexes(i);
        mesh.addTriangle(t[0], t[1], t[2]);
    }
    for (const auto& triangle : lids)
        mesh.addTriangle(triangle[0], triangle[1], triangle[2]);
    if (beginRise && endRise && mesh.volume() < 0)
        for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i)
            std::swap(mesh.getTriangleIndexes(i)[0], mesh.getTriangleIndexes(i)[1]);
    mesh.computeNormals();
    return mesh;
}

template TriMesh<float> closeEnds<float>(const TriMesh<float>&, int, int, std::optional<float>, std::optional<float>);
template TriMesh<double> closeEnds<double>(const TriMesh<double>&, int, int, std::optional<double>,
                                           std::optional<double>);
template TriMesh<long double> closeEnds<long double>(const TriMesh<long double>&, int, int, std::optional<long double>,
                                                     std::optional<long double>);

} // namespace vorlen
