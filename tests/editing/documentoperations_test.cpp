#include <cmath>
#include <cstdlib>
#include <ctime>
#include <functional>

#include <gtest/gtest.h>

#include "document/pose.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/actions/vrlmodeldeletionaction.h"
#include "editing/actions/vrlstackstateaction.h"
#include "editing/bus/vrleventserver.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/lostimages.h"
#include "editing/operations/modeloperations.h"
#include "editing/operations/slicealignment.h"
#include "editing/operations/sliceoperations.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"
#include "support/documentmaker.h"
#include "support/eventrecorder.h"
#include "support/fixedsource.h"
#include "support/stackfolder.h"
#include "support/temporaryfolder.h"

namespace vorlen {

namespace {

using Names = std::vector<std::string>;
using Operation = std::function<Outcome(VRLStack&)>;

/// Four slices at 0, 5, 12 and 17, registered but for the first; two models with items, and a pose.
std::unique_ptr<VRLStack> makeDocument() {
    auto stack = std::make_unique<VRLStack>();
    stack->setName("brain");
    stack->setDefaultSliceSpacing(5);
    addSlices(*stack, 4);
    stack->getSlice(2).setAbsolutePosition(12);
    for (int i = 0; i < 4; ++i) {
        stack->getSlice(i).setImageSource(FixedSource(50, 50));
        stack->getSlice(i).getPixelCalibration().setLengthUnit(LengthUnit(-6));
        stack->getSlice(i).setRegistration(Registration(i, 0, 0));
    }
    for (const char* name : {"a", "b"}) {
        Model& model = addModel(*stack, name);
        for (int i = 0; i < 4; ++i)
            addItem(model, stack->getSlice(i), {{i, 0}, {9, 0}, {9, 9}});
    }
    auto* pose = new Pose;
    pose->setName("front");
    pose->setStack(stack.get());
    pose->attach();
    stack->updateReconstruction();
    return stack;
}

/// All that a file holds of the stack, and what it does not: images, thickness and the reconstruction's positions.
std::string text(const VRLStack& stack) {
    std::string all = StackWriter().toText(stack, "/");
    for (int i = 0; i < stack.getNumSlices(); ++i)
        all += std::to_string(stack.getReconstruction().getZMap()[i]) + " " +
               std::to_string(stack.getSlice(i).getThickness()) + (stack.getSlice(i).isEmpty() ? "e\n" : "i\n");
    return all;
}

PixelCalibration squarePixels(float side) {
    PixelCalibration calibration;
    calibration.setPixelWidth(side);
    calibration.compute();
    return calibration;
}

StackSlice& slice(VRLStack& stack, int i) {
    return stack.getSlice(i);
}

std::unique_ptr<StackSlice> newSlice(const std::string& name) {
    auto made = std::make_unique<StackSlice>();
    made->setName(name);
    made->setImageSource(FixedSource(50, 50));
    return made;
}

struct Case {
    const char* name;
    Operation run;
    Names events; // when it is done, without those of the modified mark
};

const FixedSource noImage(0, 0, false);

/// Each operation in its largest form.
std::vector<Case> cases() {
    return {
        {"createModel",
         [](VRLStack& s) {
             return createModel(s, {"c", {}, {}});
         },
         {"modelCreate"}},
        {"renameModel", [](VRLStack& s) { return renameModel(s, s.getModel(0), "z"); }, {"modelProperties"}},
        {"changeModels",
         [](VRLStack& s) {
             ModelChange change;
             change.properties.setSurfaceOpacity(7);
             change.itemProperties.setLineWidth(3);
             return changeModels(s, {&s.getModel(0), &s.getModel(1)}, change);
         },
         {"modelProperties", "modelProperties"}},
        {"groupModels",
         [](VRLStack& s) {
             return groupModels(s, {&s.getModel(0), &s.getModel(1)}, " left side ");
         },
         {"modelProperties", "modelProperties"}},
        {"deleteModels",
         [](VRLStack& s) {
             return deleteModels(s, {&s.getModel(0), &s.getModel(1), &s.getModel(0)});
         },
         {"modelDelete", "modelDelete"}},
        {"insertSlices",
         [](VRLStack& s) {
             std::vector<std::unique_ptr<StackSlice>> slices;
             slices.push_back(newSlice("new"));
             slices.push_back(newSlice("newer"));
             return insertSlices(s, 2, std::move(slices));
         },
         {"sliceIn", "sliceIn"}},
        {"deleteSlices",
         [](VRLStack& s) {
             return deleteSlices(s, {&slice(s, 1), &slice(s, 0), &slice(s, 2)});
         },
         {"sliceOut", "sliceOut", "sliceOut"}},
        {"changeSlice",
         [](VRLStack& s) {
             SliceChange change;
             change.name = "x";
             change.annotation = "note";
             change.spacing = 9.0f;
             change.thickness = 2.0f;
             change.calibration = squarePixels(4);
             change.registration = Registration(1, 2, 3);
             change.imageSource = &noImage;
             return changeSlice(s, slice(s, 1), change);
         },
         {"sliceName", "stackSliceSpacing", "sliceSpacing", "stackImageCalibration", "sliceImageCalibration",
          "stackRegistration", "sliceAnnotation", "sliceImageSource"}},
        {"reorderSlices",
         [](VRLStack& s) {
             return reorderSlices(s, {2, 0, 1, 3});
         },
         {"stackSliceSpacing", "stackRegistration"}},
        {"setRegistrations",
         [](VRLStack& s) {
             return setRegistrations(s, {{}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}});
         },
         {"stackRegistration"}},
        {"changeStack",
         [](VRLStack& s) {
             StackChange change;
             change.name = "other";
             change.annotation = "note";
             change.unit = LengthUnit(-9);
             change.spacing = 3.0f;
             change.spacingSlices = {&slice(s, 1), &slice(s, 2)};
             change.calibration = squarePixels(2);
             change.calibrationSlices = {&slice(s, 3)};
             change.absoluteImagesPath = true;
             change.greyScale = GreyScale{100, 3000, 4095};
             return changeStack(s, change);
         },
         {"stackName", "stackSliceSpacing", "stackImageCalibration", "sliceImageCalibration", "stackImageCalibration"}},
        {"recordPose", [](VRLStack& s) { return recordPose(s, Pose::canonicalPose2(), "side"); }, {"poseCreate"}},
        {"deletePose", [](VRLStack& s) { return deletePose(s, 0); }, {"poseDelete"}},
    };
}

/// Throws at one of the events, counted from 0.
class BrokenListener : public EventRecorder {
public:
    explicit BrokenListener(int failing) : __failing(failing) {}
    void stackNameEvent(VRLStackNameEvent&) override { hear(); }
    void stackModifyEvent(VRLStackModifyEvent&) override { hear(); }
    void stackRegistrationEvent(VRLStackRegistrationEvent&) override { hear(); }
    void stackSliceSpacingEvent(VRLStackSliceSpacingEvent&) override { hear(); }
    void stackImageCalibrationEvent(VRLStackImageCalibrationEvent&) override { hear(); }
    void sliceAnnotationEvent(VRLSliceAnnotationEvent&) override { hear(); }
    void sliceImageSourceEvent(VRLSliceImageSourceEvent&) override { hear(); }
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction&) override { hear(); }
    void modelCreateEvent(VRLModelCreateEvent&) override { hear(); }
    void modelDeleteEvent(VRLModelDeleteEvent&) override { hear(); }
    void modelPropertiesEvent(VRLModelPropertiesEvent&) override { hear(); }
    void poseCreateEvent(VRLPoseCreateEvent&) override { hear(); }
    void poseDeleteEvent(VRLPoseDeleteEvent&) override { hear(); }
    void atEventBatchEnd() override { hear(); }

private:
    void hear() {
        if (__numHeard++ == __failing)
            throw ValueError("hear", "broken listener");
    }

    int __failing;
    int __numHeard = 0;
};

/// An action that can't be applied.
class Failing : public VRLAction {
    void apply() override { throw ValueError("apply", "no"); }
};

} // namespace

TEST(DocumentOperations, areUndoneAndRedoneToTheByteAndMarkTheStack) {
    for (const Case& operation : cases()) {
        SCOPED_TRACE(operation.name);
        const auto stack = makeDocument();
        const std::string before = text(*stack);
        EventRecorder recorder;
        const auto heard = [&recorder] {
            Names names = recorder.take();
            std::erase(names, "stackModify");
            std::erase(names, "batchEnd"); // undo and redo are batches
            return names;
        };
        stack->setModified(false);
        ASSERT_TRUE(operation.run(*stack));
        EXPECT_TRUE(stack->isModified());
        EXPECT_EQ(heard(), operation.events);
        const std::string after = text(*stack);
        EXPECT_NE(after, before);
        for (int round = 0; round < 2; ++round) {
            stack->setModified(false);
            stack->history()->undo();
            EXPECT_TRUE(stack->isModified());
            EXPECT_EQ(text(*stack), before);
            EXPECT_FALSE(stack->history()->isUndoable());
            stack->setModified(false);
            heard();
            stack->history()->redo();
            EXPECT_TRUE(stack->isModified());
            EXPECT_EQ(heard(), operation.events);
            EXPECT_EQ(text(*stack), after);
        }
        EXPECT_FALSE(VRLEventClient::eventBatchEnabled());
    }
}

// Whatever event a client fails at, and when something behind it in the step fails.
TEST(DocumentOperations, leaveNothingBehindWhenAClientFails) {
    for (const Case& operation : cases()) {
        SCOPED_TRACE(operation.name);
        bool failed = true;
        for (int failing = 0; failed; ++failing) {
            const auto stack = makeDocument();
            const std::string before = text(*stack);
            const BrokenListener listener(failing);
            failed = false;
            try {
                operation.run(*stack);
            } catch (const ValueError&) {
                failed = true;
            }
            ASSERT_TRUE(failed || failing > 0);
            EXPECT_EQ(text(*stack) == before, failed) << failing;
            EXPECT_EQ(stack->history()->isUndoable(), !failed);
            EXPECT_FALSE(stack->history()->isStepOpen());
            EXPECT_FALSE(VRLEventClient::eventBatchEnabled());
        }
    }
}

TEST(DocumentOperations, actionsAreTakenBackWhenALaterOneOfTheirStepFails) {
    const auto stack = makeDocument();
    const std::string before = text(*stack);
    auto state = std::make_unique<VRLStackStateAction>(*stack, "change");
    state->sliceState(slice(*stack, 3)).name = "x";
    state->setOrder({3, 2, 1, 0});
    EXPECT_THROW(
        {
            EditStep step(*stack->history());
            step.apply(std::move(state));
            step.apply(std::make_unique<VRLModelDeletionAction>(*stack, stack->getModel(0)));
            step.apply(std::make_unique<Failing>());
        },
        ValueError);
    EXPECT_EQ(text(*stack), before);
    EXPECT_FALSE(stack->history()->isUndoable());
}

TEST(DocumentOperations, areRefusedWithAReasonAndWithoutATrace) {
    const auto stack = makeDocument();
    VRLStack other;
    addSlices(other, 1);
    Model& foreign = addModel(other, "a");
    const std::string before = text(*stack);
    const auto spacing = [](double value) {
        SliceChange change;
        change.spacing = value;
        return change;
    };
    SliceChange unnamed, both, bent;
    unnamed.name = "";
    both.spacing = both.position = 1.0f;
    bent.registration = Registration(0, 0, std::nanf(""));
    StackChange flat, stackUnnamed, foreignSlice, upsideDown;
    flat.calibration = squarePixels(0);
    stackUnnamed.name = "";
    upsideDown.greyScale = GreyScale{300, 200, 255};
    foreignSlice.spacing = 1.0f;
    foreignSlice.spacingSlices = {&other.getSlice(0)};
    ModelChange shared;
    shared.name = "c";
    ProgressSubject cancelled;
    cancelled.cancel();
    Model &a = stack->getModel(0), &b = stack->getModel(1);
    const std::vector<std::pair<Outcome, std::string>> refusals = {
        {createModel(*stack, {"a", {}, {}}), "A model named a already exists in this stack"},
        {createModel(*stack, {}), "The model name is empty"},
        {renameModel(*stack, a, "b"), "A model named b already exists in this stack"},
        {changeModels(*stack, {&a, &b}, shared), "Several models can't have one name"},
        {deleteModels(*stack, {&a, &foreign}), "The model is not in this stack"},
        {insertSlices(*stack, 5, {}), "There is no such place in the stack"},
        {deleteSlices(*stack, {&slice(*stack, 0), &other.getSlice(0)}), "The slice is not in this stack"},
        {reorderSlices(*stack, {0, 1, 2}), "The new order must name each slice once"},
        {reorderSlices(*stack, {0, 1, 1, 3}), "The new order must name each slice once"},
        {changeSlice(*stack, slice(*stack, 1), unnamed), "The slice name is empty"},
        {changeSlice(*stack, slice(*stack, 1), both), "A slice has a spacing or a position, not both"},
        {changeSlice(*stack, slice(*stack, 1), spacing(-1)), "The slice spacing must be above zero"},
        {changeSlice(*stack, slice(*stack, 1), bent), "The angle of the registration is no number"},
        {changeStack(*stack, stackUnnamed), "The stack name is empty"},
        {changeStack(*stack, upsideDown), "The value shown as black must lie below the one shown as white"},
        {changeStack(*stack, flat), "The size of a pixel must be above zero"},
        {changeStack(*stack, foreignSlice), "The slice is not in this stack"},
        {setRegistrations(*stack, {{}}), "There must be one registration for each slice"},
        {registerSlices(other, {}, cancelled), "A registration needs at least two slices"},
        {recordPose(*stack, Pose(), ""), "The pose name is empty"},
        {deletePose(*stack, 1), "There is no such pose"}};
    for (const auto& [outcome, reason] : refusals)
        EXPECT_EQ(outcome.getReason(), reason);
    EXPECT_EQ(text(*stack), before);
    EXPECT_FALSE(stack->isModified());

    // Where nothing differs nothing is done.
    EXPECT_TRUE(renameModel(*stack, a, "a"));
    EXPECT_TRUE(changeStack(*stack, {}));
    EXPECT_TRUE(changeSlice(*stack, slice(*stack, 0), spacing(slice(*stack, 0).getRelativePosition())));
    EXPECT_TRUE(reorderSlices(*stack, {0, 1, 2, 3}));
    EXPECT_FALSE(stack->history()->isUndoable());
    EXPECT_FALSE(stack->isModified());

    const EditStep open(*stack->history());
    EXPECT_EQ(deletePose(*stack, 0).getReason(), "Another change of this stack is not finished yet");
}

// The places keep their positions. Slices 0 and 1 are still one behind the other: only 1 keeps its registration.
TEST(DocumentOperations, slicesThatAreReorderedTakeThePlacesThatThereWere) {
    const auto stack = makeDocument();
    const std::vector<double> positions = stack->getAbsolutePositions();
    StackSlice* const moved = &slice(*stack, 2);
    ASSERT_TRUE(reorderSlices(*stack, {2, 0, 1, 3}));
    EXPECT_EQ(&slice(*stack, 0), moved);
    EXPECT_EQ(stack->findSlice(*moved), 0);
    EXPECT_EQ(stack->getAbsolutePositions(), positions);
    std::vector<double> shifts;
    for (int i = 0; i < 4; ++i)
        shifts.push_back(slice(*stack, i).getRegistration().getHorShift());
    EXPECT_EQ(shifts, (std::vector<double>{0, 0, 1, 0}));
}

// Two slices of a bright bar, the second one shifted by (3, 1); a file that is no image is told of.
TEST(DocumentOperations, aNewStackOfImagesIsRegisteredInOneStep) {
    const TemporaryFolder folder;
    NewStack description;
    description.name = "new";
    description.sliceSpacing = 2;
    description.calibration = squarePixels(3);
    for (int shift = 0; shift < 2; ++shift) {
        Image image(40, 40, 8);
        for (int i = 0; i < 40 * 40; ++i) {
            const int row = i / 40 - shift, column = i % 40 - 3 * shift;
            image.getData()[i] = row >= 15 && row < 20 && column >= 8 && column < 28 ? 200 : 0;
        }
        description.images.push_back(folder.file("im" + std::to_string(shift) + ".tif"));
        ImageWriter().write(image, description.images.back(), true);
    }
    description.images.insert(description.images.begin() + 1, folder.file("missing.tif"));
    std::vector<UnreadableImage> unreadable;
    const auto stack = makeStack(description, unreadable);
    ASSERT_NE(stack, nullptr);
    ASSERT_EQ(unreadable.size(), 1u);
    EXPECT_EQ(unreadable[0].file, description.images[1]);
    EXPECT_FALSE(unreadable[0].reason.empty());
    EXPECT_EQ(stack->getName(), "new");
    ASSERT_EQ(stack->getNumSlices(), 2);
    EXPECT_EQ(slice(*stack, 1).getName(), "im1");
    EXPECT_EQ(stack->getAbsolutePositions(), (std::vector<double>{0, 2}));
    EXPECT_EQ(slice(*stack, 1).getPixelCalibration().getPixelHeight(), 3);
    EXPECT_TRUE(stack->isModified());

    ProgressSubject progress;
    AlignmentOptions axes;
    axes.method = AlignmentMethod::PrincipalAxes;
    RegistrationReport report;
    ASSERT_TRUE(registerSlices(*stack, axes, progress, &report));
    const Registration found = slice(*stack, 1).getRegistration();
    EXPECT_NEAR(std::abs(found.getHorShift()), 3, 1e-3);
    EXPECT_NEAR(std::abs(found.getVerShift()), 1, 1e-3);
    EXPECT_EQ(report.slices[1].method, "principal axes");
    stack->history()->undo();
    EXPECT_TRUE(slice(*stack, 1).getRegistration().isNull());
    progress.cancel();
    ASSERT_TRUE(registerSlices(*stack, axes, progress, &report));
    EXPECT_TRUE(report.cancelled);
    EXPECT_EQ(report.slices[1].reason, "the run was stopped before it");
    EXPECT_FALSE(stack->history()->isUndoable());
    EXPECT_EQ(makeStack({"none", 1, {}, {folder.file("missing.tif")}}, unreadable), nullptr);
}

TEST(SliceOperations, aSliceWithoutAPixelSizeTakesThatOfTheOneBefore) {
    VRLStack stack;
    const auto insert = [&stack](const char* name, const PixelCalibration& calibration) {
        std::vector<std::unique_ptr<StackSlice>> slices;
        slices.push_back(newSlice(name));
        slices.back()->setPixelCalibration(calibration);
        ASSERT_TRUE(insertSlices(stack, stack.getNumSlices(), std::move(slices)));
    };
    insert("first", squarePixels(0.5f));
    insert("none of its own", PixelCalibration());
    insert("own", squarePixels(3));
    EXPECT_EQ(stack.getSlice(1).getPixelCalibration().getPixelWidth(), 0.5f);
    EXPECT_EQ(stack.getSlice(2).getPixelCalibration().getPixelWidth(), 3);
}

// One that is there, one of another size and one that is gone; found in one step, which can be taken back.
TEST(DocumentOperations, lostImagesAreFoundByTheirNamesInAnotherFolder) {
    const StackFolder folder;
    folder.writeImage("new/a.tif", 6, 4);
    folder.writeImage("new/b.tif", 7, 4);
    const auto slice = [](const char* name) {
        return "SLICE \"" + std::string(name) + "\" \"" + name + ".tif\";\nSliceSize1 4;\nSliceSize2 6;\n";
    };
    VRLStack read;
    StackReader().readText(read, "FileFormatVersion 1.03;\n" + slice("a") + slice("b") + "SLICE \"c\" \"c.tif\";\n",
                           folder.file("s.sdf"));
    EXPECT_EQ(numLostImages(read), 3);
    EXPECT_NE(requireImageSizes(read).getReason().find("\"c\""), std::string::npos);
    std::vector<UnreadableImage> lost;
    EXPECT_FALSE(findLostImages(read, folder.path(), lost));
    EXPECT_EQ(lost.size(), 3u);
    lost.clear();
    EXPECT_TRUE(findLostImages(read, folder.file("new"), lost));
    ASSERT_EQ(lost.size(), 2u);
    EXPECT_NE(lost[0].reason.find("7 x 4 pixels, and the lost one had 6 x 4"), std::string::npos) << lost[0].reason;
    EXPECT_FALSE(read.getSlice(0).isEmpty());
    EXPECT_TRUE(read.isModified());
    read.history()->undo();
    EXPECT_EQ(numLostImages(read), 3);
    EXPECT_EQ(read.getSlice(0).width(), 6);
    read.history()->redo();
    EXPECT_EQ(numLostImages(read), 2);
}

// Each slice tells of its change, and what follows from all of them is not made for each.
TEST(StackOperations, calibratingAllSlicesTakesTimeInProportionToThem) {
    const auto seconds = [](int numSlices) {
        VRLStack stack;
        addSlices(stack, numSlices);
        StackChange change;
        change.calibration = squarePixels(2);
        for (int i = 0; i < numSlices; ++i)
            change.calibrationSlices.push_back(&stack.getSlice(i));
        const std::clock_t start = std::clock();
        EXPECT_TRUE(changeStack(stack, change));
        const double taken = double(std::clock() - start) / CLOCKS_PER_SEC;
        EXPECT_EQ(stack.getReconstruction().toWorld(numSlices - 1, 3, 0)[0], 6);
        return taken;
    };
    seconds(100);
    EXPECT_LT(seconds(8000), 20 * std::max(seconds(1000), 1e-3)); // 64 where it is quadratic
}

} // namespace vorlen
