#include "reconstruction/modelsurface.h"

#include <algorithm>
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
    __kind = judge(model);
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
    return CurveStackTriangulation<T>(contours("TriMesh<T> ModelSurface<T>::tile(int) const"), method).getTriMesh();
}

template class ModelSurface<float>;
template class ModelSurface<double>;
template class ModelSurface<long double>;

} // namespace vorlen
