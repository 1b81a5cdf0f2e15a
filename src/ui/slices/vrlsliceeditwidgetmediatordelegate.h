#pragma once

#include <memory>

#include "ui/slices/vrlimagewidgetmediatordelegate.h"

namespace vorlen {

class Model;
class ModelItem;
class StackSlice;
class VRLAction;
class VRLActionHistory;
class VRLSliceEditWidgetCanvas;
class VRLSliceEditWidgetMediator;

/// A way of working with the slice editor: knows its parts, the slice and the history that its changes go to.
class VRLSliceEditWidgetMediatorDelegate : public VRLImageWidgetMediatorDelegate {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetMediatorDelegate(VRLSliceEditWidgetMediator& mediator);

    VRLSliceEditWidgetMediator& getMediator() const;

    /// Ends the interaction, if one runs, and leaves the document as it was before.
    virtual void cancel();

    /// Whether the interaction cannot go on without this item, or this model.
    virtual bool isAbout(const ModelItem& item) const;
    virtual bool isAbout(const Model& model) const;

protected:
    VRLSliceEditWidgetCanvas& canvas() const;

    /// The slice on the canvas; null without one.
    StackSlice* slice() const;

    /// The history of the slice's stack; null without a slice, and for a stack that keeps none.
    VRLActionHistory* history() const;

    /// A step of this one action, which is applied, or has been applied already. There must be a history.
    void applyStep(std::unique_ptr<VRLAction> action) const;
    void recordStep(std::unique_ptr<VRLAction> action) const;

    /// The image pixel at a position of the canvas, which may lie outside of the image.
    Vector<int> imagePoint(const QPoint& position) const;
    bool isOnImage(const Vector<int>& point) const;

    /// Where the middle of an image pixel lies on the canvas.
    QPointF canvasPosition(const Vector<int>& pixel) const;

    /// How far from an item a click may be, in image pixels.
    float clickTolerance() const;

    /// Whether the delegate is to act on input now.
    bool acts() const;

    /// Shows this word as the edit mode, where there is a status bar.
    void setEditMode(const QString& word) const;

    /// Runs a message box over the canvas, with the ordinary pointer.
    void warn(const QString& title, const QString& text) const;
    void inform(const QString& title, const QString& text) const;
    void alarm(const QString& title, const QString& text) const;
};

} // namespace vorlen
