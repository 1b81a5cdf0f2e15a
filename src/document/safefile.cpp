#include "document/safefile.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "numerics/exception.h"

namespace {

const char* const where = "bool SafeFile::save(...)";

/// An open file, closed when it goes.
class Descriptor {
public:
    explicit Descriptor(int descriptor) : __descriptor(descriptor) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    bool isOpen() const { return __descriptor >= 0; }
    int get() const { return __descriptor; }
    bool close() { return __descriptor < 0 || ::close(std::exchange(__descriptor, -1)) == 0; }

private:
    int __descriptor;
};

int openFile(const std::string& name, int flags, mode_t mode = 0) {
    int descriptor;
    do
        descriptor = ::open(name.c_str(), flags | O_CLOEXEC, mode);
    while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

bool writeAll(int descriptor, const std::string& contents) {
    const char* from = contents.data();
    std::size_t left = contents.size();
    while (left > 0) {
        const ssize_t written = ::write(descriptor, from, left);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        from += written;
        left -= static_cast<std::size_t>(written);
    }
    return true;
}

/// The file that the name stands for, through symbolic links that may lead to a file not there yet.
std::string linkTarget(std::string name) {
    constexpr int maxNumLinks = 40;
    char link[PATH_MAX];
    for (int i = 0; i < maxNumLinks; ++i) {
        const ssize_t length = ::readlink(name.c_str(), link, sizeof link);
        if (length <= 0 || length == static_cast<ssize_t>(sizeof link))
            return name;
        const std::string target(link, static_cast<std::size_t>(length));
        const std::size_t slash = name.rfind('/');
        name = target[0] == '/' || slash == std::string::npos ? target : name.substr(0, slash + 1) + target;
    }
    return name;
}

[[noreturn]] void fail(const std::string& fileName, int error) {
    throw FileWriteError(where, std::string("The file cannot be written: ") + std::strerror(error), fileName);
}

/// Makes a new, empty file in the directory; its name is set. The number of the process and a count make it unique.
int createBeside(const std::string& directory, std::string& name) {
    static std::atomic<unsigned> count = 0;
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = directory + ".vorlen-" + std::to_string(::getpid()) + "-" + std::to_string(count++) + ".tmp";
        const int descriptor = openFile(name, O_WRONLY | O_CREAT | O_EXCL, 0666);
        if (descriptor >= 0 || errno != EEXIST)
            return descriptor;
    }
    return -1;
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
    return ::fchmod(descriptor, old.st_mode & 07777) == 0;
}

void flushDirectory(const std::string& directory) {
    const Descriptor folder(openFile(directory.empty() ? "." : directory, O_RDONLY | O_DIRECTORY));
    if (folder.isOpen())
        ::fsync(folder.get());
}

bool readAll(const std::string& name, std::string& contents) {
    const Descriptor file(openFile(name, O_RDONLY));
    if (!file.isOpen())
        return false;
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(file.get(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return false;
        if (got == 0)
            return true;
        contents.append(buffer, static_cast<std::size_t>(got));
    }
}

/// Writes over the old contents. The room that the new contents need is asked for first, and the old contents are put
/// back when the writing fails all the same.
bool saveInPlace(const std::string& target, const std::string& fileName, const std::string& contents) {
    Descriptor file(openFile(target, O_WRONLY));
    if (!file.isOpen())
        return false;
    std::string old;
    const bool oldKnown = readAll(target, old);
    if (oldKnown && contents.size() > old.size()) {
        const int error = ::posix_fallocate(file.get(), 0, static_cast<off_t>(contents.size()));
        if (error == ENOSPC || error == EDQUOT || error == EFBIG) {
            if (::ftruncate(file.get(), static_cast<off_t>(old.size())) != 0)
                fail(fileName, errno);
            fail(fileName, error);
        }
    }
    if (writeAll(file.get(), contents) && ::ftruncate(file.get(), static_cast<off_t>(contents.size())) == 0 &&
        ::fsync(file.get()) == 0 && file.close())
        return true;
    const int error = errno;
    if (oldKnown && file.isOpen() && ::lseek(file.get(), 0, SEEK_SET) == 0 && writeAll(file.get(), old))
        if (::ftruncate(file.get(), static_cast<off_t>(old.size())) != 0)
            fail(fileName, errno);
    fail(fileName, error);
}

bool saveToDevice(const std::string& target, const std::string& fileName, const std::string& contents) {
    Descriptor device(openFile(target, O_WRONLY | O_NONBLOCK));
    if (!device.isOpen())
        return false;
    if (!writeAll(device.get(), contents) || !device.close())
        fail(fileName, errno);
    return true;
}

} // namespace

bool SafeFile::save(const std::string& fileName, const std::string& contents) {
    const std::string target = linkTarget(fileName);
    struct stat old;
    const bool exists = ::stat(target.c_str(), &old) == 0;
    if (exists && S_ISDIR(old.st_mode))
        return false;
    if (exists && !S_ISREG(old.st_mode))
        return saveToDevice(target, fileName, contents);
    if (exists && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
        return false;

    const std::string directory = target.substr(0, target.rfind('/') + 1);
    std::string newName;
    Descriptor file(createBeside(directory, newName));
    if (!file.isOpen()) {
        const bool full = errno == ENOSPC || errno == EDQUOT;
        if (full)
            fail(fileName, errno);
        return exists && saveInPlace(target, fileName, contents);
    }
    const bool good = writeAll(file.get(), contents) && (!exists || takeOverAttributes(file.get(), old)) &&
                      ::fsync(file.get()) == 0 && file.close() && ::rename(newName.c_str(), target.c_str()) == 0;
    if (!good) {
        const int error = errno;
        ::unlink(newName.c_str());
        fail(fileName, error);
    }
    flushDirectory(directory);
    return true;
}
