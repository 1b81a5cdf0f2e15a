#include "ui/fusion/vrlfusionwindowmediator.h"

#include <algorithm>

#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QTextEdit>
#include <QThread>

#include "document/model.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/rasters/colormap.h"
#include "shapes/quadmesh.h"
#include "shapes/shapeset.h"
#include "ui/comparison/vrlcomparisonwindow.h"
#include "ui/density/vrldensitymappingwidget.h"
#include "ui/fusion/fusioncommands.h"
#include "ui/fusion/fusionresidualview.h"
#include "ui/fusion/vrlfusion.h"
#include "ui/fusion/vrlfusionconfigdialog.h"
#include "ui/fusion/vrlfusionwindow.h"
#include "ui/fusion/vrlfusionwindowshapetable.h"
#include "ui/models/guarded.h"
#include "ui/session/vrlsettings.h"
#include "ui/viewer/curvepaintergl.h"
#include "ui/viewer/quadmeshpaintergl.h"
#include "ui/viewer/shapeviewerattributeseditor.h"
#include "ui/viewer/trimeshpaintergl.h"
#include "ui/viewer/vertexstackpaintergl.h"
#include "ui/viewer/verticespaintergl.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/viewer/viewerposepanel.h"
#include "ui/widgets/vrlstatusbar.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

const char* const meanName = "mean";

std::unique_ptr<ShapePainterGL<float>> painterFor(const Shape<float>& shape) {
    std::unique_ptr<ShapePainterGL<float>> painter;
    switch (shape.getShapeType()) {
    case OpenCurveType:
    case ClosedCurveType:
        painter = std::make_unique<CurvePainterGL<float>>();
        break;
    case OpenQuadMeshType:
    case ClosedQuadMeshType:
        painter = std::make_unique<QuadMeshPainterGL<float>>();
        break;
    case OpenCurveStackType:
    case ClosedCurveStackType:
        painter = std::make_unique<CurveStackPainterGL<float>>();
        break;
    case TriMeshType:
        painter = std::make_unique<TriMeshPainterGL<float>>();
        break;
    case VertexStackType:
        painter = std::make_unique<VertexStackPainterGL<float>>();
        break;
    default:
        painter = std::make_unique<VerticesPainterGL<float>>();
    }
    painter->setShape(shape);
    return painter;
}

} // namespace

int VRLFusionWindowMediator::__numFusions = 0;

VRLFusionWindowMediator::VRLFusionWindowMediator(VRLFusionWindow& window, VRLFusionWindowShapeTable& table,
                                                 ShapeViewerAttributesEditor& editor, FusionResidualView& residuals,
                                                 FusionScaleBar& scaleBar, VRLDensityMappingWidget& density,
                                                 VRLStatusBar& statusBar)
    : ViewerMediator(&window), __window(window), __table(table), __editor(editor), __residuals(residuals),
      __scaleBar(scaleBar), __density(density), __statusBar(statusBar) {
    __progress.addMonitor(static_cast<ProgressMonitor&>(__statusBar));
    commands().setWindow(fusionCommands().window);
    commands().add(ownFusionCommands());
    bindCommands();
    connect(&__table, &QTableWidget::itemSelectionChanged, this, &VRLFusionWindowMediator::processSelectionChange);
    connect(&__editor, &ShapeViewerAttributesEditor::attributesChanged, this,
            &VRLFusionWindowMediator::processAttributesChange);
}

VRLFusionWindowMediator::~VRLFusionWindowMediator() {
    if (__fusion)
        __fusion->cancel();
    endRun();
    removeShapes();
    __progress.removeMonitor(static_cast<ProgressMonitor&>(__statusBar));
}

void VRLFusionWindowMediator::bindCommands() {
    const auto notRunning = [this] { return __status != Running; };
    const auto displaying = [this] { return __status == Displaying; };
    commands().bind("fusion.new", [this] { newFusion(); }).enableWhen(notRunning);
    commands().bind("fusion.cancel", [this] { cancelFusion(); }).enableWhen([this] { return __status == Running; });
    commands().bind("fusion.summary", [this] { fusionSummary(); }).enableWhen(displaying);
    commands().bind("fusion.export", [this] { exportResults(); }).enableWhen(displaying);
    commands()
        .bind("fusion.variation", [this] { showVariation(commands().action("fusion.variation").isChecked()); })
        .enableWhen(displaying);
    commands().bind("fusion.compare", [this] { compareGroups(); }).enableWhen(displaying);
    commands().bind("window.new", [this] { newWindow(); });
    commands().bind("window.close", [this] { __window.close(); });
}

void VRLFusionWindowMediator::setStatus(Status status) {
    __status = status;
    const bool displaying = status == Displaying;
    __table.setEnabled(displaying);
    __residuals.setEnabled(displaying);
    __editor.setEnabled(displaying && !__table.selectedShapes().empty());
    if (getCanvas() != nullptr)
        getCanvas()->setEnabled(displaying);
    if (getPosePanel() != nullptr)
        getPosePanel()->setEnabled(displaying);
    commands().update();
}

void VRLFusionWindowMediator::setStatusReady() {
    setStatus(Ready);
    __window.setWindowTitle("Vorlen - Fusion");
    __statusBar.setMessage("Choose Normalize > Normalization... to bring open stacks into one space.");
}

void VRLFusionWindowMediator::setStatusRunning() {
    setStatus(Running);
    __window.setWindowTitle(QString::fromStdString(__config.getName()));
}

void VRLFusionWindowMediator::setStatusDisplaying() {
    setStatus(Displaying);
}

void VRLFusionWindowMediator::newWindow() {
    auto* window = new VRLFusionWindow; // deletes itself when it is closed
    window->getMediator().setConfig(__config);
    window->show();
}

void VRLFusionWindowMediator::newFusion() {
    if (__status == Running)
        return;
    clearFusion();
    VRLFusionConfigDialog dialog(&__window);
    VRLFusionConfig<float> config = __config;
    config.setName("normalization" + std::to_string(__numFusions + 1));
    dialog.setConfig(config);
    if (dialog.exec() == QDialog::Accepted)
        start(dialog.fusionConfig());
}

void VRLFusionWindowMediator::start(const VRLFusionConfig<float>& config) {
    clearFusion();
    __config = config;
    guarded(&__window, "The normalization cannot be started.", [this] {
        const WaitCursor cursor;
        auto fusion = std::make_unique<VRLFusion>();
        fusion->setConfig(__config);
        fusion->prepare();
        takeColors();
        __unit = __config.getStacks().front()->getLengthUnit();
        __fusion = std::move(fusion);
    });
    // The stacks may be closed from now on.
    __config.setStacks({});
    if (!__fusion)
        return;
    __fusion->addMonitor(__progress);
    connect(__fusion.get(), &VRLFusion::completed, this, &VRLFusionWindowMediator::fusionComplete,
            Qt::QueuedConnection);
    connect(__fusion.get(), &VRLFusion::stopped, this, &VRLFusionWindowMediator::fusionStopped, Qt::QueuedConnection);
    connect(__fusion.get(), &VRLFusion::failed, this, &VRLFusionWindowMediator::fusionFailed, Qt::QueuedConnection);
    ++__numFusions;
    setStatusRunning();
    __worker = std::make_unique<QThread>();
    __fusion->moveToThread(__worker.get());
    connect(__worker.get(), &QThread::started, __fusion.get(), &VRLFusion::run);
    __worker->start(QThread::InheritPriority);
}

/// The colours of the models as they are when the normalization starts.
void VRLFusionWindowMediator::takeColors() {
    __properties.clear();
    const std::vector<std::string> names = __config.specimenNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
        const Stack& stack = *__config.getStacks()[i];
        for (int m = 0; m < stack.getNumModels(); ++m)
            __properties[{names[i], stack.getModel(m).getName()}] = stack.getModel(m).getItemProperties();
    }
}

/// Waits for the thread, which ends with its work.
void VRLFusionWindowMediator::endRun() {
    if (!__worker)
        return;
    __worker->quit();
    __worker->wait();
    __worker.reset();
}

void VRLFusionWindowMediator::cancelFusion() {
    if (__status != Running)
        return;
    __fusion->cancel();
    __statusBar.setMessage("Cancelling...");
}

void VRLFusionWindowMediator::fusionStopped() {
    endRun();
    clearFusion();
    __statusBar.setMessage("Normalization cancelled");
}

void VRLFusionWindowMediator::fusionFailed(const QString& reason) {
    endRun();
    clearFusion();
    __statusBar.setMessage("Normalization failed");
    QMessageBox box(QMessageBox::Critical, appName, "The normalization has failed.\n\n" + reason, QMessageBox::Ok,
                    &__window);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

void VRLFusionWindowMediator::refreshCanvas() {
    if (getCanvas() == nullptr)
        return;
    getCanvas()->initializeGL();
    getCanvas()->repaint();
}

/// Takes the shapes off the canvas; density maps stay.
void VRLFusionWindowMediator::removeShapes() {
    __density.setShapes({});
    for (const auto& painter : __shapePainters)
        if (getCanvas() != nullptr)
            getCanvas()->removePainter(*painter);
    __painters.clear();
    __shapePainters.clear();
    __fileNames = ShapeFileNames();
}

void VRLFusionWindowMediator::clearFusion() {
    if (__fusion && __status == Running)
        __fusion->cancel();
    endRun();
    __table.removePainters();
    __editor.clear();
    __residuals.clear();
    __scaleBar.hide();
    commands().action("fusion.variation").setChecked(false);
    removeShapes();
    refreshCanvas();
    __window.closeSummaries();
    __fusion.reset();
    setStatusReady();
}

void VRLFusionWindowMediator::fusionComplete() {
    if (__status != Running)
        return;
    endRun();
    for (const ShapeSet<float>* set : __fusion->getShapeSets()) {
        for (int k = 0; k < set->getSize(); ++k)
            if ((*set)[k] != nullptr && (*set)[k]->getSize() > 0)
                addShape(*(*set)[k], set->getName(), __properties[{set->getName(), (*set)[k]->getName()}]);
    }
    const ShapeSet<float>& mean = *__fusion->getMeanShapeSet();
    for (int k = 0; k < mean.getSize(); ++k)
        if (mean[k] != nullptr)
            addShape(*mean[k], meanName, ModelItemProperties());
    __table.setSortingEnabled(true);
    __table.resizeColumnsToContents();
    std::vector<DensityShape> shapes;
    shapes.reserve(__painters.size());
    for (const auto& painter : __painters)
        shapes.push_back(
            {QString::fromStdString(painter->getStackName() + ": " + painter->getProxy()->getShape()->getName()),
             painter->getProxy(), __unit});
    __density.setShapes(shapes);
    __residuals.setReport(__fusion->getReport());
    refreshCanvas();
    setStatusDisplaying();
    const std::size_t warnings = __fusion->getReport().warnings.size();
    __statusBar.setMessage(
        warnings == 0 ? QString("Normalization completed")
                      : QString("Normalization completed. Warnings: %1 (see the tab Residuals)").arg(warnings));
}

void VRLFusionWindowMediator::addShape(Shape<float>& shape, const std::string& stackName,
                                       const ModelItemProperties& properties) {
    std::unique_ptr<ShapePainterGL<float>> painter = painterFor(shape);
    ShapePainterAttributesGL attributes = painter->getAttributes();
    if (properties.definesColor()) {
        attributes.setColor(properties.getColor());
    } else {
        static const Colormap colors = Colormap::flag();
        const int entry = 2 + int(__painters.size()) % (colors.getSize() - 2);
        Vector<int> color(3);
        color[0] = colors.getRed()[entry];
        color[1] = colors.getGreen()[entry];
        color[2] = colors.getBlue()[entry];
        attributes.setColor(color);
    }
    attributes.setSymbolSize(properties.definesPointSize() ? properties.getPointSize() : 3.0f);
    attributes.setVertexSymbol(CubeSymbolGL);
    // The means as surfaces, the specimens as lines around them.
    const bool surface = dynamic_cast<const QuadMesh<float>*>(&shape) != nullptr;
    attributes.setDisplayMode(!surface ? SymbolDisplayGL : stackName == meanName ? SurfaceDisplayGL : CurveDisplayGL);
    painter->setAttributes(attributes);
    __painters.push_back(std::make_unique<VRLFusionShapeViewerPainterGL>());
    VRLFusionShapeViewerPainterGL& shown = *__painters.back();
    shown.setProxy(painter.get());
    shown.setNameCounter(1);
    shown.setStackName(stackName);
    shown.setFileName(__fileNames.nameOf(stackName, shape));
    __table.addPainter(shown);
    if (getCanvas() != nullptr)
        getCanvas()->addPainter(*painter);
    __shapePainters.push_back(std::move(painter));
    processSelectionChange();
}

void VRLFusionWindowMediator::showVariation(bool shown) {
    if (__status != Displaying)
        return;
    const FusionReport& report = __fusion->getReport();
    const ShapeSet<float>& mean = *__fusion->getMeanShapeSet();
    double greatest = 0;
    for (const std::vector<double>& deviations : report.deviations)
        for (const double deviation : deviations)
            greatest = std::max(greatest, deviation);
    for (int k = 0; k < mean.getSize(); ++k) {
        auto* mesh = dynamic_cast<QuadMesh<float>*>(mean[k]);
        if (!mesh)
            continue;
        const std::vector<double>& deviations = report.deviations[std::size_t(k)];
        const int width = mesh->getWidth();
        if (!shown || int(deviations.size()) != mesh->getSize()) {
            mesh->setVertexColors(nullptr);
            continue;
        }
        auto colors = std::make_unique<QuadMesh<int>>(3, mesh->getHeight(), width);
        for (int r = 0; r < mesh->getHeight(); ++r) {
            for (int c = 0; c < width; ++c) {
                const QColor color = FusionScaleBar::color(deviations[std::size_t(r * width + c)], greatest);
                (*colors)[r][c][0] = color.red();
                (*colors)[r][c][1] = color.green();
                (*colors)[r][c][2] = color.blue();
            }
        }
        mesh->setVertexColors(colors.release());
    }
    // The specimens would hide the colours.
    for (std::size_t k = 0; k < __painters.size(); ++k) {
        ShapePainterGL<float>& painter = *__shapePainters[k];
        ShapePainterAttributesGL attributes = painter.getAttributes();
        if (__painters[k]->getStackName() == meanName) {
            painter.setShape(*painter.getShape());
            attributes.setDisplayMode(SurfaceDisplayGL);
            attributes.setVisibility(true);
        } else {
            attributes.setVisibility(!shown);
        }
        painter.setAttributes(attributes);
    }
    __scaleBar.setRange(greatest, QString::fromStdString(report.unit));
    __scaleBar.setVisible(shown);
    commands().action("fusion.variation").setChecked(shown);
    processSelectionChange();
    getCanvas()->repaint();
}

void VRLFusionWindowMediator::compareGroups() {
    if (__status != Displaying)
        return;
    ComparisonOffer offer;
    offer.unit = __unit;
    for (const auto& painter : __painters) {
        const Shape<float>& shape = *painter->getProxy()->getShape();
        const ShapeType type = shape.getShapeType();
        const bool isMean = painter->getStackName() == meanName;
        const bool isPattern = !isMean && (type == VerticesType || type == VertexStackType);
        if (shape.getNumVertices() == 0 || (!isPattern && !(isMean && type == ClosedQuadMeshType)))
            continue;
        std::shared_ptr<Shape<float>> copy(shape.clone());
        copy->detach();
        copy->setName(shape.getName());
        const QString name = QString::fromStdString(painter->getStackName() + ": " + shape.getName());
        (isPattern ? offer.patterns : offer.surfaces).push_back({name, std::move(copy)});
    }
    auto* window = new VRLComparisonWindow(offer); // deletes itself when it is closed
    window->show();
    window->newComparison();
}

void VRLFusionWindowMediator::processSelectionChange() {
    const std::vector<VRLFusionShapeViewerPainterGL*> selected = __table.selectedShapes();
    __editor.setEnabled(!selected.empty());
    if (selected.empty()) {
        __editor.clear();
        return;
    }
    ShapePainterAttributesGL common = selected.front()->getProxy()->getAttributes();
    for (const VRLFusionShapeViewerPainterGL* painter : selected)
        common = common.intersection(painter->getProxy()->getAttributes());
    __editor.setAttributes(common);
}

void VRLFusionWindowMediator::processAttributesChange() {
    for (VRLFusionShapeViewerPainterGL* painter : __table.selectedShapes()) {
        ShapePainterAttributesGL attributes = painter->getProxy()->getAttributes();
        attributes.update(__editor.getAttributes());
        painter->getProxy()->setAttributes(attributes);
    }
    __table.updateColorSamples();
    if (getCanvas() != nullptr)
        getCanvas()->repaint();
}

void VRLFusionWindowMediator::fusionSummary() {
    if (__fusion)
        __window.showSummary(QString::fromStdString(__config.getName()), __fusion->getLog());
}

void VRLFusionWindowMediator::exportResults() {
    const QString chosen = QFileDialog::getExistingDirectory(&__window, "Export results",
                                                             VRLSettings::settings.getOutputDirectory().absolutePath());
    if (chosen.isEmpty())
        return;
    QDir directory(chosen);
    VRLSettings::settings.setOutputDirectory(directory);
    exportResults(directory);
}

void VRLFusionWindowMediator::exportResults(QDir& directory) {
    int answer = QMessageBox::No;
    guarded(&__window, "The results cannot be exported.", [&] {
        for (const auto& painter : __painters)
            exportPainterShape(*painter, directory, answer);
    });
}

void VRLFusionWindowMediator::exportPainterShape(VRLFusionShapeViewerPainterGL& painter, QDir& directory, int& answer) {
    const Shape<float>& shape = *painter.getProxy()->getShape();
    const QString name = QString::fromStdString(painter.getFileName());
    const QString file = directory.filePath(name);
    const bool exists = QFileInfo::exists(file);
    if (exists && answer != QMessageBox::YesToAll && answer != QMessageBox::NoToAll) {
        QMessageBox box(QMessageBox::Question, appName, "File " + name + " already exists.",
                        QMessageBox::Yes | QMessageBox::YesToAll | QMessageBox::No | QMessageBox::NoToAll, &__window);
        box.setInformativeText("Do you wish to overwrite this file?");
        box.setTextFormat(Qt::PlainText);
        answer = box.exec();
    }
    if (!exists || answer == QMessageBox::Yes || answer == QMessageBox::YesToAll)
        shape.save(QFile::encodeName(file).toStdString(), true);
}

} // namespace vorlen
