#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "normalization/groupstatistic.h"
#include "normalization/permutationtest.h"
#include "normalization/specimenvalues.h"
#include "progress/progressproxy.h"
#include "shapes/trimesh.h"

namespace vorlen {

class Relabelling;
template <class T>
class VoxelMatrix;

/// What a comparison of groups is made of: what the command line and the window ask for.
struct ComparisonSettings {
    SpecimenList specimens;
    SpecimenMapping mapping;
    bool forms = false; ///< vertices that correspond, in place of densities
    std::uint64_t permutations = 10000;
    std::uint64_t seed = 1;
    double alpha = 0.05;
    float clusterThreshold = 0; ///< 0: no clusters
};

/// A comparison of groups from the specimens to the result, the same for the command line and the window.
///
/// It reports the progress of the maps and of the permutations to its monitors, on the thread that computes. cancel()
/// may be called on any thread, and takes effect at the next report.
class GroupComparison : public ProgressProxy {
public:
    explicit GroupComparison(ComparisonSettings settings);
    ~GroupComparison() override;

    const ComparisonSettings& getSettings() const { return __settings; }

    /// Reads the specimens and makes what is compared. False when it was cancelled. Throws UsageError for specimens
    /// and groups that do not go together, for clusters of forms, and as reading does.
    bool prepare();

    /// What prepare() has made.
    const SpecimenValues& getValues() const { return __values; }
    const GroupStatistic& getStatistic() const { return *__statistic; }
    /// How many permutations there are to be done, that of the groups as they are among them.
    std::uint64_t numPermutations() const;

    /// A stretch of the permutations; nothing in it counts after a cancel.
    PermutationMaxima maxima(std::uint64_t first, std::uint64_t count);
    /// The result of all stretches, in any order. Throws UsageError when they do not make up all permutations.
    void conclude(std::vector<PermutationMaxima> stretches);
    /// All permutations and the result; prepares first where that was not done. False when it was cancelled.
    bool run();

    /// Empty before a run is done.
    const PermutationResult& getResult() const { return __result; }
    /// Number of places where p is at most alpha.
    std::size_t numSignificant() const;
    /// Mean of the second group less that of the first, value by value; empty for more groups.
    std::vector<float> meanDifferences() const;

    /// Of comparisons of maps: coordinates of the place of this number.
    std::array<double, 3> placeOf(std::size_t number) const;
    /// A value for each place as a map over getValues().lattice.
    VoxelMatrix<float> mapOf(const std::vector<float>& values) const;
    /// The surface around the significant places in coordinates of the points, whatever the sign of their statistic
    /// (0), or where it is above (1) or below 0 (-1); nothing where there is no such place.
    std::optional<TriMesh<float>> significantSurface(int sign = 0) const;

    /// Sets the flag, which is looked at as the work reports.
    void cancel() override;
    using ProgressProxy::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override;

private:
    ComparisonSettings __settings;
    SpecimenValues __values;
    std::unique_ptr<GroupStatistic> __statistic;
    std::unique_ptr<Relabelling> __dealings;
    std::unique_ptr<PermutationTest> __test;
    PermutationResult __result;
};

} // namespace vorlen
