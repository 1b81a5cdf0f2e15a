#include "numerics/lufactor.h"

#include "numerics/rowkernels.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace vorlen {

namespace {

// Columns decomposed at a time: a block of rows this wide stays in the second cache.
constexpr int blockSize = 64;

// Decomposes columns first to last-1 over all rows from first down. Returns the parity, or 0 on failure.
template <class T>
int decomposePanel(RowBlock<T>& a, int first, int last, std::vector<T>& scale, Vector<int>& index, T threshold,
                   bool relative) {
    const int n = a.getRows();
    int parity = 1;
    for (int j = first; j < last; ++j) {
        int pivot = j;
        T best = T(0);
        for (int i = j; i < n; ++i) {
            const T candidate = std::abs(a[i][j]) * scale[i];
            if (candidate >= best) {
                best = candidate;
                pivot = i;
            }
        }
        if (pivot != j) {
            a.swapRows(pivot, j);
            scale[pivot] = scale[j];
            parity = -parity;
        }
        index[j] = pivot;
        const T* row = a[j];
        if (!((relative ? best : std::abs(row[j])) > threshold))
            return 0;
        for (int i = j + 1; i < n; ++i) {
            T* target = a[i];
            const T factor = target[j] / row[j];
            target[j] = factor;
            for (int k = j + 1; k < last; ++k)
                target[k] -= factor * row[k];
        }
    }
    return parity;
}

} // namespace

namespace lufactor {

// 2/3 n^3 operations, nearly all of them in the product of a block column and a block row.
template <class T>
int decompose(RowBlock<T>& a, Vector<int>& index, T threshold, bool relative) {
    const int n = a.getRows();
    index.setSize(n);
    std::vector<T> scale(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        T greatest = T(0);
        for (int j = 0; j < n; ++j)
            greatest = std::max(greatest, std::abs(a[i][j]));
        if (greatest == T(0))
            return 0;
        scale[i] = T(1) / greatest;
    }
    std::vector<T> packed(static_cast<std::size_t>(rowkernels::packedSize(blockSize, n)));
    int parity = 1;
    for (int first = 0; first < n; first += blockSize) {
        const int last = std::min(first + blockSize, n);
        parity *= decomposePanel(a, first, last, scale, index, threshold, relative);
        if (parity == 0)
            return 0;
        const int rest = n - last;
        if (rest == 0)
            break;
        for (int i = first + 1; i < last; ++i)
            for (int k = first; k < i; ++k)
                rowkernels::addMultiple(a[i] + last, -a[i][k], a[k] + last, rest);
        rowkernels::subtractProduct(a.rows() + last, last, a.rows() + last, first, a.rows() + first, last, rest,
                                    last - first, rest, packed.data());
    }
    return parity;
}

// The inverse of the lower factor (n^3/3 operations, it is lower triangular), then the upper factor solved for it.
template <class T>
RowBlock<T> invert(RowBlock<T>& lu, const Vector<int>& index, Vector<int>& order) {
    const int n = lu.getRows();
    RowBlock<T> x(n, n);
    order.setSize(n);
    for (int i = 0; i < n; ++i) {
        x[i][i] = T(1);
        order[i] = i;
    }
    for (int i = 0; i < n; ++i)
        std::swap(order[i], order[index[i]]);

    std::vector<T> packed(static_cast<std::size_t>(rowkernels::packedSize(blockSize, n)));
    for (int first = 0; first < n; first += blockSize) {
        const int last = std::min(first + blockSize, n);
        for (int i = first + 1; i < last; ++i)
            for (int k = first; k < i; ++k)
                rowkernels::addMultiple(x[i], -lu[i][k], x[k], k + 1);
        rowkernels::subtractProduct(x.rows() + last, 0, lu.rows() + last, first, x.rows() + first, 0, n - last,
                                    last - first, last, packed.data());
    }
    const int lastBlock = n > 0 ? (n - 1) / blockSize * blockSize : -1;
    for (int first = lastBlock; first >= 0; first -= blockSize) {
        const int last = std::min(first + blockSize, n);
        for (int i = last - 1; i >= first; --i) {
            for (int k = i + 1; k < last; ++k)
                rowkernels::addMultiple(x[i], -lu[i][k], x[k], n);
            const T pivot = lu[i][i];
            for (int j = 0; j < n; ++j)
                x[i][j] /= pivot;
        }
        rowkernels::subtractProduct(x.rows(), 0, lu.rows(), first, x.rows() + first, 0, first, last - first, n,
                                    packed.data());
    }
    return x;
}

template int decompose(RowBlock<float>&, Vector<int>&, float, bool);
template int decompose(RowBlock<double>&, Vector<int>&, double, bool);
template int decompose(RowBlock<long double>&, Vector<int>&, long double, bool);
template RowBlock<float> invert(RowBlock<float>&, const Vector<int>&, Vector<int>&);
template RowBlock<double> invert(RowBlock<double>&, const Vector<int>&, Vector<int>&);
template RowBlock<long double> invert(RowBlock<long double>&, const Vector<int>&, Vector<int>&);

} // namespace lufactor

} // namespace vorlen
