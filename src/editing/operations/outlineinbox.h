#pragma once

#include "editing/operations/outcome.h"
#include "editing/operations/outlineshape.h"
#include "images/regions/boxoutline.h"

namespace vorlen {

class Image;
class Model;
class StackSlice;
class VRLStack;

/// Adds the outline that BoxOutline finds in the box as a contour of the model, in one step of the stack's history. The
/// image is the slice's, the box in its columns and rows, both ends included. Refused where nothing is found, for fewer
/// than three vertices, and for a model of no closed outlines. Throws RangeError as BoxOutline does.
Outcome outlineInBox(VRLStack& stack, StackSlice& slice, Model& model, const Image& image, const BoundingBox<int>& box,
                     int smoothing, const BoxOutline::Choice& choice);

/// The last part of it: adds what has been found.
Outcome addFound(VRLStack& stack, StackSlice& slice, Model& model, const BoxOutline::Found& found);

/// What is found as the vertices of an item, to thousandths of a pixel.
ItemVertices verticesOf(const BoxOutline::Found& found);

} // namespace vorlen
