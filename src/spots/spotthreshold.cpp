#include "spots/spotthreshold.h"

#include <algorithm>
#include <cmath>

#include "images/regions/isodatathresholding.h"
#include "numerics/exception.h"
#include "numerics/maths.h"

namespace vorlen {

namespace {

constexpr unsigned int numBins = 4096;
/// Of what lies at 0: with less above it, the filters have left nothing but spots.
constexpr double clearedShare = 0.05;
/// For the first rise, of width 1: beyond, values are no grey levels.
constexpr double mostBins = 1 << 24;

double firstRise(const VoxelMatrix<float>& filtered, double maximum) {
    const double top = std::clamp(std::floor(maximum + 0.5) + 1, 1.0, mostBins);
    const Vector<unsigned int> counts = filtered.histogram(0, 1, static_cast<unsigned int>(top));
    for (int k = 1; k < counts.getSize(); ++k)
        if (counts[k - 1] < counts[k])
            return k;
    return 0;
}

/// The first bin of the upper class.
int otsuBin(const Vector<unsigned int>& counts) {
    double total = 0, moment = 0;
    for (int k = 0; k < counts.getSize(); ++k) {
        total += counts[k];
        moment += double(k) * counts[k];
    }
    double below = 0, momentBelow = 0, best = -1;
    int bin = 0;
    for (int k = 1; k < counts.getSize(); ++k) {
        below += counts[k - 1];
        momentBelow += double(k - 1) * counts[k - 1];
        const double above = total - below;
        if (below == 0 || above == 0)
            continue;
        const double difference = momentBelow / below - (moment - momentBelow) / above;
        const double between = below * above * difference * difference;
        if (between > best) {
            best = between;
            bin = k;
        }
    }
    return bin;
}

} // namespace

std::string toString(SpotThresholdRule rule) {
    switch (rule) {
    case SpotThresholdRule::Isodata:
        return "isodata";
    case SpotThresholdRule::Otsu:
        return "otsu";
    default:
        return "first-rise";
    }
}

double proposeSpotThreshold(const VoxelMatrix<float>& filtered, SpotThresholdRule rule) {
    const char* const where = "double proposeSpotThreshold(const VoxelMatrix<float>&, SpotThresholdRule)";
    if (filtered.getSize1() == 0 || filtered.getSize2() == 0 || filtered.getSize3() == 0)
        throw ValueError(where, "The volume is empty");
    const double maximum = double(filtered.range()[1]);
    if (!std::isfinite(maximum))
        throw ValueError(where, "The volume holds values that are no finite numbers");
    if (rule == SpotThresholdRule::FirstRise)
        return firstRise(filtered, maximum);
    if (!(maximum > 0))
        return 0;
    const double width = maximum / numBins;
    // The lowest bin takes what lies below 0 as well.
    Vector<unsigned int> counts = filtered.histogram(0, float(width), numBins);
    unsigned int above = 0;
    for (int k = 1; k < counts.getSize(); ++k)
        above += counts[k];
    if (above == 0)
        return maximum;
    if (above >= counts[0] * clearedShare)
        counts[0] = 0;
    const int bin =
        rule == SpotThresholdRule::Otsu ? otsuBin(counts) : int(IsodataThresholding<float>().computeThreshold(counts));
    return bin * width;
}

} // namespace vorlen
