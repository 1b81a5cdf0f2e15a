#pragma once

#include <memory>
#include <string>
#include <vector>

#include <QString>
#include <QStringList>

#include "editing/operations/elasticalignment.h"
#include "ui/cuts/stacktask.h"

class QWidget;

namespace vorlen {

class VRLStack;

/// Bends a copy of a stack, with its outlines, beside the window, into new images and fields; see bendStack().
/// Cancelled it leaves no files.
class BendingRun : public StackTask {
    Q_OBJECT

public:
    using StackTask::StackTask;
    ~BendingRun() override;

    /// Asks how the slices of the stack are to be bent, but for those at the locked places, and into which file, and
    /// begins; false when it is not wanted.
    bool ask(QWidget& window, const VRLStack& stack, const std::vector<int>& locked);

    /// When it has ended: writes the new stack, with images and fields beside it already, opens it, and says so in a
    /// sentence. Throws FileWriteError, and UsageError for what the run broke off at.
    QString open(QWidget& window);

    /// What the user is to know besides: slices that were left as they are, and why, or why there is no new stack.
    QStringList remarks() const;

private:
    void bend(const Stack& stack, const ElasticOptions& options, const std::string& file);
    int numBent() const;

    std::shared_ptr<Stack> __bent;
    std::string __file;
    ElasticAlignment __found;
    Outcome __outcome = Outcome::done();
    bool __done = false;
};

} // namespace vorlen
