#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "numerics/vector.h"

namespace vorlen {

/// Store of vertices of one dimension, shared by reference count between the shapes that point into it.
///
/// A vertex's Vector<T> never moves while it is within the capacity, so references to vertices survive growth. The
/// vectors of one growth step lie side by side in one block, which keeps neighbouring vertices near in memory; a block
/// goes when no slot of it is left in the capacity. There is no free list: a vertex that no shape refers to any more
/// stays.
///
/// A server is created with no reference; deref() deletes it when the last goes, so every server made with new is
/// attached at once. Negative spaces and sizes count as 0, and a capacity below the size is raised to it.
/// Not safe for use from several threads. Compiled for int, float, double, long double.
template <class T>
class VertexServer {
public:
    /// Capacity 0 or below means size, growth below 1 means size. Coordinates are not initialised.
    VertexServer(int space, int size, int capacity, int growth);
    /// Deep copy without clients.
    VertexServer(const VertexServer& server);
    /// Deep copy up to the source's capacity; the references of this server are forgotten. It is meant for the copy
    /// constructor: never assign to a server that has clients.
    VertexServer& operator=(const VertexServer& server);
    ~VertexServer();

    /// Deletes all vertices; space, growth and references stay.
    void clear();

    /// Vertex i, unchecked.
    Vector<T>& operator[](int i) { return *__vertices[i]; }
    const Vector<T>& operator[](int i) const { return *__vertices[i]; }
    Vector<T>& vertex(int i) { return *__vertices[i]; }
    const Vector<T>& vertex(int i) const { return *__vertices[i]; }

    /// Dimension of every vertex.
    int getSpace() const { return __space; }
    /// Number of vertices in use.
    int getSize() const { return __size; }
    int getCapacity() const { return static_cast<int>(__vertices.size()); }
    int getGrowth() const { return __growth; }
    int getRefs() const { return __refs; }

    void setGrowth(int growth);
    /// Growing keeps the vertices and adds uninitialised ones; shrinking deletes from n on and may lower the size.
    void setCapacity(int n);
    /// Raises the capacity by whole growth steps (of 1 if growth is below 1) when n exceeds it. Lowering keeps it.
    void setSize(int n);

    /// Copies the vertices of the other server behind this one's.
    /// Throws ValueError when given itself or when the dimensions differ.
    void append(const VertexServer& server);

    /// Counts one more client.
    void ref();
    /// Counts one client less; the last one to go deletes the server, which must then not be touched any more.
    void deref();

    void print(const std::string& title, std::ostream& stream) const;

private:
    struct Block {
        int first; // slot of the block's first vector
        std::unique_ptr<Vector<T>[]> vectors;
    };

    int __space = 0;
    int __size = 0;
    int __growth = 0;
    int __refs = 0;
    std::vector<Vector<T>*> __vertices;
    std::vector<Block> __blocks; // by increasing first slot
};

} // namespace vorlen
