#include "registration/elasticfield.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr double mostNodes = 4e6;

/// Weights of four neighbours at a share of the way from the second to the third.
std::array<double, 4> cubicWeights(double t) {
    const double t2 = t * t, t3 = t2 * t;
    return {0.5 * (-t3 + 2 * t2 - t), 0.5 * (3 * t3 - 5 * t2 + 2), 0.5 * (-3 * t3 + 4 * t2 + t), 0.5 * (t3 - t2)};
}

/// The same with those beyond an end of n nodes, which run on straight, told by the last two; `first` is the node
/// before the place.
std::array<double, 4> weightsWithin(double t, int first, int n) {
    std::array<double, 4> weights = cubicWeights(t);
    if (first == 0) {
        weights[1] += 2 * weights[0];
        weights[2] -= weights[0];
        weights[0] = 0;
    }
    if (first + 2 == n) {
        weights[2] += 2 * weights[3];
        weights[1] -= weights[3];
        weights[3] = 0;
    }
    return weights;
}

/// The node before a place on a side of n nodes, and the share of the way to the next.
std::pair<int, double> cellOf(double place, int n) {
    const double inside = std::clamp(place, 0.0, double(n - 1));
    const int first = std::min(int(inside), n - 2);
    return {first, inside - first};
}

} // namespace

ElasticField::ElasticField(double width, double height, double spacing) {
    if (!(spacing > 0) || !((width / spacing + 2) * (height / spacing + 2) < mostNodes))
        throw ValueError("ElasticField::ElasticField(double, double, double)", "No grid has this size");
    setGrid(width, height, std::max(2, int(std::ceil(height / spacing)) + 1),
            std::max(2, int(std::ceil(width / spacing)) + 1));
    __ways.assign(std::size_t(__rows) * std::size_t(__columns), PlanePoint{0, 0});
}

ElasticField::ElasticField(double width, double height, int rows, int columns, std::vector<PlanePoint> ways)
    : __ways(std::move(ways)) {
    setGrid(width, height, rows, columns);
    if (__ways.size() != std::size_t(rows) * std::size_t(columns))
        throw SizeError("ElasticField::ElasticField(...)", "A way for each node is needed");
}

void ElasticField::setGrid(double width, double height, int rows, int columns) {
    if (!(width > 0) || !(height > 0) || !std::isfinite(width) || !std::isfinite(height) || rows < 2 || columns < 2 ||
        double(rows) * columns > mostNodes)
        throw ValueError("ElasticField::ElasticField(...)", "No grid has this size");
    __width = width;
    __height = height;
    __rows = rows;
    __columns = columns;
    __stepX = width / (columns - 1);
    __stepY = height / (rows - 1);
}

PlanePoint ElasticField::node(int row, int column) const {
    return {column * __stepX - 0.5 * __width, row * __stepY - 0.5 * __height};
}

bool ElasticField::isNull() const {
    return std::all_of(
        __ways.begin(), __ways.end(), [](const PlanePoint& way) { return way.x == 0 && way.y == 0; });
}

PlanePoint ElasticField::way(PlanePoint position) const {
    if (__ways.empty())
        return {0, 0};
    const auto [column, right] = cellOf((position.x + 0.5 * __width) / __stepX, __columns);
    const auto [row, down] = cellOf((position.y + 0.5 * __height) / __stepY, __rows);
    const std::array<double, 4> across = weightsWithin(right, column, __columns),
                                along = weightsWithin(down, row, __rows);
    PlanePoint sum{0, 0};
    for (int i = 0; i < 4; ++i) {
        const int r = std::clamp(row + i - 1, 0, __rows - 1);
        for (int j = 0; j < 4; ++j) {
            const PlanePoint& one = __ways[index(r, std::clamp(column + j - 1, 0, __columns - 1))];
            const double weight = along[std::size_t(i)] * across[std::size_t(j)];
            sum.x += weight * one.x;
            sum.y += weight * one.y;
        }
    }
    return sum;
}

PlanePoint ElasticField::before(PlanePoint position) const {
    const PlanePoint one = way(position);
    return {position.x + one.x, position.y + one.y};
}

PlanePoint ElasticField::after(PlanePoint position) const {
    PlanePoint found = position;
    const double enough = 1e-6 * (__stepX + __stepY);
    for (int i = 0; i < 100; ++i) {
        const PlanePoint reached = before(found);
        const double x = position.x - reached.x, y = position.y - reached.y;
        found.x += x;
        found.y += y;
        if (std::abs(x) + std::abs(y) < enough)
            break;
    }
    return found;
}

double ElasticField::leastArea() const {
    double least = 1;
    constexpr int parts = 4;
    const double dx = __stepX / parts, dy = __stepY / parts;
    for (int i = 0; i < (__rows - 1) * parts; ++i)
        for (int j = 0; j < (__columns - 1) * parts; ++j) {
            const PlanePoint at{j * dx - 0.5 * __width, i * dy - 0.5 * __height};
            const PlanePoint here = before(at), right = before({at.x + dx, at.y}), down = before({at.x, at.y + dy});
            const double area =
                ((right.x - here.x) * (down.y - here.y) - (right.y - here.y) * (down.x - here.x)) / (dx * dy);
            least = std::min(least, area);
        }
    return least;
}

double ElasticField::rms() const {
    double sum = 0;
    for (const PlanePoint& one : __ways)
        sum += one.x * one.x + one.y * one.y;
    return __ways.empty() ? 0 : std::sqrt(sum / double(__ways.size()));
}

double ElasticField::greatest() const {
    double most = 0;
    for (const PlanePoint& one : __ways)
        most = std::max(most, std::hypot(one.x, one.y));
    return most;
}

} // namespace vorlen
