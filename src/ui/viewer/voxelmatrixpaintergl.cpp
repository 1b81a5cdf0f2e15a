#include "ui/viewer/voxelmatrixpaintergl.h"

#include "shapes/grid.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace vorlen {

template <class T>
BoundingBox<T> VoxelMatrixPainterGL<T>::boundingBox() const {
    return __box;
}

template <class T>
void VoxelMatrixPainterGL<T>::glDraw() const {
    if (__matrix == nullptr || (__attributes.useVisibility() && !__attributes.getVisibility()))
        return;
    if (!__prepared)
        __prepare();
    __attributes.glApply();
    __symbols.glDraw();
    for (const DotRun& run : __runs) {
        glPointSize(run.size);
        __dots.drawPlain(GL_POINTS, run.first, run.count);
    }
    __attributes.glRelease();
}

template <class T>
void VoxelMatrixPainterGL<T>::setAttributes(const ShapePainterAttributesGL& attributes) {
    __attributes = attributes;
    __prepared = false;
}

template <class T>
void VoxelMatrixPainterGL<T>::setVoxelMatrix(const VoxelMatrix<T>& matrix) {
    __matrix = &matrix;
    __prepared = false;
}

template <class T>
void VoxelMatrixPainterGL<T>::setBoundingBox(const BoundingBox<T>& box) {
    __box = box;
    __prepared = false;
}

template <class T>
void VoxelMatrixPainterGL<T>::__prepare() const {
    __prepared = true;
    __symbols.clear();
    __dots.clear();
    __runs.clear();
    Grid<T> grid;
    grid.setBoundingBox(__box);
    grid.setSize(__matrix->getSize());
    if (!grid.isValid() || __matrix->getSize().min() <= 0)
        return;
    std::vector<Vector<T>> axes;
    grid.centers(axes);
    const T maximum = __matrix->range()[1];
    if (!(maximum > 0))
        return;
    const T largest = T(0.45) * grid.resolutions().min();
    std::vector<float> centers, sizes;
    for (int k = 0; k < __matrix->getSize3(); ++k)
        for (int i = 0; i < __matrix->getSize1(); ++i)
            for (int j = 0; j < __matrix->getSize2(); ++j) {
                const T value = (*__matrix)(i, j, k);
                if (!(value > 0))
                    continue;
                centers.insert(centers.end(), {float(axes[0][i]), float(axes[1][j]), float(axes[2][k])});
                sizes.push_back(float(largest * value / maximum));
            }
    const VertexSymbolGL symbol = __attributes.useVertexSymbol() ? __attributes.getVertexSymbol() : DotSymbolGL;
    if (symbol == UndefinedSymbolGL || symbol == DotSymbolGL)
        __prepareDots(centers, sizes);
    else
        __symbols.prepare(symbol, std::move(centers), std::move(sizes));
}

// OpenGL has one point size for a call: dots of one size are drawn together.
template <class T>
void VoxelMatrixPainterGL<T>::__prepareDots(const std::vector<float>& centers, const std::vector<float>& sizes) const {
    constexpr float step = 0.125f, largest = 1024; // no driver draws larger ones
    std::map<int, std::vector<float>> groups;
    for (std::size_t v = 0; v < sizes.size(); ++v) {
        std::vector<float>& group = groups[std::max(1, int(std::min(sizes[v], largest) / step + 0.5f))];
        group.insert(group.end(), centers.begin() + 3 * std::ptrdiff_t(v), centers.begin() + 3 * std::ptrdiff_t(v + 1));
    }
    for (const auto& [steps, group] : groups) {
        __runs.push_back({step * float(steps), __dots.getSize(), int(group.size() / 3)});
        __dots.positions.insert(__dots.positions.end(), group.begin(), group.end());
    }
}

template class VoxelMatrixPainterGL<float>;
template class VoxelMatrixPainterGL<double>;
template class VoxelMatrixPainterGL<long double>;

} // namespace vorlen
