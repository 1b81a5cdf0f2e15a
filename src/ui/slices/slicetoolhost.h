#pragma once

#include "ui/tools/toolhost.h"

namespace vorlen {

class VRLSliceEditWidgetMediator;

/// The slice editor as its tools see it.
class SliceToolHost : public ToolHost {
public:
    explicit SliceToolHost(VRLSliceEditWidgetMediator& mediator) : __mediator(mediator) {}

    QWidget& canvas() const override;
    StackSlice* slice() const override;
    std::optional<ImageParts> imageParts(QString& problem) const override;
    Vector<int> imagePoint(const QPoint& position) const override;
    QPointF exactImagePoint(const QPointF& position) const override;
    Vector<double> vertexAt(const QPointF& position) const override;
    bool isOnImage(const Vector<int>& pixel) const override;
    QPointF canvasPosition(const Vector<double>& place) const override;
    float zoom() const override;
    void setPreview(ModelItem* item) override;
    void setRubberLine(const QLineF* line) override;
    void setNote(const CanvasNote* note) override;
    void setHint(const QString& text) override;
    void setRestingHint() override;
    void setEditMode(const QString& word) override;
    void requestLock(bool on) override;
    void selectionChanged() override;
    ModelViews& modelViews() const override;
    void begin(const char* command, const Model& model, QEvent& input) override;
    bool isChosen(const char* command) const override;
    void leaveTool() override;
    QAction& cancelCommand() const override;
    void showSlice(StackSlice& slice) override;
    ProgressMonitor& monitor() const override;
    void toolStarts(VRLSliceEditWidgetMediatorDelegate& tool) override;
    void toolEnds(VRLSliceEditWidgetMediatorDelegate& tool) override;

private:
    VRLSliceEditWidgetMediator& __mediator;
};

} // namespace vorlen
