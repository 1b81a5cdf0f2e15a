#include "ui/session/vrlrecovery.h"

#include <algorithm>
#include <utility>

#include <pwd.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <QUuid>

#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

const QString lockName = "lock";

/// Beside a recovery file "N.sdf" stands "N.ini", which tells whose it is.
QString infoFile(const QString& recoveryFile) {
    return recoveryFile.chopped(4) + ".ini";
}

/// The home directory of the user's account where the environment names none.
QString homeDirectory() {
    const QString home = qEnvironmentVariable("HOME");
    if (QDir::isAbsolutePath(home))
        return home;
    const passwd* entry = ::getpwuid(::getuid());
    return entry && entry->pw_dir ? QFile::decodeName(entry->pw_dir) : QDir::homePath();
}

QString stateDirectory() {
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    return (QDir::isAbsolutePath(state) ? state : homeDirectory() + "/.local/state") + "/vorlen/recovery";
}

/// What went wrong; empty for a file that is whole on disk.
QString writeWhole(const QString& name, const QByteArray& contents) {
    QSaveFile file(name);
    if (file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size() && file.commit())
        return {};
    return file.errorString();
}

} // namespace

VRLRecovery* VRLRecovery::__running = nullptr;

VRLRecovery::VRLRecovery(const QString& directory) : __directory(directory.isEmpty() ? stateDirectory() : directory) {
    __running = this;
    __writers.setMaxThreadCount(1); // files are written and removed in the order of the requests
    connect(&__timer, &QTimer::timeout, this, &VRLRecovery::saveIfIdle);
}

VRLRecovery::~VRLRecovery() {
    saveModifiedStacks();
    waitForWrites();
    if (__running == this)
        __running = nullptr;
    if (__sessionDirectory.isEmpty())
        return;
    __lock->unlock();
    if (QDir(__sessionDirectory).entryList({"*.sdf"}, QDir::Files).isEmpty())
        QDir(__sessionDirectory).removeRecursively();
}

void VRLRecovery::start(int interval) {
    __timer.start(interval);
}

bool VRLRecovery::makeSessionDirectory() {
    if (!__sessionDirectory.isEmpty())
        return true;
    const QString directory = __directory + "/" + QUuid::createUuid().toString(QUuid::WithoutBraces);
    if (!QDir().mkpath(directory))
        return false;
    QFile::setPermissions(directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    auto lock = std::make_unique<QLockFile>(directory + "/" + lockName);
    lock->setStaleLockTime(0); // a lock of a live program never grows stale, however long it runs
    if (!lock->tryLock())
        return false;
    __lock = std::move(lock);
    __sessionDirectory = directory;
    return true;
}

void VRLRecovery::saveIfIdle() {
    if (QGuiApplication::mouseButtons() == Qt::NoButton)
        saveModifiedStacks();
}

void VRLRecovery::saveModifiedStacks() {
    const VRLStackServer& server = VRLStackServer::stackServer;
    for (int i = 0; i < server.getNumStacks(); ++i) {
        const VRLStack& stack = server.getStack(i);
        Entry& entry = __entries[&stack];
        if (!stack.isModified() || (*entry.written && entry.changeCount == stack.getChangeCount()))
            continue;
        if (!makeSessionDirectory())
            return setProblem("Changes can't be kept against a crash: no file can be written in " + __directory + ".");
        if (entry.file.isEmpty())
            entry.file = __sessionDirectory + "/" + QString::number(++__numFiles) + ".sdf";
        entry.changeCount = stack.getChangeCount();
        writeEntry(entry, stack);
    }
}

void VRLRecovery::setProblem(const QString& problem) {
    if (problem == __problem)
        return;
    __problem = problem;
    emit problemChanged(problem);
}

void VRLRecovery::writeEntry(const Entry& entry, const VRLStack& stack) {
    *entry.written = false;
    QByteArray text;
    try {
        text = QByteArray::fromStdString(StackWriter().toText(stack));
    } catch (const Exception& failure) { // a stack that can't be written as a file can't be recovered from one
        return setProblem("Changes of \"" + QString::fromStdString(stack.getName()) +
                          "\" can't be kept against a crash: " + QString::fromStdString(failure.getWhat()) + ".");
    }
    const QString stackFile = QFile::decodeName(stack.getFilename().c_str());
    const QString stackName = QString::fromStdString(stack.getName());
    __writers.start([this, file = entry.file, written = entry.written, text, stackFile, stackName] {
        const QString failure = writeWhole(file, text);
        const QString problem =
            failure.isEmpty() ? QString() : "Changes can't be kept against a crash: " + file + ": " + failure + ".";
        QMetaObject::invokeMethod(
            this, [this, problem] { setProblem(problem); }, Qt::QueuedConnection);
        if (!failure.isEmpty())
            return;
        *written = true;
        QSettings info(infoFile(file), QSettings::IniFormat);
        info.setValue("stackFile", stackFile.isEmpty() ? QString() : QFileInfo(stackFile).absoluteFilePath());
        info.setValue("stackName", stackName);
        info.setValue("time", QDateTime::currentDateTime());
    });
}

void VRLRecovery::waitForWrites() {
    __writers.waitForDone();
}

QList<VRLRecovery::Leftover> VRLRecovery::leftovers() const {
    QList<Leftover> result;
    const QDir top(__directory);
    for (const QString& name : top.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QDir session(top.filePath(name));
        if (session.path() == __sessionDirectory)
            continue;
        QLockFile lock(session.filePath(lockName));
        lock.setStaleLockTime(0);
        if (!lock.tryLock()) // another program is running on it
            continue;
        for (const QString& file : session.entryList({"*.sdf"}, QDir::Files)) {
            const QString path = session.filePath(file);
            if (QFileInfo(path).size() == 0)
                continue;
            const QSettings info(infoFile(path), QSettings::IniFormat);
            result.append({path, info.value("stackFile").toString(), info.value("stackName").toString(),
                           info.value("time", QFileInfo(path).lastModified()).toDateTime()});
        }
    }
    std::sort(result.begin(), result.end(), [](const Leftover& a, const Leftover& b) { return a.time > b.time; });
    return result;
}

VRLStack* VRLRecovery::recover(const Leftover& leftover, QString& message) const {
    auto stack = std::make_unique<VRLStack>();
    StackReader reader;
    const std::string file = QFile::encodeName(leftover.recoveryFile).toStdString();
    try {
        if (!reader.read(*stack, file)) {
            message = "The recovery file " + leftover.recoveryFile + " cannot be read.";
            return nullptr;
        }
    } catch (const Exception& failure) {
        message = "The recovery file " + leftover.recoveryFile +
                  " cannot be read: " + QString::fromStdString(failure.getWhat());
        return nullptr;
    }
    // A slice without an image can be neither saved nor recovered again: what is kept stays until the image is back.
    for (int i = 0; i < stack->getNumSlices(); ++i)
        if (stack->getSlice(i).isEmpty()) {
            message = "The stack \"" + leftover.stackName + "\" cannot be recovered now, as the image of the slice \"" +
                      QString::fromStdString(stack->getSlice(i).getName()) +
                      "\" cannot be read. Put the image back in its place and start again: what was kept stays in " +
                      leftover.recoveryFile + ".";
            return nullptr;
        }
    QStringList problems;
    for (const std::string& line : reader.getMessages())
        problems += QString::fromStdString(line);
    message = problems.join('\n');
    stack->setFilename(QFile::encodeName(leftover.stackFile).toStdString());
    if (leftover.stackFile.isEmpty())
        stack->setImagesPath("");
    else
        stack->setImagesPath(QFile::encodeName(QFileInfo(leftover.stackFile).absolutePath()).toStdString());
    stack->setModified(true);
    return stack.release();
}

void VRLRecovery::discard(const Leftover& leftover) {
    QFile::remove(leftover.recoveryFile);
    QFile::remove(infoFile(leftover.recoveryFile));
    QDir session = QFileInfo(leftover.recoveryFile).dir();
    if (session.entryList({"*.sdf"}, QDir::Files).isEmpty())
        session.removeRecursively();
}

QString VRLRecovery::recoveryFile(const VRLStack& stack) const {
    const auto place = __entries.find(&stack);
    return place == __entries.end() ? QString() : place->second.file;
}

void VRLRecovery::remove(const VRLStack& stack) {
    const auto place = __entries.find(&stack);
    if (place == __entries.end())
        return;
    const QString file = place->second.file;
    __entries.erase(place);
    if (!file.isEmpty())
        __writers.start([file] {
            QFile::remove(file);
            QFile::remove(infoFile(file));
        });
}

void VRLRecovery::stackCloseEvent(VRLStackCloseEvent& event) {
    remove(*event.getStack());
}

void VRLRecovery::stackModifyEvent(VRLStackModifyEvent& event) {
    if (!event.getStack()->isModified())
        remove(*event.getStack());
}

} // namespace vorlen
