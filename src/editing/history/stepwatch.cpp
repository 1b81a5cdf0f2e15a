#include "editing/history/stepwatch.h"

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

std::vector<StackSlice*> StepWatch::slices() const {
    std::vector<StackSlice*> there;
    for (int i = 0; !__slices.empty() && i < __stack.getNumSlices(); ++i)
        if (__slices.count(&__stack.getSlice(i)) > 0)
            there.push_back(&__stack.getSlice(i));
    return there;
}

QString StepWatch::where() const {
    const auto tell = [](const QString& kind, std::size_t number, const QString& name) {
        return number == 1 ? kind + " \"" + name + "\"" : QString::number(number) + " " + kind + "s";
    };
    QString text;
    if (!__models.empty())
        text = tell("model", __models.size(), __anyModel);
    if (!__slices.empty())
        text += (text.isEmpty() ? "" : ", ") + tell("slice", __slices.size(), __anySlice);
    return text;
}

void StepWatch::note(const StackSlice* slice) {
    if (slice == nullptr || slice->getStack() != &__stack)
        return;
    __slices.insert(slice);
    if (__slices.size() == 1)
        __anySlice = QString::fromStdString(slice->getName());
}

void StepWatch::note(const Model* model) {
    if (model == nullptr)
        return;
    __models.insert(model);
    if (__models.size() == 1)
        __anyModel = QString::fromStdString(model->getName());
}

void StepWatch::note(const ModelItem* item) {
    if (item == nullptr || item->getSlice() == nullptr || item->getSlice()->getStack() != &__stack)
        return;
    note(item->getSlice());
    note(item->getModel());
}

void StepWatch::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (&action.getStack() != &__stack)
        return;
    __slices.insert(action.getSlice());
    if (__slices.size() == 1)
        __anySlice = QString::fromStdString(action.getSlice()->getName());
}

void StepWatch::sliceAnnotationEvent(VRLSliceAnnotationEvent& event) {
    note(event.getSlice());
}

void StepWatch::sliceNameEvent(VRLSliceNameEvent& event) {
    note(event.getSlice());
}

void StepWatch::sliceSpacingEvent(VRLSliceSpacingEvent& event) {
    note(event.getSlice());
}

void StepWatch::sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) {
    note(event.getSlice());
}

void StepWatch::sliceImageSourceEvent(VRLSliceImageSourceEvent& event) {
    note(event.getSlice());
}

void StepWatch::modelCreateEvent(VRLModelCreateEvent& event) {
    if (__stack.findModel(*event.getModel()) >= 0)
        note(event.getModel());
}

void StepWatch::modelDeleteEvent(VRLModelDeleteEvent& event) {
    if (__stack.findModel(*event.getModel()) >= 0)
        note(event.getModel());
}

void StepWatch::modelPropertiesEvent(VRLModelPropertiesEvent& event) {
    if (__stack.findModel(*event.getModel()) >= 0)
        note(event.getModel());
}

void StepWatch::modelItemCreateEvent(VRLModelItemCreateEvent& event) {
    note(event.getItem());
}

void StepWatch::modelItemDeleteEvent(VRLModelItemDeleteEvent& event) {
    note(event.getItem());
}

void StepWatch::modelItemVertexEvent(VRLModelItemVertexEvent& event) {
    note(event.getItem());
}

void StepWatch::modelItemAttributeEvent(VRLModelItemAttributeEvent& event) {
    note(event.getItem());
}

void StepWatch::modelItemConvertEvent(VRLModelItemConvertEvent& event) {
    note(event.getItem());
    if (event.getItem() != nullptr && __slices.count(event.getItem()->getSlice()) > 0)
        note(event.getSourceModel());
}

} // namespace vorlen
