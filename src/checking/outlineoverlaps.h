#pragma once

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace vorlen {

class ModelItem;
class StackSlice;

/// Finds polygons of a model that cross other ones of it on the same slice. What a model encloses there goes by
/// even-odd rule, so that what two of them have in common counts as a hole; one that lies within another is a hole on
/// purpose.
///
/// Looks at those of a slice together: at the outlines alone whose boxes meet, and unless a sweep tells that none of
/// them touch (areApart()) at the pairs whose edges meet. n log n for n vertices of outlines that lie apart or within
/// each other, and else so much more as there are pairs of edges whose boxes meet.
class OutlineOverlaps {
public:
    /// A polygon that crosses another one.
    struct Overlap {
        std::size_t number; ///< of the polygon
        double area;        ///< in squared pixels, what it has in common with the first one that it crosses
    };

    /// Another polygon. Those without area cross nothing.
    void add(const ModelItem& polygon);

    /// The polygons that cross one that was given before, by their numbers in the order in which they were given.
    /// Less than a thousandth of the smaller one of the two, or all of it but a thousandth, is no crossing.
    std::vector<Overlap> find() const;

private:
    struct Outline {
        std::size_t number;
        double area;
        std::vector<double> coordinates; // x and y of one vertex after the other
    };

    std::unordered_map<const StackSlice*, std::vector<Outline>> __sections;
    std::size_t __size = 0;

    class Section;
};

} // namespace vorlen
