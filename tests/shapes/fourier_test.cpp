#include <cmath>
#include <complex>
#include <random>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/fourierdescriptors.h"
#include "shapes/fouriertransform.h"
#include "support/failures.h"
#include "support/testcurves.h"

namespace vorlen {

namespace {

template <class T>
class FourierTransformOf : public testing::Test {};

using RealTypes = testing::Types<float, double, long double>;
TYPED_TEST_SUITE(FourierTransformOf, RealTypes);

template <class T>
void fillRandomly(Vector<T>& re, Vector<T>& im, unsigned int seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-1, 1);
    for (int k = 0; k < re.getSize(); ++k) {
        re[k] = T(value(random));
        im[k] = T(value(random));
    }
}

/// Sum over j of x_j exp(sign 2 pi i j k / n).
template <class T>
std::complex<double> plainSum(const Vector<T>& re, const Vector<T>& im, int k, int sign) {
    std::complex<double> sum = 0;
    const int n = re.getSize();
    for (int j = 0; j < n; ++j) {
        sum += std::complex<double>(double(re[j]), double(im[j])) *
               std::polar(1.0, sign * 6.283185307179586 * (double(j) * k) / n);
    }
    return sum;
}

Vector<double> counting(int n) {
    Vector<double> v(n);
    v.setSequence(1);
    return v;
}

Matrix<double> counting(int rows, int cols) {
    Matrix<double> m(rows, cols);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            m[i][j] = 100 * i + j;
        }
    }
    return m;
}

} // namespace

TYPED_TEST(FourierTransformOf, isTheSumOfItsDefinitionInBothDirections) {
    using T = TypeParam;
    const double tolerance = std::is_same_v<T, float> ? 1e-5 : 1e-12;
    for (const int n : {1, 2, 3, 8, 30, 97}) {
        Vector<T> re(n), im(n);
        fillRandomly(re, im, unsigned(n));
        const Vector<T> re0 = re;
        const Vector<T> im0 = im;
        FourierTransform<T>().computeForward(re, im);
        for (int k = 0; k < n; ++k) {
            const std::complex<double> expected = plainSum(re0, im0, k, -1);
            EXPECT_NEAR(double(re[k]), expected.real(), tolerance * n);
            EXPECT_NEAR(double(im[k]), expected.imag(), tolerance * n);
        }
        FourierTransform<T>().computeBackward(re, im);
        for (int k = 0; k < n; ++k) {
            EXPECT_NEAR(double(re[k]), n * double(re0[k]), tolerance * n);
            EXPECT_NEAR(double(im[k]), n * double(im0[k]), tolerance * n);
        }
    }
    Vector<T> none;
    Vector<T> nothing;
    FourierTransform<T>().computeForward(none, nothing);
    EXPECT_EQ(none.getSize(), 0);
}

TYPED_TEST(FourierTransformOf, ofAMatrixIsThatOfItsRowsAndThenOfItsColumns) {
    using T = TypeParam;
    const double tolerance = std::is_same_v<T, float> ? 1e-5 : 1e-12;
    const int rows = 5;
    const int cols = 6;
    Matrix<T> re(rows, cols), im(rows, cols);
    for (int i = 0; i < rows; ++i) {
        fillRandomly(re[i], im[i], unsigned(i));
    }
    Matrix<T> re1 = re;
    Matrix<T> im1 = im;
    FourierTransform<T>().computeForward(re, im);
    for (int i = 0; i < rows; ++i) {
        FourierTransform<T>().computeForward(re1[i], im1[i]);
    }
    for (int j = 0; j < cols; ++j) {
        Vector<T> a(rows), b(rows);
        for (int i = 0; i < rows; ++i) {
            a[i] = re1[i][j];
            b[i] = im1[i][j];
        }
        FourierTransform<T>().computeForward(a, b);
        for (int i = 0; i < rows; ++i) {
            EXPECT_NEAR(double(re[i][j]), double(a[i]), 30 * tolerance);
            EXPECT_NEAR(double(im[i][j]), double(b[i]), 30 * tolerance);
        }
    }
    FourierTransform<T>().computeBackward(re, im);
    Vector<T> first(cols), firstIm(cols);
    fillRandomly(first, firstIm, 0);
    for (int j = 0; j < cols; ++j) {
        EXPECT_NEAR(double(re[0][j]), 30 * double(first[j]), 100 * tolerance);
    }
}

TEST(FourierTransform, shiftMovesTheZeroFrequencyToTheMiddleAndIshiftUndoesIt) {
    const FourierTransform<double> transform;
    Vector<double> re = counting(5);
    Vector<double> im = counting(5);
    im *= 10.0;
    transform.shift(re, im);
    EXPECT_EQ(re, vectorOf<double>({3, 4, 0, 1, 2}));
    EXPECT_EQ(im, vectorOf<double>({30, 40, 0, 10, 20}));
    transform.ishift(re, im);
    EXPECT_EQ(re, counting(5));
    for (const int n : {0, 1, 2, 6, 7}) {
        Vector<double> a = counting(n);
        Vector<double> b = counting(n);
        transform.shift(a, b);
        for (int i = 0; i < n; ++i) {
            EXPECT_EQ(a[i], (i + (n + 1) / 2) % n);
        }
        transform.ishift(a, b);
        EXPECT_EQ(a, counting(n));
    }
}

TEST(FourierTransform, shiftOfAMatrixTurnsRowsAndColumns) {
    const FourierTransform<double> transform;
    for (const auto& [rows, cols] : {std::pair(3, 4), {4, 5}, {1, 3}, {5, 1}}) {
        Matrix<double> re = counting(rows, cols);
        Matrix<double> im = counting(rows, cols);
        transform.shift(re, im);
        for (int i = 0; i < rows; ++i) {
            for (int j = 0; j < cols; ++j) {
                EXPECT_EQ(re[i][j], 100 * ((i + (rows + 1) / 2) % rows) + (j + (cols + 1) / 2) % cols);
                EXPECT_EQ(im[i][j], re[i][j]);
            }
        }
        transform.ishift(re, im);
        EXPECT_TRUE(re == counting(rows, cols));
    }
}

TEST(FourierTransform, spectrumAndPhaseAreResized) {
    const FourierTransform<double> transform;
    const Vector<double> re = vectorOf<double>({3, 0, -1, 0});
    const Vector<double> im = vectorOf<double>({4, 2, 0, 0});
    Vector<double> out(9);
    transform.powerSpectrum(out, re, im);
    EXPECT_EQ(out, vectorOf<double>({25, 4, 1, 0}));
    transform.phaseAngle(out, re, im);
    EXPECT_DOUBLE_EQ(out[0], std::atan2(4.0, 3.0));
    EXPECT_DOUBLE_EQ(out[1], std::acos(0.0));
    EXPECT_DOUBLE_EQ(out[2], std::acos(-1.0));
    EXPECT_EQ(out[3], 0);
    Matrix<double> result(1, 1);
    transform.powerSpectrum(result, counting(2, 3), counting(2, 3));
    EXPECT_EQ(result[1][2], 2 * 102 * 102);
    transform.phaseAngle(result, counting(3, 2), counting(3, 2));
    EXPECT_DOUBLE_EQ(result[2][1], std::atan(1.0));
}

TEST(FourierTransform, partsOfOtherSizesAreRefusedByName) {
    const FourierTransform<float> transform;
    Vector<float> a(3), b(4), out;
    Matrix<float> c(2, 3), d(3, 2), result;
    const auto expect = [](auto operation, const std::string& name) {
        expectFailure<SizeError>(operation, "void FourierTransform<T>::" + name + "(...) const",
                                 "Real and imaginary parts have different sizes");
    };
    expect([&] { transform.computeForward(a, b); }, "computeForward");
    expect([&] { transform.computeBackward(a, b); }, "computeBackward");
    expect([&] { transform.shift(a, b); }, "shift");
    expect([&] { transform.ishift(a, b); }, "ishift");
    expect([&] { transform.powerSpectrum(out, a, b); }, "powerSpectrum");
    expect([&] { transform.phaseAngle(out, a, b); }, "phaseAngle");
    expect([&] { transform.computeForward(c, d); }, "computeForward");
    expect([&] { transform.computeBackward(c, d); }, "computeBackward");
    expect([&] { transform.shift(c, d); }, "shift");
    expect([&] { transform.ishift(c, d); }, "ishift");
    expect([&] { transform.powerSpectrum(result, c, d); }, "powerSpectrum");
    expect([&] { transform.phaseAngle(result, c, d); }, "phaseAngle");
}

// A circle run through once counter-clockwise is the single frequency +1, with the centre as frequency 0.
TEST(FourierDescriptors, aCircleIsOneDescriptor) {
    Curve<double> circle = polygonOf<double>(32, 5, 3, -2);
    Vector<float> re, im;
    FourierDescriptors<double>::computeForward(circle, re, im);
    for (int k = 0; k < 32; ++k) {
        EXPECT_NEAR(re[k], k == 0 ? 3 : k == 1 ? 5 : 0, 1e-5);
        EXPECT_NEAR(im[k], k == 0 ? -2 : 0, 1e-5);
    }
    EXPECT_EQ(FourierDescriptors<double>::numDescriptorsFromFidelity(re, im, 0.99f), 1);
    EXPECT_EQ(FourierDescriptors<double>::numDescriptorsFromFidelity(re, im, 0), 0);
    EXPECT_NEAR(FourierDescriptors<double>::fidelityFromNumDescriptors(re, im, 1), 1, 1e-5);
    EXPECT_EQ(FourierDescriptors<double>::fidelityFromNumDescriptors(re, im, 0), 0);
    Curve<double> back;
    FourierDescriptors<double>::computeBackward(re, im, back);
    ASSERT_EQ(back.getSize(), 32);
    EXPECT_TRUE(back.isClosed());
    for (int k = 0; k < 32; ++k) {
        EXPECT_LT(back[k].distance(circle[k]), 1e-5);
    }
}

TEST(FourierDescriptors, fidelityIsTheShareOfTheModuli) {
    for (const int n : {6, 7}) {
        Vector<float> re(n), im(n);
        im.setZeros();
        for (int k = 0; k < n; ++k) {
            re[k] = float(k == 0 ? 1000 : 1 << k);
        }
        double total = 0;
        for (int k = 1; k < n; ++k) {
            total += re[k];
        }
        double share = 0;
        for (int m = 1; m <= n / 2; ++m) {
            share += re[m] + (m != n - m ? re[n - m] : 0);
            const float fidelity = FourierDescriptors<float>::fidelityFromNumDescriptors(re, im, m);
            EXPECT_NEAR(fidelity, share / total, 1e-6);
            EXPECT_EQ(FourierDescriptors<float>::numDescriptorsFromFidelity(re, im, float(share / total - 0.001)), m);
        }
        EXPECT_EQ(FourierDescriptors<float>::fidelityFromNumDescriptors(re, im, 100), 1);
        EXPECT_EQ(FourierDescriptors<float>::numDescriptorsFromFidelity(re, im, 1), n / 2);
        Vector<float> cutRe = re;
        Vector<float> cutIm = re;
        FourierDescriptors<float>::cut(cutRe, cutIm, 2);
        for (int k = 0; k < n; ++k) {
            EXPECT_EQ(cutRe[k], k <= 2 || k >= n - 2 ? re[k] : 0);
            EXPECT_EQ(cutIm[k], cutRe[k]);
        }
        FourierDescriptors<float>::cut(cutRe, cutIm, -4);
        EXPECT_EQ(cutRe[1], 0);
        EXPECT_EQ(cutRe[0], 1000);
    }
}

TEST(FourierDescriptors, filteringSmoothsAndKeepsTheCentre) {
    Curve<double> ragged = polygonOf<double>(64, 10, 7, 7);
    for (int k = 0; k < 64; k += 2) {
        ragged[k] = ragged[k] + vectorOf<double>({0.3, -0.2});
    }
    const Vector<double> centre = ragged.cog();
    Curve<double> all(ragged);
    all.detach();
    EXPECT_EQ(FourierDescriptors<double>::filter(all, 40), 1);
    for (int k = 0; k < 64; ++k) {
        EXPECT_LT(all[k].distance(ragged[k]), 1e-5);
    }
    Curve<double> smooth(ragged);
    smooth.detach();
    const float fidelity = FourierDescriptors<double>::filter(smooth, 1);
    EXPECT_GT(fidelity, 0.9f);
    EXPECT_LT(fidelity, 1);
    for (int k = 0; k < 64; ++k) {
        EXPECT_NEAR(smooth[k].distance(centre), 10, 1e-4); // a circle again
    }
    EXPECT_EQ(FourierDescriptors<double>::filter(ragged, fidelity * 0.999f), 1);
    FourierDescriptors<double>::filter(ragged, 0);
    for (int k = 0; k < 64; ++k) {
        EXPECT_LT(ragged[k].distance(centre), 1e-5);
    }
}

TEST(FourierDescriptors, wholeCoordinatesAreCutTowardsZeroAndOtherAxesStay) {
    Curve<int> whole = curveOf<int>({{-5, 7, 1}, {9, 2, 2}, {-3, -8, 3}, {4, 6, 4}, {0, 1, 5}});
    const Curve<int> before = [&] {
        Curve<int> copy(whole);
        copy.detach();
        return copy;
    }();
    FourierDescriptors<int>::filter(whole, 2);
    for (int k = 0; k < 5; ++k) {
        EXPECT_EQ(whole[k][2], k + 1);
        for (int a = 0; a < 2; ++a) {
            EXPECT_LE(std::abs(whole[k][a]), std::abs(before[k][a]));
            EXPECT_LE(std::abs(whole[k][a] - before[k][a]), 1);
        }
    }
    Curve<int> none;
    FourierDescriptors<int>::filter(none, 3);
    EXPECT_EQ(none.getSize(), 0);
    Curve<int> line = curveOf<int>({{1}, {2}});
    EXPECT_THROW(FourierDescriptors<int>::filter(line, 1), SizeError);
}

} // namespace vorlen
