#include "editing/stacks/vrlstack.h"

#include <utility>

#include "document/modelitem.h"
#include "document/pose.h"
#include "document/stackwriter.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlposeevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/vrlactionhistory.h"

namespace vorlen {

VRLStack::VRLStack() : __history(std::make_unique<VRLActionHistory>()) {
    __reconstruction.setStack(*this);
    __history->keepContext([this] { return getLastSegmentedSlice(); },
                           [this](const std::string& name) { setLastSegmentedSlice(name); });
}

// Actions that hold what they took out of the document delete it while the document still stands.
// What a window keeps as a child of the stack may name its slices, and goes before them as well.
VRLStack::~VRLStack() {
    const QObjectList kept = children();
    qDeleteAll(kept);
    destroyHistory();
}

void VRLStack::setFilename(const std::string& name) {
    if (name == __filename)
        return;
    __filename = name;
    VRLStackFileNameEvent event(this);
    notifyEvent(event);
}

void VRLStack::setModified(bool modified) {
    __modified = modified;
    if (modified)
        ++__changeCount;
    VRLStackModifyEvent event(this);
    notifyEvent(event);
}

bool VRLStack::write(const std::string& fileName) {
    StackWriter writer;
    if (!writer.write(*this, fileName))
        return false;
    noteWritten(fileName);
    return true;
}

void VRLStack::noteWritten(const std::string& fileName) {
    if (fileName != __filename)
        __fileGuard.lock(fileName);
    __fileGuard.note(fileName);
    setReadOnly("");
    setModified(false);
    setFilename(fileName);
    emit written();
}

void VRLStack::setReadOnly(const std::string& reason) {
    if (reason == __history->getRefusal())
        return;
    __history->setRefusal(reason);
    VRLStackFileNameEvent event(this); // the titles tell it
    notifyEvent(event);
}

bool VRLStack::isReadOnly() const {
    return !__history->getRefusal().empty();
}

void VRLStack::updateReconstruction() {
    __reconstruction.computeMaps();
    __mapsPending = false;
}

/// The maps of all slices follow from each: within a batch they are made once, at its end or when they are asked for.
void VRLStack::mapsChange() {
    if (eventBatchEnabled())
        __mapsPending = true;
    else
        updateReconstruction();
}

StackReconstruction<float>& VRLStack::upToDate() const {
    if (std::exchange(__mapsPending, false))
        __reconstruction.computeMaps();
    return __reconstruction;
}

void VRLStack::atEventBatchEnd() {
    upToDate();
}

void VRLStack::destroyHistory() {
    __history->clear();
}

bool VRLStack::owns(const StackSlice* slice) const {
    return slice != nullptr && slice->getStack() == this;
}

bool VRLStack::owns(const ModelItem* item) const {
    return item != nullptr && owns(item->getSlice());
}

void VRLStack::modifiedIf(bool concerned) {
    if (concerned)
        setModified(true);
}

void VRLStack::stackNameEvent(VRLStackNameEvent& event) {
    modifiedIf(event.getStack() == this);
}

void VRLStack::stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) {
    modifiedIf(event.getStack() == this);
}

void VRLStack::stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) {
    modifiedIf(event.getStack() == this);
}

void VRLStack::sliceAnnotationEvent(VRLSliceAnnotationEvent& event) {
    modifiedIf(owns(event.getSlice()));
}

// Also when it is undone or redone: a slice that came back after a save is in no file yet.
void VRLStack::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    modifiedIf(&action.getStack() == this);
}

void VRLStack::sliceNameEvent(VRLSliceNameEvent& event) {
    modifiedIf(owns(event.getSlice()));
}

void VRLStack::sliceSpacingEvent(VRLSliceSpacingEvent& event) {
    if (!owns(event.getSlice()))
        return;
    mapsChange();
    VRLStackSliceSpacingEvent stackEvent(this);
    notifyEvent(stackEvent);
}

void VRLStack::sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) {
    if (!owns(event.getSlice()))
        return;
    mapsChange();
    VRLStackImageCalibrationEvent stackEvent(this);
    notifyEvent(stackEvent);
}

void VRLStack::sliceImageSourceEvent(VRLSliceImageSourceEvent& event) {
    modifiedIf(owns(event.getSlice()));
}

void VRLStack::modelCreateEvent(VRLModelCreateEvent& event) {
    modifiedIf(findModel(*event.getModel()) >= 0);
}

void VRLStack::modelDeleteEvent(VRLModelDeleteEvent& event) {
    modifiedIf(findModel(*event.getModel()) >= 0);
}

void VRLStack::modelItemCreateEvent(VRLModelItemCreateEvent& event) {
    if (!owns(event.getItem()))
        return;
    setModified(true);
    setLastSegmentedSlice(event.getItem()->getSlice()->getName());
}

void VRLStack::modelItemDeleteEvent(VRLModelItemDeleteEvent& event) {
    modifiedIf(owns(event.getItem()));
}

void VRLStack::modelItemConvertEvent(VRLModelItemConvertEvent& event) {
    modifiedIf(owns(event.getItem()));
}

void VRLStack::modelItemVertexEvent(VRLModelItemVertexEvent& event) {
    modifiedIf(owns(event.getItem()));
}

void VRLStack::modelItemAttributeEvent(VRLModelItemAttributeEvent& event) {
    modifiedIf(owns(event.getItem()));
}

void VRLStack::poseCreateEvent(VRLPoseCreateEvent& event) {
    modifiedIf(event.getPose() != nullptr && event.getPose()->getStack() == this);
}

void VRLStack::poseDeleteEvent(VRLPoseDeleteEvent& event) {
    modifiedIf(event.getPose() != nullptr && event.getPose()->getStack() == this);
}

} // namespace vorlen
