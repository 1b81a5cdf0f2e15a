#pragma once

#include <string>
#include <utility>
#include <vector>

#include "editing/journal/journalplace.h"
#include "editing/journal/journalrecord.h"

namespace vorlen {

/// The files of a journal's folder, read: generations that follow on one another, from the first that has a base of its
/// own to the last.
///
/// A generation that was closed is followed by the next one. What stands behind its end was written to both, while the
/// base of the next one was on its way to the disk; the longer of the two counts.
class JournalGenerations {
public:
    /// A generation.
    struct Generation {
        int number = 0;
        std::string base;
        JournalFormat::Contents journal;
        std::size_t numRecords = 0; ///< those that count
    };

    /// Never throws but for a lack of memory.
    explicit JournalGenerations(const std::string& folder);

    const std::vector<Generation>& all() const { return __generations; }

    /// The base of the first, which is not there any more then: it may be as long as the stack's file.
    std::string takeBase() { return std::exchange(__generations.front().base, {}); }

    /// Something could not be read for an error of the system, which says nothing about what is in it.
    bool isUnreadable() const { return __unreadable; }

    /// The bytes of a journal end in something that is no record, though it claims to be whole.
    bool isDamaged() const { return __damaged; }

    /// Behind a number of records of the last but so many generations.
    JournalPlace placeBehind(std::size_t generation, std::size_t numRecords) const;

    /// Whether a record counts in this generation: the state that a following one begins with is that of its base.
    bool isCarriedOut(std::size_t generation, std::size_t record) const;

    /// Names of the files of a generation.
    static std::string baseFile(const std::string& folder, int number);
    static std::string journalFile(const std::string& folder, int number);

    /// The numbers of the generations that have a file in the folder, ascending.
    static std::vector<int> numbersIn(const std::string& folder);

private:
    std::string read(const std::string& file);

    std::string __folder;
    std::vector<Generation> __generations;
    bool __unreadable = false, __damaged = false;
};

/// Reads the file as it is. False, with the error of the system, when it can't be read; one that is not there is empty.
bool readJournalFile(const std::string& name, std::string& contents);

/// Whether the record is a step, an undo or a redo.
bool isStep(const JournalRecord& record);

} // namespace vorlen
