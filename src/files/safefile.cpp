#include "files/safefile.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "numerics/exception.h"

namespace vorlen {

namespace {

int openFile(const char* name, int flags, mode_t mode = 0) {
    int descriptor;
    do
        descriptor = ::open(name, flags | O_CLOEXEC, mode);
    while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

bool writeAll(int descriptor, const std::string& contents, const std::function<void(std::size_t)>& progress = {}) {
    constexpr std::size_t mostAtOnce = std::size_t(4) << 20;
    const char* from = contents.data();
    std::size_t left = contents.size();
    while (left > 0) {
        const ssize_t written = ::write(descriptor, from, progress ? std::min(left, mostAtOnce) : left);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        from += written;
        left -= static_cast<std::size_t>(written);
        if (progress)
            progress(contents.size() - left);
    }
    return true;
}

bool readAll(const std::string& name, std::string& contents) {
    const int descriptor = openFile(name.c_str(), O_RDONLY);
    if (descriptor < 0)
        return false;
    char buffer[65536];
    ssize_t got;
    do {
        got = ::read(descriptor, buffer, sizeof buffer);
        if (got > 0)
            contents.append(buffer, static_cast<std::size_t>(got));
    } while (got > 0 || (got < 0 && errno == EINTR));
    ::close(descriptor);
    return got == 0;
}

/// The file that the name stands for, through symbolic links that may lead to a file not there yet; empty where they
/// lead nowhere.
std::string linkTarget(std::string name) {
    constexpr int maxNumLinks = 40;
    char link[PATH_MAX];
    for (int i = 0; i < maxNumLinks; ++i) {
        const ssize_t length = ::readlink(name.c_str(), link, sizeof link);
        if (length <= 0 || length == static_cast<ssize_t>(sizeof link))
            return name;
        const std::string target(link, static_cast<std::size_t>(length));
        const std::size_t slash = name.rfind('/');
        name = target[0] == '/' || slash == std::string::npos ? target : name.substr(0, slash + 1).append(target);
    }
    return "";
}

/// Gives the new file the old one's owner and mode. The owner needs rights that the user may lack, and changing it
/// clears bits of the mode, so it goes first.
bool takeOverAttributes(int descriptor, const struct stat& old) {
    struct stat now;
    if (::fstat(descriptor, &now) != 0)
        return false;
    if ((now.st_uid != old.st_uid || now.st_gid != old.st_gid) && ::fchown(descriptor, old.st_uid, old.st_gid) != 0)
        if (::fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) != 0)
            errno = 0;
    if (::fchmod(descriptor, old.st_mode & 07777) == 0)
        return true;
    // Shares of other systems refuse to change a mode. What counts is that nobody may do more than before.
    const int error = errno;
    if (::fstat(descriptor, &now) == 0 && (now.st_mode & 07777 & ~old.st_mode) == 0)
        return true;
    errno = error;
    return false;
}

/// False when what was written did not reach the disk. File systems that cannot tell are believed.
bool flushFile(int descriptor) {
    return ::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS;
}

/// Needs no memory: the save is done, and is not to be told as one that failed.
void flushDirectory(const std::string& directory) {
    const int descriptor = openFile(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY);
    if (descriptor >= 0) {
        ::fsync(descriptor);
        ::close(descriptor);
    }
}

bool isFull(int error) {
    return error == ENOSPC || error == EDQUOT;
}

} // namespace

SafeFile::SafeFile(const std::string& fileName) : __fileName(fileName), __target(linkTarget(fileName)) {
    if (__target.empty() || __target.back() == '/')
        return;
    struct stat old;
    const bool exists = ::stat(__target.c_str(), &old) == 0;
    if (exists && S_ISDIR(old.st_mode))
        return;
    if (exists && !S_ISREG(old.st_mode)) {
        __way = Way::Direct;
        // A pipe that nobody reads is refused here instead of waited for. The writing then waits for the reader.
        __descriptor = openFile(__target.c_str(), O_WRONLY | O_NONBLOCK);
        if (__descriptor >= 0)
            ::fcntl(__descriptor, F_SETFL, ::fcntl(__descriptor, F_GETFL) & ~O_NONBLOCK);
        return;
    }
    if (exists && ::faccessat(AT_FDCWD, __target.c_str(), W_OK, AT_EACCESS) != 0)
        return;
    __directory = __target.substr(0, __target.rfind('/') + 1);
    createBeside(exists ? old.st_mode & 0777 : 0666);
    if (__descriptor < 0) {
        if (isFull(errno))
            fail(errno);
        // Where it is not the folder that refuses, writing over the old contents would be as likely to fail half-way.
        if (exists && (errno == EACCES || errno == EPERM || errno == EROFS)) {
            __way = Way::InPlace;
            __descriptor = openFile(__target.c_str(), O_WRONLY);
        }
    } else if (exists && !takeOverAttributes(__descriptor, old)) {
        const int error = errno;
        ::close(std::exchange(__descriptor, -1));
        ::unlink(__newName.c_str());
        fail(error);
    }
}

SafeFile::~SafeFile() {
    if (__descriptor >= 0)
        ::close(__descriptor);
    if (!__newName.empty())
        ::unlink(__newName.c_str());
}

/// Makes a new, empty file in the directory. The number of the process and a count make its name unique. A file that
/// takes an old one's place is never open to more people than that one.
void SafeFile::createBeside(unsigned int mode) {
    static std::atomic<unsigned> count = 0;
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string name =
            __directory + ".vorlen-" + std::to_string(::getpid()) + "-" + std::to_string(count++) + ".tmp";
        __descriptor = openFile(name.c_str(), O_WRONLY | O_CREAT | O_EXCL, mode);
        if (__descriptor >= 0)
            __newName = name;
        if (__descriptor >= 0 || errno != EEXIST)
            return;
    }
}

void SafeFile::removeLeftovers(const std::string& fileName) {
    const std::string folder = linkTarget(fileName).substr(0, linkTarget(fileName).rfind('/') + 1);
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder.empty() ? "." : folder, error), end; !error && entry != end;
         entry.increment(error)) {
        int process = 0;
        unsigned count = 0;
        const std::string name = entry->path().filename().string();
        int length = 0;
        if (std::sscanf(name.c_str(), ".vorlen-%d-%u.tmp%n", &process, &count, &length) != 2 ||
            length != static_cast<int>(name.size()) || process <= 0)
            continue;
        // A folder may be shared with another machine, whose numbers mean nothing here.
        struct stat status;
        const bool old = ::lstat(entry->path().c_str(), &status) == 0 && std::time(nullptr) - status.st_mtime > 3600;
        if (old && ::kill(process, 0) != 0 && errno == ESRCH)
            ::unlink(entry->path().c_str());
    }
}

void SafeFile::commit() {
    bool good = true;
    if (__way == Way::InPlace) {
        const off_t length = ::lseek(__descriptor, 0, SEEK_CUR);
        good = length >= 0 && ::ftruncate(__descriptor, length) == 0;
    }
    good = good && (__way == Way::Direct || flushFile(__descriptor));
    good = good && ::close(std::exchange(__descriptor, -1)) == 0;
    good = good && (__way != Way::Beside || ::rename(__newName.c_str(), __target.c_str()) == 0);
    if (!good)
        fail(errno);
    if (__way == Way::Beside) {
        __newName.clear();
        flushDirectory(__directory);
    }
}

/// Writes over the old contents. The room that the new contents need is asked for first, and the old contents are put
/// back when the writing fails all the same.
void SafeFile::saveInPlace(const std::string& contents) {
    std::string old;
    const bool oldKnown = readAll(__target, old);
    const auto oldLength = static_cast<off_t>(old.size());
    if (oldKnown && contents.size() > old.size()) {
        const int error = ::posix_fallocate(__descriptor, 0, static_cast<off_t>(contents.size()));
        if (isFull(error) || error == EFBIG) {
            if (::ftruncate(__descriptor, oldLength) != 0)
                fail(errno);
            fail(error);
        }
    }
    if (writeAll(__descriptor, contents) && ::ftruncate(__descriptor, static_cast<off_t>(contents.size())) == 0 &&
        flushFile(__descriptor))
        return commit();
    const int error = errno;
    if (oldKnown && ::lseek(__descriptor, 0, SEEK_SET) == 0 && writeAll(__descriptor, old))
        if (::ftruncate(__descriptor, oldLength) != 0)
            fail(errno);
    fail(error);
}

void SafeFile::fail(int error) const {
    throw FileWriteError("bool SafeFile::save(...)", std::string("The file cannot be written: ") + std::strerror(error),
                         __fileName);
}

bool SafeFile::save(const std::string& fileName, const std::string& contents,
                    const std::function<void(std::size_t)>& progress) {
    SafeFile file(fileName);
    if (!file.isOpen())
        return false;
    if (file.__way == Way::InPlace) {
        file.saveInPlace(contents);
        return true;
    }
    if (!writeAll(file.__descriptor, contents, progress))
        file.fail(errno);
    file.commit();
    return true;
}

} // namespace vorlen
