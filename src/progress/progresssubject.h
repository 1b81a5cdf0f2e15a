#pragma once

#include <atomic>
#include <iosfwd>
#include <string>
#include <vector>

namespace vorlen {

class ProgressMonitor;

/// A computation that reports to monitors and can be cancelled. The flag is read by the computation at its own pace.
///
/// Monitors are called in the order of adding, on the thread of the computation. A callback may add and remove
/// monitors: one added while a notification runs hears it too, and the one behind a removed monitor misses it.
class ProgressSubject {
public:
    ProgressSubject() = default;

    /// A copy starts without monitors and not cancelled.
    ProgressSubject(const ProgressSubject& other);

    virtual ~ProgressSubject();

    /// The target loses its monitors and its flag, and takes none over. Assignment to itself does nothing.
    ProgressSubject& operator=(const ProgressSubject& other);

    /// Adds a monitor, which must stay alive until it is removed; one that is listed already is not added again.
    virtual void addMonitor(ProgressMonitor& monitor);
    virtual void removeMonitor(ProgressMonitor& monitor);

    /// Asks the computation to stop.
    virtual void cancel();

    virtual void notifyStarted(const std::string& text);
    virtual void notifyFinished(const std::string& text);
    virtual void notifyCanceled(const std::string& text);
    virtual void notifyProgressed(unsigned int current, unsigned int total);
    virtual void notifyProgressed(const std::string& text);

    bool isCanceled() const { return __canceled.load(std::memory_order_relaxed); }

    /// Takes the wish to stop back.
    void reset();

    /// The text on a line, then the number of monitors.
    void print(std::ostream& stream, const std::string& text) const;

private:
    std::vector<ProgressMonitor*> __monitors;
    std::atomic<bool> __canceled = false; // set on one thread, looked at on another
};

} // namespace vorlen
