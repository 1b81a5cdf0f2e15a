#include "spots/spotflooding.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <vector>

#include "images/filters/gaussianfilter.h"
#include "images/regions/componentlabelling.h"
#include "spots/spotprogress.h"

namespace vorlen {

namespace {

/// What a bright place must have over the saddle to the next one.
constexpr float leastProminence = 0.1f; // of its height
constexpr int leastVoxels = 4;
constexpr double mostForeground = 0.25;

/// Voxels that are not in a spot.
constexpr int outside = -1;

/// The flooding of the foreground, whose voxels are numbered from 0 in scan order.
class Flooding {
public:
    /// The numbers become labels.
    Flooding(const VoxelMatrix<float>& heights, VoxelMatrix<int>& numbers, int count);

    /// False when cancelled.
    bool run(SpotProgress& progress);
    int writeLabels();

private:
    struct Place {
        int row, column, plane;
    };

    Place placeOf(int voxel) const;
    void flood(int voxel);
    int rootOf(int voxel);
    bool areOne(int low, int high, float saddle) const;
    void join(int low, int high);

    const VoxelMatrix<float>& __heights;
    VoxelMatrix<int>& __numbers;
    std::vector<std::uint32_t> __places; // by number: (plane * rows + row) * columns + column
    std::vector<float> __values;         // by number
    std::vector<int> __parents;          // by number; outside until the flood is there
    std::vector<int> __sizes;            // of roots
};

Flooding::Flooding(const VoxelMatrix<float>& heights, VoxelMatrix<int>& numbers, int count)
    : __heights(heights), __numbers(numbers), __parents(std::size_t(count), outside), __sizes(std::size_t(count), 0) {
    const auto n = std::size_t(count);
    __places.reserve(n);
    __values.reserve(n);
    std::uint32_t place = 0;
    for (int k = 0; k < numbers.getSize3(); ++k)
        for (int i = 0; i < numbers.getSize1(); ++i) {
            const int* const row = numbers[k][i].data();
            for (int j = 0; j < numbers.getSize2(); ++j, ++place)
                if (row[j] != outside) {
                    __places.push_back(place);
                    __values.push_back(heights(i, j, k));
                }
        }
}

Flooding::Place Flooding::placeOf(int voxel) const {
    const std::uint32_t place = __places[std::size_t(voxel)];
    const auto columns = std::uint32_t(__numbers.getSize2()), rows = std::uint32_t(__numbers.getSize1());
    return {int(place / columns % rows), int(place % columns), int(place / columns / rows)};
}

int Flooding::rootOf(int voxel) {
    while (__parents[std::size_t(voxel)] != voxel) {
        int& parent = __parents[std::size_t(voxel)];
        parent = __parents[std::size_t(parent)];
        voxel = parent;
    }
    return voxel;
}

bool Flooding::areOne(int low, int high, float saddle) const {
    const float height = __values[std::size_t(low)];
    return height - saddle < leastProminence * height ||
           std::min(__sizes[std::size_t(low)], __sizes[std::size_t(high)]) < leastVoxels;
}

void Flooding::join(int low, int high) {
    __parents[std::size_t(low)] = high;
    __sizes[std::size_t(high)] += __sizes[std::size_t(low)];
}

/// A root is the highest voxel of its region, so that its own value is the height of the region.
void Flooding::flood(int voxel) {
    const Place place = placeOf(voxel);
    std::array<int, 6> roots;
    int numRoots = 0, home = outside;
    float best = 0;
    constexpr int steps[6][3] = {{-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}};
    for (const auto& step : steps) {
        const int i = place.row + step[0], j = place.column + step[1], k = place.plane + step[2];
        const int neighbour = __numbers.contains(i, j, k) ? __numbers(i, j, k) : outside;
        if (neighbour == outside || __parents[std::size_t(neighbour)] == outside)
            continue;
        const int root = rootOf(neighbour);
        if (home == outside || __values[std::size_t(neighbour)] > best) {
            best = __values[std::size_t(neighbour)];
            home = root;
        }
        roots[std::size_t(numRoots++)] = root;
    }
    if (home == outside) {
        __parents[std::size_t(voxel)] = voxel;
        __sizes[std::size_t(voxel)] = 1;
        return;
    }
    const float saddle = __values[std::size_t(voxel)];
    for (int r = 0; r < numRoots; ++r) {
        const int here = rootOf(home), other = rootOf(roots[std::size_t(r)]);
        if (here == other)
            continue;
        const bool isHigher = __values[std::size_t(other)] > __values[std::size_t(here)];
        const int low = isHigher ? here : other, high = isHigher ? other : here;
        if (areOne(low, high, saddle))
            join(low, high);
    }
    home = rootOf(home);
    __parents[std::size_t(voxel)] = home;
    ++__sizes[std::size_t(home)];
}

bool Flooding::run(SpotProgress& progress) {
    std::vector<int> order(__values.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [this](int one, int other) {
        const float a = __values[std::size_t(one)], b = __values[std::size_t(other)];
        return a != b ? a > b : one < other;
    });
    constexpr std::size_t bundle = 1 << 16;
    for (std::size_t at = 0; at < order.size(); ++at) {
        if (at % bundle == 0 && !progress.advance(0.5 + 0.5 * double(at) / double(order.size())))
            return false;
        flood(order[at]);
    }
    return !progress.isCanceled();
}

int Flooding::writeLabels() {
    std::vector<int>& labelOfRoot = __sizes;
    std::fill(labelOfRoot.begin(), labelOfRoot.end(), 0);
    int count = 0;
    for (int k = 0; k < __numbers.getSize3(); ++k)
        for (int i = 0; i < __numbers.getSize1(); ++i) {
            int* const row = __numbers[k][i].data();
            for (int j = 0; j < __numbers.getSize2(); ++j) {
                if (row[j] == outside) {
                    row[j] = 0;
                    continue;
                }
                int& label = labelOfRoot[std::size_t(rootOf(row[j]))];
                if (label == 0)
                    label = ++count;
                row[j] = label;
            }
        }
    return count;
}

/// Numbers of the voxels of the foreground, in scan order; how many there are.
int numberForeground(const VoxelMatrix<float>& volume, float threshold, VoxelMatrix<int>& numbers) {
    numbers.setSize(volume.getSize());
    int count = 0;
    for (int k = 0; k < volume.getSize3(); ++k)
        for (int i = 0; i < volume.getSize1(); ++i) {
            const float* const values = volume[k][i].data();
            int* const row = numbers[k][i].data();
            for (int j = 0; j < volume.getSize2(); ++j)
                row[j] = values[j] >= threshold ? count++ : outside;
        }
    return count;
}

/// From the order of ComponentLabelling to that of the scan.
void orderByScan(VoxelMatrix<int>& labels, int count) {
    std::vector<int> renamed(std::size_t(count) + 1, 0);
    int next = 0;
    for (int k = 0; k < labels.getSize3(); ++k)
        for (int i = 0; i < labels.getSize1(); ++i) {
            int* const row = labels[k][i].data();
            for (int j = 0; j < labels.getSize2(); ++j)
                if (row[j] != 0) {
                    int& label = renamed[std::size_t(row[j])];
                    if (label == 0)
                        label = ++next;
                    row[j] = label;
                }
        }
}

} // namespace

int labelSpots(const VoxelMatrix<float>& volume, float threshold, VoxelMatrix<int>& labels, SpotProgress& progress) {
    numberForeground(volume, threshold, labels);
    for (int k = 0; k < labels.getSize3(); ++k)
        for (int i = 0; i < labels.getSize1(); ++i) {
            int* const row = labels[k][i].data();
            for (int j = 0; j < labels.getSize2(); ++j)
                row[j] = row[j] == outside ? 0 : 1;
        }
    ComponentLabelling<int> labelling;
    if (!progress.run(labelling, labels, 0, 1))
        return -1;
    orderByScan(labels, labelling.getNumLabels());
    return labelling.getNumLabels();
}

int floodSpots(const VoxelMatrix<float>& volume, float threshold, VoxelMatrix<int>& labels, SpotProgress& progress,
               float deviation, float planeDeviation) {
    const int count = numberForeground(volume, threshold, labels);
    const double whole = double(volume.getSize1()) * volume.getSize2() * volume.getSize3();
    if (double(count) > mostForeground * whole)
        return labelSpots(volume, threshold, labels, progress);
    VoxelMatrix<float> heights(volume.getSize1(), volume.getSize2(), volume.getSize3());
    for (int k = 0; k < volume.getSize3(); ++k)
        for (int i = 0; i < volume.getSize1(); ++i)
            for (int j = 0; j < volume.getSize2(); ++j)
                heights(i, j, k) = labels(i, j, k) != outside ? volume(i, j, k) : 0.0f;
    GaussianFilter<float> filter(deviation);
    filter.setPlaneSigma(planeDeviation);
    if (!progress.run(filter, heights, 0, 0.5))
        return -1;
    Flooding flooding(heights, labels, count);
    return flooding.run(progress) ? flooding.writeLabels() : -1;
}

} // namespace vorlen
