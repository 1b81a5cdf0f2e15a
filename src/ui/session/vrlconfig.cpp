#include "ui/session/vrlconfig.h"

const char* const appVersionNumber = VORLEN_VERSION;
const char* const appVersionDate = VORLEN_RELEASE_DATE;
