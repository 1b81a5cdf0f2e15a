#pragma once

#include "editing/history/vrlaction.h"
#include "shapes/vertices.h"

namespace vorlen {

class Model;
class StackSlice;

/// A drawing that the user gave up before it became an item. It stands in the history for what was drawn: the document
/// is the same before and behind it, and who undoes it shows the drawing again as it was, to be gone on with. Slice and
/// model are seen, not owned.
class VRLDrawingDiscardAction : public VRLAction {
public:
    VRLDrawingDiscardAction(StackSlice& slice, Model& model, const Vertices<double>& vertices);

    StackSlice& getSlice() const { return *__slice; }
    Model& getModel() const { return *__model; }
    /// Pixels of the slice.
    const Vertices<double>& getVertices() const { return __vertices; }

    bool changesDocument() const override { return false; }
    QString description(bool verbose) const override;

private:
    StackSlice* __slice;
    Model* __model;
    Vertices<double> __vertices;
};

} // namespace vorlen
