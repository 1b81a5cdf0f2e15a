#pragma once

#include "registration/rigidregistration.h"

namespace vorlen {

/// Rigid registration that carries the source's centre of mass and principal axis onto those of the target, by
/// MatrixPrincipalAxesAnalysis. Closed form: no search and no measure of similarity.
///
/// The axis of the greatest spread is the one used, so that the two images may lie on either side of a diagonal. It has
/// no sense: the rotation is the one of at most a quarter turn. The brightest parts weigh most: images on a white
/// ground are to be inverted first. Where one of the images has no mass nothing can be told: the result is no
/// translation and no rotation, and for a slice centre on centre; isReliable() tells. Instantiated for float, double
/// and long double.
template <class T>
class PrincipalAxesImageRegistration : public RigidRegistration<T> {
public:
    /// True at first: the rotation is meant about the centre of the source image, half its rows and half its columns.
    /// False: about the source's centre of mass. Either way the source's centre of mass comes onto the target's.
    void setImageCenteredRotation(bool centered) { __imageCenteredRotation = centered; }

    /// A position x of the source goes to rotation() (x - c) + c + translation(), with the c of the class.
    /// Throws UsageError unless both images were set, SizeError for an empty image.
    void run() override;

    /// Whether both images of the last run() had mass; false before.
    bool isReliable() const { return __reliable; }

private:
    bool __imageCenteredRotation = true;
    bool __reliable = false;
};

} // namespace vorlen
