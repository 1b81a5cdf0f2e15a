#include <cstdlib>
#include <random>

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "document/stackreader.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "progress/progressproxy.h"
#include "support/documenthash.h"
#include "support/modalscript.h"
#include "ui/files/vrlstackio.h"
#include "ui/session/vrlrecovery.h"

namespace vorlen {

namespace {

/// A folder with a stack file, and the program at work on it.
class WorkDay {
public:
    explicit WorkDay(int day) {
        Image image(120, 90, 8);
        image.clear();
        ImageWriter().write(image, path("i.tif").toStdString(), true);
        QFile file(path("work.sdf"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("FileFormatVersion 1.03;\nSTACK \"work\";\n"
                   "SLICE \"s0\" \"i.tif\";\nSLICE \"s1\" \"i.tif\";\nSLICE \"s2\" \"i.tif\";\n"
                   "MODEL \"cell\";\nPRIMITIVE Polygon;\nMODELITEM \"cell\" \"s1\";\nMODELITEMDATA 1,1 20,1 20,20;\n");
        file.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"XDG_STATE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
            environment.insert(name, path(name));
        __program.setProcessEnvironment(environment);
        __program.start(VORLEN_WORKDAY, {__folder.path(), QString::number(day)});
    }

    ~WorkDay() {
        __program.kill();
        __program.waitForFinished(10000);
    }

    QString path(const char* name) const { return __folder.filePath(name); }
    QString recoveryDirectory() const { return path("XDG_STATE_HOME") + "/vorlen/recovery"; }

    /// Whether the program says that it is at work, within a minute. Otherwise the test tells what it said.
    bool begins() {
        QElapsedTimer time;
        time.start();
        while (!__told.contains("ready\n") && time.elapsed() < 60000 && __program.state() != QProcess::NotRunning)
            listen(100);
        EXPECT_TRUE(__told.contains("ready\n"))
            << "state " << __program.state() << ", exit " << __program.exitCode() << ", told: " << __told.toStdString()
            << "\nerrors: " << __program.readAllStandardError().toStdString();
        return __told.contains("ready\n");
    }

    /// Until it has done so many steps, and at most for a minute.
    void goOnFor(int steps) {
        QElapsedTimer time;
        time.start();
        while (__told.count("done ") < steps && time.elapsed() < 60000 && __program.state() != QProcess::NotRunning)
            listen(100);
    }

    void goOn(int milliseconds) {
        QElapsedTimer time;
        time.start();
        while (time.elapsed() < milliseconds)
            listen(int(std::max<qint64>(1, milliseconds - time.elapsed())));
    }

    /// Kills it, and takes what it has told: the document of the last step that was done, and of the one begun last.
    void kill() {
        EXPECT_EQ(__program.state(), QProcess::Running) << __program.readAllStandardError().toStdString();
        __program.kill();
        EXPECT_TRUE(__program.waitForFinished(10000));
        __told += __program.readAllStandardOutput();
        QList<QByteArray> lines = __told.split('\n');
        lines.removeLast(); // not whole
        for (const QByteArray& line : lines)
            if (line.startsWith("begin "))
                begun = line.mid(6).toStdString();
            else if (line.startsWith("done ")) {
                done = line.mid(5).toStdString();
                ++numSteps;
            }
    }

    std::string done, begun;
    int numSteps = 0;

private:
    void listen(int milliseconds) {
        __program.waitForReadyRead(milliseconds);
        __told += __program.readAllStandardOutput();
    }

    QTemporaryDir __folder;
    QProcess __program;
    QByteArray __told;
};

} // namespace

// The window is killed in the midst of the work; the next run has the document as it was after the last step, or after
// the one in progress, and with it the way back. VORLEN_KILLS tells how often; "make soak" asks for more.
TEST(WorkDay, aKillCostsAtMostTheStepInProgress) {
    const char* number = std::getenv("VORLEN_KILLS");
    const int numKills = number != nullptr ? std::atoi(number) : 20;
    std::mt19937 random(29);
    int numRecovered = 0, numSteps = 0;
    for (int i = 0; i < numKills && !::testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE("kill " + std::to_string(i));
        WorkDay day(i);
        ASSERT_TRUE(day.begins());
        day.goOnFor(static_cast<int>(random() % 12));
        day.goOn(static_cast<int>(random() % 400));
        day.kill();
        numSteps += day.numSteps;
        VRLRecovery recovery(day.recoveryDirectory());
        recovery.tidy();
        const QList<VRLRecovery::Leftover> leftovers = recovery.leftovers();
        std::unique_ptr<VRLStack> stack;
        QString message;
        if (!leftovers.isEmpty()) {
            ASSERT_EQ(leftovers.size(), 1);
            stack.reset(recovery.recover(leftovers[0], message));
            ASSERT_NE(stack, nullptr) << message.toStdString();
            EXPECT_TRUE(stack->history()->isUndoable() || stack->history()->isRedoable());
            ++numRecovered;
        } else { // all is in the file
            const std::string file = day.path("work.sdf").toStdString();
            stack = std::make_unique<VRLStack>();
            StackReader reader;
            ASSERT_TRUE(reader.read(*stack, file));
            EXPECT_TRUE(reader.isWhole() || day.numSteps == 0);
            if (day.numSteps == 0)
                continue;
            stack->setFilename(file);
            ProgressProxy teller;
            const VRLRecovery::KeptHistory before = recovery.keptHistory(file, teller);
            ASSERT_NE(before.stack, nullptr) << before.message.toStdString();
            EXPECT_EQ(hashAsRead(*before.stack), hashOf(*stack));
        }
        EXPECT_EQ(message.toStdString().find("damaged"), std::string::npos) << message.toStdString();
        const auto isThere = [&, hash = hashOf(*stack)](const std::string& told) {
            return leftovers.isEmpty() ? told.ends_with(' ' + hash) : told.starts_with(hash + ' ');
        };
        EXPECT_TRUE(isThere(day.done) || isThere(day.begun))
            << day.numSteps << " steps, " << (leftovers.isEmpty() ? "file" : "recovered");
        Image image;
        for (int k = 0; k < stack->getNumSlices(); ++k)
            stack->getSlice(k).load(image);
    }
    EXPECT_GT(numRecovered, numKills / 3);
    EXPECT_GT(numSteps, numKills);
    std::printf("%d kills, %d steps, %d recovered\n", numKills, numSteps, numRecovered);
}

// A file that another run of the program works on opens read-only; that of one that was killed opens as any other.
TEST(WorkDay, aFileThatAnotherRunWorksOnIsNotWrittenByTwo) {
    WorkDay day(1);
    ASSERT_TRUE(day.begins());
    const std::string file = day.path("work.sdf").toStdString();
    ModalScript user;
    QWidget parent;
    VRLStackIO io(&parent);
    user.thenClick("Open Read-Only");
    VRLStack* stack = io.openStack(file);
    ASSERT_NE(stack, nullptr);
    EXPECT_TRUE(stack->isReadOnly());
    EXPECT_NE(user.seen.back().find("is open in vorlen-workday on "), std::string::npos) << user.seen.back();
    VRLStackServer::stackServer.removeStack(*stack);
    day.kill();
    stack = io.openStack(file);
    ASSERT_NE(stack, nullptr);
    EXPECT_FALSE(stack->isReadOnly());
    VRLStackServer::stackServer.removeStack(*stack);
}

} // namespace vorlen
