#include "ui/panorama/vrloverviewwidget.h"

#include <QAction>
#include <QFile>
#include <QPointer>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/commands.h"
#include "support/testimages.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/panorama/vrloverviewwidgetcanvas.h"
#include "ui/panorama/vrlpanorama.h"
#include "ui/panorama/vrlpanoramacanvas.h"
#include "ui/panorama/vrlpanoramaitem.h"
#include "ui/session/vrlsettings.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"

namespace vorlen {

namespace {

/// The main window on a stack of five slices, 2048 x 1024 pixels each.
class ViewsTest : public ::testing::Test {
protected:
    ViewsTest() {
        QSettings().clear();
        VRLSettings::settings.load();
        ImageWriter().write(TestImages::ramp(2048, 1024, 8, 3, 1), folder.filePath("i.tif").toStdString(), true);
        QFile file(folder.filePath("s.sdf"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        QByteArray text = "FileFormatVersion 1.03;\nSTACK \"s\";\n";
        for (const char* name : {"s0", "s1", "s2", "s3", "s4"})
            text += QByteArray("SLICE \"") + name + "\" \"i.tif\";\n";
        file.write(text);
        file.close();
        window = new VRLRootWindow;
        window->resize(900, 700);
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window));
        mediator().openStack(folder.filePath("s.sdf"));
    }
    ~ViewsTest() override {
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
        delete window;
    }

    VRLRootMediator& mediator() { return window->mediator(); }
    void trigger(const char* id) { vorlen::trigger(mediator().commands(), id); }
    bool isChecked(const char* id) { return mediator().commands().action(id).isChecked(); }
    VRLOverviewWidget& overview() { return mediator().overview(); }
    VRLOverviewWidgetCanvas& overviewCanvas() { return overview().getCanvas(); }
    VRLSliceEditWidgetCanvas& editor() { return window->sliceWidget().getCanvas(); }

    QTemporaryDir folder;
    QPointer<VRLRootWindow> window;
};

} // namespace

TEST_F(ViewsTest, theOverviewFollowsTheEditorAndLeadsIt) {
    EXPECT_TRUE(overview().isHidden());
    trigger("view.overview");
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&overview()));
    EXPECT_EQ(overview().windowTitle(), "Overview");
    EXPECT_EQ(overviewCanvas().size(), QSize(256, 256));
    EXPECT_EQ(overviewCanvas().getLocalView(), QRect(0, 0, 2048, 1024));
    ASSERT_TRUE(QTest::qWaitFor([&] { return overviewCanvas().getImageProxy().hasImage(); }, 20000));

    VRLRootSliceEditWidgetMediator& view = window->sliceWidget().getMediator();
    for (int times = 0; times < 3; ++times)
        view.increaseZoomFactor();
    EXPECT_EQ(overviewCanvas().getLocalView(), editor().currentView());
    EXPECT_LT(overviewCanvas().frame().width(), 200);
    view.panTo(QPoint(100, 200));
    EXPECT_EQ(overviewCanvas().getLocalView().topLeft(), QPoint(100, 200));
    const QImage before = overviewCanvas().grabFramebuffer();
    const QRect frame = overviewCanvas().frame();
    int yellow = 0;
    for (int x = frame.left(); x <= frame.right(); ++x) {
        const QRgb pixel = before.pixel(x, frame.top());
        yellow += qRed(pixel) > 200 && qGreen(pixel) > 200 && qBlue(pixel) < 80 ? 1 : 0;
    }
    EXPECT_GT(yellow, frame.width() / 4);

    // Dragged by 20 pixels of an overview in which a pixel stands for 8 of the image.
    QTest::mousePress(&overviewCanvas(), Qt::LeftButton, {}, frame.center());
    QTest::mouseMove(&overviewCanvas(), frame.center() + QPoint(20, 10));
    QTest::mouseRelease(&overviewCanvas(), Qt::LeftButton, {}, frame.center() + QPoint(20, 10));
    EXPECT_EQ(editor().getViewOrigin(), QPoint(260, 280));
    EXPECT_EQ(overviewCanvas().getLocalView(), editor().currentView());
    // Beyond the border the editor stops, and the frame with it.
    QTest::mousePress(&overviewCanvas(), Qt::LeftButton, {}, overviewCanvas().frame().center());
    QTest::mouseMove(&overviewCanvas(), QPoint(255, 255));
    QTest::mouseRelease(&overviewCanvas(), Qt::LeftButton, {}, QPoint(255, 255));
    EXPECT_EQ(editor().getViewOrigin(), editor().computeMaxViewOrigin());
    EXPECT_EQ(overviewCanvas().getLocalView(), editor().currentView());
    // A press beside the frame does nothing.
    QTest::mousePress(&overviewCanvas(), Qt::LeftButton, {}, QPoint(2, 2));
    QTest::mouseMove(&overviewCanvas(), QPoint(40, 40));
    QTest::mouseRelease(&overviewCanvas(), Qt::LeftButton, {}, QPoint(40, 40));
    EXPECT_EQ(editor().getViewOrigin(), editor().computeMaxViewOrigin());

    if (const QString pictures = qEnvironmentVariable("VORLEN_PICTURES"); !pictures.isEmpty())
        overviewCanvas().grabFramebuffer().save(pictures + "/overview.png");
    overview().close();
    EXPECT_FALSE(isChecked("view.overview"));
    EXPECT_TRUE(overview().isHidden());
    trigger("view.overview");
    EXPECT_TRUE(overview().isVisible());
    trigger("stack.close");
    EXPECT_EQ(overview().getSlice(), nullptr);
    EXPECT_TRUE(overviewCanvas().frame().isNull());
}

TEST_F(ViewsTest, thePanoramaTakesThePlaceOfTheEditor) {
    VRLStack& stack = *mediator().currentStack();
    EXPECT_TRUE(window->panorama().isHidden());
    trigger("view.panorama");
    EXPECT_TRUE(window->panorama().isVisible());
    EXPECT_FALSE(window->sliceWidget().isVisible());
    EXPECT_EQ(window->panorama().currentItem(), window->panorama().item(0));
    QTest::keyClick(&window->panorama(), Qt::Key_Right);
    EXPECT_EQ(mediator().currentSlice(), &stack.getSlice(1));
    trigger("slice.next");
    EXPECT_EQ(window->panorama().currentItem(), window->panorama().item(2));
    if (const QString pictures = qEnvironmentVariable("VORLEN_PICTURES"); !pictures.isEmpty()) {
        QTest::qWait(1500);
        window->grab().save(pictures + "/panoramawindow.png");
    }
    QTest::keyClick(&window->panorama(), Qt::Key_Right, Qt::ShiftModifier);
    trigger("slice.delete"); // the range
    EXPECT_EQ(stack.getNumSlices(), 3);
    QTest::qWait(0);
    EXPECT_EQ(window->panorama().getNumItems(), 3);
    trigger("edit.undo");
    EXPECT_EQ(stack.getNumSlices(), 5);
    EXPECT_FALSE(stack.history()->isUndoable());
    QTest::qWait(0);
    QTest::mouseDClick(&window->panorama().item(1)->canvas(), Qt::LeftButton, {}, QPoint(9, 9));
    EXPECT_TRUE(window->sliceWidget().isVisible());
    EXPECT_TRUE(isChecked("view.slice"));
    EXPECT_EQ(mediator().currentSlice(), &stack.getSlice(1));
    // What is drawn needs the editor.
    trigger("view.panorama");
    mediator().lockRequest(true);
    EXPECT_TRUE(window->sliceWidget().isVisible());
    mediator().lockRequest(false);
}

} // namespace vorlen
