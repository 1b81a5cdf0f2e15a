#pragma once

#include <functional>
#include <memory>
#include <type_traits>
#include <vector>

namespace vorlen {

class ProgressSubject;

/// Work on a volume in parts that do not depend on each other, done by several threads, of which the caller is one.
///
/// The parts are the caller's: their number and bounds must follow from the data alone, never from the number of
/// threads, and a part must write nothing that another one reads. Then all bits of the result are the same for any
/// number of threads and in whatever order the parts run. What parts find out is joined in the order of their numbers
/// (see reduce()).
///
/// Monitors of the subject are called on the caller's thread only, between two of its parts and when all are done. When
/// the subject is cancelled no further part begins, and those that run go on to their ends: parts should take a few
/// milliseconds, or look at isCanceled() as they go. An exception in a part stops the work likewise and reaches the
/// caller of run(); of several that of the part with the lowest number.
///
/// The threads are those of oneTBB, shared by all work of the process, so that several computations at once do not
/// crowd the processors.
class ParallelWork {
public:
    /// Threads for all work that begins from now on: 1 keeps all on the caller's thread, and 0, which is the default,
    /// takes as many as the process has processors. Throws ValueError below 0 and above 1024.
    static void setThreads(int threads);
    /// The number that was set, or that of the processors.
    static int getThreads();

    /// Reports to the monitors of the subject, in steps of a total. The subject must outlive this object. With
    /// reportedTotal each step is reported as a part of that in place of the number of steps.
    ParallelWork(ProgressSubject& subject, unsigned long long totalSteps, unsigned int reportedTotal = 0);
    ~ParallelWork();
    ParallelWork(const ParallelWork&) = delete;
    ParallelWork& operator=(const ParallelWork&) = delete;

    /// Number of threads, and so of working memories that parts need: see run().
    int workers() const { return __workers; }

    /// May be asked by any part.
    bool isCanceled() const;

    /// Calls part(number, worker) for the numbers from 0 to count - 1. At any time at most one part has the same
    /// worker, from 0 to workers() - 1. The steps are reported as parts are done, in proportion. False when parts have
    /// not run, since the subject has been cancelled.
    bool run(int count, unsigned long long steps, const std::function<void(int, int)>& part);

    /// Values of value(number, worker) for the numbers from 0 to count - 1, joined by join(so far, next) in the order
    /// of the numbers. The result counts for nothing when the work has been cancelled.
    template <class R, class Value, class Join>
    R reduce(int count, R first, Value value, Join join) {
        std::vector<R> values(static_cast<std::size_t>(count), first);
        run(count, 0,
            [&](int number, int worker) { values[static_cast<std::size_t>(number)] = value(number, worker); });
        for (const R& each : values)
            first = join(first, each);
        return first;
    }

private:
    struct Arena;
    class Round;

    void report(unsigned long long done);

    ProgressSubject& __subject;
    unsigned long long __total;
    unsigned int __reportedTotal;
    unsigned long long __done = 0;
    bool __reporting = false;
    int __workers;
    std::unique_ptr<Arena> __arena;
};

/// Cuts length elements into pieces of a fixed size, the last of which may be shorter: parts for ParallelWork.
class Pieces {
public:
    Pieces(int length, int size) : __length(length), __size(size) {}

    int count() const { return __length > 0 ? (__length - 1) / __size + 1 : 0; }
    int first(int piece) const { return piece * __size; }
    int last(int piece) const { return __length - first(piece) < __size ? __length : first(piece) + __size; }

private:
    int __length;
    int __size;
};

} // namespace vorlen
