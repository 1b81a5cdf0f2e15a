#pragma once

#include "editing/actions/vrlitemaction.h"
#include "shapes/vertices.h"

namespace vorlen {

/// Gives the item other vertices, all selected; they are exchanged with the stored ones each time.
class VRLItemVerticesChangeAction : public VRLItemAction {
public:
    using VRLItemAction::VRLItemAction;

    /// Keeps a copy.
    void setVertices(const Vertices<double>& vertices);
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    void exchange();

    Vertices<double> __vertices;
};

} // namespace vorlen
