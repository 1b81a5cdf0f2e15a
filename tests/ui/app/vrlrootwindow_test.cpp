#include "ui/app/vrlrootwindow.h"

#include <algorithm>
#include <cmath>

#include <QAction>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPointer>
#include <QProgressBar>
#include <QSettings>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QThread>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include "document/stacksliceselectioninfo.h"
#include "editing/actions/vrlmovevertexaction.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/itemoperations.h"
#include "editing/operations/sliceoperations.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/commands.h"
#include "support/documentmaker.h"
#include "support/eventrecorder.h"
#include "support/heldmemory.h"
#include "support/modalscript.h"
#include "ui/app/rootcommands.h"
#include "ui/app/vrlrootbrowser.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootstatusbar.h"
#include "ui/commands/shortcutsdialog.h"
#include "ui/models/vrlslicelistwidget.h"
#include "ui/models/vrlstacklistwidget.h"
#include "ui/registration/vrlregistrationmediator.h"
#include "ui/registration/vrlregistrationwindow.h"
#include "ui/scenes/vrlrenderingmediator.h"
#include "ui/scenes/vrlrenderingpaintergl.h"
#include "ui/scenes/vrlrenderingwindow.h"
#include "ui/session/vrlrecovery.h"
#include "ui/session/vrlsettings.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"
#include "ui/tools/vrlsliceeditwidgetmediatorcreationdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorsnakedelegate.h"

namespace vorlen {

namespace {

/// Stack files of three slices each, and a shown window.
class VRLRootWindowTest : public ::testing::Test {
protected:
    VRLRootWindowTest() {
        QSettings().clear();
        VRLSettings::settings.load();
        VRLSettings::settings.setInputDirectory(QDir(folder.path()));
        Image image(40, 30, 8);
        image.clear();
        ImageWriter().write(image, folder.filePath("i.tif").toStdString(), true);
        for (const char* name : {"one", "two"})
            writeStack(name, "");
        window = new VRLRootWindow;
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window));
    }
    ~VRLRootWindowTest() override {
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
        for (VRLRootWindow* root : rootWindows())
            delete root;
        EXPECT_EQ(VRLRootWindow::numRootWindows(), 0);
    }

    void writeStack(const QString& name, const QByteArray& more) {
        QFile file(folder.filePath(name + ".sdf"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("FileFormatVersion 1.03;\nSTACK \"" + name.toUtf8() + "\";\n" + more +
                   "SLICE \"s0\" \"i.tif\";\nSLICE \"s1\" \"i.tif\";\nSLICE \"s2\" \"i.tif\";\n"
                   "MODEL \"m\";\nPRIMITIVE Polygon;\nMODELITEM \"m\" \"s1\";\nMODELITEMDATA 1,1 20,1 20,20;\n");
    }

    static QList<VRLRootWindow*> rootWindows() {
        QList<VRLRootWindow*> windows;
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* root = qobject_cast<VRLRootWindow*>(widget))
                windows += root;
        return windows;
    }
    VRLRootWindow* otherWindow() {
        for (VRLRootWindow* root : rootWindows())
            if (root != window)
                return root;
        return nullptr;
    }

    VRLRootMediator& mediator() { return window->mediator(); }
    VRLStack& open(const char* name) {
        mediator().openStack(folder.filePath(QString(name) + ".sdf"));
        return *mediator().currentStack();
    }
    bool enabled(const char* id) { return isEnabled(mediator().commands(), id); }
    void trigger(const char* id) { vorlen::trigger(mediator().commands(), id); }
    std::string hint() const {
        for (const QLabel* label : window->findChildren<QLabel*>())
            if (label->accessibleName() == "Hint")
                return label->text().toStdString();
        return "no line for hints";
    }
    std::string slice() { return mediator().currentSlice() ? mediator().currentSlice()->getName() : "none"; }
    QStringList listed(QWidget& list) {
        QStringList texts;
        auto* widget = list.findChild<QListWidget*>();
        for (int i = 0; i < widget->count(); ++i)
            texts += widget->item(i)->text();
        return texts;
    }
    void key(Qt::Key k, Qt::KeyboardModifiers modifiers = {}) {
        // Without a window manager nobody else makes it the active one.
        QApplication::setActiveWindow(window);
        QTest::keyClick(window, k, modifiers);
    }

    QTemporaryDir folder;
    QPointer<VRLRootWindow> window;
    ModalScript user;
};

const std::vector<const char*> allCommands = {
    "stack.save",     "stack.saveAs",   "stack.reconstruct", "stack.close",  "stack.closeAll",   "edit.undo",
    "edit.redo",      "models.edit",    "slice.insert",      "slice.delete", "stack.properties", "slice.properties",
    "stack.annotate", "slice.annotate", "slice.first",       "slice.last",   "slice.next",       "slice.previous"};

} // namespace

TEST_F(VRLRootWindowTest, startsEmptyWithAllItsMenus) {
    EXPECT_EQ(window->windowTitle(), "Vorlen");
    EXPECT_EQ(window->statusBar().message(), "Ready.");
    auto* menuBar = window->findChild<QMenuBar*>();
    QStringList menus;
    for (QAction* menu : menuBar->actions())
        menus += menu->text().remove('&');
    EXPECT_EQ(menus, (QStringList{"File", "Edit", "Process", "Analyze", "Show", "Help"}));
    QStringList file;
    for (QAction* entry : menuBar->actions()[0]->menu()->actions())
        file += entry->isSeparator() ? "-" : entry->text().remove('&');
    EXPECT_EQ(file, (QStringList{"New stack", "New stack from file", "Open stack", "Recent stacks...", "Save stack",
                                 "Save stack as...", "Close stack", "Close all", "-", "New window", "Close window", "-",
                                 "Quit"}));
    for (const char* text : allCommands)
        EXPECT_FALSE(enabled(text)) << text;
    for (const char* text : {"stack.new", "stack.newFromFile", "stack.open", "window.new", "window.close",
                             "program.quit", "program.preferences", "view.slice"})
        EXPECT_TRUE(enabled(text)) << text;
}

TEST_F(VRLRootWindowTest, commandsAreSoundAndListed) {
    expectSound(*window, mediator().commands(), rootCommands());
    mediator().lockRequest(true); // helps while drawing, too
    for (int times = 0; times < 2; ++times)
        key(Qt::Key_Question, Qt::ControlModifier);
    const auto dialogs = window->findChildren<ShortcutsDialog*>();
    ASSERT_EQ(dialogs.size(), 1);
    EXPECT_TRUE(dialogs[0]->isVisible());
    QStringList windows;
    auto* const list = dialogs[0]->findChild<QTreeWidget*>();
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        windows += list->topLevelItem(i)->text(0);
    EXPECT_EQ(windows, (QStringList{"Main window", "Slice editor", "Registration window", "Rendering window",
                                    "Analysis window", "Normalization window", "Comparison window"}));
    EXPECT_FALSE(list->findItems("Edit points", Qt::MatchExactly | Qt::MatchRecursive).isEmpty());
}

TEST_F(VRLRootWindowTest, anOpenedStackBecomesCurrentOnItsSlice) {
    writeStack("three", "LASTSEGMENTEDSLICE \"s2\";\n");
    VRLStack& one = open("one");
    EXPECT_EQ(slice(), "s0");
    EXPECT_EQ(window->windowTitle(), "one.sdf[*] - Vorlen");
    EXPECT_EQ(listed(window->browser().stackList()), QStringList{"one"});
    EXPECT_EQ(listed(window->browser().sliceList()).size(), 3);
    const auto fields = window->statusBar().findChildren<QLineEdit*>();
    EXPECT_EQ(fields[0]->text(), "one");
    EXPECT_EQ(fields[0]->toolTip(), "one\n" + folder.filePath("one.sdf"));
    EXPECT_EQ(fields[1]->text(), "s0");
    open("three");
    EXPECT_EQ(slice(), "s2");
    EXPECT_EQ(listed(window->browser().stackList()), (QStringList{"one", "three"}));
    mediator().setStack(one);
    EXPECT_EQ(slice(), "s0");
}

TEST_F(VRLRootWindowTest, commandsFollowTheState) {
    VRLStack& stack = open("one");
    EXPECT_FALSE(enabled("stack.save"));
    for (const char* text :
         {"stack.saveAs", "stack.close", "stack.closeAll", "models.edit", "slice.insert", "slice.delete",
          "stack.properties", "slice.properties", "stack.annotate", "slice.last", "slice.next"})
        EXPECT_TRUE(enabled(text)) << text;
    EXPECT_FALSE(enabled("slice.first"));
    EXPECT_FALSE(enabled("slice.previous"));
    trigger("slice.next");
    EXPECT_EQ(slice(), "s1");
    EXPECT_TRUE(enabled("slice.first"));
    EXPECT_TRUE(enabled("slice.previous"));
    trigger("slice.last");
    EXPECT_EQ(slice(), "s2");
    EXPECT_FALSE(enabled("slice.next"));
    EXPECT_FALSE(enabled("slice.last"));
    trigger("slice.previous");
    trigger("slice.first");
    EXPECT_EQ(slice(), "s0");
    EXPECT_FALSE(window->isWindowModified());
    stack.setModified(true);
    EXPECT_TRUE(enabled("stack.save"));
    EXPECT_TRUE(window->isWindowModified());
    stack.setModified(false);
    trigger("stack.close");
    EXPECT_EQ(mediator().currentStack(), nullptr);
    for (const char* text : allCommands)
        EXPECT_FALSE(enabled(text)) << text;
    EXPECT_EQ(window->windowTitle(), "Vorlen");
    EXPECT_TRUE(listed(window->browser().sliceList()).isEmpty());
}

TEST_F(VRLRootWindowTest, registersAStackInOneWindowOfItsOwn) {
    VRLStack& stack = open("one");
    mediator().setSlice(stack.getSlice(1));
    EXPECT_TRUE(enabled("stack.register"));
    trigger("stack.register");
    trigger("stack.register");
    std::vector<VRLRegistrationWindow*> windows;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* opened = qobject_cast<VRLRegistrationWindow*>(widget))
            windows.push_back(opened);
    ASSERT_EQ(windows.size(), 1u);
    const QPointer<VRLRegistrationWindow> registration = windows[0];
    EXPECT_EQ(registration->getMediator().getSlice(), &stack.getSlice(1));
    registration->getMediator().nudge(5, 0, 0);
    registration->getMediator().apply();
    EXPECT_TRUE(enabled("edit.undo"));
    trigger("edit.undo"); // of the root window
    EXPECT_TRUE(registration->getMediator().getRegistration().isNull());
    EXPECT_TRUE(stack.getSlice(1).getRegistration().isNull());
    stack.setModified(false);
    trigger("stack.close");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(registration, nullptr);
}

TEST_F(VRLRootWindowTest, listAndSliderMoveThroughTheSlices) {
    open("one");
    auto* list = window->browser().sliceList().findChild<QListWidget*>();
    list->setCurrentRow(0); // the top line is the last slice
    EXPECT_EQ(slice(), "s2");
    window->browser().sliceList().findChild<QSlider*>()->setValue(1);
    EXPECT_EQ(slice(), "s1");
    trigger("slice.first");
    EXPECT_EQ(list->currentRow(), 2);
    VRLStack& two = open("two");
    window->browser().stackList().findChild<QListWidget*>()->setCurrentRow(0);
    EXPECT_NE(mediator().currentStack(), &two);
}

TEST_F(VRLRootWindowTest, undoAndRedoFollowTheHistory) {
    VRLStack& stack = open("one");
    ModelItem& item = stack.getModel(0).getItem(0);
    auto move = std::make_unique<VRLMoveVertexAction>(item);
    move->setIndex(0);
    move->setPoint(point(3, 3));
    EditStep step(*stack.history());
    step.apply(std::move(move));
    step.commit();
    EXPECT_TRUE(enabled("edit.undo"));
    EXPECT_EQ(mediator().commands().action("edit.undo").toolTip(), "Undo Move item vertex");
    EXPECT_TRUE(window->isWindowModified());
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(item.getVertices()[0][0], 1);
    EXPECT_FALSE(enabled("edit.undo"));
    EXPECT_EQ(mediator().commands().action("edit.undo").toolTip(), "Undo (Nothing to undo)");
    key(Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(item.getVertices()[0][0], 3);
    trigger("edit.undo");
    key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(item.getVertices()[0][0], 3);
    trigger("edit.undo");
    EXPECT_TRUE(stack.isModified()); // undoing does not clear the flag
}

// Out of view nothing happens without a word.
TEST_F(VRLRootWindowTest, undoSaysWhatAndWhereAndGoesThere) {
    VRLStack& stack = open("one");
    Model& model = stack.getModel(0);
    const auto said = [this] { return window->statusBar().message().toStdString(); };
    ASSERT_TRUE(createItem(stack, stack.getSlice(2), model, makeVertices({{1, 1}, {9, 1}, {9, 9}})));
    ASSERT_TRUE(deleteItem(stack, model.getItem(0)));
    EXPECT_EQ(slice(), "s0");
    trigger("edit.undo");
    EXPECT_EQ(slice(), "s1");
    EXPECT_EQ(said(), "Undone: Item deletion (model \"m\", slice \"s1\")");
    trigger("edit.undo");
    EXPECT_EQ(slice(), "s2");
    EXPECT_EQ(said(), "Undone: Item creation (model \"m\", slice \"s2\")");
    trigger("slice.first");
    trigger("edit.redo");
    EXPECT_EQ(slice(), "s2");
    EXPECT_EQ(said(), "Redone: Item creation (model \"m\", slice \"s2\")");
    trigger("edit.undo");
    trigger("slice.first");
    trigger("slice.delete");
    trigger("slice.last");
    EXPECT_EQ(slice(), "s2");
    trigger("edit.undo");
    EXPECT_EQ(slice(), "s0");
    EXPECT_EQ(said(), "Undone: Delete slice (slice \"s0\")");
    StackChange renamed;
    renamed.name = "other";
    ASSERT_TRUE(changeStack(stack, renamed));
    trigger("slice.last");
    trigger("edit.undo");
    EXPECT_EQ(slice(), "s2"); // it is about no slice
    EXPECT_EQ(said(), "Undone: Change stack properties");
}

TEST_F(VRLRootWindowTest, undoBringsADrawingBackThatWasGivenUp) {
    VRLStack& stack = open("one");
    auto* const drawing = window->sliceWidget().getMediator().findChild<VRLSliceEditWidgetMediatorCreationDelegate*>();
    const QPoint middle = window->sliceWidget().getCanvas().rect().center();
    ASSERT_TRUE(QTest::qWaitFor([&] {
        drawing->activate("m");
        drawing->appendVertex(middle);
        const bool drawn = drawing->getItem()->getSize() > 0; // the image has come
        if (!drawn)
            drawing->cancel();
        return drawn;
    }));
    const auto vertices = decimals(drawing->getItem()->getVertices());
    drawing->cancel();
    EXPECT_FALSE(drawing->isActive());
    EXPECT_EQ(mediator().commands().action("edit.undo").toolTip(), "Undo Drawing given up");
    EXPECT_FALSE(stack.isModified());
    trigger("slice.last");
    trigger("edit.undo");
    EXPECT_EQ(slice(), "s0");
    ASSERT_TRUE(drawing->isActive());
    EXPECT_EQ(decimals(drawing->getItem()->getVertices()), vertices);
    EXPECT_EQ(window->statusBar().message().toStdString(),
              "Brought back: the drawing (model \"m\", slice \"s0\"). Draw on, or press Escape.");
    drawing->cancel();
    EXPECT_FALSE(enabled("edit.undo"));
}

TEST_F(VRLRootWindowTest, theHistoryIsClearedWhenTheUserAgrees) {
    VRLStack& stack = open("one");
    EXPECT_FALSE(enabled("edit.clearHistory"));
    ASSERT_TRUE(deleteItem(stack, stack.getModel(0).getItem(0)));
    user.thenClick("Cancel");
    trigger("edit.clearHistory");
    EXPECT_TRUE(enabled("edit.undo"));
    user.thenClick("Clear History");
    trigger("edit.clearHistory");
    EXPECT_NE(user.seen.back().find("Forget what was done to the stack \"one\""), std::string::npos);
    EXPECT_FALSE(enabled("edit.undo"));
    EXPECT_FALSE(enabled("edit.clearHistory"));
    EXPECT_EQ(stack.getModel(0).getNumItems(), 0);
    EXPECT_TRUE(stack.isModified());
}

// What is done in one window is saved in the other, and asked about where somebody else has written meanwhile.
TEST_F(VRLRootWindowTest, twoWindowsAndAForeignWriterOnOneFile) {
    VRLStack& stack = open("one");
    trigger("window.new");
    VRLRootWindow* other = otherWindow();
    other->mediator().openStack(folder.filePath("one.sdf"));
    ASSERT_EQ(other->mediator().currentStack(), &stack); // once, in both
    const auto read = [this](const char* name) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    };
    const auto draw = [&stack] {
        return bool(createItem(stack, stack.getSlice(0), stack.getModel(0), makeVertices({{1, 1}, {9, 1}, {9, 9}})));
    };
    ASSERT_TRUE(draw());
    vorlen::trigger(other->mediator().commands(), "stack.save");
    EXPECT_FALSE(stack.isModified());
    EXPECT_FALSE(enabled("stack.save"));
    const QByteArray ours = read("one.sdf");
    EXPECT_EQ(ours.count("MODELITEMDATA"), 2);

    const QByteArray foreign = ours + "# theirs\n";
    writeStack("one", "");
    QFile file(folder.filePath("one.sdf"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(foreign);
    file.close();
    ASSERT_TRUE(draw());
    user.thenClick("Cancel");
    vorlen::trigger(other->mediator().commands(), "stack.save");
    EXPECT_EQ(user.seen.back().rfind("File has changed", 0), 0u);
    EXPECT_EQ(read("one.sdf"), foreign);
    EXPECT_TRUE(stack.isModified());
    user.thenClick("Overwrite");
    trigger("stack.save");
    EXPECT_EQ(read("one.sdf").count("MODELITEMDATA"), 3);
    EXPECT_EQ(read("one.sdf~1"), foreign);
    EXPECT_EQ(read("one.sdf~2").count("MODELITEMDATA"), 1);
    EXPECT_FALSE(stack.isModified());
}

// Saved, closed and opened again, here as by any user.
TEST_F(VRLRootWindowTest, stepsCanBeUndoneWhenTheFileIsOpenedAgain) {
    VRLRecovery recovery(folder.filePath("state/recovery"));
    VRLStack& stack = open("one");
    ASSERT_TRUE(deleteItem(stack, stack.getModel(0).getItem(0)));
    trigger("stack.save");
    trigger("stack.close");
    VRLStack& again = open("one");
    EXPECT_EQ(window->statusBar().message(), "The last step before one.sdf was closed can be undone.");
    EXPECT_FALSE(again.isModified());
    trigger("edit.undo");
    EXPECT_EQ(again.getModel(0).getNumItems(), 1);
    EXPECT_EQ(slice(), "s1");
    EXPECT_TRUE(again.isModified());
    trigger("stack.save");
    trigger("stack.close");
    QFile other(folder.filePath("one.sdf"));
    ASSERT_TRUE(other.open(QIODevice::ReadWrite));
    QByteArray text = other.readAll();
    text.replace("20,20", "21,20");
    other.seek(0);
    other.write(text);
    other.close();
    open("one");
    EXPECT_FALSE(enabled("edit.redo"));
    EXPECT_TRUE(window->statusBar().message().contains("perhaps changed by another program"));
    trigger("stack.close");
}

// Names of the stack and of its slice, in the lists and on the status bar.
TEST_F(VRLRootWindowTest, whatIsUndoneShowsEverywhere) {
    VRLStack& stack = open("one");
    const auto shown = [this] {
        QStringList names = listed(window->browser().stackList()) + listed(window->browser().sliceList());
        for (const QLabel* label : window->findChildren<VRLRootStatusBar*>().first()->findChildren<QLabel*>())
            if (label->accessibleName() != "Message")
                names += label->text();
        return names;
    };
    const QStringList before = shown();
    StackChange other;
    other.name = "other";
    ASSERT_TRUE(changeStack(stack, other));
    SliceChange renamed;
    renamed.name = "renamed";
    ASSERT_TRUE(changeSlice(stack, *mediator().currentSlice(), renamed));
    EXPECT_EQ(mediator().commands().action("edit.undo").toolTip(), "Undo Change slice properties");
    EXPECT_EQ(listed(window->browser().stackList()), QStringList("other"));
    EXPECT_TRUE(shown().contains("renamed"));
    key(Qt::Key_Z, Qt::ControlModifier);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(shown(), before);
    EXPECT_FALSE(enabled("edit.undo"));
}

TEST_F(VRLRootWindowTest, keysLeadThroughTheSlicesAndTakeCopiesAlong) {
    VRLStack& stack = open("one"); // three slices
    window->sliceWidget().getCanvas().setFocus();
    const std::vector<std::pair<Qt::Key, const char*>> walk = {{Qt::Key_PageUp, "s1"},
                                                               {Qt::Key_End, "s2"},
                                                               {Qt::Key_PageUp, "s2"},
                                                               {Qt::Key_PageDown, "s1"},
                                                               {Qt::Key_Home, "s0"}};
    for (const auto& [code, name] : walk) {
        key(code);
        EXPECT_EQ(slice(), name);
    }
    addItem(stack.getModel(0), stack.getSlice(0), {{2, 2}, {2, 6}, {6, 6}});
    const int before = stack.getModel(0).getNumItems();
    key(Qt::Key_A, Qt::ControlModifier);
    const int taken = stack.getSlice(0).getNumItems();
    const int there = stack.getSlice(1).getNumItems();
    key(Qt::Key_PageUp, Qt::ShiftModifier);
    EXPECT_EQ(slice(), "s1");
    EXPECT_EQ(stack.getSlice(1).getNumItems(), there + taken);
    key(Qt::Key_PageUp, Qt::ShiftModifier); // what was copied is selected: on to the next
    EXPECT_EQ(slice(), "s2");
    key(Qt::Key_Z, Qt::ControlModifier);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(stack.getModel(0).getNumItems(), before);
}

TEST_F(VRLRootWindowTest, aDeletedSliceComesBackByUndo) {
    VRLStack& stack = open("one");
    trigger("slice.next");
    trigger("slice.delete");
    EXPECT_EQ(stack.getNumSlices(), 2);
    EXPECT_EQ(slice(), "s2");
    EXPECT_TRUE(stack.isModified());
    EXPECT_EQ(listed(window->browser().sliceList()).size(), 2);
    EXPECT_EQ(stack.getModel(0).getNumItems(), 0);
    trigger("edit.undo");
    EXPECT_EQ(stack.getNumSlices(), 3);
    EXPECT_EQ(stack.getModel(0).getNumItems(), 1);
    EXPECT_EQ(listed(window->browser().sliceList()).size(), 3);
    for (int i = 0; i < 3; ++i)
        trigger("slice.delete");
    EXPECT_EQ(slice(), "none");
    EXPECT_FALSE(enabled("slice.delete"));
    for (int i = 0; i < 3; ++i)
        trigger("edit.undo");
    EXPECT_EQ(stack.getNumSlices(), 3);
}

TEST_F(VRLRootWindowTest, recentFilesOpenFromTheirMenu) {
    open("one");
    open("two");
    QMenu* recent = nullptr;
    for (QMenu* menu : window->findChildren<QMenu*>())
        if (menu->title().remove('&') == "Recent stacks...")
            recent = menu;
    ASSERT_NE(recent, nullptr);
    mediator().updateRecentFilesMenu();
    ASSERT_EQ(recent->actions().size(), 2);
    EXPECT_EQ(recent->actions()[0]->text(), folder.filePath("two.sdf"));
    recent->actions()[1]->trigger();
    EXPECT_EQ(VRLStackServer::stackServer.getNumStacks(), 2); // it is open already
    EXPECT_EQ(mediator().currentStack()->getName(), "one");
}

TEST_F(VRLRootWindowTest, droppedFilesOpen) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(folder.filePath("one.sdf")), QUrl::fromLocalFile(folder.filePath("two.sdf"))});
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &drop);
    EXPECT_EQ(VRLStackServer::stackServer.getNumStacks(), 2);
    EXPECT_EQ(mediator().currentStack()->getName(), "two");
}

TEST_F(VRLRootWindowTest, whatIsNamedOnTheCommandLineOpensStacksAndImagesAlike) {
    user.thenClick("Done");
    window->startupOpen({folder.filePath("one.sdf"), folder.filePath("i.tif"), folder.filePath("two")});
    ASSERT_EQ(VRLStackServer::stackServer.getNumStacks(), 3);
    EXPECT_EQ(VRLStackServer::stackServer.getStack(1).getName(), "two");
    EXPECT_EQ(mediator().currentStack()->getNumSlices(), 1); // that of the image
}

TEST_F(VRLRootWindowTest, droppedImagesAndFoldersMakeAStack) {
    const QDir images(folder.filePath("images"));
    ASSERT_TRUE(images.mkpath("."));
    for (const char* name : {"s10.tif", "s2.TIF", "notes.txt"})
        ASSERT_TRUE(QFile::copy(folder.filePath("i.tif"), images.filePath(name)));
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(images.path()), QUrl::fromLocalFile(folder.filePath("i.tif"))});
    user.thenClick("Done");
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &enter);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &drop);
    ASSERT_NE(mediator().currentStack(), nullptr);
    EXPECT_EQ(mediator().currentStack()->getNumSlices(), 3);
    EXPECT_EQ(mediator().currentStack()->getSlice(1).getName(), "s2");
}

TEST_F(VRLRootWindowTest, twoWindowsShowTheSameStacksAndOneClosesWithoutAsking) {
    VRLStack& stack = open("one");
    trigger("window.new");
    EXPECT_EQ(VRLRootWindow::numRootWindows(), 2);
    const QPointer<VRLRootWindow> other = otherWindow();
    ASSERT_FALSE(other.isNull());
    EXPECT_EQ(listed(other->browser().stackList()), QStringList{"one"});
    EXPECT_EQ(other->mediator().currentStack(), nullptr);
    other->mediator().setStack(stack);
    stack.setName("renamed");
    VRLStackNameEvent event(&stack);
    mediator().notifyEvent(event);
    EXPECT_EQ(listed(other->browser().stackList()), QStringList{"renamed"});
    EXPECT_TRUE(other->isWindowModified());
    EXPECT_TRUE(other->close());
    // Both at once, as a session that ends does: this one is the last.
    stack.setModified(true);
    user.thenClick("Cancel");
    EXPECT_FALSE(window->close());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QTest::qWait(10);
    EXPECT_TRUE(other.isNull());
    EXPECT_EQ(VRLStackServer::stackServer.getNumStacks(), 1);
    stack.setModified(false);
}

TEST_F(VRLRootWindowTest, aLockedSliceLeavesOnlyItsOwnWindowAlive) {
    open("one");
    trigger("window.new");
    VRLRootWindow* other = otherWindow();
    other->mediator().setStack(*mediator().currentStack());
    mediator().lockRequest(true);
    EXPECT_FALSE(other->isEnabled());
    EXPECT_TRUE(window->isEnabled());
    for (const char* text : {"program.quit", "slice.next", "models.edit", "stack.close", "stack.open"})
        EXPECT_FALSE(enabled(text)) << text;
    EXPECT_FALSE(window->browser().sliceList().isEnabled());
    mediator().currentStack()->setModified(true); // no command comes back to life meanwhile
    EXPECT_FALSE(enabled("stack.save"));
    EXPECT_FALSE(window->close()); // what is being drawn would be lost
    EXPECT_FALSE(other->close());
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(folder.filePath("two.sdf"))});
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &drop);
    EXPECT_EQ(VRLStackServer::stackServer.getNumStacks(), 1);
    mediator().lockRequest(false);
    EXPECT_TRUE(other->isEnabled());
    EXPECT_TRUE(isEnabled(other->mediator().commands(), "stack.save"));
    for (const char* text : {"program.quit", "slice.next", "models.edit", "stack.save", "stack.open"})
        EXPECT_TRUE(enabled(text)) << text;
    EXPECT_FALSE(enabled("slice.previous"));
    EXPECT_TRUE(enabled("stack.reconstruct"));
    EXPECT_TRUE(window->browser().sliceList().isEnabled());

    // Given back too when the slice is the current one no more.
    mediator().currentStack()->setModified(false);
    mediator().lockRequest(true);
    auto* empty = new VRLStack;
    VRLStackServer::stackServer.addStack(*empty);
    mediator().setStack(*empty);
    EXPECT_EQ(mediator().currentSlice(), nullptr);
    mediator().lockRequest(false);
    EXPECT_TRUE(other->isEnabled());
    EXPECT_TRUE(enabled("stack.open"));
}

TEST_F(VRLRootWindowTest, aSnakeThatRunsLetsNothingElseHappenInAnyWindow) {
    Image image(200, 160, 8);
    for (int y = 0; y < 160; ++y)
        for (int x = 0; x < 200; ++x)
            image.getPixels()[y][x] = std::hypot(x - 100, y - 80) < 40 ? 60 : 180;
    ImageWriter().write(image, folder.filePath("i.tif").toStdString(), true);
    VRLStack& stack = open("one");
    trigger("slice.next");
    StackSlice& slice = *mediator().currentSlice();
    ASSERT_EQ(slice.getNumItems(), 1);
    slice.getItem(0).setVertices(makeVertices({{155, 80}, {100, 135}, {45, 80}, {100, 25}}));
    trigger("window.new");
    VRLRootWindow* other = otherWindow();
    slice.getItem(0).getSelection().set(true);
    VRLSliceEditWidgetMediator& editor = window->sliceWidget().getMediator();
    editor.selectionChange([&slice] {
        StackSliceSelectionInfo info;
        info.setSlice(&slice);
        return info;
    }());
    EventRecorder recorder;
    bool looked = false;
    std::string said;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (looked || window->sliceWidget().getCanvas().getExtraItem() == nullptr)
            return;
        looked = true; // in the midst of the run
        EXPECT_FALSE(other->isEnabled());
        for (const char* text : {"edit.undo", "stack.close", "slice.next", "models.edit", "program.quit"})
            EXPECT_FALSE(enabled(text)) << text;
        said = hint();
        EXPECT_FALSE(other->close());
        EXPECT_FALSE(window->close());
        key(Qt::Key_Z, Qt::ControlModifier);
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(folder.filePath("two.sdf"))});
        QDropEvent drop({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &drop);
    });
    user.then([&](QWidget& dialog) {
        ModalScript::click(dialog, "OK");
        look.start(0);
    });
    editor.findChild<VRLSliceEditWidgetMediatorSnakeDelegate*>()->activate();
    EXPECT_TRUE(looked);
    EXPECT_EQ(said, "The snake is running. Escape: stop it.");
    EXPECT_EQ(slice.getNumItems(), 2);
    EXPECT_EQ(hint().substr(0, 14), "The snake has ");
    EXPECT_EQ(VRLStackServer::stackServer.getNumStacks(), 1);
    EXPECT_TRUE(other->isEnabled());
    EXPECT_TRUE(enabled("edit.undo"));
    EXPECT_EQ(std::count(recorder.heard.begin(), recorder.heard.end(), "sliceLock"), 2);
    trigger("edit.undo");
    EXPECT_EQ(slice.getNumItems(), 1);
    EXPECT_EQ(mediator().currentStack(), &stack);
}

TEST_F(VRLRootWindowTest, dialogsOpenFromTheirCommands) {
    open("one");
    const std::vector<std::pair<const char*, QString>> dialogs = {
        {"models.edit", "Models for stack \"one\""}, {"stack.properties", "Stack properties"},
        {"slice.properties", "Slice properties"},    {"stack.annotate", "Stack annotation"},
        {"slice.annotate", "Slice annotation"},      {"program.preferences", "Preferences"}};
    for (const auto& [command, title] : dialogs) {
        user.thenReject();
        trigger(command);
        EXPECT_EQ(QString::fromStdString(user.seen.back()), title);
    }
    user.thenClick(" OK ");
    window->about();
    EXPECT_EQ(user.seen.back(), "About Vorlen");
}

TEST_F(VRLRootWindowTest, runShowsTheMeasurementsOfTheCurrentStack) {
    open("one");
    const auto analysisWindows = [] {
        QList<QWidget*> windows;
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget->windowTitle() == "Vorlen - Analysis")
                windows += widget;
        return windows;
    };
    key(Qt::Key_M, Qt::ControlModifier);
    ASSERT_EQ(analysisWindows().size(), 1);
    EXPECT_TRUE(analysisWindows()[0]->isVisible());
    trigger("stack.close"); // the window outlives it
    EXPECT_EQ(analysisWindows().size(), 1);
    analysisWindows()[0]->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(analysisWindows().isEmpty());
}

TEST_F(VRLRootWindowTest, partsAreHiddenAndStayHidden) {
    window->toggleBrowser();
    window->toggleStatusBar();
    EXPECT_FALSE(window->browser().isVisible());
    auto* second = new VRLRootWindow;
    EXPECT_FALSE(second->browser().isVisible());
    EXPECT_FALSE(second->statusBar().isVisible());
    EXPECT_TRUE(second->toolBar().isVisible());
    second->toggleBrowser();
    EXPECT_TRUE(second->browser().isVisible());
    EXPECT_TRUE(QSettings().value("rootWindow/browserVisible").toBool());
}

// Also on a screen of 800 pixels, as a dense one has.
TEST_F(VRLRootWindowTest, noTextOfTheStatusBarMakesTheWindowWiderThanASmallScreen) {
    open("one");
    QCoreApplication::processEvents();
    const int before = window->minimumSizeHint().width();
    EXPECT_LE(before, 800);
    VRLSliceEditWidgetStatusBar& fields = window->statusBar().getSliceEditWidgetStatusBar();
    fields.setPixelInfo("X=123456, Y=123456, G=65535, and so on for a while");
    fields.setImageSizeInfo("100000x80000 [23 Gb]");
    fields.showMessage(QString(400, 'm'));
    QCoreApplication::processEvents();
    EXPECT_LE(window->minimumSizeHint().width(), before);
    window->resize(800, 600);
    EXPECT_EQ(window->width(), 800);
}

TEST_F(VRLRootWindowTest, progressMovesTheBarAndEndsWithAMessage) {
    VRLRootStatusBar& bar = window->statusBar();
    bar.subjectStarted("Reading...");
    EXPECT_EQ(bar.message(), "Reading...");
    static_cast<ProgressMonitor&>(bar).subjectProgressed(2, 3);
    EXPECT_EQ(bar.progressBar().value(), 67);
    EXPECT_FALSE(bar.progressBar().isHidden());
    bar.subjectFinished("");
    EXPECT_LT(bar.progressBar().value(), 0);
    EXPECT_TRUE(bar.progressBar().isHidden());
    EXPECT_EQ(bar.message(), "Reading...");
    bar.subjectProgressed("Running on slice 7...");
    bar.subjectFinished("");
    EXPECT_EQ(bar.message(), ""); // nothing runs any more
    bar.subjectProgressed("Running on slice 8...");
    bar.setMessage("Slice 8 has no image");
    bar.subjectFinished("");
    EXPECT_EQ(bar.message(), "Slice 8 has no image");
    bar.subjectFinished("Done");
    EXPECT_EQ(bar.message(), "Done");
}

// A window that takes its time to paint, as where the graphics are made by software.
TEST_F(VRLRootWindowTest, eventsPassMoreOftenThanTheBarIsPainted) {
    struct SlowPaint : QObject {
        bool eventFilter(QObject* watched, QEvent* event) override {
            if (event->type() == QEvent::Paint) {
                ++pictures;
                QThread::msleep(60);
            }
            return QObject::eventFilter(watched, event);
        }
        int pictures = 0;
    } slow;
    VRLRootStatusBar& bar = window->statusBar();
    bar.progressBar().installEventFilter(&slow);
    int heard = 0, passes = 0;
    bar.subjectStarted("Reading...");
    for (unsigned int k = 0; k < 1000; ++k) {
        const int before = heard;
        QMetaObject::invokeMethod(
            &slow, [&heard] { ++heard; }, Qt::QueuedConnection);
        QThread::msleep(1);
        static_cast<ProgressMonitor&>(bar).subjectProgressed(k, 1000U);
        passes += heard > before;
    }
    bar.subjectFinished("");
    EXPECT_GT(slow.pictures, 1);
    EXPECT_GT(passes, 2 * slow.pictures);
}

TEST_F(VRLRootWindowTest, aCommandThatFailsIsToldAndChangesNothing) {
    QFile volume(folder.filePath("cut.vm"));
    ASSERT_TRUE(volume.open(QIODevice::WriteOnly));
    volume.write("\0\0\0\0", 4);
    volume.close();
    user.thenChoose({folder.filePath("cut.vm")});
    user.thenClick("OK");
    trigger("stack.newFromFile");
    EXPECT_NE(user.seen.back().find("cut.vm"), std::string::npos);
    EXPECT_EQ(VRLStackServer::stackServer.getNumStacks(), 0);
}

// A flat memory curve over many openings, of stacks and of slices.
TEST_F(VRLRootWindowTest, openingAndBrowsingForLongLeaksNothing) {
    window->resize(500, 400); // what is painted by software costs time
    long settled = 0;
    for (int round = 0; round < 200; ++round) {
        open("one");
        trigger("slice.next");
        trigger("slice.last");
        QCoreApplication::processEvents();
        trigger("stack.close");
        QCoreApplication::processEvents();
        if (round == 60)
            settled = heldMemory();
    }
    EXPECT_LT(heldMemory() - settled, 16L << 20);
}

TEST_F(VRLRootWindowTest, ombrelActionListsDistancesAndNamesStacksWithoutTheModels) {
    const auto lines = [] {
        QList<QStringList> texts;
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* edit = qobject_cast<QTextEdit*>(widget)) {
                texts += edit->toPlainText().split('\n');
                edit->close();
            }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return texts;
    };
    user.thenClick("OK");
    trigger("stacks.spotDistances");
    EXPECT_NE(user.seen.back().find("No stack is open."), std::string::npos);
    open("one");
    user.thenClick("OK");
    trigger("stacks.spotDistances");
    EXPECT_NE(user.seen.back().find("Stack \"one\" is left out. It has no model \"cell\"."), std::string::npos);
    EXPECT_TRUE(lines().isEmpty());

    writeStack("two", "RELPOSITION 10;\n");
    VRLStack& two = open("two");
    Model& cell = addModel(two, "cell");
    for (int k = 0; k < 3; ++k)
        addItem(cell, two.getSlice(k), {{0, 0}, {20, 0}, {20, 20}, {0, 20}});
    Model& spots = addModel(two, "spotBarycenters", PolypointPrimitive);
    addItem(spots, two.getSlice(1), {{10, 10}, {25, 8}});
    int count = 0;
    for (int run = 0; run < 2; ++run) {
        user.thenClick("OK"); // of the first stack
        trigger("stacks.spotDistances");
        const QList<QStringList> texts = lines();
        ASSERT_EQ(texts.size(), 1);
        ASSERT_EQ(texts[0].size(), 2);
        EXPECT_EQ(texts[0][0].section(' ', 1), "10");
        EXPECT_EQ(texts[0][1].section(' ', 1), "5");
        if (run == 1) {
            EXPECT_EQ(texts[0][0].section(' ', 0, 0).toInt(), count + 1); // goes on
        }
        count = texts[0][1].section(' ', 0, 0).toInt();
        EXPECT_GT(count, 0);
    }
    two.setModified(false);
}

// Last: a confirmed quit is for good.
TEST_F(VRLRootWindowTest, theLastWindowsCloseAsksAsQuitDoes) {
    VRLStack& stack = open("one");
    stack.setModified(true);
    user.thenClick("Cancel");
    EXPECT_FALSE(window->close());
    EXPECT_EQ(window->statusBar().message(), "Exit canceled");
    EXPECT_EQ(VRLStackServer::stackServer.getNumStacks(), 1);
    EXPECT_TRUE(QTest::qWaitFor([this] { return window->statusBar().message().isEmpty(); }, 3000));
    user.thenClick("Ignore");
    window->close();
    EXPECT_EQ(VRLStackServer::stackServer.getNumStacks(), 0);
    // The program quits by that; until it has, dialogs of the tests that follow would close at once.
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
}

TEST_F(VRLRootWindowTest, reconstructShowsTheModelsOfTheCurrentStack) {
    VRLStack& one = open("one");
    open("two");
    mediator().setStack(one);
    one.getSlice(1).setAbsolutePosition(500); // the reconstruction does not know yet
    trigger("stack.reconstruct");
    trigger("stack.reconstruct");
    QList<QPointer<VRLRenderingWindow>> renderings;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* rendering = qobject_cast<VRLRenderingWindow*>(widget))
            renderings += rendering;
    ASSERT_EQ(renderings.size(), 2);
    for (VRLRenderingWindow* rendering : renderings) {
        EXPECT_TRUE(rendering->isVisible());
        EXPECT_EQ(rendering->windowTitle(), "one");
        ASSERT_EQ(rendering->getMediator().getPainters().size(), 1u);
        EXPECT_EQ(rendering->getMediator().getPainters()[0]->boundingBox().min(2), 500);
    }
    renderings[0]->close();
    trigger("stack.close");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(renderings[0] == nullptr && renderings[1] == nullptr);
}

} // namespace vorlen
