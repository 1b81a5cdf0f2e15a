#include "ui/slices/drawingfixture.h"

#include <cmath>

#include <QMenu>
#include <QSignalSpy>
#include <QTest>

#include "editing/operations/itemoperations.h"
#include "editing/operations/outlineediting.h"
#include "ui/models/modelviews.h"
#include "ui/slices/scalebar.h"
#include "ui/tools/brushtool.h"
#include "ui/tools/measuringtool.h"

namespace vorlen {

/// The tools that stay on, with which the current model is drawn.
class StayingToolsTest : public DrawingTest {
protected:
    void SetUp() override {
        DrawingTest::SetUp();
        mediator->modelViews().setStack(&stack);
        mediator->modelViews().setCurrent(*polygon);
    }

    ModelViews& views() { return mediator->modelViews(); }
    std::string chosen() const { return mediator->getChosenTool().toStdString(); }
    std::string hint() const { return statusBar->getHint().toStdString(); }
    void cancel() { mediator->getCancelCommand().trigger(); }
    void dragFrom(QPoint start, const std::vector<QPoint>& way, Qt::KeyboardModifiers modifiers = {}) {
        press(start, modifiers);
        for (const QPoint& point : way)
            drag(point);
        release(way.back());
    }
    /// A dark disk of radius 60 about (150, 100).
    void showDisk() {
        Image image(300, 200, 8);
        for (int y = 0; y < 200; ++y)
            for (int x = 0; x < 300; ++x)
                image.getPixels()[y][x] = static_cast<unsigned char>(std::hypot(x - 150, y - 100) < 60 ? 40 : 200);
        showSlice(addSlice(image, "disk"));
    }
    static double areaOf(const ModelItem& item) {
        const Outline outline = outlineOf(item.getVertices());
        double twice = 0;
        for (std::size_t k = 0; k < outline.size(); ++k) {
            const OutlinePoint& next = outline[(k + 1) % outline.size()];
            twice += next.x * outline[k].y - outline[k].x * next.y;
        }
        return std::abs(twice) / 2;
    }
};

TEST_F(StayingToolsTest, outlinesAreDrawnOneAfterTheOtherWithoutAMenu) {
    QSignalSpy locks(mediator, &VRLSliceEditWidgetMediator::lockRequested);
    mediator->chooseTool("tool.draw");
    EXPECT_TRUE(action("Draw")->isChecked());
    EXPECT_FALSE(action("Select")->isChecked());
    EXPECT_NE(hint().find("Model Polygon."), std::string::npos) << hint();
    expectSteps(2, [this] {
        draw({{20, 20}, {20, 60}, {60, 60}, {60, 20}});
        click(QPoint(23, 21)); // near the start
        draw({{100, 20}, {100, 60}, {140, 60}});
        key(Qt::Key_Return);
    });
    ASSERT_EQ(polygon->getNumItems(), 2);
    EXPECT_EQ(verticesOf(slice->getItem(0)), (Points{{60, 20}, {60, 60}, {20, 60}, {20, 20}}));
    EXPECT_EQ(locks.size(), 4); // one at work locks the slice
    EXPECT_EQ(chosen(), "tool.draw");
    dragFrom(QPoint(200, 50), {{200, 90}, {240, 90}, {240, 50}, {202, 50}}); // a stroke that comes back to its start
    EXPECT_EQ(polygon->getNumItems(), 3);
    dragFrom(QPoint(200, 100), {{200, 140}, {240, 140}, {240, 100}, {212, 108}}); // nearly
    EXPECT_EQ(polygon->getNumItems(), 4);
    dragFrom(QPoint(100, 100), {{106, 106}, {100, 112}}); // has not come round yet
    EXPECT_EQ(polygon->getNumItems(), 4);
    draw({{140, 112}, {140, 80}, {112, 108}}); // a click is meant where it is
    EXPECT_EQ(polygon->getNumItems(), 4);
    cancel();
    draw({{20, 100}, {20, 140}});
    cancel(); // of the drawing, which undo brings back
    EXPECT_EQ(chosen(), "tool.draw");
    cancel();
    EXPECT_EQ(chosen(), "tool.select");
    EXPECT_TRUE(action("Select")->isChecked());
    click(QPoint(40, 20));
    EXPECT_EQ(slice->getSelectedItems().size(), 1U);
}

TEST_F(StayingToolsTest, nothingIsDrawnWithoutAModelThatCanBeSeenAndChanged) {
    mediator->chooseTool("tool.draw");
    views().setHidden(*polygon, true);
    click(QPoint(20, 20));
    EXPECT_EQ(hint(), "The current model, Polygon, is hidden. Show it in the panel of models first.");
    views().setHidden(*polygon, false);
    views().setLocked(*polygon, true);
    for (const char* tool : {"tool.draw", "tool.wire", "tool.automatic", "tool.brush"}) {
        mediator->chooseTool(tool);
        dragFrom(QPoint(20, 20), {{40, 20}});
        EXPECT_EQ(hint(), "The current model, Polygon, is locked. Unlock it in the panel of models first.") << tool;
    }
    views().setStack(nullptr);
    click(QPoint(20, 20));
    EXPECT_EQ(hint(), "There is no model to draw with. Make one: \"New model\" in the panel of models.");
    EXPECT_EQ(slice->getNumItems(), 0);
    EXPECT_FALSE(history().isUndoable());
}

TEST_F(StayingToolsTest, eachClickAddsAPointAsAStep) {
    views().setCurrent(*dots);
    mediator->chooseTool("tool.draw");
    expectSteps(3, [this] {
        click(QPoint(20, 20));
        doubleClick(QPoint(30, 40)); // two quick ones are two
    });
    ASSERT_EQ(dots->getNumItems(), 1);
    EXPECT_EQ(verticesOf(dots->getItem(0)), (Points{{20, 20}, {30, 40}, {30, 40}}));
}

TEST_F(StayingToolsTest, theBrushPaintsAndErases) {
    mediator->chooseTool("tool.brush");
    auto& brush = *mediator->findChild<BrushTool*>();
    brush.setRadius(10);
    expectSteps(1, [this] { dragFrom(QPoint(50, 50), {{80, 50}, {120, 50}}); });
    ASSERT_EQ(polygon->getNumItems(), 1);
    EXPECT_NEAR(areaOf(polygon->getItem(0)), 70 * 20 + 314, 30);
    expectSteps(1, [this] { dragFrom(QPoint(85, 20), {{85, 90}}, Qt::ControlModifier); });
    ASSERT_EQ(polygon->getNumItems(), 2);
    EXPECT_NEAR(areaOf(polygon->getItem(0)) + areaOf(polygon->getItem(1)), 70 * 20 + 314 - 400, 40);
    press(QPoint(200, 100));
    drag(QPoint(220, 100));
    cancel(); // the stroke alone
    release(QPoint(220, 100));
    EXPECT_EQ(polygon->getNumItems(), 2);
    EXPECT_EQ(chosen(), "tool.brush");
    trigger("Larger brush");
    EXPECT_NEAR(BrushTool::getRadius(), 12.5, 1e-9);
    views().setCurrent(*line);
    click(QPoint(200, 100));
    EXPECT_EQ(hint(), "The brush paints models of closed outlines alone.");
}

TEST_F(StayingToolsTest, anOutlineIsDraggedTurnedAndScaled) {
    ModelItem& item = addItem(*polygon, *slice, {{90, 80}, {90, 120}, {110, 120}, {110, 80}}); // 20 x 40
    mediator->chooseTool("tool.move");
    expectSteps(1, [this] { dragFrom(QPoint(100, 100), {{120, 100}, {130, 105}}); });
    EXPECT_EQ(verticesOf(item), (Points{{120, 85}, {120, 125}, {140, 125}, {140, 85}}));
    EXPECT_TRUE(item.getSelection().isComplete());
    expectSteps(1, [this] { dragFrom(QPoint(139, 106), {{129, 114}}, Qt::ShiftModifier); }); // about (130, 105)
    EXPECT_EQ(verticesOf(item), (Points{{150, 95}, {110, 95}, {110, 115}, {150, 115}}));
    expectSteps(1, [this] { dragFrom(QPoint(139, 106), {{148, 107}}, Qt::ControlModifier); }); // twice as far out
    EXPECT_EQ(verticesOf(item), (Points{{170, 85}, {90, 85}, {90, 125}, {170, 125}}));
    expectSteps(1, [this] { dragFrom(QPoint(139, 106), {{136, 111}}, Qt::ShiftModifier); }); // between the pixels
    EXPECT_NEAR(areaOf(item), 3200, 0.5);
    EXPECT_ANY_THROW(verticesOf(item));
    dragFrom(QPoint(250, 150), {{260, 150}});
    EXPECT_EQ(hint(), "There is no outline here.");
    history().clear();
    press(QPoint(130, 105));
    drag(QPoint(180, 105));
    cancel();
    release(QPoint(180, 105));
    click(QPoint(130, 105)); // without a way
    EXPECT_FALSE(history().isUndoable());
}

TEST_F(StayingToolsTest, theLiveWireFollowsTheEdgesOfTheImage) {
    showDisk();
    stack.setLastSegmentedSlice("disk");
    mediator->chooseTool("tool.wire");
    expectSteps(1, [this] {
        draw({{210, 100}, {150, 160}, {90, 100}, {150, 40}});
        key(Qt::Key_Return);
    });
    ASSERT_EQ(polygon->getNumItems(), 1);
    EXPECT_GT(polygon->getItem(0).getSize(), 12); // corners alone make an area of 7200
    EXPECT_NEAR(std::abs(areaOf(polygon->getItem(0))), 3.14159 * 3600, 0.03 * 3.14159 * 3600);
    bool isBetween = false; // the rim passes between the pixels
    for (const auto& [x, y] : decimals(polygon->getItem(0).getVertices())) {
        isBetween = isBetween || x != std::floor(x) || y != std::floor(y);
        EXPECT_NEAR(std::hypot(x - 150, y - 100), 60, 1.2);
    }
    EXPECT_TRUE(isBetween);
    EXPECT_EQ(chosen(), "tool.wire");
    history().clear();
    draw({{210, 100}, {150, 160}});
    key(Qt::Key_Backspace); // the last way
    key(Qt::Key_Backspace); // the first vertex: nothing is left
    EXPECT_FALSE(history().isUndoable());
}

TEST_F(StayingToolsTest, aClickBesideTheEdgeLeavesNoSpur) {
    showDisk();
    mediator->chooseTool("tool.wire");
    draw({{210, 100}, {150, 172}, {90, 100}, {150, 40}}); // the second lies 12 pixels outside
    key(Qt::Key_Return);
    ASSERT_EQ(polygon->getNumItems(), 1);
    for (const auto& [x, y] : decimals(polygon->getItem(0).getVertices()))
        EXPECT_NEAR(std::hypot(x - 150, y - 100), 60, 3);
}

/// Otherwise a quick stroke has as many corners as the picture was painted times.
TEST_F(StayingToolsTest, noMoveOfAStrokeIsLeftOut) {
    const auto merged = [] { return QCoreApplication::testAttribute(Qt::AA_CompressHighFrequencyEvents); };
    for (const char* tool : {"tool.draw", "tool.brush"}) {
        mediator->chooseTool(tool);
        EXPECT_TRUE(merged()) << tool;
        press(QPoint(50, 50));
        drag(QPoint(80, 50));
        EXPECT_FALSE(merged()) << tool;
        release(QPoint(80, 80));
        EXPECT_TRUE(merged()) << tool;
        cancel();
        press(QPoint(50, 50));
        cancel(); // with the button held
        EXPECT_TRUE(merged()) << tool;
        release(QPoint(50, 50));
    }
}

TEST_F(StayingToolsTest, withNothingSelectedTheCurrentModelIsCopiedAndFilled) {
    for (int i = 2; i < 5; ++i)
        addSlice(TestImages::ramp(300, 200, 8), "s" + std::to_string(i));
    for (int i = 0; i < stack.getNumSlices(); ++i)
        stack.getSlice(i).getPixelCalibration().setPixelWidth(1);
    stack.updateReconstruction();
    mediator->chooseTool("tool.draw");
    trigger("Copy to next slice");
    EXPECT_EQ(hint(), "Nothing is selected, and there is nothing of Polygon on this slice to copy.");
    addItem(*polygon, *slice, square);
    addItem(*other, *slice, square);
    StackSlice& next = stack.getSlice(stack.findSlice(*slice) + 1);
    expectSteps(1, [this] { trigger("Copy to next slice"); });
    ASSERT_EQ(next.getNumItems(), 1);
    EXPECT_EQ(next.getItem(0).getModel(), polygon);
    EXPECT_EQ(chosen(), "tool.draw");

    slice->getItem(0).getSelection().set(false);
    addItem(*polygon, stack.getSlice(stack.getNumSlices() - 1), square);
    views().setLocked(*polygon, true);
    trigger("Fill all gaps");
    EXPECT_EQ(hint(), "The current model, Polygon, is locked.");
    views().setLocked(*polygon, false);
    expectSteps(1, [this] { trigger("Fill all gaps"); });
    EXPECT_EQ(polygon->getNumItems(), stack.getNumSlices() - stack.findSlice(*slice));
    expectSteps(0, [this] { trigger("Fill all gaps"); }); // no box to be closed
    EXPECT_NE(hint().find("no gap"), std::string::npos) << hint();
}

TEST_F(StayingToolsTest, aKeyThatDoesNothingSaysWhy) {
    addItem(*polygon, *slice, square);
    key(Qt::Key_S);
    EXPECT_EQ(hint(), "\"Run Snake\" works on what is selected: click on an outline first.");
    slice->getItem(0).getSelection().set(true);
    selectionChanged();
    key(Qt::Key_J);
    EXPECT_EQ(hint(), "\"Join contours\" is not for what is selected now.");
    const std::string before = hint();
    key(Qt::Key_Y); // no key of anything
    EXPECT_EQ(hint(), before);
    mediator->chooseTool("tool.draw");
    draw({{20, 20}, {20, 60}});
    const std::string drawing = hint();
    key(Qt::Key_J);
    EXPECT_EQ(hint(), drawing); // which tells how to go on
    mediator->getCancelCommand().trigger();
}

TEST_F(StayingToolsTest, aToolStaysOnFromSliceToSlice) {
    StackSlice& second = addSlice(TestImages::ramp(300, 200, 8), "second");
    mediator->chooseTool("tool.draw");
    draw({{20, 20}, {20, 60}});
    showSlice(second);
    EXPECT_EQ(chosen(), "tool.draw");
    draw({{20, 20}, {20, 60}, {60, 60}});
    key(Qt::Key_Return);
    ASSERT_EQ(polygon->getNumItems(), 1);
    EXPECT_EQ(polygon->getItem(0).getSlice(), &second);
}

TEST_F(StayingToolsTest, whatIsHiddenOrLockedIsNotTouched) {
    addItem(*polygon, *slice, square);
    ModelItem& behind = addItem(*other, *slice, square);
    const QRgb edge = picture().pixel(50, 75);
    views().setLocked(*polygon, true);
    click(QPoint(50, 75));
    EXPECT_EQ(slice->getSelectedItems(), std::vector<ModelItem*>{&behind});
    trigger("Select all");
    EXPECT_EQ(slice->getSelectedItems(), std::vector<ModelItem*>{&behind});
    EXPECT_EQ(views().isTouchable(behind), true);
    views().setHidden(*other, true); // what was selected of it is not any more
    EXPECT_TRUE(slice->getSelectedItems().empty());
    views().setHidden(*polygon, true);
    EXPECT_NE(picture().pixel(50, 75), edge);
    views().showAll();
    EXPECT_EQ(picture().pixel(50, 75), edge);
}

TEST_F(StayingToolsTest, copiedOutlinesArePastedOnAnotherSlice) {
    StackSlice& second = addSlice(TestImages::ramp(300, 200, 8), "second");
    select(addItem(*polygon, *slice, square));
    trigger("Copy");
    showSlice(second);
    stack.setLastSegmentedSlice("second");
    expectSteps(1, [this] { trigger("Paste"); });
    ASSERT_EQ(second.getNumItems(), 1);
    EXPECT_EQ(verticesOf(second.getItem(0)), Points(square.rbegin(), square.rend())); // counter-clockwise
    EXPECT_EQ(second.getItem(0).getModel(), polygon);
}

TEST_F(StayingToolsTest, selectedOutlinesAreJoinedAsAStep) {
    for (const int shift : {0, 40}) {
        Points points = square;
        for (auto& point : points)
            point.first += shift;
        addItem(*polygon, *slice, points).getSelection().set(true);
    }
    selectionChanged();
    expectSteps(1, [this] { trigger("Join contours"); });
    ASSERT_EQ(slice->getNumItems(), 1);
    EXPECT_NEAR(areaOf(slice->getItem(0)), 90 * 50, 1e-6);
}

TEST_F(StayingToolsTest, theKeysChooseToolsWhileTheCanvasHasTheKeyboard) {
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    canvas->setFocus();
    const std::vector<std::pair<Qt::Key, const char*>> keys = {
        {Qt::Key_D, "tool.draw"}, {Qt::Key_B, "tool.brush"},  {Qt::Key_L, "tool.wire"}, {Qt::Key_A, "tool.automatic"},
        {Qt::Key_M, "tool.move"}, {Qt::Key_Q, "tool.select"}, {Qt::Key_D, "tool.draw"}};
    for (const auto& [code, tool] : keys) {
        QTest::keyClick(canvas, code);
        EXPECT_EQ(chosen(), tool);
    }
    QTest::keyClick(canvas, Qt::Key_Escape);
    EXPECT_EQ(chosen(), "tool.select");
}

TEST_F(StayingToolsTest, distancesAndAnglesAreMeasuredInSpace) {
    stack.setLengthUnit(LengthUnit(-6));
    slice->getPixelCalibration().setPixelWidth(0.5f);
    slice->getPixelCalibration().setPixelHeight(0.25f);
    mediator->chooseTool("tool.measure");
    auto& tool = *mediator->findChild<MeasuringTool*>();
    const QImage before = picture();
    dragFrom(QPoint(100, 100), {{130, 100}, {130, 20}}); // 15 along, 20 up
    EXPECT_EQ(tool.text().toStdString(), "25 µm  53.1°");
    EXPECT_NE(picture(), before);
    dragFrom(QPoint(132, 22), {{160, 40}, {190, 20}}); // on from the end, along the rows: back is 53.1 below them
    EXPECT_EQ(tool.text().toStdString(), "126.9°");
    cancel();
    EXPECT_EQ(tool.text(), "");
    EXPECT_EQ(picture(), before);
    slice->getPixelCalibration().setPixelWidth(0);
    dragFrom(QPoint(100, 100), {{130, 140}});
    EXPECT_EQ(tool.text().toStdString(), "50 pixels  -53.1°");
    click(QPoint(20, 20)); // no drag
    EXPECT_EQ(tool.text(), "");
    EXPECT_FALSE(history().isUndoable());
}

TEST_F(StayingToolsTest, theScaleBarIsARoundLengthInAUnitThatSuits) {
    const LengthUnit micrometre(-6);
    const auto bar = scaleBarFor(0.123, micrometre, 1000); // 200 units are 24.6
    ASSERT_TRUE(bar.has_value());
    EXPECT_EQ(bar->text.toStdString(), "20 µm");
    EXPECT_NEAR(bar->pixels, 20 / 0.123, 1e-9);
    EXPECT_EQ(scaleBarFor(0.004, micrometre, 1000)->text.toStdString(), "500 nm");
    EXPECT_EQ(scaleBarFor(0.004, micrometre, 200)->text.toStdString(), "200 nm");
    EXPECT_EQ(scaleBarFor(55, micrometre, 1000)->text.toStdString(), "10 mm");
    EXPECT_EQ(scaleBarFor(5, micrometre, 1000)->text.toStdString(), "1 mm");
    EXPECT_EQ(scaleBarFor(1.5e-9, micrometre, 1000)->text.toStdString(), "0.2 pm");
    for (const double length : {0.0, -1.0, std::nan("")})
        EXPECT_FALSE(scaleBarFor(length, micrometre, 1000).has_value());
    const QImage before = picture();
    canvas->setScaleBarShown(true);
    EXPECT_NE(picture(), before);
    canvas->setScaleBarShown(false);
    EXPECT_EQ(picture(), before);
}

TEST_F(StayingToolsTest, theNeighboursOutlinesAreShownOnWishAndFollowTheDocument) {
    StackSlice& second = addSlice(TestImages::ramp(300, 200, 8), "second");
    ModelItem& ghost = addItem(*polygon, *slice, {{20, 20}, {20, 180}, {280, 180}, {280, 20}});
    showSlice(second);
    const QImage before = picture();
    mediator->setGhostsShown(true);
    EXPECT_EQ(canvas->getGhosts().size(), 1U);
    const QImage with = picture();
    EXPECT_NE(with, before);
    views().setHidden(*polygon, true);
    EXPECT_EQ(picture(), before);
    views().setHidden(*polygon, false);
    ASSERT_TRUE(deleteItem(stack, ghost));
    QCoreApplication::processEvents();
    EXPECT_TRUE(canvas->getGhosts().empty());
    history().undo();
    QCoreApplication::processEvents();
    EXPECT_EQ(picture(), with);
    mediator->setGhostsShown(false);
    EXPECT_EQ(picture(), before);
}

} // namespace vorlen
