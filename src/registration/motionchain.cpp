#include "registration/motionchain.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr double fullTurn = 2 * 3.14159265358979323846;

/// A difference between two unknowns that is wanted.
struct Difference {
    int from, to;
    double weight, value;
};

/// The unknowns, with that of 0 being 0, for which the weighted squared differences to what is wanted are least: the
/// normal equations by conjugate gradients (Hestenes and Stiefel 1952), as their matrix is sparse.
std::vector<double> leastSquares(std::size_t n, const std::vector<Difference>& wanted) {
    std::vector<double> x(n, 0), r(n, 0), p, q(n, 0), diagonal(n, 0);
    for (const Difference& d : wanted) {
        r[std::size_t(d.to)] += d.weight * d.value;
        r[std::size_t(d.from)] -= d.weight * d.value;
        diagonal[std::size_t(d.to)] += d.weight;
        diagonal[std::size_t(d.from)] += d.weight;
    }
    r[0] = 0;
    const auto eased = [&](const std::vector<double>& v) {
        std::vector<double> result = v;
        for (std::size_t i = 0; i < n; ++i)
            result[i] = diagonal[i] > 0 ? v[i] / diagonal[i] : 0;
        return result;
    };
    std::vector<double> z = eased(r);
    p = z;
    double rz = std::inner_product(r.begin(), r.end(), z.begin(), 0.0);
    const double enough = 1e-26 * std::max(rz, 1e-300);
    for (std::size_t k = 0; k < 4 * n + 10 && rz > enough; ++k) {
        std::fill(q.begin(), q.end(), 0);
        for (const Difference& d : wanted) {
            const double change = d.weight * (p[std::size_t(d.to)] - p[std::size_t(d.from)]);
            q[std::size_t(d.to)] += change;
            q[std::size_t(d.from)] -= change;
        }
        q[0] = 0;
        const double pq = std::inner_product(p.begin(), p.end(), q.begin(), 0.0);
        if (!(pq > 0))
            break;
        for (std::size_t i = 0; i < n; ++i) {
            x[i] += rz / pq * p[i];
            r[i] -= rz / pq * q[i];
        }
        z = eased(r);
        const double next = std::inner_product(r.begin(), r.end(), z.begin(), 0.0);
        for (std::size_t i = 0; i < n; ++i)
            p[i] = z[i] + next / rz * p[i];
        rz = next;
    }
    return x;
}

/// The first of those that are connected.
int headOf(std::vector<int>& heads, int i) {
    while (heads[std::size_t(i)] != i) {
        heads[std::size_t(i)] = heads[std::size_t(heads[std::size_t(i)])];
        i = heads[std::size_t(i)];
    }
    return i;
}

void connect(std::vector<int>& heads, int i, int j) {
    const int a = headOf(heads, i), b = headOf(heads, j);
    heads[std::size_t(std::max(a, b))] = std::min(a, b);
}

} // namespace

MotionChain::MotionChain(std::vector<RigidMotion> places, double size)
    : __places(std::move(places)), __size(size), __keeps(__places.size(), false) {
}

void MotionChain::keepStep(int section) {
    __keeps[std::size_t(section)] = true;
}

void MotionChain::add(const MeasuredMotion& measured) {
    const int n = int(__places.size());
    if (measured.target < 0 || measured.source < 0 || measured.target >= n || measured.source >= n ||
        measured.target == measured.source)
        throw RangeError("void MotionChain::add(const MeasuredMotion&)", "There are no two such sections");
    if (measured.motion.isFinite() && measured.weight > 0 && measured.turnShare > 0)
        __measured.push_back(measured);
}

void MotionChain::keepUnconnected() {
    std::vector<int> heads(__places.size());
    std::iota(heads.begin(), heads.end(), 0);
    for (std::size_t i = 1; i < __places.size(); ++i)
        if (__keeps[i])
            connect(heads, int(i) - 1, int(i));
    for (const MeasuredMotion& one : __measured)
        connect(heads, one.target, one.source);
    for (std::size_t i = 1; i < __places.size(); ++i)
        if (headOf(heads, int(i)) == int(i)) {
            __keeps[i] = true;
            connect(heads, int(i) - 1, int(i));
        }
}

std::vector<MotionChain::Anchor> MotionChain::anchors() const {
    std::vector<Anchor> result(__places.size());
    for (std::size_t i = 1; i < __places.size(); ++i)
        if (__keeps[i])
            result[i] = {result[i - 1].leader, result[i - 1].offset * (__places[i - 1].inverse() * __places[i])};
        else
            result[i].leader = int(i);
    return result;
}

PlanePoint MotionChain::gap(const Edge& edge, const std::vector<RigidMotion>& places) {
    const PlanePoint aim = places[std::size_t(edge.target)].apply(edge.motion.apply(edge.middle));
    const PlanePoint now = places[std::size_t(edge.source)].apply(edge.middle);
    return {aim.x - now.x, aim.y - now.y};
}

double MotionChain::disagreement(const Edge& edge, const std::vector<RigidMotion>& places) const {
    const PlanePoint shift = gap(edge, places);
    const double turn = std::remainder(
        places[std::size_t(edge.target)].angle + edge.motion.angle - places[std::size_t(edge.source)].angle, fullTurn);
    return meanDistance({}, {std::sqrt(edge.turnShare) * turn, shift.x, shift.y}, __size, __size);
}

double MotionChain::disagreement(int index) const {
    const MeasuredMotion& one = __measured[std::size_t(index)];
    return disagreement({one.target, one.source, one.motion, one.weight, one.turnShare, one.middle}, __places);
}

void MotionChain::solve() {
    if (__places.empty())
        return;
    keepUnconnected();
    const std::vector<Anchor> bound = anchors();
    std::vector<Edge> edges;
    edges.reserve(__measured.size());
    for (const MeasuredMotion& one : __measured) {
        const Anchor &target = bound[std::size_t(one.target)], &source = bound[std::size_t(one.source)];
        if (target.leader != source.leader)
            edges.push_back({target.leader, source.leader, target.offset * one.motion * source.offset.inverse(),
                             one.weight, one.turnShare, source.offset.apply(one.middle)});
    }

    // To begin with, from each connected section on by the surest motion.
    std::vector<RigidMotion> places = __places;
    std::vector<bool> placed(places.size(), false);
    placed[0] = true;
    for (;;) {
        const Edge* best = nullptr;
        for (const Edge& edge : edges)
            if (placed[std::size_t(edge.target)] != placed[std::size_t(edge.source)] &&
                (best == nullptr || edge.turnWeight() > best->turnWeight()))
                best = &edge;
        if (best == nullptr)
            break;
        const auto target = std::size_t(best->target), source = std::size_t(best->source);
        if (placed[target])
            places[source] = places[target] * best->motion;
        else
            places[target] = places[source] * best->motion.inverse();
        placed[target] = placed[source] = true;
    }

    // All have their say at first; then what disagrees with the rest loses it, step by step, so that the beginning does
    // not decide (graduated non-convexity, Blake and Zisserman 1987).
    constexpr int numRounds = 60;
    std::vector<double> off(edges.size());
    double scale = 0;
    for (int round = 0; round < numRounds && !edges.empty(); ++round) {
        for (std::size_t k = 0; k < edges.size(); ++k)
            off[k] = disagreement(edges[k], places);
        std::vector<double> sorted = off;
        std::nth_element(sorted.begin(), sorted.begin() + std::ptrdiff_t(sorted.size() / 2), sorted.end());
        const double usual = std::max(3 * sorted[sorted.size() / 2], 1e-3 * __size);
        if (round <= 1)
            scale = 2 * *std::max_element(off.begin(), off.end()) + (round == 0 ? 1e3 * __size : 0);
        scale = std::max(usual, scale / 1.4);
        std::vector<double> weights(edges.size());
        for (std::size_t k = 0; k < edges.size(); ++k)
            weights[k] = edges[k].weight / std::pow(1 + off[k] * off[k] / (scale * scale), 2);
        std::vector<Difference> wanted;
        wanted.reserve(edges.size());
        for (std::size_t k = 0; k < edges.size(); ++k) {
            const Edge& edge = edges[k];
            const double found = places[std::size_t(edge.source)].angle - places[std::size_t(edge.target)].angle;
            wanted.push_back(
                {edge.target, edge.source, weights[k], std::remainder(edge.motion.angle - found, fullTurn)});
        }
        std::vector<Difference> across = wanted, down = wanted;
        for (std::size_t k = 0; k < edges.size(); ++k)
            wanted[k].weight *= edges[k].turnShare;
        const std::vector<double> turns = leastSquares(places.size(), wanted);
        for (std::size_t i = 0; i < places.size(); ++i)
            places[i].angle += turns[i];
        for (std::size_t k = 0; k < edges.size(); ++k) {
            const PlanePoint shift = gap(edges[k], places);
            across[k].value = shift.x;
            down[k].value = shift.y;
        }
        const std::vector<double> x = leastSquares(places.size(), across), y = leastSquares(places.size(), down);
        double most = 0;
        for (std::size_t i = 0; i < places.size(); ++i) {
            places[i].x += x[i];
            places[i].y += y[i];
            most = std::max(most, std::hypot(x[i], y[i]) + std::abs(turns[i]) * __size);
        }
        if (round > 1 && scale <= usual && most < 1e-7 * __size)
            break;
    }
    for (std::size_t i = 0; i < places.size(); ++i)
        __places[i] = places[std::size_t(bound[i].leader)] * bound[i].offset;
}

} // namespace vorlen
