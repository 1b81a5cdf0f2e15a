#pragma once

#include <string>
#include <variant>
#include <vector>

namespace vorlen {

/// A statement by which a stack description names an image, or a part of it: a keyword, and the arguments in the order
/// in which they are written. Of a file only the bare name is written, so that a statement names one file at most.
struct ImageStatement {
    /// A whole number, or the name of a file with its directory.
    using Argument = std::variant<int, std::string>;

    int number(std::size_t i) const { return std::get<int>(arguments[i]); }
    const std::string& file(std::size_t i) const { return std::get<std::string>(arguments[i]); }

    bool operator==(const ImageStatement&) const = default;

    std::string keyword;
    std::vector<Argument> arguments;
};

} // namespace vorlen
