#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "normalization/permutationtest.h"

namespace vorlen {

/// What makes parts of a permutation test parts of one: they may be put together when all of it agrees.
struct ComparisonKey {
    std::string statistic;
    std::string inputs; ///< SHA-256 of all values and groups
    std::uint64_t seed = 0;
    std::uint64_t permutations = 0;
    float clusterThreshold = 0;

    bool operator==(const ComparisonKey& other) const = default;
};

/// Writes a part of a test as JSON; numbers read back as the same bits.
void writeMaxima(std::ostream& stream, const ComparisonKey& key, const PermutationMaxima& maxima);

/// Throws FileReadError for a file that can't be read or is no such part, UsageError for one of another test.
PermutationMaxima readMaxima(const std::string& file, const ComparisonKey& key);

} // namespace vorlen
