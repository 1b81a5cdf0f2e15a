#pragma once

#include "images/regions/thresholding.h"
#include "numerics/vector.h"

namespace vorlen {

/// Finds the threshold from the histogram: the one that lies midway between the mean of the values below it and the
/// mean of those from it on (T. W. Ridler and S. Calvard, IEEE Trans. SMC 8, 1978).
///
/// The bins start at first + k * width. By default there are 256 of width 1, so that bin k counts the grey value k of
/// an 8-bit image: from 0 for int, from -0.5 for floating-point types, where the threshold is thus half a grey value
/// below that of its bin.
///
/// Decisions. The class below the threshold is never empty: the threshold stays above the lowest bin with a count, so
/// that two neighbouring grey values are told apart, which only the upper of them can do. With a single bin with
/// counts the threshold is that bin. The iteration always ends: both means rise with the threshold, so that its values
/// follow one another in one direction, and bins are handed over one by one from class to class, in time linear in
/// their number.
///
/// A NaN is not counted (see PixelMatrix<T>::countNaN()), and counts as above the threshold when it is applied.
///
/// Compiled for int, float, double and long double.
template <class T>
class IsodataThresholding : public Thresholding<T> {
public:
    IsodataThresholding();
    ~IsodataThresholding() override;

    /// Lower edge of the first bin, width of a bin, and number of bins.
    void setBins(const T& first, const T& width, unsigned int bins);

    /// Index of the bin with which the upper class begins. Throws ValueError when all counts are 0.
    unsigned int computeThreshold(const Vector<unsigned int>& histogram) const;

    /// Lower edge of that bin in the histogram of the elements. Throws ValueError when there are none to count.
    T computeThreshold(const PixelMatrix<T>& matrix) const;
    T computeThreshold(const VoxelMatrix<T>& volume) const;

    /// Sets the threshold to the computed one and applies it. Throws as computeThreshold().
    void apply(PixelMatrix<T>& matrix) override;
    void apply(VoxelMatrix<T>& volume) override;

private:
    T __edge(const Vector<unsigned int>& histogram) const;

    T __first;
    T __width = T(1);
    unsigned int __bins = 256;
};

} // namespace vorlen
