#pragma once

#include <limits>

#include "progress/progresssubject.h"

namespace vorlen {

/// Counts the steps of a computation and reports each to the monitors of its subject. Totals beyond an unsigned int are
/// reported in bundles.
class StepProgress {
public:
    StepProgress(ProgressSubject& subject, unsigned long long total)
        : __subject(subject), __bundle(total / std::numeric_limits<unsigned int>::max() + 1), __total(total) {}

    void advance(unsigned long long steps) {
        for (unsigned long long step = 0; step < steps; ++step)
            __subject.notifyProgressed(static_cast<unsigned int>(++__done / __bundle),
                                       static_cast<unsigned int>(__total / __bundle));
    }

private:
    ProgressSubject& __subject;
    unsigned long long __bundle;
    unsigned long long __total;
    unsigned long long __done = 0;
};

} // namespace vorlen
