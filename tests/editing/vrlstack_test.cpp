#include "editing/stacks/vrlstack.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "document/pose.h"
#include "document/stackslice.h"
#include "editing/stacks/vrlstackserver.h"
#include "support/documentmaker.h"
#include "support/eventrecorder.h"
#include "support/fixedsource.h"

namespace vorlen {

namespace {

using Names = std::vector<std::string>;

class VRLStackTest : public ::testing::Test {
protected:
    VRLStackTest() : model(addModel(stack, "m")) {
        addSlices(stack, 2);
        item = &addItem(model, stack.getSlice(1), {{0, 0}, {1, 0}, {1, 1}});
    }

    /// Whether the stack takes the event as a change of itself.
    bool marks(VRLEvent& event) {
        stack.setModified(false);
        VRLEventServerCall::send(event);
        return stack.isModified();
    }

    struct VRLEventServerCall : VRLEventClient {
        static void send(VRLEvent& event) { VRLEventServerCall().notifyEvent(event); }
    };

    VRLStack stack, other;
    Model& model;
    ModelItem* item;
};

} // namespace

TEST_F(VRLStackTest, changesOfItselfSetTheFlagAndOthersDoNot) {
    StackSlice* slice = &stack.getSlice(0);
    Pose pose;
    pose.setStack(&stack);
    VRLStackNameEvent name(&stack);
    VRLStackSliceSpacingEvent spacing(&stack);
    VRLStackImageCalibrationEvent calibration(&stack);
    VRLSliceAnnotationEvent annotation(slice);
    VRLSliceNameEvent sliceName(slice);
    VRLSliceSpacingEvent sliceSpacing(slice);
    VRLSliceImageCalibrationEvent sliceCalibration(slice);
    VRLModelCreateEvent modelCreate(&model);
    VRLModelDeleteEvent modelDelete(&model);
    VRLModelItemCreateEvent itemCreate(item);
    VRLModelItemDeleteEvent itemDelete(item);
    VRLModelItemConvertEvent itemConvert(item, &model, &model);
    VRLModelItemVertexEvent itemVertex(item);
    VRLModelItemAttributeEvent itemAttribute(item);
    VRLPoseCreateEvent poseCreate(&pose);
    VRLPoseDeleteEvent poseDelete(&pose);
    for (VRLEvent* event :
         std::initializer_list<VRLEvent*>{&name, &spacing, &calibration, &annotation, &sliceName, &sliceSpacing,
                                          &sliceCalibration, &modelCreate, &modelDelete, &itemCreate, &itemDelete,
                                          &itemConvert, &itemVertex, &itemAttribute, &poseCreate, &poseDelete})
        EXPECT_TRUE(marks(*event)) << event->type();

    VRLModelItemSelectEvent select(item);
    VRLModelPropertiesEvent properties(&model);
    VRLStackNameEvent otherName(&other);
    Model foreign;
    VRLModelCreateEvent foreignModel(&foreign);
    ModelItem homeless;
    VRLModelItemVertexEvent homelessItem(&homeless);
    Pose foreignPose;
    VRLPoseCreateEvent foreignPoseCreate(&foreignPose);
    for (VRLEvent* event : std::initializer_list<VRLEvent*>{&select, &properties, &otherName, &foreignModel,
                                                            &homelessItem, &foreignPoseCreate})
        EXPECT_FALSE(marks(*event)) << event->type();
}

TEST_F(VRLStackTest, aSliceThatMovesRenewsTheReconstructionAndTellsOfTheStack) {
    stack.getSlice(1).setRelativePosition(12);
    EventRecorder recorder;
    VRLSliceSpacingEvent event(&stack.getSlice(1));
    VRLEventServerCall::send(event);
    EXPECT_FLOAT_EQ(stack.getReconstruction().getZMap()[1], 12);
    EXPECT_EQ(recorder.take(), (Names{"stackModify", "stackSliceSpacing", "sliceSpacing"}));
}

TEST_F(VRLStackTest, aNewItemMakesItsSliceTheLastSegmentedOne) {
    VRLModelItemCreateEvent event(item);
    VRLEventServerCall::send(event);
    EXPECT_EQ(stack.getLastSegmentedSlice(), "s1");
}

TEST_F(VRLStackTest, writingClearsTheFlagAndTakesTheNameOver) {
    QTemporaryDir folder;
    stack.getSlice(0).setImageSource(FixedSource(5, 5));
    stack.getSlice(1).setImageSource(FixedSource(5, 5));
    const std::string file = folder.filePath("a.sdf").toStdString();
    stack.setModified(true);
    EventRecorder recorder;
    EXPECT_FALSE(stack.write(folder.filePath("missing/a.sdf").toStdString()));
    EXPECT_TRUE(stack.isModified());
    EXPECT_EQ(stack.getFilename(), "");
    EXPECT_TRUE(recorder.take().empty());
    ASSERT_TRUE(stack.write(file));
    EXPECT_FALSE(stack.isModified());
    EXPECT_EQ(stack.getFilename(), file);
    EXPECT_EQ(recorder.take(), (Names{"stackModify", "stackFileName"}));
    stack.setFilename(file);
    EXPECT_TRUE(recorder.take().empty());
    EXPECT_TRUE(QFile::exists(folder.filePath("a.sdf")));
}

TEST(VRLStack, whatAWindowKeptForAStackGoesBeforeItsSlices) {
    auto stack = std::make_unique<VRLStack>();
    stack->addSlice(new StackSlice);
    stack->getSlice(0).setName("first");
    auto* kept = new QObject(stack.get());
    std::string seen;
    QObject::connect(kept, &QObject::destroyed, [&seen, &alive = *stack] { seen = alive.getSlice(0).getName(); });
    stack.reset();
    EXPECT_EQ(seen, "first");
}

TEST(VRLStackServer, opensAndClosesStacksInOrderWithEvents) {
    VRLStackServer& server = VRLStackServer::stackServer;
    ASSERT_EQ(server.getNumStacks(), 0);
    const int before = VRLStackServer::getSessionNumStacks();
    auto *a = new VRLStack, *b = new VRLStack, *c = new VRLStack;
    EventRecorder recorder;
    for (VRLStack* stack : {a, b, c})
        server.addStack(*stack);
    EXPECT_EQ(recorder.take(), (Names{"stackOpen", "stackOpen", "stackOpen"}));
    EXPECT_EQ(server.find(*b), 1);
    EXPECT_EQ(&server.getNextStack(*c), a);
    EXPECT_EQ(&server.getPreviousStack(*a), c);
    EXPECT_EQ(&server.getPreviousStack(*c), b);

    class Closer : public VRLEventClient {
    public:
        void stackCloseEvent(VRLStackCloseEvent& event) override {
            listed = VRLStackServer::stackServer.find(*event.getStack()) >= 0;
        }
        bool listed = false;
    } closer;
    server.removeStack(*b);
    EXPECT_TRUE(closer.listed);
    EXPECT_EQ(recorder.take(), Names{"stackClose"});
    EXPECT_EQ(server.getNumStacks(), 2);
    server.removeStack(*c);
    server.removeStack(*a);
    EXPECT_EQ(VRLStackServer::getSessionNumStacks(), before + 3);
    const VRLStack unlisted;
    EXPECT_EQ(server.find(unlisted), -1);
}

} // namespace vorlen
