#include "ui/panorama/vrlpanorama.h"

#include <filesystem>
#include <memory>

#include <QLabel>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include "editing/bus/vrlpreferencesevent.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/documentmaker.h"
#include "support/temporaryfolder.h"
#include "support/testimages.h"
#include "ui/imageserver/panoramaimageserver.h"
#include "ui/imageserver/vrlimageserver.h"
#include "ui/panorama/vrlpanoramacanvas.h"
#include "ui/panorama/vrlpanoramaitem.h"
#include "ui/panorama/vrlpanoramalabel.h"
#include "ui/session/vrlpreferences.h"

namespace vorlen {

namespace {

/// A stack whose slices show the same small file, each by a source of its own, and a panorama of it.
class PanoramaTest : public ::testing::Test {
protected:
    ~PanoramaTest() override { panorama.clear(); }

    void addSlicesWithImages(int n) {
        if (!std::filesystem::exists(folder.file("i.tif")))
            ImageWriter().write(TestImages::ramp(60, 40, 8, 3, 1), folder.file("i.tif"), true);
        ImageSourceFile source;
        source.setFilename(folder.file("i.tif"));
        const int first = stack.getNumSlices();
        addSlices(stack, n);
        for (int i = first; i < first + n; ++i)
            stack.getSlice(i).setImageSource(source);
    }

    void showPanorama(int width, int height) {
        panorama.resize(width, height);
        panorama.setStack(stack);
        panorama.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&panorama));
    }

    int numBuilt() const {
        int n = 0;
        for (int i = 0; i < panorama.getNumItems(); ++i)
            n += panorama.item(i) != nullptr ? 1 : 0;
        return n;
    }

    bool hasImage(int i) const { return panorama.item(i) != nullptr && panorama.item(i)->canvas().hasImage(); }
    bool waitForImage(int i) const {
        return QTest::qWaitFor([&] { return hasImage(i); }, 20000);
    }

    int current() const {
        for (int i = 0; i < panorama.getNumItems(); ++i)
            if (panorama.item(i) != nullptr && panorama.item(i) == panorama.currentItem())
                return i;
        return -1;
    }
    std::vector<int> selected() const {
        std::vector<int> places;
        for (const StackSlice* slice : panorama.selectedSlices())
            places.push_back(stack.findSlice(*slice));
        return places;
    }
    void click(int i, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(&panorama.item(i)->canvas(), Qt::LeftButton, modifiers, QPoint(20, 20));
    }
    void key(Qt::Key k, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(&panorama, k, modifiers); }

    TemporaryFolder folder;
    VRLStack stack;
    VRLPanorama panorama;
};

} // namespace

TEST_F(PanoramaTest, aThousandSlicesTakeNoMoreThanTheirScreens) {
    addSlicesWithImages(1000);
    VRLImageServer& server = getPanoramaImageServer(stack);
    panorama.setStack(stack);
    panorama.setSlice(stack.getSlice(2));
    EXPECT_EQ(panorama.getNumItems(), 0);
    EXPECT_EQ(server.getNumPending() + server.getNumRunning(), 0);

    showPanorama(900, 640);
    EXPECT_EQ(panorama.getNumItems(), 1000);
    EXPECT_EQ(current(), 2);
    const int firstScreens = numBuilt();
    EXPECT_GE(firstScreens, 6);
    EXPECT_LE(firstScreens, 30);
    EXPECT_TRUE(waitForImage(0));
    EXPECT_FALSE(hasImage(500));

    constexpr std::size_t room = std::size_t(600) << 10;
    server.setIdleLimit(room);
    QScrollBar& bar = *panorama.verticalScrollBar();
    for (int y = 0; y < bar.maximum(); y += bar.maximum() / 8) {
        bar.setValue(y);
        ASSERT_TRUE(QTest::qWaitFor([&] { return server.getNumPending() + server.getNumRunning() == 0; }, 20000));
    }
    bar.setValue(bar.maximum());
    EXPECT_TRUE(waitForImage(999));
    EXPECT_EQ(panorama.item(0), nullptr);
    EXPECT_LE(numBuilt(), 2 * firstScreens);
    EXPECT_LE(panorama.findChildren<VRLPanoramaItem*>().size(), 2 * firstScreens);
    EXPECT_LE(server.getNumImageBytes(), room + std::size_t(numBuilt()) * 256 * 256);
    panorama.hide();
    EXPECT_EQ(numBuilt(), 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.getNumImageBytes() <= room; }, 20000));
}

TEST_F(PanoramaTest, placesItsItemsInAsManyColumnsAsFit) {
    addSlicesWithImages(10);
    showPanorama(200, 500);
    EXPECT_EQ(panorama.numColumns(), 1);
    EXPECT_EQ(panorama.item(1)->x(), panorama.item(0)->x());
    const QSize size = panorama.item(0)->size();
    EXPECT_EQ(panorama.widget()->height(), 10 + 10 * (size.height() + 10));
    panorama.resize(10 + 3 * (size.width() + 10) + 40, 500);
    EXPECT_EQ(panorama.numColumns(), 3);
    EXPECT_EQ(panorama.widget()->height(), 10 + 4 * (size.height() + 10));
    EXPECT_EQ(panorama.item(4)->pos(), QPoint(10 + size.width() + 10, 10 + size.height() + 10));
    // All columns fit, but not the space behind them: there is nothing to scroll to.
    const int frame = panorama.width() - panorama.viewport()->width();
    panorama.resize(3 * (size.width() + 10) + frame + 4, 500);
    EXPECT_EQ(panorama.numColumns(), 3);
    EXPECT_GT(panorama.widget()->width(), panorama.viewport()->width());
    EXPECT_FALSE(panorama.horizontalScrollBar()->isVisible());
    panorama.resize(size.width() - 20, 500);
    EXPECT_TRUE(panorama.horizontalScrollBar()->isVisible());
    panorama.resize(10 + 3 * (size.width() + 10) + 40, 500);
    for (int i = 0; i < 9; ++i)
        key(Qt::Key_L);
    EXPECT_EQ(panorama.getThumbnailSize(), 64);
    EXPECT_GE(panorama.numColumns(), 8);
    key(Qt::Key_L, Qt::ShiftModifier);
    EXPECT_EQ(panorama.getThumbnailSize(), 128);
    const int height = panorama.item(0)->height();
    VRLPreferences::setPanoramaLabelEnabled(false);
    VRLPreferencesEvent event;
    panorama.preferencesEvent(event);
    EXPECT_LT(panorama.item(0)->height(), height);
    VRLPreferences::setPanoramaLabelEnabled(true);
}

TEST_F(PanoramaTest, isWalkedByKeysAndSelectsRanges) {
    addSlicesWithImages(10);
    showPanorama(900, 700);
    const int columns = panorama.numColumns();
    ASSERT_EQ(columns, 3);
    QSignalSpy chosen(&panorama, &VRLPanorama::sliceSelected);
    QSignalSpy activated(&panorama, &VRLPanorama::sliceActivated);
    QSignalSpy deactivated(&panorama, &VRLPanorama::sliceDeactivated);
    click(0);
    EXPECT_EQ(current(), 0);
    EXPECT_TRUE(panorama.item(0)->isSelected());
    key(Qt::Key_Right);
    key(Qt::Key_Down);
    EXPECT_EQ(current(), 4);
    EXPECT_EQ(chosen.count(), 3);
    EXPECT_FALSE(panorama.item(0)->isSelected());
    key(Qt::Key_Left);
    key(Qt::Key_Up);
    key(Qt::Key_Up);
    EXPECT_EQ(current(), 0);
    key(Qt::Key_End);
    EXPECT_EQ(current(), 9);
    key(Qt::Key_Right);
    EXPECT_EQ(current(), 9);
    key(Qt::Key_Home);

    key(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(selected(), (std::vector{0, 1, 2, 3}));
    click(4, Qt::ControlModifier);
    click(1, Qt::ControlModifier);
    EXPECT_EQ(selected(), (std::vector{0, 2, 3, 4}));
    click(5);
    click(2, Qt::ShiftModifier);
    EXPECT_EQ(selected(), (std::vector{2, 3, 4, 5}));
    click(4, Qt::ShiftModifier);
    EXPECT_EQ(selected(), (std::vector{4, 5}));
    key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(selected().size(), 10u);

    EXPECT_EQ(activated.count(), 0);
    key(Qt::Key_Return);
    QTest::mouseDClick(&panorama.item(3)->canvas(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(activated.count(), 2);
    EXPECT_EQ(current(), 3);
    key(Qt::Key_Escape);
    EXPECT_EQ(deactivated.count(), 1);
}

TEST_F(PanoramaTest, tellsOfSlicesAndOfImagesThatAreMissing) {
    addSlicesWithImages(2);
    addSlices(stack, 1); // without an image
    std::filesystem::copy(folder.file("i.tif"), folder.file("lost.tif"));
    ImageSourceFile lost;
    lost.setFilename(folder.file("lost.tif"));
    stack.getSlice(1).setImageSource(lost);
    std::filesystem::remove(folder.file("lost.tif"));
    Model& model = addModel(stack, "m");
    addItem(model, stack.getSlice(0), {{5, 5}, {50, 5}, {50, 30}});
    showPanorama(900, 500);
    ASSERT_TRUE(waitForImage(0));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !panorama.item(1)->canvas().failure().isEmpty(); }, 20000));
    EXPECT_EQ(panorama.item(0)->toolTip(), "#1 - s0\n60 x 40 pixels\n60 x 40 " +
                                               QString::fromStdString(stack.getLengthUnit().symbol()) +
                                               "\nDepth = " + QString::number(stack.getSlice(0).getAbsolutePosition()) +
                                               ' ' + QString::fromStdString(stack.getLengthUnit().symbol()));
    EXPECT_TRUE(panorama.item(1)->toolTip().contains("lost.tif")) << panorama.item(1)->toolTip().toStdString();
    EXPECT_TRUE(panorama.item(2)->toolTip().contains("has no image"));
    EXPECT_EQ(panorama.item(0)->label().nameText(), "Slice: s0");
    const auto reds = [&] {
        const QImage picture = panorama.item(0)->canvas().grab().toImage();
        int n = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                n += qRed(picture.pixel(x, y)) > 200 && qGreen(picture.pixel(x, y)) < 60 ? 1 : 0;
        return n;
    };
    EXPECT_GT(reds(), 50);
    panorama.setCanvasMode(BackgroundMode);
    EXPECT_EQ(reds(), 0);
    if (const QString pictures = qEnvironmentVariable("VORLEN_PICTURES"); !pictures.isEmpty()) {
        panorama.setCanvasMode(AllgroundMode);
        click(0);
        panorama.grab().save(pictures + "/panorama.png");
    }
}

TEST_F(PanoramaTest, followsSlicesThatGoAndComeBack) {
    addSlicesWithImages(8);
    showPanorama(900, 500);
    click(2);
    ASSERT_TRUE(deleteSlices(stack, {&stack.getSlice(0), &stack.getSlice(5)}));
    EXPECT_EQ(numBuilt(), 0); // none shows a slice that may be deleted
    QTest::qWait(0);
    EXPECT_EQ(panorama.getNumItems(), 6);
    EXPECT_EQ(current(), 1);
    EXPECT_TRUE(waitForImage(5));
    stack.history()->undo();
    QTest::qWait(0);
    EXPECT_EQ(panorama.getNumItems(), 8);
    EXPECT_EQ(panorama.item(0)->getSlice(), &stack.getSlice(0));
    EXPECT_EQ(current(), 2);
    SliceChange change;
    change.name = "other";
    ASSERT_TRUE(changeSlice(stack, stack.getSlice(3), change));
    EXPECT_EQ(panorama.item(3)->label().nameText(), "Slice: other");
    panorama.clear();
    EXPECT_EQ(numBuilt(), 0);
}

} // namespace vorlen
