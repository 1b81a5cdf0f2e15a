#include "editing/bus/vrleventclient.h"

#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlposeevent.h"
#include "editing/bus/vrlpreferencesevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "numerics/exception.h"

namespace vorlen {

bool VRLEventClient::__eventBatchEnabled = false;

VRLEventClient::VRLEventClient() {
    VRLEventServer::attach(*this);
}

VRLEventClient::~VRLEventClient() {
    VRLEventServer::detach(*this);
}

void VRLEventClient::stackOpenEvent(VRLStackOpenEvent&) {
}

void VRLEventClient::stackCloseEvent(VRLStackCloseEvent&) {
}

void VRLEventClient::stackFileNameEvent(VRLStackFileNameEvent&) {
}

void VRLEventClient::stackNameEvent(VRLStackNameEvent&) {
}

void VRLEventClient::stackModifyEvent(VRLStackModifyEvent&) {
}

void VRLEventClient::stackRegistrationEvent(VRLStackRegistrationEvent&) {
}

void VRLEventClient::stackSliceSpacingEvent(VRLStackSliceSpacingEvent&) {
}

void VRLEventClient::stackImageCalibrationEvent(VRLStackImageCalibrationEvent&) {
}

void VRLEventClient::sliceAnnotationEvent(VRLSliceAnnotationEvent&) {
}

void VRLEventClient::processSliceAction(VRLSliceAction& action) {
    if (auto* insertionDeletion = dynamic_cast<VRLSliceInsertionDeletionAction*>(&action))
        processSliceInsertionDeletionAction(*insertionDeletion);
}

void VRLEventClient::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction&) {
}

void VRLEventClient::sliceLockEvent(VRLSliceLockEvent&) {
}

void VRLEventClient::sliceNameEvent(VRLSliceNameEvent&) {
}

void VRLEventClient::sliceSpacingEvent(VRLSliceSpacingEvent&) {
}

void VRLEventClient::sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent&) {
}

void VRLEventClient::sliceImageSourceEvent(VRLSliceImageSourceEvent&) {
}

void VRLEventClient::sliceItemSelectionEvent(VRLSliceItemSelectionEvent&) {
}

void VRLEventClient::modelCreateEvent(VRLModelCreateEvent&) {
}

void VRLEventClient::modelDeleteEvent(VRLModelDeleteEvent&) {
}

void VRLEventClient::modelPropertiesEvent(VRLModelPropertiesEvent&) {
}

void VRLEventClient::modelItemCreateEvent(VRLModelItemCreateEvent&) {
}

void VRLEventClient::modelItemDeleteEvent(VRLModelItemDeleteEvent&) {
}

void VRLEventClient::modelItemVertexEvent(VRLModelItemVertexEvent&) {
}

void VRLEventClient::modelItemAttributeEvent(VRLModelItemAttributeEvent&) {
}

void VRLEventClient::modelItemSelectEvent(VRLModelItemSelectEvent&) {
}

void VRLEventClient::modelItemConvertEvent(VRLModelItemConvertEvent&) {
}

void VRLEventClient::poseCreateEvent(VRLPoseCreateEvent&) {
}

void VRLEventClient::poseDeleteEvent(VRLPoseDeleteEvent&) {
}

void VRLEventClient::preferencesEvent(VRLPreferencesEvent&) {
}

void VRLEventClient::atEventBatchEnd() {
}

void VRLEventClient::notifyEvent(VRLEvent& event) {
    event.setSender(this);
    VRLEventServer::notifyEvent(event);
}

void VRLEventClient::notifyAction(VRLAction& action) {
    VRLEventServer::notifyAction(action);
}

void VRLEventClient::processEvent(VRLEvent& event) {
    switch (event.type()) {
    case VRLEvent::StackOpen:
        return stackOpenEvent(static_cast<VRLStackOpenEvent&>(event));
    case VRLEvent::StackClose:
        return stackCloseEvent(static_cast<VRLStackCloseEvent&>(event));
    case VRLEvent::StackFileName:
        return stackFileNameEvent(static_cast<VRLStackFileNameEvent&>(event));
    case VRLEvent::StackName:
        return stackNameEvent(static_cast<VRLStackNameEvent&>(event));
    case VRLEvent::StackModify:
        return stackModifyEvent(static_cast<VRLStackModifyEvent&>(event));
    case VRLEvent::StackRegistration:
        return stackRegistrationEvent(static_cast<VRLStackRegistrationEvent&>(event));
    case VRLEvent::StackSliceSpacing:
        return stackSliceSpacingEvent(static_cast<VRLStackSliceSpacingEvent&>(event));
    case VRLEvent::StackImageCalibration:
        return stackImageCalibrationEvent(static_cast<VRLStackImageCalibrationEvent&>(event));
    case VRLEvent::SliceAnnotation:
        return sliceAnnotationEvent(static_cast<VRLSliceAnnotationEvent&>(event));
    case VRLEvent::SliceLock:
        return sliceLockEvent(static_cast<VRLSliceLockEvent&>(event));
    case VRLEvent::SliceName:
        return sliceNameEvent(static_cast<VRLSliceNameEvent&>(event));
    case VRLEvent::SliceSpacing:
        return sliceSpacingEvent(static_cast<VRLSliceSpacingEvent&>(event));
    case VRLEvent::SliceImageCalibration:
        return sliceImageCalibrationEvent(static_cast<VRLSliceImageCalibrationEvent&>(event));
    case VRLEvent::SliceImageSource:
        return sliceImageSourceEvent(static_cast<VRLSliceImageSourceEvent&>(event));
    case VRLEvent::SliceItemSelection:
        return sliceItemSelectionEvent(static_cast<VRLSliceItemSelectionEvent&>(event));
    case VRLEvent::ModelCreate:
        return modelCreateEvent(static_cast<VRLModelCreateEvent&>(event));
    case VRLEvent::ModelDelete:
        return modelDeleteEvent(static_cast<VRLModelDeleteEvent&>(event));
    case VRLEvent::ModelProperties:
        return modelPropertiesEvent(static_cast<VRLModelPropertiesEvent&>(event));
    case VRLEvent::ModelItemCreate:
        return modelItemCreateEvent(static_cast<VRLModelItemCreateEvent&>(event));
    case VRLEvent::ModelItemDelete:
        return modelItemDeleteEvent(static_cast<VRLModelItemDeleteEvent&>(event));
    case VRLEvent::ModelItemVertex:
        return modelItemVertexEvent(static_cast<VRLModelItemVertexEvent&>(event));
    case VRLEvent::ModelItemAttribute:
        return modelItemAttributeEvent(static_cast<VRLModelItemAttributeEvent&>(event));
    case VRLEvent::ModelItemSelect:
        return modelItemSelectEvent(static_cast<VRLModelItemSelectEvent&>(event));
    case VRLEvent::ModelItemConvert:
        return modelItemConvertEvent(static_cast<VRLModelItemConvertEvent&>(event));
    case VRLEvent::PoseCreate:
        return poseCreateEvent(static_cast<VRLPoseCreateEvent&>(event));
    case VRLEvent::PoseDelete:
        return poseDeleteEvent(static_cast<VRLPoseDeleteEvent&>(event));
    case VRLEvent::Preferences:
        return preferencesEvent(static_cast<VRLPreferencesEvent&>(event));
    default:
        break;
    }
}

void VRLEventClient::processAction(VRLAction& action) {
    if (auto* sliceAction = dynamic_cast<VRLSliceAction*>(&action))
        processSliceAction(*sliceAction);
}

void VRLEventClient::enableEventBatch(bool enable) {
    if (enable == __eventBatchEnabled)
        throw UsageError("void VRLEventClient::enableEventBatch(const bool)",
                         enable ? "An event sequence is already open" : "There is no event sequence to end");
    __eventBatchEnabled = enable;
    if (!enable)
        VRLEventServer::atEventBatchEnd();
}

} // namespace vorlen
