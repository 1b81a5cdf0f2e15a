#pragma once

#include <string>
#include <vector>

#include "editing/operations/outcome.h"
#include "shapes/vertices.h"

namespace vorlen {

class Model;
class ModelItem;
class StackSlice;
class VRLStack;

/// Edits of items. Each is one step of the stack's history, and refused when the stack keeps none. Slices, models and
/// items are those of the stack; vertices are pixels (column, row) of the slice.

/// What is said of a contour that has not enough vertices to be made.
std::string tooFewVerticesToCreate(const ModelItem& item);

/// Adds an item of the model to the slice. Closed contours become counter-clockwise; with dropInLine contours lose the
/// vertices in line with their neighbours, as long as three are left. Points are appended to the item of the model on
/// the slice that has no look of its own, where there is one.
Outcome createItem(VRLStack& stack, StackSlice& slice, Model& model, const Vertices<double>& vertices,
                   bool dropInLine = false);

/// Keeps a drawing that is given up in the stack's history, to be had back by undoing: the document stays as it is. A
/// drawing without vertices is not worth it.
void keepDiscardedDrawing(VRLStack& stack, StackSlice& slice, Model& model, const Vertices<double>& vertices);

Outcome deleteItem(VRLStack& stack, ModelItem& item);

/// Appends vertices at the item's end.
Outcome appendVertices(VRLStack& stack, ModelItem& item, const Vertices<double>& vertices);

/// Moves what is selected on the slice to the model: contours as a whole, of points the selected ones. Refused when
/// nothing of other models is selected.
Outcome convertSelection(VRLStack& stack, StackSlice& slice, Model& model);

/// Deletes what is selected on the slice: whole items, and vertices of others. An item that would be left with too few
/// keeps its vertices and gives a refusal, a text for the user; the others go all the same. Refused when nothing goes.
Outcome deleteSelection(VRLStack& stack, StackSlice& slice, std::vector<std::string>& refusals);

/// What a decimation has done to one item.
struct DecimationReport {
    std::string model;
    int numRemoved;
    int numVertices; // before
};

/// Takes the vertices in line with their neighbours out of the contours of which something is selected, taken as
/// closed. Refused when there are none.
Outcome decimateSelection(VRLStack& stack, StackSlice& slice, std::vector<DecimationReport>& reports);

} // namespace vorlen
