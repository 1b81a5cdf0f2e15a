#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QObject>
#include <QString>
#include <QStringList>

namespace vorlen {

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

    /// What follows from the events of a step and not from its actions: read when a step opens, and written when all
    /// that it did has been reverted, so that undoing brings it back too.
    void keepContext(std::function<std::string()> read, std::function<void(const std::string&)> write);

    /// Throws UsageError when a step is open already.
    void openStep();

    /// A step without actions leaves no trace. Throws UsageError when no step is open.
    void closeStep();

    bool isStepOpen() const { return __stepOpen; }

    /// With a reason, a sentence for the user, actions that change the document are refused: apply and push throw an
    /// Exception that tells it. An empty reason lets them.
    void setRefusal(const std::string& reason) { __refusal = reason; }
    const std::string& getRefusal() const { return __refusal; }

    /// What has become of the steps.
    enum class Change { Step, Undo, Redo, Clear };

    /// Puts a step under all others: one made before they were, by a history that is no more. Not to be called while a
    /// step is open.
    void prependStep(std::unique_ptr<VRLAction> action);

    /// Adds a step that leaves the document alone, such as what was given up before it changed anything. It takes its
    /// turn among the others, but what can be redone stays, and recorded() says nothing of it. Throws UsageError while
    /// a step is open.
    void addAside(std::unique_ptr<VRLAction> action);

    /// The first action of the step that is undone next; null when there is none.
    const VRLAction* nextToUndo() const;

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
    int getNumUndoSteps() const { return static_cast<int>(__undoList.size()); }

    /// Of the first action of the step; the argument is passed on to it.
    QString getUndoDescription(bool verbose) const;
    QString getRedoDescription(bool verbose) const;

    /// Of the last so many steps, in the order in which they were made, or would be redone.
    QStringList getUndoDescriptions(int most) const;
    QStringList getRedoDescriptions(int most) const;

    void destroyUndoList();
    void destroyRedoList();
    void clear();

signals:
    void changed();
    /// Ahead of changed(), with what has happened to the document; a step without actions is none.
    void recorded(vorlen::VRLActionHistory::Change change);
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
    void restoreContext(const VRLActionList& step) const;
    void abandonStep() noexcept;

    static void makeRoom(Steps& steps);
    static QString description(const Steps& steps, bool verbose, const QString& nothing);

    Steps __undoList;
    Steps __redoList;
    std::function<std::string()> __readContext;
    std::function<void(const std::string&)> __writeContext;
    bool __stepOpen = false;
    unsigned int __stepNumber = 0;
    std::string __refusal;
};

} // namespace vorlen
