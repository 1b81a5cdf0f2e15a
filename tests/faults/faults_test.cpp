#include "faults/faults.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>

#include <QCoreApplication>

#include <gtest/gtest.h>

#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/actions/vrlmovevertexaction.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "files/filebackups.h"
#include "images/files/imagesourcefilemosaic.h"
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

    /// What somebody does with a stack: opens it, outlines, thinks again, measures.
    void work(VRLStack& stack) const {
        StackReader reader;
        if (!reader.read(stack, documentName()) || !reader.isWhole())
            throw FileReadError("work", "not read", documentName());
        stack.setFilename(documentName());
        stack.updateReconstruction();
        {
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
        stack.history()->undo();
        stack.history()->redo();
        stack.updateReconstruction();
        ModelMorphometry morphometry;
        morphometry.setModel(stack.getModel(0));
        morphometry.run();
        stack.setName("new");
        stack.setModified(true);
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
        for (const int error : {EIO, ENOSPC}) {
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
