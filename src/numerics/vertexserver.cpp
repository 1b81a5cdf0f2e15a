#include "numerics/vertexserver.h"

#include <algorithm>
#include <limits>
#include <ostream>

#include "numerics/exception.h"

namespace vorlen {

template <class T>
VertexServer<T>::VertexServer(int space, int size, int capacity, int growth)
    : __space(std::max(space, 0)), __size(std::max(size, 0)), __growth(growth < 1 ? std::max(size, 0) : growth) {
    setCapacity(std::max(capacity, __size));
}

template <class T>
VertexServer<T>::VertexServer(const VertexServer& server) {
    *this = server;
}

template <class T>
VertexServer<T>& VertexServer<T>::operator=(const VertexServer& server) {
    if (this == &server)
        return *this;
    clear();
    __refs = 0;
    __space = server.__space;
    __growth = server.__growth;
    setCapacity(server.getCapacity());
    __size = server.__size;
    for (int i = 0; i < getCapacity(); ++i)
        *__vertices[i] = *server.__vertices[i];
    return *this;
}

template <class T>
VertexServer<T>::~VertexServer() = default;

template <class T>
void VertexServer<T>::clear() {
    __vertices.clear();
    __blocks.clear();
    __size = 0;
}

template <class T>
void VertexServer<T>::setGrowth(int growth) {
    __growth = growth;
}

template <class T>
void VertexServer<T>::setCapacity(int n) {
    n = std::max(n, 0);
    const int capacity = getCapacity();
    if (n == capacity)
        return;
    if (n > capacity) {
        const int added = n - capacity;
        auto vectors = std::make_unique<Vector<T>[]>(static_cast<std::size_t>(added));
        for (int i = 0; i < added; ++i)
            vectors[i].setSize(__space);
        __blocks.push_back({capacity, std::move(vectors)});
        __vertices.resize(static_cast<std::size_t>(n));
        Vector<T>* vector = __blocks.back().vectors.get();
        for (int i = capacity; i < n; ++i)
            __vertices[i] = vector++;
    } else {
        // A block cut in the middle keeps its other vectors until it goes as a whole.
        __vertices.resize(static_cast<std::size_t>(n));
        while (!__blocks.empty() && __blocks.back().first >= n)
            __blocks.pop_back();
        __size = std::min(__size, n);
    }
}

template <class T>
void VertexServer<T>::setSize(int n) {
    n = std::max(n, 0);
    const long long capacity = getCapacity();
    if (n > capacity) {
        const long long growth = std::max(__growth, 1);
        const long long raised = capacity + (n - capacity + growth - 1) / growth * growth;
        setCapacity(static_cast<int>(std::min<long long>(raised, std::numeric_limits<int>::max())));
    }
    __size = n;
}

template <class T>
void VertexServer<T>::append(const VertexServer& server) {
    const char* const where = "void VertexServer<T>::append(const VertexServer&)";
    if (&server == this)
        throw ValueError(where, "Cannot append server to itself");
    if (server.__space != __space)
        throw ValueError(where, "Incompatible server space dimension");
    const int first = __size;
    setSize(__size + server.__size);
    for (int i = 0; i < server.__size; ++i)
        *__vertices[first + i] = *server.__vertices[i];
}

template <class T>
void VertexServer<T>::ref() {
    ++__refs;
}

template <class T>
void VertexServer<T>::deref() {
    if (__refs > 0 && --__refs == 0)
        delete this;
}

template <class T>
void VertexServer<T>::print(const std::string& title, std::ostream& stream) const {
    if (!title.empty())
        stream << title << '\n';
    stream << "  address  = " << static_cast<const void*>(this) << '\n'
           << "  refs     = " << __refs << '\n'
           << "  space    = " << __space << '\n'
           << "  capacity = " << getCapacity() << '\n'
           << "  size     = " << __size << '\n'
           << "  growth   = " << __growth << '\n';
    for (int i = 0; i < __size; ++i) {
        stream << "    " << i << ": ";
        __vertices[i]->print("", stream);
    }
}

template class VertexServer<int>;
template class VertexServer<float>;
template class VertexServer<double>;
template class VertexServer<long double>;

} // namespace vorlen
