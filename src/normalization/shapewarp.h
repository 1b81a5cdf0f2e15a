#pragma once

#include "normalization/shaperegistration.h"

namespace vorlen {

/// Registration that bends space: every point moves by a smooth displacement, fitted between corresponding vertices.
/// Instantiated for float, double and long double.
template <class T>
class ShapeWarp : public ShapeRegistration<T> {
public:
    ~ShapeWarp() override;

protected:
    /// Throws ProgramError unless the shapes have as many vertices, and SizeError unless these have one dimension.
    static void checkCorrespondence(const Shape<T>& moving, const Shape<T>& target, const char* where);
};

} // namespace vorlen
