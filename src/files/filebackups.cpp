#include "files/filebackups.h"

#include <cstdio>
#include <filesystem>

#include <unistd.h>

namespace vorlen {

FileBackups::FileBackups(const std::string& fileName, int maxNumber) : __fileName(fileName), __maxNumber(maxNumber) {
}

FileBackups::~FileBackups() {
    if (__aside)
        ::unlink(numbered(0).c_str());
}

std::string FileBackups::numbered(int i) const {
    return __fileName + "~" + std::to_string(i);
}

bool FileBackups::setAside() {
    std::error_code error;
    // A link to a link would follow what the save puts in the place of the file.
    const std::filesystem::path file = std::filesystem::canonical(__fileName, error);
    if (__maxNumber < 1 || error || !std::filesystem::is_regular_file(file, error))
        return false;
    const std::string aside = numbered(0);
    ::unlink(aside.c_str());
    __aside = ::link(file.c_str(), aside.c_str()) == 0;
    if (!__aside) {
        __aside = std::filesystem::copy_file(file, aside, error);
        if (!__aside)
            ::unlink(aside.c_str()); // what a full disk has taken of it
    }
    return __aside;
}

void FileBackups::rotate() {
    if (!__aside)
        return;
    std::error_code error;
    for (int i = __maxNumber - 1; i >= 1; --i)
        if (std::filesystem::exists(numbered(i), error) &&
            std::rename(numbered(i).c_str(), numbered(i + 1).c_str()) != 0)
            return; // the one that can't move is not written over by a newer one
    __aside = std::rename(numbered(0).c_str(), numbered(1).c_str()) != 0;
}

} // namespace vorlen
