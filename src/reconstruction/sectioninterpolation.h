#pragma once

#include <vector>

#include "images/regions/distancetransform.h"
#include "reconstruction/partmatching.h"
#include "reconstruction/sectionfield.h"
#include "reconstruction/sectionparts.h"

namespace vorlen {

/// The outlines of a structure between two sections on which it is known.
///
/// Parts of the two sections that go on in each other (PartMatching) are brought together by their centroids, and their
/// signed distances are mixed, as much of each as the section lies near to it (after S. Raya and J. Udupa, Shape-based
/// interpolation of multidimensional objects, IEEE Transactions on Medical Imaging 9(1), 1990). So parts may move,
/// split and merge, and have holes. What is there on one section alone has no outline in between.
///
/// Where a lattice of this step would have more nodes than four million it is made coarser.
class SectionInterpolation {
public:
    /// step is the distance of the nodes of the lattice of distances, in world coordinates: a pixel, say. The sections
    /// are those of before and after; both must live as long as this. Throws ValueError for a step that is not above 0.
    SectionInterpolation(const SectionParts& lower, const SectionParts& upper, double step);

    /// The outlines at a share of the way, 0 on the lower section and 1 on the upper one: closed rings, those around
    /// holes clockwise, with a point at each edge of the lattice that they cross.
    std::vector<std::vector<PlanePoint>> outlinesAt(double share) const;

private:
    /// Parts that belong together, by their fields.
    struct Mixture {
        SectionLattice lattice;
        PlanePoint way; // from the lower parts to the upper ones
        LatticeBlock lowerBlock;
        std::vector<SectionField> lower, upper;
    };

    static void trace(const std::vector<float>& values, const LatticeBlock& block, const SectionLattice& lattice,
                      std::vector<std::vector<PlanePoint>>& outlines);

    std::vector<Mixture> __mixtures;
};

} // namespace vorlen
