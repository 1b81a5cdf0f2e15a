#include "shapes/fouriertransform.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <new>
#include <string>

#include <fftw3.h>

#include "numerics/exception.h"

namespace vorlen {

namespace {

// The three precisions of FFTW under one name.
template <class T>
struct Fftw;

template <>
struct Fftw<float> {
    using Complex = fftwf_complex;
    using Plan = fftwf_plan;
    static void* allocate(std::size_t bytes) { return fftwf_malloc(bytes); }
    static void release(void* p) { fftwf_free(p); }
    static Plan plan(int n, Complex* data, int sign) { return fftwf_plan_dft_1d(n, data, data, sign, FFTW_ESTIMATE); }
    static Plan plan(int rows, int cols, Complex* data, int sign) {
        return fftwf_plan_dft_2d(rows, cols, data, data, sign, FFTW_ESTIMATE);
    }
    static void execute(Plan plan) { fftwf_execute(plan); }
    static void destroy(Plan plan) { fftwf_destroy_plan(plan); }
};

template <>
struct Fftw<double> {
    using Complex = fftw_complex;
    using Plan = fftw_plan;
    static void* allocate(std::size_t bytes) { return fftw_malloc(bytes); }
    static void release(void* p) { fftw_free(p); }
    static Plan plan(int n, Complex* data, int sign) { return fftw_plan_dft_1d(n, data, data, sign, FFTW_ESTIMATE); }
    static Plan plan(int rows, int cols, Complex* data, int sign) {
        return fftw_plan_dft_2d(rows, cols, data, data, sign, FFTW_ESTIMATE);
    }
    static void execute(Plan plan) { fftw_execute(plan); }
    static void destroy(Plan plan) { fftw_destroy_plan(plan); }
};

template <>
struct Fftw<long double> {
    using Complex = fftwl_complex;
    using Plan = fftwl_plan;
    static void* allocate(std::size_t bytes) { return fftwl_malloc(bytes); }
    static void release(void* p) { fftwl_free(p); }
    static Plan plan(int n, Complex* data, int sign) { return fftwl_plan_dft_1d(n, data, data, sign, FFTW_ESTIMATE); }
    static Plan plan(int rows, int cols, Complex* data, int sign) {
        return fftwl_plan_dft_2d(rows, cols, data, data, sign, FFTW_ESTIMATE);
    }
    static void execute(Plan plan) { fftwl_execute(plan); }
    static void destroy(Plan plan) { fftwl_destroy_plan(plan); }
};

// The interleaved work array, freed in all cases.
template <class T>
class ComplexBuffer {
public:
    explicit ComplexBuffer(std::size_t n)
        : __data(static_cast<typename Fftw<T>::Complex*>(Fftw<T>::allocate(n * sizeof(typename Fftw<T>::Complex)))) {
        if (!__data)
            throw std::bad_alloc();
    }
    ComplexBuffer(const ComplexBuffer&) = delete;
    ComplexBuffer& operator=(const ComplexBuffer&) = delete;
    ~ComplexBuffer() { Fftw<T>::release(__data); }
    typename Fftw<T>::Complex* data() { return __data; }

private:
    typename Fftw<T>::Complex* __data;
};

template <class T>
void run(typename Fftw<T>::Plan plan) {
    if (plan) {
        Fftw<T>::execute(plan);
        Fftw<T>::destroy(plan);
    }
}

template <class T>
void checkSizes(const Vector<T>& re, const Vector<T>& im, const char* operation) {
    if (re.getSize() != im.getSize()) {
        throw SizeError(std::string("void FourierTransform<T>::") + operation,
                        "Real and imaginary parts have different sizes");
    }
}

template <class T>
void checkSizes(const Matrix<T>& re, const Matrix<T>& im, const char* operation) {
    if (re.getSize(1) != im.getSize(1) || re.getSize(2) != im.getSize(2)) {
        throw SizeError(std::string("void FourierTransform<T>::") + operation,
                        "Real and imaginary parts have different sizes");
    }
}

template <class T>
void rotateLeft(Vector<T>& v, int by) {
    if (v.getSize() > 1)
        std::rotate(v.begin(), v.begin() + by, v.end());
}

// Rows move whole, by the exchange of their arrays.
template <class T>
void rotateLeft(Matrix<T>& m, int byRows, int byCols) {
    const int rows = m.getSize(1);
    for (int i = 0; i < rows; ++i)
        rotateLeft(m[i], byCols);
    const auto reverse = [&m](int first, int last) {
        for (; first < last; ++first, --last)
            m[first].swap(m[last]);
    };
    if (rows > 1) {
        reverse(0, byRows - 1);
        reverse(byRows, rows - 1);
        reverse(0, rows - 1);
    }
}

} // namespace

template <class T>
void FourierTransform<T>::compute(Vector<T>& re, Vector<T>& im, int sign) const {
    const int n = re.getSize();
    if (n == 0)
        return;
    ComplexBuffer<T> buffer{std::size_t(n)};
    auto* data = buffer.data();
    const auto plan = Fftw<T>::plan(n, data, sign);
    for (int i = 0; i < n; ++i) {
        data[i][0] = re[i];
        data[i][1] = im[i];
    }
    run<T>(plan);
    for (int i = 0; i < n; ++i) {
        re[i] = data[i][0];
        im[i] = data[i][1];
    }
}

template <class T>
void FourierTransform<T>::compute(Matrix<T>& re, Matrix<T>& im, int sign) const {
    const int rows = re.getSize(1);
    const int cols = re.getSize(2);
    if (rows == 0 || cols == 0)
        return;
    ComplexBuffer<T> buffer(std::size_t(rows) * std::size_t(cols));
    const auto plan = Fftw<T>::plan(rows, cols, buffer.data(), sign);
    auto* data = buffer.data();
    for (int i = 0; i < rows; ++i, data += cols) {
        const T* reRow = re[i].data();
        const T* imRow = im[i].data();
        for (int j = 0; j < cols; ++j) {
            data[j][0] = reRow[j];
            data[j][1] = imRow[j];
        }
    }
    run<T>(plan);
    data = buffer.data();
    for (int i = 0; i < rows; ++i, data += cols) {
        T* reRow = re[i].data();
        T* imRow = im[i].data();
        for (int j = 0; j < cols; ++j) {
            reRow[j] = data[j][0];
            imRow[j] = data[j][1];
        }
    }
}

template <class T>
void FourierTransform<T>::computeForward(Vector<T>& re, Vector<T>& im) const {
    checkSizes(re, im, "computeForward(...) const");
    compute(re, im, FFTW_FORWARD);
}

template <class T>
void FourierTransform<T>::computeForward(Matrix<T>& re, Matrix<T>& im) const {
    checkSizes(re, im, "computeForward(...) const");
    compute(re, im, FFTW_FORWARD);
}

template <class T>
void FourierTransform<T>::computeBackward(Vector<T>& re, Vector<T>& im) const {
    checkSizes(re, im, "computeBackward(...) const");
    compute(re, im, FFTW_BACKWARD);
}

template <class T>
void FourierTransform<T>::computeBackward(Matrix<T>& re, Matrix<T>& im) const {
    checkSizes(re, im, "computeBackward(...) const");
    compute(re, im, FFTW_BACKWARD);
}

template <class T>
void FourierTransform<T>::shift(Vector<T>& re, Vector<T>& im) const {
    checkSizes(re, im, "shift(...) const");
    const int by = (re.getSize() + 1) / 2;
    rotateLeft(re, by);
    rotateLeft(im, by);
}

template <class T>
void FourierTransform<T>::shift(Matrix<T>& re, Matrix<T>& im) const {
    checkSizes(re, im, "shift(...) const");
    rotateLeft(re, (re.getSize(1) + 1) / 2, (re.getSize(2) + 1) / 2);
    rotateLeft(im, (im.getSize(1) + 1) / 2, (im.getSize(2) + 1) / 2);
}

template <class T>
void FourierTransform<T>::ishift(Vector<T>& re, Vector<T>& im) const {
    checkSizes(re, im, "ishift(...) const");
    rotateLeft(re, re.getSize() / 2);
    rotateLeft(im, im.getSize() / 2);
}

template <class T>
void FourierTransform<T>::ishift(Matrix<T>& re, Matrix<T>& im) const {
    checkSizes(re, im, "ishift(...) const");
    rotateLeft(re, re.getSize(1) / 2, re.getSize(2) / 2);
    rotateLeft(im, im.getSize(1) / 2, im.getSize(2) / 2);
}

template <class T>
void FourierTransform<T>::powerSpectrum(Vector<T>& result, const Vector<T>& re, const Vector<T>& im) const {
    checkSizes(re, im, "powerSpectrum(...) const");
    result.setSize(re.getSize());
    for (int i = 0; i < re.getSize(); ++i)
        result[i] = re[i] * re[i] + im[i] * im[i];
}

template <class T>
void FourierTransform<T>::powerSpectrum(Matrix<T>& result, const Matrix<T>& re, const Matrix<T>& im) const {
    checkSizes(re, im, "powerSpectrum(...) const");
    if (result.getSize(1) != re.getSize(1) || result.getSize(2) != re.getSize(2))
        result = Matrix<T>(re.getSize(1), re.getSize(2));
    for (int i = 0; i < re.getSize(1); ++i)
        powerSpectrum(result[i], re[i], im[i]);
}

template <class T>
void FourierTransform<T>::phaseAngle(Vector<T>& result, const Vector<T>& re, const Vector<T>& im) const {
    checkSizes(re, im, "phaseAngle(...) const");
    result.setSize(re.getSize());
    for (int i = 0; i < re.getSize(); ++i)
        result[i] = std::atan2(im[i], re[i]);
}

template <class T>
void FourierTransform<T>::phaseAngle(Matrix<T>& result, const Matrix<T>& re, const Matrix<T>& im) const {
    checkSizes(re, im, "phaseAngle(...) const");
    if (result.getSize(1) != re.getSize(1) || result.getSize(2) != re.getSize(2))
        result = Matrix<T>(re.getSize(1), re.getSize(2));
    for (int i = 0; i < re.getSize(1); ++i)
        phaseAngle(result[i], re[i], im[i]);
}

template class FourierTransform<float>;
template class FourierTransform<double>;
template class FourierTransform<long double>;

} // namespace vorlen
