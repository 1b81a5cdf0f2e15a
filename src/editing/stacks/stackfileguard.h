#pragma once

#include <memory>
#include <string>

#include <QString>

class QLockFile;

namespace vorlen {

/// Watches over the file of an open stack: what it was when it was read or written last, so that a change by somebody
/// else is seen before it is written over; and a lock file beside it, by which other runs of the program see that the
/// stack is open.
///
/// The lock file is named as office programs name theirs, ".~lock.brain.sdf#". One that a killed program of this
/// machine has left does not count. Where no lock file can be made, such as in a folder that can't be written, there is
/// none, and nobody is kept from anything.
class StackFileGuard {
public:
    StackFileGuard();
    ~StackFileGuard();
    StackFileGuard(const StackFileGuard&) = delete;
    StackFileGuard& operator=(const StackFileGuard&) = delete;

    /// Notes the file as it is now.
    void note(const std::string& file);

    /// Notes the file as one that somebody has changed already.
    void noteAsChanged(const std::string& file);

    bool isNoted(const std::string& file) const { return __file == file; }

    /// True when the file is another one than was noted, by its size, its time or its place on the disk. False for a
    /// file that was never noted or is gone: nothing of anybody's is written over then.
    bool isChanged(const std::string& file) const;

    /// Marks the file as open here, and what was marked before as free; false when it is marked by somebody else.
    bool lock(const std::string& file);

    /// Takes over the other one's mark.
    void takeLockOf(StackFileGuard& other);

    /// Marks the file as open here, whoever has marked it.
    void breakLock(const std::string& file);

    /// Who has marked the file, as "vorlen on host (process 123)"; empty for nobody.
    static QString holder(const std::string& file);

private:
    struct Stamp {
        long long size = -1, seconds = 0, nanoseconds = 0;
        unsigned long long device = 0, node = 0;
        bool operator==(const Stamp&) const = default;
    };
    static Stamp stampOf(const std::string& file);

    std::string __file;
    Stamp __stamp;
    std::unique_ptr<QLockFile> __lock;
};

} // namespace vorlen
