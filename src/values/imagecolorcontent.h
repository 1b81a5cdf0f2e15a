#pragma once

#include <string>

namespace vorlen {

/// What the colours of an image, or of all images of a stack, have in common.
enum ImageColorContent {
    GrayContent = 0,
    RedContent = 1,
    GreenContent = 2,
    BlueContent = 3,
    MixedContent = 4,
    UndefinedContent = 5
};

/// The content in a word, for messages: "Gray", "Red", "Green", "Blue", "Mixed"; "Unknown" for anything else.
std::string toString(ImageColorContent content);

} // namespace vorlen
