#pragma once

#include <string>
#include <vector>

#include "images/volumes/voxelmatrix.h"
#include "spots/vrlspotextractionconfig.h"

namespace vorlen {

class SpotProgress;

/// What is known of a spot. Its number is its place in the list, from 0; its label is one more.
struct Spot {
    int numVoxels = 0;
    double row = 0, column = 0, plane = 0; ///< mean place of its voxels
    double sum = 0;                        ///< of the grey values of its voxels, before any filter
    double maximum = 0;                    ///< of these
    bool touchesBorder = false;            ///< has a voxel in the first or last row, column or plane

    double mean() const { return numVoxels > 0 ? sum / numVoxels : 0; }
};

/// The spots of a volume, and each voxel's label: 0 outside, else the number of its spot and one.
struct SpotLabels {
    VoxelMatrix<int> labels;
    std::vector<Spot> spots;
    int numTooSmall = 0, numTooLarge = 0, numAtBorder = 0; ///< left out, for the first of these reasons
};

/// Finds the spots in a filtered volume: cut by floodSpots() or, with splitting off, what hangs together; then leaves
/// out what the settings leave out. The places are filled, the grey values are measureSpots()'. False when cancelled.
bool findSpots(const VoxelMatrix<float>& filtered, double threshold, const VRLSpotExtractionConfig& config,
               SpotLabels& result, SpotProgress& progress);

/// Fills sums and maxima of the grey values. Throws SizeError on a volume of another size than the labels.
void measureSpots(const VoxelMatrix<float>& grey, SpotLabels& result);

/// Whether the spots are noise, as it seems: fifty or more, and more than half of them of less than four voxels.
bool areMostlySpecks(const SpotLabels& result);

/// The basename with the number of a spot, from 000 on; beyond 999 with as many digits as it takes.
std::string spotName(const std::string& basename, std::size_t number);

/// Radius of the sphere of a spot's volume, in columns, with the sizes of a voxel along rows, columns and planes.
double equivalentRadius(const Spot& spot, const Vector<double>& resolution);

} // namespace vorlen
