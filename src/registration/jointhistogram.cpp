#include "registration/jointhistogram.h"

#include <algorithm>
#include <cmath>

namespace vorlen {

namespace {

constexpr int n = JointHistogram::numClasses;

/// Of the parts of a total.
double entropyOf(const double* counts, std::size_t size, double total) {
    double sum = 0;
    for (std::size_t i = 0; i < size; ++i)
        if (counts[i] > 0)
            sum -= counts[i] * std::log(counts[i]);
    return sum / total + std::log(total);
}

} // namespace

GreyClasses::GreyClasses(std::vector<float> values) {
    if (values.empty())
        return;
    // What is far out, dust say, has no say in the cells.
    const std::size_t far = values.size() / 500;
    const auto at = [&](std::size_t place) {
        std::nth_element(values.begin(), values.begin() + std::ptrdiff_t(place), values.end());
        return values[place];
    };
    __least = at(far);
    const float most = at(values.size() - 1 - far);
    if (!(most > __least))
        return;
    __scale = float(numCells) / (most - __least);
    std::array<double, numCells> counts{};
    for (const float value : values)
        ++counts[std::size_t(std::clamp(int((value - __least) * __scale), 0, numCells - 1))];
    const double limit = double(values.size()) / (2 * n);
    double total = 0;
    for (double& count : counts)
        total += count = std::min(count, limit);
    double sum = 0;
    for (std::size_t i = 0; i < numCells; ++i) {
        __places[i] = float((n - 1) * sum / total);
        sum += counts[i];
    }
    __places[numCells] = float(n - 1);
}

float GreyClasses::of(float value) const {
    const float place = std::clamp((value - __least) * __scale, 0.0f, float(numCells));
    const auto cell = std::min(std::size_t(place), std::size_t(numCells - 1));
    const float part = place - float(cell);
    return __places[cell] + part * (__places[cell + 1] - __places[cell]);
}

void JointHistogram::clear() {
    __counts.fill(0);
    __count = 0;
}

void JointHistogram::add(float first, float second) {
    const int i = std::clamp(int(first), 0, n - 2), j = std::clamp(int(second), 0, n - 2);
    const float u = first - float(i), v = second - float(j);
    float* const p = &__counts[std::size_t(i * n + j)];
    p[0] += (1 - u) * (1 - v);
    p[1] += (1 - u) * v;
    p[n] += u * (1 - v);
    p[n + 1] += u * v;
    ++__count;
}

JointHistogram::Entropies JointHistogram::entropies() const {
    std::array<double, n> first{}, second{};
    std::array<double, std::size_t(n) * n> both{};
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j) {
            const double count = double(__counts[i * n + j]);
            both[i * n + j] = count;
            first[i] += count;
            second[j] += count;
        }
    return {entropyOf(first.data(), first.size(), __count), entropyOf(second.data(), second.size(), __count),
            entropyOf(both.data(), both.size(), __count)};
}

/// The windows make one class depend on the next, so that fewer are free than there are.
double JointHistogram::chance() const {
    return 0.45 * (n - 1) * (n - 1) / (2 * __count);
}

double JointHistogram::mutualInformation() const {
    if (!(__count > 0))
        return 0;
    const Entropies e = entropies();
    return std::max(0.0, e.first + e.second - e.both - chance());
}

double JointHistogram::normalizedInformation() const {
    if (!(__count > 0))
        return 0;
    const Entropies e = entropies();
    const double both = std::max(e.both + chance(), 1e-9);
    return std::clamp((e.first + e.second) / both - 1, 0.0, 1.0);
}

double JointHistogram::informationalCorrelation() const {
    return std::sqrt(1 - std::exp(-2 * mutualInformation()));
}

} // namespace vorlen
