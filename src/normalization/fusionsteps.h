#pragma once

#include <functional>
#include <vector>

#include "normalization/cohortregistration.h"
#include "normalization/fusionreport.h"
#include "normalization/vrlfusionstrategy.h"

namespace vorlen {

class ProgressMonitor;
template <class T>
class Shape;
template <class T>
class ShapeSet;

/// The steps of a normalization that go by surface, on the shape sets of all specimens, and the measures that are the
/// same whatever the method. Sees sets and report, which must outlive it. Entry k of all sets is the same structure.
///
/// Instantiated for float, double and long double.
template <class T>
class FusionSteps {
public:
    FusionSteps(const std::vector<ShapeSet<T>*>& sets, FusionReport& report) : __sets(sets), __report(report) {}

    /// The surfaces of the sets as they lie now.
    std::vector<SpecimenSurfaces> surfaces(bool referencesOnly) const;

    /// A hundred thousandth of the size of the first specimen.
    double precision() const;

    /// Moves all shapes by the poses, and notes turns and mirror images in the report.
    void place(const std::vector<SpecimenPose>& poses);

    /// Four points for each set, which are moved with it; measureTurns() takes them out again and notes how far each
    /// was turned.
    void addProbes();
    void measureTurns();

    /// Warns of specimens that lie clearly better after half a turn: what the registration turned over.
    void warnOfTurnedOver();

    /// The mean surfaces by points that correspond on the surfaces, a new set named "mean" that the caller clears, with
    /// the deviations in the report.
    /// Where stops says so, asked before each surface, it is given as it is by then.
    ShapeSet<T> meanBySurface(const std::function<bool()>& stops);

    /// Deviations from a mean by ranks, which the sets must match.
    void measureDeviations(const ShapeSet<T>& mean);

    /// Residuals and outliers of the sets as they lie now.
    void measureResiduals(const ShapeSet<T>& mean);

    /// Follows meanBySurface(): warps each set by the references, by surface, and notes how good the warps are. Throws
    /// UsageError that names the specimen whose warp cannot be fitted.
    void warpBySurface(const VRLFusionStrategy& strategy, ProgressMonitor& monitor, const std::function<bool()>& stops);

    /// Measures the warp by ranks of each set before it is made, and gives the sets that are to be warped: all but
    /// those whose folds are refused. Throws as warpBySurface() does.
    std::vector<ShapeSet<T>*> warpedByLevels(const VRLFusionStrategy& strategy, const ShapeSet<T>& mean,
                                             const std::function<bool()>& stops);

private:
    /// Folds of the warp about the set, and what is told of them; false when the warp is refused.
    bool judge(CohortWarp& warp, std::size_t i, const VRLFusionStrategy& strategy);
    std::unique_ptr<CohortWarp> fitted(ControlPairs pairs, const VRLFusionStrategy& strategy, double smoothing,
                                       std::size_t i) const;

    const std::vector<ShapeSet<T>*>& __sets;
    FusionReport& __report;
    MeanSurfaces __means;
    std::vector<Shape<T>*> __probes; // of the sets until measureTurns()
};

} // namespace vorlen
