#include "ui/scenes/vrlrenderingmediator.h"

#include <algorithm>
#include <iostream>

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QSettings>

#include "document/modelitem.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "export/stackexporter.h"
#include "numerics/exception.h"
#include "ui/models/guarded.h"
#include "ui/scenes/renderingcommands.h"
#include "ui/scenes/vrlrenderingpaintergl.h"
#include "ui/scenes/vrlrenderingtoolbar.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

/// Carries a change of a painter out. A model that cannot be drawn is left out of the picture.
void tryOn(VRLRenderingPainterGL& painter, const std::function<void(VRLRenderingPainterGL&)>& change) {
    try {
        change(painter);
        return;
    } catch (const Exception& error) {
        std::cerr << "A model cannot be shown: " << error.getWhat() << std::endl;
    } catch (const std::exception& error) {
        std::cerr << "A model cannot be shown: " << error.what() << std::endl;
    }
    painter.clear();
}

} // namespace

VRLRenderingMediator::VRLRenderingMediator(QObject* parent) : ViewerMediator(parent) {
    commands().add(ownRenderingCommands());
    commands().bind("rendering.export", [this] { export2AsciiSTL(); });
    commands().update();
}

VRLRenderingMediator::~VRLRenderingMediator() {
    deletePainters();
}

void VRLRenderingMediator::setStack(VRLStack& stack) {
    if (&stack != __stack) {
        deletePainters();
        __stack = &stack;
        __refreshPending = false;
        buildPainters();
    }
    emit stackChanged();
    updateCanvas();
}

void VRLRenderingMediator::clear() {
    deletePainters();
    __stack = nullptr;
    __refreshPending = false;
    updateCanvas();
}

void VRLRenderingMediator::initRenderingMenu(QMenu& menu) {
    commands().fill(menu, renderingCommands().menu("Rendering"));
}

void VRLRenderingMediator::initialize() {
    ViewerMediator::initialize();
    if (__toolbar == nullptr)
        return;
    connect(__toolbar, &VRLRenderingToolbar::homeClicked, this, &ViewerMediator::resetPose);
    connect(__toolbar, &VRLRenderingToolbar::snapshotClicked, this, &ViewerMediator::snapshot);
    connect(__toolbar, &VRLRenderingToolbar::previousStackClicked, this, &VRLRenderingMediator::setPreviousStack);
    connect(__toolbar, &VRLRenderingToolbar::nextStackClicked, this, &VRLRenderingMediator::setNextStack);
}

VRLRenderingPainterGL& VRLRenderingMediator::addModel(Model& model) {
    __painters.push_back(std::make_unique<VRLRenderingPainterGL>());
    tryOn(*__painters.back(), [&model](VRLRenderingPainterGL& painter) { painter.setModel(model); });
    return *__painters.back();
}

void VRLRenderingMediator::deletePainters() {
    if (getCanvas() != nullptr)
        getCanvas()->removePainters();
    __painters.clear();
}

void VRLRenderingMediator::refresh() {
    deletePainters();
    buildPainters();
    updateCanvas();
}

void VRLRenderingMediator::refreshNowOrAtBatchEnd() {
    if (eventBatchEnabled())
        __refreshPending = true;
    else
        refresh();
}

void VRLRenderingMediator::buildPainters() {
    if (__stack == nullptr)
        return;
    for (int k = 0; k < __stack->getNumModels(); ++k) {
        VRLRenderingPainterGL& painter = addModel(__stack->getModel(k));
        if (getCanvas() != nullptr)
            getCanvas()->addPainter(painter);
    }
}

void VRLRenderingMediator::updateCanvas() {
    if (getCanvas() == nullptr)
        return;
    getCanvas()->initializeGL();
    getCanvas()->repaint();
}

VRLRenderingPainterGL* VRLRenderingMediator::painterOf(const Model* model) const {
    for (const auto& painter : __painters)
        if (painter->getModel() == model)
            return painter.get();
    return nullptr;
}

void VRLRenderingMediator::onPainter(const Model* model, const std::function<void(VRLRenderingPainterGL&)>& change) {
    VRLRenderingPainterGL* painter = painterOf(model);
    if (painter == nullptr)
        return;
    tryOn(*painter, change);
    updateCanvas();
}

void VRLRenderingMediator::modelCreateEvent(VRLModelCreateEvent& event) {
    Model& model = *event.getModel();
    if (__stack == nullptr || __stack->findModel(model) < 0)
        return;
    if (eventBatchEnabled()) {
        __refreshPending = true;
        return;
    }
    VRLRenderingPainterGL& painter = addModel(model);
    if (getCanvas() != nullptr)
        getCanvas()->addPainter(painter);
    updateCanvas();
}

void VRLRenderingMediator::modelDeleteEvent(VRLModelDeleteEvent& event) {
    VRLRenderingPainterGL* painter = painterOf(event.getModel());
    if (painter == nullptr)
        return;
    if (eventBatchEnabled()) {
        __refreshPending = true;
        return;
    }
    if (getCanvas() != nullptr)
        getCanvas()->removePainter(*painter);
    std::erase_if(__painters, [painter](const auto& owned) { return owned.get() == painter; });
    updateCanvas();
}

void VRLRenderingMediator::modelPropertiesEvent(VRLModelPropertiesEvent& event) {
    VRLRenderingPainterGL* painter = painterOf(event.getModel());
    if (painter == nullptr)
        return;
    tryOn(*painter, [](VRLRenderingPainterGL& changed) { changed.processModelAttributeChange(); });
    if (getCanvas() != nullptr)
        getCanvas()->repaint();
}

void VRLRenderingMediator::modelItemCreateEvent(VRLModelItemCreateEvent& event) {
    const ModelItem& item = *event.getItem();
    onPainter(item.getModel(), [&item](VRLRenderingPainterGL& painter) { painter.addItem(item); });
}

void VRLRenderingMediator::modelItemDeleteEvent(VRLModelItemDeleteEvent& event) {
    const ModelItem& item = *event.getItem();
    onPainter(item.getModel(), [&item](VRLRenderingPainterGL& painter) { painter.removeItem(item); });
}

void VRLRenderingMediator::modelItemVertexEvent(VRLModelItemVertexEvent& event) {
    const ModelItem& item = *event.getItem();
    onPainter(item.getModel(), [&item](VRLRenderingPainterGL& painter) { painter.processItemVertexChange(item); });
}

void VRLRenderingMediator::modelItemAttributeEvent(VRLModelItemAttributeEvent& event) {
    const ModelItem& item = *event.getItem();
    onPainter(item.getModel(), [&item](VRLRenderingPainterGL& painter) { painter.processItemAttributeChange(item); });
}

void VRLRenderingMediator::modelItemConvertEvent(VRLModelItemConvertEvent& event) {
    const ModelItem& item = *event.getItem();
    VRLRenderingPainterGL* source = painterOf(event.getSourceModel());
    VRLRenderingPainterGL* destination = painterOf(event.getDestinationModel());
    if (source != nullptr)
        tryOn(*source, [&item](VRLRenderingPainterGL& painter) { painter.removeItem(item); });
    if (destination != nullptr)
        tryOn(*destination, [&item](VRLRenderingPainterGL& painter) { painter.addItem(item); });
    if (source != nullptr || destination != nullptr)
        updateCanvas();
}

void VRLRenderingMediator::stackRegistrationEvent(VRLStackRegistrationEvent& event) {
    if (__stack != nullptr && event.getStack() == __stack)
        refresh();
}

void VRLRenderingMediator::stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) {
    if (__stack != nullptr && event.getStack() == __stack)
        refreshNowOrAtBatchEnd();
}

void VRLRenderingMediator::stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) {
    if (__stack != nullptr && event.getStack() == __stack)
        refreshNowOrAtBatchEnd();
}

void VRLRenderingMediator::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (__stack != nullptr && &action.getStack() == __stack)
        refresh();
}

void VRLRenderingMediator::atEventBatchEnd() {
    if (!__refreshPending)
        return;
    __refreshPending = false;
    refresh();
}

void VRLRenderingMediator::goToStack(VRLStack& stack) {
    const WaitCursor wait;
    stack.updateReconstruction();
    setStack(stack);
}

void VRLRenderingMediator::setPreviousStack() {
    if (__stack != nullptr && VRLStackServer::stackServer.find(*__stack) >= 0)
        goToStack(VRLStackServer::stackServer.getPreviousStack(*__stack));
}

void VRLRenderingMediator::setNextStack() {
    if (__stack != nullptr && VRLStackServer::stackServer.find(*__stack) >= 0)
        goToStack(VRLStackServer::stackServer.getNextStack(*__stack));
}

void VRLRenderingMediator::export2AsciiSTL() {
    if (__stack == nullptr)
        return;
    QFileDialog dialog(parentWidget(), "Select export directory", QSettings().value("exportDirectory").toString(),
                       "STL format (*.stl)");
    dialog.setFileMode(QFileDialog::Directory);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const QString directory = QDir(dialog.selectedFiles().first()).absolutePath();
    QSettings().setValue("exportDirectory", directory);
    export2AsciiSTL(directory);
}

void VRLRenderingMediator::export2AsciiSTL(const QString& directory) {
    if (__stack == nullptr)
        return;
    guarded(parentWidget(), "The models could not be exported to STL.", [this, &directory] {
        try {
            StackExporter().export2AsciiSTL(*__stack, QFile::encodeName(directory).toStdString(), false);
        } catch (const FileWriteError& error) {
            const QString file = QFile::decodeName(error.getFile().c_str());
            const QFileInfo info(file);
            const QString reason = info.exists() || info.isSymLink() ? QString("file already exists")
                                                                     : QString::fromStdString(error.getWhat());
            warn("STL export: write error", file + ":\n\n" + reason + ".\n\nExport to STL interrupted.");
            return;
        }
        if (__stack->hasGeometryModelItems(PolypointPrimitive))
            warn("STL export", "STL supports only surface objects\n Point models could not be saved");
    });
}

void VRLRenderingMediator::warn(const QString& title, const QString& text) {
    QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::Ok, parentWidget());
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace vorlen
