#include "ui/app/vrlrootmediator.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include <QActionGroup>
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QTextEdit>
#include <QToolBar>
#include <QToolButton>

#include "document/stackslice.h"
#include "editing/actions/vrldrawingdiscardaction.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/stepwatch.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/lostimages.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "numerics/exception.h"
#include "reconstruction/spotdistances.h"
#include "ui/analysis/vrlanalysiswindow.h"
#include "ui/app/historypanel.h"
#include "ui/app/rootcommands.h"
#include "ui/app/vrlrootstatusbar.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/app/workspace.h"
#include "ui/comparison/vrlcomparisonwindow.h"
#include "ui/files/vrlstackio.h"
#include "ui/fusion/vrlfusionwindow.h"
#include "ui/icons/vrlicons.h"
#include "ui/models/modelpanel.h"
#include "ui/models/refusal.h"
#include "ui/models/vrlslicelistwidget.h"
#include "ui/models/vrlstacklistwidget.h"
#include "ui/panorama/vrloverviewwidget.h"
#include "ui/panorama/vrlpanorama.h"
#include "ui/registration/vrlregistrationwindow.h"
#include "ui/scenes/vrlrenderingwindow.h"
#include "ui/session/vrlconfig.h"
#include "ui/session/vrlsettings.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"
#include "ui/spots/vrlspotextractionprocess.h"
#include "ui/widgets/blackwhitedoubleslider.h"
#include "ui/widgets/plaintext.h"
#include "ui/widgets/stilllook.h"
#include "ui/widgets/vrlmenu.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

VRLRootMediator::VRLRootMediator(VRLRootWindow& window) : QObject(&window), __window(window) {
    __stillLook = std::make_unique<StillLook>(window);
    __commands.setWindow(rootCommands().window);
    __commands.add(rootCommands().commands);
    __commands.setRunner([this](const Command& command) { guarded(command.text(), command.work()); });
    __recentFilesMenu = new VRLMenu("Recent stacks...", &__window);
    connect(__recentFilesMenu, &QMenu::aboutToShow, this, &VRLRootMediator::updateRecentFilesMenu);
    connect(__recentFilesMenu, qOverload<const QString&>(&VRLMenu::triggered), this,
            qOverload<const QString&>(&VRLRootMediator::openStack));
    bindFileCommands();
    bindEditCommands();
    bindProcessCommands();
    bindViewCommands();
    bindWindowCommands();
    bindWorkspaceCommands();
}

void VRLRootMediator::bindFileCommands() {
    const auto stack = [this] { return __stack != nullptr; };
    __commands.bind("stack.new", [this] { createStack(); });
    __commands.bind("stack.newFromFile", [this] { createStackFromFile(); });
    __commands.bind("stack.open", [this] { openStack(); });
    __commands.command("stack.recent").setMenu(*__recentFilesMenu);
    __commands.bind("stack.save", [this] { saveStack(); }).enableWhen([this] {
        return __stack != nullptr && __stack->isModified();
    });
    __commands.bind("stack.saveAs", [this] { saveStackAs(); }).enableWhen(stack);
    __commands.bind("stack.close", [this] { closeStack(); }).enableWhen(stack);
    __commands.bind("stack.closeAll", [this] { closeAllStacks(); }).enableWhen([this] { return numOpenStacks() > 0; });
}

void VRLRootMediator::bindEditCommands() {
    const auto stack = [this] { return __stack != nullptr; };
    const auto slice = [this] { return __slice != nullptr; };
    __commands.bind("edit.undo", [this] { undo(); }).enableWhen([this] {
        return __stack != nullptr && __stack->history()->isUndoable();
    });
    __commands.bind("edit.redo", [this] { redo(); }).enableWhen([this] {
        return __stack != nullptr && __stack->history()->isRedoable();
    });
    __commands.bind("edit.clearHistory", [this] { clearHistory(); }).enableWhen([this] {
        return __stack != nullptr && (__stack->history()->isUndoable() || __stack->history()->isRedoable());
    });
    __commands.bind("models.edit", [this] { runStackModelsDialog(); }).enableWhen(stack);
    __commands.bind("slice.insert", [this] { insertSlice(); }).enableWhen(stack);
    __commands.bind("slice.delete", [this] { deleteSlice(); }).enableWhen(slice);
    __commands.bind("stack.findImages", [this] { findImages(); }).enableWhen([this] {
        return __stack != nullptr && numLostImages(*__stack) > 0;
    });
    __commands.bind("stack.properties", [this] { runStackPropertiesDialog(); }).enableWhen(stack);
    __commands.bind("slice.properties", [this] { runSlicePropertiesDialog(); }).enableWhen(slice);
    __commands.bind("stack.annotate", [this] { runStackAnnotationDialog(); }).enableWhen(stack);
    __commands.bind("slice.annotate", [this] { runSliceAnnotationDialog(); }).enableWhen(slice);
    __commands.bind("program.preferences", [this] { runPreferencesDialog(); });
}

/// Those that are planned get their conditions beforehand.
void VRLRootMediator::bindProcessCommands() {
    const auto stack = [this] { return __stack != nullptr; };
    const auto severalStacks = [this] { return numOpenStacks() > 1; };
    __commands.bind("stack.register", [this] { registerCurrentStack(); }).enableWhen([this] {
        return __stack != nullptr && __stack->getNumSlices() > 1;
    });
    __commands.bind("stack.reconstruct", [this] { renderCurrentStack(); }).enableWhen(stack);
    __commands.bind("models.transfer", [this] { runStackModelExchangeDialog(); }).enableWhen(severalStacks);
    __commands.bind("stack.findSpots", [this] { runSpotExtraction(); }).enableWhen(stack);
    __commands
        .bind("stacks.normalize",
              [] {
                  auto window = std::make_unique<VRLFusionWindow>();
                  window.release()->show(); // deletes itself when it is closed
              })
        .enableWhen(severalStacks);
    __commands.bind("groups.compare", [] {
        auto window = std::make_unique<VRLComparisonWindow>();
        VRLComparisonWindow* const shown = window.release(); // deletes itself when it is closed
        shown->show();
        shown->newComparison();
    });
    __commands.bind("models.filter", [this] { runModelFilterDialog(); }).enableWhen(stack);
    __commands.bind("stack.measure", [this] { runAnalysis(); }).enableWhen(stack);
    __commands.bind("stacks.spotDistances", [this] { runOmbrelAction1(); });
}

void VRLRootMediator::bindViewCommands() {
    const auto last = [this] { return __stack == nullptr ? -1 : __stack->getNumSlices() - 1; };
    __commands.bind("view.panorama", [this] { showPanorama(); });
    __commands.bind("view.slice", [this] { showPlainview(); });
    __commands.bind("view.overview", [this] { showOverview(__commands.action("view.overview").isChecked()); })
        .enableWhen([this] { return __slice != nullptr; });
    __commands.bind("view.contrast", [this] { showContrast(); }).enableWhen([this] { return __slice != nullptr; });
    __commands.bind("slice.first", [this] { setFirstSlice(); }).enableWhen([this, last] {
        return last() >= 0 && !isAt(0);
    });
    __commands.bind("slice.last", [this] { setLastSlice(); }).enableWhen([this, last] {
        return last() >= 0 && !isAt(last());
    });
    __commands.bind("slice.next", [this] { setNextSlice(); }).enableWhen([this, last] {
        return __slice != nullptr && !isAt(last());
    });
    __commands.bind("slice.previous", [this] { setPreviousSlice(); }).enableWhen([this] {
        return __slice != nullptr && !isAt(0);
    });
    auto* const group = new QActionGroup(this);
    for (const char* view : {"view.panorama", "view.slice"})
        group->addAction(&__commands.action(view));
    __commands.action("view.slice").setChecked(true);
}

void VRLRootMediator::bindWindowCommands() {
    __commands.bind("window.new", [this] { __window.newWindow(); });
    __commands.bind("window.close", [this] { __window.close(); });
    __commands.bind("program.quit", [this] { __window.quit(); });
    __commands.bind("show.toolBar", [this] { __window.toggleToolBar(); });
    __commands.bind("show.browser", [this] { __window.toggleBrowser(); });
    __commands.bind("show.statusBar", [this] { __window.toggleStatusBar(); });
    __commands.bind("help.guide", [this] { __window.openGuide(); });
    __commands.bind("help.homepage", [this] { __window.openHomepage(); });
    __commands.bind("help.manual", [this] { __window.openPDFManual(); });
    __commands.bind("help.mailingList", [this] { __window.subscribeMailingList(); });
    __commands.bind("help.shortcuts", [this] { __window.showShortcuts(); });
    __commands.bind("help.about", [this] { __window.about(); });
}

VRLRootMediator::~VRLRootMediator() = default;

/// Without the one that closes.
int VRLRootMediator::numOpenStacks() const {
    return VRLStackServer::stackServer.getNumStacks() - (__stackCloses ? 1 : 0);
}

/// Whether the current slice is the one of this position in the current stack.
bool VRLRootMediator::isAt(int position) const {
    return __slice != nullptr && __stack->findSlice(*__slice) == position;
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
        PlainMessageBox(QMessageBox::Warning, appName, "\"" + task + "\" could not be carried out:\n" + failure,
                        QMessageBox::Ok, &__window)
            .exec();
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
    __statusBar->setStackAnnotationAction(&__commands.action("stack.annotate"));
    __statusBar->setSliceAnnotationAction(&__commands.action("slice.annotate"));
}

void VRLRootMediator::setPanorama(VRLPanorama& panorama) {
    __panorama = &panorama;
}

void VRLRootMediator::initFileMenu(QMenu& menu) {
    __commands.fill(menu, rootCommands().menu("File"));
}

void VRLRootMediator::initEditMenu(QMenu& menu) {
    __commands.fill(menu, rootCommands().menu("Edit"));
}

void VRLRootMediator::initProcessMenu(QMenu& menu) {
    __commands.fill(menu, rootCommands().menu("Process"));
}

void VRLRootMediator::initAnalyzeMenu(QMenu& menu) {
    __commands.fill(menu, rootCommands().menu("Analyze"));
}

void VRLRootMediator::initialize() {
    updateActions();
    __commands.fill(*__toolBar, rootCommands().menu("Tool bar"));
    __slider = new BlackWhiteDoubleSlider(__toolBar);
    __toolBar->addWidget(__slider);
    __sliceWidget->setBlackWhiteDoubleSlider(*__slider);
    __sliceWidget->setToolBar(*__toolBar);
    __sliceWidget->setStatusBar(__statusBar->getSliceEditWidgetStatusBar());
    __sliceWidget->initialize();
    VRLRootSliceEditWidgetMediator& sliceMediator = __sliceWidget->getMediator();
    sliceMediator.addContextualMenuAction(&__commands.action("slice.properties"));
    sliceMediator.addContextualMenuAction(&__commands.action("slice.annotate"));
    connect(&sliceMediator, &VRLSliceWidgetMediator::canvasModeChanged, this, &VRLRootMediator::setCanvasMode);
    connect(&sliceMediator, &VRLSliceEditWidgetMediator::lockRequested, this, &VRLRootMediator::lockRequest);
    connect(&sliceMediator, &VRLSliceEditWidgetMediator::sliceRequested, this, &VRLRootMediator::setSlice);
    __commands.fill(*__toolBar, rootCommands().menu("Tool bar: slices"));
    sliceMediator.addMonitor(*__statusBar);
    initializePanorama();
    initializeOverview();
    for (int i = 0; i < VRLStackServer::stackServer.getNumStacks(); ++i)
        __stackList->addStack(VRLStackServer::stackServer.getStack(i));
    updateActions();
}

void VRLRootMediator::updateActions() {
    if (__locked)
        return;
    __commands.update();
    stackHistoryChange();
    const auto noteIcon = [](bool empty) { return empty ? "text" : "textplus"; };
    __commands.command("stack.annotate").setIcon(noteIcon(__stack == nullptr || __stack->getAnnotation().empty()));
    __commands.command("slice.annotate").setIcon(noteIcon(__slice == nullptr || __slice->getAnnotation().empty()));
}

void VRLRootMediator::setStack(VRLStack& stack, StackSlice* slice) {
    if (&stack == __stack)
        return;
    if (__stack != nullptr)
        disconnect(__stack->history(), nullptr, this, nullptr);
    __stack = &stack;
    __slice = nullptr;
    __slicePaired = nullptr;
    connect(__stack->history(), &VRLActionHistory::changed, this, &VRLRootMediator::forgetStep);
    connect(__stack->history(), &VRLActionHistory::changed, this, &VRLRootMediator::stackHistoryChange);
    __panorama->setStack(stack);
    __sliceList->setStack(stack);
    __stackList->setSelectedStack(stack);
    if (slice != nullptr) {
        setSlice(*slice);
    } else if (stack.getNumSlices() > 0) {
        const int segmented = stack.findSlice(stack.getLastSegmentedSlice());
        setSlice(stack.getSlice(segmented < 1 ? 0 : segmented));
    } else {
        __sliceWidget->clear();
        showInOverview();
    }
    updateStatusBarDisplay();
    updateWorkspace();
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
        forgetStep();
        __slicePaired = __slice;
        __slice = &slice;
        __sliceList->setSelectedSlice(slice);
        updateWorkspace();
        __sliceWidget->setSlice(slice);
        __panorama->setSlice(slice);
        showInOverview();
        updateStatusBarDisplay();
    }
    updateActions();
}

void VRLRootMediator::updateStatusBarDisplay() {
    const QString path = __stack == nullptr ? QString() : QFile::decodeName(__stack->getFilename().c_str());
    const QString readOnly = __stack != nullptr && __stack->isReadOnly() ? " (read-only)" : "";
    QString title = QFileInfo(path).fileName();
    if (title.isEmpty() && __stack != nullptr) // a stack that was never saved
        title = QString::fromStdString(__stack->getName());
    __window.setTitle(__stack == nullptr ? std::string() : (title + "[*]" + readOnly).toStdString());
    __window.setWindowModified(__stack != nullptr && __stack->isModified());
    __statusBar->setStack(__stack == nullptr ? QString() : QString::fromStdString(__stack->getName()), path);
    __statusBar->setSlice(__slice == nullptr ? QString() : QString::fromStdString(__slice->getName()));
}

void VRLRootMediator::stackHistoryChange() {
    if (__locked)
        return;
    const VRLActionHistory* history = __stack == nullptr ? nullptr : __stack->history();
    const auto describe = [this](const char* id, const QString& text, const QString& step) {
        __commands.update(id);
        __commands.update("edit.clearHistory");
        __commands.action(id).setToolTip(step.isEmpty() ? text : text + ' ' + step);
    };
    describe("edit.undo", "Undo", history == nullptr ? QString() : history->getUndoDescription(false));
    describe("edit.redo", "Redo", history == nullptr ? QString() : history->getRedoDescription(false));
}

/// Builds the file commands for one use, with the status bar as monitor; a stack that comes out becomes current.
void VRLRootMediator::withStackIO(const QString& task, const std::function<VRLStack*(VRLStackIO&)>& command) {
    guarded(task, [this, &command] {
        VRLStackIO io(&__window);
        io.addMonitor(*__statusBar);
        if (VRLStack* stack = command(io)) {
            setStack(*stack);
            __sliceWidget->getCanvas().setFocus(); // the keys lead through the slices at once
        }
        if (!io.getNotice().isEmpty())
            __statusBar->setMessage(io.getNotice());
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

void VRLRootMediator::openDropped(const QStringList& paths) {
    withStackIO("Open stack", [&paths](VRLStackIO& io) { return io.openDropped(paths); });
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
    if (__stack == nullptr || !__stack->history()->isUndoable())
        return;
    VRLActionHistory& history = *__stack->history();
    if (const auto* drawing = dynamic_cast<const VRLDrawingDiscardAction*>(history.nextToUndo())) {
        history.undo(); // the action lives on, to be redone
        setSlice(drawing->getSlice());
        __sliceWidget->getMediator().resumeDrawing(drawing->getModel(), drawing->getVertices());
        tellStep(QString("Brought back: the drawing (model \"%1\", slice \"%2\"). Draw on, or press Escape.")
                     .arg(QString::fromStdString(drawing->getModel().getName()),
                          QString::fromStdString(drawing->getSlice().getName())));
        return;
    }
    const QString what = history.getUndoDescription(false);
    const StepWatch watch(*__stack);
    history.undo();
    showStep("Undone: ", what, watch);
}

void VRLRootMediator::redo() {
    if (__stack == nullptr || !__stack->history()->isRedoable())
        return;
    const QString what = __stack->history()->getRedoDescription(false);
    const StepWatch watch(*__stack);
    __stack->history()->redo();
    showStep("Redone: ", what, watch);
}

void VRLRootMediator::showStep(const QString& verb, const QString& what, const StepWatch& watch) {
    const std::vector<StackSlice*> slices = watch.slices();
    if (!slices.empty() && std::find(slices.begin(), slices.end(), __slice) == slices.end())
        setSlice(*slices.front());
    const QString where = watch.where();
    tellStep(verb + what + (where.isEmpty() ? QString() : " (" + where + ")"));
}

void VRLRootMediator::tellStep(const QString& message) {
    __stepTold = message;
    __statusBar->setMessage(message);
}

void VRLRootMediator::forgetStep() {
    if (!__stepTold.isEmpty() && __statusBar->message() == __stepTold)
        __statusBar->setMessage(QString());
    __stepTold.clear();
}

void VRLRootMediator::clearHistory() {
    if (__stack == nullptr)
        return;
    PlainMessageBox box(
        QMessageBox::Question, "Clear undo history",
        "Forget what was done to the stack \"" + QString::fromStdString(__stack->getName()) +
            "\" so far?\n\nThe stack stays as it is, and so do its file and backups. But nothing that was "
            "done until now can be undone any more, neither now nor when the file is opened again: the "
            "record of it is deleted.",
        QMessageBox::NoButton, &__window);
    box.setTextFormat(Qt::PlainText);
    const QAbstractButton* clear = box.addButton("Clear History", QMessageBox::DestructiveRole);
    box.setDefaultButton(box.addButton(QMessageBox::Cancel));
    box.exec();
    if (box.clickedButton() != clear || __stack == nullptr)
        return;
    __stack->history()->clear();
    tellStep("The undo history was cleared.");
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

void VRLRootMediator::findImages() {
    withStackIO("Find images...", [this](VRLStackIO& io) {
        if (__stack != nullptr)
            io.findImages(*__stack);
        return static_cast<VRLStack*>(nullptr);
    });
}

void VRLRootMediator::deleteSlice() {
    if (__stack == nullptr || __slice == nullptr)
        return;
    std::vector<StackSlice*> slices = {__slice};
    if (!__panorama->isHidden() && __panorama->selectedSlices().size() > 1)
        slices = __panorama->selectedSlices();
    tellRefusal(&__window, deleteSlices(*__stack, slices));
}

void VRLRootMediator::runAnalysis() {
    if (__stack == nullptr || tellRefusal(&__window, requireImageSizes(*__stack)))
        return;
    auto window = std::make_unique<VRLAnalysisWindow>();
    window->setStack(*__stack);
    static_cast<void>(window.release()); // deletes itself when it is closed
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
    PlainMessageBox box(QMessageBox::Information, appName,
                        failures.join("\n\n") + "\n\nThe distances are those of the points of the model "
                                                "\"spotBarycenters\" to the surface of the model \"cell\".",
                        QMessageBox::Ok, &__window);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

/// Begins with the slice that is shown, so that something can be seen.
void VRLRootMediator::registerCurrentStack() {
    if (__stack == nullptr || __stack->getNumSlices() < 2)
        return;
    if (__stack->isRegistrationWindowOpen()) {
        VRLRegistrationWindow::raiseWindowOf(*__stack);
        return;
    }
    guarded("Register", [this] {
        auto* const window = new VRLRegistrationWindow; // deletes itself when it is closed
        window->setStack(*__stack);
        window->showSlice(__slice != nullptr ? *__slice : __stack->getFirstSlice());
    });
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

void VRLRootMediator::runSpotExtraction() {
    if (__stack == nullptr)
        return;
    VRLSpotExtractionProcess process;
    process.setCanvas(__sliceWidget->getCanvas());
    process.run(*__stack);
    if (const int n = process.getNumSpots(); n > 0)
        __statusBar->setMessage(QString("Added %1 %2.").arg(n).arg(n == 1 ? "spot" : "spots"));
}

void VRLRootMediator::sliceSelectionChange() {
    const auto slices = __sliceList->selectedSlices();
    if (!slices.empty())
        leaveFor(*slices[0]);
}

void VRLRootMediator::stackSelectionChange() {
    const auto stacks = __stackList->selectedStacks();
    if (stacks.empty())
        return;
    if (stacks[0] != __stack && !__locked)
        __sliceWidget->getMediator().takeShown();
    setStack(*stacks[0]);
}

void VRLRootMediator::setCanvasMode(CanvasMode mode) {
    __panorama->setCanvasMode(mode);
}

// What was locked is given back even when its slice is not the current one any more.
void VRLRootMediator::lockRequest(const bool on) {
    StackSlice* const slice = on ? __slice : __lockedSlice;
    if (slice == nullptr)
        return;
    __lockedSlice = on ? slice : nullptr;
    if (on && !__panorama->isHidden())
        showPlainview(); // where the drawing is
    VRLSliceLockEvent event(slice, on);
    notifyEvent(event);
}

void VRLRootMediator::sliceLockEvent(VRLSliceLockEvent& event) {
    __locked = event.isLockOn();
    if (event.getSender() == this) {
        lockPanels(__locked);
        return;
    }
    __commands.setLocked(__locked);
    __window.setEnabled(!__locked);
    updateActions();
}

/// Each stroke locks them for a moment, which is not to be seen.
void VRLRootMediator::lockPanels(bool locked) {
    if (locked) {
        std::vector<QWidget*> panels = {__stackList, __sliceList, __toolBar};
        if (__workspace != nullptr)
            panels.insert(panels.end(), {&__workspace->models(), &__workspace->history()});
        for (auto* const button : __statusBar->findChildren<QToolButton*>())
            panels.push_back(button);
        __stillLook->hold(panels);
    }
    __commands.setLocked(locked);
    __stackList->setEnabled(!locked);
    __sliceList->setEnabled(!locked);
    if (__workspace != nullptr) {
        __workspace->models().setLocked(locked);
        __workspace->history().setLocked(locked);
    }
    updateActions();
    if (!locked)
        __stillLook->release();
}

void VRLRootMediator::stackOpenEvent(VRLStackOpenEvent& event) {
    __stackList->addStack(*event.getStack());
    updateActions();
}

void VRLRootMediator::clearCurrentStack() {
    disconnect(__stack->history(), nullptr, this, nullptr);
    __sliceList->clear();
    __sliceWidget->clear();
    __panorama->clear();
    __stack = nullptr;
    __slice = nullptr;
    showInOverview();
    __slicePaired = nullptr;
    updateWorkspace();
    updateStatusBarDisplay();
}

void VRLRootMediator::stackCloseEvent(VRLStackCloseEvent& event) {
    __stackList->removeStack(*event.getStack());
    if (event.getStack() == __stack)
        clearCurrentStack();
    __stackCloses = true;
    updateActions();
    __stackCloses = false;
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
    if (__slicePaired != nullptr && __stack->findSlice(*__slicePaired) < 0)
        __slicePaired = nullptr;
    __sliceList->setStack(*__stack);
    if (row >= 0) {
        __sliceList->setSelectedSlice(*__slice);
    } else {
        __slice = nullptr;
        updateWorkspace();
        __sliceWidget->clear();
        showInOverview();
        if (__stack->getNumSlices() > 0)
            goTo(std::min(position, __stack->getNumSlices() - 1));
        else
            updateStatusBarDisplay();
    }
    updateActions();
}

} // namespace vorlen
