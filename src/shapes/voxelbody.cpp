#include "shapes/voxelbody.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr int numLayers = 2;
constexpr int farAway = std::numeric_limits<int>::max() / 4;

using Point = std::array<double, 3>;

Point cornerOf(const TriMesh<double>& mesh, unsigned int triangle, int k) {
    const Vector<double>& vertex = mesh[int(mesh.getTriangleIndexes(triangle)[k])];
    return {vertex[0], vertex[1], vertex[2]};
}

} // namespace

VoxelBody::VoxelBody(const TriMesh<double>& mesh, double volume, int numInside) {
    if (mesh.getSpace() != 3)
        throw SizeError("VoxelBody::VoxelBody(const TriMesh<double>&, double, int)", "The mesh does not lie in space");
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Point lower = {infinity, infinity, infinity}, upper = {-infinity, -infinity, -infinity};
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i)
        for (int k = 0; k < 3; ++k) {
            const Point corner = cornerOf(mesh, i, k);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                lower[axis] = std::min(lower[axis], corner[axis]);
                upper[axis] = std::max(upper[axis], corner[axis]);
            }
        }
    const double box = (upper[0] - lower[0]) * (upper[1] - lower[1]) * (upper[2] - lower[2]);
    __size = std::cbrt(std::max(std::abs(volume) / numInside, box / (30.0 * numInside)));
    if (!(__size > 0) || !std::isfinite(__size))
        return;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        // The layers may take a flat body beyond the most; it then has larger voxels.
        __sizes[axis] = int(std::min(std::ceil((upper[axis] - lower[axis]) / __size), 1e6)) + 2 * numLayers;
        // Off the heights and places that vertices like to have.
        constexpr Point off = {0.5, 0.50123, 0.50317};
        __origin[axis] = lower[axis] + (off[axis] - numLayers) * __size;
    }
    if (double(__sizes[0]) * __sizes[1] * __sizes[2] > 200.0 * numInside) {
        __sizes = {};
        return;
    }
    __squares.assign(std::size_t(__sizes[0]) * std::size_t(__sizes[1]) * std::size_t(__sizes[2]), 0);
    fill(mesh);
    for (int axis = 0; axis < 3; ++axis)
        transform(axis);
}

/// Crossings of the rows along the first axis by each triangle.
void VoxelBody::fill(const TriMesh<double>& mesh) {
    std::vector<std::vector<float>> rows(std::size_t(__sizes[1]) * std::size_t(__sizes[2]));
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        std::array<Point, 3> t = {}; // in voxels
        for (int k = 0; k < 3; ++k) {
            const Point corner = cornerOf(mesh, i, k);
            for (std::size_t axis = 0; axis < 3; ++axis)
                t[std::size_t(k)][axis] = (corner[axis] - __origin[axis]) / __size;
        }
        const double area = (t[1][1] - t[0][1]) * (t[2][2] - t[0][2]) - (t[2][1] - t[0][1]) * (t[1][2] - t[0][2]);
        if (area == 0)
            continue;
        const auto [yLeast, yMost] = std::minmax({t[0][1], t[1][1], t[2][1]});
        const auto [zLeast, zMost] = std::minmax({t[0][2], t[1][2], t[2][2]});
        for (int z = int(std::ceil(zLeast)); z <= zMost; ++z)
            for (int y = int(std::ceil(yLeast)); y <= yMost; ++y) {
                Point weights = {};
                bool isWithin = true;
                for (std::size_t k = 0; k < 3; ++k) {
                    const Point &a = t[(k + 1) % 3], &b = t[(k + 2) % 3];
                    // The same sum for both triangles of an edge, whichever way they go along it.
                    const bool turned = b < a;
                    const Point &p = turned ? b : a, &q = turned ? a : b;
                    const double side = (q[1] - p[1]) * (z - p[2]) - (q[2] - p[2]) * (y - p[1]);
                    weights[k] = (turned ? -side : side) / area;
                    isWithin = isWithin && (weights[k] > 0 || (weights[k] == 0 && turned));
                }
                if (isWithin)
                    rows[std::size_t(z) * std::size_t(__sizes[1]) + std::size_t(y)].push_back(
                        float(weights[0] * t[0][0] + weights[1] * t[1][0] + weights[2] * t[2][0]));
            }
    }
    for (std::size_t row = 0; row < rows.size(); ++row) {
        std::vector<float>& crossings = rows[row];
        std::sort(crossings.begin(), crossings.end());
        for (std::size_t k = 0; k + 1 < crossings.size(); k += 2)
            for (int x = std::max(0, int(std::ceil(crossings[k]))); float(x) < crossings[k + 1] && x < __sizes[0]; ++x)
                __squares[row * std::size_t(__sizes[0]) + std::size_t(x)] = farAway;
    }
}

/// The lower envelope of the parabolas along the lines of an axis; what is 0 stays so.
void VoxelBody::transform(int axis) {
    const int n = __sizes[std::size_t(axis)], step = getStep(axis);
    std::vector<int> heights(static_cast<std::size_t>(n)), envelope(static_cast<std::size_t>(n));
    std::vector<double> starts(static_cast<std::size_t>(n));
    for (int first = 0; first < getNumVoxels(); ++first) {
        if (first / step % n != 0)
            continue; // not at the begin of a line
        for (int k = 0; k < n; ++k)
            heights[std::size_t(k)] = __squares[std::size_t(first + k * step)];
        int size = 0;
        for (int k = 0; k < n; ++k) {
            const double height = heights[std::size_t(k)];
            double start = -1;
            while (size > 0) {
                const int last = envelope[std::size_t(size) - 1];
                start = ((height + double(k) * k) - (heights[std::size_t(last)] + double(last) * last)) /
                        (2.0 * (k - last));
                if (start > starts[std::size_t(size) - 1])
                    break;
                --size;
                start = -1;
            }
            envelope[std::size_t(size)] = k;
            starts[std::size_t(size)] = size == 0 ? -1 : start;
            ++size;
        }
        for (int k = 0, part = 0; k < n; ++k) {
            while (part + 1 < size && starts[std::size_t(part) + 1] < k)
                ++part;
            const int nearest = envelope[std::size_t(part)], away = k - nearest;
            const long long square = heights[std::size_t(nearest)] + static_cast<long long>(away) * away;
            __squares[std::size_t(first + k * step)] = int(std::min<long long>(square, farAway));
        }
    }
}

double VoxelBody::getDepth(int voxel) const {
    return std::max(0.0, std::sqrt(double(getSquaredDistance(voxel))) - 0.5) * __size;
}

/// Whether a neighbour's ball holds that of the voxel.
bool VoxelBody::isCovered(int voxel) const {
    const double radius = std::sqrt(double(getSquaredDistance(voxel)));
    for (int z = -1; z <= 1; ++z)
        for (int y = -1; y <= 1; ++y)
            for (int x = -1; x <= 1; ++x) {
                const int other = voxel + x + y * getStep(1) + z * getStep(2);
                const double away = std::sqrt(double(x * x + y * y + z * z));
                if (other != voxel && std::sqrt(double(getSquaredDistance(other))) >= radius + away - 1e-6)
                    return true;
            }
    return false;
}

VoxelBody::Thickness VoxelBody::getThickness() const {
    std::vector<int> centres;
    std::size_t numInside = 0;
    for (int voxel = 0; voxel < getNumVoxels(); ++voxel)
        if (isInside(voxel)) {
            ++numInside;
            if (!isCovered(voxel))
                centres.push_back(voxel);
        }
    if (numInside == 0)
        return {};
    // The smallest balls first, so that the largest one that holds a voxel is the last to write it.
    std::sort(centres.begin(), centres.end(), [this](int a, int b) {
        const int first = getSquaredDistance(a), second = getSquaredDistance(b);
        return first != second ? first < second : a < b;
    });
    std::vector<int> largest(__squares.size(), 0);
    for (const int centre : centres) {
        const int square = getSquaredDistance(centre), reach = int(std::sqrt(double(square)));
        for (int z = -reach; z <= reach; ++z)
            for (int y = -reach; y <= reach; ++y) {
                const int left = square - z * z - y * y;
                if (left <= 0)
                    continue;
                const int half = int(std::sqrt(left - 0.5)); // middles within, not at, the distance
                int* const row = largest.data() + centre + y * getStep(1) + z * getStep(2);
                std::fill(row - half, row + half + 1, square);
            }
    }
    Thickness thickness;
    for (int voxel = 0; voxel < getNumVoxels(); ++voxel)
        if (isInside(voxel))
            thickness.mean += (2 * std::sqrt(double(largest[std::size_t(voxel)])) - 1) / double(numInside);
    thickness.mean *= __size;
    if (!centres.empty())
        thickness.greatest = 2 * getDepth(centres.back());
    return thickness;
}

} // namespace vorlen
