#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "editing/bus/vrleventclient.h"
#include "editing/journal/documentdelta.h"

namespace vorlen {

class Model;
class ModelItem;
class ModelItemOwner;
class Pose;
class Stack;
class StackSlice;
class VRLStack;

/// Watches a document over the bus and tells, at the end of each step, what has changed about it.
///
/// The events say which parts to look at, so that the cost of a step follows the step: a changed item costs its own
/// length, a changed list one comparison of pointers for each member, a change of slices or models the short states of
/// all of them. Of the items it keeps pointers alone.
class DocumentRecorder : public VRLEventClient {
public:
    /// Of the stack as it is; it outlives the recorder.
    explicit DocumentRecorder(VRLStack& stack);
    ~DocumentRecorder() override;

    /// What has changed since the last call, or since this was made. May throw std::bad_alloc; isLost() then.
    DocumentDelta take();

    /// What a stack description does not tell of the document as it is, right after take(): to be given to a document
    /// that was read from one. As long as the document is large, at most.
    DocumentDelta fineState() const;

    /// The memory ran out: what take() gives is not all.
    bool isLost() const { return __lost; }

    void stackRegistrationEvent(VRLStackRegistrationEvent& event) override;
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
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemVertexEvent(VRLModelItemVertexEvent& event) override;
    void modelItemAttributeEvent(VRLModelItemAttributeEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;
    void poseCreateEvent(VRLPoseCreateEvent& event) override;
    void poseDeleteEvent(VRLPoseDeleteEvent& event) override;

private:
    /// A list as it was, and the states of its members.
    template <class T>
    struct List {
        std::vector<T*> members;
        std::vector<std::string> states, images;
        bool dirty = true;
    };

    template <class Mark>
    void mark(Mark&& mark);
    void markItem(ModelItem* item, bool listed);
    void forgetItem(const ModelItem* item);
    template <class T, class State>
    bool takeList(List<T>& list, std::vector<T*> members, State&& state, std::vector<DocumentDelta::Entry>& entries,
                  std::vector<DocumentDelta::Change>& changes) const;
    void takeParts(DocumentDelta& delta);
    void takeSlices(DocumentDelta& delta);
    void takeModels(DocumentDelta& delta);
    void takeItems(DocumentDelta& delta);
    void takeSplices(int model, DocumentDelta& delta);

    VRLStack& __stack;
    std::string __state, __stateButLast;
    List<StackSlice> __slices;
    List<Model> __models;
    List<Pose> __poses;
    std::unordered_map<const Model*, std::vector<ModelItem*>> __items;
    std::unordered_set<const Model*> __dirtyLists;
    std::unordered_set<ModelItem*> __dirtyItems;
    bool __lost = false;
};

} // namespace vorlen
