#pragma once

#include "images/volumes/voxelmatrix.h"
#include "ui/viewer/paintergl.h"
#include "ui/viewer/shapepainterattributesgl.h"
#include "ui/viewer/symbolarraygl.h"
#include "ui/viewer/vertexarraygl.h"

#include <vector>

namespace vorlen {

/// Shows a volume as a field of symbols whose size follows the value: that of the largest value is 0.45 of the smallest
/// step of the grid that the volume's voxels make in the bounding box.
///
/// The volume is seen, not owned. As with the shapes, the symbols are prepared at the first draw after
/// setVoxelMatrix(), setBoundingBox() or setAttributes(). Voxels whose value is not above 0 are not drawn, and nothing
/// of a volume whose maximum is not above 0. Dots, too, are sized by value, to the eighth of a pixel.
template <class T>
class VoxelMatrixPainterGL : public PainterGL<T> {
public:
    BoundingBox<T> boundingBox() const override;
    void glDraw() const override;

    void setAttributes(const ShapePainterAttributesGL& attributes);
    const ShapePainterAttributesGL& getAttributes() const { return __attributes; }

    void setVoxelMatrix(const VoxelMatrix<T>& matrix);
    const VoxelMatrix<T>* getVoxelMatrix() const { return __matrix; }

    /// Where the volume lies: axis 0 along its rows' numbers, axis 1 along its columns', axis 2 along its planes'.
    void setBoundingBox(const BoundingBox<T>& box);

private:
    void __prepare() const;
    void __prepareDots(const std::vector<float>& centers, const std::vector<float>& sizes) const;

    ShapePainterAttributesGL __attributes;
    const VoxelMatrix<T>* __matrix = nullptr;
    BoundingBox<T> __box;

    /// Dots of one size: a run of the dots' array.
    struct DotRun {
        float size;
        int first;
        int count;
    };

    mutable bool __prepared = false;
    mutable SymbolArrayGL __symbols;
    mutable VertexArrayGL __dots;
    mutable std::vector<DotRun> __runs;
};

} // namespace vorlen
