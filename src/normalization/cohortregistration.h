#pragma once

#include <functional>
#include <vector>

#include "normalization/specimensurfaces.h"
#include "normalization/surfacecorrespondence.h"
#include "progress/progresssubject.h"

namespace vorlen {

/// Rigid registration of a cohort by the surfaces of its specimens: each on a reference specimen (SurfaceRegistration),
/// then, jointly, each on the mean of all (MeanSurfaces), from round to round until none moves.
///
/// The reference specimen keeps its orientation, and its centre of gravity comes to the origin: the result lies as the
/// sections of that specimen did. A joint registration has no privileged specimen but for this frame.
///
/// Specimens are laid by several threads, each by one (ParallelWork), so that the result is the same for any number.
///
/// Decision: at most five rounds; the error falls by less than a hundredth after two or three in the cohorts tried.
class CohortRegistration : public virtual ProgressSubject {
public:
    /// The reference surfaces of each specimen, as they lie at first.
    explicit CohortRegistration(std::vector<SpecimenSurfaces> specimens);
    ~CohortRegistration() override;

    void setMirrorsAllowed(bool allowed) { __mirrors = allowed; }

    /// Brings each specimen on the reference, of all orientations the one with the least distance. Progress goes
    /// specimen by specimen. Throws what SurfaceRegistration throws.
    void align(int reference);

    /// The same from where the specimens lie, and their half turns, alone.
    void refine(int reference);

    /// Each specimen on the mean of all. The frame is that of the reference of the step before, of the first specimen
    /// without one.
    void registerJointly();

    /// Asked before each specimen whether to stop, on any thread.
    void setCancelTest(std::function<bool()> test) { __stopped = std::move(test); }

    /// The motion of each specimen so far.
    const std::vector<SpecimenPose>& getPoses() const { return __poses; }

    /// Of the last step: mean over specimens and structures of the distance to the reference, before and after it, or
    /// to the mean of all, before and after each round; and the standard errors. Places beyond the ends of a surface
    /// that lacks sections have no counterpart, and do not count (surfaceDistances()).
    const std::vector<double>& getErrors() const { return __errors; }
    const std::vector<double>& getErrorSems() const { return __sems; }

    /// The same errors as getErrors(), of each specimen alone: [record][specimen]; below 0 of the reference and of what
    /// has no surface in common with it.
    const std::vector<std::vector<double>>& getSpecimenErrors() const { return __specimenErrors; }

    /// For each specimen whether of the last step another orientation fits about as well: the surfaces don't tell which
    /// of its ends is which (SurfaceRegistration::getRivalTurn()).
    const std::vector<bool>& getUnclear() const { return __unclear; }

    /// Whether the last joint registration ended because no specimen moved any more.
    bool isConverged() const { return __converged; }

    /// The surfaces at their places.
    std::vector<SpecimenSurfaces> placed() const;

private:
    void place(int reference, bool anew);
    bool stops() const { return isCanceled() || (__stopped && __stopped()); }
    void record(const SpecimenSurfaces& target, const std::vector<SpecimenSurfaces>& specimens, int without);

    std::vector<SpecimenSurfaces> __specimens;
    std::vector<SpecimenPose> __poses;
    std::vector<double> __errors, __sems;
    std::vector<std::vector<double>> __specimenErrors;
    std::vector<bool> __unclear;
    std::function<bool()> __stopped;
    int __reference = 0;
    bool __mirrors = false;
    bool __converged = false;
};

} // namespace vorlen
