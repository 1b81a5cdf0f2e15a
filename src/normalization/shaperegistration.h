#pragma once

#include "normalization/shapetransform.h"

namespace vorlen {

/// Transform that is found by fitting one shape on another. Instantiated for float, double and long double.
template <class T>
class ShapeRegistration : public ShapeTransform<T> {
public:
    ~ShapeRegistration() override;

    /// Finds the transform that brings the vertices of moving to those of target. Each registration tells which
    /// vertices correspond and what it throws; the shapes stay as they are.
    virtual void fit(const Shape<T>& moving, const Shape<T>& target) = 0;
};

} // namespace vorlen
