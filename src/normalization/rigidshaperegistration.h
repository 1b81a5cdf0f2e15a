#pragma once

#include "normalization/shaperegistration.h"
#include "numerics/squarematrix.h"
#include "numerics/vector.h"

namespace vorlen {

/// Registration by a rotation R and a translation t: v becomes R v + t, in coordinate units.
///
/// Before the first fit the map has no dimension and takes no point. Instantiated for float, double and long double.
template <class T>
class RigidShapeRegistration : public ShapeRegistration<T> {
public:
    ~RigidShapeRegistration() override;

    using ShapeRegistration<T>::apply;

    /// Summed in double for float, so that chains of motions do not add up their rounding.
    /// Throws SizeError for a point of another dimension than that of the fit.
    void apply(Vector<T>& v) const override;

    const SquareMatrix<T>& getRotationMatrix() const { return this->__rotation; }
    const Vector<T>& getTranslationVector() const { return this->__translation; }

protected:
    SquareMatrix<T> __rotation;
    Vector<T> __translation;
};

} // namespace vorlen
