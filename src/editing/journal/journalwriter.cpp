#include "editing/journal/journalwriter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "editing/journal/journalgenerations.h"
#include "editing/journal/journalrecord.h"
#include "files/safefile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

[[noreturn]] void failToWrite(int error) {
    throw FileWriteError("JournalWriter", std::strerror(error));
}

/// Calls take with all of an open file, piece by piece: stacks may be large. Throws FileReadError when it can't be
/// read.
template <class Take>
void readPieces(int descriptor, Take&& take) {
    std::string buffer(std::size_t(1) << 18, '\0');
    if (::lseek(descriptor, 0, SEEK_SET) != 0)
        throw FileReadError("JournalWriter", std::strerror(errno));
    while (true) {
        const ssize_t got = ::read(descriptor, buffer.data(), buffer.size());
        if (got > 0)
            take(std::string_view(buffer.data(), static_cast<std::size_t>(got)));
        else if (got == 0)
            return;
        else if (errno != EINTR)
            throw FileReadError("JournalWriter",
                                std::string("The file of the stack can't be read: ") + std::strerror(errno));
    }
}

void writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            failToWrite(errno);
    }
}

/// Copies an open file; gives its length and hash.
std::pair<std::size_t, std::string> copyTo(const std::string& file, int descriptor) {
    SafeFile copy(file);
    if (!copy.isOpen())
        failToWrite(errno);
    std::size_t length = 0;
    JournalHash hash;
    readPieces(descriptor, [&](std::string_view piece) {
        writeAll(copy.descriptor(), piece);
        hash.add(piece);
        length += piece.size();
    });
    copy.commit();
    return {length, hash.result()};
}

void save(const std::string& file, const std::string& contents) {
    if (!SafeFile::save(file, contents))
        failToWrite(errno);
}

/// The record of a save; an empty one where the file can't be read: it then is none to come back to.
void resolve(std::string& payload, int& descriptor) {
    try {
        JournalHash hash;
        readPieces(descriptor, [&hash](std::string_view piece) { hash.add(piece); });
        const JournalRecord saved{.kind = JournalRecord::Kind::Saved, .hash = hash.result()};
        payload = saved.payload();
    } catch (const FileReadError&) {
    }
    ::close(std::exchange(descriptor, -1));
}

/// The file under another name; a copy where the file system has no links. Throws FileReadError when there is none.
void linkOrCopy(const std::string& from, const std::string& to) {
    ::unlink(to.c_str());
    if (::link(from.c_str(), to.c_str()) == 0)
        return;
    std::string contents;
    if (!readJournalFile(from, contents) || ::access(from.c_str(), R_OK) != 0)
        throw FileReadError("JournalWriter", std::strerror(errno));
    save(to, contents);
}

} // namespace

JournalWriter::JournalWriter(std::string folder, int generation, int oldestKept, Base base)
    : __folder(std::move(folder)), __generation(generation), __oldestKept(oldestKept), __base(std::move(base)) {
}

JournalWriter::~JournalWriter() {
    for (const int descriptor : {__descriptor, __base.descriptor})
        if (descriptor >= 0)
            ::close(descriptor);
    for (const Entry& entry : __line)
        if (entry.descriptor >= 0)
            ::close(entry.descriptor);
}

QString JournalWriter::problem(const std::string& what) const {
    return "Steps can't be kept against a crash: " + QString::fromStdString(__folder + ": " + what) + ".";
}

void JournalWriter::putInLine(std::string payload) {
    const std::lock_guard lock(__lineMutex);
    __line.push_back({std::move(payload), -1});
}

void JournalWriter::putSaveInLine(int descriptor) {
    constexpr off_t small = 4 << 20;
    struct stat status;
    Entry entry{{}, descriptor};
    if (::fstat(descriptor, &status) == 0 && status.st_size <= small)
        resolve(entry.payload, entry.descriptor);
    const std::lock_guard lock(__lineMutex);
    __line.push_back(std::move(entry));
}

bool JournalWriter::isWaiting() {
    const std::lock_guard lock(__lineMutex);
    return !__line.empty();
}

/// Null for an empty line. What is there stays where it is until it is written, which is done under the lock of the
/// file.
JournalWriter::Entry* JournalWriter::first() {
    const std::lock_guard lock(__lineMutex);
    return __line.empty() ? nullptr : &__line.front();
}

std::optional<QString> JournalWriter::write(bool canWait) {
    if (!__begun && !canWait)
        return {};
    try {
        while (true) {
            if (canWait)
                readSave();
            const std::lock_guard file(__fileMutex);
            if (!__begun)
                begin();
            if (writeLine() || !canWait)
                return QString();
        }
    } catch (const std::exception& failure) {
        return problem(failure.what());
    } catch (const Exception& failure) {
        return problem(failure.getWhat());
    }
}

/// Without the lock of the file: it is the one that can wait who takes a save from the line's front, and no other.
void JournalWriter::readSave() {
    Entry* const entry = first();
    if (entry == nullptr || entry->descriptor < 0)
        return;
    std::string payload;
    int descriptor = entry->descriptor;
    resolve(payload, descriptor);
    const std::lock_guard lock(__lineMutex);
    entry->payload = std::move(payload);
    entry->descriptor = descriptor;
}

/// False when it stops at a save that was not read yet.
bool JournalWriter::writeLine() {
    while (Entry* entry = first()) {
        {
            const std::lock_guard lock(__lineMutex);
            if (entry->descriptor >= 0)
                return false;
        }
        if (!entry->payload.empty()) {
            std::uint64_t checksum = __checksum;
            append(JournalFormat::frame(entry->payload, checksum));
            __checksum = checksum;
        }
        const std::lock_guard lock(__lineMutex);
        __line.pop_front();
    }
    return true;
}

QString JournalWriter::flush() {
    if (!__begun || !__dirty.exchange(false) || ::fdatasync(__descriptor) == 0)
        return {};
    __dirty = true;
    return problem(std::strerror(errno));
}

void JournalWriter::begin() {
    std::filesystem::create_directories(__folder);
    std::filesystem::permissions(__folder, std::filesystem::perms::owner_all);
    try {
        if (__base.origin)
            takeOver(*__base.origin);
        else
            beginWithBase();
    } catch (...) {
        if (__descriptor >= 0)
            ::close(std::exchange(__descriptor, -1));
        __size = 0;
        throw;
    }
    if (__base.descriptor >= 0)
        ::close(std::exchange(__base.descriptor, -1));
    __base = Base();
    __begun = true;
    for (const int number : JournalGenerations::numbersIn(__folder))
        if (number < __oldestKept) {
            ::unlink(JournalGenerations::journalFile(__folder, number).c_str());
            ::unlink(JournalGenerations::baseFile(__folder, number).c_str());
        }
}

/// First the base, and then the journal: where there is a journal, its base is whole.
void JournalWriter::beginWithBase() {
    const std::string file = JournalGenerations::baseFile(__folder, __generation);
    std::pair<std::size_t, std::string> made(__base.text.size(), {});
    if (__base.descriptor >= 0) {
        made = copyTo(file, __base.descriptor);
    } else {
        save(file, __base.text);
        made.second = JournalFormat::hash(__base.text);
    }
    openJournal(O_CREAT | O_TRUNC);
    const std::string header = JournalFormat::header(__base.name, made.second);
    append(header);
    __checksum = JournalFormat::read(header).checksums.front();
    __baseSize = made.first;
}

/// What is written once is linked, what goes on is copied as far as it counts.
void JournalWriter::takeOver(const JournalPlace& origin) {
    std::string journal;
    try {
        for (int number = origin.first; number <= origin.last; ++number) {
            linkOrCopy(JournalGenerations::baseFile(origin.folder, number),
                       JournalGenerations::baseFile(__folder, number));
            if (number < origin.last)
                linkOrCopy(JournalGenerations::journalFile(origin.folder, number),
                           JournalGenerations::journalFile(__folder, number));
        }
        if (!readJournalFile(JournalGenerations::journalFile(origin.folder, origin.last), journal))
            throw FileReadError("JournalWriter", std::strerror(errno));
        const JournalFormat::Contents contents = JournalFormat::read(journal);
        const auto end = std::find(contents.ends.begin(), contents.ends.end(), origin.end);
        if (end == contents.ends.end() ||
            contents.checksums[static_cast<std::size_t>(end - contents.ends.begin())] != origin.checksum)
            throw FileReadError("JournalWriter", "The journal is another one than it was");
    } catch (const FileReadError&) {
        __lost = true;
        throw;
    }
    save(JournalGenerations::journalFile(__folder, origin.last), journal.substr(0, origin.end));
    openJournal(0);
    __size = origin.end;
    __checksum = origin.checksum;
    std::error_code error;
    const std::string base = JournalGenerations::baseFile(__folder, origin.last);
    const auto size = std::filesystem::file_size(base, error);
    __baseSize = error ? 0 : static_cast<std::size_t>(size);
}

void JournalWriter::openJournal(int flags) {
    const std::string name = JournalGenerations::journalFile(__folder, __generation);
    __descriptor = ::open(name.c_str(), O_WRONLY | O_CLOEXEC | flags, 0600);
    if (__descriptor < 0)
        failToWrite(errno);
}

/// All or nothing, as far as the disk lets.
void JournalWriter::append(const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written =
            ::pwrite(__descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(__size + done));
        if (written > 0) {
            done += static_cast<std::size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            const int error = written == 0 ? ENOSPC : errno;
            static_cast<void>(::ftruncate(__descriptor, static_cast<off_t>(__size.load())) == 0);
            failToWrite(error);
        }
    }
    __size += done;
    __dirty = true;
}

} // namespace vorlen
