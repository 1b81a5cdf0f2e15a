#include "ui/app/vrlrootmediator.h"

#include <algorithm>
#include <memory>

#include <QActionGroup>
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTextEdit>
#include <QToolBar>

#include "document/stackslice.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "numerics/exception.h"
#include "reconstruction/spotdistances.h"
#include "ui/analysis/vrlanalysiswindow.h"
#include "ui/app/vrlrootstatusbar.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/files/vrlstackio.h"
#include "ui/icons/vrlicons.h"
#include "ui/models/vrlmodeldialog.h"
#include "ui/models/vrlpreferencesdialog.h"
#include "ui/models/vrlslicelistwidget.h"
#include "ui/models/vrlslicepropertiesdialog.h"
#include "ui/models/vrlstackannotationdialog.h"
#include "ui/models/vrlstacklistwidget.h"
#include "ui/models/vrlstackpropertiesdialog.h"
#include "ui/scenes/vrlrenderingwindow.h"
#include "ui/session/vrlconfig.h"
#include "ui/session/vrlsettings.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"
#include "ui/widgets/blackwhitedoubleslider.h"
#include "ui/widgets/vrlmenu.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

/// Commands whose part of the program is not there yet.
const QStringList futureCommands = {"Display stack panorama", "Display overview", "Register", "Find spots", "Normalize",
                                    "Transfer models...",     "Filter models..."};

} // namespace

VRLRootMediator::VRLRootMediator(VRLRootWindow& window) : QObject(&window), __window(window) {
    const auto add = [this](const QString& text, const QString& icon, const QString& shortcut, const QString& toolTip,
                            std::function<void()> command) {
        return addAction(text, icon, shortcut, toolTip, std::move(command));
    };
    add("New stack", "filenew", "Ctrl+N", "Make a stack of section images", [this] { createStack(); });
    add("New stack from file", "", "", "Make a stack of the planes of a voxel matrix file",
        [this] { createStackFromFile(); });
    add("Open stack", "fileopen", "Ctrl+O", "Open stack description files", [this] { openStack(); });
    add("Save stack", "filesave", "Ctrl+S", "Save the current stack to its file", [this] { saveStack(); });
    add("Save stack as...", "", "", "Save the current stack to another file", [this] { saveStackAs(); });
    add("Close stack", "fileclose", "Ctrl+C", "Close the current stack", [this] { closeStack(); });
    add("Close all", "", "", "Close all stacks", [this] { closeAllStacks(); });
    add("New window", "", "", "Open another window on the same stacks", [this] { __window.newWindow(); });
    add("Close window", "", "Ctrl+W", "Close this window", [this] { __window.close(); });
    add("Quit", "", "Ctrl+Q", "Close all stacks and quit", [this] { __window.quit(); });
    QAction* panorama = add("Display stack panorama", "panorama", "", "All slices of the stack at once", [] {});
    QAction* plain = add("Display single slice", "plainview", "", "The current slice alone", [] {});
    add("Display overview", "overview", "V", "The whole slice in a small window", [] {})->setCheckable(true);
    add("Undo", "undo", "Ctrl+Z", "Undo", [this] { undo(); });
    add("Redo", "redo", "Ctrl+R", "Redo", [this] { redo(); });
    add("Edit models...", "", "", "Create, change and delete the models of the stack",
        [this] { runStackModelsDialog(); });
    add("Insert slice...", "", "", "Put slices in front of the current one", [this] { insertSlice(); });
    add("Delete slice", "", "", "Take the current slice, with what is drawn on it, out of the stack",
        [this] { deleteSlice(); });
    add("Stack properties...", "", "", "Name, unit, slice spacing and pixel size of the stack",
        [this] { runStackPropertiesDialog(); });
    add("Slice properties...", "", "", "Name, spacing and pixel size of the slice",
        [this] { runSlicePropertiesDialog(); });
    add("Annotate stack...", "text", "", "Note on the stack", [this] { runStackAnnotationDialog(); });
    add("Annotate slice...", "text", "", "Note on the slice", [this] { runSliceAnnotationDialog(); });
    add("Preferences...", "", "", "Backups, click tolerance, colours", [this] { runPreferencesDialog(); });
    add("Select first slice", "bottom", "", "First slice", [this] { setFirstSlice(); });
    add("Select last slice", "top", "", "Last slice", [this] { setLastSlice(); });
    add("Select next slice", "up", "", "Next slice", [this] { setNextSlice(); });
    add("Select previous slice", "down", "", "Previous slice", [this] { setPreviousSlice(); });
    add("Register", "registration", "", "Align the slices of the stack", [] {});
    add("Reconstruct", "threedimensions", "", "The models of the stack in space", [this] { renderCurrentStack(); });
    add("Find spots", "", "", "Extract spots from the images of the stack", [] {});
    add("Normalize", "", "", "Bring several stacks into one frame", [] {});
    add("Transfer models...", "", "", "Copy or move models between stacks", [] {});
    add("Filter models...", "", "", "Sort the items of models by a reference model", [] {});
    add("Run", "", "Ctrl+M", "Measure the models, items and slices of the stack", [this] { runAnalysis(); });
    add("Ombrel action1", "", "", "Distances of spots to the surface of a cell, for each open stack",
        [this] { runOmbrelAction1(); });

    // The usual key for redo, beside ours.
    action("Redo")->setShortcuts({QKeySequence("Ctrl+R"), QKeySequence("Ctrl+Shift+Z")});
    __viewGroup = new QActionGroup(this);
    for (QAction* view : {panorama, plain}) {
        view->setCheckable(true);
        __viewGroup->addAction(view);
    }
    plain->setChecked(true);
    __recentFilesMenu = new VRLMenu("Recent stacks...", &__window);
    connect(__recentFilesMenu, &QMenu::aboutToShow, this, &VRLRootMediator::updateRecentFilesMenu);
    connect(__recentFilesMenu, qOverload<const QString&>(&VRLMenu::triggered), this,
            qOverload<const QString&>(&VRLRootMediator::openStack));
}

VRLRootMediator::~VRLRootMediator() = default;

QAction* VRLRootMediator::addAction(const QString& text, const QString& icon, const QString& shortcut,
                                    const QString& toolTip, std::function<void()> command) {
    auto* action = new QAction(text, this);
    if (!icon.isEmpty())
        action->setIcon(VRLIcons::icon(icon));
    if (!shortcut.isEmpty())
        action->setShortcut(QKeySequence(shortcut));
    action->setToolTip(shortcut.isEmpty() ? toolTip : toolTip + " (" + shortcut + ")");
    action->setStatusTip(toolTip);
    connect(action, &QAction::triggered, this, [this, text, command = std::move(command)] { guarded(text, command); });
    __actions += action;
    return action;
}

QAction* VRLRootMediator::action(const QString& text) const {
    for (QAction* action : __actions)
        if (action->text() == text)
            return action;
    return nullptr;
}

/// A failing command is told to the user; the program lives on.
void VRLRootMediator::guarded(const QString& task, const std::function<void()>& command) {
    QString failure;
    try {
        command();
    } catch (const FileError& error) {
        failure = QFile::decodeName(error.getFile().c_str()) + "\n" + QString::fromStdString(error.getWhat());
    } catch (const Exception& error) {
        failure = QString::fromStdString(error.getWhat());
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (!failure.isEmpty())
        QMessageBox::warning(&__window, appName, "\"" + task + "\" could not be carried out:\n" + failure);
    updateActions();
}

void VRLRootMediator::setMenuBar(QMenuBar&) {
}

void VRLRootMediator::setStackListWidget(VRLStackListWidget& list) {
    __stackList = &list;
    connect(__stackList, &VRLStackListWidget::selectionChanged, this, &VRLRootMediator::stackSelectionChange);
}

void VRLRootMediator::setSliceListWidget(VRLSliceListWidget& list) {
    __sliceList = &list;
    connect(__sliceList, &VRLSliceListWidget::selectionChanged, this, &VRLRootMediator::sliceSelectionChange);
}

void VRLRootMediator::setToolBar(QToolBar& toolBar) {
    __toolBar = &toolBar;
}

void VRLRootMediator::setRootWidget(VRLRootSliceEditWidget& widget) {
    __sliceWidget = &widget;
}

void VRLRootMediator::setStatusBar(VRLRootStatusBar& statusBar) {
    __statusBar = &statusBar;
    __statusBar->setStackAnnotationAction(action("Annotate stack..."));
    __statusBar->setSliceAnnotationAction(action("Annotate slice..."));
}

void VRLRootMediator::initFileMenu(QMenu& menu) {
    for (const char* text : {"New stack", "New stack from file", "Open stack"})
        menu.addAction(action(text));
    menu.addMenu(__recentFilesMenu);
    for (const char* text : {"Save stack", "Save stack as...", "Close stack", "Close all"})
        menu.addAction(action(text));
    menu.addSeparator();
    menu.addAction(action("New window"));
    menu.addAction(action("Close window"));
    menu.addSeparator();
    menu.addAction(action("Quit"));
}

void VRLRootMediator::initEditMenu(QMenu& menu) {
    menu.addAction(action("Undo"));
    menu.addAction(action("Redo"));
    menu.addSeparator();
    for (const char* text : {"Edit models...", "Insert slice...", "Delete slice", "Stack properties...",
                             "Slice properties...", "Annotate stack...", "Annotate slice..."})
        menu.addAction(action(text));
    menu.addSeparator();
    menu.addAction(action("Preferences..."));
}

void VRLRootMediator::initProcessMenu(QMenu& menu) {
    for (const char* text :
         {"Register", "Reconstruct", "Transfer models...", "Find spots", "Normalize", "Filter models..."})
        menu.addAction(action(text));
}

void VRLRootMediator::initAnalyzeMenu(QMenu& menu) {
    menu.addAction(action("Run"));
    menu.addAction(action("Ombrel action1"));
}

void VRLRootMediator::initialize() {
    updateActions();
    for (const char* text : {"Open stack", "Save stack", "Close stack", "Display stack panorama",
                             "Display single slice", "Register", "Reconstruct", "Undo", "Redo", "Display overview"})
        __toolBar->addAction(action(text));
    auto* slider = new BlackWhiteDoubleSlider(__toolBar);
    __toolBar->addWidget(slider);
    __sliceWidget->setBlackWhiteDoubleSlider(*slider);
    __sliceWidget->setToolBar(*__toolBar);
    __sliceWidget->setStatusBar(__statusBar->getSliceEditWidgetStatusBar());
    __sliceWidget->initialize();
    VRLRootSliceEditWidgetMediator& sliceMediator = __sliceWidget->getMediator();
    sliceMediator.addContextualMenuAction(action("Slice properties..."));
    sliceMediator.addContextualMenuAction(action("Annotate slice..."));
    connect(&sliceMediator, &VRLSliceWidgetMediator::canvasModeChanged, this, &VRLRootMediator::setCanvasMode);
    connect(&sliceMediator, &VRLSliceEditWidgetMediator::lockRequested, this, &VRLRootMediator::lockRequest);
    for (const char* text : {"Select first slice", "Select previous slice", "Select next slice", "Select last slice"})
        __toolBar->addAction(action(text));
    sliceMediator.addMonitor(*__statusBar);
    for (int i = 0; i < VRLStackServer::stackServer.getNumStacks(); ++i)
        __stackList->addStack(VRLStackServer::stackServer.getStack(i));
    updateActions();
}

void VRLRootMediator::enable(const QString& text, bool enabled) {
    action(text)->setEnabled(enabled && !futureCommands.contains(text));
}

void VRLRootMediator::updateActions() {
    if (__locked)
        return;
    const bool stack = __stack != nullptr, slice = __slice != nullptr;
    const int position = slice ? __stack->findSlice(*__slice) : -1;
    const int last = stack ? __stack->getNumSlices() - 1 : -1;
    const int numStacks = VRLStackServer::stackServer.getNumStacks();
    enable("Save stack", stack && __stack->isModified());
    enable("Close all", numStacks > 0);
    for (const char* text :
         {"Save stack as...", "Close stack", "Edit models...", "Insert slice...", "Stack properties...",
          "Annotate stack...", "Reconstruct", "Find spots", "Filter models...", "Run"})
        enable(text, stack);
    for (const char* text : {"Delete slice", "Slice properties...", "Annotate slice...", "Display overview"})
        enable(text, slice);
    enable("Select first slice", stack && last >= 0 && position != 0);
    enable("Select last slice", stack && last >= 0 && position != last);
    enable("Select next slice", slice && position < last);
    enable("Select previous slice", slice && position > 0);
    enable("Register", stack && last > 0);
    enable("Normalize", numStacks > 1);
    enable("Transfer models...", numStacks > 1);
    enable("Display stack panorama", true);
    enable("Ombrel action1", true);
    stackHistoryChange();

    const auto noteIcon = [](bool empty) { return VRLIcons::icon(empty ? "text" : "textplus"); };
    action("Annotate stack...")->setIcon(noteIcon(!stack || __stack->getAnnotation().empty()));
    action("Annotate slice...")->setIcon(noteIcon(!slice || __slice->getAnnotation().empty()));
}

/// All commands from "New window" to "Run" at once, for the time that a slice is locked; and those of files, which
/// would change the stack under what is being drawn, or save half of it.
void VRLRootMediator::enableActions(bool enabled) {
    bool concerned = false;
    for (QAction* action : __actions) {
        concerned = concerned || action->text() == "New window";
        if (concerned)
            action->setEnabled(enabled && !futureCommands.contains(action->text()));
        concerned = concerned && action->text() != "Run";
    }
    for (const char* text : {"New stack", "New stack from file", "Open stack", "Save stack", "Save stack as...",
                             "Close stack", "Close all"})
        action(text)->setEnabled(enabled);
    __recentFilesMenu->setEnabled(enabled);
}

void VRLRootMediator::setStack(VRLStack& stack, StackSlice* slice) {
    if (&stack == __stack)
        return;
    if (__stack != nullptr)
        disconnect(__stack->history(), nullptr, this, nullptr);
    __stack = &stack;
    __slice = nullptr;
    connect(__stack->history(), &VRLActionHistory::changed, this, &VRLRootMediator::stackHistoryChange);
    __sliceList->setStack(stack);
    __stackList->setSelectedStack(stack);
    if (slice != nullptr) {
        setSlice(*slice);
    } else if (stack.getNumSlices() > 0) {
        const int segmented = stack.findSlice(stack.getLastSegmentedSlice());
        setSlice(stack.getSlice(segmented < 1 ? 0 : segmented));
    } else {
        __sliceWidget->clear();
    }
    updateStatusBarDisplay();
    updateActions();
}

void VRLRootMediator::setSlice(StackSlice& slice) {
    if (__stack == nullptr || slice.getStack() != __stack) {
        if (auto* stack = dynamic_cast<VRLStack*>(slice.getStack()))
            setStack(*stack, &slice);
        return;
    }
    if (&slice != __slice) {
        const WaitCursor cursor;
        __slice = &slice;
        __sliceList->setSelectedSlice(slice);
        __sliceWidget->setSlice(slice);
        updateStatusBarDisplay();
    }
    updateActions();
}

void VRLRootMediator::updateStatusBarDisplay() {
    const QString file = __stack == nullptr ? QString()
                                            : QFile::decodeName(__stack->getFilename().c_str()) + "[*]" +
                                                  (__stack->isReadOnly() ? " (read-only)" : "");
    __window.setTitle(file.toStdString());
    __window.setWindowModified(__stack != nullptr && __stack->isModified());
    __statusBar->setStack(__stack == nullptr ? QString() : QString::fromStdString(__stack->getName()));
    __statusBar->setSlice(__slice == nullptr ? QString() : QString::fromStdString(__slice->getName()));
}

void VRLRootMediator::stackHistoryChange() {
    if (__locked)
        return;
    VRLActionHistory* history = __stack == nullptr ? nullptr : __stack->history();
    enable("Undo", history != nullptr && history->isUndoable());
    enable("Redo", history != nullptr && history->isRedoable());
    action("Undo")->setToolTip(history == nullptr ? "Undo" : "Undo " + history->getUndoDescription(false));
    action("Redo")->setToolTip(history == nullptr ? "Redo" : "Redo " + history->getRedoDescription(false));
}

/// Builds the file commands for one use, with the status bar as monitor; a stack that comes out becomes current.
void VRLRootMediator::withStackIO(const QString& task, const std::function<VRLStack*(VRLStackIO&)>& command) {
    guarded(task, [this, &command] {
        VRLStackIO io(&__window);
        io.addMonitor(*__statusBar);
        if (VRLStack* stack = command(io))
            setStack(*stack);
    });
}

void VRLRootMediator::createStack() {
    withStackIO("New stack", [](VRLStackIO& io) { return io.newStack(); });
}

void VRLRootMediator::createStackFromFile() {
    withStackIO("New stack from file", [](VRLStackIO& io) { return io.newStackFromFile(); });
}

void VRLRootMediator::openStack() {
    withStackIO("Open stack", [](VRLStackIO& io) { return io.openStack(); });
}

void VRLRootMediator::openStack(const QString& file) {
    withStackIO("Open stack", [&file](VRLStackIO& io) { return io.openStack(QFile::encodeName(file).toStdString()); });
}

void VRLRootMediator::updateRecentFilesMenu() {
    __recentFilesMenu->clear();
    for (const QString& path : VRLSettings::getRecentFilesList()) {
        QString text = path;
        QAction* entry = __recentFilesMenu->addAction(text.replace("&", "&&"));
        entry->setData(path);
    }
}

void VRLRootMediator::saveStack() {
    withStackIO("Save stack", [this](VRLStackIO& io) {
        if (__stack != nullptr)
            io.saveStack(*__stack);
        return static_cast<VRLStack*>(nullptr);
    });
}

void VRLRootMediator::saveStackAs() {
    withStackIO("Save stack as...", [this](VRLStackIO& io) {
        if (__stack != nullptr)
            io.saveStackAs(*__stack);
        return static_cast<VRLStack*>(nullptr);
    });
}

void VRLRootMediator::closeStack() {
    withStackIO("Close stack", [this](VRLStackIO& io) {
        if (__stack != nullptr)
            io.closeStack(*__stack);
        return static_cast<VRLStack*>(nullptr);
    });
}

void VRLRootMediator::closeAllStacks() {
    withStackIO("Close all", [](VRLStackIO& io) {
        io.closeAllStacks();
        return static_cast<VRLStack*>(nullptr);
    });
}

void VRLRootMediator::undo() {
    if (__stack != nullptr)
        __stack->history()->undo();
}

void VRLRootMediator::redo() {
    if (__stack != nullptr)
        __stack->history()->redo();
}

void VRLRootMediator::runStackModelsDialog() {
    if (__stack == nullptr)
        return;
    VRLModelDialog dialog(&__window);
    dialog.setStack(*__stack);
    dialog.exec();
}

void VRLRootMediator::insertSlice() {
    withStackIO("Insert slice...", [this](VRLStackIO& io) {
        if (__stack != nullptr && __slice != nullptr)
            io.insertSlice(*__stack, __stack->findSlice(*__slice));
        else if (__stack != nullptr)
            io.insertSlice(*__stack);
        return static_cast<VRLStack*>(nullptr);
    });
}

void VRLRootMediator::deleteSlice() {
    if (__stack == nullptr || __slice == nullptr)
        return;
    auto action = std::make_unique<VRLSliceInsertionDeletionAction>(*__slice);
    action->setDeletionMode();
    action->setSlicePosition(__stack->findSlice(*__slice));
    EditStep step(*__stack->history());
    step.apply(std::move(action));
    step.commit();
}

void VRLRootMediator::runStackPropertiesDialog() {
    const auto stacks = __stackList->selectedStacks();
    if (stacks.size() != 1)
        return;
    VRLStackPropertiesDialog dialog(&__window);
    dialog.setStack(*stacks[0]);
    dialog.exec();
}

void VRLRootMediator::runSlicePropertiesDialog() {
    const auto slices = __sliceList->selectedSlices();
    if (slices.size() != 1)
        return;
    VRLSlicePropertiesDialog dialog(&__window);
    dialog.setSlice(*slices[0]);
    dialog.exec();
}

void VRLRootMediator::runStackAnnotationDialog() {
    const auto stacks = __stackList->selectedStacks();
    if (stacks.size() != 1)
        return;
    VRLStackAnnotationDialog dialog(&__window);
    dialog.setStack(*stacks[0]);
    dialog.exec();
}

void VRLRootMediator::runSliceAnnotationDialog() {
    const auto slices = __sliceList->selectedSlices();
    if (slices.size() != 1)
        return;
    VRLStackAnnotationDialog dialog(&__window);
    dialog.setSlice(*slices[0]);
    dialog.exec();
}

void VRLRootMediator::runPreferencesDialog() {
    VRLPreferencesDialog dialog(&__window);
    dialog.exec();
}

void VRLRootMediator::runAnalysis() {
    if (__stack == nullptr)
        return;
    auto window = std::make_unique<VRLAnalysisWindow>();
    window->setStack(*__stack);
    window.release(); // deletes itself when it is closed
}

/// The window opens only when there are lines to show; otherwise the message says why there are none.
void VRLRootMediator::runOmbrelAction1() {
    static int count = 0; // goes on from one run to the next
    QStringList lines, failures;
    {
        const WaitCursor cursor;
        const VRLStackServer& server = VRLStackServer::stackServer;
        for (int s = 0; s < server.getNumStacks(); ++s)
            try {
                for (double distance : spotDistances(server.getStack(s), "cell", "spotBarycenters"))
                    lines += QString::number(++count) + ' ' + QString::number(distance, 'g', 6);
            } catch (const Exception& failure) {
                failures += QString::fromStdString("Stack \"" + server.getStack(s).getName() + "\" is left out. " +
                                                   failure.getWhat() + ".");
            }
        if (server.getNumStacks() == 0)
            failures += "No stack is open.";
    }
    if (!lines.isEmpty()) {
        auto* window = new QTextEdit; // deletes itself when it is closed
        window->setAttribute(Qt::WA_DeleteOnClose);
        connect(qApp, &QCoreApplication::aboutToQuit, window, &QWidget::close);
        window->setWindowTitle(QString(appName) + " - Distances of spots to the cell");
        window->setWindowIcon(VRLIcons::logo());
        window->setReadOnly(true);
        window->setPlainText(lines.join('\n'));
        window->resize(480, 640);
        window->show();
    }
    if (failures.isEmpty())
        return;
    QMessageBox box(QMessageBox::Information, appName,
                    failures.join("\n\n") + "\n\nThe distances are those of the points of the model "
                                            "\"spotBarycenters\" to the surface of the model \"cell\".",
                    QMessageBox::Ok, &__window);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

void VRLRootMediator::renderCurrentStack() {
    if (__stack == nullptr)
        return;
    guarded("Reconstruct", [this] {
        const WaitCursor cursor;
        auto window = std::make_unique<VRLRenderingWindow>();
        __stack->updateReconstruction();
        window->setStack(*__stack);
        window.release()->show(); // deletes itself when it is closed
    });
}

void VRLRootMediator::goTo(int position) {
    if (__stack != nullptr && position >= 0 && position < __stack->getNumSlices())
        setSlice(__stack->getSlice(position));
}

void VRLRootMediator::setFirstSlice() {
    goTo(0);
}

void VRLRootMediator::setLastSlice() {
    if (__stack != nullptr)
        goTo(__stack->getNumSlices() - 1);
}

void VRLRootMediator::setNextSlice() {
    if (__slice != nullptr)
        goTo(__stack->findSlice(*__slice) + 1);
}

void VRLRootMediator::setPreviousSlice() {
    if (__slice != nullptr)
        goTo(__stack->findSlice(*__slice) - 1);
}

void VRLRootMediator::sliceSelectionChange() {
    const auto slices = __sliceList->selectedSlices();
    if (!slices.empty())
        setSlice(*slices[0]);
}

void VRLRootMediator::stackSelectionChange() {
    const auto stacks = __stackList->selectedStacks();
    if (!stacks.empty())
        setStack(*stacks[0]);
}

// The panorama will follow the mode.
void VRLRootMediator::setCanvasMode(CanvasMode) {
}

// What was locked is given back even when its slice is not the current one any more.
void VRLRootMediator::lockRequest(const bool on) {
    StackSlice* const slice = on ? __slice : __lockedSlice;
    if (slice == nullptr)
        return;
    __lockedSlice = on ? slice : nullptr;
    VRLSliceLockEvent event(slice, on);
    notifyEvent(event);
}

void VRLRootMediator::sliceLockEvent(VRLSliceLockEvent& event) {
    __locked = event.isLockOn();
    if (event.getSender() != this) {
        __window.setEnabled(!__locked);
        updateActions();
        return;
    }
    enableActions(!__locked);
    __stackList->setEnabled(!__locked);
    __sliceList->setEnabled(!__locked);
    updateActions();
}

void VRLRootMediator::stackOpenEvent(VRLStackOpenEvent& event) {
    __stackList->addStack(*event.getStack());
    updateActions();
}

void VRLRootMediator::clearCurrentStack() {
    disconnect(__stack->history(), nullptr, this, nullptr);
    __sliceList->clear();
    __sliceWidget->clear();
    __stack = nullptr;
    __slice = nullptr;
    updateStatusBarDisplay();
}

void VRLRootMediator::stackCloseEvent(VRLStackCloseEvent& event) {
    __stackList->removeStack(*event.getStack());
    if (event.getStack() == __stack)
        clearCurrentStack();
    updateActions();
    // The stack that closes is still counted.
    enable("Close all", VRLStackServer::stackServer.getNumStacks() > 1);
    enable("Normalize", VRLStackServer::stackServer.getNumStacks() > 2);
    enable("Transfer models...", VRLStackServer::stackServer.getNumStacks() > 2);
}

void VRLRootMediator::stackNameEvent(VRLStackNameEvent& event) {
    if (event.getStack() == __stack)
        updateStatusBarDisplay();
}

void VRLRootMediator::stackFileNameEvent(VRLStackFileNameEvent& event) {
    if (event.getStack() == __stack)
        updateStatusBarDisplay();
}

void VRLRootMediator::sliceNameEvent(VRLSliceNameEvent& event) {
    if (event.getSlice() == __slice)
        updateStatusBarDisplay();
}

void VRLRootMediator::stackModifyEvent(VRLStackModifyEvent& event) {
    if (event.getStack() != __stack)
        return;
    updateActions();
    __window.setWindowModified(__stack->isModified());
}

void VRLRootMediator::sliceAnnotationEvent(VRLSliceAnnotationEvent& event) {
    if (event.getSlice() == __slice)
        updateActions();
}

void VRLRootMediator::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (&action.getStack() == __stack)
        reloadSlices(action.getSlicePosition());
}

/// After slices came or went: the current slice stays if it is still there; else its neighbour becomes current.
void VRLRootMediator::reloadSlices(int position) {
    const int row = __slice == nullptr ? -1 : __stack->findSlice(*__slice);
    __sliceList->setStack(*__stack);
    if (row >= 0) {
        __sliceList->setSelectedSlice(*__slice);
    } else {
        __slice = nullptr;
        __sliceWidget->clear();
        if (__stack->getNumSlices() > 0)
            goTo(std::min(position, __stack->getNumSlices() - 1));
        else
            updateStatusBarDisplay();
    }
    updateActions();
}

} // namespace vorlen
