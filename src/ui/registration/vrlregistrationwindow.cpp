#include "ui/registration/vrlregistrationwindow.h"

#include <cmath>

#include <QAbstractSpinBox>
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QSplitter>
#include <QStyle>
#include <QVBoxLayout>

#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"
#include "ui/icons/vrlicons.h"
#include "ui/registration/landmarkpanel.h"
#include "ui/registration/registrationcommands.h"
#include "ui/registration/stripview.h"
#include "ui/registration/vrlautomaticregistrationpanel.h"
#include "ui/registration/vrlregistrationcanvas.h"
#include "ui/registration/vrlregistrationmediator.h"
#include "ui/registration/vrlregistrationpanel.h"
#include "ui/registration/vrlregistrationstatusbar.h"
#include "ui/registration/vrlregistrationtoolbar.h"
#include "ui/session/vrlconfig.h"
#include "ui/widgets/placedwindow.h"
#include "ui/widgets/plaintext.h"

namespace vorlen {

namespace {

/// Two thirds of the screen's width and height.
QSize defaultSize() {
    const QSize screen = QGuiApplication::primaryScreen()->size();
    return {int(std::lround(screen.width() * 2 / 3.0)), int(std::lround(screen.height() * 2 / 3.0))};
}

} // namespace

VRLRegistrationWindow::VRLRegistrationWindow(QWidget* parent) : QWidget(parent, Qt::Window) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle("Registration");
    setWindowIcon(VRLIcons::icon("registration"));
    __automaticPanel = new VRLAutomaticRegistrationPanel(this);
    __canvas = new VRLRegistrationCanvas(this);
    __panel = new VRLRegistrationPanel(this);
    __statusBar = new VRLRegistrationStatusBar(this);
    __toolBar = new VRLRegistrationToolBar(this);
    __landmarkPanel = new LandmarkPanel(this);
    __strips = new StripView(this);
    __mediator = new VRLRegistrationMediator(*this, *__canvas, *__panel, *__automaticPanel, *__landmarkPanel, *__strips,
                                             *__statusBar, *__toolBar);
    __mediator->initialize();
    layOut();
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        __mediator->clear(); // nobody is asked any more
        close();
    });
    keepPlace(*this, "registrationWindow", defaultSize());
    show();
    __canvas->setFocus();
}

// The mediator looks at the widgets while it goes.
VRLRegistrationWindow::~VRLRegistrationWindow() {
    delete __mediator;
}

CommandRegistry& VRLRegistrationWindow::commands() const {
    return __mediator->commands();
}

void VRLRegistrationWindow::layOut() {
    auto* const menuBar = new QMenuBar(this);
    for (const CommandMenu& menu : registrationCommands().menus)
        commands().addMenu(*menuBar, menu);
    auto* const controls = new QWidget;
    auto* const column = new QVBoxLayout(controls);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    column->addWidget(__panel);
    column->addWidget(__automaticPanel);
    column->addWidget(__landmarkPanel);
    column->addStretch();
    // The controls are tall: on a small screen they scroll, so that the window need not be as tall.
    auto* const area = new QScrollArea(this);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidgetResizable(true);
    area->setWidget(controls);
    __controls = area;
    for (auto* const child : controls->findChildren<QWidget*>())
        if (qobject_cast<QComboBox*>(child) != nullptr || qobject_cast<QAbstractSpinBox*>(child) != nullptr ||
            qobject_cast<QSlider*>(child) != nullptr)
            child->installEventFilter(this);
    area->setFixedWidth(controls->sizeHint().width() + style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 4);
    connect(&commands().action("landmarks.set"), &QAction::toggled, area, [this, area](bool on) {
        if (on)
            area->ensureWidgetVisible(__landmarkPanel);
    });
    auto* const body = new QHBoxLayout;
    body->setContentsMargins(5, 0, 5, 0);
    auto* const pictures = new QSplitter(Qt::Vertical, this);
    pictures->setChildrenCollapsible(false);
    pictures->addWidget(__canvas);
    pictures->addWidget(__strips);
    pictures->setStretchFactor(0, 1);
    __strips->hide();
    body->addWidget(pictures, 1);
    body->addWidget(area);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->setMenuBar(menuBar);
    layout->addWidget(__toolBar);
    layout->addLayout(body, 1);
    layout->addSpacing(10);
    layout->addWidget(__statusBar);
}

bool VRLRegistrationWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Wheel || __controls->verticalScrollBar()->maximum() == 0)
        return QWidget::eventFilter(watched, event);
    QCoreApplication::sendEvent(__controls->viewport(), event);
    event->accept();
    return true;
}

bool VRLRegistrationWindow::raiseWindowOf(const VRLStack& stack) {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        auto* const window = qobject_cast<VRLRegistrationWindow*>(widget);
        if (window == nullptr || window->__stack != &stack)
            continue;
        window->showNormal();
        window->raise();
        window->activateWindow();
        return true;
    }
    return false;
}

void VRLRegistrationWindow::setStack(VRLStack& stack) {
    if (stack.getNumSlices() <= 1)
        return;
    if (__stack != nullptr)
        __stack->setRegistrationWindowOpen(false);
    __stack = &stack;
    __stack->setRegistrationWindowOpen(true);
    __mediator->setStack(stack);
}

void VRLRegistrationWindow::showSlice(StackSlice& slice) {
    StackSlice& shown = slice.isFirstSlice() ? slice.nextSlice() : slice;
    if (__mediator->getSlice() == nullptr && __stack != nullptr) {
        layout()->activate(); // the canvas has its size now, even if nothing was painted yet
        __canvas->setScale(__canvas->fittingScale(shown));
    }
    __mediator->setSlice(shown);
}

void VRLRegistrationWindow::stackCloseEvent(VRLStackCloseEvent& event) {
    if (__stack == nullptr || event.getStack() != __stack)
        return;
    __mediator->clear(); // the stack is gone before the window is
    close();
}

/// Asks about a registration that was not applied.
bool VRLRegistrationWindow::mayClose() {
    if (!__mediator->isPending())
        return true;
    PlainMessageBox box(QMessageBox::Question, appName, "The registration that is shown was not applied. Apply it?",
                        QMessageBox::Apply | QMessageBox::Discard | QMessageBox::Cancel, this);
    const int answer = box.exec();
    if (answer == QMessageBox::Apply)
        __mediator->apply();
    else if (answer == QMessageBox::Discard)
        __mediator->restore();
    return !__mediator->isPending();
}

void VRLRegistrationWindow::closeEvent(QCloseEvent* event) {
    __mediator->finishRun();
    if (!mayClose()) {
        event->ignore();
        return;
    }
    if (__stack != nullptr)
        __stack->setRegistrationWindowOpen(false);
    __stack = nullptr;
    __mediator->clear();
    event->accept();
}

} // namespace vorlen
