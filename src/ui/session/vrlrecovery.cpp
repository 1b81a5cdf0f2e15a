#include "ui/session/vrlrecovery.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <optional>
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

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/journal/journalgenerations.h"
#include "editing/journal/journalplace.h"
#include "editing/journal/journalrecord.h"
#include "editing/journal/stackjournal.h"
#include "editing/operations/lostimages.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagesourcekinds.h"
#include "numerics/exception.h"
#include "progress/progressproxy.h"
#include "ui/progress/workbeside.h"

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
    return (QDir::isAbsolutePath(state) ? state : homeDirectory() + "/.local/state") + "/vorlen";
}

/// What went wrong; empty for a file that is whole on disk.
QString writeWhole(const QString& name, const QByteArray& contents) {
    QSaveFile file(name);
    if (file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size() && file.commit())
        return {};
    return file.errorString();
}

/// Empty for a file that can't be read.
std::string hashOfFile(const std::string& name) {
    QFile file(QFile::decodeName(name.c_str()));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    JournalHash hash;
    for (;;) {
        const QByteArray piece = file.read(1 << 20);
        if (piece.isEmpty())
            break;
        hash.add({piece.constData(), static_cast<std::size_t>(piece.size())});
    }
    return file.error() == QFileDevice::NoError ? hash.result() : std::string();
}

/// Throws here what the work throws there.
void runGuardedBeside(ProgressSubject& teller, const std::function<void(ProgressMonitor&)>& work) {
    ProgressGauge gauge;
    std::exception_ptr failure;
    runBeside(teller, gauge, [&] {
        try {
            work(gauge);
        } catch (...) {
            failure = std::current_exception();
        }
    });
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace

VRLRecovery* VRLRecovery::__running = nullptr;

QString VRLRecovery::userDirectory() {
    return stateDirectory() + "/recovery";
}

QString VRLRecovery::userHistoryDirectory() {
    return stateDirectory() + "/history";
}

VRLRecovery::VRLRecovery(const QString& directory)
    : __directory(directory.isEmpty() ? userDirectory() : directory),
      __history(QFileInfo(__directory).path() + "/history") {
    __running = this;
    __writers.setMaxThreadCount(1); // files are written and removed in the order of the requests
    connect(&__timer, &QTimer::timeout, this, &VRLRecovery::saveIfIdle);
}

VRLRecovery::~VRLRecovery() {
    saveModifiedStacks();
    const VRLStackServer& server = VRLStackServer::stackServer;
    for (int i = 0; i < server.getNumStacks(); ++i)
        if (!server.getStack(i).isModified())
            closeJournal(server.getStack(i));
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
    if (QGuiApplication::mouseButtons() != Qt::NoButton)
        return;
    const VRLStackServer& server = VRLStackServer::stackServer;
    for (int i = 0; i < server.getNumStacks(); ++i)
        if (!isKeptByJournal(server.getStack(i)))
            save(server.getStack(i));
}

/// A stack whose text takes too long to be made while somebody works, and that has a sound journal.
bool VRLRecovery::isKeptByJournal(const VRLStack& stack) const {
    const auto journal = __journals.find(&stack);
    if (journal == __journals.end() || !journal->second->isSound() || !__problems[Journals].isEmpty())
        return false;
    constexpr int most = 1000000;
    int numVertices = 0;
    for (int i = 0; i < stack.getNumModels() && numVertices <= most; ++i)
        for (int k = 0; k < stack.getModel(i).getNumItems() && numVertices <= most; ++k)
            numVertices += stack.getModel(i).getItem(k).getSize();
    return numVertices > most;
}

void VRLRecovery::saveModifiedStacks() {
    const VRLStackServer& server = VRLStackServer::stackServer;
    for (int i = 0; i < server.getNumStacks(); ++i)
        save(server.getStack(i));
}

/// What has changed since the last time.
void VRLRecovery::save(const VRLStack& stack) {
    Entry& entry = __entries[&stack];
    if (!stack.isModified() || (*entry.written && entry.changeCount == stack.getChangeCount()))
        return;
    if (!makeSessionDirectory())
        return setProblem("Changes can't be kept against a crash: no file can be written in " + __directory + ".");
    entry.file = fileOf(stack);
    entry.changeCount = stack.getChangeCount();
    writeEntry(entry, stack);
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

/// With the number of steps that the recovery file knows of, where it is written too.
void VRLRecovery::writeInfo(const VRLStack& stack, int numRecords) {
    const QString stackFile = QFile::decodeName(stack.getFilename().c_str());
    const QString stackName = QString::fromStdString(stack.getName());
    __writers.start([file = fileOf(stack), stackFile, stackName, numRecords] {
        QSettings info(infoFile(file), QSettings::IniFormat);
        info.setValue("stackFile", stackFile.isEmpty() ? QString() : QFileInfo(stackFile).absoluteFilePath());
        info.setValue("stackName", stackName);
        info.setValue("time", QDateTime::currentDateTime());
        if (numRecords >= 0)
            info.setValue("numSteps", numRecords);
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
    const auto journal = __journals.find(&stack);
    writeInfo(stack, journal == __journals.end() ? 0 : journal->second->getNumRecords());
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

void VRLRecovery::tidy() {
    const QDir top(__directory);
    for (const QString& name : top.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QDir session(top.filePath(name));
        QLockFile lock(session.filePath(lockName));
        lock.setStaleLockTime(0);
        if (session.path() == __sessionDirectory || !lock.tryLock())
            continue;
        for (const QString& folder : session.entryList({"*.journal"}, QDir::Dirs)) {
            const QString journal = session.filePath(folder), recoveryFile = journal.chopped(8) + ".sdf";
            const std::string path = QFile::encodeName(journal).toStdString();
            if (QFileInfo(recoveryFile).size() > 0 || StackJournal::hasUnsavedSteps(path))
                continue;
            const QString file = QSettings(infoFile(recoveryFile), QSettings::IniFormat).value("stackFile").toString();
            const bool kept = !file.isEmpty() && StackJournal::hasSave(path);
            if (kept && !__history.take(journal, QFile::encodeName(file).toStdString()))
                continue;
            if (!kept)
                QDir(journal).removeRecursively();
            QFile::remove(infoFile(recoveryFile));
        }
        if (isEmptySession(session)) {
            lock.unlock(); // it complains of a file that is gone
            session.removeRecursively();
        }
    }
    __history.prune();
}

VRLRecovery::KeptHistory VRLRecovery::keptHistory(const std::string& file, ProgressProxy& teller) {
    waitForWrites(); // the file may have been closed just now
    KeptHistory kept;
    if (file.empty() || !__history.has(file))
        return kept;
    const std::string name = QFileInfo(QFile::decodeName(file.c_str())).fileName().toStdString();
    teller.notifyStarted("Reading the history of " + name + "...");
    try {
        rebuildHistory(file, teller, kept);
    } catch (const std::exception&) { // the file is read without
        kept.stack.reset();
        kept.message =
            "The history of " + QString::fromStdString(name) + " can't be used: what was done before can't be undone.";
    }
    teller.notifyFinished(" ");
    return kept;
}

void VRLRecovery::rebuildHistory(const std::string& file, ProgressProxy& teller, KeptHistory& kept) {
    const QString name = QFileInfo(QFile::decodeName(file.c_str())).fileName();
    const std::string folder = QFile::encodeName(__history.folderOf(file)).toStdString();
    const std::string directory = file.substr(0, file.rfind('/') + 1);
    auto stack = std::make_unique<VRLStack>();
    stack->fileGuard().note(file); // before it is looked at
    std::string hash;
    std::optional<JournalGenerations> journal;
    runGuardedBeside(teller, [&](ProgressMonitor&) {
        hash = hashOfFile(file);
        journal.emplace(folder);
    });
    if (hash.empty())
        return;
    const StackJournal::Rebuilt rebuilt =
        StackJournal::rebuildSaved(*stack, *journal, imageSourceKinds(), hash, &teller);
    journal.reset();
    if (rebuilt.unreadable) {
        kept.message = "The history of " + name + " can't be read now: what was done before can't be undone.";
        return;
    }
    if (rebuilt.good && (rebuilt.hasProblems || numLostImages(*stack) > 0))
        return; // the reader of the file tells of them
    bool fits = false;
    if (rebuilt.good && rebuilt.complete)
        runGuardedBeside(teller, [&](ProgressMonitor& monitor) {
            StackWriter writer;
            writer.addMonitor(monitor);
            fits = JournalFormat::hash(writer.toText(*stack, directory)) == hash;
        });
    if (!fits) {
        kept.isStale = true;
        kept.message =
            rebuilt.good
                ? "The history of " + name + " does not fit it: what was done before can't be undone any more."
                : name + " is not as it was saved here last, perhaps changed by another program: what was done "
                         "before can't be undone any more.";
        return;
    }
    __history.touch(file);
    if (!stack->history()->isUndoable() && !stack->history()->isRedoable())
        return;
    stack->setFilename(file);
    stack->setImagesPath(directory);
    stack->setModified(false);
    new JournalOrigin(rebuilt.place, false, stack.get()); // goes with the stack
    const int number = stack->history()->getNumUndoSteps();
    kept.message = number == 1 ? QString("The last step before %1 was closed can be undone.").arg(name)
                               : QString("%1 steps from before %2 was closed can be undone.").arg(number).arg(name);
    kept.stack = std::move(stack);
}

void VRLRecovery::forgetHistory(VRLStack& stack) {
    stack.history()->clear();
    const QObjectList children = stack.children(); // NOLINT(performance-unnecessary-copy-initialization): it changes
    for (QObject* child : children)
        if (dynamic_cast<JournalOrigin*>(child) != nullptr)
            delete child;
}

VRLStack* VRLRecovery::recover(const Leftover& leftover, QString& message) {
    message.clear();
    auto stack = std::make_unique<VRLStack>();
    if (!rebuild(*stack, leftover, message)) {
        stack = std::make_unique<VRLStack>();
        if (QFileInfo(leftover.recoveryFile).size() == 0 && !message.isEmpty())
            return nullptr;
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

/// By the journal. One that is damaged is left to the recovery file where that knows more.
bool VRLRecovery::rebuild(VRLStack& stack, const Leftover& leftover, QString& message) {
    if (leftover.journal.isEmpty())
        return false;
    const StackJournal::Rebuilt rebuilt =
        StackJournal::rebuild(stack, QFile::encodeName(leftover.journal).toStdString(), imageSourceKinds());
    const bool hasFile = QFileInfo(leftover.recoveryFile).size() > 0;
    if (rebuilt.unreadable) {
        __unreadable.insert(leftover.recoveryFile);
        message = "The journal of the stack \"" + leftover.stackName + "\" can't be read now. It stays in " +
                  leftover.journal + "; start again to have it tried once more.";
        if (hasFile)
            message += " The stack is opened as it was kept a few minutes before.";
        return false;
    }
    if (!rebuilt.good)
        return false;
    if (!rebuilt.complete || rebuilt.damaged) {
        message = "The journal of the stack \"" + leftover.stackName +
                  "\" is damaged. Look whether the last of what you did is there before you save: it may be missing.";
        const QSettings info(infoFile(leftover.recoveryFile), QSettings::IniFormat);
        if (hasFile && info.value("numSteps", 0).toInt() > rebuilt.numRecords)
            return false;
    }
    new JournalOrigin(rebuilt.place, true, &stack); // goes with the stack
    // What somebody has written since is not written over without a question.
    const std::string file = QFile::encodeName(leftover.stackFile).toStdString();
    std::string text;
    if (!file.empty() && !rebuilt.fileHash.empty()) {
        stack.fileGuard().note(file);
        if (readJournalFile(file, text) && !text.empty() && JournalFormat::hash(text) != rebuilt.fileHash)
            stack.fileGuard().noteAsChanged(file);
    }
    return true;
}

bool VRLRecovery::readFile(VRLStack& stack, const Leftover& leftover, QString& message) const {
    StackReader reader;
    QStringList problems;
    if (!message.isEmpty())
        problems += message;
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
    for (const std::string& line : reader.getMessages())
        problems += QString::fromStdString(line);
    message = problems.join('\n');
    return true;
}

void VRLRecovery::discard(const Leftover& leftover) {
    QFile::remove(leftover.recoveryFile);
    if (__unreadable.count(leftover.recoveryFile) > 0)
        return;
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
    // What the user wants forgotten is not to be found any more.
    connect(stack.history(), &VRLActionHistory::recorded, __journals[&stack].get(),
            [this, &stack](VRLActionHistory::Change change) {
                if (change == VRLActionHistory::Change::Clear && !stack.getFilename().empty())
                    __writers.start([this, file = stack.getFilename()] { __history.remove(file); });
            });
}

/// What leads back from a file as it is stays for the next time that it is opened.
void VRLRecovery::closeJournal(const VRLStack& stack) {
    const QString folder = journalOf(stack);
    const auto journal = __journals.find(&stack);
    if (journal == __journals.end())
        return;
    const std::string file = journal->second->isWorthKeeping() ? stack.getFilename() : std::string();
    __journals.erase(journal);
    if (!folder.isEmpty())
        __writers.start([this, folder, file] {
            if (!file.empty() && !__history.take(folder, file))
                return; // it stays for tidy()
            if (file.empty())
                QDir(folder).removeRecursively();
            QFile::remove(folder.chopped(8) + ".ini");
            __history.prune();
        });
}

void VRLRecovery::stackCloseEvent(VRLStackCloseEvent& event) {
    closeJournal(*event.getStack());
    remove(*event.getStack());
    __files.erase(event.getStack());
}

void VRLRecovery::stackModifyEvent(VRLStackModifyEvent& event) {
    if (!event.getStack()->isModified())
        remove(*event.getStack());
}

} // namespace vorlen
