#pragma once

#include <cstddef>
#include <vector>

#include "editing/stacks/vrlstack.h"

namespace vorlen {

/// The members of the lists of a stack, in their order.
inline std::vector<StackSlice*> slicesOf(VRLStack& stack) {
    std::vector<StackSlice*> slices;
    slices.reserve(static_cast<std::size_t>(stack.getNumSlices()));
    for (int i = 0; i < stack.getNumSlices(); ++i)
        slices.push_back(&stack.getSlice(i));
    return slices;
}

inline std::vector<Model*> modelsOf(VRLStack& stack) {
    std::vector<Model*> models;
    models.reserve(static_cast<std::size_t>(stack.getNumModels()));
    for (int i = 0; i < stack.getNumModels(); ++i)
        models.push_back(&stack.getModel(i));
    return models;
}

inline std::vector<Pose*> posesOf(VRLStack& stack) {
    std::vector<Pose*> poses;
    poses.reserve(static_cast<std::size_t>(stack.getNumPoses()));
    for (int i = 0; i < stack.getNumPoses(); ++i)
        poses.push_back(&stack.getPose(i));
    return poses;
}

} // namespace vorlen
