#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <QObject>

namespace vorlen {

/// A place in the journal of a folder, behind a record: another journal may go on from there.
struct JournalPlace {
    std::string folder;
    int first = 0, last = 0;    ///< the generations that count
    std::size_t end = 0;        ///< how much of the last one counts
    std::uint64_t checksum = 0; ///< of that
    int numRecords = 0;         ///< steps, undos and redos up to there
    bool saved = false;         ///< the records tell of a save
};

/// Says of a stack, as a child of it, that it was rebuilt by a journal up to this place, history and all.
class JournalOrigin : public QObject {
public:
    /// With atOnce the journal is taken over as soon as the stack is open, otherwise with its first step.
    JournalOrigin(JournalPlace where, bool atOnce, QObject* stack)
        : QObject(stack), __place(std::move(where)), __atOnce(atOnce) {}

    const JournalPlace& place() const { return __place; }
    bool isTakenOverAtOnce() const { return __atOnce; }

private:
    JournalPlace __place;
    bool __atOnce;
};

} // namespace vorlen
