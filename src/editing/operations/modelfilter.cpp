#include "editing/operations/modelfilter.h"

#include <algorithm>
#include <memory>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemdeletionaction.h"
#include "editing/actions/vrlmodeldeletionaction.h"
#include "editing/actions/vrlremoveselectionaction.h"
#include "editing/actions/vrlselectionaction.h"
#include "editing/bus/vrleventbatch.h"
#include "editing/operations/onestep.h"
#include "editing/operations/orderedstep.h"
#include "progress/progresssubject.h"
#include "shapes/curve.h"

namespace vorlen {

namespace {

/// An outline of the reference with its box, outside of which nothing has to be looked at.
struct Ring {
    Curve<double> curve;
    BoundingBox<double> box;

    bool contains(const Vector<double>& vertex) const {
        for (const int axis : {0, 1})
            if (vertex[axis] < box.getVertex1()[axis] || vertex[axis] > box.getVertex2()[axis])
                return false;
        return curve.contains(vertex, 0, 1);
    }
};

std::vector<Ring> outlinesOn(const StackSlice& slice, const Model& reference) {
    std::vector<Ring> outlines;
    for (int i = 0; i < slice.getNumItems(); ++i) {
        const ModelItem& item = slice.getItem(i);
        if (item.getModel() == &reference && item.extent().isValid())
            outlines.push_back({Curve<double>(item.getVertices(), false), item.extent()});
    }
    return outlines;
}

/// The vertices that lie outside of all outlines; all of them when too few would stay.
ModelItemSelection outsideOf(const std::vector<Ring>& outlines, const ModelItem& item) {
    const int n = item.getSize();
    ModelItemSelection outside;
    outside.reset(n);
    outside.set(true);
    for (const Ring& outline : outlines)
        for (int i = n - 1; i >= 0; --i)
            if (outside.isSelected(i) && outline.contains(item.getVertices()[i]))
                outside.set(false, i, false);
    const int needed = item.isClosed() ? 3 : item.isConnected() ? 2 : 1;
    if (!outside.isEmpty() && n - outside.getSize() < needed)
        outside.set(true);
    return outside;
}

bool isAmong(const std::vector<Model*>& models, const Model* model) {
    return std::find(models.begin(), models.end(), model) != models.end();
}

void planModels(const Model& reference, const std::vector<Model*>& models, FilterPlan& plan) {
    for (Model* model : models) {
        if (reference.partiallyContains(*model))
            continue;
        plan.models.push_back(model);
        for (int i = 0; i < model->getNumItems(); ++i) {
            ModelItemSelection all;
            all.reset(model->getItem(i).getSize());
            all.set(true);
            plan.losses.push_back({&model->getItem(i), all});
        }
    }
}

void planPoints(const Stack& stack, const Model& reference, const std::vector<Model*>& models, FilterPlan& plan) {
    for (int s = 0; s < stack.getNumSlices(); ++s) {
        const StackSlice& slice = stack.getSlice(s);
        const std::vector<Ring> outlines = outlinesOn(slice, reference);
        for (int i = slice.getNumItems() - 1; i >= 0; --i) {
            const ModelItem& item = slice.getItem(i);
            if (!isAmong(models, item.getModel()))
                continue;
            ModelItemSelection outside = outsideOf(outlines, item);
            // An item without vertices has nothing outside.
            if (!outside.isEmpty())
                plan.losses.push_back({const_cast<ModelItem*>(&item), std::move(outside)});
        }
    }
}

void countShares(const std::vector<Model*>& models, FilterPlan& plan) {
    for (const Model* model : models)
        plan.shares.push_back({model, isAmong(plan.models, model), 0, 0});
    for (const FilterPlan::Loss& loss : plan.losses)
        for (FilterPlan::Share& share : plan.shares)
            if (share.model == loss.item->getModel()) {
                share.numItems += loss.isWhole() ? 1 : 0;
                share.numVertices += loss.vertices.getSize();
            }
}

void removeVertices(OrderedStep& step, const FilterPlan::Loss& loss) {
    auto selection = std::make_unique<VRLSelectionAction>(*loss.item);
    selection->setSelection(loss.vertices);
    if (!selection->isNull())
        step.apply(std::move(selection));
    if (loss.isWhole())
        step.apply(std::make_unique<VRLItemDeletionAction>(*loss.item));
    else
        step.apply(std::make_unique<VRLRemoveSelectionAction>(*loss.item));
}

} // namespace

std::size_t FilterPlan::numVertices() const {
    std::size_t sum = 0;
    for (const Loss& loss : losses)
        sum += std::size_t(loss.vertices.getSize());
    return sum;
}

std::size_t FilterPlan::numItems() const {
    return std::size_t(std::count_if(losses.begin(), losses.end(), [](const Loss& loss) { return loss.isWhole(); }));
}

Outcome planFilter(const Stack& stack, const Model& reference, const std::vector<Model*>& models, FilterMode mode,
                   FilterPlan& plan) {
    plan = FilterPlan();
    plan.mode = mode;
    if (stack.findModel(reference) < 0)
        return Outcome::refused("The reference is not in this stack");
    if (!reference.getProperties().definesGeometry() || reference.getProperties().getGeometry() != PolygonPrimitive)
        return Outcome::refused("The reference must be a model of polygons");
    std::vector<Model*> others;
    for (Model* model : models) {
        if (stack.findModel(*model) < 0)
            return Outcome::refused("The model is not in this stack");
        if (model != &reference && !isAmong(others, model))
            others.push_back(model);
    }
    if (others.empty())
        return Outcome::refused("There is no model to filter besides the reference");
    if (mode == FilterMode::NonIntersectingModels)
        planModels(reference, others, plan);
    else
        planPoints(stack, reference, others, plan);
    countShares(others, plan);
    return Outcome::done();
}

Outcome filterModels(VRLStack& stack, const Model& reference, const std::vector<Model*>& models, FilterMode mode,
                     ProgressSubject& progress) {
    FilterPlan plan;
    if (const Outcome planned = planFilter(stack, reference, models, mode, plan); !planned)
        return planned;
    const std::string nothing = mode == FilterMode::NonIntersectingModels
                                    ? "All these models intersect the reference: nothing is to be removed"
                                    : "All points lie within the reference: nothing is to be removed";
    if (plan.isEmpty())
        return Outcome::refused(nothing);
    progress.notifyStarted("Filtering models...");
    const bool wholeModels = mode == FilterMode::NonIntersectingModels;
    const std::size_t total = wholeModels ? plan.models.size() : plan.losses.size();
    struct Cancelled {};
    try {
        Outcome outcome = Outcome::done();
        inEventBatch([&] {
            outcome = inOneStep(stack, nothing, [&](EditStep& whole) {
                OrderedStep step(whole, "Filter models");
                for (std::size_t i = 0; i < total; ++i) {
                    if (progress.isCanceled())
                        throw Cancelled();
                    if (wholeModels)
                        step.apply(std::make_unique<VRLModelDeletionAction>(stack, *plan.models[i]));
                    else
                        removeVertices(step, plan.losses[i]);
                    progress.notifyProgressed(static_cast<unsigned int>(i + 1), static_cast<unsigned int>(total));
                }
            });
        });
        progress.notifyFinished("");
        return outcome;
    } catch (const Cancelled&) {
        progress.notifyCanceled("");
        return Outcome::refused("The filter was cancelled");
    }
}

} // namespace vorlen
