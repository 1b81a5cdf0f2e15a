#include "normalization/surfacecorrespondence.h"

#include <algorithm>
#include <cmath>

namespace vorlen {

namespace {

constexpr double leastCosine = 0.3;

Point3 minus(const Point3& a, const Point3& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Point3 plus(const Point3& a, const Point3& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

double dot(const Point3& a, const Point3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Displacements of a grid that give way to those of their neighbours: the known ones by stiffness, the others wholly.
void smooth(std::vector<Point3>& displacements, const std::vector<bool>& known, const SpecimenSurfaces::Surface& grid,
            double stiffness, int sweeps) {
    const int height = grid.height, width = grid.width;
    const std::vector<Point3> wanted = displacements;
    for (int sweep = 0; sweep < sweeps; ++sweep) {
        for (int r = 0; r < height; ++r) {
            for (int c = 0; c < width; ++c) {
                const std::size_t here = std::size_t(r * width + c);
                Point3 sum = {0, 0, 0};
                int count = 0;
                const auto add = [&](int row, int column) {
                    sum = plus(sum, displacements[std::size_t(row * width + column)]);
                    ++count;
                };
                if (r > 0)
                    add(r - 1, c);
                if (r + 1 < height)
                    add(r + 1, c);
                if (!grid.open || c > 0)
                    add(r, (c + width - 1) % width);
                if (!grid.open || c + 1 < width)
                    add(r, (c + 1) % width);
                const double own = known[here] ? 1 : 0;
                const double weight = own + stiffness * count;
                for (std::size_t i = 0; i < 3 && weight > 0; ++i)
                    displacements[here][i] = (own * wanted[here][i] + stiffness * sum[i]) / weight;
            }
        }
    }
}

} // namespace

double CorrespondingSurface::share() const {
    const auto count = std::count(covered.begin(), covered.end(), true);
    return covered.empty() ? 0 : double(count) / double(covered.size());
}

CorrespondingSurface correspondingSurface(const SpecimenSurfaces::Surface& mean,
                                          const SpecimenSurfaces::Surface& specimen, int rounds) {
    CorrespondingSurface result;
    if (mean.isEmpty() || specimen.isEmpty())
        return result;
    const std::size_t n = mean.points.size();
    std::vector<Point3> displacements(n, Point3{0, 0, 0});
    result.points = mean.points;
    result.covered.assign(n, false);
    double stiffness = 2;
    for (int round = 0; round <= rounds; ++round) {
        const bool last = round == rounds;
        for (std::size_t v = 0; v < n; ++v) {
            const Point3 here = plus(mean.points[v], displacements[v]);
            const SpecimenSurfaces::Foot foot = specimen.foot(here);
            const Point3 off = minus(here, foot.place);
            // Beside a border the closest place is not below the point.
            const double along = dot(off, foot.normal);
            const bool beside = foot.border && foot.distance * foot.distance > 1.01 * along * along + 1e-12 &&
                                foot.distance > 0.25 * mean.reach[v];
            result.covered[v] = dot(mean.normals[v], foot.normal) > leastCosine && !beside;
            if (result.covered[v])
                displacements[v] = minus(foot.place, mean.points[v]);
        }
        if (last)
            break;
        smooth(displacements, result.covered, mean, stiffness, 8);
        stiffness /= 3;
    }
    smooth(displacements, result.covered, mean, 0, 0);
    std::vector<Point3> guesses = displacements;
    smooth(guesses, result.covered, mean, 1e-6, 40);
    for (std::size_t v = 0; v < n; ++v)
        result.points[v] = plus(mean.points[v], result.covered[v] ? displacements[v] : guesses[v]);
    return result;
}

MeanSurfaces MeanSurfaces::of(const std::vector<SpecimenSurfaces>& specimens, int rounds,
                              const std::function<bool()>& stops) {
    MeanSurfaces result;
    const int numStructures = specimens.empty() ? 0 : specimens.front().getSize();
    std::vector<SpecimenSurfaces::Surface>& means = result.mean.getSurfaces();
    means.resize(std::size_t(numStructures));
    result.deviations.resize(std::size_t(numStructures));
    result.counts.resize(std::size_t(numStructures));
    result.specimens.assign(specimens.size(), std::vector<CorrespondingSurface>(std::size_t(numStructures)));
    for (int k = 0; k < numStructures; ++k) {
        double greatest = 0;
        std::vector<double> areas;
        areas.reserve(specimens.size());
        for (const SpecimenSurfaces& specimen : specimens) {
            areas.push_back(specimen[k].area());
            greatest = std::max(greatest, areas.back());
        }
        std::size_t base = 0;
        while (base < specimens.size() && (areas[base] < 0.9 * greatest || specimens[base][k].isEmpty()))
            ++base;
        if (base == specimens.size())
            continue;
        SpecimenSurfaces::Surface& mean = means[std::size_t(k)];
        mean = specimens[base][k];
        const std::size_t n = mean.points.size();
        std::vector<double>& deviations = result.deviations[std::size_t(k)];
        std::vector<int>& counts = result.counts[std::size_t(k)];
        for (int round = 0; round < rounds; ++round) {
            for (std::size_t i = 0; i < specimens.size(); ++i) {
                if (stops && stops())
                    return result;
                result.specimens[i][std::size_t(k)] = correspondingSurface(mean, specimens[i][k], round == 0 ? 3 : 1);
            }
            std::vector<Point3> sums(n, Point3{0, 0, 0});
            counts.assign(n, 0);
            deviations.assign(n, 0);
            for (std::size_t i = 0; i < specimens.size(); ++i) {
                const CorrespondingSurface& own = result.specimens[i][std::size_t(k)];
                for (std::size_t v = 0; v < n && !own.isEmpty(); ++v) {
                    if (own.covered[v]) {
                        sums[v] = plus(sums[v], own.points[v]);
                        ++counts[v];
                    }
                }
            }
            std::vector<Point3> moved(n, Point3{0, 0, 0});
            std::vector<bool> known(n);
            for (std::size_t v = 0; v < n; ++v) {
                known[v] = counts[v] > 0;
                for (std::size_t a = 0; a < 3 && known[v]; ++a)
                    moved[v][a] = sums[v][a] / counts[v] - mean.points[v][a];
            }
            smooth(moved, known, mean, 1e-6, 20);
            for (std::size_t v = 0; v < n; ++v)
                mean.points[v] = plus(mean.points[v], moved[v]);
            mean.prepare();
            for (std::size_t i = 0; i < specimens.size(); ++i) {
                const CorrespondingSurface& own = result.specimens[i][std::size_t(k)];
                for (std::size_t v = 0; v < n && !own.isEmpty(); ++v) {
                    const Point3 d = minus(own.points[v], mean.points[v]);
                    deviations[v] += own.covered[v] ? dot(d, d) : 0;
                }
            }
            for (std::size_t v = 0; v < n; ++v)
                deviations[v] = counts[v] > 1 ? std::sqrt(deviations[v] / (counts[v] - 1)) : 0;
        }
    }
    return result;
}

} // namespace vorlen
