#pragma once

#include <memory>
#include <vector>

#include "normalization/mapblock.h"
#include "normalization/maplattice.h"
#include "numerics/vector.h"
#include "progress/progresssubject.h"
#include "shapes/masksurface.h"

namespace vorlen {

template <class T>
class BoundingBox;
template <class T>
class Grid;
template <class T>
class Shape;
template <class T>
class TriMesh;
template <class T>
class VoxelMatrix;

/// Tells from point patterns, the vertices of one shape for each specimen, where in space their points concentrate.
///
/// A map is a volume whose index (i, j, k) stands for the coordinates (x, y, z); its size is the caller's. What an
/// element tells is the matter of each estimator, and so is the place that it tells it for: lattice(), which masks,
/// percentiles and integrals here go by, and which files, surfaces and views should. Shapes and mask surfaces are seen,
/// not owned, and must outlive the estimator or be removed; the surfaces that setMaskShapes() makes belong to the
/// estimator.
///
/// A map may be made in blocks of its planes, in any order and by any number of processes, which then has the same bits
/// as the map in one: computeBlock() for each, finish() with what they tell. Instantiated for float, double and long
/// double.
template <class T>
class DensityEstimator : public virtual ProgressSubject {
public:
    DensityEstimator();
    DensityEstimator(const DensityEstimator&) = delete;
    DensityEstimator& operator=(const DensityEstimator&) = delete;
    ~DensityEstimator() override;

    /// Appends the pattern; one that is there already, by address, counts once.
    virtual void addShape(Shape<T>& shape);
    /// Nothing when the shape is not there.
    virtual void removeShape(Shape<T>& shape);

    /// Fills the map for the box: all planes as one block, finished. Throws as computeBlock().
    void compute(VoxelMatrix<T>& matrix, const BoundingBox<T>& box);

    /// Fills the planes of a block of the map of this size over the box, as many as the matrix has, all but for what
    /// finish() does. Throws SizeError, before anything changes, unless box and patterns are of space 3 and the matrix
    /// has the size of the block.
    virtual MapSums computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& box, const Vector<int>& size,
                                 const MapPlanes& block) = 0;

    /// Does to planes of any block what needs the sums of all planes, and takes over what they tell of the patterns.
    virtual void finish(VoxelMatrix<T>& planes, const BoundingBox<T>& box, const Vector<int>& size,
                        const MapSums& sums);

    /// Where the elements of a map of this size over this box lie: the centres of cells, unless an estimator says
    /// otherwise. Throws SizeError unless the box is of space 3.
    virtual MapLattice<T> lattice(const BoundingBox<T>& box, const Vector<int>& size) const;

    /// Bytes of memory that computeBlock() takes beside the planes of the block.
    virtual double blockBytes(const BoundingBox<T>& box, const Vector<int>& size, const MapPlanes& block) const;
    /// Those that compute() takes beside a map of this size.
    double workBytes(const BoundingBox<T>& box, const Vector<int>& size) const;

    /// Sets to 0 every element that a mask excludes: its place on the lattice must lie inside of all surfaces whose
    /// inside counts, and outside of the others. Monitors hear of
    /// it, also when there is no mask. The surfaces are prepared for the search once; an element then takes about
    /// O(log n) for n triangles. Throws UsageError for a mask without a mesh, SizeError unless meshes and box are of
    /// space 3.
    virtual void applyMasks(VoxelMatrix<T>& matrix, const BoundingBox<T>& box);

    /// addShape() for each.
    void setShapes(const std::vector<Shape<T>*>& shapes);
    const std::vector<Shape<T>*>& getShapes() const { return __shapes; }

    /// Appends the mask; one that is there already counts once.
    void addMaskSurface(MaskSurface<T>& surface);
    const std::vector<MaskSurface<T>*>& getMaskSurfaces() const { return __maskSurfaces; }

    /// Adds a mask for each shape, the inside of the tube as it is now. Its ends are closed flat, by triangles to the
    /// centres of the first and the last level: an open end would have the search for the inside look through it.
    /// Throws UsageError, before any is added, unless all are closed quadrangular meshes.
    void setMaskShapes(const std::vector<Shape<T>*>& shapes);

    /// For each of the values, the density below which so many percent of the points of all patterns lie. The density
    /// at a point is that of the lattice over the grid's box, linear between the elements.
    /// Throws SizeError when matrix and grid differ in size, when a pattern is not of space 3 and when there is no
    /// point, UsageError on a grid that is not valid.
    Vector<T> percentiles(const VoxelMatrix<T>& matrix, const Grid<T>& grid, const Vector<float>& values) const;
    T percentile(const VoxelMatrix<T>& matrix, const Grid<T>& grid, float value) const;

    /// Sum of the map's elements times the volumes that they stand for: the mass within the box of a map that is a
    /// density.
    double integral(const VoxelMatrix<T>& matrix, const BoundingBox<T>& box) const;

protected:
    /// Throws SizeError unless box and patterns are of space 3.
    void checkSpace(const BoundingBox<T>& box, const char* where) const;
    /// Throws SizeError unless the planes are those of the block.
    static void checkBlock(const VoxelMatrix<T>& planes, const Vector<int>& size, const MapPlanes& block,
                           const char* where);
    /// applyMasks() for planes of which this is the first on the lattice.
    void maskPlanes(VoxelMatrix<T>& planes, const MapLattice<T>& places, int firstPlane, const char* where);

private:
    std::vector<Shape<T>*> __shapes;
    std::vector<MaskSurface<T>*> __maskSurfaces;
    std::vector<std::unique_ptr<TriMesh<T>>> __ownMeshes;
    std::vector<std::unique_ptr<MaskSurface<T>>> __ownMasks;
};

} // namespace vorlen
