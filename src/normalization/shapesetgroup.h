#pragma once

#include <vector>

namespace vorlen {

template <class T>
class ShapeSet;

/// The shape sets of all specimens, in order. All have one length, and entry k of each is the same structure.
///
/// The group sees its sets and does not own them; a copy sees the same ones. Instantiated for float, double and long
/// double.
template <class T>
class ShapeSetGroup {
public:
    void addShapeSet(ShapeSet<T>& set);

    /// Takes the first entry of this very object out; nothing when there is none.
    void removeShapeSet(ShapeSet<T>& set);

    /// Takes all out.
    void clear() { __sets.clear(); }

    int getNumShapeSets() const { return int(__sets.size()); }

    /// Not checked.
    ShapeSet<T>& operator[](int i) const { return *__sets[std::size_t(i)]; }

    /// A new set of new shapes, which the caller destroys by its clear(): at each rank of the first set the average of
    /// the entries of that rank in all sets, a reference if all of them are. Null where no set has the structure; empty
    /// for a group without sets. Throws what ShapeSet::average() throws.
    ShapeSet<T> average() const;

private:
    std::vector<ShapeSet<T>*> __sets;
};

} // namespace vorlen
