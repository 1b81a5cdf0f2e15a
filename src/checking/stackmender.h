#pragma once

#include <string>

namespace vorlen {

class Stack;

/// Mends of a stack what can be mended without guessing: takes doubled vertices, outlines without vertices and the
/// second of two equal outlines away, and puts lost images back that lie in the directory, if one is named. Slices and
/// models of one name have got names of their own when they were read. An image of another size than the file tells
/// stays lost: it may be another image. Gives the number of changes.
int mendStack(Stack& stack, const std::string& imagesDirectory);

} // namespace vorlen
