#pragma once

#include <chrono>
#include <exception>
#include <optional>

#include <pybind11/pybind11.h>

#include "progress/progressmonitor.h"

namespace vorlen {

class ProgressSubject;

/// Brings the progress of a long computation to a Python callable, and Ctrl+C to the computation.
///
/// Made and destroyed with the interpreter's lock; heard without it, on the thread that called from Python. At most 20
/// times a second it takes the lock, lets Python handle its signals, and calls callback(done, total). What the callback
/// raises, and KeyboardInterrupt, cancel the subject; finish() then raises it in the caller.
class CallbackMonitor : public ProgressMonitor {
public:
    /// callback may be None.
    CallbackMonitor(ProgressSubject& subject, pybind11::object callback);
    ~CallbackMonitor() override;
    CallbackMonitor(const CallbackMonitor&) = delete;
    CallbackMonitor& operator=(const CallbackMonitor&) = delete;

    /// Raises what has cancelled the computation, if anything has.
    void finish();

    using ProgressMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override;

private:
    ProgressSubject& __subject;
    pybind11::object __callback;
    std::optional<std::chrono::steady_clock::time_point> __last;
    std::exception_ptr __raised;
};

/// Does the work without the interpreter's lock while a monitor of the subject hears of it; raises what the callback or
/// Ctrl+C have raised, else what the work throws.
template <class Work>
void watched(ProgressSubject& subject, const pybind11::object& callback, Work work) {
    CallbackMonitor monitor(subject, callback);
    try {
        const pybind11::gil_scoped_release released;
        work();
    } catch (...) {
        monitor.finish();
        throw;
    }
    monitor.finish();
}

} // namespace vorlen
