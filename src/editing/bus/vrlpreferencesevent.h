#pragma once

#include "editing/bus/vrlevent.h"

namespace vorlen {

/// The user's preferences have changed.
class VRLPreferencesEvent : public VRLEvent {
public:
    int type() const override { return Preferences; }
};

} // namespace vorlen
