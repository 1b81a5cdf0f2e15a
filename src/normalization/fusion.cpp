#include "normalization/fusion.h"

#include "normalization/cohortwarp.h"
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

/// The two stacks without the points that coincide with others, which no spline can carry to several places.
template <class T>
std::pair<VertexStack<T>, VertexStack<T>> merged(const VertexStack<T>& from, const VertexStack<T>& to) {
    ControlPairs pairs;
    ConstVertexIterator<T> target(to);
    for (ConstVertexIterator<T> it(from); it.current() && target.current(); ++it, ++target) {
        const Vector<T>&p = *it.current(), &q = *target.current();
        pairs.add({double(p[0]), double(p[1]), double(p[2])}, {double(q[0]), double(q[1]), double(q[2])});
    }
    const int whole = pairs.getSize();
    pairs.mergeCoincident();
    const int n = pairs.getSize();
    if (n == whole || from.getSize() != to.getSize())
        return {from, to};
    std::pair<VertexStack<T>, VertexStack<T>> result{VertexStack<T>(3, 1, n, n, 1), VertexStack<T>(3, 1, n, n, 1)};
    for (int k = 0; k < n; ++k) {
        for (int a = 0; a < 3; ++a) {
            result.first[0][k][a] = T(pairs.from[std::size_t(k)][std::size_t(a)]);
            result.second[0][k][a] = T(pairs.to[std::size_t(k)][std::size_t(a)]);
        }
    }
    return result;
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
        const auto controls = merged(surfaceVertices(references), targetVertices);
        warp.fit(controls.first, controls.second);
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
