#include "shell/session/vrlevent.h"

VRLEvent::~VRLEvent() = default;
