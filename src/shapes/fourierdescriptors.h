#pragma once

#include "shapes/curve.h"

namespace vorlen {

/// Low-passes a contour through the Fourier series of x + i y, in the plane of axes 0 and 1 (Zahn and Roskies, IEEE
/// Trans. Computers 21, 1972, use the like).
///
/// A descriptor is one pair of frequencies +k and -k: m descriptors are the coefficients 0, 1..m and n-m..n-1 of n.
/// Coefficient 0, the centroid, is always kept and never counted. The fidelity, 0 to 1, is the share of the kept
/// coefficients in the sum of the moduli, without coefficient 0; it is 1 for a contour that has none but that.
///
/// The transforms run in float. Numbers of descriptors below 0 count as 0. Parts of unlike sizes raise the SizeError
/// of FourierTransform. Compiled for int, float, double, long double.
template <class T>
class FourierDescriptors {
public:
    /// Coefficients of the curve, divided by its number of vertices, so that computeBackward() needs no scale.
    static void computeForward(const Curve<T>& curve, Vector<float>& re, Vector<float>& im);

    /// The curve of the coefficients, which are transformed in place. A curve of another size, or of fewer than two
    /// dimensions, becomes a new closed one in the plane; else its vertices are written in place. Cut towards zero for
    /// int.
    static void computeBackward(Vector<float>& re, Vector<float>& im, Curve<T>& curve);

    /// Clears the coefficients k with numDescriptors < k < n - numDescriptors.
    static void cut(Vector<float>& re, Vector<float>& im, int numDescriptors);

    /// Smallest number of descriptors whose fidelity is not below the given one; at most n / 2.
    static int numDescriptorsFromFidelity(const Vector<float>& re, const Vector<float>& im, float fidelity);
    static float fidelityFromNumDescriptors(const Vector<float>& re, const Vector<float>& im, int numDescriptors);

    /// Keeps so many descriptors and returns their fidelity. 0 moves all vertices to the centroid.
    static float filter(Curve<T>& curve, int numDescriptors);

    /// Keeps as many descriptors as the fidelity needs, and returns their number.
    static int filter(Curve<T>& curve, float fidelity);
};

} // namespace vorlen
