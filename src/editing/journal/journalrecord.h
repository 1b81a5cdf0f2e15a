#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "editing/journal/documentdelta.h"

class QCryptographicHash;

namespace vorlen {

/// One entry of a journal.
struct JournalRecord {
    enum class Kind {
        State = 0, ///< what the base does not tell of the document
        Step = 1,  ///< steps, with what they have changed
        Undo = 2,
        Redo = 3,
        Saved = 4,  ///< the document was written to a file
        Closed = 5, ///< the journal goes on in the next generation
    };

    Kind kind = Kind::State;
    std::string description = {}; ///< of a step
    DocumentDelta delta = {};
    std::string hash = {}; ///< of the file

    std::string payload() const;
    /// Throws FileFormatError.
    static JournalRecord read(std::string_view payload);
};

/// The bytes of a journal: a line that says what it is, and records, each with its length and a checksum that goes over
/// all records so far. A journal that is cut off or damaged is used up to the first record that is not whole.
class JournalFormat {
public:
    /// The start of a journal, with the name of the file that the base stands for (empty for a base with absolute image
    /// names) and the hash of the base.
    static std::string header(const std::string& baseName, const std::string& baseHash);

    /// The record as it follows on what has this checksum, which becomes that of the whole.
    static std::string frame(std::string_view payload, std::uint64_t& checksum);

    /// What the bytes of a journal hold, as far as they are whole.
    struct Contents {
        bool known = false;   ///< it is a journal, of this version
        bool damaged = false; ///< behind what is whole stands more than a record that was being written
        std::string baseName, baseHash;
        std::vector<JournalRecord> records;
        /// Behind the header and behind each record: the length of the journal up to there, and its checksum.
        std::vector<std::size_t> ends;
        std::vector<std::uint64_t> checksums;
    };

    /// Never throws but for a lack of memory.
    static Contents read(std::string_view bytes);

    /// A hash by which contents of files are told from each other.
    static std::string hash(std::string_view contents);
};

/// The same hash of contents that come in pieces.
class JournalHash {
public:
    JournalHash();
    ~JournalHash();
    void add(std::string_view bytes);
    std::string result() const;

private:
    std::unique_ptr<QCryptographicHash> __hash;
};

} // namespace vorlen
