#include "normalization/densityestimator.h"

#include <algorithm>

#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "shapes/grid.h"
#include "shapes/quadmesh.h"
#include "shapes/trimesh.h"
#include "shapes/trimeshinterior.h"

namespace vorlen {

namespace {

/// Closes one end of the tube by triangles from its level to the level's centre. A level that is a single place needs
/// none.
template <class T>
void closeEnd(TriMesh<T>& surface, const Vertices<T>& level, int firstVertex) {
    const int width = level.getSize();
    bool isPlace = true;
    for (int c = 1; c < width; ++c)
        isPlace = isPlace && level[c] == level[0];
    if (width < 3 || isPlace)
        return;
    const int center = surface.getSize();
    surface.append(level.cog());
    for (int c = 0; c < width; ++c) {
        surface.addTriangle(static_cast<unsigned int>(firstVertex + c),
                            static_cast<unsigned int>(firstVertex + (c + 1) % width),
                            static_cast<unsigned int>(center));
    }
}

/// Triangle mesh of a closed quadrangular mesh with its two ends, so that it has an inside.
template <class T>
TriMesh<T> closedSurface(const QuadMesh<T>& mesh) {
    TriMesh<T> surface = mesh.toTriMesh(true);
    const int height = mesh.getHeight();
    if (height > 1) {
        closeEnd<T>(surface, mesh[0], 0);
        closeEnd<T>(surface, mesh[height - 1], (height - 1) * mesh.getWidth());
    }
    return surface;
}

} // namespace

template <class T>
DensityEstimator<T>::DensityEstimator() = default;

template <class T>
DensityEstimator<T>::~DensityEstimator() = default;

template <class T>
void DensityEstimator<T>::addShape(Shape<T>& shape) {
    if (std::find(__shapes.begin(), __shapes.end(), &shape) == __shapes.end())
        __shapes.push_back(&shape);
}

template <class T>
void DensityEstimator<T>::removeShape(Shape<T>& shape) {
    __shapes.erase(std::remove(__shapes.begin(), __shapes.end(), &shape), __shapes.end());
}

template <class T>
void DensityEstimator<T>::setShapes(const std::vector<Shape<T>*>& shapes) {
    for (Shape<T>* shape : shapes)
        addShape(*shape);
}

template <class T>
void DensityEstimator<T>::addMaskSurface(MaskSurface<T>& surface) {
    if (std::find(__maskSurfaces.begin(), __maskSurfaces.end(), &surface) == __maskSurfaces.end())
        __maskSurfaces.push_back(&surface);
}

template <class T>
void DensityEstimator<T>::setMaskShapes(const std::vector<Shape<T>*>& shapes) {
    std::vector<const QuadMesh<T>*> meshes;
    for (const Shape<T>* shape : shapes) {
        const QuadMesh<T>* mesh = dynamic_cast<const QuadMesh<T>*>(shape);
        if (!mesh || mesh->getShapeType() != ClosedQuadMeshType) {
            throw UsageError("void DensityEstimator<T>::setMaskShapes(const std::vector<Shape<T>*>&)",
                             "Masks must be closed quadrangular surfaces");
        }
        meshes.push_back(mesh);
    }
    for (const QuadMesh<T>* mesh : meshes) {
        auto surface = std::make_unique<TriMesh<T>>(closedSurface(*mesh));
        auto mask = std::make_unique<MaskSurface<T>>();
        mask->setTriMesh(*surface);
        addMaskSurface(*mask);
        __ownMeshes.push_back(std::move(surface));
        __ownMasks.push_back(std::move(mask));
    }
}

template <class T>
void DensityEstimator<T>::checkSpace(const BoundingBox<T>& box, const char* where) const {
    if (!box.isValid() || box.getVertex1().getSize() != 3)
        throw SizeError(where, "The bounding box is not one of space 3");
    for (const Shape<T>* shape : __shapes)
        if (shape->getNumVertices() > 0 && shape->getSpace() != 3)
            throw SizeError(where, "A point pattern is not one of space 3");
}

template <class T>
MapLattice<T> DensityEstimator<T>::lattice(const BoundingBox<T>& box, const Vector<int>& size) const {
    return MapLattice<T>(MapLayout::Cells, box, size);
}

template <class T>
void DensityEstimator<T>::checkBlock(const VoxelMatrix<T>& planes, const Vector<int>& size, const MapPlanes& block,
                                     const char* where) {
    if (planes.getSize1() != size[0] || planes.getSize2() != size[1] || planes.getSize3() != block.count() ||
        block.first < 0 || block.last > size[2])
        throw SizeError(where, "The planes are not those of the block");
}

template <class T>
void DensityEstimator<T>::compute(VoxelMatrix<T>& matrix, const BoundingBox<T>& box) {
    const Vector<int> size = matrix.getSize();
    const MapSums sums = computeBlock(matrix, box, size, {0, matrix.getSize3()});
    finish(matrix, box, size, sums);
}

template <class T>
void DensityEstimator<T>::finish(VoxelMatrix<T>& /*planes*/, const BoundingBox<T>& /*box*/, const Vector<int>& /*size*/,
                                 const MapSums& /*sums*/) {
}

template <class T>
double DensityEstimator<T>::blockBytes(const BoundingBox<T>& /*box*/, const Vector<int>& /*size*/,
                                       const MapPlanes& /*block*/) const {
    return 0;
}

template <class T>
double DensityEstimator<T>::workBytes(const BoundingBox<T>& box, const Vector<int>& size) const {
    return blockBytes(box, size, {0, size[2]});
}

template <class T>
double DensityEstimator<T>::integral(const VoxelMatrix<T>& matrix, const BoundingBox<T>& box) const {
    return lattice(box, matrix.getSize()).integral(matrix);
}

template <class T>
void DensityEstimator<T>::applyMasks(VoxelMatrix<T>& matrix, const BoundingBox<T>& box) {
    const char* const where = "void DensityEstimator<T>::applyMasks(VoxelMatrix<T>&, const BoundingBox<T>&)";
    checkSpace(box, where);
    maskPlanes(matrix, lattice(box, matrix.getSize()), 0, where);
}

template <class T>
void DensityEstimator<T>::maskPlanes(VoxelMatrix<T>& matrix, const MapLattice<T>& places, int firstPlane,
                                     const char* where) {
    struct Mask {
        TriMeshInterior<T> interior;
        bool inside;
    };
    std::vector<Mask> masks;
    for (const MaskSurface<T>* surface : __maskSurfaces) {
        if (!surface->getTriMesh())
            throw UsageError(where, "A mask surface has no mesh");
        masks.push_back({TriMeshInterior<T>(*surface->getTriMesh()), surface->isInsideMask()});
    }

    notifyStarted("Applying masks onto density map");
    const int n1 = matrix.getSize1(), n2 = matrix.getSize2(), n3 = matrix.getSize3();
    Vector<T> p(3);
    for (int i = 0; i < n1; ++i) {
        p[0] = places.position(0, i);
        for (int k = 0; k < n3 && !masks.empty(); ++k) {
            p[2] = places.position(2, firstPlane + k);
            T* const row = matrix[k][i].data();
            for (int j = 0; j < n2; ++j) {
                if (row[j] == T(0))
                    continue; // nothing to search for
                p[1] = places.position(1, j);
                for (const Mask& mask : masks) {
                    if (mask.interior.contains(p) != mask.inside) {
                        row[j] = T(0);
                        break;
                    }
                }
            }
        }
        notifyProgressed(static_cast<unsigned int>(i), static_cast<unsigned int>(n1));
    }
    notifyFinished("");
}

template <class T>
Vector<T> DensityEstimator<T>::percentiles(const VoxelMatrix<T>& matrix, const Grid<T>& grid,
                                           const Vector<float>& values) const {
    const char* const where = "Vector<T> DensityEstimator<T>::percentiles(const VoxelMatrix<T>&, const Grid<T>&, "
                              "const Vector<float>&) const";
    if (!grid.isValid())
        throw UsageError(where, "The grid has no valid bounding box and size");
    checkSpace(grid.getBoundingBox(), where);
    if (matrix.getSize() != grid.getSize())
        throw SizeError(where, "The sizes of map and grid differ");
    const MapLattice<T> places = lattice(grid.getBoundingBox(), grid.getSize());

    int numPoints = 0;
    for (const Shape<T>* shape : __shapes)
        numPoints += shape->getNumVertices();
    if (numPoints == 0 || matrix.getSize().min() == 0)
        throw SizeError(where, "There is no density at any point");
    Vector<T> densities(static_cast<unsigned int>(numPoints));
    int n = 0;
    for (const Shape<T>* shape : __shapes)
        for (ConstVertexIterator<T> it(*shape); it.current(); ++it)
            densities[n++] = places.valueAt(matrix, *it.current());
    densities.sort();
    Vector<T> result(static_cast<unsigned int>(values.getSize()));
    for (int i = 0; i < values.getSize(); ++i)
        result[i] = densities.percentile(values[i]);
    return result;
}

template <class T>
T DensityEstimator<T>::percentile(const VoxelMatrix<T>& matrix, const Grid<T>& grid, float value) const {
    Vector<float> values(1);
    values[0] = value;
    return percentiles(matrix, grid, values)[0];
}

template class DensityEstimator<float>;
template class DensityEstimator<double>;
template class DensityEstimator<long double>;

} // namespace vorlen
