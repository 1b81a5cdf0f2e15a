#include "editing/operations/sliceoperations.h"

#include <algorithm>
#include <cmath>
#include <exception>

#include "document/stackgreyscale.h"
#include "document/uniquenames.h"
#include "editing/actions/vrlactionsequence.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/actions/vrlstackstateaction.h"
#include "editing/operations/applyinstep.h"
#include "editing/operations/measures.h"
#include "editing/stacks/vrlstack.h"
#include "images/rasters/image.h"
#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"
#include "registration/matrixprincipalaxesanalysis.h"
#include "registration/principalaxesimageregistration.h"

namespace vorlen {

namespace {

Outcome requireSlice(const Stack& stack, const StackSlice& slice) {
    return stack.findSlice(slice) >= 0 ? Outcome::done() : Outcome::refused("The slice is not in this stack");
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
    if (change.registration && !change.registration->isFinite())
        return Outcome::refused("A shift or the angle of the registration is no number");
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

/// The values of the image, or how far they are from the white of their scale. What is no number, or is beyond an end
/// of the scale that would give a negative weight, weighs nothing.
PixelMatrix<float> greyValues(const StackSlice& slice, bool inverted, const std::optional<GreyScale>& scale) {
    Image image;
    slice.load(image);
    PixelMatrix<float> matrix;
    matrix.convertGreyFromImage(image);
    const float white = hasGreyScale(image) && scale ? scale->white : 255;
    for (int i = 0; i < matrix.getSize1(); ++i)
        for (float& value : matrix[i]) {
            value = inverted ? white - value : value;
            value = value > 0 && std::isfinite(value) ? value : 0;
        }
    return matrix;
}

bool hasMass(const PixelMatrix<float>& image) {
    MatrixPrincipalAxesAnalysis<float> analysis;
    analysis.apply(image);
    return analysis.hasMass();
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
        if (!registration.isFinite())
            return Outcome::refused("A shift or the angle of the registration is no number");
        action->sliceState(stack.getSlice(i)).registration = registration;
    }
    return applyInStep(stack, std::move(action));
}

FoundRegistrations findRegistrations(const Stack& stack, bool inverted, ProgressSubject& progress) {
    FoundRegistrations found;
    const int n = stack.getNumSlices();
    if (n == 0)
        return found;
    progress.notifyStarted("Running automatic registration...");
    found.registrations.push_back(stack.getSlice(0).getRegistration());
    const std::optional<GreyScale> scale = inverted ? findGreyScale(stack) : std::nullopt;
    PixelMatrix<float> previous = greyValues(stack.getSlice(0), inverted, scale);
    for (int i = 1; i < n && !progress.isCanceled(); ++i) {
        PixelMatrix<float> current = greyValues(stack.getSlice(i), inverted, scale);
        PrincipalAxesImageRegistration<float> registration;
        registration.setSource(current);
        registration.setTarget(previous);
        registration.run();
        found.registrations.push_back(registration.sliceRegistration());
        if (!registration.isReliable())
            found.unplaced.push_back(i);
        if (registration.isReliable() || hasMass(current))
            previous.swap(current);
        progress.notifyProgressed(static_cast<unsigned int>(i + 1), static_cast<unsigned int>(n));
    }
    if (progress.isCanceled())
        progress.notifyCanceled("");
    else
        progress.notifyFinished("");
    return found;
}

Outcome registerSlices(VRLStack& stack, bool inverted, ProgressSubject& progress, std::vector<int>* unplaced) {
    if (stack.getNumSlices() < 2)
        return Outcome::refused("A registration needs at least two slices");
    FoundRegistrations found = findRegistrations(stack, inverted, progress);
    if (progress.isCanceled())
        return Outcome::refused("The registration was cancelled");
    if (unplaced != nullptr)
        *unplaced = std::move(found.unplaced);
    return setRegistrations(stack, found.registrations);
}

} // namespace vorlen
