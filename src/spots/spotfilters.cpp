#include "spots/spotfilters.h"

#include <algorithm>
#include <cmath>

#include "images/filters/gaussianfilter.h"
#include "images/filters/isotropyfilter.h"
#include "images/filters/maxfilter.h"
#include "images/filters/medianfilter.h"
#include "images/filters/minfilter.h"
#include "images/filters/sumfilter.h"
#include "images/filters/voxelmatrixdilatation.h"
#include "images/filters/voxelmatrixerosion.h"
#include "images/volumes/volumeresize.h"
#include "spots/mirroredpart.h"
#include "spots/spotprogress.h"
#include "spots/spotsuggestion.h"

namespace vorlen {

namespace {

bool resize(VoxelMatrix<float>& volume, const Vector<int>& size, SpotProgress& progress) {
    progress.begin("Running: resizing volume...");
    VolumeResize<float> resizer;
    resizer.setSize(size);
    resizer.setInterpolationMode(NearestInterpolationMode);
    return progress.run(resizer, volume);
}

bool smooth(VoxelMatrix<float>& volume, const VRLSpotExtractionConfig& config, SpotProgress& progress) {
    const int radius = config.getSmoothingFilterRadius();
    const bool isMedian = config.getSmoothingFilterType() == MedianSmoothing;
    progress.begin(isMedian                                              ? "Running: median filter..."
                   : config.getSmoothingFilterType() == AverageSmoothing ? "Running: average filter..."
                                                                         : "Running: Gaussian filter...");
    VoxelMatrix<float> wide =
        mirroredPart(volume, {-radius, -radius, -radius},
                     {volume.getSize1() + 2 * radius, volume.getSize2() + 2 * radius, volume.getSize3() + 2 * radius});
    if (isMedian) {
        MedianFilter<float> filter;
        filter.setHalfSize(radius);
        progress.run(filter, wide);
    } else if (config.getSmoothingFilterType() == AverageSmoothing) {
        SumFilter<float> filter;
        filter.setHalfSize(radius);
        const float side = float(2 * radius + 1);
        if (progress.run(filter, wide))
            wide /= side * side * side;
    } else {
        GaussianFilter<float> filter(0.5f * float(radius));
        filter.setPlaneSigma(float(0.5 * radius / config.getPlaneStep()));
        progress.run(filter, wide);
    }
    if (progress.isCanceled())
        return false;
    volume = wide.copy(radius, radius + volume.getSize1() - 1, radius, radius + volume.getSize2() - 1, radius,
                       radius + volume.getSize3() - 1);
    return true;
}

/// Opens the volume by two filters, in two steps.
template <class Erosion, class Dilatation>
bool open(VoxelMatrix<float>& volume, Erosion& erosion, Dilatation& dilatation, SpotProgress& progress) {
    progress.begin("Running: erosion...");
    if (!progress.run(erosion, volume))
        return false;
    progress.begin("Running: dilatation...");
    return progress.run(dilatation, volume);
}

/// Each voxel of the volume becomes what is made of it and its like in the other.
template <class Make>
void forPairs(VoxelMatrix<float>& volume, const VoxelMatrix<float>& other, Make make) {
    for (int k = 0; k < volume.getSize3(); ++k)
        for (int i = 0; i < volume.getSize1(); ++i) {
            float* const row = volume[k][i].data();
            const float* const others = other[k][i].data();
            for (int j = 0; j < volume.getSize2(); ++j)
                row[j] = make(row[j], others[j]);
        }
}

bool subtractOpening(VoxelMatrix<float>& volume, const VRLSpotExtractionConfig& config, SpotProgress& progress) {
    const int radius = config.getTophatFilterRadius();
    VoxelMatrix<float> opened(volume);
    bool done = false;
    if (config.getTophatFilterType() == FlatTopHat) {
        MinFilter<float> erosion;
        MaxFilter<float> dilatation;
        const int across = std::max(1, int(std::ceil(radius / config.getPlaneStep())));
        erosion.setHalfSize(radius);
        erosion.setPlaneHalfSize(across);
        dilatation.setHalfSize(radius);
        dilatation.setPlaneHalfSize(across);
        done = open(opened, erosion, dilatation, progress);
    } else {
        const VoxelMatrix<float> element = sphericalElement(radius);
        VoxelMatrixErosion<float> erosion;
        VoxelMatrixDilatation<float> dilatation;
        erosion.setStructElt(element);
        dilatation.setStructElt(element);
        done = open(opened, erosion, dilatation, progress);
    }
    // An opening is nowhere above what it opens, but by the rounding of the element's heights. What is left of that
    // below 0 would be a mass below 0 to the isotropy, whose index then is anything.
    if (done)
        forPairs(volume, opened, [](float value, float ground) { return value < ground ? 0 : value - ground; });
    return done;
}

bool weighByIsotropy(VoxelMatrix<float>& volume, const VRLSpotExtractionConfig& config, SpotProgress& progress) {
    progress.begin("Running: isotropy filter...");
    VoxelMatrix<float> index(volume);
    IsotropyFilter<float> filter;
    filter.setHalfSize(config.getIsotropyFilterRadius());
    filter.setPlaneStep(config.getPlaneStep());
    if (!progress.run(filter, index))
        return false;
    // With values below 0, as real images may have, the index is not bound to be one.
    forPairs(volume, index, [](float value, float weight) {
        return value * (weight > 1 ? 1 : weight < 0 ? 0 : weight);
    });
    return true;
}

double voxels(const Vector<int>& size) {
    return double(size[0]) * size[1] * size[2];
}

/// Bytes of models for each voxel, at the most: of noise that has become spots, one for every 150 voxels or so; and of
/// spots that stand out of it.
constexpr double speckModels = 20, voxelModels = 4;

double runMemory(const Vector<int>& size, const VRLSpotExtractionConfig& config, double models) {
    const double whole = voxels(size);
    double work = whole;
    if (config.getResizeState() && config.getNewSize().getSize() == 3)
        work = std::max(work, voxels(config.getNewSize()));
    // The images and the filtered volume; then a copy with its margin and the planes that a filter keeps, or labels and
    // what cuts them, or labels and models.
    const int margin = config.isSmoothingFilterEnabled() ? 2 * config.getSmoothingFilterRadius() : 0;
    const double wide =
        work * (1 + double(margin) / size[0]) * (1 + double(margin) / size[1]) * (1 + double(margin) / size[2]);
    const double filtering = 4 * whole + 4 * work + 4.5 * wide;
    const double labelling = 4 * whole * 3 + (config.isSplittingEnabled() ? 4 * whole + 24 * whole / 4 : 0);
    return std::max({filtering, labelling, 12 * whole + models * whole});
}

} // namespace

VoxelMatrix<float> sphericalElement(int radius) {
    const int side = 2 * radius + 1;
    VoxelMatrix<float> element(side, side, side);
    element.setZeros();
    for (int c = -radius; c <= radius; ++c)
        for (int a = -radius; a <= radius; ++a)
            for (int b = -radius; b <= radius; ++b) {
                const int d = a * a + b * b + c * c;
                if (d <= radius * radius)
                    element(radius + a, radius + b, radius + c) =
                        float(200 * std::sqrt(1 - d / double((radius + 1) * (radius + 1))));
            }
    return element;
}

int numSpotFilters(const VRLSpotExtractionConfig& config) {
    return (config.getResizeState() ? 2 : 0) + (config.isSmoothingFilterEnabled() ? 1 : 0) +
           (config.isTophatFilterEnabled() ? 2 : 0) + (config.isIsotropyFilterEnabled() ? 1 : 0);
}

bool filterSpotVolume(VoxelMatrix<float>& volume, const VRLSpotExtractionConfig& config, SpotProgress& progress) {
    config.check();
    const Vector<int> size = volume.getSize();
    const VoxelCalibration calibration = volume.getVoxelCalibration();
    const bool done = (!config.getResizeState() || resize(volume, config.getNewSize(), progress)) &&
                      (!config.isSmoothingFilterEnabled() || smooth(volume, config, progress)) &&
                      (!config.isTophatFilterEnabled() || subtractOpening(volume, config, progress)) &&
                      (!config.isIsotropyFilterEnabled() || weighByIsotropy(volume, config, progress)) &&
                      (!config.getResizeState() || resize(volume, size, progress));
    if (done)
        volume.setVoxelCalibration(calibration); // which smoothing loses and resizing rounds
    return done;
}

double spotMemory(const Vector<int>& size, const VRLSpotExtractionConfig& config) {
    if (config.areFiltersSuggested()) {
        VRLSpotExtractionConfig widest(config);
        widest.setFiltersSuggested(false);
        setSuggestedFilters(widest, {.radius = mostSuggestedRadius}, size);
        return std::max(suggestionMemory(size), runMemory(size, widest, voxelModels));
    }
    return runMemory(size, config, speckModels);
}

} // namespace vorlen
