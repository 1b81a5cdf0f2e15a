#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QThreadPool>

#include <gtest/gtest.h>

#include "document/stackwriter.h"
#include "editing/journal/journalrecord.h"
#include "editing/journal/stackjournal.h"
#include "support/fixedkind.h"
#include "support/randomuser.h"
#include "support/temporaryfolder.h"

namespace vorlen {

namespace {

std::string hashOf(const Stack& stack) {
    return JournalFormat::hash(StackWriter().toText(stack, "/"));
}

/// The work day of a program that keeps a journal, without end: it tells through the pipe, of each step, the hash of
/// the document when it begins to be kept and when it is.
[[noreturn]] void workUntilKilled(const std::string& folder, unsigned int seed, int pipe) {
    int argc = 0;
    const QCoreApplication application(argc, nullptr);
    QThreadPool writers;
    writers.setMaxThreadCount(1);
    VRLStack stack;
    makeDocument(stack);
    const auto tell = [pipe](const std::string& line) {
        if (::write(pipe, line.data(), line.size()) < 0)
            std::_Exit(1);
    };
    // In front of the journal, which may be the quicker one.
    QObject::connect(stack.history(), &VRLActionHistory::recorded, [&] { tell("begin " + hashOf(stack) + "\n"); });
    StackJournal journal(
        stack, [&folder] { return folder + "/journal"; }, writers, [](const QString&) {});
    journal.setBound(2000);
    bool begun = false;
    QObject::connect(stack.history(), &VRLActionHistory::recorded, [&] {
        if (!std::exchange(begun, true))
            writers.waitForDone(); // for the base; from then on a step is kept when it is done
        tell("done\n");
    });
    RandomUser user(stack, seed);
    while (true) {
        user.edit();
        if (user.below(10) == 0)
            stack.history()->undo();
        if (user.below(10) == 0)
            stack.history()->redo();
        if (user.below(40) == 0)
            stack.write(folder + "/document.sdf");
    }
}

/// All that is told until the other end closes.
std::string listen(int pipe) {
    std::string told;
    char buffer[4096];
    for (ssize_t got; (got = ::read(pipe, buffer, sizeof buffer)) > 0;)
        told.append(buffer, static_cast<std::size_t>(got));
    return told;
}

} // namespace

// A program that is killed at any moment has kept its document as it was after the last step that was done, or after
// the one in progress. VORLEN_KILLS tells how often; "make soak" asks for more.
TEST(JournalKill, costsAtMostTheStepInProgress) {
    const char* number = std::getenv("VORLEN_KILLS");
    const int numKills = number != nullptr ? std::atoi(number) : 20;
    std::mt19937 random(17);
    int numGenerations = 0;
    for (int i = 0; i < numKills; ++i) {
        const TemporaryFolder folder;
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(ends[0]);
            workUntilKilled(folder.path(), static_cast<unsigned int>(i), ends[1]);
        }
        ::close(ends[1]);
        ::usleep(static_cast<useconds_t>(20000 + random() % 600000));
        ::kill(child, SIGKILL);
        const std::string told = listen(ends[0]);
        ::close(ends[0]);
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);

        std::string done, begun, word;
        for (std::istringstream words(told); words >> word;)
            if (word == "begin")
                words >> begun;
            else
                done = begun;
        if (done.empty())
            continue;
        VRLStack stack;
        const StackJournal::Rebuilt rebuilt = StackJournal::rebuild(stack, folder.path() + "/journal", fixedKinds());
        ASSERT_TRUE(rebuilt.good && rebuilt.complete) << "kill " << i;
        const std::string hash = hashOf(stack);
        ASSERT_TRUE(hash == done || hash == begun) << "kill " << i;
        EXPECT_TRUE(stack.history()->isUndoable() || stack.history()->isRedoable());
        numGenerations += std::filesystem::exists(folder.path() + "/journal/2.journal") ||
                          !std::filesystem::exists(folder.path() + "/journal/1.journal");
    }
    EXPECT_GT(numGenerations, 0);
}

} // namespace vorlen
