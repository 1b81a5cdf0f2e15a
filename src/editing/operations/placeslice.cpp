#include "editing/operations/placeslice.h"

#include <memory>

#include "editing/actions/vrlstackstateaction.h"
#include "editing/operations/applyinstep.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "registration/rigidmotion.h"

namespace vorlen {

namespace {

bool isLocked(const std::vector<bool>& locked, int slice) {
    return static_cast<std::size_t>(slice) < locked.size() && locked[static_cast<std::size_t>(slice)];
}

RigidMotion motionOfStep(const StackSlice& slice, const Registration& registration) {
    const PixelCalibration& pixel = slice.getPixelCalibration();
    return motionOf(registration, pixel.getPixelWidth(), pixel.getPixelHeight());
}

} // namespace

std::vector<Registration> placedRegistrations(const Stack& stack, int slice, const Registration& registration, int last,
                                              const std::vector<bool>& locked) {
    const int n = stack.getNumSlices();
    if (slice < 0 || last < slice || last >= n)
        throw RangeError("std::vector<Registration> placedRegistrations(...)", "There are no such slices");
    std::vector<Registration> registrations;
    registrations.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        registrations.push_back(stack.getSlice(i).getRegistration());
    registrations[static_cast<std::size_t>(slice)] = registration;
    while (last + 1 < n && isLocked(locked, last + 1))
        ++last;
    if (last + 1 == n)
        return registrations;
    // From the slice in front, which stays: where the first slice that stays behind it lies, and where the one before
    // that comes to lie.
    RigidMotion before, after;
    for (int i = slice; i <= last + 1; ++i)
        before = before * motionOfStep(stack.getSlice(i), stack.getSlice(i).getRegistration());
    for (int i = slice; i <= last; ++i)
        after = after * motionOfStep(stack.getSlice(i), registrations[static_cast<std::size_t>(i)]);
    const PixelCalibration& pixel = stack.getSlice(last + 1).getPixelCalibration();
    registrations[static_cast<std::size_t>(last + 1)] =
        registrationOf(after.inverse() * before, pixel.getPixelWidth(), pixel.getPixelHeight());
    return registrations;
}

Outcome placeSlice(VRLStack& stack, int slice, const Registration& registration, int last,
                   const std::vector<bool>& locked) {
    if (slice < 0 || last < slice || last >= stack.getNumSlices())
        return Outcome::refused("There are no such slices");
    if (!registration.isFinite())
        return Outcome::refused("A shift or the angle of the registration is no number");
    if (isLocked(locked, slice))
        return Outcome::refused("Slice \"" + stack.getSlice(slice).getName() + "\" is locked");
    if (registration == stack.getSlice(slice).getRegistration())
        return Outcome::done();
    const std::vector<Registration> registrations = placedRegistrations(stack, slice, registration, last, locked);
    auto action = std::make_unique<VRLStackStateAction>(stack, "Register slice");
    for (int i = 0; i < stack.getNumSlices(); ++i)
        if (!(registrations[static_cast<std::size_t>(i)] == stack.getSlice(i).getRegistration()))
            action->sliceState(stack.getSlice(i)).registration = registrations[static_cast<std::size_t>(i)];
    StackState state(stack);
    state.lastRegisteredSlice = stack.getSlice(slice).getName();
    action->setState(state);
    return applyInStep(stack, std::move(action));
}

} // namespace vorlen
