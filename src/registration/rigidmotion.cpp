#include "registration/rigidmotion.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorlen {

namespace {

constexpr double degreesOfRadian = 180 / 3.14159265358979323846;

double sensible(double size) {
    return size > 0 && std::isfinite(size) ? size : 1;
}

double roundedTo(double value, double steps) {
    return std::round(value * steps) / steps;
}

std::vector<double> residualsOf(const std::vector<PointPair>& pairs, const RigidMotion& motion) {
    std::vector<double> residuals;
    residuals.reserve(pairs.size());
    for (const PointPair& pair : pairs) {
        const PlanePoint moved = motion.apply(pair.source);
        residuals.push_back(std::hypot(moved.x - pair.target.x, moved.y - pair.target.y));
    }
    return residuals;
}

double middleOf(std::vector<double> values) {
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The fit through two pairs that most pairs are nearest to, and its median residual.
RigidMotion leastMedianFit(const std::vector<PointPair>& pairs, double& median) {
    RigidMotion best;
    median = std::numeric_limits<double>::infinity();
    const std::size_t stride = 1 + pairs.size() / 100; // of very many some will do
    for (std::size_t i = 0; i < pairs.size(); i += stride)
        for (std::size_t j = i + 1; j < pairs.size(); j += stride) {
            const RigidMotion motion = fitRigid({pairs[i], pairs[j]});
            const double middle = middleOf(residualsOf(pairs, motion));
            if (middle < median) {
                median = middle;
                best = motion;
            }
        }
    return best;
}

} // namespace

PlanePoint RigidMotion::apply(PlanePoint point) const {
    const double c = std::cos(angle), s = std::sin(angle);
    return {c * point.x - s * point.y + x, s * point.x + c * point.y + y};
}

RigidMotion RigidMotion::operator*(const RigidMotion& other) const {
    const PlanePoint shift = apply({other.x, other.y});
    return {angle + other.angle, shift.x, shift.y};
}

RigidMotion RigidMotion::inverse() const {
    const double c = std::cos(angle), s = std::sin(angle);
    return {-angle, -c * x - s * y, s * x - c * y};
}

bool RigidMotion::isFinite() const {
    return std::isfinite(angle) && std::isfinite(x) && std::isfinite(y);
}

RigidMotion motionOf(const Registration& registration, double pixelWidth, double pixelHeight) {
    return {registration.getRotationAngle() / degreesOfRadian, registration.getHorShift() * sensible(pixelWidth),
            registration.getVerShift() * sensible(pixelHeight)};
}

Registration registrationOf(const RigidMotion& motion, double pixelWidth, double pixelHeight) {
    const double degrees = std::remainder(motion.angle * degreesOfRadian, 360.0);
    return Registration(roundedTo(motion.x / sensible(pixelWidth), 1e3) + 0.0,
                        roundedTo(motion.y / sensible(pixelHeight), 1e3) + 0.0, float(roundedTo(degrees, 1e4)));
}

double meanDistance(const RigidMotion& first, const RigidMotion& second, double width, double height) {
    constexpr int steps = 8;
    double sum = 0;
    for (int i = 0; i < steps; ++i)
        for (int j = 0; j < steps; ++j) {
            const PlanePoint point{width * ((j + 0.5) / steps - 0.5), height * ((i + 0.5) / steps - 0.5)};
            const PlanePoint a = first.apply(point), b = second.apply(point);
            sum += std::hypot(a.x - b.x, a.y - b.y);
        }
    return sum / (steps * steps);
}

RigidMotion fitRigid(const std::vector<PointPair>& pairs, const std::vector<double>& weights) {
    const auto weight = [&](std::size_t i) { return weights.empty() ? 1 : weights[i]; };
    PlanePoint source, target;
    double total = 0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const double w = weight(i);
        total += w;
        source.x += w * pairs[i].source.x;
        source.y += w * pairs[i].source.y;
        target.x += w * pairs[i].target.x;
        target.y += w * pairs[i].target.y;
    }
    if (!(total > 0))
        return {};
    source = {source.x / total, source.y / total};
    target = {target.x / total, target.y / total};
    double dot = 0, cross = 0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const double w = weight(i);
        const PlanePoint s{pairs[i].source.x - source.x, pairs[i].source.y - source.y};
        const PlanePoint t{pairs[i].target.x - target.x, pairs[i].target.y - target.y};
        dot += w * (s.x * t.x + s.y * t.y);
        cross += w * (s.x * t.y - s.y * t.x);
    }
    RigidMotion motion{dot == 0 && cross == 0 ? 0 : std::atan2(cross, dot), 0, 0};
    const PlanePoint turned = motion.apply(source);
    motion.x = target.x - turned.x;
    motion.y = target.y - turned.y;
    return motion;
}

LandmarkFit fitLandmarks(const std::vector<PointPair>& pairs, double tolerance) {
    LandmarkFit fit;
    fit.used.assign(pairs.size(), true);
    std::vector<double> weights(pairs.size(), 1);
    if (pairs.size() >= 3) {
        double median = 0;
        const RigidMotion start = leastMedianFit(pairs, median);
        // The factors make the median a standard deviation, also for few pairs; a fit has the freedom of two pairs.
        const double deviation = 1.4826 * (1 + 5 / double(pairs.size() - 1)) * median;
        const std::vector<double> residuals = residualsOf(pairs, start);
        for (std::size_t i = 0; i < pairs.size(); ++i) {
            fit.used[i] = residuals[i] <= std::max(2.5 * deviation, tolerance);
            weights[i] = fit.used[i] ? 1 : 0;
        }
    }
    fit.motion = fitRigid(pairs, weights);
    fit.residuals = residualsOf(pairs, fit.motion);
    double sum = 0, count = 0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        sum += weights[i] * fit.residuals[i] * fit.residuals[i];
        count += weights[i];
    }
    fit.rms = count > 0 ? std::sqrt(sum / count) : 0;
    return fit;
}

} // namespace vorlen
