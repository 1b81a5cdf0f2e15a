#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QObject>
#include <QString>
#include <QThreadPool>
#include <QTimer>

#include "editing/history/vrlactionhistory.h"
#include "editing/journal/documentrecorder.h"
#include "editing/journal/journalplace.h"

namespace vorlen {

class JournalGenerations;
class JournalWriter;
class ProgressMonitor;
class VRLStack;
struct ImageSourceKind;

/// The journal of an open stack in a folder of its own: each step, undo and redo is appended as it happens, so that a
/// crash costs at most the step in progress.
///
/// The folder holds generations: "N.base", a stack description, and "N.journal", what was done since. The first base is
/// a copy of the stack's file, or the text of a stack that has none; a stack that was rebuilt by a journal goes on with
/// that one (JournalOrigin). A journal that has grown beyond the bound is closed and a new generation begins with the
/// stack as it is; the one before stays for its steps, older ones go. As long as the new one's base is not on the disk,
/// both are written.
///
/// A record is written before the step's events have ended, and flushed to the disk a second later at most, on the
/// thread of the pool, which has one thread. Only the first records wait until the pool has written the base. Failures
/// are told, nothing is thrown, and what could not be written is tried again.
class StackJournal : public QObject {
    Q_OBJECT

public:
    /// The folder is asked for when there is something to write; an empty one says that there is none at present. Told
    /// is, on any thread, what keeps the journal from being written, an empty text when it was.
    StackJournal(VRLStack& stack, std::function<std::string()> folder, QThreadPool& writers,
                 std::function<void(const QString&)> tellProblem);
    ~StackJournal() override;

    /// A journal longer than this, and longer than its base, goes on in a new generation; 8 MB.
    void setBound(std::size_t bytes) { __bound = bytes; }

    /// Flushes each step at once.
    void setFlushesAtOnce(bool atOnce) { __flushesAtOnce = atOnce; }

    /// Whether the folder has the stack's steps, or will have them, with a save among them.
    bool isWorthKeeping() const { return __writer != nullptr && __saved; }

    /// Whether all steps so far are in the folder, or will be; false before the first one.
    bool isSound() const;

    /// The number of steps, undos and redos that were recorded.
    int getNumRecords() const { return __numRecords; }

    /// What a journal gives back.
    struct Rebuilt {
        bool good = false;        ///< there is a journal, and the stack is what it tells
        bool complete = false;    ///< all whole records could be carried out
        bool unreadable = false;  ///< the system could not read it; nothing was done
        bool damaged = false;     ///< what stands behind the last record was one
        bool hasProblems = false; ///< the reader of the base has told of some
        int numRecords = 0;       ///< steps, undos and redos
        JournalPlace place;       ///< from where to go on
        std::string fileHash;     ///< of the file that the stack was read from or saved to last; empty for none
    };

    /// Makes an empty stack what it was after the last whole record in the folder, with its history.
    static Rebuilt rebuild(VRLStack& stack, const std::string& folder, const std::vector<ImageSourceKind>& kinds);

    /// Makes an empty stack what it was when it was saved last to a file with this hash, by the journal of a folder,
    /// whose base goes. Not good when it tells of no such save. The monitor, if any, hears of the reading of the base.
    static Rebuilt rebuildSaved(VRLStack& stack, JournalGenerations& generations,
                                const std::vector<ImageSourceKind>& kinds, const std::string& hash,
                                ProgressMonitor* monitor = nullptr);

    /// Whether the folder's journal tells of changes that were not saved, or can't be read now.
    static bool hasUnsavedSteps(const std::string& folder);

    /// Whether the folder's journal tells of a save.
    static bool hasSave(const std::string& folder);

private:
    void record(VRLActionHistory::Change change);
    void recordSave();
    bool findFolder();
    void forget();
    bool begin();
    void beginAsItIs(bool follows);
    void append(const std::string& payload);
    void write(const std::shared_ptr<JournalWriter>& writer, const std::string& payload);
    void work(const std::shared_ptr<JournalWriter>& writer, bool flushes);
    void flush();
    void guarded(const std::function<void()>& work);

    VRLStack& __stack;
    std::function<std::string()> __findFolder;
    QThreadPool& __writers;
    std::function<void(const QString&)> __tellProblem;
    std::optional<DocumentRecorder> __recorder;
    std::optional<JournalPlace> __origin; // of a journal that is to be gone on with
    std::string __file;                   // of the stack, when it had one that was the document
    std::string __baseText, __baseState;  // of a stack without one
    std::string __folder;
    int __generation = 0;
    int __numRecords = 0;
    bool __saved = false, __lost = false;
    std::shared_ptr<JournalWriter> __writer; // of the present generation; null before the first step
    std::shared_ptr<JournalWriter> __former; // of the one before, until the present one has begun
    std::size_t __bound = std::size_t(8) << 20;
    bool __flushesAtOnce = false;
    QTimer __flushTimer;
};

} // namespace vorlen
