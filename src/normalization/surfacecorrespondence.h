#pragma once

#include <functional>
#include <vector>

#include "normalization/specimensurfaces.h"

namespace vorlen {

/// The points of a mean's grid on the surface of one specimen.
struct CorrespondingSurface {
    std::vector<Point3> points; ///< one for each vertex of the mean, level by level
    std::vector<bool> covered;  ///< false where the specimen has no surface there; the point is then a guess

    bool isEmpty() const { return points.empty(); }
    double share() const;
};

/// Carries the vertices of a mean surface to the surface of a specimen that lies upon it: to the closest place whose
/// normal agrees, with displacements that are smoothed over the grid from round to round, so that neighbours stay
/// neighbours. Places at the border of the specimen count as not covered. Empty when either surface is.
CorrespondingSurface correspondingSurface(const SpecimenSurfaces::Surface& mean,
                                          const SpecimenSurfaces::Surface& specimen, int rounds = 3);

/// The mean of specimens that lie in one frame, by points that correspond on their surfaces, and how the specimens vary
/// about it.
///
/// The grid begins as that of one specimen, for each structure the first one whose surface is nearly the largest, and
/// moves to the mean of the corresponding points, which are then sought again. Specimens do not count where they are
/// not covered, nor those that lack a structure.
struct MeanSurfaces {
    SpecimenSurfaces mean;
    std::vector<std::vector<CorrespondingSurface>> specimens; ///< [specimen][structure]
    std::vector<std::vector<double>>
        deviations;                       ///< [structure][vertex]: standard deviation of a sample, of the distance
    std::vector<std::vector<int>> counts; ///< [structure][vertex]: specimens that count

    /// All specimens must have as many surfaces. stops is asked before each surface of each specimen; when it says so,
    /// what is there by then is given, which is no mean.
    static MeanSurfaces of(const std::vector<SpecimenSurfaces>& specimens, int rounds,
                           const std::function<bool()>& stops = {});
};

} // namespace vorlen
