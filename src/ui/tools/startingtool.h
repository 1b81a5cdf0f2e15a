#pragma once

#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

/// A tool that stays on and makes items of the current model: a press begins one with the tool of another command,
/// without a menu, and when that has ended the next press begins the next.
///
/// Decisions: of points each click adds one, as a step. Without a current model, and for one that is hidden or locked,
/// a press says so and does nothing. Escape brings the selecting tool back.
class StartingTool : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    /// The command, which offers models, and what its tool does with the next input.
    StartingTool(ToolHost& host, const char* command, const char* hint);

    void deactivate() override;
    void cancel() override;
    void abandon() override;
    QString restingHint(const StackSliceSelectionInfo& selected) const override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void press(QMouseEvent& event);
    void addPoint(Model& model, const QMouseEvent& event);

    const char* __command;
    const char* __hint;
    bool __begins = false;
};

/// The current model where it can be drawn with; null with a hint why not.
Model* modelToDraw(ToolHost& host);

} // namespace vorlen
