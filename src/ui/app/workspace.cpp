#include "ui/app/workspace.h"

#include <algorithm>
#include <vector>

#include <QCheckBox>
#include <QDockWidget>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSettings>
#include <QToolBar>
#include <QVBoxLayout>

#include "editing/stacks/vrlstack.h"
#include "ui/app/historypanel.h"
#include "ui/cuts/cutspanel.h"
#include "ui/icons/vrlicons.h"
#include "ui/models/modelpanel.h"
#include "ui/models/modelviews.h"
#include "ui/scenes/scenepanel.h"
#include "ui/session/vrlconfig.h"
#include "ui/slices/tooloptionspanel.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/widgets/placedwindow.h"
#include "ui/widgets/viewpane.h"

namespace vorlen {

namespace {

const char* const layoutKey = "rootWindow/workspace";
constexpr int layoutVersion = 4;

/// A strip over the slice, with a sentence and a row of buttons below it, which has room over a narrow slice too.
QFrame* newStrip(const QString& text, const std::vector<QPushButton*>& buttons, QWidget* parent) {
    auto* const strip = new QFrame(parent);
    strip->setAutoFillBackground(true);
    strip->setBackgroundRole(QPalette::ToolTipBase);
    strip->setForegroundRole(QPalette::ToolTipText);
    auto* const layout = new QVBoxLayout(strip);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(8);
    auto* const label = new QLabel(text, strip);
    label->setForegroundRole(QPalette::ToolTipText);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    layout->addWidget(label);
    auto* const row = new QHBoxLayout;
    row->setSpacing(6);
    for (QPushButton* const button : buttons) {
        button->setMinimumWidth(button->fontMetrics().horizontalAdvance(button->text()) + 6); // on a narrow screen
        row->addWidget(button);
    }
    row->addStretch(1);
    layout->addLayout(row);
    return strip;
}

} // namespace

Workspace::Workspace(QWidget* views, VRLRootSliceEditWidget& sliceWidget, QWidget* parent)
    : QMainWindow(parent, Qt::Widget) {
    setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
    setContextMenuPolicy(Qt::NoContextMenu); // docks are shown and hidden by the menu "Show"
    ModelViews& modelViews = sliceWidget.getMediator().modelViews();
    auto* const layout = static_cast<QVBoxLayout*>(views->layout());
    __welcome = newFirstSteps(views);
    layout->insertWidget(0, __welcome);
    auto* const newModel = new QPushButton("New model", views);
    newModel->setObjectName("newModelOverSlice");
    __noModels =
        newStrip("This stack has no models yet. A model is a structure that you will outline.", {newModel}, views);
    layout->insertWidget(1, __noModels);
    setCentralWidget(views);

    __models = new ModelPanel(modelViews, this);
    __history = new HistoryPanel(this);
    __modelDock = newDock("Models", "dock.models", __models);
    __historyDock = newDock("History", "dock.history", __history);
    addDockWidget(Qt::RightDockWidgetArea, __modelDock);
    addDockWidget(Qt::RightDockWidgetArea, __historyDock);
    tabifyDockWidget(__modelDock, __historyDock);
    __optionsDock = newDock("Tool options", "dock.toolOptions", newToolOptions(sliceWidget.getMediator()));
    addDockWidget(Qt::RightDockWidgetArea, __optionsDock);
    connect(&sliceWidget.getMediator(), &VRLSliceEditWidgetMediator::toolChosen, this, &Workspace::fitToolOptions,
            Qt::QueuedConnection); // when they are there
    __modelDock->raise();
    __cuts = new CutsPanel(modelViews, this);
    __cutsDock = newDock("Cuts", "dock.cuts", newCuts());
    addDockWidget(Qt::BottomDockWidgetArea, __cutsDock);
    __cutsDock->hide();
    __scene = new ScenePanel(this);
    __sceneDock = newDock("3D view", "dock.scene", __scene);
    // Out of the window the canvas would lose what it has prepared for drawing; for that there is the own window.
    __sceneDock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetClosable);
    splitDockWidget(__cutsDock, __sceneDock, Qt::Horizontal);
    __sceneDock->hide();
    connect(newModel, &QPushButton::clicked, this, [this] {
        __modelDock->show();
        __modelDock->raise();
        __models->createModel();
    });

    __tools = new QToolBar("Tools", this);
    __tools->setObjectName("bar.tools");
    __tools->setIconSize(toolBarIconSize);
    addToolBar(Qt::LeftToolBarArea, __tools);
    updateFirstSteps();
}

QDockWidget* Workspace::newDock(const QString& title, const char* name, QWidget* content) {
    auto* const dock = new QDockWidget(title, this);
    dock->setObjectName(name);
    dock->setWidget(content);
    return dock;
}

/// In a view that scrolls where the dock is low.
QWidget* Workspace::newToolOptions(VRLSliceEditWidgetMediator& editor) {
    auto* const view = new QScrollArea(this);
    view->setFrameShape(QFrame::NoFrame);
    view->setWidgetResizable(true);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setWidget(new ToolOptionsPanel(editor, view));
    return view;
}

void Workspace::fitToolOptions() {
    auto* const view = static_cast<QScrollArea*>(__optionsDock->widget());
    if (__optionsDock->isFloating() || !__optionsDock->isVisible() || !tabifiedDockWidgets(__optionsDock).isEmpty())
        return;
    const QWidget& options = *view->widget();
    const int needed = options.layout()->hasHeightForWidth() ? options.layout()->totalHeightForWidth(options.width())
                                                             : options.sizeHint().height();
    const int lacking = needed - view->viewport()->height();
    if (lacking <= 0)
        return;
    const int wanted = std::min(__optionsDock->height() + lacking, height() * 3 / 5);
    // What is not told to be smaller would take its part of what is won.
    QDockWidget* const above = __modelDock->visibleRegion().isEmpty() ? __historyDock : __modelDock;
    if (dockWidgetArea(above) == dockWidgetArea(__optionsDock) && !above->isFloating())
        resizeDocks({above, __optionsDock}, {above->height() + __optionsDock->height() - wanted, wanted}, Qt::Vertical);
    else
        resizeDocks({__optionsDock}, {wanted}, Qt::Vertical);
}

QWidget* Workspace::newCuts() {
    auto* const content = new QWidget(this);
    auto* const stretch = new QCheckBox("Stretch along the stack", content);
    stretch->setObjectName("cuts.stretch");
    stretch->setToolTip("Let the cuts fill the panel, however thin the stack is; else lengths are true");
    connect(stretch, &QCheckBox::toggled, __cuts, &CutsPanel::setStretched);
    connect(__cuts, &CutsPanel::stretchedChanged, stretch, &QCheckBox::setChecked);
    layOutPane(*content, __cuts, {stretch});
    return content;
}

QFrame* Workspace::newFirstSteps(QWidget* views) {
    const auto button = [views](const char* text, const char* name) {
        auto* const made = new QPushButton(text, views);
        made->setObjectName(name);
        return made;
    };
    QPushButton* const open = button("Open stack...", "firstOpen");
    QPushButton* const make = button("New stack...", "firstNew");
    QPushButton* const sample = button("Open sample", "firstSample");
    connect(open, &QPushButton::clicked, this, &Workspace::openRequested);
    connect(make, &QPushButton::clicked, this, &Workspace::newRequested);
    sample->setToolTip("A stack to try things with; it is put into the documents folder the first time");
    connect(sample, &QPushButton::clicked, this, &Workspace::sampleRequested);
    return newStrip("Open a stack, or make one of your section images. A stack file, images, or a folder "
                    "of images can also be dropped here. To look around first, open the sample; F1 opens the guide.",
                    {open, make, sample}, views);
}

void Workspace::setStack(VRLStack* stack) {
    __stack = stack;
    __models->setStack(stack);
    __history->setStack(stack);
    __cuts->setStack(stack);
    __scene->setStack(stack);
    updateFirstSteps();
}

void Workspace::showPanes() {
    for (QDockWidget* dock : {__cutsDock, __sceneDock}) {
        dock->setFloating(false);
        dock->show();
    }
    if (dockWidgetArea(__cutsDock) == dockWidgetArea(__sceneDock)) {
        resizeDocks({__cutsDock, __sceneDock}, {height() / 2, height() / 2}, Qt::Vertical);
        resizeDocks({__cutsDock, __sceneDock}, {width() * 3 / 5, width() * 2 / 5}, Qt::Horizontal);
    }
    foldOnLowScreen();
}

/// Where the screen is too low for all docks the options of the tool go behind the models.
void Workspace::foldOnLowScreen() {
    const int around = window()->frameGeometry().height() - height();
    const bool fits = minimumSizeHint().height() + around <= screen()->availableGeometry().height();
    if (fits || __optionsDock->isHidden() || __optionsDock->isFloating() || __modelDock->isHidden())
        return;
    tabifyDockWidget(__modelDock, __optionsDock);
    __modelDock->raise();
    fitOnScreen(*window()); // which had grown
}

void Workspace::updateFirstSteps() {
    __welcome->setVisible(__stack == nullptr);
    __noModels->setVisible(__stack != nullptr && __stack->getNumModels() == 0);
}

void Workspace::saveLayout() const {
    QSettings().setValue(layoutKey, saveState(layoutVersion));
}

void Workspace::restoreLayout() {
    if (restoreState(QSettings().value(layoutKey).toByteArray(), layoutVersion))
        return;
    const int most = width() * 35 / 100; // the slice has the greater part of a small window, too
    if (__modelDock->width() > most)
        resizeDocks({__modelDock, __optionsDock}, {most, most}, Qt::Horizontal);
}

} // namespace vorlen
