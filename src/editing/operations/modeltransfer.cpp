#include "editing/operations/modeltransfer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/actions/vrlmodelcreationaction.h"
#include "editing/actions/vrlmodeldeletionaction.h"
#include "editing/bus/vrleventbatch.h"
#include "editing/operations/onestep.h"
#include "editing/operations/orderedstep.h"
#include "progress/progresssubject.h"
#include "reconstruction/stackreconstruction.h"

namespace vorlen {

namespace {

const Model* findModel(const Stack& stack, const std::string& name) {
    for (int i = 0; i < stack.getNumModels(); ++i)
        if (stack.getModel(i).getName() == name)
            return &stack.getModel(i);
    return nullptr;
}

Vector<int> imageSizeOf(const StackSlice& slice) {
    Vector<int> size(2);
    size[0] = slice.hasImageSource() ? slice.getImageSource().getSize1() : 0;
    size[1] = slice.hasImageSource() ? slice.getImageSource().getSize2() : 0;
    return size;
}

/// Both in meters, and told apart where more than the rounding of single precision lies between them.
bool isSameLength(float a, const LengthUnit& unitA, float b, const LengthUnit& unitB) {
    const double first = double(a) * std::pow(10.0, unitA.getScale());
    const double second = double(b) * std::pow(10.0, unitB.getScale());
    return std::abs(first - second) <= 1e-6 * std::max(std::abs(first), std::abs(second));
}

/// Brings vertices of one stack's slices to the other's.
class Carrier {
public:
    Carrier(const Stack& source, const Stack& target, TransferPlaces places) {
        if (places == TransferPlaces::Pixels)
            return;
        __from.emplace(source);
        __to.emplace(target);
        __scale = std::pow(10.0, source.getLengthUnit().getScale() - target.getLengthUnit().getScale());
    }

    /// Nothing when a vertex has no place there.
    std::optional<Vertices<int>> carried(const Vertices<int>& vertices, int slice) const {
        constexpr double largest = std::numeric_limits<int>::max() / 2.0;
        Vertices<int> result = vertices;
        result.detach();
        if (!__from)
            return result;
        for (int i = 0; i < result.getNumVertices(); ++i) {
            const Vector<double> world = __from->toWorld(slice, vertices[i][0], vertices[i][1]);
            const Vector<double> place = __to->toPixels(slice, world[0] * __scale, world[1] * __scale);
            for (const int axis : {0, 1}) {
                if (!(std::abs(place[axis]) < largest))
                    return std::nullopt;
                result[i][axis] = int(std::lround(place[axis]));
            }
        }
        return result;
    }

private:
    std::optional<StackReconstruction<double>> __from;
    std::optional<StackReconstruction<double>> __to;
    double __scale = 1; // from the source's unit to the target's
};

/// A model of the source, what its items are called in the target, and where they lie there.
struct Copy {
    const Model* model;
    TransferAction action;
    std::vector<std::pair<const ModelItem*, Vertices<int>>> items;
};

std::unique_ptr<Model> emptyCopy(const Model& model, const std::string& name) {
    auto copy = std::make_unique<Model>();
    copy->setName(name);
    copy->setProperties(model.getProperties());
    copy->setItemProperties(model.getItemProperties());
    return copy;
}

/// The model of the target that the items go into, made where it has to be.
Model* preparedModel(OrderedStep& step, VRLStack& target, const Copy& copy) {
    const std::string& name = copy.model->getName();
    const int present = target.findModel(name);
    if (present >= 0 && copy.action == TransferAction::Append)
        return &target.getModel(present);
    if (present >= 0 && copy.action == TransferAction::Replace)
        step.apply(std::make_unique<VRLModelDeletionAction>(target, target.getModel(present)));
    const bool renamed = present >= 0 && copy.action == TransferAction::Duplicate;
    auto made = emptyCopy(*copy.model, renamed ? copyName(target, name) : name);
    Model* const model = made.get();
    step.apply(std::make_unique<VRLModelCreationAction>(target, std::move(made)));
    return model;
}

} // namespace

Outcome checkTransfer(const Stack& source, const Stack& target) {
    const auto both = "Stacks " + source.getName() + " and " + target.getName();
    if (&source == &target)
        return Outcome::refused("A stack can't be its own source");
    if (source.getNumSlices() != target.getNumSlices())
        return Outcome::refused(both + " have different sizes");
    for (int i = 0; i < source.getNumSlices(); ++i)
        if (imageSizeOf(source.getSlice(i)) != imageSizeOf(target.getSlice(i)))
            return Outcome::refused(both + " have slices with different image sizes");
    return Outcome::done();
}

std::string placeDifference(const Stack& source, const Stack& target) {
    const LengthUnit from = source.getLengthUnit();
    const LengthUnit to = target.getLengthUnit();
    bool pixelSize = false;
    bool registration = false;
    for (int i = 0; i < std::min(source.getNumSlices(), target.getNumSlices()); ++i) {
        const StackSlice& a = source.getSlice(i);
        const StackSlice& b = target.getSlice(i);
        const PixelCalibration& here = a.getPixelCalibration();
        const PixelCalibration& there = b.getPixelCalibration();
        pixelSize = pixelSize || !isSameLength(here.getPixelWidth(), from, there.getPixelWidth(), to) ||
                    !isSameLength(here.getPixelHeight(), from, there.getPixelHeight(), to);
        registration = registration || !(a.getRegistration() == b.getRegistration());
    }
    const std::string words = registration ? "registration of their slices" : "";
    if (!pixelSize)
        return words;
    return words.empty() ? "pixel size" : words + " and pixel size";
}

std::string copyName(const Stack& stack, const std::string& name) {
    std::string result = name;
    // The told pass over the models, and further ones until the name is free.
    for (bool taken = true; taken;) {
        taken = false;
        for (int i = 0; i < stack.getNumModels(); ++i)
            if (stack.getModel(i).getName() == result) {
                result += " (copy)";
                taken = true;
            }
    }
    return result;
}

Outcome transferModels(VRLStack& target, const Stack& source, const std::vector<ModelTransfer>& models,
                       TransferPlaces places, ProgressSubject& progress) {
    if (const Outcome together = checkTransfer(source, target); !together)
        return together;
    // All places first: a refusal changes nothing.
    std::vector<Copy> copies;
    std::size_t numItems = 0;
    for (const ModelTransfer& wanted : models) {
        const Model* const model = findModel(source, wanted.model);
        if (model == nullptr)
            return Outcome::refused("Stack " + source.getName() + " has no model named " + wanted.model);
        if (wanted.action == TransferAction::Skip && findModel(target, wanted.model) != nullptr)
            continue;
        copies.push_back({model, wanted.action, {}});
        numItems += std::size_t(model->getNumItems());
    }
    if (copies.empty())
        return Outcome::refused("There is no model to transfer");
    const Carrier carrier(source, target, places);
    progress.notifyStarted("Transferring models...");
    const auto cancelled = [&progress] {
        progress.notifyCanceled("");
        return Outcome::refused("The transfer was cancelled");
    };
    const auto total = static_cast<unsigned int>(2 * numItems);
    unsigned int done = 0;
    for (Copy& copy : copies)
        for (int i = 0; i < copy.model->getNumItems(); ++i) {
            const ModelItem& item = copy.model->getItem(i);
            if (progress.isCanceled())
                return cancelled();
            progress.notifyProgressed(++done, total);
            if (item.getSlice() == nullptr)
                continue;
            auto moved = carrier.carried(item.getVertices(), source.findSlice(*item.getSlice()));
            if (!moved) {
                progress.notifyFinished("");
                return Outcome::refused("The size of a pixel is not known on slice " + item.getSlice()->getName());
            }
            copy.items.emplace_back(&item, std::move(*moved));
        }
    // A cancellation in the middle of the step takes it back.
    struct Cancelled {};
    try {
        Outcome outcome = Outcome::done();
        inEventBatch([&] {
            outcome = inOneStep(target, "There is no model to transfer", [&](EditStep& whole) {
                OrderedStep step(whole, "Transfer models");
                for (const Copy& copy : copies) {
                    Model* const model = preparedModel(step, target, copy);
                    for (const auto& [item, vertices] : copy.items) {
                        if (progress.isCanceled())
                            throw Cancelled();
                        auto made = std::make_unique<ModelItem>();
                        made->setModel(model);
                        made->setSlice(&target.getSlice(source.findSlice(*item->getSlice())));
                        made->setProperties(item->getProperties());
                        made->setVertices(vertices);
                        auto creation = std::make_unique<VRLItemCreationAction>(*made);
                        (void)made.release(); // the document's, or the action's, from here on
                        step.apply(std::move(creation));
                        progress.notifyProgressed(++done, total);
                    }
                }
            });
        });
        progress.notifyFinished("");
        return outcome;
    } catch (const Cancelled&) {
        return cancelled();
    }
}

} // namespace vorlen
