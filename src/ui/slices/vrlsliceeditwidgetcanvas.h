#pragma once

#include <optional>
#include <vector>

#include <QElapsedTimer>
#include <QLineF>
#include <QPointF>
#include <QRegion>

#include "editing/operations/copyoperations.h"
#include "ui/slices/keptpicture.h"
#include "ui/slices/vrlslicewidgetcanvas.h"

namespace vorlen {

struct CanvasNote;
class ModelViews;

/// Canvas of the slice editor: over the items of the slice it paints what is being made and is not on the slice yet.
///
/// The picture of the slice is kept. A paint copies it, puts what is being made on top, and paints anew only the parts
/// of the picture in which the slice looks different from the last time. When another slice comes it stays for a
/// moment, until the image is there, so that paging does not flicker.
class VRLSliceEditWidgetCanvas : public VRLSliceWidgetCanvas {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetCanvas(QWidget* parent = nullptr);
    ~VRLSliceEditWidgetCanvas() override;

    /// Forgets extra item and rubber line too.
    void clear() override;

    /// An item that is painted behind those of the slice; none for null. Seen, not owned.
    void setExtraItem(ModelItem* item);
    ModelItem* getExtraItem() const { return __extraItem; }

    /// A line in image coordinates that is painted last; none for null. Seen, not owned.
    void setRubberLine(const QLineF* line);

    /// A line with a text that is painted over all; none for null. Seen, not owned.
    void setNote(const CanvasNote* note);

    /// Whether a bar in a corner tells how long a part of the slice is, where the size of its pixels is known. Off at
    /// first.
    void setScaleBarShown(bool shown);
    bool isScaleBarShown() const { return __scaleBarShown; }

    /// Where lines cross that are painted over all, in image coordinates; none for none. Dashed for a place that
    /// belongs to another slice.
    void setCrosshair(const std::optional<QPointF>& place, bool dashed);
    const std::optional<QPointF>& getCrosshair() const { return __crosshair; }
    bool isCrosshairDashed() const { return __crosshairDashed; }

    /// Which models are hidden; all are shown for null. Seen, not owned.
    void setModelViews(const ModelViews* views) { __modelViews = views; }

    /// What is painted under what is being made, thin, dashed and pale; those of hidden models are not. Kept until the
    /// next ones, or the next slice.
    void setGhosts(std::vector<NeighbourOutline> ghosts);
    const std::vector<NeighbourOutline>& getGhosts() const { return __ghosts; }

    void setSlice(StackSlice& slice) override;
    void paintItems(const StackSlice& slice, QPainter& painter) override;
    void paintItems(const StackSlice& slice) override;

    /// On at first. Without a kept picture every paint is one of everything.
    void setKeepingPicture(bool on);

    /// How much of the canvas the last paint painted anew; for tests and measurements.
    const QRegion& lastPainted() const { return __lastPainted; }

protected:
    void initializeGL() override;
    void paintGL() override;
    bool isShown(const ModelItem& item) const override;

private:
    KeptPicture::View presentView() const;
    std::vector<KeptPicture::Item> presentItems() const;
    void paintAnew(const QRect& area);
    void paintUnfinished(QPainter& painter) const;
    void paintGhosts(QPainter& painter) const;
    bool hasOverlay() const;
    void paintOverlay(QPainter& painter) const;
    void paintNote(QPainter& painter) const;
    void forgetPicture();
    bool waitsForImage();

    bool __keepingPicture = true;
    KeptPicture __picture;
    QRegion __lastPainted;
    QElapsedTimer __sinceSlice; // until the image is there; not valid without a slice before this one
    QMetaObject::Connection __contextGoes;
    const ModelViews* __modelViews = nullptr;
    std::vector<NeighbourOutline> __ghosts;
    ModelItem* __extraItem = nullptr;
    const QLineF* __rubberLine = nullptr;
    const CanvasNote* __note = nullptr;
    bool __scaleBarShown = false;
    std::optional<QPointF> __crosshair;
    bool __crosshairDashed = false;
};

} // namespace vorlen
