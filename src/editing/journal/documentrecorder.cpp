#include "editing/journal/documentrecorder.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/pose.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlposeevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/journal/partstates.h"
#include "editing/journal/stackmembers.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

namespace {

/// The state of the stack without the slice last worked on, which any outline changes.
std::string stateButLast(const Stack& stack, const std::string& state) {
    return state.substr(0, state.size() - stack.getLastSegmentedSlice().size());
}

std::vector<ModelItem*> itemsOf(Model& model) {
    std::vector<ModelItem*> items(static_cast<std::size_t>(model.getNumItems()));
    for (int i = 0; i < model.getNumItems(); ++i)
        items[static_cast<std::size_t>(i)] = &model.getItem(i);
    return items;
}

/// A description keeps whole widths and sizes, and its reader turns polygons into one sense.
bool isReadAsItIs(const ModelItem& item) {
    const ModelItemProperties& look = item.getProperties();
    const auto isWhole = [](float value) { return value == std::floor(value); };
    return !item.isClockwise() && (!look.definesLineWidth() || isWhole(look.getLineWidth())) &&
           (!look.definesPointSize() || isWhole(look.getPointSize()));
}

/// The place of a listed item on its model's list, where places ascend.
int indexOf(const Model& model, const ModelItem& item) {
    int first = 0, last = model.getNumItems();
    const ModelItemOwner::Place place = model.placeOf(item);
    while (first < last) {
        const int middle = first + (last - first) / 2;
        if (model.placeOf(model.getItem(middle)) < place)
            first = middle + 1;
        else
            last = middle;
    }
    while (first < model.getNumItems() && &model.getItem(first) != &item)
        ++first; // of equal places
    return first;
}

} // namespace

DocumentRecorder::DocumentRecorder(VRLStack& stack) : __stack(stack) {
    DocumentDelta all; // that nobody asks for
    takeParts(all);
    for (Model* model : __models.members)
        __items[model] = itemsOf(*model);
    __dirtyLists.clear();
}

DocumentRecorder::~DocumentRecorder() = default;

/// A lack of memory must not reach the one who edits.
template <class Mark>
void DocumentRecorder::mark(Mark&& mark) {
    try {
        mark();
    } catch (...) {
        __lost = true;
    }
}

void DocumentRecorder::markItem(ModelItem* item, bool listed) {
    if (item == nullptr || item->getSlice() == nullptr || item->getSlice()->getStack() != &__stack)
        return;
    mark([&] {
        if (listed)
            __dirtyLists.insert(item->getModel());
        __dirtyItems.insert(item);
    });
}

/// An item that is off its lists may be deleted unheard.
void DocumentRecorder::forgetItem(const ModelItem* item) {
    __dirtyItems.erase(const_cast<ModelItem*>(item));
}

DocumentDelta DocumentRecorder::take() {
    try {
        DocumentDelta delta;
        takeParts(delta);
        takeItems(delta);
        return delta;
    } catch (...) {
        __lost = true;
        throw;
    }
}

/// All but the items.
void DocumentRecorder::takeParts(DocumentDelta& delta) {
    std::string state = partstates::ofStack(__stack);
    if (state != __state) {
        delta.stack = state;
        std::string butLast = stateButLast(__stack, state);
        __slices.dirty = __slices.dirty || butLast != __stateButLast;
        __stateButLast = std::move(butLast);
        __state = std::move(state);
    }
    takeSlices(delta);
    takeModels(delta);
    if (std::exchange(__poses.dirty, false)) {
        std::vector<DocumentDelta::Change> changes;
        delta.newPoses = takeList(
            __poses, posesOf(__stack), [](const Pose& pose) { return partstates::ofPose(pose); }, delta.poses, changes);
    }
}

DocumentDelta DocumentRecorder::fineState() const {
    DocumentDelta delta;
    delta.stack = __state;
    for (std::size_t i = 0; i < __slices.members.size(); ++i)
        delta.changedSlices.push_back({static_cast<int>(i), __slices.states[i], __slices.images[i]});
    for (std::size_t i = 0; i < __models.members.size(); ++i)
        delta.changedModels.push_back({static_cast<int>(i), __models.states[i], {}});
    for (int i = 0; i < __stack.getNumModels(); ++i)
        for (int k = 0; k < __stack.getModel(i).getNumItems(); ++k) {
            const ModelItem& item = __stack.getModel(i).getItem(k);
            if (!isReadAsItIs(item))
                delta.changedItems.push_back({i, k, partstates::ofItem(item, __stack)});
        }
    return delta;
}

/// True when the list has other members, or has them in another order: the entries tell them then.
template <class T, class State>
bool DocumentRecorder::takeList(List<T>& list, std::vector<T*> members, State&& state,
                                std::vector<DocumentDelta::Entry>& entries,
                                std::vector<DocumentDelta::Change>& changes) const {
    std::unordered_map<const T*, std::size_t> old;
    for (std::size_t i = 0; i < list.members.size(); ++i)
        old[list.members[i]] = i;
    std::vector<std::string> states, images;
    for (std::size_t i = 0; i < members.size(); ++i) {
        states.push_back(state(*members[i]));
        if constexpr (std::is_same_v<T, StackSlice>)
            images.push_back(partstates::ofImage(*members[i]));
        else
            images.emplace_back();
        const auto place = old.find(members[i]);
        if (place == old.end()) {
            entries.push_back({-1, states.back(), images.back()});
            continue;
        }
        entries.push_back({static_cast<int>(place->second), {}, {}});
        if (states.back() != list.states[place->second] || images.back() != list.images[place->second])
            changes.push_back({static_cast<int>(i), states.back(), images.back()});
    }
    const bool isNew = members != list.members;
    list.members = std::move(members);
    list.states = std::move(states);
    list.images = std::move(images);
    if (!isNew)
        entries.clear();
    return isNew;
}

void DocumentRecorder::takeSlices(DocumentDelta& delta) {
    if (!std::exchange(__slices.dirty, false))
        return;
    delta.newSlices = takeList(
        __slices, slicesOf(__stack), [](const StackSlice& slice) { return partstates::ofSlice(slice); }, delta.slices,
        delta.changedSlices);
}

void DocumentRecorder::takeModels(DocumentDelta& delta) {
    if (!std::exchange(__models.dirty, false))
        return;
    delta.newModels = takeList(
        __models, modelsOf(__stack), [](const Model& model) { return partstates::ofModel(model); }, delta.models,
        delta.changedModels);
    if (!delta.newModels)
        return;
    decltype(__items) items;
    for (std::size_t i = 0; i < delta.models.size(); ++i)
        if (delta.models[i].old >= 0)
            items[__models.members[i]] = std::move(__items[__models.members[i]]);
        else
            __dirtyLists.insert(__models.members[i]);
    __items = std::move(items);
}

void DocumentRecorder::takeItems(DocumentDelta& delta) {
    if (__dirtyLists.empty() && __dirtyItems.empty())
        return;
    std::unordered_map<const Model*, int> models;
    for (std::size_t i = 0; i < __models.members.size(); ++i) {
        models[__models.members[i]] = static_cast<int>(i);
        if (__dirtyLists.count(__models.members[i]) > 0)
            takeSplices(static_cast<int>(i), delta);
    }
    __dirtyLists.clear();
    for (const ModelItem* item : __dirtyItems) {
        const auto model = models.find(item->getModel());
        if (model == models.end() || model->first->placeOf(*item) == 0)
            continue;
        delta.changedItems.push_back(
            {model->second, indexOf(*model->first, *item), partstates::ofItem(*item, __stack)});
    }
    __dirtyItems.clear();
    std::sort(delta.changedItems.begin(), delta.changedItems.end(),
              [](const auto& a, const auto& b) { return std::pair(a.model, a.item) < std::pair(b.model, b.item); });
}

/// Walks along the old and the new list of the model at once. Items that have only come or gone are found as they are;
/// where others have changed their order, they go and come.
void DocumentRecorder::takeSplices(int place, DocumentDelta& delta) {
    Model& model = *__models.members[static_cast<std::size_t>(place)];
    std::vector<ModelItem*>& known = __items[&model];
    std::vector<ModelItem*> items = itemsOf(model);
    std::size_t begin = 0;
    while (begin < known.size() && begin < items.size() && known[begin] == items[begin])
        ++begin;
    std::size_t oldEnd = known.size(), newEnd = items.size();
    while (oldEnd > begin && newEnd > begin && known[oldEnd - 1] == items[newEnd - 1])
        --oldEnd, --newEnd;
    const auto at = [](std::vector<ModelItem*>& list, std::size_t i) {
        return list.begin() + static_cast<std::ptrdiff_t>(i);
    };
    std::unordered_set<const ModelItem*> before(at(known, begin), at(known, oldEnd));
    std::unordered_set<const ModelItem*> after(at(items, begin), at(items, newEnd));
    DocumentDelta::Splice splice{place, static_cast<int>(begin), 0, {}};
    const auto finish = [&](std::size_t next) {
        if (splice.numRemoved > 0 || !splice.items.empty())
            delta.splices.push_back(std::move(splice));
        splice = {place, static_cast<int>(next), 0, {}};
    };
    for (std::size_t i = begin, j = begin; i < oldEnd || j < newEnd;) {
        if (i < oldEnd && j < newEnd && known[i] == items[j]) {
            ++i, ++j;
            finish(i);
        } else if (i < oldEnd && (after.count(known[i]) == 0 || j == newEnd || before.count(items[j]) > 0)) {
            before.erase(known[i++]); // where it comes again, it comes as a new one
            ++splice.numRemoved;
        } else {
            splice.items.push_back(partstates::ofItem(*items[j], __stack));
            __dirtyItems.erase(items[j++]);
        }
    }
    finish(0);
    known = std::move(items);
}

void DocumentRecorder::stackRegistrationEvent(VRLStackRegistrationEvent&) {
    __slices.dirty = true;
}

void DocumentRecorder::stackSliceSpacingEvent(VRLStackSliceSpacingEvent&) {
    __slices.dirty = true;
}

void DocumentRecorder::stackImageCalibrationEvent(VRLStackImageCalibrationEvent&) {
    __slices.dirty = true;
}

void DocumentRecorder::sliceAnnotationEvent(VRLSliceAnnotationEvent&) {
    __slices.dirty = true;
}

void DocumentRecorder::sliceNameEvent(VRLSliceNameEvent&) {
    __slices.dirty = true;
}

void DocumentRecorder::sliceSpacingEvent(VRLSliceSpacingEvent&) {
    __slices.dirty = true;
}

void DocumentRecorder::sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent&) {
    __slices.dirty = true;
}

void DocumentRecorder::sliceImageSourceEvent(VRLSliceImageSourceEvent&) {
    __slices.dirty = true;
}

/// The items of a slice come and go with it.
void DocumentRecorder::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (&action.getStack() != &__stack)
        return;
    __slices.dirty = true;
    mark([&] {
        for (int i = 0; i < action.getSlice()->getNumItems(); ++i) {
            const ModelItem& item = action.getSlice()->getItem(i);
            __dirtyLists.insert(item.getModel());
            forgetItem(&item);
        }
    });
}

void DocumentRecorder::modelCreateEvent(VRLModelCreateEvent&) {
    __models.dirty = true;
}

void DocumentRecorder::modelDeleteEvent(VRLModelDeleteEvent& event) {
    __models.dirty = true;
    for (int i = 0; !__dirtyItems.empty() && i < event.getModel()->getNumItems(); ++i)
        forgetItem(&event.getModel()->getItem(i));
}

void DocumentRecorder::modelPropertiesEvent(VRLModelPropertiesEvent&) {
    __models.dirty = true;
}

void DocumentRecorder::modelItemCreateEvent(VRLModelItemCreateEvent& event) {
    markItem(event.getItem(), true);
}

void DocumentRecorder::modelItemDeleteEvent(VRLModelItemDeleteEvent& event) {
    markItem(event.getItem(), true);
    forgetItem(event.getItem());
}

void DocumentRecorder::modelItemVertexEvent(VRLModelItemVertexEvent& event) {
    markItem(event.getItem(), false);
}

void DocumentRecorder::modelItemAttributeEvent(VRLModelItemAttributeEvent& event) {
    markItem(event.getItem(), false);
}

void DocumentRecorder::modelItemConvertEvent(VRLModelItemConvertEvent& event) {
    markItem(event.getItem(), true);
    mark([&] {
        __dirtyLists.insert(event.getSourceModel());
        __dirtyLists.insert(event.getDestinationModel());
    });
}

void DocumentRecorder::poseCreateEvent(VRLPoseCreateEvent&) {
    __poses.dirty = true;
}

void DocumentRecorder::poseDeleteEvent(VRLPoseDeleteEvent&) {
    __poses.dirty = true;
}

} // namespace vorlen
