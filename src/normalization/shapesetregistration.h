#pragma once

#include <vector>

#include "numerics/squarematrix.h"
#include "numerics/vector.h"

namespace vorlen {

template <class T>
class ShapeSet;

/// Rigid registration of one shape set on another: the reference shapes of the two determine the motion, and all shapes
/// of the moving set follow it.
///
/// Rounds of least-squares fits between vertices of equal rank, each followed by a search for the vertices that
/// correspond now (ShapeSet::matchSurfaces()), until the mean distance of the reference shapes stands still, as in P.
/// J. Besl and N. D. McKay, IEEE PAMI 14, 1992. A round costs a fit, a motion and a search.
///
/// Decisions: a round whose vertices correspond as in the round before repeats it but for rounding, and is the last one
/// whatever the rounding does to the distance. Should that never come, the registration ends after maxRounds, and
/// isConverged() tells.
///
/// Instantiated for float, double and long double.
template <class T>
class ShapeSetRegistration {
public:
    static constexpr int maxRounds = 1000;

    /// Moves the set onto the target. Nothing moves when both are the same object.
    /// Throws UsageError when a set has no reference shape, SizeError when the reference shapes of equal rank differ
    /// in size, ProgramError when their extensions do, and MathError for coordinates that are not finite. Those throw
    /// before anything moves.
    void apply(ShapeSet<T>& moving, const ShapeSet<T>& target);

    /// The whole motion: v became rotation v + translation. Square with the dimension of the moving set's last shape.
    const SquareMatrix<T>& getRotationMatrix() const { return __rotation; }
    const Vector<T>& getTranslationVector() const { return __translation; }

    /// Mean over the reference shapes of the root mean square distance, in coordinate units, before the first round
    /// and after each one.
    const std::vector<float>& getDynamics() const { return __dynamics; }

    /// False when the last registration was ended by maxRounds.
    bool isConverged() const { return __converged; }

private:
    SquareMatrix<T> __rotation;
    Vector<T> __translation;
    std::vector<float> __dynamics;
    bool __converged = true;
};

} // namespace vorlen
