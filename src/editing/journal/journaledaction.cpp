#include "editing/journal/journaledaction.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/pose.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrleventbatch.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlposeevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/journal/journalbytes.h"
#include "editing/journal/partstates.h"
#include "editing/journal/stackmembers.h"
#include "editing/stacks/vrlstack.h"
#include "values/imagesource.h"

namespace vorlen {

namespace {

template <class Event, class Subject>
void tellOf(Subject* subject) {
    Event event(subject);
    VRLEventServer::notifyEvent(event);
}

/// Throws FileFormatError unless place is one of a list of so many.
std::size_t checked(int place, std::size_t size) {
    if (place < 0 || static_cast<std::size_t>(place) >= size)
        ByteReader::fail("The journal names a place that there is not");
    return static_cast<std::size_t>(place);
}

template <class T>
std::vector<T*> without(const std::vector<T*>& members, const std::vector<T*>& others) {
    const std::unordered_set<T*> known(others.begin(), others.end());
    std::vector<T*> rest;
    for (T* member : members)
        if (known.count(member) == 0)
            rest.push_back(member);
    return rest;
}

/// Puts the items on the list of the model, in front of its item start. Items get places between those of their
/// neighbours; where there is no room, those behind get places with room between them.
void insertItems(Model& model, int start, const std::vector<ModelItem*>& items) {
    constexpr ModelItemOwner::Place room = 1 << 20;
    const ModelItemOwner::Place before = start == 0 ? 0 : model.placeOf(model.getItem(start - 1));
    if (start == model.getNumItems()) {
        for (ModelItem* item : items)
            model.addItem(*item);
        return;
    }
    if (model.placeOf(model.getItem(start)) - before > items.size()) {
        ModelItemOwner::Place place = before;
        for (ModelItem* item : items)
            model.restoreItem(*item, ++place);
        return;
    }
    std::vector<ModelItem*> tail = items;
    for (int i = start; i < model.getNumItems(); ++i)
        tail.push_back(&model.getItem(i));
    for (std::size_t i = tail.size(); i > items.size(); --i)
        model.removeItem(*tail[i - 1]);
    ModelItemOwner::Place place = before;
    for (ModelItem* item : tail)
        model.restoreItem(*item, place += room);
}

} // namespace

/// The other members of a list that the step has changed, and those of them that are out.
template <class T>
struct JournaledAction::List {
    List(const std::vector<T*>& present, const std::vector<DocumentDelta::Entry>& entries) {
        std::vector<bool> taken(present.size(), false);
        for (const DocumentDelta::Entry& entry : entries) {
            if (entry.old < 0) {
                out.push_back(std::make_unique<T>());
                partstates::give(entry.state, *out.back());
                members.push_back(out.back().get());
                continue;
            }
            const std::size_t old = checked(entry.old, present.size());
            if (taken[old])
                ByteReader::fail("The journal names a place twice");
            taken[old] = true;
            members.push_back(present[old]);
        }
    }

    /// What comes in is no more this object's; what goes out of the present members is.
    void exchange(const std::vector<T*>& present) {
        for (auto& member : out)
            static_cast<void>(member.release());
        out.clear();
        for (T* member : without(present, members))
            out.emplace_back(member);
        come = without(members, present);
        members = present;
    }

    std::vector<T*> gone() const {
        std::vector<T*> those;
        for (const auto& member : out)
            those.push_back(member.get());
        return those;
    }

    std::vector<T*> members;
    std::vector<std::unique_ptr<T>> out;
    std::vector<T*> come;
};

struct JournaledAction::Splice {
    Splice(Model& in, int from, int n) : model(&in), start(from), num(n) {}

    Model* model;
    int start; // on the list as it is
    int num;   // of items that go
    std::vector<ModelItem*> taken;
    std::vector<std::unique_ptr<ModelItem>> out;
};

struct JournaledAction::SliceChange {
    StackSlice* slice;
    std::string state;
    std::string image;
    std::unique_ptr<ImageSource> source;
    bool otherImage;
};

struct JournaledAction::ModelChange {
    Model* model;
    std::string state;
};

struct JournaledAction::ItemChange {
    Model* model;
    int place;
    ModelItem* item; // null until it is on its list for the first time
    std::string state;
};

JournaledAction::JournaledAction(VRLStack& stack, const DocumentDelta& delta, const QString& description,
                                 const std::vector<ImageSourceKind>& kinds)
    : __stack(stack), __description(description), __changesDocument(!delta.isEmpty()), __state(delta.stack) {
    const std::vector<Model*> presentModels = modelsOf(stack);
    if (!__state.empty()) { // what can't be given shows now
        Stack probe;
        partstates::give(__state, probe);
    }
    if (delta.newSlices)
        __slices = std::make_unique<List<StackSlice>>(slicesOf(stack), delta.slices);
    if (delta.newModels)
        __models = std::make_unique<List<Model>>(presentModels, delta.models);
    if (delta.newPoses)
        __poses = std::make_unique<List<Pose>>(posesOf(stack), delta.poses);
    const std::vector<StackSlice*> slices = __slices != nullptr ? __slices->members : slicesOf(stack);
    const std::vector<Model*> models = __models != nullptr ? __models->members : presentModels;
    if (delta.newSlices)
        for (std::size_t i = 0; i < delta.slices.size(); ++i)
            if (delta.slices[i].old < 0) {
                auto source = partstates::makeImage(delta.slices[i].image, kinds);
                __slices->members[i]->exchangeImageSource(source);
            }
    for (const DocumentDelta::Change& change : delta.changedSlices) {
        StackSlice& slice = *slices[checked(change.place, slices.size())];
        StackSlice probe;
        partstates::give(change.state, probe);
        const bool otherImage = change.image != partstates::ofImage(slice);
        __sliceChanges.push_back({&slice, change.state, change.image,
                                  otherImage ? partstates::makeImage(change.image, kinds) : nullptr, otherImage});
    }
    for (const DocumentDelta::Change& change : delta.changedModels) {
        Model probe;
        partstates::give(change.state, probe);
        __modelChanges.push_back({models[checked(change.place, models.size())], change.state});
    }

    std::unordered_map<const Model*, int> numItems;
    const std::unordered_set<const Model*> known(presentModels.begin(), presentModels.end());
    for (const DocumentDelta::Splice& splice : delta.splices) {
        Model& model = *models[checked(splice.model, models.size())];
        const int present = known.count(&model) > 0 ? model.getNumItems() : 0;
        int& number = numItems.try_emplace(&model, present).first->second;
        const bool follows = !__splices.empty() && __splices.back().model == &model;
        const int least = follows ? __splices.back().start + __splices.back().num : 0;
        if (splice.start < least || splice.start > present || splice.numRemoved < 0 ||
            splice.numRemoved > present - splice.start || (!follows && number != present))
            ByteReader::fail("The journal names items that there are not");
        __splices.emplace_back(model, splice.start, splice.numRemoved);
        number += static_cast<int>(splice.items.size()) - splice.numRemoved;
        for (const std::string& state : splice.items) {
            auto item = std::make_unique<ModelItem>();
            partstates::give(state, *item, &slices);
            item->setModel(&model);
            __splices.back().out.push_back(std::move(item));
        }
    }
    for (const DocumentDelta::ItemChange& change : delta.changedItems) {
        Model* model = models[checked(change.model, models.size())];
        const auto number = numItems.find(model);
        checked(change.item,
                static_cast<std::size_t>(number != numItems.end() ? number->second : model->getNumItems()));
        ModelItem probe;
        partstates::give(change.state, probe, nullptr);
        __itemChanges.push_back({model, change.item, nullptr, change.state});
    }
}

// Items that are out may still be on the list of a model or slice that is out too, which deletes them.
JournaledAction::~JournaledAction() = default;

void JournaledAction::apply() {
    VRLAction::apply();
    exchange(true);
}

void JournaledAction::revert() {
    VRLAction::revert();
    exchange(true);
}

void JournaledAction::applySilently() {
    VRLAction::apply();
    exchange(false);
}

QString JournaledAction::description(bool) const {
    return __description;
}

void JournaledAction::exchange(bool tells) {
    takeItemsOut();
    exchangeLists(tells);
    putItemsIn();
    exchangeStates();
    if (!__state.empty()) {
        std::string state = partstates::ofStack(__stack);
        partstates::give(__state, __stack);
        __state = std::move(state);
    }
    if (tells)
        inEventBatch([this] { tell(); });
}

/// From the last one on, so that the places of those in front stay what they are.
void JournaledAction::takeItemsOut() {
    __gone.clear();
    for (auto splice = __splices.rbegin(); splice != __splices.rend(); ++splice) {
        splice->taken.clear();
        for (int i = splice->num - 1; i >= 0; --i) {
            ModelItem& item = splice->model->getItem(splice->start + i);
            item.detach();
            splice->taken.push_back(&item);
            __gone.push_back(&item);
        }
        std::reverse(splice->taken.begin(), splice->taken.end());
    }
}

void JournaledAction::exchangeLists(bool tells) {
    if (__slices != nullptr)
        exchangeSlices();
    if (__models != nullptr)
        exchangeModels(tells);
    if (__poses != nullptr)
        exchangePoses(tells);
}

void JournaledAction::exchangeModels(bool tells) {
    const std::vector<Model*> models = modelsOf(__stack);
    const std::vector<Model*> newModels = __models->members;
    for (Model* model : without(models, newModels)) {
        if (tells)
            tellOf<VRLModelDeleteEvent>(model);
        __stack.removeModel(*model);
    }
    __models->exchange(models);
    for (std::size_t i = 0; i < newModels.size(); ++i) {
        const int place = static_cast<int>(i);
        if (place < __stack.getNumModels() && &__stack.getModel(place) == newModels[i])
            continue;
        __stack.removeModel(*newModels[i]);
        __stack.addModel(newModels[i], place);
    }
}

void JournaledAction::exchangePoses(bool tells) {
    const std::vector<Pose*> poses = posesOf(__stack);
    const std::vector<Pose*> newPoses = __poses->members;
    for (Pose* pose : without(poses, newPoses)) {
        if (tells)
            tellOf<VRLPoseDeleteEvent>(pose);
        __stack.removePose(*pose);
    }
    __poses->exchange(poses);
    for (std::size_t i = 0; i < newPoses.size(); ++i) {
        const int place = static_cast<int>(i);
        if (place < __stack.getNumPoses() && &__stack.getPose(place) == newPoses[i])
            continue;
        newPoses[i]->setStack(&__stack);
        __stack.removePose(*newPoses[i]);
        __stack.addPose(newPoses[i], place);
    }
}

/// A slice that goes makes the one behind it move, which is taken back: what has moved is among the changed ones.
void JournaledAction::exchangeSlices() {
    const std::vector<StackSlice*> slices = slicesOf(__stack);
    const std::vector<StackSlice*> newSlices = __slices->members;
    std::vector<StackSlice::Placement> placements;
    placements.reserve(slices.size());
    for (const StackSlice* slice : slices)
        placements.push_back(slice->getPlacement());
    const std::vector<StackSlice*> gone = without(slices, newSlices);
    for (auto slice = gone.rbegin(); slice != gone.rend(); ++slice)
        __stack.removeSlice(__stack.findSlice(**slice));
    for (StackSlice* slice : newSlices)
        __stack.addSlice(slice);
    std::vector<int> order;
    order.reserve(newSlices.size());
    for (const StackSlice* slice : newSlices)
        order.push_back(__stack.findSlice(*slice));
    __stack.reorderSlices(order);
    for (std::size_t i = 0; i < slices.size(); ++i)
        slices[i]->setPlacement(placements[i]);
    __slices->exchange(slices);
}

void JournaledAction::putItemsIn() {
    __come.clear();
    const Model* model = nullptr;
    int offset = 0;
    for (Splice& splice : __splices) {
        if (splice.model != model)
            offset = 0;
        model = splice.model;
        std::vector<ModelItem*> items;
        for (auto& item : splice.out)
            items.push_back(item.release());
        splice.out.clear();
        splice.start += offset;
        insertItems(*splice.model, splice.start, items);
        for (ModelItem* item : items) {
            item->attachToSlice();
            __come.push_back(item);
        }
        offset += static_cast<int>(items.size()) - splice.num;
        splice.num = static_cast<int>(items.size());
        for (ModelItem* item : splice.taken)
            splice.out.emplace_back(item);
        splice.taken.clear();
    }
}

void JournaledAction::exchangeStates() {
    for (SliceChange& change : __sliceChanges) {
        std::string state = partstates::ofSlice(*change.slice);
        partstates::give(change.state, *change.slice);
        change.state = std::move(state);
        if (change.otherImage)
            change.slice->exchangeImageSource(change.source);
    }
    for (ModelChange& change : __modelChanges) {
        std::string state = partstates::ofModel(*change.model);
        partstates::give(change.state, *change.model);
        change.state = std::move(state);
    }
    for (ItemChange& change : __itemChanges) {
        if (change.item == nullptr)
            change.item = &change.model->getItem(change.place);
        std::string state = partstates::ofItem(*change.item, __stack);
        partstates::give(change.state, *change.item, nullptr);
        change.state = std::move(state);
    }
}

void JournaledAction::tell() {
    const std::string lastSegmented = __stack.getLastSegmentedSlice();
    const bool slicesChange = __slices != nullptr || !__sliceChanges.empty();
    if (slicesChange || !__state.empty())
        __stack.updateReconstruction();
    for (ModelItem* item : __gone)
        tellOf<VRLModelItemDeleteEvent>(item);
    const auto tellOfSlice = [this](StackSlice* slice, bool comes) {
        VRLSliceInsertionDeletionAction action(*slice);
        if (comes)
            action.setInsertionMode();
        else
            action.setDeletionMode();
        action.setSlicePosition(std::max(0, __stack.findSlice(*slice)));
        VRLEventServer::notifyAction(action);
    };
    if (__slices != nullptr) {
        for (StackSlice* slice : __slices->gone())
            tellOfSlice(slice, false);
        for (StackSlice* slice : __slices->come)
            tellOfSlice(slice, true);
    }
    if (__models != nullptr)
        for (Model* model : __models->come)
            tellOf<VRLModelCreateEvent>(model);
    if (__poses != nullptr)
        for (Pose* pose : __poses->come)
            tellOf<VRLPoseCreateEvent>(pose);
    for (ModelItem* item : __come)
        tellOf<VRLModelItemCreateEvent>(item);
    for (const ItemChange& change : __itemChanges) {
        tellOf<VRLModelItemVertexEvent>(change.item);
        tellOf<VRLModelItemAttributeEvent>(change.item);
    }
    for (const ModelChange& change : __modelChanges) {
        Model before;
        partstates::give(change.state, before);
        VRLModelPropertiesEvent event(change.model);
        event.setOldProperties(before.getProperties());
        event.setOldItemProperties(before.getItemProperties());
        VRLEventServer::notifyEvent(event);
    }
    for (const SliceChange& change : __sliceChanges) {
        tellOf<VRLSliceNameEvent>(change.slice);
        tellOf<VRLSliceAnnotationEvent>(change.slice);
        if (change.otherImage)
            tellOf<VRLSliceImageSourceEvent>(change.slice);
    }
    if (!__state.empty())
        tellOf<VRLStackNameEvent>(&__stack);
    if (slicesChange || !__state.empty()) {
        tellOf<VRLStackSliceSpacingEvent>(&__stack);
        tellOf<VRLStackImageCalibrationEvent>(&__stack);
        tellOf<VRLStackRegistrationEvent>(&__stack);
    }
    if (__changesDocument)
        __stack.setModified(true);
    __stack.setLastSegmentedSlice(lastSegmented); // hearing of an item that comes sets it
}

} // namespace vorlen
