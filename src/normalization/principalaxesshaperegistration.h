#pragma once

#include "normalization/rigidshaperegistration.h"

namespace vorlen {

/// The rigid motion that puts the centre of gravity of a shape at the origin and its principal axes on the coordinate
/// axes, the longest first. A proper rotation.
///
/// Decision: an axis alone has no direction. The two axes along which the shape is most skewed point to the side of the
/// longer tail (the third moment is positive), and the rotation settles the last one, so that shapes that are alike
/// come to lie alike and not head over heels. A shape without skewness keeps the directions of the eigenvectors.
///
/// Instantiated for float, double and long double.
template <class T>
class PrincipalAxesShapeRegistration : public RigidShapeRegistration<T> {
public:
    ~PrincipalAxesShapeRegistration() override;

    /// Does nothing: a fit on principal axes has no target.
    void fit(const Shape<T>& moving, const Shape<T>& target) override;

    /// Throws SizeError for a shape without vertices, MathError for coordinates that are not finite. The transform of
    /// before stays when this throws.
    virtual void fit(const Shape<T>& shape);

    /// On all vertices of the set together, those of the extensions included.
    virtual void fit(const ShapeSet<T>& set);
};

} // namespace vorlen
