#pragma once

#include <array>
#include <optional>
#include <vector>

#include "reconstruction/partmatching.h"
#include "reconstruction/sectionparts.h"

namespace vorlen {

/// A piece of surface between two sections: triangles that turn outward, open along the rings of the parts that it
/// joins, and nowhere else.
struct SurfacePatch {
    /// A vertex on a section lies on a ring there: at a share of the way between two of its points.
    struct Vertex {
        double x, y, z;
        int side;     ///< 0 on the lower section, 1 on the upper one, -1 between them
        int ring;     ///< number of the ring among those of the side's parts, in their order
        double place; ///< number of the ring's point before, and the share of the way to the next one
    };

    std::vector<Vertex> vertices;
    std::vector<std::array<int, 3>> triangles;
    std::vector<int> next; ///< for a vertex on the border the one behind it, as its triangle turns; else -1
};

/// The surface between parts that split, merge or change their holes, as the zero level of a field.
///
/// Each pair of linked parts gives the mean of the signed distances to their rings, weighted by the height between the
/// sections, in the coordinates of the moving pair: both are moved so that their centroids lie on one line. The field
/// is the greatest of these. A part with several partners is shared out among them, each point to the partner that it
/// lies deepest in or nearest to when the parts of the group are aligned as a whole. The field is followed by marching
/// cubes on a lattice; on the sections themselves the vertices stand where the lattice lines cross the rings, exactly.
///
/// Where the lattice can't follow the rings, each once and in its order, it is refined up to three times. Where they
/// touch or nearly do, as two limbs on the section where they part, they are then moved off each other by a step of the
/// lattice, and last of all outwards, for the sake of necks: the patch still fits the rings as drawn. There is no patch
/// when all of this fails, as for parts much thinner than wide.
class FieldSurface {
public:
    using PartList = std::vector<const SectionPart*>;

    /// Links name places in the two lists.
    static std::optional<SurfacePatch> between(const PartList& lower, const PartList& upper,
                                               const std::vector<PartMatching::Link>& links, double lowerHeight,
                                               double upperHeight);
};

} // namespace vorlen
