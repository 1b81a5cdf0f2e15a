#include "editing/journal/stackjournal.h"

#include <algorithm>
#include <utility>

#include <fcntl.h>

#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/journal/journalgenerations.h"
#include "editing/journal/journalrecord.h"
#include "editing/journal/journalreplay.h"
#include "editing/journal/journalwriter.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// Carries the records out up to the one of this number in this generation.
void replay(VRLStack& stack, JournalGenerations& generations, const std::vector<ImageSourceKind>& kinds,
            std::size_t lastGeneration, std::size_t lastRecord, StackJournal::Rebuilt& rebuilt,
            ProgressMonitor* monitor = nullptr) {
    const auto& all = generations.all();
    const std::string& name = all.front().journal.baseName;
    StackReader reader(kinds);
    if (monitor != nullptr)
        reader.addMonitor(*monitor);
    reader.readText(stack, generations.takeBase(), name.empty() ? "/" : name);
    rebuilt.hasProblems = !reader.getLog().empty() || !reader.isWhole();
    JournalReplay journal(stack, kinds);
    rebuilt.good = rebuilt.complete = true;
    if (!name.empty())
        rebuilt.fileHash = all.front().journal.baseHash;
    for (std::size_t g = 0; g <= lastGeneration; ++g) {
        const std::size_t numRecords = g < lastGeneration ? all[g].numRecords : lastRecord;
        for (std::size_t i = 0; i < numRecords; ++i) {
            try {
                if (generations.isCarriedOut(g, i))
                    journal.carryOut(all[g].journal.records[i]);
            } catch (const Exception&) { // what was done before stands
                rebuilt.complete = false;
                rebuilt.place = generations.placeBehind(g, i);
                return;
            }
            rebuilt.numRecords += isStep(all[g].journal.records[i]);
            if (!all[g].journal.records[i].hash.empty())
                rebuilt.fileHash = all[g].journal.records[i].hash;
        }
    }
    rebuilt.place = generations.placeBehind(lastGeneration, lastRecord);
}

/// What a child of the stack says of where it comes from. Said once.
std::optional<JournalPlace> takeOrigin(VRLStack& stack, bool& atOnce) {
    std::optional<JournalPlace> place;
    const QObjectList children = stack.children(); // NOLINT(performance-unnecessary-copy-initialization): it changes
    for (QObject* child : children)
        if (const auto* origin = dynamic_cast<JournalOrigin*>(child)) {
            place = origin->place();
            atOnce = origin->isTakenOverAtOnce();
            delete child;
        }
    return place;
}

} // namespace

StackJournal::StackJournal(VRLStack& stack, std::function<std::string()> folder, QThreadPool& writers,
                           std::function<void(const QString&)> tellProblem)
    : __stack(stack), __findFolder(std::move(folder)), __writers(writers), __tellProblem(std::move(tellProblem)) {
    __recorder.emplace(stack);
    bool atOnce = false;
    __origin = takeOrigin(stack, atOnce);
    if (__origin) {
        __numRecords = __origin->numRecords;
        __saved = __origin->saved;
    } else if (!stack.getFilename().empty() && !stack.isModified()) {
        __file = stack.getFilename();
    } else if (stack.getNumSlices() + stack.getNumModels() > 0) {
        try {
            __baseText = StackWriter().toText(stack);
            __baseState = JournalRecord{.delta = __recorder->fineState()}.payload();
        } catch (const Exception&) { // of a slice without an image: the steps are kept once it has one
        }
    }
    connect(stack.history(), &VRLActionHistory::recorded, this, &StackJournal::record);
    connect(&stack, &VRLStack::written, this, &StackJournal::recordSave);
    __flushTimer.setSingleShot(true);
    connect(&__flushTimer, &QTimer::timeout, this, &StackJournal::flush);
    if (atOnce)
        guarded([this] {
            if (findFolder() && begin())
                flush();
        });
}

StackJournal::~StackJournal() {
    flush();
}

void StackJournal::guarded(const std::function<void()>& work) {
    try {
        work();
    } catch (const Exception& failure) {
        __lost = true;
        __tellProblem("Steps can't be kept against a crash: " + QString::fromStdString(failure.getWhat()) + ".");
    } catch (const std::exception& failure) {
        __lost = true;
        __tellProblem(QString("Steps can't be kept against a crash: ") + failure.what() + ".");
    }
}

bool StackJournal::isSound() const {
    return __writer != nullptr && !__writer->isLost() && !__lost && !__recorder->isLost();
}

bool StackJournal::findFolder() {
    if (__folder.empty())
        __folder = __findFolder();
    return !__folder.empty();
}

void StackJournal::record(VRLActionHistory::Change change) {
    guarded([this, change] {
        if (change == VRLActionHistory::Change::Clear)
            return forget();
        ++__numRecords;
        if (!findFolder())
            return;
        if (__lost || __recorder->isLost())
            return beginAsItIs(false);
        JournalRecord record;
        record.delta = __recorder->take();
        if (!begin())
            return beginAsItIs(false);
        using Kind = JournalRecord::Kind;
        record.kind = change == VRLActionHistory::Change::Undo   ? Kind::Undo
                      : change == VRLActionHistory::Change::Redo ? Kind::Redo
                                                                 : Kind::Step;
        if (record.kind == Kind::Step)
            record.description = __stack.history()->getUndoDescription(true).toStdString();
        append(record.payload());
        if (__former == nullptr && __writer->size() > std::max(__bound, __writer->baseSize()))
            beginAsItIs(true);
    });
}

/// What was done is not to be found any more.
void StackJournal::forget() {
    __origin.reset();
    __saved = false;
    if (__writer != nullptr) {
        beginAsItIs(false);
        if (!__stack.isModified())
            recordSave();
    } else if (__file.empty() && !__stack.isModified()) {
        __file = __stack.getFilename();
    }
}

/// Makes the writer of the first generation, if there is none; false when the document has to be written as it is.
bool StackJournal::begin() {
    if (__writer != nullptr)
        return !__writer->isLost();
    JournalWriter::Base base;
    int generation = 1;
    if (__origin) {
        generation = __origin->last;
        base.origin = std::exchange(__origin, {});
    } else if (!__file.empty() && !__stack.fileGuard().isChanged(__file)) {
        base.name = __file;
        base.descriptor = ::open(__file.c_str(), O_RDONLY | O_CLOEXEC);
        if (base.descriptor < 0)
            return false;
    } else if (!__baseText.empty()) {
        base.text = std::exchange(__baseText, {});
    } else {
        return false;
    }
    __generation = generation;
    __writer = std::make_shared<JournalWriter>(__folder, generation, 0, std::move(base));
    if (!__baseState.empty())
        append(std::exchange(__baseState, {}));
    return true;
}

/// A generation with the stack as it is now. One that follows on the one before closes it; otherwise it stands alone,
/// and what was before goes.
void StackJournal::beginAsItIs(bool follows) {
    if (__lost || __recorder->isLost() || !follows)
        __recorder.emplace(__stack);
    JournalWriter::Base base;
    base.text = StackWriter().toText(__stack);
    const std::string state = JournalRecord{.delta = __recorder->fineState()}.payload();
    if (follows)
        append(JournalRecord{.kind = JournalRecord::Kind::Closed}.payload());
    __generation += follows ? 1 : 2; // after a gap in the numbers it does not follow
    __former = follows ? __writer : nullptr;
    __writer = std::make_shared<JournalWriter>(__folder, __generation, follows ? __generation - 1 : __generation,
                                               std::move(base));
    __lost = false;
    __origin.reset();
    write(__writer, state);
}

void StackJournal::recordSave() {
    guarded([this] {
        if (__writer == nullptr && !__origin)
            return;
        if (!findFolder() || __lost || !begin())
            return;
        // What has changed about the stack without a step.
        if (DocumentDelta delta = __recorder->take(); !delta.isEmpty())
            append(JournalRecord{.kind = JournalRecord::Kind::State, .delta = std::move(delta)}.payload());
        __saved = true;
        for (const auto& writer : {__former, __writer})
            if (writer != nullptr) {
                const int descriptor = ::open(__stack.getFilename().c_str(), O_RDONLY | O_CLOEXEC);
                if (descriptor >= 0)
                    writer->putSaveInLine(descriptor);
            }
        flush();
        __flushTimer.start(1000);
    });
}

/// As long as the base of a following generation is not on the disk, the one before goes on as well.
void StackJournal::append(const std::string& payload) {
    if (__former != nullptr && __writer->hasBegun() && !__writer->isWaiting())
        __former.reset();
    if (__former != nullptr)
        write(__former, payload);
    write(__writer, payload);
}

/// At once where that does not mean to wait.
void StackJournal::write(const std::shared_ptr<JournalWriter>& writer, const std::string& payload) {
    writer->putInLine(payload);
    if (!__flushesAtOnce)
        if (const auto problem = writer->write(false))
            __tellProblem(*problem);
    if (__flushesAtOnce || writer->isWaiting())
        work(writer, __flushesAtOnce);
    if (!__flushTimer.isActive())
        __flushTimer.start(1000);
}

/// On the thread that can wait.
void StackJournal::work(const std::shared_ptr<JournalWriter>& writer, bool flushes) {
    __writers.start([writer, tell = __tellProblem, flushes] {
        try {
            const QString problem = *writer->write(true);
            tell(flushes && problem.isEmpty() ? writer->flush() : problem);
        } catch (const std::exception&) { // of a lack of memory; what is in line is tried again
        }
    });
}

/// And tries again what could not be written.
void StackJournal::flush() {
    for (const auto& writer : {__former, __writer})
        if (writer != nullptr) {
            if (writer->isWaiting())
                __flushTimer.start(5000);
            work(writer, true);
        }
}

StackJournal::Rebuilt StackJournal::rebuild(VRLStack& stack, const std::string& folder,
                                            const std::vector<ImageSourceKind>& kinds) {
    Rebuilt rebuilt;
    JournalGenerations generations(folder);
    rebuilt.unreadable = generations.isUnreadable();
    rebuilt.damaged = generations.isDamaged();
    if (generations.all().empty() || rebuilt.unreadable)
        return rebuilt;
    replay(stack, generations, kinds, generations.all().size() - 1, generations.all().back().numRecords, rebuilt);
    return rebuilt;
}

StackJournal::Rebuilt StackJournal::rebuildSaved(VRLStack& stack, JournalGenerations& generations,
                                                 const std::vector<ImageSourceKind>& kinds, const std::string& hash,
                                                 ProgressMonitor* monitor) {
    Rebuilt rebuilt;
    rebuilt.unreadable = generations.isUnreadable();
    if (rebuilt.unreadable)
        return rebuilt;
    for (std::size_t g = generations.all().size(); g > 0; --g)
        for (std::size_t i = generations.all()[g - 1].numRecords; i > 0; --i) {
            const JournalRecord& record = generations.all()[g - 1].journal.records[i - 1];
            if (record.kind == JournalRecord::Kind::Saved && record.hash == hash) {
                replay(stack, generations, kinds, g - 1, i, rebuilt, monitor);
                return rebuilt;
            }
        }
    return rebuilt;
}

bool StackJournal::hasUnsavedSteps(const std::string& folder) {
    bool unsaved = false;
    const JournalGenerations generations(folder);
    for (const auto& generation : generations.all())
        for (std::size_t i = 0; i < generation.numRecords; ++i) {
            const JournalRecord& record = generation.journal.records[i];
            unsaved = isStep(record) || (unsaved && record.kind != JournalRecord::Kind::Saved);
        }
    return unsaved || generations.isUnreadable();
}

bool StackJournal::hasSave(const std::string& folder) {
    const JournalGenerations generations(folder);
    for (const auto& generation : generations.all())
        for (std::size_t i = 0; i < generation.numRecords; ++i)
            if (generation.journal.records[i].kind == JournalRecord::Kind::Saved)
                return true;
    return false;
}

} // namespace vorlen
