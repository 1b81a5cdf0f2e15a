#pragma once

#include "numerics/matrix.h"
#include "numerics/vector.h"

namespace vorlen {

/// Discrete Fourier transform by FFTW, in place on a real and an imaginary part (Frigo and Johnson, Proc. IEEE 93,
/// 2005). Nothing is normalised: forward, then backward multiplies the data by the number of elements.
///
/// Index 0 holds the zero frequency; shift() moves it to the middle and ishift() back. A plan is made for each call;
/// FFTW's planner is not reentrant, so all transforms belong to one thread at a time. Empty data stay as they are.
///
/// All operations throw SizeError when the two parts differ in size. Compiled for float, double, long double.
template <class T>
class FourierTransform {
public:
    /// Exponent sign -1.
    void computeForward(Vector<T>& re, Vector<T>& im) const;
    void computeForward(Matrix<T>& re, Matrix<T>& im) const;

    /// Exponent sign +1.
    void computeBackward(Vector<T>& re, Vector<T>& im) const;
    void computeBackward(Matrix<T>& re, Matrix<T>& im) const;

    /// Element i becomes element (i + ceil(n / 2)) mod n; of a matrix, in both directions.
    void shift(Vector<T>& re, Vector<T>& im) const;
    void shift(Matrix<T>& re, Matrix<T>& im) const;

    /// Element i becomes element (i + floor(n / 2)) mod n: undoes shift().
    void ishift(Vector<T>& re, Vector<T>& im) const;
    void ishift(Matrix<T>& re, Matrix<T>& im) const;

    /// re^2 + im^2, element by element; result gets the size of the parts, and may be one of them.
    void powerSpectrum(Vector<T>& result, const Vector<T>& re, const Vector<T>& im) const;
    void powerSpectrum(Matrix<T>& result, const Matrix<T>& re, const Matrix<T>& im) const;

    /// atan2(im, re), in radians; 0 for (0, 0).
    void phaseAngle(Vector<T>& result, const Vector<T>& re, const Vector<T>& im) const;
    void phaseAngle(Matrix<T>& result, const Matrix<T>& re, const Matrix<T>& im) const;

private:
    void compute(Vector<T>& re, Vector<T>& im, int sign) const;
    void compute(Matrix<T>& re, Matrix<T>& im, int sign) const;
};

} // namespace vorlen
