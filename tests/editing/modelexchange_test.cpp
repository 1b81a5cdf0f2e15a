#include "editing/operations/modelfilter.h"
#include "editing/operations/modeltransfer.h"

#include "editing/operationfixture.h"
#include "progress/progresssubject.h"
#include "support/documentmaker.h"
#include "support/recordingmonitor.h"

namespace vorlen {

namespace {

using Places = std::vector<std::pair<int, int>>;

const Places box = {{10, 10}, {30, 10}, {30, 30}, {10, 30}};

/// The stack of operations gets three slices, and another one of as many stands beside it.
class ModelExchangeTest : public OperationTest {
protected:
    ModelExchangeTest() : cortex(addModel(source, "Cortex")) {
        addSlices(stack, 2);
        addSlices(source, 3);
        source.setName("A");
        stack.setName("B");
        ImageSourceFile image;
        image.setFilename(folder.file("image0.tif"));
        for (int i = 0; i < 3; ++i) {
            source.getSlice(i).setImageSource(image);
            stack.getSlice(i).setImageSource(image);
        }
        cortex.getItemProperties().setColor(12, 34, 56);
        addItem(cortex, source.getSlice(0), box);
        addItem(cortex, source.getSlice(2), {{1, 2}, {3, 4}, {1, 4}});
    }

    Outcome transfer(const std::vector<ModelTransfer>& models, TransferPlaces places = TransferPlaces::Pixels) {
        return transferModels(stack, source, models, places, progress);
    }

    /// Name, and for each item its slice and vertices.
    static std::string described(const Stack& stack, int model) {
        std::string text = stack.getModel(model).getName() + ":";
        for (int i = 0; i < stack.getModel(model).getNumItems(); ++i) {
            const ModelItem& item = stack.getModel(model).getItem(i);
            text += " " + std::to_string(stack.findSlice(*item.getSlice()));
            for (const auto& [x, y] : coordinates(item.getVertices()))
                text += " (" + std::to_string(x) + "," + std::to_string(y) + ")";
        }
        return text;
    }

    VRLStack source;
    Model& cortex;
    ProgressSubject progress;
};

const std::string copied = "Cortex: 0 (10,10) (30,10) (30,30) (10,30) 2 (1,2) (3,4) (1,4)";

} // namespace

TEST_F(ModelExchangeTest, modelsGoToTheSlicesOfTheSameNumberInOneStep) {
    expectStep([&] { return transfer({{"Cortex"}}); });
    ASSERT_EQ(stack.getNumModels(), 5);
    EXPECT_EQ(described(stack, 4), copied);
    EXPECT_EQ(stack.getModel(4).getItemProperties().getColor(), cortex.getItemProperties().getColor());
    // The copies share nothing with the source.
    stack.getModel(4).getItem(0).moveVertex(0, point(7, 7));
    EXPECT_EQ(coordinates(cortex.getItem(0).getVertices()), box);
}

TEST_F(ModelExchangeTest, aNameThatIsTakenIsReplacedDuplicatedAppendedToOrLeftOut) {
    Model& present = addModel(stack, "Cortex");
    addItem(present, *slice, {{0, 0}, {1, 0}, {0, 1}});
    addModel(stack, "Cortex (copy)");
    expectStep([&] { return transfer({{"Cortex", TransferAction::Append}}); });
    EXPECT_EQ(described(stack, 4), "Cortex: 0 (0,0) (1,0) (0,1)" + copied.substr(7));
    history().undo();
    expectStep([&] { return transfer({{"Cortex", TransferAction::Duplicate}}); });
    EXPECT_EQ(stack.getModel(6).getName(), "Cortex (copy) (copy)");
    EXPECT_EQ(described(stack, 4), "Cortex: 0 (0,0) (1,0) (0,1)");
    history().undo();
    // The old model's items come back by undo, also those that earlier steps name.
    expectStep([&] { return transfer({{"Cortex", TransferAction::Replace}}); });
    EXPECT_EQ(described(stack, 5), copied);
    history().undo();
    EXPECT_EQ(described(stack, 4), "Cortex: 0 (0,0) (1,0) (0,1)");
    expectRefusal([&] { return transfer({{"Cortex"}}); }, "There is no model to transfer");
}

TEST_F(ModelExchangeTest, theSamePlaceInSpaceIsFoundByRegistrationAndPixelSize) {
    EXPECT_EQ(placeDifference(source, stack), "");
    source.getSlice(0).setRegistration(Registration(3, -2, 0));
    EXPECT_EQ(placeDifference(source, stack), "registration of their slices");
    PixelCalibration half = stack.getSlice(0).getPixelCalibration();
    half.setPixelWidth(half.getPixelWidth() / 2);
    half.setPixelHeight(half.getPixelHeight() / 2);
    half.compute();
    for (int i = 0; i < 3; ++i)
        stack.getSlice(i).setPixelCalibration(half);
    EXPECT_EQ(placeDifference(source, stack), "registration of their slices and pixel size");
    expectStep([&] { return transfer({{"Cortex"}}, TransferPlaces::World); });
    // Where each point of the copy lies in space is where the original lies.
    const StackReconstruction<double> from(source), to(stack);
    for (int i = 0; i < cortex.getNumItems(); ++i) {
        const ModelItem &original = cortex.getItem(i), &copy = stack.getModel(4).getItem(i);
        const int place = stack.findSlice(*copy.getSlice());
        for (int k = 0; k < original.getSize(); ++k) {
            const auto& p = original.getVertices()[k];
            const auto& q = copy.getVertices()[k];
            const Vector<double> a = from.toWorld(place, double(p[0]), double(p[1]));
            const Vector<double> b = to.toWorld(place, double(q[0]), double(q[1]));
            EXPECT_NEAR(a[0], b[0], 0.25 + 1e-6); // half a pixel of the target
            EXPECT_NEAR(a[1], b[1], 0.25 + 1e-6);
        }
    }
}

TEST_F(ModelExchangeTest, whatDoesNotGoTogetherIsRefusedAndACancelLeavesNoTrace) {
    expectRefusal([&] { return transferModels(stack, stack, {{"Polygon"}}, TransferPlaces::Pixels, progress); },
                  "A stack can't be its own source");
    expectRefusal([&] { return transfer({{"Medulla"}}); }, "Stack A has no model named Medulla");
    class Canceller : public ProgressMonitor {
    public:
        explicit Canceller(ProgressSubject& subject) : __subject(subject) {}
        using ProgressMonitor::subjectProgressed;
        void subjectProgressed(unsigned int current, unsigned int) override {
            if (current == 3)
                __subject.cancel();
        }

    private:
        ProgressSubject& __subject;
    } canceller(progress);
    progress.addMonitor(canceller);
    expectRefusal([&] { return transfer({{"Cortex"}}); }, "The transfer was cancelled");
    progress.removeMonitor(canceller);
    ImageWriter().write(Image(9, 8, 8), folder.file("wide.tif"), true);
    ImageSourceFile wide;
    wide.setFilename(folder.file("wide.tif"));
    source.getSlice(0).setImageSource(wide);
    expectRefusal([&] { return transfer({{"Cortex"}}); }, "Stacks A and B have slices with different image sizes");
    addSlices(source, 1);
    expectRefusal([&] { return transfer({{"Cortex"}}); }, "Stacks A and B have different sizes");
}

TEST_F(ModelExchangeTest, modelsOutsideOfTheReferenceGoAsAWhole) {
    addItem(polygon, *slice, box);
    addItem(other, *slice, {{20, 20}, {90, 20}, {90, 90}}); // one vertex within
    addItem(line, stack.getSlice(1), {{20, 20}, {21, 20}}); // no reference on its slice
    addItem(dots, *slice, {{50, 50}, {60, 60}});
    FilterPlan plan;
    ASSERT_TRUE(planFilter(stack, polygon, {&polygon, &other, &line, &dots}, FilterMode::NonIntersectingModels, plan));
    EXPECT_EQ(plan.models, (std::vector<Model*>{&line, &dots}));
    EXPECT_EQ(plan.numVertices(), 4u);
    EXPECT_EQ(plan.numItems(), 2u);
    const auto filter = [&] {
        return filterModels(stack, polygon, {&polygon, &other, &line, &dots}, FilterMode::NonIntersectingModels,
                            progress);
    };
    expectStep(filter);
    EXPECT_EQ(stack.getNumModels(), 2);
    EXPECT_EQ(stack.getModel(0).getName(), "Polygon");
    expectRefusal([&] { return filterModels(stack, polygon, {&other}, FilterMode::NonIntersectingModels, progress); },
                  "All these models intersect the reference: nothing is to be removed");
    expectRefusal([&] { return filterModels(stack, polygon, {&polygon}, FilterMode::PointsOutside, progress); },
                  "There is no model to filter besides the reference");
}

TEST_F(ModelExchangeTest, pointsOutsideGoAndWhatIsTooSmallThen) {
    addItem(polygon, *slice, box);
    addItem(polygon, *slice, {{50, 50}, {60, 50}, {60, 60}, {50, 60}});
    ModelItem& five = addItem(other, *slice, {{12, 12}, {20, 12}, {80, 12}, {80, 20}, {80, 30}}); // two within
    ModelItem& bridge = addItem(other, *slice, {{12, 12}, {20, 20}, {55, 55}, {40, 40}});         // in both outlines
    ModelItem& tail = addItem(line, *slice, {{20, 20}, {22, 22}, {40, 20}});
    ModelItem& end = addItem(line, *slice, {{20, 20}, {40, 22}, {41, 20}});
    addItem(dots, *slice, {{20, 20}, {99, 99}});
    addItem(dots, stack.getSlice(2), {{20, 20}}); // a slice without the reference
    FilterPlan plan;
    ASSERT_TRUE(planFilter(stack, polygon, {&other, &line, &dots}, FilterMode::PointsOutside, plan));
    const auto lost = [&plan](const ModelItem& item) {
        for (const FilterPlan::Loss& loss : plan.losses)
            if (loss.item == &item)
                return loss.vertices.getSize();
        return 0;
    };
    EXPECT_EQ(lost(five), 5) << "less than a polygon would stay";
    EXPECT_EQ(lost(bridge), 1);
    EXPECT_EQ(lost(tail), 1);
    EXPECT_EQ(lost(end), 3) << "less than a line would stay";
    EXPECT_EQ(plan.numVertices(), 5u + 1 + 1 + 3 + 1 + 1);
    ASSERT_EQ(plan.shares.size(), 3u);
    EXPECT_EQ(plan.shares[2].numItems, 1);
    EXPECT_EQ(plan.shares[2].numVertices, 2);
    expectStep([&] {
        return filterModels(stack, polygon, {&other, &line, &dots}, FilterMode::PointsOutside, progress);
    });
    ASSERT_EQ(other.getNumItems(), 1);
    EXPECT_EQ(verticesOf(other.getItem(0)), (Places{{12, 12}, {20, 20}, {55, 55}}));
    ASSERT_EQ(dots.getNumItems(), 1);
    EXPECT_EQ(verticesOf(dots.getItem(0)), (Places{{20, 20}}));
}

} // namespace vorlen
