#include "shapes/meshdistance.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "numerics/exception.h"

namespace vorlen {

namespace {

using Point = MeshDistance::Point;

constexpr int mostInLeaf = 4;

Point minus(const Point& a, const Point& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

double dot(const Point& a, const Point& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// a + s u + t v.
Point moved(const Point& a, double s, const Point& u, double t, const Point& v) {
    return {a[0] + s * u[0] + t * v[0], a[1] + s * u[1] + t * v[1], a[2] + s * u[2] + t * v[2]};
}

double share(double part, double whole) {
    return whole > 0 ? std::clamp(part / whole, 0.0, 1.0) : 0;
}

Point closestOf(const std::array<Point, 3>& triangle, const Point& place) {
    const auto& [a, b, c] = triangle;
    const Point ab = minus(b, a), ac = minus(c, a), none = {};
    const Point fromA = minus(place, a), fromB = minus(place, b), fromC = minus(place, c);
    const double a1 = dot(ab, fromA), a2 = dot(ac, fromA);
    if (a1 <= 0 && a2 <= 0)
        return a;
    const double b1 = dot(ab, fromB), b2 = dot(ac, fromB);
    if (b1 >= 0 && b2 <= b1)
        return b;
    const double c1 = dot(ab, fromC), c2 = dot(ac, fromC);
    if (c2 >= 0 && c1 <= c2)
        return c;
    const double besideAB = a1 * b2 - b1 * a2, besideAC = c1 * a2 - a1 * c2, besideBC = b1 * c2 - c1 * b2;
    if (besideAB <= 0 && a1 >= 0 && b1 <= 0)
        return moved(a, share(a1, a1 - b1), ab, 0, none);
    if (besideAC <= 0 && a2 >= 0 && c2 <= 0)
        return moved(a, share(a2, a2 - c2), ac, 0, none);
    if (besideBC <= 0 && b2 >= b1 && c1 >= c2)
        return moved(b, share(b2 - b1, (b2 - b1) + (c1 - c2)), minus(c, b), 0, none);
    const double sum = besideAB + besideAC + besideBC;
    return sum > 0 ? moved(a, besideAC / sum, ab, besideAB / sum, ac) : a;
}

double squaredLength(const Point& a) {
    return dot(a, a);
}

Point cross(const Point& a, const Point& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// Squared distance of the segments from a along u and from b along v (C. Ericson, 5.1.9).
double squaredBetweenSegments(const Point& a, const Point& u, const Point& b, const Point& v) {
    const Point r = minus(a, b);
    const double uu = dot(u, u), vv = dot(v, v), uv = dot(u, v), ur = dot(u, r), vr = dot(v, r);
    const double area = uu * vv - uv * uv;
    double s = area > 0 ? std::clamp((uv * vr - ur * vv) / area, 0.0, 1.0) : 0;
    const double t = vv > 0 ? std::clamp((uv * s + vr) / vv, 0.0, 1.0) : 0;
    s = uu > 0 ? std::clamp((uv * t - ur) / uu, 0.0, 1.0) : 0;
    return squaredLength(minus(moved(a, s, u, 0, {}), moved(b, t, v, 0, {})));
}

/// Whether the segment from a along u pierces the triangle's inside (T. Möller, B. Trumbore, 1997). One that lies in
/// its plane does not.
bool pierces(const Point& a, const Point& u, const std::array<Point, 3>& triangle) {
    const Point first = minus(triangle[1], triangle[0]), second = minus(triangle[2], triangle[0]);
    const Point normal = cross(u, second);
    const double slope = dot(first, normal);
    if (slope == 0)
        return false;
    const Point from = minus(a, triangle[0]);
    const double s = dot(from, normal) / slope;
    const Point turned = cross(from, first);
    const double t = dot(u, turned) / slope, along = dot(second, turned) / slope;
    return s >= 0 && t >= 0 && s + t <= 1 && along >= 0 && along <= 1;
}

/// Whether a plane across the line between the middles parts the triangles by this much or more.
bool areParted(const std::array<Point, 3>& a, const std::array<Point, 3>& b, double squared) {
    Point way = {};
    for (std::size_t axis = 0; axis < 3; ++axis)
        way[axis] = b[0][axis] + b[1][axis] + b[2][axis] - (a[0][axis] + a[1][axis] + a[2][axis]);
    const double gap = std::min({dot(way, b[0]), dot(way, b[1]), dot(way, b[2])}) -
                       std::max({dot(way, a[0]), dot(way, a[1]), dot(way, a[2])});
    return gap > 0 && gap * gap >= squared * dot(way, way);
}

/// Squared distance of two triangles: it is reached at a corner or between two edges, unless they cross.
double squaredBetweenTriangles(const std::array<Point, 3>& a, const std::array<Point, 3>& b) {
    double best = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < 3; ++i) {
        const Point alongA = minus(a[(i + 1) % 3], a[i]), alongB = minus(b[(i + 1) % 3], b[i]);
        if (pierces(a[i], alongA, b) || pierces(b[i], alongB, a))
            return 0;
        best = std::min(
            {best, squaredLength(minus(a[i], closestOf(b, a[i]))), squaredLength(minus(b[i], closestOf(a, b[i])))});
        for (std::size_t j = 0; j < 3; ++j)
            best = std::min(best, squaredBetweenSegments(a[i], alongA, b[j], minus(b[(j + 1) % 3], b[j])));
    }
    return best;
}

} // namespace

template <class T>
MeshDistance::MeshDistance(const TriMesh<T>& mesh) {
    const char* const where = "MeshDistance::MeshDistance(const TriMesh<T>&)";
    if (mesh.getSpace() != 3)
        throw SizeError(where, "The mesh does not lie in space");
    if (mesh.getNumTriangles() == 0)
        throw UsageError(where, "The mesh has no triangles");
    __triangles.resize(mesh.getNumTriangles());
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i)
        for (std::size_t k = 0; k < 3; ++k) {
            const unsigned int vertex = mesh.getTriangleIndexes(i)[int(k)];
            if (vertex >= static_cast<unsigned int>(mesh.getNumVertices()))
                throw RangeError(where, "A triangle has a vertex that is not there");
            for (std::size_t axis = 0; axis < 3; ++axis)
                __triangles[i][k][axis] = double(mesh[int(vertex)][int(axis)]);
        }
    __nodes.reserve(__triangles.size());
    build(0, int(__triangles.size()));
}

int MeshDistance::build(int first, int last) {
    const int place = int(__nodes.size());
    Node& node = __nodes.emplace_back();
    node.first = first;
    node.last = last;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    node.lower.fill(infinity);
    node.upper.fill(-infinity);
    Point least = node.lower, most = node.upper;
    const auto middle = [](const Triangle& triangle, std::size_t axis) {
        return triangle[0][axis] + triangle[1][axis] + triangle[2][axis];
    };
    for (int i = first; i < last; ++i) {
        const Triangle& triangle = __triangles[std::size_t(i)];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            for (const Point& corner : triangle) {
                node.lower[axis] = std::min(node.lower[axis], corner[axis]);
                node.upper[axis] = std::max(node.upper[axis], corner[axis]);
            }
            least[axis] = std::min(least[axis], middle(triangle, axis));
            most[axis] = std::max(most[axis], middle(triangle, axis));
        }
    }
    if (last - first <= mostInLeaf)
        return place;
    std::size_t axis = 0;
    for (const std::size_t other : {1, 2})
        if (most[other] - least[other] > most[axis] - least[axis])
            axis = other;
    const int half = (first + last) / 2;
    std::nth_element(__triangles.begin() + first, __triangles.begin() + half, __triangles.begin() + last,
                     [&](const Triangle& a, const Triangle& b) { return middle(a, axis) < middle(b, axis); });
    build(first, half);
    const int second = build(half, last);
    __nodes[std::size_t(place)].second = second;
    return place;
}

MeshDistance::Closest MeshDistance::closest(const Point& place) const {
    const auto squaredToBox = [&](int number) {
        const Node& node = __nodes[std::size_t(number)];
        double sum = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double beyond = std::max({node.lower[axis] - place[axis], 0.0, place[axis] - node.upper[axis]});
            sum += beyond * beyond;
        }
        return sum;
    };
    double best = std::numeric_limits<double>::infinity();
    Closest found;
    // One box more than it is deep is open at most, and halving leaves no more than 30 levels.
    std::array<std::pair<double, int>, 64> open;
    std::size_t numOpen = 0;
    open[numOpen++] = {squaredToBox(0), 0};
    while (numOpen > 0) {
        const auto [squared, number] = open[--numOpen];
        if (squared >= best)
            continue;
        const Node& node = __nodes[std::size_t(number)];
        if (node.second >= 0) {
            std::pair<double, int> nearer(squaredToBox(number + 1), number + 1);
            std::pair<double, int> farther(squaredToBox(node.second), node.second);
            if (farther < nearer)
                std::swap(nearer, farther);
            open[numOpen++] = farther;
            open[numOpen++] = nearer;
            continue;
        }
        for (int i = node.first; i < node.last; ++i) {
            const Point point = closestOf(__triangles[std::size_t(i)], place);
            const Point way = minus(place, point);
            if (const double distance = dot(way, way); distance < best) {
                best = distance;
                found.point = point;
                found.triangle = i;
            }
        }
    }
    found.distance = std::sqrt(best);
    return found;
}

double MeshDistance::distanceTo(int triangle, const Point& place) const {
    return std::sqrt(squaredLength(minus(place, closestOf(getTriangle(triangle), place))));
}

double MeshDistance::squaredBetween(const Node& a, const Node& b) {
    double sum = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double gap = std::max({a.lower[axis] - b.upper[axis], 0.0, b.lower[axis] - a.upper[axis]});
        sum += gap * gap;
    }
    return sum;
}

void MeshDistance::leastInLeaves(const Node& node, const MeshDistance& other, const Node& otherNode,
                                 double& best) const {
    for (int i = node.first; i < node.last; ++i)
        for (int j = otherNode.first; j < otherNode.last; ++j)
            if (!areParted(getTriangle(i), other.getTriangle(j), best))
                best = std::min(best, squaredBetweenTriangles(getTriangle(i), other.getTriangle(j)));
}

double MeshDistance::least(const MeshDistance& other) const {
    struct Pair {
        double squared;
        int node, otherNode;
    };
    const auto pairOf = [&](int node, int otherNode) {
        return Pair{squaredBetween(__nodes[std::size_t(node)], other.__nodes[std::size_t(otherNode)]), node, otherNode};
    };
    double best = std::numeric_limits<double>::infinity();
    std::vector<Pair> open = {pairOf(0, 0)};
    while (!open.empty() && best > 0) {
        const Pair pair = open.back();
        open.pop_back();
        if (pair.squared >= best)
            continue;
        const Node& node = __nodes[std::size_t(pair.node)];
        const Node& otherNode = other.__nodes[std::size_t(pair.otherNode)];
        if (node.second < 0 && otherNode.second < 0) {
            leastInLeaves(node, other, otherNode, best);
            continue;
        }
        // The one of more triangles is opened, its nearer half first.
        const bool opensThis =
            otherNode.second < 0 || (node.second >= 0 && node.last - node.first >= otherNode.last - otherNode.first);
        Pair nearer = opensThis ? pairOf(pair.node + 1, pair.otherNode) : pairOf(pair.node, pair.otherNode + 1);
        Pair farther = opensThis ? pairOf(node.second, pair.otherNode) : pairOf(pair.node, otherNode.second);
        if (farther.squared < nearer.squared)
            std::swap(nearer, farther);
        open.push_back(farther);
        open.push_back(nearer);
    }
    return std::sqrt(best);
}

template MeshDistance::MeshDistance(const TriMesh<float>&);
template MeshDistance::MeshDistance(const TriMesh<double>&);

} // namespace vorlen
