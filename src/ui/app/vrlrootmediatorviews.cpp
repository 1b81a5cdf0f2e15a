#include "ui/app/vrlrootmediator.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include <QAction>
#include <QDockWidget>
#include <QFileInfo>
#include <QListWidget>
#include <QSettings>
#include <QString>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/operations/modelsections.h"
#include "editing/stacks/vrlstack.h"
#include "reconstruction/spaceplace.h"
#include "ui/app/historypanel.h"
#include "ui/app/vrlrootstatusbar.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/app/workspace.h"
#include "ui/cuts/cutspanel.h"
#include "ui/models/modelpanel.h"
#include "ui/models/modelviews.h"
#include "ui/models/vrlslicelistwidget.h"
#include "ui/models/vrlstacklistwidget.h"
#include "ui/panorama/vrloverviewwidget.h"
#include "ui/panorama/vrlpanorama.h"
#include "ui/scenes/scenepanel.h"
#include "ui/session/crosshair.h"
#include "ui/slices/contrastdialog.h"
#include "ui/slices/slicecrosshair.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/widgets/blackwhitedoubleslider.h"
#include "ui/widgets/letterkeys.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

// What is seen around the slice: panorama, overview, contrast, and the docks of the workspace.

void VRLRootMediator::initializePanorama() {
    __panorama->addMonitor(*__statusBar);
    for (const char* id : {"slice.properties", "slice.annotate", "slice.delete"})
        __panorama->addContextualMenuAction(&__commands.action(id));
    connect(__panorama, &VRLPanorama::sliceSelected, this, &VRLRootMediator::leaveFor);
    connect(__panorama, &VRLPanorama::sliceActivated, this, qOverload<StackSlice&>(&VRLRootMediator::showPlainview));
    connect(__panorama, &VRLPanorama::sliceDeactivated, this, [this] { showPlainview(); });
    connect(__panorama, &VRLPanorama::selectionChanged, this, [this] {
        const std::size_t n = __panorama->selectedSlices().size();
        if (n > 1)
            __statusBar->setMessage(QString("%1 slices are selected.").arg(n));
        else
            __statusBar->setMessage(QString());
    });
}

void VRLRootMediator::initializeOverview() {
    __overview = std::make_unique<VRLOverviewWidget>();
    __overview->initialize();
    __overview->setImageServer(__sliceWidget->getImageServer());
    __overview->hide();
    connect(__overview.get(), &VRLOverviewWidget::hidden, this,
            [this] { __commands.action("view.overview").setChecked(false); });
    connect(__sliceWidget, &VRLImageWidget::viewChanged, __overview.get(), &VRLOverviewWidget::setLocalView);
    connect(__overview.get(), &VRLOverviewWidget::localViewOriginChanged, __sliceWidget,
            &VRLRootSliceEditWidget::setViewOrigin);
    connect(__overview.get(), &VRLOverviewWidget::zoomRequested, this, [this](bool in) {
        VRLRootSliceEditWidgetMediator& view = __sliceWidget->getMediator();
        CommandRegistry& commands = view.commands();
        if (QAction& zoom = commands.action(in ? "zoom.in" : "zoom.out"); zoom.isEnabled())
            zoom.trigger();
    });
}

void VRLRootMediator::setWorkspace(Workspace& workspace) {
    __workspace = &workspace;
    VRLRootSliceEditWidgetMediator& editor = __sliceWidget->getMediator();
    const auto tools = editor.getToolActions();
    workspace.tools().addActions(tools);
    workspace.tools().addSeparator();
    for (const char* command : {"edit.points", "edit.split", "edit.join"})
        workspace.tools().addAction(&editor.getCommand(command));
    connect(&workspace, &Workspace::openRequested, &__commands.action("stack.open"), &QAction::trigger);
    connect(&workspace, &Workspace::sampleRequested, &__commands.action("help.sample"), &QAction::trigger);
    connect(&workspace, &Workspace::newRequested, &__commands.action("stack.new"), &QAction::trigger);
    connect(&workspace.models(), &ModelPanel::propertiesRequested, this, &VRLRootMediator::runStackModelsDialog);
    connect(&workspace.models(), &ModelPanel::sliceRequested, this, &VRLRootMediator::leaveFor);
    connect(&workspace.models(), &ModelPanel::outliningWanted, &editor.getCanvas(), [&editor] {
        editor.getCanvas().setFocus(); // where the keys of the tools are
    });
    connect(&workspace.scene(), &ScenePanel::windowRequested, &__commands.action("stack.reconstruct"),
            &QAction::trigger);
    connect(&workspace.history(), &HistoryPanel::goRequested, this, &VRLRootMediator::goInHistory);
    // Letters are for the canvas: lists beside it are searched by typing the others.
    for (QWidget* const list :
         {__stackList->findChild<QListWidget*>(), __sliceList->findChild<QListWidget*>(), &workspace.history().list()})
        new LetterKeys(*list, editor.getCanvas()); // the list's
    for (const char* id : {"slice.flip", "slice.nextLacking", "view.ghosts", "view.crosshair", "crosshair.place"}) {
        QAction& action = __commands.action(id);
        action.setShortcutContext(Qt::WidgetShortcut);
        editor.getCanvas().addAction(&action);
    }
    for (const auto& [id, dock] :
         {std::make_pair("show.models", &workspace.modelDock()),
          std::make_pair("show.history", &workspace.historyDock()),
          std::make_pair("show.toolOptions", &workspace.optionsDock()),
          std::make_pair("show.cuts", &workspace.cutsDock()), std::make_pair("show.scene", &workspace.sceneDock())}) {
        QAction& action = __commands.action(id);
        connect(dock, &QDockWidget::visibilityChanged, &action,
                [&action, dock = dock] { action.setChecked(!dock->isHidden()); });
        action.setChecked(!dock->isHidden());
    }
    connect(&editor.modelViews(), &ModelViews::currentChanged, this, [this] {
        for (const char* id : {"model.rename", "model.colour", "slice.nextLacking"})
            __commands.update(id);
    });
    bindCrosshair();
    showScaleBar(QSettings().value("rootWindow/scaleBar", true).toBool());
    updateWorkspace();
}

/// Tells the parts of the workspace which stack and slice are current.
void VRLRootMediator::updateWorkspace() {
    if (__workspace == nullptr)
        return;
    ModelViews& views = __sliceWidget->getMediator().modelViews();
    if (views.getStack() != __stack || __stack == nullptr) {
        views.setStack(__stack);
        __workspace->setStack(__stack);
    }
    __workspace->models().setSlice(__slice);
    __workspace->cuts().setSlice(__slice);
    __workspace->updateFirstSteps();
}

void VRLRootMediator::bindSample() {
    __commands.bind("help.sample", [this] { __sample.make(); }).enableWhen([this] { return !__sample.isBeingMade(); });
    connect(&__sample, &SampleStack::started, this, [this] {
        __statusBar->setMessage("The sample stack is made in " + QFileInfo(SampleStack::file()).path() + "...");
        __commands.update("help.sample");
    });
    connect(&__sample, &SampleStack::ready, this, [this](const QString& file) {
        __statusBar->setMessage(QString());
        __commands.update("help.sample");
        openStack(file);
    });
    connect(&__sample, &SampleStack::failed, this, [this](const QString& reason) {
        __statusBar->setMessage(QString());
        guarded(__commands.action("help.sample").text(), [&reason] { throw std::runtime_error(reason.toStdString()); });
    });
}

void VRLRootMediator::bindWorkspaceCommands() {
    bindSample();
    const auto stack = [this] { return __stack != nullptr; };
    const auto model = [this] {
        return __stack != nullptr && __sliceWidget->getMediator().modelViews().getCurrent() != nullptr;
    };
    const auto toggle = [this](QDockWidget& (Workspace::*dock)()) {
        QDockWidget& shown = (__workspace->*dock)();
        shown.setVisible(shown.isHidden());
        if (!shown.isHidden())
            shown.raise();
    };
    __commands.bind("show.models", [toggle] { toggle(&Workspace::modelDock); });
    __commands.bind("show.history", [toggle] { toggle(&Workspace::historyDock); });
    __commands.bind("show.toolOptions", [toggle] { toggle(&Workspace::optionsDock); });
    __commands.bind("show.cuts", [toggle] { toggle(&Workspace::cutsDock); });
    __commands.bind("show.scene", [toggle] { toggle(&Workspace::sceneDock); });
    __commands.bind("show.panes", [this] { __workspace->showPanes(); }).enableWhen(stack);
    __commands
        .bind("model.new",
              [this] {
                  __workspace->modelDock().show();
                  __workspace->modelDock().raise();
                  __workspace->models().createModel();
              })
        .enableWhen(stack);
    __commands.bind("model.rename", [this] { __workspace->models().renameCurrent(); }).enableWhen(model);
    __commands.bind("model.colour", [this] { __workspace->models().recolourCurrent(); }).enableWhen(model);
    __commands.bind("slice.flip", [this] { flipSlices(); }).enableWhen([this] { return __slicePaired != nullptr; });
    __commands.bind("slice.nextLacking", [this] { setNextLackingSlice(); }).enableWhen(model);
    __commands.bind("view.crosshair", [this] { toggleCrosshair(); });
    __commands
        .bind("crosshair.place",
              [this] {
                  if (__sliceWidget->getMediator().getCrosshair().setPlaceUnderPointer())
                      Crosshair::crosshair().setShown(true);
              })
        .enableWhen([this] { return __slice != nullptr; });
    __commands.bind("crosshair.find", [this] { goToCrosshair(); }).enableWhen([this] {
        return __stack != nullptr && Crosshair::crosshair().placeIn(*__stack).has_value();
    });
    __commands.bind("view.scaleBar", [this] { showScaleBar(!__sliceWidget->getCanvas().isScaleBarShown()); });
    __commands.bind("view.ghosts", [this] {
        VRLRootSliceEditWidgetMediator& editor = __sliceWidget->getMediator();
        editor.setGhostsShown(!editor.areGhostsShown());
        __commands.action("view.ghosts").setChecked(editor.areGhostsShown());
    });
}

void VRLRootMediator::showScaleBar(bool shown) {
    __sliceWidget->getCanvas().setScaleBarShown(shown);
    __commands.action("view.scaleBar").setChecked(shown);
    QSettings().setValue("rootWindow/scaleBar", shown);
}

/// While the crosshair is hidden no place of another window changes what this one shows.
void VRLRootMediator::bindCrosshair() {
    Crosshair& crosshair = Crosshair::crosshair();
    QAction& shown = __commands.action("view.crosshair");
    shown.setChecked(crosshair.isShown());
    connect(&crosshair, &Crosshair::shownChanged, &shown, &QAction::setChecked);
    connect(&crosshair, &Crosshair::placeChanged, this, &VRLRootMediator::crosshairMoved);
    connect(&__workspace->cuts(), &CutsPanel::placeChosen, this, [this](const SpacePlace& place) {
        if (__stack == nullptr)
            return;
        Crosshair::crosshair().setPlace(*__stack, place, &__workspace->cuts());
        if (!__locked)
            goToCrosshair(); // also while it is hidden
    });
}

void VRLRootMediator::crosshairMoved(const VRLStack* stack, const QObject* source) {
    if (stack != __stack)
        return;
    __commands.update("crosshair.find");
    if (!__locked && source != &__sliceWidget->getMediator() && Crosshair::crosshair().isShown())
        goToCrosshair();
}

void VRLRootMediator::toggleCrosshair() {
    Crosshair& crosshair = Crosshair::crosshair();
    if (!crosshair.isShown())
        __sliceWidget->getMediator().getCrosshair().setFirstPlace();
    crosshair.setShown(!crosshair.isShown());
    __commands.action("view.crosshair").setChecked(crosshair.isShown());
}

void VRLRootMediator::goToCrosshair() {
    const auto place = __stack == nullptr ? std::nullopt : Crosshair::crosshair().placeIn(*__stack);
    if (!place)
        return;
    goTo(nearestSlice(*__stack, *place));
    const auto pixel = __slice == nullptr ? std::nullopt : pixelUnder(*__stack, *__slice, *place);
    const QRect seen = __sliceWidget->getCanvas().currentView();
    if (!pixel || QRectF(seen).contains(pixel->x, pixel->y))
        return;
    const auto origin = [](double middle, int size) {
        constexpr double farthest = 1e6; // pixels: the view ends at the image
        return int(std::clamp(std::round(middle), -farthest, farthest)) - size / 2;
    };
    __sliceWidget->setViewOrigin(QPoint(origin(pixel->x, seen.width()), origin(pixel->y, seen.height())));
}

void VRLRootMediator::flipSlices() {
    if (__slicePaired != nullptr && __stack != nullptr && __stack->findSlice(*__slicePaired) >= 0)
        leaveFor(*__slicePaired);
}

/// The user goes to another slice: an outline that is shown on this one, and could be taken, is taken.
void VRLRootMediator::leaveFor(StackSlice& slice) {
    QString taken;
    if (&slice != __slice && __slice != nullptr && !__locked)
        taken = __sliceWidget->getMediator().takeShown();
    setSlice(slice);
    if (!taken.isEmpty())
        tellStep(taken);
}

void VRLRootMediator::goTo(int position) {
    if (__stack != nullptr && position >= 0 && position < __stack->getNumSlices())
        leaveFor(__stack->getSlice(position));
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

void VRLRootMediator::setNextLackingSlice() {
    const Model* const model = __sliceWidget->getMediator().modelViews().getCurrent();
    if (__stack == nullptr || model == nullptr)
        return;
    const int rank = __slice != nullptr ? __stack->findSlice(*__slice) : -1;
    const int next = nextLacking(*__stack, *model, rank);
    if (next >= 0)
        goTo(next);
    else
        __statusBar->setMessage(
            QString("No slice lacks \"%1\" between others.").arg(QString::fromStdString(model->getName())));
}

void VRLRootMediator::goInHistory(int numSteps) {
    guarded("History", [this, numSteps] {
        for (int i = 0; i < std::abs(numSteps) && __stack != nullptr && !__locked; ++i)
            numSteps > 0 ? undo() : redo();
    });
}

void VRLRootMediator::modelCreateEvent(VRLModelCreateEvent&) {
    if (__workspace != nullptr)
        __workspace->updateFirstSteps();
}

// The model is still in its stack.
void VRLRootMediator::modelDeleteEvent(VRLModelDeleteEvent&) {
    QMetaObject::invokeMethod(
        this, [this] { updateWorkspace(); }, Qt::QueuedConnection);
}

/// The current slice, in an overview that is seen; one that is hidden holds no image.
void VRLRootMediator::showInOverview() {
    if (__slice == nullptr || __overview->isHidden()) {
        __overview->clear();
        return;
    }
    __overview->setSlice(*__slice);
    __overview->setLocalView(__sliceWidget->getCanvas().currentView());
}

void VRLRootMediator::showPanorama() {
    const WaitCursor cursor;
    __commands.action("view.panorama").setChecked(true);
    __sliceWidget->hide();
    __panorama->show();
    __panorama->setFocus();
    updateStatusBarDisplay();
}

void VRLRootMediator::showPlainview() {
    const WaitCursor cursor;
    __commands.action("view.slice").setChecked(true);
    __panorama->hide();
    __sliceWidget->show();
    __sliceWidget->setFocus();
    updateStatusBarDisplay();
}

void VRLRootMediator::showPlainview(StackSlice& slice) {
    setSlice(slice);
    showPlainview();
}

void VRLRootMediator::showOverview(bool shown) {
    __commands.action("view.overview").setChecked(shown);
    __overview->setVisible(shown);
    showInOverview();
}

void VRLRootMediator::showContrast() {
    if (!__contrast) {
        __contrast = new ContrastDialog(*__sliceWidget, *__slider, &__window);
        __contrast->setAttribute(Qt::WA_DeleteOnClose);
    }
    __contrast->show();
    __contrast->raise();
    __contrast->activateWindow();
}

} // namespace vorlen
