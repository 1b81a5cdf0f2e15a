#include "normalization/fusion.h"

#include "normalization/thinplatesplinewarp3d.h"
#include "shapes/quadmesh.h"
#include "shapes/shapeset.h"

namespace vorlen {

namespace {

/// The levels of all surfaces of the set, without their caps.
template <class T>
VertexStack<T> surfaceVertices(const ShapeSet<T>& set) {
    VertexStack<T> stack;
    for (int i = 0; i < set.getSize(); ++i)
        if (const auto* mesh = dynamic_cast<const QuadMesh<T>*>(set[i]))
            stack.append(static_cast<const VertexStack<T>&>(*mesh));
    return stack;
}

} // namespace

template <class T>
Fusion<T>::~Fusion() = default;

template <class T>
void Fusion<T>::tpsWarping(const ShapeSet<T>& target) {
    const VertexStack<T> targetVertices = surfaceVertices(target);
    notifyStarted("");
    const unsigned int n = static_cast<unsigned int>(__shapeSets.size());
    for (unsigned int i = 0; i < n && !isCanceled(); ++i) {
        ShapeSet<T>& set = *__shapeSets[i];
        ShapeSet<T> references = set.referenceShapeSet();
        references.matchSurfaces(target);
        // The warp keeps copies of the points it is fitted on: the shapes may move under it.
        ThinPlateSplineWarp3D<T> warp;
        warp.fit(surfaceVertices(references), targetVertices);
        for (int k = 0; k < set.getSize(); ++k)
            if (set[k])
                warp.apply(*set[k]);
        notifyProgressed(i + 1, n);
    }
    notifyFinished("");
}

template class Fusion<float>;
template class Fusion<double>;
template class Fusion<long double>;

} // namespace vorlen
