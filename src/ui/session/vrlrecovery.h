#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <set>
#include <string>

#include <QDateTime>
#include <QList>
#include <QLockFile>
#include <QObject>
#include <QString>
#include <QThreadPool>
#include <QTimer>

#include "editing/bus/vrleventclient.h"
#include "editing/journal/journalstore.h"

namespace vorlen {

class ProgressProxy;
class StackJournal;
class VRLStack;

/// Saves open stacks from crashes and power cuts: each step of an open stack goes to a journal as it happens, and each
/// modified stack is written to a recovery file of its own, every two minutes while there are new changes and the user
/// holds no mouse button.
///
/// The journal has the steps too, to be undone after a crash, and goes before the recovery file, which is there should
/// the journal be damaged. Of a stack of more than a million vertices, whose text would hold the user up, the journal
/// alone is kept as long as it is sound, but for the end of the program. A recovered stack goes on with its journal.
/// When a stack is closed that was saved, its journal moves to a folder "history" beside the directory, so that the
/// steps can be undone when the file is opened again; only as long as the file is byte for byte the one that was saved.
///
/// The files lie in a directory of the running program below the user's state directory, which a lock keeps from other
/// programs that run at the same time. The text is made on the main thread and written to disk on another one, beside
/// and renamed, so that a recovery file is always whole. A file goes when its stack is saved or closed. What a program
/// leaves behind that did not end in the proper way is offered at the next start. Stacks that are still open and
/// modified when this object goes were not closed by the user: their files are brought up to date and stay.
///
/// The user's own files are never touched. Image paths in a recovery file are absolute, so that what is recovered needs
/// the file no more. What keeps the files from being written, a full disk for instance, is told by problemChanged()
/// until a writing succeeds; each tick tries again.
///
/// The state directory is XDG_STATE_HOME, or ".local/state" in the home directory where that is unset, empty or no
/// absolute path.
class VRLRecovery : public QObject, public VRLEventClient {
    Q_OBJECT

public:
    /// A stack that another run has left behind.
    struct Leftover {
        QString recoveryFile; ///< may not be there where there is a journal
        QString journal;      ///< folder of the journal; empty for none with changes
        QString stackFile;    ///< the user's own file; empty for a stack that was never saved
        QString stackName;
        QDateTime time;
    };

    /// The directory is that of all programs; an empty one stands for the user's state directory.
    explicit VRLRecovery(const QString& directory = QString());
    ~VRLRecovery() override;

    /// The user's directories: for what a crash leaves behind, and for the histories of files.
    static QString userDirectory();
    static QString userHistoryDirectory();

    /// The object made last; null when there is none.
    static VRLRecovery* running() { return __running; }

    /// Begins to save, in intervals of so many milliseconds.
    void start(int interval = 120000);

    /// Moves the journals of other runs to the history that have nothing to recover, and removes what of the history is
    /// too old or too much. To be called before stacks are opened.
    void tidy();

    /// What is known of a file from before.
    struct KeptHistory {
        std::unique_ptr<VRLStack> stack; ///< what the file holds, with its steps; null where the file has to be read
        QString message;                 ///< in a sentence what can be undone, or why not, where the user wants to know
        bool isStale = false;            ///< the steps don't lead to this file: to be removed, if the file is whole
    };

    /// A stack file, as it was when it was closed, with its steps, without a look into it: a hash tells that it is the
    /// one. The stack has all problems behind it that a reader might tell of. The proxy tells how far it is; windows
    /// paint meanwhile.
    KeptHistory keptHistory(const std::string& file, ProgressProxy& teller);

    /// Makes such a stack one that was read from its file.
    static void forgetHistory(VRLStack& stack);

    const QString& getDirectory() const { return __directory; }
    JournalStore& history() { return __history; }

    /// What other runs have left behind, latest first. Files without a stack in them are not listed.
    QList<Leftover> leftovers() const;

    /// Reads a leftover into a new stack, which has the name of the user's file and is modified; null, with a message,
    /// when it cannot be read, or the image of one of its slices. A message beside a stack says what may be missing.
    /// The recovery file and the journal stay until discard().
    VRLStack* recover(const Leftover& leftover, QString& message);

    /// Deletes a leftover, but for a journal that could not be read when it was to be recovered.
    void discard(const Leftover& leftover);

    /// The recovery file of an open stack; empty when there is none.
    QString recoveryFile(const VRLStack& stack) const;

    /// Why changes can't be kept at present, as a sentence for the user; empty when they can.
    const QString& problem() const { return __problem; }

    void stackOpenEvent(VRLStackOpenEvent& event) override;
    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackModifyEvent(VRLStackModifyEvent& event) override;

signals:
    void problemChanged(const QString& problem);

public slots:
    /// Writes what has changed since the last time, whatever the user is doing.
    void saveModifiedStacks();

    /// Waits until all files are on disk.
    void waitForWrites();

private:
    struct Entry {
        QString file;
        unsigned int changeCount = 0;
        std::shared_ptr<std::atomic<bool>> written = std::make_shared<std::atomic<bool>>(false); // the last changes
    };

    void saveIfIdle();
    void save(const VRLStack& stack);
    bool isKeptByJournal(const VRLStack& stack) const;
    bool makeSessionDirectory();
    enum Keeper { Files, Journals };
    void setProblem(const QString& problem, Keeper keeper = Files);
    QString fileOf(const VRLStack& stack);
    QString journalOf(const VRLStack& stack) const;
    void writeInfo(const VRLStack& stack, int numRecords = -1);
    void closeJournal(const VRLStack& stack);
    void rebuildHistory(const std::string& file, ProgressProxy& teller, KeptHistory& kept);
    bool rebuild(VRLStack& stack, const Leftover& leftover, QString& message);
    bool readFile(VRLStack& stack, const Leftover& leftover, QString& message) const;
    void writeEntry(const Entry& entry, const VRLStack& stack);
    void remove(const VRLStack& stack);

    QString __directory;
    QString __sessionDirectory;
    std::unique_ptr<QLockFile> __lock;
    QTimer __timer;
    std::map<const VRLStack*, Entry> __entries;
    std::map<const VRLStack*, QString> __files; // the recovery file of each stack that has needed one
    std::map<const VRLStack*, std::unique_ptr<StackJournal>> __journals;
    std::set<QString> __unreadable; // recovery files of those leftovers whose journal can't be read now
    JournalStore __history;
    int __numFiles = 0;
    QString __problems[2]; // of each keeper
    QString __problem;
    QThreadPool __writers; // that may use what stands above
    static VRLRecovery* __running;
};

} // namespace vorlen
