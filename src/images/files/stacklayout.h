#pragma once

#include <optional>
#include <string>
#include <vector>

#include "values/lengthunit.h"

namespace vorlen {

/// What the pages of an image file are to each other: planes, channels and points in time of one volume.
struct StackLayout {
    /// Where one picture of the volume is.
    struct Plane {
        std::string filename; ///< empty: the file itself
        int page = 0;         ///< counted from 0
        int sample = 0;       ///< 0: all samples; else this sample, counted from 1
    };

    /// The plane of these numbers, each counted from 0.
    const Plane& plane(int z, int channel, int time) const {
        return planes[static_cast<std::size_t>((time * numChannels + channel) * numPlanes + z)];
    }

    int numPlanes = 0;
    int numChannels = 1;
    int numTimes = 1;
    std::vector<Plane> planes;             ///< the planes of the first channel at the first time, of the second, ...
    std::vector<std::string> channelNames; ///< of each channel; empty texts where the file gives no name
    std::optional<double> spacing;         ///< of the planes, in the unit
    std::optional<double> pixelWidth, pixelHeight; ///< in the unit
    LengthUnit unit{-6};
    std::vector<std::string> warnings; ///< what the file says that can't be true, in sentences
};

} // namespace vorlen
