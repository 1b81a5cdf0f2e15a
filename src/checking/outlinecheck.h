#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "checking/outlineoverlaps.h"
#include "document/stackproblem.h"

namespace vorlen {

class Model;
class ModelItem;

/// Looks at the outlines and points of a model, one after the other.
class OutlineCheck {
public:
    /// What is wrong with the items of a model, those in order that lie on a slice: a list for each item of the model.
    static std::vector<std::vector<StackProblem>> check(const Model& model);

    /// Whether the item, which lies on a slice, is equal to one of its model that was asked for before.
    bool isRepeated(const ModelItem& item);

    /// Whether both are of one model on one slice and have the same vertices, those of polygons from any of them on.
    static bool isSameOutline(const ModelItem& one, const ModelItem& other);

    /// Vertices that stand on the one before them; of a polygon also the last on the first.
    static int numDoubled(const ModelItem& item);

private:
    std::vector<StackProblem> check(const ModelItem& item);

    /// Those that may cross each other, and their places in the model.
    void addToOverlaps(const ModelItem& polygon) {
        __overlaps.add(polygon);
        __places.push_back(__place);
    }

    std::unordered_multimap<std::uint64_t, const ModelItem*> __seen;
    OutlineOverlaps __overlaps;
    std::vector<std::size_t> __places;
    std::size_t __place = 0; // of the item that is looked at
};

} // namespace vorlen
