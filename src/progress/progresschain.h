#pragma once

#include <vector>

#include "progress/progressmonitor.h"
#include "progress/progresssubject.h"

namespace vorlen {

/// Makes one task out of several subjects that run one after the other: started when the first starts, finished when
/// the last finishes, each taking an equal share of 100.
///
/// Subjects are seen, not owned, and must outlive their place in the chain. Progress from a subject that is not in the
/// chain (after clear()) is dropped, and so is its start and finish; a total of 0 counts as no progress of its subject.
class ProgressChain : public virtual ProgressSubject, public ProgressMonitor {
public:
    using ProgressMonitor::subjectCanceled;
    using ProgressMonitor::subjectFinished;
    using ProgressMonitor::subjectProgressed;
    using ProgressMonitor::subjectStarted;

    /// Appends the subject and monitors it.
    void addSubject(ProgressSubject& subject);

    /// Takes the subject out and stops monitoring it; nothing when it is not in the chain.
    void removeSubject(ProgressSubject& subject);

    /// Empties the chain. The subjects are not touched: they go on calling the chain.
    void clear();

    void subjectStarted(const std::string& text) override;
    void subjectFinished(const std::string& text) override;
    void subjectCanceled(const std::string& text) override;
    void subjectProgressed(const std::string& text) override;

    /// Reports current * 100 / (n * total) + k * 100 / n of 100 for the subject at place k of n, each term rounded
    /// down.
    void subjectProgressed(unsigned int current, unsigned int total) override;

    /// Cancels the subject that speaks; nothing between callbacks.
    void cancel() override;

private:
    int currentPlace() const;

    std::vector<ProgressSubject*> __subjects;
};

} // namespace vorlen
