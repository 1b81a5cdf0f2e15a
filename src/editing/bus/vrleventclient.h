#pragma once

namespace vorlen {

class VRLModelCreateEvent;
class VRLModelDeleteEvent;
class VRLModelItemAttributeEvent;
class VRLModelItemConvertEvent;
class VRLModelItemCreateEvent;
class VRLModelItemDeleteEvent;
class VRLModelItemSelectEvent;
class VRLModelItemVertexEvent;
class VRLModelPropertiesEvent;
class VRLPoseCreateEvent;
class VRLPoseDeleteEvent;
class VRLPreferencesEvent;
class VRLSliceAnnotationEvent;
class VRLSliceImageCalibrationEvent;
class VRLSliceImageSourceEvent;
class VRLSliceItemSelectionEvent;
class VRLSliceLockEvent;
class VRLSliceNameEvent;
class VRLSliceSpacingEvent;
class VRLStackCloseEvent;
class VRLStackFileNameEvent;
class VRLStackImageCalibrationEvent;
class VRLStackModifyEvent;
class VRLStackNameEvent;
class VRLStackOpenEvent;
class VRLStackRegistrationEvent;
class VRLStackSliceSpacingEvent;
class VRLAction;
class VRLEvent;
class VRLSliceAction;
class VRLSliceInsertionDeletionAction;

/// Base of everything that wants to hear of changes to the documents.
///
/// A client hears every event of the process from its construction to its destruction, and decides by the event's
/// contents whether it is concerned. Handlers do nothing until they are overridden.
///
/// A batch marks a series of changes. It holds nothing back: each event is delivered at once. A client with expensive
/// reactions may note what to do while eventBatchEnabled() and do it in atEventBatchEnd().
class VRLEventClient {
public:
    VRLEventClient();
    VRLEventClient(const VRLEventClient&) = delete;
    VRLEventClient& operator=(const VRLEventClient&) = delete;
    virtual ~VRLEventClient();

    virtual void stackOpenEvent(VRLStackOpenEvent& event);
    virtual void stackCloseEvent(VRLStackCloseEvent& event);
    virtual void stackFileNameEvent(VRLStackFileNameEvent& event);
    virtual void stackNameEvent(VRLStackNameEvent& event);
    virtual void stackModifyEvent(VRLStackModifyEvent& event);
    virtual void stackRegistrationEvent(VRLStackRegistrationEvent& event);
    virtual void stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event);
    virtual void stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event);
    virtual void sliceAnnotationEvent(VRLSliceAnnotationEvent& event);
    /// Slice actions; the default passes insertions and deletions on to the second.
    virtual void processSliceAction(VRLSliceAction& action);
    virtual void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action);
    virtual void sliceLockEvent(VRLSliceLockEvent& event);
    virtual void sliceNameEvent(VRLSliceNameEvent& event);
    virtual void sliceSpacingEvent(VRLSliceSpacingEvent& event);
    virtual void sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event);
    virtual void sliceImageSourceEvent(VRLSliceImageSourceEvent& event);
    virtual void sliceItemSelectionEvent(VRLSliceItemSelectionEvent& event);
    virtual void modelCreateEvent(VRLModelCreateEvent& event);
    virtual void modelDeleteEvent(VRLModelDeleteEvent& event);
    virtual void modelPropertiesEvent(VRLModelPropertiesEvent& event);
    virtual void modelItemCreateEvent(VRLModelItemCreateEvent& event);
    virtual void modelItemDeleteEvent(VRLModelItemDeleteEvent& event);
    virtual void modelItemVertexEvent(VRLModelItemVertexEvent& event);
    virtual void modelItemAttributeEvent(VRLModelItemAttributeEvent& event);
    virtual void modelItemSelectEvent(VRLModelItemSelectEvent& event);
    virtual void modelItemConvertEvent(VRLModelItemConvertEvent& event);
    virtual void poseCreateEvent(VRLPoseCreateEvent& event);
    virtual void poseDeleteEvent(VRLPoseDeleteEvent& event);
    virtual void preferencesEvent(VRLPreferencesEvent& event);
    virtual void atEventBatchEnd();

    /// Sends to all clients, this one included, which becomes the event's sender.
    void notifyEvent(VRLEvent& event);
    void notifyAction(VRLAction& action);

    /// Calls the handler that belongs to the event, or to the action.
    void processEvent(VRLEvent& event);
    void processAction(VRLAction& action);

    /// Begins a batch, or ends it and tells all clients. Throws UsageError when there is one already, or none to end.
    static void enableEventBatch(bool enable);
    static bool eventBatchEnabled() { return __eventBatchEnabled; }

private:
    static bool __eventBatchEnabled;
};

} // namespace vorlen
