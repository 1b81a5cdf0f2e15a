#pragma once

#include "numerics/vector.h"
#include "progress/progresssubject.h"

namespace vorlen {

template <class T>
class Shape;
template <class T>
class ShapeSet;

/// Map of space onto itself that moves points and shapes in place. Base of all registrations and warps.
///
/// The vertices change on their server, so that shapes which share it move along.
/// Points of another dimension than the map's throw what the map tells, mostly the SizeError of the vectors.
/// Instantiated for float, double and long double.
template <class T>
class ShapeTransform : public virtual ProgressSubject {
public:
    ~ShapeTransform() override;

    /// Replaces the point by its image.
    virtual void apply(Vector<T>& v) const = 0;

    /// Moves every vertex in the order of the shape's iterator, then the shape's extensions as a set.
    virtual void apply(Shape<T>& shape);

    /// Moves every shape of the set. Monitors hear a start and an end with an empty text, and the progress after each
    /// entry, null ones included.
    virtual void apply(ShapeSet<T>& set);

    /// Whether the map is invertible and keeps the orientation in the neighbourhood of v; true unless a map knows
    /// better.
    virtual bool isValidAt(const Vector<T>& v) const;

    /// Number of vertices at which isValidAt() is false, those of the extensions included.
    unsigned int jacobianErrors(const Shape<T>& shape) const;

    /// The sum over the shapes of the set, reported to monitors as apply() is.
    unsigned int jacobianErrors(const ShapeSet<T>& set);

private:
    template <class Set, class Visit>
    void __visitShapes(Set& set, Visit visit);
};

} // namespace vorlen
