#pragma once

#include <optional>

#include <QPoint>
#include <QPointF>
#include <QString>

#include "images/sections/imageparts.h"
#include "numerics/vector.h"

class QAction;
class QEvent;
class QLineF;
class QWidget;

namespace vorlen {

struct CanvasNote;
class Model;
class ModelItem;
class ModelViews;
class ProgressMonitor;
class StackSlice;
class VRLSliceEditWidgetMediatorDelegate;

/// What a tool knows of the editor that it works in: the slice, a place for previews, ways to tell the user something,
/// and the lock. What it changes in the document it changes through an operation of editing/operations.
class ToolHost {
public:
    virtual ~ToolHost() = default;

    /// The widget that input comes to, parent of what a tool opens. Outlives the tools.
    virtual QWidget& canvas() const = 0;

    /// The slice on the canvas; null without one.
    virtual StackSlice* slice() const = 0;

    /// The image of the slice, or a section too large for memory in parts; none as long as there is none, and the
    /// problem says why. It stays as long as the slice is on the canvas.
    virtual std::optional<ImageParts> imageParts(QString& problem) const = 0;

    /// The pixel of the image at a position of the canvas, which may lie outside of the image.
    virtual Vector<int> imagePoint(const QPoint& position) const = 0;
    /// The same between pixels, with the centre of the first one at (0, 0).
    virtual QPointF exactImagePoint(const QPointF& position) const = 0;
    /// The place of a vertex that is set at the position, to hundredths of a pixel: between pixels where the canvas
    /// shows one larger than its own, else the same as imagePoint().
    virtual Vector<double> vertexAt(const QPointF& position) const = 0;
    virtual bool isOnImage(const Vector<int>& pixel) const = 0;
    /// Where a place of the image lies on the canvas, whole numbers being the middles of pixels.
    virtual QPointF canvasPosition(const Vector<double>& place) const = 0;
    /// Canvas units for a pixel.
    virtual float zoom() const = 0;

    /// What is being made, over or in place of the items of the slice, and a line in image coordinates; none for null.
    /// Seen, not owned.
    virtual void setPreview(ModelItem* item) = 0;
    virtual void setRubberLine(const QLineF* line) = 0;
    /// A line with a text; none for null. Seen, not owned.
    virtual void setNote(const CanvasNote* note) = 0;

    /// Says in the status bar what the next input will do; and what it does when no tool runs.
    virtual void setHint(const QString& text) = 0;
    virtual void setRestingHint() = 0;
    /// The word of the edit mode, such as "CREATE".
    virtual void setEditMode(const QString& word) = 0;

    /// Asks others to leave the slice alone, or gives it back.
    virtual void requestLock(bool on) = 0;

    /// What is selected on the slice may be something else now.
    virtual void selectionChanged() = 0;

    /// The current model, and which are hidden and locked.
    virtual ModelViews& modelViews() const = 0;

    /// Runs the command of a tool for a model, and shows what it has started the input that was the reason to.
    virtual void begin(const char* command, const Model& model, QEvent& input) = 0;

    /// Whether the tool that stays on is the one of this command.
    virtual bool isChosen(const char* command) const = 0;

    /// The user has done with the tool that stays on: the one that selects comes back.
    virtual void leaveTool() = 0;

    /// The command by which the user ends what runs, for windows of a tool.
    virtual QAction& cancelCommand() const = 0;

    /// Brings another slice of the stack onto the canvas.
    virtual void showSlice(StackSlice& slice) = 0;

    /// Hears of the progress of long work.
    virtual ProgressMonitor& monitor() const = 0;

    /// From the tools themselves: the tool is the current one from here on, until here.
    virtual void toolStarts(VRLSliceEditWidgetMediatorDelegate& tool) = 0;
    virtual void toolEnds(VRLSliceEditWidgetMediatorDelegate& tool) = 0;
};

} // namespace vorlen
