#pragma once

#include "document/modelitemselection.h"
#include "editing/actions/vrlitemaction.h"
#include "shapes/vertices.h"

namespace vorlen {

/// Removes the selected vertices of an item, or in reverse mode the others.
///
/// Keeps a copy of vertices and selection as they are when it is made, and acts on that selection each time it is
/// applied. In reverse mode what stays is selected.
class VRLRemoveSelectionAction : public VRLItemAction {
public:
    explicit VRLRemoveSelectionAction(ModelItem& item);

    void setReverseMode(bool reverse);
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    Vertices<double> __vertices;
    ModelItemSelection __selection;
    bool __reverseMode = false;
};

} // namespace vorlen
