#pragma once

#include <string>

#include "progress/progressmonitor.h"

namespace vorlen {

/// Shows progress as one line on the standard error stream, when that is a terminal; silent otherwise.
class ConsoleMonitor : public ProgressMonitor {
public:
    ConsoleMonitor();
    ~ConsoleMonitor() override;

    using ProgressMonitor::subjectFinished;
    using ProgressMonitor::subjectProgressed;
    using ProgressMonitor::subjectStarted;

    void subjectStarted(const std::string& text) override;
    void subjectFinished(const std::string& text) override;
    void subjectProgressed(const std::string& text) override;
    void subjectProgressed(unsigned int current, unsigned int total) override;

private:
    void show();
    void erase();

    bool __terminal;
    bool __shown = false;
    int __percent = -1;
    std::string __text;
};

} // namespace vorlen
