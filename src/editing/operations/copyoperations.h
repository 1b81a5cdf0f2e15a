#pragma once

#include <optional>
#include <string>
#include <vector>

#include "document/modelitemproperties.h"
#include "document/modelproperties.h"
#include "editing/operations/outcome.h"
#include "editing/operations/outlineshape.h"

namespace vorlen {

template <class T>
class Curve;
class Model;
class ModelItem;
class Stack;
class StackSlice;
class VRLStack;

/// Copies what is selected on a slice to others of its stack, in one step of the history: to where it lies in space, as
/// registrations and pixel sizes tell, at the nearest pixel. Contours go as a whole; of points the selected ones, into
/// the points of the model that the other slice has already, where there are any. The copies have the look of what they
/// were made of, and are what is selected on the other slices then. The slice itself is passed over.
///
/// Refused when nothing is selected, when there is no other slice, and when a slice's pixels have no size.
Outcome copySelection(VRLStack& stack, StackSlice& slice, const std::vector<StackSlice*>& targets);

/// The same for so many slices before and behind the slice, as far as the stack goes; below 1 none on that side.
Outcome copySelectionAround(VRLStack& stack, StackSlice& slice, int before, int behind);

/// The first closed outline of the model on the slice that crosses the curve, lies in it or around it, all in pixels of
/// the slice; null without one.
const ModelItem* outlineAt(const StackSlice& slice, const Model& model, const Curve<double>& curve);

/// For each slice of the stack, whether a closed outline stands already where one that is selected on this slice would
/// be copied to: one of the same model that crosses it, lies in it or around it. False for the slice itself and where
/// pixels have no size; points and open lines stand in no one's way.
std::vector<bool> outlinedAlready(const VRLStack& stack, const StackSlice& slice);

/// An item that was copied, apart from its stack: where it lay in the image, and in space where that is known.
struct CopiedItem {
    std::string model;
    MPrimitive geometry = UnknownPrimitive;
    ModelItemProperties properties;
    Outline pixels;
    std::optional<Outline> world; // in the stack's unit
    int unit = -6;                // of that, as a power of ten of a metre
};

/// What is selected on the slice: contours as a whole, of points the selected ones.
std::vector<CopiedItem> copiedSelection(const VRLStack& stack, const StackSlice& slice);

/// Puts copied items on the slice where they lie in space, else at the same pixels, into the models of their names, in
/// one step; they are what is selected then. Points go into those that the slice has already. Refused when there is
/// nothing, and when the stack lacks a model of that name and geometry.
Outcome pasteItems(VRLStack& stack, StackSlice& slice, const std::vector<CopiedItem>& items);

/// The outline of an item of a slice beside another one, carried to where it lies there.
struct NeighbourOutline {
    const Model* model = nullptr;
    MPrimitive geometry = UnknownPrimitive;
    bool before = false; // of the slice before this one, not of the one behind it
    Outline points;
};

/// What is drawn on the slices next to this one; items that have no place on this slice are left out.
std::vector<NeighbourOutline> neighbourOutlines(const Stack& stack, const StackSlice& slice);

} // namespace vorlen
