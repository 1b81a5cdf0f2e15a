#include "ui/slices/vrlslicewidgetmediator.h"

#include <QAction>
#include <QActionGroup>
#include <QToolBar>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/slices/slicecommands.h"
#include "ui/slices/vrlslicewidgetcanvas.h"
#include "ui/slices/vrlslicewidgetstatusbar.h"

namespace vorlen {

VRLSliceWidgetMediator::VRLSliceWidgetMediator(VRLImageWidget& widget) : VRLImageWidgetMediator(widget) {
    auto* const group = new QActionGroup(this);
    for (const CanvasMode mode : {BackgroundMode, ForegroundMode, AllgroundMode}) {
        const CommandInfo& info = sliceModeCommands()[static_cast<std::size_t>(mode)];
        __modeActions[mode] = &commands().add(info).setWork([this, mode] { setCanvasMode(mode); }).action();
        group->addAction(__modeActions[mode]);
        commands().update(info.id);
    }
    __modeActions[AllgroundMode]->setChecked(true);
}

void VRLSliceWidgetMediator::setCanvas(VRLImageWidgetCanvas& canvas) {
    if (dynamic_cast<VRLSliceWidgetCanvas*>(&canvas) == nullptr)
        throw ProgramError("void VRLSliceWidgetMediator::setCanvas(VRLImageWidgetCanvas&)",
                           "The canvas is not one for slices");
    VRLImageWidgetMediator::setCanvas(canvas);
}

void VRLSliceWidgetMediator::setStatusBar(VRLImageWidgetStatusBar& statusBar) {
    if (dynamic_cast<VRLSliceWidgetStatusBar*>(&statusBar) == nullptr)
        throw ProgramError("void VRLSliceWidgetMediator::setStatusBar(VRLImageWidgetStatusBar&)",
                           "The status bar is not one for slices");
    VRLImageWidgetMediator::setStatusBar(statusBar);
}

void VRLSliceWidgetMediator::initialize() {
    VRLImageWidgetMediator::initialize();
    if (QToolBar* const toolBar = getToolBar())
        for (QAction* action : __modeActions)
            toolBar->addAction(action);
}

void VRLSliceWidgetMediator::clear() {
    getCanvas().clear();
    VRLImageWidgetMediator::clear();
    updateSliceInfo();
}

void VRLSliceWidgetMediator::setSlice(StackSlice& slice) {
    VRLSliceWidgetCanvas& canvas = getCanvas();
    if (canvas.getSlice() == &slice)
        return;
    canvas.setSlice(slice);
    setPixelCalibration(slice.getPixelCalibration());
    showImage(slice);
}

GreyScale VRLSliceWidgetMediator::greyScaleOf(const Image& image) {
    Stack* const stack = getSlice() != nullptr ? getSlice()->getStack() : nullptr;
    if (stack == nullptr)
        return VRLImageWidgetMediator::greyScaleOf(image);
    if (!stack->getGreyScale())
        stack->setGreyScale(VRLImageWidgetMediator::greyScaleOf(image));
    return *stack->getGreyScale();
}

void VRLSliceWidgetMediator::showImage(const StackSlice& slice) {
    // A lost image of known size fails to be read, and its outlines stand where they were drawn.
    if (slice.isEmpty() && (!slice.hasImageSource() || slice.width() < 1 || slice.height() < 1)) {
        getImageProxy().clear();
        getCanvas().imageProxyChange();
        imageProxyChange();
        setNotice("The slice \"" + QString::fromStdString(slice.getName()) + "\" has no image.");
    } else {
        setImageSource(slice.getImageSource());
    }
    updateSliceInfo();
}

void VRLSliceWidgetMediator::stackCloseEvent(VRLStackCloseEvent& event) {
    const StackSlice* const slice = getSlice();
    if (slice != nullptr && slice->getStack() == event.getStack())
        clear();
}

void VRLSliceWidgetMediator::stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) {
    const StackSlice* const slice = getSlice();
    if (slice != nullptr && slice->getStack() == event.getStack())
        calibrationChanged();
}

// The grey scale of the stack may be another one.
void VRLSliceWidgetMediator::stackModifyEvent(VRLStackModifyEvent& event) {
    const StackSlice* const slice = getSlice();
    if (slice == nullptr || slice->getStack() != event.getStack() || !getImageProxy().hasImage())
        return;
    if (hasGreyScale(getImageProxy().getImage()) && event.getStack()->getGreyScale())
        getCanvas().setGreyScale(*event.getStack()->getGreyScale());
}

void VRLSliceWidgetMediator::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (getSlice() != nullptr && action.getSlice() == getSlice() && action.isInsertion() == action.reverted())
        clear();
}

void VRLSliceWidgetMediator::sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) {
    if (getSlice() != nullptr && event.getSlice() == getSlice())
        calibrationChanged();
}

void VRLSliceWidgetMediator::sliceImageSourceEvent(VRLSliceImageSourceEvent& event) {
    if (getSlice() != nullptr && event.getSlice() == getSlice())
        showImage(*getSlice());
}

void VRLSliceWidgetMediator::modelCreateEvent(VRLModelCreateEvent& event) {
    changed(*event.getModel());
}

void VRLSliceWidgetMediator::modelDeleteEvent(VRLModelDeleteEvent& event) {
    changed(*event.getModel());
    QMetaObject::invokeMethod(this, &VRLSliceWidgetMediator::updateSliceInfo, Qt::QueuedConnection);
}

void VRLSliceWidgetMediator::modelPropertiesEvent(VRLModelPropertiesEvent& event) {
    changed(*event.getModel());
}

void VRLSliceWidgetMediator::modelItemCreateEvent(VRLModelItemCreateEvent& event) {
    changed(event.getItem());
}

void VRLSliceWidgetMediator::modelItemDeleteEvent(VRLModelItemDeleteEvent& event) {
    changed(event.getItem());
}

void VRLSliceWidgetMediator::modelItemVertexEvent(VRLModelItemVertexEvent& event) {
    changed(event.getItem());
}

void VRLSliceWidgetMediator::modelItemAttributeEvent(VRLModelItemAttributeEvent& event) {
    changed(event.getItem());
}

void VRLSliceWidgetMediator::modelItemSelectEvent(VRLModelItemSelectEvent& event) {
    changed(event.getItem());
}

void VRLSliceWidgetMediator::modelItemConvertEvent(VRLModelItemConvertEvent& event) {
    changed(event.getItem());
}

void VRLSliceWidgetMediator::preferencesEvent(VRLPreferencesEvent& event) {
    VRLImageWidgetMediator::preferencesEvent(event);
}

void VRLSliceWidgetMediator::atEventBatchEnd() {
    if (__infoPending)
        updateSliceInfo();
}

VRLSliceWidgetCanvas& VRLSliceWidgetMediator::getCanvas() const {
    return static_cast<VRLSliceWidgetCanvas&>(VRLImageWidgetMediator::getCanvas());
}

VRLSliceWidgetStatusBar* VRLSliceWidgetMediator::getStatusBar() const {
    return static_cast<VRLSliceWidgetStatusBar*>(VRLImageWidgetMediator::getStatusBar());
}

StackSlice* VRLSliceWidgetMediator::getSlice() const {
    return hasCanvas() ? getCanvas().getSlice() : nullptr;
}

void VRLSliceWidgetMediator::setCanvasMode(CanvasMode mode) {
    getCanvas().setMode(mode);
    __modeActions[mode]->setChecked(true);
    emit canvasModeChanged(mode);
}

void VRLSliceWidgetMediator::updateSliceInfo() {
    __infoPending = false;
    if (VRLSliceWidgetStatusBar* const statusBar = getStatusBar())
        statusBar->setSliceInfo(getSlice() != nullptr ? sliceText(*getSlice()) : QString());
}

QString VRLSliceWidgetMediator::sliceText(const StackSlice& slice) {
    int numContours = 0;
    int numPoints = 0;
    for (int i = 0; i < slice.getNumItems(); ++i) {
        const ModelItem& item = slice.getItem(i);
        const Model* const model = item.getModel();
        if (model != nullptr && model->getProperties().definesGeometry() &&
            model->getProperties().getGeometry() == PolypointPrimitive)
            numPoints += item.getSize();
        else
            ++numContours;
    }
    QString text;
    if (numContours > 0)
        text += QString("%1 contour(s)").arg(numContours);
    if (numContours > 0 && numPoints > 0)
        text += ", ";
    if (numPoints > 0)
        text += QString("%1 point(s)").arg(numPoints);
    return text;
}

void VRLSliceWidgetMediator::setBackgroundMode() {
    setCanvasMode(BackgroundMode);
}

void VRLSliceWidgetMediator::setForegroundMode() {
    setCanvasMode(ForegroundMode);
}

void VRLSliceWidgetMediator::setAllgroundMode() {
    setCanvasMode(AllgroundMode);
}

void VRLSliceWidgetMediator::changed(const Model& model) {
    const StackSlice* const slice = getSlice();
    if (slice == nullptr)
        return;
    for (int i = 0; i < model.getNumItems(); ++i)
        if (model.getItem(i).getSlice() == slice) {
            contentsChanged();
            return;
        }
}

void VRLSliceWidgetMediator::changed(const ModelItem* item) {
    if (item != nullptr && getSlice() != nullptr && item->getSlice() == getSlice())
        contentsChanged();
}

void VRLSliceWidgetMediator::contentsChanged() {
    getCanvas().update();
    if (eventBatchEnabled())
        __infoPending = true;
    else
        updateSliceInfo();
}

void VRLSliceWidgetMediator::calibrationChanged() {
    setPixelCalibration(getSlice()->getPixelCalibration());
    getCanvas().update();
    updateActions();
    notifyViewChange();
}

} // namespace vorlen
