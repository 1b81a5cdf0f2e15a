#include "images/files/voxelmatrixfile.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "files/fileinfo.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

// Small enough for the second-level cache, so that the copy out of it costs little beside the copy by the kernel.
constexpr std::size_t bufferLength = 128 * 1024;

// Rows from this length on go without a copy; shorter ones cost less through the buffer.
constexpr std::size_t longRow = 512;

// The most that the system takes in one call.
constexpr std::size_t rowsTogether = 1024;

/// Moves the rows by a call like readv() or writev() until all are done or the call moves nothing more. What is left of
/// them stays in rows. False when the call fails.
template <class Call>
bool transferRows(std::vector<iovec>& rows, Call&& call) {
    std::size_t done = 0; // rows moved as a whole
    bool failed = false;
    while (done < rows.size()) {
        const ssize_t moved = call(rows.data() + done, int(std::min(rows.size() - done, rowsTogether)));
        if (moved < 0 && errno == EINTR)
            continue;
        failed = moved < 0;
        if (moved <= 0)
            break;
        std::size_t rest = std::size_t(moved);
        while (done < rows.size() && rest >= rows[done].iov_len)
            rest -= rows[done++].iov_len;
        if (rest > 0) {
            rows[done].iov_base = static_cast<char*>(rows[done].iov_base) + rest;
            rows[done].iov_len -= rest;
        }
    }
    rows.erase(rows.begin(), rows.begin() + std::ptrdiff_t(done));
    return !failed;
}

} // namespace

VoxelMatrixFileReader::VoxelMatrixFileReader(const std::string& filename, const std::string& where)
    : __filename(filename), __where(where) {
    struct stat status {};
    // Opening a pipe would wait for a writer: look before.
    if (::stat(filename.c_str(), &status) == 0 && S_ISREG(status.st_mode))
        __descriptor = ::open(filename.c_str(), O_RDONLY | O_CLOEXEC);
    if (__descriptor < 0)
        throw FileReadError(where, "Cannot open file for reading", filename);
    try {
        unsigned char bytes[VoxelMatrixHeader::headerLength1];
        const std::size_t numBytes = __readFile(bytes, sizeof bytes);
        // The file may have changed since it was looked at: the length of the open one counts.
        const std::int64_t fileLength = ::fstat(__descriptor, &status) == 0 ? std::int64_t(status.st_size) : 0;
        __header =
            VoxelMatrixHeader::parse(bytes, int(numBytes), std::max<std::int64_t>(fileLength, numBytes), filename);
        if (::lseek(__descriptor, __header.length(), SEEK_SET) < 0)
            throw FileReadError(where, "Cannot read file", filename);
    } catch (FileError& error) {
        ::close(__descriptor);
        error.setWhere(where);
        throw;
    }
}

VoxelMatrixFileReader::~VoxelMatrixFileReader() {
    ::close(__descriptor);
}

void VoxelMatrixFileReader::read(void* destination, std::size_t numBytes) {
    finish();
    if (!__buffer)
        __buffer.reset(new unsigned char[bufferLength]);
    auto* to = static_cast<unsigned char*>(destination);
    while (numBytes > 0) {
        if (__begin == __end) {
            __begin = 0;
            __end = __readFile(__buffer.get(), bufferLength);
        }
        if (__end == 0) {
            std::memset(to, 0, numBytes);
            return;
        }
        const std::size_t part = std::min(numBytes, __end - __begin);
        std::memcpy(to, __buffer.get() + __begin, part);
        __begin += part;
        to += part;
        numBytes -= part;
    }
}

void VoxelMatrixFileReader::readRow(void* destination, std::size_t numBytes) {
    if (numBytes < longRow || __begin < __end) {
        read(destination, numBytes);
        return;
    }
    __rows.push_back({destination, numBytes});
    if (__rows.size() == rowsTogether)
        finish();
}

void VoxelMatrixFileReader::finish() {
    if (!transferRows(__rows, [this](const iovec* rows, int count) { return ::readv(__descriptor, rows, count); }))
        throw FileReadError(__where, "Cannot read file", __filename);
    for (const iovec& row : __rows)
        std::memset(row.iov_base, 0, row.iov_len);
    __rows.clear();
}

// Fewer bytes than asked for come only at the end of the file.
std::size_t VoxelMatrixFileReader::__readFile(void* destination, std::size_t numBytes) {
    std::vector<iovec> rows{{destination, numBytes}};
    if (!transferRows(rows, [this](const iovec* row, int count) { return ::readv(__descriptor, row, count); }))
        throw FileReadError(__where, "Cannot read file", __filename);
    return rows.empty() ? numBytes : numBytes - rows.front().iov_len;
}

VoxelMatrixFileWriter::VoxelMatrixFileWriter(const std::string& filename, bool overwrite, const std::string& where)
    : __filename(filename), __where(where) {
    if (!overwrite)
        FileInfo::requireFree(filename, where);
    try {
        __file = std::make_unique<SafeFile>(filename);
    } catch (const FileWriteError&) {
        __fail();
    }
    if (!__file->isOpen())
        throw FileWriteError(where, "Cannot open file for writing", filename);
    __buffer.reset(new unsigned char[bufferLength]);
}

void VoxelMatrixFileWriter::writeHeader(int dataType, const std::int32_t (&sizes)[3], int unitScale,
                                        const float (&voxel)[3]) {
    const std::int32_t head[5] = {0, 0, 0, 1, dataType};
    const std::int32_t scale = unitScale;
    write(head, sizeof head);
    write(sizes, sizeof sizes);
    write(&scale, sizeof scale);
    write(voxel, sizeof voxel);
}

void VoxelMatrixFileWriter::write(const void* source, std::size_t numBytes) {
    const auto* from = static_cast<const unsigned char*>(source);
    if (!__rows.empty())
        __flush();
    while (numBytes > 0) {
        const std::size_t part = std::min(numBytes, bufferLength - __fill);
        std::memcpy(__buffer.get() + __fill, from, part);
        __fill += part;
        from += part;
        numBytes -= part;
        if (__fill == bufferLength)
            __flush();
    }
}

void VoxelMatrixFileWriter::writeRow(const void* source, std::size_t numBytes) {
    if (numBytes < longRow) {
        write(source, numBytes);
        return;
    }
    __rows.push_back({const_cast<void*>(source), numBytes}); // the system only reads it
    if (__rows.size() == rowsTogether)
        __flush();
}

void VoxelMatrixFileWriter::commit() {
    __flush();
    try {
        __file->commit();
    } catch (const FileWriteError&) {
        __fail();
    }
}

void VoxelMatrixFileWriter::__flush() {
    if (__fill > 0)
        __rows.insert(__rows.begin(), {__buffer.get(), __fill});
    __fill = 0;
    const bool written = transferRows(
        __rows, [this](const iovec* rows, int count) { return ::writev(__file->descriptor(), rows, count); });
    if (!written || !__rows.empty())
        __fail();
}

void VoxelMatrixFileWriter::__fail() const {
    throw FileWriteError(__where, "Cannot write file", __filename);
}

} // namespace vorlen
