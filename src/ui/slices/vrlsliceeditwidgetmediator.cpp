#include "ui/slices/vrlsliceeditwidgetmediator.h"

#include <functional>

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QStatusBar>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "numerics/exception.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/models/guarded.h"
#include "ui/models/modelviews.h"
#include "ui/slices/slicecrosshair.h"
#include "ui/slices/slicetoolhost.h"
#include "ui/slices/toolmenus.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"
#include "ui/tools/vrlsliceeditwidgetmediatorcreationdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

VRLSliceEditWidgetMediator::VRLSliceEditWidgetMediator(VRLImageWidget& widget)
    : VRLSliceWidgetMediator(widget), __host(std::make_unique<SliceToolHost>(*this)),
      __menus(new ToolMenus(commands(), this)), __views(new ModelViews(this)) {
    connect(__views, &ModelViews::changed, this, &VRLSliceEditWidgetMediator::viewsChanged);
    connect(__views, &ModelViews::currentChanged, this, [this] {
        if (!isInteracting())
            setRestingHint();
    });
    __cancel = &commands().add(cancelToolCommand()).setWork([this] { cancelInteraction(); }).action();
    __cancel->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    commands().update(cancelToolCommand().id);
    connect(__menus, &ToolMenus::chosen, this, &VRLSliceEditWidgetMediator::runCommand);
}

VRLSliceEditWidgetMediator::~VRLSliceEditWidgetMediator() {
    endInteractions();
    for (Tool* const tool : {__chosen, __resting})
        if (tool != nullptr)
            tool->abandon();
}

void VRLSliceEditWidgetMediator::initialize() {
    getCanvas().addAction(__cancel);
    getCanvas().addActions(__menus->getActions());
    getCanvas().setModelViews(__views);
    __crosshair = new SliceCrosshair(*this);
    __resting = &toolOf(restingToolMaker());
    __chosen = __resting;
    __chosenId = selectingToolId;
    for (const ToolCommand& command : toolCommands())
        toolOf(command.make);
    __menus->showChosen(__chosenId);
    selectionChange(StackSliceSelectionInfo());
    VRLSliceWidgetMediator::initialize();
}

void VRLSliceEditWidgetMediator::clear() {
    endInteractions();
    for (Tool* const tool : {__chosen, __resting})
        if (tool != nullptr)
            tool->abandon();
    VRLSliceWidgetMediator::clear();
    if (__crosshair != nullptr)
        __crosshair->update();
    selectionChange(StackSliceSelectionInfo());
}

void VRLSliceEditWidgetMediator::setSlice(StackSlice& slice) {
    if (getSlice() != &slice) {
        endInteractions();
        if (__chosen != __resting && __chosen != nullptr)
            __chosen->abandon(); // what it had begun on the other slice
    }
    VRLSliceWidgetMediator::setSlice(slice);
    for (Tool* const tool : {__resting, __chosen})
        if (tool != nullptr && !tool->isActive())
            tool->activate();
    updateSelection();
    updateGhosts();
    if (__crosshair != nullptr)
        __crosshair->update();
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
    updateGhostsLater(nullptr);
}

void VRLSliceEditWidgetMediator::modelPropertiesEvent(VRLModelPropertiesEvent& event) {
    VRLSliceWidgetMediator::modelPropertiesEvent(event);
    if (__ghostsShown)
        getCanvas().update();
}

void VRLSliceEditWidgetMediator::stackRegistrationEvent(VRLStackRegistrationEvent& event) {
    VRLSliceWidgetMediator::stackRegistrationEvent(event);
    updateGhostsLater(nullptr);
}

void VRLSliceEditWidgetMediator::modelDeleteEvent(VRLModelDeleteEvent& event) {
    VRLSliceWidgetMediator::modelDeleteEvent(event);
    if (hasCanvas() && !getCanvas().getGhosts().empty())
        getCanvas().setGhosts({});
    updateGhostsLater(nullptr);
    if (isInteracting())
        __current->modelGone(*event.getModel());
    if (__chosen != nullptr)
        __chosen->modelGone(*event.getModel());
    QMetaObject::invokeMethod(this, &VRLSliceEditWidgetMediator::updateSelection, Qt::QueuedConnection);
}

void VRLSliceEditWidgetMediator::modelItemCreateEvent(VRLModelItemCreateEvent& event) {
    VRLSliceWidgetMediator::modelItemCreateEvent(event);
    selectionMayHaveChanged(event.getItem());
    updateGhostsLater(event.getItem());
}

void VRLSliceEditWidgetMediator::modelItemDeleteEvent(VRLModelItemDeleteEvent& event) {
    VRLSliceWidgetMediator::modelItemDeleteEvent(event);
    if (isInteracting() && event.getItem() != nullptr)
        __current->itemGone(*event.getItem());
    if (__chosen != nullptr && event.getItem() != nullptr)
        __chosen->itemGone(*event.getItem());
    selectionMayHaveChanged(event.getItem());
    updateGhostsLater(event.getItem());
}

void VRLSliceEditWidgetMediator::modelItemVertexEvent(VRLModelItemVertexEvent& event) {
    VRLSliceWidgetMediator::modelItemVertexEvent(event);
    if (isInteracting() && event.getItem() != nullptr)
        __current->itemChanged(*event.getItem());
    selectionMayHaveChanged(event.getItem());
    updateGhostsLater(event.getItem());
}

void VRLSliceEditWidgetMediator::modelItemConvertEvent(VRLModelItemConvertEvent& event) {
    VRLSliceWidgetMediator::modelItemConvertEvent(event);
    selectionMayHaveChanged(event.getItem());
    updateGhostsLater(event.getItem());
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

ToolHost& VRLSliceEditWidgetMediator::getToolHost() const {
    return *__host;
}

void VRLSliceEditWidgetMediator::requestLock(bool on) {
    emit lockRequested(on);
}

void VRLSliceEditWidgetMediator::requestSlice(StackSlice& slice) {
    emit sliceRequested(slice);
}

void VRLSliceEditWidgetMediator::addContextualMenuAction(QAction* action) {
    __contextualActions.append(action);
}

std::unique_ptr<QMenu> VRLSliceEditWidgetMediator::newContextMenu() {
    const auto names = [this](ToolModels models) {
        if (models == ToolModels::OfSlice)
            return buildSliceModelList();
        return models == ToolModels::Polygons ? buildPolygonModelList() : buildStackModelList();
    };
    const auto find = [this](const QString& name) -> const Model* {
        const Stack* const stack = getSlice() != nullptr ? getSlice()->getStack() : nullptr;
        const int index = stack != nullptr ? stack->findModel(name.toStdString()) : -1;
        return index >= 0 ? &stack->getModel(index) : nullptr;
    };
    return __menus->newContextMenu(names, find, __contextualActions);
}

void VRLSliceEditWidgetMediator::selectionChange(const StackSliceSelectionInfo& info) {
    __selected = info;
    __menus->setSelection(info);
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
    const bool isAtWork = __resting != nullptr && getSlice() != nullptr && !getImageProxy().isEmpty();
    statusBar->setHint(isAtWork ? __chosen->restingHint(__selected) : QString(), false);
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

VRLSliceEditWidgetMediator::Tool& VRLSliceEditWidgetMediator::toolOf(ToolMaker make) {
    for (const auto& [maker, tool] : __tools)
        if (maker == make)
            return *tool;
    Tool* const tool = make(*__host);
    tool->setParent(this);
    __tools.emplace_back(make, tool);
    return *tool;
}

void VRLSliceEditWidgetMediator::resumeDrawing(const Model& model, const Vertices<double>& vertices) {
    if (isInteracting() || __resting == nullptr)
        return;
    for (const auto& [maker, tool] : __tools)
        if (auto* const creation = dynamic_cast<VRLSliceEditWidgetMediatorCreationDelegate*>(tool)) {
            __resting->cancel();
            return creation->resume(model, vertices);
        }
}

void VRLSliceEditWidgetMediator::toolStarts(Tool& tool) {
    if (&tool == __resting || &tool == __chosen)
        return;
    endInteractions();
    __current = &tool;
}

void VRLSliceEditWidgetMediator::toolEnds(Tool& tool) {
    if (__current == &tool)
        __current = nullptr;
}

// The command may run a loop of its own, in which this object may be deleted.
void VRLSliceEditWidgetMediator::runCommand(const ToolCommand& command, const QString& model) {
    if (isInteracting() || __resting == nullptr)
        return __menus->showChosen(__chosenId);
    if (command.stays)
        return choose(command);
    const QString which = model.isNull() ? QString() : " for the model \"" + model + "\"";
    guarded(&getCanvas(), QString("\"") + command.info.text + "\" cannot be carried out" + which + ".", [&] {
        if (command.deselects)
            __resting->cancel();
        command.start(toolOf(command.make), model);
    });
}

void VRLSliceEditWidgetMediator::choose(const ToolCommand& command) {
    Tool& tool = toolOf(command.make);
    if (&tool != __chosen) {
        if (__chosen != __resting)
            __chosen->abandon();
        __chosen = &tool;
        __chosenId = command.info.id;
        if (getSlice() != nullptr && !tool.isActive())
            tool.activate();
        getCanvas().update();
        emit toolChosen(__chosenId);
    }
    __menus->showChosen(__chosenId);
    setRestingHint();
}

void VRLSliceEditWidgetMediator::chooseTool(const char* id) {
    for (const ToolCommand& command : toolCommands())
        if (command.stays && QString(command.info.id) == id)
            return runCommand(command, QString());
}

QString VRLSliceEditWidgetMediator::takeShown() {
    return !isInteracting() && __chosen != nullptr ? __chosen->takeShown() : QString();
}

void VRLSliceEditWidgetMediator::chooseSelection() {
    chooseTool(selectingToolId);
}

QList<QAction*> VRLSliceEditWidgetMediator::getToolActions() {
    QList<QAction*> actions;
    for (const ToolCommand& command : toolCommands())
        if (command.stays)
            actions.append(&commands().action(command.info.id));
    return actions;
}

QAction& VRLSliceEditWidgetMediator::getCommand(const char* id) {
    return commands().action(id);
}

QWidget* VRLSliceEditWidgetMediator::newToolOptions(QWidget* parent) const {
    return __chosen != nullptr ? __chosen->newOptions(parent) : nullptr;
}

// What is begun may run a loop of its own, in which this object may be deleted.
void VRLSliceEditWidgetMediator::begin(const char* id, const Model& model, QEvent& input) {
    for (const ToolCommand& command : toolCommands())
        if (QString(command.info.id) == id) {
            const QPointer<VRLSliceEditWidgetMediator> self(this);
            runCommand(command, QString::fromStdString(model.getName()));
            if (!self || !isInteracting())
                return;
            __pressed = __current;
            __current->process(&input);
            return;
        }
}

void VRLSliceEditWidgetMediator::setGhostsShown(bool shown) {
    __ghostsShown = shown;
    updateGhosts();
}

/// Once for many events; not for those of the slice itself.
void VRLSliceEditWidgetMediator::updateGhostsLater(const ModelItem* item) {
    if (!__ghostsShown || __ghostsPending || (item != nullptr && item->getSlice() == getSlice()))
        return;
    __ghostsPending = true;
    QMetaObject::invokeMethod(this, &VRLSliceEditWidgetMediator::updateGhosts, Qt::QueuedConnection);
}

void VRLSliceEditWidgetMediator::updateGhosts() {
    __ghostsPending = false;
    const Stack* const stack = getSlice() != nullptr ? getSlice()->getStack() : nullptr;
    const bool wanted = __ghostsShown && stack != nullptr;
    if (wanted || !getCanvas().getGhosts().empty())
        getCanvas().setGhosts(wanted ? neighbourOutlines(*stack, *getSlice()) : std::vector<NeighbourOutline>());
}

/// What can't be touched any more is not selected either.
void VRLSliceEditWidgetMediator::viewsChanged() {
    for (int i = 0; getSlice() != nullptr && i < getSlice()->getNumItems(); ++i)
        if (!__views->isTouchable(getSlice()->getItem(i)))
            getSlice()->getItem(i).getSelection().set(false);
    updateSelection();
    getCanvas().update();
}

void VRLSliceEditWidgetMediator::cancelInteraction() {
    guarded(&getCanvas(), "The interaction cannot be ended.", [this] {
        if (!isInteracting() && __chosen != __resting && __chosen != nullptr)
            return __chosen->cancel();
        if (__resting != nullptr)
            __resting->cancel();
        if (isInteracting())
            __current->cancel();
    });
}

bool VRLSliceEditWidgetMediator::isInteracting() const {
    return __current && __current->isActive();
}

void VRLSliceEditWidgetMediator::endInteractions() {
    if (isInteracting())
        __current->abandon();
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

// A tool that keeps an event may have run a loop, in which this object was deleted: nothing comes after it.
bool VRLSliceEditWidgetMediator::canvasEvent(QEvent* event) {
    Tool* const tool = isInteracting() ? __current.data() : __chosen;
    const QEvent::Type type = event->type();
    if (__crosshair != nullptr)
        __crosshair->watch(*event, tool == __resting);
    if (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick)
        __pressed = tool;
    if (type == QEvent::ContextMenu && __pressed && __pressed != tool &&
        static_cast<QContextMenuEvent*>(event)->reason() == QContextMenuEvent::Mouse && __pressed->process(event))
        return true;
    if (tool != nullptr && tool->process(event))
        return true;
    if (type == QEvent::KeyPress)
        keyWithoutEffect(*static_cast<QKeyEvent*>(event));
    if (type != QEvent::ContextMenu)
        return VRLSliceWidgetMediator::canvasEvent(event);
    contextMenuEvent(static_cast<QContextMenuEvent*>(event));
    return event->isAccepted();
}

// The key of a command that makes sense does not come here.
void VRLSliceEditWidgetMediator::keyWithoutEffect(const QKeyEvent& event) {
    if (isInteracting() || getSlice() == nullptr)
        return;
    const QKeySequence keys(event.keyCombination());
    for (const QAction* const action : __menus->getActions()) {
        if (action->isEnabled() || !action->shortcuts().contains(keys))
            continue;
        const QString name = '"' + action->text().remove('&') + '"';
        return setHint(__selected.emptySelection() ? name + " works on what is selected: click on an outline first."
                                                   : name + " is not for what is selected now.");
    }
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
