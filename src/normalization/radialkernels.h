#pragma once

namespace vorlen {

/// Kernels between one point and many, the inner loops of the radial basis functions. For double and long double.
namespace radialkernels {

/// squares[k] = sum over axes of (axes[a][first + k] - v[a])^2 for the count points from first on, whose coordinates
/// stand axis by axis.
void squareDistances(const double* const* axes, int space, const double* v, int first, int count, double* squares);
void squareDistances(const long double* const* axes, int space, const long double* v, int first, int count,
                     long double* squares);

/// The roots of the same.
void distances(const double* const* axes, int space, const double* v, int first, int count, double* distances);
void distances(const long double* const* axes, int space, const long double* v, int first, int count,
               long double* distances);

/// Replaces each squared distance r2 by r2 ln(r2) if it is above epsilon, which must be a normal number, else by 0. The
/// logarithm is right to two units of the last place.
void thinPlates(double* values, int count, double epsilon);
void thinPlates(long double* values, int count, long double epsilon);

} // namespace radialkernels

} // namespace vorlen
