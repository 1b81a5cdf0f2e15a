#pragma once

#include <functional>
#include <vector>

#include <QRect>
#include <QRectF>

#include "ui/slices/canvasmode.h"
#include "ui/slices/vrlimagewidgetcanvas.h"

class QPainter;
class QPolygonF;
class QTransform;

namespace vorlen {

class ModelItem;
class ModelItemProperties;
class OutlineBatch;
class StackSlice;

/// Paints a slice: its image, and on it the items of the slice.
///
/// The slice is seen, not owned; who shows it takes care that it is forgotten before it goes. What neither an item nor
/// its model defines is drawn by the defaults of items; an item without a model is drawn as a polyline. A painter comes
/// back from each item as it was, its opacity included. Items, symbols of points, and marks of selected vertices that
/// lie outside of the canvas are not drawn, nor are vertices of a contour within half a pixel of the screen from one
/// that is.
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

    /// Whether the item is painted at all; all are.
    virtual bool isShown(const ModelItem& item) const;

    /// An item and the marks of its selected vertices.
    void paintItem(const ModelItem& item, QPainter& painter) const;

    /// The same within a rectangle of the canvas, of all items of the slice; nothing outside of it is touched.
    void paintItemsWithin(const StackSlice& slice, const QRect& area);

    /// Runs the work with a painter on the canvas, in the coordinates of the items. The context must be current.
    void withPainter(const std::function<void(QPainter&)>& work) const;

    /// All pixels of the canvas that an item of this look paints on, and some more; empty outside of the canvas.
    QRect areaOf(const ModelItem& item, const ModelItemProperties& look) const;

private:
    QPolygonF outlineOf(const ModelItem& item) const;
    QTransform itemTransform() const;
    bool isThin(const ModelItemProperties& look) const;
    void addOutline(const ModelItem& item, const ModelItemProperties& look, const QTransform& toPixels,
                    OutlineBatch& outlines) const;
    void paintRun(std::vector<const ModelItem*>& run, const QRect& area) const;
    QRect paintedArea() const { return __area.isNull() ? rect() : __area; }
    void paintContourItem(const ModelItem& item, const ModelItemProperties& look, QPainter& painter) const;
    void paintPointsItem(const ModelItem& item, const ModelItemProperties& look, QPainter& painter) const;
    void paintItemSelection(const ModelItem& item, QPainter& painter) const;

    StackSlice* __slice = nullptr;
    QRect __area; // what is painted now; null for all of the canvas
    CanvasMode __mode = AllgroundMode;
};

} // namespace vorlen
