#pragma once

#include <string>
#include <vector>

#include "progress/progressmonitor.h"
#include "progress/progresssubject.h"

namespace vorlen {

/// Writes down what it hears, each as one text, and the subject that said it.
class RecordingMonitor : public ProgressMonitor {
public:
    using ProgressMonitor::subjectCanceled;
    using ProgressMonitor::subjectFinished;
    using ProgressMonitor::subjectProgressed;
    using ProgressMonitor::subjectStarted;

    void subjectStarted(const std::string& text) override { record("started " + text); }
    void subjectFinished(const std::string& text) override { record("finished " + text); }
    void subjectCanceled(const std::string& text) override { record("canceled " + text); }
    void subjectProgressed(const std::string& text) override { record("text " + text); }
    void subjectProgressed(unsigned int current, unsigned int total) override {
        record(std::to_string(current) + "/" + std::to_string(total));
    }

    std::vector<std::string> heard;
    std::vector<ProgressSubject*> subjects;

private:
    void record(const std::string& text) {
        heard.push_back(text);
        subjects.push_back(currentSubject());
    }
};

} // namespace vorlen
