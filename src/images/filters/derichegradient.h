#pragma once

#include "images/filters/gradientoperator.h"
#include "numerics/vector.h"

namespace vorlen {

/// Gradient by recursive filters: along the one index a derivative of a smoothing, along the others the smoothing, both
/// of the scale 1 / alpha, in elements (R. Deriche, International Journal of Computer Vision 1, 1987). The cost does
/// not depend on alpha.
///
/// A line x becomes y + z, times a scale, with the causal part
/// y[i] = a0 x[i] + a1 x[i-1] + b1 y[i-1] + b2 y[i-2] and the anticausal part
/// z[i] = a2 x[i+1] + a3 x[i+2] + b1 z[i+1] + b2 z[i+2]; beyond its ends there is nothing. Where a0 is 0, a1 counts as
/// 1 in all elements but y[1], and where a3 is 0, a2 counts as -1 in all but z[n-2]. The smoothing has a gain of (1 -
/// exp(-alpha))^2 on a constant, so that gradients of different alpha are not of one height.
///
/// A line of one element is multiplied by a0 and the scale. Rows are filtered several at once, columns in blocks of
/// neighbours. One object serves one thread at a time, since it keeps its working memory.
///
/// Volumes are worked on by all threads of ParallelWork: across the planes first, then along the rows, then along the
/// columns. A single gradient is made in place; the norm of all three, by apply(), needs a second volume. A run reports
/// a step for each row and each plane; one that is cancelled leaves the volume filtered in part, and notifyCanceled()
/// takes the place of notifyFinished().
///
/// A recursion would carry a NaN or an infinity on to the ends of all lines that it meets. The gradients take such an
/// element for 0, and all elements are NaN that lie, on each index, within its reach: as far as (1 + alpha d)
/// exp(-alpha d), its weight at the distance d, is not lost in the precision of T, which is about 19 / alpha elements
/// for float and 40 / alpha for double. (The operations that are given coefficients take every element as it is.)
///
/// Compiled for float, double and long double.
template <class T>
class DericheGradient : public GradientOperator<T> {
public:
    /// Throws ValueError unless alpha is above 0 and finite.
    explicit DericheGradient(float alpha);

    using GradientOperator<T>::apply;

    void gradient1(PixelMatrix<T>& matrix) override;
    void gradient2(PixelMatrix<T>& matrix) override;
    void hGradient(PixelMatrix<T>& matrix) override;
    void vGradient(PixelMatrix<T>& matrix) override;

    /// The norm of the three gradients.
    void apply(VoxelMatrix<T>& volume) override;

    void gradient1(VoxelMatrix<T>& volume) override;
    void gradient2(VoxelMatrix<T>& volume) override;
    void gradient3(VoxelMatrix<T>& volume) override;

    /// One line, in place; x exchanges its array with one of this object.
    void recursiveFiltering1D(Vector<T>& x, const T& a0, const T& a1, const T& a2, const T& a3, const T& b1,
                              const T& b2, const T& scale) const;

    /// Every row with p0 to p3, b1, b2 and scale1, then every column with q0 to q3, b1, b2 and scale2.
    void apply(PixelMatrix<T>& matrix, const T& p0, const T& p1, const T& p2, const T& p3, const T& q0, const T& q1,
               const T& q2, const T& q3, const T& b1, const T& b2, const T& scale1, const T& scale2) const;

private:
    template <class C>
    C coefficients(bool derivative) const;
    // With the derivative, or else the smoothing, along the rows, and along the columns.
    void filter(PixelMatrix<T>& matrix, bool alongRows, bool alongColumns) const;
    // With the derivative along the one index, from 1 to 3.
    void filter(VoxelMatrix<T>& volume, int index);

    T __d0, __d1, __d2, __d3;
    T __s0, __s1, __s2, __s3;
    T __b1, __b2;
    T __derivativeScale;
    T __smoothingScale;
    int __reach; ///< of an element that is not finite
    mutable Vector<T> __causal;
    mutable Vector<T> __anticausal;
};

} // namespace vorlen
