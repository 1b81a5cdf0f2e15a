#pragma once

#include <set>
#include <string>

namespace vorlen {

template <class T>
class Shape;

/// The file names of the shapes of one normalization: STACK-MODEL with the ending that saving gives, so that each shape
/// has a file of its own.
///
/// What a file name can't hold ('/', and the null that ends it) becomes '_'. A name that another shape has got already
/// gets a number, "a-b-c-2.qm": "a-b" with "c" and "a" with "b-c" are two shapes.
class ShapeFileNames {
public:
    /// The name without a folder. No two calls give the same.
    template <class T>
    std::string nameOf(const std::string& specimen, const Shape<T>& shape);

private:
    std::set<std::string> __taken;
};

} // namespace vorlen
