#include "cli/consolemonitor.h"

#include <cstdio>

#include <unistd.h>

namespace vorlen {

ConsoleMonitor::ConsoleMonitor() : __terminal(isatty(STDERR_FILENO) == 1) {
}

ConsoleMonitor::~ConsoleMonitor() {
    erase();
}

void ConsoleMonitor::subjectStarted(const std::string& text) {
    __text = text;
    __percent = -1;
    show();
}

void ConsoleMonitor::subjectFinished(const std::string&) {
    erase();
}

void ConsoleMonitor::subjectProgressed(const std::string& text) {
    __text = text;
    show();
}

void ConsoleMonitor::subjectProgressed(unsigned int current, unsigned int total) {
    const int percent = total > 0 ? int(100.0 * current / total) : 0;
    if (percent == __percent)
        return;
    __percent = percent;
    show();
}

void ConsoleMonitor::show() {
    if (!__terminal)
        return;
    if (__percent >= 0)
        std::fprintf(stderr, "\r\033[K%s %3d%%", __text.c_str(), __percent);
    else
        std::fprintf(stderr, "\r\033[K%s", __text.c_str());
    std::fflush(stderr);
    __shown = true;
}

void ConsoleMonitor::erase() {
    if (!__shown)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    __shown = false;
}

} // namespace vorlen
