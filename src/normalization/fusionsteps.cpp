#include "normalization/fusionsteps.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "normalization/pointmap.h"
#include "normalization/surfaceregistration.h"
#include "numerics/exception.h"
#include "progress/progressmonitor.h"
#include "shapes/quadmesh.h"
#include "shapes/shapeset.h"

namespace vorlen {

namespace {

/// The mesh at this place of the set; null when there is none.
template <class T>
const QuadMesh<T>* meshAt(const ShapeSet<T>& set, int k) {
    const auto* mesh = dynamic_cast<const QuadMesh<T>*>(set[k]);
    return mesh && mesh->getSize() > 0 ? mesh : nullptr;
}

Point3 pointOf(const auto& v) {
    return {double(v[0]), double(v[1]), double(v[2])};
}

} // namespace

template <class T>
std::vector<SpecimenSurfaces> FusionSteps<T>::surfaces(bool referencesOnly) const {
    std::vector<SpecimenSurfaces> result;
    result.reserve(__sets.size());
    for (const ShapeSet<T>* set : __sets)
        result.emplace_back(*set, referencesOnly);
    return result;
}

template <class T>
double FusionSteps<T>::precision() const {
    const SpecimenSurfaces first(*__sets.front(), false);
    if (first.numVertices() == 0)
        return 0;
    Point3 centre;
    double axes[3][3], radius = 0;
    first.axes(centre, axes, radius);
    return 1e-5 * radius;
}

template <class T>
void FusionSteps<T>::place(const std::vector<SpecimenPose>& poses) {
    for (std::size_t i = 0; i < __sets.size(); ++i) {
        PointMap<T>([&pose = poses[i]](const Point3& p) { return pose(p); }).apply(*__sets[i]);
        __report.specimens[i].turned = poses[i].angle();
        __report.specimens[i].mirrored = poses[i].mirrored;
        if (poses[i].mirrored)
            __report.warnings.push_back("\"" + __report.specimens[i].name + "\" was mirrored");
    }
}

template <class T>
void FusionSteps<T>::addProbes() {
    const std::vector<SpecimenSurfaces> all = surfaces(true);
    for (std::size_t i = 0; i < __sets.size(); ++i) {
        Point3 centre;
        double axes[3][3], radius = 0;
        all[i].axes(centre, axes, radius);
        auto probe = std::make_unique<VertexStack<T>>(3, 1, 4, 4, 4);
        for (int k = 0; k < 4; ++k)
            for (int a = 0; a < 3; ++a)
                (*probe)[0][k][a] = T(centre[std::size_t(a)] + (k == a + 1 ? radius : 0));
        __sets[i]->addShape(probe.get(), false);
        __probes.push_back(probe.release()); // the set's until measureTurns()
    }
}

template <class T>
void FusionSteps<T>::measureTurns() {
    for (std::size_t i = 0; i < __sets.size(); ++i) {
        const std::unique_ptr<Shape<T>> owner(__probes[i]);
        const auto& probe = dynamic_cast<const VertexStack<T>&>(*owner);
        SpecimenPose pose;
        for (int k = 0; k < 3; ++k) {
            double length = 0;
            for (int a = 0; a < 3; ++a) {
                pose.rotation[a][k] = double(probe[0][k + 1][a]) - double(probe[0][0][a]);
                length += pose.rotation[a][k] * pose.rotation[a][k];
            }
            for (int a = 0; a < 3 && length > 0; ++a)
                pose.rotation[a][k] /= std::sqrt(length);
        }
        __sets[i]->removeShape(owner.get());
        __report.specimens[i].turned = pose.angle();
    }
    __probes.clear();
}

template <class T>
void FusionSteps<T>::warnOfTurnedOver() {
    const std::vector<SpecimenSurfaces> all = surfaces(true);
    if (all.size() < 2)
        return;
    for (std::size_t i = 0; i < all.size(); ++i) {
        SurfaceRegistration registration(all[i == 0 ? 1 : 0]);
        const double turn = registration.refine(all[i], SpecimenPose()).angle();
        if (turn > 90) {
            __report.warnings.push_back("\"" + __report.specimens[i].name +
                                        "\" may be turned over: turned by another " + plainNumber(std::round(turn)) +
                                        " degrees it lies better on \"" + __report.specimens[i == 0 ? 1 : 0].name +
                                        "\"");
        }
    }
}

template <class T>
ShapeSet<T> FusionSteps<T>::meanBySurface(const std::function<bool()>& stops) {
    __means = MeanSurfaces::of(surfaces(false), 2, stops);
    __report.deviations = __means.deviations;
    __report.counts = __means.counts;
    ShapeSet<T> mean;
    mean.setName("mean");
    for (int k = 0; k < __means.mean.getSize(); ++k) {
        const SpecimenSurfaces::Surface& surface = __means.mean[k];
        if (surface.isEmpty()) {
            mean.addShape(nullptr, false);
            continue;
        }
        auto mesh = std::make_unique<QuadMesh<T>>(3, surface.height, surface.width, surface.size(), 0, surface.open);
        for (int r = 0; r < surface.height; ++r)
            for (int c = 0; c < surface.width; ++c)
                for (int a = 0; a < 3; ++a)
                    (*mesh)[r][c][a] = T(surface.points[std::size_t(r * surface.width + c)][std::size_t(a)]);
        if (!surface.open)
            mesh->buildCaps();
        mesh->setName(__report.structures[std::size_t(k)]);
        mean.addShape(mesh.get(), __report.references[std::size_t(k)]);
        static_cast<void>(mesh.release()); // the set's from here on
    }
    return mean;
}

template <class T>
void FusionSteps<T>::measureDeviations(const ShapeSet<T>& mean) {
    const std::size_t numStructures = __report.structures.size();
    __report.deviations.assign(numStructures, {});
    __report.counts.assign(numStructures, {});
    for (std::size_t k = 0; k < numStructures; ++k) {
        const QuadMesh<T>* centre = meshAt(mean, int(k));
        if (!centre)
            continue;
        std::vector<double>& deviations = __report.deviations[k];
        std::vector<int>& counts = __report.counts[k];
        deviations.assign(std::size_t(centre->getSize()), 0);
        counts.assign(std::size_t(centre->getSize()), 0);
        for (const ShapeSet<T>* set : __sets) {
            const QuadMesh<T>* mesh = meshAt(*set, int(k));
            if (!mesh || mesh->getHeight() != centre->getHeight() || mesh->getWidth() != centre->getWidth())
                continue;
            std::size_t v = 0;
            ConstVertexIterator<T> at(*centre);
            for (ConstVertexIterator<T> it(*mesh); it.current(); ++it, ++at, ++v) {
                const Point3 p = pointOf(*it.current()), q = pointOf(*at.current());
                for (std::size_t a = 0; a < 3; ++a)
                    deviations[v] += (p[a] - q[a]) * (p[a] - q[a]);
                ++counts[v];
            }
        }
        for (std::size_t v = 0; v < deviations.size(); ++v)
            deviations[v] = counts[v] > 1 ? std::sqrt(deviations[v] / (counts[v] - 1)) : 0;
    }
}

template <class T>
void FusionSteps<T>::measureResiduals(const ShapeSet<T>& mean) {
    __report.setResiduals(surfaces(false), SpecimenSurfaces(mean, false));
}

template <class T>
std::unique_ptr<CohortWarp> FusionSteps<T>::fitted(ControlPairs pairs, const VRLFusionStrategy& strategy,
                                                   double smoothing, std::size_t i) const {
    try {
        if (strategy.getWarpingModel() == ThinPlateSplineWarping)
            return CohortWarp::spline(std::move(pairs), smoothing);
        return CohortWarp::polynomial(std::move(pairs), int(std::min(strategy.getPolynomialDegree(), 20u)));
    } catch (const Exception& failure) {
        std::string names;
        for (std::size_t k = 0; k < __report.structures.size(); ++k)
            if (__report.references[k])
                names += (names.empty() ? "\"" : ", \"") + __report.structures[k] + "\"";
        throw UsageError("void FusionSteps<T>::warp()",
                         "The warp of \"" + __report.specimens[i].name + "\" by " + names +
                             " cannot be fitted, since its control points lie on one plane or are too few (" +
                             failure.getWhat() + ")");
    }
}

template <class T>
bool FusionSteps<T>::judge(CohortWarp& warp, std::size_t i, const VRLFusionStrategy& strategy) {
    Point3 low = {1e300, 1e300, 1e300}, high = {-1e300, -1e300, -1e300};
    const SpecimenSurfaces whole(*__sets[i], false);
    for (const SpecimenSurfaces::Surface& surface : whole.getSurfaces()) {
        for (const Point3& p : surface.points) {
            for (std::size_t a = 0; a < 3; ++a) {
                low[a] = std::min(low[a], p[a]);
                high[a] = std::max(high[a], p[a]);
            }
        }
    }
    WarpQuality& quality = warp.getQuality();
    // Inside one of the surfaces, by the normal at the closest place; beyond its ends there is no inside.
    quality.folds = warp.foldedShare(low, high, [&](const Point3& p) {
        return std::any_of(whole.getSurfaces().begin(), whole.getSurfaces().end(), [&](const auto& surface) {
            if (surface.isEmpty() || surface.open)
                return false;
            const SpecimenSurfaces::Foot foot = surface.foot(p);
            double along = 0;
            for (std::size_t a = 0; a < 3; ++a)
                along += (p[a] - foot.place[a]) * foot.normal[a];
            return !foot.border && along <= 0;
        });
    });
    quality.refused = quality.folds > 0 && strategy.isFoldsRefused();
    SpecimenReport& specimen = __report.specimens[i];
    specimen.warped = true;
    specimen.warp = quality;
    if (quality.folds > 0) {
        __report.warnings.push_back("The warp of \"" + specimen.name + "\" folds " + plainNumber(100 * quality.folds) +
                                    "% of the volume" +
                                    (quality.refused ? " and was refused: the specimen stays as registered" : ""));
    }
    if (quality.leaveOneOut > quality.errorBefore + __report.precision) {
        __report.warnings.push_back("The warp of \"" + specimen.name +
                                    "\" is worse than none for points that it does " +
                                    "not know: leave-one-out error " + plainNumber(quality.leaveOneOut) + ", without " +
                                    plainNumber(quality.errorBefore));
    }
    return !quality.refused;
}

template <class T>
void FusionSteps<T>::warpBySurface(const VRLFusionStrategy& strategy, ProgressMonitor& monitor,
                                   const std::function<bool()>& stops) {
    for (std::size_t i = 0; i < __sets.size() && !stops(); ++i) {
        ControlPairs pairs;
        for (std::size_t k = 0; k < __report.structures.size(); ++k) {
            const CorrespondingSurface& own = __means.specimens[i][k];
            for (std::size_t v = 0; v < own.points.size() && __report.references[k]; ++v)
                if (own.covered[v])
                    pairs.add(own.points[v], __means.mean[int(k)].points[v]);
        }
        const std::unique_ptr<CohortWarp> warp = fitted(std::move(pairs), strategy, strategy.getSmoothing(), i);
        if (judge(*warp, i, strategy))
            PointMap<T>([&map = *warp](const Point3& p) { return map(p); }).apply(*__sets[i]);
        monitor.subjectProgressed(static_cast<unsigned int>(i + 1), static_cast<unsigned int>(__sets.size()));
    }
}

template <class T>
std::vector<ShapeSet<T>*> FusionSteps<T>::warpedByLevels(const VRLFusionStrategy& strategy, const ShapeSet<T>& mean,
                                                         const std::function<bool()>& stops) {
    std::vector<ShapeSet<T>*> chosen;
    for (std::size_t i = 0; i < __sets.size() && !stops(); ++i) {
        ShapeSet<T> references = __sets[i]->referenceShapeSet();
        const ShapeSet<T> targets = mean.referenceShapeSet();
        references.matchSurfaces(targets);
        ControlPairs pairs;
        for (int k = 0; k < references.getSize() && k < targets.getSize(); ++k) {
            const QuadMesh<T>*from = meshAt(references, k), *to = meshAt(targets, k);
            if (!from || !to)
                continue;
            ConstVertexIterator<T> at(*to);
            for (ConstVertexIterator<T> it(*from); it.current() && at.current(); ++it, ++at)
                pairs.add(pointOf(*it.current()), pointOf(*at.current()));
        }
        const std::unique_ptr<CohortWarp> warp = fitted(std::move(pairs), strategy, 0, i);
        if (judge(*warp, i, strategy))
            chosen.push_back(__sets[i]);
    }
    return chosen;
}

template class FusionSteps<float>;
template class FusionSteps<double>;
template class FusionSteps<long double>;

} // namespace vorlen
