#pragma once

#include <memory>

namespace vorlen {

template <class T>
class Edge;
template <class T>
class Shape;

/// Walk over the edges of a shape, made by the shape's edgeIterator(). This base is the walk over nothing.
///
/// The edge is one object whose two vertex numbers change at each step: keep a copy of it, not its address.
template <class T>
class ConcreteEdgeIterator {
public:
    ConcreteEdgeIterator();
    ConcreteEdgeIterator(const ConcreteEdgeIterator&) = delete;
    ConcreteEdgeIterator& operator=(const ConcreteEdgeIterator&) = delete;
    virtual ~ConcreteEdgeIterator();

    /// The present edge; null when the walk is over.
    virtual Edge<T>* current() const;

    virtual void operator++(int);

    /// Back to the first edge.
    virtual void rewind();

protected:
    std::unique_ptr<Edge<T>> __edge;
};

/// Handle on the walk over the edges of a shape whose vertices may be moved on the way:
/// `for (EdgeIterator<T> it(shape); it.current(); ++it)`.
template <class T>
class EdgeIterator {
public:
    explicit EdgeIterator(Shape<T>& shape);

    Edge<T>* current() const { return __iterator->current(); }
    void operator++(int) { (*__iterator)++; }
    void operator++() { (*__iterator)++; }
    void rewind() { __iterator->rewind(); }

private:
    std::unique_ptr<ConcreteEdgeIterator<T>> __iterator;
};

/// The same over a shape that stays as it is.
template <class T>
class ConstEdgeIterator {
public:
    explicit ConstEdgeIterator(const Shape<T>& shape);

    const Edge<T>* current() const { return __iterator->current(); }
    void operator++(int) { (*__iterator)++; }
    void operator++() { (*__iterator)++; }
    void rewind() { __iterator->rewind(); }

private:
    std::unique_ptr<ConcreteEdgeIterator<T>> __iterator;
};

} // namespace vorlen
