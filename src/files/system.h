#pragma once

#include <string>

namespace vorlen {

/// Facts of the machine, the user and the build.
class System {
public:
    /// Name of the machine, at most 63 characters; empty if unknown.
    static std::string hostName();
    /// Name of the effective user in the password database; empty if unknown.
    static std::string userName();
    /// Same as userName().
    static std::string realUserName();
    static int processID();
    /// Local date as year.month.day, such as "2015.03.18".
    static std::string today();
    /// Date of the build, such as "Mar 18 2015".
    static std::string compilationDate();
    /// Appends "/" to a path that is not empty and does not end in one.
    static void ensureDirSeparator(std::string& path);
    /// Runs the shell's mkdir with these options, such as "-p", on the path, which is quoted: blanks and characters of
    /// the shell in it are safe, and a leading "-" is no option. The options go to the shell as they stand.
    /// Returns whether the command succeeded.
    static bool mkdir(const std::string& path, const std::string& options = std::string());
};

} // namespace vorlen
