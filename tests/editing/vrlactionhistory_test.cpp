#include "editing/history/vrlactionhistory.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include "editing/bus/vrleventclient.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlaction.h"
#include "numerics/exception.h"
#include "support/failures.h"

namespace vorlen {

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
        EditStep open(history);
        for (int number : numbers)
            open.apply(std::make_unique<Note>(log, number));
        open.commit();
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

// At each place of a step: what was done before is taken back in reverse order, and the history is as it was.
TEST_F(VRLActionHistoryTest, anActionThatFailsTakesItsStepBack) {
    step({7});
    step({8});
    history.undo();
    for (const auto& [numbers, expected] : std::vector<std::pair<std::vector<int>, std::vector<int>>>{
             {{-5, 1, 2}, {}}, {{1, -5, 2}, {1, -1}}, {{1, 2, -5}, {1, 2, -2, -1}}}) {
        log.clear();
        EXPECT_THROW(
            {
                EditStep open(history);
                for (const int number : numbers)
                    open.apply(std::make_unique<Note>(log, number));
            },
            ValueError);
        EXPECT_EQ(log, expected);
        EXPECT_FALSE(history.isStepOpen());
        EXPECT_EQ(Note::numAlive, 2);
        EXPECT_EQ(history.getUndoDescription(false), "note 7");
        EXPECT_EQ(history.getRedoDescription(false), "note 8");
    }
}

TEST_F(VRLActionHistoryTest, aStepWithoutCommitLeavesNothingBehind) {
    step({8});
    history.undo();
    log.clear();
    QSignalSpy changes(&history, &VRLActionHistory::changed);
    {
        EditStep open(history);
        open.apply(std::make_unique<Note>(log, 1));
        open.record(std::make_unique<Note>(log, 2));
        EXPECT_EQ(open.getNumActions(), 2);
    }
    EXPECT_EQ(log, (std::vector<int>{1, -2, -1}));
    EXPECT_EQ(changes.count(), 0);
    EXPECT_FALSE(history.isStepOpen());
    EXPECT_FALSE(history.isUndoable());
    EXPECT_EQ(history.getRedoDescription(false), "note 8");
}

// A stack may be closed while a long step of it is open.
TEST_F(VRLActionHistoryTest, aStepWhoseHistoryGoesDoesNothingMore) {
    auto mortal = std::make_unique<VRLActionHistory>();
    EditStep orphan(*mortal);
    orphan.apply(std::make_unique<Note>(log, 1));
    mortal.reset();
    orphan.apply(std::make_unique<Note>(log, 2));
    orphan.commit();
    EditStep stale(history);
    history.clear();
    EditStep next(history);
    stale.apply(std::make_unique<Note>(log, 3));
    stale.commit();
    EXPECT_TRUE(history.isStepOpen());
    EXPECT_EQ(next.getNumActions(), 0);
    EXPECT_EQ(log, (std::vector<int>{1}));
}

namespace {

/// Tells of itself on the bus, as the actions of documents do.
class Announced : public Note {
public:
    using Note::Note;
    void apply() override {
        Note::apply();
        tell();
    }
    void revert() override {
        Note::revert();
        tell();
    }

private:
    static void tell() {
        VRLStackNameEvent event(nullptr);
        VRLEventServer::notifyEvent(event);
    }
};

/// Counts what it hears; throws at one of the events, counted from 0, and at all behind it if it is told so.
class Listener : public VRLEventClient {
public:
    explicit Listener(int failing = -1, bool forGood = false) : __failing(failing), __forGood(forGood) {}
    void stackNameEvent(VRLStackNameEvent&) override {
        const int number = numHeard++;
        if (__failing >= 0 && (number == __failing || (__forGood && number > __failing)))
            throw ValueError("stackNameEvent", "broken listener");
    }
    int numHeard = 0;

private:
    int __failing;
    bool __forGood;
};

} // namespace

TEST_F(VRLActionHistoryTest, aListenerThatFailsTakesTheStepBackAndAllOthersHearOfIt) {
    for (const bool forGood : {false, true})
        for (int failing = 0; failing < 3; ++failing) {
            log.clear();
            Listener broken(failing, forGood), sound;
            EXPECT_THROW(
                {
                    EditStep open(history);
                    for (int number = 1; number <= 3; ++number)
                        open.apply(std::make_unique<Announced>(log, number));
                    open.commit();
                },
                ValueError);
            std::vector<int> expected;
            for (int number = 1; number <= failing + 1; ++number)
                expected.push_back(number);
            for (int number = failing + 1; number >= 1; --number)
                expected.push_back(-number);
            EXPECT_EQ(log, expected);
            EXPECT_EQ(sound.numHeard, 2 * (failing + 1));
            EXPECT_EQ(Note::numAlive, 0);
            EXPECT_FALSE(history.isUndoable());
        }
}

TEST_F(VRLActionHistoryTest, aListenerThatFailsDoesNotSplitAnUndo) {
    {
        EditStep open(history);
        open.apply(std::make_unique<Announced>(log, 1));
        open.apply(std::make_unique<Announced>(log, 2));
        open.commit();
    }
    const Listener broken(0);
    EXPECT_THROW(history.undo(), ValueError);
    EXPECT_EQ(log, (std::vector<int>{1, 2, -1, -2}));
    EXPECT_FALSE(history.isUndoable());
    history.redo();
    EXPECT_TRUE(history.isUndoable());
}

} // namespace vorlen
