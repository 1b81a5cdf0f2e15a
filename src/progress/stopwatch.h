#pragma once

#include <ctime>
#include <iosfwd>
#include <map>
#include <string>

namespace vorlen {

/// Named timers over the processor time of the process, for looking at where the time goes.
class Stopwatch {
public:
    Stopwatch() = default;
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

    /// Prints to the standard output what has been measured, if anything.
    ~Stopwatch();

    /// Starts the timer of the label; a running one starts anew.
    void start(const std::string& label);

    /// Adds the time since the last start to the label's sum. Without a start, nothing happens.
    void stop(const std::string& label);

    /// A line for each label in alphabetical order: seconds and share of all; from two labels on, a line of the total.
    void print() const;
    void print(std::ostream& stream) const;

private:
    std::map<std::string, std::clock_t> __starts;
    std::map<std::string, std::clock_t> __sums;
};

/// The stopwatch of the process, made before main() starts.
extern Stopwatch stopwatch;

} // namespace vorlen
