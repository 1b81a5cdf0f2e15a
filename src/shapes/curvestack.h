#pragma once

#include "shapes/curve.h"
#include "shapes/vertexstack.h"

namespace vorlen {

template <class T>
class QuadMesh;

/// Stack of contours, one for a level, all open or all closed.
///
/// The source of a surface: resample() makes a regular mesh of it, interpolate() looks at the mesh on the contours' own
/// heights, resamplingError() compares the two.
template <class T>
class CurveStack : public VertexStack<T> {
public:
    CurveStack() = default;
    CurveStack(int space, int height, int width, int capacity, int growth, bool open);
    /// Levels of its own that share the coordinates of the stack's.
    CurveStack(const VertexStack<T>& stack, bool open);
    CurveStack(const CurveStack& other);
    /// Loads a curve stack file. Throws FileReadError, FileFormatError.
    explicit CurveStack(const std::string& filename);
    ~CurveStack() override;

    using VertexStack<T>::operator=;
    CurveStack& operator=(const CurveStack& other);

    /// Takes over another CurveStack, its closure too; another client raises std::bad_cast.
    void assign(const VertexClient<T>& other) override;

    CurveStack* clone() const override;
    ShapeType getShapeType() const override;
    ShapeType read(std::istream& stream) override;

    using VertexStack<T>::append;
    using VertexStack<T>::prepend;

    /// The level must be a Curve (std::bad_cast) of the stack's closure (TypeError), else as in VertexStack.
    void insert(unsigned int pos, const Vertices<T>& level) override;

    std::unique_ptr<Vertices<T>> newLevel() const override;

    /// The stack's closure and that of all levels.
    void setOpen(bool open);
    bool isOpen() const { return __open; }
    bool isClosed() const { return !__open; }

    using VertexStack<T>::operator[];
    Curve<T>& operator[](int i) { return static_cast<Curve<T>&>(*this->__levels[i]); }
    const Curve<T>& operator[](int i) const { return static_cast<const Curve<T>&>(*this->__levels[i]); }
    Curve<T>& level(int i) { return (*this)[i]; }
    const Curve<T>& level(int i) const { return (*this)[i]; }

    /// The stack must have levels.
    Curve<T>& getFirstCurve() { return level(0); }
    const Curve<T>& getFirstCurve() const { return level(0); }
    Curve<T>& getLastCurve() { return level(this->getHeight() - 1); }
    const Curve<T>& getLastCurve() const { return level(this->getHeight() - 1); }

    /// Two levels in a row lie on the same Z (component 2 of their first vertices). Empty levels, and those of the
    /// plane, lie nowhere: they are passed over.
    bool isBranching() const;

    /// A mesh of height levels of width vertices with this stack's closure, filled by resample(mesh).
    QuadMesh<T> resample(int height, int width) const;

    /// Fills a mesh of the dimensions that are wanted and of this stack's space, in place.
    ///
    /// Each level is resampled to the mesh's width, each but the first rotated into register with the one below, and
    /// each column of equal vertices resampled to the mesh's height. Linear in the vertices of stack and mesh, but for
    /// the rotation's n log n.
    /// Throws SizeError on a stack without levels, on an empty level, and when the space differs; UsageError for closed
    /// stacks of int.
    void resample(QuadMesh<T>& mesh) const;

    /// The mesh at the heights (component 2 of the first vertex) of this stack's levels: a mesh of space 3 with one
    /// level for each of them. A level below or above the mesh takes the mesh's nearest points there.
    /// Throws SizeError when the mesh is empty, the space is not 3 or a level is empty; UsageError for int.
    QuadMesh<T> interpolate(const QuadMesh<T>& mesh) const;

    /// For each level the largest distance of its vertices to their nearest vertex of the interpolated mesh.
    Vector<T> resamplingError(const QuadMesh<T>& mesh) const;

    /// Searches for the smallest grid whose resamplingError() stays within maxError, with the vertical step near the
    /// horizontal one, and returns the error reached. The height is at least 2.
    ///
    /// A stack of contours of at most 3 vertices whose first trial succeeds gives 0 and leaves width as it was.
    /// Throws MathError when no grid of up to 2^22 vertices comes within maxError; SizeError on an empty stack or one
    /// of another space than 3.
    T optimalResampling(T maxError, unsigned int& height, unsigned int& width) const;

    /// As of VertexStack, with this stack's closure.
    CurveStack closestPointMap(const CurveStack& other) const;

private:
    bool __open = false;
};

} // namespace vorlen
