#include "ui/viewer/trianglesgl.h"

#include <algorithm>
#include <limits>

namespace vorlen {

void TrianglesGL::clear() {
    array.clear();
    materials.clear();
    looks.clear();
}

bool TrianglesGL::add(const VertexArrayGL& surface, const ShapePainterAttributesGL& attributes) {
    const std::size_t first = array.positions.size() / 3, size = surface.positions.size() / 3;
    if (surface.normals.size() != surface.positions.size() ||
        first + size > std::size_t(std::numeric_limits<int>::max()))
        return false;
    ShapePainterAttributesGL look;
    look.clear();
    if (attributes.useShininess())
        look.setShininess(attributes.getShininess());
    std::size_t material = 0;
    while (material < looks.size() && looks[material] != look)
        ++material;
    if (material == looks.size()) {
        if (material == std::numeric_limits<unsigned short>::max())
            return false;
        looks.push_back(look);
    }
    array.positions.insert(array.positions.end(), surface.positions.begin(), surface.positions.end());
    array.normals.insert(array.normals.end(), surface.normals.begin(), surface.normals.end());
    if (surface.colors.size() / 4 == size) {
        array.colors.insert(array.colors.end(), surface.colors.begin(), surface.colors.end());
    } else {
        unsigned char color[4] = {255, 255, 255, attributes.alpha()};
        for (int k = 0; k < 3 && attributes.useColor(); ++k)
            color[k] = static_cast<unsigned char>(std::clamp(attributes.getColor()[k], 0, 255));
        array.colors.reserve(array.colors.size() + 4 * size);
        for (std::size_t i = 0; i < size; ++i)
            array.colors.insert(array.colors.end(), color, color + 4);
    }
    array.indexes.reserve(array.indexes.size() + surface.indexes.size());
    for (const unsigned int index : surface.indexes)
        array.indexes.push_back(static_cast<unsigned int>(first) + index);
    materials.resize(array.indexes.size() / 3, static_cast<unsigned short>(material));
    return true;
}

} // namespace vorlen
