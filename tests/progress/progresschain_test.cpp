#include "progress/progresschain.h"

#include <gtest/gtest.h>

#include "support/recordingmonitor.h"

namespace vorlen {

namespace {

using Texts = std::vector<std::string>;

class ProgressChainTest : public testing::Test {
protected:
    ProgressChainTest() {
        chain.addSubject(first);
        chain.addSubject(second);
        chain.addSubject(third);
        chain.addMonitor(monitor);
    }

    ProgressSubject first, second, third;
    ProgressChain chain;
    RecordingMonitor monitor;
};

TEST_F(ProgressChainTest, startsWithTheFirstAndFinishesWithTheLast) {
    for (ProgressSubject* subject : {&first, &second, &third}) {
        subject->notifyStarted("s");
        subject->notifyFinished("f");
    }
    EXPECT_EQ(monitor.heard, (Texts{"started s", "finished f"}));
}

TEST_F(ProgressChainTest, roundsTheShareAndThePlaceDownEachForItself) {
    second.notifyProgressed(1, 2); // 100/6 + 100/3 = 16 + 33
    third.notifyProgressed(2, 2);  // 200/6 + 200/3 = 33 + 66
    first.notifyProgressed(0, 5);
    EXPECT_EQ(monitor.heard, (Texts{"49/100", "99/100", "0/100"}));
}

TEST_F(ProgressChainTest, countsBeyondThe32BitsOfCurrentTimes100) {
    first.notifyProgressed(3000000000u, 4000000000u); // 75 / 3
    EXPECT_EQ(monitor.heard, Texts{"25/100"});
}

TEST_F(ProgressChainTest, aTotalOfZeroIsNoProgress) {
    second.notifyProgressed(5, 0);
    EXPECT_EQ(monitor.heard, Texts{"33/100"});
}

TEST_F(ProgressChainTest, passesTextsAndCancellationsOnFromAnySubject) {
    second.notifyProgressed("half way");
    third.notifyCanceled("stopped");
    EXPECT_EQ(monitor.heard, (Texts{"text half way", "canceled stopped"}));
}

TEST_F(ProgressChainTest, aRemovedSubjectIsHeardNoMoreAndTheOthersMoveUp) {
    chain.removeSubject(first);
    first.notifyStarted("gone");
    second.notifyStarted("now first");
    third.notifyProgressed(1, 2); // 100/4 + 100/2
    EXPECT_EQ(monitor.heard, (Texts{"started now first", "75/100"}));
    ProgressSubject stranger;
    chain.removeSubject(stranger);
    third.notifyFinished("end");
    EXPECT_EQ(monitor.heard.back(), "finished end");
}

TEST_F(ProgressChainTest, anEmptiedChainDropsTheProgressOfItsFormerSubjects) {
    chain.clear();
    second.notifyStarted("");
    second.notifyProgressed(1, 2);
    second.notifyFinished("");
    EXPECT_TRUE(monitor.heard.empty());
    second.notifyProgressed("text");
    EXPECT_EQ(monitor.heard, Texts{"text text"});
}

TEST_F(ProgressChainTest, cancelGoesToTheSubjectThatSpeaksOnly) {
    class Canceler : public ProgressMonitor {
    public:
        using ProgressMonitor::subjectStarted;
        void subjectStarted(const std::string&) override { currentSubject()->cancel(); }
    } canceler;
    chain.cancel();
    EXPECT_FALSE(chain.isCanceled());
    chain.addMonitor(canceler);
    first.notifyStarted("");
    EXPECT_TRUE(first.isCanceled());
    EXPECT_FALSE(second.isCanceled());
    EXPECT_FALSE(chain.isCanceled());
}

} // namespace

} // namespace vorlen
