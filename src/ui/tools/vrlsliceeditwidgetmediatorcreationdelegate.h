#pragma once

#include <memory>
#include <optional>

#include "document/modelitem.h"
#include "ui/tools/everymove.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

class Model;

/// Draws a new item of a model: by clicks, with the button held, or with the pen.
///
/// A drawing that the user gives up, or that is refused, is kept in the history of its stack: undoing shows it again,
/// to be gone on with. Given up once more as it was, it does not stand in the way of undoing what came before.
///
/// Decisions: nothing starts for an unknown model, or on a slice whose stack keeps no history. The press of the right
/// button that gives a drawing up does not open the context menu too. A drawing is given up when its model or its slice
/// goes away. Where drawing stays on, an outline is also closed by a click on its first vertex, or by a stroke that
/// ends near it; without that choice every click adds a vertex.
class VRLSliceEditWidgetMediatorCreationDelegate : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetMediatorCreationDelegate(ToolHost& host);

    using VRLSliceEditWidgetMediatorDelegate::activate;

    /// Begins an item of the model of this name.
    void activate(const QString& modelName);
    void deactivate() override;

    /// Goes on with a drawing that was given up.
    void resume(const Model& model, const Vertices<double>& vertices);

    /// Ends with the item in the document, as a step of its history, or with a refusal.
    virtual void apply();

    /// The pixel at the position of the canvas, unless it lies outside of the image or is the last vertex already.
    virtual void appendVertex(const QPoint& position);

    /// Without its only vertex the item is given up.
    virtual void removeLastVertex();

    /// The item under construction; null when there is none.
    const ModelItem* getItem() const { return __item.get(); }

    using VRLSliceEditWidgetMediatorDelegate::isAbout;
    bool isAbout(const Model& model) const override;

    /// Without keeping what is drawn: its model or its slice goes.
    void abandon() override;

public slots:
    void cancel() override;

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void tabletMoveEvent(QTabletEvent* event) override;
    void tabletPressEvent(QTabletEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

    bool isPointSet() const;
    virtual void begin(Model& model);
    virtual void end();
    ModelItem* item() const { return __item.get(); }
    /// Whether a click, or the end of a stroke, at this position of the canvas closes the outline: near its first
    /// vertex, where the tool that stays on draws one outline after the other.
    bool closesAt(const QPoint& position, bool byStroke) const;

private:
    bool keep();

    std::unique_ptr<ModelItem> __item;
    std::unique_ptr<EveryMove> __everyMove;    // while the button is held
    bool __stroke = false;                     // the button is held, and vertices came since
    std::optional<Vertices<double>> __resumed; // as the drawing was when it came back
    bool __menuPending = false;                // the context menu of the press that ended a drawing
};

} // namespace vorlen
