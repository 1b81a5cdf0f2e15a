#pragma once

#include <memory>
#include <vector>

#include "registration/elasticfield.h"
#include "registration/sectionaligner.h"

namespace vorlen {

/// What was found about a small block of a section.
struct BlockMatch {
    PlanePoint middle{0, 0}; ///< of the block, on the source as its field bends it
    PlanePoint way{0, 0};    ///< from there to what fits the target, on the same
    double correlation = 0;
};

/// Finds for small blocks of a section where on a neighbouring one, close by, the same is seen: normalized correlation
/// at each shift within reach, and between the shifts by a parabola. Sections are looked at as their fields bend them.
///
/// Blocks that are flat, that fit nowhere well, or best at the edge of what was looked at, are left out. Pixels at the
/// least and greatest grey of the range, as frames are of, count as nothing, and so do those beyond the image.
///
/// Sections are reduced to a working pixel, as by SectionAligner; lengths are in the length unit. What it works with
/// stays in here.
class BlockMatcher {
public:
    /// A section as it is worked with.
    class Picture;
    using PicturePointer = std::shared_ptr<const Picture>;

    static PicturePointer prepare(const SectionImage& image, double pixel);

    /// A section, how it is bent, and where it lies.
    struct Side {
        const Picture& picture;
        const ElasticField& field;
        RigidMotion place;
    };

    /// Blocks of 33 pixels a side about the nodes of the source's field, at the border moved inside. Reach in pixels;
    /// with `reduction` 2 all is done on images of half the size, a block then being twice as large.
    static std::vector<BlockMatch> match(const Side& source, const Side& target, double reach, int reduction);

    /// Absolute value of the correlation of the two where they overlap; 0 for fewer than 100 pixels.
    static double score(const Side& source, const Side& target);
};

} // namespace vorlen
