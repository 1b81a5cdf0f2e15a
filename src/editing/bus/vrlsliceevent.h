#pragma once

#include "document/stacksliceselectioninfo.h"
#include "editing/bus/vrlevent.h"

namespace vorlen {

class StackSlice;

/// Something about a slice.
class VRLSliceEvent : public VRLEvent {
public:
    explicit VRLSliceEvent(StackSlice* slice) : __slice(slice) {}

    StackSlice* getSlice() const { return __slice; }
    void setSlice(StackSlice* slice) { __slice = slice; }

private:
    StackSlice* __slice;
};

/// The slice's note has changed.
class VRLSliceAnnotationEvent : public VRLSliceEvent {
public:
    explicit VRLSliceAnnotationEvent(StackSlice* slice) : VRLSliceEvent(slice) {}
    int type() const override { return SliceAnnotation; }
};

/// A tool takes or gives back the slice for a long piece of work.
class VRLSliceLockEvent : public VRLSliceEvent {
public:
    VRLSliceLockEvent(StackSlice* slice, bool lockOn) : VRLSliceEvent(slice), __lockOn(lockOn) {}
    int type() const override { return SliceLock; }

    void setLockOn(bool lockOn) { __lockOn = lockOn; }
    bool isLockOn() const { return __lockOn; }

private:
    bool __lockOn;
};

/// The slice has another name.
class VRLSliceNameEvent : public VRLSliceEvent {
public:
    explicit VRLSliceNameEvent(StackSlice* slice) : VRLSliceEvent(slice) {}
    int type() const override { return SliceName; }
};

/// The slice has moved along the cutting axis.
class VRLSliceSpacingEvent : public VRLSliceEvent {
public:
    explicit VRLSliceSpacingEvent(StackSlice* slice) : VRLSliceEvent(slice) {}
    int type() const override { return SliceSpacing; }
};

/// The slice's pixels have another size.
class VRLSliceImageCalibrationEvent : public VRLSliceEvent {
public:
    explicit VRLSliceImageCalibrationEvent(StackSlice* slice) : VRLSliceEvent(slice) {}
    int type() const override { return SliceImageCalibration; }
};

/// The slice shows another image.
class VRLSliceImageSourceEvent : public VRLSliceEvent {
public:
    explicit VRLSliceImageSourceEvent(StackSlice* slice) : VRLSliceEvent(slice) {}
    int type() const override { return SliceImageSource; }
};

/// Something else is selected on the slice.
class VRLSliceItemSelectionEvent : public VRLSliceEvent {
public:
    VRLSliceItemSelectionEvent(StackSlice* slice, const StackSliceSelectionInfo& info)
        : VRLSliceEvent(slice), __info(info) {}
    int type() const override { return SliceItemSelection; }

    void setSelectionInfo(const StackSliceSelectionInfo& info) { __info = info; }
    const StackSliceSelectionInfo& getSelectionInfo() const { return __info; }

private:
    StackSliceSelectionInfo __info;
};

} // namespace vorlen
