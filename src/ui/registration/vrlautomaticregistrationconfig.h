#pragma once

namespace vorlen {

/// What automatic registration is to do.
struct VRLAutomaticRegistrationConfig {
    bool registerAllSlices = false; // else the current one
};

} // namespace vorlen
