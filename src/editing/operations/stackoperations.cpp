#include "editing/operations/stackoperations.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include <QFile>
#include <QFileInfo>

#include "document/pose.h"
#include "document/stackgreyscale.h"
#include "document/uniquenames.h"
#include "editing/actions/vrlposeaction.h"
#include "editing/actions/vrlstackstateaction.h"
#include "editing/operations/applyinstep.h"
#include "editing/operations/measures.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

namespace {

Outcome checkChange(const VRLStack& stack, const StackChange& change) {
    if (change.name && change.name->empty())
        return Outcome::refused("The stack name is empty");
    if (change.spacing && !isSize(*change.spacing))
        return Outcome::refused("The slice spacing must be above zero");
    if (change.calibration && !isPixelSize(*change.calibration))
        return Outcome::refused("The size of a pixel must be above zero");
    if (change.greyScale && !(std::isfinite(change.greyScale->low) && std::isfinite(change.greyScale->high) &&
                              change.greyScale->low < change.greyScale->high))
        return Outcome::refused("The value shown as black must lie below the one shown as white");
    for (const auto* slices : {&change.spacingSlices, &change.calibrationSlices})
        for (const StackSlice* slice : *slices)
            if (stack.findSlice(*slice) < 0)
                return Outcome::refused("The slice is not in this stack");
    return Outcome::done();
}

} // namespace

std::unique_ptr<VRLStack> makeStack(const NewStack& description, std::vector<UnreadableImage>& unreadable) {
    ImageSlices made = makeImageSlices(description.images, description.choice);
    std::move(made.unreadable.begin(), made.unreadable.end(), std::back_inserter(unreadable));
    return makeStack(description, std::move(made.slices));
}

std::unique_ptr<VRLStack> makeStack(const NewStack& description, std::vector<std::unique_ptr<StackSlice>> slices) {
    if (slices.empty())
        return nullptr;
    auto stack = std::make_unique<VRLStack>();
    stack->setName(description.name);
    stack->setDefaultSliceSpacing(description.sliceSpacing);
    stack->setDefaultPixelCalibration(description.calibration);
    const QFileInfo first(QFile::decodeName(description.images.front().c_str()));
    stack->setImagesPath(QFile::encodeName(first.absolutePath()).toStdString());
    UniqueNames names; // images of several folders may share theirs
    for (auto& slice : slices) {
        slice->setName(names.take(slice->getName()));
        slice->setPixelCalibration(description.calibration);
        slice->setRelativePosition(description.sliceSpacing);
        stack->addSlice(slice.release());
    }
    stack->setGreyScale(findGreyScale(*stack));
    stack->updateReconstruction();
    stack->setModified(true);
    return stack;
}

Outcome changeStack(VRLStack& stack, const StackChange& change) {
    if (const Outcome good = checkChange(stack, change); !good)
        return good;
    auto action = std::make_unique<VRLStackStateAction>(stack, "Change stack properties");
    StackState state(stack);
    state.name = change.name.value_or(state.name);
    state.annotation = change.annotation.value_or(state.annotation);
    state.absoluteImagesPath = change.absoluteImagesPath.value_or(state.absoluteImagesPath);
    if (change.greyScale)
        state.greyScale = change.greyScale;
    if (change.spacing) {
        for (StackSlice* slice : change.spacingSlices)
            if (!slice->isDefaultRelativePosition())
                action->sliceState(*slice).placement = {*change.spacing, true, false};
        state.sliceSpacing = *change.spacing;
    }
    if (change.calibration) {
        state.calibration = *change.calibration;
        state.calibration.setLengthUnit(stack.getLengthUnit());
        for (StackSlice* slice : change.calibrationSlices)
            action->sliceState(*slice).calibration = state.calibration;
    }
    if (change.unit) {
        for (int i = 0; i < stack.getNumSlices(); ++i)
            action->sliceState(stack.getSlice(i)).calibration.setLengthUnit(*change.unit);
        state.calibration.setLengthUnit(*change.unit);
    }
    action->setState(state);
    return applyInStep(stack, std::move(action));
}

Outcome recordPose(VRLStack& stack, const Pose& pose, const std::string& name) {
    if (name.empty())
        return Outcome::refused("The pose name is empty");
    auto copy = std::make_unique<Pose>(pose);
    copy->setName(name);
    return applyInStep(stack, std::make_unique<VRLPoseAction>(stack, std::move(copy)));
}

Outcome deletePose(VRLStack& stack, int place) {
    if (place < 0 || place >= stack.getNumPoses())
        return Outcome::refused("There is no such pose");
    return applyInStep(stack, std::make_unique<VRLPoseAction>(stack, stack.getPose(place)));
}

} // namespace vorlen
