#pragma once

#include <optional>
#include <vector>

#include <QPointer>

#include "editing/history/vrlactionhistory.h"
#include "editing/operations/vertexoperations.h"
#include "ui/commands/commandregistry.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"
#include "ui/tools/vrlvertexeditiontoolbar.h"

namespace vorlen {

class ModelItem;

/// Its commands, for the tool bar, the context menu, and the list of shortcuts.
const std::vector<CommandInfo>& pointEditionCommands();

/// Moves, inserts and deletes vertices of the selected item. What it has done itself can be undone and redone
/// meanwhile, by the keys of the program or its own commands; what was done before it began cannot.
///
/// Decisions: nothing starts without a selected item or a history. An end in the middle of a drag takes the drag back.
/// The item is let go as soon as it leaves the document; when its vertices change from outside, a drag under way ends
/// there. Closing the tool window ends the edition.
class VRLSliceEditWidgetMediatorEditionDelegate : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    enum Mode { MoveMode, InsertMode, DeleteMode };

    explicit VRLSliceEditWidgetMediatorEditionDelegate(ToolHost& host);
    ~VRLSliceEditWidgetMediatorEditionDelegate() override;

    Mode getMode() const { return __mode; }

    /// The edited item; null while the delegate is not active.
    ModelItem* getItem() const { return __item; }
    QWidget* getToolBar() const { return __toolBar; }

    bool isAbout(const ModelItem& item) const override { return __item == &item; }
    bool isAbout(const Model& model) const override;
    void itemGone(const ModelItem& item) override;
    void modelGone(const Model& model) override;
    void itemChanged(const ModelItem& item) override;

public slots:
    void activate() override;
    void deactivate() override;
    void setMoveMode();
    void setInsertMode();
    void setDeleteMode();
    void undo();
    void redo();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void setMode(Mode mode);
    void countStep(VRLActionHistory::Change change);
    void startMove(const Vector<double>& point);
    void moveTo(const Vector<double>& point);
    void finishMove();
    void letGo();
    void releaseDrag();
    void insertAt(const Vector<double>& point);
    void deleteAt(const Vector<double>& point);

    Mode __mode = MoveMode;
    ModelItem* __item = nullptr;
    std::optional<VertexDrag> __drag;
    bool __ownChange = false;
    int __numDone = 0; // steps of this edition that can be undone, and redone
    int __numUndone = 0;
    QMetaObject::Connection __steps;
    CommandRegistry __commands{*this};
    QPointer<VRLVertexEditionToolBar> __toolBar;
};

} // namespace vorlen
