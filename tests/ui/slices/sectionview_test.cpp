#include "ui/slices/drawingfixture.h"

#include <cmath>
#include <cstdlib>

#include "editing/operations/outlineshape.h"
#include "images/sections/tiledsection.h"
#include "support/sharedtiles.h"
#include "ui/models/modelviews.h"
#include "ui/slices/vrlimagewidgetmediatorpixelinfodelegate.h"
#include "ui/tools/automatictool.h"

namespace vorlen {

/// A section of 72 million pixels, beyond what is read as a whole, with two smaller copies of a fourth each.
class SectionWindowTest : public DrawingTest {
protected:
    void SetUp() override {
        DrawingTest::SetUp();
        show(400, 300);
        small = slice;
        ImageSourceFile source;
        source.setFilename(SharedTiles::write(folder, "large.tif", 9000, 8000, 3));
        ASSERT_TRUE(TiledSection::isLarge(source.getSize2(), source.getSize1(), source.getDepth()));
        slice = new StackSlice;
        slice->setName("large");
        slice->setImageSource(source);
        stack.addSlice(slice);
        showSlice(*slice);
    }

    void lookAt(float zoom, const QPoint& origin) {
        zoomTo(zoom);
        canvas->setViewOrigin(origin);
        ASSERT_EQ(canvas->getViewOrigin(), origin);
        canvas->update();
    }

    /// Whether all of the canvas comes to show the pixels of a level.
    bool comesToShow(int level, int reduction) {
        return QTest::qWaitFor([=, this] { return numOther(level, reduction) == 0; }, 20000);
    }

    /// The places of the canvas that show another value than the level has there.
    int numOther(int level, int reduction) {
        const QImage seen = picture();
        int count = 0;
        for (int y = 0; y < seen.height(); ++y)
            for (int x = 0; x < seen.width(); ++x) {
                const QPoint pixel = canvas->convertToImagePosition(QPoint(x, y));
                const int expected = SharedTiles::value(level, pixel.y() / reduction, pixel.x() / reduction);
                count += std::abs(qRed(seen.pixel(x, y)) - expected) > 1 ? 1 : 0;
            }
        return count;
    }

    StackSlice* small = nullptr;
};

TEST_F(SectionWindowTest, whatIsLookedAtComesInFullSizeAndFollowsZoomAndPan) {
    EXPECT_TRUE(canvas->getImageProxy().isOverview());
    lookAt(1, QPoint(5000, 3001));
    EXPECT_TRUE(comesToShow(0, 1)) << numOther(0, 1);
    lookAt(1, QPoint(5480, 3400)); // over the corner of four tiles
    EXPECT_TRUE(comesToShow(0, 1)) << numOther(0, 1);
    lookAt(4, QPoint(8800, 7900)); // near the end, each pixel four units wide
    EXPECT_TRUE(comesToShow(0, 1)) << numOther(0, 1);
    lookAt(0.25f, QPoint(1000, 800));
    EXPECT_TRUE(comesToShow(1, 4)) << numOther(1, 4);
    // The value under the pointer is that of the pixel, where it has been read, and else one of its surroundings.
    lookAt(1, QPoint(5000, 3001));
    EXPECT_TRUE(comesToShow(0, 1));
    const auto& delegate = *mediator->findChild<VRLImageWidgetMediatorPixelInfoDelegate*>();
    EXPECT_EQ(delegate.pixelInfo(QPoint(30, 20)),
              QString("X=5030, Y=3021, G=%1").arg(SharedTiles::value(0, 3021, 5030)));
    canvas->setViewOrigin(QPoint(0, 7000));
    EXPECT_TRUE(delegate.pixelInfo(QPoint(30, 20)).startsWith("X=30, Y=7020, about G="));
    // Another slice ends what is still being read.
    canvas->setViewOrigin(QPoint(100, 6000));
    QTest::qWait(0);
    showSlice(*small);
    EXPECT_EQ(canvas->getSection(), nullptr);
}

// Of each four tiles along a diagonal one is darker than 40; it is outlined in full size, seen at a fourth of it.
TEST_F(SectionWindowTest, anAutomaticOutlineIsThatOfTheFullSize) {
    mediator->modelViews().setStack(&stack);
    mediator->modelViews().setCurrent(*polygon);
    auto& tool = *mediator->findChild<AutomaticTool*>();
    tool.setSmoothing(0);
    tool.setSimplification(0);
    tool.setSide(AutomaticTool::Side::Darker);
    mediator->chooseTool("tool.automatic");
    lookAt(0.25f, QPoint(1848, 1848));
    ASSERT_TRUE(comesToShow(1, 4)); // so that the section is open
    press(QPoint(48, 48));          // the pixel (2040, 2040), the tile being that from 2048 to 2559
    drag(QPoint(100, 100));
    drag(QPoint(180, 180)); // the pixel (2568, 2568)
    release(QPoint(180, 180));
    tool.setThreshold(40);
    ASSERT_TRUE(tool.hasOutline()) << statusBar->getHint().toStdString();
    key(Qt::Key_Return);
    ASSERT_EQ(slice->getNumItems(), 1);
    const Outline outline = outlineOf(slice->getItem(0).getVertices());
    double twice = 0;
    for (std::size_t k = 0; k < outline.size(); ++k) {
        const OutlinePoint& next = outline[(k + 1) % outline.size()];
        twice += outline[k].x * next.y - next.x * outline[k].y;
    }
    // With what lies in the box of the two that touch it by a corner, to half a pixel all around.
    EXPECT_NEAR(std::abs(twice) / 2, 512 * 512 + 2 * 8 * 9, 1100);
    tool.setSmoothing(1);
    tool.setSimplification(1);
    tool.setSide(AutomaticTool::Side::Either);
}

} // namespace vorlen
