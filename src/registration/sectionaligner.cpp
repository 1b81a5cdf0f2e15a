#include "registration/sectionaligner.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>

#include "numerics/exception.h"
#include "registration/informationmatch.h"
#include "registration/preparedsection.h"
#include "registration/sectionfit.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

double square(double value) {
    return value * value;
}

/// Angles all around.
constexpr int numTurns = 60;

/// Sections that fit no better than this by their correlation may have much more in common by mutual information; where
/// they were found to fit it is taken when so much more of their blocks agree by it.
constexpr double littleAlike = 0.5;
constexpr double clearlyMore = 0.2;

using Level = SectionLevel;
using Section = SectionAligner::Section;

constexpr float present = SectionLevel::present;

// ---- where to begin

struct Candidate {
    RigidMotion motion;
    double score = 0;
};

/// Correlation of the source, turned by steps all around, with the target at every shift.
std::vector<Candidate> searchAround(const Level& target, const Level& source, std::size_t most) {
    const double step = std::max(target.stepX, target.stepY);
    const double diagonal = std::hypot(source.image.cols * source.stepX, source.image.rows * source.stepY) / step;
    const int size = cv::getOptimalDFTSize(int(std::ceil(target.side() + 0.75 * diagonal)));
    Level frame; // the middle of the section in the middle of the grid
    frame.stepX = frame.stepY = step;
    frame.originX = frame.originY = -step * size / 2;
    frame.image = cv::Mat(size, size, CV_32FC2);
    const auto transformed = [&](const cv::Mat& image) {
        std::vector<cv::Mat> channels, spectra(2);
        cv::split(image, channels);
        for (std::size_t k : {std::size_t(0), std::size_t(1)})
            cv::dft(channels[k], spectra[k]);
        return spectra;
    };
    const auto fixed = transformed(frame.moved(target, {}));
    const double smaller = std::min(target.area(), source.area()) / (step * step);
    std::vector<Candidate> all;
    cv::Mat product, fit, overlap;
    for (int k = 0; k < numTurns; ++k) {
        const double angle = 2 * pi * k / numTurns;
        const auto turned = transformed(frame.moved(source, {angle, 0, 0}));
        cv::mulSpectrums(fixed[0], turned[0], product, 0, true);
        cv::dft(product, fit, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
        cv::mulSpectrums(fixed[1], turned[1], product, 0, true);
        cv::dft(product, overlap, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
        for (int i = 0; i < size; ++i) {
            float* const f = fit.ptr<float>(i);
            const float* const n = overlap.ptr<float>(i);
            for (int j = 0; j < size; ++j)
                f[j] = n[j] > 0.25 * smaller ? std::abs(f[j]) / std::sqrt(n[j]) : 0.0f;
        }
        for (int peak = 0; peak < 3; ++peak) {
            double value = 0;
            cv::Point at;
            cv::minMaxLoc(fit, nullptr, &value, nullptr, &at);
            if (!(value > 0))
                break;
            const auto wrapped = [&](int index) { return index < size / 2 ? index : index - size; };
            all.push_back({{angle, step * wrapped(at.x), step * wrapped(at.y)}, value});
            for (int i = -4; i <= 4; ++i)
                for (int j = -4; j <= 4; ++j)
                    fit.at<float>((at.y + i + size) % size, (at.x + j + size) % size) = 0;
        }
    }
    std::stable_sort(all.begin(), all.end(), [](const Candidate& a, const Candidate& b) { return a.score > b.score; });
    // Neighbouring angles and shifts lead to one and the same.
    std::vector<Candidate> chosen;
    for (const Candidate& one : all) {
        const bool known = std::any_of(chosen.begin(), chosen.end(), [&](const Candidate& other) {
            return std::abs(std::remainder(one.motion.angle - other.motion.angle, 2 * pi)) < 3.2 * pi / numTurns &&
                   std::hypot(one.motion.x - other.motion.x, one.motion.y - other.motion.y) < 6 * step;
        });
        if (!known)
            chosen.push_back(one);
        if (chosen.size() == most)
            break;
    }
    return chosen;
}

/// Where the most unusual parts of both sections come together without a turn more than the start's: for sections with
/// little on them.
RigidMotion centred(const Level& target, const Level& source, const RigidMotion& start) {
    const auto centreOf = [](const Level& level) {
        std::vector<float> values;
        values.reserve(level.image.total());
        for (int i = 0; i < level.image.rows; ++i)
            for (int j = 0; j < level.image.cols; ++j)
                if (const auto& pixel = level.image.at<cv::Vec2f>(i, j); pixel[1] > present)
                    values.push_back(pixel[0]);
        if (values.empty())
            return PlanePoint();
        const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        double total = 1e-12, x = 0, y = 0;
        for (int i = 0; i < level.image.rows; ++i)
            for (int j = 0; j < level.image.cols; ++j)
                if (const auto& pixel = level.image.at<cv::Vec2f>(i, j); pixel[1] > present) {
                    const double weight = std::abs(pixel[0] - *middle);
                    total += weight;
                    x += weight * (level.originX + j * level.stepX);
                    y += weight * (level.originY + i * level.stepY);
                }
        return PlanePoint{x / total, y / total};
    };
    const PlanePoint from = centreOf(source), to = centreOf(target);
    RigidMotion motion{start.angle, 0, 0};
    const PlanePoint turned = motion.apply(from);
    motion.x = to.x - turned.x;
    motion.y = to.y - turned.y;
    return motion;
}

/// Refines at the scales from one to the other, coarse to fine.
bool refineThrough(const Section& target, const Section& source, RigidMotion& motion, std::size_t coarse,
                   std::size_t fine, double enough = 0.005) {
    coarse = std::min({coarse, target.levels.size() - 1, source.levels.size() - 1});
    for (std::size_t k = coarse + 1; k-- > fine;)
        if (!refine(target.levels[k], source.levels[k], motion, k == 0 ? 8 : 15, enough))
            return false;
    return true;
}

/// In standard deviations of chance.
double surplus(const BlockSupport& support) {
    return (support.share - chanceShare) / std::sqrt(chanceShare * (1 - chanceShare) / std::max(1, support.numBlocks));
}

/// What noise hides from small blocks the coarser scale may show: whether both scales together bear the motion out. By
/// chance their sum is as far off as 4 of its deviations no more often than a single one is.
bool isBorneOutBelow(const SectionMatch& match, const BlockSupport& coarse) {
    constexpr int enough = 12; // blocks
    return match.score > 0.5 && match.numBlocks >= enough && coarse.numBlocks >= enough && surplus(coarse) > 3 &&
           (surplus({match.numBlocks, match.support}) + surplus(coarse)) / std::sqrt(2.0) > 4;
}

/// A motion with all that is known of it.
SectionMatch judged(const Section& target, const Section& source, const RigidMotion& motion) {
    SectionMatch match;
    match.motion = motion;
    const std::size_t k = std::min(target.choice, source.choice);
    match.score = scoreAt(target.levels[k], source.levels[k], motion, &match.inverted);
    const BlockSupport support = supportAt(target.levels[k], source.levels[k], motion, match.inverted);
    match.support = support.share;
    match.numBlocks = support.numBlocks;
    match.found = isBorneOut(match);
    if (!match.found && k + 1 < std::min(target.levels.size(), source.levels.size())) {
        const BlockSupport coarse = supportAt(target.levels[k + 1], source.levels[k + 1], motion, match.inverted);
        match.found = isBorneOutBelow(match, coarse);
        if (match.found)
            match.support = std::max(match.support, coarse.share);
    }
    tellSpread(match, target.levels[k], source.levels[k]);
    return match;
}

/// By which of several is taken: how well all fits, and how much of it, and not without need far from the start; least
/// of all turned, or slid along its fibres, when little tells that. Of few blocks some agree by chance alone, and more
/// of them at one place than at another: there the whole decides.
double merit(const SectionMatch& match, const RigidMotion& start, double size) {
    const double turn = std::abs(std::remainder(match.motion.angle - start.angle, 2 * pi)) / pi;
    const double shift = std::hypot(match.motion.x - start.x, match.motion.y - start.y) / size;
    constexpr int few = 24;
    const double part = (match.support * match.numBlocks + 0.5 * few) / (match.numBlocks + few);
    const double untold = square(match.angleSpread) / (square(match.angleSpread) + square(angleDoubt));
    const double untoldShift = square(match.shiftSpread) / (square(match.shiftSpread) + square(shiftDoubt * size));
    return square(match.score) * (0.2 + part) * (1 - 0.05 * std::min(2.0, turn + shift)) * (1 - 0.3 * untold * turn) *
           (1 - 0.5 * untoldShift * std::min(1.0, shift));
}

/// Of two that lie closer together than the places that are searched, the blocks that agree differ by chance: there the
/// whole decides.
bool isBetter(const SectionMatch& one, const SectionMatch& other, const RigidMotion& start, double size) {
    constexpr double close = 0.025; // of the size
    if (one.found == other.found && meanDistance(one.motion, other.motion, size, size) < close * size)
        return one.score > other.score;
    return merit(one, start, size) > merit(other, start, size);
}

/// From the start alone.
std::optional<SectionMatch> followed(const Section& target, const Section& source, const RigidMotion& start,
                                     bool fromCoarse) {
    RigidMotion motion = start;
    const std::size_t choice = std::min(target.choice, source.choice);
    if (!refineThrough(target, source, motion, fromCoarse ? 99 : choice + 1, choice, 0.1))
        return std::nullopt;
    return judged(target, source, motion);
}

// ---- features

/// The motion that most of the matched features agree on.
std::optional<RigidMotion> motionByFeatures(const Section& target, const Section& source) {
    const Section::Features &s = source.features(), &t = target.features();
    if (s.places.size() < 8 || t.places.size() < 8)
        return std::nullopt;
    std::vector<std::vector<cv::DMatch>> forth, back;
    const cv::BFMatcher matcher(cv::NORM_L2);
    matcher.knnMatch(s.descriptors, t.descriptors, forth, 2);
    matcher.knnMatch(t.descriptors, s.descriptors, back, 1);
    std::vector<cv::Point2d> from, to;
    for (const auto& pair : forth) {
        if (pair.size() < 2 || pair[0].distance > 0.85f * pair[1].distance)
            continue;
        const auto k = std::size_t(pair[0].trainIdx);
        if (back[k].empty() || back[k][0].trainIdx != pair[0].queryIdx)
            continue;
        const PlanePoint p = s.places[std::size_t(pair[0].queryIdx)], q = t.places[k];
        from.emplace_back(p.x / source.pixel, p.y / source.pixel);
        to.emplace_back(q.x / source.pixel, q.y / source.pixel);
    }
    if (from.size() < 6)
        return std::nullopt;
    std::vector<unsigned char> agrees;
    const double reach = 0.01 * std::max(target.width, target.height) / target.pixel + 2;
    const cv::Mat affine = cv::estimateAffinePartial2D(from, to, agrees, cv::RANSAC, reach, 3000, 0.995, 10);
    std::vector<PointPair> pairs;
    for (std::size_t i = 0; i < from.size() && !affine.empty(); ++i)
        if (agrees[i] != 0)
            pairs.push_back({{from[i].x * source.pixel, from[i].y * source.pixel},
                             {to[i].x * source.pixel, to[i].y * source.pixel}});
    if (pairs.size() < 6)
        return std::nullopt;
    return fitRigid(pairs);
}

/// By features and intensity.
SectionMatch correlated(const Section& source, const Section& target, const RigidMotion& start, AlignmentMethod method,
                        bool search) {
    const SectionMatch unmoved = judged(target, source, start);
    SectionMatch best = unmoved;
    best.found = false;
    bool begun = false;
    const double size = std::max({target.width, target.height, source.width, source.height});
    const auto consider = [&](const std::optional<SectionMatch>& one) {
        if (one && (!begun || isBetter(*one, best, start, size))) {
            best = *one;
            begun = true;
        }
    };
    if (method != AlignmentMethod::Features) {
        consider(followed(target, source, start, true));
        const bool sure = begun && best.found && best.numBlocks >= 20 && best.support > 0.45;
        if (search && !sure)
            consider(followed(target, source, centred(target.search, source.search, start), false));
        if (search && !sure)
            for (const Candidate& one : searchAround(target.search, source.search, 6))
                consider(followed(target, source, one.motion, false));
    }
    if (method == AlignmentMethod::Features || (method == AlignmentMethod::Auto && search && !best.found))
        if (const auto motion = motionByFeatures(target, source)) {
            std::optional<SectionMatch> one = judged(target, source, *motion);
            one->method = AlignmentMethod::Features;
            consider(one);
        }
    if (!begun)
        return best;
    RigidMotion motion = best.motion;
    if (method != AlignmentMethod::Features &&
        refineThrough(target, source, motion, std::min(target.choice, source.choice), 0)) {
        const AlignmentMethod by = best.method;
        const SectionMatch fine = judged(target, source, motion);
        // Where there are few blocks one more or less is no sign that it went astray.
        if (fine.support >= best.support - 0.1 || fine.score >= best.score) {
            best = fine;
            best.method = by;
        }
    }
    // Where it lay is as good as where it was brought: then it stays.
    if (unmoved.found && unmoved.score >= best.score)
        best.motion = unmoved.motion;
    return best.motion.angle == start.angle && best.motion.x == start.x && best.motion.y == start.y ? unmoved : best;
}

/// By mutual information: from the start and, with `search`, from where the correlation is great as well.
std::optional<SectionMatch> informed(const Section& source, const Section& target, const RigidMotion& start,
                                     bool search) {
    std::vector<RigidMotion> others;
    if (search) {
        const std::vector<Candidate> candidates = searchAround(target.search, source.search, 4);
        others.reserve(candidates.size() + 1);
        for (const Candidate& one : candidates)
            others.push_back(one.motion);
        others.push_back(start);
    }
    return matchByInformation(source, target, start, others);
}

} // namespace

double SectionAligner::workingPixel(double width, double height, double pixel) {
    const double sides = std::max(width, height) / (pixel * workingSize);
    return pixel * std::max(1.0, std::ceil(sides - 1e-9));
}

SectionAligner::SectionPointer SectionAligner::prepare(const SectionImage& image, double pixel) {
    cv::setNumThreads(1); // all runs on the caller's thread
    return std::make_shared<Section>(image, pixel);
}

SectionAligner::SectionPointer SectionAligner::medianOf(const std::vector<SectionPointer>& sections,
                                                        const std::vector<RigidMotion>& motions, const Section& onto) {
    const auto bad = [](const SectionPointer& one) { return one == nullptr || one->levels.empty(); };
    if (sections.empty() || sections.size() != motions.size() || std::any_of(sections.begin(), sections.end(), bad) ||
        onto.levels.empty())
        throw SizeError("SectionPointer SectionAligner::medianOf(...)",
                        "There must be a motion for each of some sections");
    Level level = onto.levels.front();
    level.image = Level::emptyImage(level.image.rows, level.image.cols);
    // In strips, so that not all images are there a second time.
    constexpr int strip = 64;
    std::vector<cv::Mat> parts(sections.size());
    std::vector<float> values, row;
    for (int top = 0; top < level.image.rows; top += strip) {
        Level part = level;
        part.image = level.image.rowRange(top, std::min(top + strip, level.image.rows));
        part.originY = level.originY + top * level.stepY;
        for (std::size_t k = 0; k < sections.size(); ++k)
            parts[k] = levelInFloats(part.moved(sections[k]->levels.front(), motions[k]));
        for (int i = 0; i < part.image.rows; ++i) {
            row.assign(std::size_t(2 * part.image.cols), 0.0f);
            for (int j = 0; j < part.image.cols; ++j) {
                values.clear();
                for (const cv::Mat& one : parts)
                    if (const auto& pixel = one.at<cv::Vec2f>(i, j); pixel[1] > present)
                        values.push_back(pixel[0]);
                if (2 * values.size() < sections.size() || values.empty())
                    continue;
                std::sort(values.begin(), values.end());
                const std::size_t n = values.size();
                row[std::size_t(2 * j)] = 0.5f * (values[n / 2] + values[(n - 1) / 2]);
                row[std::size_t(2 * j + 1)] = 1;
            }
            setLevelRow(part.image, i, row.data());
        }
    }
    return std::make_shared<Section>(onto, level);
}

const std::string& SectionAligner::fault(const Section& section) {
    return section.fault;
}

std::string SectionAligner::weakness(const Section& section) {
    if (section.isBlackAndWhite)
        return "saturated";
    return section.isMostlyCut ? "mostly saturated" : "";
}

double SectionAligner::score(const Section& source, const Section& target, const RigidMotion& motion) {
    if (!source.fault.empty() || !target.fault.empty())
        return 0;
    const std::size_t k = std::min(source.choice, target.choice);
    return scoreAt(target.levels[k], source.levels[k], motion);
}

double SectionAligner::score(const Section& source, const Section& target, const RigidMotion& motion,
                             AlignmentMethod method) {
    if (method != AlignmentMethod::MutualInformation)
        return score(source, target, motion);
    return source.fault.empty() && target.fault.empty() ? informationScore(source, target, motion) : 0;
}

SectionMatch SectionAligner::match(const Section& source, const Section& target, const RigidMotion& start,
                                   AlignmentMethod method, bool search) {
    SectionMatch none;
    none.motion = start;
    if (!source.fault.empty() || !target.fault.empty() || source.isBlackAndWhite != target.isBlackAndWhite)
        return none;
    if (method == AlignmentMethod::MutualInformation)
        return informed(source, target, start, search).value_or(none);
    const SectionMatch match = correlated(source, target, start, method, search);
    if (method != AlignmentMethod::Auto || !search || match.score > littleAlike)
        return match;
    const std::optional<SectionMatch> other =
        match.found ? informed(source, target, match.motion, false) : informed(source, target, start, true);
    return other && other->found && (!match.found || other->support > match.support + clearlyMore) ? *other : match;
}

namespace {

/// The source as it is seen from behind, on the target.
SectionMatch matchFromBehind(const Section& source, const Section& target) {
    Section behind = source; // the same images: their columns are counted from the other side
    const auto turnOver = [](Level& level) {
        level.originX = -level.originX;
        level.stepX = -level.stepX;
    };
    for (Level& level : behind.levels)
        turnOver(level);
    turnOver(behind.search);
    behind.forget();
    return SectionAligner::match(behind, target, {}, AlignmentMethod::Auto);
}

} // namespace

bool SectionAligner::isMirrored(const Section& source, const Section& target, const RigidMotion& start) {
    if (!source.fault.empty() || !target.fault.empty())
        return false;
    const SectionMatch mirrored = matchFromBehind(source, target);
    return mirrored.found && mirrored.score > score(source, target, start, mirrored.method);
}

bool SectionAligner::isClearlyMirrored(const Section& source, const Section& target, const SectionMatch& found) {
    constexpr double clearly = 1.1, clearlyLess = 0.7;
    if (!source.fault.empty() || !target.fault.empty() || found.numBlocks < 8)
        return false;
    const SectionMatch mirrored = matchFromBehind(source, target);
    // Of sections that are nearly symmetric both fit well: there what is missing tells.
    const bool fitsBetter =
        mirrored.score > clearly * found.score || 1 - mirrored.score < clearlyLess * (1 - found.score);
    return mirrored.found && mirrored.method != AlignmentMethod::MutualInformation && mirrored.numBlocks >= 8 &&
           mirrored.support > found.support && fitsBetter;
}

} // namespace vorlen
