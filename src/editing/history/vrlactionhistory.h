#pragma once

#include <memory>
#include <vector>

#include <QObject>
#include <QString>

class Model;
class VRLAction;
class VRLActionList;

/// The undo history of a stack. What the user did with one gesture is one step; steps never expire.
///
/// An editor opens a step, applies and pushes its actions, and closes the step; VRLActionStep does so for a scope.
/// Pushing an action drops what could have been redone.
class VRLActionHistory : public QObject {
    Q_OBJECT

public:
    explicit VRLActionHistory(QObject* parent = nullptr);
    ~VRLActionHistory() override;

    /// Throws UsageError when a step is open already.
    void openStep();

    /// A step without actions leaves no trace. Throws UsageError when no step is open.
    void closeStep();

    bool isStepOpen() const { return __stepOpen; }

    /// Takes over the action, which must have been made by new, and applies it if asked. Throws UsageError when no step
    /// is open, and what apply() throws; the action is then deleted and the history as it was.
    void push(VRLAction* action, bool apply = false);

    /// Nothing when there is nothing to undo, redo. Not to be called while a step is open.
    void undo();
    void redo();

    /// While the events of an undo or redo are delivered the step has not changed lists yet.
    bool isUndoable() const;
    bool isRedoable() const;

    /// Of the first action of the step; the argument is passed on to it.
    QString getUndoDescription(bool verbose) const;
    QString getRedoDescription(bool verbose) const;

    void destroyUndoList();
    void destroyRedoList();
    void clear();

    /// The model is about to be deleted for good: drops what names it or an item of it, so that undo never reaches what
    /// is gone.
    void forget(const Model& model);

signals:
    void changed();
    void undoEnabled(bool enabled);
    void redoEnabled(bool enabled);

private:
    using Steps = std::vector<std::unique_ptr<VRLActionList>>;

    static QString description(const Steps& steps, bool verbose, const QString& nothing);

    Steps __undoList;
    Steps __redoList;
    bool __stepOpen = false;
};

/// A step of a history that is open as long as this object lives.
class VRLActionStep {
public:
    explicit VRLActionStep(VRLActionHistory& history) : __history(history) { history.openStep(); }
    ~VRLActionStep() { __history.closeStep(); }
    VRLActionStep(const VRLActionStep&) = delete;
    VRLActionStep& operator=(const VRLActionStep&) = delete;

private:
    VRLActionHistory& __history;
};
