#include "reconstruction/modelsurface.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "numerics/exception.h"
#include "reconstruction/branchingsurface.h"
#include "reconstruction/curvestacktriangulation.h"
#include "reconstruction/sectionparts.h"
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

/// How many slices hold contours of the model.
std::size_t numSlicesOf(const Model& model) {
    std::vector<const StackSlice*> slices;
    for (int i = 0; i < model.getNumItems(); ++i)
        if (model.getItem(i).getSize() > 0)
            slices.push_back(model.getItem(i).getSlice());
    std::sort(slices.begin(), slices.end(), std::less<>());
    return std::size_t(std::unique(slices.begin(), slices.end()) - slices.begin());
}

template <class T>
std::size_t numHeightsOf(const CurveStack<T>& curves) {
    std::vector<T> heights;
    heights.reserve(std::size_t(curves.getHeight()));
    for (int k = 0; k < curves.getHeight(); ++k)
        heights.push_back(curves[k][0][2]);
    std::sort(heights.begin(), heights.end());
    return std::size_t(std::unique(heights.begin(), heights.end()) - heights.begin());
}

/// Of the only slice of a stack, to where the next one would be; 0 where nothing tells.
template <class T>
T spacingOf(const StackSlice& slice) {
    double spacing = std::fabs(slice.getRelativePosition());
    if (!(spacing > 0) && slice.getStack() != nullptr)
        spacing = std::fabs(slice.getStack()->getDefaultSliceSpacing());
    return std::isfinite(spacing) ? T(spacing) : T(0);
}

/// A mesh of another type of coordinates.
template <class T>
TriMesh<T> converted(const TriMesh<double>& mesh) {
    const int size = mesh.getNumVertices();
    TriMesh<T> result(3, size, size, 1);
    for (int v = 0; v < size; ++v)
        for (int axis = 0; axis < 3; ++axis)
            result[v][axis] = T(mesh[v][axis]);
    result.reserveTriangles(mesh.getNumTriangles());
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        const Vector<unsigned int>& t = mesh.getTriangleIndexes(i);
        result.addTriangle(t[0], t[1], t[2]);
    }
    result.computeNormals();
    return result;
}

/// A curve's points, relative to the first vertex of another one.
template <class T>
std::vector<PlanePoint> pointsOf(const Curve<T>& curve, const Curve<T>& origin) {
    std::vector<PlanePoint> points;
    points.reserve(std::size_t(curve.getNumVertices()));
    for (int k = 0; k < curve.getNumVertices(); ++k)
        points.push_back({double(curve[k][0]) - double(origin[0][0]), double(curve[k][1]) - double(origin[0][1])});
    return points;
}

} // namespace

template <class T>
ModelSurface<T>::ModelSurface(const Model& model, const StackReconstruction<T>& reconstruction)
    : ModelSurface(model, reconstruction, OutlineSteps::Kept) {
}

template <class T>
ModelSurface<T>::ModelSurface(const Model& model, const StackReconstruction<T>& reconstruction, OutlineSteps steps) {
    std::unique_ptr<Shape<T>> shape = reconstruction.apply(model, steps);
    __shape.reset(&dynamic_cast<VertexStack<T>&>(*shape));
    static_cast<void>(shape.release()); // the same object
    removeEmptyLevels(*__shape);
    alignDirections(*__shape);
    __isClosed = model.getProperties().getGeometry() == PolygonPrimitive;
    __kind = judge(numSlicesOf(model));
    const Vector<T>& sections = reconstruction.getZMap();
    __heights.assign(sections.begin(), sections.end());
    // The only slice of a stack reaches as far as the next one would.
    if (__heights.size() == 1)
        if (const T spacing = spacingOf<T>(reconstruction.getSlice(0)); spacing > 0)
            __heights.push_back(__heights.front() + spacing);
    if (isGrid())
        measureGaps();
}

template <class T>
ModelSurface<T>::ModelSurface(ModelSurface&& other) noexcept = default;

template <class T>
ModelSurface<T>::~ModelSurface() = default;

template <class T>
ModelSurface<T> ModelSurface<T>::everySecond(bool fromSecond) const {
    const auto& curves = dynamic_cast<const CurveStack<T>&>(*__shape);
    ModelSurface half;
    half.__isClosed = __isClosed;
    auto shape = std::make_unique<CurveStack<T>>(3, 0, 0, 0, 0, curves.isOpen());
    bool taken = fromSecond;
    for (int k = 0; k < curves.getHeight(); ++k) {
        const T height = curves[k][0][2];
        if (k == 0 || height != curves[k - 1][0][2])
            taken = !taken;
        if (!taken)
            continue;
        shape->append(static_cast<const Vertices<T>&>(curves[k]));
        if (half.__heights.empty() || half.__heights.back() != height)
            half.__heights.push_back(height);
    }
    half.__shape = std::move(shape);
    half.__kind = half.judge(half.__heights.size());
    if (half.isGrid())
        half.measureGaps();
    return half;
}

template <class T>
void ModelSurface<T>::measureGaps() {
    const CurveStack<T>& curves = contours("void ModelSurface<T>::measureGaps()");
    const T first = curves.getFirstCurve()[0][2], last = curves.getLastCurve()[0][2];
    __direction = last < first ? T(-1) : T(1);
    __beginGap = gapFrom(first, -__direction, __heights);
    __endGap = gapFrom(last, __direction, __heights);
}

template <class T>
SurfaceKind ModelSurface<T>::judge(std::size_t numSlices) const {
    const auto* curves = dynamic_cast<const CurveStack<T>*>(__shape.get());
    if (curves == nullptr)
        return SurfaceKind::Points;
    if (curves->getHeight() < 2)
        return curves->getHeight() == 0 ? SurfaceKind::Empty : SurfaceKind::Outline;
    if (numHeightsOf(*curves) < numSlices)
        return SurfaceKind::Unspaced;
    return curves->isBranching() ? SurfaceKind::Branching : SurfaceKind::Simple;
}

template <class T>
bool ModelSurface<T>::isPath() const {
    if (__isClosed || __kind != SurfaceKind::Simple)
        return false;
    const auto& curves = static_cast<const CurveStack<T>&>(*__shape);
    for (int k = 0; k < curves.getHeight(); ++k)
        if (curves[k].getNumVertices() != 1)
            return false;
    return true;
}

template <class T>
Curve<T> ModelSurface<T>::path() const {
    const int size = isPath() ? __shape->getHeight() : 0;
    Curve<T> path(3, size, size, 1, true);
    for (int k = 0; k < size; ++k)
        for (int axis = 0; axis < 3; ++axis)
            path[k][axis] = (*__shape)[k][0][axis];
    return path;
}

template <class T>
std::string ModelSurface<T>::reason() const {
    switch (__kind) {
    case SurfaceKind::Points:
        return "points have no surface";
    case SurfaceKind::Empty:
        return "it has no contours";
    case SurfaceKind::Branching:
        return __isClosed ? "" : "it has several lines on one slice";
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
    if (!isGrid())
        throw UsageError(where, exists() ? std::string("The surface branches: it has no rows and columns")
                                         : "The model has no surface: " + reason());
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
    if (exists() && !isGrid())
        return converted<T>(branching().build({SurfaceEnd::Open, SurfaceEnd::Open}, method));
    using Tiling = CurveStackTriangulation<T>;
    return Tiling(contours("TriMesh<T> ModelSurface<T>::tile(int) const"), method, Tiling::Placement::Centred)
        .getTriMesh();
}

template <class T>
TriMesh<T> ModelSurface<T>::closed(const SurfaceEnds& ends, int method) const {
    if (exists() && !isGrid())
        return converted<T>(branching().build(ends, method));
    return tiledAndClosed(ends, method);
}

/// The mesh is the only thing that is returned, and so made in its place.
template <class T>
TriMesh<T> ModelSurface<T>::tiledAndClosed(const SurfaceEnds& ends, int method) const {
    TriMesh<T> mesh = tile(method);
    addEnds(mesh, ends);
    return mesh;
}

/// The parts of the sections, from the lowest to the highest.
template <class T>
const BranchingSurface& ModelSurface<T>::branching() const {
    if (__branching)
        return *__branching;
    const auto& curves = static_cast<const CurveStack<T>&>(*__shape);
    std::vector<int> order(static_cast<std::size_t>(curves.getHeight()));
    std::iota(order.begin(), order.end(), 0);
    const auto heightOf = [&](int k) { return curves[k][0][2]; };
    std::stable_sort(order.begin(), order.end(), [&](int i, int j) { return heightOf(i) < heightOf(j); });
    std::vector<SectionParts> sections;
    for (std::size_t first = 0, last = 0; first < order.size(); first = last) {
        SectionParts section(double(heightOf(order[first])));
        for (last = first; last < order.size() && heightOf(order[last]) == heightOf(order[first]); ++last)
            section.add(static_cast<const Vertices<T>&>(curves[order[last]]));
        section.build();
        if (!section.getParts().empty())
            sections.push_back(std::move(section));
    }
    const bool descending = heightOf(curves.getHeight() - 1) < heightOf(0);
    __branching = std::make_unique<BranchingSurface>(
        std::move(sections), std::vector<double>(__heights.begin(), __heights.end()), descending);
    return *__branching;
}

template <class T>
SurfaceEnds ModelSurface<T>::getEnds(const ModelProperties& properties) {
    const auto end = [](bool cap) { return cap ? SurfaceEnd::Flat : SurfaceEnd::HalfSection; };
    return {end(properties.hasBeginCapFlag() && properties.getBeginCapFlag()),
            end(properties.hasEndCapFlag() && properties.getEndCapFlag())};
}

template <class T>
TriMesh<T> ModelSurface<T>::close(const QuadMesh<T>& mesh, const SurfaceEnds& ends) const {
    TriMesh<T> walls = mesh.toTriMesh(false);
    addEnds(walls, mesh.getWidth(), mesh.getWidth(), ends);
    return walls;
}

template <class T>
TriMesh<T> ModelSurface<T>::close(std::unique_ptr<QuadMesh<T>> mesh, const SurfaceEnds& ends) const {
    const int width = mesh->getWidth();
    TriMesh<T> walls = mesh->toTriMesh(false);
    mesh.reset();
    addEnds(walls, width, width, ends);
    return walls;
}

template <class T>
TriMesh<T> ModelSurface<T>::close(const TriMesh<T>& tiles, const SurfaceEnds& ends) const {
    TriMesh<T> mesh = tiles;
    mesh.detach();
    addEnds(mesh, ends);
    return mesh;
}

/// Tiles of a single contour have no vertices: the contour is then both ends.
template <class T>
void ModelSurface<T>::addEnds(TriMesh<T>& tiles, const SurfaceEnds& ends) const {
    const CurveStack<T>& curves = contours("TriMesh<T> ModelSurface<T>::close(...) const");
    const int firstSize = curves.getFirstCurve().getSize(), lastSize = curves.getLastCurve().getSize();
    if (tiles.getNumVertices() > 0)
        return addEnds(tiles, firstSize, lastSize, ends);
    TriMesh<T> outline(3, firstSize, firstSize, firstSize);
    for (int k = 0; k < firstSize; ++k)
        outline[k] = curves.getFirstCurve()[k];
    addEnds(outline, firstSize, firstSize, ends);
    tiles = outline;
}

template <class T>
void ModelSurface<T>::addEnds(TriMesh<T>& walls, int firstSize, int lastSize, const SurfaceEnds& ends) const {
    if (contours("TriMesh<T> ModelSurface<T>::close(...) const").isOpen())
        return;
    if (hasCrossings())
        walls = converted<T>(branching().build(ends, 2));
    else
        closeEnds<T>(walls, firstSize, lastSize, shapeOf(ends.begin, true), shapeOf(ends.end, false));
}

template <class T>
bool ModelSurface<T>::hasCrossings() const {
    if (!__isClosed)
        return false;
    const CurveStack<T>& curves = contours("bool ModelSurface<T>::hasCrossings() const");
    for (int k = 0; k < curves.getHeight(); ++k)
        if (SectionRing(pointsOf(curves[k], curves[k])).crossesItself())
            return true;
    return false;
}

template <class T>
std::optional<EndShape<T>> ModelSurface<T>::shapeOf(SurfaceEnd end, bool atBegin) const {
    const CurveStack<T>& curves = contours("void ModelSurface<T>::shapeOf(SurfaceEnd, bool) const");
    const T gap = atBegin ? __beginGap : __endGap, direction = atBegin ? -__direction : __direction;
    const int last = curves.getHeight() - 1;
    const Curve<T>& here = atBegin ? curves[0] : curves[last];
    const Curve<T>& before = last == 0 ? here : atBegin ? curves[1] : curves[last - 1];
    return shapeOfEnd(end, gap, direction, pointsOf(here, here),
                      last == 0 ? std::vector<PlanePoint>() : pointsOf(before, here),
                      double(std::abs(here[0][2] - before[0][2])));
}

template class ModelSurface<float>;
template class ModelSurface<double>;
template class ModelSurface<long double>;

} // namespace vorlen
