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
    const Image* image(QString& problem) const override;
    Vector<int> imagePoint(const QPoint& position) const override;
    Vector<double> exactImagePoint(const QPointF& position) const override;
    bool isOnImage(const Vector<int>& pixel) const override;
    QPointF canvasPosition(const Vector<int>& pixel) const override;
    float zoom() const override;
    void setPreview(ModelItem* item) override;
    void setRubberLine(const QLine* line) override;
    void setHint(const QString& text) override;
    void setRestingHint() override;
    void setEditMode(const QString& word) override;
    void requestLock(bool on) override;
    void selectionChanged() override;
    QAction& cancelCommand() const override;
    void showSlice(StackSlice& slice) override;
    ProgressMonitor& monitor() const override;
    void toolStarts(VRLSliceEditWidgetMediatorDelegate& tool) override;
    void toolEnds(VRLSliceEditWidgetMediatorDelegate& tool) override;

private:
    VRLSliceEditWidgetMediator& __mediator;
};

} // namespace vorlen
