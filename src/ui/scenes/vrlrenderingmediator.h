#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "editing/bus/vrleventclient.h"
#include "ui/viewer/viewermediator.h"

class QPoint;
class QString;

namespace vorlen {

enum class SurfaceFormat;

class Model;
class ModelItem;
class VRLRenderingPainterGL;
class VRLRenderingToolbar;
class VRLStack;

/// Keeps a rendering window's picture up to date with its stack: one painter for each model, which follows the changes
/// of that model alone. Changes that move every slice rebuild all. What happens in a batch of events is made good at
/// its end, with one change for each model and one repaint.
///
/// Canvas, panel, toolbar and stack are seen, not owned; the canvas must live as long as this, or be set to null.
///
/// Decisions: a model that cannot be drawn is left out of the picture, with a warning on the standard error stream, so
/// that the edit that has led there goes on.
class VRLRenderingMediator : public ViewerMediator, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLRenderingMediator(QObject* parent = nullptr);
    ~VRLRenderingMediator() override;

    void setToolbar(VRLRenderingToolbar& toolbar) { __toolbar = &toolbar; }

    /// Null before a stack is set, and after it is gone.
    VRLStack* getStack() const { return __stack; }
    /// The stack's reconstruction must be up to date.
    void setStack(VRLStack& stack);
    /// Shows nothing any more.
    void clear();

    /// "Snapshot", "Export surfaces..." and "Close".
    void initRenderingMenu(QMenu& menu);

    /// Connects canvas, panel and toolbar.
    void initialize() override;

    /// Makes the model's painter, which does not come onto the canvas by itself.
    VRLRenderingPainterGL& addModel(Model& model);
    void deletePainters();
    /// Makes all painters anew.
    void refresh();

    const std::vector<std::unique_ptr<VRLRenderingPainterGL>>& getPainters() const { return __painters; }

    /// Write the stack's surfaces into the directory, in one of the formats or as ASCII STL with their meshes, and tell
    /// in message boxes what could not be written.
    void exportSurfaces(const QString& directory, SurfaceFormat format);
    void export2AsciiSTL(const QString& directory);

    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemVertexEvent(VRLModelItemVertexEvent& event) override;
    void modelItemAttributeEvent(VRLModelItemAttributeEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;
    void stackRegistrationEvent(VRLStackRegistrationEvent& event) override;
    void stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) override;
    void stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void atEventBatchEnd() override;

public slots:
    void setPreviousStack();
    void setNextStack();
    /// Asks for a directory and a format and exports to it.
    void exportSurfaces();

signals:
    /// Another stack is shown.
    void stackChanged();

protected:
    /// The stack's.
    std::vector<Pose> storedPoses() const override;

private:
    VRLRenderingPainterGL* painterOf(const Model* model) const;
    void onPainter(const Model* model, const std::function<void(VRLRenderingPainterGL&)>& change);
    void refreshNowOrAtBatchEnd();
    void bindCrosshair();
    void updateMark();
    void pointAt(const QPoint& position);
    bool isLeftToBatchEnd(const Model* model, const ModelItem* item);
    void makeGood();
    void buildPainters();
    void updateCanvas();
    void goToStack(VRLStack& stack);
    void exportBy(const std::function<void()>& work, const QString& format);
    void warn(const QString& title, const QString& text);

    VRLStack* __stack = nullptr;
    VRLRenderingToolbar* __toolbar = nullptr;
    std::vector<std::unique_ptr<VRLRenderingPainterGL>> __painters;
    bool __refreshPending = false;
    /// In the present batch: models with the items of which a change is to be followed; null for the whole model.
    std::map<const Model*, std::set<const ModelItem*>> __pending;
};

} // namespace vorlen
