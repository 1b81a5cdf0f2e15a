#include "reconstruction/spaceplace.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include "document/stack.h"
#include "numerics/vector.h"
#include "reconstruction/stackreconstruction.h"

namespace vorlen {

std::optional<SpacePlace> spacePlaceOf(const Stack& stack, const StackSlice& slice, PlanePoint pixel) {
    const int i = stack.findSlice(slice);
    if (i < 0)
        return std::nullopt;
    const StackReconstruction<double> space(stack);
    const Vector<double> point = space.toWorld(i, pixel.x, pixel.y);
    const SpacePlace place{point[0], point[1], space.getZMap()[i], i};
    if (!std::isfinite(place.x) || !std::isfinite(place.y) || !std::isfinite(place.z))
        return std::nullopt;
    return place;
}

std::optional<PlanePoint> pixelUnder(const Stack& stack, const StackSlice& slice, const SpacePlace& place) {
    const int i = stack.findSlice(slice);
    if (i < 0)
        return std::nullopt;
    const Vector<double> pixel = StackReconstruction<double>(stack).toPixels(i, place.x, place.y);
    if (!std::isfinite(pixel[0]) || !std::isfinite(pixel[1]))
        return std::nullopt;
    return PlanePoint{pixel[0], pixel[1]};
}

int nearestSlice(const Stack& stack, const SpacePlace& place) {
    const std::vector<double> positions = stack.getAbsolutePositions();
    int nearest = -1;
    double least = 0;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const double distance = std::abs(double(positions[i]) - place.z);
        if (nearest < 0 || distance < least || (distance == least && int(i) == place.slice)) {
            nearest = int(i);
            least = distance;
        }
    }
    return nearest;
}

} // namespace vorlen
