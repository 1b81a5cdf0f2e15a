#pragma once

#include "editing/operations/outcome.h"
#include "shapes/boundingbox.h"
#include "shapes/curve.h"

namespace vorlen {

class Image;
class Model;
class StackSlice;
class VRLStack;

/// Adds the outline of a structure that is darker than what surrounds it, found from a box around its edge as by
/// RegionOutline, as a contour of the model, in one step of the stack's history. The image is the slice's, the box in
/// its columns and rows. Refused when nothing is found in the box, and when too few vertices are left. Throws
/// RangeError for a box that does not lie on the image.
Outcome outlineByThreshold(VRLStack& stack, StackSlice& slice, Model& model, const Image& image,
                           const BoundingBox<int>& box, int smoothing, int decimation);

/// The last part of it: adds what RegionOutline::follow() has found.
Outcome addOutline(VRLStack& stack, StackSlice& slice, Model& model, const Curve<double>& outline);

/// What is said when there is no outline in the box.
inline const char* const noOutlineInBox = "No starting point found. Retry with another ROI.";

} // namespace vorlen
