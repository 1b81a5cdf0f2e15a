#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "reconstruction/surfaceends.h"
#include "shapes/curvestack.h"
#include "shapes/quadmesh.h"
#include "shapes/trimesh.h"

namespace vorlen {

class BranchingSurface;
class Model;
class ModelProperties;
enum class OutlineSteps : unsigned char;
template <class T>
class StackReconstruction;

/// What the contours of a model make in space.
enum class SurfaceKind {
    Points,    ///< a model of points: there is nothing to join
    Empty,     ///< no contour has vertices
    Outline,   ///< one contour: a surface without height
    Simple,    ///< one contour on each of several heights
    Branching, ///< several contours on one slice
    Unspaced   ///< contours of different slices at one height
};

/// The road from a model to its surface: brings the contours into world coordinates, drops those without vertices,
/// judges what they make, and joins them to a mesh or tells why there is none.
///
/// The one place for this: the view, exports, measurements, distances and normalizations differ only in the mesh that
/// they ask for. A surface is of type Outline or Simple, or, of closed contours, Branching; it is open for polylines.
/// Its meshes end at the first and the last contour, unless they are closed.
///
/// Closed contours all turn the same way, as in a file, whichever way they were drawn. A branching model is joined part
/// by part (BranchingSurface), when that is first asked for; it has no rows and columns to be resampled to.
///
/// Holds a copy of the contours; model and reconstruction are seen by the constructor alone. Instantiated for float,
/// double and long double.
template <class T>
class ModelSurface {
public:
    /// Rows and columns of a mesh as a model asks for them, which may be any number.
    struct MeshSize {
        long long rows = 0;
        long long columns = 0;

        bool isEmpty() const { return rows == 0 || columns == 0; }
        bool exceeds(long long most) const { return rows > most || columns > most || rows * columns > most; }
    };

    /// Reconstructs and judges the model. Throws UsageError when the reconstruction has no stack.
    ModelSurface(const Model& model, const StackReconstruction<T>& reconstruction);
    ModelSurface(const Model& model, const StackReconstruction<T>& reconstruction, OutlineSteps steps);
    ~ModelSurface();

    SurfaceKind getKind() const { return __kind; }

    /// Whether there is a surface.
    bool exists() const { return isGrid() || (__kind == SurfaceKind::Branching && __isClosed); }

    /// Whether there is one that can be resampled to rows and columns.
    bool isGrid() const { return __kind == SurfaceKind::Outline || __kind == SurfaceKind::Simple; }

    /// Whether it is a path: an open line of one point on each of several slices, which leads through space.
    bool isPath() const;

    /// The path's points in the order of their slices; no points when it is none.
    Curve<T> path() const;

    /// Why there is none, as a clause for a sentence: "it has several lines on one slice". Empty when there is one.
    std::string reason() const;

    /// The vertices in space, slice by slice. A CurveStack for all but points.
    const VertexStack<T>& getShape() const { return *__shape; }

    /// Gives the contours away, in the order of the slices; those on one slice follow each other. Null when there are
    /// none; the surface is not to be used afterwards.
    std::unique_ptr<CurveStack<T>> takeContours();

    /// The size of the mesh that the properties of the model ask for, one row for one contour.
    MeshSize getMeshSize(const ModelProperties& properties) const;

    /// A mesh of the contours resampled to so many rows and columns. Throws UsageError, with the reason, when there is
    /// no surface, or it branches.
    std::unique_ptr<QuadMesh<T>> resample(int rows, int columns) const;

    /// The triangles through the contours' own vertices, by a method of CurveStackTriangulation; none for an Outline.
    /// Throws UsageError, with the reason, when there is no surface.
    TriMesh<T> tile(int method) const;

    /// The triangles of tile() with ends: closed and outward where both ends are, unless the surface is open.
    TriMesh<T> closed(const SurfaceEnds& ends, int method = 2) const;

    /// The surface through the contours of every second slice of this one's alone, from the first or from the second
    /// on: what it would be with sections twice as far apart. Without contours it is Empty.
    ModelSurface everySecond(bool fromSecond) const;

    /// The ends that the properties of the model ask for: lids where it has caps, tips half a section on elsewhere.
    static SurfaceEnds getEnds(const ModelProperties& properties);

    /// A mesh of this surface as triangles, by resample() or tile(), with ends; one that does not branch. The section
    /// that an end reaches towards is the stack's next one beyond its contour, or, where the stack ends, as far as the
    /// one before. Half a section on, the area goes on to change as it did between the last two contours. Open surfaces
    /// stay open. Closed ones face outward.
    TriMesh<T> close(const QuadMesh<T>& mesh, const SurfaceEnds& ends) const;
    TriMesh<T> close(const TriMesh<T>& tiles, const SurfaceEnds& ends) const;
    /// The same of a mesh that is not needed any more: it is dropped before the ends are made.
    TriMesh<T> close(std::unique_ptr<QuadMesh<T>> mesh, const SurfaceEnds& ends) const;

private:
    ModelSurface() = default;
    ModelSurface(ModelSurface&& other) noexcept;

    SurfaceKind judge(std::size_t numSlices) const;
    void measureGaps();
    bool hasCrossings() const;
    std::optional<EndShape<T>> shapeOf(SurfaceEnd end, bool atBegin) const;
    const BranchingSurface& branching() const;
    TriMesh<T> tiledAndClosed(const SurfaceEnds& ends, int method) const;
    void addEnds(TriMesh<T>& walls, int firstSize, int lastSize, const SurfaceEnds& ends) const;
    void addEnds(TriMesh<T>& tiles, const SurfaceEnds& ends) const;
    const CurveStack<T>& contours(const char* where) const;

    std::unique_ptr<VertexStack<T>> __shape;
    SurfaceKind __kind = SurfaceKind::Empty;
    bool __isClosed = false;
    std::vector<T> __heights; // of all slices
    mutable std::unique_ptr<BranchingSurface> __branching;
    T __direction = 1; // of the heights along the contours
    T __beginGap = 0;  // from the first and the last contour to the section beyond
    T __endGap = 0;
};

} // namespace vorlen
