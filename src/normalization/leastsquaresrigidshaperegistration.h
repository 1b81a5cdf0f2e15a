#pragma once

#include "normalization/rigidshaperegistration.h"

namespace vorlen {

/// The rigid motion, without scale or reflection, with the least sum of squared distances between vertices of equal
/// rank. Linear in the number of vertices. Source: S. Umeyama, IEEE PAMI 13, 1991.
///
/// Vertices that leave the rotation open (all on a line, or one point) get one of the best rotations. Instantiated for
/// float, double and long double.
template <class T>
class LeastSquaresRigidShapeRegistration : public RigidShapeRegistration<T> {
public:
    ~LeastSquaresRigidShapeRegistration() override;

    /// Throws ProgramError unless the shapes have as many vertices, SizeError when they have none or dimensions
    /// differ, MathError for coordinates that are not finite. The transform of before stays when this throws.
    void fit(const Shape<T>& moving, const Shape<T>& target) override;
};

} // namespace vorlen
