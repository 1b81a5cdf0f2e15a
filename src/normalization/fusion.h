#pragma once

#include <vector>

#include "progress/progresssubject.h"

namespace vorlen {

template <class T>
class ShapeSet;

/// The shape sets of all specimens, in the order of the stacks, and the thin-plate warp of all of them on one target.
/// Sees the sets, does not own them. Instantiated for float, double and long double.
template <class T>
class Fusion : public virtual ProgressSubject {
public:
    ~Fusion() override;

    void addShapeSet(ShapeSet<T>* set) { __shapeSets.push_back(set); }
    const std::vector<ShapeSet<T>*>& getShapeSets() const { return __shapeSets; }

    /// Forgets the sets.
    void clear() { __shapeSets.clear(); }

    /// Warps each set, all its shapes, by the thin-plate spline that carries the vertices of its reference surfaces to
    /// those of the target, which holds the references alone. Caps do not take part in the fit and follow the warp.
    /// The references are brought into register with the target first. Vertices that coincide, as at a tip, count as
    /// one, whose target is the mean of theirs.
    ///
    /// Progress is reported after each set; a cancelled fusion stops between two sets. The cost of a set grows with
    /// the cube of its reference vertices. Throws what ThinPlateSplineWarp3D::fit() throws; the sets before stay
    /// warped.
    void tpsWarping(const ShapeSet<T>& target);

private:
    std::vector<ShapeSet<T>*> __shapeSets;
};

} // namespace vorlen
