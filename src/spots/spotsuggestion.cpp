#include "spots/spotsuggestion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <random>
#include <sstream>
#include <vector>

#include "images/filters/gaussianfilter.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"
#include "spots/mirroredpart.h"
#include "spots/spotfilters.h"
#include "spots/spotprogress.h"
#include "spots/spotthreshold.h"

namespace vorlen {

namespace {

/// Deviations of the Gauss filters: the first, and from one to the next.
constexpr double firstDeviation = 0.75, ratio = 1.26;
constexpr int numScales = 8;
/// What a filter reaches, 2 deviations of the widest.
constexpr int margin = 10;
constexpr double leastScore = 6;
/// Spots below this radius touch so closely that a wider Gauss makes one of two; it is done without where the blobs are
/// so much higher than the noise, which is about a sixth of the spots' own height.
constexpr double smallRadius = 3, clearHeight = 1.25;
/// How far the rim of a blob reaches, in its radii: less than halfway to one that touches it.
constexpr double rimReach = 1.3;
/// Blobs of a box that are looked at.
constexpr std::size_t mostBlobs = 2000;
/// Boxes of the sample along an axis that is longer than two of them.
constexpr int boxSide = 64;
/// Of what is sought where nothing stands out.
constexpr double textureRadius = 5;
/// Of a volume of nothing but noise.
constexpr int noiseSide = 40;
/// A spot that is less flat than this, or less long, is a ball.
constexpr double leastFlatness = 0.3;
/// From the median of absolute values to the deviation of a normal distribution.
constexpr double normalMedian = 0.6745;

using Place = std::array<int, 3>; // row, column, plane

struct Blob {
    Place place;
    double radius, height;
    double bend = 0, bendAcross = 0; // along rows and columns, and across planes
};

struct Span {
    int first, size;
};

std::vector<Span> spansOf(int size) {
    if (size <= 2 * boxSide)
        return {{0, size}};
    return {{size / 4 - boxSide / 2, boxSide}, {size - size / 4 - boxSide / 2, boxSide}};
}

double medianOf(std::vector<float>& values) {
    if (values.empty())
        return 0;
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return double(*middle);
}

/// Of the second differences, along rows and columns both, that the box has inside its margin.
void addDifferences(const VoxelMatrix<float>& box, std::vector<float>& differences) {
    for (int k = margin; k < box.getSize3() - margin; ++k)
        for (int i = margin; i < box.getSize1() - margin; ++i)
            for (int j = margin; j < box.getSize2() - margin; ++j) {
                const auto across = [&](int row) {
                    return box(row, j - 1, k) - 2 * box(row, j, k) + box(row, j + 1, k);
                };
                const float value = across(i - 1) - 2 * across(i) + across(i + 1);
                if (std::isfinite(value))
                    differences.push_back(std::abs(value));
            }
}

/// The deviation of the values inside the margin, by the median of what they differ from 0.
double usualDeviation(const VoxelMatrix<float>& scale) {
    std::vector<float> values;
    for (int k = margin; k < scale.getSize3() - margin; ++k)
        for (int i = margin; i < scale.getSize1() - margin; ++i)
            for (int j = margin; j < scale.getSize2() - margin; ++j)
                if (std::isfinite(scale(i, j, k)))
                    values.push_back(std::abs(scale(i, j, k)));
    return medianOf(values) / normalMedian;
}

/// Whether no neighbour in the volume is above the value.
bool isHighest(const VoxelMatrix<float>& volume, const Place& place, float value) {
    for (int c = -1; c <= 1; ++c)
        for (int a = -1; a <= 1; ++a)
            for (int b = -1; b <= 1; ++b)
                if (volume(place[0] + a, place[1] + b, place[2] + c) > value)
                    return false;
    return true;
}

/// Of three values at -1, 0 and 1 the place of the top of the parabola through them, the middle one being the highest.
double topOf(double before, double here, double behind) {
    const double bend = before - 2 * here + behind;
    return bend < 0 ? std::clamp((before - behind) / (2 * bend), -0.5, 0.5) : 0;
}

/// Of the ball that stands out most at the scale. The difference of two Gauss filters is a Laplace filter of the mean
/// of their variances.
double radiusOf(double scale) {
    return std::sqrt(3 * (1 + ratio * ratio) / 2) * firstDeviation * std::pow(ratio, scale);
}

/// A box with its margin, and the differences of its Gauss filters, in which planes count as so many columns apart.
class ScaleSpace {
public:
    explicit ScaleSpace(double step) : __step(step) {}

    /// False when cancelled.
    bool build(const VoxelMatrix<float>& box, SpotProgress& progress, double from, double to) {
        VoxelMatrix<float> narrow;
        for (int s = 0; s <= numScales; ++s) {
            VoxelMatrix<float> wide(box);
            const double deviation = firstDeviation * std::pow(ratio, s);
            GaussianFilter<float> filter{float(deviation)};
            filter.setPlaneSigma(float(deviation / __step));
            if (!progress.run(filter, wide, from + (to - from) * s / (numScales + 1),
                              from + (to - from) * (s + 1) / (numScales + 1)))
                return false;
            if (s > 0) {
                narrow -= wide;
                __scales[std::size_t(s) - 1].swap(narrow);
            }
            narrow.swap(wide);
        }
        return true;
    }

    std::vector<Blob> findBlobs() const {
        std::vector<Blob> blobs;
        for (std::size_t s = 0; s < __scales.size(); ++s) {
            const VoxelMatrix<float>& scale = __scales[s];
            const auto least = float(leastScore * usualDeviation(scale));
            for (int k = margin; k < scale.getSize3() - margin; ++k)
                for (int i = margin; i < scale.getSize1() - margin; ++i)
                    for (int j = margin; j < scale.getSize2() - margin; ++j)
                        if (scale(i, j, k) > least && isTop(s, {i, j, k}))
                            blobs.push_back({{i, j, k}, radiusAt(s, {i, j, k}), double(scale(i, j, k))});
        }
        return blobs;
    }

private:
    bool isTop(std::size_t s, const Place& place) const {
        const float value = at(s, place);
        return isHighest(__scales[s], place, value) && (s == 0 || isHighest(__scales[s - 1], place, value)) &&
               (s + 1 == __scales.size() || isHighest(__scales[s + 1], place, value));
    }

    double radiusAt(std::size_t s, const Place& place) const {
        const bool isBetween = s > 0 && s + 1 < __scales.size();
        const double shift =
            isBetween ? topOf(double(at(s - 1, place)), double(at(s, place)), double(at(s + 1, place))) : 0;
        return radiusOf(double(s) + shift);
    }

    float at(std::size_t s, const Place& place) const { return __scales[s](place[0], place[1], place[2]); }

    double __step;
    std::array<VoxelMatrix<float>, numScales> __scales;
};

bool isWithin(const Blob& blob, const Blob& other, double step) {
    const double row = blob.place[0] - other.place[0], column = blob.place[1] - other.place[1];
    const double plane = step * (blob.place[2] - other.place[2]);
    return row * row + column * column + plane * plane < std::pow(rimReach * other.radius, 2);
}

/// The highest, and those that do not lie within a higher one: the rim of a large spot is full of small ones.
std::vector<Blob> bestOf(std::vector<Blob> blobs, double step) {
    const auto higher = [](const Blob& a, const Blob& b) { return a.height > b.height; };
    const std::size_t count = std::min(blobs.size(), mostBlobs);
    std::partial_sort(blobs.begin(), blobs.begin() + std::ptrdiff_t(count), blobs.end(), higher);
    blobs.resize(count);
    std::vector<Blob> best;
    for (const Blob& blob : blobs)
        if (std::none_of(best.begin(), best.end(), [&](const Blob& other) { return isWithin(blob, other, step); }))
            best.push_back(blob);
    return best;
}

/// Weights of a Gauss at the voxels of an axis, and those of its second derivative, which sum up to 0, whatever the
/// ground is.
struct BendWeights {
    /// Voxels lie so many units apart.
    BendWeights(double variance, double step)
        : reach(std::min(margin, int(std::ceil(2 * std::sqrt(variance) / step)))) {
        double sum = 0, bendSum = 0;
        for (int a = -reach; a <= reach; ++a) {
            const double square = a * a * step * step / variance;
            weights.push_back(std::exp(-square / 2));
            bends.push_back((square - 1) * weights.back());
            sum += weights.back();
            bendSum += bends.back();
        }
        for (std::size_t a = 0; a < weights.size(); ++a)
            bends[a] -= bendSum / sum * weights[a];
    }

    int reach;
    std::vector<double> weights, bends;
};

/// Sets the bends of the blobs: what their place has of second derivatives of a Gauss, of the deviation at which they
/// stand out.
void measureBends(const VoxelMatrix<float>& box, double step, std::vector<Blob>& blobs) {
    for (Blob& blob : blobs) {
        const double variance = blob.radius * blob.radius / 3;
        const BendWeights along(variance, 1), across(variance, step);
        for (int c = -across.reach; c <= across.reach; ++c)
            for (int a = -along.reach; a <= along.reach; ++a) {
                const auto p = std::size_t(a + along.reach), q = std::size_t(c + across.reach);
                double smooth = 0, bent = 0;
                for (int b = -along.reach; b <= along.reach; ++b) {
                    const auto value = double(box(blob.place[0] + a, blob.place[1] + b, blob.place[2] + c));
                    smooth += along.weights[std::size_t(b + along.reach)] * value;
                    bent += along.bends[std::size_t(b + along.reach)] * value;
                }
                blob.bend -= across.weights[q] * (along.bends[p] * smooth + along.weights[p] * bent) / 2;
                blob.bendAcross -= across.bends[q] * along.weights[p] * smooth;
            }
        if (!std::isfinite(blob.bend) || !std::isfinite(blob.bendAcross))
            blob.bend = blob.bendAcross = 0;
    }
}

/// How many times longer along rows and columns is an ellipsoid than across planes whose bends have this ratio, across
/// to along, at the deviation of the ball of its volume: within 5%, by integration over ellipsoids that are up to four
/// times longer or three times shorter.
double stepOf(double bends) {
    return std::clamp(bends < 1 ? std::pow(bends, 0.65) : bends, 1.0 / 3, 4.0);
}

/// The value that half of the blobs' weight lies below. The weight goes with the square of the height, and with the
/// radius: the rim of a large spot, whose middle may lie outside of the box, has many blobs that are small and low.
template <class Value>
double usual(std::vector<Blob> blobs, Value value) {
    const auto weight = [](const Blob& blob) { return blob.height * blob.height * blob.radius; };
    std::sort(blobs.begin(), blobs.end(), [value](const Blob& a, const Blob& b) { return value(a) < value(b); });
    double whole = 0;
    for (const Blob& blob : blobs)
        whole += weight(blob);
    double below = 0;
    for (const Blob& blob : blobs) {
        below += weight(blob);
        if (2 * below >= whole)
            return value(blob);
    }
    return 0;
}

/// What white noise of this deviation hardly reaches after the filters.
double whiteNoiseLimit(VRLSpotExtractionConfig config, double noise) {
    if (!(noise > 0))
        return 0;
    config.setResizeState(false);
    VoxelMatrix<float> volume(noiseSide, noiseSide, noiseSide);
    std::mt19937 engine(1);
    std::normal_distribution<float> normal(0, float(noise));
    for (int k = 0; k < noiseSide; ++k)
        for (int i = 0; i < noiseSide; ++i)
            for (int j = 0; j < noiseSide; ++j)
                volume(i, j, k) = normal(engine);
    ProgressSubject subject;
    SpotProgress progress(subject, numSpotFilters(config));
    filterSpotVolume(volume, config, progress);
    return noiseLimit(volume);
}

} // namespace

namespace {

/// A look at the boxes of a volume's sample.
class Look {
public:
    explicit Look(const VoxelMatrix<float>& grey) : __grey(grey) {
        for (const Span& planes : spansOf(grey.getSize3()))
            for (const Span& rows : spansOf(grey.getSize1()))
                for (const Span& columns : spansOf(grey.getSize2()))
                    __boxes.push_back({rows, columns, planes});
    }

    /// Finds the blobs where planes count as so many columns apart, in a share of the step. False when cancelled.
    bool findBlobs(double step, SpotProgress& progress, double from, double to) {
        blobs.clear();
        differences.clear();
        const double share = (to - from) / double(__boxes.size());
        for (std::size_t b = 0; b < __boxes.size(); ++b) {
            const auto& [rows, columns, planes] = __boxes[b];
            const VoxelMatrix<float> box =
                mirroredPart(__grey, {rows.first - margin, columns.first - margin, planes.first - margin},
                             {rows.size + 2 * margin, columns.size + 2 * margin, planes.size + 2 * margin});
            addDifferences(box, differences);
            ScaleSpace space(step);
            if (!space.build(box, progress, from + share * double(b), from + share * double(b + 1)))
                return false;
            std::vector<Blob> best = bestOf(space.findBlobs(), step);
            measureBends(box, step, best);
            blobs.insert(blobs.end(), best.begin(), best.end());
        }
        return true;
    }

    /// How many times shorter across planes the usual blob is than along them, where these counted as one column apart.
    double flatness() const {
        const double bend = usual(blobs, [](const Blob& blob) { return blob.bend; });
        const double across = usual(blobs, [](const Blob& blob) { return blob.bendAcross; });
        return bend > 0 && across > 0 ? stepOf(across / bend) : 1;
    }

    std::vector<Blob> blobs;
    std::vector<float> differences;

private:
    const VoxelMatrix<float>& __grey;
    std::vector<std::array<Span, 3>> __boxes; // rows, columns, planes
};

} // namespace

bool lookForSpots(const VoxelMatrix<float>& grey, SpotSuggestion& suggestion, SpotProgress& progress) {
    if (grey.getSize().min() < 1)
        throw ValueError("bool lookForSpots(const VoxelMatrix<float>&, SpotSuggestion&, SpotProgress&)",
                         "The volume is empty");
    progress.begin("Looking at the noise and the spots...");
    Look look(grey);
    if (!look.findBlobs(1, progress, 0, 0.5))
        return false;
    double step = look.flatness();
    if (step < 1 + leastFlatness && step * (1 + leastFlatness) > 1)
        step = 1;
    // The size of flat spots is that of the balls that they are where planes are as far apart.
    if (step > 1 && !look.findBlobs(step, progress, 0.5, 1))
        return false;
    // The squares of the weights, 1 and 2 and 4, sum up to 36.
    suggestion.noise = medianOf(look.differences) / normalMedian / 6;
    suggestion.numSeen = int(look.blobs.size());
    suggestion.step = step;
    suggestion.radius =
        usual(look.blobs, [](const Blob& blob) { return blob.radius; }) / std::cbrt(std::max(step, 1.0));
    suggestion.height = usual(look.blobs, [](const Blob& blob) { return blob.height; });
    return true;
}

double suggestionMemory(const Vector<int>& size) {
    double box = 1;
    for (int axis = 0; axis < 3; ++axis)
        box *= spansOf(size[axis]).front().size + 2 * margin;
    const double sample = std::min(double(size[0]) * size[1] * size[2], 8.0 * 8 * boxSide * boxSide * boxSide);
    return 4 * double(size[0]) * size[1] * size[2] + 4 * box * (numScales + 4) + 4 * sample;
}

void setSuggestedFilters(VRLSpotExtractionConfig& config, const SpotSuggestion& suggestion, const Vector<int>& size) {
    const VRLSpotExtractionConfig plain;
    const bool isSeen = suggestion.radius > 0;
    double mean = isSeen ? suggestion.radius : textureRadius, step = isSeen ? suggestion.step : 1;
    if (config.getResizeState() && config.getNewSize().getSize() == 3)
        for (int axis = 0; axis < 3; ++axis) {
            const double scale = double(config.getNewSize()[axis]) / size[axis];
            mean *= std::cbrt(scale);
            step *= axis == 2 ? 1 / scale : std::sqrt(scale);
        }
    const double radius = mean * std::cbrt(step);
    const bool isSmall = radius < smallRadius;
    const bool isClear = suggestion.height > clearHeight * suggestion.noise;
    const int smoothing = isSmall && isClear ? 1 : std::clamp(int(std::lround(0.8 * radius)), 2, 5);
    config.setPlaneStep(step);
    config.setCutDeviation(isSeen ? std::clamp(0.2 * radius, 0.4, 1.0) : 1);
    config.setSmoothingFilterEnabled(true);
    config.setSmoothingFilterType(GaussianSmoothing);
    config.setSmoothingFilterRadius(smoothing);
    config.setTophatFilterEnabled(true);
    config.setTophatFilterType(FlatTopHat);
    config.setTophatFilterRadius(std::clamp(int(std::ceil(radius + 0.5 * smoothing)), 3, 15));
    config.setIsotropyFilterEnabled(true);
    config.setIsotropyFilterRadius(isSmall ? 3 : plain.getIsotropyFilterRadius());
    config.setLeastProposal(suggestion.radius > 0 ? -1 : whiteNoiseLimit(config, suggestion.noise));
}

std::string SpotSuggestion::text() const {
    std::ostringstream stream;
    stream << std::setprecision(3) << "noise " << noise << ", ";
    if (!(radius > 0)) {
        stream << "no spots that stand out";
        return stream.str();
    }
    const double along = radius * std::cbrt(step);
    stream << "spots about " << std::max(1L, std::lround(2 * along)) << " voxels across";
    if (step != 1)
        stream << " and " << std::max(1L, std::lround(2 * along / step)) << " slices deep";
    return stream.str();
}

std::string filterText(const VRLSpotExtractionConfig& config) {
    std::string text;
    const auto add = [&text](const std::string& name, int radius) {
        text += (text.empty() ? "" : ", ") + name + " " + std::to_string(radius);
    };
    constexpr const char* smoothings[] = {"average", "median", "Gaussian"};
    if (config.isSmoothingFilterEnabled())
        add(smoothings[config.getSmoothingFilterType()], config.getSmoothingFilterRadius());
    if (config.isTophatFilterEnabled())
        add(config.getTophatFilterType() == FlatTopHat ? "flat top-hat" : "spherical top-hat",
            config.getTophatFilterRadius());
    if (config.isIsotropyFilterEnabled())
        add("isotropy", config.getIsotropyFilterRadius());
    if (config.getPlaneStep() != 1 && !text.empty()) {
        std::ostringstream step;
        step << std::setprecision(2) << config.getPlaneStep();
        text += ", planes counted as " + step.str() + " columns apart";
    }
    return text.empty() ? "no filters" : text;
}

} // namespace vorlen
