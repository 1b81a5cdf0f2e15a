#include "images/regions/levelline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "numerics/exception.h"
#include "shapes/curve.h"

namespace vorlen {

namespace {

const char* const where = "Curve<double> levelLine(const PixelMatrix<int>&, int, int, double, double)";

struct Place {
    double x = 0, y = 0;
};

/// Left, down, right, up: with the outside on one of them the walk goes on to the next.
constexpr std::array<std::array<int, 2>, 4> ways = {{{0, -1}, {1, 0}, {0, 1}, {-1, 0}}};

/// A pixel of the region and the way to a neighbour that is none.
struct Gap {
    int row = 0, column = 0, way = 0;

    bool operator==(const Gap&) const = default;

    Gap moved(int rows, int columns, int newWay) const { return {row + rows, column + columns, (newWay + 4) % 4}; }
};

class Walk {
public:
    Walk(const PixelMatrix<int>& values, double level) : __values(values), __level(level) {}

    /// Of the start itself, or of a neighbour where only corners touch the outside.
    Gap gapAt(int row, int column) const {
        for (int way = 0; way < 4; ++way)
            if (!isInside(row + ways[std::size_t(way)][0], column + ways[std::size_t(way)][1]))
                return {row, column, way};
        for (const int down : {-1, 1})
            for (const int right : {-1, 1})
                if (!isInside(row + down, column + right))
                    return {row, column + right, down > 0 ? 1 : 3};
        throw ValueError(where, "The start does not lie at the border of its region");
    }

    Gap next(const Gap& gap) const {
        const std::array<int, 2>& out = ways[std::size_t(gap.way)];
        const std::array<int, 2>& on = ways[std::size_t((gap.way + 1) % 4)];
        if (isInside(gap.row + on[0] + out[0], gap.column + on[1] + out[1]))
            return gap.moved(on[0] + out[0], on[1] + out[1], gap.way - 1);
        if (isInside(gap.row + on[0], gap.column + on[1]))
            return gap.moved(on[0], on[1], gap.way);
        return gap.moved(0, 0, gap.way + 1);
    }

    bool isInside(int row, int column) const { return isOnImage(row, column) && __values[row][column] < __level; }

    Place placeOf(const Gap& gap) const {
        const std::array<int, 2>& out = ways[std::size_t(gap.way)];
        const int row = gap.row + out[0], column = gap.column + out[1];
        Place place = {double(gap.column), double(gap.row)};
        if (!isOnImage(row, column))
            return place;
        constexpr double least = 0.001; // the lines of two regions never meet in a pixel between them
        const double value = __values[gap.row][gap.column];
        const double share = std::clamp((__level - value) / (__values[row][column] - value), least, 1 - least);
        place.x += share * out[1];
        place.y += share * out[0];
        return place;
    }

private:
    bool isOnImage(int row, int column) const {
        return row >= 0 && column >= 0 && row < __values.getSize1() && column < __values.getSize2();
    }

    const PixelMatrix<int>& __values;
    double __level;
};

/// Twice the area of the triangle.
double spanned(const Place& a, const Place& b, const Place& c) {
    return std::abs((b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y));
}

std::vector<Place> thinned(const std::vector<Place>& all, double tolerance) {
    constexpr double rounding = 1e-6;
    std::vector<Place> kept = {all.front()};
    double sum = 0;
    for (std::size_t k = 2; k <= all.size(); ++k) {
        sum += spanned(kept.back(), all[k - 1], all[k % all.size()]);
        if (sum <= tolerance + rounding)
            continue;
        kept.push_back(all[k - 1]);
        sum = 0;
    }
    if (kept.size() > 3 && spanned(kept.back(), kept[0], kept[1]) <= rounding)
        kept.erase(kept.begin());
    return kept;
}

} // namespace

Curve<double> levelLine(const PixelMatrix<int>& values, int row, int column, double level, double tolerance) {
    if (row < 0 || column < 0 || row >= values.getSize1() || column >= values.getSize2())
        throw RangeError(where, "The start does not lie in the matrix");
    const Walk walk(values, level);
    if (!walk.isInside(row, column))
        throw ValueError(where, "The start does not lie below the level");
    const Gap start = walk.gapAt(row, column);
    std::vector<Place> places;
    bool onePixel = true;
    Gap gap = start;
    do {
        const Place place = walk.placeOf(gap);
        if (places.empty() || place.x != places.back().x || place.y != places.back().y)
            places.push_back(place);
        onePixel = onePixel && gap.row == start.row && gap.column == start.column;
        gap = walk.next(gap);
    } while (gap != start);
    if (onePixel)
        places = {{double(column), double(row)}};
    if (places.size() > 2)
        places = thinned(places, tolerance);
    const int n = int(places.size());
    Curve<double> curve(2, n, n, 64, false);
    for (int k = 0; k < n; ++k) {
        curve[k][0] = places[std::size_t(k)].x;
        curve[k][1] = places[std::size_t(k)].y;
    }
    return curve;
}

} // namespace vorlen
