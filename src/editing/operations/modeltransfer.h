#pragma once

#include <string>
#include <vector>

#include "editing/operations/outcome.h"

namespace vorlen {

class ProgressSubject;
class Stack;
class VRLStack;

/// What becomes of a model whose name the other stack has already.
enum class TransferAction {
    Replace = 0,   // the other stack's model goes, with its items
    Duplicate = 1, // the copy gets a name of its own
    Append = 2,    // the items go into the other stack's model, whatever its geometry
    Skip = 3       // nothing
};

/// How a contour finds its place on the slice of the same number in the other stack.
enum class TransferPlaces {
    Pixels, // the same pixels
    World   // the same place in space, by registrations, pixel sizes and units of both stacks, at the nearest pixel
};

/// A model to be copied, by its name.
struct ModelTransfer {
    std::string model;
    TransferAction action = TransferAction::Skip; // only looked at where the other stack has a model of this name
};

/// Contours are tied to slices by their number: stacks go together when they have as many slices, with images of the
/// same size. Refused otherwise, and for one stack twice.
Outcome checkTransfer(const Stack& source, const Stack& target);

/// In what the same pixels of both stacks are not the same place in space, as the end of a sentence, "registration of
/// their slices and pixel size" say; empty when they are.
std::string placeDifference(const Stack& source, const Stack& target);

/// The name of a copy: " (copy)" is put behind the name at each model of the stack, in order, that has the name so far.
std::string copyName(const Stack& stack, const std::string& name);

/// Copies the models, in this order, with the look of models and items, in one step of the target's history. The new
/// models stand behind the others.
///
/// Refused when the stacks do not go together, for a model that the source has not, for nothing to do, for a place in
/// space that has no pixel on the other slice, and when it is cancelled; nothing has changed then.
Outcome transferModels(VRLStack& target, const Stack& source, const std::vector<ModelTransfer>& models,
                       TransferPlaces places, ProgressSubject& progress);

} // namespace vorlen
