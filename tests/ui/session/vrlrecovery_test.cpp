#include "ui/session/vrlrecovery.h"

#include <csignal>

#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/history/editstep.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/documentmaker.h"
#include "ui/session/terminationsignals.h"

namespace vorlen {

namespace {

/// An open stack of one slice with an image beside its file, and one outline.
class VRLRecoveryTest : public ::testing::Test {
protected:
    VRLRecoveryTest() {
        Image image(4, 3, 8);
        image.clear();
        ImageWriter().write(image, path("a.tif"), true);
        stack = new VRLStack;
        stack->setName("brain");
        addSlices(*stack, 1);
        ImageSourceFile source;
        source.setFilename(path("a.tif"));
        stack->getSlice(0).setImageSource(source);
        addItem(addModel(*stack, "m"), stack->getSlice(0), {{0, 0}, {5, 0}, {5, 5}});
        EXPECT_TRUE(stack->write(path("brain.sdf")));
        VRLStackServer::stackServer.addStack(*stack);
    }
    ~VRLRecoveryTest() override {
        if (stack != nullptr)
            VRLStackServer::stackServer.removeStack(*stack);
    }

    std::string path(const char* name) const { return folder.filePath(name).toStdString(); }
    QString recoveryDirectory() const { return folder.filePath("state"); }

    int numFiles() const {
        int n = 0;
        for (QDirIterator files(recoveryDirectory(), {"*.sdf"}, QDir::Files, QDirIterator::Subdirectories);
             files.hasNext(); files.next())
            ++n;
        return n;
    }

    /// What a program leaves that dies now: its files, without its lock.
    void simulateCrash(VRLRecovery& recovery) {
        recovery.waitForWrites();
        simulateCrash(QFileInfo(recovery.recoveryFile(*stack)).path());
    }
    void simulateCrash(const QString& session) {
        const QString copy = recoveryDirectory() + "/dead";
        ASSERT_TRUE(QDir().mkpath(copy));
        for (QDirIterator files(session, {"*.sdf", "*.ini", "*.base", "*.journal"}, QDir::Files,
                                QDirIterator::Subdirectories);
             files.hasNext();) {
            const QString file = files.next();
            const QString target = copy + file.mid(session.size());
            ASSERT_TRUE(QDir().mkpath(QFileInfo(target).path()));
            ASSERT_TRUE(QFile::copy(file, target));
        }
    }

    /// A step of the user's, by which the second outline is drawn.
    void draw(VRLStack& on) {
        EditStep step(*on.history());
        auto* item = new ModelItem;
        item->setModel(&on.getModel(0));
        item->setSlice(&on.getSlice(0));
        item->setVertices(makeVertices({{1, 1}, {2, 1}, {2, 2}}));
        step.apply(std::make_unique<VRLItemCreationAction>(*item));
        step.commit();
    }

    QTemporaryDir folder;
    VRLStack* stack;
};

} // namespace

TEST_F(VRLRecoveryTest, onlyModifiedStacksAreWrittenAndOnlyWhenTheyChange) {
    VRLRecovery recovery(recoveryDirectory());
    recovery.saveModifiedStacks();
    recovery.waitForWrites();
    EXPECT_EQ(recovery.recoveryFile(*stack), "");
    EXPECT_FALSE(QDir(recoveryDirectory()).exists());

    stack->setModified(true);
    recovery.saveModifiedStacks();
    recovery.waitForWrites();
    const QString file = recovery.recoveryFile(*stack);
    ASSERT_TRUE(QFile::exists(file));
    QFile::remove(file);
    recovery.saveModifiedStacks();
    recovery.waitForWrites();
    EXPECT_FALSE(QFile::exists(file));
    stack->setModified(true);
    recovery.saveModifiedStacks();
    recovery.waitForWrites();
    EXPECT_TRUE(QFile::exists(file));
}

// What was done since the last tick is in the journal, and with it what leads back to the file.
TEST_F(VRLRecoveryTest, stepsAreKeptAsTheyHappenWithTheirHistory) {
    VRLStackServer::stackServer.removeStack(*stack);
    VRLRecovery recovery(recoveryDirectory());
    const auto open = [this] {
        stack = new VRLStack;
        stack->fileGuard().note(path("brain.sdf"));
        ASSERT_TRUE(StackReader().read(*stack, path("brain.sdf")));
        stack->setFilename(path("brain.sdf"));
        VRLStackServer::stackServer.addStack(*stack);
    };
    open();
    const std::string first = StackWriter().toText(*stack);
    draw(*stack);
    draw(*stack);
    stack->history()->undo();
    const std::string last = StackWriter().toText(*stack);
    recovery.waitForWrites();
    const QString session = QDir(recoveryDirectory()).entryList(QDir::Dirs | QDir::NoDotAndDotDot).value(0);
    ASSERT_FALSE(session.isEmpty());
    simulateCrash(recoveryDirectory() + "/" + session);

    const auto leftovers = recovery.leftovers();
    ASSERT_EQ(leftovers.size(), 1);
    EXPECT_EQ(leftovers[0].stackFile.toStdString(), path("brain.sdf"));
    QString message;
    const std::unique_ptr<VRLStack> recovered(recovery.recover(leftovers[0], message));
    ASSERT_NE(recovered, nullptr) << message.toStdString();
    EXPECT_EQ(message.toStdString(), "");
    EXPECT_TRUE(recovered->isModified());
    EXPECT_EQ(StackWriter().toText(*recovered), last);
    recovered->history()->undo();
    EXPECT_EQ(StackWriter().toText(*recovered), first);
    recovered->history()->redo();
    recovered->history()->redo();
    EXPECT_EQ(recovered->getModel(0).getNumItems(), 3);
    recovery.discard(leftovers[0]);
    EXPECT_FALSE(QDir(recoveryDirectory() + "/dead").exists());

    // Saved, there is nothing to be recovered.
    ASSERT_TRUE(stack->write(path("brain.sdf")));
    recovery.waitForWrites();
    simulateCrash(recoveryDirectory() + "/" + session);
    EXPECT_TRUE(recovery.leftovers().isEmpty());
    VRLStackServer::stackServer.removeStack(*std::exchange(stack, nullptr));
    recovery.waitForWrites();
    EXPECT_TRUE(QDir(recoveryDirectory() + "/" + session).entryList({"1.*"}).isEmpty());
}

TEST_F(VRLRecoveryTest, aSaveOrACloseRemovesTheFile) {
    VRLRecovery recovery(recoveryDirectory());
    stack->setModified(true);
    recovery.saveModifiedStacks();
    recovery.waitForWrites();
    EXPECT_EQ(numFiles(), 1);
    ASSERT_TRUE(stack->write(stack->getFilename()));
    recovery.waitForWrites();
    EXPECT_EQ(numFiles(), 0);
    stack->setModified(true);
    recovery.saveModifiedStacks();
    VRLStackServer::stackServer.removeStack(*stack);
    stack = nullptr;
    recovery.waitForWrites();
    EXPECT_EQ(numFiles(), 0);
}

// Its slice has a placeholder, and what is saved names the image as before.
TEST_F(VRLRecoveryTest, aStackWhoseImageIsGoneComesBackWithoutIt) {
    {
        VRLRecovery recovery(recoveryDirectory());
        stack->setModified(true);
        recovery.saveModifiedStacks();
        simulateCrash(recovery);
        stack->setModified(false);
    }
    const QString image = folder.filePath("a.tif");
    ASSERT_TRUE(QFile::rename(image, image + ".away"));
    VRLRecovery recovery(recoveryDirectory());
    ASSERT_EQ(recovery.leftovers().size(), 1);
    QString message;
    const std::unique_ptr<VRLStack> recovered(recovery.recover(recovery.leftovers()[0], message));
    ASSERT_NE(recovered, nullptr) << message.toStdString();
    EXPECT_TRUE(message.contains("a.tif")) << message.toStdString();
    EXPECT_TRUE(recovered->getSlice(0).isEmpty());
    EXPECT_EQ(recovered->getSlice(0).width(), 4);
    EXPECT_EQ(recovered->getSlice(0).getNumItems(), 1);
    EXPECT_NE(StackWriter().toText(*recovered).find("\"a.tif\""), std::string::npos);
}

TEST_F(VRLRecoveryTest, aCrashedProgramsStackComesBackWithItsImages) {
    const QByteArray original = [this] {
        QFile file(folder.filePath("brain.sdf"));
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }();
    {
        VRLRecovery recovery(recoveryDirectory());
        addItem(stack->getModel(0), stack->getSlice(0), {{9, 9}, {8, 8}, {7, 9}});
        stack->setModified(true);
        recovery.saveModifiedStacks();
        simulateCrash(recovery);
        stack->setModified(false);
    }
    VRLRecovery recovery(recoveryDirectory());
    const QList<VRLRecovery::Leftover> leftovers = recovery.leftovers();
    ASSERT_EQ(leftovers.size(), 1);
    EXPECT_EQ(leftovers[0].stackFile, folder.filePath("brain.sdf"));
    EXPECT_EQ(leftovers[0].stackName, "brain");

    QString message;
    const std::unique_ptr<VRLStack> recovered(recovery.recover(leftovers[0], message));
    ASSERT_NE(recovered, nullptr);
    EXPECT_EQ(message, "");
    EXPECT_EQ(recovered->getModel(0).getNumItems(), 2);
    EXPECT_TRUE(recovered->isModified());
    EXPECT_EQ(recovered->getFilename(), path("brain.sdf"));
    // Until the user saves, the own file is as it was; saving puts relative image paths in it again.
    QFile file(folder.filePath("brain.sdf"));
    file.open(QIODevice::ReadOnly);
    EXPECT_EQ(file.readAll(), original);
    ASSERT_TRUE(recovered->write(recovered->getFilename()));
    QFile saved(folder.filePath("brain.sdf"));
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_FALSE(saved.readAll().contains("state"));

    recovery.discard(leftovers[0]);
    EXPECT_TRUE(recovery.leftovers().isEmpty());
    EXPECT_FALSE(QDir(recoveryDirectory() + "/dead").exists());
    // The images are found without the folder of what was kept.
    Image image;
    recovered->getSlice(0).load(image);
    EXPECT_EQ(image.getWidth(), 4);
}

TEST_F(VRLRecoveryTest, aFolderThatTakesNoFileIsToldUntilItTakesOne) {
    QFile blocker(recoveryDirectory());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    VRLRecovery recovery(recoveryDirectory());
    QSignalSpy told(&recovery, &VRLRecovery::problemChanged);
    stack->setModified(true);
    recovery.saveModifiedStacks();
    EXPECT_TRUE(recovery.problem().contains(recoveryDirectory()));
    ASSERT_TRUE(blocker.remove());
    recovery.saveModifiedStacks();
    recovery.waitForWrites();
    QCoreApplication::processEvents();
    EXPECT_EQ(recovery.problem(), "");
    EXPECT_EQ(told.count(), 2);
    // A full disk, or whatever else keeps the file away.
    const QString session = QFileInfo(recovery.recoveryFile(*stack)).path();
    ASSERT_TRUE(QDir(session).removeRecursively());
    stack->setModified(true);
    recovery.saveModifiedStacks();
    recovery.waitForWrites();
    QCoreApplication::processEvents();
    EXPECT_NE(recovery.problem(), "");
}

TEST_F(VRLRecoveryTest, anEmptyOrRelativeStateFolderStandsForTheOneInTheHome) {
    const QByteArray old = qgetenv("XDG_STATE_HOME");
    for (const char* value : {"", "state"}) {
        qputenv("XDG_STATE_HOME", value);
        VRLRecovery recovery;
        stack->setModified(true);
        recovery.saveModifiedStacks();
        recovery.waitForWrites();
        EXPECT_TRUE(recovery.recoveryFile(*stack).startsWith(QDir::homePath() + "/.local/state/vorlen/")) << value;
        stack->setModified(false);
    }
    old.isNull() ? qunsetenv("XDG_STATE_HOME") : qputenv("XDG_STATE_HOME", old);
}

TEST_F(VRLRecoveryTest, aSignalToEndIsHeardInTheEventLoop) {
    const TerminationSignals endings;
    QSignalSpy heard(&endings, &TerminationSignals::terminated);
    ASSERT_EQ(::raise(SIGTERM), 0);
    ASSERT_TRUE(heard.wait(2000));
    EXPECT_EQ(heard[0][0].toInt(), SIGTERM);
}

TEST_F(VRLRecoveryTest, aRunningProgramsFilesAreLeftAlone) {
    VRLRecovery running(recoveryDirectory());
    stack->setModified(true);
    running.saveModifiedStacks();
    running.waitForWrites();
    const VRLRecovery second(recoveryDirectory());
    EXPECT_TRUE(second.leftovers().isEmpty());
    EXPECT_TRUE(QFile::exists(running.recoveryFile(*stack)));
}

TEST_F(VRLRecoveryTest, aCleanEndLeavesNothingAndAnotherOneLeavesWhatIsOpen) {
    {
        VRLRecovery recovery(recoveryDirectory());
        stack->setModified(true);
        recovery.saveModifiedStacks();
        addItem(stack->getModel(0), stack->getSlice(0), {{9, 9}, {8, 8}, {7, 9}});
        stack->setModified(true);
    }
    VRLRecovery next(recoveryDirectory());
    ASSERT_EQ(next.leftovers().size(), 1);
    QString message;
    const std::unique_ptr<VRLStack> recovered(next.recover(next.leftovers()[0], message));
    EXPECT_EQ(recovered->getModel(0).getNumItems(), 2);
    next.discard(next.leftovers()[0]);
    {
        VRLRecovery recovery(recoveryDirectory());
        stack->setModified(true);
        recovery.saveModifiedStacks();
        VRLStackServer::stackServer.removeStack(*stack);
        stack = nullptr;
    }
    EXPECT_TRUE(QDir(recoveryDirectory()).isEmpty());
}

TEST_F(VRLRecoveryTest, aDirectoryThatCannotBeWrittenIsNoFailure) {
    QFile blocker(recoveryDirectory());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    VRLRecovery recovery(recoveryDirectory());
    stack->setModified(true);
    recovery.saveModifiedStacks();
    recovery.waitForWrites();
    EXPECT_EQ(recovery.recoveryFile(*stack), "");
    EXPECT_TRUE(recovery.leftovers().isEmpty());
}

TEST_F(VRLRecoveryTest, theTimerSavesByItself) {
    VRLRecovery recovery(recoveryDirectory());
    stack->setModified(true);
    recovery.start(10);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !recovery.recoveryFile(*stack).isEmpty(); }, 5000));
}

} // namespace vorlen
