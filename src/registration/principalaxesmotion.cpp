#include "registration/principalaxesmotion.h"

#include <cmath>

#include "registration/matrixprincipalaxesanalysis.h"

namespace vorlen {

namespace {

constexpr double halfTurn = 3.14159265358979323846;

struct Axis {
    PlanePoint centre;
    double angle = 0; // from x towards y
};

std::optional<Axis> axisOf(const SectionImage& image, bool inverted) {
    if (image.grey.getSize1() == 0 || image.grey.getSize2() == 0)
        return std::nullopt;
    MatrixPrincipalAxesAnalysis<float> analysis;
    // Values are weights: what is no number, or is below 0, weighs nothing.
    PixelMatrix<float> weights = image.grey;
    for (int i = 0; i < weights.getSize1(); ++i)
        for (float& value : weights[i]) {
            value = inverted ? float(image.white) - value : value;
            value = value > 0 && std::isfinite(value) ? value : 0;
        }
    analysis.apply(weights);
    if (!analysis.hasMass())
        return std::nullopt;
    const double w = image.pixelWidth, h = image.pixelHeight;
    const auto& moments = analysis.getInertiaMatrix();
    const double yy = h * h * moments[0][0], xy = w * h * moments[0][1], xx = w * w * moments[1][1];
    Axis axis;
    axis.centre = {w * (double(analysis.getInertiaCenter()[1]) - 0.5 * image.grey.getSize2()),
                   h * (double(analysis.getInertiaCenter()[0]) - 0.5 * image.grey.getSize1())};
    // A round section has no axis.
    if (std::hypot(xx - yy, 2 * xy) > 1e-4 * (xx + yy))
        axis.angle = 0.5 * std::atan2(2 * xy, xx - yy);
    return axis;
}

} // namespace

std::optional<RigidMotion> principalAxesMotion(const SectionImage& source, const SectionImage& target, bool inverted) {
    const std::optional<Axis> from = axisOf(source, inverted), to = axisOf(target, inverted);
    if (!from || !to)
        return std::nullopt;
    RigidMotion motion{std::remainder(to->angle - from->angle, halfTurn), 0, 0};
    const PlanePoint turned = motion.apply(from->centre);
    motion.x = to->centre.x - turned.x;
    motion.y = to->centre.y - turned.y;
    return motion;
}

} // namespace vorlen
