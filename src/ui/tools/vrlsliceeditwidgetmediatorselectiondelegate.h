#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QPoint>
#include <QPointer>
#include <QRubberBand>

#include "editing/bus/vrleventclient.h"
#include "editing/operations/copyoperations.h"
#include "shapes/boundingbox.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

class ModelItem;
class ModelItemSelection;

/// Selects items by clicks and boxes, and carries out the commands on what is selected. The resting state of the slice
/// editor.
///
/// Changes of the selection are no steps of the history. Decisions: the message boxes of a command come after its step
/// is closed, one for each item. A polygon or polyline without vertices is never hit.
class VRLSliceEditWidgetMediatorSelectionDelegate : public VRLSliceEditWidgetMediatorDelegate, public VRLEventClient {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorDelegate::VRLSliceEditWidgetMediatorDelegate;
    ~VRLSliceEditWidgetMediatorSelectionDelegate() override;

    /// Forgets a click or drag under way.
    void deactivate() override;

    /// Selects nothing, and goes on.
    void cancel() override { cancelSelection(); }
    void abandon() override;
    QString restingHint(const StackSliceSelectionInfo& selected) const override;

    /// Selects the nearest of what lies within the tolerance of the image point, or toggles a point of points, and
    /// deselects everything else. Once more at the same place takes the next one, or lets go of the only one. With
    /// shift the nearest is toggled, and the rest stays.
    void selectItemsNearPosition(const Vector<double>& position, bool shift);

    /// Toggles every vertex in the box, whose first vertex must be the lower corner.
    void selectItemsWithinBox(const BoundingBox<double>& box);

public slots:
    void cancelSelection();
    void selectAllModelItems();
    void selectModelItems(const QString& modelName);

    /// Moves what is selected to the model; nothing without one of this name.
    void convertSelection(const QString& modelName);
    void removeSelection();

    /// Copies what is selected to where it lies on the next or the previous slice, and goes there, where the copies are
    /// what is selected.
    void copyToNextSlice() { copyToNeighbour(1); }
    void copyToPreviousSlice() { copyToNeighbour(-1); }

    /// Copies what is selected to slices before and behind this one; a dialog asks how many.
    void copyToSlices();

    /// Keeps what is selected, also for other stacks and windows; and puts it on this slice, where it lies in space.
    void copySelection();
    void pasteItems();

    /// Makes one outline of those that are selected.
    void joinSelection();

    /// Outlines the model of what is selected on the slices between this one and the next, or the previous, on which it
    /// is outlined; and on all slices that lack it between others.
    void fillGap();
    void fillAllGaps();

    /// Takes the vertices in line with their neighbours out of the selected contours.
    void decimateSelection();
    void editSelectionProperties();

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void copyToNeighbour(int direction);
    bool selectForCopying();
    Model* modelToFill();
    void forgetPress();
    void removeBand();
    std::vector<ModelItem*> itemsNear(const Vector<double>& position) const;
    void toggleVertex(ModelItem& item, const Vector<double>& position, bool alone);
    bool deselectBut(const ModelItem* item);
    void select(ModelItem& item, const ModelItemSelection& selection);
    void selectWhole(const std::function<bool(const ModelItem&)>& wanted);
    void notifySelection();

    static std::vector<CopiedItem> __copied;

    std::unique_ptr<QPoint> __pressPosition;
    QPointer<QRubberBand> __rubberBand; // a child of the canvas
};

} // namespace vorlen
