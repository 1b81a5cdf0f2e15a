#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/journal/documentrecorder.h"
#include "editing/journal/journalrecord.h"
#include "editing/journal/journalreplay.h"
#include "numerics/exception.h"
#include "support/fixedkind.h"
#include "support/randomuser.h"

namespace vorlen {

namespace {

/// A document under random edits with undo and redo, and the journal of it.
class Journal : public testing::Test {
protected:
    Journal() : user(stack, 5) {
        makeDocument(stack);
        recorder = std::make_unique<DocumentRecorder>(stack);
        begin();
        QObject::connect(stack.history(), &VRLActionHistory::recorded, [this](VRLActionHistory::Change change) {
            if (change != VRLActionHistory::Change::Clear) // at the end of the stack
                record(change);
        });
    }

    /// A new journal, of the document as it is.
    void begin() {
        base = StackWriter().toText(stack);
        texts.clear();
        journal = JournalFormat::header("", JournalFormat::hash(base));
        checksum = JournalFormat::read(journal).checksums.front();
        append({.delta = recorder->fineState()});
    }

    void record(VRLActionHistory::Change change) {
        JournalRecord record{.description = stack.history()->getUndoDescription(true).toStdString(),
                             .delta = recorder->take()};
        record.kind = change == VRLActionHistory::Change::Undo   ? JournalRecord::Kind::Undo
                      : change == VRLActionHistory::Change::Redo ? JournalRecord::Kind::Redo
                                                                 : JournalRecord::Kind::Step;
        append(record);
    }

    void append(const JournalRecord& record) {
        journal += JournalFormat::frame(record.payload(), checksum);
        texts.push_back(text(stack));
    }

    /// Edits, and in between some steps back and forth again.
    void work(int numRecords) {
        while (static_cast<int>(texts.size()) < numRecords) {
            user.edit();
            if (user.below(8) == 0)
                for (int n = user.below(12); n > 0; --n)
                    stack.history()->undo();
            if (user.below(8) == 0)
                for (int n = user.below(12); n > 0; --n)
                    stack.history()->redo();
        }
    }

    static std::string text(const Stack& document) { return StackWriter().toText(document, "/"); }

    /// The document of the base and the records of a journal, or a part of one; returns the number of records.
    int rebuild(const std::string& bytes, VRLStack& document) const {
        StackReader(fixedKinds()).readText(document, base, "/base.sdf");
        JournalReplay replay(document, fixedKinds());
        const JournalFormat::Contents contents = JournalFormat::read(bytes);
        for (const JournalRecord& each : contents.records)
            replay.carryOut(each);
        return static_cast<int>(contents.records.size());
    }

    VRLStack stack;
    RandomUser user;
    std::unique_ptr<DocumentRecorder> recorder;
    std::string base, journal;
    std::uint64_t checksum = 0;
    std::vector<std::string> texts; // of the document after each record
};

} // namespace

// Wherever a journal breaks off, the document is the one after the last whole record, and all its steps can be undone
// and redone.
TEST_F(Journal, cutAnywhereGivesTheDocumentAfterTheLastWholeRecordAndItsHistory) {
    work(400);
    std::mt19937 random(3);
    for (int i = 0; i < 12; ++i) {
        VRLStack rebuilt;
        const std::size_t length = i == 0 ? journal.size() : 200 + random() % (journal.size() - 200);
        const int numRecords = rebuild(journal.substr(0, length), rebuilt);
        ASSERT_GE(numRecords, i == 0 ? 400 : 0);
        ASSERT_EQ(text(rebuilt), texts[static_cast<std::size_t>(std::max(numRecords - 1, 0))])
            << numRecords << " records";
        for (int round = 0; round < 2; ++round) {
            while (rebuilt.history()->isUndoable())
                rebuilt.history()->undo();
            ASSERT_EQ(text(rebuilt), texts.front()) << numRecords << " records";
            while (rebuilt.history()->isRedoable())
                rebuilt.history()->redo();
        }
    }
    VRLStack rebuilt;
    EXPECT_EQ(rebuild(journal, rebuilt), static_cast<int>(texts.size()));
}

// A journal that begins in the middle of the work knows the steps before it by what undoing them has changed.
TEST_F(Journal, beginsInTheMiddleOfTheWork) {
    for (int round = 0; round < 3; ++round) {
        work(120);
        for (int n = user.below(20); n > 0; --n)
            stack.history()->undo();
        begin();
        for (int n = user.below(60); n > 0; --n)
            stack.history()->undo();
        for (int n = user.below(80); n > 0; --n)
            stack.history()->redo();
        work(120);
        VRLStack rebuilt;
        rebuild(journal, rebuilt);
        ASSERT_EQ(text(rebuilt), texts.back());
    }
}

// Work goes on with a rebuilt document, whose old steps and new ones go back and forth together.
TEST_F(Journal, isGoneOnWithInTheRebuiltDocument) {
    work(300);
    VRLStack rebuilt;
    rebuild(journal, rebuilt);
    RandomUser next(rebuilt, 7);
    for (int i = 0; i < 200; ++i)
        next.edit();
    const std::string last = text(rebuilt);
    for (int round = 0; round < 2; ++round) {
        while (rebuilt.history()->isUndoable())
            rebuilt.history()->undo();
        ASSERT_EQ(text(rebuilt), texts.front());
        while (rebuilt.history()->isRedoable())
            rebuilt.history()->redo();
        ASSERT_EQ(text(rebuilt), last);
    }
}

// Damage ends the journal; what even passes for a record is refused with an error, and the document stays.
TEST_F(Journal, damagedBytesEndItAndHostileOnesAreRefused) {
    work(150);
    std::mt19937 random(9);
    for (int i = 0; i < 300; ++i) {
        std::string bytes = journal;
        const std::size_t at = random() % bytes.size();
        bytes[at] = static_cast<char>(bytes[at] ^ (1 << random() % 8));
        const JournalFormat::Contents contents = JournalFormat::read(bytes);
        EXPECT_LT(contents.records.size(), texts.size());
        EXPECT_TRUE(contents.records.empty() || contents.ends.back() <= at);
    }
    const std::vector<JournalRecord> records = JournalFormat::read(journal).records;
    int numRefused = 0;
    for (int i = 0; i < 1000; ++i) {
        std::string payload = records[1 + random() % (records.size() - 1)].payload();
        for (int n = 1 + static_cast<int>(random() % 3); n > 0; --n)
            payload[random() % payload.size()] = static_cast<char>(random());
        VRLStack document;
        StackReader(fixedKinds()).readText(document, base, "/base.sdf");
        const std::string before = text(document);
        try {
            JournalReplay(document, fixedKinds()).carryOut(JournalRecord::read(payload));
        } catch (const Exception&) {
            ++numRefused;
            EXPECT_EQ(text(document), before);
        }
    }
    EXPECT_GT(numRefused, 300);
}

// The records of an outline in a large document are as long as in a small one.
TEST_F(Journal, costsWhatTheStepCosts) {
    VRLStack large;
    addSlices(large, 400);
    Model& model = addModel(large, "m");
    for (int i = 0; i < 5000; ++i)
        addItem(model, large.getSlice(i % 400), {{0, 0}, {1, 0}, {1, 1}, {i, i}});
    DocumentRecorder watch(large);
    EditStep step(*large.history());
    auto* item = new ModelItem;
    item->setModel(&model);
    item->setSlice(&large.getSlice(7));
    item->setVertices(makeVertices({{0, 0}, {1, 0}, {1, 1}}));
    step.apply(std::make_unique<VRLItemCreationAction>(*item));
    step.apply(std::make_unique<VRLItemDeletionAction>(model.getItem(2500)));
    auto move = std::make_unique<VRLMoveVertexAction>(model.getItem(100));
    move->setIndex(0);
    move->setPoint(point(9, 9));
    step.apply(std::move(move));
    step.commit();
    const JournalRecord record{.kind = JournalRecord::Kind::Step, .delta = watch.take()};
    EXPECT_LT(record.payload().size(), 200u);
    EXPECT_EQ(record.delta.splices.size(), 2u);
    EXPECT_EQ(record.delta.changedItems.size(), 1u);
}

} // namespace vorlen
