#include "ui/exchange/vrlmodelfilterdialog.h"

#include <QButtonGroup>
#include <QFile>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include "document/model.h"
#include "document/modelitem.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/commands.h"
#include "support/dialogdriver.h"
#include "support/documentmaker.h"
#include "support/modalscript.h"
#include "support/testimages.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/exchange/filtermarks.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/scenes/vrlrenderingwindow.h"
#include "ui/session/vrlsettings.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/viewer/viewercanvasgl.h"

namespace vorlen {

namespace {

/// The main window on a stack of two slices with a reference, "mask", and the models "in", "across" and "away".
class ModelFilterTest : public ::testing::Test {
protected:
    ModelFilterTest() {
        QSettings().clear();
        VRLSettings::settings.load();
        ImageWriter().write(TestImages::ramp(200, 160, 8, 3, 1), folder.filePath("i.tif").toStdString(), true);
        QFile file(folder.filePath("s.sdf"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("FileFormatVersion 1.03;\nSTACK \"s\";\nSLICE \"s0\" \"i.tif\";\nSLICE \"s1\" \"i.tif\";\n");
        file.close();
        window = std::make_unique<VRLRootWindow>();
        window->resize(900, 700);
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        window->mediator().openStack(folder.filePath("s.sdf"));
        stack = window->mediator().currentStack();
        for (int s = 0; s < 2; ++s)
            addItem(s == 0 ? addModel(*stack, "mask") : stack->getModel(0), stack->getSlice(s),
                    {{20, 20}, {120, 20}, {120, 120}, {20, 120}});
        addItem(addModel(*stack, "in"), stack->getSlice(0), {{30, 30}, {60, 30}, {60, 60}});
        addItem(addModel(*stack, "across"), stack->getSlice(1),
                {{40, 40}, {100, 40}, {170, 60}, {170, 90}, {100, 100}, {40, 100}});
        addItem(addModel(*stack, "away"), stack->getSlice(0), {{140, 30}, {180, 30}, {180, 100}});
    }
    ~ModelFilterTest() override {
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    }

    void run() { trigger(window->mediator().commands(), "models.filter"); }

    static VRLModelListWidget& list(QWidget& dialog, const char* name) {
        return control<VRLModelListWidget>(dialog, name);
    }
    static void choose(VRLModelListWidget& list, const char* name, Qt::KeyboardModifiers modifiers = {}) {
        const auto found = list.findItems(name, Qt::MatchExactly);
        ASSERT_EQ(found.size(), 1) << name;
        QTest::mouseClick(list.viewport(), Qt::LeftButton, modifiers, list.visualItemRect(found[0]).center());
    }
    static void chooseAll(QWidget& dialog) {
        choose(list(dialog, "Reference model"), "mask");
        auto& process = list(dialog, "Models to process");
        process.setFocus();
        QTest::keyClick(&process, Qt::Key_A, Qt::ControlModifier);
    }
    static std::string summary(QWidget& dialog) { return control<QLabel>(dialog, "Summary").text().toStdString(); }
    int numCrosses() {
        QCoreApplication::processEvents();
        auto* const marks = window->sliceWidget().getCanvas().findChild<FilterMarks*>();
        if (marks == nullptr)
            return -1;
        marks->repaint();
        return marks->numCrosses();
    }

    QTemporaryDir folder;
    std::unique_ptr<VRLRootWindow> window;
    VRLStack* stack = nullptr;
};

} // namespace

TEST_F(ModelFilterTest, showsWhatWillGoAndTakesItInOneStep) {
    ModalScript script;
    script.then([&](QWidget& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Filtering models");
        EXPECT_EQ(list(dialog, "Reference model").count(), 4);
        EXPECT_FALSE(button(dialog, "Apply").isEnabled());
        choose(list(dialog, "Reference model"), "mask");
        EXPECT_FALSE(button(dialog, "Apply").isEnabled());
        choose(list(dialog, "Models to process"), "mask"); // the reference alone
        EXPECT_FALSE(button(dialog, "Apply").isEnabled());
        choose(list(dialog, "Models to process"), "in");
        EXPECT_TRUE(button(dialog, "Apply").isEnabled());
        EXPECT_EQ(summary(dialog), "Nothing is to be removed.");
        chooseAll(dialog);
        EXPECT_EQ(summary(dialog), "To be removed: 1 model with 1 whole item, 3 vertices together.");
        EXPECT_EQ(numCrosses(), 3); // those of "away"

        dialog.findChildren<QRadioButton*>()[1]->click();
        EXPECT_EQ(summary(dialog), "To be removed: 5 vertices, 1 whole item among them.");
        auto& losses = control<QTreeWidget>(dialog, "What will go");
        ASSERT_EQ(losses.topLevelItemCount(), 2);
        // Where a slice is chosen, its marks are seen.
        for (int i = 0; i < 2; ++i)
            if (losses.topLevelItem(i)->text(0) == "across") {
                EXPECT_EQ(losses.topLevelItem(i)->text(1), "0 of 1");
                losses.setCurrentItem(losses.topLevelItem(i)->child(0));
            }
        EXPECT_EQ(window->mediator().currentSlice(), &stack->getSlice(1));
        EXPECT_EQ(numCrosses(), 2);
        if (const QString pictures = qEnvironmentVariable("VORLEN_PICTURES"); !pictures.isEmpty()) {
            QTest::qWait(800);
            dialog.grab().save(pictures + "/filter.png");
            window->grab().save(pictures + "/filtermarks.png");
        }
        EXPECT_FALSE(stack->history()->isUndoable()); // so far all was a preview
        button(dialog, "Apply").click();
        EXPECT_EQ(summary(dialog).find("Done. To be removed"), 0u) << summary(dialog);
        EXPECT_EQ(numCrosses(), 0);
        ModalScript::click(dialog, "Close");
    });
    run();
    EXPECT_EQ(numCrosses(), -1); // the marks went with the dialog
    EXPECT_EQ(coordinates(stack->getModel(2).getItem(0).getVertices()),
              (std::vector<std::pair<int, int>>{{40, 40}, {100, 40}, {100, 100}, {40, 100}}));
    EXPECT_EQ(stack->getModel(3).getNumItems(), 0);
    trigger(window->mediator().commands(), "edit.undo");
    EXPECT_EQ(stack->getModel(2).getItem(0).getSize(), 6);
    EXPECT_EQ(stack->getModel(3).getNumItems(), 1);
    EXPECT_FALSE(stack->history()->isUndoable());
}

TEST_F(ModelFilterTest, marksInSpaceLastAsLongAsThePreview) {
    trigger(window->mediator().commands(), "stack.reconstruct");
    QPointer<VRLRenderingWindow> scene;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* const found = qobject_cast<VRLRenderingWindow*>(widget))
            scene = found;
    ASSERT_TRUE(scene);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(scene));
    const auto magentas = [&] {
        QCoreApplication::processEvents();
        const QImage picture = scene->getCanvas().grabFramebuffer();
        int n = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x) {
                const QRgb pixel = picture.pixel(x, y);
                n += qRed(pixel) > 200 && qGreen(pixel) < 60 && qBlue(pixel) > 200 ? 1 : 0;
            }
        return n;
    };
    EXPECT_EQ(magentas(), 0);
    ModalScript script;
    script.then([&](QWidget& dialog) {
        chooseAll(dialog);
        EXPECT_GT(magentas(), 10);
        if (const QString pictures = qEnvironmentVariable("VORLEN_PICTURES"); !pictures.isEmpty())
            scene->grab().save(pictures + "/filterscene.png");
        // The stack goes: so does the window, and nothing is marked any more.
        VRLStackServer::stackServer.removeStack(*stack);
    });
    run();
    QCoreApplication::processEvents(); // the window goes, if it does
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (scene) {
        EXPECT_EQ(magentas(), 0);
        delete scene;
    }
}

} // namespace vorlen
