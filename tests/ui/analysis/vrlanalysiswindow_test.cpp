#include "ui/analysis/vrlanalysiswindow.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QPointer>
#include <QSettings>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/commands.h"
#include "support/modalscript.h"
#include "ui/analysis/analysiscommands.h"
#include "ui/analysis/analysisstack.h"
#include "ui/analysis/modeldistanceswidget.h"
#include "ui/analysis/vrlanalysiswindowmediator.h"
#include "ui/analysis/vrlmodelanalysiswidget.h"
#include "ui/analysis/vrlmodelitemanalysistable.h"
#include "ui/analysis/vrlmodelitemanalysiswidget.h"
#include "ui/analysis/vrlsliceanalysistable.h"
#include "ui/models/vrlmodellistwidget.h"

namespace vorlen {

namespace {

class VRLAnalysisWindowTest : public ::testing::Test {
protected:
    VRLAnalysisWindowTest() {
        QSettings().clear();
        window = open();
        window->setStack(*stack);
    }
    ~VRLAnalysisWindowTest() override { delete window; }

    static VRLAnalysisWindow* open() {
        auto* opened = new VRLAnalysisWindow;
        EXPECT_TRUE(QTest::qWaitForWindowExposed(opened));
        activate(*opened);
        return opened;
    }

    static void activate(QWidget& widget) {
        widget.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&widget));
    }

    QTabWidget& tabs() { return *window->findChild<QTabWidget*>(); }
    QTabWidget& modelTabs() { return *window->findChild<VRLModelAnalysisWidget*>()->findChild<QTabWidget*>(); }
    VRLModelListWidget& list() { return *window->findChild<VRLModelListWidget*>(); }
    VRLModelItemAnalysisTable& items() { return *window->findChild<VRLModelItemAnalysisTable*>(); }
    VRLSliceAnalysisTable& slices() { return *window->findChild<VRLSliceAnalysisTable*>(); }

    void choose(const char* model) { list().setCurrentItem(list().findItems(model, Qt::MatchExactly).at(0)); }
    void press(Qt::Key key) {
        activate(*window); // without a window manager nobody does after a dialog
        QTest::keyClick(window, key, Qt::ControlModifier);
    }
    QByteArray contents(const char* name) {
        QFile file(folder.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "missing";
    }

    const QTemporaryDir folder;
    std::unique_ptr<VRLStack> stack = makeAnalysisStack();
    QPointer<VRLAnalysisWindow> window;
};

} // namespace

TEST_F(VRLAnalysisWindowTest, hasASheetForItemsSlicesAndModels) {
    EXPECT_EQ(window->windowTitle(), "Vorlen - Analysis");
    expectSound(*window, window->commands(), analysisCommands());
    ASSERT_EQ(tabs().count(), 3);
    EXPECT_EQ(tabs().tabText(0), "Items");
    EXPECT_EQ(tabs().tabToolTip(1), "Displays analysis of 2D slices contents");
    EXPECT_EQ(tabs().tabText(2), "Models");
    EXPECT_EQ(slices().rowCount(), 12);
    EXPECT_EQ(list().count(), 5);
    const char* titles[] = {"Closed surfaces", "Open surfaces", "Point clouds"};
    const int numModels[] = {3, 1, 1};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(modelTabs().tabText(i), titles[i]);
        EXPECT_EQ(qobject_cast<QTableWidget*>(modelTabs().widget(i))->rowCount(), numModels[i]);
    }
    VRLAnalysisWindowMediator mediator;
    EXPECT_THROW(mediator.initialize(), UsageError);
}

TEST_F(VRLAnalysisWindowTest, theItemsOfTheChosenModelAreShown) {
    EXPECT_EQ(items().columnCount(), 0);
    choose("dots");
    EXPECT_EQ(items().rowCount(), 5);
    EXPECT_EQ(items().columnCount(), 4);
    choose("tube");
    EXPECT_EQ(columnText(items(), 0), "s0 s2 s10");
    list().clearSelection();
    EXPECT_EQ(items().rowCount(), 3); // keeps what it shows

    // A snapshot of the moment of choosing.
    addItem(stack->getModel(0), stack->getSlice(5), {{0, 0}, {1, 0}, {1, 1}});
    EXPECT_EQ(items().rowCount(), 3);
    EXPECT_EQ(columnText(slices(), 1), "1 0 1 0 0 0 0 0 0 0 1 0");
    choose("line");
    choose("tube");
    EXPECT_EQ(items().rowCount(), 4);

    // A model that has gone is not measured, nor is another one in its stead.
    stack->deleteModel(stack->findModel("pair"));
    choose("pair");
    EXPECT_EQ(items().rowCount(), 0);
    EXPECT_EQ(items().columnCount(), 0);
    choose("dots");
    EXPECT_EQ(items().rowCount(), 5);
    window->setStack(*stack);
    EXPECT_EQ(list().count(), 4);
    EXPECT_EQ(items().columnCount(), 0);
}

TEST_F(VRLAnalysisWindowTest, theStackMayBeClosedBeforeTheWindow) {
    choose("tube");
    stack.reset();
    EXPECT_FALSE(list().isEnabled());
    choose("dots");
    EXPECT_EQ(columnText(items(), 0), "s0 s2 s10");
    items().sortItems(0, Qt::DescendingOrder);
    EXPECT_EQ(columnText(items(), 0), "s10 s2 s0");
    stack = makeAnalysisStack();
    window->setStack(*stack);
    EXPECT_TRUE(list().isEnabled());
    choose("line");
    EXPECT_EQ(items().rowCount(), 1);
}

TEST_F(VRLAnalysisWindowTest, copyTakesTheSelectionOfTheSheetInFront) {
    QClipboard& clipboard = *QGuiApplication::clipboard();
    clipboard.setText("before");
    press(Qt::Key_C);
    EXPECT_EQ(clipboard.text(), "before"); // nothing selected
    choose("tube");
    items().setRangeSelected(QTableWidgetSelectionRange(0, 2, 1, 3), true);
    items().setFocus();
    press(Qt::Key_C);
    EXPECT_EQ(clipboard.text(), "\"Length [mm]\"\t\"Area [mm^2]\"\n28\t48\n28\t48");
    QTest::keyClick(&items(), Qt::Key_C, Qt::ControlModifier); // not the table's own, of one cell
    EXPECT_EQ(clipboard.text(), "\"Length [mm]\"\t\"Area [mm^2]\"\n28\t48\n28\t48");

    tabs().setCurrentIndex(1);
    slices().setRangeSelected(QTableWidgetSelectionRange(10, 0, 11, 1), true);
    press(Qt::Key_C);
    EXPECT_EQ(clipboard.text(), "\"Slice\"\t\"tube\"\ns10\t1\ns11\t0");
    tabs().setCurrentIndex(2);
    for (int tab : {1, 2}) {
        modelTabs().setCurrentIndex(tab);
        qobject_cast<QTableWidget*>(modelTabs().widget(tab))->selectAll();
        press(Qt::Key_C);
        EXPECT_EQ(clipboard.text().section('\n', 1).section('\t', 0, 1), tab == 1 ? "line\t3" : "dots\t5");
    }
}

// The surface of "tube" reaches from 0 to 110 mm along the stack, that of "pair" beside it and within.
TEST_F(VRLAnalysisWindowTest, distancesAreMeasuredFromTheModelThatIsChosen) {
    tabs().setCurrentIndex(2);
    modelTabs().setCurrentIndex(3);
    EXPECT_EQ(modelTabs().tabText(3), "Distances");
    auto& models = *window->findChild<QComboBox*>("distances.model");
    auto& note = *window->findChild<QLabel*>("distances.note");
    const VRLTableWidget& table = window->findChild<ModelDistancesWidget*>()->getTable();
    ASSERT_EQ(models.count(), 2);
    EXPECT_EQ(models.currentIndex(), -1);
    EXPECT_TRUE(note.isVisible());
    EXPECT_EQ(note.text().toStdString(),
              "Choose a model to measure how far the surfaces of the others lie from its own. "
              "Left out: \"line\" (it has one line only), \"dots\" (points have no surface), "
              "\"nothing\" (it has no contours).");
    ModalScript script;
    script.thenClick("OK");
    press(Qt::Key_S);
    EXPECT_EQ(script.seen.back(), "Save table: There is nothing to save: choose a model first.");

    stack.reset(); // the surfaces are there
    models.setFocus();
    QTest::keyClick(&models, Qt::Key_Down);
    ASSERT_EQ(table.rowCount(), 1);
    EXPECT_EQ(table.horizontalHeaderItem(2)->text(), "Least\n[mm]");
    EXPECT_EQ(columnText(table, 0), "pair");
    EXPECT_EQ(columnText(table, 1), "both closed");
    EXPECT_EQ(columnText(table, 2), "0"); // they touch
    EXPECT_EQ(note.text().left(10), "Left out: ");
    QTest::keyClick(&models, Qt::Key_Down);
    EXPECT_EQ(columnText(table, 0), "tube");

    stack = std::make_unique<VRLStack>();
    window->setStack(*stack);
    EXPECT_EQ(table.rowCount(), 0);
    EXPECT_FALSE(models.isEnabled());
    EXPECT_EQ(note.text(), "There are no distances: they take two models that have a surface.");
}

TEST_F(VRLAnalysisWindowTest, saveWritesTheSheetInFrontAsItIsShown) {
    ModalScript script;
    script.thenClick("OK"); // no model is chosen: nothing to save
    press(Qt::Key_S);
    EXPECT_EQ(script.seen.back(), "Save table: There is nothing to save: choose a model in the list first.");

    choose("dots");
    items().sortItems(1, Qt::DescendingOrder);
    script.thenChoose({folder.filePath("dots.txt")});
    press(Qt::Key_S);
    EXPECT_EQ(script.seen.back(), "Save table");
    EXPECT_EQ(contents("dots.txt"), "\"Slice\"\t\"X [mm]\"\t\"Y [mm]\"\t\"Z [mm]\"\ns4\t200\t27\t45\ns2\t40\t12\t25\n"
                                    "s4\t14\t24\t45\ns2\t10\t18\t25\ns2\t2\t6\t25");
    tabs().setCurrentIndex(1);
    script.thenReject();
    press(Qt::Key_S);
    tabs().setCurrentIndex(2);
    const QString missing = folder.filePath("missing/t.txt");
    script.thenChoose({missing});
    script.thenClick("OK");
    press(Qt::Key_S);
    EXPECT_EQ(script.seen.back(), "Write error: Cannot write " + missing.toStdString());
    script.thenChoose({folder.filePath("models.txt")});
    press(Qt::Key_S);
    EXPECT_EQ(contents("models.txt").left(19), "\"Model\"\t\"Vertices\"\t");
    EXPECT_EQ(contents("models.txt").count('\n'), 3);
}

TEST_F(VRLAnalysisWindowTest, windowsStandSideBySideAndFreeThemselves) {
    QPointer<VRLAnalysisWindow> second = open();
    VRLStack other;
    addSlices(other, 1);
    second->setStack(other);
    choose("tube");
    EXPECT_EQ(second->findChild<VRLSliceAnalysisTable*>()->rowCount(), 1);
    EXPECT_EQ(second->findChild<VRLModelListWidget*>()->count(), 0);
    EXPECT_EQ(slices().rowCount(), 12);
    EXPECT_EQ(items().rowCount(), 3);
    QTest::keyClick(second, Qt::Key_W, Qt::ControlModifier);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(second.isNull());
    ASSERT_FALSE(window.isNull());
    window->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(window.isNull());
}

TEST_F(VRLAnalysisWindowTest, positionAndSizeAreKept) {
    EXPECT_EQ(window->size(), QSize(1067, 800)); // two thirds of the screen
    window->move(120, 90);
    window->resize(700, 500);
    QTest::qWait(50);
    EXPECT_EQ(QSettings().value("analysisWindow/pos").toPoint(), QPoint(120, 90));
    EXPECT_EQ(QSettings().value("analysisWindow/size").toSize(), QSize(700, 500));
    delete window;
    window = open();
    EXPECT_EQ(window->pos(), QPoint(120, 90));
    EXPECT_EQ(window->size(), QSize(700, 500));
    delete window;
    QSettings().setValue("analysisWindow/pos", QPoint(9000, 90)); // of a screen that is gone
    window = open();
    EXPECT_EQ(window->pos(), QPoint(0, 0));
}

} // namespace vorlen
