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
#include "progress/progressproxy.h"
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

// Making the text of a large stack would hold up whoever works on it.
TEST_F(VRLRecoveryTest, aLargeStackIsKeptByItsJournalAloneUntilTheProgramEnds) {
    VRLStackServer::stackServer.removeStack(*stack);
    VRLRecovery recovery(recoveryDirectory());
    for (const bool large : {false, true}) {
        stack = new VRLStack;
        ASSERT_TRUE(StackReader().read(*stack, path("brain.sdf")));
        if (large)
            stack->getModel(0).getItem(0).setVertices(std::vector<double>(2000002, 7).data(), 1000001);
        VRLStackServer::stackServer.addStack(*stack);
        draw(*stack);
        recovery.start(10);
        EXPECT_EQ(QTest::qWaitFor([&] { return numFiles() == 1; }, large ? 200 : 20000), !large);
        recovery.saveModifiedStacks();
        recovery.waitForWrites();
        EXPECT_EQ(numFiles(), 1);
        VRLStackServer::stackServer.removeStack(*stack);
        recovery.waitForWrites();
    }
    stack = nullptr;
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

namespace {

/// A stack file that is opened, worked on, saved and closed, more than once.
class HistoryTest : public VRLRecoveryTest {
protected:
    HistoryTest() : recovery(recoveryDirectory()) {
        VRLStackServer::stackServer.removeStack(*std::exchange(stack, nullptr));
    }
    ~HistoryTest() override {
        if (stack != nullptr)
            close();
    }

    /// As the program opens a file: with its steps where they are known, read where they are not. The number of steps
    /// that can be undone.
    int open() {
        ProgressProxy teller;
        VRLRecovery::KeptHistory kept = recovery.keptHistory(path("brain.sdf"), teller);
        message = kept.message;
        if (kept.isStale)
            recovery.history().remove(path("brain.sdf"));
        auto read = std::make_unique<VRLStack>();
        read->fileGuard().note(path("brain.sdf"));
        EXPECT_TRUE(StackReader().read(*read, path("brain.sdf")));
        read->setFilename(path("brain.sdf"));
        if (kept.stack != nullptr) {
            EXPECT_EQ(StackWriter().toText(*kept.stack), StackWriter().toText(*read));
            EXPECT_EQ(kept.stack->getImagesPath(), read->getImagesPath());
            EXPECT_EQ(kept.stack->getFilename(), read->getFilename());
            EXPECT_FALSE(kept.stack->isModified());
        }
        stack = kept.stack != nullptr ? kept.stack.release() : read.release();
        VRLStackServer::stackServer.addStack(*stack);
        return stack->history()->getNumUndoSteps();
    }

    void close() { VRLStackServer::stackServer.removeStack(*std::exchange(stack, nullptr)); }
    void save() { ASSERT_TRUE(stack->write(path("brain.sdf"))); }
    std::string text() const { return StackWriter().toText(*stack); }

    QString session() const {
        return recoveryDirectory() + "/" +
               QDir(recoveryDirectory()).entryList(QDir::Dirs | QDir::NoDotAndDotDot).value(0);
    }
    QStringList kept() const { return QDir(folder.filePath("history")).entryList(QDir::Dirs | QDir::NoDotAndDotDot); }

    VRLRecovery recovery;
    QString message;
};

} // namespace

TEST_F(HistoryTest, stepsCanBeUndoneAfterTheFileWasSavedClosedAndOpened) {
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(message, "");
    std::vector<std::string> texts = {text()};
    for (int opening = 0; opening < 3; ++opening) {
        for (int i = 0; i < 2; ++i) {
            draw(*stack);
            texts.push_back(text());
        }
        save();
        if (opening == 1) { // what was not saved is not wanted
            draw(*stack);
            stack->history()->undo();
            stack->history()->undo();
        }
        close();
        ASSERT_EQ(open(), int(texts.size()) - 1);
        EXPECT_EQ(message.toStdString(),
                  std::to_string(texts.size() - 1) + " steps from before brain.sdf was closed can be undone.");
    }
    for (std::size_t i = texts.size() - 1; i > 0; --i) {
        stack->history()->undo();
        EXPECT_EQ(text(), texts[i - 1]);
    }
    EXPECT_FALSE(stack->history()->isUndoable());
    save();
    close();
    EXPECT_EQ(open(), 0);
    for (std::size_t i = 1; i < texts.size(); ++i) {
        stack->history()->redo();
        EXPECT_EQ(text(), texts[i]);
    }
    EXPECT_EQ(kept().size(), 1);
}

// What a reader of the file has to tell of is not hidden by a history; it stays for when the image is back. A stack
// that opens read-only has no steps either.
TEST_F(HistoryTest, isLeftAloneWhileAnImageIsMissing) {
    open();
    draw(*stack);
    save();
    const QString image = folder.filePath("a.tif");
    close();
    ASSERT_TRUE(QFile::rename(image, image + ".away"));
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(message, "");
    EXPECT_EQ(kept().size(), 1);
    close();
    ASSERT_TRUE(QFile::rename(image + ".away", image));
    EXPECT_EQ(open(), 1);
    VRLRecovery::forgetHistory(*stack);
    EXPECT_FALSE(stack->history()->isUndoable());
}

TEST_F(HistoryTest, neverFitsAFileThatSomebodyElseHasWritten) {
    open();
    draw(*stack);
    save();
    close();
    recovery.waitForWrites();
    const QString file = folder.filePath("brain.sdf"), copy = folder.filePath("copy");
    ASSERT_TRUE(QFile::copy(file, copy));
    {
        QFile other(file);
        ASSERT_TRUE(other.open(QIODevice::ReadWrite));
        QByteArray text = other.readAll();
        text.replace("5,5", "6,5");
        other.seek(0);
        other.write(text);
    }
    EXPECT_EQ(open(), 0);
    EXPECT_TRUE(message.contains("brain.sdf is not as it was saved here")) << message.toStdString();
    EXPECT_TRUE(kept().isEmpty());
    draw(*stack);
    draw(*stack);
    save();
    draw(*stack);
    save();
    close();
    // An older version of ours, as from a backup, has its own steps.
    ASSERT_TRUE(QFile::remove(file));
    ASSERT_TRUE(QFile::copy(copy, file));
    EXPECT_EQ(open(), 0);
    EXPECT_TRUE(message.contains("can't be undone")) << message.toStdString();
}

// A version that was saved in between, as it comes back from a backup.
TEST_F(HistoryTest, goesAsFarAsTheVersionOnTheDisk) {
    open();
    draw(*stack);
    save();
    ASSERT_TRUE(QFile::copy(folder.filePath("brain.sdf"), folder.filePath("first")));
    draw(*stack);
    save();
    close();
    ASSERT_TRUE(QFile::remove(folder.filePath("brain.sdf")));
    ASSERT_TRUE(QFile::copy(folder.filePath("first"), folder.filePath("brain.sdf")));
    EXPECT_EQ(open(), 1);
    draw(*stack);
    save();
    close();
    EXPECT_EQ(open(), 2);
}

TEST_F(HistoryTest, isGoneWhenTheUserClearsIt) {
    for (const bool again : {false, true}) {
        open();
        if (!again) {
            draw(*stack);
            draw(*stack);
        }
        save();
        close();
        EXPECT_EQ(open(), 2 - (again ? 2 : 0));
        stack->history()->clear();
        close();
        EXPECT_EQ(open(), 0) << again;
        EXPECT_TRUE(again || kept().isEmpty());
        draw(*stack);
        stack->history()->clear(); // in the midst of the work
        save();
        recovery.waitForWrites();
        for (QDirIterator files(session(), QDir::Files, QDirIterator::Subdirectories); files.hasNext();) {
            QFile file(files.next());
            ASSERT_TRUE(file.open(QIODevice::ReadOnly));
            EXPECT_FALSE(file.readAll().contains("Item creation")) << file.fileName().toStdString();
        }
        close();
    }
}

TEST_F(HistoryTest, isBoundedInTimeAndRoom) {
    for (const char* name : {"a.sdf", "b.sdf", "c.sdf"}) {
        open();
        draw(*stack);
        ASSERT_TRUE(stack->write(path(name)));
        close();
        recovery.waitForWrites();
        QFile note(recovery.history().folderOf(path(name)) + "/file");
        ASSERT_TRUE(note.open(QIODevice::ReadWrite));
        const int daysAgo = name[0] == 'a' ? 61 : name[0] == 'b' ? 20 : 1;
        ASSERT_TRUE(note.setFileTime(QDateTime::currentDateTime().addDays(-daysAgo), QFile::FileModificationTime));
    }
    EXPECT_TRUE(recovery.history().has(path("a.sdf")) || kept().size() == 2); // goes with the next that comes
    recovery.tidy();
    EXPECT_FALSE(recovery.history().has(path("a.sdf")));
    EXPECT_EQ(kept().size(), 2);
    qint64 size = 0;
    for (QDirIterator files(folder.filePath("history"), QDir::Files, QDirIterator::Subdirectories); files.hasNext();)
        size += QFileInfo(files.next()).size();
    recovery.history().setLimits(60, size - 1);
    recovery.tidy();
    EXPECT_FALSE(recovery.history().has(path("b.sdf")));
    EXPECT_TRUE(recovery.history().has(path("c.sdf")));
}

// A program that dies with everything saved leaves nothing to be recovered, but what can be undone.
TEST_F(HistoryTest, outlivesACrashBehindASave) {
    open();
    draw(*stack);
    save();
    recovery.waitForWrites();
    simulateCrash(session());
    stack->history()->clear();
    close();
    recovery.waitForWrites();
    EXPECT_TRUE(recovery.leftovers().isEmpty());
    recovery.tidy();
    EXPECT_FALSE(QDir(recoveryDirectory() + "/dead").exists());
    EXPECT_EQ(open(), 1);
}

// Crash after crash, the steps stay together.
TEST_F(HistoryTest, aRecoveredStackGoesOnWithItsJournal) {
    open();
    const std::string first = text();
    draw(*stack);
    for (int crash = 0; crash < 3; ++crash) {
        draw(*stack);
        const std::string last = text();
        recovery.waitForWrites();
        simulateCrash(session());
        close();
        recovery.waitForWrites();
        ASSERT_EQ(recovery.leftovers().size(), 1) << crash;
        const VRLRecovery::Leftover leftover = recovery.leftovers()[0];
        stack = recovery.recover(leftover, message);
        ASSERT_NE(stack, nullptr) << message.toStdString();
        VRLStackServer::stackServer.addStack(*stack);
        recovery.waitForWrites();
        recovery.discard(leftover);
        EXPECT_EQ(text(), last);
        EXPECT_EQ(stack->history()->getNumUndoSteps(), 2 + crash);
    }
    // The file has changed meanwhile: nobody's work is written over without a question.
    EXPECT_FALSE(stack->fileGuard().isChanged(path("brain.sdf")));
    recovery.waitForWrites();
    simulateCrash(session());
    QFile file(folder.filePath("brain.sdf"));
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("\n");
    file.close();
    const std::unique_ptr<VRLStack> again(recovery.recover(recovery.leftovers().value(0), message));
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(again->fileGuard().isChanged(path("brain.sdf")));

    save();
    while (stack->history()->isUndoable())
        stack->history()->undo();
    EXPECT_EQ(text(), first);
    close();
    EXPECT_EQ(open(), 4);
}

// Damage in the midst of a journal is told; the recovery file goes first where it knows more.
TEST_F(HistoryTest, aDamagedJournalIsTold) {
    open();
    for (int i = 0; i < 4; ++i)
        draw(*stack);
    for (const bool withFile : {false, true}) {
        if (withFile)
            recovery.saveModifiedStacks();
        const std::string last = text();
        recovery.waitForWrites();
        simulateCrash(session());
        QFile journal(recoveryDirectory() + "/dead/1.journal/1.journal");
        ASSERT_TRUE(journal.open(QIODevice::ReadWrite));
        ASSERT_TRUE(journal.seek(journal.size() * 3 / 4));
        journal.write("?");
        journal.close();
        ASSERT_EQ(recovery.leftovers().size(), 1);
        const std::unique_ptr<VRLStack> recovered(recovery.recover(recovery.leftovers()[0], message));
        ASSERT_NE(recovered, nullptr);
        EXPECT_TRUE(message.contains("damaged")) << message.toStdString();
        EXPECT_EQ(StackWriter().toText(*recovered) == last, withFile);
        recovery.discard(recovery.leftovers()[0]);
    }
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
