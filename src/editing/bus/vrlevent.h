#pragma once

namespace vorlen {

class VRLEventClient;

/// What has happened to a document. Events are built by their sender on its own call stack and are gone when the
/// notification returns: a handler keeps no pointer to one.
class VRLEvent {
public:
    enum Type {
        StackOpen = 0,
        StackClose = 1,
        StackName = 2,
        StackFileName = 3,
        StackModify = 4,
        StackRegistration = 5,
        StackSliceSpacing = 6,
        StackImageCalibration = 7,
        SliceAnnotation = 8,
        SliceLock = 9,
        SliceName = 10,
        SliceSpacing = 11,
        SliceImageCalibration = 12,
        SliceItemSelection = 13,
        ModelCreate = 14,
        ModelDelete = 15,
        ModelProperties = 16,
        ModelItemCreate = 17,
        ModelItemDelete = 18,
        ModelItemVertex = 19,
        ModelItemAttribute = 20,
        ModelItemSelect = 21,
        ModelItemConvert = 22,
        PoseCreate = 23,
        PoseDelete = 24,
        Preferences = 25,
        SliceImageSource = 26
    };

    VRLEvent() = default;
    virtual ~VRLEvent();

    virtual int type() const = 0;

    /// The client that sent the event; null for a sender that is no client, and until it is sent.
    VRLEventClient* getSender() const { return __sender; }
    void setSender(VRLEventClient* sender) { __sender = sender; }

private:
    VRLEventClient* __sender = nullptr;
};

} // namespace vorlen
