#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace vorlen {

class ModelItem;
class StackSlice;

/// Finds polygons of a model that cross other ones of it on the same slice. What a model encloses there goes by
/// even-odd rule, so that what two of them have in common counts as a hole; one that lies within another is a hole on
/// purpose.
///
/// Looks at those alone whose boxes meet, by a grid of places.
class OutlineOverlaps {
public:
    /// Area in squared pixels that the polygon has in common with one that was given before and that it crosses; 0
    /// where there is none, and for less than a thousandth of the smaller one of the two. Polygons without area cross
    /// nothing.
    double add(const ModelItem& polygon);

private:
    struct Outline {
        const ModelItem* item;
        double left, top, right, bottom, area;
    };

    /// Outlines by their places in the list: on each place of a grid, and those that lie on many.
    struct Section {
        std::unordered_map<std::uint64_t, std::vector<std::size_t>> places;
        std::vector<std::size_t> large;
    };

    double commonArea(const Outline& one, const Outline& other) const;

    std::vector<Outline> __outlines;
    std::unordered_map<const StackSlice*, Section> __sections;
};

} // namespace vorlen
