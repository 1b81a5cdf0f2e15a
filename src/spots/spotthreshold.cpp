#include "spots/spotthreshold.h"

#include <algorithm>
#include <cmath>
#include <vector>

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
/// For the limit of the noise.
constexpr double noiseReach = 8, mostSampled = 1 << 21;
/// Of a volume in which nothing stands out, what no threshold is proposed in: more than a few hundredths would be
/// ground.
constexpr double textureShare = 0.95;
/// Of values: below it whole numbers are too few.
constexpr double narrowRange = 20;
constexpr int mostDecimals = 12;

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

/// Some of the values, all over the volume.
std::vector<float> sampleOf(const VoxelMatrix<float>& filtered) {
    const double whole = double(filtered.getSize1()) * filtered.getSize2() * filtered.getSize3();
    const auto step = std::size_t(std::max(1.0, std::floor(whole / mostSampled)));
    std::vector<float> values;
    values.reserve(std::size_t(whole / double(step)) + 1);
    std::size_t at = 0;
    for (int k = 0; k < filtered.getSize3(); ++k)
        for (int i = 0; i < filtered.getSize1(); ++i) {
            const float* const row = filtered[k][i].data();
            for (int j = 0; j < filtered.getSize2(); ++j, ++at)
                if (at % step == 0 && std::isfinite(row[j]))
                    values.push_back(row[j]);
        }
    if (values.empty())
        throw ValueError("double proposeSpotThreshold(const VoxelMatrix<float>&, SpotThresholdRule, "
                         "const VRLSpotExtractionConfig&)",
                         "The volume has no values");
    return values;
}

/// That this share of the values lie below.
double valueAbove(std::vector<float>& values, double share) {
    const auto place = values.begin() + std::ptrdiff_t(share * double(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return double(*place);
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

double noiseLimit(const VoxelMatrix<float>& filtered) {
    std::vector<float> values = sampleOf(filtered);
    const double median = valueAbove(values, 0.5);
    return median + noiseReach * (median - valueAbove(values, 0.16));
}

SpotThresholdScale::SpotThresholdScale(const VoxelMatrix<float>& filtered) {
    const Vector<float> range = filtered.range();
    const double extent = double(range[1]) - double(range[0]);
    if (extent < narrowRange) {
        minimum = double(range[0]);
        maximum = double(range[1]);
        decimals = extent > 0 ? std::clamp(3 + int(std::ceil(-std::log10(extent))), 3, mostDecimals) : 3;
    } else {
        minimum = Maths::fround(double(range[0]));
        maximum = Maths::fround(double(range[1]));
    }
}

double SpotThresholdScale::roundedUp(double value) const {
    const double steps = std::pow(10.0, decimals);
    return std::min(std::ceil(value * steps) / steps, maximum);
}

double proposeSpotThreshold(const VoxelMatrix<float>& filtered, SpotThresholdRule rule,
                            const VRLSpotExtractionConfig& config) {
    const double proposal = proposeSpotThreshold(filtered, rule);
    const SpotThresholdScale scale(filtered);
    const bool isLimited = config.areFiltersSuggested() && rule != SpotThresholdRule::FirstRise;
    if (!isLimited)
        return scale.roundedUp(proposal);
    if (config.getLeastProposal() < 0)
        return scale.roundedUp(std::max(proposal, noiseLimit(filtered)));
    std::vector<float> values = sampleOf(filtered);
    return scale.roundedUp(std::max({proposal, config.getLeastProposal(), valueAbove(values, textureShare)}));
}

} // namespace vorlen
