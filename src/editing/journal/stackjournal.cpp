#include "editing/journal/stackjournal.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/journal/journalrecord.h"
#include "editing/journal/journalreplay.h"
#include "editing/stacks/vrlstack.h"
#include "files/safefile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

std::string baseFile(const std::string& folder, int generation) {
    return folder + "/" + std::to_string(generation) + ".base";
}

std::string journalFile(const std::string& folder, int generation) {
    return folder + "/" + std::to_string(generation) + ".journal";
}

std::string readAll(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The rest of an open file. False when it can't be read.
bool readAll(int descriptor, std::string& contents) {
    char buffer[65536];
    while (true) {
        const ssize_t got = ::read(descriptor, buffer, sizeof buffer);
        if (got > 0)
            contents.append(buffer, static_cast<std::size_t>(got));
        else if (got == 0 || errno != EINTR)
            return got == 0;
    }
}

/// A file that is open for reading, as long as this lives.
class OpenFile {
public:
    explicit OpenFile(const std::string& name) : __descriptor(::open(name.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~OpenFile() {
        if (__descriptor >= 0)
            ::close(__descriptor);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool isOpen() const { return __descriptor >= 0; }
    bool read(std::string& contents) const {
        return isOpen() && ::lseek(__descriptor, 0, SEEK_SET) == 0 && readAll(__descriptor, contents);
    }

private:
    int __descriptor;
};

/// The generations of a folder, ascending, each whole enough to begin with, and following on the one before.
struct Generation {
    int number = 0;
    std::string base;
    JournalFormat::Contents journal;

    bool isClosed() const {
        return !journal.records.empty() && journal.records.back().kind == JournalRecord::Kind::Closed;
    }
};

std::vector<Generation> readGenerations(const std::string& folder) {
    std::vector<int> numbers;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        int number = 0;
        if (entry->path().extension() == ".journal" &&
            std::sscanf(entry->path().filename().c_str(), "%d.", &number) == 1)
            numbers.push_back(number);
    }
    std::sort(numbers.begin(), numbers.end());
    std::vector<Generation> generations;
    for (const int number : numbers) {
        Generation next{number, {}, JournalFormat::read(readAll(journalFile(folder, number)))};
        if (!next.journal.known)
            continue;
        const bool follows =
            !generations.empty() && generations.back().isClosed() && generations.back().number == number - 1;
        if (!follows) {
            next.base = readAll(baseFile(folder, number));
            if (JournalFormat::hash(next.base) != next.journal.baseHash)
                continue;
            generations.clear();
        }
        generations.push_back(std::move(next));
    }
    return generations;
}

bool isStep(const JournalRecord& record) {
    return record.kind == JournalRecord::Kind::Step || record.kind == JournalRecord::Kind::Undo ||
           record.kind == JournalRecord::Kind::Redo;
}

} // namespace

/// Writes a generation, on the thread of the pool.
class StackJournal::Writer {
public:
    Writer(std::string folder, int generation, std::string baseText, std::string baseName,
           std::unique_ptr<OpenFile> baseFileToCopy)
        : __folder(std::move(folder)), __generation(generation), __baseText(std::move(baseText)),
          __baseName(std::move(baseName)), __copied(std::move(baseFileToCopy)) {}

    ~Writer() {
        if (__descriptor >= 0)
            ::close(__descriptor);
    }

    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /// Writes this and what has waited; what went wrong, as a sentence, or nothing.
    QString append(std::string payload, bool flushes) {
        __waiting.push_back(std::move(payload));
        try {
            if (__descriptor < 0)
                begin();
            while (!__waiting.empty()) {
                std::uint64_t checksum = __checksum;
                write(JournalFormat::frame(__waiting.front(), checksum));
                __checksum = checksum;
                __waiting.pop_front();
            }
            if (flushes)
                flush();
            return {};
        } catch (const std::exception& failure) {
            return problem(failure.what());
        } catch (const Exception& failure) {
            return problem(failure.getWhat());
        }
    }

    void flush() {
        if (__descriptor >= 0 && std::exchange(__dirty, false))
            ::fdatasync(__descriptor);
    }

    std::size_t size() const { return __size; }
    std::size_t baseSize() const { return __baseSize; }

private:
    QString problem(const std::string& what) const {
        return "Steps can't be kept against a crash: " + QString::fromStdString(__folder + ": " + what) + ".";
    }

    /// Writes the base, and then the beginning of the journal: where there is a journal, its base is whole.
    void begin() {
        if (__copied != nullptr && !__copied->read(__baseText))
            throw FileReadError("StackJournal", "The file of the stack can't be read");
        std::filesystem::create_directories(__folder);
        std::filesystem::permissions(__folder, std::filesystem::perms::owner_all);
        if (!SafeFile::save(baseFile(__folder, __generation), __baseText))
            throw FileWriteError("StackJournal", std::strerror(errno));
        const std::string header = JournalFormat::header(__baseName, JournalFormat::hash(__baseText));
        const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
        __descriptor = ::open(journalFile(__folder, __generation).c_str(), flags, 0600);
        if (__descriptor < 0)
            throw FileWriteError("StackJournal", std::strerror(errno));
        try {
            write(header);
        } catch (...) {
            ::close(std::exchange(__descriptor, -1));
            throw;
        }
        __checksum = JournalFormat::read(header).checksums.front();
        __baseSize = __baseText.size();
        __baseText = std::string();
        __copied.reset();
        for (const std::string& old : {baseFile(__folder, __generation - 2), journalFile(__folder, __generation - 2)})
            ::unlink(old.c_str());
    }

    /// All or nothing, as far as the disk lets.
    void write(const std::string& bytes) {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t written =
                ::pwrite(__descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(__size + done));
            if (written > 0) {
                done += static_cast<std::size_t>(written);
            } else if (errno != EINTR) {
                const int error = errno;
                static_cast<void>(::ftruncate(__descriptor, static_cast<off_t>(__size.load())) == 0);
                throw FileWriteError("StackJournal", std::strerror(error));
            }
        }
        __size += done;
        __dirty = true;
    }

    std::string __folder;
    int __generation;
    std::string __baseText, __baseName;
    std::unique_ptr<OpenFile> __copied;
    std::deque<std::string> __waiting;
    int __descriptor = -1;
    std::uint64_t __checksum = 0;
    std::atomic<std::size_t> __size = 0, __baseSize = 0;
    bool __dirty = false;
};

StackJournal::StackJournal(VRLStack& stack, std::function<std::string()> folder, QThreadPool& writers,
                           std::function<void(const QString&)> tellProblem)
    : __stack(stack), __findFolder(std::move(folder)), __writers(writers), __tellProblem(std::move(tellProblem)),
      __recorder(stack) {
    if (!stack.getFilename().empty() && !stack.isModified())
        __file = stack.getFilename();
    else if (stack.getNumSlices() + stack.getNumModels() > 0)
        try {
            __baseText = StackWriter().toText(stack);
            __baseState = JournalRecord{.delta = __recorder.fineState()}.payload();
        } catch (const Exception&) { // of a slice without an image: the steps are kept once it has one
        }
    connect(stack.history(), &VRLActionHistory::recorded, this, &StackJournal::record);
    connect(&stack, &VRLStack::written, this, &StackJournal::recordSave);
    __flushTimer.setSingleShot(true);
    connect(&__flushTimer, &QTimer::timeout, this, &StackJournal::flush);
}

StackJournal::~StackJournal() {
    flush();
}

void StackJournal::record(VRLActionHistory::Change change) {
    try {
        if (__folder.empty())
            __folder = __findFolder();
        if (__folder.empty())
            return;
        const bool begins = __writer == nullptr;
        JournalRecord record;
        record.delta = __recorder.take();
        if (change == VRLActionHistory::Change::Clear) { // what was done is not to be found any more
            if (!begins)
                beginGeneration(StackWriter().toText(__stack), false);
            return;
        }
        const bool isRead = begins && !__file.empty() && !__stack.fileGuard().isChanged(__file);
        if (__recorder.isLost() || (begins && !isRead && __baseText.empty()))
            return beginGeneration(StackWriter().toText(__stack), false);
        if (begins) {
            auto file = isRead ? std::make_unique<OpenFile>(__file) : nullptr;
            if (isRead && !file->isOpen())
                return beginGeneration(StackWriter().toText(__stack), false);
            __writer = std::make_shared<Writer>(__folder, ++__generation, std::move(__baseText),
                                                isRead ? __file : std::string(), std::move(file));
            __baseText = std::string();
            if (!isRead)
                append(std::exchange(__baseState, {}));
        }
        using Kind = JournalRecord::Kind;
        record.kind = change == VRLActionHistory::Change::Undo   ? Kind::Undo
                      : change == VRLActionHistory::Change::Redo ? Kind::Redo
                                                                 : Kind::Step;
        if (record.kind == Kind::Step)
            record.description = __stack.history()->getUndoDescription(true).toStdString();
        append(record.payload());
        if (__writer->size() > std::max(__bound, __writer->baseSize()))
            beginGeneration(StackWriter().toText(__stack), true);
    } catch (const Exception& failure) {
        __tellProblem("Steps can't be kept against a crash: " + QString::fromStdString(failure.getWhat()) + ".");
    } catch (const std::exception& failure) {
        __tellProblem(QString("Steps can't be kept against a crash: ") + failure.what() + ".");
    }
}

/// One that follows on the one before closes it, and that stays; after a gap the new generation stands alone.
void StackJournal::beginGeneration(const std::string& baseText, bool follows) {
    if (follows)
        append(JournalRecord{.kind = JournalRecord::Kind::Closed}.payload());
    else
        ++__generation;
    __writer = std::make_shared<Writer>(__folder, ++__generation, baseText, std::string(), nullptr);
    append(JournalRecord{.delta = __recorder.fineState()}.payload());
}

void StackJournal::recordSave() {
    if (__writer == nullptr)
        return;
    __writers.start(
        [writer = __writer, tell = __tellProblem, file = std::make_shared<OpenFile>(__stack.getFilename())] {
            std::string contents;
            if (file->read(contents))
                tell(writer->append(
                    JournalRecord{.kind = JournalRecord::Kind::Saved, .hash = JournalFormat::hash(contents)}.payload(),
                    false));
        });
    __flushTimer.start(1000);
}

void StackJournal::append(const std::string& payload) {
    __writers.start([writer = __writer, tell = __tellProblem, payload, flushes = __flushesAtOnce] {
        tell(writer->append(payload, flushes));
    });
    if (!__flushTimer.isActive())
        __flushTimer.start(1000);
}

void StackJournal::flush() {
    if (__writer != nullptr)
        __writers.start([writer = __writer] { writer->flush(); });
}

StackJournal::Rebuilt StackJournal::rebuild(VRLStack& stack, const std::string& folder,
                                            const std::vector<ImageSourceKind>& kinds) {
    Rebuilt rebuilt;
    const std::vector<Generation> generations = readGenerations(folder);
    if (generations.empty())
        return rebuilt;
    const Generation& first = generations.front();
    StackReader(kinds).readText(stack, first.base, first.journal.baseName.empty() ? "/" : first.journal.baseName);
    JournalReplay replay(stack, kinds);
    rebuilt.good = rebuilt.complete = true;
    for (const Generation& generation : generations)
        for (const JournalRecord& record : generation.journal.records) {
            try {
                if (record.kind != JournalRecord::Kind::State || &generation == &first)
                    replay.carryOut(record);
            } catch (const Exception&) { // what was done before stands
                rebuilt.complete = false;
                return rebuilt;
            }
            rebuilt.numRecords += isStep(record);
        }
    return rebuilt;
}

bool StackJournal::hasUnsavedSteps(const std::string& folder) {
    bool unsaved = false;
    for (const Generation& generation : readGenerations(folder))
        for (const JournalRecord& record : generation.journal.records)
            unsaved = isStep(record) || (unsaved && record.kind != JournalRecord::Kind::Saved);
    return unsaved;
}

} // namespace vorlen
