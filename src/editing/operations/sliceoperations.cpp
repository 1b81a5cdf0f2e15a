#include "editing/operations/sliceoperations.h"

#include <algorithm>
#include <cmath>
#include <exception>

#include "document/uniquenames.h"
#include "editing/actions/vrlactionsequence.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/actions/vrlstackstateaction.h"
#include "editing/operations/applyinstep.h"
#include "editing/operations/measures.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

Outcome requireSlice(const Stack& stack, const StackSlice& slice) {
    return stack.findSlice(slice) >= 0 ? Outcome::done() : Outcome::refused("The slice is not in this stack");
}

Outcome checkNumbers(const Registration& registration) {
    if (!std::isfinite(registration.getRotationAngle()))
        return Outcome::refused("The angle of the registration is no number");
    if (!registration.isFinite())
        return Outcome::refused("A shift of the registration is no number");
    return Outcome::done();
}

Outcome checkChange(const StackSlice& slice, const SliceChange& change) {
    if (change.name && change.name->empty())
        return Outcome::refused("The slice name is empty");
    if (change.spacing && change.position)
        return Outcome::refused("A slice has a spacing or a position, not both");
    // The first slice may lie anywhere, and any slice may stay where it is.
    if (change.spacing && !isSize(*change.spacing) && *change.spacing != slice.getRelativePosition())
        return Outcome::refused("The slice spacing must be above zero");
    if (change.position && !std::isfinite(*change.position))
        return Outcome::refused("The position of the slice is no number");
    if (change.thickness && !(std::isfinite(*change.thickness) && *change.thickness >= 0))
        return Outcome::refused("The thickness of the slice must not be below zero");
    if (change.calibration && !isPixelSize(*change.calibration))
        return Outcome::refused("The size of a pixel must be above zero");
    if (change.registration)
        if (const Outcome good = checkNumbers(*change.registration); !good)
            return good;
    return Outcome::done();
}

bool isPermutation(const std::vector<int>& order, int n) {
    std::vector<int> sorted = order;
    std::sort(sorted.begin(), sorted.end());
    for (int i = 0; i < n; ++i)
        if (sorted.size() != static_cast<std::size_t>(n) || sorted[static_cast<std::size_t>(i)] != i)
            return false;
    return sorted.size() == static_cast<std::size_t>(n);
}

} // namespace

Outcome insertSlices(VRLStack& stack, int position, std::vector<std::unique_ptr<StackSlice>> slices) {
    if (position < 0 || position > stack.getNumSlices())
        return Outcome::refused("There is no such place in the stack");
    auto step = std::make_unique<VRLActionSequence>();
    UniqueNames names; // outlines find their slice by its name in a file
    for (int i = 0; i < stack.getNumSlices(); ++i)
        names.take(stack.getSlice(i).getName());
    const StackSlice* const neighbour = stack.getNumSlices() > 0 ? &stack.getSlice(std::max(position - 1, 0)) : nullptr;
    for (auto& slice : slices) {
        slice->setName(names.take(slice->getName()));
        slice->setStack(&stack);
        const PixelCalibration& own = slice->getPixelCalibration();
        if (neighbour != nullptr && own.isDefaultPixelWidth() && own.isDefaultPixelHeight())
            slice->setPixelCalibration(neighbour->getPixelCalibration());
        auto action = std::make_unique<VRLSliceInsertionDeletionAction>(std::move(slice));
        action->setSlicePosition(position++);
        step->append(std::move(action));
    }
    return step->isEmpty() ? Outcome::done() : applyInStep(stack, std::move(step));
}

Outcome deleteSlices(VRLStack& stack, const std::vector<StackSlice*>& slices) {
    std::vector<int> places;
    for (const StackSlice* slice : slices) {
        if (const Outcome known = requireSlice(stack, *slice); !known)
            return known;
        places.push_back(stack.findSlice(*slice));
    }
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    // From the end, so that the places in front stay what they are.
    auto step = std::make_unique<VRLActionSequence>();
    for (auto place = places.rbegin(); place != places.rend(); ++place) {
        auto action = std::make_unique<VRLSliceInsertionDeletionAction>(stack.getSlice(*place));
        action->setDeletionMode();
        action->setSlicePosition(*place);
        step->append(std::move(action));
    }
    return step->isEmpty() ? Outcome::done() : applyInStep(stack, std::move(step));
}

Outcome changeSlice(VRLStack& stack, StackSlice& slice, const SliceChange& change) {
    if (const Outcome known = requireSlice(stack, slice); !known)
        return known;
    if (const Outcome good = checkChange(slice, change); !good)
        return good;
    if (change.name && *change.name != slice.getName() && stack.findSlice(*change.name) >= 0)
        return Outcome::refused("Another slice has this name, and outlines find their slice by its name in a file");
    auto action = std::make_unique<VRLStackStateAction>(stack, "Change slice properties");
    SliceState& state = action->sliceState(slice);
    state.name = change.name.value_or(state.name);
    state.annotation = change.annotation.value_or(state.annotation);
    if (change.spacing && *change.spacing != slice.getRelativePosition())
        state.placement = {*change.spacing, true, false};
    if (change.position)
        state.placement = {*change.position, false, false};
    state.thickness = change.thickness.value_or(state.thickness);
    if (change.calibration) {
        state.calibration = *change.calibration;
        state.calibration.setLengthUnit(stack.getLengthUnit());
    }
    state.registration = change.registration.value_or(state.registration);
    if (change.imageSource != nullptr)
        action->setImageSource(slice, *change.imageSource);
    return applyInStep(stack, std::move(action));
}

Outcome reorderSlices(VRLStack& stack, const std::vector<int>& order) {
    if (!isPermutation(order, stack.getNumSlices()))
        return Outcome::refused("The new order must name each slice once");
    auto action = std::make_unique<VRLStackStateAction>(stack, "Reorder slices");
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const int from = order[static_cast<std::size_t>(i)];
        const int before = i == 0 ? -1 : order[static_cast<std::size_t>(i - 1)];
        SliceState& state = action->sliceState(stack.getSlice(from));
        state.placement = stack.getSlice(i).getPlacement();
        if (before != from - 1)
            state.registration = Registration();
    }
    action->setOrder(order);
    return applyInStep(stack, std::move(action));
}

Outcome setRegistrations(VRLStack& stack, const std::vector<Registration>& registrations) {
    if (registrations.size() != static_cast<std::size_t>(stack.getNumSlices()))
        return Outcome::refused("There must be one registration for each slice");
    auto action = std::make_unique<VRLStackStateAction>(stack, "Register slices");
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const Registration& registration = registrations[static_cast<std::size_t>(i)];
        if (const Outcome good = checkNumbers(registration); !good)
            return good;
        action->sliceState(stack.getSlice(i)).registration = registration;
    }
    return applyInStep(stack, std::move(action));
}

} // namespace vorlen
