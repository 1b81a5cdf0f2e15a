#pragma once

#include <memory>
#include <vector>

#include "editing/operations/outlineshape.h"
#include "images/regions/livewire.h"
#include "ui/tools/vrlsliceeditwidgetmediatorcreationdelegate.h"

namespace vorlen {

/// Draws a new item along the edges of the image: from each click the way that the edges lead to the pointer is shown,
/// and the next click takes it. Ended, an outline is closed along the edges too. Backspace takes the last way back.
///
/// Decisions: the ways are sought within 400 pixels of the last click, or as far as the options say; beyond that, with
/// Alt held, and where there is no image, they are straight. They pass where the edge is strongest, between the pixels,
/// and by the places that were clicked. They are thinned out as decimatedContour() does, at a level of 1 or that of the
/// options. A drag draws freely.
class WireTool : public VRLSliceEditWidgetMediatorCreationDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorCreationDelegate::VRLSliceEditWidgetMediatorCreationDelegate;

    void apply() override;
    void appendVertex(const QPoint& position) override;
    void removeLastVertex() override;

    /// How far from the last click ways are sought, in pixels, and by how much they are thinned out; in all windows.
    static int getReach() { return __reach; }
    static void setReach(int reach);
    static int getThinning() { return __thinning; }
    static void setThinning(int thinning);
    static QWidget* newWireOptions(QWidget* parent);

protected:
    void begin(Model& model) override;
    void end() override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    using Way = std::vector<OutlinePoint>;

    Way wayTo(const Vector<double>& place);
    void append(const Way& way);
    void seedAtEnd();
    void showWayTo(const QPoint& position);

    static int __reach;
    static int __thinning;

    std::unique_ptr<LiveWire> __wire; // of a part of the image
    int __firstColumn = 0, __firstRow = 0;
    std::vector<int> __ends; // the numbers of vertices behind each click
    std::unique_ptr<ModelItem> __shown;
    bool __straight = false;
    bool __dragging = false;
};

} // namespace vorlen
