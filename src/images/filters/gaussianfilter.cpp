#include "images/filters/gaussianfilter.h"

#include <cmath>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr int largestSigma = 500000; // a kernel of 2,000,001 elements

template <class T>
Vector<T> kernelOf(T sigma) {
    if (!(sigma >= T(0) && sigma <= T(largestSigma)))
        throw ValueError("void GaussianFilter<T>::setSigma(T)", "Sigma is not within 0 to 500000");
    const int half = static_cast<int>(std::ceil(sigma + sigma));
    Vector<T> kernel(static_cast<unsigned int>(2 * half + 1));
    kernel[half] = T(1);
    for (int i = 1; i <= half; ++i) {
        const T ratio = static_cast<T>(i) / sigma;
        kernel[half - i] = kernel[half + i] = std::exp(T(-0.5) * ratio * ratio);
    }
    kernel /= kernel.sum();
    return kernel;
}

} // namespace

template <class T>
GaussianFilter<T>::GaussianFilter(T sigma) {
    setSigma(sigma);
}

template <class T>
void GaussianFilter<T>::setSigma(T sigma) {
    const Vector<T> kernel = kernelOf(sigma);
    this->setKernel1(kernel);
    this->setKernel2(kernel);
    this->setKernel3(kernel);
    __sigma = sigma;
}

template <class T>
void GaussianFilter<T>::setPlaneSigma(T sigma) {
    this->setKernel3(kernelOf(sigma));
}

template class GaussianFilter<float>;
template class GaussianFilter<double>;
template class GaussianFilter<long double>;

} // namespace vorlen
