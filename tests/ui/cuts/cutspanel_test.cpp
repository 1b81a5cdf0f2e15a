#include "ui/cuts/cutspanel.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "support/documentmaker.h"
#include "support/temporaryfolder.h"
#include "support/testimages.h"
#include "ui/models/modelviews.h"
#include "ui/session/crosshair.h"

namespace vorlen {

namespace {

/// Four slices 5 apart, each a uniform picture of 40 x 20 pixels of 2, with a square on the second.
class CutsPanelTest : public ::testing::Test {
protected:
    CutsPanelTest() {
        stack.setDefaultSliceSpacing(5);
        addSlices(stack, 4);
        PixelCalibration calibration;
        calibration.setPixelWidth(2);
        calibration.setPixelHeight(2);
        for (int i = 0; i < 4; ++i) {
            const std::string path = folder.file(std::to_string(i) + ".tif");
            ImageWriter().write(TestImages::uniform(40, 20, 8, static_cast<unsigned char>(20 + 50 * i)), path, true);
            ImageSourceFile source;
            source.setFilename(path);
            stack.getSlice(i).setImageSource(source);
            stack.getSlice(i).setPixelCalibration(calibration);
        }
        addItem(model, stack.getSlice(1), {{10, 5}, {20, 5}, {20, 15}, {10, 15}});
        model.getItemProperties().setColor(0, 200, 0);
        views.setStack(&stack);
    }

    void show() {
        panel.resize(460, 260);
        panel.setStack(&stack);
        panel.setSlice(&stack.getSlice(0));
        panel.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&panel));
        ASSERT_TRUE(QTest::qWaitFor([this] { return panel.isComplete(); }, 60000));
        panel.repaint();
    }
    int grey(int which, double x, double y) {
        const QImage& cut = panel.cut(which);
        return qGray(cut.pixel(int(x * cut.width()), int(y * cut.height())));
    }

    TemporaryFolder folder;
    VRLStack stack;
    Model& model = addModel(stack, "m");
    ModelViews views;
    CutsPanel panel{views};
};

bool always(const ModelItem&) {
    return true;
}

} // namespace

TEST_F(CutsPanelTest, outlinesAreCrossedWhereTheyLieInSpace) {
    // The middle of the image, (20, 10), lies at the origin of the frame.
    const auto across = crossingsOf(stack, true, 0, always);
    ASSERT_EQ(across.size(), 2u);
    EXPECT_EQ(across[0].slice, 1);
    EXPECT_EQ(across[0].color, qRgb(0, 200, 0));
    EXPECT_NEAR(std::min(across[0].along, across[1].along), -20, 1e-9);
    EXPECT_NEAR(std::max(across[0].along, across[1].along), 0, 1e-9);
    const auto down = crossingsOf(stack, false, -10, always);
    ASSERT_EQ(down.size(), 2u);
    EXPECT_NEAR(std::min(down[0].along, down[1].along), -10, 1e-9);
    EXPECT_NEAR(std::max(down[0].along, down[1].along), 10, 1e-9);
    EXPECT_TRUE(crossingsOf(stack, true, 11, always).empty());
    EXPECT_TRUE(crossingsOf(stack, true, 0, [](const ModelItem&) { return false; }).empty());

    // Turned by a quarter, clockwise: x from -10 to 10 and y from -20 to 0, and so for the slices behind it.
    stack.getSlice(1).setRegistration(Registration(0, 0, 90));
    const auto turned = crossingsOf(stack, true, -5, always);
    ASSERT_EQ(turned.size(), 2u);
    EXPECT_NEAR(std::min(turned[0].along, turned[1].along), -10, 1e-9);
    EXPECT_NEAR(std::max(turned[0].along, turned[1].along), 10, 1e-9);

    // An open line is crossed once; points are no outlines.
    Model& line = addModel(stack, "line", PolylinePrimitive);
    addItem(line, stack.getSlice(0), {{30, 0}, {30, 19}, {35, 19}});
    Model& dots = addModel(stack, "dots", PolypointPrimitive);
    addItem(dots, stack.getSlice(0), {{30, 0}, {30, 19}});
    const auto lines = crossingsOf(stack, true, 0, [&line, &dots](const ModelItem& item) {
        return item.getModel() == &line || item.getModel() == &dots;
    });
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NEAR(lines[0].along, 20, 1e-9);
}

TEST_F(CutsPanelTest, besideTheSectionsTheGroundOfTheWindowIsSeen) {
    stack.getSlice(3).setRegistration(Registration(20, 0, 0));
    show();
    for (const QColor ground : {QColor(Qt::white), QColor(30, 34, 38)}) {
        QPalette palette = panel.palette();
        palette.setColor(QPalette::Base, ground);
        panel.setPalette(palette);
        const QImage shown = panel.grab().toImage();
        const QRect cut = panel.cutRect(0);
        EXPECT_EQ(shown.pixelColor(cut.left() + 10, cut.top() + 3), ground); // the last section begins further right
        EXPECT_EQ(shown.pixelColor(cut.right() - 10, cut.top() + 3), QColor(170, 170, 170));
        EXPECT_EQ(shown.pixelColor(cut.right() - 10, cut.bottom() - 3), ground);
        EXPECT_EQ(shown.pixelColor(cut.left() + 10, cut.bottom() - 3), QColor(20, 20, 20));
    }
}

TEST_F(CutsPanelTest, slicesReachToTheMiddleBetweenThem) {
    const CutHeights heights(stack);
    EXPECT_EQ(heights.from(), -2.5);
    EXPECT_EQ(heights.to(), 17.5);
    EXPECT_EQ(heights.sliceAt(2.4), 0);
    EXPECT_EQ(heights.sliceAt(2.6), 1);
    EXPECT_EQ(heights.sliceAt(-100), 0);
    EXPECT_EQ(heights.sliceAt(100), 3);
    stack.setDefaultSliceSpacing(0);
    const CutHeights alike(stack);
    EXPECT_EQ(alike.sliceAt(2.2), 2);
    EXPECT_EQ(CutHeights(Stack()).sliceAt(0), -1);
}

TEST_F(CutsPanelTest, cutsHaveTrueProportionsAndShowTheSlices) {
    show();
    // 80 x 40 across, and 20 high.
    EXPECT_NEAR(panel.cutRect(0).width() / double(panel.cutRect(0).height()), 4, 0.15);
    EXPECT_NEAR(panel.cutRect(1).width() / double(panel.cutRect(1).height()), 2, 0.15);
    for (int which = 0; which < 2; ++which) {
        EXPECT_TRUE(panel.rect().contains(panel.cutRect(which))) << which;
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(grey(which, 0.5, 0.875 - 0.25 * i), 20 + 50 * i) << which;
    }
    EXPECT_FALSE(panel.cutRect(0).intersects(panel.cutRect(1)));
    panel.setStretched(true);
    panel.repaint();
    EXPECT_LT(panel.cutRect(0).width(), 4 * panel.cutRect(0).height());
    EXPECT_TRUE(panel.rect().contains(panel.cutRect(0)) && panel.rect().contains(panel.cutRect(1)));

    // The outline, in its colour, and gone with its model.
    const auto green = [this] {
        const QImage picture = panel.grab().toImage();
        const QPoint at = panel.positionOf(0, {-20, 0, 5, 1}).toPoint() * picture.devicePixelRatio();
        return picture.pixelColor(at) == QColor(0, 200, 0);
    };
    EXPECT_EQ(panel.crossings(0).size(), 2u);
    EXPECT_TRUE(green());
    views.setHidden(model, true);
    EXPECT_FALSE(green());
}

TEST_F(CutsPanelTest, aPressChoosesTheSliceAndThePlaceUnderIt) {
    show();
    std::vector<SpacePlace> chosen;
    QObject::connect(&panel, &CutsPanel::placeChosen, [&](const SpacePlace& place) {
        chosen.push_back(place);
        Crosshair::crosshair().setPlace(stack, place, &panel);
    });
    QTest::mouseClick(&panel, Qt::LeftButton, {}, panel.positionOf(0, {30, 0, 10, 2}).toPoint());
    ASSERT_EQ(chosen.size(), 1u);
    EXPECT_EQ(chosen[0].slice, 2);
    EXPECT_EQ(chosen[0].z, 10);
    EXPECT_NEAR(chosen[0].x, 30, 0.5);
    EXPECT_NEAR(chosen[0].y, 0, 1e-6);
    panel.repaint(); // the other cut runs there now
    EXPECT_TRUE(panel.crossings(1).empty());
    QTest::mouseClick(&panel, Qt::LeftButton, {}, panel.positionOf(1, {0, -15, 0, 0}).toPoint());
    ASSERT_EQ(chosen.size(), 2u);
    EXPECT_EQ(chosen[1].slice, 0);
    EXPECT_NEAR(chosen[1].x, chosen[0].x, 1e-6);
    EXPECT_NEAR(chosen[1].y, -15, 0.5);
    QTest::mouseClick(&panel, Qt::LeftButton, {}, QPoint(1, 1));
    EXPECT_EQ(chosen.size(), 2u);
}

} // namespace vorlen
