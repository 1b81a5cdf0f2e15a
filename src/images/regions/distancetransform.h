#pragma once

#include <cstddef>
#include <vector>

namespace vorlen {

/// Exact Euclidean distance of each element of a raster to the nearest of some marked elements, and which one that is.
///
/// Separable, and linear in the number of elements: the nearest mark in each column by two sweeps, row after row, so
/// that memory is read in order; then, while a row is at hand, along it the lower envelope of the parabolas that stand
/// on the columns' distances (P. Felzenszwalb and D. Huttenlocher, Distance transforms of sampled functions, Theory of
/// Computing 8, 2012). What can be said of each column by its neighbours alone is said of several at once. Of several
/// marks at equal distance any may be told.
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
    void sweepDown(const std::vector<unsigned char>& marks);
    template <class C>
    void transformRow(int row, std::vector<C>& constants, std::vector<C>& hull);
    template <class C>
    int findEnvelope(int row, std::vector<C>& constants, std::vector<C>& hull);
    template <class C>
    std::size_t addToHull(C constant, int column, std::vector<C>& hull, std::size_t size);

    double __rowStep, __columnStep;
    int __rows = 0;
    int __columns = 0;
    std::vector<float> __squares;
    std::vector<int> __nearest; // while sweeping the rows of the marks above

    // Working memory of a row: the rows of marks below and nearest, what the runs of columns are nearest to, which
    // columns the envelope may have, the constants of all parabolas and of the envelope, and its columns.
    std::vector<int> __below, __nearestRow, __runRow, __runColumn;
    std::vector<unsigned char> __low;
    std::vector<int> __intConstants, __intHull;
    std::vector<double> __constants, __hull;
    std::vector<int> __hullColumn;
};

} // namespace vorlen
