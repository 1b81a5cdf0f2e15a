#pragma once

#include <optional>
#include <vector>

#include "registration/preparedsection.h"
#include "registration/sectionaligner.h"

namespace vorlen {

// What SectionAligner does by mutual information, for its sources alone: for sections whose greys belong together, but
// neither rise nor fall with each other, as with two stains, or with contrast that is inverted in part.

/// How well the source, moved, fits the target: JointHistogram::informationalCorrelation() of their greys on the level
/// of choice, lessened where the overlap is less than half of the smaller section.
double informationScore(const SectionAligner::Section& source, const SectionAligner::Section& target,
                        const RigidMotion& motion);

/// The motion for which the normalized mutual information is greatest: near the start alone or, when there are other
/// places to begin with, near these as well and all around. From coarse to fine by a simplex (Nelder and Mead 1965).
/// Then the greys of one section are replaced by those that come together with them on the other, on the average (Roche
/// and others 1998), and the correlation is raised as for any two sections. Nothing when they hardly overlap.
std::optional<SectionMatch> matchByInformation(const SectionAligner::Section& source,
                                               const SectionAligner::Section& target, const RigidMotion& start,
                                               const std::vector<RigidMotion>& others);

} // namespace vorlen
