#include "ui/session/vrlconfig.h"

namespace vorlen {

const char* const appVersionNumber = VORLEN_VERSION;
const char* const appVersionDate = VORLEN_RELEASE_DATE;

} // namespace vorlen
