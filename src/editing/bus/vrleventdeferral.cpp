#include "editing/bus/vrleventdeferral.h"

#include <utility>

namespace vorlen {

VRLEventDeferral* VRLEventDeferral::__current = nullptr;

VRLEventDeferral::VRLEventDeferral() : __outer(__current) {
    __current = this;
}

VRLEventDeferral::~VRLEventDeferral() {
    __current = __outer;
}

void VRLEventDeferral::keep() {
    if (!__failure)
        __failure = std::current_exception();
}

void VRLEventDeferral::rethrow() {
    if (__failure)
        std::rethrow_exception(std::exchange(__failure, nullptr));
}

} // namespace vorlen
