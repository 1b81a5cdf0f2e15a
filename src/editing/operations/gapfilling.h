#pragma once

#include "editing/operations/outcome.h"

namespace vorlen {

class Model;
class VRLStack;

/// Outlines a structure on slices between others on which it is outlined: shapes in between, by their place along the
/// stack, in space, as SectionInterpolation makes them, to a pixel. One step of the stack's history. Slices that have
/// outlines of the model already stay as they are. Vertices that lie within a quarter of a pixel of a line between
/// others are left out.

/// Fills the slices between two of the stack, by their places. Refused for models that are no polygons, when there is
/// no slice between that lacks an outline, when one of the two has none, and when nothing of the one goes on in the
/// other.
Outcome fillGap(VRLStack& stack, Model& model, int first, int last);

/// Fills all gaps between slices with outlines of the model. numFilled tells how many slices got outlines.
Outcome fillAllGaps(VRLStack& stack, Model& model, int& numFilled);

/// The place of the nearest slice behind this one with outlines of the model, if there are slices without between; else
/// of the nearest before it; -1 when there is none.
int otherSideOfGap(const VRLStack& stack, const Model& model, int slice);

} // namespace vorlen
