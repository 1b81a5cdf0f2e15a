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

/// Overlaps of the parts of two sections, row by row.
struct Overlaps {
    std::size_t columns;
    std::vector<double> areas;

    double& at(std::size_t i, std::size_t j) { return areas[i * columns + j]; }
    double at(std::size_t i, std::size_t j) const { return areas[i * columns + j]; }
    std::size_t rows() const { return columns == 0 ? 0 : areas.size() / columns; }

    /// The main partners of the lower parts, of the upper parts; -1 where there is none.
    std::vector<int> mainUppers() const {
        std::vector<int> mains(rows(), -1);
        for (std::size_t i = 0; i < rows(); ++i)
            for (std::size_t j = 0; j < columns; ++j)
                if (at(i, j) > 0 && (mains[i] < 0 || at(i, j) > at(i, std::size_t(mains[i]))))
                    mains[i] = int(j);
        return mains;
    }
    std::vector<int> mainLowers() const {
        std::vector<int> mains(columns, -1);
        for (std::size_t i = 0; i < rows(); ++i)
            for (std::size_t j = 0; j < columns; ++j)
                if (at(i, j) > 0 && (mains[j] < 0 || at(i, j) > at(std::size_t(mains[j]), j)))
                    mains[j] = int(i);
        return mains;
    }
};

/// The overlaps that count, of the lower parts moved as predicted, or where that meets much less, as all.
Overlaps overlapsOf(const Parts& lower, const Parts& upper, const std::vector<PlanePoint>& predicted,
                    const PlanePoint& common) {
    constexpr double trust = 2;
    Overlaps overlaps{upper.size(), std::vector<double>(lower.size() * upper.size())};
    std::vector<double> row(upper.size()), own(upper.size());
    const auto findRow = [&](const SectionPart& part, const PlanePoint& move, std::vector<double>& areas) {
        double sum = 0;
        for (std::size_t j = 0; j < upper.size(); ++j) {
            const double area = commonArea(part, move, upper[j]);
            areas[j] = area >= leastShare * std::min(part.area, upper[j].area) ? area : 0;
            sum += areas[j];
        }
        return sum;
    };
    for (std::size_t i = 0; i < lower.size(); ++i) {
        const double sum = findRow(lower[i], common, row);
        if (std::isfinite(predicted[i].x) && std::isfinite(predicted[i].y) &&
            trust * findRow(lower[i], predicted[i], own) >= sum)
            row = own;
        std::copy(row.begin(), row.end(), overlaps.areas.begin() + std::ptrdiff_t(i * upper.size()));
    }
    return overlaps;
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
            if (!linked[k] && std::isfinite(distanceTo(k)) && (best < 0 || distanceTo(k) < distanceTo(std::size_t(best))))
                best = int(k);
        return best;
    };
    std::vector<Link> found;
    for (std::size_t i = 0; i < lower.size(); ++i) {
        if (lowerLinked[i])
            continue;
        const int j = nearest(upper.size(), upperLinked, [&](std::size_t k) { return distance(i, k); });
        if (j >= 0 && nearest(lower.size(), lowerLinked, [&](std::size_t k) { return distance(k, std::size_t(j)); }) == int(i))
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
    const Overlaps overlaps = overlapsOf(lower, upper, predicted, common);
    const std::vector<int> mainUppers = overlaps.mainUppers(), mainLowers = overlaps.mainLowers();

    std::vector<Link> links;
    for (std::size_t i = 0; i < lower.size(); ++i)
        for (std::size_t j = 0; j < upper.size(); ++j) {
            if (overlaps.at(i, j) <= 0)
                continue;
            if (mainUppers[i] == int(j) || mainLowers[j] == int(i)) {
                links.push_back({int(i), int(j)});
                continue;
            }
            // Neither is the other's main partner: do they still meet when they go with their own?
            const PlanePoint forward = upper[std::size_t(mainUppers[i])].centroid - lower[i].centroid;
            const PlanePoint back = upper[j].centroid - lower[std::size_t(mainLowers[j])].centroid;
            const double least = leastShare * std::min(lower[i].area, upper[j].area);
            if (commonArea(lower[i], forward, upper[j]) >= least && commonArea(lower[i], back, upper[j]) >= least)
                links.push_back({int(i), int(j)});
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
