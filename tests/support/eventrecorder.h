#pragma once

#include <string>
#include <utility>
#include <vector>

#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrleventclient.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlposeevent.h"
#include "editing/bus/vrlpreferencesevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"

namespace vorlen {

/// Writes down the handlers that are called, by name, in order.
class EventRecorder : public VRLEventClient {
public:
    void stackOpenEvent(VRLStackOpenEvent&) override { heard.push_back("stackOpen"); }
    void stackCloseEvent(VRLStackCloseEvent&) override { heard.push_back("stackClose"); }
    void stackFileNameEvent(VRLStackFileNameEvent&) override { heard.push_back("stackFileName"); }
    void stackNameEvent(VRLStackNameEvent&) override { heard.push_back("stackName"); }
    void stackModifyEvent(VRLStackModifyEvent&) override { heard.push_back("stackModify"); }
    void stackRegistrationEvent(VRLStackRegistrationEvent&) override { heard.push_back("stackRegistration"); }
    void stackSliceSpacingEvent(VRLStackSliceSpacingEvent&) override { heard.push_back("stackSliceSpacing"); }
    void stackImageCalibrationEvent(VRLStackImageCalibrationEvent&) override {
        heard.push_back("stackImageCalibration");
    }
    void sliceAnnotationEvent(VRLSliceAnnotationEvent&) override { heard.push_back("sliceAnnotation"); }
    void sliceLockEvent(VRLSliceLockEvent&) override { heard.push_back("sliceLock"); }
    void sliceNameEvent(VRLSliceNameEvent&) override { heard.push_back("sliceName"); }
    void sliceSpacingEvent(VRLSliceSpacingEvent&) override { heard.push_back("sliceSpacing"); }
    void sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent&) override {
        heard.push_back("sliceImageCalibration");
    }
    void sliceImageSourceEvent(VRLSliceImageSourceEvent&) override { heard.push_back("sliceImageSource"); }
    void sliceItemSelectionEvent(VRLSliceItemSelectionEvent&) override { heard.push_back("sliceItemSelection"); }
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override {
        heard.push_back(action.isInsertion() != action.reverted() ? "sliceIn" : "sliceOut");
    }
    void modelCreateEvent(VRLModelCreateEvent&) override { heard.push_back("modelCreate"); }
    void modelDeleteEvent(VRLModelDeleteEvent&) override { heard.push_back("modelDelete"); }
    void modelPropertiesEvent(VRLModelPropertiesEvent&) override { heard.push_back("modelProperties"); }
    void modelItemCreateEvent(VRLModelItemCreateEvent&) override { heard.push_back("itemCreate"); }
    void modelItemDeleteEvent(VRLModelItemDeleteEvent&) override { heard.push_back("itemDelete"); }
    void modelItemVertexEvent(VRLModelItemVertexEvent&) override { heard.push_back("itemVertex"); }
    void modelItemAttributeEvent(VRLModelItemAttributeEvent&) override { heard.push_back("itemAttribute"); }
    void modelItemSelectEvent(VRLModelItemSelectEvent&) override { heard.push_back("itemSelect"); }
    void modelItemConvertEvent(VRLModelItemConvertEvent&) override { heard.push_back("itemConvert"); }
    void poseCreateEvent(VRLPoseCreateEvent&) override { heard.push_back("poseCreate"); }
    void poseDeleteEvent(VRLPoseDeleteEvent&) override { heard.push_back("poseDelete"); }
    void preferencesEvent(VRLPreferencesEvent&) override { heard.push_back("preferences"); }
    void atEventBatchEnd() override { heard.push_back("batchEnd"); }

    /// What was heard since the last call.
    std::vector<std::string> take() { return std::exchange(heard, {}); }

    std::vector<std::string> heard;
};

} // namespace vorlen
