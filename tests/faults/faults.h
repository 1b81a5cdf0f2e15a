#pragma once

namespace vorlen::faults {

/// What can be made to fail. The system's calls of this program, and of the libraries that it links, come through
/// faults.cpp, which hands them on but for the one that is to fail.
enum class Call { Allocation, Open, Read, Write, Fsync, Rename, Close, Truncate, Link, Chmod };

/// The nth call from now on fails, with this error number, and none after it. An error of 0 stands for a short count of
/// a read or write.
void arm(Call call, int nth, int error);

/// Calls in between do not count.
void pause();
void resume();

/// True when the call came to be.
bool disarm();

} // namespace vorlen::faults
