#pragma once

#include <concepts>
#include <type_traits>

#include "numerics/matrix.h"
#include "numerics/vector.h"

namespace vorlen {

/// Small functions that the numeric, image and shape layers share. Rotation angles are in radians.
/// Compiled, where a type is shown as T, for float, double and long double.
namespace Maths {

bool isPowerOfTwo(int n);
/// Smallest power of two not below n; 1 below 2. Throws RangeError above 2^30, where int ends.
int nextPowerOfTwo(int n);

/// Sum of log(k) for k from 2 to n; 0 below 2.
double logFactorial(int n);
/// n! rounded to a whole number, as far as float goes; infinite from 35 on.
float factorial(int n);
/// Probability of k events when mean are expected. mean must not be negative.
float pdfPoisson(float mean, unsigned int k);

/// The number that the shortest decimal text stands for which reads back as this one: 0.35 for 0.35f.
double shortestDecimal(float x);

float toRadians(float degrees);
float toDegrees(float radians);

template <class T>
inline T sqr(T x) {
    return x * x;
}

/// Nearest whole number, floor(x + 0.5): halves go up, also below zero. x must lie within the range of int.
template <std::floating_point T>
inline int fround(T x) {
    // The cast truncates; one comparison makes a floor of it, without the library call that floor() is on plain x86-64.
    const auto y = x + 0.5;
    const int truncated = static_cast<int>(y);
    return truncated - (truncated > y ? 1 : 0);
}

/// Multiple of q nearest to x.
template <std::floating_point T>
inline T fround(T x, std::type_identity_t<T> q) {
    return static_cast<T>(fround(x / q)) * q;
}

template <class T>
Vector<int> fround(const Vector<T>& v);
template <class T>
Vector<T> fround(const Vector<T>& v, std::type_identity_t<T> q);

/// 2x2: cos, -sin; sin, cos.
template <class T>
Matrix<T> rotationMatrix(T angle);
/// Angle of a matrix of this form, from -pi to pi.
template <class T>
T rotationAngle(const Matrix<T>& matrix);

/// 3x3 rotations about one axis, on column vectors: that about x turns y towards z, that about y turns z towards x, and
/// that about z turns x towards y.
template <class T>
Matrix<T> xRotationMatrix3D(T angle);
template <class T>
Matrix<T> yRotationMatrix3D(T angle);
template <class T>
Matrix<T> zRotationMatrix3D(T angle);
/// Angles of a 3x3 rotation, in radians, such that the matrix is xRotation(x) * yRotation(y) * zRotation(z).
void decomposeRotationMatrix3D(const Matrix<float>& matrix, float& x, float& y, float& z);

} // namespace Maths

} // namespace vorlen
