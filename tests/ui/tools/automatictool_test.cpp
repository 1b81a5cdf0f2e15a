#include "ui/slices/drawingfixture.h"

#include <cmath>

#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

#include "editing/operations/modeloperations.h"
#include "editing/operations/outlineshape.h"
#include "ui/models/modelviews.h"
#include "ui/slices/tooloptionspanel.h"
#include "ui/tools/automatictool.h"
#include "ui/tools/brushtool.h"
#include "ui/tools/optionslider.h"
#include "ui/tools/wiretool.h"

namespace vorlen {

/// The automatic tool on a dark disc of radius 40 about (150, 100), with a darker core of radius 20, and its options.
class AutomaticToolTest : public DrawingTest {
protected:
    void SetUp() override {
        DrawingTest::SetUp();
        Image image(300, 200, 8);
        for (int y = 0; y < 200; ++y)
            for (int x = 0; x < 300; ++x) {
                const double r = std::hypot(x - 150, y - 100);
                image.getPixels()[y][x] = static_cast<unsigned char>(r < 20 ? 20 : r < 40 ? 80 : 200);
            }
        slice = &addSlice(image, "disc");
        showSlice(*slice);
        stack.setLastSegmentedSlice("disc");
        mediator->modelViews().setStack(&stack);
        mediator->modelViews().setCurrent(*polygon);
        tool = mediator->findChild<AutomaticTool*>();
        tool->setSmoothing(0);
        tool->setSide(AutomaticTool::Side::Either);
        tool->setSimplification(0);
        panel = std::make_unique<ToolOptionsPanel>(*mediator);
        panel->show();
        mediator->chooseTool("tool.automatic");
    }
    void TearDown() override {
        panel.reset();
        tool->setSmoothing(1);
        tool->setSimplification(1);
        DrawingTest::TearDown();
    }

    void dragBox(QPoint from, QPoint to) {
        press(from);
        drag((from + to) / 2);
        drag(to);
        release(to);
    }
    void cancel() { mediator->getCancelCommand().trigger(); }
    std::string hint() const { return statusBar->getHint().toStdString(); }
    template <class Part>
    Part& option(const char* name) {
        return *panel->findChild<Part*>(name);
    }
    double lastArea() const {
        const Outline outline = outlineOf(slice->getItem(slice->getNumItems() - 1).getVertices());
        double twice = 0;
        for (std::size_t k = 0; k < outline.size(); ++k) {
            const OutlinePoint& next = outline[(k + 1) % outline.size()];
            twice += outline[k].x * next.y - next.x * outline[k].y;
        }
        return std::abs(twice) / 2;
    }
    static double disc(double radius) { return 3.14159265 * radius * radius; }

    AutomaticTool* tool = nullptr;
    std::unique_ptr<ToolOptionsPanel> panel;
};

TEST_F(AutomaticToolTest, aBoxAndReturnMakeAnOutlineOrAClickDoes) {
    expectSteps(1, [this] {
        const QImage before = picture();
        dragBox(QPoint(90, 40), QPoint(210, 160));
        EXPECT_TRUE(tool->hasOutline());
        EXPECT_NE(picture(), before);
        EXPECT_EQ(slice->getNumItems(), 0); // a preview is no part of the document
        EXPECT_FALSE(history().isUndoable());
        key(Qt::Key_Return);
    });
    ASSERT_EQ(polygon->getNumItems(), 1);
    EXPECT_NEAR(lastArea(), disc(40), 260);
    EXPECT_FALSE(tool->hasBox());
    EXPECT_EQ(mediator->getChosenTool(), "tool.automatic");
    expectSteps(1, [this] {
        click(QPoint(175, 100)); // in the disc: the box is found around it
        ASSERT_TRUE(tool->hasOutline()) << hint();
        click(QPoint(20, 20)); // takes it
    });
    EXPECT_EQ(polygon->getNumItems(), 2);
    EXPECT_NEAR(lastArea(), disc(40), 260);
}

// A disc that a bridge, half as far from the ground, joins to a frame as dark as itself.
TEST_F(AutomaticToolTest, aClickFindsWhatIsJoinedToItsSurroundings) {
    Image image(300, 200, 8);
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 300; ++x) {
            const bool frame = x < 10 || y < 10 || x >= 290 || y >= 190;
            const bool bridge = std::abs(y - 100) < 4 && x > 150;
            const bool inside = frame || std::hypot(x - 150, y - 100) < 40;
            image.getPixels()[y][x] = static_cast<unsigned char>(inside ? 60 : bridge ? 110 : 200);
        }
    slice = &addSlice(image, "joined");
    showSlice(*slice);
    click(QPoint(160, 90));
    ASSERT_TRUE(tool->hasOutline()) << hint();
    EXPECT_EQ(hint().find("ends at the box"), std::string::npos) << hint();
    EXPECT_FALSE(option<QCheckBox>("automatic.proposed").isChecked()); // it can be changed from there
    EXPECT_LT(option<OptionSlider>("automatic.threshold").value(), 110);
    expectSteps(1, [this] { key(Qt::Key_Return); });
    EXPECT_NEAR(lastArea(), disc(40), 0.06 * disc(40));
}

TEST_F(AutomaticToolTest, escapeGivesUpAtAnyTimeAndLeavesNoTrace) {
    const QImage before = picture();
    press(QPoint(90, 40));
    drag(QPoint(150, 100));
    cancel(); // while the box is drawn
    drag(QPoint(210, 160));
    release(QPoint(210, 160));
    EXPECT_FALSE(tool->hasBox());
    EXPECT_EQ(picture(), before);
    dragBox(QPoint(90, 40), QPoint(210, 160));
    cancel();
    EXPECT_EQ(picture(), before);
    EXPECT_EQ(mediator->getChosenTool(), "tool.automatic");
    cancel();
    EXPECT_EQ(mediator->getChosenTool(), "tool.select");
    EXPECT_EQ(slice->getNumItems(), 0);
    EXPECT_FALSE(history().isUndoable());
}

TEST_F(AutomaticToolTest, anotherSliceAndALostModelEndThePreview) {
    StackSlice& second = addSlice(TestImages::ramp(300, 200, 8), "second");
    dragBox(QPoint(90, 40), QPoint(210, 160));
    ASSERT_TRUE(tool->hasOutline());
    showSlice(second);
    EXPECT_FALSE(tool->hasBox());
    key(Qt::Key_Return);
    EXPECT_EQ(second.getNumItems(), 0);
    showSlice(*slice);
    dragBox(QPoint(90, 40), QPoint(210, 160));
    ASSERT_TRUE(tool->hasOutline());
    ASSERT_TRUE(deleteModels(stack, {polygon}));
    EXPECT_FALSE(tool->hasBox());
    key(Qt::Key_Return);
    EXPECT_EQ(slice->getNumItems(), 0);
}

TEST_F(AutomaticToolTest, whoGoesToAnotherSliceTakesTheOutlineThatIsShown) {
    EXPECT_EQ(mediator->takeShown(), "");
    press(QPoint(90, 40));
    drag(QPoint(210, 160));
    EXPECT_EQ(mediator->takeShown(), ""); // the box is still drawn
    release(QPoint(210, 160));
    ASSERT_TRUE(tool->hasOutline());
    expectSteps(1, [this] { EXPECT_EQ(mediator->takeShown(), "The outline of \"Polygon\" on disc was taken."); });
    EXPECT_NEAR(lastArea(), disc(40), 260);
    EXPECT_EQ(mediator->takeShown(), "");
    dragBox(QPoint(90, 40), QPoint(210, 160));
    cancel();
    EXPECT_EQ(mediator->takeShown(), "");
    mediator->chooseTool("tool.draw");
    EXPECT_EQ(mediator->takeShown(), "");
    EXPECT_EQ(polygon->getNumItems(), 1);
}

TEST_F(AutomaticToolTest, thePreviewFollowsTheOptionsAndIsTakenThere) {
    auto& threshold = option<OptionSlider>("automatic.threshold");
    auto& take = option<QPushButton>("automatic.accept");
    EXPECT_FALSE(threshold.isEnabled());
    EXPECT_FALSE(take.isEnabled());
    dragBox(QPoint(90, 40), QPoint(210, 160));
    ASSERT_TRUE(threshold.isEnabled());
    EXPECT_TRUE(option<QCheckBox>("automatic.proposed").isChecked());
    EXPECT_GT(threshold.value(), 80);
    const QImage whole = picture();
    threshold.slider().setValue(50); // the core alone
    EXPECT_FALSE(option<QCheckBox>("automatic.proposed").isChecked());
    EXPECT_NE(picture(), whole);
    option<OptionSlider>("automatic.simplification").slider().setValue(4);
    option<OptionSlider>("automatic.smoothing").slider().setValue(1);
    EXPECT_EQ(tool->getSmoothing(), 1);
    EXPECT_EQ(tool->getThreshold(), 50); // stays as chosen
    expectSteps(1, [&] { QTest::mouseClick(&take, Qt::LeftButton); });
    EXPECT_NEAR(lastArea(), disc(20), 120);
    EXPECT_LT(slice->getItem(0).getSize(), 60);
    // The other side, and the threshold of the box again; Return in the panel.
    dragBox(QPoint(90, 40), QPoint(210, 160));
    threshold.slider().setValue(50);
    option<QCheckBox>("automatic.proposed").click();
    EXPECT_GT(threshold.value(), 80);
    auto& side = option<QComboBox>("automatic.side");
    side.setCurrentIndex(2);
    emit side.activated(2);
    EXPECT_EQ(tool->getSide(), AutomaticTool::Side::Brighter);
    expectSteps(1, [&] { QTest::keyClick(&threshold.slider(), Qt::Key_Return); });
    EXPECT_NEAR(lastArea(), 120 * 120, 400); // to the sides of the box
    dragBox(QPoint(90, 40), QPoint(210, 160));
    QTest::keyClick(&threshold.field(), Qt::Key_Escape);
    EXPECT_FALSE(tool->hasBox());
    EXPECT_EQ(slice->getNumItems(), 2);
}

TEST_F(AutomaticToolTest, whatCannotBeOutlinedSaysSo) {
    dragBox(QPoint(20, 20), QPoint(21, 90)); // two columns
    EXPECT_EQ(hint(), "The box is too small. Drag it around a structure.");
    tool->setSide(AutomaticTool::Side::Darker);
    dragBox(QPoint(5, 5), QPoint(60, 60)); // of a single grey value
    EXPECT_FALSE(tool->hasOutline());
    EXPECT_EQ(hint(), "There is no outline here. Change the threshold, or drag a box around a structure.");
    key(Qt::Key_Return);
    mediator->modelViews().setCurrent(*line);
    dragBox(QPoint(90, 40), QPoint(210, 160));
    EXPECT_EQ(hint(), "Only models of closed outlines can be outlined automatically.");
    dragBox(QPoint(290, 190), QPoint(260, -20)); // nothing is wrong with a box that leaves the image
    EXPECT_FALSE(history().isUndoable());
    EXPECT_EQ(slice->getNumItems(), 0);
}

TEST_F(AutomaticToolTest, thePanelShowsTheOptionsOfTheToolThatStaysOn) {
    mediator->chooseTool("tool.brush");
    EXPECT_EQ(panel->options()->objectName(), "brush.size");
    auto& size = option<OptionSlider>("brush.size");
    size.slider().setValue(60);
    EXPECT_EQ(BrushTool::getRadius(), 30);
    trigger("Larger brush");
    EXPECT_EQ(size.value(), 75);
    mediator->chooseTool("tool.wire");
    EXPECT_EQ(option<OptionSlider>("wire.reach").value(), 400);
    option<OptionSlider>("wire.reach").slider().setValue(150);
    EXPECT_EQ(WireTool::getReach(), 150);
    WireTool::setReach(400);
    mediator->chooseTool("tool.select");
    EXPECT_EQ(panel->options(), nullptr);
}

} // namespace vorlen
