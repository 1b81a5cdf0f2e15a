#include "progress/progresschain.h"

#include <algorithm>
#include <cstdint>

namespace vorlen {

void ProgressChain::addSubject(ProgressSubject& subject) {
    __subjects.push_back(&subject);
    subject.addMonitor(*this);
}

void ProgressChain::removeSubject(ProgressSubject& subject) {
    const auto place = std::find(__subjects.begin(), __subjects.end(), &subject);
    if (place == __subjects.end())
        return;
    __subjects.erase(place);
    // A subject that stands in the chain a second time goes on being heard.
    if (std::find(__subjects.begin(), __subjects.end(), &subject) == __subjects.end())
        subject.removeMonitor(*this);
}

void ProgressChain::clear() {
    __subjects.clear();
}

int ProgressChain::currentPlace() const {
    const auto place = std::find(__subjects.begin(), __subjects.end(), currentSubject());
    return place == __subjects.end() ? -1 : int(place - __subjects.begin());
}

void ProgressChain::subjectStarted(const std::string& text) {
    if (currentPlace() == 0)
        notifyStarted(text);
}

void ProgressChain::subjectFinished(const std::string& text) {
    const int place = currentPlace();
    if (place >= 0 && place + 1 == int(__subjects.size()))
        notifyFinished(text);
}

void ProgressChain::subjectCanceled(const std::string& text) {
    notifyCanceled(text);
}

void ProgressChain::subjectProgressed(const std::string& text) {
    notifyProgressed(text);
}

void ProgressChain::subjectProgressed(unsigned int current, unsigned int total) {
    const int place = currentPlace();
    if (place < 0)
        return;
    // 64 bits: a count of bytes or voxels times 100 leaves 32 bits soon.
    const std::uint64_t n = __subjects.size();
    const std::uint64_t own = total == 0 ? 0 : std::uint64_t(current) * 100 / (n * total);
    notifyProgressed(static_cast<unsigned int>(own + std::uint64_t(place) * 100 / n), 100);
}

void ProgressChain::cancel() {
    if (hasSubject())
        currentSubject()->cancel();
}

} // namespace vorlen
