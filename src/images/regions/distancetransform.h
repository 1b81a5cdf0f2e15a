#pragma once

#include <vector>

namespace vorlen {

/// Exact Euclidean distance of each element of a raster to the nearest of some marked elements, and which one that is.
///
/// Separable, and linear in the number of elements: the nearest mark in each column by two sweeps, row after row, so
/// that memory is read in order; then along each row the lower envelope of the parabolas that stand on the columns'
/// distances (P. Felzenszwalb and D. Huttenlocher, Distance transforms of sampled functions, Theory of Computing 8,
/// 2012). Of several marks at equal distance any may be told.
///
/// Elements are numbered row by row. Work buffers last from call to call, so that one object serves many rasters.
class DistanceTransform {
public:
    /// Distance between neighbours along a column and along a row, for pixels that are not square.
    explicit DistanceTransform(double rowStep = 1, double columnStep = 1);

    /// Transforms a raster of so many rows and columns; elements that are not 0 are marks. Throws SizeError when the
    /// sizes are negative or the raster has another number of elements.
    void run(int rows, int columns, const std::vector<unsigned char>& marks);

    /// Squared distance of each element; infinite where there are no marks.
    const std::vector<float>& getSquaredDistances() const { return __squares; }

    /// Number of the nearest mark of each element, -1 where there are no marks.
    const std::vector<int>& getNearest() const { return __nearest; }

private:
    void sweepColumns(const std::vector<unsigned char>& marks);
    void transformRow(int row);

    double __rowStep, __columnStep;
    int __rows = 0;
    int __columns = 0;
    std::vector<int> __nearestRow; // of the mark in the same column, or -1
    std::vector<float> __squares;
    std::vector<int> __nearest;
    std::vector<double> __heights, __starts;
    std::vector<int> __envelope;
};

} // namespace vorlen
