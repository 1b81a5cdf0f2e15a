#pragma once

#include <memory>

#include <QPointF>

#include "document/modelitem.h"
#include "editing/operations/outlineediting.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

/// Moves an outline, or the points of an item, by a drag; with Shift turns it, with Ctrl scales it, about its middle.
/// Stays on until another tool is chosen. A drag is one step.
///
/// A press takes the item whose line is near, else the smallest outline around the place; what is selected goes first.
class MovingTool : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    explicit MovingTool(ToolHost& host);
    ~MovingTool() override;

    void deactivate() override;
    void cancel() override;
    void abandon() override;
    QString restingHint(const StackSliceSelectionInfo& selected) const override;

    void itemGone(const ModelItem& item) override;

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    OutlineMotion motionTo(const QMouseEvent& event) const;
    void giveUp();

    ModelItem* __item = nullptr; // while it is dragged
    QPointF __start;             // in the image
    Qt::KeyboardModifiers __modifiers;
    std::unique_ptr<ModelItem> __preview;
};

} // namespace vorlen
