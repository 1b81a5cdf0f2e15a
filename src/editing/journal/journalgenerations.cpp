#include "editing/journal/journalgenerations.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vorlen {

namespace {

/// The number of records up to the one that closes the generation, with it; 0 for an open one.
std::size_t closedAt(const JournalFormat::Contents& journal) {
    for (std::size_t i = journal.records.size(); i > 0; --i)
        if (journal.records[i - 1].kind == JournalRecord::Kind::Closed)
            return i;
    return 0;
}

} // namespace

bool readJournalFile(const std::string& name, std::string& contents) {
    contents.clear();
    const int descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return errno == ENOENT;
    if (struct stat status; ::fstat(descriptor, &status) == 0 && status.st_size > 0)
        contents.reserve(static_cast<std::size_t>(status.st_size));
    char buffer[65536];
    ssize_t got = 0;
    do {
        got = ::read(descriptor, buffer, sizeof buffer);
        if (got > 0)
            contents.append(buffer, static_cast<std::size_t>(got));
    } while (got > 0 || (got < 0 && errno == EINTR));
    const int error = errno;
    ::close(descriptor);
    errno = error;
    return got == 0;
}

bool isStep(const JournalRecord& record) {
    return record.kind == JournalRecord::Kind::Step || record.kind == JournalRecord::Kind::Undo ||
           record.kind == JournalRecord::Kind::Redo;
}

std::string JournalGenerations::baseFile(const std::string& folder, int number) {
    return folder + "/" + std::to_string(number) + ".base";
}

std::string JournalGenerations::journalFile(const std::string& folder, int number) {
    return folder + "/" + std::to_string(number) + ".journal";
}

std::vector<int> JournalGenerations::numbersIn(const std::string& folder) {
    std::set<int> numbers;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string suffix = entry->path().extension().string();
        int number = 0;
        if ((suffix == ".journal" || suffix == ".base") &&
            std::sscanf(entry->path().filename().c_str(), "%d.", &number) == 1)
            numbers.insert(number);
    }
    return {numbers.begin(), numbers.end()};
}

std::string JournalGenerations::read(const std::string& file) {
    std::string contents;
    __unreadable = !readJournalFile(file, contents) || __unreadable;
    return contents;
}

JournalGenerations::JournalGenerations(const std::string& folder) : __folder(folder) {
    for (const int number : numbersIn(folder)) {
        Generation next{number, {}, JournalFormat::read(read(journalFile(folder, number))), 0};
        if (!next.journal.known)
            continue;
        next.numRecords = next.journal.records.size();
        const std::size_t closed = __generations.empty() || __generations.back().number != number - 1
                                       ? 0
                                       : closedAt(__generations.back().journal);
        // The first record of a generation is its state, which has no counterpart behind the end of the one before.
        if (closed > 0 && next.numRecords > 0 &&
            next.numRecords - 1 >= __generations.back().journal.records.size() - closed) {
            __generations.back().numRecords = closed;
        } else if (closed > 0) {
            continue;
        } else {
            next.base = read(baseFile(folder, number));
            if (JournalFormat::hash(next.base) != next.journal.baseHash)
                continue;
            __generations.clear();
        }
        __generations.push_back(std::move(next));
    }
    __damaged = !__generations.empty() && __generations.back().journal.damaged;
}

JournalPlace JournalGenerations::placeBehind(std::size_t generation, std::size_t numRecords) const {
    const Generation& last = __generations[generation];
    JournalPlace place{.folder = __folder,
                       .first = __generations.front().number,
                       .last = last.number,
                       .end = last.journal.ends[numRecords],
                       .checksum = last.journal.checksums[numRecords]};
    for (std::size_t g = 0; g <= generation; ++g)
        for (std::size_t i = 0; i < (g < generation ? __generations[g].numRecords : numRecords); ++i) {
            const JournalRecord& record = __generations[g].journal.records[i];
            place.numRecords += isStep(record);
            place.saved = place.saved || record.kind == JournalRecord::Kind::Saved;
        }
    return place;
}

bool JournalGenerations::isCarriedOut(std::size_t generation, std::size_t record) const {
    return generation == 0 || record > 0 ||
           __generations[generation].journal.records[record].kind != JournalRecord::Kind::State;
}

} // namespace vorlen
