#include "snake/snakeconfig.h"

namespace vorlen {

SnakeConfig::~SnakeConfig() = default;

void SnakeConfig::setGradThreshold(float threshold) {
    __gradThreshold = threshold;
}

void SnakeConfig::setDistance(int distance) {
    __distance = distance;
}

void SnakeConfig::setRegMin(float regularization) {
    __regMin = regularization;
}

void SnakeConfig::setRegMax(float regularization) {
    __regMax = regularization;
}

void SnakeConfig::setAlpha(float alpha) {
    __alpha = alpha;
}

void SnakeConfig::setAdaptive(bool adaptive) {
    __adaptive = adaptive;
}

void SnakeConfig::setScale(unsigned int scale) {
    __scale = scale;
}

} // namespace vorlen
