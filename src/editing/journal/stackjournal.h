#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QObject>
#include <QString>
#include <QThreadPool>
#include <QTimer>

#include "editing/history/vrlactionhistory.h"
#include "editing/journal/documentrecorder.h"

namespace vorlen {

class VRLStack;
struct ImageSourceKind;

/// The journal of an open stack in a folder of its own: each step, undo and redo is appended as it happens, so that a
/// crash costs at most the step in progress.
///
/// The folder holds generations: "N.base", a stack description, and "N.journal", what was done since. The first base is
/// a copy of the stack's file, or the text of a stack that has none. A journal that has grown beyond the bound is
/// closed and a new generation begins with the stack as it is; the one before stays for its steps, older ones go.
///
/// What is to be written is made on the main thread and written on that of the pool, which has one thread. It is
/// flushed to the disk a second later at most. Failures are told, nothing is thrown, and what could not be written is
/// tried again with the next step.
class StackJournal : public QObject {
    Q_OBJECT

public:
    /// The folder is asked for when there is something to write; an empty one says that there is none at present. Told
    /// is, on the pool's thread, what keeps the journal from being written, an empty text when it was.
    StackJournal(VRLStack& stack, std::function<std::string()> folder, QThreadPool& writers,
                 std::function<void(const QString&)> tellProblem);
    ~StackJournal() override;

    /// A journal longer than this, and longer than its base, goes on in a new generation; 8 MB.
    void setBound(std::size_t bytes) { __bound = bytes; }

    /// Flushes each step at once.
    void setFlushesAtOnce(bool atOnce) { __flushesAtOnce = atOnce; }

    /// What a journal gives back.
    struct Rebuilt {
        bool good = false;     ///< there is a journal, and the stack is what it tells
        int numRecords = 0;    ///< steps, undos and redos
        bool complete = false; ///< all whole records could be carried out
    };

    /// Makes an empty stack what it was after the last whole record in the folder, with its history.
    static Rebuilt rebuild(VRLStack& stack, const std::string& folder, const std::vector<ImageSourceKind>& kinds);

    /// Whether the folder's journal tells of changes that were not saved.
    static bool hasUnsavedSteps(const std::string& folder);

private:
    class Writer;

    void record(VRLActionHistory::Change change);
    void recordSave();
    void append(const std::string& payload);
    void beginGeneration(const std::string& baseText, bool follows);
    void flush();

    VRLStack& __stack;
    std::function<std::string()> __findFolder;
    QThreadPool& __writers;
    std::function<void(const QString&)> __tellProblem;
    DocumentRecorder __recorder;
    std::string __file;                  // of the stack, when it had one that was the document
    std::string __baseText, __baseState; // of a stack without one
    std::string __folder;
    int __generation = 0;
    std::shared_ptr<Writer> __writer; // of the present generation; null before the first step
    std::size_t __bound = std::size_t(8) << 20;
    bool __flushesAtOnce = false;
    QTimer __flushTimer;
};

} // namespace vorlen
