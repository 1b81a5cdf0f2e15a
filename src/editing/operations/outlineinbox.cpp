#include "editing/operations/outlineinbox.h"

#include <cmath>

#include "document/model.h"
#include "editing/operations/itemoperations.h"

namespace vorlen {

Outcome outlineInBox(VRLStack& stack, StackSlice& slice, Model& model, const Image& image, const BoundingBox<int>& box,
                     int smoothing, const BoxOutline::Choice& choice) {
    return addFound(stack, slice, model, BoxOutline(image, box, smoothing).find(choice));
}

Outcome addFound(VRLStack& stack, StackSlice& slice, Model& model, const BoxOutline::Found& found) {
    if (!model.getProperties().definesGeometry() || model.getProperties().getGeometry() != PolygonPrimitive)
        return Outcome::refused("Only models of closed outlines can be outlined automatically");
    const ItemVertices vertices = verticesOf(found);
    if (vertices.getNumVertices() < 3)
        return Outcome::refused("There is no outline in this box");
    return createItem(stack, slice, model, vertices);
}

ItemVertices verticesOf(const BoxOutline::Found& found) {
    constexpr double parts = 1000;
    Outline outline;
    outline.reserve(std::size_t(found.outline.getSize()));
    for (int k = 0; k < found.outline.getSize(); ++k)
        outline.push_back(
            {std::round(found.outline[k][0] * parts) / parts, std::round(found.outline[k][1] * parts) / parts});
    return verticesOf(outline, true);
}

} // namespace vorlen
