#pragma once

#include <string>

/// Saving of a file in one go, so that a failed or cut-off save leaves the old file whole.
///
/// The text goes to a new file beside the old, is flushed to disk, and is renamed over the old one. The new file has
/// the old one's mode, and its owner as far as the system allows. A symbolic link is followed, so that the link stays
/// and its target is replaced. Where the directory takes no new file but the old file can be written, it is written in
/// place; should that fail, the old contents are put back. Pipes and devices are written to directly.
class SafeFile {
public:
    /// False when the file cannot be opened for writing. Throws FileWriteError when it can, but the writing fails.
    static bool save(const std::string& fileName, const std::string& contents);
};
