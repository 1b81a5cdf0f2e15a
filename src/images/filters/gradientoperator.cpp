#include "images/filters/gradientoperator.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "numerics/exception.h"
#include "numerics/widevectors.h"

namespace vorlen {

namespace {

template <class T>
void checkSizes(const PixelMatrix<T>& a, const PixelMatrix<T>& b, const std::string& operation) {
    if (a.getSize() != b.getSize())
        throw SizeError("void GradientOperator<T>::" + operation + "(...)", "The matrices have different sizes");
}

template <class T>
void normOfPair(const T* h, const T* v, T* target, int count) {
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        for (int j = 0; j < count; ++j)
            target[j] = std::sqrt(h[j] * h[j] + v[j] * v[j]);
    });
}

// Calls decide(i, lines, target) for each inner row: lines are the rows before, at and behind i of the norm as they
// were, target is the row itself, whose inner elements it may clear.
template <class T, class Decide>
void thinRows(PixelMatrix<T>& norm, Decide decide) {
    const int rows = norm.getSize1();
    const int columns = norm.getSize2();
    if (rows < 3 || columns < 3)
        return;
    const auto width = static_cast<std::size_t>(columns);
    std::vector<T> kept(2 * width);
    T* before = kept.data();
    T* present = before + width;
    std::copy_n(norm[0].data(), columns, before);
    for (int i = 1; i + 1 < rows; ++i) {
        T* const target = norm[i].data();
        std::copy_n(target, columns, present);
        const T* const lines[3] = {before, present, norm[i + 1].data()};
        decide(i, lines, target);
        std::swap(before, present);
    }
}

// The same pixel by pixel: clears those whose norm is not 0 and for which keep(i, j, lines) is false.
template <class T, class Keep>
void thinPixels(PixelMatrix<T>& norm, Keep keep) {
    const int columns = norm.getSize2();
    thinRows(norm, [&](int i, const T* const* lines, T* target) {
        for (int j = 1; j + 1 < columns; ++j)
            if (lines[1][j] != T(0) && !keep(i, j, lines))
                target[j] = T(0);
    });
}

template <class T>
VORLEN_INLINED int signOf(T value) {
    return value >= T(0) ? 1 : -1;
}

// The fine thinning of the inner elements of the middle of three rows of the norm. All neighbours are read and those
// ahead and behind are chosen among them, so that there are no branches.
template <class T>
void thinFinely(const T* const* lines, const T* h, const T* v, T* target, int columns) {
    const T* const above = lines[0];
    const T* const row = lines[1];
    const T* const below = lines[2];
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        for (int j = 1; j < columns - 1; ++j) {
            const T g = row[j];
            const T dx = h[j] / g, dy = v[j] / g;
            const bool right = dx >= T(0), down = dy >= T(0);
            const T ax = std::abs(dx), ay = std::abs(dy);
            const T left0 = row[j - 1], right0 = row[j + 1];
            const T up = above[j], upLeft = above[j - 1], upRight = above[j + 1];
            const T under = below[j], downLeft = below[j - 1], downRight = below[j + 1];
            const T fh = right ? right0 : left0, rh = right ? left0 : right0;
            const T fv = down ? under : up, rv = down ? up : under;
            const T fDown = right ? downRight : downLeft, fUp = right ? upRight : upLeft;
            const T rDown = right ? downLeft : downRight, rUp = right ? upLeft : upRight;
            const T fd = down ? fDown : fUp, rd = down ? rUp : rDown;
            const T own = (T(1) - ax) * (T(1) - ay) * g;
            const T along = ax * (T(1) - ay), across = (T(1) - ax) * ay, diagonal = ax * ay;
            const T forward = own + along * fh + across * fv + diagonal * fd;
            const T backward = own + along * rh + across * rv + diagonal * rd;
            // A norm of 0 makes everything here NaN, and stays.
            const T ahead = forward >= g ? T(0) : g;
            target[j] = backward > g ? T(0) : ahead;
        }
    });
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
        normOfPair(h[i].data(), v[i].data(), result[i].data(), h.getSize2());
}

template <class T>
void GradientOperator<T>::norm(VoxelMatrix<T>& a, const VoxelMatrix<T>& b, const VoxelMatrix<T>& c) {
    if (!a.sameSizeAs(b) || !a.sameSizeAs(c))
        throw SizeError("void GradientOperator<T>::norm(...)", "The matrices have different sizes");
    for (int k = 0; k < a.getSize3(); ++k)
        for (int i = 0; i < a.getSize1(); ++i)
            normOfRow(a[k][i].data(), b[k][i].data(), c[k][i].data(), a.getSize2());
}

template <class T>
void GradientOperator<T>::normOfRow(T* a, const T* b, const T* c, int count) {
    for (int j = 0; j < count; ++j)
        a[j] = std::sqrt(a[j] * a[j] + b[j] * b[j] + c[j] * c[j]);
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
    std::vector<T> norms(4 * width);
    T* const thinned = norms.data() + 3 * width;
    T* before = norms.data();
    T* present = before + width;
    T* after = present + width;
    const auto normInto = [&](int i, T* target) { normOfPair(h[i].data(), v[i].data(), target, columns); };
    if (rows > 0)
        normInto(0, present);
    for (int i = 0; i < rows; ++i) {
        if (i + 1 < rows)
            normInto(i + 1, after);
        T* const x = h[i].data();
        if (i == 0 || i + 1 == rows || columns < 3) {
            std::copy_n(present, columns, x);
        } else {
            const T* const lines[3] = {before, present, after};
            thinFinely<T>(lines, x, v[i].data(), thinned, columns);
            x[0] = present[0];
            x[columns - 1] = present[columns - 1];
            std::copy_n(thinned + 1, columns - 2, x + 1);
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
    const int columns = norm.getSize2();
    thinRows(norm, [&](int i, const T* const* lines, T* target) {
        thinFinely<T>(lines, h[i].data(), v[i].data(), target, columns);
    });
}

template <class T>
void GradientOperator<T>::nonmaxSuppression(PixelMatrix<T>& norm, const PixelMatrix<T>& h, const PixelMatrix<T>& v) {
    checkSizes(norm, h, "nonmaxSuppression");
    checkSizes(norm, v, "nonmaxSuppression");
    thinPixels(norm, [&](int i, int j, const T* const* lines) {
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
    thinPixels(norm, [&](int i, int j, const T* const* lines) {
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
    thinPixels(norm, [&](int i, int j, const T* const* lines) {
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

} // namespace vorlen
