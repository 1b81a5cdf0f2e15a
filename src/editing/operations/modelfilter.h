#pragma once

#include <cstddef>
#include <vector>

#include "document/modelitemselection.h"
#include "editing/operations/outcome.h"

namespace vorlen {

class Model;
class ModelItem;
class ProgressSubject;
class Stack;
class VRLStack;

/// What a reference model takes out of other models.
enum class FilterMode {
    NonIntersectingModels = 0, // models none of whose vertices lies within an outline of the reference on their slice
    PointsOutside = 1          // vertices that lie in no outline of the reference on their slice
};

/// What a filter would remove: to be shown before, and to be done.
struct FilterPlan {
    /// Vertices of an item that go; all of them when what would stay is no contour any more.
    struct Loss {
        ModelItem* item;
        ModelItemSelection vertices;
        bool isWhole() const { return vertices.isComplete(); }
    };

    /// How much of one model goes.
    struct Share {
        const Model* model;
        bool whole = false; // the model itself
        int numItems = 0;   // that go as a whole
        int numVertices = 0;
    };

    FilterMode mode = FilterMode::NonIntersectingModels;
    std::vector<Model*> models; // that go as a whole; with the first mode only
    std::vector<Loss> losses;   // in the order of the slices; those of the models that go among them
    std::vector<Share> shares;  // of each model that was asked about, in the order of asking

    bool isEmpty() const { return models.empty() && losses.empty(); }
    std::size_t numVertices() const;
    std::size_t numItems() const;
};

/// Refused for a reference that is no model of closed outlines, for models of another stack, and for nothing to look at
/// besides the reference, which is passed over. The plan holds as long as the stack is not changed.
Outcome planFilter(const Stack& stack, const Model& reference, const std::vector<Model*>& models, FilterMode mode,
                   FilterPlan& plan);

/// Removes what the plan tells, in one step of the history. A contour that fewer than three vertices of a polygon, or
/// fewer than two of a polyline, would be left of goes as a whole; on a slice without an outline of the reference all
/// of it goes. Refused as planFilter(), and when nothing is to be removed, or when it is cancelled.
Outcome filterModels(VRLStack& stack, const Model& reference, const std::vector<Model*>& models, FilterMode mode,
                     ProgressSubject& progress);

} // namespace vorlen
