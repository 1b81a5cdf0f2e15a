#include "editing/actions/vrlstackstateaction.h"

#include <algorithm>
#include <utility>

#include "editing/bus/vrleventbatch.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

namespace {

template <class Event, class Subject>
void tellOf(Subject& subject) {
    Event event(&subject);
    VRLEventServer::notifyEvent(event);
}

template <class Event>
void tellOfEach(const std::vector<StackSlice*>& slices) {
    for (StackSlice* slice : slices)
        tellOf<Event>(*slice);
}

} // namespace

struct VRLStackStateAction::Change {
    explicit Change(StackSlice& changed) : slice(changed), state(changed) {}

    StackSlice& slice;
    SliceState state;
    bool otherImage = false;
    std::unique_ptr<ImageSource> image;
};

/// What an exchange has changed.
struct VRLStackStateAction::News {
    bool name = false;
    bool unit = false;
    bool spacing = false;
    bool calibration = false;
    bool path = false;
    bool registration = false;
    bool other = false;
    std::vector<StackSlice*> renamed, annotated, moved, calibrated, withOtherImage;

    bool changesSpace() const {
        return spacing || calibration || registration || !moved.empty() || !calibrated.empty();
    }
};

VRLStackStateAction::VRLStackStateAction(VRLStack& stack, const QString& description)
    : __stack(stack), __description(description) {
}

VRLStackStateAction::~VRLStackStateAction() = default;

void VRLStackStateAction::setState(const StackState& state) {
    __state = state;
}

void VRLStackStateAction::setSliceState(StackSlice& slice, const SliceState& state) {
    changeOf(slice).state = state;
}

SliceState& VRLStackStateAction::sliceState(StackSlice& slice) {
    return changeOf(slice).state;
}

void VRLStackStateAction::setImageSource(StackSlice& slice, const ImageSource& source) {
    Change& change = changeOf(slice);
    change.image.reset(source.clone());
    change.otherImage = true;
}

void VRLStackStateAction::setOrder(const std::vector<int>& order) {
    __order = std::is_sorted(order.begin(), order.end()) ? std::vector<int>() : order;
}

VRLStackStateAction::Change& VRLStackStateAction::changeOf(StackSlice& slice) {
    Change*& change = __changeOf[&slice];
    if (change == nullptr) {
        __changes.push_back(std::make_unique<Change>(slice));
        change = __changes.back().get();
    }
    return *change;
}

bool VRLStackStateAction::isNull() const {
    return (!__state || *__state == StackState(__stack)) && __order.empty() &&
           std::all_of(
               __changes.begin(), __changes.end(),
               [](const auto& change) { return !change->otherImage && change->state == SliceState(change->slice); });
}

void VRLStackStateAction::apply() {
    VRLAction::apply();
    exchange();
}

void VRLStackStateAction::revert() {
    VRLAction::revert();
    exchange();
}

void VRLStackStateAction::exchange() {
    News news = exchangeStates();
    if (!__order.empty()) {
        exchangeOrder();
        news.spacing = true;
    }
    if (news.changesSpace())
        __stack.updateReconstruction();
    inEventBatch([&] { tell(news); });
}

VRLStackStateAction::News VRLStackStateAction::exchangeStates() {
    News news;
    if (__state) {
        StackState before(__stack);
        __state->giveTo(__stack);
        const StackState& now = *__state;
        news.name = now.name != before.name;
        news.unit = !(now.calibration.getLengthUnit() == before.calibration.getLengthUnit());
        news.spacing = now.sliceSpacing != before.sliceSpacing;
        news.calibration = !(now.calibration == before.calibration);
        news.path = now.absoluteImagesPath != before.absoluteImagesPath;
        news.other = !(now == before);
        std::swap(*__state, before);
    }
    for (const auto& change : __changes) {
        StackSlice& slice = change->slice;
        SliceState before(slice);
        change->state.giveTo(slice);
        const SliceState& now = change->state;
        const auto note = [&slice](bool changed, std::vector<StackSlice*>& slices) {
            if (changed)
                slices.push_back(&slice);
        };
        note(now.name != before.name, news.renamed);
        note(now.annotation != before.annotation, news.annotated);
        note(!(now.placement == before.placement), news.moved);
        note(!(now.calibration == before.calibration), news.calibrated);
        news.registration = news.registration || !(now.registration == before.registration);
        news.other = news.other || !(now == before);
        std::swap(change->state, before);
        if (change->otherImage) {
            slice.exchangeImageSource(change->image);
            news.withOtherImage.push_back(&slice);
        }
    }
    return news;
}

/// Puts the slices in their order, and keeps the order that leads back.
void VRLStackStateAction::exchangeOrder() {
    std::vector<int> back(__order.size());
    for (std::size_t i = 0; i < __order.size(); ++i)
        back[static_cast<std::size_t>(__order[i])] = static_cast<int>(i);
    __stack.reorderSlices(__order);
    __order = std::move(back);
}

void VRLStackStateAction::tell(const News& news) {
    const unsigned int numChanges = __stack.getChangeCount();
    if (news.name)
        tellOf<VRLStackNameEvent>(__stack);
    if (news.unit)
        tellModified();
    tellOfEach<VRLSliceNameEvent>(news.renamed);
    tellOfSpacing(news);
    tellOfEach<VRLSliceImageCalibrationEvent>(news.calibrated);
    if (news.calibration)
        tellOf<VRLStackImageCalibrationEvent>(__stack);
    if (news.registration)
        tellOf<VRLStackRegistrationEvent>(__stack);
    if (news.path)
        tellModified();
    tellOfEach<VRLSliceAnnotationEvent>(news.annotated);
    tellOfEach<VRLSliceImageSourceEvent>(news.withOtherImage);
    if (news.registration || (news.other && __stack.getChangeCount() == numChanges))
        __stack.setModified(true);
}

void VRLStackStateAction::tellOfSpacing(const News& news) {
    if (news.spacing || news.moved.size() > 1)
        tellOf<VRLStackSliceSpacingEvent>(__stack);
    else if (!news.moved.empty())
        tellOf<VRLSliceSpacingEvent>(*news.moved.front());
}

/// The unit of the stack and the way it names images have no event of their own.
void VRLStackStateAction::tellModified() {
    __stack.setModified(true);
    tellOf<VRLStackModifyEvent>(__stack);
}

QString VRLStackStateAction::description(bool) const {
    return __description;
}

} // namespace vorlen
