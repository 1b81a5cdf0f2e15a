#include "registration/principalaxesimageregistration.h"

#include <cmath>

#include <gtest/gtest.h>

#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"
#include "support/volumes.h"
#include "values/registration.h"

namespace vorlen {

namespace {

constexpr double degree = M_PI / 180;

/// x goes to the rotation by angle about center of x, plus shift; positions are (row, column).
struct Motion {
    double angle;
    double center[2];
    double shift[2];

    void apply(const double* x, double* image) const {
        const double c = std::cos(angle), s = std::sin(angle);
        const double u = x[0] - center[0], v = x[1] - center[1];
        image[0] = c * u - s * v + center[0] + shift[0];
        image[1] = s * u + c * v + center[1] + shift[1];
    }
};

/// An unsymmetrical drawing: a long blob with a head and a foot beside it, turned by tilt about its middle at (r, c)
/// and moved. All of it fades out within 60 pixels.
template <class T>
PixelMatrix<T> drawing(int rows, int columns, double r, double c, double tilt, const Motion& motion) {
    const double blobs[][4] = {{-25, 0, 8, 1}, {-8, 1, 7, 1.5}, {8, -1, 7, 1.2}, {24, 4, 6, 0.7}, {26, -9, 4, 0.9}};
    PixelMatrix<T> matrix(rows, columns);
    matrix.setZeros();
    for (const auto& blob : blobs) {
        const Motion turn{tilt, {0, 0}, {r, c}};
        double place[2], center[2];
        turn.apply(blob, place);
        motion.apply(place, center);
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < columns; ++j) {
                const double u = i - center[0], v = j - center[1];
                matrix[i][j] += T(200 * blob[3] * std::exp(-(u * u + v * v) / (2 * blob[2] * blob[2])));
            }
    }
    return matrix;
}

const Motion still{0, {0, 0}, {0, 0}};

/// Registers the drawing on itself moved by the motion, and expects this motion at some places.
template <class T>
void expectRecovery(double tilt, const Motion& motion, double tolerance) {
    const PixelMatrix<T> source = drawing<T>(220, 260, 100, 130, tilt, still);
    const PixelMatrix<T> target = drawing<T>(240, 250, 100, 130, tilt, motion);
    PrincipalAxesImageRegistration<T> registration;
    registration.setSource(source);
    registration.setTarget(target);
    registration.run();
    EXPECT_TRUE(registration.isReliable());
    const Matrix<double>& rotation = registration.rotation();
    for (const auto& place :
         {Motion{0, {110, 130}, {0, 0}}, Motion{0, {60, 40}, {0, 0}}, Motion{0, {200, 220}, {0, 0}}}) {
        const double* x = place.center;
        double expected[2];
        motion.apply(x, expected);
        for (int a = 0; a < 2; ++a) {
            const double c[2] = {110, 130}; // half the size of the source
            const double found =
                rotation[a][0] * (x[0] - c[0]) + rotation[a][1] * (x[1] - c[1]) + c[a] + registration.translation()[a];
            EXPECT_NEAR(expected[a], found, tolerance)
                << "tilt " << tilt / degree << ", turn " << motion.angle / degree;
        }
    }
}

} // namespace

// Turns of up to 70 degrees either way, from tilts that have the axes of the two images in all quadrants.
TEST(PrincipalAxesImageRegistration, recoversKnownMotions) {
    for (double tilt = -80; tilt <= 90; tilt += 34)
        for (const double turn : {-70.0, -20.0, -1.5, 0.0, 7.0, 45.0, 70.0})
            expectRecovery<double>(tilt * degree, {turn * degree, {100, 130}, {12.5, -7.25}}, 0.01);
    expectRecovery<float>(20 * degree, {-33 * degree, {90, 140}, {3, 11}}, 0.02);
    expectRecovery<long double>(20 * degree, {-33 * degree, {90, 140}, {3, 11}}, 0.01);
}

TEST(PrincipalAxesImageRegistration, differsInTheOtherModeByTheCentreOfRotationOnly) {
    const Motion motion{25 * degree, {80, 90}, {4, 9}};
    const PixelMatrix<double> source = drawing<double>(220, 260, 100, 130, 0.3, still);
    const PixelMatrix<double> target = drawing<double>(220, 260, 100, 130, 0.3, motion);
    PrincipalAxesImageRegistration<double> registration;
    registration.setSource(source);
    registration.setTarget(target);
    registration.setImageCenteredRotation(false);
    registration.run();
    EXPECT_NEAR(std::cos(motion.angle), registration.rotation()[0][0], 1e-5);
    EXPECT_NEAR(-std::sin(motion.angle), registration.rotation()[0][1], 1e-5);
    // The centre of the drawing's masses, moved: weighted mean of the blobs by weight times squared radius.
    double weights = 0, center[2] = {};
    const double blobs[][4] = {{-25, 0, 8, 1}, {-8, 1, 7, 1.5}, {8, -1, 7, 1.2}, {24, 4, 6, 0.7}, {26, -9, 4, 0.9}};
    for (const auto& blob : blobs) {
        const double weight = blob[3] * blob[2] * blob[2];
        double place[2];
        Motion{0.3, {0, 0}, {100, 130}}.apply(blob, place);
        weights += weight;
        center[0] += weight * place[0];
        center[1] += weight * place[1];
    }
    center[0] /= weights;
    center[1] /= weights;
    double moved[2];
    motion.apply(center, moved);
    EXPECT_NEAR(moved[0] - center[0], registration.translation()[0], 1e-4);
    EXPECT_NEAR(moved[1] - center[1], registration.translation()[1], 1e-4);
}

TEST(PrincipalAxesImageRegistration, givesTheIdentityForAnImageOnItselfAndTheShiftOfAShiftedOne) {
    const PixelMatrix<float> image = drawing<float>(220, 260, 100, 130, 0.7, still);
    PixelMatrix<float> shifted(220, 260);
    shifted.setZeros();
    for (int i = 0; i < 200; ++i)
        for (int j = 30; j < 260; ++j)
            shifted[i + 20][j - 30] = image[i][j];
    for (const bool centered : {true, false}) {
        PrincipalAxesImageRegistration<float> registration;
        registration.setImageCenteredRotation(centered);
        registration.setSource(image);
        registration.setTarget(image);
        registration.run();
        EXPECT_EQ(0, registration.translation().norm());
        EXPECT_EQ(1, registration.rotation()[0][0]);
        EXPECT_EQ(0, registration.rotation()[1][0]);
        registration.setTarget(shifted);
        registration.run();
        EXPECT_NEAR(20, registration.translation()[0], 1e-3);
        EXPECT_NEAR(-30, registration.translation()[1], 1e-3);
        EXPECT_NEAR(0, registration.rotation()[1][0], 1e-5);
    }
}

TEST(PrincipalAxesImageRegistration, leavesABlankImageInPlaceAndSaysSo) {
    const PixelMatrix<double> image = drawing<double>(60, 70, 30, 30, 0, still);
    PixelMatrix<double> blank(50, 80);
    blank.setZeros();
    PrincipalAxesImageRegistration<double> registration;
    EXPECT_THROW(registration.run(), UsageError);
    registration.setSource(image);
    EXPECT_THROW(registration.run(), UsageError);
    EXPECT_EQ(0, registration.translation().getSize());
    EXPECT_THROW(registration.sliceRegistration(), UsageError);
    registration.setTarget(blank);
    registration.run();
    EXPECT_FALSE(registration.isReliable());
    EXPECT_EQ(0, registration.translation().norm());
    EXPECT_EQ(1, registration.rotation()[1][1]);
    EXPECT_TRUE(registration.sliceRegistration().isNull());
}

// A slice lays its centre, turned, at the shift from the centre of the slice before; the angle turns columns against
// rows. By hand for the motions given.
TEST(PrincipalAxesImageRegistration, keepsItsResultAsASliceDoes) {
    const auto registered = [](double turn, double rowShift, double columnShift, int rows, int columns, bool centered) {
        const Motion motion{turn * degree, {110, 130}, {rowShift, columnShift}}; // about the centre of the source
        const PixelMatrix<double> source = drawing<double>(220, 260, 100, 130, 0.2, still);
        const PixelMatrix<double> target = drawing<double>(rows, columns, 100, 130, 0.2, motion);
        PrincipalAxesImageRegistration<double> registration;
        registration.setImageCenteredRotation(centered);
        registration.setSource(source);
        registration.setTarget(target);
        registration.run();
        return registration.sliceRegistration();
    };
    for (const bool centered : {true, false}) {
        const Registration back = registered(-30, 5.5, -4.5, 220, 260, centered);
        EXPECT_NEAR(-4.5, back.getHorShift(), 2e-3);
        EXPECT_NEAR(5.5, back.getVerShift(), 2e-3);
        EXPECT_NEAR(30, back.getRotationAngle(), 1e-3);
    }
    EXPECT_NEAR(340, registered(20, 0, 0, 220, 260, true).getRotationAngle(), 1e-3); // not -20
    const Registration onLarger = registered(0, 0.5, 0.5, 240, 300, true);           // whose centre is at (120, 150)
    EXPECT_NEAR(-19.5, onLarger.getHorShift(), 2e-3);
    EXPECT_NEAR(-9.5, onLarger.getVerShift(), 2e-3);
}

} // namespace vorlen
