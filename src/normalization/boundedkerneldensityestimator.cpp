#include "normalization/boundedkerneldensityestimator.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "images/filters/parallelwork.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/bandwidthrule.h"
#include "normalization/mapdomain.h"
#include "numerics/exception.h"
#include "numerics/rowkernels.h"

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

/// Numbers at the elements of a map, plane after plane, row after row.
template <class T>
struct Field {
    int rows, columns, planes;
    std::vector<T> values;

    explicit Field(const MapLattice<T>& lattice)
        : rows(lattice.getSize(0)), columns(lattice.getSize(1)), planes(lattice.getSize(2)),
          values(std::size_t(rows) * std::size_t(columns) * std::size_t(planes), T(0)) {}

    T* row(int k, int i) {
        return values.data() + (std::size_t(k) * std::size_t(rows) + std::size_t(i)) * std::size_t(columns);
    }
};

/// out[i] += sum of taps times the lines around i, for all lines; lines(i) points to n numbers.
template <class T, class Lines>
void smoothLines(const Taps<T>& taps, int count, int n, const Lines& lines, T* out) {
    std::vector<T*> rows;
    rows.reserve(taps.weights.size());
    for (int i = 0; i < count; ++i) {
        const int first = std::max(-taps.reach, -i), last = std::min(taps.reach, count - 1 - i);
        rows.clear();
        for (int t = first; t <= last; ++t)
            rows.push_back(lines(i + t));
        rowkernels::addRows(out + std::size_t(i) * std::size_t(n), taps.weights.data() + (first + taps.reach),
                            rows.data(), int(rows.size()), 0, n);
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
        taps[0], field.rows, n, [&](int i) { return along.data() + std::size_t(i) * std::size_t(n); }, across.data());
    std::copy(across.begin(), across.end(), field.row(k, 0));
}

template <class T>
void smooth(const Taps<T>* taps, Field<T>& field, ParallelWork& work, unsigned long long steps) {
    std::vector<std::vector<T>> along(std::size_t(work.workers())), across(std::size_t(work.workers()));
    work.run(
        field.planes, steps,
        [&](int k, int worker) {
            smoothPlane(taps, field, k, along[std::size_t(worker)], across[std::size_t(worker)]);
        });
    work.run(field.rows, steps, [&](int i, int worker) {
        std::vector<T>& out = along[std::size_t(worker)];
        out.assign(std::size_t(field.planes) * std::size_t(field.columns), T(0));
        smoothLines(
            taps[2], field.planes, field.columns, [&](int k) { return field.row(k, i); }, out.data());
        for (int k = 0; k < field.planes; ++k)
            std::copy_n(out.data() + std::size_t(k) * std::size_t(field.columns), field.columns, field.row(k, i));
    });
}

/// Shares each point linearly by the cells around it that belong to the domain.
template <class T>
void share(const std::vector<T>& points, const MapLattice<T>& lattice, const std::vector<unsigned char>& inside,
           Field<T>& field) {
    for (std::size_t p = 0; p < points.size(); p += 3) {
        int low[3], high[3];
        double part[3];
        for (int a = 0; a < 3; ++a) {
            const int last = lattice.getSize(a) - 1;
            const double at = std::clamp(lattice.index(a, points[p + std::size_t(a)]), 0., double(last));
            low[a] = int(at);
            high[a] = std::min(low[a] + 1, last);
            part[a] = at - low[a];
        }
        std::size_t cells[8];
        double weights[8], sum = 0;
        for (int corner = 0; corner < 8; ++corner) {
            const int i = corner & 1 ? high[0] : low[0], j = corner & 2 ? high[1] : low[1];
            const int k = corner & 4 ? high[2] : low[2];
            cells[corner] = std::size_t(field.row(k, i) - field.values.data()) + std::size_t(j);
            weights[corner] = (corner & 1 ? part[0] : 1 - part[0]) * (corner & 2 ? part[1] : 1 - part[1]) *
                              (corner & 4 ? part[2] : 1 - part[2]);
            if (!inside.empty() && !inside[cells[corner]])
                weights[corner] = 0;
            sum += weights[corner];
        }
        // A point so near to a surface that no cell around it is within has lost nothing but its place.
        if (!(sum > 0))
            weights[0] = sum = 1;
        for (int corner = 0; corner < 8; ++corner)
            field.values[cells[corner]] += T(weights[corner] / sum);
    }
}

/// Divides by the mass of the kernel in the domain, and gives the sum of what there is then in the domain. Elements
/// outside become 0.
template <class T>
double correct(const Taps<T>* taps, Field<T>& field, const std::vector<unsigned char>& inside, ParallelWork& work) {
    std::vector<double> mass[3];
    std::unique_ptr<Field<T>> covered;
    if (inside.empty()) {
        const int sizes[3] = {field.rows, field.columns, field.planes};
        for (int a = 0; a < 3; ++a)
            mass[a] = taps[a].massWithin(sizes[a]);
    } else {
        covered = std::make_unique<Field<T>>(field);
        std::copy(inside.begin(), inside.end(), covered->values.begin());
        smooth(taps, *covered, work, static_cast<unsigned long long>(field.planes));
    }
    return work.reduce(
        field.planes, 0.,
        [&](int k, int /*worker*/) {
            double sum = 0;
            for (int i = 0; i < field.rows; ++i) {
                T* const row = field.row(k, i);
                const std::size_t first = std::size_t(row - field.values.data());
                for (int j = 0; j < field.columns; ++j) {
                    if (covered)
                        row[j] =
                            inside[first + std::size_t(j)] ? row[j] / covered->values[first + std::size_t(j)] : T(0);
                    else
                        row[j] =
                            T(row[j] / (mass[0][std::size_t(i)] * mass[1][std::size_t(j)] * mass[2][std::size_t(k)]));
                    sum += double(row[j]);
                }
            }
            return sum;
        },
        [](double a, double b) { return a + b; });
}

} // namespace

template <class T>
void BoundedKernelDensityEstimator<T>::setBandwidth(T bandwidth) {
    if (!(bandwidth >= T(0)) || !std::isfinite(bandwidth))
        throw ValueError("void BoundedKernelDensityEstimator<T>::setBandwidth(T)", "The bandwidth is below 0");
    __bandwidth = bandwidth;
}

template <class T>
double BoundedKernelDensityEstimator<T>::workBytes(const Vector<int>& size) const {
    const double elements = double(size[0]) * size[1] * size[2];
    const bool masked = !this->getMaskSurfaces().empty();
    return elements * (masked ? 2. * sizeof(T) + 1 : 1. * sizeof(T));
}

template <class T>
void BoundedKernelDensityEstimator<T>::compute(VoxelMatrix<T>& matrix, const BoundingBox<T>& box) {
    this->checkSpace(box, "void BoundedKernelDensityEstimator<T>::compute(VoxelMatrix<T>&, const BoundingBox<T>&)");
    const MapLattice<T> lattice = this->lattice(box, matrix.getSize());
    const std::vector<Shape<T>*>& patterns = this->getShapes();
    __reports.assign(patterns.size(), PatternReport());
    this->notifyStarted("Kernel density estimation");
    matrix.setZeros();
    if (matrix.getSize().min() < 1)
        return this->notifyFinished("");
    const bool masked = !this->getMaskSurfaces().empty();
    const auto planes = static_cast<unsigned long long>(matrix.getSize3());
    ParallelWork work(*this, std::max(1ULL, patterns.size() * planes * (masked ? 4 : 2)));
    const MapDomain<T> domain(box, lattice, this->getMaskSurfaces(), work);
    const double volume = lattice.extent(0, 0) * lattice.extent(1, 0) * lattice.extent(2, 0);
    int numPatterns = 0;
    for (std::size_t s = 0; s < patterns.size() && !this->isCanceled(); ++s) {
        const std::vector<T> points = domain.pointsOf(*patterns[s]);
        PatternReport& report = __reports[s];
        report.numPoints = int(points.size() / 3);
        report.bandwidth = __bandwidth > T(0) ? double(__bandwidth) : normalReferenceBandwidth(points, __kernel);
        if (report.numPoints == 0)
            continue;
        const auto tapsOf = [&](int a) {
            return Taps<T>(__kernel, report.bandwidth, lattice.extent(a, 0), lattice.getSize(a));
        };
        const Taps<T> taps[3] = {tapsOf(0), tapsOf(1), tapsOf(2)};
        Field<T> field(lattice);
        share(points, lattice, domain.inside(), field);
        smooth(taps, field, work, planes);
        const double sum = correct(taps, field, domain.inside(), work);
        report.integral = sum / report.numPoints;
        ++numPatterns;
        // Adding up to 1 over the domain, times the cell's volume.
        const T factor = sum > 0 ? T(1 / (sum * volume)) : T(0);
        work.run(field.planes, 0, [&](int k, int /*worker*/) {
            for (int i = 0; i < field.rows; ++i)
                rowkernels::addMultiple(matrix[k][i].data(), factor, field.row(k, i), field.columns);
        });
    }
    if (this->isCanceled()) {
        matrix.setZeros();
        return this->notifyCanceled("");
    }
    if (numPatterns > 1)
        matrix /= T(numPatterns);
    this->notifyFinished("");
}

template class BoundedKernelDensityEstimator<float>;
template class BoundedKernelDensityEstimator<double>;

} // namespace vorlen
