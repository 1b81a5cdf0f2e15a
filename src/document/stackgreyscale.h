#pragma once

#include <optional>

#include "images/rasters/greyscale.h"

namespace vorlen {

class Stack;

/// The grey scale of the stack, or one found from its images: at most 8 of those that are not bytes, spread over the
/// stack; images that cannot be read are passed over. Nothing for a stack of bytes or colours.
std::optional<GreyScale> findGreyScale(const Stack& stack);

} // namespace vorlen
