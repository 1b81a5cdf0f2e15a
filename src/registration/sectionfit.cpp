#include "registration/sectionfit.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "registration/stepsahead.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

/// In spreads of what remains: what is further off, by a tear or a fold, loses its weight. Small images need more of
/// their pixels.
double lenienceOf(int side) {
    return side > 384 ? 5 : 10;
}

using Level = SectionLevel;

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
    LevelRows firstRows(first), secondRows(second);
    for (int i = 0; i < first.rows; ++i) {
        const float* const p = firstRows(i);
        const float* const q = secondRows(i);
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
    LevelRows targetRows(target), sourceRows(source);
    for (int i = 0; i < target.rows; i += step) {
        const float* const t = targetRows(i);
        const float* const s = sourceRows(i);
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

/// Where the target's grey changes, and how fast: of great images on every second row. Of these the slopes are found
/// anew each time, as they would take as much memory as the image.
class Slopes {
public:
    Level target;      ///< a view of the full image, which must outlive it
    double radius = 1; ///< of the image, by which turns become lengths
    double lenience = 10;

    explicit Slopes(const Level& full);

    /// Change of the grey by the length unit, across and down; 0 where a neighbour is missing. Until the next is asked
    /// for.
    struct Row {
        const float *across, *down;
    };
    Row row(int i) const;

private:
    void findRow(int i, float* across, float* down) const;

    const Level& __full;
    int __stride;
    mutable LevelRows __above, __here, __below;
    mutable cv::Mat __across, __down; // of all rows, or of the one last asked for
};

Slopes::Slopes(const Level& full)
    : target(full), lenience(lenienceOf(full.side())), __full(full), __stride(full.image.total() > 400000 ? 2 : 1),
      __above(full.image), __here(full.image), __below(full.image) {
    target.image = cv::Mat(full.image.rows / __stride, full.image.cols, full.image.type(), full.image.data,
                           std::size_t(__stride) * full.image.step);
    target.stepY *= __stride;
    radius = 0.5 * std::hypot(target.image.cols * target.stepX, target.image.rows * target.stepY);
    const int numKept = __stride == 1 ? target.image.rows : 1;
    __across = cv::Mat::zeros(numKept, target.image.cols, CV_32F);
    __down = cv::Mat::zeros(numKept, target.image.cols, CV_32F);
    for (int i = 0; i < numKept && __stride == 1; ++i)
        findRow(i, __across.ptr<float>(i), __down.ptr<float>(i));
}

Slopes::Row Slopes::row(int i) const {
    if (__stride == 1)
        return {__across.ptr<float>(i), __down.ptr<float>(i)};
    findRow(i, __across.ptr<float>(0), __down.ptr<float>(0));
    return {__across.ptr<float>(0), __down.ptr<float>(0)};
}

/// The operator of Scharr.
void Slopes::findRow(int i, float* across, float* down) const {
    const int from = __stride * i, cols = __full.image.cols;
    if (from < 1 || from + 1 >= __full.image.rows) {
        std::fill(across, across + cols, 0.0f);
        std::fill(down, down + cols, 0.0f);
        return;
    }
    const float* const above = __above(from - 1);
    const float* const here = __here(from);
    const float* const below = __below(from + 1);
    const auto perX = float(1 / (32.0 * __full.stepX)), perY = float(1 / (32.0 * __full.stepY));
    for (int j = 1; j + 1 < cols; ++j) {
        const int l = 2 * j - 2, m = 2 * j, r = 2 * j + 2;
        const float least = std::min({above[l + 1], above[m + 1], above[r + 1], here[l + 1], here[m + 1], here[r + 1],
                                      below[l + 1], below[m + 1], below[r + 1]});
        const float whole = least > present ? 1.0f : 0.0f;
        across[j] = whole * perX * (3 * (above[r] - above[l]) + 10 * (here[r] - here[l]) + 3 * (below[r] - below[l]));
        down[j] = whole * perY * (3 * (below[l] - above[l]) + 10 * (below[m] - above[m]) + 3 * (below[r] - above[r]));
    }
}

/// How the greys of the moved source become those of the target.
struct GreyFit {
    float gain = 1, offset = 0;
    float scale = 1; ///< of squared differences: those of 1 / scale lose three quarters of their weight
    LightSurface light;

    float difference(float target, float source, float x, float y) const {
        return gain * source + offset - target - light.at(x, y);
    }
    float weight(float difference, float mark) const {
        const float q = 1 / (1 + scale * difference * difference);
        return mark > present ? q * q : 0.0f;
    }
};

/// None when there is too little overlap.
std::optional<GreyFit> greyFit(const cv::Mat& target, const cv::Mat& warped, double lenience) {
    const Sums sums = sumsOf(target, warped);
    if (sums.n < 0.05 * target.rows * target.cols)
        return std::nullopt;
    const double varS = sums.bb - sums.b * sums.b / sums.n;
    const double varT = sums.aa - sums.a * sums.a / sums.n;
    if (!(varS > 1e-9 * sums.bb) || !(varT > 1e-9 * sums.aa))
        return std::nullopt;
    const double cov = sums.ab - sums.a * sums.b / sums.n;
    GreyFit fit;
    fit.gain = float(cov / varS);
    fit.offset = float((sums.a - fit.gain * sums.b) / sums.n);
    const double spread = std::sqrt(std::max(1e-12, (varT - cov * cov / varS) / sums.n));
    fit.scale = float(1 / (lenience * lenience * spread * spread));
    fit.light = lightBetween(target, warped, fit.gain, fit.offset);
    return fit;
}

/// Those of a Gauss-Newton step: of shifts across and down, and of turns times the radius.
struct NormalEquations {
    double xx = 0, xy = 0, yy = 0, xa = 0, ya = 0, aa = 0;
    double x = 0, y = 0, a = 0;
    double unexplained = 0; ///< of the greys, weighted by the slopes

    /// The square of how far off the turn may be, as a length.
    double doubt() const { return 10 * unexplained / std::max(1e-30, xx + yy); }
};

/// None when there is too little overlap. The moved source comes to lie in `warped`, whose memory serves again.
std::optional<NormalEquations> equationsOf(const Slopes& slopes, const Level& source, const RigidMotion& motion,
                                           cv::Mat& warped) {
    const Level& target = slopes.target;
    const int rows = target.image.rows, cols = target.image.cols;
    target.move(source, motion, warped);
    const std::optional<GreyFit> fit = greyFit(target.image, warped, slopes.lenience);
    if (!fit)
        return std::nullopt;
    NormalEquations all;
    LevelRows targetRows(target.image), sourceRows(warped);
    for (int i = 0; i < rows; ++i) {
        const float* const t = targetRows(i);
        const float* const s = sourceRows(i);
        const auto [px, py] = slopes.row(i);
        const auto y = float((target.originY + i * target.stepY) / slopes.radius);
        const auto x0 = float(target.originX / slopes.radius), dx = float(target.stepX / slopes.radius);
        const float lightX = 2.0f / float(cols), lightY = 2.0f * float(i) / float(rows) - 1;
        float xx = 0, xy = 0, yy = 0, xa = 0, ya = 0, aa = 0, rx = 0, ry = 0, ra = 0, rr = 0;
        for (int j = 0; j < cols; ++j) {
            const float r = fit->difference(t[2 * j], s[2 * j], lightX * float(j) - 1, lightY);
            const float w = fit->weight(r, s[2 * j + 1]);
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

/// What a motion that was found rests on.
struct Grounds {
    /// Products of the slopes of the target with those of the moved source. Noise has no part in these, nor has what
    /// only one of the sections shows.
    cv::Matx33d shared = cv::Matx33d::zeros();
    /// What remains times the slopes of the target, summed over each of the blocks of the image: at the motion that was
    /// found they come to nothing all together. Pixels close together are off together, those of two blocks are not.
    std::vector<cv::Vec3d> pulls;
    /// Of each block the slopes of one section across those of the other, and these times x, y, and their squares: of
    /// slopes that the sections share nothing lies across, of others as much as along. Places in radii of the image.
    std::vector<cv::Vec4d> athwart;

    static constexpr int blockSide = 8;

    /// By how much the shared product of turns about (x, y) may be off by chance.
    double chance(double x, double y) const;
    /// The same of shifts.
    double chanceOfShifts() const;

    /// Square of how far off the combination of the three may be whose change the direction tells.
    double variance(const cv::Vec3d& direction) const;
};

double Grounds::variance(const cv::Vec3d& direction) const {
    double sum = 0, quartic = 0;
    for (const cv::Vec3d& pull : pulls) {
        const double p = pull.dot(direction);
        sum += p * p;
        quartic += p * p * p * p;
    }
    // Of few blocks the fit has followed the pull of each: three of their freedoms are gone.
    const double numBlocks = quartic > 0 ? sum * sum / quartic : 0;
    return sum * numBlocks / std::max(0.5, numBlocks - 3);
}

double Grounds::chance(double x, double y) const {
    double sum = 0;
    for (const cv::Vec4d& one : athwart) {
        const double block = one[3] - 2 * (x * one[1] + y * one[2]) + (x * x + y * y) * one[0];
        sum += 0.5 * block * block;
    }
    return std::sqrt(sum);
}

double Grounds::chanceOfShifts() const {
    double sum = 0;
    for (const cv::Vec4d& one : athwart)
        sum += 0.5 * one[0] * one[0];
    return std::sqrt(sum);
}

/// The directions in which the sections share the most slopes and the least, and how much of each.
struct SharedDirections {
    cv::Vec2d most, least;
    double ofMost, ofLeast;
    double sure; ///< the least without what it may be by chance

    explicit SharedDirections(const Grounds& grounds);
    bool tellsBoth() const { return sure > 1e-6 * ofMost; }
    /// As a length, in the direction in which it is greatest.
    double shiftSpread(const Grounds& grounds, double unknown) const {
        const double spread = std::sqrt(grounds.variance({least[0], least[1], 0}));
        return tellsBoth() ? std::min(unknown, spread / sure) : unknown;
    }
    /// The shift that a turn by 1 looks most like. Of one along fibres nothing is seen.
    cv::Vec2d shiftOfTurn(const cv::Matx33d& shared) const;
};

SharedDirections::SharedDirections(const Grounds& grounds) {
    const cv::Matx33d& shared = grounds.shared;
    const double angle = 0.5 * std::atan2(2 * shared(0, 1), shared(0, 0) - shared(1, 1));
    most = {std::cos(angle), std::sin(angle)};
    least = {-most[1], most[0]};
    const auto along = [&shared](const cv::Vec2d& d) {
        return d[0] * d[0] * shared(0, 0) + d[1] * d[1] * shared(1, 1) + 2 * d[0] * d[1] * shared(0, 1);
    };
    ofMost = along(most);
    ofLeast = along(least);
    sure = ofLeast - 2 * grounds.chanceOfShifts();
}

cv::Vec2d SharedDirections::shiftOfTurn(const cv::Matx33d& shared) const {
    const cv::Vec2d both(shared(2, 0), shared(2, 1));
    cv::Vec2d shift = both.dot(most) / ofMost * most;
    if (tellsBoth())
        shift += both.dot(least) / ofLeast * least;
    return shift;
}

std::optional<Grounds> groundsOf(const Slopes& slopes, const Level& full, const Level& source,
                                 const RigidMotion& motion) {
    Level whole = full;
    whole.image = full.moved(source, motion);
    const Slopes others(whole); // of every second row as well
    const Level &target = slopes.target, &moved = others.target;
    const int rows = target.image.rows, cols = target.image.cols;
    const std::optional<GreyFit> fit = greyFit(target.image, moved.image, slopes.lenience);
    if (!fit)
        return std::nullopt;
    Grounds grounds;
    const int across = cols / Grounds::blockSide + 1;
    grounds.pulls.assign(std::size_t(across * (rows / Grounds::blockSide + 1)), cv::Vec3d::all(0));
    grounds.athwart.assign(grounds.pulls.size(), cv::Vec4d::all(0));
    LevelRows targetRows(target.image), sourceRows(moved.image);
    for (int i = 0; i < rows; ++i) {
        const float* const t = targetRows(i);
        const float* const s = sourceRows(i);
        const auto [px, py] = slopes.row(i);
        const auto [qx, qy] = others.row(i);
        const double y = (target.originY + i * target.stepY) / slopes.radius;
        const float lightX = 2.0f / float(cols), lightY = 2.0f * float(i) / float(rows) - 1;
        for (int j = 0; j < cols; ++j) {
            const float r = fit->difference(t[2 * j], s[2 * j], lightX * float(j) - 1, lightY);
            const double w = double(fit->weight(r, s[2 * j + 1]));
            const double x = (target.originX + j * target.stepX) / slopes.radius;
            const cv::Vec3d own(double(px[j]), double(py[j]), x * double(py[j]) - y * double(px[j]));
            const cv::Vec3d other(double(qx[j]), double(qy[j]), x * double(qy[j]) - y * double(qx[j]));
            const auto block = std::size_t(i / Grounds::blockSide * across + j / Grounds::blockSide);
            const double weight = w * double(fit->gain);
            grounds.pulls[block] += w * double(r) * own;
            grounds.athwart[block] +=
                weight * (own[0] * other[1] - own[1] * other[0]) * cv::Vec4d(1, x, y, x * x + y * y);
            for (int k = 0; k < 3; ++k)
                for (int l = 0; l <= k; ++l)
                    grounds.shared(k, l) += 0.5 * weight * (own[k] * other[l] + own[l] * other[k]);
        }
    }
    for (int k = 0; k < 3; ++k)
        for (int l = 0; l < k; ++l)
            grounds.shared(l, k) = grounds.shared(k, l);
    return grounds;
}

/// The first image without the light that is on it where both images are.
cv::Mat withoutLight(const cv::Mat& image, const cv::Mat& other) {
    const LightSurface light = lightBetween(image, other, 0, 0); // of nothing less the image
    cv::Mat result = levelInFloats(image).clone();
    for (int i = 0; i < result.rows; ++i) {
        float* const p = result.ptr<float>(i);
        const float y = 2.0f * float(i) / float(result.rows) - 1;
        for (int j = 0; j < result.cols; ++j)
            p[2 * j] += light.at(2.0f * float(j) / float(result.cols) - 1, y);
    }
    return result;
}

} // namespace

bool refine(const Level& full, const Level& source, RigidMotion& motion, int numSteps, double enough) {
    const Slopes slopes(full);
    const double radius = slopes.radius;
    const double firstAngle = motion.angle;
    StepsAhead ahead;
    cv::Mat warped;
    for (int step = 0; step < numSteps; ++step) {
        std::optional<NormalEquations> e = equationsOf(slopes, source, motion, warped);
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
        const double length = std::hypot(d[0], d[1]) + std::abs(d[2]);
        // Gradients reach no further than some pixels.
        const double limit = 4 * std::max(full.stepX, full.stepY);
        const double part = length > limit ? limit / length : 1;
        const RigidMotion gone = RigidMotion{part * d[2] / radius, part * d[0], part * d[1]} * motion;
        const StepsAhead::Triple next = ahead.after({motion.x, motion.y, radius * motion.angle},
                                                    {gone.x - motion.x, gone.y - motion.y, part * d[2]});
        motion = RigidMotion{next[2] / radius, next[0], next[1]};
        if (!motion.isFinite())
            return false;
        if (length < enough * full.stepX)
            break;
    }
    return true;
}

void tellSpread(SectionMatch& match, const Level& target, const Level& source) {
    const Slopes slopes(target);
    match.angleSpread = pi;
    match.shiftSpread = slopes.radius;
    const std::optional<Grounds> grounds = groundsOf(slopes, target, source, match.motion);
    if (!grounds)
        return;
    const SharedDirections directions(*grounds);
    if (!(directions.ofMost > 0))
        return;
    match.shiftSpread = directions.shiftSpread(*grounds, slopes.radius);
    const cv::Matx33d& shared = grounds->shared;
    const cv::Vec2d shift = directions.shiftOfTurn(shared);
    // It is (-y, x) for a turn about (x, y).
    const double within = slopes.radius / std::max(1.0, cv::norm(shift));
    match.middle = match.motion.inverse().apply({within * shift[1], -within * shift[0]});
    const double alone =
        shared(2, 2) - shift[0] * shared(2, 0) - shift[1] * shared(2, 1) - 2 * grounds->chance(shift[1], -shift[0]);
    if (alone > 0)
        match.angleSpread =
            std::min(pi, std::sqrt(grounds->variance({-shift[0], -shift[1], 1})) / (alone * slopes.radius));
}

double scoreAt(const Level& target, const Level& source, const RigidMotion& motion, bool* inverted) {
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

BlockSupport supportAt(const Level& target, const Level& source, const RigidMotion& motion, bool inverted) {
    const cv::Mat warped = target.moved(source, motion);
    const int size = std::max(12, target.side() / 10), reach = 6;
    constexpr double near = 2.1;
    std::vector<cv::Mat> t, s;
    cv::split(levelInFloats(target.image), t);
    cv::split(levelInFloats(warped), s);
    BlockSupport support;
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

} // namespace vorlen
