#pragma once

#include <string>
#include <vector>

namespace vorlen {

class Stack;

/// Distance of each vertex of one model of the stack, slice by slice, to the surface of another, in the stack's length
/// unit. The surface is the mesh of 50 levels of 100 vertices through the outlines, without caps.
///
/// Throws UsageError, with a sentence for the user, when a model is not there, when ModelSurface finds no surface, as
/// of a model that branches, or when there are no spots.
std::vector<double> spotDistances(const Stack& stack, const std::string& surface, const std::string& spots);

} // namespace vorlen
