#include "reconstruction/modelsurface.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "document/model.h"
#include "document/modelitem.h"
#include "numerics/exception.h"
#include "reconstruction/curvestacktriangulation.h"
#include "reconstruction/stackreconstruction.h"

namespace vorlen {

namespace {

/// Contours without vertices have no height and would break a surface in two.
template <class T>
void removeEmptyLevels(VertexStack<T>& stack) {
    for (int k = stack.getHeight() - 1; k >= 0; --k)
        if (stack[k].getNumVertices() == 0)
            stack.remove(static_cast<unsigned int>(k));
}

/// A band between contours that turn in opposite ways is twisted. Seen along the stack's axis, the contours of a file
/// turn clockwise in world coordinates.
template <class T>
void alignDirections(VertexStack<T>& stack) {
    auto* curves = dynamic_cast<CurveStack<T>*>(&stack);
    for (int k = 0; curves != nullptr && k < curves->getHeight(); ++k)
        curves->level(k).setClockwise(true, 0, 1);
}

/// Distance from a height to the next section in a direction, or, where there is none, in the other one. 0 when all
/// lie at this height.
template <class T>
T gapFrom(T height, T direction, const Vector<T>& sections) {
    for (const T way : {direction, -direction}) {
        T gap = std::numeric_limits<T>::infinity();
        for (const T section : sections)
            if (way * (section - height) > 0)
                gap = std::min(gap, way * (section - height));
        if (gap < std::numeric_limits<T>::infinity())
            return gap;
    }
    return 0;
}

template <class T>
std::optional<T> riseOf(SurfaceEnd end, T direction, T gap) {
    switch (end) {
    case SurfaceEnd::Open:
        return std::nullopt;
    case SurfaceEnd::Flat:
        return T(0);
    case SurfaceEnd::HalfSection:
        return direction * gap / 2;
    case SurfaceEnd::NextSection:
        break;
    }
    return direction * gap;
}

bool hasTwoContoursOnOneSlice(const Model& model) {
    std::vector<const StackSlice*> slices;
    for (int i = 0; i < model.getNumItems(); ++i)
        if (model.getItem(i).getSize() > 0)
            slices.push_back(model.getItem(i).getSlice());
    std::sort(slices.begin(), slices.end(), std::less<>());
    return std::adjacent_find(slices.begin(), slices.end()) != slices.end();
}

} // namespace

template <class T>
ModelSurface<T>::ModelSurface(const Model& model, const StackReconstruction<T>& reconstruction) {
    std::unique_ptr<Shape<T>> shape = reconstruction.apply(model);
    __shape.reset(&dynamic_cast<VertexStack<T>&>(*shape));
    static_cast<void>(shape.release()); // the same object
    removeEmptyLevels(*__shape);
    alignDirections(*__shape);
    __kind = judge(model);
    if (exists())
        measureGaps(reconstruction.getZMap());
}

template <class T>
void ModelSurface<T>::measureGaps(const Vector<T>& sections) {
    const CurveStack<T>& curves = contours("void ModelSurface<T>::measureGaps(const Vector<T>&)");
    const T first = curves.getFirstCurve()[0][2], last = curves.getLastCurve()[0][2];
    __direction = last < first ? T(-1) : T(1);
    __beginGap = gapFrom(first, -__direction, sections);
    __endGap = gapFrom(last, __direction, sections);
}

template <class T>
SurfaceKind ModelSurface<T>::judge(const Model& model) const {
    const auto* curves = dynamic_cast<const CurveStack<T>*>(__shape.get());
    if (curves == nullptr)
        return SurfaceKind::Points;
    if (curves->getHeight() < 2)
        return curves->getHeight() == 0 ? SurfaceKind::Empty : SurfaceKind::Outline;
    if (curves->isBranching())
        return hasTwoContoursOnOneSlice(model) ? SurfaceKind::Branching : SurfaceKind::Unspaced;
    return SurfaceKind::Simple;
}

template <class T>
std::string ModelSurface<T>::reason() const {
    switch (__kind) {
    case SurfaceKind::Points:
        return "points have no surface";
    case SurfaceKind::Empty:
        return "it has no contours";
    case SurfaceKind::Branching:
        return "it has several contours on one slice";
    case SurfaceKind::Unspaced:
        return "contours on different slices lie at the same height";
    case SurfaceKind::Outline:
    case SurfaceKind::Simple:
        break;
    }
    return "";
}

template <class T>
std::unique_ptr<CurveStack<T>> ModelSurface<T>::takeContours() {
    if (__kind == SurfaceKind::Points || __kind == SurfaceKind::Empty)
        return nullptr;
    return std::unique_ptr<CurveStack<T>>(static_cast<CurveStack<T>*>(__shape.release()));
}

template <class T>
const CurveStack<T>& ModelSurface<T>::contours(const char* where) const {
    if (!exists())
        throw UsageError(where, "The model has no surface: " + reason());
    return static_cast<const CurveStack<T>&>(*__shape);
}

template <class T>
typename ModelSurface<T>::MeshSize ModelSurface<T>::getMeshSize(const ModelProperties& properties) const {
    return {__kind == SurfaceKind::Outline ? 1 : properties.getQuadMeshHeight(), properties.getQuadMeshWidth()};
}

template <class T>
std::unique_ptr<QuadMesh<T>> ModelSurface<T>::resample(int rows, int columns) const {
    const CurveStack<T>& curves = contours("std::unique_ptr<QuadMesh<T>> ModelSurface<T>::resample(int, int) const");
    auto mesh = std::make_unique<QuadMesh<T>>(curves.getSpace(), rows, columns, 0, 0, curves.isOpen());
    curves.resample(*mesh);
    return mesh;
}

template <class T>
TriMesh<T> ModelSurface<T>::tile(int method) const {
    using Tiling = CurveStackTriangulation<T>;
    return Tiling(contours("TriMesh<T> ModelSurface<T>::tile(int) const"), method, Tiling::Placement::Centred)
        .getTriMesh();
}

template <class T>
SurfaceEnds ModelSurface<T>::getEnds(const ModelProperties& properties) {
    const auto end = [](bool cap) { return cap ? SurfaceEnd::Flat : SurfaceEnd::HalfSection; };
    return {end(properties.hasBeginCapFlag() && properties.getBeginCapFlag()),
            end(properties.hasEndCapFlag() && properties.getEndCapFlag())};
}

template <class T>
TriMesh<T> ModelSurface<T>::close(const QuadMesh<T>& mesh, const SurfaceEnds& ends) const {
    return close(mesh.toTriMesh(false), mesh.getWidth(), mesh.getWidth(), ends);
}

/// Tiles of a single contour have no vertices: the contour is then both ends.
template <class T>
TriMesh<T> ModelSurface<T>::close(const TriMesh<T>& tiles, const SurfaceEnds& ends) const {
    const CurveStack<T>& curves = contours("TriMesh<T> ModelSurface<T>::close(...) const");
    const int firstSize = curves.getFirstCurve().getSize(), lastSize = curves.getLastCurve().getSize();
    if (tiles.getNumVertices() > 0)
        return close(tiles, firstSize, lastSize, ends);
    TriMesh<T> outline(3, firstSize, firstSize, firstSize);
    for (int k = 0; k < firstSize; ++k)
        outline[k] = curves.getFirstCurve()[k];
    return close(outline, firstSize, firstSize, ends);
}

template <class T>
TriMesh<T> ModelSurface<T>::close(const TriMesh<T>& walls, int firstSize, int lastSize, const SurfaceEnds& ends) const {
    if (contours("TriMesh<T> ModelSurface<T>::close(...) const").isOpen())
        return walls;
    return closeEnds<T>(walls, firstSize, lastSize, riseOf(ends.begin, -__direction, __beginGap),
                        riseOf(ends.end, __direction, __endGap));
}

template class ModelSurface<float>;
template class ModelSurface<double>;
template class ModelSurface<long double>;

} // namespace vorlen
