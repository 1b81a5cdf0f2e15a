#include "checking/outlineoverlaps.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "checking/boxtree.h"
#include "document/modelitem.h"
#include "shapes/sectionregion.h"
#include "shapes/selfcontact.h"

namespace vorlen {

namespace {

using Box = BoxTree::Box;
using Wide = long double;

constexpr double leastShare = 1e-3;

void addTo(SectionRegion& region, const std::vector<double>& coordinates) {
    region.add(coordinates.size() / 2, [&](std::size_t k) {
        return SectionRegion::Point{coordinates[2 * k], coordinates[2 * k + 1]};
    });
}

/// An edge of a polygon.
struct OutlineEdge {
    std::size_t outline;
    double fromX, fromY, toX, toY;

    Box box() const {
        Box box;
        box.add(fromX, fromY);
        box.add(toX, toY);
        return box;
    }

    /// 1 for a place on its left, -1 on its right, 0 on its line.
    int sideOf(double x, double y) const {
        const Wide product = (Wide(toX) - fromX) * (Wide(y) - fromY) - (Wide(toY) - fromY) * (Wide(x) - fromX);
        return product > 0 ? 1 : product < 0 ? -1 : 0;
    }

    /// Whether the other one, whose box meets its own, has both ends on one side.
    bool isPassedBy(const OutlineEdge& other) const {
        return sideOf(other.fromX, other.fromY) * sideOf(other.toX, other.toY) > 0;
    }
};

} // namespace

/// The outlines of a slice that may touch others.
class OutlineOverlaps::Section {
public:
    explicit Section(const std::vector<Outline>& outlines) {
        std::vector<Box> boxes;
        for (const Outline& outline : outlines) {
            Box& box = boxes.emplace_back();
            for (std::size_t k = 0; k < outline.coordinates.size(); k += 2)
                box.add(outline.coordinates[k], outline.coordinates[k + 1]);
        }
        const BoxTree tree(std::move(boxes));
        for (std::size_t k = 0; k < outlines.size(); ++k)
            if (tree.any(tree.getBox(k), [&](std::size_t other) {
                    return other != k && tree.getBox(other).overlaps(tree.getBox(k));
                })) {
                __outlines.push_back(&outlines[k]);
                __boxes.push_back(tree.getBox(k));
            }
    }

    void appendTo(std::vector<Overlap>& found) const {
        std::vector<std::vector<double>> polygons;
        for (const Outline* outline : __outlines)
            polygons.push_back(outline->coordinates);
        if (polygons.size() < 2 || areApart(polygons))
            return;
        const std::vector<std::vector<std::size_t>> before = findEarlier();
        for (std::size_t k = 0; k < __outlines.size(); ++k)
            for (const std::size_t other : before[k]) {
                if (!__boxes[other].overlaps(__boxes[k]))
                    continue;
                if (const double common = commonArea(*__outlines[other], *__outlines[k]); common > 0) {
                    found.push_back({__outlines[k]->number, common});
                    break;
                }
            }
    }

private:
    /// For each outline those before it that it touches, in their order.
    std::vector<std::vector<std::size_t>> findEarlier() const {
        std::vector<OutlineEdge> edges;
        std::vector<Box> boxes;
        for (std::size_t k = 0; k < __outlines.size(); ++k) {
            const std::vector<double>& at = __outlines[k]->coordinates;
            for (std::size_t from = at.size() - 2, to = 0; to < at.size(); from = to, to += 2) {
                edges.push_back({k, at[from], at[from + 1], at[to], at[to + 1]});
                boxes.push_back(edges.back().box());
            }
        }
        const BoxTree tree(std::move(boxes));
        std::vector<std::vector<std::size_t>> before(__outlines.size());
        std::vector<std::size_t> seenBy(__outlines.size(), __outlines.size());
        for (std::size_t e = 0; e < edges.size(); ++e) {
            const OutlineEdge& edge = edges[e];
            tree.any(tree.getBox(e), [&](std::size_t number) {
                const OutlineEdge& other = edges[number];
                if (other.outline < edge.outline && seenBy[other.outline] != edge.outline && !edge.isPassedBy(other) &&
                    !other.isPassedBy(edge)) {
                    seenBy[other.outline] = edge.outline;
                    before[edge.outline].push_back(other.outline);
                }
                return false;
            });
        }
        for (std::vector<std::size_t>& each : before)
            std::sort(each.begin(), each.end());
        return before;
    }

    static double commonArea(const Outline& one, const Outline& other) {
        SectionRegion both;
        addTo(both, one.coordinates);
        addTo(both, other.coordinates);
        const double common = (one.area + other.area - both.area()) / 2, smaller = std::min(one.area, other.area);
        return common > leastShare * smaller && common < (1 - leastShare) * smaller ? common : 0;
    }

    std::vector<const Outline*> __outlines;
    std::vector<Box> __boxes; // of the outlines
};

void OutlineOverlaps::add(const ModelItem& polygon) {
    Outline outline{__size++, 0, {}};
    outline.coordinates.reserve(2 * std::size_t(polygon.getSize()));
    for (int k = 0; k < polygon.getSize(); ++k)
        for (const int axis : {0, 1})
            outline.coordinates.push_back(polygon.getCoordinate(k, axis));
    SectionRegion region;
    addTo(region, outline.coordinates);
    outline.area = region.area();
    if (outline.area > 0)
        __sections[polygon.getSlice()].push_back(std::move(outline));
}

std::vector<OutlineOverlaps::Overlap> OutlineOverlaps::find() const {
    std::vector<Overlap> found;
    for (const auto& [slice, outlines] : __sections)
        Section(outlines).appendTo(found);
    std::sort(found.begin(), found.end(), [](const Overlap& a, const Overlap& b) { return a.number < b.number; });
    return found;
}

} // namespace vorlen
