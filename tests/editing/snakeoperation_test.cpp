#include "editing/operations/snakeoperation.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "editing/operationfixture.h"
#include "numerics/exception.h"
#include "support/countingmonitor.h"
#include "support/recordingmonitor.h"
#include "support/testimages.h"

namespace vorlen {

namespace {

constexpr double centreX = 80, centreY = 60;
using Radii = std::vector<std::vector<int>>;

/// Rings about a place: the level changes by 60 at each radius, over about a pixel. Distances down the rows count times
/// aspect. Values of 16 bits are times factor.
struct Rings {
    std::vector<double> radii;
    int depth = 8, channel = 0;
    int width = 160, height = 120;
    double x = centreX, y = centreY, aspect = 1;
    int factor = 1;

    Image image() const {
        Image result(width, height, depth);
        result.clear();
        const int bytes = result.bytesPerPixel();
        for (int i = 0; i < height; ++i)
            for (int j = 0; j < width; ++j) {
                double value = 40;
                for (const double radius : radii)
                    value += 60 * std::clamp(std::hypot(j - x, (i - y) * aspect) - radius + 0.5, 0.0, 1.0);
                const auto whole = static_cast<unsigned short>(std::lround(value * factor));
                if (depth == 16)
                    std::memcpy(result.getPixels()[i] + 2 * static_cast<std::ptrdiff_t>(j), &whole, 2);
                else
                    result.getPixels()[i][bytes * j + channel] = static_cast<unsigned char>(whole);
            }
        return result;
    }
};

Image rings(const std::vector<double>& radii, int depth = 8, int channel = 0) {
    return Rings{.radii = radii, .depth = depth, .channel = channel}.image();
}

double meanRadius(const Vertices<double>& vertices, double x = centreX, double y = centreY, double aspect = 1) {
    double sum = 0;
    for (int i = 0; i < vertices.getNumVertices(); ++i)
        sum += std::hypot(vertices[i][0] - x, (vertices[i][1] - y) * aspect);
    return sum / vertices.getNumVertices();
}

SnakeConfig parameters(unsigned int scale = 1) {
    SnakeConfig config;
    config.setAlpha(1);
    config.setGradThreshold(7);
    config.setRegMax(2.5f);
    config.setRegMin(1.25f);
    config.setDistance(50);
    config.setScale(scale);
    return config;
}

} // namespace

class SnakeOperationTest : public OperationTest {
protected:
    ModelItem& addCircle(StackSlice& onSlice, double radius, double x = centreX, double y = centreY,
                         double aspect = 1) {
        Points points;
        for (int k = 0; k < 24; ++k)
            points.emplace_back(int(std::lround(x + radius * std::cos(k * M_PI / 12))),
                                int(std::lround(y + radius / aspect * std::sin(k * M_PI / 12))));
        return addItem(polygon, onSlice, points);
    }

    /// Slices 1 to 7. A contour of radius 22 lies between two edges on the second, fifth and sixth of them, and nearer
    /// to the inner one on the second and fifth. That contour, on the fourth.
    ModelItem& addRange() {
        const std::vector<std::vector<double>> radii = {{40}, {10, 40}, {40}, {40}, {10, 40}, {10, 30}, {40}};
        for (const auto& each : radii)
            addImage(rings(each));
        return addCircle(stack.getSlice(4), 22);
    }

    /// The mean radii of the items but the start, by slice, rounded to tens.
    Radii foundOn(const ModelItem& start) const {
        Radii radii;
        for (int i = 1; i < stack.getNumSlices(); ++i) {
            radii.emplace_back();
            for (int k = 0; k < stack.getSlice(i).getNumItems(); ++k)
                if (const ModelItem& item = stack.getSlice(i).getItem(k); &item != &start)
                    radii.back().push_back(10 * int(std::lround(meanRadius(item.getVertices()) / 10)));
        }
        return radii;
    }
};

TEST_F(SnakeOperationTest, aContourRunsToTheEdgeInEveryKindOfImageAsOneStep) {
    struct Case {
        int depth, channel;
        unsigned int scale;
    };
    for (const Case& each : {Case{8, 0, 1}, Case{24, 1, 1}, Case{24, 2, 1}, Case{24, 0, 2}, Case{8, 0, 3}}) {
        StackSlice& on = addImage(rings({40}, each.depth, each.channel));
        ModelItem& start = addCircle(on, 50);
        const Points drawn = verticesOf(start);
        expectStep([&] { return SnakeOperation(stack, start, parameters(each.scale)).runOnSlice(); });
        ASSERT_EQ(on.getNumItems(), 2);
        const Vertices<double>& found = on.getItem(1).getVertices();
        EXPECT_EQ(on.getItem(1).getModel(), &polygon);
        EXPECT_EQ(verticesOf(start), drawn);
        EXPECT_NEAR(meanRadius(found), 40, 1 + each.scale) << each.channel << " " << each.scale;
        // The vertices are those of the reduced image, whose spacing is a pixel of it.
        EXPECT_NEAR(found.getNumVertices() * int(each.scale), 251, 20) << each.channel << " " << each.scale;
    }
}

TEST_F(SnakeOperationTest, aContourThatIsReplacedTakesTheCourseFoundOnItsSlice) {
    const std::vector<ModelItem*> starts = {&addCircle(addImage(rings({40})), 50), &addRange()};
    expectStep([&] {
        SnakeOperation operation(stack, *starts[0], parameters());
        operation.setReplacing(true);
        return operation.runOnSlice();
    });
    EXPECT_EQ(starts[0]->getSlice()->getNumItems(), 1);
    EXPECT_NEAR(meanRadius(starts[0]->getVertices()), 40, 2);
    expectStep([&] {
        SnakeOperation operation(stack, *starts[1], parameters());
        operation.setReplacing(true);
        return operation.runOnRange(1, false);
    });
    const int rank = stack.findSlice(*starts[1]->getSlice());
    for (const int i : {rank - 1, rank, rank + 1})
        EXPECT_EQ(stack.getSlice(i).getNumItems(), 1) << i;
    EXPECT_NE(meanRadius(starts[1]->getVertices()), 22);
}

TEST_F(SnakeOperationTest, aPictureOf16BitsGivesTheContourOfThatOf8) {
    const SnakeConfig config = parameters();
    const auto found = [&](const Image& image) {
        StackSlice& on = addImage(image);
        const Outcome outcome = SnakeOperation(stack, addCircle(on, 50), config).runOnSlice();
        EXPECT_EQ(outcome.getReason(), "");
        return decimals(on.getItem(on.getNumItems() - 1).getVertices());
    };
    Rings picture{.radii = {20, 40, 70}}; // grey values up to 220
    const auto expected = found(picture.image());
    picture.depth = 16;
    for (const int factor : {1, 16, 256}) { // 8, 12 and 16 bits of grey
        picture.factor = factor;
        const auto points = found(picture.image());
        ASSERT_EQ(points.size(), expected.size()) << factor;
        for (std::size_t i = 0; i < points.size(); ++i) {
            EXPECT_NEAR(points[i].first, expected[i].first, 1) << factor;
            EXPECT_NEAR(points[i].second, expected[i].second, 1) << factor;
        }
    }
}

TEST_F(SnakeOperationTest, pixelsThatAreNotSquareAndLargeImagesChangeNothing) {
    for (const double aspect : {0.5, 1.0, 2.0, 5.0}) { // of the height of a pixel to its width
        const Rings picture{.radii = {40}, .width = 900, .height = 1000, .x = 300, .y = 420, .aspect = aspect};
        StackSlice& on = addImage(picture.image());
        on.getPixelCalibration().setPixelWidth(0.25f);
        on.getPixelCalibration().setAspectRatio(float(aspect));
        ModelItem& start = addCircle(on, 50, 300, 420, aspect);
        EXPECT_EQ(SnakeOperation(stack, start, parameters()).runOnSlice().getReason(), "") << aspect;
        ASSERT_EQ(on.getNumItems(), 2) << aspect;
        const Vertices<double>& found = on.getItem(1).getVertices();
        EXPECT_NEAR(meanRadius(found, 300, 420, aspect), 40, 1 + 0.2 * aspect) << aspect;
        double x = 0, y = 0;
        for (int i = 0; i < found.getNumVertices(); ++i) {
            x += found[i][0] - 300.0;
            y += found[i][1] - 420.0;
        }
        EXPECT_NEAR(x / found.getNumVertices(), 0, 0.1) << aspect;
        EXPECT_NEAR(y / found.getNumVertices(), 0, 0.1) << aspect;
    }
}

TEST_F(SnakeOperationTest, aCollapseIsRefusedAnImageThatCannotBeReadIsNamedAndACancelledRunLeavesNothing) {
    ModelItem& lost = addCircle(addImage(TestImages::uniform(160, 120, 8, 100)), 12);
    expectRefusal(
        [&] { return SnakeOperation(stack, lost, parameters()).runOnSlice(); },
        "The snake has aborted. Suggestions:\n- change the original contour;\n- change the snake parameters.");
    StackSlice& on = addImage(rings({40}));
    ModelItem& start = addCircle(on, 50);
    SnakeOperation stopped(stack, start, parameters());
    CountingMonitor monitor;
    monitor.cancelAt = 13;
    stopped.addMonitor(monitor);
    expectRefusal([&] { return stopped.runOnSlice(); }, "The snake was stopped.");
    EXPECT_EQ(monitor.steps, 13);

    const std::string file = dynamic_cast<const ImageSourceFile&>(on.getImageSource()).getFilename();
    std::filesystem::remove(file);
    SnakeOperation unread(stack, start, parameters());
    RecordingMonitor record;
    unread.addMonitor(record);
    try {
        unread.runOnSlice();
        ADD_FAILURE();
    } catch (const FileReadError& error) {
        EXPECT_NE(error.getWhat().find(file), std::string::npos);
    }
    EXPECT_EQ(record.heard, (std::vector<std::string>{"started Running snake...", "finished "}));
    EXPECT_FALSE(history().isUndoable());
    EXPECT_FALSE(history().isStepOpen());
}

TEST_F(SnakeOperationTest, aRangeIsRunDownwardsAndThenUpwardsFromTheGivenContourAsOneStep) {
    ModelItem& start = addRange();
    RecordingMonitor record;
    expectStep([&] {
        SnakeOperation operation(stack, start, parameters());
        operation.addMonitor(record);
        const Outcome outcome = operation.runOnRange(2, true);
        EXPECT_EQ(operation.getNumContours(), 5);
        EXPECT_EQ(operation.getNumSlices(), 5);
        return outcome;
    });
    // From 22 the contour goes to 40 on the fourth slice and stays there down to the second; upwards it goes from 22 to
    // 10, and stays.
    EXPECT_EQ(foundOn(start), (Radii{{}, {40}, {40}, {40}, {10}, {10}, {}}));
    std::vector<std::string> names;
    for (const std::string& heard : record.heard)
        if (heard.rfind("text ", 0) == 0)
            names.push_back(heard.substr(heard.rfind(' ') + 1));
    EXPECT_EQ(names, (std::vector<std::string>{"image4...", "image3...", "image2...", "image5...", "image6..."}));
    // The monitors hear of one task.
    EXPECT_EQ(record.heard.front(), "started Running snake...");
    EXPECT_EQ(record.heard[2], "1/25000");
    EXPECT_NE(std::find(record.heard.begin(), record.heard.end(), "20001/25000"), record.heard.end());
    EXPECT_EQ(std::count_if(record.heard.begin(), record.heard.end(),
                            [](const std::string& heard) { return heard.find("ed ") != std::string::npos; }),
              2);
    history().undo();
    // Without propagation each slice begins with 22.
    expectStep([&] { return SnakeOperation(stack, start, parameters()).runOnRange(2, false); });
    EXPECT_EQ(foundOn(start), (Radii{{}, {10}, {40}, {40}, {10}, {30}, {}}));
}

TEST_F(SnakeOperationTest, aRangePassesOverSlicesThatAreOutlinedOnWish) {
    ModelItem& start = addRange();
    addCircle(stack.getSlice(3), 39);         // around it
    addCircle(stack.getSlice(5), 4, 140, 20); // elsewhere
    addItem(other, stack.getSlice(6), {{70, 50}, {90, 50}, {90, 70}});
    for (const bool propagated : {false, true}) {
        SnakeOperation operation(stack, start, parameters());
        operation.setPassingOver(true);
        expectStep([&] { return operation.runOnRange(0, propagated); });
        EXPECT_EQ(operation.getNumOutlined(), 1);
        EXPECT_EQ(operation.getNumContours(), 6);
        EXPECT_EQ(operation.getSlicesWithoutContour(), (std::vector<std::string>{"image0"})); // has no edge
        EXPECT_EQ(stack.getSlice(3).getNumItems(), 1);
        EXPECT_EQ(stack.getSlice(4).getNumItems(), 2); // the start is in its own way nowhere
        // Slice 2 has an edge at 10 and one at 40, and begins with 22 or with the 39 of slice 3.
        EXPECT_NEAR(meanRadius(stack.getSlice(2).getItem(0).getVertices()), propagated ? 40 : 10, 2);
        history().undo();
    }
}

TEST_F(SnakeOperationTest, aRangeTakesAllSlicesPassesOverFailuresAndKeepsWhatIsDoneWhenItIsStopped) {
    ModelItem& start = addRange();
    for (const int lost : {3, 5})
        std::filesystem::remove(
            dynamic_cast<const ImageSourceFile&>(stack.getSlice(lost).getImageSource()).getFilename());
    for (const int reach : {0, 100}) {
        SnakeOperation operation(stack, start, parameters());
        expectStep([&] { return operation.runOnRange(reach, true); });
        EXPECT_EQ(operation.getSlicesWithoutContour(), (std::vector<std::string>{"image3", "image0", "image5"}));
        // The last good contour goes on over the slice without one.
        EXPECT_EQ(foundOn(start), (Radii{{40}, {40}, {}, {40}, {}, {30}, {40}})) << reach;
        history().undo();
    }
    struct Stop : RecordingMonitor {
        using RecordingMonitor::subjectProgressed;
        void subjectProgressed(const std::string& text) override {
            if (text == "Running snake on slice image2...")
                currentSubject()->cancel();
        }
    } stop;
    expectStep([&] {
        SnakeOperation operation(stack, start, parameters());
        operation.addMonitor(stop);
        return operation.runOnRange(0, false);
    });
    EXPECT_EQ(foundOn(start), (Radii{{}, {}, {}, {40}, {}, {}, {}}));
}

} // namespace vorlen
