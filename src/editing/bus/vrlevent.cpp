#include "editing/bus/vrlevent.h"

namespace vorlen {

VRLEvent::~VRLEvent() = default;

} // namespace vorlen
