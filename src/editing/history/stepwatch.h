#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include <QString>

#include "editing/bus/vrleventclient.h"

namespace vorlen {

class Model;
class ModelItem;
class StackSlice;
class VRLStack;

/// Hears, as long as it lives, where an undo or redo changes a stack, so that the user can be told and shown.
class StepWatch : public VRLEventClient {
public:
    /// Of this stack, which is seen.
    explicit StepWatch(VRLStack& stack) : __stack(stack) {}

    /// The slices of the stack on which something has changed, in their order. Those that have left it are not among
    /// them.
    std::vector<StackSlice*> slices() const;

    /// Where something has changed, such as: model "cell", slice "s12". Empty for what concerns the stack as a whole.
    QString where() const;

    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void sliceAnnotationEvent(VRLSliceAnnotationEvent& event) override;
    void sliceNameEvent(VRLSliceNameEvent& event) override;
    void sliceSpacingEvent(VRLSliceSpacingEvent& event) override;
    void sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) override;
    void sliceImageSourceEvent(VRLSliceImageSourceEvent& event) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemVertexEvent(VRLModelItemVertexEvent& event) override;
    void modelItemAttributeEvent(VRLModelItemAttributeEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;

private:
    void note(const StackSlice* slice);
    void note(const Model* model);
    void note(const ModelItem* item);

    VRLStack& __stack;
    std::unordered_set<const StackSlice*> __slices;
    std::unordered_set<const Model*> __models;
    QString __anySlice, __anyModel; // the names of the first
};

} // namespace vorlen
