#include "normalization/relabelling.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "numerics/exception.h"

namespace vorlen {

namespace {

/// SplitMix64: G. L. Steele, D. Lea, C. H. Flood, Fast splittable pseudorandom number generators, OOPSLA 2014.
class SplitMix {
public:
    explicit SplitMix(std::uint64_t state) : __state(state) {}

    std::uint64_t next() {
        std::uint64_t z = __state += 0x9e3779b97f4a7c15u;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return z ^ (z >> 31);
    }

    /// Evenly from 0 to bound - 1: what would favour the first numbers is thrown away.
    std::uint64_t below(std::uint64_t bound) {
        const std::uint64_t fair = std::numeric_limits<std::uint64_t>::max() / bound * bound;
        std::uint64_t value = next();
        while (value >= fair)
            value = next();
        return value % bound;
    }

private:
    std::uint64_t __state;
};

} // namespace

Relabelling::Relabelling(std::vector<int> groups, std::uint64_t number, std::uint64_t seed)
    : __observed(std::move(groups)), __number(number), __seed(seed), __exact(false) {
    const char* const where = "Relabelling::Relabelling(vector<int>, uint64_t, uint64_t)";
    if (number < 1)
        throw ValueError(where, "There must be at least one permutation");
    for (const int group : __observed) {
        if (group < 0 || group >= getNumSpecimens())
            throw UsageError(where, "Groups are counted from 0");
        if (group >= getNumGroups())
            __sizes.resize(std::size_t(group) + 1, 0);
        ++__sizes[std::size_t(group)];
    }
    if (getNumGroups() < 2 || *std::min_element(__sizes.begin(), __sizes.end()) < 1)
        throw UsageError(where, "A comparison needs at least two groups, and a specimen in each");
    if (*std::max_element(__sizes.begin(), __sizes.end()) < 2)
        throw UsageError(where, "A comparison needs a group of at least two specimens");
    const std::uint64_t ways = numWays(__sizes);
    __exact = ways <= number;
    if (__exact)
        __number = ways;
}

std::uint64_t Relabelling::numWays(const std::vector<int>& sizes) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    // A product of binomial coefficients, each built by steps that stay whole numbers.
    std::uint64_t ways = 1;
    std::uint64_t placed = 0;
    for (const int size : sizes)
        for (std::uint64_t i = 1; i <= std::uint64_t(size); ++i) {
            ++placed;
            if (ways > most / placed)
                return most;
            ways = ways * placed / i;
        }
    return ways;
}

std::vector<int> Relabelling::drawn(std::uint64_t number) const {
    SplitMix mixer(__seed);
    SplitMix random(mixer.next() ^ number * 0xd1342543de82ef95u);
    std::vector<int> dealing = __observed;
    for (std::size_t i = dealing.size(); i > 1; --i)
        std::swap(dealing[i - 1], dealing[random.below(i)]);
    return dealing;
}

std::vector<std::vector<int>> Relabelling::dealings(std::uint64_t first, std::uint64_t count) const {
    if (first > __number || count > __number - first)
        throw RangeError("vector<vector<int>> Relabelling::dealings(uint64_t, uint64_t) const",
                         "There are only " + std::to_string(__number) + " permutations");
    std::vector<std::vector<int>> result;
    result.reserve(count);
    if (!__exact) {
        for (std::uint64_t i = first; i < first + count; ++i)
            result.push_back(i == 0 ? __observed : drawn(i));
        return result;
    }
    std::vector<int> dealing = __observed;
    std::sort(dealing.begin(), dealing.end());
    std::uint64_t place = 1; // of the next one that is not the observed
    if (first == 0 && count > 0)
        result.push_back(__observed);
    do {
        if (dealing == __observed)
            continue;
        if (place >= first && place < first + count)
            result.push_back(dealing);
        ++place;
    } while (result.size() < count && std::next_permutation(dealing.begin(), dealing.end()));
    return result;
}

} // namespace vorlen
