#pragma once

namespace vorlen {

template <class T>
class Shape;

/// Linear way between two shapes of the same kind and size, vertex by vertex.
///
/// Neither shape is owned. Instantiated for int, float, double and long double.
template <class T>
class ShapeInterpolation {
public:
    void setSourceShape(const Shape<T>& shape) { __source = &shape; }
    void setTargetShape(const Shape<T>& shape) { __target = &shape; }

    /// Makes result the shape at the given step, from 0, the source, to 1, the target, with coordinates of its own.
    /// Throws ProgramError without source or target, UsageError for a step out of [0, 1] and SizeError when the two
    /// shapes differ in size or space.
    void apply(T step, Shape<T>& result) const;

private:
    const Shape<T>* __source = nullptr;
    const Shape<T>* __target = nullptr;
};

} // namespace vorlen
