#include "ui/slices/vrlsliceeditwidgetmediator.h"

#include <QContextMenuEvent>
#include <QStatusBar>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "numerics/exception.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/models/guarded.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediatorcreationdelegate.h"
#include "ui/slices/vrlsliceeditwidgetmediatordouglaspeuckerdecimationdelegate.h"
#include "ui/slices/vrlsliceeditwidgetmediatoreditiondelegate.h"
#include "ui/slices/vrlsliceeditwidgetmediatorfourierdelegate.h"
#include "ui/slices/vrlsliceeditwidgetmediatorreorigindelegate.h"
#include "ui/slices/vrlsliceeditwidgetmediatorresamplingdelegate.h"
#include "ui/slices/vrlsliceeditwidgetmediatorselectiondelegate.h"
#include "ui/slices/vrlsliceeditwidgetmediatorsnakedelegate.h"
#include "ui/slices/vrlsliceeditwidgetmediatorsplitdelegate.h"
#include "ui/slices/vrlsliceeditwidgetmediatorthresholdingdelegate.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"
#include "ui/widgets/vrlmenu.h"

namespace vorlen {

VRLSliceEditWidgetMediator::VRLSliceEditWidgetMediator(VRLImageWidget& widget) : VRLSliceWidgetMediator(widget) {
    __cancel = newCommand("Cancel", "Escape");
    __cancel->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    __delete = newCommand("Delete", "Delete");
    __editPoints = newCommand("Edit points", "E");
    __decimate = newCommand("Decimate");
    __douglasPeucker = newCommand("Decimate (Douglas-Peucker)");
    __changeOrigin = newCommand("Change origin");
    __resample = newCommand("Resample", "R");
    __runSnake = newCommand("Run Snake", "S");
    __smooth = newCommand("Smooth (Fourier)");
    __selectAll = newCommand("Select all", "Ctrl+A");
    __split = newCommand("Split contour");
    __properties = newCommand("Properties...");
    __cancel->setEnabled(true);
    __selectAll->setEnabled(true);

    __drawMenu = std::make_unique<QMenu>("Draw");
    __manualMenu = new VRLMenu("Manual", __drawMenu.get());
    __automaticMenu = new VRLMenu("Automatic", __drawMenu.get());
    __drawMenu->addMenu(__manualMenu);
    __drawMenu->addMenu(__automaticMenu);
    __editMenu = std::make_unique<QMenu>("Edit");
    __editMenu->addActions({__properties, __editPoints, __decimate, __douglasPeucker, __resample, __changeOrigin,
                            __split, __smooth, __runSnake});
    __selectMenu = std::make_unique<VRLMenu>("Select");
    __convertMenu = std::make_unique<VRLMenu>("Convert");
}

VRLSliceEditWidgetMediator::~VRLSliceEditWidgetMediator() {
    endInteractions();
    if (__selection != nullptr && __selection->isActive())
        __selection->deactivate();
}

void VRLSliceEditWidgetMediator::initialize() {
    getCanvas().addActions(
        {__cancel, __delete, __editPoints, __changeOrigin, __resample, __runSnake, __smooth, __selectAll, __split});
    __selection = new VRLSliceEditWidgetMediatorSelectionDelegate(*this); // children of this object
    __creation = new VRLSliceEditWidgetMediatorCreationDelegate(*this);
    __snake = new VRLSliceEditWidgetMediatorSnakeDelegate(*this);
    __snake->addMonitor(static_cast<ProgressMonitor&>(*this));
    auto* const fourier = new VRLSliceEditWidgetMediatorFourierDelegate(*this);
    auto* const origin = new VRLSliceEditWidgetMediatorReoriginDelegate(*this);
    auto* const resampling = new VRLSliceEditWidgetMediatorResamplingDelegate(*this);
    auto* const split = new VRLSliceEditWidgetMediatorSplitDelegate(*this);
    auto* const douglasPeucker = new VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate(*this);
    auto* const thresholding = new VRLSliceEditWidgetMediatorThresholdingDelegate(*this);
    __tools = {fourier, origin, resampling, split, douglasPeucker, thresholding};
    __edition = new VRLSliceEditWidgetMediatorEditionDelegate(*this);
    __edition->getToolBar()->QWidget::addAction(__cancel);
    connect(__cancel, &QAction::triggered, this, [this, split] {
        guarded(&getCanvas(), "The interaction cannot be ended.", [this, split] {
            __selection->cancelSelection();
            __creation->cancel();
            __edition->cancel();
            __snake->cancel();
            split->cancel();
        });
    });
    connectCommand(__delete, [this] { __selection->removeSelection(); });
    connectCommand(__editPoints, [this] { __edition->activate(); });
    connectCommand(__decimate, [this] { __selection->decimateSelection(); });
    connectCommand(__runSnake, [this] { __snake->activate(); });
    connectCommand(__selectAll, [this] { __selection->selectAllModelItems(); });
    connectCommand(__properties, [this] { __selection->editSelectionProperties(); });
    connectCommand(__smooth, [fourier] { fourier->activate(); });
    connectCommand(__changeOrigin, [origin] { origin->activate(); });
    connectCommand(__resample, [resampling] { resampling->activate(); });
    connectCommand(__split, [split] { split->activate(); });
    connectCommand(__douglasPeucker, [douglasPeucker] { douglasPeucker->activate(); });
    connectMenu(__automaticMenu, [this, thresholding](const QString& name) {
        __selection->cancelSelection();
        thresholding->activate(name);
    });
    connectMenu(__manualMenu, [this](const QString& name) {
        __selection->cancelSelection();
        __creation->activate(name);
    });
    connectMenu(__selectMenu.get(), [this](const QString& name) { __selection->selectModelItems(name); });
    connectMenu(__convertMenu.get(), [this](const QString& name) { __selection->convertSelection(name); });
    selectionChange(StackSliceSelectionInfo());
    VRLSliceWidgetMediator::initialize();
}

void VRLSliceEditWidgetMediator::clear() {
    endInteractions();
    if (__selection != nullptr && __selection->isActive())
        __selection->deactivate();
    VRLSliceWidgetMediator::clear();
    selectionChange(StackSliceSelectionInfo());
}

void VRLSliceEditWidgetMediator::setSlice(StackSlice& slice) {
    if (getSlice() != &slice)
        endInteractions();
    if (__selection != nullptr && !__selection->isActive())
        __selection->activate();
    VRLSliceWidgetMediator::setSlice(slice);
    updateSelection();
}

void VRLSliceEditWidgetMediator::sliceItemSelectionEvent(VRLSliceItemSelectionEvent& event) {
    if (getSlice() != nullptr && event.getSlice() == getSlice())
        selectionChange(event.getSelectionInfo());
}

// A model that comes back by undo may bring selected items.
void VRLSliceEditWidgetMediator::modelCreateEvent(VRLModelCreateEvent& event) {
    VRLSliceWidgetMediator::modelCreateEvent(event);
    for (int i = 0; i < event.getModel()->getNumItems(); ++i)
        selectionMayHaveChanged(&event.getModel()->getItem(i));
}

void VRLSliceEditWidgetMediator::modelDeleteEvent(VRLModelDeleteEvent& event) {
    VRLSliceWidgetMediator::modelDeleteEvent(event);
    endToolsAbout(*event.getModel());
    if (__creation != nullptr && __creation->getItem() != nullptr &&
        __creation->getItem()->getModel() == event.getModel())
        __creation->cancel();
    if (__edition != nullptr && __edition->getItem() != nullptr && __edition->getItem()->getModel() == event.getModel())
        __edition->itemGone(*__edition->getItem());
    if (__snake != nullptr && __snake->getItem() != nullptr && __snake->getItem()->getModel() == event.getModel())
        __snake->abandon();
    QMetaObject::invokeMethod(this, &VRLSliceEditWidgetMediator::updateSelection, Qt::QueuedConnection);
}

void VRLSliceEditWidgetMediator::modelItemCreateEvent(VRLModelItemCreateEvent& event) {
    VRLSliceWidgetMediator::modelItemCreateEvent(event);
    selectionMayHaveChanged(event.getItem());
}

void VRLSliceEditWidgetMediator::modelItemDeleteEvent(VRLModelItemDeleteEvent& event) {
    VRLSliceWidgetMediator::modelItemDeleteEvent(event);
    if (event.getItem() != nullptr)
        endToolsAbout(*event.getItem());
    if (__edition != nullptr && event.getItem() != nullptr)
        __edition->itemGone(*event.getItem());
    if (__snake != nullptr && event.getItem() != nullptr && __snake->getItem() == event.getItem())
        __snake->abandon();
    selectionMayHaveChanged(event.getItem());
}

void VRLSliceEditWidgetMediator::modelItemVertexEvent(VRLModelItemVertexEvent& event) {
    VRLSliceWidgetMediator::modelItemVertexEvent(event);
    if (__edition != nullptr && event.getItem() != nullptr)
        __edition->itemChanged(*event.getItem());
    selectionMayHaveChanged(event.getItem());
}

void VRLSliceEditWidgetMediator::modelItemConvertEvent(VRLModelItemConvertEvent& event) {
    VRLSliceWidgetMediator::modelItemConvertEvent(event);
    selectionMayHaveChanged(event.getItem());
}

void VRLSliceEditWidgetMediator::setCanvas(VRLImageWidgetCanvas& canvas) {
    if (dynamic_cast<VRLSliceEditWidgetCanvas*>(&canvas) == nullptr)
        throw ProgramError("void VRLSliceEditWidgetMediator::setCanvas(VRLImageWidgetCanvas&)",
                           "The canvas is not one for editing");
    VRLSliceWidgetMediator::setCanvas(canvas);
}

void VRLSliceEditWidgetMediator::setStatusBar(VRLImageWidgetStatusBar& statusBar) {
    if (dynamic_cast<VRLSliceEditWidgetStatusBar*>(&statusBar) == nullptr)
        throw ProgramError("void VRLSliceEditWidgetMediator::setStatusBar(VRLImageWidgetStatusBar&)",
                           "The status bar is not one for editing");
    VRLSliceWidgetMediator::setStatusBar(statusBar);
}

VRLSliceEditWidgetCanvas& VRLSliceEditWidgetMediator::getCanvas() const {
    return static_cast<VRLSliceEditWidgetCanvas&>(VRLSliceWidgetMediator::getCanvas());
}

VRLSliceEditWidgetStatusBar* VRLSliceEditWidgetMediator::getStatusBar() const {
    return static_cast<VRLSliceEditWidgetStatusBar*>(VRLSliceWidgetMediator::getStatusBar());
}

void VRLSliceEditWidgetMediator::requestLock(bool on) {
    emit lockRequested(on);
}

void VRLSliceEditWidgetMediator::addContextualMenuAction(QAction* action) {
    __contextualActions.append(action);
}

std::unique_ptr<QMenu> VRLSliceEditWidgetMediator::newContextMenu() {
    refreshMenus();
    auto menu = std::make_unique<QMenu>();
    for (QMenu* each : {__drawMenu.get(), __editMenu.get(), static_cast<QMenu*>(__selectMenu.get()),
                        static_cast<QMenu*>(__convertMenu.get())})
        menu->addMenu(each);
    menu->addAction(__delete);
    for (const QPointer<QAction>& action : __contextualActions)
        if (action)
            menu->addAction(action);
    return menu;
}

void VRLSliceEditWidgetMediator::selectionChange(const StackSliceSelectionInfo& info) {
    const bool some = !info.emptySelection();
    const bool multiple = info.multipleSelection();
    __editMenu->setEnabled(some);
    __selectMenu->setEnabled(!some);
    __convertMenu->setEnabled(info.homogeneousSelection());
    __delete->setEnabled(some);
    __decimate->setEnabled(some);
    __editPoints->setEnabled(some && !multiple);
    const MPrimitive geometry = info.selectionGeometry();
    const bool whole = !multiple && !info.partialSelection();
    for (QAction* action : {__runSnake, __smooth, __changeOrigin, __resample, __split})
        action->setEnabled(whole && geometry == PolygonPrimitive);
    __douglasPeucker->setEnabled(whole && (geometry == PolygonPrimitive || geometry == PolylinePrimitive));
    __properties->setEnabled(!multiple && info.selectionGeometry() != PolypointPrimitive);
    if (!isInteracting())
        setRestingHint();
}

void VRLSliceEditWidgetMediator::setHint(const QString& text) {
    if (VRLSliceEditWidgetStatusBar* const statusBar = getStatusBar())
        statusBar->setHint(text, true);
}

void VRLSliceEditWidgetMediator::setRestingHint() {
    VRLSliceEditWidgetStatusBar* const statusBar = getStatusBar();
    if (statusBar == nullptr)
        return;
    QString text;
    if (getSlice() != nullptr && !getImageProxy().isEmpty())
        text = !__delete->isEnabled()
                   ? "Click: select. Shift+click: select more. Drag: select vertices. Right click: draw and edit."
                   : QString("Delete: remove.%1 Right click: more. Click beside or Escape: deselect.")
                         .arg(__editPoints->isEnabled() ? " E: edit points." : "");
    statusBar->setHint(text, false);
}

QStringList VRLSliceEditWidgetMediator::buildSliceModelList() const {
    QStringList names;
    const StackSlice* const slice = getSlice();
    for (int i = 0; slice != nullptr && i < slice->getNumItems(); ++i)
        if (const Model* const model = slice->getItem(i).getModel())
            names.append(QString::fromStdString(model->getName()));
    names.sort();
    names.removeDuplicates();
    return names;
}

namespace {

QStringList modelNames(const StackSlice* slice, const std::function<bool(const Model&)>& wanted) {
    QStringList names;
    const Stack* const stack = slice != nullptr ? slice->getStack() : nullptr;
    for (int i = 0; stack != nullptr && i < stack->getNumModels(); ++i)
        if (wanted(stack->getModel(i)))
            names.append(QString::fromStdString(stack->getModel(i).getName()));
    names.sort();
    return names;
}

bool isOfGeometry(const Model& model, MPrimitive geometry) {
    return model.getProperties().definesGeometry() && model.getProperties().getGeometry() == geometry;
}

} // namespace

QStringList VRLSliceEditWidgetMediator::buildStackModelList() const {
    return modelNames(getSlice(), [](const Model&) { return true; });
}

QStringList VRLSliceEditWidgetMediator::buildPolygonModelList() const {
    return modelNames(getSlice(), [](const Model& model) { return isOfGeometry(model, PolygonPrimitive); });
}

QAction* VRLSliceEditWidgetMediator::newCommand(const QString& text, const QString& key) {
    auto* const action = new QAction(text, this);
    action->setShortcut(QKeySequence(key));
    action->setShortcutContext(Qt::WidgetShortcut);
    action->setEnabled(false);
    return action;
}

void VRLSliceEditWidgetMediator::connectCommand(QAction* action, const std::function<void()>& work) {
    connect(action, &QAction::triggered, this, [this, action, work] {
        if (!isInteracting())
            guarded(&getCanvas(), "\"" + action->text() + "\" cannot be carried out.", work);
    });
}

void VRLSliceEditWidgetMediator::connectMenu(VRLMenu* menu, const std::function<void(const QString&)>& work) {
    connect(menu, qOverload<const QString&>(&VRLMenu::triggered), this, [this, menu, work](const QString& name) {
        if (!isInteracting())
            guarded(&getCanvas(), "\"" + menu->title() + "\" cannot be carried out for the model \"" + name + "\".",
                    [&] { work(name); });
    });
}

// A "&" in a name is no mark of a key; the data hold the name as it is.
void VRLSliceEditWidgetMediator::fill(QMenu& menu, const QStringList& names) {
    menu.clear();
    for (const QString& name : names) {
        QString text = name;
        text.replace("&", "&&");
        menu.addAction(text)->setData(name);
    }
}

void VRLSliceEditWidgetMediator::refreshMenus() {
    fill(*__manualMenu, buildStackModelList());
    __manualMenu->setEnabled(!__manualMenu->isEmpty());
    fill(*__automaticMenu, buildPolygonModelList());
    __automaticMenu->setEnabled(!__automaticMenu->isEmpty());
    if (__selectMenu->isEnabled())
        fill(*__selectMenu, buildSliceModelList());
    if (!__convertMenu->isEnabled() || getSlice() == nullptr || getSlice()->getStack() == nullptr)
        return;
    fill(*__convertMenu, buildStackModelList());
    StackSliceSelectionInfo info;
    info.setSlice(getSlice());
    const Stack& stack = *getSlice()->getStack();
    for (QAction* action : __convertMenu->actions()) {
        const int index = stack.findModel(action->data().toString().toStdString());
        action->setEnabled(index >= 0 && isOfGeometry(stack.getModel(index), info.selectionGeometry()));
    }
}

bool VRLSliceEditWidgetMediator::isInteracting() const {
    for (const VRLSliceEditWidgetMediatorDelegate* tool : __tools)
        if (tool->isActive())
            return true;
    return __edition != nullptr && (__creation->isActive() || __snake->isActive() || __edition->isActive());
}

template <class Subject>
void VRLSliceEditWidgetMediator::endToolsAbout(const Subject& subject) {
    for (VRLSliceEditWidgetMediatorDelegate* tool : __tools)
        if (tool->isAbout(subject))
            tool->cancel();
}

void VRLSliceEditWidgetMediator::endInteractions() {
    for (VRLSliceEditWidgetMediatorDelegate* tool : __tools)
        tool->cancel();
    if (__creation != nullptr)
        __creation->cancel();
    if (__snake != nullptr)
        __snake->abandon();
    if (__edition != nullptr)
        __edition->cancel();
}

// Once for many events.
void VRLSliceEditWidgetMediator::selectionMayHaveChanged(const ModelItem* item) {
    if (__selectionPending || getSlice() == nullptr || item == nullptr || item->getSlice() != getSlice())
        return;
    __selectionPending = true;
    QMetaObject::invokeMethod(this, &VRLSliceEditWidgetMediator::updateSelection, Qt::QueuedConnection);
}

void VRLSliceEditWidgetMediator::updateSelection() {
    __selectionPending = false;
    StackSliceSelectionInfo info;
    info.setSlice(getSlice());
    selectionChange(info);
}

bool VRLSliceEditWidgetMediator::eventFilter(QObject* object, QEvent* event) {
    if (event->type() != QEvent::ContextMenu || !hasCanvas() || object != &getCanvas())
        return VRLSliceWidgetMediator::eventFilter(object, event);
    contextMenuEvent(static_cast<QContextMenuEvent*>(event));
    return event->isAccepted();
}

// The menu runs a loop of its own, in which this object may be deleted.
void VRLSliceEditWidgetMediator::contextMenuEvent(QContextMenuEvent* event) {
    event->ignore();
    if (getSlice() == nullptr)
        return;
    const std::unique_ptr<QMenu> menu = newContextMenu();
    event->accept();
    menu->exec(event->globalPos());
}

} // namespace vorlen
