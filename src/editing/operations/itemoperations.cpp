#include "editing/operations/itemoperations.h"

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/actions/vrldrawingdiscardaction.h"
#include "editing/actions/vrlitemappendpointsaction.h"
#include "editing/actions/vrlitemdeletionaction.h"
#include "editing/actions/vrlitemselectionconversionaction.h"
#include "editing/actions/vrlitemverticeschangeaction.h"
#include "editing/actions/vrlremoveselectionaction.h"
#include "editing/operations/onestep.h"
#include "shapes/curve.h"
#include "shapes/curvedecimation.h"

namespace vorlen {

namespace {

const char* const nothingSelected = "Nothing is selected that this could change";

std::string modelName(const ModelItem& item) {
    return item.getModel() != nullptr ? item.getModel()->getName() : std::string();
}

/// The vertices, taken as a closed curve, without those in line with their neighbours.
Curve<double> withoutVerticesInLine(const Vertices<double>& vertices) {
    Vertices<double> copy = vertices;
    copy.detach();
    Curve<double> curve(copy, false);
    CurveDecimation<double> decimation;
    decimation.setRecursive(true);
    decimation.apply(curve);
    return curve;
}

/// Applies the work to the items of which something is selected, from the last to the first, as some of them go.
template <class Work>
void forSelected(StackSlice& slice, Work&& work) {
    for (int i = slice.getNumItems() - 1; i >= 0; --i)
        if (!slice.getItem(i).getSelection().isEmpty())
            work(slice.getItem(i));
}

} // namespace

std::string tooFewVerticesToCreate(const ModelItem& item) {
    if (item.isClosed())
        return "Cannot create a closed contour with less than 3 points.";
    return item.isConnected() ? "Cannot create an open contour with less than 2 points."
                              : "There are no points to add.";
}

Outcome createItem(VRLStack& stack, StackSlice& slice, Model& model, const Vertices<double>& vertices,
                   bool dropInLine) {
    auto item = std::make_unique<ModelItem>();
    item->setModel(&model);
    item->setSlice(&slice);
    item->setVertices(vertices);
    if (item->getSize() < leastNumVertices(item->getGeometry()))
        return Outcome::refused(tooFewVerticesToCreate(*item));
    if (!item->isConnected())
        if (ModelItem* const buddy = slice.buddyItem(*item))
            return appendVertices(stack, *buddy, vertices);
    item->setClockwise(false);
    if (item->isConnected() && dropInLine) {
        const Curve<double> fewer = withoutVerticesInLine(item->getVertices());
        if (fewer.getNumVertices() > 2)
            item->setVertices(fewer);
    }
    return inOneStep(stack, {}, [&item](EditStep& step) { applyCreation(step, std::move(item)); });
}

void keepDiscardedDrawing(VRLStack& stack, StackSlice& slice, Model& model, const Vertices<double>& vertices) {
    if (vertices.getNumVertices() > 0 && stack.history() != nullptr && !stack.history()->isStepOpen())
        stack.history()->addAside(std::make_unique<VRLDrawingDiscardAction>(slice, model, vertices));
}

Outcome deleteItem(VRLStack& stack, ModelItem& item) {
    return inOneStep(
        stack, {}, [&](EditStep& step) { step.apply(std::make_unique<VRLItemDeletionAction>(item)); });
}

Outcome appendVertices(VRLStack& stack, ModelItem& item, const Vertices<double>& vertices) {
    return inOneStep(
        stack, "There are no vertices to append",
        [&](EditStep& step) {
            if (vertices.getNumVertices() == 0)
                return;
            auto append = std::make_unique<VRLItemAppendPointsAction>(item);
            append->setVertices(vertices);
            step.apply(std::move(append));
        });
}

Outcome convertSelection(VRLStack& stack, StackSlice& slice, Model& model) {
    return inOneStep(
        stack, nothingSelected,
        [&](EditStep& step) {
            forSelected(
                slice,
                [&](ModelItem& item) {
                    if (item.getModel() == &model)
                        return;
                    auto conversion = std::make_unique<VRLItemSelectionConversionAction>(item);
                    conversion->setModel(model);
                    step.apply(std::move(conversion));
                });
        });
}

Outcome deleteSelection(VRLStack& stack, StackSlice& slice, std::vector<std::string>& refusals) {
    return inOneStep(
        stack, nothingSelected,
        [&](EditStep& step) {
            forSelected(
                slice,
                [&](ModelItem& item) {
                    const int numLeft = item.getSize() - item.getSelection().getSize();
                    const int least = leastNumVertices(item.getGeometry());
                    if (item.getSelection().isComplete())
                        step.apply(std::make_unique<VRLItemDeletionAction>(item));
                    else if (numLeft >= least)
                        step.apply(std::make_unique<VRLRemoveSelectionAction>(item));
                    else
                        refusals.push_back(modelName(item) +
                                           ":\n\nCould not remove selected vertices since this would leave only " +
                                           std::to_string(numLeft) +
                                           " vertices on the contour (the minimum number of vertices per contour is " +
                                           std::to_string(least) + " in this model).");
                });
        });
}

Outcome decimateSelection(VRLStack& stack, StackSlice& slice, std::vector<DecimationReport>& reports) {
    return inOneStep(
        stack, "There are no vertices in line with their neighbours",
        [&](EditStep& step) {
            forSelected(
                slice,
                [&](ModelItem& item) {
                    if (!item.isConnected())
                        return;
                    const int size = item.getSize();
                    const Curve<double> curve = withoutVerticesInLine(item.getVertices());
                    if (curve.getNumVertices() == size)
                        return;
                    auto change = std::make_unique<VRLItemVerticesChangeAction>(item);
                    change->setVertices(curve);
                    step.apply(std::move(change));
                    reports.push_back({modelName(item), size - curve.getNumVertices(), size});
                });
        });
}

} // namespace vorlen
