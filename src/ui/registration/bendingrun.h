#pragma once

#include <memory>
#include <string>

#include <QStringList>

#include "editing/operations/elasticalignment.h"
#include "ui/registration/stacktask.h"

namespace vorlen {

/// Bends a copy of a stack, with its outlines, beside the window, into new images and fields; see bendStack(). What is
/// done is for the owner to take, on the window's thread. Cancelled or failed it leaves no files.
class BendingRun : public StackTask {
    Q_OBJECT

public:
    using StackTask::StackTask;
    ~BendingRun() override;

    /// Nothing while a run goes on. The new stack is to have this file, and images and fields beside it.
    void bend(const Stack& stack, const ElasticOptions& options, const std::string& file);

    /// There are images and fields that the new stack is to be written for.
    bool isDone() const { return __done; }

    /// Of the last run that has ended: writes the new stack and gives its file; empty when there is none, as nothing was
    /// bent or could be. Throws FileWriteError.
    std::string writeStack();

    /// What became of the slices, for the user: those that were left as they are, and why, or why there is no new stack.
    QStringList remarks() const;
    int numBent() const;

private:
    std::shared_ptr<Stack> __bent;
    std::string __file;
    ElasticAlignment __found;
    Outcome __outcome = Outcome::done();
    bool __done = false;
};

} // namespace vorlen
