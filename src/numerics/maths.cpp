#include "numerics/maths.h"

#include <charconv>
#include <cmath>
#include <numbers>

#include "numerics/exception.h"

namespace vorlen {

namespace {

// log(n!) for n from 0 on. The gamma function stands in where the sum would grow long.
double logFactorialOf(double n) {
    if (n > 255)
        return std::lgamma(n + 1);
    double total = 0;
    for (int k = 2; k <= static_cast<int>(n); ++k)
        total += std::log(static_cast<double>(k));
    return total;
}

template <class T>
Matrix<T> identity3D() {
    Matrix<T> result(3, 3);
    result.setZeros();
    for (int i = 0; i < 3; ++i)
        result[i][i] = T(1);
    return result;
}

// Rotation of axis i towards axis j, in three dimensions.
template <class T>
Matrix<T> planeRotation3D(int i, int j, T angle) {
    Matrix<T> result = identity3D<T>();
    result[i][i] = result[j][j] = std::cos(angle);
    result[j][i] = std::sin(angle);
    result[i][j] = -result[j][i];
    return result;
}

} // namespace

namespace Maths {

bool isPowerOfTwo(int n) {
    return n > 0 && (n & (n - 1)) == 0;
}

int nextPowerOfTwo(int n) {
    constexpr int greatest = 1 << 30;
    if (n > greatest)
        throw RangeError("int Maths::nextPowerOfTwo(const int)", "Power of two out of range");
    int power = 1;
    while (power < n)
        power *= 2;
    return power;
}

double logFactorial(int n) {
    return n < 2 ? 0 : logFactorialOf(n);
}

float factorial(int n) {
    return static_cast<float>(std::floor(std::exp(logFactorial(n)) + 0.5));
}

float pdfPoisson(float mean, unsigned int k) {
    if (mean == 0)
        return k == 0 ? 1.0f : 0.0f;
    const double m = mean;
    return static_cast<float>(std::exp(k * std::log(m) - m - logFactorialOf(k)));
}

double shortestDecimal(float x) {
    if (!std::isfinite(x))
        return double(x);
    char text[64];
    const char* const end = std::to_chars(text, text + sizeof text, x).ptr;
    double value = 0;
    std::from_chars(text, end, value);
    return value;
}

float toRadians(float degrees) {
    return static_cast<float>(degrees * std::numbers::pi / 180);
}

float toDegrees(float radians) {
    return static_cast<float>(radians * 180 / std::numbers::pi);
}

template <class T>
Vector<int> fround(const Vector<T>& v) {
    Vector<int> result(static_cast<unsigned int>(v.getSize()));
    for (int i = 0; i < v.getSize(); ++i)
        result[i] = fround(v[i]);
    return result;
}

template <class T>
Vector<T> fround(const Vector<T>& v, std::type_identity_t<T> q) {
    Vector<T> result(static_cast<unsigned int>(v.getSize()));
    for (int i = 0; i < v.getSize(); ++i)
        result[i] = fround(v[i], q);
    return result;
}

template <class T>
Matrix<T> rotationMatrix(T angle) {
    Matrix<T> result(2, 2);
    result[0][0] = result[1][1] = std::cos(angle);
    result[1][0] = std::sin(angle);
    result[0][1] = -result[1][0];
    return result;
}

template <class T>
T rotationAngle(const Matrix<T>& matrix) {
    return std::atan2(matrix[1][0], matrix[0][0]);
}

template <class T>
Matrix<T> xRotationMatrix3D(T angle) {
    return planeRotation3D(1, 2, angle);
}

template <class T>
Matrix<T> yRotationMatrix3D(T angle) {
    return planeRotation3D(2, 0, angle);
}

template <class T>
Matrix<T> zRotationMatrix3D(T angle) {
    return planeRotation3D(0, 1, angle);
}

void decomposeRotationMatrix3D(const Matrix<float>& matrix, float& x, float& y, float& z) {
    const float a = matrix[1][2];
    const float b = matrix[2][2];
    // Sine and cosine of the turn about x that brings (1,2) to zero.
    float s = 0;
    float c = 1;
    if (!(std::fabs(a) < Vector<float>::epsilon())) {
        if (std::fabs(b) > std::fabs(a)) {
            const float t = -a / b;
            c = 1 / std::sqrt(t * t + 1);
            s = t * c;
        } else {
            const float t = -b / a;
            s = 1 / std::sqrt(t * t + 1);
            c = t * s;
        }
    }
    x = std::atan2(s, c);
    y = std::atan2(matrix[0][2], b * c - a * s);
    z = std::atan2(matrix[1][0] * c + matrix[2][0] * s, matrix[1][1] * c + matrix[2][1] * s);
}

template Vector<int> fround<float>(const Vector<float>&);
template Vector<int> fround<double>(const Vector<double>&);
template Vector<int> fround<long double>(const Vector<long double>&);
template Vector<float> fround<float>(const Vector<float>&, std::type_identity_t<float>);
template Vector<double> fround<double>(const Vector<double>&, std::type_identity_t<double>);
template Vector<long double> fround<long double>(const Vector<long double>&, std::type_identity_t<long double>);
template Matrix<float> rotationMatrix<float>(float);
template Matrix<double> rotationMatrix<double>(double);
template Matrix<long double> rotationMatrix<long double>(long double);
template Matrix<float> xRotationMatrix3D<float>(float);
template Matrix<double> xRotationMatrix3D<double>(double);
template Matrix<long double> xRotationMatrix3D<long double>(long double);
template Matrix<float> yRotationMatrix3D<float>(float);
template Matrix<double> yRotationMatrix3D<double>(double);
template Matrix<long double> yRotationMatrix3D<long double>(long double);
template Matrix<float> zRotationMatrix3D<float>(float);
template Matrix<double> zRotationMatrix3D<double>(double);
template Matrix<long double> zRotationMatrix3D<long double>(long double);
template float rotationAngle<float>(const Matrix<float>&);
template double rotationAngle<double>(const Matrix<double>&);
template long double rotationAngle<long double>(const Matrix<long double>&);

} // namespace Maths

} // namespace vorlen
