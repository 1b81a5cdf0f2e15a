#include "progress/progressproxy.h"

#include <gtest/gtest.h>

#include "support/recordingmonitor.h"

namespace vorlen {

namespace {

TEST(ProgressProxy, relaysEverythingUnderItsOwnName) {
    ProgressSubject work;
    ProgressProxy proxy;
    RecordingMonitor monitor;
    work.addMonitor(proxy);
    proxy.addMonitor(monitor);
    work.notifyStarted("a");
    work.notifyProgressed(1, 2);
    work.notifyProgressed("b");
    work.notifyCanceled("c");
    work.notifyFinished("d");
    EXPECT_EQ(monitor.heard, (std::vector<std::string>{"started a", "1/2", "text b", "canceled c", "finished d"}));
    EXPECT_EQ(monitor.subjects, std::vector<ProgressSubject*>(5, static_cast<ProgressSubject*>(&proxy)));
}

TEST(ProgressProxy, cancelReachesTheSubjectThatSpeaks) {
    class Canceler : public ProgressMonitor {
    public:
        using ProgressMonitor::subjectProgressed;
        void subjectProgressed(unsigned int, unsigned int) override { currentSubject()->cancel(); }
    };
    ProgressSubject work, idle;
    ProgressProxy proxy;
    Canceler canceler;
    work.addMonitor(proxy);
    idle.addMonitor(proxy);
    proxy.addMonitor(canceler);
    work.notifyProgressed(1, 2);
    EXPECT_TRUE(work.isCanceled());
    EXPECT_TRUE(proxy.isCanceled());
    EXPECT_FALSE(idle.isCanceled());
}

TEST(ProgressProxy, cancelBetweenCallsSetsOnlyItsOwnFlag) {
    ProgressSubject work;
    ProgressProxy proxy;
    work.addMonitor(proxy);
    work.notifyStarted("");
    proxy.cancel();
    EXPECT_TRUE(proxy.isCanceled());
    EXPECT_FALSE(work.isCanceled());
}

TEST(ProgressProxy, isOneSubjectWithAnotherVirtualBaseOfItsClass) {
    class Processing : public virtual ProgressSubject {};
    class Work : public Processing, public ProgressProxy {};
    Work work;
    RecordingMonitor monitor;
    static_cast<Processing&>(work).addMonitor(monitor);
    static_cast<ProgressProxy&>(work).notifyStarted("x");
    EXPECT_EQ(monitor.heard, std::vector<std::string>{"started x"});
}

} // namespace

} // namespace vorlen
