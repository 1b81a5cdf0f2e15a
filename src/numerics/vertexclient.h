#pragma once

#include <iosfwd>
#include <string>

#include "numerics/vertexserver.h"

namespace vorlen {

/// Holder of a counted reference to a VertexServer, or of none.
///
/// Copies share the coordinates: a vertex moved through one is seen by the other, until detach() gives this client a
/// store of its own. Compiled for int, float, double, long double.
template <class T>
class VertexClient {
public:
    /// No server.
    VertexClient();
    /// Creates a server with these arguments and attaches to it.
    VertexClient(int space, int size, int capacity, int growth);
    /// Attaches to the same server.
    VertexClient(const VertexClient& client);

    /// Calls assign(), so that derived classes copy their own state.
    virtual VertexClient& operator=(const VertexClient& client);
    /// Attaches to the other client's server, or to none if it has none.
    virtual void assign(const VertexClient& client);
    /// Gives up the reference.
    virtual ~VertexClient();
    /// Copy on write: a server with other clients is left to them, and a deep copy of it is attached.
    virtual void detach();

    /// Changes to another server; nothing happens when it is the present one.
    void setServer(VertexServer<T>& server);
    VertexServer<T>* getServer() { return __server; }
    const VertexServer<T>* getServer() const { return __server; }

    void print(const std::string& title, std::ostream& stream) const;

private:
    void __attach(VertexServer<T>* server);

    VertexServer<T>* __server = nullptr; // counted by ref() and deref()
};

} // namespace vorlen
