#include "editing/bus/vrlevent.h"

VRLEvent::~VRLEvent() = default;
