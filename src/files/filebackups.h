#pragma once

#include <string>
#include <vector>

namespace vorlen {

/// The numbered copies of a file beside it, "~1" being the newest.
///
/// The order of a save is setAside(), the save, and rotate() when it went well: a save that fails takes no backup away,
/// however often it is tried. A backup that can't be made keeps no save from being done. After the save nothing here
/// needs memory.
class FileBackups {
public:
    /// At most so many copies; none are made for less than 1.
    FileBackups(const std::string& fileName, int maxNumber);
    /// What was set aside, and not made a backup, is removed.
    ~FileBackups();
    FileBackups(const FileBackups&) = delete;
    FileBackups& operator=(const FileBackups&) = delete;

    /// Copies the file as it is now. False when there is no file, or no copy is wanted, or none can be made.
    bool setAside();

    /// Makes what was set aside the newest backup; the older ones move on, and the last goes. Nothing without it.
    void rotate();

private:
    std::string __fileName;
    std::vector<std::string> __names; // what is set aside, and the copies from the newest on
    bool __aside = false;
};

} // namespace vorlen
