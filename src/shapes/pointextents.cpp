#include "shapes/pointextents.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>

namespace vorlen {

namespace {

using Point = PointExtents::Point;
using FlatPoint = std::array<double, 2>;

constexpr double infinity = std::numeric_limits<double>::infinity();

double dot(const Point& a, const Point& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Point cross(const Point& a, const Point& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Point unit(const Point& a) {
    const double length = std::sqrt(dot(a, a));
    return length > 0 ? Point{a[0] / length, a[1] / length, a[2] / length} : Point{1, 0, 0};
}

double squaredDistance(const Point& a, const Point& b) {
    const Point way = {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
    return dot(way, way);
}

/// Two directions that are square to this one and to each other.
std::array<Point, 2> beside(const Point& direction) {
    const Point other = std::abs(direction[0]) < 0.6 ? Point{1, 0, 0} : Point{0, 1, 0};
    const Point first = unit(cross(direction, other));
    return {first, cross(direction, first)};
}

/// Evenly spread over half of the sphere, along a spiral.
std::vector<Point> directionsAllAround(int n) {
    std::vector<Point> directions = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    directions.reserve(std::size_t(n) + 3);
    for (int k = 0; k < n; ++k) {
        const double z = (k + 0.5) / n, radius = std::sqrt(1 - z * z);
        const double angle = k * std::numbers::pi * (3 - std::sqrt(5.0));
        directions.push_back({radius * std::cos(angle), radius * std::sin(angle), z});
    }
    return directions;
}

/// Corners of the convex hull, counter-clockwise (Andrew's monotone chain).
std::vector<FlatPoint> hullOf(std::vector<FlatPoint>& points) {
    std::sort(points.begin(), points.end());
    points.erase(std::unique(points.begin(), points.end()), points.end());
    if (points.size() < 3)
        return points;
    std::vector<FlatPoint> hull;
    const auto add = [&hull](const FlatPoint& point, std::size_t least) {
        const auto turnsLeft = [&] {
            const FlatPoint &a = hull[hull.size() - 2], &b = hull.back();
            return (b[0] - a[0]) * (point[1] - a[1]) - (point[0] - a[0]) * (b[1] - a[1]) > 0;
        };
        while (hull.size() > least && !turnsLeft())
            hull.pop_back();
        hull.push_back(point);
    };
    for (const FlatPoint& point : points)
        add(point, 1);
    const std::size_t half = hull.size();
    for (std::size_t k = points.size() - 1; k-- > 0;)
        add(points[k], half);
    hull.pop_back();
    return hull;
}

/// Corners of the hulls of the points at each height.
std::vector<Point> outermost(std::vector<Point> points) {
    std::sort(points.begin(), points.end(), [](const Point& a, const Point& b) { return a[2] < b[2]; });
    std::vector<Point> corners;
    std::vector<FlatPoint> level;
    for (std::size_t first = 0, last = 0; first < points.size(); first = last) {
        level.clear();
        for (last = first; last < points.size() && points[last][2] == points[first][2]; ++last)
            level.push_back({points[last][0], points[last][1]});
        for (const FlatPoint& corner : hullOf(level))
            corners.push_back({corner[0], corner[1], points[first][2]});
    }
    return corners;
}

/// Those that reach farthest in one of many directions.
std::vector<Point> farthest(const std::vector<Point>& points) {
    std::vector<std::size_t> reached;
    for (const Point& direction : directionsAllAround(700)) {
        std::size_t least = 0, most = 0;
        double lowest = infinity, highest = -infinity;
        for (std::size_t k = 0; k < points.size(); ++k) {
            const double along = dot(points[k], direction);
            if (along < lowest) {
                lowest = along;
                least = k;
            }
            if (along > highest) {
                highest = along;
                most = k;
            }
        }
        reached.push_back(least);
        reached.push_back(most);
    }
    std::sort(reached.begin(), reached.end());
    reached.erase(std::unique(reached.begin(), reached.end()), reached.end());
    std::vector<Point> found;
    found.reserve(reached.size());
    for (const std::size_t k : reached)
        found.push_back(points[k]);
    return found;
}

double extentAlong(const std::vector<Point>& points, const Point& direction) {
    double least = infinity, most = -infinity;
    for (const Point& point : points) {
        const double along = dot(point, direction);
        least = std::min(least, along);
        most = std::max(most, along);
    }
    return most - least;
}

/// Sides of the rectangle of the least area around the points; one of them lies along a side of the hull.
FlatPoint leastRectangle(std::vector<FlatPoint>& points) {
    const std::vector<FlatPoint> hull = hullOf(points);
    FlatPoint best = {};
    double area = infinity;
    for (std::size_t k = 0; k < hull.size(); ++k) {
        const FlatPoint &a = hull[k], &b = hull[(k + 1) % hull.size()];
        const double length = std::hypot(b[0] - a[0], b[1] - a[1]);
        if (!(length > 0))
            continue;
        const double x = (b[0] - a[0]) / length, y = (b[1] - a[1]) / length;
        double least = infinity, most = -infinity, height = 0;
        for (const FlatPoint& corner : hull) {
            const double along = x * corner[0] + y * corner[1];
            least = std::min(least, along);
            most = std::max(most, along);
            height = std::max(height, x * (corner[1] - a[1]) - y * (corner[0] - a[0]));
        }
        if ((most - least) * height < area) {
            area = (most - least) * height;
            best = {most - least, height};
        }
    }
    return best;
}

/// Of the box with a side along the direction.
Point boxAlong(const std::vector<Point>& points, const Point& direction) {
    const auto [right, up] = beside(direction);
    std::vector<FlatPoint> seen;
    seen.reserve(points.size());
    for (const Point& point : points)
        seen.push_back({dot(point, right), dot(point, up)});
    const FlatPoint sides = leastRectangle(seen);
    return {extentAlong(points, direction), sides[0], sides[1]};
}

/// The direction of the least value: from the best of those all around on, in ever smaller steps.
Point leastDirection(int numDirections, const std::function<double(const Point&)>& value) {
    constexpr int numStarts = 4;
    std::vector<std::pair<double, Point>> starts;
    for (const Point& direction : directionsAllAround(numDirections))
        starts.emplace_back(value(direction), direction);
    std::partial_sort(starts.begin(), starts.begin() + numStarts, starts.end());
    std::pair<double, Point> best = starts[0];
    for (int start = 0; start < numStarts; ++start) {
        std::pair<double, Point> present = starts[std::size_t(start)];
        for (double step = 2 / std::sqrt(numDirections); step > 2e-4;) {
            const auto [right, up] = beside(present.second);
            std::pair<double, Point> next = present;
            for (int k = 0; k < 8; ++k) {
                const double x = step * std::cos(k * std::numbers::pi / 4),
                             y = step * std::sin(k * std::numbers::pi / 4);
                Point direction = present.second;
                for (std::size_t axis = 0; axis < 3; ++axis)
                    direction[axis] += x * right[axis] + y * up[axis];
                direction = unit(direction);
                next = std::min(next, {value(direction), direction});
            }
            if (next.first < present.first)
                present = next;
            else
                step /= 2;
        }
        best = std::min(best, present);
    }
    return best.second;
}

/// Points farther from the middle first, so that most pairs need no look.
double greatestDistance(const std::vector<Point>& points) {
    Point middle = {};
    for (const Point& point : points)
        for (std::size_t axis = 0; axis < 3; ++axis)
            middle[axis] += point[axis] / double(points.size());
    std::vector<std::pair<double, Point>> byRadius;
    byRadius.reserve(points.size());
    for (const Point& point : points)
        byRadius.emplace_back(std::sqrt(squaredDistance(point, middle)), point);
    std::sort(byRadius.begin(), byRadius.end(), std::greater<>());
    double best = 0;
    for (const Point& direction : directionsAllAround(100)) { // a lower bound to begin with
        const auto along = [&](const auto& a, const auto& b) {
            return dot(a.second, direction) < dot(b.second, direction);
        };
        const auto [least, most] = std::minmax_element(byRadius.begin(), byRadius.end(), along);
        best = std::max(best, squaredDistance(least->second, most->second));
    }
    const auto canBeat = [&](std::size_t i, std::size_t j) {
        const double reach = byRadius[i].first + byRadius[j].first;
        return reach * reach > best;
    };
    for (std::size_t i = 1; i < byRadius.size() && canBeat(i, 0); ++i)
        for (std::size_t j = 0; j < i && canBeat(i, j); ++j)
            best = std::max(best, squaredDistance(byRadius[i].second, byRadius[j].second));
    return std::sqrt(best);
}

} // namespace

PointExtents::PointExtents(const std::vector<Point>& points) {
    if (points.empty())
        return;
    lower = upper = points[0];
    for (const Point& point : points)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            lower[axis] = std::min(lower[axis], point[axis]);
            upper[axis] = std::max(upper[axis], point[axis]);
        }
    const std::vector<Point> corners = outermost(points);
    largestFeret = greatestDistance(corners);
    const std::vector<Point> few = farthest(corners);
    const auto width = [&](const Point& direction) { return extentAlong(few, direction); };
    smallestFeret = extentAlong(corners, leastDirection(300, width));
    const auto volume = [&](const Point& direction) {
        const Point sides = boxAlong(few, direction);
        return sides[0] * sides[1] * sides[2];
    };
    orientedSides = boxAlong(corners, leastDirection(100, volume));
    std::sort(orientedSides.begin(), orientedSides.end(), std::greater<>());
    smallestFeret = std::min(smallestFeret, orientedSides[2]);
}

} // namespace vorlen
