#include "ui/app/workspace.h"

#include <algorithm>
#include <string>
#include <vector>

#include <QApplication>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QToolBar>
#include <QTreeView>

#include <gtest/gtest.h>

#include "editing/history/vrlactionhistory.h"
#include "editing/operations/copyoperations.h"
#include "editing/operations/itemoperations.h"
#include "editing/operations/modeloperations.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/commands.h"
#include "support/dialogdriver.h"
#include "support/documentmaker.h"
#include "support/modalscript.h"
#include "ui/app/guidewindow.h"
#include "ui/app/historypanel.h"
#include "ui/app/vrlrootbrowser.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootstatusbar.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/commands/chosenkeys.h"
#include "ui/cuts/cutspanel.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/models/modelpanel.h"
#include "ui/models/modelviews.h"
#include "ui/models/vrlslicelistwidget.h"
#include "ui/scenes/scenepanel.h"
#include "ui/scenes/vrlrenderingmediator.h"
#include "ui/session/crosshair.h"
#include "ui/slices/slicecommands.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/widgets/elidedline.h"

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
        Crosshair::crosshair().setShown(false);
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
    window->resize(800, 600); // of a small screen: the sentence is no column beside its buttons
    const QPushButton* const button = workspace().findChild<QPushButton*>("firstSample");
    const QLabel* const sentence = button->parentWidget()->findChild<QLabel*>();
    EXPECT_TRUE(QTest::qWaitFor([&] { return sentence->width() > button->parentWidget()->width() * 3 / 4; }));
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

TEST_F(WorkspaceTest, theSampleIsMadeOnceAndOpenedAsItIs) {
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(folder.path()));
    const QString documents = folder.filePath("Documents");
    ASSERT_TRUE(QFile(documents).open(QIODevice::WriteOnly)); // a file where a folder should be
    {
        const Answers answers({"OK"});
        trigger("help.sample");
        EXPECT_TRUE(answers.texts.at(0).contains("Open sample stack") && answers.texts[0].contains(documents))
            << answers.texts[0].toStdString();
    }
    QFile::remove(documents);

    workspace().findChild<QPushButton*>("firstSample")->click();
    EXPECT_FALSE(window->mediator().commands().action("help.sample").isEnabled());
    EXPECT_TRUE(QTest::qWaitFor([&] { return window->mediator().currentStack() != nullptr; }, 60000));
    VRLStack& stack = *window->mediator().currentStack();
    EXPECT_EQ(stack.getNumSlices(), 48);
    EXPECT_FALSE(isShown("firstSample"));
    EXPECT_EQ(QDir(documents).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList("Vorlen sample"));
    // What the user does with it stays.
    deleteModels(stack, {&stack.getModel(0)});
    trigger("stack.save");
    trigger("stack.close");
    trigger("help.sample");
    ASSERT_NE(window->mediator().currentStack(), nullptr);
    EXPECT_EQ(window->mediator().currentStack()->getNumModels(), 4);
    qputenv("HOME", home);
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

TEST_F(WorkspaceTest, aChangedKeyChoosesTheToolInAllWindows) {
    open();
    auto* const second = new VRLRootWindow;
    second->mediator().setStack(*window->mediator().currentStack());
    const CommandInfo& brush = *sliceEditorCommands().find("tool.brush");
    ChosenKeys::instance().choose(sliceEditorCommands().window, brush, "X");
    for (VRLRootWindow* const each : {window, second}) {
        each->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(each));
        VRLRootSliceEditWidgetMediator& mediator = each->sliceWidget().getMediator();
        mediator.getCanvas().setFocus();
        QTest::keyClick(&mediator.getCanvas(), Qt::Key_B);
        EXPECT_EQ(mediator.getChosenTool(), "tool.select");
        QTest::keyClick(&mediator.getCanvas(), Qt::Key_X);
        EXPECT_EQ(mediator.getChosenTool(), "tool.brush");
    }
    delete second;
    ChosenKeys::instance().resetAll();
    EXPECT_EQ(editor().getCommand("tool.brush").shortcut(), QKeySequence("B"));
}

TEST_F(WorkspaceTest, docksComeBackInTheirSizes) {
    workspace().resizeDocks({&workspace().modelDock()}, {workspace().width() * 2 / 5}, Qt::Horizontal);
    workspace().resizeDocks({&workspace().modelDock(), &workspace().optionsDock()}, {300, 100}, Qt::Vertical);
    QTest::qWait(50);
    const QSize models = workspace().modelDock().size(), options = workspace().optionsDock().size();
    ASSERT_GT(models.height(), 2 * options.height());
    delete window;
    window = new VRLRootWindow;
    QTest::qWait(300);
    EXPECT_EQ(workspace().modelDock().size(), models);
    EXPECT_EQ(workspace().optionsDock().size(), options);
}

TEST_F(WorkspaceTest, theToolOptionsStandInADockThatComesAndGoes) {
    open();
    EXPECT_TRUE(workspace().optionsDock().isVisible());
    editor().chooseTool("tool.brush");
    EXPECT_NE(workspace().optionsDock().findChild<QWidget*>("brush.size"), nullptr);
    trigger("show.toolOptions");
    EXPECT_TRUE(workspace().optionsDock().isHidden());
    editor().chooseTool("tool.wire"); // also while it is hidden
    trigger("show.toolOptions");
    QWidget* const reach = workspace().optionsDock().findChild<QWidget*>("wire.reach");
    ASSERT_NE(reach, nullptr);
    EXPECT_TRUE(QTest::qWaitFor([reach] { return reach->isVisible(); }));
}

TEST_F(WorkspaceTest, theToolOptionsGetTheHeightThatTheyNeed) {
    open();
    window->resize(1200, 800);
    const auto* const view = static_cast<QScrollArea*>(workspace().optionsDock().widget());
    const auto allSeen = [view] { return view->verticalScrollBar()->maximum() == 0; };
    ASSERT_TRUE(QTest::qWaitFor(allSeen));
    for (const char* tool : {"tool.brush", "tool.automatic", "tool.snake"}) {
        editor().chooseTool(tool);
        EXPECT_TRUE(QTest::qWaitFor(allSeen, 2000)) << tool;
    }
    const int height = workspace().optionsDock().height();
    editor().chooseTool("tool.select");
    QTest::qWait(100);
    EXPECT_EQ(workspace().optionsDock().height(), height); // the panel does not jump at each tool
}

TEST_F(WorkspaceTest, theOutlinesHaveAMenuToBeFoundIn) {
    EXPECT_EQ(window->focusWidget(), &editor().getCanvas()); // before anything is opened
    VRLStack& stack = open();
    trigger("model.new");
    auto* const outlines = window->findChild<QMenu*>("menu.outlines");
    ASSERT_NE(outlines, nullptr);
    emit qobject_cast<QMenu*>(outlines->parent())->aboutToShow();
    EXPECT_TRUE(outlines->isEnabled());
    const auto entry = [outlines](const QString& text) -> QAction& {
        for (QAction* const each : outlines->actions())
            if (each->text().remove('&') == text)
                return *each;
        throw std::runtime_error("no such entry");
    };
    EXPECT_FALSE(entry("Delete").isEnabled());
    ASSERT_TRUE(createItem(stack, stack.getSlice(0), stack.getModel(0), makeVertices({{1, 1}, {1, 9}, {9, 9}})));
    window->mediator().setSlice(stack.getSlice(0));
    entry("Select all").trigger();
    EXPECT_TRUE(entry("Delete").isEnabled());
    entry("Copy to next slice").trigger();
    EXPECT_EQ(stack.getSlice(1).getNumItems(), 1);
    const auto hint = [this] { return editor().getStatusBar()->getHint().toStdString(); };
    EXPECT_EQ(hint().find("there are two"), std::string::npos);
    trigger("slice.previous");
    entry("Select all").trigger();
    entry("Copy to next slice").trigger();
    EXPECT_EQ(stack.getSlice(1).getNumItems(), 2);
    EXPECT_NE(hint().find("there are two"), std::string::npos) << hint();
    entry("Select all").trigger();
    entry("Delete").trigger();
    EXPECT_EQ(stack.getSlice(1).getNumItems(), 0);
    trigger("view.panorama");
    emit qobject_cast<QMenu*>(outlines->parent())->aboutToShow();
    EXPECT_FALSE(outlines->isEnabled()); // the slice is not seen
}

TEST_F(WorkspaceTest, theKeysOfTheToolsActBesideTheListsAndPagingTakesAnAutomaticOutline) {
    Image image(40, 30, 8);
    image.clear();
    for (int y = 8; y < 22; ++y)
        std::fill_n(image.getPixels()[y] + 10, 20, static_cast<unsigned char>(200));
    ImageWriter().write(image, folder.filePath("i.tif").toStdString(), true);
    VRLStack& stack = open();
    trigger("model.new");
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    VRLSliceEditWidgetCanvas& canvas = editor().getCanvas();
    ASSERT_TRUE(QTest::qWaitFor([&canvas] { return canvas.getImageProxy().hasImage(); }, 20000));
    auto& slices = *window->browser().sliceList().findChild<QListWidget*>();
    QTest::mouseClick(slices.viewport(), Qt::LeftButton, {}, slices.visualItemRect(slices.item(3)).center());
    EXPECT_EQ(slice(), "s1");
    QTest::keyClick(&slices, Qt::Key_A);
    EXPECT_EQ(editor().getChosenTool(), "tool.automatic");
    EXPECT_TRUE(canvas.hasFocus());

    ASSERT_TRUE(QTest::qWaitFor([&canvas] { return canvas.getImageProxy().hasImage(); }, 20000));
    const auto clickOnStructure = [&canvas] {
        QTest::mouseClick(&canvas, Qt::LeftButton, {}, canvas.convertToPosition({20, 15}).toPoint());
    };
    clickOnStructure();
    trigger("slice.next");
    EXPECT_EQ(slice(), "s2");
    ASSERT_EQ(stack.getSlice(1).getNumItems(), 1);
    EXPECT_NE(window->statusBar().message().indexOf("on s1 was taken"), -1);
    ASSERT_TRUE(QTest::qWaitFor([&canvas] { return canvas.getImageProxy().hasImage(); }, 20000));
    clickOnStructure();
    slices.setCurrentRow(0);
    EXPECT_EQ(stack.getSlice(2).getNumItems(), 1);
    // Undoing is no paging: nothing is taken that would end what can be redone.
    clickOnStructure();
    trigger("edit.undo");
    EXPECT_EQ(slice(), "s2");
    EXPECT_EQ(stack.getSlice(4).getNumItems(), 0);
    EXPECT_TRUE(stack.history()->isRedoable());
    stack.setModified(false);
}

TEST_F(WorkspaceTest, theOptionsGoBehindTheModelsWhereTheScreenIsTooLowForAllPanes) {
    open();
    QDockWidget& options = workspace().optionsDock();
    const auto behind = [&] { return workspace().tabifiedDockWidgets(&workspace().modelDock()); };
    trigger("show.panes");
    EXPECT_FALSE(behind().contains(&options));
    workspace().cutsDock().hide();
    workspace().sceneDock().hide();
    options.setMinimumHeight(options.screen()->availableGeometry().height());
    trigger("show.panes");
    EXPECT_TRUE(behind().contains(&options));
    EXPECT_TRUE(workspace().cutsDock().isVisible());
    EXPECT_TRUE(workspace().models().isVisible());
}

TEST_F(WorkspaceTest, theModelsDialogBeginsWithTheCurrentModel) {
    VRLStack& stack = open();
    trigger("model.new");
    ModalScript user;
    user.then([&stack](QWidget& dialog) {
        const auto* const list = dialog.findChild<QListWidget*>();
        ASSERT_EQ(list->selectedItems().size(), 1);
        EXPECT_EQ(list->selectedItems().first()->text().toStdString(), stack.getModel(0).getName());
        EXPECT_TRUE(dialog.findChild<QLineEdit*>()->isEnabled());
        ModalScript::click(dialog, "Close");
    });
    trigger("models.edit");
    EXPECT_EQ(user.seen.size(), 1U);
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
    const QString name = QString::fromStdString(model.getName());
    EXPECT_EQ(all[1], "Create model (" + name + ")");
    EXPECT_EQ(all[3], "Item creation (" + name + ", s0)");
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
    stack.getSlice(0).getItem(0).getSelection().set(true);
    ASSERT_TRUE(copySelection(stack, stack.getSlice(0), {&stack.getSlice(1), &stack.getSlice(2)}));
    EXPECT_EQ(steps().last(), "Item creation (" + name + ", s1 and 1 more)");
    stack.history()->undo();
    EXPECT_EQ(steps().last(), "Item creation (" + name + ", s1 and 1 more)"); // to be redone
    emit list.itemActivated(list.item(0));
    QCoreApplication::processEvents();
    EXPECT_EQ(stack.getNumModels(), 0);
    stack.setModified(false);
}

TEST_F(WorkspaceTest, thePanelsLookTheSameOverAStrokeAndTurnGreyWhereTheLockLasts) {
    VRLStack& stack = open();
    trigger("model.new");
    const auto seen = [this] {
        QTest::qWait(50);
        std::vector<QImage> images;
        for (const QWidget* const panel :
             {static_cast<QWidget*>(&workspace().models()), static_cast<QWidget*>(&window->toolBar()),
              static_cast<QWidget*>(&window->browser())}) {
            const QPoint corner = panel->mapTo(window, QPoint());
            images.push_back(panel->screen()
                                 ->grabWindow(window->winId(), corner.x(), corner.y(), panel->width(), panel->height())
                                 .toImage());
        }
        return images;
    };
    VRLSliceEditWidgetCanvas& canvas = editor().getCanvas();
    const VRLImageProxy& proxy = canvas.getImageProxy();
    ASSERT_TRUE(QTest::qWaitFor([&proxy] { return proxy.hasImage(); }, 20000));
    editor().chooseTool("tool.draw");
    canvas.setFocus();
    QTest::qWait(300);
    const std::vector<QImage> before = seen();
    const QPoint middle = canvas.rect().center();
    QTest::mouseClick(&canvas, Qt::LeftButton, {}, middle);
    ASSERT_TRUE(window->mediator().isLocked());
    EXPECT_FALSE(window->browser().sliceList().isEnabled());
    if (const std::vector<QImage> during = seen(); !window->browser().sliceList().updatesEnabled()) {
        EXPECT_EQ(before, during);
    } // else the machine was too busy to look in time
    EXPECT_TRUE(QTest::qWaitFor([&] {
        const std::vector<QImage> lasting = seen();
        return lasting[0] != before[0] && lasting[1] != before[1] && lasting[2] != before[2];
    }));
    editor().getCommand("tool.cancel").trigger();
    EXPECT_FALSE(window->mediator().isLocked());
    stack.setModified(false);
}

TEST_F(WorkspaceTest, whatWasToldOfAStepGoesWithTheNextOneOrAnotherSlice) {
    VRLStack& stack = open();
    trigger("model.new");
    const auto draw = [&stack](int y) {
        ASSERT_TRUE(createItem(stack, stack.getSlice(0), stack.getModel(0), makeVertices({{1, 1}, {1, 9}, {9, y}})));
    };
    const auto said = [this] { return window->statusBar().message().toStdString(); };
    draw(5);
    trigger("edit.undo");
    EXPECT_TRUE(said().starts_with("Undone: ")) << said();
    draw(6);
    EXPECT_EQ(said(), "");
    trigger("edit.undo");
    EXPECT_TRUE(said().starts_with("Undone: "));
    trigger("slice.next");
    EXPECT_EQ(said(), "");
    // What has no room ends in dots, and is read in the tip.
    const QString notice = QString("A long message ").repeated(30);
    window->statusBar().setMessage(notice);
    const auto lines = window->statusBar().findChildren<ElidedLine*>();
    ASSERT_EQ(lines.size(), 1);
    EXPECT_EQ(lines[0]->text(), notice);
    EXPECT_EQ(lines[0]->toolTip(), notice);
    const QImage cut = lines[0]->grab().toImage();
    window->statusBar().setMessage(notice.left(notice.size() / 2)); // which begins and ends alike
    EXPECT_EQ(cut, lines[0]->grab().toImage());
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

TEST_F(WorkspaceTest, aPlaceInACutIsGoneToAndTheDockComesAndGoes) {
    VRLStack& stack = open();
    EXPECT_TRUE(workspace().cutsDock().isHidden());
    trigger("show.cuts");
    CutsPanel& cuts = workspace().cuts();
    ASSERT_TRUE(QTest::qWaitFor([&cuts] { return cuts.isVisible() && cuts.isComplete(); }, 60000));
    cuts.repaint();
    QTest::mouseClick(&cuts, Qt::LeftButton, {}, cuts.positionOf(0, {0, 0, 0, 3}).toPoint());
    EXPECT_EQ(slice(), "s3"); // of slices that have no spacing
    const auto place = Crosshair::crosshair().placeIn(stack);
    ASSERT_TRUE(place);
    EXPECT_NEAR(place->x, 0, 1);
    EXPECT_FALSE(Crosshair::crosshair().isShown()); // not for that
    workspace().cutsDock().close();
    EXPECT_FALSE(window->mediator().commands().action("show.cuts").isChecked());
}

TEST_F(WorkspaceTest, sliceCutsAndSceneStandSideBySideAndAreLinked) {
    VRLStack& stack = open();
    Model& model = addModel(stack, "cube");
    model.getProperties().setBeginCapFlag(true);
    model.getProperties().setEndCapFlag(true);
    for (int i = 0; i < 5; ++i) {
        stack.getSlice(i).setAbsolutePosition(float(5 * i));
        addItem(model, stack.getSlice(i), {{5, 5}, {25, 5}, {25, 25}, {5, 25}});
    }
    trigger("slice.next");
    trigger("slice.next");
    ScenePanel& scene = workspace().scene();
    EXPECT_TRUE(workspace().sceneDock().isHidden());
    EXPECT_EQ(scene.mediator().getStack(), nullptr); // nothing is made for a pane that nobody sees
    trigger("show.panes");
    ASSERT_TRUE(QTest::qWaitFor([&] { return scene.isVisible() && workspace().cuts().isVisible(); }, 60000));
    EXPECT_TRUE(window->sliceWidget().isVisible());
    EXPECT_TRUE(window->mediator().commands().action("show.scene").isChecked());
    ASSERT_EQ(scene.mediator().getStack(), &stack);
    EXPECT_EQ(scene.mediator().getPainters().size(), 1u);
    ASSERT_TRUE(createModel(stack, nextModel(stack, PolygonPrimitive)));
    EXPECT_EQ(scene.mediator().getPainters().size(), 2u); // follows the stack

    // A click on the surface, in the middle of the pane, leads the slice and the cuts to the place.
    trigger("view.crosshair");
    EXPECT_EQ(slice(), "s2");
    QCoreApplication::processEvents();
    const auto place = scene.canvas().placeAt(scene.canvas().rect().center());
    ASSERT_TRUE(place);
    QTest::mouseClick(&scene.canvas(), Qt::LeftButton, {}, scene.canvas().rect().center());
    EXPECT_NE(slice(), "s2"); // an end of the cube
    EXPECT_EQ(slice(), "s" + std::to_string(nearestSlice(stack, {(*place)[0], (*place)[1], (*place)[2]})));
    EXPECT_TRUE(scene.canvas().getMark());

    workspace().sceneDock().close();
    EXPECT_FALSE(window->mediator().commands().action("show.scene").isChecked());
    EXPECT_EQ(scene.mediator().getStack(), nullptr);
    trigger("show.scene");
    EXPECT_EQ(scene.mediator().getStack(), &stack);
    stack.setModified(false);
    trigger("stack.close");
    EXPECT_EQ(scene.mediator().getStack(), nullptr);
}

TEST_F(WorkspaceTest, theWindowsOfAStackShareTheCrosshair) {
    VRLStack& stack = open();
    auto* const second = new VRLRootWindow;
    second->mediator().setStack(stack);
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    VRLSliceEditWidgetCanvas& canvas = editor().getCanvas();
    canvas.setFocus();
    const auto isThere = [&canvas] { return canvas.getImageProxy().hasImage(); };
    ASSERT_TRUE(QTest::qWaitFor(isThere, 20000));
    QTest::keyClick(&canvas, Qt::Key_P);
    EXPECT_TRUE(Crosshair::crosshair().isShown());
    EXPECT_TRUE(second->mediator().commands().action("view.crosshair").isChecked());
    ASSERT_TRUE(canvas.getCrosshair()); // in the middle at first
    EXPECT_NEAR(canvas.getCrosshair()->x(), 20, 1);

    trigger("slice.last");
    ASSERT_TRUE(QTest::qWaitFor(isThere, 20000));
    QTest::mouseClick(&canvas, Qt::LeftButton, {}, canvas.convertToPosition(QPointF(10.5, 5.5)).toPoint());
    ASSERT_TRUE(canvas.getCrosshair());
    EXPECT_NEAR(canvas.getCrosshair()->x(), 10, 1);
    EXPECT_NEAR(canvas.getCrosshair()->y(), 5, 1);
    EXPECT_EQ(second->mediator().currentSlice()->getName(), "s4");
    const auto& other = second->sliceWidget().getMediator().getCanvas();
    ASSERT_TRUE(other.getCrosshair());
    EXPECT_NEAR(other.getCrosshair()->x(), canvas.getCrosshair()->x(), 1e-6);

    trigger("slice.first");
    trigger("crosshair.find");
    EXPECT_EQ(slice(), "s4");
    QTest::keyClick(&canvas, Qt::Key_P);
    EXPECT_FALSE(other.getCrosshair());
    delete second;
}

TEST_F(WorkspaceTest, theGuideIsReadInAWindowOfItsOwn) {
    trigger("help.guide");
    trigger("help.guide"); // the same window
    std::vector<GuideWindow*> guides;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* const guide = qobject_cast<GuideWindow*>(widget))
            guides.push_back(guide);
    ASSERT_EQ(guides.size(), 1u);
    QTextBrowser& pages = guides[0]->pages();
    EXPECT_TRUE(pages.toPlainText().startsWith("From images to a measured surface"));
    const auto picture = pages.loadResource(QTextDocument::ImageResource, QUrl("pictures/window.png")).value<QImage>();
    EXPECT_EQ(picture.deviceIndependentSize().width(), 720); // of 1200
    pages.setSource(QUrl("cuts.md"));                        // as a click on a link
    EXPECT_TRUE(pages.toPlainText().startsWith("Crosshair and cuts"));
    button(*guides[0], "Back").click();
    EXPECT_TRUE(pages.toPlainText().startsWith("From images"));
    auto& search = *guides[0]->findChild<QLineEdit*>();
    search.setText("mnemonic that no page has");
    QTest::keyClick(&search, Qt::Key_Return);
    EXPECT_FALSE(pages.textCursor().hasSelection());
    search.setText("live wire");
    QTest::keyClick(&search, Qt::Key_Return);
    EXPECT_EQ(pages.textCursor().selectedText().toLower(), "live wire");
    delete guides[0];
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
