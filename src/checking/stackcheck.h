#pragma once

#include <vector>

#include "document/stackproblem.h"

namespace vorlen {

class Stack;
class StackReader;

/// What is wrong with a stack as it was read from its file: what the reader has noticed, and what a look at the slices,
/// models and outlines shows, without reading any pixels. In the order of the lines; what concerns no line comes first.
///
/// The lines are known when the reader was told to note them. Of each code there are at most StackIO::maxLogLines, and
/// one line more that says so. About linear in the number of vertices; see findSelfContact() for outlines that touch
/// themselves.
std::vector<StackProblem> checkStack(const Stack& stack, const StackReader& reader);

} // namespace vorlen
