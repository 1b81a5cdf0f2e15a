#pragma once

#include "normalization/shapesetgroupregistration.h"

namespace vorlen {

/// Group registration without a privileged set: sweeps in which each set in turn is registered on the average of all
/// others, until the error between the sets stands still. References must be closed quadrangular surfaces.
///
/// A sweep costs n averages, n registrations of a set and n (n - 1) / 2 distances for each reference. The averages come
/// from running sums over all sets, less the set that moves, so that each costs one pass over one set's references.
/// The error after k sweeps is stage k of getDynamics().
///
/// Decisions: a sweep in which no set moves by more than the rounding of its coordinates is the last one, whatever the
/// rounding does to the error; so sets that can be brought to coincide end there as well. Should neither come, the
/// registration ends after maxSweeps, and isConverged() tells. Instantiated for float, double and long double.
template <class T>
class GlobalShapeSetGroupRegistration : public ShapeSetGroupRegistration<T> {
public:
    static constexpr int maxSweeps = 1000;

    ~GlobalShapeSetGroupRegistration() override;

    /// Progress is reported with empty texts, set by set; its total grows while the end is not in sight.
    /// Throws UsageError when a set has no references or one that is no closed QuadMesh, and for fewer than two sets;
    /// SizeError when references of equal rank differ in dimensions and ProgramError when their caps do: all before
    /// anything moves. Throws MathError for coordinates that are not finite.
    void apply(ShapeSetGroup<T>& group) override;

private:
    void applyQuadMeshCase(ShapeSetGroup<T>& group);
};

} // namespace vorlen
