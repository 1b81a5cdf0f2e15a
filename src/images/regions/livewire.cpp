#include "images/regions/livewire.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr std::array<int, 8> rowSteps = {-1, 0, 1, 0, -1, -1, 1, 1};
constexpr std::array<int, 8> columnSteps = {0, -1, 0, 1, -1, 1, 1, -1};
/// A step along a diagonal is 7/5 of a straight one, to 1%.
constexpr int straight = 5, diagonal = 7;
constexpr int dearest = 32;
constexpr int numBuckets = dearest * diagonal + 1;
constexpr int unreached = std::numeric_limits<int>::max();

float finite(float value) {
    return std::isfinite(value) ? value : 0.0f;
}

} // namespace

LiveWire::LiveWire(const PixelMatrix<float>& image) : __rows(image.getSize1()), __columns(image.getSize2()) {
    makeCosts(image);
}

// The border takes its values from the pixels next to it.
void LiveWire::makeCosts(const PixelMatrix<float>& image) {
    const std::size_t size = static_cast<std::size_t>(__rows) * static_cast<std::size_t>(__columns);
    std::vector<float>& norms = __norms;
    norms.reserve(size);
    for (int i = 0; i < __rows; ++i) {
        const float* const above = image[std::max(i - 1, 0)].data();
        const float* const row = image[i].data();
        const float* const below = image[std::min(i + 1, __rows - 1)].data();
        for (int j = 0; j < __columns; ++j) {
            const int l = std::max(j - 1, 0), r = std::min(j + 1, __columns - 1);
            const float across = finite(above[r]) - finite(above[l]) + 2 * (finite(row[r]) - finite(row[l])) +
                                 finite(below[r]) - finite(below[l]);
            const float down = finite(below[l]) - finite(above[l]) + 2 * (finite(below[j]) - finite(above[j])) +
                               finite(below[r]) - finite(above[r]);
            norms.push_back(std::hypot(across, down));
        }
    }
    __costs.assign(size, static_cast<std::uint8_t>(dearest));
    if (norms.empty())
        return;
    std::vector<float> sorted = norms;
    const auto strong = sorted.begin() + static_cast<std::ptrdiff_t>((size - 1) * 49 / 50);
    std::nth_element(sorted.begin(), strong, sorted.end());
    float whole = *strong;
    if (!(whole > 0)) // edges in less than two hundredths of the image
        whole = *std::max_element(sorted.begin(), sorted.end());
    if (!(whole > 0))
        return;
    __strong = whole;
    for (std::size_t k = 0; k < size; ++k) {
        const float weakness = 1 - std::min(norms[k] / whole, 1.0f);
        __costs[k] = static_cast<std::uint8_t>(1 + std::lround(weakness * (dearest - 1)));
    }
}

int LiveWire::indexOf(int row, int column, const char* caller) const {
    if (row < 0 || row >= __rows || column < 0 || column >= __columns)
        throw RangeError(caller, "The pixel is not on the image");
    return row * __columns + column;
}

void LiveWire::setSeed(int row, int column) {
    __seed = indexOf(row, column, "void LiveWire::setSeed(int, int)");
    __totals.assign(__costs.size(), unreached);
    __from.assign(__costs.size(), -1);
    __settled.assign(__costs.size(), false);
    __buckets.assign(numBuckets, {});
    __totals[static_cast<std::size_t>(__seed)] = 0;
    __buckets[0].push_back(__seed);
    __reached = 0;
    __numWaiting = 1;
}

void LiveWire::searchUntil(int goal) {
    while (!__settled[static_cast<std::size_t>(goal)] && __numWaiting > 0) {
        std::vector<int>& bucket = __buckets[static_cast<std::size_t>(__reached % numBuckets)];
        if (bucket.empty()) {
            ++__reached;
            continue;
        }
        const int pixel = bucket.back();
        bucket.pop_back();
        --__numWaiting;
        if (__settled[static_cast<std::size_t>(pixel)])
            continue;
        __settled[static_cast<std::size_t>(pixel)] = true;
        const int row = pixel / __columns, column = pixel % __columns;
        for (std::size_t k = 0; k < rowSteps.size(); ++k) {
            const int i = row + rowSteps[k], j = column + columnSteps[k];
            if (i < 0 || i >= __rows || j < 0 || j >= __columns)
                continue;
            const int next = i * __columns + j;
            const auto at = static_cast<std::size_t>(next);
            const int total = __reached + __costs[at] * (k < 4 ? straight : diagonal);
            if (total >= __totals[at])
                continue;
            __totals[at] = total;
            __from[at] = static_cast<std::int8_t>(k);
            __buckets[static_cast<std::size_t>(total % numBuckets)].push_back(next);
            ++__numWaiting;
        }
    }
}

std::vector<std::pair<int, int>> LiveWire::path(int row, int column) {
    const char* const caller = "std::vector<std::pair<int, int>> LiveWire::path(int, int)";
    int pixel = indexOf(row, column, caller);
    if (__seed < 0)
        throw UsageError(caller, "There is no seed");
    searchUntil(pixel);
    std::vector<std::pair<int, int>> pixels;
    while (pixel != __seed) {
        pixels.emplace_back(pixel / __columns, pixel % __columns);
        const auto step = static_cast<std::size_t>(__from[static_cast<std::size_t>(pixel)]);
        pixel -= rowSteps[step] * __columns + columnSteps[step];
    }
    pixels.emplace_back(pixel / __columns, pixel % __columns);
    std::reverse(pixels.begin(), pixels.end());
    return pixels;
}

/// Between the pixels, linearly; beyond the border that of the border.
double LiveWire::normAt(double row, double column) const {
    row = std::clamp(row, 0.0, double(__rows - 1));
    column = std::clamp(column, 0.0, double(__columns - 1));
    const int i = int(row), j = int(column);
    const double down = row - i, across = column - j;
    const auto norm = [&](int r, int c) {
        const std::size_t last = std::size_t(std::min(r, __rows - 1)) * std::size_t(__columns);
        return double(__norms[last + std::size_t(std::min(c, __columns - 1))]);
    };
    return (1 - down) * ((1 - across) * norm(i, j) + across * norm(i, j + 1)) +
           down * ((1 - across) * norm(i + 1, j) + across * norm(i + 1, j + 1));
}

std::vector<std::pair<double, double>> LiveWire::edge(int row, int column) {
    constexpr std::size_t reach = 2; // for the direction of the way
    constexpr double weak = 0.1;
    const std::vector<std::pair<int, int>> pixels = path(row, column);
    std::vector<std::pair<double, double>> places(pixels.begin(), pixels.end());
    for (std::size_t k = 1; k + 1 < pixels.size(); ++k) {
        const auto& from = pixels[k < reach ? 0 : k - reach];
        const auto& to = pixels[std::min(k + reach, pixels.size() - 1)];
        const double length = std::hypot(to.first - from.first, to.second - from.second);
        const double middle = normAt(pixels[k].first, pixels[k].second);
        if (!(length > 0) || !(middle > weak * double(__strong)))
            continue;
        const double down = (to.second - from.second) / length, across = (from.first - to.first) / length;
        const double before = normAt(pixels[k].first - down, pixels[k].second - across);
        const double behind = normAt(pixels[k].first + down, pixels[k].second + across);
        const double bend = before - 2 * middle + behind;
        if (!(bend < 0))
            continue;
        const double aside = std::clamp((before - behind) / (2 * bend), -1.0, 1.0);
        places[k].first += aside * down;
        places[k].second += aside * across;
    }
    return places;
}

} // namespace vorlen
