#pragma once

#include <cstdint>
#include <vector>

namespace vorlen {

/// A part of so many, counted from 1, of a list that is cut into them: they differ by one at most, and are empty where
/// there are more of them than there is to do.
struct WorkPart {
    unsigned int number = 1, parts = 1;

    /// Where the part of a list of this length begins, counted from 0.
    std::uint64_t first(std::uint64_t total) const { return total * (number - 1) / parts; }
    std::uint64_t last(std::uint64_t total) const { return total * number / parts; } ///< behind the part
    std::uint64_t count(std::uint64_t total) const { return last(total) - first(total); }
};

/// Neighbouring planes of a map, those of one block: from first up to, and without, last.
///
/// A map is cut into blocks of planes, so that it can be made where the whole does not fit into memory, and by several
/// machines. DensityEstimator::computeBlock() makes one, and finish() needs what all of them tell.
struct MapPlanes {
    int first = 0, last = 0;

    int count() const { return last - first; }

    /// The planes of this part of a map of numPlanes planes.
    static MapPlanes part(const WorkPart& part, int numPlanes) {
        const auto total = static_cast<std::uint64_t>(numPlanes);
        return {static_cast<int>(part.first(total)), static_cast<int>(part.last(total))};
    }
};

/// What an estimator tells of a pattern beside its map: the bandwidth, the number of points in the domain, and the
/// integral before it was made 1.
struct PatternReport {
    double bandwidth = 0;
    int numPoints = 0;
    double integral = 0;

    bool operator==(const PatternReport& other) const = default;
};

/// What the planes of a block tell beside their elements, for DensityEstimator::finish(). Sums of each plane are added
/// up in the order of the planes, so that their total has the same bits for any blocks. Estimators leave empty what
/// they do not need.
struct MapSums {
    std::vector<double> densities;       ///< for each plane, of its elements
    std::vector<double> distances;       ///< for each plane, to the neighbours of its elements
    std::vector<double> elements;        ///< for each plane, how many belong to the domain
    double meanNumPoints = 0;            ///< of a pattern in the domain; of the whole, not the block
    std::vector<PatternReport> patterns; ///< likewise

    /// Appends the planes of the block that follows.
    void append(const MapSums& next) {
        densities.insert(densities.end(), next.densities.begin(), next.densities.end());
        distances.insert(distances.end(), next.distances.begin(), next.distances.end());
        elements.insert(elements.end(), next.elements.begin(), next.elements.end());
        meanNumPoints = next.meanNumPoints;
        patterns = next.patterns;
    }
};

} // namespace vorlen
