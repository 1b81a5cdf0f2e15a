#pragma once

#include <exception>

namespace vorlen {

/// While one lives, events reach all clients even where one of them throws, and the first exception waits here instead
/// of leaving the sender: what an action changes and what it tells of are then never torn apart.
///
/// Deferrals nest; an exception goes to the innermost. One that is not asked for with rethrow() is dropped at the end.
class VRLEventDeferral {
public:
    VRLEventDeferral();
    ~VRLEventDeferral();
    VRLEventDeferral(const VRLEventDeferral&) = delete;
    VRLEventDeferral& operator=(const VRLEventDeferral&) = delete;

    /// Throws the first exception that waits, which then waits no more.
    void rethrow();

    /// The innermost deferral; null when exceptions leave the sender.
    static VRLEventDeferral* current() { return __current; }

    /// To be called in a handler of an exception.
    void keep();

private:
    std::exception_ptr __failure;
    VRLEventDeferral* __outer;

    static VRLEventDeferral* __current;
};

} // namespace vorlen
