#pragma once

#include <string>
#include <vector>

#include "numerics/vector.h"
#include "shapes/shapetypes.h"

namespace vorlen {

template <class T>
class Shape;
template <class T>
class VertexStack;

/// Named, ordered list of shapes with a reference flag for each. An entry may be null: the specimen lacks that shape.
///
/// The set sees its shapes and does not own them: a copy shares them, the destructor leaves them alone. Whoever built
/// the shapes calls clear() once, which destroys them. A set that averages make owns new shapes: whoever receives it
/// calls clear().
///
/// Sets are compared rank by rank: entry k of each is the same structure of another specimen. Instantiated for int,
/// float, double and long double.
///
/// Decisions: in averages a null entry is a specimen that lacks the structure and does not count. Surfaces whose
/// dimensions differ have no vertices to match and stay as they are.
template <class T>
class ShapeSet {
public:
    void setName(const std::string& name) { __name = name; }
    const std::string& getName() const { return __name; }

    /// Number of entries, null ones included.
    int getSize() const { return int(__shapes.size()); }
    int getNumShapes() const { return getSize(); }

    /// The shape of rank i, maybe null; i is not checked.
    Shape<T>* operator[](int i) const { return __shapes[i]; }

    bool isReference(int i) const { return __references[i]; }

    void addShape(Shape<T>* shape, bool reference);

    /// Removes the first entry with this shape; the shape itself stays.
    void removeShape(Shape<T>* shape);

    /// Total of the vertices of the shapes that are not null.
    int numVertices() const;

    /// True when there are shapes and all of them have this type. A null entry has none.
    bool onlyShapeType(ShapeType type) const;

    /// True when there are entries and all of them are references.
    bool onlyReference() const;

    /// The reference entries only, sharing the shapes, with this set's name.
    ShapeSet referenceShapeSet() const;

    /// All vertices, sharing their coordinates with the shapes, in the order of the shapes: the levels of a composite
    /// shape in turn, a simple one as one level, the extensions behind the shape. So sets of structures of equal
    /// dimensions give stacks with corresponding vertices. Levels of different servers keep theirs.
    VertexStack<T> asVertexStack() const;

    /// Brings closed quadrangular surfaces into register with those of equal rank in other, by QuadMesh::match(): no
    /// vertex moves, only which one of a level comes first. Gives the shift at each rank; 0 for every other entry, for
    /// a counterpart that is missing, open or no surface, and for surfaces that differ in dimensions.
    Vector<int> matchSurfaces(const ShapeSet& other);

    /// Root mean square distance of the shapes of equal rank, in coordinate units. Throws SizeError when the sets or
    /// two shapes differ in size or a shape is empty, UsageError for a null entry, and ValueError for a shape that
    /// stands in both sets.
    Vector<float> rmsDistances(const ShapeSet& other) const;

    /// A new shape, the vertex by vertex mean, which the caller owns; null when there is no shape. It has the name of
    /// the first shape and coordinates of its own. Throws UsageError unless the shapes are of one type, and what the
    /// shapes throw that cannot be added.
    Shape<T>* average() const;

    /// A new set, named "mean", of new shapes. At each rank of the first set it has the mean of the quadrangular
    /// surfaces of that rank in all sets, named and flagged like the first of them; null, no reference, where there is
    /// none. Surfaces of another closure than the first one do not count. Throws SizeError when dimensions differ.
    static ShapeSet computeMean(const std::vector<ShapeSet*>& sets);

    /// Destroys the shapes and empties the set. A shape that stands twice is destroyed once.
    void clear();

private:
    std::string __name;
    std::vector<Shape<T>*> __shapes;
    std::vector<bool> __references;
};

} // namespace vorlen
