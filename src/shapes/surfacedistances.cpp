#include "shapes/surfacedistances.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <queue>
#include <vector>

#include "shapes/meshdistance.h"

namespace vorlen {

namespace {

using Point = MeshDistance::Point;
using Triangle = MeshDistance::Triangle;

constexpr int leastPieces = 5000, mostHalvings = 2000, mostCuts = 64;
constexpr double tolerance = 1e-3, rounding = 1e-12;

double lengthBetween(const Point& a, const Point& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

double areaOf(const Triangle& t) {
    const Point u = {t[1][0] - t[0][0], t[1][1] - t[0][1], t[1][2] - t[0][2]};
    const Point v = {t[2][0] - t[0][0], t[2][1] - t[0][1], t[2][2] - t[0][2]};
    return std::hypot(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]) / 2;
}

double longestSide(const Triangle& t) {
    return std::max({lengthBetween(t[0], t[1]), lengthBetween(t[1], t[2]), lengthBetween(t[2], t[0])});
}

Point middleOf(const Triangle& t) {
    Point middle = {};
    for (std::size_t axis = 0; axis < 3; ++axis)
        middle[axis] = (t[0][axis] + t[1][axis] + t[2][axis]) / 3;
    return middle;
}

/// Calls visit(piece) for the n times n triangles alike that a triangle is cut into.
template <class Visitor>
void forPieces(const Triangle& t, int n, const Visitor& visit) {
    const auto at = [&](int i, int j) {
        Point point = t[0];
        for (std::size_t axis = 0; axis < 3; ++axis)
            point[axis] += ((t[1][axis] - t[0][axis]) * i + (t[2][axis] - t[0][axis]) * j) / n;
        return point;
    };
    for (int i = 0; i < n; ++i)
        for (int j = 0; i + j < n; ++j) {
            visit(Triangle{at(i, j), at(i + 1, j), at(i, j + 1)});
            if (i + j + 1 < n)
                visit(Triangle{at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)});
        }
}

/// The places of one surface against another one.
class OneWay {
public:
    OneWay(const MeshDistance& from, const MeshDistance& to) : __to(to) {
        for (int i = 0; i < from.getNumTriangles(); ++i)
            __area += areaOf(from.getTriangle(i));
        lookAtCorners(from);
        const double side = std::sqrt(4 / std::sqrt(3.0) * __area / leastPieces); // of an equilateral piece
        for (int i = 0; i < from.getNumTriangles(); ++i) {
            const Triangle& triangle = from.getTriangle(i);
            const int cuts =
                side > 0 ? int(std::clamp(std::ceil(longestSide(triangle) / side), 1.0, double(mostCuts))) : 1;
            const double area = areaOf(triangle) / (double(cuts) * cuts);
            forPieces(triangle, cuts, [&](const Triangle& piece) { __sum += area * look(piece); });
        }
        refine();
    }

    double getArea() const { return __area; }
    double getMean() const { return __area > 0 ? __sum / __area : __farthest; }
    double getFarthest() const { return __farthest; }

private:
    /// No place of the piece is farther than this.
    struct Piece {
        double most;
        Triangle corners;

        bool operator<(const Piece& other) const { return most < other.most; }
    };

    void lookAtCorners(const MeshDistance& from) {
        std::vector<Point> corners;
        corners.reserve(3 * std::size_t(from.getNumTriangles()));
        for (int i = 0; i < from.getNumTriangles(); ++i)
            corners.insert(corners.end(), from.getTriangle(i).begin(), from.getTriangle(i).end());
        std::sort(corners.begin(), corners.end());
        corners.erase(std::unique(corners.begin(), corners.end()), corners.end());
        for (const Point& corner : corners)
            lookAt(corner);
    }

    void lookAt(const Point& place) { __farthest = std::max(__farthest, __to.closest(place).distance); }

    /// Distance of the middle. The piece is kept where its other places may be farther than what has been found.
    double look(const Triangle& piece) {
        const Point middle = middleOf(piece);
        const MeshDistance::Closest closest = __to.closest(middle);
        __farthest = std::max(__farthest, closest.distance);
        // The distance from one triangle is convex, so that it is greatest at a corner.
        double most = 0;
        for (const Point& corner : piece)
            most = std::max(most, std::min(__to.distanceTo(closest.triangle, corner),
                                           closest.distance + lengthBetween(corner, middle)));
        if (most > __farthest * (1 + tolerance))
            __open.push({most, piece});
        return closest.distance;
    }

    void refine() {
        for (int halvings = 0; halvings < mostHalvings && !__open.empty(); ++halvings) {
            const Piece piece = __open.top();
            if (piece.most <= __farthest * (1 + tolerance))
                return;
            __open.pop();
            const Triangle& t = piece.corners;
            std::size_t a = 0;
            for (const std::size_t k : {1, 2})
                if (lengthBetween(t[k], t[(k + 1) % 3]) > lengthBetween(t[a], t[(a + 1) % 3]))
                    a = k;
            const std::size_t b = (a + 1) % 3, c = (a + 2) % 3;
            Point half = {};
            for (std::size_t axis = 0; axis < 3; ++axis)
                half[axis] = (t[a][axis] + t[b][axis]) / 2;
            lookAt(half);
            look({t[a], half, t[c]});
            look({half, t[b], t[c]});
        }
    }

    const MeshDistance& __to;
    double __area = 0, __sum = 0, __farthest = 0;
    std::priority_queue<Piece> __open;
};

} // namespace

SurfaceDistances::SurfaceDistances(const MeshDistance& first, const MeshDistance& second) {
    const OneWay there(first, second), back(second, first);
    least = first.least(second);
    meanToSecond = there.getMean();
    meanToFirst = back.getMean();
    const double area = there.getArea() + back.getArea();
    mean = area > 0 ? (there.getArea() * meanToSecond + back.getArea() * meanToFirst) / area
                    : std::max(meanToSecond, meanToFirst);
    farthestToSecond = there.getFarthest();
    farthestToFirst = back.getFarthest();
    hausdorff = std::max(farthestToSecond, farthestToFirst);
    if (least <= rounding * hausdorff)
        least = 0;
}

} // namespace vorlen
