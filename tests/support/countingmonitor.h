#pragma once

#include <string>

#include "progress/progressmonitor.h"
#include "progress/progresssubject.h"

namespace vorlen {

/// Counts what a computation reports, and cancels it when it is asked to.
class CountingMonitor : public ProgressMonitor {
public:
    using ProgressMonitor::subjectFinished;
    using ProgressMonitor::subjectProgressed;
    using ProgressMonitor::subjectStarted;
    void subjectStarted(const std::string&) override { ++started; }
    void subjectFinished(const std::string&) override { ++finished; }
    void subjectCanceled(const std::string&) override { ++canceled; }
    void subjectProgressed(unsigned int current, unsigned int total) override {
        ++steps;
        rising = rising && current >= last;
        last = current;
        lastTotal = total;
        if (steps == cancelAt)
            currentSubject()->cancel();
    }

    int started = 0, finished = 0, canceled = 0, steps = 0;
    int cancelAt = -1; ///< step at which the subject is cancelled
    unsigned int last = 0, lastTotal = 0;
    bool rising = true;
};

} // namespace vorlen
