#include "files/filebackups.h"

#include <cstdio>
#include <filesystem>

#include <unistd.h>

namespace vorlen {

FileBackups::FileBackups(const std::string& fileName, int maxNumber) : __fileName(fileName) {
    for (int i = 0; i <= maxNumber; ++i)
        __names.push_back(fileName + "~" + std::to_string(i));
}

FileBackups::~FileBackups() {
    if (__aside)
        ::unlink(__names[0].c_str());
}

bool FileBackups::setAside() {
    std::error_code error;
    if (__names.size() < 2 || !std::filesystem::is_regular_file(__fileName, error))
        return false;
    const char* const aside = __names[0].c_str();
    ::unlink(aside);
    __aside = std::filesystem::copy_file(__fileName, aside, error);
    if (!__aside)
        ::unlink(aside); // what a full disk has taken of it
    return __aside;
}

void FileBackups::rotate() {
    if (!__aside)
        return;
    for (std::size_t i = __names.size() - 1; i > 1; --i)
        if (::access(__names[i - 1].c_str(), F_OK) == 0 && std::rename(__names[i - 1].c_str(), __names[i].c_str()) != 0)
            return; // the one that can't move is not written over by a newer one
    __aside = std::rename(__names[0].c_str(), __names[1].c_str()) != 0;
}

} // namespace vorlen
