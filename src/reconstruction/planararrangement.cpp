#include "reconstruction/planararrangement.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <unordered_map>
#include <utility>

namespace vorlen {

namespace {

struct Segment {
    PlanePoint a, b;
    std::vector<PlanePoint> cuts;

    double low() const { return std::min(a.y, b.y); }
    double high() const { return std::max(a.y, b.y); }
};

/// Numbers points, giving those closer than a tolerance one number.
class PointNumbers {
public:
    explicit PointNumbers(double tolerance) : __tolerance(tolerance) {}

    int numberOf(const PlanePoint& p) {
        const auto column = std::int64_t(std::floor(p.x / __tolerance / 2)),
                   row = std::int64_t(std::floor(p.y / __tolerance / 2));
        for (std::int64_t r = row - 1; r <= row + 1; ++r)
            for (std::int64_t c = column - 1; c <= column + 1; ++c) {
                const auto found = __cells.find(key(r, c));
                if (found == __cells.end())
                    continue;
                const PlanePoint& q = __points[std::size_t(found->second)];
                if (std::fabs(q.x - p.x) <= __tolerance && std::fabs(q.y - p.y) <= __tolerance)
                    return found->second;
            }
        const int number = int(__points.size());
        __cells.emplace(key(row, column), number);
        __points.push_back(p);
        return number;
    }
    const std::vector<PlanePoint>& points() const { return __points; }

private:
    static std::uint64_t key(std::int64_t row, std::int64_t column) {
        return std::uint64_t(row) * 0x9e3779b97f4a7c15ULL ^ std::uint64_t(column);
    }

    double __tolerance;
    std::unordered_map<std::uint64_t, int> __cells;
    std::vector<PlanePoint> __points;
};

/// Where p stands along a segment, when it lies on it.
bool liesOn(const PlanePoint& p, const Segment& s, double tolerance) {
    const double dx = s.b.x - s.a.x, dy = s.b.y - s.a.y, length = std::hypot(dx, dy);
    const double along = ((p.x - s.a.x) * dx + (p.y - s.a.y) * dy) / length;
    const double across = ((p.x - s.a.x) * dy - (p.y - s.a.y) * dx) / length;
    return std::fabs(across) <= tolerance && along > tolerance && along < length - tolerance;
}

void cutEachOther(Segment& s, Segment& t, double tolerance) {
    for (const PlanePoint& p : {t.a, t.b})
        if (liesOn(p, s, tolerance))
            s.cuts.push_back(p);
    for (const PlanePoint& p : {s.a, s.b})
        if (liesOn(p, t, tolerance))
            t.cuts.push_back(p);
    const double ux = s.b.x - s.a.x, uy = s.b.y - s.a.y, vx = t.b.x - t.a.x, vy = t.b.y - t.a.y;
    const double det = ux * vy - uy * vx;
    if (det == 0)
        return;
    const double wx = t.a.x - s.a.x, wy = t.a.y - s.a.y;
    const double along = (wx * vy - wy * vx) / det, other = (wx * uy - wy * ux) / det;
    if (!(along > 0 && along < 1 && other > 0 && other < 1))
        return;
    const PlanePoint p{s.a.x + along * ux, s.a.y + along * uy};
    if (liesOn(p, s, tolerance) && liesOn(p, t, tolerance)) {
        s.cuts.push_back(p);
        t.cuts.push_back(p);
    }
}

void cutAll(std::vector<Segment>& segments, double tolerance) {
    std::vector<std::size_t> order(segments.size()), active;
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::sort(order.begin(), order.end(),
              [&](std::size_t i, std::size_t j) { return segments[i].low() < segments[j].low(); });
    for (const std::size_t i : order) {
        Segment& s = segments[i];
        std::erase_if(active, [&](std::size_t j) { return segments[j].high() < s.low() - tolerance; });
        const double left = std::min(s.a.x, s.b.x) - tolerance, right = std::max(s.a.x, s.b.x) + tolerance;
        for (const std::size_t j : active)
            if (std::max(segments[j].a.x, segments[j].b.x) >= left &&
                std::min(segments[j].a.x, segments[j].b.x) <= right)
                cutEachOther(s, segments[j], tolerance);
        active.push_back(i);
    }
}

/// The pieces between crossings, as pairs of point numbers, those that lie on each other an odd number of times once.
std::vector<std::pair<int, int>> piecesOf(const std::vector<Segment>& segments, PointNumbers& numbers) {
    std::vector<std::pair<int, int>> pieces;
    for (const Segment& s : segments) {
        std::vector<PlanePoint> stops = s.cuts;
        const auto along = [&](const PlanePoint& p) {
            return (p.x - s.a.x) * (s.b.x - s.a.x) + (p.y - s.a.y) * (s.b.y - s.a.y);
        };
        std::sort(stops.begin(), stops.end(),
                  [&](const PlanePoint& p, const PlanePoint& q) { return along(p) < along(q); });
        stops.push_back(s.b);
        int from = numbers.numberOf(s.a);
        for (const PlanePoint& stop : stops) {
            const int to = numbers.numberOf(stop);
            if (to != from)
                pieces.emplace_back(std::min(from, to), std::max(from, to));
            from = to;
        }
    }
    std::sort(pieces.begin(), pieces.end());
    std::vector<std::pair<int, int>> odd;
    for (std::size_t first = 0, last = 0; first < pieces.size(); first = last) {
        for (last = first; last < pieces.size() && pieces[last] == pieces[first]; ++last)
            ;
        if ((last - first) % 2 != 0)
            odd.push_back(pieces[first]);
    }
    return odd;
}

/// Half edge 2k runs along piece k from its lower point number to its higher one, 2k + 1 back. Behind each half edge
/// comes the one that turns most to the left, so that faces lie to the left.
std::vector<std::size_t> followers(const std::vector<std::pair<int, int>>& pieces,
                                   const std::vector<PlanePoint>& points) {
    struct Spoke {
        int point;
        double angle;
        std::size_t halfEdge; // from the point away
    };
    std::vector<Spoke> spokes;
    spokes.reserve(2 * pieces.size());
    for (std::size_t k = 0; k < pieces.size(); ++k) {
        const PlanePoint &p = points[std::size_t(pieces[k].first)], &q = points[std::size_t(pieces[k].second)];
        spokes.push_back({pieces[k].first, std::atan2(q.y - p.y, q.x - p.x), 2 * k});
        spokes.push_back({pieces[k].second, std::atan2(p.y - q.y, p.x - q.x), 2 * k + 1});
    }
    std::sort(spokes.begin(), spokes.end(), [](const Spoke& s, const Spoke& t) {
        return s.point != t.point ? s.point < t.point : s.angle < t.angle;
    });
    std::vector<std::size_t> next(2 * pieces.size());
    for (std::size_t first = 0, last = 0; first < spokes.size(); first = last) {
        for (last = first; last < spokes.size() && spokes[last].point == spokes[first].point; ++last)
            ;
        // Who arrives along a spoke leaves by the one clockwise from it.
        for (std::size_t k = first; k < last; ++k)
            next[spokes[k].halfEdge ^ 1] = spokes[k > first ? k - 1 : last - 1].halfEdge;
    }
    return next;
}

} // namespace

std::vector<std::vector<PlanePoint>> evenOddRings(const std::vector<SectionRing>& outlines) {
    std::vector<Segment> segments;
    double extent = 0;
    PlanePoint origin;
    for (const SectionRing& ring : outlines) {
        if (segments.empty())
            origin = ring.points.front();
        for (std::size_t k = 0; k < ring.points.size(); ++k) {
            const PlanePoint &p = ring.points[k], &q = ring.points[k + 1 < ring.points.size() ? k + 1 : 0];
            segments.push_back({{p.x - origin.x, p.y - origin.y}, {q.x - origin.x, q.y - origin.y}, {}});
            extent = std::max({extent, std::fabs(p.x - origin.x), std::fabs(p.y - origin.y)});
        }
    }
    if (!(extent > 0))
        return {};
    const double tolerance = 1e-9 * extent;
    cutAll(segments, tolerance);
    PointNumbers numbers(tolerance);
    const std::vector<std::pair<int, int>> pieces = piecesOf(segments, numbers);
    const std::vector<PlanePoint>& points = numbers.points();
    const std::vector<std::size_t> next = followers(pieces, points);

    // Faces, and their signed areas: a connected arrangement's outer border is its one face of negative area.
    constexpr auto none = std::size_t(-1);
    std::vector<std::size_t> faceOf(next.size(), none);
    std::vector<std::vector<PlanePoint>> faces;
    std::vector<double> areas;
    const auto startOf = [&](std::size_t h) {
        return points[std::size_t(h % 2 == 0 ? pieces[h / 2].first : pieces[h / 2].second)];
    };
    for (std::size_t start = 0; start < next.size(); ++start) {
        if (faceOf[start] != none)
            continue;
        std::vector<PlanePoint> border;
        for (std::size_t h = start; faceOf[h] == none; h = next[h]) {
            faceOf[h] = faces.size();
            border.push_back(startOf(h));
        }
        areas.push_back(SectionRing(border).area);
        faces.push_back(std::move(border));
    }
    // Colours change across each piece, from 0 outside.
    std::vector<int> colours(faces.size(), -1);
    std::vector<std::vector<std::size_t>> neighbours(faces.size());
    for (std::size_t h = 0; h < next.size(); ++h)
        neighbours[faceOf[h]].push_back(faceOf[h ^ 1]);
    std::vector<std::size_t> byArea(faces.size()), open;
    std::iota(byArea.begin(), byArea.end(), std::size_t(0));
    std::sort(byArea.begin(), byArea.end(), [&](std::size_t f, std::size_t g) { return areas[f] < areas[g]; });
    for (const std::size_t outer : byArea) {
        if (colours[outer] >= 0)
            continue;
        colours[outer] = 0;
        open.push_back(outer);
        while (!open.empty()) {
            const std::size_t face = open.back();
            open.pop_back();
            for (const std::size_t other : neighbours[face])
                if (colours[other] < 0) {
                    colours[other] = 1 - colours[face];
                    open.push_back(other);
                }
        }
    }
    std::vector<std::vector<PlanePoint>> rings;
    for (std::size_t f = 0; f < faces.size(); ++f)
        if (colours[f] == 1 && faces[f].size() >= 3) {
            for (PlanePoint& p : faces[f])
                p = {p.x + origin.x, p.y + origin.y};
            rings.push_back(std::move(faces[f]));
        }
    return rings;
}

} // namespace vorlen
