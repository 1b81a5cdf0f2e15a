#include "faults/faults.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>

#include <QCoreApplication>
#include <QThreadPool>

#include <gtest/gtest.h>

#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/actions/vrlmovevertexaction.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/journal/journalplace.h"
#include "editing/journal/stackjournal.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "files/filebackups.h"
#include "images/files/imagesourcefilemosaic.h"
#include "images/files/imagesourcekinds.h"
#include "numerics/exception.h"
#include "reconstruction/modelmorphometry.h"
#include "support/documentmaker.h"
#include "support/temporaryfolder.h"
#include "ui/session/vrlrecovery.h"

namespace vorlen {

namespace {

using faults::Call;

constexpr int maxNumBackups = 3;

/// A document on disk, "d.sdf", with two backups.
class Faults : public ::testing::Test {
protected:
    Faults() {
        Stack stack;
        stack.setName("old");
        stack.setDefaultRelativePosition(2);
        for (int i = 0; i < 3; ++i) {
            auto* slice = new StackSlice;
            slice->setName("s" + std::to_string(i));
            slice->setImageSource(ImageSourceFileMosaic(1, 1));
            stack.addSlice(slice);
            slice->setRelativePosition(2);
        }
        Model& model = addModel(stack, "m");
        for (int i = 0; i < 3; ++i)
            addItem(model, stack.getSlice(i), {{0, 0}, {30, 0}, {30, 20 + i}, {0, 20}});
        before = {{"d.sdf", StackWriter().toText(stack, folder.path())}, {"d.sdf~1", "one"}, {"d.sdf~2", "two"}};
        restore();
    }

    void restore() const {
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            std::filesystem::remove_all(entry);
        for (const auto& [name, text] : before)
            folder.write(name, text);
    }

    std::string documentName() const { return folder.file("d.sdf"); }

    void open(VRLStack& stack) const {
        stack.fileGuard().note(documentName());
        StackReader reader;
        if (!reader.read(stack, documentName()) || !reader.isWhole())
            throw FileReadError("open", "not read", documentName());
        stack.setFilename(documentName());
        stack.updateReconstruction();
    }

    /// What somebody does with a stack: opens it, outlines, thinks again, measures.
    void work(VRLStack& stack) const {
        open(stack);
        edit(stack);
        stack.history()->undo();
        stack.history()->redo();
        stack.updateReconstruction();
        ModelMorphometry morphometry;
        morphometry.setModel(stack.getModel(0));
        morphometry.run();
        stack.setName("new");
        stack.setModified(true);
    }

    /// A step of two actions.
    static void edit(VRLStack& stack) {
        EditStep step(*stack.history());
        auto item = std::make_unique<ModelItem>();
        item->setModel(&stack.getModel(0));
        item->setSlice(&stack.getSlice(1));
        item->setVertices(makeVertices({{50, 50}, {60, 50}, {60, 60}}));
        auto creation = std::make_unique<VRLItemCreationAction>(*item);
        item.release();
        step.apply(std::move(creation));
        auto move = std::make_unique<VRLMoveVertexAction>(stack.getModel(0).getItem(0));
        move->setIndex(0);
        move->setPoint(point(2, 3));
        step.apply(std::move(move));
        step.commit();
    }

    /// Whether the save was said to be good.
    bool save(VRLStack& stack) const {
        try {
            FileBackups backups(documentName(), maxNumBackups);
            backups.setAside();
            if (!StackWriter().write(stack, documentName()))
                return false;
            backups.rotate();
            stack.noteWritten(documentName());
            return true;
        } catch (const Exception&) {
            return false;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    /// Neither the document nor a backup is damaged or lost, whatever was said of the save.
    void expectNothingLost(bool saved, const std::string& after) const {
        const std::string document = folder.read("d.sdf");
        const std::string& old = before.at("d.sdf");
        // Memory may end behind the save: what was there is the newest backup then.
        EXPECT_TRUE(document == after || (!saved && document == old)) << document;
        std::multiset<std::string> kept;
        for (int i = 1; i <= maxNumBackups; ++i)
            if (std::filesystem::exists(folder.file("d.sdf~" + std::to_string(i))))
                kept.insert(folder.read("d.sdf~" + std::to_string(i)));
        EXPECT_TRUE(kept.contains("one") && kept.contains("two"));
        EXPECT_TRUE(saved || document == old || kept.contains(old));
        for (const std::string& text : kept)
            EXPECT_TRUE(text == "one" || text == "two" || text == before.at("d.sdf")) << text;
    }

    TemporaryFolder folder;
    std::map<std::string, std::string> before;
};

/// Lets each call of a kind fail in turn in the work, and checks after each, until there are no more of them; the
/// number of those.
int failInTurn(Call call, int error, const std::function<void()>& work, const std::function<void()>& check) {
    int n = 0;
    bool hit = true;
    while (hit && !::testing::Test::HasFailure()) {
        SCOPED_TRACE("call " + std::to_string(int(call)) + ", error " + std::to_string(error) + ", number " +
                     std::to_string(n));
        faults::arm(call, ++n, error);
        work();
        hit = faults::disarm();
        check();
    }
    return n - 1;
}

} // namespace

TEST_F(Faults, noLackOfMemoryDamagesAnything) {
    VRLStack pattern;
    work(pattern);
    const std::string after = StackWriter().toText(pattern, folder.path());
    bool saved = false;
    const int numAllocations = failInTurn(
        Call::Allocation, ENOMEM,
        [&] {
            saved = false;
            try {
                VRLStack stack;
                work(stack);
                saved = save(stack);
            } catch (const Exception&) {
            } catch (const std::bad_alloc&) {
            }
        },
        [&] {
            expectNothingLost(saved, after);
            restore();
        });
    EXPECT_GT(numAllocations, 200);
}

TEST_F(Faults, noFailingCallDamagesTheDocumentOrItsBackups) {
    VRLStack stack;
    work(stack);
    const std::string after = StackWriter().toText(stack, folder.path());
    int numCalls = 0;
    for (const Call call : {Call::Open, Call::Write, Call::Fsync, Call::Rename, Call::Close, Call::Truncate})
        for (const int error : {EIO, ENOSPC, EDQUOT, 0}) {
            if (error == 0 && call != Call::Write)
                continue;
            bool saved = false;
            numCalls += failInTurn(
                call, error,
                [&] {
                    stack.setModified(true);
                    saved = save(stack);
                },
                [&] {
                    expectNothingLost(saved, after);
                    EXPECT_EQ(stack.isModified(), !saved);
                    restore();
                });
        }
    EXPECT_GT(numCalls, 20);
}

// An item is on both of its lists or on none, and a document goes away whatever the memory.
TEST_F(Faults, listsOfItemsStandWhenMemoryEnds) {
    std::unique_ptr<Stack> stack;
    ModelItem* item = nullptr;
    std::unique_ptr<ModelItem> kept;
    bool attached = false;
    const auto make = [&] {
        faults::pause();
        stack = std::make_unique<Stack>();
        addSlices(*stack, 2);
        Model& model = addModel(*stack, "m");
        for (int i = 0; i < 4; ++i)
            addItem(model, stack->getSlice(0), {{0, 0}, {3, 0}, {3, 3}});
        kept = std::make_unique<ModelItem>();
        item = kept.get();
        item->setModel(&model);
        item->setSlice(&stack->getSlice(0));
        faults::resume();
    };
    const int numAllocations = failInTurn(
        Call::Allocation, ENOMEM,
        [&] {
            make();
            attached = false;
            try {
                item->attach();
                static_cast<void>(kept.release());
                attached = true;
            } catch (const std::bad_alloc&) {
            }
        },
        [&] {
            const int number = attached ? 5 : 4;
            EXPECT_EQ(stack->getModel(0).getNumItems(), number);
            EXPECT_EQ(stack->getSlice(0).getNumItems(), number);
        });
    EXPECT_GT(numAllocations, 0);
    failInTurn(
        Call::Allocation, ENOMEM,
        [&] {
            make();
            EXPECT_NO_THROW(stack->clear());
        },
        [&] {
            EXPECT_EQ(stack->getNumSlices(), 0);
            EXPECT_EQ(stack->getNumModels(), 0);
        });
}

// Network shares refuse to change a mode; what counts is that nobody may do more than before.
TEST_F(Faults, aModeThatCannotBeChangedKeepsNoSaveFromBeingDone) {
    VRLStack stack;
    work(stack);
    const std::string after = StackWriter().toText(stack, folder.path());
    for (int times = 0; times < 3; ++times) {
        stack.setModified(true);
        faults::arm(Call::Chmod, 1, EPERM);
        EXPECT_TRUE(save(stack));
        EXPECT_TRUE(faults::disarm());
        EXPECT_EQ(folder.read("d.sdf"), after);
    }
}

namespace {

/// A stack that is open with a journal, and what the journal says of itself.
struct Journaled {
    explicit Journaled(std::string where) : folder(std::move(where)) { writers.setMaxThreadCount(1); }

    void keep() {
        journal = std::make_unique<StackJournal>(
            stack, [this] { return folder; }, writers,
            [this](const QString& problem) {
                const std::lock_guard lock(mutex);
                last = problem;
                told = told || !problem.isEmpty();
            });
    }

    void wait() { writers.waitForDone(); }

    /// Whether the journal gives the document as it is.
    bool isKept() const {
        VRLStack rebuilt;
        const StackJournal::Rebuilt result = StackJournal::rebuild(rebuilt, folder, imageSourceKinds());
        return result.good && result.complete && !result.damaged &&
               StackWriter().toText(rebuilt) == StackWriter().toText(stack);
    }

    std::string folder;
    QThreadPool writers;
    VRLStack stack;
    std::mutex mutex;
    QString last;
    bool told = false;
    std::unique_ptr<StackJournal> journal;
};

} // namespace

// Each call in turn, from the first step to a new generation: what is not kept is told, and kept with the next step.
TEST_F(Faults, aJournalIsWholeOrItsLackIsTold) {
    int argc = 0;
    const QCoreApplication application(argc, nullptr);
    int numCalls = 0, numTold = 0;
    for (const Call call :
         {Call::Open, Call::Read, Call::Write, Call::Fsync, Call::Rename, Call::Close, Call::Truncate})
        for (const int error : {EIO, ENOSPC, EDQUOT, 0}) {
            if (error == 0 && call != Call::Write && call != Call::Read)
                continue;
            std::unique_ptr<Journaled> day;
            numCalls += failInTurn(
                call, error,
                [&] {
                    faults::pause();
                    day = std::make_unique<Journaled>(folder.file("journal"));
                    open(day->stack);
                    faults::resume();
                    day->keep();
                    day->journal->setBound(300);
                    day->journal->setFlushesAtOnce(true);
                    for (int i = 0; i < 3; ++i)
                        edit(day->stack);
                    day->stack.history()->undo();
                    day->wait();
                },
                [&] {
                    EXPECT_TRUE(day->told || day->isKept());
                    numTold += day->told;
                    edit(day->stack);
                    day->wait();
                    edit(day->stack);
                    day->wait();
                    EXPECT_TRUE(day->isKept());
                    EXPECT_EQ(day->last, "");
                    // The document and its backups have no part in it.
                    expectNothingLost(false, before.at("d.sdf"));
                    day.reset();
                    restore();
                });
        }
    EXPECT_GT(numCalls, 60);
    EXPECT_GT(numTold, 20);
}

// What was kept is there as a whole, or said to be unreadable; a step behind it is never lost without a word.
TEST_F(Faults, aJournalThatCannotBeReadIsNeverTakenForAShortOne) {
    int argc = 0;
    const QCoreApplication application(argc, nullptr);
    Journaled day(folder.file("journal"));
    open(day.stack);
    day.keep();
    day.journal->setBound(300);
    for (int i = 0; i < 4; ++i)
        edit(day.stack);
    day.wait();
    const std::string last = StackWriter().toText(day.stack);
    for (const Call call : {Call::Open, Call::Read})
        for (const int error : {EIO, 0}) {
            std::unique_ptr<VRLStack> rebuilt;
            StackJournal::Rebuilt result;
            bool unsaved = false;
            const int numCalls = failInTurn(
                call, error,
                [&] {
                    rebuilt = std::make_unique<VRLStack>();
                    unsaved = StackJournal::hasUnsavedSteps(day.folder);
                    result = StackJournal::rebuild(*rebuilt, day.folder, imageSourceKinds());
                },
                [&] {
                    EXPECT_TRUE(unsaved);
                    EXPECT_TRUE(result.unreadable || result.good);
                    if (result.good) {
                        EXPECT_EQ(StackWriter().toText(*rebuilt), last);
                    }
                });
            EXPECT_TRUE(numCalls > 2 || (call == Call::Open && error == 0));
        }
}

// A recovered stack takes its journal over, link by link, or begins one of its own.
TEST_F(Faults, aJournalThatIsTakenOverIsWholeOrItsLackIsTold) {
    int argc = 0;
    const QCoreApplication application(argc, nullptr);
    {
        Journaled day(folder.file("old"));
        open(day.stack);
        day.keep();
        for (int i = 0; i < 3; ++i)
            edit(day.stack);
        day.wait();
    }
    for (const Call call : {Call::Open, Call::Read, Call::Write, Call::Fsync, Call::Rename, Call::Close, Call::Link})
        for (const int error : {EIO, ENOSPC}) {
            std::unique_ptr<Journaled> day;
            failInTurn(
                call, error,
                [&] {
                    faults::pause();
                    day = std::make_unique<Journaled>(folder.file("journal"));
                    const StackJournal::Rebuilt rebuilt =
                        StackJournal::rebuild(day->stack, folder.file("old"), imageSourceKinds());
                    ASSERT_TRUE(rebuilt.good);
                    day->stack.setModified(true);
                    new JournalOrigin(rebuilt.place, true, &day->stack); // goes with the stack
                    faults::resume();
                    day->keep();
                    edit(day->stack);
                    day->wait();
                },
                [&] {
                    EXPECT_TRUE(day->told || day->isKept());
                    edit(day->stack);
                    day->wait();
                    edit(day->stack);
                    day->wait();
                    EXPECT_TRUE(day->isKept());
                    VRLStack old;
                    EXPECT_EQ(StackJournal::rebuild(old, folder.file("old"), imageSourceKinds()).numRecords, 3);
                    day.reset();
                    std::filesystem::remove_all(folder.file("journal"));
                });
        }
}

TEST_F(Faults, noLackOfMemoryMakesAJournalWrongInSilence) {
    int argc = 0;
    const QCoreApplication application(argc, nullptr);
    std::unique_ptr<Journaled> day;
    const int numAllocations = failInTurn(
        Call::Allocation, ENOMEM,
        [&] {
            faults::pause();
            day = std::make_unique<Journaled>(folder.file("journal"));
            open(day->stack);
            day->keep();
            edit(day->stack);
            day->wait();
            faults::resume();
            try {
                edit(day->stack);
                day->stack.history()->undo();
                day->stack.history()->redo();
            } catch (const Exception&) {
            } catch (const std::bad_alloc&) {
            }
            day->wait();
        },
        [&] {
            EXPECT_TRUE(day->told || day->isKept());
            edit(day->stack);
            day->wait();
            EXPECT_TRUE(day->isKept());
            day.reset();
            restore();
        });
    EXPECT_GT(numAllocations, 50);
}

TEST_F(Faults, aReadingThatBreaksOffIsNeverTakenForAWholeFile) {
    for (const int error : {EIO, 0}) {
        std::unique_ptr<VRLStack> stack;
        bool opened = false, whole = false;
        const int numCalls = failInTurn(
            Call::Read, error,
            [&] {
                stack = std::make_unique<VRLStack>();
                StackReader reader;
                opened = reader.read(*stack, documentName());
                whole = opened && reader.isWhole();
                EXPECT_TRUE(whole || !opened || !reader.getLog().empty());
            },
            [&] {
                EXPECT_TRUE(whole || error != 0); // a short count is no error
                if (whole) {
                    EXPECT_EQ(StackWriter().toText(*stack, folder.path()), before.at("d.sdf"));
                }
            });
        EXPECT_GT(numCalls, 0);
    }
}

TEST_F(Faults, aRecoveryFileIsWholeOrItsLackIsTold) {
    int argc = 0;
    const QCoreApplication application(argc, nullptr);
    auto* stack = new VRLStack;
    work(*stack);
    VRLStackServer::stackServer.addStack(*stack);
    const std::string after = StackWriter().toText(*stack);
    const auto keep = [stack](VRLRecovery& recovery) {
        stack->setModified(true);
        recovery.saveModifiedStacks();
        recovery.waitForWrites();
        QCoreApplication::processEvents();
    };
    for (const Call call : {Call::Open, Call::Write, Call::Fsync, Call::Rename, Call::Close})
        for (const int error : {EIO, ENOSPC, EDQUOT}) {
            VRLRecovery recovery(QString::fromStdString(folder.file("state")));
            failInTurn(
                call, error, [&] { keep(recovery); },
                [&] {
                    const std::filesystem::path file = recovery.recoveryFile(*stack).toStdString();
                    const bool there = !file.empty() && std::filesystem::exists(file);
                    EXPECT_TRUE(there || !recovery.problem().isEmpty());
                    if (there) {
                        EXPECT_EQ(folder.read(std::filesystem::relative(file, folder.path()).string()), after);
                    }
                    keep(recovery);
                    EXPECT_EQ(recovery.problem(), "");
                });
        }
    stack->setModified(false);
    VRLStackServer::stackServer.removeStack(*stack);
}

} // namespace vorlen
