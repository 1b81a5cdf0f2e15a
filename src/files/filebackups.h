#pragma once

#include <string>

namespace vorlen {

/// The numbered copies of a file beside it, "~1" being the newest.
///
/// The order of a save is setAside(), the save, and rotate() when it went well: a save that fails takes no backup away,
/// however often it is tried. Nothing here throws, and a backup that can't be made keeps no save from being done.
class FileBackups {
public:
    /// At most so many copies; none are made for less than 1.
    FileBackups(const std::string& fileName, int maxNumber);
    /// What was set aside, and not made a backup, is removed.
    ~FileBackups();
    FileBackups(const FileBackups&) = delete;
    FileBackups& operator=(const FileBackups&) = delete;

    /// Keeps the file as it is now under another name, as a second link where the file system has links, so that a full
    /// disk is no hindrance, else as a copy. False when there is no file, or none is wanted, or none can be made.
    bool setAside();

    /// Makes what was set aside the newest backup; the older ones move on, and the last goes. Nothing without it.
    void rotate();

private:
    std::string numbered(int i) const;

    std::string __fileName;
    int __maxNumber;
    bool __aside = false;
};

} // namespace vorlen
