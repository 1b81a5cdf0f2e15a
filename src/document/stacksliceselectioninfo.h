#pragma once

#include "document/modelproperties.h"

namespace vorlen {

class StackSlice;

/// Summary of what is selected on a slice, as of the last update().
class StackSliceSelectionInfo {
public:
    /// Stores the slice, or null, and updates. The slice is seen, not owned.
    void setSlice(const StackSlice* slice);
    const StackSlice* getSlice() const { return __slice; }

    /// Counts anew. Without a slice nothing is selected.
    void update();

    int getNumSelectedItems() const { return __numSelected; }

    /// Items of which some vertices are selected and some are not.
    int getNumPartiallySelectedItems() const { return __numPartiallySelected; }

    bool emptySelection() const { return __numSelected == 0; }
    bool multipleSelection() const { return __numSelected >= 2; }

    /// All selected items are of one geometry; false for an empty selection.
    bool homogeneousSelection() const { return __geometry != UnknownPrimitive; }
    bool partialSelection() const { return __numPartiallySelected > 0; }

    /// Geometry of all selected items; unknown when mixed or empty.
    MPrimitive selectionGeometry() const { return __geometry; }

private:
    const StackSlice* __slice = nullptr;
    int __numSelected = 0;
    int __numPartiallySelected = 0;
    MPrimitive __geometry = UnknownPrimitive;
};

} // namespace vorlen
