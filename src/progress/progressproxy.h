#pragma once

#include "progress/progressmonitor.h"
#include "progress/progresssubject.h"

namespace vorlen {

/// Relays the subjects it monitors to its own monitors. Base of what wraps long work: the work's subjects report to
/// it, and it reports on.
///
/// The subject is a virtual base, so that a class can be a proxy and a processing of its own and still be one subject.
class ProgressProxy : public ProgressMonitor, public virtual ProgressSubject {
public:
    using ProgressMonitor::subjectCanceled;
    using ProgressMonitor::subjectFinished;
    using ProgressMonitor::subjectProgressed;
    using ProgressMonitor::subjectStarted;

    void subjectStarted(const std::string& text) override;
    void subjectFinished(const std::string& text) override;
    void subjectCanceled(const std::string& text) override;
    void subjectProgressed(const std::string& text) override;
    void subjectProgressed(unsigned int current, unsigned int total) override;

    /// Cancels the subject that speaks, if any, and itself.
    void cancel() override;
};

} // namespace vorlen
