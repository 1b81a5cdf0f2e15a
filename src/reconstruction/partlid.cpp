#include "reconstruction/partlid.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorlen {

namespace {

double turn(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool isAt(const PlanePoint& p, const PlanePoint& q) {
    return p.x == q.x && p.y == q.y;
}

/// In or on a triangle that turns counter-clockwise.
bool isWithin(const PlanePoint& p, const PlanePoint& a, const PlanePoint& b, const PlanePoint& c) {
    return turn(a, b, p) >= 0 && turn(b, c, p) >= 0 && turn(c, a, p) >= 0;
}

/// A border that runs counter-clockwise, as numbers of points, and its triangles.
class EarClipper {
public:
    explicit EarClipper(const std::vector<PlanePoint>& points) : __points(points) {}

    std::vector<int> border;
    std::vector<std::array<int, 3>> triangles;

    /// Joins a hole, which runs clockwise, by a bridge from its rightmost point to the border.
    void addHole(const std::vector<int>& hole) {
        const auto start = std::max_element(hole.begin(), hole.end(), [&](int i, int j) { return at(i).x < at(j).x; });
        const std::size_t bridge = placeSeenFrom(at(*start));
        std::vector<int> way(start, hole.end());
        way.insert(way.end(), hole.begin(), start + 1);
        way.push_back(border[bridge]);
        border.insert(border.begin() + std::ptrdiff_t(bridge) + 1, way.begin(), way.end());
    }

    void clip() {
        const std::size_t n = border.size();
        __next.resize(n);
        __before.resize(n);
        for (std::size_t k = 0; k < n; ++k) {
            __next[k] = k + 1 < n ? k + 1 : 0;
            __before[k] = k > 0 ? k - 1 : n - 1;
        }
        __hollow.resize(n);
        for (std::size_t k = 0; k < n; ++k)
            __hollow[k] = turnAt(k) <= 0;
        collectHollows();
        std::size_t k = 0, left = n, tried = 0;
        while (left >= 3) {
            if (tried < left && !isEar(k)) {
                k = __next[k];
                ++tried;
                continue;
            }
            const std::size_t before = __before[k], next = __next[k];
            const std::array<int, 3> triangle = {border[before], border[k], border[next]};
            if (triangle[0] != triangle[1] && triangle[1] != triangle[2] && triangle[2] != triangle[0])
                triangles.push_back(triangle);
            __next[before] = next;
            __before[next] = before;
            __removed[k] = true;
            --left;
            tried = 0;
            for (const std::size_t neighbour : {before, next})
                __hollow[neighbour] = turnAt(neighbour) <= 0;
            // Triangles beside each other, not a fan from one point.
            k = __next[next];
        }
    }

private:
    const PlanePoint& at(int number) const { return __points[std::size_t(number)]; }
    const PlanePoint& pointAt(std::size_t k) const { return at(border[k]); }
    double turnAt(std::size_t k) const { return turn(pointAt(__before[k]), pointAt(k), pointAt(__next[k])); }

    void collectHollows() {
        __removed.assign(border.size(), false);
        for (std::size_t k = 0; k < border.size(); ++k)
            if (__hollow[k])
                __hollows.push_back(k);
    }

    bool isEar(std::size_t k) {
        if (__hollow[k])
            return false;
        const PlanePoint &a = pointAt(__before[k]), &b = pointAt(k), &c = pointAt(__next[k]);
        const double left = std::min({a.x, b.x, c.x}), right = std::max({a.x, b.x, c.x});
        // Hollows only become fewer.
        std::erase_if(__hollows, [&](std::size_t h) { return __removed[h] || !__hollow[h]; });
        for (const std::size_t h : __hollows) {
            const PlanePoint& p = pointAt(h);
            if (p.x < left || p.x > right || h == __before[k] || h == __next[k] || isAt(p, a) || isAt(p, b) ||
                isAt(p, c))
                continue;
            if (isWithin(p, a, b, c))
                return false;
        }
        return true;
    }

    /// Place of a point of the border that a segment from p reaches without crossing it.
    std::size_t placeSeenFrom(const PlanePoint& p) const {
        double nearest = std::numeric_limits<double>::infinity();
        std::size_t seen = 0;
        const std::size_t n = border.size();
        for (std::size_t k = 0; k < n; ++k) {
            const PlanePoint &a = pointAt(k), &b = pointAt(k + 1 < n ? k + 1 : 0);
            // The inside lies to the left of edges that go up.
            if (!(a.y <= p.y && b.y >= p.y) || a.y == b.y)
                continue;
            const double x = a.x + (p.y - a.y) / (b.y - a.y) * (b.x - a.x);
            if (x >= p.x && x < nearest) {
                nearest = x;
                seen = a.x > b.x ? k : (k + 1) % n;
            }
        }
        if (!std::isfinite(nearest))
            return nearestPlace(p);
        // A corner within the triangle of p, the crossing and that end hides it; the one at the least angle is seen.
        const PlanePoint crossing{nearest, p.y}, end = pointAt(seen);
        PlanePoint corners[3] = {p, crossing, end};
        if (turn(corners[0], corners[1], corners[2]) < 0)
            std::swap(corners[1], corners[2]);
        double best = std::numeric_limits<double>::infinity();
        std::size_t result = seen;
        for (std::size_t k = 0; k < n; ++k) {
            const PlanePoint& q = pointAt(k);
            if (q.x < p.x || isAt(q, p) || !isWithin(q, corners[0], corners[1], corners[2]))
                continue;
            const double angle = std::fabs(q.y - p.y) / std::max(q.x - p.x, 1e-300);
            const bool first = angle < best;
            const bool same = angle == best && (q.x < pointAt(result).x || opens(k, p));
            if (first || same) {
                best = std::min(best, angle);
                result = k;
            }
        }
        return result;
    }

    /// Whether p lies within the corner of the border at place k: of several places at one point the right one.
    bool opens(std::size_t k, const PlanePoint& p) const {
        const std::size_t n = border.size();
        const PlanePoint &before = pointAt(k > 0 ? k - 1 : n - 1), &here = pointAt(k), &next = pointAt((k + 1) % n);
        const bool leftOfFirst = turn(before, here, p) >= 0, leftOfSecond = turn(here, next, p) >= 0;
        return turn(before, here, next) > 0 ? leftOfFirst && leftOfSecond : leftOfFirst || leftOfSecond;
    }

    std::size_t nearestPlace(const PlanePoint& p) const {
        std::size_t best = 0;
        for (std::size_t k = 1; k < border.size(); ++k)
            if (std::hypot(pointAt(k).x - p.x, pointAt(k).y - p.y) <
                std::hypot(pointAt(best).x - p.x, pointAt(best).y - p.y))
                best = k;
        return best;
    }

    const std::vector<PlanePoint>& __points;
    std::vector<std::size_t> __next, __before, __hollows;
    std::vector<bool> __hollow, __removed;
};

} // namespace

std::vector<std::array<int, 3>> lidOf(const std::vector<std::vector<PlanePoint>>& rings) {
    if (rings.empty())
        return {};
    std::vector<PlanePoint> points;
    std::vector<std::vector<int>> numbers;
    for (const auto& ring : rings) {
        std::vector<int> own;
        own.reserve(ring.size());
        for (const PlanePoint& p : ring) {
            own.push_back(int(points.size()));
            points.push_back(p);
        }
        numbers.push_back(std::move(own));
    }
    const bool clockwise = SectionRing(rings.front()).area < 0;
    if (clockwise)
        for (auto& own : numbers)
            std::reverse(own.begin(), own.end());
    EarClipper clipper(points);
    clipper.border = numbers.front();
    std::vector<std::vector<int>> holes(numbers.begin() + 1, numbers.end());
    const auto rightmost = [&](const std::vector<int>& hole) {
        double x = -std::numeric_limits<double>::infinity();
        for (const int number : hole)
            x = std::max(x, points[std::size_t(number)].x);
        return x;
    };
    std::sort(holes.begin(), holes.end(), [&](const auto& a, const auto& b) { return rightmost(a) > rightmost(b); });
    for (const auto& hole : holes)
        clipper.addHole(hole);
    clipper.clip();
    if (clockwise)
        for (auto& triangle : clipper.triangles)
            std::swap(triangle[0], triangle[1]);
    return std::move(clipper.triangles);
}

} // namespace vorlen
