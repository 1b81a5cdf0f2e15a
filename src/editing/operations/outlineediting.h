#pragma once

#include <functional>
#include <vector>

#include "editing/operations/outcome.h"
#include "editing/operations/outlineshape.h"

namespace vorlen {

class Model;
class StackSlice;
class VRLStack;

/// Edits of closed outlines as areas, and of whole items as shapes; each is one step of the stack's history. Points are
/// pixels (column, row) of the slice, and need not be whole.
///
/// Areas are joined and cut by B. R. Vatti's algorithm (Communications of the ACM 35, 1992), to 1/1024 of a pixel. An
/// outline that crosses itself counts as what it winds around. Decision: an outline has no holes: what an edit would
/// leave as a hole is filled.

/// What a round brush covers whose middle goes along the stroke.
struct BrushStroke {
    Outline points;
    double radius = 1; // in columns
    double aspect = 1; // height of a pixel over its width: the brush is round in space
};

/// Adds what the stroke covers to the model's outlines that it touches, which become one; a new outline where it
/// touches none. Refused without points, for a radius that is not above 0, and for a model of no closed outlines.
Outcome paintOutline(VRLStack& stack, StackSlice& slice, Model& model, const BrushStroke& stroke);

/// Takes what the stroke covers out of the model's outlines; one that falls apart becomes several, one of which nothing
/// is left is deleted. Refused where nothing is taken out.
Outcome eraseOutline(VRLStack& stack, StackSlice& slice, Model& model, const BrushStroke& stroke);

/// What the outlines would become, as for a preview: nothing is changed.
std::vector<Outline> paintedOutlines(const StackSlice& slice, const Model& model, const BrushStroke& stroke,
                                     bool erasing);

/// Makes one outline of those of one model that are selected on the slice, over the narrowest gaps between them where
/// they don't touch. It takes the place, and the look, of the first. Refused for fewer than two, and for outlines of
/// several models.
Outcome joinSelection(VRLStack& stack, StackSlice& slice);

/// A turn by an angle (radians, from the columns towards the rows) and a growth about a point, then a shift.
struct OutlineMotion {
    OutlinePoint centre;
    double angle = 0;
    double growth = 1;
    OutlinePoint shift;
    double aspect = 1; // height of a pixel over its width: shapes turn in space

    OutlinePoint of(const OutlinePoint& point) const;
};
Outline moved(const Outline& outline, const OutlineMotion& motion);

/// Moves all vertices of the item. Refused for a growth that is not above 0, or numbers that are none.
Outcome moveItem(VRLStack& stack, ModelItem& item, const OutlineMotion& motion);

/// The middle of the area of a closed outline, else of its vertices.
OutlinePoint middleOf(const Outline& outline, bool closed);

/// Whether a closed outline is wound around the point.
bool isInside(const Outline& outline, const OutlinePoint& point);

} // namespace vorlen
