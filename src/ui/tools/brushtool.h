#pragma once

#include <memory>
#include <vector>

#include "document/modelitem.h"
#include "editing/operations/outlineediting.h"
#include "ui/tools/everymove.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

/// Paints and erases outlines of the current model with a round brush, as long as it is the tool that stays on. A
/// stroke is one step.
///
/// Decisions: the brush has a size on the screen from 2 to 400 units, and keeps it when the zoom changes, so that it
/// can be seen. A stroke adds to the outlines that it touches; Ctrl, or the eraser of a pen, takes away. Escape gives
/// up the stroke, and without one brings the selecting tool back.
class BrushTool : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    explicit BrushTool(ToolHost& host);
    ~BrushTool() override;

    void activate() override;
    void deactivate() override;
    void cancel() override;
    void abandon() override;
    void modelGone(const Model& model) override;
    QString restingHint(const StackSliceSelectionInfo& selected) const override;
    QWidget* newOptions(QWidget* parent) override;

    /// Half the size of the brush, in units of the canvas; all windows have the same.
    static double getRadius() { return __radius; }
    void setRadius(double radius);
    void grow(double factor) { setRadius(__radius * factor); }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void begin(QMouseEvent& event);
    void addPoint(const QMouseEvent& event);
    void giveUp();
    void updateCursor();

    static double __radius;

    Model* __model = nullptr; // while a stroke is made
    bool __erasing = false;
    BrushStroke __stroke;
    std::unique_ptr<EveryMove> __everyMove;
    std::unique_ptr<ModelItem> __preview;
};

} // namespace vorlen
