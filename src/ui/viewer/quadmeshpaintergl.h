#pragma once

#include "shapes/quadmesh.h"
#include "ui/viewer/curvestackpaintergl.h"

#include <memory>

namespace vorlen {

/// Draws a quadrangular mesh as a lit surface (mode 5), as a wire frame of levels and columns (mode 4), or as
/// CurveStackPainterGL does (other modes); and its caps, where the cap flags are defined and true.
///
/// The surface has a normal for each vertex: the sum of the unit normals of the two triangles of each of the up to four
/// cells around it, normalized. Normals are worked out by setShape(), those of the caps before their first draw.
/// Vertex colours of the mesh take the place of the colour attribute on the surface.
template <class T>
class QuadMeshPainterGL : public CurveStackPainterGL<T> {
public:
    QuadMeshPainterGL();
    ~QuadMeshPainterGL() override;

    /// Transparency undefined or 255.
    bool isOpaque() const override;
    using CurveStackPainterGL<T>::setShape;
    /// Throws TypeError for a shape that is no QuadMesh; the painter keeps its shape.
    void setShape(const Shape<T>& shape) override;

    /// Of the mesh's height and width, in space 3. They point out of a mesh whose levels, seen against the direction of
    /// the stack, run clockwise. Null where a vertex touches triangles of area 0 only.
    const QuadMesh<T>& getNormals() const { return __normals; }

protected:
    void glDrawShape() const override;
    bool addShapeTriangles(TrianglesGL& triangles) const override;
    void prepareShape() const override;
    void prepareAttributes() const override;

private:
    const QuadMesh<T>* __mesh() const { return static_cast<const QuadMesh<T>*>(this->getShape()); }
    void __prepareSurface() const;
    void __prepareWires() const;
    std::unique_ptr<QuadMeshPainterGL> __capPainter(const QuadMesh<T>& cap) const;

    QuadMesh<T> __normals;
    mutable std::unique_ptr<QuadMeshPainterGL> __beginCap;
    mutable std::unique_ptr<QuadMeshPainterGL> __endCap;
};

} // namespace vorlen
