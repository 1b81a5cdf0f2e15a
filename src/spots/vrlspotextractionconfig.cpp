#include "spots/vrlspotextractionconfig.h"

#include "numerics/exception.h"

namespace vorlen {

void VRLSpotExtractionConfig::check() const {
    const char* const where = "void VRLSpotExtractionConfig::check() const";
    const auto require = [where](bool good, const char* what) {
        if (!good)
            throw ValueError(where, what);
    };
    require(!__smoothingFilterEnabled || __smoothingFilterRadius >= 1, "The radius of the smoothing filter is below 1");
    require(!__tophatFilterEnabled || __tophatFilterRadius >= 1, "The radius of the top-hat filter is below 1");
    require(!__isotropyFilterEnabled || __isotropyFilterRadius >= 1, "The radius of the isotropy filter is below 1");
    require(__leastSize >= 0 && __greatestSize >= 0, "The size of a spot is below 0");
    require(__greatestSize == 0 || __leastSize <= __greatestSize, "The least size of a spot is above the greatest");
    if (!__resizeState)
        return;
    require(__newSize.getSize() == 3 && __newSize.min() >= 1, "The volume is to be resized to no size");
    require(double(__newSize[0]) * __newSize[1] * __newSize[2] < 2147483647.0,
            "The volume is to be resized to more than 2,147,483,647 voxels");
}

} // namespace vorlen
