#include "progress/progresssubject.h"

#include <algorithm>
#include <ostream>

#include "progress/progressmonitor.h"

namespace vorlen {

ProgressSubject::ProgressSubject(const ProgressSubject&) {
}

ProgressSubject::~ProgressSubject() = default;

ProgressSubject& ProgressSubject::operator=(const ProgressSubject& other) {
    if (this != &other) {
        __monitors.clear();
        __canceled = false;
    }
    return *this;
}

void ProgressSubject::addMonitor(ProgressMonitor& monitor) {
    if (std::find(__monitors.begin(), __monitors.end(), &monitor) == __monitors.end())
        __monitors.push_back(&monitor);
}

void ProgressSubject::removeMonitor(ProgressMonitor& monitor) {
    __monitors.erase(std::remove(__monitors.begin(), __monitors.end(), &monitor), __monitors.end());
}

void ProgressSubject::cancel() {
    __canceled = true;
}

// The walks go by index and read the size again after each call, because a callback may change the list.

void ProgressSubject::notifyStarted(const std::string& text) {
    for (std::size_t i = 0; i < __monitors.size(); ++i)
        __monitors[i]->subjectStarted(*this, text);
}

void ProgressSubject::notifyFinished(const std::string& text) {
    for (std::size_t i = 0; i < __monitors.size(); ++i)
        __monitors[i]->subjectFinished(*this, text);
}

void ProgressSubject::notifyCanceled(const std::string& text) {
    for (std::size_t i = 0; i < __monitors.size(); ++i)
        __monitors[i]->subjectCanceled(*this, text);
}

void ProgressSubject::notifyProgressed(unsigned int current, unsigned int total) {
    for (std::size_t i = 0; i < __monitors.size(); ++i)
        __monitors[i]->subjectProgressed(*this, current, total);
}

void ProgressSubject::notifyProgressed(const std::string& text) {
    for (std::size_t i = 0; i < __monitors.size(); ++i)
        __monitors[i]->subjectProgressed(*this, text);
}

void ProgressSubject::reset() {
    __canceled = false;
}

void ProgressSubject::print(std::ostream& stream, const std::string& text) const {
    stream << text << '\n' << "Monitors: " << __monitors.size() << '\n';
}

} // namespace vorlen
