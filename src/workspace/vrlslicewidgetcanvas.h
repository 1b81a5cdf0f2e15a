#pragma once

#include <QRectF>

#include "workspace/canvasmode.h"
#include "workspace/vrlimagewidgetcanvas.h"

class ModelItem;
class ModelItemProperties;
class QPainter;
class StackSlice;

/// Paints a slice: its image, and on it the items of the slice.
///
/// The slice is seen, not owned; who shows it takes care that it is forgotten before it goes. What neither an item nor
/// its model defines is drawn by the defaults of items; an item without a model is drawn as a polyline. A painter comes
/// back from each item as it was, its opacity included. Items, and marks of selected vertices, that lie outside of the
/// canvas are not drawn.
///
/// Items are drawn smoothly where the canvas has several samples for a pixel; marks of selected vertices never are.
class VRLSliceWidgetCanvas : public VRLImageWidgetCanvas {
    Q_OBJECT

public:
    explicit VRLSliceWidgetCanvas(QWidget* parent = nullptr);

    /// Forgets the slice too. The mode stays.
    void clear() override;

    virtual void setSlice(StackSlice& slice);

    /// Items on a painter in image coordinates, in which the centre of a pixel has whole numbers.
    virtual void paintItems(const StackSlice& slice, QPainter& painter);

    /// The same on the canvas, with the context current.
    virtual void paintItems(const StackSlice& slice);

    /// Null without one.
    StackSlice* getSlice() const { return __slice; }

    /// All at first.
    void setMode(CanvasMode mode);
    CanvasMode getMode() const { return __mode; }

protected:
    void paintGL() override;

    /// An item and the marks of its selected vertices.
    void paintItem(const ModelItem& item, QPainter& painter) const;

    /// What the canvas shows of the plane of the image, in the coordinates of the items.
    QRectF visibleArea() const;

private:
    bool isVisibleItem(const ModelItem& item, const ModelItemProperties& look) const;
    void paintContourItem(const ModelItem& item, const ModelItemProperties& look, QPainter& painter) const;
    void paintPointsItem(const ModelItem& item, const ModelItemProperties& look, QPainter& painter) const;
    void paintItemSelection(const ModelItem& item, QPainter& painter) const;

    StackSlice* __slice = nullptr;
    CanvasMode __mode = AllgroundMode;
};
