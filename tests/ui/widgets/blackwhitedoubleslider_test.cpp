#include "ui/widgets/blackwhitedoubleslider.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

/// A shown slider, and drags on it in pixels.
class BlackWhiteDoubleSliderTest : public ::testing::Test {
protected:
    BlackWhiteDoubleSliderTest() : changes(&slider, &BlackWhiteDoubleSlider::valuesChanged) {
        slider.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&slider));
    }

    void drag(int from, int to) {
        QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(from, 5));
        QTest::mouseMove(&slider, QPoint(to, 5));
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(to, 5));
    }

    BlackWhiteDoubleSlider slider;
    QSignalSpy changes;
};

} // namespace

TEST_F(BlackWhiteDoubleSliderTest, discsAreDraggedWithinTheBar) {
    EXPECT_EQ(slider.size(), QSize(100, 10));
    drag(4, 30);
    EXPECT_FLOAT_EQ(slider.getBlack(), 0.3f);
    EXPECT_FLOAT_EQ(slider.getWhite(), 1);
    drag(96, 60);
    EXPECT_FLOAT_EQ(slider.getWhite(), 0.6f);
    ASSERT_GE(changes.count(), 2);
    EXPECT_FLOAT_EQ(changes.last()[0].toFloat(), 0.3f);
    EXPECT_FLOAT_EQ(changes.last()[1].toFloat(), 0.6f);
}

TEST_F(BlackWhiteDoubleSliderTest, oneLevelPushesTheOther) {
    drag(96, 50);
    drag(4, 70);
    EXPECT_FLOAT_EQ(slider.getBlack(), 0.7f);
    EXPECT_FLOAT_EQ(slider.getWhite(), 0.71f);
    // The discs lie over each other now, and the black one is on top.
    drag(70, 300);
    EXPECT_FLOAT_EQ(slider.getBlack(), 0.99f);
    EXPECT_FLOAT_EQ(slider.getWhite(), 1);
    slider.reset();
    drag(96, -20);
    EXPECT_FLOAT_EQ(slider.getWhite(), 0.01f);
    EXPECT_FLOAT_EQ(slider.getBlack(), 0);
}

TEST_F(BlackWhiteDoubleSliderTest, aPressBesideTheDiscsDragsNothingAndADoubleClickResets) {
    drag(50, 20);
    EXPECT_EQ(changes.count(), 0);
    drag(4, 40);
    QTest::mouseDClick(&slider, Qt::LeftButton, {}, QPoint(50, 5));
    EXPECT_EQ(slider.getBlack(), 0);
    EXPECT_EQ(slider.getWhite(), 1);
    QTest::mouseMove(&slider, QPoint(10, 5));
    EXPECT_EQ(slider.getBlack(), 0);
}

TEST_F(BlackWhiteDoubleSliderTest, theDiscsStandWhereTheLevelsAre) {
    drag(4, 40);
    const QImage image = slider.grab().toImage();
    EXPECT_LT(qGray(image.pixel(40, 5)), 60);
    EXPECT_GT(qGray(image.pixel(95, 5)), 200);
}

} // namespace vorlen
