#pragma once

#include "editing/actions/vrlitemaction.h"
#include "numerics/vector.h"

namespace vorlen {

/// Removes a vertex. Undone, the vertex is selected as a new one is.
class VRLRemoveVertexAction : public VRLItemAction {
public:
    using VRLItemAction::VRLItemAction;

    /// Also keeps the vertex.
    void setIndex(int index);
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    int __index = 0;
    Vector<double> __vertex;
};

} // namespace vorlen
