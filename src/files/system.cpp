#include "files/system.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace vorlen {

namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text)
        if (c == '\'')
            result += "'\\''";
        else
            result += c;
    return result + "'";
}

} // namespace

std::string System::hostName() {
    char name[64] = {};
    // A longer name is cut, and then perhaps not ended.
    if (::gethostname(name, sizeof(name) - 1) != 0 && name[0] == '\0')
        return std::string();
    return name;
}

std::string System::userName() {
    std::vector<char> buffer(16384);
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found || !found->pw_name)
        return std::string();
    return found->pw_name;
}

std::string System::realUserName() {
    return userName();
}

int System::processID() {
    return static_cast<int>(::getpid());
}

std::string System::today() {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    if (!::localtime_r(&now, &local))
        return std::string();
    char text[11] = {};
    return std::strftime(text, sizeof(text), "%Y.%m.%d", &local) > 0 ? text : std::string();
}

std::string System::compilationDate() {
    return __DATE__;
}

void System::ensureDirSeparator(std::string& path) {
    if (!path.empty() && path.back() != '/')
        path += '/';
}

bool System::mkdir(const std::string& path, const std::string& options) {
    return std::system(("mkdir " + options + " -- " + quoted(path)).c_str()) == 0;
}

} // namespace vorlen
