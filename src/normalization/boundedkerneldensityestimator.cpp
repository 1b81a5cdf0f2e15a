#include "normalization/boundedkerneldensityestimator.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "images/filters/parallelwork.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/bandwidthrule.h"
#include "normalization/mapdomain.h"
#include "numerics/exception.h"
#include "numerics/rowkernels.h"
#include "shapes/shape.h"

namespace vorlen {

namespace {

constexpr double gaussianReach = 4.5; // in bandwidths

/// Integral of the kernel of bandwidth 1 along an axis, up to u.
double distribution(DensityKernel kernel, double u) {
    if (kernel == GaussianKernel)
        return std::erfc(-u / std::sqrt(2.)) / 2;
    u = std::clamp(u, -1., 1.);
    switch (kernel) {
    case UniformKernel:
        return (1 + u) / 2;
    case EpanechnikovKernel:
        return 0.5 + 0.75 * (u - u * u * u / 3);
    default:
        return 0.5 + 15. / 16 * (u - 2 * u * u * u / 3 + std::pow(u, 5) / 5);
    }
}

double varianceOf(DensityKernel kernel) {
    switch (kernel) {
    case UniformKernel:
        return 1. / 3;
    case EpanechnikovKernel:
        return 1. / 5;
    case BiweightKernel:
        return 1. / 7;
    default:
        return 1;
    }
}

/// Weights of the cells around one along an axis of n cells; the own one is in the middle, at reach.
template <class T>
struct Taps {
    int reach = 0;
    std::vector<T> weights = {T(1)};

    Taps(DensityKernel kernel, double bandwidth, double step, int n) {
        const double variance = varianceOf(kernel) * bandwidth * bandwidth, rest = variance - step * step / 4;
        if (!(rest > 0) || n < 2)
            return;
        const double h = bandwidth * std::sqrt(rest / variance);
        const double cells = (kernel == GaussianKernel ? gaussianReach : 1) * h / step + 0.5;
        reach = cells < n - 1 ? int(cells) : n - 1;
        weights.clear();
        weights.reserve(std::size_t(2 * reach + 1));
        for (int t = -reach; t <= reach; ++t)
            weights.push_back(
                T(distribution(kernel, (t + 0.5) * step / h) - distribution(kernel, (t - 0.5) * step / h)));
    }

    /// What of the weights falls on cells, for each cell.
    std::vector<double> massWithin(int n) const {
        std::vector<double> mass(std::size_t(n), 0);
        for (int i = 0; i < n; ++i)
            for (int t = std::max(-reach, -i); t <= std::min(reach, n - 1 - i); ++t)
                mass[std::size_t(i)] += double(weights[std::size_t(t + reach)]);
        return mass;
    }
};

/// The planes within so many of those.
MapPlanes widened(const MapPlanes& planes, int reach, int numPlanes) {
    return {planes.first - std::min(reach, planes.first), planes.last + std::min(reach, numPlanes - planes.last)};
}

/// Numbers at the elements of some planes of a map, plane after plane, row after row.
template <class T>
struct Field {
    int rows, columns, numPlanes; ///< of the map
    MapPlanes planes;
    std::vector<T> values;

    Field(const MapLattice<T>& lattice, const MapPlanes& held)
        : rows(lattice.getSize(0)), columns(lattice.getSize(1)), numPlanes(lattice.getSize(2)), planes(held),
          values(std::size_t(rows) * std::size_t(columns) * std::size_t(planes.count()), T(0)) {}

    bool holds(int k) const { return k >= planes.first && k < planes.last; }
    std::size_t place(int k, int i) const {
        return (std::size_t(k - planes.first) * std::size_t(rows) + std::size_t(i)) * std::size_t(columns);
    }
    T* row(int k, int i) { return values.data() + place(k, i); }
};

/// out += sum of taps times the lines around, for each line of a stretch of count of them; lines(i) points to n
/// numbers.
template <class T, class Lines>
void smoothLines(const Taps<T>& taps, const MapPlanes& stretch, int count, int n, const Lines& lines, T* out) {
    std::vector<T*> rows;
    rows.reserve(taps.weights.size());
    for (int i = stretch.first; i < stretch.last; ++i) {
        const int first = std::max(-taps.reach, -i), last = std::min(taps.reach, count - 1 - i);
        rows.clear();
        for (int t = first; t <= last; ++t)
            rows.push_back(lines(i + t));
        rowkernels::addRows(out + std::size_t(i - stretch.first) * std::size_t(n),
                            taps.weights.data() + (first + taps.reach), rows.data(), int(rows.size()), 0, n);
    }
}

template <class T>
void smoothPlane(const Taps<T>* taps, Field<T>& field, int k, std::vector<T>& along, std::vector<T>& across) {
    const std::size_t length = std::size_t(field.rows) * std::size_t(field.columns);
    along.assign(length, T(0));
    across.assign(length, T(0));
    const int n = field.columns, reach = taps[1].reach;
    for (int i = 0; i < field.rows; ++i) {
        const T* const from = field.row(k, i);
        if (std::all_of(from, from + n, [](T x) { return x == T(0); }))
            continue;
        T* const to = along.data() + std::size_t(i) * std::size_t(n);
        for (int t = -std::min(reach, n - 1); t <= std::min(reach, n - 1); ++t)
            rowkernels::addMultiple(to + std::max(0, -t), taps[1].weights[std::size_t(t + reach)],
                                    from + std::max(0, t), n - std::abs(t));
    }
    smoothLines(
        taps[0], {0, field.rows}, field.rows, n, [&](int i) { return along.data() + std::size_t(i) * std::size_t(n); },
        across.data());
    std::copy(across.begin(), across.end(), field.row(k, 0));
}

/// The planes that the field holds along their axes, those of the block then across; the field must hold what is in
/// reach of these.
template <class T>
void smooth(const Taps<T>* taps, Field<T>& field, const MapPlanes& block, ParallelWork& work,
            unsigned long long steps) {
    std::vector<std::vector<T>> along(std::size_t(work.workers())), across(std::size_t(work.workers()));
    work.run(
        field.planes.count(), steps,
        [&](int number, int worker) {
            smoothPlane(taps, field, field.planes.first + number, along[std::size_t(worker)],
                        across[std::size_t(worker)]);
        });
    work.run(field.rows, steps, [&](int i, int worker) {
        std::vector<T>& out = along[std::size_t(worker)];
        out.assign(std::size_t(block.count()) * std::size_t(field.columns), T(0));
        smoothLines(
            taps[2], block, field.numPlanes, field.columns, [&](int k) { return field.row(k, i); }, out.data());
        const T* from = out.data();
        for (int k = block.first; k < block.last; ++k, from += field.columns)
            std::copy_n(from, field.columns, field.row(k, i));
    });
}

/// The two cells around a coordinate, and the part of it that the higher one takes.
struct Between {
    int low, high;
    double part;
};

template <class T>
Between between(const MapLattice<T>& lattice, int axis, T coordinate) {
    const int last = lattice.getSize(axis) - 1;
    const double at = std::clamp(lattice.index(axis, coordinate), 0., double(last));
    const int low = int(at);
    return {low, std::min(low + 1, last), at - low};
}

/// Shares each point linearly by the cells around it that belong to the domain, which must have looked at a plane more
/// to each side than the field holds.
template <class T>
void share(const std::vector<T>& points, const MapLattice<T>& lattice, const MapDomain<T>& domain, Field<T>& field) {
    for (std::size_t p = 0; p < points.size(); p += 3) {
        const Between across = between(lattice, 2, points[p + 2]);
        if (!field.holds(across.low) && !field.holds(across.high))
            continue;
        const Between row = between(lattice, 0, points[p]), column = between(lattice, 1, points[p + 1]);
        int planes[8];
        std::size_t inPlane[8];
        double weights[8], sum = 0;
        for (int corner = 0; corner < 8; ++corner) {
            const int i = corner & 1 ? row.high : row.low, j = corner & 2 ? column.high : column.low;
            planes[corner] = corner & 4 ? across.high : across.low;
            inPlane[corner] = std::size_t(i) * std::size_t(field.columns) + std::size_t(j);
            weights[corner] = (corner & 1 ? row.part : 1 - row.part) * (corner & 2 ? column.part : 1 - column.part) *
                              (corner & 4 ? across.part : 1 - across.part);
            if (domain.isMasked() && !domain.isInside(planes[corner], i, j))
                weights[corner] = 0;
            sum += weights[corner];
        }
        // A point so near to a surface that no cell around it is within has lost nothing but its place.
        if (!(sum > 0))
            weights[0] = sum = 1;
        for (int corner = 0; corner < 8; ++corner)
            if (field.holds(planes[corner]))
                field.values[field.place(planes[corner], 0) + inPlane[corner]] += T(weights[corner] / sum);
    }
}

/// What the smoothing along an axis of n cells, divided by the mass within, makes of a cell, added up.
template <class T>
std::vector<double> sumsOf(const Taps<T>& taps, int n) {
    const std::vector<double> mass = taps.massWithin(n);
    std::vector<double> sums(std::size_t(n), 0);
    for (int i = 0; i < n; ++i)
        for (int t = std::max(-taps.reach, -i); t <= std::min(taps.reach, n - 1 - i); ++t)
            sums[std::size_t(i + t)] += double(taps.weights[std::size_t(t + taps.reach)]) / mass[std::size_t(i)];
    return sums;
}

/// The sum of all elements that the points come to without masks.
template <class T>
double sumOf(const std::vector<T>& points, const MapLattice<T>& lattice, const Taps<T>* taps) {
    const std::vector<double> sums[3] = {sumsOf(taps[0], lattice.getSize(0)), sumsOf(taps[1], lattice.getSize(1)),
                                         sumsOf(taps[2], lattice.getSize(2))};
    double sum = 0;
    for (std::size_t p = 0; p < points.size(); p += 3) {
        double product = 1;
        for (int a = 0; a < 3; ++a) {
            const Between cells = between(lattice, a, points[p + std::size_t(a)]);
            product *=
                (1 - cells.part) * sums[a][std::size_t(cells.low)] + cells.part * sums[a][std::size_t(cells.high)];
        }
        sum += product;
    }
    return sum;
}

/// Divides the planes of the block by the mass of the kernel in the domain; elements outside become 0.
template <class T>
void correct(const Taps<T>* taps, Field<T>& field, const MapPlanes& block, ParallelWork& work) {
    const std::vector<double> mass[3] = {taps[0].massWithin(field.rows), taps[1].massWithin(field.columns),
                                         taps[2].massWithin(field.numPlanes)};
    work.run(block.count(), 0, [&](int number, int /*worker*/) {
        const int k = block.first + number;
        for (int i = 0; i < field.rows; ++i) {
            T* const row = field.row(k, i);
            for (int j = 0; j < field.columns; ++j)
                row[j] = T(row[j] / (mass[0][std::size_t(i)] * mass[1][std::size_t(j)] * mass[2][std::size_t(k)]));
        }
    });
}

template <class T>
void correctWithin(const Taps<T>* taps, Field<T>& field, const MapDomain<T>& domain, const MapPlanes& block,
                   ParallelWork& work) {
    Field<T> covered(field);
    for (int k = field.planes.first; k < field.planes.last; ++k)
        for (int i = 0; i < field.rows; ++i)
            for (int j = 0; j < field.columns; ++j)
                covered.row(k, i)[j] = domain.isInside(k, i, j) ? T(1) : T(0);
    smooth(taps, covered, block, work, static_cast<unsigned long long>(block.count()));
    work.run(block.count(), 0, [&](int number, int /*worker*/) {
        const int k = block.first + number;
        for (int i = 0; i < field.rows; ++i) {
            T* const row = field.row(k, i);
            const T* const within = covered.row(k, i);
            for (int j = 0; j < field.columns; ++j)
                row[j] = domain.isInside(k, i, j) ? row[j] / within[j] : T(0);
        }
    });
}

/// Adds the planes of the block to a sum, in their order.
template <class T>
double sumWith(double sum, Field<T>& field, const MapPlanes& block, ParallelWork& work) {
    return work.reduce(
        block.count(), sum,
        [&](int number, int /*worker*/) {
            double ofPlane = 0;
            for (int i = 0; i < field.rows; ++i) {
                const T* const row = field.row(block.first + number, i);
                for (int j = 0; j < field.columns; ++j)
                    ofPlane += double(row[j]);
            }
            return ofPlane;
        },
        [](double a, double b) { return a + b; });
}

/// The points of a pattern in the domain, and how they are smoothed.
template <class T>
struct Pattern {
    std::vector<T> points;
    double bandwidth;
    Taps<T> taps[3];
    double sum = 0; ///< of the elements before they are scaled

    Pattern(std::vector<T> within, double width, DensityKernel kernel, const MapLattice<T>& lattice)
        : points(std::move(within)),
          bandwidth(width), taps{along(0, kernel, lattice), along(1, kernel, lattice), along(2, kernel, lattice)} {}

    /// The elements of a block, in a field that holds more.
    Field<T> field(const MapLattice<T>& lattice, const MapDomain<T>& domain, const MapPlanes& block,
                   ParallelWork& work) const {
        Field<T> result(lattice, widened(block, taps[2].reach, lattice.getSize(2)));
        share(points, lattice, domain, result);
        smooth(taps, result, block, work, static_cast<unsigned long long>(block.count()));
        if (domain.isMasked())
            correctWithin(taps, result, domain, block, work);
        else
            correct(taps, result, block, work);
        return result;
    }

private:
    Taps<T> along(int axis, DensityKernel kernel, const MapLattice<T>& lattice) const {
        return Taps<T>(kernel, bandwidth, lattice.extent(axis, 0), lattice.getSize(axis));
    }
};

template <class T>
std::vector<Pattern<T>> patternsIn(const MapDomain<T>& domain, const std::vector<Shape<T>*>& shapes,
                                   const MapLattice<T>& lattice, DensityKernel kernel, T bandwidth) {
    std::vector<Pattern<T>> patterns;
    patterns.reserve(shapes.size());
    for (const Shape<T>* shape : shapes) {
        std::vector<T> points = domain.pointsOf(*shape);
        const double width = bandwidth > T(0) ? double(bandwidth) : normalReferenceBandwidth(points, kernel);
        patterns.emplace_back(std::move(points), width, kernel, lattice);
    }
    return patterns;
}

/// The planes that a block needs at most.
template <class T>
int greatestReach(const std::vector<Pattern<T>>& patterns) {
    int reach = 0;
    for (const Pattern<T>& pattern : patterns)
        reach = std::max(reach, pattern.taps[2].reach);
    return reach;
}

/// Finds the sums of all patterns with points within masks, so many planes at once. Leaves the domain anywhere.
template <class T>
void addUp(std::vector<Pattern<T>>& patterns, const MapLattice<T>& lattice, MapDomain<T>& domain, int planesAtOnce,
           ParallelWork& work) {
    const int numPlanes = lattice.getSize(2), reach = greatestReach(patterns) + 1;
    for (int first = 0; first < numPlanes && !work.isCanceled(); first += planesAtOnce) {
        const MapPlanes block = {first, std::min(first + planesAtOnce, numPlanes)};
        domain.look(widened(block, reach, numPlanes), work);
        for (Pattern<T>& pattern : patterns) {
            if (pattern.points.empty())
                continue;
            Field<T> field = pattern.field(lattice, domain, block, work);
            pattern.sum = sumWith(pattern.sum, field, block, work);
        }
    }
}

} // namespace

template <class T>
void BoundedKernelDensityEstimator<T>::setBandwidth(T bandwidth) {
    if (!(bandwidth >= T(0)) || !std::isfinite(bandwidth))
        throw ValueError("void BoundedKernelDensityEstimator<T>::setBandwidth(T)", "The bandwidth is below 0");
    __bandwidth = bandwidth;
}

template <class T>
double BoundedKernelDensityEstimator<T>::blockBytes(const BoundingBox<T>& box, const Vector<int>& size,
                                                    const MapPlanes& block) const {
    const bool masked = !this->getMaskSurfaces().empty();
    const MapLattice<T> lattice = this->lattice(box, size);
    const MapDomain<T> domain(box, lattice, this->getMaskSurfaces());
    const int reach = greatestReach(patternsIn(domain, this->getShapes(), lattice, __kernel, __bandwidth));
    const double held = double(size[0]) * size[1] * widened(block, reach, size[2]).count();
    double points = 0;
    for (const Shape<T>* shape : this->getShapes())
        points += double(shape->getNumVertices());
    return held * (masked ? 2. * sizeof(T) + 1 : 1. * sizeof(T)) + 3 * sizeof(T) * points;
}

template <class T>
MapSums BoundedKernelDensityEstimator<T>::computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& box,
                                                       const Vector<int>& size, const MapPlanes& block) {
    const char* const where = "void BoundedKernelDensityEstimator<T>::compute(VoxelMatrix<T>&, const BoundingBox<T>&)";
    this->checkSpace(box, where);
    this->checkBlock(planes, size, block, where);
    const MapLattice<T> lattice = this->lattice(box, size);
    MapSums result;
    result.patterns.assign(this->getShapes().size(), PatternReport());
    this->notifyStarted("Kernel density estimation");
    planes.setZeros();
    if (size.min() < 1 || block.count() < 1) {
        this->notifyFinished("");
        return result;
    }
    const bool masked = !this->getMaskSurfaces().empty(), whole = block.count() == size[2];
    // Of whole maps the planes are added up as they are made.
    const auto numSmoothed = static_cast<unsigned long long>(block.count() + (masked && !whole ? size[2] : 0));
    ParallelWork work(*this, std::max(1ULL, this->getShapes().size() * numSmoothed * (masked ? 4 : 2)));
    MapDomain<T> domain(box, lattice, this->getMaskSurfaces());
    std::vector<Pattern<T>> patterns = patternsIn(domain, this->getShapes(), lattice, __kernel, __bandwidth);
    if (masked && !whole)
        addUp(patterns, lattice, domain, block.count(), work);
    domain.look(widened(block, greatestReach(patterns) + 1, size[2]), work);
    const double volume = lattice.extent(0, 0) * lattice.extent(1, 0) * lattice.extent(2, 0);
    int numPatterns = 0;
    for (std::size_t s = 0; s < patterns.size() && !this->isCanceled(); ++s) {
        Pattern<T>& pattern = patterns[s];
        PatternReport& report = result.patterns[s];
        report.numPoints = int(pattern.points.size() / 3);
        report.bandwidth = pattern.bandwidth;
        if (report.numPoints == 0)
            continue;
        ++numPatterns;
        Field<T> field = pattern.field(lattice, domain, block, work);
        if (!masked)
            pattern.sum = sumOf(pattern.points, lattice, pattern.taps);
        else if (whole)
            pattern.sum = sumWith(0, field, block, work);
        report.integral = pattern.sum / report.numPoints;
        // Adding up to 1 over the domain, times the cell's volume.
        const T factor = pattern.sum > 0 ? T(1 / (pattern.sum * volume)) : T(0);
        work.run(block.count(), 0, [&](int k, int /*worker*/) {
            for (int i = 0; i < field.rows; ++i)
                rowkernels::addMultiple(planes[k][i].data(), factor, field.row(block.first + k, i), field.columns);
        });
    }
    if (this->isCanceled()) {
        planes.setZeros();
        this->notifyCanceled("");
        return result;
    }
    if (numPatterns > 1)
        planes /= T(numPatterns);
    this->notifyFinished("");
    return result;
}

template <class T>
void BoundedKernelDensityEstimator<T>::finish(VoxelMatrix<T>& /*planes*/, const BoundingBox<T>& /*box*/,
                                              const Vector<int>& /*size*/, const MapSums& sums) {
    __reports = sums.patterns;
}

template class BoundedKernelDensityEstimator<float>;
template class BoundedKernelDensityEstimator<double>;

} // namespace vorlen
