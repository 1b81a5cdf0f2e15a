#include "shapes/kdtree.h"

#include <algorithm>
#include <vector>

#include "numerics/exception.h"
#include "shapes/vertexstack.h"

namespace vorlen {

template <class T>
KDTree<T>::KDTree() = default;

template <class T>
KDTree<T>::~KDTree() = default;

template <class T>
void KDTree<T>::setShape(Shape<T>& shape) {
    const char* where = "void KDTree<T>::setShape(Shape<T>&)";
    if (shape.getNumVertices() == 0)
        throw UsageError(where, "The shape is empty");
    VertexServer<T>* server = shape.getServer();
    if (shape.isComposite()) {
        VertexStack<T>& stack = dynamic_cast<VertexStack<T>&>(shape);
        server = stack[0].getServer();
        for (int level = 1; level < stack.getHeight(); level++)
            if (stack[level].getServer() != server)
                throw UsageError(where, "The shape is indexed on several servers");
    }
    __shape = &shape;
    __server = server;
    __vertices.setServer(*server);
    __built = false;
}

template <class T>
void KDTree<T>::build() {
    if (!__shape)
        throw UsageError("void KDTree<T>::build()", "The tree has no shape");
    setShape(*__shape); // the shape may have changed its server, or lost its vertices
    const int size = __shape->getNumVertices();
    if (const auto* vertices = dynamic_cast<const Vertices<T>*>(__shape)) {
        __search = NearestSearch<T>(*vertices);
    } else {
        __vertices.setSize(size, false);
        int i = 0;
        for (ConstVertexIterator<T> vertex(*__shape); vertex.current() && i < size; ++vertex)
            __vertices.setIndex(i++, vertex.currentServerIndex());
        __search = NearestSearch<T>(__vertices);
        __vertices.setSize(0, false);
    }
    __built = true;
}

template <class T>
void KDTree<T>::checkQuery(const Vector<T>& point, const char* where) const {
    if (!__built)
        throw UsageError(where, "The tree has not been built");
    if (point.getSize() != __search.getSpace())
        throw SizeError(where, "The two vectors have different sizes");
}

template <class T>
Vector<T>& KDTree<T>::nearestVertex(const Vector<T>& point) const {
    checkQuery(point, "Vector<T>& KDTree<T>::nearestVertex(const Vector<T>&) const");
    typename NearestSearch<T>::Distance squaredDistance;
    return (*__server)[__search.nearest(point.data(), -1, squaredDistance)];
}

template <class T>
void KDTree<T>::nearestVertices(Vertices<T>& out, const Vector<T>& point, int k) const {
    checkQuery(point, "void KDTree<T>::nearestVertices(Vertices<T>&,const Vector<T>&,const int) const");
    constexpr int insideCapacity = 32;
    k = std::clamp(k, 0, __search.getSize());
    int inside[insideCapacity];
    std::vector<int> more(std::size_t(k > insideCapacity ? k : 0));
    int* const numbers = k > insideCapacity ? more.data() : inside;
    __search.nearest(point.data(), k, numbers);
    out.setServer(*__server);
    out.setSize(k, false);
    for (int i = 0; i < k; i++)
        out.setIndex(i, numbers[i]);
}

template class KDTree<int>;
template class KDTree<float>;
template class KDTree<double>;
template class KDTree<long double>;

} // namespace vorlen
