#include "registration/informationmatch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "registration/jointhistogram.h"
#include "registration/sectionfit.h"

namespace vorlen {

namespace {

using Level = SectionLevel;
using Section = SectionAligner::Section;

constexpr double pi = 3.14159265358979323846;
constexpr float present = SectionLevel::present;

/// Without so many blocks nothing is found.
constexpr int leastBlocks = 12;

/// Angles all around, and how many places are followed from there.
constexpr int numAngles = 45;
constexpr std::size_t numFollowed = 4;

/// Of the pixels that are on both images, of so many rows and columns one.
JointHistogram histogramOf(const cv::Mat& first, const cv::Mat& second, int step = 1) {
    JointHistogram histogram;
    for (int i = 0; i < first.rows; i += step) {
        const float* const p = first.ptr<float>(i);
        const float* const q = second.ptr<float>(i);
        for (int j = 0; j < 2 * first.cols; j += 2 * step)
            if (p[j + 1] > present && q[j + 1] > present)
                histogram.add(p[j], q[j]);
    }
    return histogram;
}

/// Less when the overlap takes less than half of the smaller section.
double lessened(double value, double overlap, double smaller) {
    return value * std::sqrt(std::min(1.0, 2 * overlap / smaller));
}

/// One scale of two sections, in classes of greys.
struct ClassPair {
    Level target, source;
    double smaller = 1; ///< area of the smaller section

    double informationAt(const RigidMotion& motion) const {
        const JointHistogram histogram = histogramOf(target.image, target.moved(source, motion));
        return lessened(histogram.normalizedInformation(), histogram.count() * target.stepX * target.stepY, smaller);
    }
};

/// Both sections from the level of choice on to the coarsest.
std::vector<ClassPair> classPairs(const Section& target, const Section& source) {
    std::vector<ClassPair> pairs;
    const std::size_t choice = std::min(target.choice, source.choice);
    for (std::size_t k = choice; k < std::min(target.levels.size(), source.levels.size()); ++k) {
        ClassPair pair{target.inClasses(k), source.inClasses(k)};
        pair.smaller = std::max(1e-30, std::min(pair.target.area(), pair.source.area()));
        pairs.push_back(std::move(pair));
    }
    return pairs;
}

/// Raises the information about a motion by a simplex in which a turn counts as the way of the border. The first
/// corners are so many pixels away.
void climb(const ClassPair& pair, RigidMotion& motion, double pixels, int most) {
    const double step = pixels * pair.target.stepX;
    const double radius =
        0.35 * std::hypot(pair.target.image.cols * pair.target.stepX, pair.target.image.rows * pair.target.stepY);
    struct Corner {
        std::array<double, 3> at;
        double value;
    };
    const auto motionAt = [&](const std::array<double, 3>& at) {
        return RigidMotion{at[2] / radius, at[0], at[1]} * motion;
    };
    const auto corner = [&](const std::array<double, 3>& at) { return Corner{at, pair.informationAt(motionAt(at))}; };
    std::array<Corner, 4> simplex;
    simplex[0] = corner({0, 0, 0});
    for (std::size_t k = 0; k < 3; ++k) {
        std::array<double, 3> at{0, 0, 0};
        at[k] = step;
        simplex[k + 1] = corner(at);
    }
    for (int round = 0; round < most; ++round) {
        std::stable_sort(simplex.begin(), simplex.end(),
                         [](const Corner& a, const Corner& b) { return a.value > b.value; });
        double width = 0;
        for (std::size_t k = 0; k < 3; ++k)
            width = std::max(width, std::abs(simplex[3].at[k] - simplex[0].at[k]));
        if (width < 0.05 * pair.target.stepX)
            break;
        const auto beyond = [&](double factor) {
            std::array<double, 3> at{};
            for (std::size_t k = 0; k < 3; ++k) {
                const double centre = (simplex[0].at[k] + simplex[1].at[k] + simplex[2].at[k]) / 3;
                at[k] = centre + factor * (centre - simplex[3].at[k]);
            }
            return corner(at);
        };
        const Corner reflected = beyond(1);
        if (reflected.value > simplex[0].value) {
            const Corner further = beyond(2);
            simplex[3] = further.value > reflected.value ? further : reflected;
        } else if (reflected.value > simplex[2].value)
            simplex[3] = reflected;
        else if (const Corner nearer = beyond(-0.5); nearer.value > simplex[3].value)
            simplex[3] = nearer;
        else
            for (std::size_t c = 1; c < 4; ++c) {
                std::array<double, 3> at{};
                for (std::size_t k = 0; k < 3; ++k)
                    at[k] = 0.5 * (simplex[0].at[k] + simplex[c].at[k]);
                simplex[c] = corner(at);
            }
    }
    const auto best = std::max_element(simplex.begin(), simplex.end(),
                                       [](const Corner& a, const Corner& b) { return a.value < b.value; });
    motion = motionAt(best->at);
}

struct Place {
    RigidMotion motion;
    double value = 0;
};

/// The places with the most information, the source turned by steps all around and shifted by steps of some pixels, on
/// the coarsest scale, up to a third of the section, on one pixel of four: some five million in all.
std::vector<Place> placesAround(const ClassPair& pair) {
    const Level& target = pair.target;
    constexpr int stride = 4;
    const int reachX = target.image.cols / 3 / stride * stride, reachY = target.image.rows / 3 / stride * stride;
    // The source on a grid that is larger by the shifts.
    Level around = target;
    around.image = cv::Mat(target.image.rows + 2 * reachY, target.image.cols + 2 * reachX, CV_32FC2);
    around.originX -= reachX * target.stepX;
    around.originY -= reachY * target.stepY;
    std::vector<Place> all;
    for (int k = 0; k < numAngles; ++k) {
        const double angle = 2 * pi * k / numAngles;
        const cv::Mat turned = around.moved(pair.source, {angle, 0, 0});
        for (int y = -reachY; y <= reachY; y += stride)
            for (int x = -reachX; x <= reachX; x += stride) {
                // Shifted to the right by x: what lay that much to the left.
                const cv::Mat part = turned(cv::Rect(reachX - x, reachY - y, target.image.cols, target.image.rows));
                const JointHistogram histogram = histogramOf(target.image, part, 2);
                const double overlap = 4 * histogram.count() * target.stepX * target.stepY;
                if (overlap > 0.3 * pair.smaller)
                    all.push_back({{angle, x * target.stepX, y * target.stepY},
                                   lessened(histogram.normalizedInformation(), overlap, pair.smaller)});
            }
    }
    std::stable_sort(all.begin(), all.end(), [](const Place& a, const Place& b) { return a.value > b.value; });
    std::vector<Place> chosen;
    for (const Place& one : all) {
        const bool known = std::any_of(chosen.begin(), chosen.end(), [&](const Place& other) {
            return std::abs(std::remainder(one.motion.angle - other.motion.angle, 2 * pi)) < 3.2 * pi / numAngles &&
                   std::hypot(one.motion.x - other.motion.x, one.motion.y - other.motion.y) < 8 * target.stepX;
        });
        if (!known)
            chosen.push_back(one);
        if (chosen.size() == 2 * numFollowed)
            break;
    }
    return chosen;
}

/// Brings all to the nearest greatest information, and keeps some of the best.
void follow(std::vector<Place>& places, const ClassPair& pair, std::size_t most) {
    for (Place& one : places) {
        climb(pair, one.motion, 2, 30);
        one.value = pair.informationAt(one.motion);
    }
    std::stable_sort(places.begin(), places.end(), [](const Place& a, const Place& b) { return a.value > b.value; });
    places.resize(std::min(places.size(), most));
}

/// The mean grey of one image for each class of the other.
class GreyOfClass {
public:
    GreyOfClass(const cv::Mat& classes, const cv::Mat& greys) {
        constexpr std::size_t n = JointHistogram::numClasses;
        std::array<double, n> sums{}, counts{};
        double sum = 0, count = 1e-9;
        LevelRows classRows(classes), greyRows(greys);
        for (int i = 0; i < classes.rows; ++i) {
            const float* const p = classRows(i);
            const float* const q = greyRows(i);
            for (int j = 0; j < 2 * classes.cols; j += 2) {
                if (!(p[j + 1] > present) || !(q[j + 1] > present))
                    continue;
                const auto k = std::min(std::size_t(std::max(p[j], 0.0f)), n - 2);
                const double part = double(p[j]) - double(k), grey = double(q[j]);
                sums[k] += (1 - part) * grey;
                counts[k] += 1 - part;
                sums[k + 1] += part * grey;
                counts[k + 1] += part;
                sum += grey;
                count += 1;
            }
        }
        // Classes of few pixels come near to the mean of all.
        double squares = 0;
        for (std::size_t k = 0; k < n; ++k) {
            const double grey = (sums[k] + 4 * sum / count) / (counts[k] + 4);
            __greys[k] = float(grey);
            squares += counts[k] * (grey - sum / count) * (grey - sum / count);
        }
        __spread = std::sqrt(squares / count);
    }

    /// Of what the classes tell of the greys.
    double spread() const { return __spread; }

    /// The same level in greys of the other image.
    Level mapped(const Level& level, const GreyClasses& classes) const {
        Level result = level;
        result.image = level.image.clone();
        changeLevelRows(result.image, [&](int, float* p) {
            for (int j = 0; j < 2 * level.image.cols; j += 2)
                p[j] = p[j + 1] > present ? at(classes.of(p[j])) : 0.0f;
        });
        return result;
    }

private:
    float at(float place) const {
        const auto k = std::min(std::size_t(place), __greys.size() - 2);
        return __greys[k] + (place - float(k)) * (__greys[k + 1] - __greys[k]);
    }

    std::array<float, JointHistogram::numClasses> __greys{};
    double __spread = 0;
};

/// Two sections in the same greys, on one level: that one of them is replaced of which more can be told by the other.
struct LikePair {
    Level target, source;

    LikePair(const Section& of, const Section& from, const RigidMotion& motion, std::size_t level) {
        const std::size_t choice = std::min(of.choice, from.choice);
        const Level &t = of.levels[choice], &s = from.levels[choice];
        const cv::Mat moved = t.moved(s, motion), movedClasses = t.moved(from.inClasses(choice), motion);
        const GreyOfClass ofTarget(movedClasses, t.image), ofSource(of.inClasses(choice).image, moved);
        target = of.levels[level];
        source = from.levels[level];
        if (ofTarget.spread() >= ofSource.spread())
            source = ofTarget.mapped(source, from.classes());
        else
            target = ofSource.mapped(target, of.classes());
    }
};

SectionMatch judgedByInformation(const Section& target, const Section& source, const RigidMotion& motion) {
    SectionMatch match;
    match.motion = motion;
    match.method = AlignmentMethod::MutualInformation;
    match.score = informationScore(source, target, motion);
    const std::size_t k = std::min(target.choice, source.choice);
    scoreAt(target.levels[k], source.levels[k], motion, &match.inverted);
    const LikePair like(target, source, motion, k);
    const BlockSupport support = supportAt(like.target, like.source, motion, false);
    match.support = support.share;
    match.numBlocks = support.numBlocks;
    // A ground alone gives much information: it takes blocks to bear a motion out.
    const double chance = std::sqrt(chanceShare * (1 - chanceShare) / std::max(1, match.numBlocks));
    match.found = match.numBlocks >= leastBlocks && match.support > chanceShare + 4 * chance;
    tellSpread(match, like.target, like.source);
    return match;
}

} // namespace

double informationScore(const Section& source, const Section& target, const RigidMotion& motion) {
    const std::size_t k = std::min(target.choice, source.choice);
    const Level to = target.inClasses(k), from = source.inClasses(k);
    const JointHistogram histogram = histogramOf(to.image, to.moved(from, motion));
    const double smaller = std::min(to.area(), from.area());
    if (histogram.count() < 16 || !(smaller > 0))
        return 0;
    return lessened(histogram.informationalCorrelation(), histogram.count() * to.stepX * to.stepY, smaller);
}

std::optional<SectionMatch> matchByInformation(const Section& source, const Section& target, const RigidMotion& start,
                                               const std::vector<RigidMotion>& others) {
    const std::vector<ClassPair> pairs = classPairs(target, source);
    const ClassPair& coarsest = pairs.back();
    std::vector<Place> places;
    if (!others.empty())
        places = placesAround(coarsest);
    places.push_back({start, 0});
    follow(places, coarsest, numFollowed);
    for (const RigidMotion& other : others)
        places.push_back({other, 0});
    // Fewer and fewer from scale to scale.
    for (std::size_t k = std::min<std::size_t>(pairs.size(), 2); k-- > 0;)
        follow(places, pairs[k], k > 0 ? 2 : 1);
    const Place* const best = &places.front();
    if (!(best->value > 0))
        return std::nullopt;
    SectionMatch match = judgedByInformation(target, source, best->motion);
    const std::size_t choice = std::min(target.choice, source.choice);
    RigidMotion motion = match.motion;
    for (std::size_t k = choice + 1; k-- > 0;) {
        const LikePair like(target, source, motion, k);
        if (!refine(like.target, like.source, motion, k == 0 ? 8 : 15, 0.02))
            return match;
    }
    const SectionMatch fine = judgedByInformation(target, source, motion);
    return fine.support >= match.support - 0.1 && fine.score >= match.score - 0.02 ? fine : match;
}

} // namespace vorlen
