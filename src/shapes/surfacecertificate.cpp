#include "shapes/surfacecertificate.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

#include "shapes/trimesh.h"

namespace vorlen {

namespace {

bool isTriangle(const Vector<unsigned int>& t) {
    return t[0] != t[1] && t[1] != t[2] && t[2] != t[0];
}

unsigned int rootOf(std::vector<unsigned int>& parents, unsigned int i) {
    while (parents[i] != i)
        i = parents[i] = parents[parents[i]];
    return i;
}

/// An edge from a vertex, and the triangle beside it.
struct Spoke {
    unsigned int end;    // the vertex at the other end
    unsigned int corner; // the triangle's place among those at the vertex
    bool forward;        // the triangle goes along it from the vertex
};

/// Of the tetrahedra between the triangles and the first vertex, weighted by their signed volumes.
template <class T>
std::array<double, 3> centroidOf(const TriMesh<T>& mesh) {
    using Point = std::array<double, 3>;
    const Vector<T>& origin = mesh[0];
    const auto at = [&](unsigned int v) {
        const Vector<T>& p = mesh[int(v)];
        return Point{double(p[0]) - double(origin[0]), double(p[1]) - double(origin[1]),
                     double(p[2]) - double(origin[2])};
    };
    double volume = 0;
    Point sum = {};
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        const Vector<unsigned int>& t = mesh.getTriangleIndexes(i);
        if (!isTriangle(t))
            continue;
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

/// Looks at the triangles round each vertex. Edges are counted at their lower vertex.
class Wheels {
public:
    explicit Wheels(SurfaceCertificate& certificate) : __certificate(certificate) {}

    long long numVertices = 0; ///< of triangles
    long long numEdges = 0;

    /// The corners are the two other vertices of each triangle at the vertex, in the triangle's order.
    void look(unsigned int vertex, const std::array<unsigned int, 2>* corners, std::size_t numCorners) {
        if (numCorners == 0)
            return;
        ++numVertices;
        __spokes.clear();
        for (unsigned int i = 0; i < numCorners; ++i) {
            __spokes.push_back({corners[i][0], i, true});
            __spokes.push_back({corners[i][1], i, false});
        }
        std::sort(__spokes.begin(), __spokes.end(), [](const Spoke& a, const Spoke& b) { return a.end < b.end; });
        // Triangles that lie beside each other are joined round the vertex: that of a manifold has one such fan.
        __fans.resize(numCorners);
        std::iota(__fans.begin(), __fans.end(), 0u);
        std::size_t numFans = numCorners;
        for (std::size_t first = 0, last = 0; first < __spokes.size(); first = last) {
            std::size_t forward = 0;
            for (last = first; last < __spokes.size() && __spokes[last].end == __spokes[first].end; ++last) {
                forward += __spokes[last].forward;
                const unsigned int one = rootOf(__fans, __spokes[first].corner);
                const unsigned int other = rootOf(__fans, __spokes[last].corner);
                numFans -= one != other;
                __fans[other] = one;
            }
            if (vertex < __spokes[first].end)
                countEdge(last - first, forward);
        }
        __certificate.manifold = __certificate.manifold && numFans == 1;
    }

private:
    void countEdge(std::size_t count, std::size_t forward) {
        ++numEdges;
        __certificate.openEdges += count % 2 != 0;
        __certificate.manifold = __certificate.manifold && count <= 2;
        __certificate.oriented = __certificate.oriented && (count == 1 || 2 * forward == count);
    }

    SurfaceCertificate& __certificate;
    std::vector<Spoke> __spokes;
    std::vector<unsigned int> __fans;
};

/// The triangles at the vertices from first to last, of which the corners of one lie side by side.
class CornerTable {
public:
    template <class T>
    CornerTable(const TriMesh<T>& mesh, unsigned int first, unsigned int last) : __first(first) {
        __starts.assign(last - first + 1, 0);
        forEach(mesh, first, last, [this](unsigned int place, unsigned int, unsigned int) { ++__starts[place + 1]; });
        std::partial_sum(__starts.begin(), __starts.end(), __starts.begin());
        __corners.resize(__starts.back());
        std::vector<std::size_t> next(__starts.begin(), __starts.end() - 1);
        forEach(mesh, first, last, [&](unsigned int place, unsigned int after, unsigned int before) {
            __corners[next[place]++] = {after, before};
        });
    }

    const std::array<unsigned int, 2>* corners(unsigned int vertex) const {
        return __corners.data() + __starts[vertex - __first];
    }
    std::size_t numCorners(unsigned int vertex) const {
        return __starts[vertex - __first + 1] - __starts[vertex - __first];
    }

private:
    template <class T, class Act>
    static void forEach(const TriMesh<T>& mesh, unsigned int first, unsigned int last, Act act) {
        for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
            const Vector<unsigned int>& t = mesh.getTriangleIndexes(i);
            if (isTriangle(t))
                for (int k = 0; k < 3; ++k)
                    if (t[k] >= first && t[k] < last)
                        act(t[k] - first, t[(k + 1) % 3], t[(k + 2) % 3]);
        }
    }

    unsigned int __first;
    std::vector<std::size_t> __starts;
    std::vector<std::array<unsigned int, 2>> __corners;
};

} // namespace

long long SurfaceCertificate::genus() const {
    return closed && oriented && manifold ? parts - euler / 2 : -1;
}

std::string SurfaceCertificate::toText() const {
    std::string text = closed ? "closed" : "open (" + std::to_string(openEdges) + " open edges)";
    text += !oriented                ? ", not oriented"
            : !closed || volume == 0 ? ", oriented"
            : outward                ? ", oriented outward"
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
    const auto numVertices = static_cast<unsigned int>(mesh.getNumVertices());
    certificate.oriented = certificate.manifold = true;
    Wheels wheels(certificate);
    // Some vertices at a time, so that little memory is needed beside the mesh, in a fixed number of passes at most.
    const unsigned int step = std::max(1u << 15, numVertices / 16 + 1);
    for (unsigned int first = 0; first < numVertices; first += std::min(step, numVertices - first)) {
        const unsigned int last = first + std::min(step, numVertices - first);
        const CornerTable table(mesh, first, last);
        for (unsigned int v = first; v < last; ++v)
            wheels.look(v, table.corners(v), table.numCorners(v));
    }

    std::vector<unsigned int> parents(numVertices);
    std::iota(parents.begin(), parents.end(), 0u);
    long long numTriangles = 0, numJoints = 0;
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        const Vector<unsigned int>& t = mesh.getTriangleIndexes(i);
        if (!isTriangle(t))
            continue;
        ++numTriangles;
        for (int k = 1; k < 3; ++k) {
            const unsigned int one = rootOf(parents, t[0]), other = rootOf(parents, t[k]);
            numJoints += one != other;
            parents[other] = one;
        }
    }
    certificate.parts = int(wheels.numVertices - numJoints);

    certificate.closed = numTriangles > 0 && certificate.openEdges == 0;
    certificate.euler = wheels.numVertices - wheels.numEdges + numTriangles;
    if (certificate.closed && certificate.oriented)
        certificate.volume = volume;
    if (certificate.volume != 0)
        certificate.centroid = centroidOf(mesh);
    certificate.outward = certificate.volume > 0;
    return certificate;
}

template SurfaceCertificate SurfaceCertificate::of<float>(const TriMesh<float>&);
template SurfaceCertificate SurfaceCertificate::of<double>(const TriMesh<double>&);
template SurfaceCertificate SurfaceCertificate::of<long double>(const TriMesh<long double>&);

} // namespace vorlen
