#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "checking/outlineoverlaps.h"
#include "document/stackproblem.h"

namespace vorlen {

class ModelItem;

/// Looks at the outlines and points of a model, one after the other.
class OutlineCheck {
public:
    /// What is wrong with the item, also with regard to the items of its model that were looked at before.
    std::vector<StackProblem> check(const ModelItem& item);

    /// Whether both are of one model on one slice and have the same vertices, those of polygons from any of them on.
    static bool isSameOutline(const ModelItem& one, const ModelItem& other);

    /// Vertices that stand on the one before them; of a polygon also the last on the first.
    static int numDoubled(const ModelItem& item);

private:
    bool isRepeated(const ModelItem& item);

    std::unordered_multimap<std::uint64_t, const ModelItem*> __seen;
    OutlineOverlaps __overlaps;
};

} // namespace vorlen
