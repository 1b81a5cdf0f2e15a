#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <QObject>

#include "progress/progresssubject.h"

namespace vorlen {

class Stack;
class StackSlice;

/// Work on the slices of a stack on a thread of its own, one at a time. It works on a copy of the slices, without what
/// is drawn on them, so that the window lives on meanwhile and the stack may change or even be closed.
class StackTask : public QObject {
    Q_OBJECT

public:
    explicit StackTask(QObject* parent = nullptr);
    /// Cancels, and waits for the thread.
    ~StackTask() override;

    /// The work ends as soon as it looks.
    void cancel();
    /// Until the work has ended and its end was told.
    void wait();
    bool isRunning() const { return __worker.joinable(); }

    /// Of the last work that has ended.
    bool wasCanceled() const { return __canceled; }
    /// Why it broke off, or nothing.
    const std::string& failure() const { return __failure; }

signals:
    /// So many slices of so many are done.
    void progressed(unsigned int current, unsigned int total);
    void finished();

protected:
    using Work = std::function<void(const Stack& copy, ProgressSubject& progress)>;

    /// False, and nothing done, while other work goes on.
    bool start(const Stack& stack, Work work);

    /// For the work: the slice of the stack itself that is at this place of the copy, as a mark that is not looked at.
    const StackSlice* original(int place) const { return __originals[static_cast<std::size_t>(place)]; }

    /// For the work: news to be told on the thread of the window, if it is still there then.
    void tell(std::function<void()> news);

    /// A class whose work uses members of its own calls this in its destructor.
    void stop();

private:
    class Relay;

    void conclude();

    std::thread __worker;
    ProgressSubject __progress;
    std::vector<const StackSlice*> __originals;
    std::string __failure;
    bool __canceled = false;
};

} // namespace vorlen
