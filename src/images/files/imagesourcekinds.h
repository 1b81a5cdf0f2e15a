#pragma once

#include <memory>
#include <string>
#include <vector>

namespace vorlen {

class ImageSource;
struct ImageStatement;

/// A statement of stack descriptions on images, and what is to be done with it.
struct ImageSourceKind {
    enum Argument {
        Number, ///< a whole number
        Size,   ///< a whole number, not negative, of things that room is made for
        File,   ///< the name of a file
    };

    std::string keyword;
    /// What follows the keyword and, in a statement that begins a slice, the slice's name.
    std::vector<Argument> arguments;
    /// The source that the statement stands for. Throws what the reading of a header throws. Null for a statement that
    /// goes to the current slice's source, by ImageSource::addStatement().
    std::unique_ptr<ImageSource> (*make)(const ImageStatement&);
};

/// The kinds of image source that stack descriptions hold.
const std::vector<ImageSourceKind>& imageSourceKinds();

} // namespace vorlen
