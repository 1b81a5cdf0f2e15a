#pragma once

#include <cstdint>
#include <vector>

namespace vorlen {

/// The ways in which specimens can be dealt to groups of given sizes, for permutation tests.
///
/// Number 0 is the dealing that was observed. When there are no more ways than the number asked for, all are listed,
/// each once, and a test over them is exact; else the others are drawn at random. A drawn one depends on the seed and
/// its number alone, so that any part of the list can be made anywhere, with the same result.
class Relabelling {
public:
    /// groups: for each specimen the number of its group, counted from 0. Throws UsageError unless each of at least two
    /// groups has a specimen and some group has two; ValueError for a number below 1.
    Relabelling(std::vector<int> groups, std::uint64_t number, std::uint64_t seed);

    int getNumSpecimens() const { return static_cast<int>(__observed.size()); }
    int getNumGroups() const { return static_cast<int>(__sizes.size()); }
    const std::vector<int>& getGroupSizes() const { return __sizes; }
    const std::vector<int>& getObserved() const { return __observed; }

    /// Whether all ways are listed.
    bool isExact() const { return __exact; }
    /// How many there are, the observed one among them.
    std::uint64_t getNumber() const { return __number; }

    /// The dealings from first to first + count - 1. Throws RangeError beyond the list.
    std::vector<std::vector<int>> dealings(std::uint64_t first, std::uint64_t count) const;

    /// Ways to deal specimens to groups of these sizes; the greatest number when there are more.
    static std::uint64_t numWays(const std::vector<int>& sizes);

private:
    std::vector<int> drawn(std::uint64_t number) const;

    std::vector<int> __observed;
    std::vector<int> __sizes;
    std::uint64_t __number;
    std::uint64_t __seed;
    bool __exact;
};

} // namespace vorlen
