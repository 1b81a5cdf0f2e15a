#include "shapes/surfacecertificate.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

#include "shapes/trimesh.h"

namespace vorlen {

namespace {

/// An edge of a triangle, by its lower vertex first.
struct Side {
    unsigned int low, high, triangle;
    bool forward; // from low to high

    bool isEdgeOf(const Side& other) const { return low == other.low && high == other.high; }
};

unsigned int rootOf(std::vector<unsigned int>& parents, unsigned int i) {
    while (parents[i] != i)
        i = parents[i] = parents[parents[i]];
    return i;
}

/// The triangles with three vertices.
template <class T>
std::vector<std::array<unsigned int, 3>> trianglesOf(const TriMesh<T>& mesh) {
    std::vector<std::array<unsigned int, 3>> triangles;
    triangles.reserve(mesh.getNumTriangles());
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        const Vector<unsigned int>& t = mesh.getTriangleIndexes(i);
        if (t[0] != t[1] && t[1] != t[2] && t[2] != t[0])
            triangles.push_back({t[0], t[1], t[2]});
    }
    return triangles;
}

/// Of the tetrahedra between the triangles and the first vertex, weighted by their signed volumes.
template <class T>
std::array<double, 3> centroidOf(const TriMesh<T>& mesh, const std::vector<std::array<unsigned int, 3>>& triangles) {
    using Point = std::array<double, 3>;
    const Vector<T>& origin = mesh[int(triangles.front()[0])];
    const auto at = [&](unsigned int v) {
        const Vector<T>& p = mesh[int(v)];
        return Point{double(p[0]) - double(origin[0]), double(p[1]) - double(origin[1]),
                     double(p[2]) - double(origin[2])};
    };
    double volume = 0;
    Point sum = {};
    for (const auto& t : triangles) {
        const Point a = at(t[0]), b = at(t[1]), c = at(t[2]);
        const double part = a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) +
                            a[2] * (b[0] * c[1] - b[1] * c[0]);
        volume += part;
        for (std::size_t axis = 0; axis < 3; ++axis)
            sum[axis] += part * (a[axis] + b[axis] + c[axis]) / 4;
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
        sum[axis] = double(origin[int(axis)]) + sum[axis] / volume;
    return sum;
}

std::vector<Side> sidesOf(const std::vector<std::array<unsigned int, 3>>& triangles) {
    std::vector<Side> sides;
    sides.reserve(3 * triangles.size());
    for (unsigned int i = 0; i < triangles.size(); ++i)
        for (std::size_t k = 0; k < 3; ++k) {
            const unsigned int a = triangles[i][k], b = triangles[i][(k + 1) % 3];
            sides.push_back({std::min(a, b), std::max(a, b), i, a < b});
        }
    std::sort(sides.begin(), sides.end(),
              [](const Side& a, const Side& b) { return a.low != b.low ? a.low < b.low : a.high < b.high; });
    return sides;
}

} // namespace

long long SurfaceCertificate::genus() const {
    return closed && oriented && manifold ? parts - euler / 2 : -1;
}

std::string SurfaceCertificate::toText() const {
    std::string text = closed ? "closed" : "open (" + std::to_string(openEdges) + " open edges)";
    text += !oriented ? ", not oriented"
            : !closed ? ", oriented"
            : outward ? ", oriented outward"
                      : ", oriented inward";
    text += manifold ? ", manifold" : ", not manifold";
    text += ", " + std::to_string(parts) + (parts == 1 ? " part" : " parts");
    text += ", Euler number " + std::to_string(euler);
    if (genus() >= 0)
        text += ", genus " + std::to_string(genus());
    return text;
}

template <class T>
SurfaceCertificate SurfaceCertificate::of(const TriMesh<T>& mesh) {
    SurfaceCertificate certificate;
    const double volume = double(mesh.volume()); // also looks at space and vertex numbers
    const auto triangles = trianglesOf(mesh);
    const std::vector<Side> sides = sidesOf(triangles);

    // The corners of triangles that lie beside each other are joined round their vertex: a vertex of a manifold has one
    // such fan. Corner k of triangle i is number 3 i + k.
    std::vector<unsigned int> fans(3 * triangles.size());
    std::iota(fans.begin(), fans.end(), 0u);
    const auto cornerOf = [&](unsigned int triangle, unsigned int vertex) {
        const auto& t = triangles[triangle];
        return 3 * triangle + static_cast<unsigned int>(std::find(t.begin(), t.end(), vertex) - t.begin());
    };
    long long numEdges = 0;
    certificate.oriented = certificate.manifold = true;
    for (std::size_t first = 0, last = 0; first < sides.size(); first = last) {
        std::size_t forward = 0;
        for (last = first; last < sides.size() && sides[last].isEdgeOf(sides[first]); ++last)
            forward += sides[last].forward;
        const std::size_t count = last - first;
        ++numEdges;
        certificate.openEdges += count % 2 != 0;
        certificate.manifold = certificate.manifold && count <= 2;
        certificate.oriented = certificate.oriented && (count == 1 || 2 * forward == count);
        for (std::size_t k = first + 1; k < last; ++k)
            for (const unsigned int vertex : {sides[first].low, sides[first].high})
                fans[rootOf(fans, cornerOf(sides[k].triangle, vertex))] =
                    rootOf(fans, cornerOf(sides[first].triangle, vertex));
    }

    const std::size_t numVertices = std::size_t(mesh.getNumVertices());
    std::vector<unsigned int> parents(numVertices);
    std::iota(parents.begin(), parents.end(), 0u);
    std::vector<int> numFans(numVertices);
    for (unsigned int i = 0; i < triangles.size(); ++i)
        for (unsigned int k = 0; k < 3; ++k) {
            parents[rootOf(parents, triangles[i][k])] = rootOf(parents, triangles[i][0]);
            numFans[triangles[i][k]] += rootOf(fans, 3 * i + k) == 3 * i + k;
        }
    long long usedVertices = 0;
    for (unsigned int v = 0; v < numVertices; ++v) {
        usedVertices += numFans[v] > 0;
        certificate.parts += numFans[v] > 0 && rootOf(parents, v) == v;
        certificate.manifold = certificate.manifold && numFans[v] <= 1;
    }

    certificate.closed = !triangles.empty() && certificate.openEdges == 0;
    certificate.euler = usedVertices - numEdges + static_cast<long long>(triangles.size());
    if (certificate.closed && certificate.oriented)
        certificate.volume = volume;
    if (certificate.volume != 0)
        certificate.centroid = centroidOf(mesh, triangles);
    certificate.outward = certificate.volume > 0;
    return certificate;
}

template SurfaceCertificate SurfaceCertificate::of<float>(const TriMesh<float>&);
template SurfaceCertificate SurfaceCertificate::of<double>(const TriMesh<double>&);
template SurfaceCertificate SurfaceCertificate::of<long double>(const TriMesh<long double>&);

} // namespace vorlen
