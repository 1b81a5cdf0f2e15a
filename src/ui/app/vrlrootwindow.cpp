#include "ui/app/vrlrootwindow.h"

#include <cmath>

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDialog>
#include <QFile>
#include <QFrame>
#include <QGuiApplication>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>
#include <QVBoxLayout>

#include "ui/analysis/analysiscommands.h"
#include "ui/app/guidewindow.h"
#include "ui/app/rootcommands.h"
#include "ui/app/vrlaboutwidget.h"
#include "ui/app/vrlrootbrowser.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootstatusbar.h"
#include "ui/app/workspace.h"
#include "ui/commands/mnemonics.h"
#include "ui/commands/shortcutsdialog.h"
#include "ui/comparison/comparisoncommands.h"
#include "ui/files/vrlstackio.h"
#include "ui/fusion/fusioncommands.h"
#include "ui/icons/vrlicons.h"
#include "ui/panorama/vrlpanorama.h"
#include "ui/registration/registrationcommands.h"
#include "ui/scenes/renderingcommands.h"
#include "ui/session/vrlconfig.h"
#include "ui/session/vrlrecovery.h"
#include "ui/slices/slicecommands.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"
#include "ui/widgets/elidedline.h"
#include "ui/widgets/placedwindow.h"
#include "ui/widgets/vrlsplitter.h"

namespace vorlen {

namespace {

const QUrl homepage("https://example.org/vorlen");
const QUrl manual("https://example.org/vorlen/manual.pdf");
const QUrl mailingList("https://example.org/vorlen/list");
constexpr int longestHint = 140; // characters, about

void restoreVisibility(QAction& toggle, const QString& settingsKey, QWidget& part) {
    const bool visible = QSettings().value(settingsKey, true).toBool();
    toggle.setChecked(visible);
    part.setVisible(visible);
}

/// Two thirds of the screen's width and height; more of a small screen, so that the slice has room beside the panels.
QSize defaultSize() {
    const QSize screen = QGuiApplication::primaryScreen()->size();
    const QSize usual(static_cast<int>(std::lround(screen.width() * 2 / 3.0)),
                      static_cast<int>(std::lround(screen.height() * 2 / 3.0)));
    return usual.expandedTo(QSize(1024, 700)).boundedTo(QGuiApplication::primaryScreen()->availableSize());
}

/// What the lists have of 1000 parts of the width at first; less in a small window, so that the slice has room.
int browserShare() {
    return QSettings().value("rootWindow/size", defaultSize()).toSize().width() < 1000 ? 180 : 250;
}

} // namespace

int VRLRootWindow::__numRootWindows = 0;
bool VRLRootWindow::__uponQuitting = false;

/// A line for the hints of the slice editor, which have no room beside the fields of its status bar.
QLabel* VRLRootWindow::newHintLine(QWidget* parent) {
    auto* line = new ElidedLine(parent);
    line->setContentsMargins(6, 2, 6, 2);
    line->setAccessibleName("Hint");
    line->setRoomFor(longestHint);
    connect(&__statusBar->getSliceEditWidgetStatusBar(), &QStatusBar::messageChanged, line, &ElidedLine::setLine);
    return line;
}

/// What a right click on the slice offers too, and would not be looked for there.
void VRLRootWindow::addOutlineMenu(QMenu& edit) {
    auto* const outlines = new QMenu("Outlines", &edit);
    outlines->setObjectName("menu.outlines");
    VRLRootSliceEditWidgetMediator& editor = __sliceWidget->getMediator();
    for (const char* const id :
         {"copy.clipboard", "paste.clipboard", "delete", "select.all", commandSeparator, "copy.next", "copy.previous",
          "copy.slices", commandSeparator, "gap.fill", "gap.fillAll", commandSeparator, "edit.points", "edit.split",
          "edit.join", "edit.snake"})
        if (id == commandSeparator)
            outlines->addSeparator();
        else
            outlines->addAction(&editor.getCommand(id));
    giveMnemonics(outlines->actions());
    outlines->setToolTipsVisible(true);
    QAction* const below = &__mediator->commands().action("models.edit");
    edit.insertMenu(below, outlines);
    edit.insertSeparator(below);
    giveMnemonics(edit.actions());
    connect(&edit, &QMenu::aboutToShow, outlines, [this, outlines] {
        outlines->setEnabled(__mediator->currentStack() != nullptr && !__mediator->isLocked() &&
                             __sliceWidget->isVisible());
    });
}

VRLRootWindow::VRLRootWindow() {
    ++__numRootWindows;
    auto* menuBar = new QMenuBar(this);
    __toolBar = new QToolBar(this);
    __toolBar->setIconSize(toolBarIconSize);
    __statusBar = new VRLRootStatusBar(this);
    __browser = new VRLRootBrowser(this);
    __panorama = new VRLPanorama(this);
    __sliceWidget = new VRLRootSliceEditWidget(this);
    __mediator = new VRLRootMediator(*this);

    __mediator->setMenuBar(*menuBar);
    __mediator->setStackListWidget(__browser->stackList());
    __mediator->setSliceListWidget(__browser->sliceList());
    __mediator->setToolBar(*__toolBar);
    __mediator->setRootWidget(*__sliceWidget);
    __mediator->setStatusBar(*__statusBar);
    __mediator->setPanorama(*__panorama);

    QMenu* file = menuBar->addMenu("File");
    QMenu* edit = menuBar->addMenu("Edit");
    QMenu* process = menuBar->addMenu("Process");
    QMenu* analyze = menuBar->addMenu("Analyze");
    QMenu* showMenu = menuBar->addMenu("Show");
    QMenu* help = menuBar->addMenu("Help");
    __mediator->initFileMenu(*file);
    __mediator->initEditMenu(*edit);
    __mediator->initProcessMenu(*process);
    __mediator->initAnalyzeMenu(*analyze);
    __mediator->initialize();
    auto* views = new QFrame(this);
    auto* viewsLayout = new QVBoxLayout(views);
    viewsLayout->setContentsMargins(0, 0, 0, 0);
    viewsLayout->setSpacing(0);
    viewsLayout->addWidget(__panorama, 1);
    viewsLayout->addWidget(__sliceWidget, 1);
    viewsLayout->addWidget(newHintLine(views));
    __workspace = new Workspace(views, *__sliceWidget, this);
    __mediator->setWorkspace(*__workspace);
    const CommandRegistry& commands = __mediator->commands();
    commands.fill(*showMenu, rootCommands().menu("Show"));
    commands.fill(*help, rootCommands().menu("Help"));
    for (QMenu* menu : {file, edit, process, analyze, showMenu, help})
        menu->setToolTipsVisible(true);
    addOutlineMenu(*edit);
    giveMnemonics(menuBar->actions());
    restoreVisibility(commands.action("show.toolBar"), "rootWindow/toolBarVisible", *__toolBar);
    restoreVisibility(commands.action("show.browser"), "rootWindow/browserVisible", *__browser);
    restoreVisibility(commands.action("show.statusBar"), "rootWindow/statusBarVisible", *__statusBar);

    auto* splitter = new VRLSplitter("rootWindowSplitter", Qt::Horizontal, this);
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(__browser, browserShare());
    splitter->addWidget(__workspace, 1000 - browserShare());
    splitter->setStretchFactor(1, 1); // a wide window has more room for the slice, not for the lists
    splitter->restore();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->setMenuBar(menuBar);
    layout->addWidget(__toolBar);
    layout->addWidget(splitter, 1);
    layout->addWidget(__statusBar);

    if (const VRLRecovery* recovery = VRLRecovery::running()) {
        connect(recovery, &VRLRecovery::problemChanged, __statusBar, &VRLRootStatusBar::setWarning);
        __statusBar->setWarning(recovery->problem());
    }
    connect(qApp, &QCoreApplication::aboutToQuit, this, &QObject::deleteLater);
    QGuiApplication::setWindowIcon(VRLIcons::logo()); // of dialogs and windows that have none of their own, too
    setWindowFlag(Qt::Window);
    setAttribute(Qt::WA_DeleteOnClose);
    keepPlace(*this, "rootWindow", defaultSize());
    show();
    __sliceWidget->setFocus(); // the canvas
    // Only now does the workspace have its size: in a smaller one the docks would come back at their least.
    __workspace->restoreLayout();
    setTitle("");
    setAcceptDrops(true);
    __statusBar->setMessage("Ready.", 2000);
}

VRLRootWindow::~VRLRootWindow() {
    __workspace->saveLayout();
    --__numRootWindows;
}

void VRLRootWindow::startupOpenStack(const std::string& file) {
    __mediator->openStack(QFile::decodeName(file.c_str()));
}

void VRLRootWindow::startupOpen(const QStringList& files) {
    QStringList others;
    for (const QString& file : files) {
        // What isn't there may be a stack whose name was given without its ending.
        if (QFileInfo::exists(file) && QFileInfo(file).suffix() != "sdf")
            others += QFileInfo(file).absoluteFilePath();
        else
            startupOpenStack(QFile::encodeName(file).toStdString());
    }
    if (!others.isEmpty())
        __mediator->openDropped(others);
}

void VRLRootWindow::startupRecover(VRLRecovery& recovery) {
    VRLStackIO io(this);
    io.addMonitor(*__statusBar);
    if (VRLStack* stack = io.recoverStacks(recovery))
        __mediator->setStack(*stack);
    __sliceWidget->setFocus();
}

void VRLRootWindow::setTitle(const std::string& text) {
    setWindowTitle(text.empty() ? QString(appName) : QString::fromStdString(text) + " - " + appName);
}

void VRLRootWindow::newWindow() {
    new VRLRootWindow; // deletes itself when it is closed
}

void VRLRootWindow::toggle(QWidget& part, const QString& settingsKey) {
    part.setVisible(part.isHidden());
    QSettings().setValue(settingsKey, !part.isHidden());
}

void VRLRootWindow::toggleBrowser() {
    toggle(*__browser, "rootWindow/browserVisible");
}

void VRLRootWindow::toggleToolBar() {
    toggle(*__toolBar, "rootWindow/toolBarVisible");
}

void VRLRootWindow::toggleStatusBar() {
    toggle(*__statusBar, "rootWindow/statusBarVisible");
}

void VRLRootWindow::openGuide() {
    GuideWindow::open("guide.md");
}

void VRLRootWindow::openHomepage() {
    QDesktopServices::openUrl(homepage);
}

void VRLRootWindow::openPDFManual() {
    QDesktopServices::openUrl(manual);
}

void VRLRootWindow::subscribeMailingList() {
    QDesktopServices::openUrl(mailingList);
}

void VRLRootWindow::quit() {
    __statusBar->setMessage("Exiting application...");
    if (!confirmQuit()) {
        __statusBar->setMessage("Exit canceled", 1000);
        return;
    }
    __uponQuitting = true;
    QCoreApplication::exit(0); // the windows go with it, and are not asked once more
}

bool VRLRootWindow::confirmQuit() {
    VRLStackIO io(this);
    io.addMonitor(*__statusBar);
    return io.closeAllStacks();
}

void VRLRootWindow::showShortcuts() {
    auto* dialog = findChild<ShortcutsDialog*>();
    if (dialog == nullptr) {
        dialog = new ShortcutsDialog(this); // deletes itself when it is closed
        dialog->addSheet(rootCommands());
        dialog->addSheet(sliceEditorCommands());
        dialog->addSheet(registrationCommands());
        dialog->addSheet(renderingCommands());
        dialog->addSheet(analysisCommands());
        dialog->addSheet(fusionCommands());
        dialog->addSheet(comparisonCommands());
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

void VRLRootWindow::about() {
    QDialog dialog(this);
    dialog.setWindowTitle(QString("About ") + appName);
    auto* ok = new QPushButton(" OK ", &dialog);
    connect(ok, &QPushButton::clicked, &dialog, &QDialog::accept);
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(new VRLAboutWidget(&dialog));
    layout->addWidget(ok, 0, Qt::AlignHCenter);
    dialog.exec();
}

void VRLRootWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls() && !__mediator->isLocked())
        event->acceptProposedAction();
}

void VRLRootWindow::dropEvent(QDropEvent* event) {
    if (__mediator->isLocked())
        return event->ignore();
    event->acceptProposedAction();
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls())
        paths += url.toLocalFile();
    __mediator->openDropped(paths);
}

void VRLRootWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    if (__mediator->isLocked()) {
        __statusBar->setMessage("Finish what you draw or edit first, or give it up.", 4000);
        return;
    }
    if (!__uponQuitting && numOpenRootWindows() < 2) {
        quit();
        return;
    }
    __closed = true;
    event->accept();
}

/// Without those that have been closed and wait for their deletion.
int VRLRootWindow::numOpenRootWindows() {
    int number = 0;
    for (const QWidget* widget : QApplication::topLevelWidgets())
        if (const auto* window = qobject_cast<const VRLRootWindow*>(widget))
            number += window->__closed ? 0 : 1;
    return number;
}

} // namespace vorlen
