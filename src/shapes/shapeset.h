#pragma once

#include <string>
#include <vector>

#include "shapes/shapetypes.h"

template <class T>
class Shape;

/// Named, ordered list of shapes with a reference flag for each. An entry may be null: the specimen lacks that shape.
///
/// The set sees its shapes and does not own them: a copy shares them, the destructor leaves them alone. Whoever built
/// the shapes calls clear() once, which destroys them.
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

    /// Destroys the shapes and empties the set. A shape that stands twice is destroyed once.
    void clear();

private:
    std::string __name;
    std::vector<Shape<T>*> __shapes;
    std::vector<bool> __references;
};
