#pragma once

#include "numerics/vector.h"

namespace vorlen {

template <class T>
class PixelMatrix;
template <class T>
class VoxelMatrix;

/// Reads a matrix or volume at a position that need not be whole. Coordinates are in elements: (row, column) or (row,
/// column, plane). A position outside gives the nearest border element; a coordinate that is no number counts as 0.
///
/// All forms throw SizeError on a matrix or volume without elements.
///
/// Compiled for float, double and long double.
template <class T>
class Interpolation {
public:
    virtual ~Interpolation();
    virtual T eval(float x1, float x2, const PixelMatrix<T>& matrix) const = 0;
    virtual T eval(float x1, float x2, float x3, const VoxelMatrix<T>& volume) const = 0;

    /// The position as a vector, of two and of three elements.
    virtual T eval(const Vector<float>& position, const PixelMatrix<T>& matrix) const;
    virtual T eval(const Vector<float>& position, const VoxelMatrix<T>& volume) const;
};

} // namespace vorlen
