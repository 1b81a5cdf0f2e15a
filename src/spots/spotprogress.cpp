#include "spots/spotprogress.h"

namespace vorlen {

void SpotProgress::begin(const std::string& text) {
    ++__step;
    __whole.notifyProgressed(text);
    advance(0);
}

bool SpotProgress::advance(double share) {
    constexpr unsigned int steps = 1000;
    const double done = (__step + share) / __numSteps;
    __whole.notifyProgressed(static_cast<unsigned int>(done * steps), steps);
    return !isCanceled();
}

void SpotProgress::subjectProgressed(unsigned int current, unsigned int total) {
    if (total > 0)
        advance(__from + (__to - __from) * double(current) / double(total));
    if (isCanceled() && hasSubject())
        currentSubject()->cancel();
}

} // namespace vorlen
