#include "ui/tools/vrlsnakeconfig.h"

namespace vorlen {

VRLSnakeConfig::VRLSnakeConfig(const SnakeConfig& config) : SnakeConfig(config) {
}

void VRLSnakeConfig::setRunOverStack(bool runOverStack) {
    __runOverStack = runOverStack;
}

void VRLSnakeConfig::setPropagationEnabled(bool enabled) {
    __propagationEnabled = enabled;
}

void VRLSnakeConfig::setReach(int reach) {
    __reach = reach;
}

} // namespace vorlen
