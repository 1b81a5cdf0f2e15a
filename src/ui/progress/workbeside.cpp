#include "ui/progress/workbeside.h"

#include <memory>

#include <QCoreApplication>
#include <QScopeGuard>
#include <QThread>

#include "progress/progresssubject.h"

namespace vorlen {

void ProgressGauge::subjectProgressed(unsigned int current, unsigned int total) {
    if (total > 0)
        __percent = static_cast<unsigned int>(100ULL * current / total);
}

void runBeside(ProgressSubject& teller, const ProgressGauge& gauge, const std::function<void()>& work) {
    bool done = false;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        work();
        done = true;
    }));
    const auto ended = qScopeGuard([&thread] { thread->wait(); }); // also where a monitor throws
    thread->start();
    constexpr unsigned long pause = 30; // milliseconds
    while (!thread->wait(pause)) {
        teller.notifyProgressed(gauge.percent(), 100);
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    }
    if (!done)
        work();
}

} // namespace vorlen
