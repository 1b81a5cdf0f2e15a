#include "progress/progressproxy.h"

namespace vorlen {

void ProgressProxy::subjectStarted(const std::string& text) {
    notifyStarted(text);
}

void ProgressProxy::subjectFinished(const std::string& text) {
    notifyFinished(text);
}

void ProgressProxy::subjectCanceled(const std::string& text) {
    notifyCanceled(text);
}

void ProgressProxy::subjectProgressed(const std::string& text) {
    notifyProgressed(text);
}

void ProgressProxy::subjectProgressed(unsigned int current, unsigned int total) {
    notifyProgressed(current, total);
}

void ProgressProxy::cancel() {
    // A class that processes and relays at once may monitor itself.
    if (hasSubject() && currentSubject() != static_cast<ProgressSubject*>(this))
        currentSubject()->cancel();
    ProgressSubject::cancel();
}

} // namespace vorlen
