#include "images/regions/standingregion.h"

#include <algorithm>

namespace vorlen {

namespace {

constexpr int reach = 3; // pixels between the values that are compared and the border, rounded up
constexpr int steps[4][2] = {{-1, 0}, {1, 0}, {0, -1}, {0, 1}};

} // namespace

StandingRegion::StandingRegion(const PixelMatrix<int>& values, int seedRow, int seedColumn, double level)
    : __values(values), __rows(values.getSize1()), __columns(values.getSize2()) {
    __places.assign(std::size_t(__rows) * std::size_t(__columns), Unknown);
    if (values[seedRow][seedColumn] < level)
        grow(seedRow, seedColumn, level);
}

std::size_t StandingRegion::indexOf(int row, int column) const {
    return std::size_t(row) * std::size_t(__columns) + std::size_t(column);
}

void StandingRegion::grow(int seedRow, int seedColumn, double level) {
    std::vector<std::size_t> waiting(1, indexOf(seedRow, seedColumn));
    placeAt(seedRow, seedColumn) = Inside;
    while (!waiting.empty()) {
        const std::size_t index = waiting.back();
        waiting.pop_back();
        ++__numPixels;
        const int i = int(index / std::size_t(__columns)), j = int(index % std::size_t(__columns));
        __atRim = __atRim || i == 0 || j == 0 || i == __rows - 1 || j == __columns - 1;
        for (int k = std::max(i - 1, 0); k <= std::min(i + 1, __rows - 1); ++k)
            for (int l = std::max(j - 1, 0); l <= std::min(j + 1, __columns - 1); ++l)
                if (placeAt(k, l) == Unknown && __values[k][l] < level) {
                    placeAt(k, l) = Inside;
                    waiting.push_back(indexOf(k, l));
                }
    }
}

/// The places, with what is joined to the rim by sides marked as outside. The region does not reach the rim, which is
/// all outside and joined.
std::vector<StandingRegion::Place> StandingRegion::withOutside() const {
    std::vector<Place> places = __places;
    std::vector<std::size_t> waiting(1, 0);
    places[0] = Outside;
    while (!waiting.empty()) {
        const std::size_t index = waiting.back();
        waiting.pop_back();
        const int i = int(index / std::size_t(__columns)), j = int(index % std::size_t(__columns));
        for (const auto& step : steps) {
            const int k = i + step[0], l = j + step[1];
            if (k < 0 || l < 0 || k >= __rows || l >= __columns || places[indexOf(k, l)] != Unknown)
                continue;
            places[indexOf(k, l)] = Outside;
            waiting.push_back(indexOf(k, l));
        }
    }
    return places;
}

double StandingRegion::contrast() const {
    if (__numPixels == 0 || __atRim)
        return 0;
    const std::vector<Place> places = withOutside();
    const auto valueAt = [this](int row, int column) {
        return double(__values[std::clamp(row, 0, __rows - 1)][std::clamp(column, 0, __columns - 1)]);
    };
    double sum = 0;
    int numBorders = 0;
    for (int i = 1; i < __rows - 1; ++i)
        for (int j = 1; j < __columns - 1; ++j) {
            if (places[indexOf(i, j)] != Inside)
                continue;
            for (const auto& step : steps)
                if (places[indexOf(i + step[0], j + step[1])] == Outside) {
                    const int out = reach, in = reach - 1;
                    sum += valueAt(i + out * step[0], j + out * step[1]) - valueAt(i - in * step[0], j - in * step[1]);
                    ++numBorders;
                }
        }
    return numBorders > 0 ? sum / numBorders : 0;
}

} // namespace vorlen
