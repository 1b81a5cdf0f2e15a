#include "normalization/permutationtest.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "images/filters/parallelwork.h"
#include "normalization/groupstatistic.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// Places whose values, those of twenty specimens, stay in the nearest caches while all dealings go over them.
constexpr std::size_t blockSize = 2048;
constexpr std::size_t leastParts = 512, leastStretch = 100;

/// By how much statistics may differ that are equal but for the order of their sums.
constexpr float sameShare = 1e-5f;

float greatestAbsolute(const float* values, std::size_t count) {
    float greatest = 0;
    for (std::size_t i = 0; i < count; ++i)
        greatest = std::max(greatest, std::abs(values[i]));
    return greatest;
}

/// Share of the sorted maxima that reach the value.
double shareReaching(const std::vector<float>& sorted, float value) {
    const float bound = value - sameShare * std::abs(value);
    const auto found = std::lower_bound(sorted.begin(), sorted.end(), bound);
    return double(sorted.end() - found) / double(sorted.size());
}

/// Just above the greatest of the sorted maxima that too many reach: what is above it is reached by fewer.
float criticalOf(const std::vector<float>& sorted, double alpha) {
    float critical = std::numeric_limits<float>::infinity();
    for (auto it = sorted.rbegin(); it != sorted.rend(); ++it) {
        const bool isSignificant = shareReaching(sorted, *it) <= alpha * (1 + 1e-12);
        if (!isSignificant)
            return it == sorted.rbegin() ? critical : *it * (1 + 1.5f * sameShare);
        critical = *it;
    }
    return critical;
}

} // namespace

PermutationTest::PermutationTest(const GroupStatistic& statistic, const Relabelling& dealings)
    : __statistic(statistic), __dealings(dealings) {
    if (statistic.getNumSpecimens() != dealings.getNumSpecimens())
        throw SizeError("PermutationTest::PermutationTest(const GroupStatistic&, const Relabelling&)",
                        "Statistic and groups have different numbers of specimens");
}

void PermutationTest::findClusters(float threshold, int rows, int columns, int planes) {
    const char* const where = "void PermutationTest::findClusters(float, int, int, int)";
    if (!(threshold > 0))
        throw ValueError(where, "The threshold of clusters must be above 0");
    if (std::min({rows, columns, planes}) < 1 ||
        std::size_t(rows) * std::size_t(columns) * std::size_t(planes) != __statistic.getNumPlaces())
        throw SizeError(where, "The sizes are not those of the statistic");
    __threshold = threshold;
    __rows = std::size_t(rows);
    __columns = std::size_t(columns);
    __planes = std::size_t(planes);
}

PermutationMaxima PermutationTest::maxima(std::uint64_t first, std::uint64_t count) {
    const std::vector<std::vector<int>> dealings = __dealings.dealings(first, count);
    const std::size_t numPlaces = __statistic.getNumPlaces();
    PermutationMaxima result;
    result.first = first;
    result.statistics.assign(dealings.size(), 0.0f);
    notifyStarted("Permutation test");
    if (__threshold > 0) {
        result.masses.assign(dealings.size(), 0.0f);
        ParallelWork work(*this, std::max<std::size_t>(1, dealings.size()));
        work.run(static_cast<int>(dealings.size()), dealings.size(), [&](int number, int /*worker*/) {
            std::vector<float> map(numPlaces);
            __statistic.evaluate(dealings[std::size_t(number)], 0, numPlaces, map.data());
            result.statistics[std::size_t(number)] = greatestAbsolute(map.data(), numPlaces);
            double greatest = 0;
            for (const Cluster& cluster : clustersOf(map))
                greatest = std::max(greatest, cluster.mass);
            result.masses[std::size_t(number)] = float(greatest);
        });
    } else {
        // A part is a block of places and a stretch of the dealings, of which there are enough for all threads, and for
        // progress and cancelling, on small maps too.
        const std::size_t numBlocks = (numPlaces + blockSize - 1) / blockSize;
        const std::size_t wanted = std::max<std::size_t>(1, leastParts / std::max<std::size_t>(1, numBlocks));
        const std::size_t stretch = std::max(leastStretch, (dealings.size() + wanted - 1) / wanted);
        const auto numParts = static_cast<int>(numBlocks * ((dealings.size() + stretch - 1) / stretch));
        ParallelWork work(*this, std::max(1ULL, static_cast<unsigned long long>(numParts)));
        // Each worker keeps the greatest of its blocks; that of all is the same whoever did which.
        std::vector<std::vector<float>> greatest(std::size_t(work.workers()),
                                                 std::vector<float>(dealings.size(), 0.0f));
        work.run(numParts, static_cast<unsigned long long>(numParts), [&](int number, int worker) {
            const std::size_t from = std::size_t(number) % numBlocks * blockSize;
            const std::size_t to = std::min(numPlaces, from + blockSize);
            const std::size_t begin = std::size_t(number) / numBlocks * stretch;
            const std::size_t end = std::min(dealings.size(), begin + stretch);
            std::vector<float> block(to - from);
            std::vector<float>& mine = greatest[std::size_t(worker)];
            for (std::size_t d = begin; d < end && !work.isCanceled(); ++d) {
                __statistic.evaluate(dealings[d], from, to, block.data());
                mine[d] = std::max(mine[d], greatestAbsolute(block.data(), block.size()));
            }
        });
        for (const std::vector<float>& each : greatest)
            for (std::size_t d = 0; d < each.size(); ++d)
                result.statistics[d] = std::max(result.statistics[d], each[d]);
    }
    if (isCanceled())
        notifyCanceled("");
    else
        notifyFinished("");
    return result;
}

PermutationResult PermutationTest::run(double alpha) {
    std::vector<PermutationMaxima> all;
    all.push_back(maxima(0, __dealings.getNumber()));
    return conclude(std::move(all), alpha);
}

PermutationResult PermutationTest::conclude(std::vector<PermutationMaxima> stretches, double alpha) const {
    const char* const where = "PermutationResult PermutationTest::conclude(vector<PermutationMaxima>, double) const";
    std::sort(stretches.begin(), stretches.end(),
              [](const PermutationMaxima& a, const PermutationMaxima& b) { return a.first < b.first; });
    std::vector<float> sorted, masses;
    for (const PermutationMaxima& stretch : stretches) {
        if (stretch.first != sorted.size() || (__threshold > 0 && stretch.masses.size() != stretch.statistics.size()))
            throw UsageError(where, "The parts do not make up the list of permutations");
        sorted.insert(sorted.end(), stretch.statistics.begin(), stretch.statistics.end());
        masses.insert(masses.end(), stretch.masses.begin(), stretch.masses.end());
    }
    if (sorted.size() != __dealings.getNumber())
        throw UsageError(where, "The parts do not make up the list of permutations");
    std::sort(sorted.begin(), sorted.end());
    std::sort(masses.begin(), masses.end());

    PermutationResult result;
    result.numPermutations = sorted.size();
    result.exact = __dealings.isExact();
    result.statistic.resize(__statistic.getNumPlaces());
    result.p.resize(result.statistic.size());
    __statistic.evaluate(__dealings.getObserved(), 0, result.statistic.size(), result.statistic.data());
    for (std::size_t i = 0; i < result.p.size(); ++i) {
        const double p = shareReaching(sorted, std::abs(result.statistic[i]));
        result.p[i] = float(p);
        result.least = std::min(result.least, p);
    }
    result.critical = criticalOf(sorted, alpha);
    if (__threshold > 0) {
        std::vector<float> map = result.statistic;
        result.clusters = clustersOf(map);
        for (Cluster& cluster : result.clusters)
            cluster.p = shareReaching(masses, float(cluster.mass));
        std::stable_sort(result.clusters.begin(), result.clusters.end(),
                         [](const Cluster& a, const Cluster& b) { return a.mass > b.mass; });
    }
    return result;
}

/// In the order of their first places. Takes the places out of the map.
std::vector<Cluster> PermutationTest::clustersOf(std::vector<float>& map) const {
    std::vector<Cluster> clusters;
    std::vector<std::size_t> stack;
    for (std::size_t place = 0; place < map.size(); ++place)
        if (std::abs(map[place]) > __threshold)
            clusters.push_back(clusterAt(map, place, stack));
    return clusters;
}

Cluster PermutationTest::clusterAt(std::vector<float>& map, std::size_t seed, std::vector<std::size_t>& stack) const {
    Cluster cluster;
    const bool above = map[seed] > 0;
    const auto take = [&](std::size_t place) {
        const float value = map[place];
        if (!(std::abs(value) > __threshold) || (value > 0) != above)
            return;
        map[place] = 0;
        ++cluster.numPlaces;
        cluster.mass += double(std::abs(value)) - double(__threshold);
        if (std::abs(value) > std::abs(cluster.peak)) {
            cluster.peak = value;
            cluster.peakPlace = place;
        }
        stack.push_back(place);
    };
    take(seed);
    while (!stack.empty()) {
        const std::size_t place = stack.back();
        stack.pop_back();
        const std::size_t j = place % __columns, i = place / __columns % __rows, k = place / (__columns * __rows);
        if (j > 0)
            take(place - 1);
        if (j + 1 < __columns)
            take(place + 1);
        if (i > 0)
            take(place - __columns);
        if (i + 1 < __rows)
            take(place + __columns);
        if (k > 0)
            take(place - __columns * __rows);
        if (k + 1 < __planes)
            take(place + __columns * __rows);
    }
    return cluster;
}

} // namespace vorlen
