#pragma once

#include <memory>
#include <string>
#include <vector>

#include "normalization/vrlfusionstrategy.h"
#include "normalization/vrlfusionsurfacestructure.h"

namespace vorlen {

class Stack;
template <class T>
class CurveStack;

/// What a normalization works on, and how: a name, the stacks (one for each specimen, seen and not owned), the
/// structures that get a grid of their own, and the strategy. Instantiated for float, double and long double.
template <class T>
class VRLFusionConfig {
public:
    void setName(const std::string& name) { __name = name; }
    const std::string& getName() const { return __name; }

    void setStacks(const std::vector<const Stack*>& stacks) { __stacks = stacks; }
    const std::vector<const Stack*>& getStacks() const { return __stacks; }

    void setStructures(const std::vector<VRLFusionSurfaceStructure<T>>& structures) { __structures = structures; }
    const std::vector<VRLFusionSurfaceStructure<T>>& getStructures() const { return __structures; }

    void setStrategy(const VRLFusionStrategy& strategy) { __strategy = strategy; }
    const VRLFusionStrategy& getStrategy() const { return __strategy; }

    /// The polygon models of the first stack, in its order, of which every stack has one with items. The grid has as
    /// many levels as the largest of them has items, and as many vertices on each as the largest item; the error is
    /// unknown, and none is a reference. A name that stands twice in a stack counts for its first model.
    static std::vector<VRLFusionSurfaceStructure<T>> sharedStructures(const std::vector<const Stack*>& stacks);

    /// What the specimens of these stacks go by, in their order: the names of the stacks, made such that no two are
    /// alike, none is empty, and none is "mean", which the mean surfaces go by. Of stacks of one name, as "a", the
    /// first one keeps it, and the others are "a-2" and so on, past names that other stacks have.
    static std::vector<std::string> specimenNames(const std::vector<const Stack*>& stacks);
    /// Those of the configuration's stacks. The template of the strategy is named by one of them.
    std::vector<std::string> specimenNames() const { return specimenNames(__stacks); }

    /// By what a length of the stack is multiplied to be one in the unit of the first stack.
    static double unitFactor(const Stack& stack, const Stack& first);

    /// The reconstruction of the model of this name in each stack, in the unit of the first stack, without the empty
    /// ones among its items. A stack without the model, or where it is made of points or empty, gives none.
    static std::vector<std::unique_ptr<CurveStack<T>>>
    surfaceStructureInstances(const std::vector<const Stack*>& stacks, const std::string& name);

    /// Whether the model of this name has several contours on a slice of one of the stacks: a surface cannot tell which
    /// of them goes on with which.
    static bool isBranching(const std::vector<const Stack*>& stacks, const std::string& name);

private:
    std::string __name;
    std::vector<const Stack*> __stacks;
    std::vector<VRLFusionSurfaceStructure<T>> __structures;
    VRLFusionStrategy __strategy;
};

} // namespace vorlen
