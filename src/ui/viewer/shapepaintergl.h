#pragma once

#include "shapes/shape.h"
#include "ui/viewer/paintergl.h"
#include "ui/viewer/shapepainterattributesgl.h"
#include "ui/viewer/symbolarraygl.h"
#include "ui/viewer/vertexarraygl.h"

#include <vector>

namespace vorlen {

/// Draws a shape with attributes. Base of one painter for each kind of shape.
///
/// The shape is seen, not owned, and must outlive the painter's use. What OpenGL needs of it is copied into arrays at
/// the first draw after setShape() or after a change of attributes that matters to them; further draws, as during a
/// drag, name these arrays and compute nothing. A shape that was changed in place is shown as it was until
/// setShape() is called again.
///
/// Surfaces and symbols are lit. Lines and dots appear in the plain colour, so that they look the same from every side.
/// A shape of another kind than the painter's is not drawn.
template <class T>
class ShapePainterGL : public PainterGL<T> {
public:
    ShapePainterGL();
    ~ShapePainterGL() override;

    /// That of the shape; the default box without a shape or when it has no vertices.
    BoundingBox<T> boundingBox() const override;
    bool isOpaque() const override;
    void glDraw() const override;
    /// The vertices.
    void addPoints(std::vector<float>& points) const override;
    bool addTriangles(TrianglesGL& triangles) const override;
    std::uint64_t revision() const override { return __revision; }

    virtual void setShape(const Shape<T>& shape);
    const Shape<T>* getShape() const { return __shape; }
    virtual void setAttributes(const ShapePainterAttributesGL& attributes);
    const ShapePainterAttributesGL& getAttributes() const { return __attributes; }

    /// Hooks for painters that keep something in OpenGL; nothing to do here.
    virtual void glInit();
    virtual void glClear();

    /// The visibility; true if undefined.
    bool isVisible() const;

protected:
    virtual void glDrawShape() const = 0;
    /// addTriangles() of what is prepared, and is visible.
    virtual bool addShapeTriangles(TrianglesGL& triangles) const;
    /// Sets what the attributes define of colour, highlight, point size and line width.
    virtual void glPreDraw() const;
    virtual void glPostDraw() const;

    /// Copies the shape into the arrays. Called before a draw when the shape is new.
    virtual void prepareShape() const;
    /// Builds what depends on shape and attributes. Called before a draw, after prepareShape(), when one of them is
    /// new.
    virtual void prepareAttributes() const;
    /// Whether the vertices themselves are drawn.
    virtual bool showsVertices() const;

    /// Display mode; undefined counts as 0.
    DisplayModeGL displayMode() const;
    /// Lets the shape be prepared anew.
    void invalidate();

    void drawVertices() const;
    void drawLevels() const;

    /// A run of vertices of the array that a line joins.
    struct Level {
        int first;
        int size;
        bool closed;
    };

    mutable VertexArrayGL array;
    mutable std::vector<Level> levels;

private:
    void __prepare() const;
    bool __usesSymbols() const;

    const Shape<T>* __shape = nullptr;
    ShapePainterAttributesGL __attributes;
    mutable SymbolArrayGL __symbols;
    std::uint64_t __revision;
    mutable bool __shapePrepared = false;
    mutable bool __attributesPrepared = false;
};

} // namespace vorlen
