#include "editing/operations/outlinebythreshold.h"

#include "editing/operations/itemoperations.h"
#include "editing/operations/regionoutline.h"

namespace vorlen {

Outcome outlineByThreshold(VRLStack& stack, StackSlice& slice, Model& model, const Image& image,
                           const BoundingBox<int>& box, int smoothing, int decimation) {
    const RegionOutline outline(image, box, smoothing);
    return outline.isFound() ? addOutline(stack, slice, model, outline.follow(decimation))
                             : Outcome::refused(noOutlineInBox);
}

Outcome addOutline(VRLStack& stack, StackSlice& slice, Model& model, const Curve<double>& outline) {
    if (outline.getSize() < 3)
        return Outcome::refused("The detected contour does not contain enough points\n"
                                "Hint: try using a smaller decimation level");
    return createItem(stack, slice, model, outline);
}

} // namespace vorlen
