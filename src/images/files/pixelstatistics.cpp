#include "images/files/pixelstatistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorlen {

void ChannelStatistics::add(double value) {
    if (std::isnan(value)) {
        ++numNan;
        return;
    }
    min = numValues == 0 ? value : std::min(min, value);
    max = numValues == 0 ? value : std::max(max, value);
    sum += value;
    ++numValues;
}

double ChannelStatistics::mean() const {
    return numValues > 0 ? sum / double(numValues) : std::numeric_limits<double>::quiet_NaN();
}

} // namespace vorlen
