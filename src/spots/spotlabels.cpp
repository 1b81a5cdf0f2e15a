#include "spots/spotlabels.h"

#include <algorithm>
#include <cmath>

#include "numerics/exception.h"
#include "spots/spotflooding.h"
#include "spots/spotprogress.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

/// Calls work(label, row, column, plane) for each voxel of a spot.
template <class Work>
void forSpotVoxels(const VoxelMatrix<int>& labels, Work work) {
    for (int k = 0; k < labels.getSize3(); ++k)
        for (int i = 0; i < labels.getSize1(); ++i) {
            const int* const row = labels[k][i].data();
            for (int j = 0; j < labels.getSize2(); ++j)
                if (row[j] > 0)
                    work(row[j], i, j, k);
        }
}

std::vector<Spot> spotsOf(const VoxelMatrix<int>& labels, int count) {
    std::vector<Spot> spots{std::size_t(count)};
    const int rows = labels.getSize1(), columns = labels.getSize2(), planes = labels.getSize3();
    forSpotVoxels(labels, [&](int label, int i, int j, int k) {
        Spot& spot = spots[std::size_t(label) - 1];
        ++spot.numVoxels;
        spot.row += i;
        spot.column += j;
        spot.plane += k;
        spot.touchesBorder =
            spot.touchesBorder || i == 0 || j == 0 || k == 0 || i == rows - 1 || j == columns - 1 || k == planes - 1;
    });
    for (Spot& spot : spots) {
        spot.row /= spot.numVoxels;
        spot.column /= spot.numVoxels;
        spot.plane /= spot.numVoxels;
    }
    return spots;
}

bool isKept(const Spot& spot, const VRLSpotExtractionConfig& config, SpotLabels& result) {
    int* reason = nullptr;
    if (spot.numVoxels < config.getLeastSize())
        reason = &result.numTooSmall;
    else if (config.getGreatestSize() > 0 && spot.numVoxels > config.getGreatestSize())
        reason = &result.numTooLarge;
    else if (config.areBorderSpotsLeftOut() && spot.touchesBorder)
        reason = &result.numAtBorder;
    if (reason != nullptr)
        ++*reason;
    return reason == nullptr;
}

} // namespace

bool findSpots(const VoxelMatrix<float>& filtered, double threshold, const VRLSpotExtractionConfig& config,
               SpotLabels& result, SpotProgress& progress) {
    config.check();
    progress.begin("Labelling connected components...");
    const double deviation = config.getCutDeviation(), across = deviation / config.getPlaneStep();
    const int count = config.isSplittingEnabled() ? floodSpots(filtered, float(threshold), result.labels, progress,
                                                               float(deviation), float(across))
                                                  : labelSpots(filtered, float(threshold), result.labels, progress);
    if (count < 0)
        return false;
    result.spots.clear();
    result.numTooSmall = result.numTooLarge = result.numAtBorder = 0;
    const std::vector<Spot> all = spotsOf(result.labels, count);
    std::vector<int> renamed(std::size_t(count) + 1, 0);
    for (std::size_t i = 0; i < all.size(); ++i)
        if (isKept(all[i], config, result)) {
            result.spots.push_back(all[i]);
            renamed[i + 1] = int(result.spots.size());
        }
    if (result.spots.size() < all.size())
        forSpotVoxels(result.labels,
                      [&](int label, int i, int j, int k) { result.labels(i, j, k) = renamed[std::size_t(label)]; });
    return !progress.isCanceled();
}

void measureSpots(const VoxelMatrix<float>& grey, SpotLabels& result) {
    if (grey.getSize() != result.labels.getSize())
        throw SizeError("void measureSpots(const VoxelMatrix<float>&, SpotLabels&)",
                        "Grey values and labels have different sizes");
    for (Spot& spot : result.spots) {
        spot.sum = 0;
        spot.maximum = -HUGE_VAL;
    }
    forSpotVoxels(result.labels, [&](int label, int i, int j, int k) {
        Spot& spot = result.spots[std::size_t(label) - 1];
        const double value = double(grey(i, j, k));
        spot.sum += value;
        spot.maximum = std::max(spot.maximum, value);
    });
}

bool areMostlySpecks(const SpotLabels& result) {
    constexpr std::size_t fewest = 50;
    constexpr int leastVoxels = 4;
    const auto specks = std::count_if(result.spots.begin(), result.spots.end(),
                                      [](const Spot& spot) { return spot.numVoxels < leastVoxels; });
    return result.spots.size() >= fewest && 2 * std::size_t(specks) > result.spots.size();
}

std::string spotName(const std::string& basename, std::size_t number) {
    const std::string digits = std::to_string(number);
    return basename + std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') + digits;
}

double equivalentRadius(const Spot& spot, const Vector<double>& resolution) {
    const double volume = spot.numVoxels * resolution[0] * resolution[1] * resolution[2];
    return std::cbrt(3 * volume / (4 * pi)) / resolution[1];
}

} // namespace vorlen
