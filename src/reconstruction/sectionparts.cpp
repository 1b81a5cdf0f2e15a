#include "reconstruction/sectionparts.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

#include "reconstruction/planararrangement.h"
#include "shapes/sectionregion.h"

namespace vorlen {

namespace {

/// Areas that differ by less than this share are equal: the outlines do not cross.
constexpr double areaTolerance = 1e-9;

void addRing(SectionRegion& region, const SectionRing& ring, const PlanePoint& move) {
    region.add(ring.points.size(), [&](std::size_t k) {
        return SectionRegion::Point{ring.points[k].x + move.x, ring.points[k].y + move.y};
    });
}

bool boxesMeet(const SectionRing& a, const PlanePoint& move, const SectionRing& b) {
    return a.left + move.x < b.right && b.left < a.right + move.x && a.bottom + move.y < b.top &&
           b.bottom < a.top + move.y;
}

double commonPart(double first, double second, const SectionRegion& both) {
    return std::clamp((first + second - both.area()) / 2, 0.0, std::min(first, second));
}

} // namespace

SectionRing::SectionRing(std::vector<PlanePoint> vertices) : points(std::move(vertices)) {
    if (points.empty())
        return;
    const PlanePoint origin = points.front();
    left = right = origin.x;
    bottom = top = origin.y;
    double sumX = 0, sumY = 0, twice = 0;
    for (std::size_t k = 0; k < points.size(); ++k) {
        const PlanePoint &p = points[k], &q = points[k + 1 < points.size() ? k + 1 : 0];
        const double px = p.x - origin.x, py = p.y - origin.y, qx = q.x - origin.x, qy = q.y - origin.y;
        const double product = px * qy - qx * py;
        twice += product;
        sumX += product * (px + qx);
        sumY += product * (py + qy);
        length += std::hypot(qx - px, qy - py);
        left = std::min(left, p.x);
        right = std::max(right, p.x);
        bottom = std::min(bottom, p.y);
        top = std::max(top, p.y);
    }
    area = twice / 2;
    centroid = {(left + right) / 2, (bottom + top) / 2};
    if (std::fabs(twice) > areaTolerance * length * length)
        centroid = {origin.x + sumX / (3 * twice), origin.y + sumY / (3 * twice)};
}

void SectionRing::reverse() {
    std::reverse(points.begin(), points.end());
    area = -area;
}

double SectionRing::meanRadius() const {
    return length > 0 ? 2 * std::fabs(area) / length : 0;
}

bool SectionRing::contains(const PlanePoint& p) const {
    if (p.x < left || p.x > right || p.y < bottom || p.y > top)
        return false;
    bool inside = false;
    for (std::size_t k = 0; k < points.size(); ++k) {
        const PlanePoint &a = points[k], &b = points[k + 1 < points.size() ? k + 1 : 0];
        if ((a.y <= p.y) != (b.y <= p.y) && p.x < a.x + (p.y - a.y) / (b.y - a.y) * (b.x - a.x))
            inside = !inside;
    }
    return inside;
}

bool SectionRing::isSeenFrom(const PlanePoint& p) const {
    for (std::size_t k = 0; k < points.size(); ++k) {
        const PlanePoint &a = points[k], &b = points[k + 1 < points.size() ? k + 1 : 0];
        if (!(((a.x - p.x) * (b.y - p.y) - (a.y - p.y) * (b.x - p.x)) * area > 0))
            return false;
    }
    return area != 0;
}

bool SectionRing::isStar() const {
    int upward = 0;
    for (std::size_t k = 0; k < points.size(); ++k) {
        const PlanePoint &p = points[k], &q = points[k + 1 < points.size() ? k + 1 : 0];
        if (p.y < centroid.y && q.y >= centroid.y)
            ++upward;
    }
    return upward == 1 && isSeenFrom(centroid);
}

std::optional<SelfContact> SectionRing::contact() const {
    if (points.size() < 4 || isStar())
        return std::nullopt;
    std::vector<double> coordinates;
    coordinates.reserve(2 * points.size());
    for (const PlanePoint& p : points)
        coordinates.insert(coordinates.end(), {p.x, p.y});
    return findSelfContact(coordinates, true);
}

bool SectionRing::crossesItself() const {
    const std::optional<SelfContact> found = contact();
    return found && found->crosses;
}

bool SectionRing::meetsItself() const {
    return contact().has_value();
}

PlanePoint SectionRing::innerPoint() const {
    PlanePoint best = centroid;
    double widest = 0;
    // Lines that meet no vertex but by a strange chance.
    for (const double share : {0.5034172, 0.3318297, 0.6697153, 0.1514391, 0.8491207}) {
        const double y = bottom + share * (top - bottom);
        std::vector<double> crossings;
        for (std::size_t k = 0; k < points.size(); ++k) {
            const PlanePoint &a = points[k], &b = points[k + 1 < points.size() ? k + 1 : 0];
            if ((a.y <= y) != (b.y <= y))
                crossings.push_back(a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x));
        }
        std::sort(crossings.begin(), crossings.end());
        for (std::size_t k = 0; k + 1 < crossings.size(); k += 2)
            if (crossings[k + 1] - crossings[k] > widest) {
                widest = crossings[k + 1] - crossings[k];
                best = {(crossings[k] + crossings[k + 1]) / 2, y};
            }
        if (widest > 0)
            break;
    }
    return best;
}

PlanePoint SectionPart::centre() const {
    return outer().contains(outer().centroid) ? outer().centroid : outer().innerPoint();
}

template <class T>
void SectionParts::add(const Vertices<T>& outline) {
    std::vector<PlanePoint> points;
    points.reserve(std::size_t(outline.getNumVertices()));
    for (int k = 0; k < outline.getNumVertices(); ++k)
        points.push_back({double(outline[k][0]), double(outline[k][1])});
    add(std::move(points));
}

void SectionParts::add(std::vector<PlanePoint> outline) {
    const auto isSame = [](const PlanePoint& p, const PlanePoint& q) { return p.x == q.x && p.y == q.y; };
    outline.erase(std::unique(outline.begin(), outline.end(), isSame), outline.end());
    while (outline.size() > 1 && isSame(outline.front(), outline.back()))
        outline.pop_back();
    const auto isPlace = [](const PlanePoint& p) { return std::isfinite(p.x) && std::isfinite(p.y); };
    if (outline.size() >= 3 && std::all_of(outline.begin(), outline.end(), isPlace))
        __outlines.emplace_back(std::move(outline));
}

void SectionParts::build() {
    SectionRegion region;
    for (const SectionRing& ring : __outlines)
        addRing(region, ring, {});
    const double trueArea = region.area();
    nest(__outlines);
    const auto isFlat = [](const SectionPart& part) { return part.area <= areaTolerance * part.outer().area; };
    if (std::fabs(area() - trueArea) > areaTolerance * std::max(area(), trueArea) ||
        std::any_of(__parts.begin(), __parts.end(), isFlat) ||
        std::any_of(__outlines.begin(), __outlines.end(), [](const SectionRing& ring) { return ring.meetsItself(); })) {
        std::vector<SectionRing> rings;
        for (std::vector<PlanePoint>& ring : evenOddRings(__outlines))
            rings.emplace_back(std::move(ring));
        nest(std::move(rings));
    }
    __outlines.clear();
}

/// Sorts rings that do not cross into outer ones and holes.
void SectionParts::nest(std::vector<SectionRing> rings) {
    std::erase_if(rings, [](const SectionRing& ring) {
        return !(std::fabs(ring.area) > areaTolerance * ring.length * ring.length);
    });
    std::stable_sort(rings.begin(), rings.end(),
                     [](const SectionRing& a, const SectionRing& b) { return std::fabs(a.area) > std::fabs(b.area); });
    __parts.clear();
    std::vector<int> depths(rings.size(), 0);
    std::vector<std::size_t> partOf(rings.size(), 0);
    for (std::size_t i = 0; i < rings.size(); ++i) {
        const PlanePoint inner = rings[i].innerPoint();
        std::size_t parent = i;
        for (std::size_t j = i; j-- > 0;)
            if (rings[j].contains(inner)) {
                ++depths[i];
                parent = parent == i ? j : parent;
            }
        const bool hole = depths[i] % 2 != 0;
        if ((rings[i].area < 0) != hole)
            rings[i].reverse();
        if (hole) {
            partOf[i] = partOf[parent];
            __parts[partOf[i]].rings.push_back(rings[i]);
        } else {
            partOf[i] = __parts.size();
            __parts.emplace_back();
            __parts.back().rings.push_back(rings[i]);
        }
    }
    for (SectionPart& part : __parts) {
        part.area = part.centroid.x = part.centroid.y = 0;
        const PlanePoint origin = part.outer().centroid;
        for (const SectionRing& ring : part.rings) {
            part.area += ring.area;
            part.centroid.x += ring.area * (ring.centroid.x - origin.x);
            part.centroid.y += ring.area * (ring.centroid.y - origin.y);
        }
        if (part.area > 0)
            part.centroid = {origin.x + part.centroid.x / part.area, origin.y + part.centroid.y / part.area};
        else
            part.centroid = origin;
    }
}

double SectionParts::area() const {
    return std::accumulate(__parts.begin(), __parts.end(), 0.0,
                           [](double sum, const SectionPart& part) { return sum + part.area; });
}

double commonArea(const SectionPart& a, const PlanePoint& move, const SectionPart& b) {
    if (!boxesMeet(a.outer(), move, b.outer()))
        return 0;
    SectionRegion both;
    for (const SectionRing& ring : a.rings)
        addRing(both, ring, move);
    for (const SectionRing& ring : b.rings)
        addRing(both, ring, {});
    return commonPart(a.area, b.area, both);
}

double commonArea(const SectionRing& a, const PlanePoint& move, const SectionPart& b) {
    if (!boxesMeet(a, move, b.outer()))
        return 0;
    SectionRegion both;
    addRing(both, a, move);
    for (const SectionRing& ring : b.rings)
        addRing(both, ring, {});
    return commonPart(std::fabs(a.area), b.area, both);
}

double commonArea(const SectionRing& a, const PlanePoint& move, const SectionRing& b) {
    if (!boxesMeet(a, move, b))
        return 0;
    SectionRegion both;
    addRing(both, a, move);
    addRing(both, b, {});
    return commonPart(std::fabs(a.area), std::fabs(b.area), both);
}

template void SectionParts::add<float>(const Vertices<float>&);
template void SectionParts::add<double>(const Vertices<double>&);
template void SectionParts::add<long double>(const Vertices<long double>&);

} // namespace vorlen
