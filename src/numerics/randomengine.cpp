#include "numerics/randomengine.h"

RandomEngine::~RandomEngine() = default;
