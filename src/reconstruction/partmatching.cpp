#include "reconstruction/partmatching.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace vorlen {

namespace {

using Parts = std::vector<SectionPart>;
using Link = PartMatching::Link;
using Group = PartMatching::Group;

/// Of the smaller of two parts, the share that must lie on the other one.
constexpr double leastShare = 0.1;
/// How much better a movement of the whole section must be than none.
constexpr double leastGain = 1.2;
constexpr std::size_t mostTrials = 400;

PlanePoint operator+(const PlanePoint& p, const PlanePoint& q) {
    return {p.x + q.x, p.y + q.y};
}
PlanePoint operator-(const PlanePoint& p, const PlanePoint& q) {
    return {p.x - q.x, p.y - q.y};
}
PlanePoint operator*(double f, const PlanePoint& p) {
    return {f * p.x, f * p.y};
}

double radiusOf(const SectionPart& part) {
    return std::sqrt(part.area / 3.14159265358979323846);
}

/// Common area of two discs.
double commonDisc(double r, double s, double distance) {
    if (distance >= r + s)
        return 0;
    constexpr double pi = 3.14159265358979323846;
    if (distance <= std::fabs(r - s))
        return pi * std::min(r, s) * std::min(r, s);
    const auto angle = [distance](double a, double b) {
        return std::acos(std::clamp((distance * distance + a * a - b * b) / (2 * distance * a), -1.0, 1.0));
    };
    const double a = angle(r, s), b = angle(s, r);
    return r * r * (a - std::sin(2 * a) / 2) + s * s * (b - std::sin(2 * b) / 2);
}

PlanePoint centroidOf(const Parts& parts) {
    PlanePoint sum;
    double area = 0;
    for (const SectionPart& part : parts) {
        sum = sum + part.area * (part.centroid - parts.front().centroid);
        area += part.area;
    }
    return area > 0 ? parts.front().centroid + (1 / area) * sum : PlanePoint{};
}

/// How well the discs of the parts' areas meet when the lower ones are moved: for each part the share that is covered,
/// and whether a fair share is, weighted by areas.
double meetingOf(const Parts& lower, const Parts& upper, const PlanePoint& move) {
    constexpr double fairShare = 0.3;
    std::vector<double> upperCovered(upper.size());
    const auto gain = [](double covered, double area) {
        const double share = std::min(covered / area, 1.0);
        return area * (std::min(share / fairShare, 1.0) + share / 2);
    };
    double sum = 0;
    for (const SectionPart& a : lower) {
        double covered = 0;
        for (std::size_t j = 0; j < upper.size(); ++j) {
            const PlanePoint way = upper[j].centroid - (a.centroid + move);
            const double common = commonDisc(radiusOf(a), radiusOf(upper[j]), std::hypot(way.x, way.y));
            covered += common;
            upperCovered[j] += common;
        }
        sum += gain(covered, a.area);
    }
    for (std::size_t j = 0; j < upper.size(); ++j)
        sum += gain(upperCovered[j], upper[j].area);
    return sum;
}

/// How far the section moves as a whole: of the ways from part to part, from all to all, and of those that are
/// predicted, the one by which the parts meet best.
PlanePoint commonMove(const Parts& lower, const Parts& upper, const std::vector<PlanePoint>& predicted) {
    PlanePoint best;
    if (lower.empty() || upper.empty() || lower.size() * upper.size() > mostTrials)
        return best;
    double most = meetingOf(lower, upper, best) * leastGain, bestLength = 0;
    const auto consider = [&](const PlanePoint& move) {
        const double length = std::hypot(move.x, move.y);
        const double meeting = meetingOf(lower, upper, move);
        if (meeting > most * (1 + 1e-9) || (meeting > most * (1 - 1e-9) && length < bestLength)) {
            most = std::max(most, meeting);
            best = move;
            bestLength = length;
        }
    };
    consider(centroidOf(upper) - centroidOf(lower));
    for (const PlanePoint& move : predicted)
        if (std::isfinite(move.x) && std::isfinite(move.y))
            consider(move);
    for (const SectionPart& a : lower)
        for (const SectionPart& b : upper) {
            const PlanePoint move = b.centroid - a.centroid;
            // Further apart than this nobody would see them as one.
            if (std::hypot(move.x, move.y) <= 4 * (radiusOf(a) + radiusOf(b)))
                consider(move);
        }
    return best;
}

/// The area that two parts have in common.
struct Overlap {
    Link link;
    double area;
};

/// The parts of a section by the left ends of their boxes.
class PartsFromLeft {
public:
    explicit PartsFromLeft(const Parts& parts) : __parts(parts), __order(parts.size()) {
        std::iota(__order.begin(), __order.end(), 0);
        std::sort(__order.begin(), __order.end(), [&](int i, int j) { return leftOf(i) < leftOf(j); });
        for (const SectionPart& part : parts)
            __widest = std::max(__widest, part.outer().right - part.outer().left);
    }

    /// The overlaps that count of a part, number i, moved; and their sum.
    double find(const SectionPart& part, int i, const PlanePoint& move, std::vector<Overlap>& overlaps) const {
        overlaps.clear();
        double sum = 0;
        const double left = part.outer().left + move.x - __widest, right = part.outer().right + move.x;
        auto k = std::lower_bound(__order.begin(), __order.end(), left, [&](int j, double x) { return leftOf(j) < x; });
        for (; k != __order.end() && leftOf(*k) < right; ++k) {
            const SectionPart& other = __parts[std::size_t(*k)];
            const double area = commonArea(part, move, other);
            if (area < leastShare * std::min(part.area, other.area))
                continue;
            overlaps.push_back({{i, *k}, area});
            sum += area;
        }
        return sum;
    }

private:
    double leftOf(int part) const { return __parts[std::size_t(part)].outer().left; }

    const Parts& __parts;
    std::vector<int> __order;
    double __widest = 0;
};

/// The overlaps that count, of the lower parts moved as predicted, or where that meets much less, as all.
std::vector<Overlap> overlapsOf(const Parts& lower, const Parts& upper, const std::vector<PlanePoint>& predicted,
                                const PlanePoint& common) {
    constexpr double trust = 2;
    const PartsFromLeft partners(upper);
    std::vector<Overlap> overlaps, row, own;
    for (std::size_t i = 0; i < lower.size(); ++i) {
        const double sum = partners.find(lower[i], int(i), common, row);
        if (std::isfinite(predicted[i].x) && std::isfinite(predicted[i].y) &&
            trust * partners.find(lower[i], int(i), predicted[i], own) >= sum)
            row = own;
        std::sort(row.begin(), row.end(),
                  [](const Overlap& a, const Overlap& b) { return a.link.upper < b.link.upper; });
        overlaps.insert(overlaps.end(), row.begin(), row.end());
    }
    return overlaps;
}

/// For each part of a side the overlap with its main partner; null where there is none.
std::vector<const Overlap*> mainOverlaps(const std::vector<Overlap>& overlaps, std::size_t size, int Link::*side) {
    std::vector<const Overlap*> mains(size);
    for (const Overlap& overlap : overlaps) {
        const Overlap*& main = mains[std::size_t(overlap.link.*side)];
        if (main == nullptr || overlap.area > main->area)
            main = &overlap;
    }
    return mains;
}

/// Parts without a link that are each other's nearest and alike.
void linkLoners(const Parts& lower, const Parts& upper, const PlanePoint& move, std::vector<Link>& links) {
    std::vector<bool> lowerLinked(lower.size()), upperLinked(upper.size());
    for (const Link& link : links)
        lowerLinked[std::size_t(link.lower)] = upperLinked[std::size_t(link.upper)] = true;
    const auto distance = [&](std::size_t i, std::size_t j) {
        const PlanePoint way = upper[j].centroid - (lower[i].centroid + move);
        const double length = std::hypot(way.x, way.y), r = radiusOf(lower[i]), s = radiusOf(upper[j]);
        const bool alike = r < 1.5 * s && s < 1.5 * r;
        return alike && length < 1.5 * (r + s) ? length / (r + s) : std::numeric_limits<double>::infinity();
    };
    const auto nearest = [&](std::size_t size, const std::vector<bool>& linked, const auto& distanceTo) {
        int best = -1;
        for (std::size_t k = 0; k < size; ++k)
            if (!linked[k] && std::isfinite(distanceTo(k)) &&
                (best < 0 || distanceTo(k) < distanceTo(std::size_t(best))))
                best = int(k);
        return best;
    };
    std::vector<Link> found;
    for (std::size_t i = 0; i < lower.size(); ++i) {
        if (lowerLinked[i])
            continue;
        const int j = nearest(
            upper.size(), upperLinked, [&](std::size_t k) { return distance(i, k); });
        if (j >= 0 &&
            nearest(lower.size(), lowerLinked, [&](std::size_t k) { return distance(k, std::size_t(j)); }) == int(i))
            found.push_back({int(i), j});
    }
    links.insert(links.end(), found.begin(), found.end());
}

PlanePoint centroidOf(const Parts& parts, const std::vector<int>& places) {
    Parts own;
    own.reserve(places.size());
    for (const int place : places)
        own.push_back(parts[std::size_t(place)]);
    return centroidOf(own);
}

int rootOf(std::vector<int>& parents, int i) {
    while (parents[std::size_t(i)] != i)
        i = parents[std::size_t(i)] = parents[std::size_t(parents[std::size_t(i)])];
    return i;
}

} // namespace

PartMatching::PartMatching(const SectionParts& lower, const SectionParts& upper,
                           const std::vector<PlanePoint>& velocities) {
    findGroups(findLinks(lower, upper, velocities), lower.getParts().size(), upper.getParts().size());
    findVelocities(lower, upper);
}

std::vector<Link> PartMatching::findLinks(const SectionParts& lowerSection, const SectionParts& upperSection,
                                          const std::vector<PlanePoint>& velocities) const {
    const Parts &lower = lowerSection.getParts(), &upper = upperSection.getParts();
    const double rise = upperSection.getHeight() - lowerSection.getHeight();
    std::vector<PlanePoint> predicted(velocities.size());
    for (std::size_t i = 0; i < velocities.size(); ++i)
        predicted[i] = rise * velocities[i];
    const PlanePoint common = commonMove(lower, upper, predicted);
    const std::vector<Overlap> overlaps = overlapsOf(lower, upper, predicted, common);
    const auto ofLower = mainOverlaps(overlaps, lower.size(), &Link::lower);
    const auto ofUpper = mainOverlaps(overlaps, upper.size(), &Link::upper);

    std::vector<Link> links;
    for (const Overlap& overlap : overlaps) {
        const SectionPart &a = lower[std::size_t(overlap.link.lower)], &b = upper[std::size_t(overlap.link.upper)];
        const Link forward = ofLower[std::size_t(overlap.link.lower)]->link;
        const Link back = ofUpper[std::size_t(overlap.link.upper)]->link;
        // Where neither is the other's main partner: do they still meet when they go with their own?
        const auto meet = [&](const PlanePoint& move) {
            return commonArea(a, move, b) >= leastShare * std::min(a.area, b.area);
        };
        if (forward.upper == overlap.link.upper || back.lower == overlap.link.lower ||
            (meet(upper[std::size_t(forward.upper)].centroid - a.centroid) &&
             meet(b.centroid - lower[std::size_t(back.lower)].centroid)))
            links.push_back(overlap.link);
    }
    linkLoners(lower, upper, common, links);
    return links;
}

void PartMatching::findGroups(const std::vector<Link>& links, std::size_t numLower, std::size_t numUpper) {
    std::vector<int> parents(numLower + numUpper);
    std::iota(parents.begin(), parents.end(), 0);
    for (const Link& link : links)
        parents[std::size_t(rootOf(parents, int(numLower) + link.upper))] = rootOf(parents, link.lower);
    std::vector<int> groupOf(numLower + numUpper, -1);
    const auto groupAt = [&](int node) -> Group& {
        int& group = groupOf[std::size_t(rootOf(parents, node))];
        if (group < 0) {
            group = int(__groups.size());
            __groups.emplace_back();
        }
        return __groups[std::size_t(group)];
    };
    std::vector<bool> linked(numLower + numUpper);
    for (const Link& link : links) {
        groupAt(link.lower).links.push_back(link);
        linked[std::size_t(link.lower)] = linked[numLower + std::size_t(link.upper)] = true;
    }
    for (std::size_t i = 0; i < numLower; ++i)
        if (linked[i])
            groupAt(int(i)).lower.push_back(int(i));
        else
            __ends.push_back(int(i));
    for (std::size_t j = 0; j < numUpper; ++j)
        if (linked[numLower + j])
            groupAt(int(numLower + j)).upper.push_back(int(j));
        else
            __beginnings.push_back(int(j));
}

/// A group moves as a whole: where a part splits, the centroids of its pieces lie aside without moving.
void PartMatching::findVelocities(const SectionParts& lower, const SectionParts& upper) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    __velocities.assign(upper.getParts().size(), {nan, nan});
    const double rise = upper.getHeight() - lower.getHeight();
    for (const Group& group : __groups) {
        const PlanePoint way = centroidOf(upper.getParts(), group.upper) - centroidOf(lower.getParts(), group.lower);
        for (const int j : group.upper)
            __velocities[std::size_t(j)] = (1 / rise) * way;
    }
}

std::vector<Group> PartMatching::pairsOf(const Group& group, const SectionParts& lowerSection,
                                         const SectionParts& upperSection) {
    const Parts &lower = lowerSection.getParts(), &upper = upperSection.getParts();
    const PlanePoint move = centroidOf(upper, group.upper) - centroidOf(lower, group.lower);
    struct Candidate {
        Link link;
        double area;
    };
    std::vector<Candidate> candidates;
    for (const Link& link : group.links) {
        const SectionPart &a = lower[std::size_t(link.lower)], &b = upper[std::size_t(link.upper)];
        candidates.push_back({link, std::max(commonArea(a, {}, b), commonArea(a, move, b))});
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& a, const Candidate& b) { return a.area > b.area; });
    std::vector<Group> pairs;
    std::vector<int> usedLower, usedUpper;
    const auto isUsed = [](const std::vector<int>& used, int place) {
        return std::find(used.begin(), used.end(), place) != used.end();
    };
    for (const Candidate& candidate : candidates) {
        const Link& link = candidate.link;
        if (isUsed(usedLower, link.lower) || isUsed(usedUpper, link.upper))
            continue;
        usedLower.push_back(link.lower);
        usedUpper.push_back(link.upper);
        pairs.push_back({{link.lower}, {link.upper}, {link}});
    }
    return pairs;
}

} // namespace vorlen
