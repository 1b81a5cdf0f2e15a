#pragma once

#include <algorithm>
#include <ctime>

#include <QAbstractEventDispatcher>
#include <QObject>

namespace vorlen {

/// The longest that this thread worked, in milliseconds of its own, before it came back to the loop of events; so long
/// a hand waits on a machine that has nothing else to do. Loops within loops count each for itself.
class Pauses {
public:
    Pauses() {
        const QAbstractEventDispatcher* const loop = QAbstractEventDispatcher::instance();
        for (const auto signal : {&QAbstractEventDispatcher::awake, &QAbstractEventDispatcher::aboutToBlock})
            QObject::connect(loop, signal, &__context, [this] { lap(); });
    }

    double longest() {
        lap();
        return __longest;
    }

private:
    static double worked() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return 1e3 * double(time.tv_sec) + 1e-6 * double(time.tv_nsec);
    }

    void lap() {
        const double now = worked();
        __longest = std::max(__longest, now - __last);
        __last = now;
    }

    QObject __context;
    double __last = worked(), __longest = 0;
};

} // namespace vorlen
