#pragma once

#include <memory>

#include <QAction>
#include <QPointer>

#include "editing/actions/vrlmovevertexaction.h"
#include "ui/slices/vrlsliceeditwidgetmediatordelegate.h"
#include "ui/slices/vrlvertexeditiontoolbar.h"

class QActionGroup;

namespace vorlen {

class ModelItem;

/// Moves, inserts and deletes vertices of the selected item.
///
/// Decisions: nothing starts without a selected item or a history. An end in the middle of a drag takes the drag back.
/// The item is let go as soon as it leaves the document; when its vertices change from outside, a drag under way ends
/// there. Closing the tool window ends the edition.
class VRLSliceEditWidgetMediatorEditionDelegate : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    enum Mode { MoveMode, InsertMode, DeleteMode };

    explicit VRLSliceEditWidgetMediatorEditionDelegate(VRLSliceEditWidgetMediator& mediator);
    ~VRLSliceEditWidgetMediatorEditionDelegate() override;

    Mode getMode() const { return __mode; }

    /// The edited item; null while the delegate is not active.
    ModelItem* getItem() const { return __item; }
    QWidget* getToolBar() const { return __toolBar; }

    /// The item leaves the document.
    void itemGone(const ModelItem& item);
    /// The vertices of the item have changed.
    void itemChanged(const ModelItem& item);

public slots:
    void activate() override;
    void deactivate() override;
    void cancel() override;
    void setMoveMode();
    void setInsertMode();
    void setDeleteMode();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    QAction* newModeAction(const QString& text, const QString& icon, QActionGroup& group,
                           void (VRLSliceEditWidgetMediatorEditionDelegate::*slot)());
    void setMode(Mode mode);
    void startMove(const Vector<int>& point);
    void moveTo(const Vector<int>& point);
    void finishMove();
    void insertAt(const Vector<int>& point);
    void deleteAt(const Vector<int>& point);
    QString refusal() const;

    Mode __mode = MoveMode;
    ModelItem* __item = nullptr;
    std::unique_ptr<VRLMoveVertexAction> __moveAction;
    bool __ownChange = false;
    QAction* __moveModeAction;
    QAction* __insertModeAction;
    QAction* __deleteModeAction;
    QAction* __endAction;
    QPointer<VRLVertexEditionToolBar> __toolBar;
};

} // namespace vorlen
