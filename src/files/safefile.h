#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace vorlen {

/// Saving of a file so that a failed or cut-off save leaves the old file whole.
///
/// What is written goes to a new file beside the old one, is flushed to disk, and takes the old one's name in commit();
/// the folder is flushed after that. The new file has the old one's mode, and its owner as far as the system allows. A
/// symbolic link is followed, also to a file that is not there yet, so that the link stays. Where the folder takes no
/// new file but the old file can be written, it is written in place. Pipes and devices are written to directly.
///
/// Most callers have their contents in memory and use save(). Large contents are streamed through the descriptor.
class SafeFile {
public:
    /// Opens the file for writing; isOpen() tells whether that went well. Throws FileWriteError when the disk is full.
    explicit SafeFile(const std::string& fileName);
    /// Without commit() the new file is removed again. A file written in place keeps what was written over it.
    ~SafeFile();
    SafeFile(const SafeFile&) = delete;
    SafeFile& operator=(const SafeFile&) = delete;

    bool isOpen() const { return __descriptor >= 0; }

    /// Where the contents are to be written, from the start to the end. It stays this object's. Only a file that is
    /// beside the old one may be written in another order.
    int descriptor() const { return __descriptor; }
    bool isBeside() const { return isOpen() && __way == Way::Beside; }

    /// Puts what was written in the place of the old file. Throws FileWriteError when the system refuses.
    void commit();

    /// The whole way for contents in memory. False when the file cannot be opened for writing; throws FileWriteError
    /// when it can, but the writing fails. The old contents are then put back even where it is written in place. The
    /// progress is told how many bytes are written, every few million; flushing them to disk comes after that.
    static bool save(const std::string& fileName, const std::string& contents,
                     const std::function<void(std::size_t)>& progress = {});

    /// Removes the new files that killed programs of this machine have left in the file's folder more than an hour ago.
    static void removeLeftovers(const std::string& fileName);

private:
    enum class Way { Beside, InPlace, Direct };

    void createBeside(unsigned int mode);
    void saveInPlace(const std::string& contents);
    [[noreturn]] void fail(int error) const;

    std::string __fileName;
    std::string __target;    // the name with links followed
    std::string __directory; // of the target, with its separator; empty for the working directory
    std::string __newName;   // empty when there is no new file
    Way __way = Way::Beside;
    int __descriptor = -1;
};

} // namespace vorlen
