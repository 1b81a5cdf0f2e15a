#pragma once

#include <vector>

namespace vorlen {

class Model;
class Stack;

/// Where a model is drawn in its stack, as ranks of slices in ascending order.
struct ModelSections {
    std::vector<int> outlined;
    std::vector<int> lacking; // between the first and the last of them
};

/// Linear in the numbers of slices and of items.
ModelSections sectionsOf(const Stack& stack, const Model& model);

/// The next slice behind this rank that lacks the model between others, from the first one on where there is none
/// behind; -1 where none lacks it.
int nextLacking(const Stack& stack, const Model& model, int rank);

} // namespace vorlen
