#include "ui/slices/widgetfixture.h"

#include <cstring>

#include <QKeyEvent>
#include <QMouseEvent>

#include "numerics/exception.h"
#include "ui/slices/vrlimagewidgetmediatordelegate.h"
#include "ui/slices/vrlimagewidgetmediatorpandelegate.h"
#include "ui/slices/vrlimagewidgetmediatorpixelinfodelegate.h"

namespace vorlen {

namespace {

/// Writes its name down at each press, and accepts it or not.
class Watcher : public VRLImageWidgetMediatorDelegate {
public:
    Watcher(VRLImageWidgetMediator& mediator, const std::string& name, std::string& log)
        : VRLImageWidgetMediatorDelegate(mediator), __name(name), __log(log) {}

    bool accepts = false;

protected:
    void mousePressEvent(QMouseEvent* event) override {
        __log += __name;
        event->setAccepted(accepts);
    }

private:
    std::string __name;
    std::string& __log;
};

} // namespace

class DelegateTest : public WidgetTest {
protected:
    void prepareZoomed() {
        show(316, 316);
        showSlice(addSlice(TestImages::ramp(1000, 800, 8)));
        zoomTo(2);
        mediator->setViewOrigin(QPoint(100, 100));
    }

    /// Sends the event to the canvas and tells whether it was accepted.
    bool sendKey(QEvent::Type type, bool autoRepeat = false) {
        QKeyEvent event(type, Qt::Key_Space, Qt::NoModifier, " ", autoRepeat);
        event.ignore();
        QCoreApplication::sendEvent(canvas, &event);
        return event.isAccepted();
    }

    template <class Delegate>
    Delegate& find() const {
        return *mediator->findChild<Delegate*>();
    }
};

TEST_F(DelegateTest, activationKeepsToTheProtocol) {
    VRLImageWidgetMediatorDelegate delegate(*mediator);
    EXPECT_FALSE(delegate.isActive());
    EXPECT_FALSE(delegate.isBlocking());
    EXPECT_EQ(whatOf<ProgramError>([&] { delegate.deactivate(); }), "Dectivating inactive delegate");
    delegate.setActive(true);
    EXPECT_EQ(whatOf<ProgramError>([&] { delegate.activate(); }), "Activating already active delegate");
    EXPECT_TRUE(delegate.isActive());
    delegate.setActive(false);
    testing::internal::CaptureStderr();
    {
        VRLImageWidgetMediatorDelegate forgotten(*mediator);
        forgotten.activate();
    }
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Destructor called while delegate is active"),
              std::string::npos);
}

TEST_F(DelegateTest, theLastDelegateSeesEventsFirstAndMayKeepThem) {
    show(100, 100);
    std::string log;
    Watcher first(*mediator, "1", log);
    Watcher second(*mediator, "2", log);
    QTest::mousePress(canvas, Qt::LeftButton);
    EXPECT_EQ(log, "21");
    second.accepts = true;
    QTest::mousePress(canvas, Qt::LeftButton);
    EXPECT_EQ(log, "212");
    QMouseEvent passedOn(QEvent::MouseButtonPress, QPointF(1, 1), canvas->mapToGlobal(QPointF(1, 1)), Qt::LeftButton,
                         Qt::LeftButton, Qt::NoModifier);
    first.process(&passedOn);
    EXPECT_EQ(log, "2121");
    // A blocking delegate keeps what it does not handle, but only while it is active.
    VRLImageWidgetMediatorDelegate blocker(*mediator);
    blocker.setBlocking(true);
    QTest::mousePress(canvas, Qt::LeftButton);
    EXPECT_EQ(log, "21212");
    blocker.activate();
    QTest::mousePress(canvas, Qt::LeftButton);
    EXPECT_EQ(log, "21212");
    blocker.deactivate();
    canvas->setEnabled(false);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(1, 1), canvas->mapToGlobal(QPointF(1, 1)), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(canvas, &press);
    EXPECT_EQ(log, "21212");
    canvas->setEnabled(true);
}

TEST_F(DelegateTest, spaceAndTheLeftButtonPan) {
    prepareZoomed();
    auto& pan = find<VRLImageWidgetMediatorPanDelegate>();
    QTest::mousePress(canvas, Qt::LeftButton, {}, QPoint(50, 50));
    QTest::mouseMove(canvas, QPoint(60, 70));
    EXPECT_EQ(canvas->getViewOrigin(), QPoint(100, 100));
    QTest::mouseRelease(canvas, Qt::LeftButton);
    EXPECT_TRUE(sendKey(QEvent::KeyPress));
    EXPECT_TRUE(pan.isActive());
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::OpenHandCursor);
    EXPECT_TRUE(sendKey(QEvent::KeyPress, true));
    EXPECT_TRUE(sendKey(QEvent::KeyRelease, true));
    EXPECT_TRUE(pan.isActive());
    QSignalSpy views(widget, &VRLImageWidget::viewChanged);
    const auto move = [this](const QPoint& to, Qt::MouseButtons buttons) {
        QMouseEvent event(QEvent::MouseMove, QPointF(to), canvas->mapToGlobal(QPointF(to)), Qt::NoButton, buttons,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(canvas, &event);
    };
    QTest::mousePress(canvas, Qt::LeftButton, {}, QPoint(50, 50));
    EXPECT_EQ(numPaints([&] { move(QPoint(60, 70), Qt::LeftButton); }), 1);
    EXPECT_EQ(canvas->getViewOrigin(), QPoint(95, 90)); // at zoom 2 the image goes with the hand
    move(QPoint(90, 90), Qt::LeftButton | Qt::RightButton);
    EXPECT_EQ(canvas->getViewOrigin(), QPoint(95, 90));
    move(QPoint(54, 70), Qt::LeftButton);
    EXPECT_EQ(canvas->getViewOrigin(), QPoint(98, 90));
    for (int x = 54; x >= 14; --x) // steps of half a pixel of the image
        move(QPoint(x, 70), Qt::LeftButton);
    EXPECT_EQ(canvas->getViewOrigin(), QPoint(118, 90));
    EXPECT_EQ(views.last()[0].toRect(), canvas->currentView());
    QTest::mouseRelease(canvas, Qt::LeftButton);
    EXPECT_TRUE(sendKey(QEvent::KeyRelease));
    EXPECT_FALSE(pan.isActive());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    // Focus lost, or the image gone, with the bar held.
    for (int i = 0; i < 2; ++i) {
        sendKey(QEvent::KeyPress);
        EXPECT_TRUE(pan.isActive());
        if (i == 0) {
            QFocusEvent lost(QEvent::FocusOut);
            QCoreApplication::sendEvent(canvas, &lost);
        } else {
            widget->clear();
        }
        EXPECT_FALSE(pan.isActive());
        EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    }
    // Not in best fit, to which clear() has returned.
    EXPECT_FALSE(sendKey(QEvent::KeyPress));
    EXPECT_FALSE(pan.isActive());
}

TEST_F(DelegateTest, thePixelUnderThePointerIsTold) {
    show(100, 100);
    Image image(10, 10, 24);
    image.clear();
    unsigned char* pixel = image.getPixels()[3] + 3 * 4;
    pixel[0] = 11;
    pixel[1] = 22;
    pixel[2] = 33;
    showSlice(addSlice(image));
    QTest::mouseMove(canvas, QPoint(45, 35));
    EXPECT_EQ(statusBar->getPixelInfo(), "X=4, Y=3, RGB=11 22 33");
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(canvas, &leave);
    EXPECT_EQ(statusBar->getPixelInfo(), "");

    auto& delegate = find<VRLImageWidgetMediatorPixelInfoDelegate>();
    EXPECT_TRUE(delegate.isActive());
    EXPECT_EQ(delegate.pixelInfo(QPoint(-1, 5)), "");
    VRLImageProxy& proxy = canvas->getImageProxy();
    const auto infoOf = [&](Image& other) {
        proxy.clearImage();
        proxy.setImage(other);
        const QString text = delegate.pixelInfo(QPoint(95, 99));
        proxy.clearImage();
        return text;
    };
    Image gray(10, 10, 8);
    std::memset(gray.getData(), 7, 100);
    EXPECT_EQ(infoOf(gray), "X=9, Y=9, G=7");
    gray.setColormap(TestImages::colors());
    EXPECT_EQ(infoOf(gray), "X=9, Y=9, Idx=7, RGB=7 248 3");
    Image wide(10, 10, 16);
    const unsigned short value = 40000;
    std::memcpy(wide.getPixels()[9] + 18, &value, 2);
    EXPECT_EQ(infoOf(wide), "X=9, Y=9, G=40000");
    Image thumbnail(5, 5, 8);
    std::memset(thumbnail.getData(), 9, 25);
    EXPECT_EQ(infoOf(thumbnail), "X=9, Y=9, G=9");
    EXPECT_EQ(delegate.pixelInfo(QPoint(50, 50)), "");

    widget->clear();
    EXPECT_FALSE(delegate.isActive());
    showSlice(addSlice(image));
    EXPECT_TRUE(delegate.isActive());
}

TEST_F(DelegateTest, positionsOutsideOfTheImageHaveNoPixel) {
    show(200, 100);
    showSlice(addSlice(fourCorners(10, 10)));
    auto& delegate = find<VRLImageWidgetMediatorPixelInfoDelegate>();
    EXPECT_EQ(canvas->imagePlace(), QPointF(50, 0)); // in the middle
    EXPECT_EQ(delegate.pixelInfo(QPoint(50, 50)), "X=0, Y=5, G=140");
    EXPECT_EQ(delegate.pixelInfo(QPoint(149, 50)), "X=9, Y=5, G=250");
    for (const int beside : {49, 150})
        EXPECT_EQ(delegate.pixelInfo(QPoint(beside, 50)), "");
    statusBar->setPixelInfo("old");
    QTest::mouseMove(canvas, QPoint(170, 50));
    EXPECT_EQ(statusBar->getPixelInfo(), "");
}

} // namespace vorlen
