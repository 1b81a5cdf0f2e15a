#include "editing/bus/vrleventserver.h"

#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/eventrecorder.h"
#include "support/failures.h"

namespace vorlen {

namespace {

/// Does something when it hears of a stack's name, and counts.
class Listener : public VRLEventClient {
public:
    explicit Listener(std::function<void()> reaction = {}) : __reaction(std::move(reaction)) {}
    void stackNameEvent(VRLStackNameEvent& event) override {
        ++numHeard;
        sender = event.getSender();
        if (__reaction)
            __reaction();
    }
    int numHeard = 0;
    VRLEventClient* sender = nullptr;

private:
    std::function<void()> __reaction;
};

} // namespace

TEST(VRLEventServer, everyEventFindsItsHandler) {
    EventRecorder recorder;
    VRLStackOpenEvent open(nullptr);
    VRLStackCloseEvent close(nullptr);
    VRLStackFileNameEvent fileName(nullptr);
    VRLStackNameEvent name(nullptr);
    VRLStackRegistrationEvent registration(nullptr);
    VRLStackSliceSpacingEvent spacing(nullptr);
    VRLStackImageCalibrationEvent calibration(nullptr);
    VRLSliceAnnotationEvent annotation(nullptr);
    VRLSliceLockEvent lock(nullptr, true);
    VRLSliceNameEvent sliceName(nullptr);
    VRLSliceSpacingEvent sliceSpacing(nullptr);
    VRLSliceImageCalibrationEvent sliceCalibration(nullptr);
    VRLSliceItemSelectionEvent selection(nullptr, StackSliceSelectionInfo());
    VRLModelItemCreateEvent itemCreate(nullptr);
    VRLModelItemDeleteEvent itemDelete(nullptr);
    VRLModelItemVertexEvent itemVertex(nullptr);
    VRLModelItemAttributeEvent itemAttribute(nullptr);
    VRLModelItemSelectEvent itemSelect(nullptr);
    VRLModelItemConvertEvent itemConvert(nullptr, nullptr, nullptr);
    VRLPoseCreateEvent poseCreate(nullptr);
    VRLPoseDeleteEvent poseDelete(nullptr);
    VRLPreferencesEvent preferences;
    Model model;
    VRLModelCreateEvent modelCreate(&model);
    VRLModelDeleteEvent modelDelete(&model);
    VRLModelPropertiesEvent modelProperties(&model);
    const std::vector<std::pair<VRLEvent*, std::string>> all = {{&open, "stackOpen"},
                                                                {&close, "stackClose"},
                                                                {&fileName, "stackFileName"},
                                                                {&name, "stackName"},
                                                                {&registration, "stackRegistration"},
                                                                {&spacing, "stackSliceSpacing"},
                                                                {&calibration, "stackImageCalibration"},
                                                                {&annotation, "sliceAnnotation"},
                                                                {&lock, "sliceLock"},
                                                                {&sliceName, "sliceName"},
                                                                {&sliceSpacing, "sliceSpacing"},
                                                                {&sliceCalibration, "sliceImageCalibration"},
                                                                {&selection, "sliceItemSelection"},
                                                                {&modelCreate, "modelCreate"},
                                                                {&modelDelete, "modelDelete"},
                                                                {&modelProperties, "modelProperties"},
                                                                {&itemCreate, "itemCreate"},
                                                                {&itemDelete, "itemDelete"},
                                                                {&itemVertex, "itemVertex"},
                                                                {&itemAttribute, "itemAttribute"},
                                                                {&itemSelect, "itemSelect"},
                                                                {&itemConvert, "itemConvert"},
                                                                {&poseCreate, "poseCreate"},
                                                                {&poseDelete, "poseDelete"},
                                                                {&preferences, "preferences"}};
    for (const auto& [event, handler] : all) {
        recorder.processEvent(*event);
        EXPECT_EQ(recorder.take(), std::vector<std::string>{handler});
    }
    EXPECT_EQ(open.type(), 0);
    EXPECT_EQ(preferences.type(), 25);
}

TEST(VRLEventServer, aSenderHearsItselfAndOthersKnowIt) {
    Listener first, second;
    VRLStackNameEvent event(nullptr);
    second.notifyEvent(event);
    EXPECT_EQ(first.numHeard, 1);
    EXPECT_EQ(second.numHeard, 1);
    EXPECT_EQ(first.sender, &second);
    VRLStackNameEvent unsent(nullptr);
    VRLEventServer::notifyEvent(unsent);
    EXPECT_EQ(first.sender, nullptr);
}

TEST(VRLEventServer, clientsThatComeDuringAnEventHearItAndTheOneBehindALeaverMissesIt) {
    std::unique_ptr<Listener> late;
    Listener opener([&late] {
        if (!late)
            late = std::make_unique<Listener>();
    });
    VRLStackNameEvent event(nullptr);
    VRLEventServer::notifyEvent(event);
    EXPECT_EQ(late->numHeard, 1);

    auto leaver = std::make_unique<Listener>();
    Listener* const leaving = leaver.get();
    Listener closer([&] { leaver.reset(); });
    Listener behind;
    // The leaver stands in front of the closer, which is being called: the list moves up by one.
    VRLEventServer::notifyEvent(event);
    (void)leaving;
    EXPECT_EQ(closer.numHeard, 1);
    EXPECT_EQ(behind.numHeard, 0);
    VRLEventServer::notifyEvent(event);
    EXPECT_EQ(behind.numHeard, 1);
}

TEST(VRLEventServer, anInnerEventReachesAllBeforeTheOuterOneGoesOn) {
    EventRecorder* last = nullptr;
    class Relay : public VRLEventClient {
    public:
        void stackNameEvent(VRLStackNameEvent&) override {
            VRLStackFileNameEvent inner(nullptr);
            notifyEvent(inner);
        }
    } relay;
    EventRecorder recorder;
    last = &recorder;
    VRLStackNameEvent outer(nullptr);
    VRLEventServer::notifyEvent(outer);
    EXPECT_EQ(last->take(), (std::vector<std::string>{"stackFileName", "stackName"}));
}

TEST(VRLEventServer, batchesDoNotNestAndTellTheirEnd) {
    EventRecorder recorder;
    const std::string where = "void VRLEventClient::enableEventBatch(const bool)";
    expectFailure<UsageError>([] { VRLEventClient::enableEventBatch(false); }, where,
                              "There is no event sequence to end");
    VRLEventClient::enableEventBatch(true);
    EXPECT_TRUE(VRLEventClient::eventBatchEnabled());
    expectFailure<UsageError>([] { VRLEventClient::enableEventBatch(true); }, where,
                              "An event sequence is already open");
    VRLPreferencesEvent event;
    recorder.notifyEvent(event);
    EXPECT_EQ(recorder.take(), std::vector<std::string>{"preferences"});
    VRLEventClient::enableEventBatch(false);
    EXPECT_EQ(recorder.take(), std::vector<std::string>{"batchEnd"});
    EXPECT_FALSE(VRLEventClient::eventBatchEnabled());
}

TEST(VRLEventServer, anEventWithoutAModelFailsOnlyWhenAsked) {
    VRLModelCreateEvent event(nullptr);
    EventRecorder recorder;
    recorder.processEvent(event);
    EXPECT_EQ(recorder.take(), std::vector<std::string>{"modelCreate"});
    EXPECT_THROW(event.getModel(), ProgramError);
}

} // namespace vorlen
