#pragma once

#include <string>
#include <vector>

namespace vorlen {

/// Splitting and padding of texts.
class StringTools {
public:
    /// Pieces between the delimiter characters. Runs of delimiters count once, so no piece is empty.
    static std::vector<std::string> tokenize(const std::string& text, const std::string& delimiters);
    static std::string toString(int n);
    /// Padded on the left with fill to the width; a longer number stays whole.
    static std::string toString(int n, int width, char fill);
};

} // namespace vorlen
