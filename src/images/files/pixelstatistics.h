#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorlen {

/// Range and mean of the values of one channel of an image; what is no number counts apart.
struct ChannelStatistics {
    void add(double value);
    /// Of no values: what is no number.
    double mean() const;

    std::string name;
    double min = 0;
    double max = 0;
    double sum = 0;
    std::int64_t numValues = 0;
    std::int64_t numNan = 0;
};

/// What an image holds: the type of its values in the file, and their statistics for each channel, in the file's own
/// numbers. A palette's indexes count as their colours, and as "grey" where the palette is grey.
struct PixelStatistics {
    std::string values;
    std::vector<ChannelStatistics> channels;
};

} // namespace vorlen
