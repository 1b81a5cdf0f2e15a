#include "shell/session/vrlsliceinsertiondeletionaction.h"

#include "document/modelitem.h"
#include "document/stackslice.h"
#include "shell/session/vrleventserver.h"
#include "shell/session/vrlstack.h"

VRLSliceInsertionDeletionAction::VRLSliceInsertionDeletionAction(StackSlice& slice)
    : VRLSliceAction(slice), __stack(slice.getStack()) {
}

VRLSliceInsertionDeletionAction::~VRLSliceInsertionDeletionAction() {
    if (isOut())
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

/// A slice that was never inserted belongs to its maker.
bool VRLSliceInsertionDeletionAction::isOut() const {
    return __applied && __insertion == reverted();
}

void VRLSliceInsertionDeletionAction::apply() {
    VRLSliceAction::apply();
    __applied = true;
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
    VRLEventServer::notifyAction(*this);
}

void VRLSliceInsertionDeletionAction::insertSlice() {
    StackSlice& slice = *getSlice();
    __stack->addSlice(&slice, __position);
    for (int i = 0; i < slice.getNumItems(); ++i) {
        slice.getItem(i).attachToModel();
        __places[&slice.getItem(i)].restore(slice.getItem(i));
    }
    if (auto* stack = dynamic_cast<VRLStack*>(__stack))
        stack->updateReconstruction();
}

void VRLSliceInsertionDeletionAction::removeSlice() {
    StackSlice& slice = *getSlice();
    for (int i = 0; i < slice.getNumItems(); ++i) {
        __places[&slice.getItem(i)].take(slice.getItem(i));
        slice.getItem(i).detachFromModel();
    }
    __stack->removeSlice(__position);
    if (auto* stack = dynamic_cast<VRLStack*>(__stack))
        stack->updateReconstruction();
}

QString VRLSliceInsertionDeletionAction::description(bool) const {
    return __insertion ? "Insert slice" : "Delete slice";
}

void VRLSliceInsertionDeletionAction::forget(const Model& model) {
    if (!isOut())
        return;
    StackSlice& slice = *getSlice();
    for (int i = slice.getNumItems() - 1; i >= 0; --i)
        if (slice.getItem(i).getModel() == &model)
            delete &slice.getItem(i);
}
