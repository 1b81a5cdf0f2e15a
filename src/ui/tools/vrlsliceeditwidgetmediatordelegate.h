#pragma once

#include "ui/tools/inputhandler.h"
#include "ui/tools/toolhost.h"

namespace vorlen {

class Model;
class Outcome;
class StackSliceSelectionInfo;
class VRLStack;

/// A tool of the slice editor: turns input into image coordinates, shows a preview, and calls one operation.
///
/// A tool is the current one from activate() to deactivate(), and the only one that is shown the input. The editor
/// tells it what happens to what it may be working on. One tool is not current but rests: it gets the input while no
/// other tool runs.
class VRLSliceEditWidgetMediatorDelegate : public InputHandler {
    Q_OBJECT

public:
    /// The host outlives the tool's work, though not the tool.
    explicit VRLSliceEditWidgetMediatorDelegate(ToolHost& host);

    void activate() override;
    void deactivate() override;

    /// The user wants out: ends the interaction, if one runs, and leaves the document as it was before.
    virtual void cancel();

    /// The slice goes, or the editor: ends the interaction in any case.
    virtual void abandon();

    /// Whether the interaction cannot go on without this item, or this model.
    virtual bool isAbout(const ModelItem& item) const;
    virtual bool isAbout(const Model& model) const;

    /// The item, or the model, leaves the document.
    virtual void itemGone(const ModelItem& item);
    virtual void modelGone(const Model& model);

    /// The vertices of the item have changed.
    virtual void itemChanged(const ModelItem& item);

    /// Takes what the tool shows and could be taken, as the user goes to another slice. Says what, for the user; empty
    /// for nothing.
    virtual QString takeShown();

    /// What the next input does, where this tool rests and this is selected.
    virtual QString restingHint(const StackSliceSelectionInfo& selected) const;

    /// Controls of the tool's options, for a panel beside the canvas; null for a tool that has none. The parent owns
    /// them.
    virtual QWidget* newOptions(QWidget* parent);

signals:
    /// The options, or what they act on, are others now.
    void optionsChanged();

protected:
    ToolHost& host() const { return __host; }
    QWidget& canvas() const;
    bool isCanvasEnabled() const override;

    /// The slice on the canvas; null without one.
    StackSlice* slice() const;

    /// The slice's stack; null without a slice, and for a stack that keeps no history.
    VRLStack* stack() const;

    Vector<int> imagePoint(const QPoint& position) const;
    Vector<double> vertexAt(const QPointF& position) const;
    bool isOnImage(const Vector<int>& point) const;

    /// How far from an item a click may be, in image pixels.
    float clickTolerance() const;

    /// Whether the tool is to act on input now.
    bool acts() const;

    /// Runs a message box over the canvas, with the ordinary pointer.
    void warn(const QString& title, const QString& text) const;
    void inform(const QString& title, const QString& text) const;
    void alarm(const QString& title, const QString& text) const;
    /// Warns of why the operation was refused; nothing when it is done.
    void warnUnlessDone(const QString& title, const Outcome& outcome) const;

private:
    ToolHost& __host;
};

} // namespace vorlen
