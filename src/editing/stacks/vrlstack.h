#pragma once

#include <memory>
#include <string>

#include <QObject>

#include "document/stack.h"
#include "editing/bus/vrleventclient.h"
#include "editing/stacks/stackfileguard.h"
#include "reconstruction/stackreconstruction.h"

namespace vorlen {

class VRLActionHistory;

/// A stack as it lives in the application: with its file, its modified flag, its undo history and its reconstruction.
///
/// The stack hears of changes to itself over the event bus and sets its modified flag. Only a successful write clears
/// the flag: undoing back to the state of the last save does not.
///
/// A read-only stack, one whose file was not read whole or is open elsewhere, takes no edits: each step is refused with
/// the reason. Written under another name it is an ordinary stack again.
///
/// A window room that keeps something for each stack gives it the stack as its parent: it goes first when the stack
/// does.
class VRLStack : public QObject, public Stack, public VRLEventClient {
    Q_OBJECT

public:
    VRLStack();
    ~VRLStack() override;

    /// Another name sends VRLStackFileNameEvent.
    void setFilename(const std::string& name);

    /// Empty for a stack that was never saved.
    const std::string& getFilename() const { return __filename; }

    /// Always sends VRLStackModifyEvent.
    void setModified(bool modified);
    bool isModified() const { return __modified; }

    /// Counts the calls of setModified(true): tells whether there was a change since somebody last looked.
    unsigned int getChangeCount() const { return __changeCount; }

    /// Writes the stack, clears the modified flag and takes the file's name over; makes no backups. False when the file
    /// cannot be written: the old file is whole, and flag and name stay. Throws what StackWriter::write() throws.
    bool write(const std::string& fileName);

    /// To be called when the whole stack has been written to this file: clears the modified flag, takes the file's name
    /// over, and watches the file from now on.
    void noteWritten(const std::string& fileName);

    /// The watch over the stack's file.
    StackFileGuard& fileGuard() { return __fileGuard; }
    const StackFileGuard& fileGuard() const { return __fileGuard; }

    /// A reason, as a sentence for the user, keeps the stack from being edited; an empty one lets it.
    void setReadOnly(const std::string& reason);
    bool isReadOnly() const;

    /// To be called by whoever changes what enters the reconstruction.
    void updateReconstruction();
    const StackReconstruction<float>& getReconstruction() const { return upToDate(); }
    StackReconstruction<float>& getReconstruction() { return upToDate(); }

    VRLActionHistory* history() const { return __history.get(); }
    void destroyHistory();

    /// Set by the registration window that works on the stack.
    void setRegistrationWindowOpen(bool open) { __registrationWindowOpen = open; }
    bool isRegistrationWindowOpen() const { return __registrationWindowOpen; }

    void stackNameEvent(VRLStackNameEvent& event) override;
    void stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) override;
    void stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) override;
    void sliceAnnotationEvent(VRLSliceAnnotationEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void sliceNameEvent(VRLSliceNameEvent& event) override;
    void sliceSpacingEvent(VRLSliceSpacingEvent& event) override;
    void sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) override;
    void sliceImageSourceEvent(VRLSliceImageSourceEvent& event) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;
    void modelItemVertexEvent(VRLModelItemVertexEvent& event) override;
    void modelItemAttributeEvent(VRLModelItemAttributeEvent& event) override;
    void poseCreateEvent(VRLPoseCreateEvent& event) override;
    void poseDeleteEvent(VRLPoseDeleteEvent& event) override;
    void atEventBatchEnd() override;

signals:
    /// The whole stack has been written to its file.
    void written();

private:
    void mapsChange();
    StackReconstruction<float>& upToDate() const;
    bool owns(const StackSlice* slice) const;
    bool owns(const ModelItem* item) const;
    void modifiedIf(bool concerned);

    std::string __filename;
    bool __registrationWindowOpen = false;
    bool __modified = false;
    unsigned int __changeCount = 0;
    StackFileGuard __fileGuard;
    mutable StackReconstruction<float> __reconstruction;
    mutable bool __mapsPending = false; // within a batch, in which each slice tells of its change
    std::unique_ptr<VRLActionHistory> __history;
};

} // namespace vorlen
