#include "faults/faults.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <new>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vorlen::faults {

namespace {

std::atomic<Call> armed = Call::Allocation;
std::atomic<int> left = 0; // calls to go; 0 for none that fails
std::atomic<int> failure = 0;
std::atomic<bool> hit = false, paused = false;

bool fails(Call call) {
    if (paused || armed != call || left <= 0 || --left > 0)
        return false;
    hit = true;
    errno = failure;
    return true;
}

template <class Count>
Count shortened(Count count) {
    return count > 1 ? count / 2 : count;
}

} // namespace

void arm(Call call, int nth, int error) {
    armed = call;
    failure = error;
    hit = false;
    left = nth;
}

void pause() {
    paused = true;
}

void resume() {
    paused = false;
}

bool disarm() {
    left = 0;
    paused = false;
    return hit.exchange(false);
}

} // namespace vorlen::faults

using vorlen::faults::Call;
using vorlen::faults::fails;

void* operator new(std::size_t size) {
    void* memory = fails(Call::Allocation) ? nullptr : std::malloc(size > 0 ? size : 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

// The standard library's temporary buffers come this way and are given back by the plain delete.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return fails(Call::Allocation) ? nullptr : std::malloc(size > 0 ? size : 1);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return operator new(size, std::nothrow);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

extern "C" {

int open(const char* name, int flags, ...) {
    mode_t mode = 0;
    if (flags & (O_CREAT | __O_TMPFILE)) {
        std::va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return fails(Call::Open) ? -1 : static_cast<int>(::syscall(SYS_openat, AT_FDCWD, name, flags, mode));
}

int open64(const char* name, int flags, ...) {
    mode_t mode = 0;
    if (flags & (O_CREAT | __O_TMPFILE)) {
        std::va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return open(name, flags, mode);
}

ssize_t read(int descriptor, void* to, std::size_t count) {
    if (fails(Call::Read)) {
        if (errno != 0)
            return -1;
        count = vorlen::faults::shortened(count);
    }
    return ::syscall(SYS_read, descriptor, to, count);
}

ssize_t write(int descriptor, const void* from, std::size_t count) {
    if (fails(Call::Write)) {
        if (errno != 0)
            return -1;
        count = vorlen::faults::shortened(count);
    }
    return ::syscall(SYS_write, descriptor, from, count);
}

ssize_t pwrite(int descriptor, const void* from, std::size_t count, off_t offset) {
    if (fails(Call::Write)) {
        if (errno != 0)
            return -1;
        count = vorlen::faults::shortened(count);
    }
    return ::syscall(SYS_pwrite64, descriptor, from, count, offset);
}

ssize_t pwrite64(int descriptor, const void* from, std::size_t count, off64_t offset) {
    return pwrite(descriptor, from, count, offset);
}

int fsync(int descriptor) {
    return fails(Call::Fsync) ? -1 : static_cast<int>(::syscall(SYS_fsync, descriptor));
}

int fdatasync(int descriptor) {
    return fails(Call::Fsync) ? -1 : static_cast<int>(::syscall(SYS_fdatasync, descriptor));
}

int rename(const char* from, const char* to) noexcept {
    return fails(Call::Rename) ? -1 : static_cast<int>(::syscall(SYS_rename, from, to));
}

int link(const char* from, const char* to) noexcept {
    return fails(Call::Link) ? -1 : static_cast<int>(::syscall(SYS_link, from, to));
}

int fchmod(int descriptor, mode_t mode) noexcept {
    return fails(Call::Chmod) ? -1 : static_cast<int>(::syscall(SYS_fchmod, descriptor, mode));
}

/// The descriptor is gone even where closing tells an error.
int close(int descriptor) {
    const bool failed = fails(Call::Close);
    const int error = errno;
    const auto result = static_cast<int>(::syscall(SYS_close, descriptor));
    if (!failed)
        return result;
    errno = error;
    return -1;
}

int ftruncate(int descriptor, off_t length) noexcept {
    return fails(Call::Truncate) ? -1 : static_cast<int>(::syscall(SYS_ftruncate, descriptor, length));
}

int ftruncate64(int descriptor, off64_t length) noexcept {
    return ftruncate(descriptor, length);
}

} // extern "C"
