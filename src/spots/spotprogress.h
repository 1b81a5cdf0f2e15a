#pragma once

#include <string>

#include "progress/progressmonitor.h"
#include "progress/progresssubject.h"

namespace vorlen {

/// Makes one run out of several steps, each with a text and an equal share of the progress: what a filter reports goes
/// on to the subject of the whole run, and the wish to stop from there to the filter that works.
class SpotProgress : public ProgressMonitor {
public:
    /// The subject must outlive this object.
    SpotProgress(ProgressSubject& whole, int numSteps) : __whole(whole), __numSteps(numSteps) {}

    /// The next step begins, with its text.
    void begin(const std::string& text);

    bool isCanceled() const { return __whole.isCanceled(); }

    /// Applies a filter as a part of the current step, from one share of it to another, 0 to 1. False when the run is
    /// to stop.
    template <class Filter, class Data>
    bool run(Filter& filter, Data& data, double from = 0, double to = 1) {
        __from = from;
        __to = to;
        filter.addMonitor(*this);
        if (isCanceled())
            filter.cancel();
        else
            filter.apply(data);
        filter.removeMonitor(*this);
        return !isCanceled();
    }

    /// The current step is done to this share. False when the run is to stop.
    bool advance(double share);

    using ProgressMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override;

private:
    ProgressSubject& __whole;
    int __numSteps;
    int __step = -1;
    double __from = 0, __to = 1;
};

} // namespace vorlen
