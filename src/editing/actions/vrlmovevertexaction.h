#pragma once

#include "editing/actions/vrlitemaction.h"
#include "numerics/vector.h"

namespace vorlen {

/// Moves a vertex. Null when it stays where it was: a click without a drag leaves no step.
class VRLMoveVertexAction : public VRLItemAction {
public:
    using VRLItemAction::VRLItemAction;

    /// Takes the vertex as the old and the new point.
    void setIndex(int index);

    /// The new point.
    void setPoint(const Vector<double>& point);

    bool isNull() const override;
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    int __index = 0;
    Vector<double> __oldPoint;
    Vector<double> __newPoint;
};

} // namespace vorlen
