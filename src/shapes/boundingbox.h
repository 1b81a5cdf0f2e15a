#pragma once

#include "numerics/vector.h"

namespace vorlen {

template <class T>
class Shape;
template <class T>
class Vertices;

/// Axis-aligned box between two corners. A default box has two empty corners and starts a running union by merge().
template <class T>
class BoundingBox {
public:
    BoundingBox() = default;
    /// The corners as given, in any order.
    BoundingBox(const Vector<T>& first, const Vector<T>& second);

    /// Both corners have the same size, at least one.
    bool isValid() const;

    const Vector<T>& getVertex1() const { return __vertex1; }
    const Vector<T>& getVertex2() const { return __vertex2; }
    void setVertex1(const Vector<T>& v) { __vertex1 = v; }
    void setVertex2(const Vector<T>& v) { __vertex2 = v; }

    /// Puts the smaller coordinates in vertex1, the greater in vertex2.
    void rectify();

    /// Moves vertex1 down and vertex2 up by the margin.
    void expand(T margin);
    /// The same for each axis. Throws SizeError on another size, and leaves the box as it was.
    void expand(const Vector<T>& margins);

    T min(int axis) const;
    T max(int axis) const;
    T width(int axis) const;
    Vector<T> widths() const;

    /// Distance between the corners; TypeError for int, as of Vector::distance.
    T diagonal() const;

    /// Half the sum of the corners. Throws SizeError when they differ in size.
    Vector<T> cog() const;

    /// Grows the box about its centre until each width is a whole number of steps, and returns these numbers.
    /// Throws ValueError unless the resolution is above 0 and the numbers fit.
    Vector<int> adjustToResolution(T resolution);

    /// Both ends included; vertex1 must be the lower corner. Throws SizeError when p has another size.
    bool contains(const Vector<T>& p) const;

    /// Whether a vertex of the shape is contained.
    bool containsAny(const Shape<T>& shape) const;

    /// Smallest box around both; a copy of the other when one has empty corners. Throws SizeError on unlike sizes.
    BoundingBox merge(const BoundingBox& other) const;

    /// The 2^d corners; corner j takes vertex1's coordinate k when bit k of j is set, else vertex2's.
    /// Throws SizeError above 20 dimensions.
    Vertices<T> vertices() const;

private:
    Vector<T> __vertex1;
    Vector<T> __vertex2;
};

} // namespace vorlen
