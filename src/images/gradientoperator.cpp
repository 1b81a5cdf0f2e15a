#include "images/gradientoperator.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "numerics/exception.h"
#include "numerics/widevectors.h"

namespace {

template <class T>
void checkSizes(const PixelMatrix<T>& a, const PixelMatrix<T>& b, const std::string& operation) {
    if (a.getSize() != b.getSize())
        throw SizeError("void GradientOperator<T>::" + operation + "(...)", "The matrices have different sizes");
}

template <class T>
void normOfRow(const T* h, const T* v, T* target, int count) {
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        for (int j = 0; j < count; ++j)
            target[j] = std::sqrt(h[j] * h[j] + v[j] * v[j]);
    });
}

// Calls keep(i, j, g) for the inner pixels whose norm g is not 0 and clears those for which it is false. Decisions see
// the norm as it was: rows are replaced when the row behind them has been decided.
template <class T, class Keep>
void thin(PixelMatrix<T>& norm, Keep keep) {
    const int rows = norm.getSize1();
    const int columns = norm.getSize2();
    if (rows < 3 || columns < 3)
        return;
    // Rows i - 1, i and i + 1 of the norm as they were.
    const auto width = static_cast<std::size_t>(columns);
    std::vector<T> kept(2 * width);
    T* before = kept.data();
    T* present = before + width;
    std::copy_n(norm[0].data(), columns, before);
    for (int i = 1; i + 1 < rows; ++i) {
        T* const target = norm[i].data();
        std::copy_n(target, columns, present);
        const T* const lines[3] = {before, present, norm[i + 1].data()};
        for (int j = 1; j + 1 < columns; ++j)
            if (present[j] != T(0) && !keep(i, j, lines))
                target[j] = T(0);
        std::swap(before, present);
    }
}

template <class T>
VORLEN_INLINED int signOf(T value) {
    return value >= T(0) ? 1 : -1;
}

// The test of the fine thinning for the element at column j of the middle of three rows of the norm.
template <class T>
VORLEN_INLINED bool isFineMaximum(const T* const* lines, int j, T h, T v) {
    const T g = lines[1][j];
    const T dx = h / g, dy = v / g;
    const int sx = signOf(dx), sy = signOf(dy);
    const T ax = std::abs(dx), ay = std::abs(dy);
    const T own = (T(1) - ax) * (T(1) - ay), along = ax * (T(1) - ay), across = (T(1) - ax) * ay, diagonal = ax * ay;
    const T* const ahead = lines[1 + sy];
    const T* const behind = lines[1 - sy];
    const T forward = own * g + along * lines[1][j + sx] + across * ahead[j] + diagonal * ahead[j + sx];
    const T backward = own * g + along * lines[1][j - sx] + across * behind[j] + diagonal * behind[j - sx];
    return !(forward >= g || backward > g);
}

} // namespace

template <class T>
void GradientOperator<T>::apply(PixelMatrix<T>& matrix) {
    PixelMatrix<T> h(matrix);
    hGradient(h);
    vGradient(matrix);
    norm(matrix, h, matrix);
}

template <class T>
void GradientOperator<T>::apply(VoxelMatrix<T>& volume) {
    VoxelMatrix<T> second(volume), third(volume);
    gradient1(volume);
    gradient2(second);
    gradient3(third);
    norm(volume, second, third);
}

template <class T>
void GradientOperator<T>::norm(PixelMatrix<T>& matrix) {
    apply(matrix);
}

template <class T>
void GradientOperator<T>::angle(PixelMatrix<T>& matrix) {
    PixelMatrix<T> h(matrix);
    hGradient(h);
    vGradient(matrix);
    angle(matrix, h, matrix);
}

template <class T>
void GradientOperator<T>::norm(PixelMatrix<T>& result, const PixelMatrix<T>& h, const PixelMatrix<T>& v) {
    checkSizes(h, v, "norm");
    result.setSize(h.getSize1(), h.getSize2());
    for (int i = 0; i < h.getSize1(); ++i)
        normOfRow(h[i].data(), v[i].data(), result[i].data(), h.getSize2());
}

template <class T>
void GradientOperator<T>::norm(VoxelMatrix<T>& a, const VoxelMatrix<T>& b, const VoxelMatrix<T>& c) {
    if (!a.sameSizeAs(b) || !a.sameSizeAs(c))
        throw SizeError("void GradientOperator<T>::norm(...)", "The matrices have different sizes");
    for (int k = 0; k < a.getSize3(); ++k)
        for (int i = 0; i < a.getSize1(); ++i) {
            T* const x = a[k][i].data();
            const T* const y = b[k][i].data();
            const T* const z = c[k][i].data();
            for (int j = 0; j < a.getSize2(); ++j)
                x[j] = std::sqrt(x[j] * x[j] + y[j] * y[j] + z[j] * z[j]);
        }
}

template <class T>
void GradientOperator<T>::angle(PixelMatrix<T>& result, const PixelMatrix<T>& h, const PixelMatrix<T>& v) {
    checkSizes(h, v, "angle");
    result.setSize(h.getSize1(), h.getSize2());
    for (int i = 0; i < h.getSize1(); ++i)
        for (int j = 0; j < h.getSize2(); ++j)
            result[i][j] = std::atan2(v[i][j], h[i][j]);
}

template <class T>
void GradientOperator<T>::fineNonmaxSuppression(PixelMatrix<T>& h, const PixelMatrix<T>& v) {
    checkSizes(h, v, "fineNonmaxSuppression");
    const int rows = h.getSize1();
    const int columns = h.getSize2();
    // The norms of three rows; the row of h is replaced when those of the next have been formed.
    const auto width = static_cast<std::size_t>(columns);
    std::vector<T> norms(3 * width);
    T* before = norms.data();
    T* present = before + width;
    T* after = present + width;
    const auto normInto = [&](int i, T* target) { normOfRow(h[i].data(), v[i].data(), target, columns); };
    if (rows > 0)
        normInto(0, present);
    for (int i = 0; i < rows; ++i) {
        if (i + 1 < rows)
            normInto(i + 1, after);
        T* const x = h[i].data();
        if (i == 0 || i + 1 == rows || columns < 3) {
            std::copy_n(present, columns, x);
        } else {
            const T* const y = v[i].data();
            const T* const lines[3] = {before, present, after};
            x[0] = present[0];
            x[columns - 1] = present[columns - 1];
            for (int j = 1; j + 1 < columns; ++j)
                x[j] = present[j] != T(0) && isFineMaximum<T>(lines, j, x[j], y[j]) ? present[j] : T(0);
        }
        std::swap(before, present);
        std::swap(present, after);
    }
}

template <class T>
void GradientOperator<T>::fineNonmaxSuppression(PixelMatrix<T>& norm, const PixelMatrix<T>& h,
                                                const PixelMatrix<T>& v) {
    checkSizes(norm, h, "fineNonmaxSuppression");
    checkSizes(norm, v, "fineNonmaxSuppression");
    thin(norm, [&](int i, int j, const T* const* lines) { return isFineMaximum<T>(lines, j, h[i][j], v[i][j]); });
}

template <class T>
void GradientOperator<T>::nonmaxSuppression(PixelMatrix<T>& norm, const PixelMatrix<T>& h, const PixelMatrix<T>& v) {
    checkSizes(norm, h, "nonmaxSuppression");
    checkSizes(norm, v, "nonmaxSuppression");
    thin(norm, [&](int i, int j, const T* const* lines) {
        const T x = h[i][j], y = v[i][j];
        const int sx = signOf(x), sy = signOf(y);
        const T ax = std::abs(x), ay = std::abs(y);
        const bool horizontal = ax >= ay;
        const T longer = horizontal ? ax : ay;
        const T weight = longer > T(0) ? (horizontal ? ay : ax) / longer : T(0); // of the diagonal neighbour
        const T straightAhead = horizontal ? lines[1][j + sx] : lines[1 + sy][j];
        const T straightBehind = horizontal ? lines[1][j - sx] : lines[1 - sy][j];
        const T ahead = (T(1) - weight) * straightAhead + weight * lines[1 + sy][j + sx];
        const T behind = (T(1) - weight) * straightBehind + weight * lines[1 - sy][j - sx];
        return !(ahead > lines[1][j] || behind > lines[1][j]);
    });
}

template <class T>
void GradientOperator<T>::nonmaxSuppressionN4(PixelMatrix<T>& norm, const PixelMatrix<T>& h, const PixelMatrix<T>& v) {
    checkSizes(norm, h, "nonmaxSuppressionN4");
    checkSizes(norm, v, "nonmaxSuppressionN4");
    thin(norm, [&](int i, int j, const T* const* lines) {
        const T x = h[i][j], y = v[i][j];
        const bool horizontal = std::abs(x) >= std::abs(y);
        const int sx = signOf(x), sy = signOf(y);
        const T ahead = horizontal ? lines[1][j + sx] : lines[1 + sy][j];
        const T behind = horizontal ? lines[1][j - sx] : lines[1 - sy][j];
        return !(behind > lines[1][j] || ahead >= lines[1][j]);
    });
}

template <class T>
void GradientOperator<T>::nonmaxSuppressionN8(PixelMatrix<T>& norm, const PixelMatrix<T>& h, const PixelMatrix<T>& v) {
    checkSizes(norm, h, "nonmaxSuppressionN8");
    checkSizes(norm, v, "nonmaxSuppressionN8");
    thin(norm, [&](int i, int j, const T* const* lines) {
        const T x = h[i][j], y = v[i][j];
        const T ax = std::abs(x), ay = std::abs(y);
        int di = 1, dj = 0;
        if (ay < T(2) * ax) {
            dj = 1;
            di = ax > T(2) * ay ? 0 : signOf(x) * signOf(y);
        }
        return !(lines[1 + di][j + dj] > lines[1][j] || lines[1 - di][j - dj] > lines[1][j]);
    });
}

template <class T>
void GradientOperator<T>::hysteresisThresholding(PixelMatrix<T>& matrix, float low, float high) {
    const int rows = matrix.getSize1();
    const int columns = matrix.getSize2();
    if (rows < 3 || columns < 3)
        return;
    std::vector<std::pair<int, int>> strong; // a list that grows at its back while it is read from its front
    for (int i = 1; i + 1 < rows; ++i) {
        T* const values = matrix[i].data();
        for (int j = 1; j + 1 < columns; ++j) {
            if (values[j] < static_cast<T>(low)) {
                values[j] = T(0);
            } else if (values[j] >= static_cast<T>(high)) {
                values[j] = T(1);
                strong.emplace_back(i, j);
            } else {
                values[j] = T(-1);
            }
        }
    }
    for (std::size_t at = 0; at < strong.size(); ++at) {
        const auto [row, column] = strong[at];
        for (int i = std::max(row - 1, 1); i <= std::min(row + 1, rows - 2); ++i)
            for (int j = std::max(column - 1, 1); j <= std::min(column + 1, columns - 2); ++j)
                if (matrix[i][j] < T(0)) {
                    matrix[i][j] = T(1);
                    strong.emplace_back(i, j);
                }
    }
    for (int i = 1; i + 1 < rows; ++i) {
        T* const values = matrix[i].data();
        for (int j = 1; j + 1 < columns; ++j)
            values[j] = values[j] < T(0) ? T(0) : values[j];
    }
}

template class GradientOperator<float>;
template class GradientOperator<double>;
template class GradientOperator<long double>;
