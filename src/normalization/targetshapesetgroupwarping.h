#pragma once

#include "progress/progresssubject.h"

namespace vorlen {

template <class T>
class ShapeSet;
template <class T>
class ShapeSetGroup;

/// Warps each set of a group on a target set by polynomials, fitted between the reference shapes, and counts where the
/// warps fold space.
///
/// Reference shapes of equal rank must have as many vertices, in corresponding order. The target is seen, not owned;
/// it may itself be a set of the group. Instantiated for float, double and long double.
template <class T>
class TargetShapeSetGroupWarping : public virtual ProgressSubject {
public:
    void setTargetShapeSet(const ShapeSet<T>& target) { __target = &target; }

    /// Null before one was set.
    const ShapeSet<T>* getTargetShapeSet() const { return __target; }

    /// Moves all shapes of the sets, references or not, in place. Monitors hear a start and an end with an empty text,
    /// and the progress of n sets in steps from 1 to n + 1. Throws UsageError without a target, and what
    /// PolynomialWarp::fit() throws, after which the sets before the failing one have moved.
    void apply(ShapeSetGroup<T>& group, int degree);

    /// Vertices moved by the last apply().
    unsigned int numEvaluations() const { return __evaluations; }

    /// How many of these the warp takes to a place where it is not valid: the Jacobian is evaluated at the positions
    /// after the warp.
    unsigned int numJacobianErrors() const { return __jacobianErrors; }

private:
    const ShapeSet<T>* __target = nullptr;
    unsigned int __evaluations = 0;
    unsigned int __jacobianErrors = 0;
};

} // namespace vorlen
