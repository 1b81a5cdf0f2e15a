#pragma once

#include <memory>
#include <vector>

#include "images/regions/livewire.h"
#include "ui/tools/vrlsliceeditwidgetmediatorcreationdelegate.h"

namespace vorlen {

/// Draws a new item along the edges of the image: from each click the way that the edges lead to the pointer is shown,
/// and the next click takes it. Ended, an outline is closed along the edges too. Backspace takes the last way back.
///
/// Decisions: the ways are sought within 400 pixels of the last click, beyond that, with Alt held, and where there is
/// no image, they are straight. They are thinned out to within a pixel. A drag draws freely.
class WireTool : public VRLSliceEditWidgetMediatorCreationDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorCreationDelegate::VRLSliceEditWidgetMediatorCreationDelegate;

    void apply() override;
    void appendVertex(const QPoint& position) override;
    void removeLastVertex() override;

protected:
    void begin(Model& model) override;
    void end() override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    using Pixels = std::vector<std::pair<int, int>>; // columns and rows

    Pixels wayTo(int column, int row);
    void append(const Pixels& way);
    void seedAtEnd();
    void showWayTo(const QPoint& position);

    std::unique_ptr<LiveWire> __wire; // of a part of the image
    int __firstColumn = 0, __firstRow = 0;
    std::vector<int> __ends; // the numbers of vertices behind each click
    std::unique_ptr<ModelItem> __shown;
    bool __straight = false;
    bool __dragging = false;
};

} // namespace vorlen
