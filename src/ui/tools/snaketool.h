#pragma once

#include <QMetaObject>
#include <QTimer>

#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

/// A tool that stays on and runs a snake from each outline that is clicked on, by the parameters of its options,
/// without a dialog. As long as nothing else is done, other parameters run it again from the same outline, and what it
/// finds takes the place of what it found before: one step of the history in all.
///
/// Decisions: a click takes the outline that MovingTool would take, and only polygons. A run begins again some moments
/// after the last change of the options. An undo, and every other edit, ends this: the parameters wait for the next
/// click then.
class SnakeTool : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    explicit SnakeTool(ToolHost& host);

    void deactivate() override;
    void cancel() override;
    void abandon() override;
    QString restingHint(const StackSliceSelectionInfo& selected) const override;
    QWidget* newOptions(QWidget* parent) override;

    void itemGone(const ModelItem& item) override;
    void itemChanged(const ModelItem& item) override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void press(QMouseEvent& event);
    void run(ModelItem& item, QEvent& input);
    void runAgain();
    void forget();

    ModelItem* __item = nullptr; // that the last run began with; null when it is not to be run again
    bool __found = false;        // whether that run is the last step of the history
    bool __runs = false;
    QMetaObject::Connection __watch; // over the history
    QTimer __again;
};

} // namespace vorlen
