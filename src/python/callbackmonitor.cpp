#include "python/callbackmonitor.h"

#include <utility>

#include "progress/progresssubject.h"

namespace py = pybind11;

namespace vorlen {

namespace {

constexpr std::chrono::milliseconds interval(50);

} // namespace

CallbackMonitor::CallbackMonitor(ProgressSubject& subject, py::object callback)
    : __subject(subject), __callback(std::move(callback)) {
    __subject.addMonitor(*this);
}

CallbackMonitor::~CallbackMonitor() {
    __subject.removeMonitor(*this);
}

void CallbackMonitor::finish() {
    if (__raised)
        std::rethrow_exception(std::exchange(__raised, nullptr));
}

void CallbackMonitor::subjectProgressed(unsigned int current, unsigned int total) {
    const auto now = std::chrono::steady_clock::now();
    if (__raised || (__last && now - *__last < interval && current < total))
        return;
    __last = now;
    const py::gil_scoped_acquire locked;
    try {
        if (PyErr_CheckSignals() != 0)
            throw py::error_already_set();
        if (!__callback.is_none())
            __callback(current, total);
    } catch (...) {
        __raised = std::current_exception();
        __subject.cancel();
    }
}

} // namespace vorlen
