#pragma once

#include <string>
#include <vector>

#include "editing/operations/outcome.h"

namespace vorlen {

class Stack;
struct UnreadableImage;
class VRLStack;

/// How many slices have a placeholder for an image that could not be read.
int numLostImages(const Stack& stack);

/// Refused, with the slice's name, when the size of a lost image is not known: where the outlines lie in space is not
/// known then, and what is measured or exported would be wrong.
Outcome requireImageSizes(const Stack& stack);

/// Looks for the lost images in this directory, by the names of their files, and gives the slices those that are there,
/// in one step. The others are told of. An image of another size than the lost one is not taken: the outlines were not
/// drawn on it. Refused when none is found, and for a stack that has lost none.
Outcome findLostImages(VRLStack& stack, const std::string& directory, std::vector<UnreadableImage>& stillLost);

} // namespace vorlen
