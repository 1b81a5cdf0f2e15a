#include "ui/scenes/vrlrenderingmediator.h"

#include <algorithm>
#include <iostream>
#include <optional>

#include <QAction>
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
#include "editing/operations/lostimages.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "export/stackexporter.h"
#include "export/surfaceformat.h"
#include "numerics/exception.h"
#include "ui/models/guarded.h"
#include "ui/scenes/renderingcommands.h"
#include "ui/scenes/vrlrenderingpaintergl.h"
#include "ui/scenes/vrlrenderingtoolbar.h"
#include "ui/session/crosshair.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/widgets/plaintext.h"
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
    commands().setWindow(renderingCommands().window);
    commands().add(ownRenderingCommands());
    commands().bind(
        "rendering.export", [this] { exportSurfaces(); });
    commands().bind(
        "animation.timeout",
        [this] {
            if (const auto timeout =
                    askForNumber("Rendering", "Enter animation interval (msec):", getRandomMotionTimeout(), 0, 10000))
                setRandomMotionTimeout(*timeout);
        });
    commands().bind("animation.angle", [this] {
        if (const auto angle =
                askForNumber("Rendering", "Enter animation angle (deg.):", getRandomMotionAngle(), -180, 180))
            setRandomMotionAngle(*angle);
    });
    bindCrosshair();
    commands().update();
}

void VRLRenderingMediator::bindCrosshair() {
    Crosshair& crosshair = Crosshair::crosshair();
    QAction& shown = commands().action("view.crosshair");
    shown.setChecked(crosshair.isShown());
    commands().bind("view.crosshair", [] { Crosshair::crosshair().setShown(!Crosshair::crosshair().isShown()); });
    connect(
        &crosshair, &Crosshair::shownChanged, this,
        [this, &shown](bool on) {
            shown.setChecked(on);
            updateMark();
        });
    connect(&crosshair, &Crosshair::placeChanged, this, [this](const VRLStack* stack) {
        if (stack == __stack)
            updateMark();
    });
    connect(this, &VRLRenderingMediator::stackChanged, this, &VRLRenderingMediator::updateMark);
}

void VRLRenderingMediator::updateMark() {
    if (getCanvas() == nullptr)
        return;
    const Crosshair& crosshair = Crosshair::crosshair();
    const auto place = __stack != nullptr && crosshair.isShown() ? crosshair.placeIn(*__stack) : std::nullopt;
    std::optional<Vector<float>> mark;
    if (place) {
        mark.emplace(3);
        (*mark)[0] = float(place->x);
        (*mark)[1] = float(place->y);
        (*mark)[2] = float(place->z);
    }
    getCanvas()->setMark(mark);
}

/// A click sets the place only while the crosshair is shown: turning the scene begins with one.
void VRLRenderingMediator::pointAt(const QPoint& position) {
    Crosshair& crosshair = Crosshair::crosshair();
    if (__stack == nullptr || getCanvas() == nullptr || !crosshair.isShown())
        return;
    if (const auto place = getCanvas()->placeAt(position))
        crosshair.setPlace(*__stack, {double((*place)[0]), double((*place)[1]), double((*place)[2])}, this);
}

std::vector<Pose> VRLRenderingMediator::storedPoses() const {
    std::vector<Pose> poses;
    for (int k = 0; __stack != nullptr && k < __stack->getNumPoses(); ++k)
        poses.push_back(__stack->getPose(k));
    return poses;
}

VRLRenderingMediator::~VRLRenderingMediator() {
    deletePainters();
}

void VRLRenderingMediator::setStack(VRLStack& stack) {
    if (&stack != __stack) {
        deletePainters();
        __stack = &stack;
        __refreshPending = false;
        __pending.clear();
        buildPainters();
    }
    emit stackChanged();
    updateCanvas();
}

void VRLRenderingMediator::clear() {
    deletePainters();
    __stack = nullptr;
    __refreshPending = false;
    __pending.clear();
    updateMark();
    updateCanvas();
}

void VRLRenderingMediator::initRenderingMenu(QMenu& menu) {
    commands().fill(menu, renderingCommands().menu("Rendering"));
}

void VRLRenderingMediator::initialize() {
    ViewerMediator::initialize();
    if (getCanvas() != nullptr)
        connect(getCanvas(), &ViewerCanvasGL::clicked, this, &VRLRenderingMediator::pointAt);
    if (__toolbar == nullptr)
        return;
    connect(__toolbar, &VRLRenderingToolbar::homeClicked, this, &ViewerMediator::resetPose);
    connect(__toolbar, &VRLRenderingToolbar::snapshotClicked, this, &ViewerMediator::snapshot);
    connect(__toolbar, &VRLRenderingToolbar::randClicked, this, &ViewerMediator::toggleRandomMotion);
    connect(__toolbar, &VRLRenderingToolbar::videoStartClicked, this, &ViewerMediator::videoStart);
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
    followPainters();
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
    if (painter == nullptr || isLeftToBatchEnd(event.getModel(), nullptr))
        return;
    tryOn(*painter, [](VRLRenderingPainterGL& changed) { changed.processModelAttributeChange(); });
    if (getCanvas() != nullptr)
        getCanvas()->repaint();
}

/// Notes a change of the item, or of the whole model for null, if a batch of events is open.
bool VRLRenderingMediator::isLeftToBatchEnd(const Model* model, const ModelItem* item) {
    if (!eventBatchEnabled())
        return false;
    if (model != nullptr)
        __pending[model].insert(item);
    return true;
}

void VRLRenderingMediator::modelItemCreateEvent(VRLModelItemCreateEvent& event) {
    const ModelItem& item = *event.getItem();
    if (isLeftToBatchEnd(item.getModel(), &item))
        return;
    onPainter(item.getModel(), [&item](VRLRenderingPainterGL& painter) { painter.addItem(item); });
}

void VRLRenderingMediator::modelItemDeleteEvent(VRLModelItemDeleteEvent& event) {
    const ModelItem& item = *event.getItem();
    if (isLeftToBatchEnd(item.getModel(), nullptr))
        return;
    onPainter(item.getModel(), [&item](VRLRenderingPainterGL& painter) { painter.removeItem(item); });
}

void VRLRenderingMediator::modelItemVertexEvent(VRLModelItemVertexEvent& event) {
    const ModelItem& item = *event.getItem();
    if (isLeftToBatchEnd(item.getModel(), &item))
        return;
    onPainter(item.getModel(), [&item](VRLRenderingPainterGL& painter) { painter.processItemVertexChange(item); });
}

void VRLRenderingMediator::modelItemAttributeEvent(VRLModelItemAttributeEvent& event) {
    const ModelItem& item = *event.getItem();
    if (isLeftToBatchEnd(item.getModel(), &item))
        return;
    onPainter(item.getModel(), [&item](VRLRenderingPainterGL& painter) { painter.processItemAttributeChange(item); });
}

void VRLRenderingMediator::modelItemConvertEvent(VRLModelItemConvertEvent& event) {
    const ModelItem& item = *event.getItem();
    if (isLeftToBatchEnd(event.getSourceModel(), nullptr)) {
        isLeftToBatchEnd(event.getDestinationModel(), nullptr);
        return;
    }
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
        refreshNowOrAtBatchEnd();
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
        refreshNowOrAtBatchEnd();
}

void VRLRenderingMediator::atEventBatchEnd() {
    if (__refreshPending) {
        __refreshPending = false;
        __pending.clear();
        refresh();
    } else if (!__pending.empty()) {
        makeGood();
    }
}

/// A model without a painter is none of this stack's, or is gone.
void VRLRenderingMediator::makeGood() {
    std::map<const Model*, std::set<const ModelItem*>> pending;
    pending.swap(__pending);
    bool anything = false;
    for (const auto& painter : __painters) {
        const auto changes = pending.find(painter->getModel());
        if (changes == pending.end())
            continue;
        anything = true;
        const std::set<const ModelItem*>& items = changes->second;
        tryOn(*painter, [&items](VRLRenderingPainterGL& changed) {
            if (items.count(nullptr) > 0 || changed.getModelPainter() != nullptr)
                changed.processModelAttributeChange();
            else
                for (const ModelItem* item : items)
                    changed.processItemVertexChange(*item);
        });
    }
    if (anything)
        updateCanvas();
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

/// The format stands in the dialog as the type of the files. The one that was chosen last comes up again.
void VRLRenderingMediator::exportSurfaces() {
    if (__stack == nullptr)
        return;
    QStringList filters = {"STL, text, with mesh files (*.stl *.qm)"};
    for (const SurfaceFormatInfo& info : surfaceFormats())
        filters += QString::fromUtf8(info.name.data(), qsizetype(info.name.size())) + " (*." +
                   QString::fromUtf8(info.suffix.data(), qsizetype(info.suffix.size())) + ")";
    QFileDialog dialog(parentWidget(), "Select export directory", QSettings().value("exportDirectory").toString());
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::DontUseNativeDialog); // some have no types where a directory is chosen
    dialog.setNameFilters(filters);
    dialog.setLabelText(QFileDialog::FileType, "Format:");
    if (const QString last = QSettings().value("exportFormat").toString(); filters.contains(last))
        dialog.selectNameFilter(last);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const QString directory = QDir(dialog.selectedFiles().first()).absolutePath();
    QSettings().setValue("exportDirectory", directory);
    QSettings().setValue("exportFormat", dialog.selectedNameFilter());
    const qsizetype chosen = filters.indexOf(dialog.selectedNameFilter());
    if (chosen < 1)
        export2AsciiSTL(directory);
    else
        exportSurfaces(directory, surfaceFormats()[std::size_t(chosen - 1)].format);
}

void VRLRenderingMediator::exportSurfaces(const QString& directory, SurfaceFormat format) {
    const std::string_view name = infoOf(format).name;
    exportBy([&] { StackExporter().exportStack(*__stack, QFile::encodeName(directory).toStdString(), format, false); },
             QString::fromUtf8(name.data(), qsizetype(name.size())).section(' ', 0, 0).remove(','));
}

void VRLRenderingMediator::export2AsciiSTL(const QString& directory) {
    exportBy([&] { StackExporter().export2AsciiSTL(*__stack, QFile::encodeName(directory).toStdString(), false); },
             "STL");
}

void VRLRenderingMediator::exportBy(const std::function<void()>& work, const QString& format) {
    if (__stack == nullptr)
        return;
    if (const Outcome sized = requireImageSizes(*__stack); !sized)
        return warn("Export", QString::fromStdString(sized.getReason()) + ".");
    guarded(parentWidget(), "The models could not be exported to " + format + ".", [&] {
        try {
            work();
        } catch (const FileWriteError& error) {
            const QString file = QFile::decodeName(error.getFile().c_str());
            const QFileInfo info(file);
            const QString reason = info.exists() || info.isSymLink() ? QString("file already exists")
                                                                     : QString::fromStdString(error.getWhat());
            warn(format + " export: write error",
                 file + ":\n\n" + reason + ".\n\nExport to " + format + " interrupted.");
            return;
        }
        if (__stack->hasGeometryModelItems(PolypointPrimitive))
            warn(format + " export", format + " supports only surface objects\n Point models could not be saved");
    });
}

void VRLRenderingMediator::warn(const QString& title, const QString& text) {
    PlainMessageBox box(QMessageBox::Warning, title, text, QMessageBox::Ok, parentWidget());
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace vorlen
