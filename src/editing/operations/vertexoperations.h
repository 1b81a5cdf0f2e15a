#pragma once

#include <memory>

#include "editing/operations/outcome.h"
#include "numerics/vector.h"

namespace vorlen {

class ModelItem;
class VRLMoveVertexAction;
class VRLStack;

/// Edits of single vertices of an item, each one step of the stack's history. Points are pixels (column, row) of the
/// item's slice; vertices are counted from 0.

/// Refused when the vertex is there already.
Outcome moveVertex(VRLStack& stack, ModelItem& item, int index, const Vector<double>& point);

/// Puts a vertex in front of the vertex of this number, or at the end.
Outcome insertVertex(VRLStack& stack, ModelItem& item, int index, const Vector<double>& point);

/// Refused when too few vertices would be left.
Outcome removeVertex(VRLStack& stack, ModelItem& item, int index);

/// A vertex under the user's hand: each move is seen at once, and all of them are one step in the end.
class VertexDrag {
public:
    /// The stack must outlive the drag; so must the item, but for release(). Throws RangeError for a vertex that is not
    /// there.
    VertexDrag(VRLStack& stack, ModelItem& item, int index);

    /// A drag that has not been finished is taken back.
    ~VertexDrag();

    void moveTo(const Vector<double>& point);

    /// Makes the step; refused when the vertex is where it was.
    Outcome finish();

    /// Lets go of the item, which has changed or gone meanwhile, as it is.
    void release();

private:
    VRLStack& __stack;
    std::unique_ptr<VRLMoveVertexAction> __move; // null when all is done
};

} // namespace vorlen
