#pragma once

#include <vector>

namespace vorlen {

/// Neighbouring planes of a map, those of one block: from first up to, and without, last.
///
/// A map is cut into blocks of planes, so that it can be made where the whole does not fit into memory, and by several
/// machines. DensityEstimator::computeBlock() makes one, and finish() needs what all of them tell.
struct MapPlanes {
    int first = 0, last = 0;

    int count() const { return last - first; }

    /// The part of this number, from 1, of so many parts of numPlanes planes: parts differ by one plane at most, and
    /// are empty where there are more parts than planes.
    static MapPlanes part(int number, int parts, int numPlanes) {
        const auto bound = [=](int k) { return static_cast<int>(static_cast<long long>(numPlanes) * k / parts); };
        return {bound(number - 1), bound(number)};
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
