#pragma once

#include "editing/actions/vrlitemaction.h"
#include "shapes/vertices.h"

namespace vorlen {

/// Appends vertices at the end.
class VRLItemAppendPointsAction : public VRLItemAction {
public:
    using VRLItemAction::VRLItemAction;

    /// Keeps a copy.
    void setVertices(const Vertices<double>& vertices);
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    Vertices<double> __vertices;
};

} // namespace vorlen
