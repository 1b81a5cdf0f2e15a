#include "numerics/randomengine.h"

namespace vorlen {

RandomEngine::~RandomEngine() = default;

} // namespace vorlen
