#include "progress/progressmonitor.h"

namespace vorlen {

/// Keeps the current subject for the length of a callback. A callback may lead to another notification of the same
/// monitor (it may process pending events, say), hence the subject before is restored, not null.
class ProgressMonitor::Speaking {
public:
    Speaking(ProgressMonitor& monitor, ProgressSubject& subject)
        : __monitor(monitor), __previous(monitor.__currentSubject) {
        monitor.__currentSubject = &subject;
    }
    ~Speaking() { __monitor.__currentSubject = __previous; }
    Speaking(const Speaking&) = delete;
    Speaking& operator=(const Speaking&) = delete;

private:
    ProgressMonitor& __monitor;
    ProgressSubject* __previous;
};

ProgressMonitor::~ProgressMonitor() = default;

void ProgressMonitor::subjectStarted(const std::string&) {
}
void ProgressMonitor::subjectFinished(const std::string&) {
}
void ProgressMonitor::subjectCanceled(const std::string&) {
}
void ProgressMonitor::subjectProgressed(const std::string&) {
}
void ProgressMonitor::subjectProgressed(unsigned int, unsigned int) {
}

void ProgressMonitor::subjectStarted(ProgressSubject& subject, const std::string& text) {
    const Speaking speaking(*this, subject);
    subjectStarted(text);
}

void ProgressMonitor::subjectFinished(ProgressSubject& subject, const std::string& text) {
    const Speaking speaking(*this, subject);
    subjectFinished(text);
}

void ProgressMonitor::subjectCanceled(ProgressSubject& subject, const std::string& text) {
    const Speaking speaking(*this, subject);
    subjectCanceled(text);
}

void ProgressMonitor::subjectProgressed(ProgressSubject& subject, const std::string& text) {
    const Speaking speaking(*this, subject);
    subjectProgressed(text);
}

void ProgressMonitor::subjectProgressed(ProgressSubject& subject, unsigned int current, unsigned int total) {
    const Speaking speaking(*this, subject);
    subjectProgressed(current, total);
}

bool ProgressMonitor::hasSubject() const {
    return __currentSubject != nullptr;
}

ProgressSubject* ProgressMonitor::currentSubject() const {
    return __currentSubject;
}

} // namespace vorlen
