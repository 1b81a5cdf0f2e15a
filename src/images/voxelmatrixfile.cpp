#include "images/voxelmatrixfile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "numerics/exception.h"

namespace {

// Small enough for the second-level cache, so that the copy out of it costs little beside the copy by the kernel.
constexpr std::size_t bufferLength = 128 * 1024;

// No single call moves more than this, whatever the row.
constexpr std::size_t longestCall = std::size_t(1) << 30;

bool isLong(std::size_t numBytes) {
    return numBytes >= bufferLength / 2;
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// The file that a name leads to when links are followed; the name itself where nothing is there yet.
std::string followLinks(const std::string& filename) {
    char* const resolved = ::realpath(filename.c_str(), nullptr);
    if (!resolved)
        return filename;
    const std::string path(resolved);
    std::free(resolved);
    return path;
}

void flushFolder(const std::string& path) {
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    ::fsync(folder); // some file systems cannot, and the file itself is safe already
    ::close(folder);
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
    auto* to = static_cast<unsigned char*>(destination);
    while (numBytes > 0) {
        if (__begin < __end) {
            const std::size_t part = std::min(numBytes, __end - __begin);
            std::memcpy(to, __buffer.get() + __begin, part);
            __begin += part;
            to += part;
            numBytes -= part;
        } else if (isLong(numBytes)) {
            const std::size_t part = __readFile(to, numBytes);
            std::memset(to + part, 0, numBytes - part);
            return;
        } else {
            if (!__buffer)
                __buffer.reset(new unsigned char[bufferLength]);
            __begin = 0;
            __end = __readFile(__buffer.get(), bufferLength);
            if (__end == 0) {
                std::memset(to, 0, numBytes);
                return;
            }
        }
    }
}

// Fewer bytes than asked for come only at the end of the file.
std::size_t VoxelMatrixFileReader::__readFile(unsigned char* destination, std::size_t numBytes) {
    std::size_t done = 0;
    while (done < numBytes) {
        const ssize_t part = ::read(__descriptor, destination + done, std::min(numBytes - done, longestCall));
        if (part == 0)
            break;
        if (part < 0 && errno == EINTR)
            continue;
        if (part < 0)
            throw FileReadError(__where, "Cannot read file", __filename);
        done += std::size_t(part);
    }
    return done;
}

VoxelMatrixFileWriter::VoxelMatrixFileWriter(const std::string& filename, bool overwrite, const std::string& where)
    : __filename(filename), __where(where), __target(followLinks(filename)), __buffer(new unsigned char[bufferLength]) {
    struct stat status {};
    const bool exists = ::stat(__target.c_str(), &status) == 0;
    if (!overwrite && exists)
        throw FileWriteError(where, "File already exists", filename);
    // A link that leads nowhere yet is followed by the system, not replaced.
    struct stat linkStatus {};
    const bool replaceable = exists ? S_ISREG(status.st_mode) : ::lstat(__target.c_str(), &linkStatus) != 0;
    if (exists && ::access(__target.c_str(), W_OK) != 0)
        throw FileWriteError(where, "Cannot open file for writing", filename);
    if (replaceable && !filename.empty()) {
        const mode_t mode = exists ? status.st_mode & 07777 : 0666;
        for (int attempt = 0; attempt < 100 && __descriptor < 0; ++attempt) {
            __temporary = __target + ".new" + std::to_string(::getpid()) + "-" + std::to_string(attempt);
            __descriptor = ::open(__temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
            if (__descriptor < 0 && errno != EEXIST)
                break;
        }
        if (__descriptor >= 0 && exists)
            ::fchmod(__descriptor, mode);
    }
    if (__descriptor < 0) {
        __temporary.clear();
        __descriptor = ::open(__target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    }
    if (__descriptor < 0)
        throw FileWriteError(where, "Cannot open file for writing", filename);
}

VoxelMatrixFileWriter::~VoxelMatrixFileWriter() {
    if (__descriptor >= 0)
        ::close(__descriptor);
    if (!__temporary.empty())
        ::unlink(__temporary.c_str());
}

void VoxelMatrixFileWriter::write(const void* source, std::size_t numBytes) {
    const auto* from = static_cast<const unsigned char*>(source);
    if (numBytes == 0)
        return;
    if (__fill + numBytes > bufferLength) {
        __writeFile(__buffer.get(), __fill);
        __fill = 0;
    }
    if (isLong(numBytes) && __fill == 0) {
        __writeFile(from, numBytes);
    } else {
        std::memcpy(__buffer.get() + __fill, from, numBytes);
        __fill += numBytes;
    }
}

void VoxelMatrixFileWriter::commit() {
    __writeFile(__buffer.get(), __fill);
    __fill = 0;
    if (::fsync(__descriptor) != 0 && errno != EINVAL && errno != EROFS) // EINVAL: a pipe or device has no disk
        __fail();
    const int closed = ::close(__descriptor);
    __descriptor = -1;
    if (closed != 0)
        __fail();
    if (__temporary.empty())
        return;
    if (::rename(__temporary.c_str(), __target.c_str()) != 0)
        __fail();
    __temporary.clear();
    flushFolder(folderOf(__target));
}

void VoxelMatrixFileWriter::__writeFile(const unsigned char* source, std::size_t numBytes) {
    std::size_t done = 0;
    while (done < numBytes) {
        const ssize_t part = ::write(__descriptor, source + done, std::min(numBytes - done, longestCall));
        if (part < 0 && errno == EINTR)
            continue;
        if (part <= 0)
            __fail();
        done += std::size_t(part);
    }
}

void VoxelMatrixFileWriter::__fail() const {
    throw FileWriteError(__where, "Cannot write file", __filename);
}
