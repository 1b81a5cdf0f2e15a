#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace vorlen {

/// Saves what the work writes to a stream as SafeFile does, without holding it in memory.
///
/// The work may go back in the stream by seekp() and write over what it has written. Contents for a file that can't be
/// replaced, such as a pipe or one in a folder that takes no new file, are collected in memory first, so that a failing
/// work leaves the file as it was. False when the file cannot be opened for writing; throws FileWriteError when the
/// writing fails, and what the work throws; the old file is whole then.
bool saveStreamed(const std::string& fileName, const std::function<void(std::ostream&)>& work);

} // namespace vorlen
