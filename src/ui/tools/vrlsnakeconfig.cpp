#include "ui/tools/vrlsnakeconfig.h"

VRLSnakeConfig::VRLSnakeConfig(const SnakeConfig& config) : SnakeConfig(config) {
}

void VRLSnakeConfig::setRunOverStack(bool runOverStack) {
    __runOverStack = runOverStack;
}

void VRLSnakeConfig::setPropagationEnabled(bool enabled) {
    __propagationEnabled = enabled;
}
