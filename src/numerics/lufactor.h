#pragma once

#include "numerics/rowblock.h"
#include "numerics/vector.h"

namespace vorlen {

/// Blocked LU decomposition and inversion, the inner work of SquareMatrix<T>. For float, double and long double.
namespace lufactor {

/// Decomposes the n by n block a in place with implicitly scaled partial pivoting; the last of equal pivots wins.
/// index gets the row exchanged at each step. Returns the parity of the exchanges, or 0 when a row is zero or the
/// absolute value of a pivot is not above threshold; relative: not above this part of the largest value of its row.
template <class T>
int decompose(RowBlock<T>& a, Vector<int>& index, T threshold, bool relative = false);

/// Inverse, from the result of decompose(). Column c of the inverse is column i of the block returned where order[i]
/// is c.
template <class T>
RowBlock<T> invert(RowBlock<T>& lu, const Vector<int>& index, Vector<int>& order);

} // namespace lufactor

} // namespace vorlen
