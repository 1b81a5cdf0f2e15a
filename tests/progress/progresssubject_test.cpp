#include "progress/progresssubject.h"

#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "support/recordingmonitor.h"

namespace vorlen {

namespace {

using Texts = std::vector<std::string>;

std::string numMonitors(const ProgressSubject& subject) {
    std::ostringstream stream;
    subject.print(stream, "subject");
    return stream.str();
}

TEST(ProgressSubject, tellsAllMonitorsEachKindOfNews) {
    ProgressSubject subject;
    RecordingMonitor first, second;
    subject.addMonitor(first);
    subject.addMonitor(second);
    subject.notifyStarted("a");
    subject.notifyProgressed(3, 7);
    subject.notifyProgressed("b");
    subject.notifyCanceled("c");
    subject.notifyFinished("d");
    const Texts expected = {"started a", "3/7", "text b", "canceled c", "finished d"};
    EXPECT_EQ(first.heard, expected);
    EXPECT_EQ(second.heard, expected);
    EXPECT_EQ(first.subjects, std::vector<ProgressSubject*>(5, &subject));
}

TEST(ProgressSubject, aMonitorKnowsItsSubjectOnlyDuringTheCall) {
    ProgressSubject subject;
    RecordingMonitor monitor;
    subject.addMonitor(monitor);
    EXPECT_FALSE(monitor.hasSubject());
    subject.notifyStarted("");
    EXPECT_EQ(monitor.subjects.at(0), &subject);
    EXPECT_FALSE(monitor.hasSubject());
    EXPECT_EQ(monitor.currentSubject(), nullptr);
}

TEST(ProgressSubject, aMonitorThatThrowsForgetsItsSubject) {
    class Thrower : public ProgressMonitor {
    public:
        using ProgressMonitor::subjectStarted;
        void subjectStarted(const std::string&) override { throw std::runtime_error("no"); }
    };
    ProgressSubject subject;
    Thrower monitor;
    subject.addMonitor(monitor);
    EXPECT_THROW(subject.notifyStarted(""), std::runtime_error);
    EXPECT_FALSE(monitor.hasSubject());
}

TEST(ProgressSubject, aCallInsideACallGivesTheOuterSubjectBack) {
    class Nester : public RecordingMonitor {
    public:
        using RecordingMonitor::subjectStarted;
        void subjectStarted(const std::string& text) override {
            if (inner != nullptr) {
                ProgressSubject* next = inner;
                inner = nullptr;
                next->notifyStarted("inner");
            }
            RecordingMonitor::subjectStarted(text);
        }
        ProgressSubject* inner = nullptr;
    };
    ProgressSubject outer, inner;
    Nester monitor;
    outer.addMonitor(monitor);
    inner.addMonitor(monitor);
    monitor.inner = &inner;
    outer.notifyStarted("outer");
    EXPECT_EQ(monitor.heard, (Texts{"started inner", "started outer"}));
    EXPECT_EQ(monitor.subjects, (std::vector<ProgressSubject*>{&inner, &outer}));
}

TEST(ProgressSubject, listsAMonitorOnceAndForgetsItOnDemand) {
    ProgressSubject subject;
    RecordingMonitor monitor, stranger;
    subject.addMonitor(monitor);
    subject.addMonitor(monitor);
    EXPECT_EQ(numMonitors(subject), "subject\nMonitors: 1\n");
    subject.removeMonitor(stranger);
    EXPECT_EQ(numMonitors(subject), "subject\nMonitors: 1\n");
    subject.removeMonitor(monitor);
    EXPECT_EQ(numMonitors(subject), "subject\nMonitors: 0\n");
    subject.notifyStarted("");
    EXPECT_TRUE(monitor.heard.empty());
}

TEST(ProgressSubject, aMonitorMayRemoveItselfInACall) {
    class Leaver : public RecordingMonitor {
    public:
        using RecordingMonitor::subjectStarted;
        void subjectStarted(const std::string& text) override {
            RecordingMonitor::subjectStarted(text);
            currentSubject()->removeMonitor(*this);
        }
    };
    ProgressSubject subject;
    Leaver leaver;
    RecordingMonitor last;
    subject.addMonitor(last);
    subject.addMonitor(leaver);
    subject.notifyStarted("");
    subject.notifyStarted("");
    EXPECT_EQ(leaver.heard.size(), 1u);
    EXPECT_EQ(last.heard.size(), 2u);
}

TEST(ProgressSubject, aCopyHasNeitherMonitorsNorTheFlag) {
    ProgressSubject subject;
    RecordingMonitor monitor;
    subject.addMonitor(monitor);
    subject.cancel();
    const ProgressSubject copy(subject);
    EXPECT_FALSE(copy.isCanceled());
    EXPECT_EQ(numMonitors(copy), "subject\nMonitors: 0\n");

    ProgressSubject target;
    target.addMonitor(monitor);
    target.cancel();
    target = copy;
    EXPECT_FALSE(target.isCanceled());
    EXPECT_EQ(numMonitors(target), "subject\nMonitors: 0\n");
    EXPECT_TRUE(subject.isCanceled());
}

TEST(ProgressSubject, resetTakesTheCancellationBack) {
    ProgressSubject subject;
    EXPECT_FALSE(subject.isCanceled());
    subject.cancel();
    EXPECT_TRUE(subject.isCanceled());
    subject.reset();
    EXPECT_FALSE(subject.isCanceled());
}

} // namespace

} // namespace vorlen
