#pragma once

#include <memory>
#include <string>
#include <vector>

#include <QObject>
#include <QString>

namespace vorlen {

class Model;
class VRLAction;
class VRLActionList;

/// The undo history of a stack. What the user did with one gesture is one step; steps never expire.
///
/// Editors work through EditStep. The operations to open a step, push and close are the same by hand: for a caller that
/// has applied its actions already, or whose step is open across events.
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

    /// With a reason, a sentence for the user, actions that change the document are refused: apply and push throw an
    /// Exception that tells it. An empty reason lets them.
    void setRefusal(const std::string& reason) { __refusal = reason; }
    const std::string& getRefusal() const { return __refusal; }

    /// Takes over the action, which must have been made by new, and applies it if asked. Throws UsageError when no step
    /// is open, and what apply() and the clients of the bus throw: the action is then deleted, and all that the step
    /// had done is reverted. Drops what could have been redone.
    void push(VRLAction* action, bool apply = false);

    /// Number of actions of the open step; 0 when none is open.
    int getNumOpenActions() const;

    /// Nothing when there is nothing to undo, redo. Not to be called while a step is open. The step is undone, redone,
    /// as a whole even where a client of the bus throws; the exception follows.
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
    friend class EditStep;

    using Steps = std::vector<std::unique_ptr<VRLActionList>>;

    /// Counts the steps that were opened.
    unsigned int stepNumber() const { return __stepNumber; }

    void requireStep(const char* caller, const char* reason) const;
    void requireAllowed(const VRLAction& action) const;
    void apply(std::unique_ptr<VRLAction> action);
    void record(std::unique_ptr<VRLAction> action);
    void revertOpenStep() noexcept;
    void abandonStep() noexcept;

    static QString description(const Steps& steps, bool verbose, const QString& nothing);

    Steps __undoList;
    Steps __redoList;
    bool __stepOpen = false;
    unsigned int __stepNumber = 0;
    std::string __refusal;
};

} // namespace vorlen
