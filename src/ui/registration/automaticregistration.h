#pragma once

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <QObject>

#include "progress/progresssubject.h"
#include "values/registration.h"

namespace vorlen {

class Stack;

/// What automatic registration came to about one slice.
struct SlicePlacement {
    int slice = 0; // place in the stack
    Registration registration;
    bool found = false;  // else the registration is what it was
    double score = -1;   // how well it fits the one before now; below 0 when it is not known
    std::string remark;  // what is to be said about it, as a clause: why nothing was found
};

/// Runs automatic registration on a thread of its own and on a copy of what it needs of the stack, so that the window
/// lives on meanwhile and the stack may even be closed. Looks only: what was found is for the owner to set.
class AutomaticRegistration : public QObject {
    Q_OBJECT

public:
    explicit AutomaticRegistration(QObject* parent = nullptr);
    /// Cancels, and waits for the thread.
    ~AutomaticRegistration() override;

    /// Registers the slices from `first` to `last`, each on those before it, but for those that are locked. Nothing
    /// while a run goes on.
    void start(const Stack& stack, int first, int last, const std::vector<bool>& locked);

    /// The run ends as soon as it looks, with what it has found so far.
    void cancel();
    /// Until the run has ended and its end was told.
    void wait();
    bool isRunning() const { return __worker.joinable(); }

    /// Of the last run that has finished.
    const std::vector<SlicePlacement>& placements() const { return __placements; }
    bool wasCanceled() const { return __canceled; }
    /// Why it broke off, or nothing.
    const std::string& failure() const { return __failure; }

signals:
    /// So many slices of so many are done.
    void progressed(unsigned int current, unsigned int total);
    void finished();

private:
    class Relay;

    void run(const Stack& stack, int first, const std::vector<bool>& locked);
    void conclude();

    std::thread __worker;
    ProgressSubject __progress;
    std::vector<SlicePlacement> __placements;
    std::string __failure;
    bool __canceled = false;
};

} // namespace vorlen
