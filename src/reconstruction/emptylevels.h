#pragma once

namespace vorlen {

/// Removes the levels without vertices: they have no height and would break a surface in two. An item that is read from
/// a file may be one.
template <class LevelStack>
void removeEmptyLevels(LevelStack& stack) {
    for (int k = stack.getHeight() - 1; k >= 0; --k)
        if (stack[k].getNumVertices() == 0)
            stack.remove(static_cast<unsigned int>(k));
}

} // namespace vorlen
