#pragma once

#include <limits>

#include "progress/progresssubject.h"

namespace vorlen {

/// Counts the steps of a computation and reports each to the monitors of its subject. Totals beyond an unsigned int are
/// reported in bundles.
///
/// advance() tells whether to go on: it reports nothing more once the subject is cancelled.
class StepProgress {
public:
    StepProgress(ProgressSubject& subject, unsigned long long total)
        : __subject(subject), __bundle(total / std::numeric_limits<unsigned int>::max() + 1), __total(total) {}

    bool advance(unsigned long long steps) {
        for (unsigned long long step = 0; step < steps && !__subject.isCanceled(); ++step)
            __subject.notifyProgressed(static_cast<unsigned int>(++__done / __bundle),
                                       static_cast<unsigned int>(__total / __bundle));
        return !__subject.isCanceled();
    }

private:
    ProgressSubject& __subject;
    unsigned long long __bundle;
    unsigned long long __total;
    unsigned long long __done = 0;
};

/// Tells the monitors how a run ended: as finished, or as cancelled when it did not come to its end.
inline void notifyEnd(ProgressSubject& subject, bool complete) {
    complete ? subject.notifyFinished("") : subject.notifyCanceled("");
}

} // namespace vorlen
