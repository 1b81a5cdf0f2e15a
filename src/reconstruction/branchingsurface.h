#pragma once

#include <array>
#include <vector>

#include "reconstruction/fieldsurface.h"
#include "reconstruction/partmatching.h"
#include "reconstruction/sectionparts.h"
#include "reconstruction/surfaceends.h"
#include "shapes/trimesh.h"

namespace vorlen {

/// The closed surface of a structure that may branch: of any number of parts on each section, with holes, that begin,
/// end, split and merge.
///
/// Between two sections, parts that go on in one another (PartMatching) are joined. One part to one part, with holes
/// that go on as simply, keeps the exact tiling of its rings (CurveStackTriangulation, centred); all else is joined by
/// a field (FieldSurface). A hole that goes on into the midst of a part ends there. Where not even the finest field
/// follows the rings, the pairs that have most in common are tiled, and the other parts end.
///
/// Each ring is a line of vertices that the pieces on both of its sides share: its own points, and those where a
/// lattice crosses it. So the surface is closed and oriented by its make; a vertex at which it would touch itself is
/// doubled, so that it is a manifold.
///
/// Linear in the number of sections.
class BranchingSurface {
public:
    /// Sections of ascending height, and the heights of all slices, towards which the surface ends. With descending,
    /// the structure begins at its upper end.
    BranchingSurface(std::vector<SectionParts> sections, std::vector<double> heights, bool descending);

    /// The surface with these ends, by a method of CurveStackTriangulation. Outward; closed unless an end is open.
    TriMesh<double> build(const SurfaceEnds& ends, int method) const;

    /// The walls alone: between the sections, without ends of parts and of holes.
    double wallArea(int method) const;

    const std::vector<SectionParts>& getSections() const { return __sections; }

    /// How many groups of parts the finest field could not follow.
    int getNumUnfollowed() const { return __numUnfollowed; }

private:
    /// What goes on in a ring on a section beside it.
    struct Beyond {
        double area = -1; ///< -1 where that is not known
        PlanePoint centroid;
    };
    /// A ring of a part of a section, and what stands on its two sides.
    struct RingLine {
        std::vector<double> places; ///< of its vertices, ascending: whole for its own points
        Beyond below, above;
    };
    /// Places in the list of rings.
    struct Tile {
        int lower, upper;
    };
    struct Patch {
        SurfacePatch surface;
        std::vector<int> rings[2];
    };
    /// What ends, upward or downward: all rings of a part, or one hole.
    struct End {
        std::vector<int> rings;
        bool upward;
        PlanePoint centre;
        double area;
        PlanePoint centroid;
    };

    int ringNumber(int section, int part, int ring = 0) const {
        return __firstRings[std::size_t(section)][std::size_t(part)] + ring;
    }
    const SectionRing& ringAt(int number) const { return *__rings[std::size_t(number)]; }
    double heightOf(int ring) const { return __ringHeights[std::size_t(ring)]; }

    void joinSections(int section, const PartMatching& matching);
    void joinGroup(int section, const PartMatching::Group& group);
    bool tilePair(int section, int lower, int upper);
    bool joinByField(int section, const PartMatching::Group& group);
    void noteAreas(int section, const PartMatching::Group& group);
    void endPart(int section, int part, bool upward);
    void endHole(int section, int part, int ring, bool upward);
    double riseOf(const End& end, SurfaceEnd way) const;
    EndShape<double> shapeOf(const End& end, SurfaceEnd way) const;

    std::vector<SectionParts> __sections;
    std::vector<double> __heights;
    bool __descending;
    std::vector<std::vector<int>> __firstRings; // by section and part
    std::vector<const SectionRing*> __rings;
    std::vector<double> __ringHeights;
    std::vector<RingLine> __lines;
    std::vector<Tile> __tiles;
    std::vector<Patch> __patches;
    std::vector<End> __ends;
    int __numUnfollowed = 0;

    friend class BranchingMesh;
};

} // namespace vorlen
