#pragma once

#include <vector>

#include "editing/operations/outcome.h"
#include "shapes/curve.h"

namespace vorlen {

class ModelItem;
class VRLStack;

/// The pieces of a closed contour on both sides of a line, an open curve of two vertices that counts between them only.
///
/// The line cuts wherever it enters the contour and leaves it again, however often; a part of it that ends within cuts
/// nothing. The cuts are made along the line itself: where it meets an edge, both pieces get a vertex there, rounded to
/// thousandths (subpixel()). A vertex on the line is a crossing where the contour changes sides there, and none where
/// it only touches the line. Together the pieces enclose what the contour did, to that rounding, and turn as it does;
/// the first begins where it does. One piece alone when the line cuts nothing.
std::vector<Curve<double>> splitPieces(const Curve<double>& contour, const Curve<double>& line);

/// Whether the line enters the contour and leaves it again.
bool isSplitBy(const ModelItem& item, const Curve<double>& line);

/// Replaces a closed contour by its pieces on both sides of a line, in one step of the stack's history. The pieces keep
/// the item's own look. Refused when the line does not split it, and when a piece would have fewer than three vertices.
Outcome splitContour(VRLStack& stack, ModelItem& item, const Curve<double>& line);

} // namespace vorlen
