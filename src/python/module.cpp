#include <pybind11/pybind11.h>

#include "python/errors.h"
#include "python/stackhandle.h"

PYBIND11_MODULE(_core, module) {
    module.attr("__version__") = VORLEN_VERSION;
    vorlen::bindErrors(module);
    vorlen::bindItems(module);
    vorlen::bindStacks(module);
    vorlen::bindSurfaces(module);
    vorlen::bindCohorts(module);
    vorlen::bindMaps(module);
}
