#pragma once

#include <vector>

#include "reconstruction/sectionparts.h"

namespace vorlen {

/// Which parts of two neighbouring sections go on in each other, and how they move on the way.
///
/// Parts belong together that overlap once they are aligned: moved as the parts that they follow moved, or as the
/// section as a whole does, which is found by trying the ways from each part to each. A part's main partner is the one
/// with which it has most in common. Parts stay linked where one of the two is the other's main partner, or where they
/// still overlap when each is moved to its own. What remains alone, and is near a lone part of like size, is linked to
/// it, so that thin oblique branches stay whole. After D. Meyers, S. Skinner and K. Sloan, Surfaces from contours, ACM
/// Transactions on Graphics 11(3), 1992.
///
/// The square of the number of parts in tests of boxes; parts whose boxes meet are compared exactly.
class PartMatching {
public:
    /// Places of two parts.
    struct Link {
        int lower, upper;
    };

    /// Links that hang together, and the parts at their ends.
    struct Group {
        std::vector<int> lower, upper;
        std::vector<Link> links;

        bool isPair() const { return lower.size() == 1 && upper.size() == 1; }
    };

    /// Compares two sections. velocities tells for each part of the lower one how it moved, for each unit of height, to
    /// where it is; NaN where it comes from nowhere.
    PartMatching(const SectionParts& lower, const SectionParts& upper, const std::vector<PlanePoint>& velocities);

    const std::vector<Group>& getGroups() const { return __groups; }

    /// The velocities of the upper parts.
    const std::vector<PlanePoint>& getVelocities() const { return __velocities; }

    /// Parts that go on nowhere.
    const std::vector<int>& getEnds() const { return __ends; }
    /// Parts that come from nowhere.
    const std::vector<int>& getBeginnings() const { return __beginnings; }

    /// The group as pairs of parts, each with its main partner where that is mutual; other parts end or begin.
    static std::vector<Group> pairsOf(const Group& group, const SectionParts& lower, const SectionParts& upper);

private:
    std::vector<Link> findLinks(const SectionParts& lower, const SectionParts& upper,
                                const std::vector<PlanePoint>& velocities) const;
    void findGroups(const std::vector<Link>& links, std::size_t numLower, std::size_t numUpper);
    void findVelocities(const SectionParts& lower, const SectionParts& upper);

    std::vector<Group> __groups;
    std::vector<PlanePoint> __velocities;
    std::vector<int> __ends;
    std::vector<int> __beginnings;
};

} // namespace vorlen
