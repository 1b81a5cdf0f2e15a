#include "checking/outlineoverlaps.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "document/modelitem.h"
#include "shapes/sectionregion.h"

namespace vorlen {

namespace {

constexpr double placeSize = 64; // pixels
constexpr int mostPlaces = 64;
constexpr double leastShare = 1e-3;

void addTo(SectionRegion& region, const ModelItem& item) {
    region.add(static_cast<std::size_t>(item.getSize()), [&](std::size_t k) {
        return SectionRegion::Point{item.getCoordinate(int(k), 0), item.getCoordinate(int(k), 1)};
    });
}

double areaOf(const ModelItem& item) {
    SectionRegion region;
    addTo(region, item);
    return region.area();
}

std::int32_t placeOf(double coordinate) {
    constexpr double most = std::numeric_limits<std::int32_t>::max() - 1;
    return static_cast<std::int32_t>(std::clamp(std::floor(coordinate / placeSize), -most, most));
}

} // namespace

double OutlineOverlaps::add(const ModelItem& polygon) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Outline outline{&polygon, infinity, infinity, -infinity, -infinity, areaOf(polygon)};
    for (int k = 0; k < polygon.getSize(); ++k) {
        const double x = polygon.getCoordinate(k, 0), y = polygon.getCoordinate(k, 1);
        outline.left = std::min(outline.left, x);
        outline.right = std::max(outline.right, x);
        outline.top = std::min(outline.top, y);
        outline.bottom = std::max(outline.bottom, y);
    }
    if (!(outline.area > 0))
        return 0;
    Section& section = __sections[polygon.getSlice()];
    const std::size_t number = __outlines.size();
    std::vector<std::size_t> near = section.large;
    const std::int64_t left = placeOf(outline.left), right = placeOf(outline.right), top = placeOf(outline.top),
                       bottom = placeOf(outline.bottom);
    const bool isLarge = (right - left + 1) > mostPlaces || (right - left + 1) * (bottom - top + 1) > mostPlaces;
    if (isLarge) { // it may meet any
        for (std::size_t k = 0; k < number; ++k)
            if (__outlines[k].item->getSlice() == polygon.getSlice())
                near.push_back(k);
        section.large.push_back(number);
    } else {
        for (std::int64_t y = top; y <= bottom; ++y)
            for (std::int64_t x = left; x <= right; ++x) {
                std::vector<std::size_t>& here =
                    section.places[(std::uint64_t(std::uint32_t(y)) << 32) | std::uint32_t(x)];
                near.insert(near.end(), here.begin(), here.end());
                here.push_back(number);
            }
    }
    std::sort(near.begin(), near.end());
    near.erase(std::unique(near.begin(), near.end()), near.end());
    __outlines.push_back(outline);
    for (const std::size_t k : near)
        if (const double common = commonArea(__outlines[k], outline); common > 0)
            return common;
    return 0;
}

double OutlineOverlaps::commonArea(const Outline& one, const Outline& other) const {
    if (one.left >= other.right || other.left >= one.right || one.top >= other.bottom || other.top >= one.bottom)
        return 0;
    SectionRegion both;
    addTo(both, *one.item);
    addTo(both, *other.item);
    const double common = (one.area + other.area - both.area()) / 2, smaller = std::min(one.area, other.area);
    return common > leastShare * smaller && common < (1 - leastShare) * smaller ? common : 0;
}

} // namespace vorlen
