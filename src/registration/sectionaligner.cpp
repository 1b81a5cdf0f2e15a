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
#include "registration/preparedsection.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

double square(double value) {
    return value * value;
}

/// In spreads of what remains: what is further off, by a tear or a fold, loses its weight. Small images need more of
/// their pixels.
double lenienceOf(int side) {
    return side > 384 ? 5 : 10;
}

/// In radians: how far an angle is trusted that nothing in the images tells.
constexpr double angleDoubt = 0.02;
/// Angles all around.
constexpr int numTurns = 60;

using Level = SectionLevel;
using Section = SectionAligner::Section;

constexpr float present = SectionLevel::present;

/// Sums over the pixels that both images have.
struct Sums {
    double n = 0, a = 0, b = 0, aa = 0, bb = 0, ab = 0;

    double correlation() const {
        const double va = aa - a * a / n, vb = bb - b * b / n;
        return n > 0 && va > 1e-9 * aa && vb > 1e-9 * bb ? (ab - a * b / n) / std::sqrt(va * vb) : 0;
    }
};

Sums sumsOf(const cv::Mat& first, const cv::Mat& second) {
    Sums sums;
    for (int i = 0; i < first.rows; ++i) {
        const float* const p = first.ptr<float>(i);
        const float* const q = second.ptr<float>(i);
        float n = 0, a = 0, b = 0, aa = 0, bb = 0, ab = 0;
        for (int j = 0; j < 2 * first.cols; j += 2) {
            const float w = p[j + 1] > present && q[j + 1] > present ? 1.0f : 0.0f;
            const float u = w * p[j], v = w * q[j];
            n += w;
            a += u;
            b += v;
            aa += u * u;
            bb += v * v;
            ab += u * v;
        }
        sums.n += n;
        sums.a += a;
        sums.b += b;
        sums.aa += aa;
        sums.bb += bb;
        sums.ab += ab;
    }
    return sums;
}

/// A surface of second order: what the light of one image differs from that of the other, however the section moved.
struct LightSurface {
    cv::Vec<double, 6> terms = cv::Vec<double, 6>::all(0); ///< of 1, x, y, x^2, x y, y^2

    float at(float x, float y) const {
        return float(terms[0]) + x * (float(terms[1]) + float(terms[3]) * x + float(terms[4]) * y) +
               y * (float(terms[2]) + float(terms[5]) * y);
    }
};

/// The surface that, on every fourth pixel of every fourth row, comes nearest to gain source + offset - target. Columns
/// and rows run from -1 to 1.
LightSurface lightBetween(const cv::Mat& target, const cv::Mat& source, float gain, float offset) {
    cv::Matx<double, 6, 6> normal = cv::Matx<double, 6, 6>::zeros();
    cv::Vec<double, 6> right = cv::Vec<double, 6>::all(0);
    const int step = target.total() > 10000 ? 4 : 1;
    for (int i = 0; i < target.rows; i += step) {
        const float* const t = target.ptr<float>(i);
        const float* const s = source.ptr<float>(i);
        const double y = 2.0 * i / target.rows - 1;
        for (int j = 0; j < target.cols; j += step) {
            if (!(t[2 * j + 1] > present) || !(s[2 * j + 1] > present))
                continue;
            const double x = 2.0 * j / target.cols - 1;
            const double basis[6] = {1, x, y, x * x, x * y, y * y};
            const double r = double(gain * s[2 * j] + offset - t[2 * j]);
            for (int k = 0; k < 6; ++k) {
                right[k] += basis[k] * r;
                for (int l = 0; l <= k; ++l)
                    normal(k, l) += basis[k] * basis[l];
            }
        }
    }
    for (int k = 0; k < 6; ++k) {
        normal(k, k) += 1e-6 * normal(0, 0) + 1e-12;
        for (int l = 0; l < k; ++l)
            normal(l, k) = normal(k, l);
    }
    LightSurface light;
    if (!cv::solve(normal, right, light.terms, cv::DECOMP_CHOLESKY))
        light.terms = cv::Vec<double, 6>::all(0);
    return light;
}

/// Where the target's grey changes, and how fast: of great images on every second row.
struct Slopes {
    Level target;
    cv::Mat x, y, whole; ///< change of the grey by the length unit; and 1 where no neighbour is missing
    double radius = 1;   ///< of the image, by which turns become lengths
    double lenience = 10;

    explicit Slopes(const Level& full);
};

Slopes::Slopes(const Level& full) : target(full), lenience(lenienceOf(full.side())) {
    std::vector<cv::Mat> channels;
    cv::split(full.image, channels);
    cv::Mat gx, gy, inner;
    cv::Scharr(channels[0], gx, CV_32F, 1, 0, 1 / (32.0 * full.stepX));
    cv::Scharr(channels[0], gy, CV_32F, 0, 1, 1 / (32.0 * full.stepY));
    // Where a neighbour is missing the gradient is none.
    cv::erode(channels[1], inner, cv::Mat(), {-1, -1}, 1, cv::BORDER_CONSTANT, cv::Scalar::all(0));
    const int stride = full.image.total() > 400000 ? 2 : 1;
    const auto thinned = [stride](const cv::Mat& all) {
        if (stride == 1)
            return all;
        cv::Mat some(all.rows / stride, all.cols, all.type());
        for (int i = 0; i < some.rows; ++i)
            all.row(stride * i).copyTo(some.row(i));
        return some;
    };
    target.image = thinned(full.image);
    target.stepY *= stride;
    x = thinned(gx);
    y = thinned(gy);
    whole = thinned(inner);
    radius = 0.5 * std::hypot(target.image.cols * target.stepX, target.image.rows * target.stepY);
}

/// Those of a Gauss-Newton step: of shifts across and down, and of turns times the radius.
struct NormalEquations {
    double xx = 0, xy = 0, yy = 0, xa = 0, ya = 0, aa = 0;
    double x = 0, y = 0, a = 0;
    double unexplained = 0; ///< of the greys, weighted by the slopes

    /// What nothing but the turn explains.
    double turnAlone() const {
        const double determinant = xx * yy - xy * xy;
        return determinant > 1e-12 * xx * yy
                   ? std::max(0.0, aa - (yy * xa * xa - 2 * xy * xa * ya + xx * ya * ya) / determinant)
                   : 0;
    }
    /// The square of how far off the turn may be, as a length.
    double doubt() const { return 10 * unexplained / std::max(1e-30, xx + yy); }
};

/// None when there is too little overlap.
std::optional<NormalEquations> equationsOf(const Slopes& slopes, const Level& source, const RigidMotion& motion) {
    const Level& target = slopes.target;
    const int rows = target.image.rows, cols = target.image.cols;
    const cv::Mat warped = target.moved(source, motion);
    const Sums sums = sumsOf(target.image, warped);
    if (sums.n < 0.05 * rows * cols)
        return std::nullopt;
    const double varS = sums.bb - sums.b * sums.b / sums.n;
    const double varT = sums.aa - sums.a * sums.a / sums.n;
    if (!(varS > 1e-9 * sums.bb) || !(varT > 1e-9 * sums.aa))
        return std::nullopt;
    const double cov = sums.ab - sums.a * sums.b / sums.n;
    const float gain = float(cov / varS), offset = float((sums.a - gain * sums.b) / sums.n);
    const double spread = std::sqrt(std::max(1e-12, (varT - cov * cov / varS) / sums.n));
    const float scale = float(1 / (slopes.lenience * slopes.lenience * spread * spread));
    const LightSurface light = lightBetween(target.image, warped, gain, offset);
    NormalEquations all;
    for (int i = 0; i < rows; ++i) {
        const float* const t = target.image.ptr<float>(i);
        const float* const s = warped.ptr<float>(i);
        const float* const m = slopes.whole.ptr<float>(i);
        const float* const px = slopes.x.ptr<float>(i);
        const float* const py = slopes.y.ptr<float>(i);
        const auto y = float((target.originY + i * target.stepY) / slopes.radius);
        const auto x0 = float(target.originX / slopes.radius), dx = float(target.stepX / slopes.radius);
        const float lightX = 2.0f / float(cols), lightY = 2.0f * float(i) / float(rows) - 1;
        float xx = 0, xy = 0, yy = 0, xa = 0, ya = 0, aa = 0, rx = 0, ry = 0, ra = 0, rr = 0;
        for (int j = 0; j < cols; ++j) {
            const float r = gain * s[2 * j] + offset - t[2 * j] - light.at(lightX * float(j) - 1, lightY);
            const float q = 1 / (1 + scale * r * r);
            const float w = s[2 * j + 1] > present ? m[j] * q * q : 0.0f;
            const float u = px[j], v = py[j], a = (x0 + dx * float(j)) * v - y * u;
            const float wu = w * u, wv = w * v, wa = w * a;
            xx += wu * u;
            xy += wu * v;
            yy += wv * v;
            xa += wu * a;
            ya += wv * a;
            aa += wa * a;
            rx += wu * r;
            ry += wv * r;
            ra += wa * r;
            rr += (wu * u + wv * v) * r * r;
        }
        all.xx += xx;
        all.xy += xy;
        all.yy += yy;
        all.xa += xa;
        all.ya += ya;
        all.aa += aa;
        all.x += rx;
        all.y += ry;
        all.a += ra;
        all.unexplained += rr;
    }
    return all;
}

/// Gauss-Newton steps that raise the correlation of target and moved source. False when there is too little overlap.
bool refine(const Level& full, const Level& source, RigidMotion& motion, int numSteps, double enough) {
    const Slopes slopes(full);
    const double radius = slopes.radius;
    const double firstAngle = motion.angle;
    for (int step = 0; step < numSteps; ++step) {
        std::optional<NormalEquations> e = equationsOf(slopes, source, motion);
        if (!e)
            return false;
        // On sections with little on them nothing tells the angle: then it stays where it was.
        const double doubt = e->doubt() / (angleDoubt * angleDoubt * radius * radius);
        e->aa += doubt;
        e->a -= doubt * std::remainder(motion.angle - firstAngle, 2 * pi) * radius;
        const double ridge = 1e-6 * (e->xx + e->yy + e->aa);
        const cv::Matx33d normal(e->xx + ridge, e->xy, e->xa, e->xy, e->yy + ridge, e->ya, e->xa, e->ya, e->aa + ridge);
        cv::Vec3d d;
        if (!cv::solve(normal, cv::Vec3d(e->x, e->y, e->a), d, cv::DECOMP_CHOLESKY))
            return false;
        const double turn = d[2] / radius;
        const double length = std::hypot(d[0], d[1]) + std::abs(d[2]);
        // Gradients reach no further than some pixels.
        const double limit = 4 * std::max(full.stepX, full.stepY);
        const double part = length > limit ? limit / length : 1;
        motion = RigidMotion{part * turn, part * d[0], part * d[1]} * motion;
        if (!motion.isFinite())
            return false;
        if (length < enough * full.stepX)
            break;
    }
    return true;
}

/// What the images tell of a motion: sets the spread of its angle and the point about which it turns.
void tellSpread(SectionMatch& match, const Level& target, const Level& source) {
    const Slopes slopes(target);
    const auto e = equationsOf(slopes, source, match.motion);
    if (!e)
        return;
    const double alone = std::max(e->turnAlone(), 1e-30);
    match.angleSpread = std::min(pi, std::sqrt(e->doubt() / alone) / slopes.radius);
    const double determinant = e->xx * e->yy - e->xy * e->xy;
    if (!(determinant > 1e-6 * e->xx * e->yy))
        return;
    const double x = (e->xx * e->ya - e->xy * e->xa) / determinant, y = (e->xy * e->ya - e->yy * e->xa) / determinant;
    const double within = slopes.radius / std::max(1.0, std::hypot(x, y));
    match.middle = match.motion.inverse().apply({within * x, within * y});
}

// ---- how well two sections fit

/// The first image without the light that is on it where both images are.
cv::Mat withoutLight(const cv::Mat& image, const cv::Mat& other) {
    const LightSurface light = lightBetween(image, other, 0, 0); // of nothing less the image
    cv::Mat result = image.clone();
    for (int i = 0; i < result.rows; ++i) {
        float* const p = result.ptr<float>(i);
        const float y = 2.0f * float(i) / float(result.rows) - 1;
        for (int j = 0; j < result.cols; ++j)
            p[2 * j] += light.at(2.0f * float(j) / float(result.cols) - 1, y);
    }
    return result;
}

/// Absolute correlation, the light taken off, lessened where the overlap is less than half of the smaller section.
double scoreAt(const Level& target, const Level& source, const RigidMotion& motion, bool* inverted = nullptr) {
    const cv::Mat warped = target.moved(source, motion);
    const Sums sums = sumsOf(withoutLight(target.image, warped), withoutLight(warped, target.image));
    const double area = target.stepX * target.stepY;
    const double smaller = std::min(target.area(), source.area());
    if (sums.n < 16 || !(smaller > 0))
        return 0;
    const double correlation = sums.correlation();
    if (inverted != nullptr)
        *inverted = correlation < 0;
    return std::abs(correlation) * std::sqrt(std::min(1.0, 2 * sums.n * area / smaller));
}

/// The blocks of the overlap that have structure, and how many of them lie where the motion brings them.
struct Support {
    int numBlocks = 0;
    double share = 0;
};

Support supportAt(const Level& target, const Level& source, const RigidMotion& motion, bool inverted) {
    const cv::Mat warped = target.moved(source, motion);
    const int size = std::max(12, target.side() / 10), reach = 6;
    constexpr double near = 2.1;
    std::vector<cv::Mat> t, s;
    cv::split(target.image, t);
    cv::split(warped, s);
    Support support;
    int numNear = 0;
    cv::Mat surface;
    for (int y = reach; y + size + reach <= target.image.rows; y += size)
        for (int x = reach; x + size + reach <= target.image.cols; x += size) {
            const cv::Rect block(x, y, size, size);
            const cv::Rect around(x - reach, y - reach, size + 2 * reach, size + 2 * reach);
            if (cv::mean(t[1](block))[0] < 0.8 || cv::mean(s[1](around))[0] < 0.8)
                continue;
            cv::Scalar mean, spread, otherSpread;
            cv::meanStdDev(t[0](block), mean, spread);
            cv::meanStdDev(s[0](block), mean, otherSpread);
            if (std::min(spread[0], otherSpread[0]) < 0.1)
                continue;
            cv::matchTemplate(s[0](around), t[0](block), surface, cv::TM_CCOEFF_NORMED);
            cv::Point least, most;
            cv::minMaxLoc(surface, nullptr, nullptr, &least, &most);
            const cv::Point best = inverted ? least : most;
            ++support.numBlocks;
            numNear += std::hypot(best.x - reach, best.y - reach) <= near ? 1 : 0;
        }
    support.share = support.numBlocks > 0 ? double(numNear) / support.numBlocks : 0;
    return support;
}

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
                   std::size_t fine, double enough = 0.02) {
    coarse = std::min({coarse, target.levels.size() - 1, source.levels.size() - 1});
    for (std::size_t k = coarse + 1; k-- > fine;)
        if (!refine(target.levels[k], source.levels[k], motion, k == 0 ? 8 : 15, enough))
            return false;
    return true;
}

/// Part of the blocks that agree by chance.
constexpr double chanceShare = 0.09;

/// Chance lets about a tenth of the blocks agree; 3.5 of its standard deviations more are no chance, and as several
/// places are tried it takes more where all in all little fits. Sections with little on them have too few blocks to
/// tell: there the whole must fit.
bool isBorneOut(const SectionMatch& match) {
    if (match.numBlocks < 8)
        return match.score > 0.6;
    const double spread = std::sqrt(chanceShare * (1 - chanceShare) / match.numBlocks);
    const double chance = chanceShare + 3.5 * spread + std::max(0.0, 0.45 - match.score);
    return match.support > std::min(0.9, chance) || (match.numBlocks < 20 && match.score > 0.75);
}

/// In standard deviations of chance.
double surplus(const Support& support) {
    return (support.share - chanceShare) / std::sqrt(chanceShare * (1 - chanceShare) / std::max(1, support.numBlocks));
}

/// What noise hides from small blocks the coarser scale may show: whether both scales together bear the motion out. By
/// chance their sum is as far off as 4 of its deviations no more often than a single one is.
bool isBorneOutBelow(const SectionMatch& match, const Support& coarse) {
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
    const Support support = supportAt(target.levels[k], source.levels[k], motion, match.inverted);
    match.support = support.share;
    match.numBlocks = support.numBlocks;
    match.found = isBorneOut(match);
    if (!match.found && k + 1 < std::min(target.levels.size(), source.levels.size())) {
        const Support coarse = supportAt(target.levels[k + 1], source.levels[k + 1], motion, match.inverted);
        match.found = isBorneOutBelow(match, coarse);
        if (match.found)
            match.support = std::max(match.support, coarse.share);
    }
    tellSpread(match, target.levels[k], source.levels[k]);
    return match;
}

/// By which of several is taken: how well all fits, and how much of it, and not without need far from the start; least
/// of all turned, when little tells how it is turned.
double merit(const SectionMatch& match, const RigidMotion& start, double size) {
    const double turn = std::abs(std::remainder(match.motion.angle - start.angle, 2 * pi)) / pi;
    const double shift = std::hypot(match.motion.x - start.x, match.motion.y - start.y) / size;
    const double part = (match.support * match.numBlocks + 0.5 * 8) / (match.numBlocks + 8); // few blocks tell little
    const double untold = square(match.angleSpread) / (square(match.angleSpread) + square(angleDoubt));
    return match.score * (0.2 + part) * (1 - 0.05 * std::min(2.0, turn + shift)) * (1 - 0.3 * untold * turn);
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
    level.image = cv::Mat::zeros(level.image.size(), CV_32FC2);
    // In strips, so that not all images are there a second time.
    constexpr int strip = 64;
    std::vector<cv::Mat> parts(sections.size());
    std::vector<float> values;
    for (int top = 0; top < level.image.rows; top += strip) {
        Level part = level;
        part.image = level.image.rowRange(top, std::min(top + strip, level.image.rows));
        part.originY = level.originY + top * level.stepY;
        for (std::size_t k = 0; k < sections.size(); ++k)
            parts[k] = part.moved(sections[k]->levels.front(), motions[k]);
        for (int i = 0; i < part.image.rows; ++i)
            for (int j = 0; j < part.image.cols; ++j) {
                values.clear();
                for (const cv::Mat& one : parts)
                    if (const auto& pixel = one.at<cv::Vec2f>(i, j); pixel[1] > present)
                        values.push_back(pixel[0]);
                if (2 * values.size() < sections.size() || values.empty())
                    continue;
                std::sort(values.begin(), values.end());
                const std::size_t n = values.size();
                part.image.at<cv::Vec2f>(i, j) = {0.5f * (values[n / 2] + values[(n - 1) / 2]), 1};
            }
    }
    return std::make_shared<Section>(onto, level);
}

const std::string& SectionAligner::fault(const Section& section) {
    return section.fault;
}

double SectionAligner::score(const Section& source, const Section& target, const RigidMotion& motion) {
    if (!source.fault.empty() || !target.fault.empty())
        return 0;
    const std::size_t k = std::min(source.choice, target.choice);
    return scoreAt(target.levels[k], source.levels[k], motion);
}

SectionMatch SectionAligner::match(const Section& source, const Section& target, const RigidMotion& start,
                                   AlignmentMethod method, bool search) {
    SectionMatch best;
    best.motion = start;
    if (!source.fault.empty() || !target.fault.empty())
        return best;
    const SectionMatch unmoved = judged(target, source, start);
    best = unmoved;
    best.found = false;
    bool begun = false;
    const double size = std::max({target.width, target.height, source.width, source.height});
    const auto consider = [&](const std::optional<SectionMatch>& one) {
        if (one && (!begun || merit(*one, start, size) > merit(best, start, size))) {
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
        if (fine.support >= best.support - 0.1) {
            best = fine;
            best.method = by;
        }
    }
    // Where it lay is as good as where it was brought: then it stays.
    if (unmoved.found && unmoved.score >= best.score)
        best.motion = unmoved.motion;
    return best.motion.angle == start.angle && best.motion.x == start.x && best.motion.y == start.y ? unmoved : best;
}

bool SectionAligner::isMirrored(const Section& source, const Section& target, const RigidMotion& start) {
    if (!source.fault.empty() || !target.fault.empty())
        return false;
    Section behind = source;
    const auto flip = [](Level& level) {
        cv::Mat image;
        cv::flip(level.image, image, 1);
        level.image = image;
        level.originX = -(level.originX + level.stepX * (image.cols - 1));
    };
    for (Level& level : behind.levels)
        flip(level);
    flip(behind.search);
    behind.forgetFeatures();
    const SectionMatch mirrored = match(behind, target, {}, AlignmentMethod::Auto);
    return mirrored.found && mirrored.score > score(source, target, start);
}

} // namespace vorlen
