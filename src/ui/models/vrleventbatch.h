#pragma once

#include "editing/bus/vrleventclient.h"

namespace vorlen {

/// A batch of events that lasts as long as this object lives.
class VRLEventBatch {
public:
    VRLEventBatch() { VRLEventClient::enableEventBatch(true); }
    ~VRLEventBatch() { VRLEventClient::enableEventBatch(false); }
    VRLEventBatch(const VRLEventBatch&) = delete;
    VRLEventBatch& operator=(const VRLEventBatch&) = delete;
};

} // namespace vorlen
