#include "ui/slices/contrastdialog.h"

#include <memory>

#include <QDoubleSpinBox>
#include <QFile>
#include <QLabel>
#include <QPushButton>
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
#include "support/dialogdriver.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/session/vrlsettings.h"
#include "ui/slices/histogramview.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/widgets/blackwhitedoubleslider.h"

namespace vorlen {

namespace {

/// The main window on a stack of two slices, with the window of its contrast.
class ContrastTest : public ::testing::Test {
protected:
    void open(int depth) {
        QSettings().clear();
        VRLSettings::settings.load();
        Image image(256, 64, depth);
        for (int i = 0; i < 64; ++i)
            for (int j = 0; j < 256; ++j) {
                const int value = depth == 16 ? 1000 + 8 * j : 40 + j / 4; // up to 3040, and 103
                unsigned char* const pixel = image.getPixels()[i] + j * depth / 8;
                pixel[0] = static_cast<unsigned char>(value & 0xff);
                if (depth == 16)
                    pixel[1] = static_cast<unsigned char>(value >> 8);
            }
        ImageWriter().write(image, folder.filePath("i.tif").toStdString(), true);
        QFile file(folder.filePath("s.sdf"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("FileFormatVersion 1.03;\nSTACK \"s\";\nSLICE \"s0\" \"i.tif\";\nSLICE \"s1\" \"i.tif\";\n");
        file.close();
        window = std::make_unique<VRLRootWindow>();
        window->resize(900, 700);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        window->mediator().openStack(folder.filePath("s.sdf"));
        waitForImage();
        trigger(window->mediator().commands(), "view.contrast");
        dialog = window->findChild<ContrastDialog*>();
        ASSERT_NE(dialog, nullptr);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
        view = dialog->findChild<HistogramView*>();
    }
    ~ContrastTest() override {
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    }

    void waitForImage() {
        ASSERT_TRUE(QTest::qWaitFor([&] { return canvas().getImageProxy().hasImage(); }, 20000));
    }
    VRLStack& stack() { return *window->mediator().currentStack(); }
    VRLSliceEditWidgetCanvas& canvas() { return window->sliceWidget().getCanvas(); }
    BlackWhiteDoubleSlider& slider() { return *window->findChild<BlackWhiteDoubleSlider*>(); }
    void drag(double from, double to) {
        QTest::mousePress(view, Qt::LeftButton, {}, QPoint(view->columnOf(from), 40));
        QTest::mouseMove(view, QPoint(view->columnOf(to), 40));
        QTest::mouseRelease(view, Qt::LeftButton, {}, QPoint(view->columnOf(to), 40));
    }
    QDoubleSpinBox& box(const char* name) { return control<QDoubleSpinBox>(*dialog, name); }

    QTemporaryDir folder;
    std::unique_ptr<VRLRootWindow> window;
    ContrastDialog* dialog = nullptr;
    HistogramView* view = nullptr;
};

} // namespace

TEST_F(ContrastTest, theWindowOf16BitsIsTheStacksAndOneStep) {
    open(16);
    ASSERT_TRUE(stack().getGreyScale());
    const GreyScale found = *stack().getGreyScale();
    EXPECT_NEAR(double(found.low), 1020, 20);
    EXPECT_NEAR(double(found.high), 3032, 20);
    EXPECT_EQ(box("Black").value(), double(found.low));
    drag(double(found.low), 2000);
    const GreyScale dragged = *stack().getGreyScale();
    EXPECT_NEAR(double(dragged.low), 2000, 15); // a column of the view
    EXPECT_EQ(dragged.high, found.high);
    EXPECT_EQ(dragged.white, found.white); // by which algorithms go
    EXPECT_EQ(canvas().getGreyScale(), dragged);
    // 1160, 1480 and 3000 in the file.
    const QImage picture = canvas().grabFramebuffer();
    const auto shownAt = [&](double column) {
        const QPointF at = canvas().convertToPosition(QPointF(column + 0.5, 30.5));
        return picture.pixelColor(int(at.x()), int(at.y())).green();
    };
    EXPECT_LT(shownAt(20), 10);
    EXPECT_LT(shownAt(60), 10);
    EXPECT_GT(shownAt(250), 240);
    window->mediator().setNextSlice();
    waitForImage();
    EXPECT_EQ(canvas().getGreyScale(), dragged);
    EXPECT_NEAR(box("Black").value(), double(dragged.low), 0.51);
    if (const QString pictures = qEnvironmentVariable("VORLEN_PICTURES"); !pictures.isEmpty()) {
        QTest::qWait(300);
        dialog->grab().save(pictures + "/contrast.png");
    }

    trigger(window->mediator().commands(), "edit.undo");
    EXPECT_EQ(*stack().getGreyScale(), found);
    EXPECT_EQ(canvas().getGreyScale(), found);
    EXPECT_NEAR(view->getBlack(), double(found.low), 1e-3);
    EXPECT_FALSE(stack().history()->isUndoable());
    box("White").setValue(900); // below black, which gives way
    EXPECT_LT(stack().getGreyScale()->low, 900);
    EXPECT_EQ(stack().getGreyScale()->high, 900);
    button(*dialog, "Whole range").click();
    EXPECT_EQ(stack().getGreyScale()->low, 1000);
    EXPECT_EQ(stack().getGreyScale()->high, 3040);
    button(*dialog, "Automatic").click();
    EXPECT_EQ(*stack().getGreyScale(), found);
    EXPECT_EQ(slider().getBlack(), 0);
    // Nothing is changed while something is drawn.
    window->mediator().lockRequest(true);
    EXPECT_FALSE(view->isEnabled());
    window->mediator().lockRequest(false);
    EXPECT_TRUE(view->isEnabled());
}

TEST_F(ContrastTest, theWindowOfBytesIsTheViews) {
    open(8);
    EXPECT_FALSE(stack().getGreyScale());
    EXPECT_EQ(box("White").value(), 255);
    button(*dialog, "Automatic").click();
    EXPECT_NEAR(double(slider().getBlack()) * 255, 40, 3);
    EXPECT_NEAR(double(slider().getWhite()) * 255, 103, 3);
    EXPECT_EQ(canvas().getBlack(), slider().getBlack());
    slider().reset();
    EXPECT_EQ(box("Black").value(), 0);
    EXPECT_FALSE(stack().isModified());
    // The dialog outlives the stack.
    VRLStackServer::stackServer.removeStack(stack());
    QCoreApplication::processEvents();
    EXPECT_FALSE(view->isEnabled());
    EXPECT_EQ(control<QLabel>(*dialog, "Notice").text(), "There is no image.");
}

} // namespace vorlen
