#pragma once

#include "document/modelitemowner.h"

namespace vorlen {

class ModelItem;

/// The places of an item on the lists of its model and of its slice, kept while the item is off them: what is undone
/// gets its place back, so that the document is the same as before, in its file too.
class VRLItemPlace {
public:
    /// Keeps the present places; those of a list that the item is not on stay as they were.
    void take(const ModelItem& item);

    /// Puts the item at the places kept, on the lists where it is.
    void restore(ModelItem& item) const;

private:
    ModelItemOwner::Place __inModel = 0;
    ModelItemOwner::Place __onSlice = 0;
};

} // namespace vorlen
