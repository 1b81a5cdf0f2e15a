#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "document/stack.h"
#include "numerics/exception.h"
#include "progress/progressmonitor.h"
#include "progress/progresssubject.h"
#include "reconstruction/stackreconstruction.h"
#include "spots/spotfilters.h"
#include "spots/spotlabels.h"
#include "spots/spotprogress.h"
#include "spots/spotsuggestion.h"
#include "spots/spotthreshold.h"
#include "spots/spotvolume.h"
#include "support/documentmaker.h"
#include "support/fixedsource.h"
#include "support/recordingmonitor.h"
#include "support/testimages.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

VRLSpotExtractionConfig withoutFilters() {
    VRLSpotExtractionConfig config;
    config.setSmoothingFilterEnabled(false);
    config.setTophatFilterEnabled(false);
    config.setIsotropyFilterEnabled(false);
    return config;
}

/// A dark image with a bright dot of 5 x 5 pixels.
class DotSource : public FixedSource {
public:
    DotSource(int rows, int columns, double column, double row)
        : FixedSource(rows, columns), __column(int(std::lround(column))), __row(int(std::lround(row))) {}
    DotSource* clone() const override { return new DotSource(*this); }
    void read(ImageReader&, Image& image) const override {
        image = TestImages::uniform(getSize2(), getSize1(), 8, 20);
        for (int i = __row - 2; i <= __row + 2; ++i)
            for (int j = __column - 2; j <= __column + 2; ++j)
                image.getData()[std::size_t(i) * std::size_t(getSize2()) + std::size_t(j)] = 200;
    }

private:
    int __column, __row;
};

/// A bar that stands upright in a stack whose slices are shifted and turned against each other, and whose last slice
/// has pixels of half the size.
void makeRegisteredBar(Stack& stack, double column, double row) {
    addSlices(stack, 7);
    for (int k = 0; k < 7; ++k) {
        StackSlice& slice = stack.getSlice(k);
        PixelCalibration calibration;
        calibration.setPixelWidth(k == 6 ? 0.25f : 0.5f);
        calibration.setPixelHeight(k == 6 ? 0.25f : 0.5f);
        slice.setPixelCalibration(calibration);
        slice.setImageSource(FixedSource(100, 120));
        slice.setAbsolutePosition(2.0f * float(k));
        slice.setRegistration(k == 0 ? Registration() : Registration(3, -2, 4));
    }
    const StackReconstruction<double> space(stack);
    const Vector<double> world = space.toWorld(0, column, row);
    for (int k = 0; k < 7; ++k) {
        const Vector<double> place = space.toPixels(k, world[0], world[1]);
        stack.getSlice(k).setImageSource(DotSource(100, 120, place[0], place[1]));
    }
}

SpotLabels labelsOf(const VoxelMatrix<float>& volume, double threshold, const VRLSpotExtractionConfig& config) {
    ProgressSubject subject;
    SpotProgress progress(subject, 1);
    SpotLabels found;
    EXPECT_TRUE(findSpots(volume, threshold, config, found, progress));
    return found;
}

struct Blob {
    double row, column, plane;

    double distanceTo(double i, double j, double k) const {
        return std::sqrt((i - row) * (i - row) + (j - column) * (j - column) + (k - plane) * (k - plane));
    }
};

/// Balls at random places, the first of them in pairs that touch; planes lie so many columns apart. Places are in
/// columns.
class MadeVolume {
public:
    static constexpr double height = 150;

    MadeVolume(int side, int numBlobs, int numTouching, double blobRadius = 3.5, double planeStep = 1,
               unsigned seed = 7)
        : radius(blobRadius), step(planeStep), __side(side), __engine(seed) {
        while (int(blobs.size()) < numBlobs) {
            const Blob blob{uniform(), uniform(), uniform()};
            if (!isFree(blob, 2 * radius + 4, -1))
                continue;
            blobs.push_back(blob);
            while (int(blobs.size()) <= numTouching && int(blobs.size()) % 2 == 1) {
                const double z = 2 * __unit(__engine) - 1, angle = 6.283185307179586 * __unit(__engine);
                const double across = std::sqrt(1 - z * z);
                const Blob other{blob.row + 2 * radius * across * std::cos(angle),
                                 blob.column + 2 * radius * across * std::sin(angle), blob.plane + 2 * radius * z};
                if (isFree(other, 2 * radius + 3, int(blobs.size()) - 1))
                    blobs.push_back(other);
                else
                    break;
            }
        }
    }

    /// Noise, of a third of the height, on a grey ground, cut to whole bytes as a camera's are.
    VoxelMatrix<float> draw(double noiseShare = 1.0 / 3) {
        const int planes = int(__side / step);
        VoxelMatrix<float> volume(__side, __side, planes);
        volume.fill(60);
        const int reach = int(radius) + 2;
        for (const Blob& blob : blobs)
            for (int k = int((blob.plane - reach) / step); k <= int((blob.plane + reach) / step); ++k)
                for (int i = int(blob.row) - reach; i <= int(blob.row) + reach; ++i)
                    for (int j = int(blob.column) - reach; j <= int(blob.column) + reach; ++j)
                        volume(i, j, k) = std::max(
                            volume(i, j, k),
                            float(60 + height * std::clamp(radius - blob.distanceTo(i, j, k * step) + 0.5, 0.0, 1.0)));
        std::normal_distribution<double> noise(0, height * noiseShare);
        for (int k = 0; k < planes; ++k)
            for (int i = 0; i < __side; ++i)
                for (int j = 0; j < __side; ++j)
                    volume(i, j, k) =
                        float(std::clamp(std::round(double(volume(i, j, k)) + noise(__engine)), 0.0, 255.0));
        return volume;
    }

    std::vector<Blob> blobs;
    double radius, step;

private:
    double uniform() { return radius + 3 + __unit(__engine) * (__side - 2 * radius - 7); }
    bool isFree(const Blob& blob, double distance, int partner) const {
        const double margin = radius + 3;
        for (const double place : {blob.row, blob.column, blob.plane})
            if (place < margin || place > __side - 1 - margin)
                return false;
        for (int i = 0; i < int(blobs.size()); ++i)
            if (i != partner && blobs[std::size_t(i)].distanceTo(blob.row, blob.column, blob.plane) < distance)
                return false;
        return true;
    }

    int __side;
    std::mt19937 __engine;
    std::uniform_real_distribution<double> __unit{0, 1};
};

/// How many blobs have a spot of their own within one voxel.
int numFound(const std::vector<Blob>& blobs, const std::vector<Spot>& spots, double step = 1) {
    std::vector<bool> taken(spots.size(), false);
    int found = 0;
    for (const Blob& blob : blobs)
        for (std::size_t i = 0; i < spots.size(); ++i)
            if (!taken[i] && Blob{blob.row, blob.column, blob.plane / step}.distanceTo(spots[i].row, spots[i].column,
                                                                                       spots[i].plane) <= 1) {
                taken[i] = true;
                ++found;
                break;
            }
    return found;
}

/// Filters as a run does that lets the images suggest how.
SpotSuggestion filterAsSuggested(VoxelMatrix<float>& volume, VRLSpotExtractionConfig& config) {
    ProgressSubject subject;
    SpotProgress progress(subject, numSpotFilters(config) + 2);
    SpotSuggestion suggestion;
    config.setFiltersSuggested(true);
    EXPECT_TRUE(lookForSpots(volume, suggestion, progress));
    setSuggestedFilters(config, suggestion, volume.getSize());
    EXPECT_TRUE(filterSpotVolume(volume, config, progress));
    return suggestion;
}

/// Cancels at a share of the whole.
class Impatient : public ProgressMonitor {
public:
    explicit Impatient(double share) : __share(share) {}
    using ProgressMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override {
        last = double(current) / total;
        if (last >= __share)
            currentSubject()->cancel();
    }
    double last = 0;

private:
    double __share;
};

} // namespace

TEST(Spots, blobsInStrongNoiseAreFoundAlsoWhereTheyTouch) {
    MadeVolume made(112, 200, 60);
    ASSERT_EQ(made.blobs.size(), 200u);
    VoxelMatrix<float> volume = made.draw();
    VRLSpotExtractionConfig config;
    const SpotSuggestion suggestion = filterAsSuggested(volume, config);
    EXPECT_NEAR(suggestion.noise, MadeVolume::height / 3, 6); // less, as the bytes end at 0 and 255
    EXPECT_NEAR(suggestion.radius, 3.5, 0.6);
    for (const SpotThresholdRule rule : {SpotThresholdRule::Isodata, SpotThresholdRule::Otsu}) {
        const SpotLabels found = labelsOf(volume, proposeSpotThreshold(volume, rule, config), config);
        const int hits = numFound(made.blobs, found.spots);
        EXPECT_GE(hits, 190) << toString(rule);
        EXPECT_LE(int(found.spots.size()) - hits, int(found.spots.size()) / 20) << toString(rule);
    }
    config.setSplittingEnabled(false);
    const SpotLabels whole = labelsOf(volume, proposeSpotThreshold(volume, SpotThresholdRule::Isodata), config);
    EXPECT_LT(numFound(made.blobs, whole.spots), 190);
}

// Small ones in strong noise, flat ones in planes far apart, and ones so large that most of those near a box of the
// sample show their rims alone.
TEST(Spots, theSuggestedFiltersSuitSpotsOfAnySizeAndLeaveNoNoise) {
    struct Made {
        int side, numBlobs, numTouching;
        double radius, noiseShare, step;
        int fewest;
    };
    for (const Made& made : {Made{52, 30, 8, 2, 0.1, 1, 29}, Made{112, 200, 60, 2, 1.0 / 3, 1, 190},
                             Made{72, 20, 6, 5.5, 1.0 / 3, 1, 20}, Made{88, 60, 20, 4, 1.0 / 3, 2, 58},
                             Made{88, 60, 20, 4, 1.0 / 3, 3, 58}, Made{180, 60, 20, 8, 0.05, 1, 58}}) {
        MadeVolume truth(made.side, made.numBlobs, made.numTouching, made.radius, made.step);
        VoxelMatrix<float> volume = truth.draw(made.noiseShare);
        VRLSpotExtractionConfig config;
        const SpotSuggestion suggestion = filterAsSuggested(volume, config);
        EXPECT_NEAR(suggestion.step, made.step, 0.25 * made.step) << made.radius << ' ' << made.step;
        const double threshold = proposeSpotThreshold(volume, SpotThresholdRule::Isodata, config);
        const SpotLabels found = labelsOf(volume, threshold, config);
        const int hits = numFound(truth.blobs, found.spots, made.step);
        EXPECT_GE(hits, made.fewest) << made.radius << ' ' << made.step;
        EXPECT_LE(int(found.spots.size()) - hits, made.numBlobs / 20) << made.radius << ' ' << made.step;
    }
    MadeVolume none(64, 0, 0);
    VoxelMatrix<float> noise = none.draw();
    VRLSpotExtractionConfig config;
    const SpotSuggestion suggestion = filterAsSuggested(noise, config);
    EXPECT_LE(suggestion.numSeen, 2);
    const double threshold = proposeSpotThreshold(noise, SpotThresholdRule::Isodata, config);
    EXPECT_LE(labelsOf(noise, threshold, config).spots.size(), 2u);
    // Filters that the user has chosen keep the rule alone.
    config.setFiltersSuggested(false);
    EXPECT_LT(proposeSpotThreshold(noise, SpotThresholdRule::Isodata, config), threshold);
    EXPECT_EQ(filterText(VRLSpotExtractionConfig()), "median 1, spherical top-hat 3, isotropy 4");
}

TEST(Spots, partsThatHangTogetherAreNumberedMeasuredAndChosen) {
    // A box of 2 x 2 x 3, a voxel, and a bar of 12 along the first row of the first plane.
    const VoxelMatrix<float> volume = volumeOf<float>(12, 12, 8, [](int i, int j, int k) {
        const bool box = i >= 4 && i <= 5 && j >= 6 && j <= 7 && k >= 2 && k <= 4, voxel = i == 9 && j == 2 && k == 5;
        return i == 0 && k == 0 ? 70 : box ? 100 : voxel ? 90 : 3;
    });
    for (const bool isSplit : {false, true}) {
        VRLSpotExtractionConfig config = withoutFilters();
        config.setSplittingEnabled(isSplit);
        SpotLabels found = labelsOf(volume, 70, config);
        measureSpots(volume, found);
        ASSERT_EQ(found.spots.size(), 3u);
        const Spot &bar = found.spots[0], &box = found.spots[1], &voxel = found.spots[2];
        EXPECT_EQ(bar.numVoxels, 12);
        EXPECT_TRUE(bar.touchesBorder);
        EXPECT_EQ(box.numVoxels, 12);
        EXPECT_FALSE(box.touchesBorder);
        EXPECT_DOUBLE_EQ(box.row, 4.5);
        EXPECT_DOUBLE_EQ(box.column, 6.5);
        EXPECT_DOUBLE_EQ(box.plane, 3);
        EXPECT_DOUBLE_EQ(box.sum, 1200);
        EXPECT_DOUBLE_EQ(box.mean(), 100);
        EXPECT_EQ(voxel.numVoxels, 1);
        EXPECT_EQ(found.labels(4, 6, 2), 2);
        EXPECT_EQ(found.labels(9, 2, 5), 3);
        EXPECT_EQ(found.labels(1, 1, 1), 0);

        config.setLeastSize(2);
        config.setBorderSpotsLeftOut(true);
        found = labelsOf(volume, 70, config);
        ASSERT_EQ(found.spots.size(), 1u);
        EXPECT_EQ(found.labels(5, 7, 4), 1);
        EXPECT_EQ(found.labels(9, 2, 5), 0);
        EXPECT_EQ(found.numTooSmall, 1);
        EXPECT_EQ(found.numAtBorder, 1);
        config.setGreatestSize(11);
        found = labelsOf(volume, 70, config);
        EXPECT_TRUE(found.spots.empty());
        EXPECT_EQ(found.numTooLarge, 2);
    }
    SpotLabels specks;
    specks.spots.resize(60);
    EXPECT_TRUE(areMostlySpecks(specks));
    for (std::size_t i = 0; i < 30; ++i)
        specks.spots[i].numVoxels = 4;
    EXPECT_FALSE(areMostlySpecks(specks));
    const Vector<double> cubes = [] {
        Vector<double> size(3);
        size[0] = size[1] = 2;
        size[2] = 3;
        return size;
    }();
    Spot spot;
    spot.numVoxels = 10;
    EXPECT_NEAR(equivalentRadius(spot, cubes), std::cbrt(3 * 120 / (4 * 3.14159265358979)) / 2, 1e-12);
}

TEST(Spots, theFiltersAreThoseToldAndLeaveNoRimOfNoise) {
    const VoxelMatrix<float> element = sphericalElement(3);
    EXPECT_EQ(element(3, 3, 3), 200);
    EXPECT_FLOAT_EQ(element(3, 6, 3), float(200 * std::sqrt(1 - 9.0 / 16)));
    EXPECT_EQ(element(0, 0, 3), 0);
    // A single bright voxel goes by the median, also in a corner, which the filter alone would leave.
    VRLSpotExtractionConfig config = withoutFilters();
    config.setSmoothingFilterEnabled(true);
    VoxelMatrix<float> volume(6, 5, 4);
    volume.fill(10);
    volume(0, 0, 0) = volume(3, 2, 1) = volume(5, 4, 3) = 200;
    ProgressSubject subject;
    RecordingMonitor monitor;
    subject.addMonitor(monitor);
    SpotProgress progress(subject, numSpotFilters(config));
    ASSERT_TRUE(filterSpotVolume(volume, config, progress));
    EXPECT_EQ(volume.range()[1], 10);
    EXPECT_EQ(monitor.heard.front(), "text Running: median filter...");
    // A plateau wider than the window of the top-hat goes, a narrow one stays.
    config = withoutFilters();
    config.setTophatFilterEnabled(true);
    config.setTophatFilterType(FlatTopHat);
    config.setTophatFilterRadius(1);
    volume = volumeOf<float>(16, 16, 16, [](int i, int j, int k) {
        return (i < 8 && j < 8 && k < 8) || (i == 12 && j == 12 && k == 12) ? 50 : 5;
    });
    ASSERT_TRUE(filterSpotVolume(volume, config, progress));
    EXPECT_EQ(volume(4, 4, 4), 0);
    EXPECT_EQ(volume(12, 12, 12), 45);
    config.setTophatFilterRadius(0);
    EXPECT_THROW(filterSpotVolume(volume, config, progress), ValueError);
}

TEST(Spots, whatTheTopHatLeavesOfASmoothGroundIsNoMass) {
    VRLSpotExtractionConfig config;
    config.setSmoothingFilterType(GaussianSmoothing);
    config.setSmoothingFilterRadius(2);
    const VoxelMatrix<float> bytes = randomVolume<float>(24, 24, 24, 5, 45, 75);
    VoxelMatrix<float> volume(bytes);
    ProgressSubject subject;
    SpotProgress progress(subject, numSpotFilters(config));
    config.setIsotropyFilterEnabled(false);
    ASSERT_TRUE(filterSpotVolume(volume, config, progress));
    EXPECT_GE(volume.range()[0], 0);
    // The isotropy weakens, and never raises.
    const float highest = volume.range()[1];
    config.setIsotropyFilterEnabled(true);
    volume = bytes;
    ASSERT_TRUE(filterSpotVolume(volume, config, progress));
    EXPECT_GE(volume.range()[0], 0);
    EXPECT_LE(volume.range()[1], highest);
}

TEST(Spots, thresholdsAreProposedByTheRules) {
    // Counts fall from 0 to 3, and rise at 40.
    const VoxelMatrix<float> volume = volumeOf<float>(10, 10, 10, [](int i, int j, int k) {
        return k == 9 && i > 6 ? 40 + j % 3 : k < 5 ? 0 : k < 7 ? 1 : k == 7 ? 2 : 3 * (j % 2);
    });
    EXPECT_EQ(proposeSpotThreshold(volume, SpotThresholdRule::FirstRise), 40);
    for (const SpotThresholdRule rule : {SpotThresholdRule::Isodata, SpotThresholdRule::Otsu}) {
        const double threshold = proposeSpotThreshold(volume, rule);
        EXPECT_GT(threshold, 3) << toString(rule);
        EXPECT_LE(threshold, 40) << toString(rule);
    }
    // On a ground that is cleared the spots are cut from it, not their middles from their rims.
    const VoxelMatrix<float> cleared = volumeOf<float>(30, 30, 30, [](int i, int j, int k) {
        const int distance = std::max({std::abs(i - 15), std::abs(j - 15), std::abs(k - 15)});
        return distance < 2 ? 100 : distance == 2 ? 60 : 0;
    });
    for (const SpotThresholdRule rule : {SpotThresholdRule::Isodata, SpotThresholdRule::Otsu}) {
        EXPECT_GT(proposeSpotThreshold(cleared, rule), 0) << toString(rule);
        EXPECT_LE(proposeSpotThreshold(cleared, rule), 60) << toString(rule);
    }
    // A run without a window takes what the window can be set to.
    VoxelMatrix<float> faint(cleared);
    faint *= 1e-4f;
    for (const SpotThresholdRule rule : {SpotThresholdRule::Isodata, SpotThresholdRule::Otsu}) {
        const VRLSpotExtractionConfig config;
        EXPECT_EQ(proposeSpotThreshold(cleared, rule, config), std::ceil(proposeSpotThreshold(cleared, rule)));
        const double exact = proposeSpotThreshold(faint, rule), proposed = proposeSpotThreshold(faint, rule, config);
        EXPECT_GE(proposed, exact);
        EXPECT_LT(proposed, exact + 1e-6);
        EXPECT_NEAR(proposed * 1e6, std::round(proposed * 1e6), 1e-6);
    }
    VoxelMatrix<float> flat(3, 3, 3);
    flat.fill(0);
    for (const SpotThresholdRule rule :
         {SpotThresholdRule::FirstRise, SpotThresholdRule::Isodata, SpotThresholdRule::Otsu})
        EXPECT_EQ(proposeSpotThreshold(flat, rule), 0);
    EXPECT_THROW(proposeSpotThreshold(VoxelMatrix<float>(), SpotThresholdRule::Otsu), ValueError);
}

TEST(Spots, eachStepCanBeCancelled) {
    VRLSpotExtractionConfig config;
    config.setResizeState(true);
    Vector<int> half(3);
    for (int axis = 0; axis < 3; ++axis)
        half[axis] = 24;
    config.setNewSize(half);
    const VoxelMatrix<float> volume = randomVolume<float>(48, 48, 48, 3, 0, 255);
    for (const double share : {0.0, 0.25, 0.45, 0.6, 0.75}) {
        ProgressSubject subject;
        Impatient monitor(share);
        subject.addMonitor(monitor);
        SpotProgress progress(subject, numSpotFilters(config));
        VoxelMatrix<float> work(volume);
        EXPECT_FALSE(filterSpotVolume(work, config, progress)) << share;
        EXPECT_LT(monitor.last, share + 0.3);
    }
    ProgressSubject subject;
    subject.cancel();
    SpotProgress progress(subject, 1);
    SpotSuggestion suggestion;
    EXPECT_FALSE(lookForSpots(volume, suggestion, progress));
    SpotLabels found;
    EXPECT_FALSE(findSpots(volume, 250, withoutFilters(), found, progress));
}

TEST(Spots, standUprightInRegisteredStacks) {
    Stack stack;
    makeRegisteredBar(stack, 60, 50);
    ASSERT_EQ(spotFault(stack), "");
    VoxelMatrix<float> volume;
    ProgressSubject subject;
    ASSERT_TRUE(readSpotVolume(stack, GrayContent, volume, subject));
    EXPECT_EQ(volume(0, 119, 5), 20); // what the turned image does not reach goes on as its border
    const SpotLabels found = labelsOf(volume, 110, withoutFilters());
    ASSERT_EQ(found.spots.size(), 1u);
    EXPECT_NEAR(found.spots[0].column, 60, 0.5);
    EXPECT_NEAR(found.spots[0].row, 50, 0.5);
    EXPECT_NEAR(found.spots[0].plane, 3, 0.5);
    EXPECT_NEAR(found.spots[0].numVoxels, 6 * 25 + 6, 20);
    // Its voxels lie on the dots of the images.
    const SpotGrid grid(stack);
    for (int k = 0; k < 7; ++k) {
        Image image;
        stack.getSlice(k).load(image);
        const Vector<double> place = grid.toPixels(k, 60, 50);
        EXPECT_EQ(image.getData()[std::lround(place[1]) * 120 + std::lround(place[0])], 200) << k;
    }
}

TEST(Spots, stacksThatAreNoVolumeAreRefusedWithTheReason) {
    Stack stack;
    EXPECT_EQ(spotFault(stack), "The stack has no slices");
    addSlices(stack, 1);
    stack.getSlice(0).setImageSource(FixedSource(20, 30));
    EXPECT_EQ(spotFault(stack), "The stack has one slice only: spots are sought in a volume of at least two");
    addSlices(stack, 39); // named from "s0" on again
    EXPECT_EQ(spotFault(stack), "Slice \"s0\" has no image");
    for (int i = 0; i < 40; ++i)
        stack.getSlice(i).setImageSource(FixedSource(20, 30));
    // Steps that floats can't hold, summed up, and positions of five digits.
    for (const float step : {0.1f, 0.35f, 40.0f / 3}) {
        for (int i = 0; i < 40; ++i)
            stack.getSlice(i).setAbsolutePosition(float(i) * step);
        EXPECT_EQ(spotFault(stack), "") << step;
        for (int i = 0; i < 40; ++i)
            stack.getSlice(i).setAbsolutePosition(std::round(float(i) * step * 1000) / 1000);
        EXPECT_EQ(spotFault(stack), "") << step;
    }
    stack.getSlice(7).setAbsolutePosition(100);
    EXPECT_EQ(spotFault(stack).rfind("Slice \"s6\" lies ", 0), 0u) << spotFault(stack);
    stack.getSlice(7).setAbsolutePosition(7 * 40.0f / 3);
    Registration turned;
    turned.setRotationAngle(2);
    stack.getSlice(3).setRegistration(turned);
    EXPECT_EQ(spotFault(stack), "");
    PixelCalibration none;
    none.setPixelWidth(0);
    stack.getSlice(0).setPixelCalibration(none);
    EXPECT_EQ(spotFault(stack).rfind("Slice \"s2\" is registered onto", 0), 0u) << spotFault(stack);
    stack.getSlice(3).setRegistration(Registration());
    stack.getSlice(5).setImageSource(FixedSource(20, 31));
    EXPECT_EQ(spotFault(stack).rfind("Slice \"s4\" has 31 x 20 pixels", 0), 0u) << spotFault(stack);
}

} // namespace vorlen
