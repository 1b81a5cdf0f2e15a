#include "editing/history/vrlactionhistory.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include "editing/history/vrlaction.h"
#include "numerics/exception.h"
#include "support/failures.h"

namespace {

/// Adds its number to a log when it is applied, takes it back with a minus sign, and counts its objects.
class Note : public VRLAction {
public:
    Note(std::vector<int>& log, int number) : __log(log), __number(number) { ++numAlive; }
    ~Note() override { --numAlive; }
    void apply() override {
        VRLAction::apply();
        if (__number < 0)
            throw ValueError("apply", "negative");
        __log.push_back(__number);
    }
    void revert() override {
        VRLAction::revert();
        __log.push_back(-__number);
    }
    QString description(bool) const override { return "note " + QString::number(__number); }
    static int numAlive;

private:
    std::vector<int>& __log;
    int __number;
};

int Note::numAlive = 0;

class VRLActionHistoryTest : public ::testing::Test {
protected:
    ~VRLActionHistoryTest() override {
        history.clear();
        EXPECT_EQ(Note::numAlive, 0);
    }

    void step(std::initializer_list<int> numbers) {
        VRLActionStep open(history);
        for (int number : numbers)
            history.push(new Note(log, number), true);
    }

    std::vector<int> log;
    VRLActionHistory history;
};

} // namespace

TEST_F(VRLActionHistoryTest, stepsAreUndoneAndRedoneAsAWhole) {
    step({1, 2});
    step({3});
    EXPECT_EQ(history.getUndoDescription(false), "note 3");
    history.undo();
    EXPECT_EQ(history.getUndoDescription(false), "note 1");
    EXPECT_EQ(history.getRedoDescription(false), "note 3");
    history.undo();
    history.undo(); // nothing left
    history.redo();
    EXPECT_EQ(log, (std::vector<int>{1, 2, 3, -3, -1, -2, 1, 2}));
    EXPECT_TRUE(history.isUndoable());
    EXPECT_TRUE(history.isRedoable());
}

TEST_F(VRLActionHistoryTest, aNewActionEndsThePossibilityOfRedoing) {
    step({1});
    history.undo();
    EXPECT_EQ(Note::numAlive, 1);
    step({2});
    EXPECT_EQ(Note::numAlive, 1);
    EXPECT_FALSE(history.isRedoable());
    EXPECT_EQ(history.getRedoDescription(false), "(Nothing to redo)");
}

TEST_F(VRLActionHistoryTest, anEmptyStepLeavesNoTrace) {
    step({1});
    history.undo();
    QSignalSpy changes(&history, &VRLActionHistory::changed);
    step({});
    EXPECT_EQ(changes.count(), 0);
    EXPECT_FALSE(history.isUndoable());
    EXPECT_TRUE(history.isRedoable());
    EXPECT_EQ(history.getUndoDescription(false), "(Nothing to undo)");
}

TEST_F(VRLActionHistoryTest, signalsTellWhatIsPossible) {
    QSignalSpy undo(&history, &VRLActionHistory::undoEnabled), redo(&history, &VRLActionHistory::redoEnabled),
        changed(&history, &VRLActionHistory::changed);
    step({1});
    EXPECT_TRUE(undo.last()[0].toBool());
    history.undo();
    EXPECT_FALSE(undo.last()[0].toBool());
    EXPECT_TRUE(redo.last()[0].toBool());
    history.redo();
    EXPECT_FALSE(redo.last()[0].toBool());
    EXPECT_EQ(changed.count(), 3);
    history.clear();
    EXPECT_EQ(changed.count(), 4);
    EXPECT_FALSE(undo.last()[0].toBool());
}

TEST_F(VRLActionHistoryTest, misuseOfStepsIsRefused) {
    expectFailure<UsageError>([&] { history.closeStep(); }, "void VRLActionHistory::closeStep()",
                              "No open step to close");
    expectFailure<UsageError>([&] { history.push(new Note(log, 1)); },
                              "void VRLActionHistory::push(VRLAction*, const bool)",
                              "No step was open prior to action insertion");
    EXPECT_EQ(Note::numAlive, 0);
    history.openStep();
    expectFailure<UsageError>([&] { history.openStep(); }, "void VRLActionHistory::openStep()",
                              "A step is already open");
    history.closeStep();
    EXPECT_FALSE(history.isUndoable());
}

TEST_F(VRLActionHistoryTest, anActionThatFailsIsNotRecorded) {
    EXPECT_THROW(step({1, -5}), ValueError);
    EXPECT_FALSE(history.isStepOpen());
    EXPECT_EQ(Note::numAlive, 1);
    history.undo();
    EXPECT_EQ(log, (std::vector<int>{1, -1}));
}
