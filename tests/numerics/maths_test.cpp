#include "numerics/maths.h"

#include <cmath>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/vectors.h"

namespace vorlen {

TEST(Maths, froundSendsHalvesUpAlsoBelowZero) {
    EXPECT_EQ(0, Maths::fround(-0.5));
    EXPECT_EQ(-1, Maths::fround(-1.5));
    EXPECT_EQ(-2, Maths::fround(-1.51));
    EXPECT_EQ(1, Maths::fround(0.5f));
    EXPECT_EQ(0, Maths::fround(0.49999997f)); // the sum with one half is not a float
    EXPECT_EQ(-3, Maths::fround(-3.0L));
    for (int i = -4000; i <= 4000; ++i)
        ASSERT_EQ(static_cast<int>(std::floor(i * 0.0625 + 0.5)), Maths::fround(i * 0.0625));
    EXPECT_EQ(2147483647, Maths::fround(2147483647.0));
    EXPECT_EQ(-2147483647 - 1, Maths::fround(-2147483648.0));
}

TEST(Maths, froundToAMultiple) {
    EXPECT_EQ(1.25f, Maths::fround(1.3f, 0.25));
    EXPECT_EQ(-30, Maths::fround(-34.9, 10));
    EXPECT_EQ(vectorOf({1, -1}), Maths::fround(vectorOf({0.5, -1.5})));
    EXPECT_EQ(vectorOf({0.5, -1.5}), Maths::fround(vectorOf({0.6, -1.4}), 0.5));
}

TEST(Maths, powersOfTwo) {
    EXPECT_TRUE(Maths::isPowerOfTwo(1));
    EXPECT_TRUE(Maths::isPowerOfTwo(1 << 30));
    EXPECT_FALSE(Maths::isPowerOfTwo(0));
    EXPECT_FALSE(Maths::isPowerOfTwo(6));
    EXPECT_FALSE(Maths::isPowerOfTwo(-2147483647 - 1));
    EXPECT_EQ(8, Maths::nextPowerOfTwo(5));
    EXPECT_EQ(8, Maths::nextPowerOfTwo(8));
    EXPECT_EQ(1, Maths::nextPowerOfTwo(0));
    EXPECT_EQ(1 << 30, Maths::nextPowerOfTwo(1 << 30));
    EXPECT_THROW(Maths::nextPowerOfTwo((1 << 30) + 1), RangeError);
}

TEST(Maths, factorialsAndPoissonProbabilities) {
    EXPECT_EQ(0, Maths::logFactorial(1));
    EXPECT_NEAR(std::log(120.0), Maths::logFactorial(5), 1e-12);
    EXPECT_NEAR(std::lgamma(1001.0), Maths::logFactorial(1000), 1e-8);
    EXPECT_NEAR(Maths::logFactorial(255) + std::log(256.0), Maths::logFactorial(256), 1e-9);
    EXPECT_EQ(1, Maths::factorial(0));
    EXPECT_EQ(120, Maths::factorial(5));
    EXPECT_NEAR(2.43290200817664e18, Maths::factorial(20), 1e13);
    double total = 0;
    for (unsigned int k = 0; k < 60; ++k)
        total += Maths::pdfPoisson(7.5f, k);
    EXPECT_NEAR(1, total, 1e-6);
    EXPECT_NEAR(std::exp(-2.0) * 8 / 6, Maths::pdfPoisson(2, 3), 1e-7);
    EXPECT_EQ(1, Maths::pdfPoisson(0, 0));
    EXPECT_EQ(0, Maths::pdfPoisson(0, 1));
}

TEST(Maths, anglesConvert) {
    EXPECT_FLOAT_EQ(3.14159265f, Maths::toRadians(180));
    EXPECT_FLOAT_EQ(90, Maths::toDegrees(1.57079633f));
    EXPECT_EQ(9, Maths::sqr(-3));
}

TEST(Maths, rotationMatricesTurnTheAxes) {
    const double angle = 0.3;
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const Matrix<double> plane = Maths::rotationMatrix(angle);
    EXPECT_EQ(vectorOf({c, -s}), plane[0]);
    EXPECT_EQ(vectorOf({s, c}), plane[1]);
    EXPECT_NEAR(angle, Maths::rotationAngle(plane), 1e-15);
    const Matrix<double> x = Maths::xRotationMatrix3D(angle);
    EXPECT_EQ(vectorOf({1.0, 0.0, 0.0}), x[0]);
    EXPECT_EQ(vectorOf({0.0, c, -s}), x[1]);
    EXPECT_EQ(vectorOf({0.0, s, c}), x[2]);
    const Matrix<double> y = Maths::yRotationMatrix3D(angle);
    EXPECT_EQ(vectorOf({c, 0.0, s}), y[0]);
    EXPECT_EQ(vectorOf({-s, 0.0, c}), y[2]);
    const Matrix<double> z = Maths::zRotationMatrix3D(angle);
    EXPECT_EQ(vectorOf({c, -s, 0.0}), z[0]);
    EXPECT_EQ(vectorOf({s, c, 0.0}), z[1]);
    EXPECT_EQ(vectorOf({0.0, 0.0, 1.0}), z[2]);
}

TEST(Maths, aRotationIsRebuiltFromItsAngles) {
    for (const float ax : {-3.0f, -1.2f, 0.0f, 0.7f, 1.5707963f, 2.9f}) {
        for (const float ay : {-1.5f, -0.4f, 0.0f, 0.9f, 1.4f, 2.5f}) {
            for (const float az : {-2.0f, 0.0f, 0.3f, 3.1f}) {
                const Matrix<float> m =
                    Maths::xRotationMatrix3D(ax) * Maths::yRotationMatrix3D(ay) * Maths::zRotationMatrix3D(az);
                float x = 0;
                float y = 0;
                float z = 0;
                Maths::decomposeRotationMatrix3D(m, x, y, z);
                const Matrix<float> rebuilt =
                    Maths::xRotationMatrix3D(x) * Maths::yRotationMatrix3D(y) * Maths::zRotationMatrix3D(z);
                for (int i = 0; i < 3; ++i)
                    for (int j = 0; j < 3; ++j)
                        ASSERT_NEAR(m(i, j), rebuilt(i, j), 2e-6) << ax << " " << ay << " " << az;
            }
        }
    }
}

} // namespace vorlen
