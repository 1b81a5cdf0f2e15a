#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <QString>

#include "editing/journal/journalplace.h"

namespace vorlen {

/// Writes one generation of a journal: first what it begins with, then records.
///
/// Any thread may put records in line and write them; what takes long, the beginning and the reading of a saved file,
/// is left to the one that can wait. A record that could not be written stays in line. Nothing is thrown but for a lack
/// of memory at putting in line.
class JournalWriter {
public:
    /// A base is a text of its own, with the name of the file that it stands for, or the rest of an open file, or what
    /// another journal holds up to a place.
    struct Base {
        std::string text;
        std::string name;
        int descriptor = -1; ///< of a file to be copied, which is closed in the end
        std::optional<JournalPlace> origin;
    };

    /// Generations below the number oldestKept go when this one has begun.
    JournalWriter(std::string folder, int generation, int oldestKept, Base base);
    ~JournalWriter();
    JournalWriter(const JournalWriter&) = delete;
    JournalWriter& operator=(const JournalWriter&) = delete;

    void putInLine(std::string payload);
    /// A record that the document was saved, as the file that is open tells, which is closed then. A file of a few
    /// megabytes is read at once.
    void putSaveInLine(int descriptor);

    /// Writes what is in line; what went wrong, as a sentence, or an empty text. Only one who can wait begins, where
    /// that is still to be done, and reads saved files. Nothing for another one before the beginning.
    std::optional<QString> write(bool canWait);

    /// Brings what was written to the disk; what went wrong.
    QString flush();

    bool hasBegun() const { return __begun; }
    bool isWaiting();
    /// What it was to begin with can't be had any more.
    bool isLost() const { return __lost; }

    std::size_t size() const { return __size; }
    std::size_t baseSize() const { return __baseSize; }

private:
    /// What is to be written: a record, or the file of a save.
    struct Entry {
        std::string payload;
        int descriptor = -1;
    };

    void begin();
    void beginWithBase();
    void takeOver(const JournalPlace& origin);
    void openJournal(int flags);
    void append(const std::string& bytes);
    QString problem(const std::string& what) const;
    Entry* first();
    void readSave();
    bool writeLine();

    std::string __folder;
    int __generation, __oldestKept;
    Base __base;
    std::mutex __lineMutex, __fileMutex;
    std::deque<Entry> __line;
    int __descriptor = -1;
    std::uint64_t __checksum = 0;
    std::atomic<std::size_t> __size = 0, __baseSize = 0;
    std::atomic<bool> __begun = false, __lost = false, __dirty = false;
};

} // namespace vorlen
