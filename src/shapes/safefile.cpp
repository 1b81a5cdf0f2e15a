#include "shapes/safefile.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "numerics/exception.h"

namespace fs = std::filesystem;

namespace {

bool flushToDisk(const std::string& file) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    const bool flushed = ::fsync(descriptor) == 0;
    ::close(descriptor);
    return flushed;
}

void writeTo(const std::string& target, const std::string& where, const std::function<void(std::ostream&)>& write) {
    std::ofstream stream(target, std::ios::out | std::ios::trunc | std::ios::binary);
    write(stream);
    stream.close();
    if (!stream) {
        throw FileWriteError(where, "Cannot write the file");
    }
}

} // namespace

void saveSafely(const std::string& file, const std::string& where, const std::function<void(std::ostream&)>& write) {
    std::error_code error;
    std::string target = file;
    if (fs::is_symlink(file, error)) {
        const fs::path resolved = fs::weakly_canonical(file, error);
        if (!error) {
            target = resolved.string();
        }
    }
    try {
        const fs::file_status old = fs::status(target, error);
        if (fs::exists(old) && !fs::is_regular_file(old)) {
            writeTo(target, where, write);
            return;
        }
        const std::string fresh = target + "." + std::to_string(::getpid()) + ".new";
        try {
            writeTo(fresh, where, write);
            if (fs::exists(old)) {
                fs::permissions(fresh, old.permissions(), error);
            }
            if (!flushToDisk(fresh)) {
                throw FileWriteError(where, "Cannot write the file");
            }
            fs::rename(fresh, target, error);
            if (error) {
                throw FileWriteError(where, "Cannot write the file");
            }
        } catch (...) {
            fs::remove(fresh, error);
            throw;
        }
    } catch (FileError& failure) {
        failure.setFile(file);
        throw;
    }
}
