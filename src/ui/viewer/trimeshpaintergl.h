#pragma once

#include "shapes/trimesh.h"
#include "ui/viewer/verticespaintergl.h"

#include <memory>

namespace vorlen {

/// Draws a triangle mesh as a lit surface (mode 5, which a new painter has), as the sides of its triangles (mode 4), or
/// its vertices (other modes).
///
/// Where the smoothing is defined, the normals of the mesh itself are smoothed by as many passes: when the mesh is set,
/// and when the smoothing changes; the stars that this needs are built if they are missing. An undefined smoothing
/// leaves the normals as they are, but when it was defined before, the unsmoothed normals come back. A mesh without
/// normals is drawn with those that TriMesh::computeNormals() would give, and stays without.
template <class T>
class TriMeshPainterGL : public VerticesPainterGL<T> {
public:
    TriMeshPainterGL();

    /// Transparency undefined or 255.
    bool isOpaque() const override;
    using VerticesPainterGL<T>::setShape;
    /// Throws TypeError for a shape that is no TriMesh; the painter keeps its shape. A triangle that names a vertex
    /// that is not there lets computeNormals() and smoothNormals() throw, where they are needed.
    void setShape(const Shape<T>& shape) override;
    void setAttributes(const ShapePainterAttributesGL& attributes) override;

protected:
    void glDrawShape() const override;
    bool addShapeTriangles(TrianglesGL& triangles) const override;
    void prepareShape() const override;
    void prepareAttributes() const override;
    bool showsVertices() const override;

private:
    const TriMesh<T>* __mesh() const { return static_cast<const TriMesh<T>*>(this->getShape()); }
    void __smoothNormals(int passes);

    std::unique_ptr<TriMesh<T>> __copyWithNormals; ///< of a mesh without normals
};

} // namespace vorlen
