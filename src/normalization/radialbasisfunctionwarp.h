#pragma once

#include <vector>

#include "normalization/shapewarp.h"
#include "numerics/matrix.h"
#include "shapes/shapearithmetic.h"

namespace vorlen {

/// Warp that carries control points exactly to their targets: the displacement is an affine map plus a sum of radial
/// kernels, one at each control point, whose weights annihilate all affine maps.
///
/// For float shapes the decomposition, the weights and the sum are those of double: a rough warp has great weights that
/// cancel each other, which float does not resolve.
///
/// The control points are the vertices of the moving shape of the last fit, and are copied: the shape may move
/// afterwards. One decomposition of the system serves all axes; n control points cost
/// 2/3 (n + d + 1)^3 operations and memory of 16 (n + d + 1)^2 bytes (double), a point of the warp n kernels.
/// Sources: J. Duchon, Splines minimizing rotation-invariant semi-norms in Sobolev spaces, 1977; F. L. Bookstein, IEEE
/// PAMI 11, 1989.
///
/// The system is singular, which throws MathError, for control points that coincide, for fewer than d + 1 of them (so
/// for none) and when all lie on one plane (line, in the plane): no affine map is then determined. A pivot counts as
/// null relative to the size of the system's elements, whatever the unit of length. More than 20000 control points are
/// refused with SizeError.
///
/// Before the first fit the warp leaves every point where it is.
template <class T>
class RadialBasisFunctionWarp : public ShapeWarp<T> {
public:
    using ShapeTransform<T>::apply;

    /// Vertices of equal rank correspond. The warp stays as it was when this throws: ProgramError for different numbers
    /// of vertices, SizeError for vertices of different dimensions or too many of them, MathError as the class tells.
    void fit(const Shape<T>& moving, const Shape<T>& target) override;

    /// Adds eval(v) to v.
    void apply(Vector<T>& v) const override;

    /// Displacement at v. Throws SizeError for a point of another dimension than that of the fit.
    Vector<T> eval(const Vector<T>& v) const;

    /// The kernel: depends on the distance of a and b only.
    virtual T rbf(const Vector<T>& a, const Vector<T>& b) const = 0;

protected:
    /// Numbers in which the warp computes.
    using Wide = WideCoordinate<T>;

    /// Points axis by axis: axes[a][k] is coordinate a of point k.
    struct Points {
        explicit Points(const Matrix<Wide>& coordinates);
        int space;
        std::vector<const Wide*> axes;
    };

    /// values[k] = rbf(v, point first + k) for count points; here one after the other. Classes with a simple kernel
    /// offer a faster and a wider way.
    virtual void kernelValues(const Points& points, const Wide* v, int first, int count, Wide* values) const;

private:
    Matrix<Wide> __controlPoints; // dimension by n
    Matrix<Wide> __weights;       // dimension by n + dimension + 1: kernels, linear part, constant part
};

} // namespace vorlen
