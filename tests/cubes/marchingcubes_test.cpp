#include "reconstruction/marchingcubes.h"
