#pragma once

#include <atomic>
#include <functional>

#include "progress/progressmonitor.h"

namespace vorlen {

class ProgressSubject;

/// How far a work on another thread is.
class ProgressGauge : public ProgressMonitor {
public:
    using ProgressMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override;
    unsigned int percent() const { return __percent; }

private:
    std::atomic<unsigned int> __percent = 0;
};

/// The work runs on a thread of its own. Meanwhile the windows go on painting and the teller tells how far the gauge
/// is, and keys and clicks wait, so that nobody changes what is worked on. Where there is no thread to be had it runs
/// here. The work throws nothing.
void runBeside(ProgressSubject& teller, const ProgressGauge& gauge, const std::function<void()>& work);

} // namespace vorlen
