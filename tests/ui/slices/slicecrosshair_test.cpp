#include "ui/slices/slicecrosshair.h"

#include "ui/session/crosshair.h"
#include "ui/slices/drawingfixture.h"

namespace vorlen {

class SliceCrosshairTest : public DrawingTest {
protected:
    void SetUp() override {
        DrawingTest::SetUp();
        Crosshair::crosshair().setShown(true);
    }
    void TearDown() override {
        Crosshair::crosshair().setShown(false);
        DrawingTest::TearDown();
    }

    QPointF shown() { return canvas->getCrosshair().value_or(QPointF(-1, -1)); }
    /// Whether the canvas has the colour of the lines within a pixel of this place.
    bool isLine(QPoint at) {
        const QImage picture = canvas->grabFramebuffer();
        for (int y = at.y() - 1; y <= at.y() + 1; ++y)
            for (int x = at.x() - 1; x <= at.x() + 1; ++x)
                if (const QColor color = picture.pixelColor(x, y); color.red() > 200 && color.blue() < 60)
                    return true;
        return false;
    }
};

TEST_F(SliceCrosshairTest, aClickOfTheSelectingToolSetsItAndNothingElseDoes) {
    EXPECT_FALSE(canvas->getCrosshair());
    click({100, 50});
    EXPECT_EQ(shown(), QPointF(100, 50));
    EXPECT_TRUE(isLine({20, 50}));
    EXPECT_TRUE(isLine({100, 150}));
    EXPECT_FALSE(isLine({100, 50})); // open at the place
    press({10, 10});
    drag({60, 60});
    release({60, 60});
    click({150, 60}, Qt::ShiftModifier);
    EXPECT_EQ(shown(), QPointF(100, 50));
    creation->activate("Polygon");
    draw({{200, 100}, {240, 100}, {240, 140}});
    EXPECT_EQ(shown(), QPointF(100, 50));
    EXPECT_EQ(drawn().size(), 3u);
    EXPECT_TRUE(mediator->getCrosshair().setPlaceAt(QPointF(120, 80))); // by a command, while it is drawn
    EXPECT_EQ(shown(), QPointF(120, 80));
    EXPECT_EQ(drawn().size(), 3u);
    key(Qt::Key_Escape);
    Crosshair::crosshair().setShown(false);
    EXPECT_FALSE(canvas->getCrosshair());
    click({30, 30});
    EXPECT_NEAR(Crosshair::crosshair().placeIn(stack)->y, -(80 - 100), 1e-6); // it stays
}

TEST_F(SliceCrosshairTest, itKeepsItsPlaceInSpace) {
    StackSlice& behind = addSlice(TestImages::ramp(300, 200, 8), "behind");
    behind.setRegistration(Registration(10, -20, 0));
    stack.setDefaultSliceSpacing(5);
    click({100, 50});
    EXPECT_FALSE(canvas->isCrosshairDashed());
    showSlice(behind);
    EXPECT_EQ(shown(), QPointF(90, 70));
    EXPECT_TRUE(canvas->isCrosshairDashed());
    EXPECT_TRUE(mediator->getCrosshair().setPlaceAt(QPointF(40, 40)));
    EXPECT_FALSE(canvas->isCrosshairDashed());
    EXPECT_EQ(Crosshair::crosshair().placeIn(stack)->slice, 1);
    EXPECT_FALSE(mediator->getCrosshair().setPlaceAt(QPointF(-5, 40))); // beside the image
    EXPECT_EQ(shown(), QPointF(40, 40));
    widget->clear();
    EXPECT_FALSE(canvas->getCrosshair());
}

} // namespace vorlen
