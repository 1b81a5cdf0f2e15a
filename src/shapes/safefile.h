#pragma once

#include <functional>
#include <iosfwd>
#include <string>

/// Writes a file so that an old one is replaced only by a complete one: a new file beside it, flushed to disk, renamed
/// over it. A link is followed to its file; the permissions of an old file are kept. A device or pipe is written
/// directly.
///
/// write is given the stream, which may be in a failed state; its exceptions pass, and FileErrors get the file's name.
/// Throws FileWriteError with the place where when closing, flushing or renaming fails.
void saveSafely(const std::string& file, const std::string& where, const std::function<void(std::ostream&)>& write);
