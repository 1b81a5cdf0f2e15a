#include "ui/scenes/vrlrenderingwindow.h"

#include <cmath>
#include <memory>

#include <QAction>
#include <QCoreApplication>
#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QScrollArea>
#include <QSettings>
#include <QStyle>
#include <QVBoxLayout>

#include "editing/bus/vrlstackevent.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "ui/icons/vrlicons.h"
#include "ui/models/guarded.h"
#include "ui/models/refusal.h"
#include "ui/models/vrlmodeldialog.h"
#include "ui/scenes/renderingcommands.h"
#include "ui/scenes/vrlrenderingmediator.h"
#include "ui/scenes/vrlrenderingtoolbar.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/viewer/viewerposepanel.h"
#include "ui/widgets/placedwindow.h"

namespace vorlen {

namespace {

/// Two thirds of the screen's width and height.
QSize defaultSize() {
    const QSize screen = QGuiApplication::primaryScreen()->size();
    return {int(std::lround(screen.width() * 2 / 3.0)), int(std::lround(screen.height() * 2 / 3.0))};
}

} // namespace

VRLRenderingWindow::VRLRenderingWindow(QWidget* parent) : QWidget(parent, Qt::Window) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle("Rendering");
    setWindowIcon(VRLIcons::icon("threedimensions"));

    __toolbar = new VRLRenderingToolbar(this);
    __frame = new QFrame(this);
    __frame->setFrameStyle(QFrame::Box | QFrame::Plain);
    __canvas = new ViewerCanvasGL(__frame);
    auto* frameLayout = new QVBoxLayout(__frame);
    frameLayout->setContentsMargins(0, 0, 0, 0);
    frameLayout->addWidget(__canvas);
    __panel = new ViewerPosePanel;
    // The panel is tall: on a small screen it scrolls, so that the window need not be as tall.
    __panelArea = new QScrollArea(this);
    __panelArea->setFrameShape(QFrame::NoFrame);
    __panelArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    __panelArea->setWidgetResizable(true);
    __panelArea->setWidget(__panel);
    __panelArea->setFixedWidth(__panel->sizeHint().width() + style()->pixelMetric(QStyle::PM_ScrollBarExtent));

    __mediator = new VRLRenderingMediator(this);
    __mediator->setCanvas(__canvas);
    __mediator->setPosePanel(__panel);
    __mediator->setToolbar(*__toolbar);
    __mediator->initialize();
    connect(__mediator, &VRLRenderingMediator::stackChanged, this, &VRLRenderingWindow::showStackName);

    buildMenus();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->setMenuBar(__menuBar);
    layout->addWidget(__toolbar);
    auto* body = new QHBoxLayout;
    body->setContentsMargins(5, 5, 5, 5);
    body->setSpacing(5);
    body->addWidget(__frame, 1);
    body->addWidget(__panelArea, 0);
    layout->addLayout(body, 1);

    connect(qApp, &QCoreApplication::aboutToQuit, this, &QWidget::close);
    restoreSettings();
}

// The mediator takes its painters off the canvas, so it goes first.
VRLRenderingWindow::~VRLRenderingWindow() {
    delete __mediator;
}

void VRLRenderingWindow::buildMenus() {
    CommandRegistry& commands = __mediator->commands();
    commands.bind(
        "window.close", [this] { close(); });
    commands.bind(
        "models.edit", [this] { editModels(); });
    commands.bind(
        "show.toolBar", [this] { toggleToolBar(); });
    commands.bind("show.panel", [this] { togglePanel(); });
    __menuBar = new QMenuBar(this);
    QMenu* rendering = __menuBar->addMenu("Rendering");
    rendering->setToolTipsVisible(true);
    __mediator->initRenderingMenu(*rendering);
    commands.addMenu(*__menuBar, renderingCommands().menu("Edit"));
    initPoseMenu();
    commands.addMenu(*__menuBar, renderingCommands().menu("Show"));
    commands.update();
}

void VRLRenderingWindow::initPoseMenu() {
    CommandRegistry& commands = __mediator->commands();
    __selectPoseMenu = new QMenu("Select", this);
    __deletePoseMenu = new QMenu("Delete", this);
    const auto poses = [this] {
        return __mediator->getStack() != nullptr && __mediator->getStack()->getNumPoses() > 0;
    };
    commands.bind("pose.record", [this] { recordPose(); });
    commands.command("pose.select").setMenu(*__selectPoseMenu).enableWhen(poses);
    commands.command("pose.delete").setMenu(*__deletePoseMenu).enableWhen(poses);
    QMenu& pose = commands.addMenu(*__menuBar, renderingCommands().menu("Pose"));
    connect(&pose, &QMenu::aboutToShow, this, &VRLRenderingWindow::updatePoseMenu);
    connect(__selectPoseMenu, &QMenu::triggered, this, &VRLRenderingWindow::selectPose);
    connect(__deletePoseMenu, &QMenu::triggered, this, &VRLRenderingWindow::deletePose);
}

void VRLRenderingWindow::restoreSettings() {
    const QSettings settings;
    const bool toolBar = settings.value("renderingWindow/toolBarVisible", true).toBool();
    __toolbar->setVisible(toolBar);
    __mediator->commands().action("show.toolBar").setChecked(toolBar);
    const bool panel = settings.value("renderingWindow/panelVisible", true).toBool();
    __panelArea->setVisible(panel);
    __mediator->commands().action("show.panel").setChecked(panel);
    keepPlace(*this, "renderingWindow", defaultSize());
}

void VRLRenderingWindow::setStack(VRLStack& stack) {
    __mediator->setStack(stack);
}

void VRLRenderingWindow::showStackName() {
    if (__mediator->getStack() != nullptr)
        setWindowTitle(QString::fromStdString(__mediator->getStack()->getName()));
}

void VRLRenderingWindow::stackCloseEvent(VRLStackCloseEvent& event) {
    if (__mediator->getStack() == nullptr || event.getStack() != __mediator->getStack())
        return;
    __mediator->clear(); // the stack is gone before the window is
    close();
}

void VRLRenderingWindow::stackNameEvent(VRLStackNameEvent& event) {
    if (event.getStack() == __mediator->getStack())
        showStackName();
}

void VRLRenderingWindow::editModels() {
    if (__mediator->getStack() == nullptr)
        return;
    VRLModelDialog dialog(this);
    dialog.setStack(*__mediator->getStack());
    dialog.exec();
}

void VRLRenderingWindow::updatePoseMenu() {
    __selectPoseMenu->clear();
    __deletePoseMenu->clear();
    const VRLStack* stack = __mediator->getStack();
    const int numPoses = stack == nullptr ? 0 : stack->getNumPoses();
    for (int k = 0; k < numPoses; ++k) {
        const QString name = QString::fromStdString(stack->getPose(k).getName()).replace("&", "&&");
        __selectPoseMenu->addAction(name)->setData(k);
        __deletePoseMenu->addAction(name)->setData(k);
    }
    __mediator->commands().update();
}

void VRLRenderingWindow::recordPose() {
    VRLStack* stack = __mediator->getStack();
    if (stack == nullptr)
        return;
    bool accepted = false;
    QString name =
        QInputDialog::getText(this, "Rendering", "Enter pose name:", QLineEdit::Normal, QString(), &accepted).trimmed();
    if (!accepted)
        return;
    if (name.isEmpty())
        name = QString("Pose %1").arg(stack->getNumPoses() + 1);
    guarded(this, "The pose cannot be recorded.",
            [&] { tellRefusal(this, vorlen::recordPose(*stack, __canvas->getPose(), name.toStdString())); });
}

void VRLRenderingWindow::selectPose(QAction* action) {
    const VRLStack* stack = __mediator->getStack();
    const int place = action->data().toInt();
    if (stack != nullptr && place >= 0 && place < stack->getNumPoses())
        __mediator->setPose(stack->getPose(place));
}

void VRLRenderingWindow::deletePose(QAction* action) {
    VRLStack* stack = __mediator->getStack();
    const int place = action->data().toInt();
    if (stack != nullptr)
        guarded(this, "The pose cannot be deleted.", [&] { tellRefusal(this, vorlen::deletePose(*stack, place)); });
}

void VRLRenderingWindow::togglePanel() {
    __panelArea->setVisible(__panelArea->isHidden());
    __mediator->commands().action("show.panel").setChecked(!__panelArea->isHidden());
    QSettings().setValue("renderingWindow/panelVisible", !__panelArea->isHidden());
}

void VRLRenderingWindow::toggleToolBar() {
    __toolbar->setVisible(__toolbar->isHidden());
    __mediator->commands().action("show.toolBar").setChecked(!__toolbar->isHidden());
    QSettings().setValue("renderingWindow/toolBarVisible", !__toolbar->isHidden());
}

void VRLRenderingWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!__fitted && __mediator->getStack() != nullptr)
        __mediator->fit();
    __fitted = true;
}

} // namespace vorlen
