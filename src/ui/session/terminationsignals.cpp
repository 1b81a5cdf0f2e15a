#include "ui/session/terminationsignals.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr std::array signalNumbers = {SIGTERM, SIGHUP, SIGINT};
int ends[2] = {-1, -1}; // of the pipe from the handler, which may do nothing but write

void handle(int signal) {
    const int error = errno;
    const auto number = static_cast<unsigned char>(signal);
    [[maybe_unused]] const ssize_t written = ::write(ends[1], &number, 1);
    errno = error;
}

void setHandlers(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (int signal : signalNumbers)
        ::sigaction(signal, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent) {
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        throw ProgramError("TerminationSignals::TerminationSignals(QObject*)", "No pipe can be made");
    __notifier = new QSocketNotifier(ends[0], QSocketNotifier::Read, this);
    connect(__notifier, &QSocketNotifier::activated, this, &TerminationSignals::take);
    setHandlers(handle);
}

TerminationSignals::~TerminationSignals() {
    setHandlers(SIG_DFL);
    __notifier->setEnabled(false);
    for (int& end : ends)
        ::close(std::exchange(end, -1));
}

void TerminationSignals::take() {
    unsigned char number = 0;
    if (::read(ends[0], &number, 1) == 1)
        emit terminated(number);
}

} // namespace vorlen
