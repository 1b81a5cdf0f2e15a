#include "normalization/surfaceregistration.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

// Share of the body's radius at which a distance counts no further in a score.
constexpr double scoreLimit = 1.0 / 6;

// Cosine of the angle from which normals disagree.
constexpr double leastCosine = 0.2;

// Distances that weights fade by, in terms of the one that 6 of 10 pairs don't exceed: a search shall not be held by
// what doesn't fit, but in the end shapes that merely vary shall count about alike, since a lesser weight for the
// crests of smooth waves draws the fit off (five times are four standard deviations).
constexpr double searchScale = 2;
constexpr double fineScale = 5;

// Of the mean distance within, what a pair beside an end of a surface counts at most when orientations are compared.
constexpr double besideShare = 2;

// How much better than as the raw data lie a specimen must fit that is to be turned over: specimens vary, and of bodies
// whose two ends differ by less than that the wrong one may fit a little better.
constexpr double turnPreference = 1;

// Share of the body's radius that distances tell nothing of the orientation below: specimens and outlines vary by more.
constexpr double toldDistance = 0.005;

// Of the score of the orientation taken, below which another one fits about as well.
constexpr double doubt = 1.5;

// Of the best score, where refinement would not bring a candidate back.
constexpr double hopeless = 4;

// Steps below which a search and the last refinement end, in shares of the body's radius.
constexpr double roughTolerance = 3e-4;
constexpr double fineTolerance = 2e-5;

Point3 minus(const Point3& a, const Point3& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

double dot(const Point3& a, const Point3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Solves the symmetrical system of six in place by Cholesky's decomposition; false when it is not definite.
bool solveSix(double a[6][6], double b[6]) {
    for (int j = 0; j < 6; ++j) {
        for (int k = 0; k < j; ++k)
            a[j][j] -= a[j][k] * a[j][k];
        if (!(a[j][j] > 0))
            return false;
        a[j][j] = std::sqrt(a[j][j]);
        for (int i = j + 1; i < 6; ++i) {
            for (int k = 0; k < j; ++k)
                a[i][j] -= a[i][k] * a[j][k];
            a[i][j] /= a[j][j];
        }
    }
    for (int i = 0; i < 6; ++i) {
        for (int k = 0; k < i; ++k)
            b[i] -= a[i][k] * b[k];
        b[i] /= a[i][i];
    }
    for (int i = 5; i >= 0; --i) {
        for (int k = i + 1; k < 6; ++k)
            b[i] -= a[k][i] * b[k];
        b[i] /= a[i][i];
    }
    return true;
}

/// The rotation about this axis by its length, in radians.
SpecimenPose rotationBy(const Point3& axis) {
    SpecimenPose pose;
    const double angle = std::sqrt(dot(axis, axis));
    if (angle < 1e-15)
        return pose;
    const double s = std::sin(angle), c = 1 - std::cos(angle);
    const double x = axis[0] / angle, y = axis[1] / angle, z = axis[2] / angle;
    const double k[3][3] = {{0, -z, y}, {z, 0, -x}, {-y, x, 0}};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            double square = 0;
            for (int l = 0; l < 3; ++l)
                square += k[i][l] * k[l][j];
            pose.rotation[i][j] += s * k[i][j] + c * square;
        }
    }
    return pose;
}

/// The pose that turns about a centre and brings it to another.
SpecimenPose poseAbout(const double rotation[3][3], const Point3& from, const Point3& to, bool mirrored) {
    SpecimenPose pose;
    pose.mirrored = mirrored;
    for (int i = 0; i < 3; ++i)
        std::copy_n(rotation[i], 3, pose.rotation[i]);
    pose.translation = minus(to, pose.turn(from));
    return pose;
}

/// The rigid motion alone of a pose.
SpecimenPose unmirrored(const SpecimenPose& pose) {
    SpecimenPose plain = pose;
    plain.mirrored = false;
    return plain;
}

/// A point of one specimen, in its own coordinates, and the closest one of the same structure of the other.
struct Pair {
    Point3 moving; // at its place
    Point3 target;
    Point3 normal; // of both, of length 1; null where they disagree
    double distance;
    bool beside; // the closest point is on the border: there may be nothing to compare with
};

/// About count vertices of each of the surfaces, evenly through its list; offset chooses others of them.
std::vector<std::pair<int, int>> sampled(const SpecimenSurfaces& surfaces, const SpecimenSurfaces& other, int count) {
    std::vector<std::pair<int, int>> samples;
    int used = 0;
    for (int k = 0; k < surfaces.getSize() && k < other.getSize(); ++k)
        used += surfaces[k].isEmpty() || other[k].isEmpty() ? 0 : 1;
    for (int k = 0; k < surfaces.getSize() && k < other.getSize(); ++k) {
        const int n = surfaces[k].size();
        if (n == 0 || other[k].isEmpty())
            continue;
        const int wanted = std::min(n, std::max(count / used, 24));
        for (int i = 0; i < wanted; ++i)
            samples.emplace_back(k, int((double(i) + 0.5) * n / wanted));
    }
    return samples;
}

/// Closest-point iteration of one specimen on another.
class Iteration {
public:
    /// fine: pairs end at places on the quadrilaterals, not at vertices.
    Iteration(const SpecimenSurfaces& moving, const SpecimenSurfaces& target, int count, bool fine = false)
        : __moving(moving), __target(target), __fine(fine), __fromMoving(sampled(moving, target, count)),
          __fromTarget(sampled(target, moving, count)) {
        __pairs.reserve(__fromMoving.size() + __fromTarget.size());
    }

    bool isEmpty() const { return __fromMoving.empty(); }

    double score(const SpecimenPose& pose, double limit) {
        findPairs(pose);
        double sum = 0;
        for (const Pair& pair : __pairs) {
            const double r = offBy(pair, limit);
            sum += r * r;
        }
        return sum / double(__pairs.size());
    }

    /// The score by which the orientation is chosen. Where a surface ends depends on which sections there are, and says
    /// little of the orientation: pairs beside ends count up to twice what the others are off in the mean. Unless most
    /// pairs are such.
    double choiceScore(const SpecimenPose& pose, double limit) {
        findPairs(pose);
        double sum = 0;
        int numInner = 0;
        for (const Pair& pair : __pairs) {
            const double r = pair.beside ? 0 : offBy(pair, limit);
            sum += r * r;
            numInner += pair.beside ? 0 : 1;
        }
        const bool most = 2 * numInner > int(__pairs.size());
        const double besideLimit = most ? std::min(limit, besideShare * std::sqrt(sum / numInner)) : limit;
        for (const Pair& pair : __pairs) {
            const double r = pair.beside ? std::min(besideLimit, offBy(pair, limit)) : 0;
            sum += r * r;
        }
        return sum / double(__pairs.size());
    }

    /// Moves the pose by steps until one is less than the tolerance, in shares of the radius; pointShare 1 goes by
    /// distances of points, less by distances along normals.
    void run(SpecimenPose& pose, int steps, double pointShare, double radius, double tolerance) {
        for (int k = 0; k < steps; ++k) {
            findPairs(pose);
            const double moved = step(pose, pointShare, radius);
            if (moved < tolerance * radius)
                return;
        }
    }

private:
    static double offBy(const Pair& pair, double limit) {
        const bool agrees = pair.normal[0] != 0 || pair.normal[1] != 0 || pair.normal[2] != 0;
        const double along = pair.beside ? pair.distance : std::abs(dot(minus(pair.moving, pair.target), pair.normal));
        return agrees ? std::min(along, limit) : limit;
    }

    void addPair(const Point3& moving, const Point3& movingNormal, const Point3& target, const Point3& targetNormal,
                 double reach) {
        Pair pair{moving, target, {0, 0, 0}, 0, false};
        const Point3 d = minus(moving, target);
        pair.distance = std::sqrt(dot(d, d));
        if (dot(movingNormal, targetNormal) > leastCosine) {
            Point3 sum = {movingNormal[0] + targetNormal[0], movingNormal[1] + targetNormal[1],
                          movingNormal[2] + targetNormal[2]};
            const double length = std::sqrt(dot(sum, sum));
            for (double& x : sum)
                x /= length;
            pair.normal = sum;
        }
        const double along = dot(d, pair.normal);
        pair.beside = pair.distance * pair.distance - along * along > reach * reach + 1e-12 * pair.distance;
        __pairs.push_back(pair);
    }

    void findPairs(const SpecimenPose& pose) {
        __pairs.clear();
        for (const auto& [k, i] : __fromMoving) {
            const auto& moving = __moving[k];
            const auto& target = __target[k];
            const Point3 p = pose(moving.points[std::size_t(i)]);
            if (__fine) {
                const SpecimenSurfaces::Foot foot = target.foot(p);
                addPair(p, pose.turn(moving.normals[std::size_t(i)]), foot.place, foot.normal,
                        foot.border ? 0 : target.reach[std::size_t(foot.vertex)]);
                continue;
            }
            const std::size_t found = std::size_t(target.nearest(p));
            addPair(p, pose.turn(moving.normals[std::size_t(i)]), target.points[found], target.normals[found],
                    target.reach[found]);
        }
        for (const auto& [k, i] : __fromTarget) {
            const auto& moving = __moving[k];
            const auto& target = __target[k];
            const Point3& p = target.points[std::size_t(i)];
            if (__fine) {
                const SpecimenSurfaces::Foot foot = moving.foot(pose.back(p));
                addPair(pose(foot.place), pose.turn(foot.normal), p, target.normals[std::size_t(i)],
                        foot.border ? 0 : moving.reach[std::size_t(foot.vertex)]);
                continue;
            }
            const std::size_t found = std::size_t(moving.nearest(pose.back(p)));
            addPair(pose(moving.points[found]), pose.turn(moving.normals[found]), p, target.normals[std::size_t(i)],
                    moving.reach[found]);
        }
    }

    /// One step of Gauss and Newton on the pairs; gives how far it moved the body.
    double step(SpecimenPose& pose, double pointShare, double radius) {
        std::vector<double>& sorted = __sorted;
        sorted.clear();
        Point3 centre = {0, 0, 0};
        for (const Pair& pair : __pairs) {
            const double along = std::abs(dot(minus(pair.moving, pair.target), pair.normal));
            sorted.push_back(pointShare < 1 && !pair.beside ? along : pair.distance);
            for (std::size_t i = 0; i < 3; ++i)
                centre[i] += pair.moving[i] / double(__pairs.size());
        }
        const auto middle = sorted.begin() + std::ptrdiff_t(0.6 * double(sorted.size()));
        std::nth_element(sorted.begin(), middle, sorted.end());
        const double scale = std::max((pointShare > 0 ? searchScale : fineScale) * *middle, 1e-9 * radius);

        double a[6][6] = {}, b[6] = {};
        const auto add = [&](const Point3& direction, const Point3& arm, double distance, double weight) {
            const double row[6] = {arm[1] * direction[2] - arm[2] * direction[1],
                                   arm[2] * direction[0] - arm[0] * direction[2],
                                   arm[0] * direction[1] - arm[1] * direction[0],
                                   direction[0],
                                   direction[1],
                                   direction[2]};
            for (int i = 0; i < 6; ++i) {
                b[i] -= weight * distance * row[i];
                for (int j = 0; j <= i; ++j)
                    a[i][j] += weight * row[i] * row[j];
            }
        };
        for (const Pair& pair : __pairs) {
            const Point3 d = minus(pair.moving, pair.target);
            const Point3 arm = minus(pair.moving, centre);
            const double along = dot(d, pair.normal);
            const double r = (pointShare < 1 && !pair.beside ? std::abs(along) : pair.distance) / scale;
            double weight = 1 / ((1 + r * r) * (1 + r * r));
            if (pair.normal[0] == 0 && pair.normal[1] == 0 && pair.normal[2] == 0)
                weight *= pointShare;
            if (pointShare < 1 && !pair.beside)
                add(pair.normal, arm, along, weight * (1 - pointShare));
            for (std::size_t i = 0; i < 3; ++i) {
                Point3 axis = {0, 0, 0};
                axis[i] = 1;
                add(axis, arm, d[i], weight * pointShare);
            }
        }
        for (int i = 0; i < 6; ++i)
            a[i][i] += 1e-6 * double(__pairs.size()) * (i < 3 ? radius * radius : 1);
        if (!solveSix(a, b))
            return 0;
        Point3 axis = {b[0], b[1], b[2]};
        const double angle = std::sqrt(dot(axis, axis));
        const double greatest = 0.5; // beyond it the step's straight lines are no rotation
        if (angle > greatest)
            for (double& x : axis)
                x *= greatest / angle;
        SpecimenPose turn = rotationBy(axis);
        const Point3 turned = turn.turn(centre);
        for (std::size_t i = 0; i < 3; ++i)
            turn.translation[i] = centre[i] - turned[i] + b[i + 3];
        pose = pose.followedBy(turn);
        return angle * radius + std::sqrt(b[3] * b[3] + b[4] * b[4] + b[5] * b[5]);
    }

    const SpecimenSurfaces& __moving;
    const SpecimenSurfaces& __target;
    bool __fine;
    std::vector<std::pair<int, int>> __fromMoving, __fromTarget;
    std::vector<Pair> __pairs;
    std::vector<double> __sorted;
};

struct Candidate {
    SpecimenPose pose;
    double score;
    bool isRaw = false; // begun as the raw data lie
};

/// The best ones and the raw one, and of two that are about the same pose only one; the raw one may repeat another
/// until the last time, since the other may yet go on.
void keepBest(std::vector<Candidate>& candidates, std::size_t count, bool last = false) {
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& a, const Candidate& b) { return a.score < b.score; });
    std::vector<Candidate> kept;
    for (const Candidate& candidate : candidates) {
        if (kept.size() >= count && !candidate.isRaw)
            continue;
        const bool repeated = std::any_of(kept.begin(), kept.end(), [&](const Candidate& other) {
            return other.pose.mirrored == candidate.pose.mirrored &&
                   candidate.pose.followedBy(unmirrored(other.pose).inverse()).angle() < 6;
        });
        if (!repeated || (candidate.isRaw && !last))
            kept.push_back(candidate);
    }
    candidates.swap(kept);
}

/// Takes out those whose score is so much above the best, the first, that more points would not bring them back.
void dropHopeless(std::vector<Candidate>& candidates, double smallest) {
    const double limit = hopeless * (candidates.front().score + smallest);
    std::erase_if(candidates, [&](const Candidate& candidate) { return candidate.score > limit; });
}

/// What the score of an orientation is multiplied by: 1 as the raw data lie, 1 + turnPreference from a right angle on.
double reluctance(const SpecimenPose& pose) {
    const double sine = pose.angle() < 90 ? std::sin(pose.angle() * pi / 180) : 1;
    const double turned = sine * sine;
    return 1 + turnPreference * (pose.mirrored ? (1 + turned) / 2 : turned);
}

/// Rotations that bring the axes (columns) of one body on those of another.
void addAxesStarts(std::vector<SpecimenPose>& starts, const double from[3][3], const Point3& fromCentre,
                   const double to[3][3], const Point3& toCentre, bool mirrored) {
    const int orders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    for (int order = 0; order < 6; ++order) {
        const int parity = order == 0 || order == 3 || order == 4 ? 1 : -1;
        for (int signs = 0; signs < 8; ++signs) {
            const double sign[3] = {signs & 1 ? -1.0 : 1.0, signs & 2 ? -1.0 : 1.0, signs & 4 ? -1.0 : 1.0};
            if (sign[0] * sign[1] * sign[2] * parity < 0)
                continue;
            double rotation[3][3];
            for (int i = 0; i < 3; ++i) {
                for (int j = 0; j < 3; ++j) {
                    rotation[i][j] = 0;
                    for (int k = 0; k < 3; ++k)
                        rotation[i][j] += sign[k] * to[i][k] * from[j][orders[order][k]];
                }
            }
            const SpecimenPose pose = poseAbout(rotation, fromCentre, toCentre, mirrored);
            starts.push_back(pose);
            if (order > 1)
                continue;
            // An eighth more about the longest axis: the two others may be of about one length.
            const SpecimenPose eighth = rotationBy({to[0][0] * pi / 4, to[1][0] * pi / 4, to[2][0] * pi / 4});
            const SpecimenPose turned = pose.followedBy(eighth);
            starts.push_back(poseAbout(turned.rotation, fromCentre, toCentre, mirrored));
        }
    }
}

} // namespace

SurfaceRegistration::SurfaceRegistration(const SpecimenSurfaces& target) : __target(target) {
    __target.axes(__centre, __axes, __radius);
}

SpecimenPose SurfaceRegistration::align(const SpecimenSurfaces& moving) {
    std::vector<SpecimenPose> starts;
    const SpecimenSurfaces mirrored = __mirrors ? moving.mirrored() : SpecimenSurfaces();
    for (const bool mirror : {false, true}) {
        if (mirror && !__mirrors)
            break;
        const SpecimenSurfaces& body = mirror ? mirrored : moving;
        Point3 centre;
        double axes[3][3], radius = 0;
        body.axes(centre, axes, radius);
        std::vector<SpecimenPose> own;
        for (int half = 0; half < 4; ++half) {
            double rotation[3][3] = {};
            for (int i = 0; i < 3; ++i)
                rotation[i][i] = half == 0 || half == i + 1 ? 1 : -1;
            own.push_back(poseAbout(rotation, centre, __centre, false));
        }
        addAxesStarts(own, axes, centre, __axes, __centre, false);
        for (SpecimenPose& pose : own) {
            pose.mirrored = mirror;
            starts.push_back(pose);
        }
    }
    return finish(moving, mirrored, starts);
}

SpecimenPose SurfaceRegistration::refine(const SpecimenSurfaces& moving, const SpecimenPose& start) {
    std::vector<SpecimenPose> starts = {start};
    for (int half = 0; half < 3; ++half) {
        SpecimenPose turn = rotationBy({__axes[0][half] * pi, __axes[1][half] * pi, __axes[2][half] * pi});
        turn.translation = minus(__centre, turn.turn(__centre));
        starts.push_back(start.followedBy(turn));
    }
    const SpecimenSurfaces mirrored = start.mirrored ? moving.mirrored() : SpecimenSurfaces();
    return finish(moving, mirrored, starts);
}

double SurfaceRegistration::score(const SpecimenSurfaces& moving, const SpecimenPose& pose) const {
    const SpecimenSurfaces mirrored = pose.mirrored ? moving.mirrored() : SpecimenSurfaces();
    Iteration iteration(pose.mirrored ? mirrored : moving, __target, 1500);
    return iteration.score(unmirrored(pose), scoreLimit * __radius);
}

SpecimenPose SurfaceRegistration::finish(const SpecimenSurfaces& moving, const SpecimenSurfaces& mirrored,
                                         const std::vector<SpecimenPose>& starts) {
    __rivalTurn = 0;
    const double limit = scoreLimit * __radius;
    // The trees stand in the coordinates of the body or of its mirror image; poses are those of the one or the other.
    const auto iterationsOf = [&](int count) {
        std::vector<Iteration> both;
        both.reserve(2);
        both.emplace_back(moving, __target, count);
        both.emplace_back(mirrored, __target, count);
        return both;
    };
    const auto round = [&](std::vector<Candidate>& candidates, int count, int pointSteps, int normalSteps) {
        std::vector<Iteration> both = iterationsOf(count);
        if (both[0].isEmpty()) {
            throw UsageError("SpecimenPose SurfaceRegistration::align(const SpecimenSurfaces&)",
                             "The specimens have no reference surface in common");
        }
        for (Candidate& candidate : candidates) {
            Iteration& iteration = both[candidate.pose.mirrored ? 1 : 0];
            SpecimenPose pose = candidate.pose;
            pose.mirrored = false;
            // Steps by points may roll a body that is nearly round far from where it lay.
            if (!candidate.isRaw)
                iteration.run(pose, pointSteps, 1, __radius, roughTolerance);
            iteration.run(pose, normalSteps, 0.02, __radius, roughTolerance);
            candidate.score = normalSteps > 0 ? iteration.choiceScore(pose, limit) : iteration.score(pose, limit);
            pose.mirrored = candidate.pose.mirrored;
            candidate.pose = pose;
        }
    };
    std::vector<Candidate> candidates;
    candidates.reserve(starts.size());
    for (const SpecimenPose& start : starts)
        candidates.push_back({start, 0, candidates.empty()});
    if (candidates.size() > 4) {
        round(candidates, 100, 3, 0);
        keepBest(candidates, 14);
        round(candidates, 200, 8, 4);
        keepBest(candidates, 6);
    }
    round(candidates, 400, 4, 12);
    keepBest(candidates, 4, true);
    // Below this scores tell nothing.
    const double smallest = toldDistance * toldDistance * __radius * __radius;
    dropHopeless(candidates, smallest);
    if (candidates.size() > 1)
        round(candidates, 1500, 0, 12);
    for (Candidate& candidate : candidates) {
        const SpecimenSurfaces& body = candidate.pose.mirrored ? mirrored : moving;
        candidate.pose = settled(body, candidate.pose);
        if (candidates.size() > 1)
            candidate.score = Iteration(body, __target, 2500, true).choiceScore(unmirrored(candidate.pose), limit);
    }
    const auto least = std::min_element(candidates.begin(), candidates.end(), [&](const auto& a, const auto& b) {
        return (a.score + smallest) * reluctance(a.pose) < (b.score + smallest) * reluctance(b.pose);
    });
    const SpecimenPose back = unmirrored(least->pose).inverse();
    for (const Candidate& candidate : candidates) {
        const double angle = back.followedBy(unmirrored(candidate.pose)).angle();
        const bool asWell = candidate.score + smallest < doubt * (least->score + smallest);
        if (asWell && angle > 90 && candidate.pose.mirrored == least->pose.mirrored)
            __rivalTurn = std::max(__rivalTurn, angle);
    }
    return least->pose;
}

SpecimenPose SurfaceRegistration::settle(const SpecimenSurfaces& moving, const SpecimenPose& start) const {
    return start.mirrored ? settled(moving.mirrored(), start) : settled(moving, start);
}

SpecimenPose SurfaceRegistration::settled(const SpecimenSurfaces& body, const SpecimenPose& start) const {
    SpecimenPose pose = start;
    pose.mirrored = false;
    Iteration(body, __target, 2500, true).run(pose, 20, 0, __radius, fineTolerance);
    pose.mirrored = start.mirrored;
    return pose;
}

std::vector<double> surfaceDistances(const SpecimenSurfaces& from, const SpecimenSurfaces& to, bool all) {
    std::vector<double> distances(std::size_t(from.getSize()), -1);
    for (int k = 0; k < from.getSize() && k < to.getSize(); ++k) {
        if (from[k].isEmpty() || to[k].isEmpty())
            continue;
        double inner = 0, whole = 0;
        int numInner = 0;
        for (const Point3& p : from[k].points) {
            const SpecimenSurfaces::Foot foot = to[k].foot(p);
            whole += foot.distance * foot.distance;
            if (!foot.border) {
                inner += foot.distance * foot.distance;
                ++numInner;
            }
        }
        const bool most = !all && 2 * numInner > from[k].size();
        distances[std::size_t(k)] = most ? std::sqrt(inner / numInner) : std::sqrt(whole / from[k].size());
    }
    return distances;
}

} // namespace vorlen
