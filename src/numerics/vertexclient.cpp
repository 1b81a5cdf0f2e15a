#include "numerics/vertexclient.h"

#include <memory>
#include <ostream>

namespace vorlen {

template <class T>
VertexClient<T>::VertexClient() = default;

template <class T>
VertexClient<T>::VertexClient(int space, int size, int capacity, int growth)
    : __server(new VertexServer<T>(space, size, capacity, growth)) { // deleted by its last deref()
    __server->ref();
}

template <class T>
VertexClient<T>::VertexClient(const VertexClient& client) : __server(client.__server) {
    if (__server)
        __server->ref();
}

template <class T>
VertexClient<T>& VertexClient<T>::operator=(const VertexClient& client) {
    assign(client);
    return *this;
}

template <class T>
void VertexClient<T>::assign(const VertexClient& client) {
    if (this != &client)
        __attach(client.__server);
}

template <class T>
VertexClient<T>::~VertexClient() {
    if (__server)
        __server->deref();
}

template <class T>
void VertexClient<T>::detach() {
    if (__server && __server->getRefs() > 1)
        __attach(new VertexServer<T>(*__server)); // deleted by its last deref()
}

template <class T>
void VertexClient<T>::setServer(VertexServer<T>& server) {
    __attach(&server);
}

template <class T>
void VertexClient<T>::__attach(VertexServer<T>* server) {
    if (server == __server)
        return;
    if (server)
        server->ref();
    if (__server)
        __server->deref();
    __server = server;
}

template <class T>
void VertexClient<T>::print(const std::string& title, std::ostream& stream) const {
    if (!title.empty())
        stream << title << '\n';
    if (__server)
        __server->print(" Server:", stream);
    else
        stream << " Server: (nil)\n";
}

template class VertexClient<int>;
template class VertexClient<float>;
template class VertexClient<double>;
template class VertexClient<long double>;

} // namespace vorlen
