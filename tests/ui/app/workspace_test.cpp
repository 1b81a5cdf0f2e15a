#include "ui/app/workspace.h"

#include <QApplication>
#include <QDockWidget>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>
#include <QTreeView>

#include <gtest/gtest.h>

#include "editing/history/vrlactionhistory.h"
#include "editing/operations/itemoperations.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/commands.h"
#include "support/documentmaker.h"
#include "ui/app/historypanel.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/models/modelpanel.h"
#include "ui/models/modelviews.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"

namespace vorlen {

/// A main window with a stack of five slices and no models, that is not open yet.
class WorkspaceTest : public ::testing::Test {
protected:
    WorkspaceTest() {
        QSettings().clear();
        Image image(40, 30, 8);
        image.clear();
        ImageWriter().write(image, folder.filePath("i.tif").toStdString(), true);
        QFile file(folder.filePath("five.sdf"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("FileFormatVersion 1.03;\nSTACK \"five\";\n");
        for (int i = 0; i < 5; ++i)
            file.write("SLICE \"s" + QByteArray::number(i) + "\" \"i.tif\";\n");
        window = new VRLRootWindow;
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window));
    }
    ~WorkspaceTest() override {
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
        delete window;
        QSettings().clear();
    }

    VRLStack& open() {
        window->mediator().openStack(folder.filePath("five.sdf"));
        return *window->mediator().currentStack();
    }
    Workspace& workspace() { return window->workspace(); }
    VRLRootSliceEditWidgetMediator& editor() { return window->sliceWidget().getMediator(); }
    void trigger(const char* id) { vorlen::trigger(window->mediator().commands(), id); }
    std::string slice() { return window->mediator().currentSlice()->getName(); }
    bool isShown(const char* button) { return workspace().findChild<QPushButton*>(button)->isVisible(); }
    QStringList steps() {
        QCoreApplication::processEvents();
        QStringList texts;
        const auto& list = *workspace().history().findChild<QListWidget*>();
        for (int row = 0; row < list.count(); ++row)
            texts += list.item(row)->text();
        return texts;
    }

    QTemporaryDir folder;
    VRLRootWindow* window;
};

TEST_F(WorkspaceTest, whatIsToBeDoneFirstIsSaidOverTheSlice) {
    EXPECT_TRUE(isShown("firstOpen") && isShown("firstNew"));
    EXPECT_FALSE(isShown("newModelOverSlice"));
    VRLStack& stack = open();
    EXPECT_FALSE(isShown("firstOpen") || isShown("firstNew"));
    ASSERT_TRUE(isShown("newModelOverSlice"));
    workspace().findChild<QPushButton*>("newModelOverSlice")->click();
    EXPECT_EQ(stack.getNumModels(), 1);
    EXPECT_EQ(editor().modelViews().getCurrent(), &stack.getModel(0));
    EXPECT_FALSE(isShown("newModelOverSlice"));
    trigger("edit.undo");
    QCoreApplication::processEvents();
    EXPECT_TRUE(isShown("newModelOverSlice"));
    stack.setModified(false);
    trigger("stack.close");
    EXPECT_TRUE(isShown("firstOpen"));
}

TEST_F(WorkspaceTest, docksCloseAndComeBackWhereTheyWere) {
    EXPECT_TRUE(workspace().modelDock().isVisible());
    trigger("show.models");
    EXPECT_TRUE(workspace().modelDock().isHidden());
    trigger("show.models");
    EXPECT_FALSE(workspace().modelDock().isHidden());
    workspace().historyDock().close();
    EXPECT_FALSE(window->mediator().commands().action("show.history").isChecked());
    workspace().removeDockWidget(&workspace().modelDock());
    workspace().addDockWidget(Qt::LeftDockWidgetArea, &workspace().modelDock());
    workspace().modelDock().show();
    delete window;
    window = new VRLRootWindow;
    EXPECT_EQ(workspace().dockWidgetArea(&workspace().modelDock()), Qt::LeftDockWidgetArea);
    EXPECT_TRUE(workspace().historyDock().isHidden());
    EXPECT_TRUE(window->mediator().commands().action("show.models").isChecked());
}

TEST_F(WorkspaceTest, theHistoryListsStepsAndGoesToEach) {
    VRLStack& stack = open();
    trigger("model.new");
    Model& model = stack.getModel(0);
    for (int k = 0; k < 2; ++k)
        ASSERT_TRUE(createItem(stack, stack.getSlice(0), model, makeVertices({{1, 1}, {1, 9}, {9, 9 + k}})));
    const QStringList all = steps();
    ASSERT_EQ(all.size(), 4);
    for (const QString& step : all)
        EXPECT_FALSE(step.contains("No description")) << step.toStdString();
    auto& list = *workspace().history().findChild<QListWidget*>();
    EXPECT_EQ(list.currentRow(), 3);
    emit list.itemActivated(list.item(1));
    EXPECT_EQ(steps(), all);
    EXPECT_EQ(list.currentRow(), 1);
    EXPECT_EQ(model.getNumItems(), 0);
    EXPECT_EQ(stack.getNumModels(), 1);
    emit list.itemActivated(list.item(3));
    QCoreApplication::processEvents();
    EXPECT_EQ(stack.getModel(0).getNumItems(), 2);
    emit list.itemActivated(list.item(0));
    QCoreApplication::processEvents();
    EXPECT_EQ(stack.getNumModels(), 0);
    stack.setModified(false);
}

TEST_F(WorkspaceTest, twoSlicesAreFlippedAndThoseThatLackTheModelReached) {
    VRLStack& stack = open();
    EXPECT_EQ(slice(), "s0");
    trigger("slice.last");
    trigger("slice.flip");
    EXPECT_EQ(slice(), "s0");
    trigger("slice.flip");
    EXPECT_EQ(slice(), "s4");
    trigger("model.new");
    for (const int rank : {0, 3, 4})
        ASSERT_TRUE(createItem(stack, stack.getSlice(rank), stack.getModel(0), makeVertices({{1, 1}, {1, 9}, {9, 9}})));
    trigger("slice.nextLacking");
    EXPECT_EQ(slice(), "s1");
    trigger("slice.nextLacking");
    EXPECT_EQ(slice(), "s2");
    trigger("slice.nextLacking");
    EXPECT_EQ(slice(), "s1");
    stack.setModified(false);
}

TEST_F(WorkspaceTest, theCanvasHasTheKeyboardAndLettersBesideItAreTyped) {
    VRLStack& stack = open();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    QWidget& canvas = editor().getCanvas();
    EXPECT_TRUE(canvas.hasFocus());
    QTest::keyClick(&canvas, Qt::Key_PageUp);
    EXPECT_EQ(slice(), "s1");
    QTest::keyClick(&canvas, Qt::Key_F);
    EXPECT_EQ(slice(), "s0");
    QTest::keyClick(&canvas, Qt::Key_D);
    EXPECT_EQ(editor().getChosenTool(), "tool.draw");
    trigger("model.new");
    auto* const editing = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_NE(editing, nullptr);
    QTest::keyClicks(editing, "qbf");
    EXPECT_EQ(editor().getChosenTool(), "tool.draw");
    EXPECT_EQ(slice(), "s0");
    QTest::keyClick(editing, Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(stack.getModel(0).getName(), "qbf");
    stack.setModified(false);
}

TEST_F(WorkspaceTest, theToolBarShowsTheToolThatIsOn) {
    open();
    for (QAction* const action : workspace().tools().actions())
        EXPECT_TRUE(action->isSeparator() || !action->icon().isNull()) << action->text().toStdString();
    editor().chooseTool("tool.brush");
    int numChecked = 0;
    for (QAction* const action : workspace().tools().actions())
        if (action->isChecked()) {
            ++numChecked;
            EXPECT_EQ(action->text(), "Brush");
        }
    EXPECT_EQ(numChecked, 1);
}

TEST_F(WorkspaceTest, theImagesOfTheNeighboursAreThereAtOnce) {
    VRLStack& stack = open();
    const VRLImageProxy& proxy = editor().getCanvas().getImageProxy();
    bool isThere = false;
    for (int attempt = 1; attempt <= 10 && !isThere; ++attempt) { // the neighbours are read when there is time
        window->mediator().setSlice(stack.getSlice(2));
        ASSERT_TRUE(QTest::qWaitFor([&proxy] { return proxy.hasImage(); }, 20000));
        QTest::qWait(100 * attempt);
        window->mediator().setSlice(stack.getSlice(3));
        isThere = proxy.hasImage();
    }
    EXPECT_TRUE(isThere);
    window->mediator().setSlice(stack.getSlice(2)); // it was left a moment ago
    EXPECT_TRUE(proxy.hasImage());
    ASSERT_TRUE(deleteSlices(stack, {&stack.getSlice(2)})); // which is one of them
    QCoreApplication::processEvents();
    trigger("edit.undo");
    stack.setModified(false);
}

} // namespace vorlen
