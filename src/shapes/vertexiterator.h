#pragma once

#include <memory>

#include "numerics/vector.h"

namespace vorlen {

template <class T>
class Shape;

/// Walk over the vertices of a shape, made by the shape's vertexIterator(). This base is the walk over nothing.
template <class T>
class ConcreteVertexIterator {
public:
    ConcreteVertexIterator() = default;
    ConcreteVertexIterator(const ConcreteVertexIterator&) = default;
    ConcreteVertexIterator& operator=(const ConcreteVertexIterator&) = default;
    virtual ~ConcreteVertexIterator();

    /// A walk of its own that stands at the same vertex.
    virtual std::unique_ptr<ConcreteVertexIterator> clone() const;

    /// The present vertex; null when the walk is over.
    virtual Vector<T>* current();
    virtual const Vector<T>* current() const;

    /// Multi-index of the present vertex, which the shape's operator[] takes back to it.
    virtual const Vector<unsigned int>& locator() const;

    /// Number of the present vertex in its server; -1 when there is none.
    virtual int currentServerIndex() const;

    virtual void operator++(int);
    virtual void operator++();

    /// Back to the first vertex.
    virtual void rewind();

    /// current() without the virtual call, for the handles' loops.
    Vector<T>* currentVertex() const { return __current; }

protected:
    Vector<T>* __current = nullptr;
    mutable Vector<unsigned int> __locator;
};

/// Handle on the walk over the vertices of a shape that may be changed on the way:
/// `for (VertexIterator<T> it(shape); it.current(); ++it)`.
/// The shape must outlive the handle and keep its vertex lists meanwhile.
template <class T>
class VertexIterator {
public:
    explicit VertexIterator(Shape<T>& shape);
    VertexIterator(const VertexIterator&) = delete;
    VertexIterator& operator=(const VertexIterator&) = delete;

    Vector<T>* current() const { return __iterator->currentVertex(); }
    const Vector<unsigned int>& locator() const { return __iterator->locator(); }
    int currentServerIndex() const { return __iterator->currentServerIndex(); }
    void operator++(int) { ++*__iterator; }
    void operator++() { ++*__iterator; }
    void rewind() { __iterator->rewind(); }

private:
    std::unique_ptr<ConcreteVertexIterator<T>> __iterator;
};

/// The same over a shape that stays as it is; copies walk on independently.
template <class T>
class ConstVertexIterator {
public:
    explicit ConstVertexIterator(const Shape<T>& shape);
    ConstVertexIterator(const ConstVertexIterator& other) : __iterator(other.__iterator->clone()) {}
    ConstVertexIterator& operator=(const ConstVertexIterator& other) {
        if (this != &other)
            __iterator = other.__iterator->clone();
        return *this;
    }

    const Vector<T>* current() const { return __iterator->currentVertex(); }
    const Vector<unsigned int>& locator() const { return __iterator->locator(); }
    int currentServerIndex() const { return __iterator->currentServerIndex(); }
    void operator++(int) { ++*__iterator; }
    void operator++() { ++*__iterator; }
    void rewind() { __iterator->rewind(); }

private:
    std::unique_ptr<ConcreteVertexIterator<T>> __iterator;
};

} // namespace vorlen
