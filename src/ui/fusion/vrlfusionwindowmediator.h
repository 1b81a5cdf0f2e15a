#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "document/modelitemproperties.h"
#include "normalization/shapefilenames.h"
#include "normalization/vrlfusionconfig.h"
#include "ui/progress/vrlprogressproxy.h"
#include "ui/viewer/viewermediator.h"
#include "values/lengthunit.h"

class QDir;
class QThread;

namespace vorlen {

class FusionResidualView;
class FusionScaleBar;
class ShapeViewerAttributesEditor;
template <class T>
class Shape;
template <class T>
class ShapePainterGL;
class VRLDensityMappingWidget;
class VRLFusion;
class VRLFusionShapeViewerPainterGL;
class VRLFusionWindow;
class VRLFusionWindowShapeTable;
class VRLStatusBar;

/// Runs the normalizations of one window and shows their results.
///
/// The stacks are read before the worker starts, so that they can be edited and closed meanwhile. A run that is
/// cancelled or fails leaves the window ready, and a failure is told in a message. The worker's thread ends with its
/// work; the end of the window cancels it and waits.
class VRLFusionWindowMediator : public ViewerMediator {
    Q_OBJECT

public:
    VRLFusionWindowMediator(VRLFusionWindow& window, VRLFusionWindowShapeTable& table,
                            ShapeViewerAttributesEditor& editor, FusionResidualView& residuals,
                            FusionScaleBar& scaleBar, VRLDensityMappingWidget& density, VRLStatusBar& statusBar);
    ~VRLFusionWindowMediator() override;

    void setConfig(const VRLFusionConfig<float>& config) { __config = config; }
    const VRLFusionConfig<float>& getConfig() const { return __config; }

    /// Starts with this configuration; newFusion() asks for one.
    void start(const VRLFusionConfig<float>& config);

    /// Null without a normalization.
    const VRLFusion* getFusion() const { return __fusion.get(); }
    bool isRunning() const { return __status == Running; }

    const std::vector<std::unique_ptr<VRLFusionShapeViewerPainterGL>>& getPainters() const { return __painters; }

    void setStatusReady();
    void setStatusRunning();
    void setStatusDisplaying();

public slots:
    void newWindow();
    void newFusion();
    void clearFusion();
    void cancelFusion();
    void fusionComplete();
    void fusionSummary();
    void exportResults();
    void exportResults(QDir& directory);
    /// answer: what the user said last to the question whether a file may be replaced, of QMessageBox's buttons.
    void exportPainterShape(VRLFusionShapeViewerPainterGL& painter, QDir& directory, int& answer);
    void processSelectionChange();
    void processAttributesChange();
    void showVariation(bool shown);
    /// Opens a window that compares groups of the specimens. It keeps copies of the shapes.
    void compareGroups();

private:
    enum Status { Ready, Running, Displaying };

    void bindCommands();
    void setStatus(Status status);
    void endRun();
    void fusionStopped();
    void fusionFailed(const QString& reason);
    void addShape(Shape<float>& shape, const std::string& stackName, const ModelItemProperties& properties);
    void takeColors();
    void removeShapes();
    void refreshCanvas();

    VRLFusionWindow& __window;
    VRLFusionWindowShapeTable& __table;
    ShapeViewerAttributesEditor& __editor;
    FusionResidualView& __residuals;
    FusionScaleBar& __scaleBar;
    VRLDensityMappingWidget& __density;
    VRLProgressProxy __progress;
    VRLStatusBar& __statusBar;
    VRLFusionConfig<float> __config;
    std::optional<LengthUnit> __unit; ///< of the shapes, that of the first stack
    std::map<std::pair<std::string, std::string>, ModelItemProperties> __properties; // of specimen and model
    ShapeFileNames __fileNames;
    std::unique_ptr<VRLFusion> __fusion;
    std::unique_ptr<QThread> __worker;
    std::vector<std::unique_ptr<ShapePainterGL<float>>> __shapePainters;
    std::vector<std::unique_ptr<VRLFusionShapeViewerPainterGL>> __painters;
    Status __status = Ready;

    static int __numFusions;
};

} // namespace vorlen
