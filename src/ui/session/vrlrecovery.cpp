#include "ui/session/vrlrecovery.h"

#include <algorithm>
#include <set>
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
#include "editing/journal/stackjournal.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagesourcekinds.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

const QString lockName = "lock";

/// Beside a recovery file "N.sdf" stands "N.ini", which tells whose it is.
QString infoFile(const QString& recoveryFile) {
    return recoveryFile.chopped(4) + ".ini";
}

/// And the folder "N.journal".
QString journalFolder(const QString& recoveryFile) {
    return recoveryFile.chopped(4) + ".journal";
}

bool isEmptySession(const QDir& session) {
    return session.entryList({"*.sdf"}, QDir::Files).isEmpty() &&
           session.entryList({"*.journal"}, QDir::Dirs).isEmpty();
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
    const VRLStackServer& server = VRLStackServer::stackServer;
    for (int i = 0; i < server.getNumStacks(); ++i)
        if (!server.getStack(i).isModified())
            dropJournal(server.getStack(i));
    __journals.clear();
    waitForWrites();
    if (__running == this)
        __running = nullptr;
    if (__sessionDirectory.isEmpty())
        return;
    __lock->unlock();
    if (isEmptySession(QDir(__sessionDirectory)))
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
        entry.file = fileOf(stack);
        entry.changeCount = stack.getChangeCount();
        writeEntry(entry, stack);
    }
}

void VRLRecovery::setProblem(const QString& problem, Keeper keeper) {
    __problems[keeper] = problem;
    const QString first = __problems[Files].isEmpty() ? __problems[Journals] : __problems[Files];
    if (first == __problem)
        return;
    __problem = first;
    emit problemChanged(first);
}

/// The same for as long as the stack is open. The session's directory is there.
QString VRLRecovery::fileOf(const VRLStack& stack) {
    QString& file = __files[&stack];
    if (file.isEmpty())
        file = __sessionDirectory + "/" + QString::number(++__numFiles) + ".sdf";
    return file;
}

/// Empty for a stack without one.
QString VRLRecovery::journalOf(const VRLStack& stack) const {
    const auto file = __files.find(&stack);
    return file == __files.end() || __journals.count(&stack) == 0 ? QString() : journalFolder(file->second);
}

void VRLRecovery::writeInfo(const VRLStack& stack) {
    const QString stackFile = QFile::decodeName(stack.getFilename().c_str());
    const QString stackName = QString::fromStdString(stack.getName());
    __writers.start([file = fileOf(stack), stackFile, stackName] {
        QSettings info(infoFile(file), QSettings::IniFormat);
        info.setValue("stackFile", stackFile.isEmpty() ? QString() : QFileInfo(stackFile).absoluteFilePath());
        info.setValue("stackName", stackName);
        info.setValue("time", QDateTime::currentDateTime());
    });
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
    __writers.start([this, file = entry.file, written = entry.written, text] {
        const QString failure = writeWhole(file, text);
        const QString problem =
            failure.isEmpty() ? QString() : "Changes can't be kept against a crash: " + file + ": " + failure + ".";
        QMetaObject::invokeMethod(
            this, [this, problem] { setProblem(problem); }, Qt::QueuedConnection);
        *written = failure.isEmpty();
    });
    writeInfo(stack);
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
        std::set<QString> names;
        for (const QString& file : session.entryList({"*.sdf", "*.journal"}, QDir::Files | QDir::Dirs))
            names.insert(QFileInfo(file).completeBaseName());
        for (const QString& file : names) {
            const QString path = session.filePath(file + ".sdf");
            QString journal = journalFolder(path);
            if (!StackJournal::hasUnsavedSteps(QFile::encodeName(journal).toStdString()))
                journal.clear();
            if (journal.isEmpty() && QFileInfo(path).size() == 0)
                continue;
            const QSettings info(infoFile(path), QSettings::IniFormat);
            const QDateTime last = QFileInfo(journal.isEmpty() ? path : journal).lastModified();
            result.append({path, journal, info.value("stackFile").toString(), info.value("stackName").toString(),
                           info.value("time", last).toDateTime()});
        }
    }
    std::sort(result.begin(), result.end(), [](const Leftover& a, const Leftover& b) { return a.time > b.time; });
    return result;
}

VRLStack* VRLRecovery::recover(const Leftover& leftover, QString& message) const {
    auto stack = std::make_unique<VRLStack>();
    if (!rebuild(*stack, leftover)) {
        stack = std::make_unique<VRLStack>();
        if (!readFile(*stack, leftover, message))
            return nullptr;
    }
    // A slice without an image source can be neither saved nor recovered again: what is kept stays until it is back.
    for (int i = 0; i < stack->getNumSlices(); ++i)
        if (!stack->getSlice(i).hasImageSource()) {
            message = "The stack \"" + leftover.stackName + "\" cannot be recovered now, as the image of the slice \"" +
                      QString::fromStdString(stack->getSlice(i).getName()) +
                      "\" cannot be read. Put the image back in its place and start again: what was kept stays in " +
                      leftover.recoveryFile + ".";
            return nullptr;
        }
    stack->setFilename(QFile::encodeName(leftover.stackFile).toStdString());
    if (leftover.stackFile.isEmpty())
        stack->setImagesPath("");
    else
        stack->setImagesPath(QFile::encodeName(QFileInfo(leftover.stackFile).absolutePath()).toStdString());
    stack->setModified(true);
    return stack.release();
}

/// By the journal. One that can't be carried out whole is left to the recovery file, if there is one.
bool VRLRecovery::rebuild(VRLStack& stack, const Leftover& leftover) const {
    if (leftover.journal.isEmpty())
        return false;
    const std::string folder = QFile::encodeName(leftover.journal).toStdString();
    const StackJournal::Rebuilt rebuilt = StackJournal::rebuild(stack, folder, imageSourceKinds());
    return rebuilt.good && (rebuilt.complete || QFileInfo(leftover.recoveryFile).size() == 0);
}

bool VRLRecovery::readFile(VRLStack& stack, const Leftover& leftover, QString& message) const {
    StackReader reader;
    message = "The recovery file " + leftover.recoveryFile + " cannot be read";
    try {
        if (!reader.read(stack, QFile::encodeName(leftover.recoveryFile).toStdString())) {
            message += ".";
            return false;
        }
    } catch (const Exception& failure) {
        message += ": " + QString::fromStdString(failure.getWhat());
        return false;
    }
    QStringList problems;
    for (const std::string& line : reader.getMessages())
        problems += QString::fromStdString(line);
    message = problems.join('\n');
    return true;
}

void VRLRecovery::discard(const Leftover& leftover) {
    QFile::remove(leftover.recoveryFile);
    QFile::remove(infoFile(leftover.recoveryFile));
    QDir(journalFolder(leftover.recoveryFile)).removeRecursively();
    QDir session = QFileInfo(leftover.recoveryFile).dir();
    if (isEmptySession(session))
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
            if (!QFileInfo::exists(journalFolder(file)))
                QFile::remove(infoFile(file));
        });
}

/// The journal of a stack begins with its first step.
void VRLRecovery::stackOpenEvent(VRLStackOpenEvent& event) {
    VRLStack& stack = *event.getStack();
    const auto folder = [this, &stack] {
        if (!makeSessionDirectory()) {
            setProblem("Steps can't be kept against a crash: no file can be written in " + __directory + ".", Journals);
            return std::string();
        }
        writeInfo(stack);
        return QFile::encodeName(journalFolder(fileOf(stack))).toStdString();
    };
    const auto tell = [this](const QString& problem) {
        QMetaObject::invokeMethod(
            this, [this, problem] { setProblem(problem, Journals); }, Qt::QueuedConnection);
    };
    __journals[&stack] = std::make_unique<StackJournal>(stack, folder, __writers, tell);
    connect(&stack, &VRLStack::written, this, [this, &stack] {
        if (!journalOf(stack).isEmpty())
            writeInfo(stack);
    });
}

void VRLRecovery::dropJournal(const VRLStack& stack) {
    const QString folder = journalOf(stack);
    __journals.erase(&stack);
    if (!folder.isEmpty())
        __writers.start([folder] {
            QDir(folder).removeRecursively();
            QFile::remove(folder.chopped(8) + ".ini");
        });
}

void VRLRecovery::stackCloseEvent(VRLStackCloseEvent& event) {
    dropJournal(*event.getStack());
    remove(*event.getStack());
    __files.erase(event.getStack());
}

void VRLRecovery::stackModifyEvent(VRLStackModifyEvent& event) {
    if (!event.getStack()->isModified())
        remove(*event.getStack());
}

} // namespace vorlen
