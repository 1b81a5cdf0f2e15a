#include "ui/slices/widgetfixture.h"

#include <algorithm>

#include <QLabel>
#include <QScrollBar>
#include <QWheelEvent>

#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlpreferencesevent.h"
#include "numerics/exception.h"
#include "support/recordingmonitor.h"

namespace vorlen {

class ImageMediatorTest : public WidgetTest {
protected:
    QScrollBar& bar(Qt::Orientation orientation) const {
        for (QScrollBar* candidate : widget->findChildren<QScrollBar*>())
            if (candidate->orientation() == orientation)
                return *candidate;
        throw std::runtime_error("no scroll bar");
    }

    /// A notch of the wheel at a position of the canvas.
    bool turnWheel(int notches, Qt::KeyboardModifiers modifiers = {}, const QPoint& position = QPoint(50, 40)) {
        QWheelEvent event(position, canvas->mapToGlobal(position), QPoint(), QPoint(0, 120 * notches), Qt::NoButton,
                          modifiers, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(canvas, &event);
        return event.isAccepted();
    }

    QSignalSpy views{widget, &VRLImageWidget::viewChanged};
};

TEST_F(ImageMediatorTest, aWidgetWithoutAServerSaysSo) {
    StackSlice& slice = addSlice(fourCorners(10, 10));
    widget->removeImageServer();
    EXPECT_EQ(whatOf<ProgramError>([&] { widget->getImageServer(); }), "This mediator has no image server");
    EXPECT_THROW(widget->setSlice(slice), ProgramError);
    VRLImageWidget bare;
    EXPECT_THROW(bare.getMediator(), ProgramError);
}

TEST_F(ImageMediatorTest, zoomStepsRunThroughTheSequenceAndStopAtItsEnds) {
    show(300, 300);
    EXPECT_FALSE(action("Zoom in")->isEnabled());
    showSlice(addSlice(TestImages::ramp(1000, 1000, 8)));
    EXPECT_FALSE(action("Best fit")->isEnabled());
    EXPECT_FALSE(bar(Qt::Horizontal).isVisible());
    EXPECT_FLOAT_EQ(canvas->getZoomFactor(), 0.3f);
    EXPECT_EQ(statusBar->getZoomInfo(), " 30%");
    mediator->increaseZoomFactor();
    EXPECT_EQ(canvas->getZoomFactor(), 0.5f);
    EXPECT_EQ(statusBar->getZoomInfo(), " 50%");
    EXPECT_TRUE(bar(Qt::Horizontal).isVisible());
    EXPECT_TRUE(bar(Qt::Vertical).isVisible());
    EXPECT_TRUE(action("Best fit")->isEnabled());
    for (const float expected : {1.0f, 2.0f, 3.0f, 4.0f}) {
        action("Zoom in")->trigger();
        EXPECT_EQ(canvas->getZoomFactor(), expected);
        EXPECT_NEAR(canvas->viewCenter().x(), 500, 2);
    }
    for (int i = 0; i < 100; ++i)
        action("Zoom in")->trigger();
    EXPECT_EQ(canvas->getZoomFactor(), 64);
    EXPECT_FALSE(action("Zoom in")->isEnabled());
    action("Best fit")->trigger();
    EXPECT_FLOAT_EQ(canvas->getZoomFactor(), 0.3f);
    EXPECT_FALSE(bar(Qt::Vertical).isVisible());
    for (const float expected : {0.25f, 0.125f, 0.0625f, 0.03125f}) {
        EXPECT_TRUE(action("Zoom out")->isEnabled());
        action("Zoom out")->trigger();
        EXPECT_EQ(canvas->getZoomFactor(), expected);
    }
    EXPECT_FALSE(action("Zoom out")->isEnabled());
    EXPECT_FALSE(action("Scroll down")->isEnabled());
}

TEST_F(ImageMediatorTest, scrollBarsActionsAndViewGoTogether) {
    show(316, 316);
    showSlice(addSlice(TestImages::ramp(1000, 800, 8)));
    zoomTo(1);
    QTest::qWait(20); // bars of 16 pixels leave a canvas of 300
    ASSERT_EQ(canvas->size(), QSize(300, 300));
    mediator->setViewOrigin(QPoint(0, 0));
    EXPECT_EQ(bar(Qt::Horizontal).maximum(), 700);
    EXPECT_EQ(bar(Qt::Vertical).maximum(), 500);
    EXPECT_FALSE(action("Scroll left")->isEnabled());
    EXPECT_TRUE(action("Scroll right")->isEnabled());
    views.clear();
    mediator->pageScrollDown();
    EXPECT_EQ(canvas->getViewOrigin(), QPoint(0, 100));
    EXPECT_EQ(bar(Qt::Vertical).value(), 100);
    EXPECT_EQ(views.last()[0].toRect(), QRect(0, 100, 300, 300));
    mediator->stepScrollRight();
    mediator->stepScrollRight();
    mediator->stepScrollLeft();
    mediator->stepScrollUp();
    EXPECT_EQ(canvas->getViewOrigin(), QPoint(1, 99));
    EXPECT_TRUE(action("Scroll left")->isEnabled());
    for (int i = 0; i < 20; ++i)
        mediator->pageScrollRight();
    EXPECT_EQ(bar(Qt::Horizontal).value(), 700);
    EXPECT_FALSE(action("Scroll right")->isEnabled());
    EXPECT_EQ(numPaints([this] { bar(Qt::Vertical).setValue(250); }), 1);
    EXPECT_EQ(canvas->getViewOrigin(), QPoint(700, 250));
    QCursor::setPos(canvas->mapToGlobal(QPoint(50, 60)));
    mediator->centerView();
    EXPECT_EQ(canvas->viewCenter(), QPoint(750, 310));
    EXPECT_EQ(bar(Qt::Vertical).value(), 160);
    // A canvas that grows shows more.
    widget->setFixedSize(516, 416);
    QTest::qWait(50);
    EXPECT_EQ(bar(Qt::Horizontal).maximum(), 500);
    EXPECT_EQ(canvas->currentView().right(), views.last()[0].toRect().right());
    EXPECT_EQ(canvas->currentView().width(), 500);
}

TEST_F(ImageMediatorTest, keysActOnTheCanvas) {
    show(316, 316);
    showSlice(addSlice(TestImages::ramp(1000, 800, 8)));
    window.activateWindow();
    canvas->setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(canvas, Qt::Key_Plus);
    EXPECT_EQ(canvas->getZoomFactor(), 0.5f);
    QTest::keyClick(canvas, Qt::Key_Plus);
    const QPoint before = canvas->getViewOrigin();
    QTest::keyClick(canvas, Qt::Key_Down);
    QTest::keyClick(canvas, Qt::Key_Right);
    EXPECT_EQ(canvas->getViewOrigin(), before + QPoint(1, 1));
    QTest::keyClick(canvas, Qt::Key_Equal);
    EXPECT_TRUE(canvas->isBestFitMode());
}

TEST_F(ImageMediatorTest, theWheelZoomsAboutThePointerAndScrolls) {
    show(316, 316);
    showSlice(addSlice(TestImages::ramp(1000, 800, 8)));
    EXPECT_FALSE(turnWheel(1));
    zoomTo(1);
    mediator->setViewOrigin(QPoint(200, 200));
    const QPointF fixed = canvas->convertToImagePoint(QPointF(50, 40));
    EXPECT_TRUE(turnWheel(1, Qt::ControlModifier));
    EXPECT_EQ(canvas->getZoomFactor(), 2);
    const QPointF moved = canvas->convertToImagePoint(QPointF(50, 40));
    EXPECT_LE(std::abs(moved.x() - fixed.x()) + std::abs(moved.y() - fixed.y()), 1);
    for (int i = 0; i < 20; ++i) // out to half size and in to 6, again and again
        for (const int notch : {-1, -1, 1, 1, 1, 1, 1, 1, -1, -1, -1, -1})
            EXPECT_TRUE(turnWheel(notch, Qt::ControlModifier));
    ASSERT_EQ(canvas->getZoomFactor(), 2);
    const QPointF still = canvas->convertToImagePoint(QPointF(50, 40));
    EXPECT_LE(std::abs(still.x() - fixed.x()) + std::abs(still.y() - fixed.y()), 1);
    const QPoint origin = canvas->getViewOrigin();
    EXPECT_TRUE(turnWheel(-1));
    EXPECT_EQ(canvas->getViewOrigin(), origin + QPoint(0, 30)); // 60 pixels of the screen
    EXPECT_TRUE(turnWheel(-1, Qt::ShiftModifier));
    EXPECT_EQ(canvas->getViewOrigin(), origin + QPoint(30, 30));
    mediator->setActionsEnabled(false);
    EXPECT_FALSE(turnWheel(1, Qt::ControlModifier));
    EXPECT_EQ(canvas->getZoomFactor(), 2);
}

TEST_F(ImageMediatorTest, disabledActionsStayDisabledWhenImagesArrive) {
    show(100, 100);
    widget->setActionsEnabled(false);
    showSlice(addSlice(fourCorners(40, 40)));
    for (const QAction* each : canvas->actions()) {
        const bool always = QStringList({"Cancel", "Select all", "Properties...", "Select", "Draw", "Live wire",
                                         "Brush", "Automatic", "Move, turn, scale", "Snake", "Measure", "Larger brush",
                                         "Smaller brush", "Paste", "Copy to next slice", "Copy to previous slice",
                                         "Copy to slices...", "Fill gap", "Fill all gaps"})
                                .contains(each->text());
        EXPECT_EQ(each->isEnabled(), always) << each->text().toStdString();
    }
    widget->setActionsEnabled(true);
    EXPECT_TRUE(action("Zoom in")->isEnabled());
}

TEST_F(ImageMediatorTest, theToolBarHoldsTheCommandsInOrder) {
    QStringList texts;
    for (const QAction* each : toolBar->actions()) {
        texts << each->text();
        EXPECT_FALSE(each->icon().isNull()) << each->text().toStdString();
    }
    EXPECT_EQ(texts,
              QStringList({"Zoom in", "Zoom out", "Best fit", "Scroll up", "Scroll right", "Scroll down", "Scroll left",
                           "Display images only", "Display items only", "Display images and items"}));
    EXPECT_EQ(canvas->actions().size(), 12 + 31); // and those of the slice editor
}

TEST_F(ImageMediatorTest, imageTextsTellTypeAndSize) {
    using Mediator = VRLImageWidgetMediator;
    EXPECT_EQ(Mediator::imageTypeText(8, false), "8 bits");
    EXPECT_EQ(Mediator::imageTypeText(8, true), "8 bits, indexed");
    EXPECT_EQ(Mediator::imageTypeText(16, false), "16 bits");
    EXPECT_EQ(Mediator::imageTypeText(24, false), "RGB 24 bits");
    EXPECT_EQ(Mediator::imageTypeText(32, false), "RGB 32 bits");
    EXPECT_EQ(Mediator::imageSizeText(20, 40, 800), "20x40 [800 bytes]");
    EXPECT_EQ(Mediator::imageSizeText(100, 100, 10000), "100x100 [9 Kb]");
    EXPECT_EQ(Mediator::imageSizeText(2000, 1000, 2000000), "2000x1000 [1.91 Mb]");
    EXPECT_EQ(Mediator::imageSizeText(60000, 60000, 3600000000u), "60000x60000 [3.35 Gb]");
    show(100, 100);
    showSlice(addSlice(fourCorners(20, 40)));
    EXPECT_EQ(statusBar->getImageTypeInfo(), "8 bits");
    EXPECT_EQ(statusBar->getImageSizeInfo(), "20x40 [800 bytes]");
    views.clear();
    widget->clear();
    EXPECT_EQ(statusBar->getImageTypeInfo(), "");
    EXPECT_EQ(statusBar->getImageSizeInfo(), "");
    EXPECT_EQ(views.last()[0].toRect(), QRect(0, 0, 0, 0));
    EXPECT_TRUE(canvas->getImageProxy().isEmpty());
    EXPECT_FALSE(action("Zoom in")->isEnabled());
}

// The file is there when the stack is read, and gone when its image is wanted.
TEST_F(ImageMediatorTest, anImageThatCannotBeReadIsToldInViewAndStatusBar) {
    show(300, 200);
    StackSlice& lost = addSlice(fourCorners(20, 40), "lost");
    StackSlice& good = addSlice(fourCorners(20, 40), "good");
    ::remove(folder.file("lost0.tif").c_str());
    const QImage empty = picture();
    RecordingMonitor monitor;
    mediator->addMonitor(monitor);
    statusBar->setPixelInfo("of another image");
    widget->setSlice(lost);
    EXPECT_EQ(statusBar->getPixelInfo(), "");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !canvas->getNotice().isEmpty(); }, 20000));
    EXPECT_TRUE(canvas->getNotice().contains("lost0.tif"));
    EXPECT_TRUE(statusBar->currentMessage().contains("lost0.tif"));
    EXPECT_NE(picture(), empty);
    const std::string told = "text " + canvas->getNotice().toStdString();
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return std::count(monitor.heard.begin(), monitor.heard.end(), told) > 0; }, 5000));
    QTest::qWait(20);
    EXPECT_EQ(monitor.heard.back(), told); // the start and the end of the reading came before
    mediator->removeMonitor(monitor);
    widget->setForegroundMode();
    EXPECT_EQ(picture(), empty);
    widget->setAllgroundMode();
    showSlice(good);
    EXPECT_EQ(canvas->getNotice(), "");
    EXPECT_FALSE(statusBar->currentMessage().contains("lost0.tif"));
    auto* bare = new StackSlice;
    bare->setName("bare");
    stack.addSlice(bare);
    widget->setSlice(*bare);
    EXPECT_TRUE(canvas->getNotice().contains("bare"));
    EXPECT_TRUE(canvas->getImageProxy().isEmpty());
}

TEST_F(ImageMediatorTest, aChangeOfPreferencesRepaints) {
    show(100, 100);
    EXPECT_EQ(numPaints([] {
                  VRLPreferencesEvent event;
                  VRLEventServer::notifyEvent(event);
              }),
              1);
}

// Windows without a parent delete themselves, with all that hangs on them.
TEST_F(ImageMediatorTest, aWidgetMayGoAtAnyTime) {
    StackSlice& slice = addSlice(TestImages::ramp(300, 300, 8));
    for (int i = 0; i < 3; ++i) {
        QPointer<VRLSliceEditWidget> free = new VRLSliceEditWidget;
        EXPECT_EQ(free->size(), QSize(400, 300));
        free->initialize();
        free->setImageServer(server);
        free->show();
        free->setSlice(slice);
        if (i > 0)
            QTest::qWait(50);
        if (i == 2)
            QTest::keyPress(&free->getCanvas(), Qt::Key_Space);
        free->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_TRUE(free.isNull());
    }
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_TRUE(settle());
}

} // namespace vorlen
