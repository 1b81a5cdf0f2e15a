#pragma once

#include <vector>

#include "editing/operations/outcome.h"
#include "shapes/curve.h"

namespace vorlen {

class ModelItem;
class VRLStack;

/// Ranks of the edges of a closed contour at which it goes from one side of the line to the other, ascending. The line
/// is an open curve of two vertices, and counts between them only.
///
/// A vertex that lies on the line counts as one crossing where the contour changes sides there, and as none where it
/// only touches the line.
std::vector<int> splittingEdges(const Curve<int>& contour, const Curve<int>& line);

/// Whether the line enters the contour and leaves it again: an even number of crossings, and at least two.
bool isSplitBy(const ModelItem& item, const Curve<int>& line);

/// Replaces a closed contour by its pieces on both sides of a line, in one step of the stack's history. The pieces keep
/// the item's own look. Refused when the line does not split it, and when a piece would have fewer than three vertices.
Outcome splitContour(VRLStack& stack, ModelItem& item, const Curve<int>& line);

} // namespace vorlen
