#include "registration/principalaxesimageregistration.h"

#include "images/rasters/pixelmatrix.h"
#include "numerics/maths.h"
#include "registration/matrixprincipalaxesanalysis.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

/// The turn between two axes without sense: at most a quarter turn.
double turnBetween(double source, double target) {
    const double turn = target - source;
    return turn > pi / 2 ? turn - pi : turn < -pi / 2 ? turn + pi : turn;
}

template <class T>
Vector<double> centerOf(const PixelMatrix<T>& image) {
    Vector<double> center(2);
    center[0] = 0.5 * image.getSize1();
    center[1] = 0.5 * image.getSize2();
    return center;
}

} // namespace

template <class T>
void PrincipalAxesImageRegistration<T>::run() {
    const char* const where = "void PrincipalAxesImageRegistration<T>::run()";
    const PixelMatrix<T>& source = this->source(where);
    const PixelMatrix<T>& target = this->target(where);
    MatrixPrincipalAxesAnalysis<T> sourceAnalysis, targetAnalysis;
    sourceAnalysis.apply(source);
    targetAnalysis.apply(target);
    __reliable = sourceAnalysis.hasMass() && targetAnalysis.hasMass();
    if (!__reliable) {
        this->__rotation = Maths::rotationMatrix<double>(0);
        this->__translation.setZeros(2);
        this->__centerShift.setZeros(2);
        return;
    }

    const Vector<double> sourceCenter = sourceAnalysis.getInertiaCenter().template toType<double>();
    const Vector<double> targetCenter = targetAnalysis.getInertiaCenter().template toType<double>();
    this->__rotation = Maths::rotationMatrix<double>(
        turnBetween(double(sourceAnalysis.getMajorAngle()), double(targetAnalysis.getMajorAngle())));
    const Vector<double> center = centerOf(source);
    const Vector<double> turnedCenter = this->__rotation * (center - sourceCenter) + targetCenter;
    this->__translation = __imageCenteredRotation ? turnedCenter - center : targetCenter - sourceCenter;
    this->__centerShift = turnedCenter - centerOf(target);
}

template class PrincipalAxesImageRegistration<float>;
template class PrincipalAxesImageRegistration<double>;
template class PrincipalAxesImageRegistration<long double>;

} // namespace vorlen
