#include "shapes/fourierdescriptors.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "numerics/exception.h"
#include "shapes/fouriertransform.h"
#include "shapes/shapearithmetic.h"

namespace vorlen {

namespace {

// Running sum, in double, of the moduli of the descriptors: entry m is the sum over 1..m of |c_j| + |c_(n-j)|. Entry
// n / 2 of an even n holds its single coefficient once, so that the last entry is the sum of all but coefficient 0.
std::vector<double> descriptorSums(const Vector<float>& re, const Vector<float>& im) {
    Vector<float> power;
    FourierTransform<float>().powerSpectrum(power, re, im);
    const int n = power.getSize();
    std::vector<double> sums(std::size_t(n / 2) + 1, 0.0);
    for (int m = 1; m <= n / 2; ++m) {
        double modulus = std::sqrt(double(power[m]));
        if (m != n - m)
            modulus += std::sqrt(double(power[n - m]));
        sums[m] = sums[m - 1] + modulus;
    }
    return sums;
}

} // namespace

template <class T>
void FourierDescriptors<T>::computeForward(const Curve<T>& curve, Vector<float>& re, Vector<float>& im) {
    const int n = curve.getSize();
    if (n > 0 && curve.getSpace() < 2)
        throw SizeError("void FourierDescriptors<T>::computeForward(...)", "The curve has fewer than two dimensions");
    re.setSize(n);
    im.setSize(n);
    for (int i = 0; i < n; ++i) {
        re[i] = float(WideCoordinate<T>(curve[i][0]) / n);
        im[i] = float(WideCoordinate<T>(curve[i][1]) / n);
    }
    FourierTransform<float>().computeForward(re, im);
}

template <class T>
void FourierDescriptors<T>::computeBackward(Vector<float>& re, Vector<float>& im, Curve<T>& curve) {
    FourierTransform<float>().computeBackward(re, im);
    const int n = re.getSize();
    if (curve.getSize() != n || curve.getSpace() < 2)
        curve = Curve<T>(2, n, n, n, false);
    for (int i = 0; i < n; ++i) {
        curve[i][0] = toCoordinate<T>(re[i]);
        curve[i][1] = toCoordinate<T>(im[i]);
    }
}

template <class T>
void FourierDescriptors<T>::cut(Vector<float>& re, Vector<float>& im, int numDescriptors) {
    if (re.getSize() != im.getSize())
        throw SizeError("void FourierDescriptors<T>::cut(...)", "Real and imaginary parts have different sizes");
    const int n = re.getSize();
    const int m = std::max(numDescriptors, 0);
    for (int k = std::min(m, n) + 1; k < n - m; ++k) {
        re[k] = 0;
        im[k] = 0;
    }
}

template <class T>
int FourierDescriptors<T>::numDescriptorsFromFidelity(const Vector<float>& re, const Vector<float>& im,
                                                      float fidelity) {
    const std::vector<double> sums = descriptorSums(re, im);
    const double wanted = double(fidelity) * sums.back();
    const auto found = std::find_if(sums.begin(), sums.end() - 1, [wanted](double sum) { return !(sum < wanted); });
    return int(found - sums.begin());
}

template <class T>
float FourierDescriptors<T>::fidelityFromNumDescriptors(const Vector<float>& re, const Vector<float>& im,
                                                        int numDescriptors) {
    const std::vector<double> sums = descriptorSums(re, im);
    const int m = std::clamp(numDescriptors, 0, int(sums.size()) - 1);
    return sums.back() > 0 ? float(sums[m] / sums.back()) : 1.0f;
}

template <class T>
float FourierDescriptors<T>::filter(Curve<T>& curve, int numDescriptors) {
    Vector<float> re;
    Vector<float> im;
    computeForward(curve, re, im);
    const float fidelity = fidelityFromNumDescriptors(re, im, numDescriptors);
    cut(re, im, numDescriptors);
    computeBackward(re, im, curve);
    return fidelity;
}

template <class T>
int FourierDescriptors<T>::filter(Curve<T>& curve, float fidelity) {
    Vector<float> re;
    Vector<float> im;
    computeForward(curve, re, im);
    const int numDescriptors = numDescriptorsFromFidelity(re, im, fidelity);
    cut(re, im, numDescriptors);
    computeBackward(re, im, curve);
    return numDescriptors;
}

template class FourierDescriptors<int>;
template class FourierDescriptors<float>;
template class FourierDescriptors<double>;
template class FourierDescriptors<long double>;

} // namespace vorlen
