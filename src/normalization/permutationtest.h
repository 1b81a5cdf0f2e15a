#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "normalization/relabelling.h"
#include "progress/progresssubject.h"

namespace vorlen {

class GroupStatistic;

/// Greatest statistic over all places, and greatest mass of a cluster, for a stretch of a list of dealings.
struct PermutationMaxima {
    std::uint64_t first = 0; ///< number of the first dealing
    std::vector<float> statistics;
    std::vector<float> masses; ///< empty where no clusters were asked for
};

/// Places next to each other, all above the threshold and with the statistic of one sign.
struct Cluster {
    std::size_t numPlaces = 0;
    double mass = 0; ///< sum over the places of what the statistic's absolute value has above the threshold
    float peak = 0;  ///< statistic that is greatest in absolute value
    std::size_t peakPlace = 0;
    double p = 1; ///< share of the dealings with a cluster of at least this mass
};

/// What a finished test tells.
struct PermutationResult {
    std::vector<float> statistic;  ///< at each place, for the dealing that was observed
    std::vector<float> p;          ///< at each place, corrected for all places
    std::vector<Cluster> clusters; ///< the one of the greatest mass first
    double least = 1;              ///< of p
    float critical = 0;            ///< the statistic from which on p is at most alpha
    std::uint64_t numPermutations = 0;
    bool exact = false;
};

/// Permutation test with the maximum statistic: at each place the share of the dealings of specimens to groups whose
/// greatest statistic, anywhere, reaches what was observed there. Under the hypothesis that the groups do not differ,
/// the probability that any place at all has p <= alpha is at most alpha (family-wise error), whatever the dependence
/// of places. Sources: P. H. Westfall, S. S. Young, Resampling-Based Multiple Testing, 1993; T. E. Nichols, A. P.
/// Holmes, Human Brain Mapping 15, 2001; clusters by their mass: E. T. Bullmore et al., IEEE Trans. Medical Imaging 18,
/// 1999.
///
/// Signed statistics are taken by their absolute values: the test has two sides. The observed dealing is one of the
/// list, so that no p is 0. Statistics equal but for rounding count as equal.
///
/// A list can be done in stretches, on several machines, whose maxima are the same bits as those of one run, for any
/// number of threads. Without clusters memory is that of the statistic and a few floats for each dealing; with them a
/// map for each thread more.
class PermutationTest : public virtual ProgressSubject {
public:
    /// Both are seen, not owned. Throws SizeError when they tell different numbers of specimens.
    PermutationTest(const GroupStatistic& statistic, const Relabelling& dealings);

    /// Looks for clusters of places above this threshold, in a volume of these sizes, where place
    /// (k * rows + i) * columns + j is row i, column j, plane k; they touch by faces. Throws ValueError unless the
    /// threshold is above 0, SizeError when the sizes are not those of the statistic.
    void findClusters(float threshold, int rows, int columns, int planes);

    /// The maxima of count dealings from the first on. Nothing in them counts after a cancel. Throws RangeError beyond
    /// the list.
    PermutationMaxima maxima(std::uint64_t first, std::uint64_t count);

    /// All of the list and what it tells.
    PermutationResult run(double alpha = 0.05);

    /// What the maxima of all stretches tell, in any order. Throws UsageError when they do not make up the list.
    PermutationResult conclude(std::vector<PermutationMaxima> stretches, double alpha = 0.05) const;

private:
    std::vector<Cluster> clustersOf(std::vector<float>& map) const;
    Cluster clusterAt(std::vector<float>& map, std::size_t seed, std::vector<std::size_t>& stack) const;

    const GroupStatistic& __statistic;
    const Relabelling& __dealings;
    float __threshold = 0;
    std::size_t __rows = 0, __columns = 0, __planes = 0;
};

} // namespace vorlen
