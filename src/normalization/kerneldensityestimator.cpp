#include "normalization/kerneldensityestimator.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "numerics/rowkernels.h"
#include "shapes/boundingbox.h"
#include "shapes/shape.h"
#include "shapes/shapearithmetic.h"

namespace vorlen {

namespace {

// Points whose tables are held at once.
constexpr int batchSize = 4096;

constexpr double pi = 3.14159265358979323846;

/// What the kernel is to be multiplied with to integrate to 1 over space, for a bandwidth of 1.
double peakOf(DensityKernel kernel) {
    switch (kernel) {
    case UniformKernel:
        return 3 / (4 * pi);
    case EpanechnikovKernel:
        return 15 / (8 * pi);
    case BiweightKernel:
        return 105 / (32 * pi);
    default:
        return std::pow(2 * pi, -1.5);
    }
}

template <class Wide>
struct Point {
    Wide coordinates[3];
    Wide weight;
};

/// The nodes of an axis, first and last included, that a point reaches, and what each brings to the kernel: the factor
/// of a Gaussian, the squared distance in bandwidths of the others.
struct Window {
    int first;
    int last;
    std::size_t table; // of the first node
};

template <class Wide>
struct Axis {
    Wide lower;
    Wide step;
    int n;
};

/// One batch of points against all planes. Rows are those of the volume: axis 0 runs over the rows of a plane, axis 1
/// along them, axis 2 over the planes.
template <class T>
class Spreader {
public:
    using Wide = WideCoordinate<T>;

    Spreader(DensityKernel kernel, T bandwidth, const Axis<Wide>* axes)
        : __kernel(kernel), __bandwidth(bandwidth), __reach(bandwidth), __axes(axes),
          __plane(std::size_t(axes[0].n) * std::size_t(axes[1].n)) {
        if (kernel == GaussianKernel)
            __reach = __bandwidth * std::sqrt(-2 * std::log(Wide(std::numeric_limits<T>::epsilon())));
    }

    /// Makes the tables of the points; those that reach no node drop out.
    void prepare(const Point<Wide>* points, int count) {
        __items.clear();
        __tables.clear();
        for (int p = 0; p < count; ++p) {
            const std::size_t kept = __tables.size();
            Item item{{}, points[p].weight};
            bool reaches = true;
            for (int a = 0; a < 3 && reaches; ++a)
                reaches = tabulate(__axes[a], points[p].coordinates[a], item.windows[a]);
            if (reaches)
                __items.push_back(item);
            else
                __tables.resize(kept);
        }
    }

    /// Adds what the points bring to plane k.
    void addTo(PixelMatrix<T>& matrix, int k) {
        const int columns = __axes[1].n;
        int firstRow = __axes[0].n, lastRow = -1;
        for (const Item& item : __items) {
            const Window& planes = item.windows[2];
            if (k < planes.first || k > planes.last)
                continue;
            const Window& rows = item.windows[0];
            if (lastRow < 0)
                std::fill(__plane.begin(), __plane.end(), Wide(0));
            firstRow = std::min(firstRow, rows.first);
            lastRow = std::max(lastRow, rows.last);
            const Wide atPlane = __tables[planes.table + std::size_t(k - planes.first)];
            const Window& line = item.windows[1];
            const Wide* const along = __tables.data() + line.table;
            const int length = line.last - line.first + 1;
            for (int i = rows.first; i <= rows.last; ++i) {
                const Wide atRow = __tables[rows.table + std::size_t(i - rows.first)];
                Wide* const row = __plane.data() + std::size_t(i) * std::size_t(columns) + line.first;
                addRow(row, along, length, atPlane, atRow, item.weight);
            }
        }
        for (int i = firstRow; i <= lastRow; ++i) {
            const Wide* const row = __plane.data() + std::size_t(i) * std::size_t(columns);
            T* const out = matrix[i].data();
            for (int j = 0; j < columns; ++j)
                out[j] = T(out[j] + row[j]);
        }
    }

private:
    struct Item {
        Window windows[3];
        Wide weight;
    };

    bool tabulate(const Axis<Wide>& axis, Wide x, Window& window) {
        // The ends are found with a node to spare, before the conversion that huge numbers would not bear.
        Wide first = 0, last = axis.n - 1;
        if (axis.step > 0) {
            first = std::max(first, std::floor((x - __reach - axis.lower) / axis.step));
            last = std::min(last, std::ceil((x + __reach - axis.lower) / axis.step));
        }
        if (!(first <= last))
            return false;
        window = {int(first), int(last), __tables.size()};
        const auto distanceAt = [&](int i) { return std::abs(axis.lower + axis.step * Wide(i) - x); };
        while (window.first <= window.last && distanceAt(window.first) > __reach)
            ++window.first;
        while (window.first <= window.last && distanceAt(window.last) > __reach)
            --window.last;
        for (int i = window.first; i <= window.last; ++i) {
            const Wide distance = distanceAt(i) / __bandwidth;
            const Wide square = distance * distance;
            __tables.push_back(__kernel == GaussianKernel ? std::exp(-square / 2) : square);
        }
        return window.first <= window.last;
    }

    void addRow(Wide* __restrict row, const Wide* along, int length, Wide atPlane, Wide atRow, Wide weight) const {
        if (__kernel == GaussianKernel) {
            rowkernels::addMultiple(row, weight * atPlane * atRow, along, length);
            return;
        }
        const Wide rest = 1 - (atPlane + atRow); // what the square along the row may not exceed
        if (rest < 0)
            return;
        int first = 0, last = length - 1;
        while (first <= last && along[first] > rest)
            ++first;
        while (first <= last && along[last] > rest)
            --last;
        switch (__kernel) {
        case UniformKernel:
            for (int j = first; j <= last; ++j)
                row[j] += weight;
            break;
        case EpanechnikovKernel:
            for (int j = first; j <= last; ++j)
                row[j] += weight * (rest - along[j]);
            break;
        default:
            for (int j = first; j <= last; ++j)
                row[j] += weight * ((rest - along[j]) * (rest - along[j]));
        }
    }

    DensityKernel __kernel;
    Wide __bandwidth;
    Wide __reach;
    const Axis<Wide>* __axes;
    std::vector<Item> __items;
    std::vector<Wide> __tables;
    std::vector<Wide> __plane; // sums of a batch at one plane
};

template <class T>
bool isFinite(const Vector<T>& v) {
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

/// The points of all patterns, of which each weighs the same; the weights add up to 1.
template <class T>
std::vector<Point<WideCoordinate<T>>> weightedPoints(const std::vector<Shape<T>*>& shapes) {
    using Wide = WideCoordinate<T>;
    std::vector<Point<Wide>> points;
    int numPatterns = 0;
    for (const Shape<T>* shape : shapes) {
        const std::size_t before = points.size();
        for (ConstVertexIterator<T> it(*shape); it.current(); ++it) {
            const Vector<T>& v = *it.current();
            if (isFinite(v))
                points.push_back({{v[0], v[1], v[2]}, 0});
        }
        const std::size_t added = points.size() - before;
        for (std::size_t p = before; p < points.size(); ++p)
            points[p].weight = Wide(1) / Wide(added);
        numPatterns += added > 0 ? 1 : 0;
    }
    for (Point<Wide>& point : points)
        point.weight /= Wide(numPatterns);
    return points;
}

} // namespace

template <class T>
void KernelDensityEstimator<T>::setBandwidth(T bandwidth) {
    if (!(bandwidth > T(0)) || !std::isfinite(bandwidth))
        throw ValueError("void KernelDensityEstimator<T>::setBandwidth(T)", "The bandwidth is not above 0");
    __bandwidth = bandwidth;
}

template <class T>
double KernelDensityEstimator<T>::blockBytes(const BoundingBox<T>& /*box*/, const Vector<int>& size,
                                             const MapPlanes& /*block*/) const {
    using Wide = WideCoordinate<T>;
    double points = 0;
    for (const Shape<T>* shape : this->getShapes())
        points += double(shape->getNumVertices());
    // The points, the sums of a plane, and the tables of a batch, which may have grown to twice what they hold.
    const double tables = 2 * std::min(points, double(batchSize)) * (double(size[0]) + size[1] + size[2]);
    return points * sizeof(Point<Wide>) + sizeof(Wide) * (double(size[0]) * size[1] + tables);
}

template <class T>
MapSums KernelDensityEstimator<T>::computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& box,
                                                const Vector<int>& size, const MapPlanes& block) {
    using Wide = WideCoordinate<T>;
    const char* const where = "void KernelDensityEstimator<T>::compute(VoxelMatrix<T>&, const BoundingBox<T>&)";
    this->checkSpace(box, where);
    this->checkBlock(planes, size, block, where);
    std::vector<Point<Wide>> points = weightedPoints<T>(this->getShapes());
    // A batch then reaches few planes.
    std::sort(points.begin(), points.end(),
              [](const Point<Wide>& a, const Point<Wide>& b) { return a.coordinates[2] < b.coordinates[2]; });
    const Wide h = __bandwidth;
    for (Point<Wide>& point : points)
        point.weight *= Wide(peakOf(__kernel)) / (h * h * h);
    Axis<Wide> axes[3];
    for (int a = 0; a < 3; ++a) {
        const int n = size[a];
        axes[a] = {box.min(a), n > 1 ? (Wide(box.max(a)) - Wide(box.min(a))) / Wide(n - 1) : Wide(0), n};
    }

    this->notifyStarted("Kernel density estimation");
    planes.setZeros();
    Spreader<T> spreader(__kernel, __bandwidth, axes);
    const int numPlanes = block.count();
    const std::size_t numBatches = (points.size() + batchSize - 1) / batchSize;
    for (std::size_t batch = 0; batch < numBatches; ++batch) {
        const std::size_t first = batch * batchSize;
        spreader.prepare(points.data() + first, int(std::min<std::size_t>(batchSize, points.size() - first)));
        for (int k = 0; k < numPlanes; ++k) {
            spreader.addTo(planes[k], block.first + k);
            this->notifyProgressed(static_cast<unsigned int>(batch * std::size_t(numPlanes) + std::size_t(k)),
                                   static_cast<unsigned int>(numBatches * std::size_t(numPlanes)));
        }
    }
    this->notifyFinished("");
    this->maskPlanes(planes, lattice(box, size), block.first, where);
    return {};
}

template <class T>
MapLattice<T> KernelDensityEstimator<T>::lattice(const BoundingBox<T>& box, const Vector<int>& size) const {
    return MapLattice<T>(MapLayout::Nodes, box, size);
}

template class KernelDensityEstimator<float>;
template class KernelDensityEstimator<double>;
template class KernelDensityEstimator<long double>;

} // namespace vorlen
