#include "normalization/cohortregistration.h"

#include <algorithm>
#include <cmath>

#include "images/filters/parallelwork.h"
#include "normalization/surfaceregistration.h"

namespace vorlen {

namespace {

constexpr int maxRounds = 5;

} // namespace

CohortRegistration::CohortRegistration(std::vector<SpecimenSurfaces> specimens)
    : __specimens(std::move(specimens)), __poses(__specimens.size()), __unclear(__specimens.size()) {
}

CohortRegistration::~CohortRegistration() = default;

void CohortRegistration::record(const SpecimenSurfaces& target, const std::vector<SpecimenSurfaces>& specimens,
                                int without) {
    std::vector<double> all, own(specimens.size(), -1);
    for (std::size_t i = 0; i < specimens.size(); ++i) {
        if (int(i) == without)
            continue;
        double sum = 0;
        int count = 0;
        for (const double distance : surfaceDistances(specimens[i], target)) {
            if (distance < 0)
                continue;
            all.push_back(distance);
            sum += distance;
            ++count;
        }
        own[i] = count > 0 ? sum / count : -1;
    }
    __specimenErrors.push_back(own);
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
    place(reference, true);
}

void CohortRegistration::refine(int reference) {
    place(reference, false);
}

void CohortRegistration::place(int reference, bool anew) {
    __reference = reference;
    const std::size_t n = __specimens.size(), first = std::size_t(reference);
    __errors.clear();
    __sems.clear();
    __specimenErrors.clear();
    notifyStarted("");
    if (anew)
        __poses.assign(n, SpecimenPose());
    const std::vector<SpecimenSurfaces> before = placed();
    record(before[first], before, reference);
    // The reference itself goes to the origin, unturned.
    SpecimenPose home = __poses[first];
    if (anew) {
        double axes[3][3], radius = 0;
        Point3 centre;
        __specimens[first].axes(centre, axes, radius);
        home.translation = {-centre[0], -centre[1], -centre[2]};
    }
    const SpecimenSurfaces target = __specimens[first].moved(home);
    std::vector<double> rivals(n, 0);
    ParallelWork work(*this, n);
    work.run(int(n), n, [&](int number, int /*worker*/) {
        const std::size_t i = std::size_t(number);
        if (stops())
            return;
        if (i == first) {
            __poses[i] = home;
            return;
        }
        SurfaceRegistration registration(target);
        registration.setMirrorsAllowed(__mirrors);
        __poses[i] = anew ? registration.align(__specimens[i]) : registration.refine(__specimens[i], __poses[i]);
        rivals[i] = registration.getRivalTurn();
    });
    for (std::size_t i = 0; i < n; ++i)
        __unclear[i] = rivals[i] > 0;
    record(target, placed(), reference);
    notifyFinished("");
}

void CohortRegistration::registerJointly() {
    const std::size_t n = __specimens.size();
    const SpecimenPose home = __poses[std::size_t(__reference)];
    __errors.clear();
    __sems.clear();
    __specimenErrors.clear();
    notifyStarted("");
    ParallelWork work(*this, std::size_t(maxRounds) * n);
    for (int round = 0; round < maxRounds && !stops(); ++round) {
        const std::vector<SpecimenSurfaces> all = placed();
        const SpecimenSurfaces mean = MeanSurfaces::of(all, 1, [this] { return stops(); }).mean;
        if (stops())
            break;
        if (round == 0)
            record(mean, all, -1);
        const std::vector<SpecimenPose> before = __poses;
        std::vector<double> rivals(n, 0);
        work.run(int(n), n, [&](int number, int /*worker*/) {
            const std::size_t i = std::size_t(number);
            if (stops())
                return;
            SurfaceRegistration registration(mean);
            // Half turns are tried once: the mean of the next round is not another one.
            __poses[i] = round == 0 ? registration.refine(__specimens[i], before[i])
                                    : registration.settle(__specimens[i], before[i]);
            rivals[i] = registration.getRivalTurn();
        });
        Point3 centre;
        double axes[3][3], radius = 1, moved = 0;
        mean.axes(centre, axes, radius);
        for (std::size_t i = 0; i < n; ++i) {
            if (round == 0)
                __unclear[i] = rivals[i] > 0;
            SpecimenPose from = before[i], to = __poses[i];
            from.mirrored = to.mirrored = false;
            const SpecimenPose change = from.inverse().followedBy(to);
            const Point3 shifted = change(centre);
            double shift = 0;
            for (std::size_t a = 0; a < 3; ++a)
                shift += (shifted[a] - centre[a]) * (shifted[a] - centre[a]);
            moved = std::max(moved, std::sqrt(shift) + change.angle() / 57.3 * radius);
        }
        record(mean, placed(), -1);
        __converged = moved < 1e-3 * radius;
        if (__converged)
            break;
    }
    // The frame stays that of the reference.
    SpecimenPose drift = __poses[std::size_t(__reference)].inverse().followedBy(home);
    for (SpecimenPose& pose : __poses)
        pose = pose.followedBy(drift);
    notifyFinished("");
}

} // namespace vorlen
