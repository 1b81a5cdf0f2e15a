#pragma once

#include <array>

#include <csignal>

#include "progress/progressmonitor.h"

namespace vorlen {

/// Cancels a computation when the user interrupts the program (Ctrl-C), or the system wants it to end, so that it can
/// take away what it has begun to write. The second time the signal ends the program at once.
///
/// There is at most one object at a time.
class Interruption : public ProgressMonitor {
public:
    Interruption();
    /// Signals do what they did before.
    ~Interruption() override;
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    bool hasCome() const;

    /// To be called when all is taken away: the program ends by the signal that has come, as who started it expects.
    [[noreturn]] void end();

    using ProgressMonitor::subjectProgressed;
    void subjectProgressed(const std::string& text) override;
    void subjectProgressed(unsigned int current, unsigned int total) override;

private:
    void restore();

    std::array<struct sigaction, 3> __before{};
};

} // namespace vorlen
