#include "images/filters/parallelwork.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <limits>
#include <mutex>

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

#include "numerics/exception.h"
#include "progress/progresssubject.h"

namespace vorlen {

namespace {

constexpr int mostThreads = 1024;
std::atomic<int> chosenThreads = 0;

} // namespace

// The place where the threads meet for all rounds of one work. More threads than processors have to be allowed first.
struct ParallelWork::Arena {
    explicit Arena(int threads)
        : allowance(oneapi::tbb::global_control::max_allowed_parallelism, std::size_t(threads)),
          place(threads, 1 /* reserved for the caller */) {}

    oneapi::tbb::global_control allowance;
    oneapi::tbb::task_arena place;
    oneapi::tbb::task_group group;
};

// The parts of one call of run(). Each thread takes the next number until none is left.
class ParallelWork::Round {
public:
    Round(const ParallelWork& work, int count, const std::function<void(int, int)>& part)
        : __work(work), __count(count), __part(part) {}

    template <class Report>
    void takeParts(int worker, Report report) {
        while (!__stopped.load(std::memory_order_relaxed) && !__work.isCanceled()) {
            const int number = __next.fetch_add(1, std::memory_order_relaxed);
            if (number >= __count)
                return;
            try {
                __part(number, worker);
            } catch (...) {
                fail(number, std::current_exception());
                return;
            }
            // The part may have looked at it as well and broken off.
            if (!__work.isCanceled())
                report(__done.fetch_add(1, std::memory_order_relaxed) + 1);
        }
    }

    void fail(int number, std::exception_ptr failure) {
        const std::lock_guard lock(__mutex);
        if (!__failure || number < __failed) {
            __failure = std::move(failure);
            __failed = number;
        }
        __stopped = true;
    }

    /// After all threads have returned.
    bool isComplete() const {
        if (__failure)
            std::rethrow_exception(__failure);
        return __done == __count;
    }

private:
    const ParallelWork& __work;
    int __count;
    const std::function<void(int, int)>& __part;
    std::atomic<int> __next = 0;
    std::atomic<int> __done = 0;
    std::atomic<bool> __stopped = false;
    std::mutex __mutex;
    std::exception_ptr __failure;
    int __failed = 0;
};

void ParallelWork::setThreads(int threads) {
    if (threads < 0 || threads > mostThreads)
        throw ValueError("void ParallelWork::setThreads(int)", "The number of threads is not within 0 to 1024");
    chosenThreads = threads;
}

int ParallelWork::getThreads() {
    const int threads = chosenThreads;
    return threads > 0 ? threads : std::clamp(oneapi::tbb::info::default_concurrency(), 1, mostThreads);
}

// Where there are more steps than the reports can tell, they are reported in bundles.
ParallelWork::ParallelWork(ProgressSubject& subject, unsigned long long totalSteps, unsigned int reportedTotal)
    : __subject(subject), __total(totalSteps),
      __reportedTotal(
          reportedTotal > 0
              ? reportedTotal
              : static_cast<unsigned int>(totalSteps / (totalSteps / std::numeric_limits<unsigned int>::max() + 1))),
      __workers(getThreads()) {
    if (__workers > 1)
        __arena = std::make_unique<Arena>(__workers);
}

ParallelWork::~ParallelWork() = default;

bool ParallelWork::isCanceled() const {
    return __subject.isCanceled();
}

bool ParallelWork::run(int count, unsigned long long steps, const std::function<void(int, int)>& part) {
    const unsigned long long before = __done;
    Round round(*this, count, part);
    const auto reportParts = [&](int parts) {
        // In two terms, so that no product of large numbers overflows.
        const auto all = static_cast<unsigned long long>(count), ready = static_cast<unsigned long long>(parts);
        report(before + steps / all * ready + steps % all * ready / all);
    };
    const int helpers = std::min(__workers, count) - 1;
    if (helpers > 0) {
        __arena->place.execute([&] {
            for (int worker = 1; worker <= helpers; ++worker)
                __arena->group.run([&round, worker] {
                    round.takeParts(
                        worker, [](int) {});
                });
        });
    }
    try {
        round.takeParts(0, reportParts);
    } catch (...) { // from a monitor
        round.fail(-1, std::current_exception());
    }
    if (helpers > 0)
        __arena->place.execute([&] { __arena->group.wait(); });
    if (!round.isComplete())
        return false;
    report(before + steps);
    return true;
}

// Each step for itself, as one thread alone would report it. A monitor may let events happen that lead back here.
void ParallelWork::report(unsigned long long done) {
    if (__reporting)
        return;
    __reporting = true;
    try {
        while (__done < done && !isCanceled()) {
            ++__done;
            const auto part = static_cast<long double>(__done) / static_cast<long double>(__total);
            const bool exact = __reportedTotal == __total;
            __subject.notifyProgressed(
                exact ? static_cast<unsigned int>(__done)
                      : static_cast<unsigned int>(part * static_cast<long double>(__reportedTotal)),
                __reportedTotal);
        }
    } catch (...) {
        __reporting = false;
        throw;
    }
    __reporting = false;
}

} // namespace vorlen
