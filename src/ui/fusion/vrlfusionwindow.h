#pragma once

#include <QDialog>
#include <QPointer>
#include <QWidget>

#include <vector>

class QMenuBar;
class QScrollArea;

namespace vorlen {

class FusionResidualView;
class FusionScaleBar;
class ShapeViewerAttributesEditor;
class ViewerCanvasGL;
class ViewerPosePanel;
class VRLDensityMappingWidget;
class VRLFusionWindowMediator;
class VRLFusionWindowShapeTable;
class VRLStatusBar;

/// What a normalization did, to be read. Position and size are kept in the settings.
class VRLFusionSummaryDialog : public QDialog {
    Q_OBJECT

public:
    VRLFusionSummaryDialog(const QString& name, const QString& log, QWidget* parent);
};

/// A window for spatial normalizations: their shapes in space, a table of them, their attributes and residuals. Deletes
/// itself when it is closed; a normalization that runs is then cancelled.
class VRLFusionWindow : public QWidget {
    Q_OBJECT

public:
    explicit VRLFusionWindow(QWidget* parent = nullptr);
    ~VRLFusionWindow() override;

    VRLFusionWindowMediator& getMediator() const { return *__mediator; }
    ViewerCanvasGL& getCanvas() const { return *__canvas; }

    void showSummary(const QString& name, const QString& log);
    void closeSummaries();

private:
    void buildMenus();

    VRLFusionWindowMediator* __mediator;
    ViewerCanvasGL* __canvas;
    ViewerPosePanel* __panel;
    QScrollArea* __panelArea;
    VRLFusionWindowShapeTable* __table;
    ShapeViewerAttributesEditor* __editor;
    FusionResidualView* __residuals;
    FusionScaleBar* __scaleBar;
    VRLDensityMappingWidget* __density;
    VRLStatusBar* __statusBar;
    QMenuBar* __menuBar;
    std::vector<QPointer<VRLFusionSummaryDialog>> __summaries;
};

} // namespace vorlen
