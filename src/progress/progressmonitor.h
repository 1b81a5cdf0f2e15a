#pragma once

#include <string>

namespace vorlen {

class ProgressSubject;

/// Observer of long computations: told when a subject starts, progresses, finishes or is cancelled.
///
/// A monitor knows which subject speaks only while a callback runs. It is seen, not owned, by its subjects: whoever
/// destroys a monitor first removes it from them.
class ProgressMonitor {
public:
    ProgressMonitor() = default;
    virtual ~ProgressMonitor();

    /// What the monitor does about a notification; nothing in this class.
    virtual void subjectStarted(const std::string& text);
    virtual void subjectFinished(const std::string& text);
    virtual void subjectCanceled(const std::string& text);
    virtual void subjectProgressed(const std::string& text);
    virtual void subjectProgressed(unsigned int current, unsigned int total);

    /// What a subject calls: the subject is the current one while the operation above runs, also when it throws.
    void subjectStarted(ProgressSubject& subject, const std::string& text);
    void subjectFinished(ProgressSubject& subject, const std::string& text);
    void subjectCanceled(ProgressSubject& subject, const std::string& text);
    void subjectProgressed(ProgressSubject& subject, const std::string& text);
    void subjectProgressed(ProgressSubject& subject, unsigned int current, unsigned int total);

    /// True during a callback.
    bool hasSubject() const;

    /// The subject that speaks; null outside a callback.
    ProgressSubject* currentSubject() const;

private:
    class Speaking;

    ProgressSubject* __currentSubject = nullptr;
};

} // namespace vorlen
