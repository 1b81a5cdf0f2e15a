#include "editing/actions/vrlsliceinsertiondeletionaction.h"

#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/bus/vrleventserver.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

VRLSliceInsertionDeletionAction::VRLSliceInsertionDeletionAction(StackSlice& slice)
    : VRLSliceAction(slice), __stack(slice.getStack()) {
}

VRLSliceInsertionDeletionAction::VRLSliceInsertionDeletionAction(std::unique_ptr<StackSlice> slice)
    : VRLSliceInsertionDeletionAction(*slice) {
    static_cast<void>(slice.release());
    __out = true;
}

VRLSliceInsertionDeletionAction::~VRLSliceInsertionDeletionAction() {
    if (__out)
        delete getSlice();
}

void VRLSliceInsertionDeletionAction::setInsertionMode() {
    __insertion = true;
}

void VRLSliceInsertionDeletionAction::setDeletionMode() {
    __insertion = false;
}

void VRLSliceInsertionDeletionAction::setSlicePosition(int position) {
    __position = position;
}

void VRLSliceInsertionDeletionAction::apply() {
    VRLSliceAction::apply();
    if (!__applied)
        __placement = getSlice()->getPlacement();
    __applied = true;
    takeNextPlacement(__insertion ? __position : __position + 1);
    if (__insertion)
        insertSlice();
    else
        removeSlice();
    VRLEventServer::notifyAction(*this);
}

void VRLSliceInsertionDeletionAction::revert() {
    VRLSliceAction::revert();
    if (__insertion)
        removeSlice();
    else
        insertSlice();
    if (__next != nullptr)
        __next->setPlacement(__nextPlacement);
    updateReconstruction();
    VRLEventServer::notifyAction(*this);
}

void VRLSliceInsertionDeletionAction::takeNextPlacement(int position) {
    __next = position < __stack->getNumSlices() ? &__stack->getSlice(position) : nullptr;
    if (__next != nullptr)
        __nextPlacement = __next->getPlacement();
}

void VRLSliceInsertionDeletionAction::updateReconstruction() {
    if (auto* stack = dynamic_cast<VRLStack*>(__stack))
        stack->updateReconstruction();
}

void VRLSliceInsertionDeletionAction::insertSlice() {
    StackSlice& slice = *getSlice();
    slice.setPlacement(__placement);
    __stack->addSlice(&slice, __position);
    __out = false;
    for (int i = 0; i < slice.getNumItems(); ++i) {
        slice.getItem(i).attachToModel();
        __places[&slice.getItem(i)].restore(slice.getItem(i));
    }
    updateReconstruction();
}

void VRLSliceInsertionDeletionAction::removeSlice() {
    StackSlice& slice = *getSlice();
    for (int i = 0; i < slice.getNumItems(); ++i) {
        __places[&slice.getItem(i)].take(slice.getItem(i));
        slice.getItem(i).detachFromModel();
    }
    // Not by the position that was told: the slices of one step are taken out in the order in which they came.
    __stack->removeSlice(__stack->findSlice(slice));
    __out = true;
    updateReconstruction();
}

QString VRLSliceInsertionDeletionAction::description(bool) const {
    return __insertion ? "Insert slice" : "Delete slice";
}

} // namespace vorlen
