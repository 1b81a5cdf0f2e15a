#pragma once

#include <vector>

#include "numerics/squarematrix.h"
#include "numerics/vector.h"
#include "progress/progresssubject.h"

namespace vorlen {

template <class T>
class ShapeSet;
template <class T>
class ShapeSetGroup;

/// Rigid registration of all sets of a group, so that their reference structures come as close together as possible.
/// Keeps the motion of each set and the course of the error.
///
/// The error between the sets is the mean over all pairs of sets and all reference structures of the root mean square
/// distance between vertices of equal rank, in coordinate units. Cancelling is not looked at: a registration that has
/// started runs to its end. Instantiated for float, double and long double.
template <class T>
class ShapeSetGroupRegistration : public virtual ProgressSubject {
public:
    ~ShapeSetGroupRegistration() override;

    /// Moves the shapes of the sets, in place. Should it fail, the shapes stay where the last completed step put them.
    virtual void apply(ShapeSetGroup<T>& group) = 0;

    /// For each pair of sets, in the order (0, 1), (0, 2), ..., (1, 2), ..., the distances of their reference shapes in
    /// order. Throws SizeError when two sets have different numbers of references or two of these differ in size or
    /// are empty, UsageError for a missing shape, and ValueError for a shape that stands in two sets.
    /// n (n - 1) / 2 distances for n sets.
    static Vector<float> errorType1(const ShapeSetGroup<T>& group);

    /// Mean of an error vector; 0 without elements.
    static float mean(const Vector<float>& errors);
    /// Its standard error, of a sample; 0 for fewer than two elements.
    static float sem(const Vector<float>& errors);

    /// Means and standard errors of the error at each recorded stage; entry 0 is the state before the first move.
    void getDynamics(std::vector<float>& means, std::vector<float>& sems) const;

    /// The motion of set i: a vertex v of its state before became rotation v + translation.
    const std::vector<SquareMatrix<T>>& getRotationMatrices() const { return this->__rotations; }
    const std::vector<Vector<T>>& getTranslationVectors() const { return this->__translations; }

    /// False when the last registration was ended before the error stood still.
    bool isConverged() const { return __converged; }

protected:
    /// Forgets the results of before and makes all motions the identity of the dimension of the set's shapes.
    void reset(const ShapeSetGroup<T>& group);
    void recordError(const Vector<float>& errors);

    std::vector<SquareMatrix<T>> __rotations;
    std::vector<Vector<T>> __translations;
    std::vector<float> __errorMeans;
    std::vector<float> __errorSems;
    bool __converged = true;
};

} // namespace vorlen
