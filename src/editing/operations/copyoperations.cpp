#include "editing/operations/copyoperations.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "document/stackslice.h"
#include "document/subpixel.h"
#include "editing/actions/vrlitemappendpointsaction.h"
#include "editing/operations/onestep.h"
#include "reconstruction/stackreconstruction.h"

namespace vorlen {

namespace {

/// The vertices, moved from one slice of the reconstruction to another; none when they have no place there.
std::optional<Vertices<double>> carried(const Vertices<double>& vertices, const StackReconstruction<double>& space,
                                        int from, int to) {
    constexpr double largest = std::numeric_limits<int>::max() / 2.0;
    Vertices<double> result = vertices;
    result.detach();
    for (int i = 0; i < result.getNumVertices(); ++i) {
        const Vector<double> world = space.toWorld(from, vertices[i][0], vertices[i][1]);
        const Vector<double> place = space.toPixels(to, world[0], world[1]);
        for (const int axis : {0, 1}) {
            if (!(std::abs(place[axis]) < largest))
                return std::nullopt;
            result[i][axis] = subpixel(place[axis]);
        }
    }
    return result;
}

void deselectAll(StackSlice& slice) {
    for (int i = 0; i < slice.getNumItems(); ++i)
        slice.getItem(i).getSelection().set(false);
}

} // namespace

Outcome copySelection(VRLStack& stack, StackSlice& slice, const std::vector<StackSlice*>& targets) {
    std::vector<ModelItem*> selected;
    for (int i = 0; i < slice.getNumItems(); ++i)
        if (!slice.getItem(i).getSelection().isEmpty())
            selected.push_back(&slice.getItem(i));
    if (selected.empty())
        return Outcome::refused("Nothing is selected that could be copied");
    std::vector<StackSlice*> others;
    others.reserve(targets.size());
    for (StackSlice* const target : targets)
        if (target != &slice && std::find(others.begin(), others.end(), target) == others.end())
            others.push_back(target);
    if (others.empty())
        return Outcome::refused("There is no other slice to copy to");

    // All places first: a refusal changes nothing.
    const StackReconstruction<double> space(stack);
    const int from = stack.findSlice(slice);
    std::vector<std::vector<Vertices<double>>> copies(others.size());
    for (std::size_t k = 0; k < others.size(); ++k)
        for (const ModelItem* const item : selected) {
            const Vertices<double> vertices = item->isConnected() ? item->getVertices() : item->selectedVertices();
            auto moved = carried(vertices, space, from, stack.findSlice(*others[k]));
            if (!moved)
                return Outcome::refused("The size of a pixel is not known on slice " + others[k]->getName());
            copies[k].push_back(std::move(*moved));
        }

    std::vector<std::pair<ModelItem*, int>> made; // with the number of vertices before
    const Outcome outcome = inOneStep(stack, {}, [&](EditStep& step) {
        for (std::size_t k = 0; k < others.size(); ++k)
            for (std::size_t i = 0; i < selected.size(); ++i) {
                auto copy = std::make_unique<ModelItem>();
                copy->setModel(selected[i]->getModel());
                copy->setSlice(others[k]);
                copy->setProperties(selected[i]->getProperties());
                copy->setVertices(copies[k][i]);
                ModelItem* const buddy = copy->isConnected() ? nullptr : others[k]->buddyItem(*copy);
                if (buddy != nullptr) {
                    auto append = std::make_unique<VRLItemAppendPointsAction>(*buddy);
                    append->setVertices(copies[k][i]);
                    made.emplace_back(buddy, buddy->getSize());
                    step.apply(std::move(append));
                } else {
                    copy->setClockwise(false);
                    made.emplace_back(copy.get(), 0);
                    applyCreation(step, std::move(copy));
                }
            }
    });
    if (!outcome)
        return outcome;
    for (StackSlice* const target : others)
        deselectAll(*target);
    for (const auto& [item, first] : made)
        for (int i = first; i < item->getSize(); ++i)
            item->getSelection().set(true, i, false);
    return outcome;
}

Outcome copySelectionAround(VRLStack& stack, StackSlice& slice, int before, int behind) {
    const int rank = stack.findSlice(slice);
    std::vector<StackSlice*> targets;
    for (int i = std::max(rank - std::max(before, 0), 0);
         i <= std::min(rank + std::clamp(behind, 0, stack.getNumSlices()), stack.getNumSlices() - 1); ++i)
        if (i != rank)
            targets.push_back(&stack.getSlice(i));
    return copySelection(stack, slice, targets);
}

} // namespace vorlen
