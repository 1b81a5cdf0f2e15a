#include "ui/density/densityslicepaintergl.h"

#include <algorithm>

#include "ui/density/densitycolor.h"

namespace vorlen {

DensitySlicePainterGL::DensitySlicePainterGL(const VoxelMatrix<float>& map, const MapLattice<float>& lattice)
    : __map(map), __lattice(lattice) {
    const Vector<float> range = map.range();
    __least = range[0];
    __greatest = range[1];
}

BoundingBox<float> DensitySlicePainterGL::boundingBox() const {
    Vector<float> low(3), high(3);
    for (int axis = 0; axis < 3; ++axis) {
        low[axis] = __lattice.position(axis, axis == __axis ? __index : 0);
        high[axis] = __lattice.position(axis, axis == __axis ? __index : __lattice.getSize(axis) - 1);
    }
    return {low, high};
}

void DensitySlicePainterGL::setPlane(int axis, int index) {
    __axis = std::clamp(axis, 0, 2);
    __index = std::clamp(index, 0, std::max(getNumPlanes() - 1, 0));
    __prepared = false;
}

void DensitySlicePainterGL::glDraw() const {
    if (!__prepared)
        __prepare();
    glDisable(GL_LIGHTING);
    __array.drawLit(GL_TRIANGLES);
    glDisable(GL_COLOR_MATERIAL);
    glEnable(GL_LIGHTING);
}

void DensitySlicePainterGL::__prepare() const {
    __prepared = true;
    __array.clear();
    const int u = __axis == 0 ? 1 : 0;
    const int v = __axis == 2 ? 1 : 2;
    const int numU = __lattice.getSize(u);
    const int numV = __lattice.getSize(v);
    const double width = __greatest > __least ? double(__greatest) - double(__least) : 1;
    const std::size_t size = std::size_t(numU) * std::size_t(numV);
    __array.positions.reserve(3 * size);
    __array.normals.reserve(3 * size);
    __array.colors.reserve(4 * size);
    int at[3];
    at[__axis] = __index;
    for (at[u] = 0; at[u] < numU; ++at[u])
        for (at[v] = 0; at[v] < numV; ++at[v]) {
            for (int axis = 0; axis < 3; ++axis) {
                __array.positions.push_back(__lattice.position(axis, at[axis]));
                __array.normals.push_back(axis == __axis ? 1.0f : 0.0f);
            }
            const QColor color = densityColor((double(__map(at[0], at[1], at[2])) - double(__least)) / width);
            for (const int part : {color.red(), color.green(), color.blue(), 255})
                __array.colors.push_back(static_cast<unsigned char>(part));
        }
    for (int a = 0; a + 1 < numU; ++a)
        for (int b = 0; b + 1 < numV; ++b) {
            const unsigned int first = unsigned(a) * unsigned(numV) + unsigned(b);
            const unsigned int next = first + unsigned(numV);
            __array.indexes.insert(__array.indexes.end(), {first, next, next + 1, first, next + 1, first + 1});
        }
}

} // namespace vorlen
