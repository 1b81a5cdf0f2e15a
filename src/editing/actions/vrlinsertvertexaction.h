#pragma once

#include "editing/actions/vrlitemaction.h"
#include "numerics/vector.h"

namespace vorlen {

/// Puts a vertex in front of another. Of a connected item all vertices are selected then; of points the new one is
/// selected besides.
class VRLInsertVertexAction : public VRLItemAction {
public:
    using VRLItemAction::VRLItemAction;

    void setIndex(int index);
    void setPoint(const Vector<double>& point);
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    int __index = 0;
    Vector<double> __point;
};

/// Puts the vertex in front of vertex index and selects as VRLInsertVertexAction does.
void insertSelectedVertex(ModelItem& item, int index, const Vector<double>& point);

} // namespace vorlen
