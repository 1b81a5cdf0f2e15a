#include "normalization/cohortregistration.h"

#include <algorithm>
#include <cmath>

#include "normalization/surfaceregistration.h"

namespace vorlen {

namespace {

constexpr int maxRounds = 5;

} // namespace

CohortRegistration::CohortRegistration(std::vector<SpecimenSurfaces> specimens)
    : __specimens(std::move(specimens)), __poses(__specimens.size()) {
}

CohortRegistration::~CohortRegistration() = default;

void CohortRegistration::record(const SpecimenSurfaces& target, const std::vector<SpecimenSurfaces>& specimens,
                                int without) {
    std::vector<double> all;
    for (std::size_t i = 0; i < specimens.size(); ++i) {
        if (int(i) == without)
            continue;
        for (const double distance : surfaceDistances(specimens[i], target))
            if (distance >= 0)
                all.push_back(distance);
    }
    double mean = 0, square = 0;
    for (const double distance : all)
        mean += distance / double(all.size());
    for (const double distance : all)
        square += (distance - mean) * (distance - mean);
    const double n = double(all.size());
    __errors.push_back(mean);
    __sems.push_back(n > 1 ? std::sqrt(square / (n - 1) / n) : 0);
}

std::vector<SpecimenSurfaces> CohortRegistration::placed() const {
    std::vector<SpecimenSurfaces> result;
    result.reserve(__specimens.size());
    for (std::size_t i = 0; i < __specimens.size(); ++i)
        result.push_back(__specimens[i].moved(__poses[i]));
    return result;
}

void CohortRegistration::align(int reference) {
    __reference = reference;
    const std::size_t n = __specimens.size();
    __errors.clear();
    __sems.clear();
    notifyStarted("");
    record(__specimens[std::size_t(reference)], __specimens, reference);
    // The reference first goes to the origin, unturned.
    SpecimenPose home;
    double axes[3][3], radius = 0;
    Point3 centre;
    __specimens[std::size_t(reference)].axes(centre, axes, radius);
    home.translation = {-centre[0], -centre[1], -centre[2]};
    const SpecimenSurfaces target = __specimens[std::size_t(reference)].moved(home);
    SurfaceRegistration registration(target);
    registration.setMirrorsAllowed(__mirrors);
    for (std::size_t i = 0; i < n && !isCanceled(); ++i) {
        __poses[i] = int(i) == reference ? home : registration.align(__specimens[i]);
        notifyProgressed(static_cast<unsigned int>(i + 1), static_cast<unsigned int>(n));
    }
    record(target, placed(), reference);
    notifyFinished("");
}

void CohortRegistration::registerJointly() {
    const std::size_t n = __specimens.size();
    const SpecimenPose home = __poses[std::size_t(__reference)];
    notifyStarted("");
    for (int round = 0; round < maxRounds && !isCanceled(); ++round) {
        const SpecimenSurfaces mean = MeanSurfaces::of(placed(), 2).mean;
        SurfaceRegistration registration(mean);
        Point3 centre;
        double axes[3][3], radius = 1, moved = 0;
        mean.axes(centre, axes, radius);
        for (std::size_t i = 0; i < n && !isCanceled(); ++i) {
            const SpecimenPose before = __poses[i];
            __poses[i] = registration.refine(__specimens[i], before);
            SpecimenPose change = before;
            change.mirrored = false;
            change = change.inverse().followedBy([&] {
                SpecimenPose after = __poses[i];
                after.mirrored = false;
                return after;
            }());
            const Point3 shifted = change(centre);
            double shift = 0;
            for (std::size_t a = 0; a < 3; ++a)
                shift += (shifted[a] - centre[a]) * (shifted[a] - centre[a]);
            moved = std::max(moved, std::sqrt(shift) + change.angle() / 57.3 * radius);
            notifyProgressed(static_cast<unsigned int>(std::size_t(round) * n + i + 1),
                             static_cast<unsigned int>(std::size_t(maxRounds) * n));
        }
        record(mean, placed(), -1);
        if (moved < 2e-3 * radius)
            break;
    }
    // The frame stays that of the reference.
    SpecimenPose drift = __poses[std::size_t(__reference)].inverse().followedBy(home);
    for (SpecimenPose& pose : __poses)
        pose = pose.followedBy(drift);
    notifyFinished("");
}

} // namespace vorlen
