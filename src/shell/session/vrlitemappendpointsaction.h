#pragma once

#include "shapes/vertices.h"
#include "shell/session/vrlitemaction.h"

/// Appends vertices at the end.
class VRLItemAppendPointsAction : public VRLItemAction {
public:
    using VRLItemAction::VRLItemAction;

    /// Keeps a copy.
    void setVertices(const Vertices<int>& vertices);
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    Vertices<int> __vertices;
};
