#include "images/regions/distancetransform.h"

#include <limits>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr int noMark = -1;

} // namespace

DistanceTransform::DistanceTransform(double rowStep, double columnStep) : __rowStep(rowStep), __columnStep(columnStep) {
}

void DistanceTransform::run(int rows, int columns, const std::vector<unsigned char>& marks) {
    if (rows < 0 || columns < 0 || marks.size() != std::size_t(rows) * std::size_t(columns))
        throw SizeError("void DistanceTransform::run(int, int, const std::vector<unsigned char>&)",
                        "The raster has another size");
    __rows = rows;
    __columns = columns;
    __nearestRow.resize(marks.size());
    __squares.resize(marks.size());
    __nearest.resize(marks.size());
    if (marks.empty())
        return;
    __heights.resize(std::size_t(columns));
    __starts.resize(std::size_t(columns) + 1);
    __envelope.resize(std::size_t(columns));
    sweepColumns(marks);
    for (int row = 0; row < rows; ++row)
        transformRow(row);
}

void DistanceTransform::sweepColumns(const std::vector<unsigned char>& marks) {
    const auto width = std::size_t(__columns);
    for (int row = 0; row < __rows; ++row) {
        const unsigned char* const mark = marks.data() + std::size_t(row) * width;
        int* const here = __nearestRow.data() + std::size_t(row) * width;
        const int* const above = row > 0 ? here - width : nullptr;
        for (std::size_t c = 0; c < width; ++c)
            here[c] = mark[c] != 0 ? row : above != nullptr ? above[c] : noMark;
    }
    for (int row = __rows - 2; row >= 0; --row) {
        int* const here = __nearestRow.data() + std::size_t(row) * width;
        const int* const below = here + width;
        for (std::size_t c = 0; c < width; ++c) {
            const bool nearer = below[c] != noMark && (here[c] == noMark || below[c] - row < row - here[c]);
            here[c] = nearer ? below[c] : here[c];
        }
    }
}

void DistanceTransform::transformRow(int row) {
    const std::size_t offset = std::size_t(row) * std::size_t(__columns);
    const int* const nearestRow = __nearestRow.data() + offset;
    double* const heights = __heights.data();
    double* const starts = __starts.data();
    int* const envelope = __envelope.data();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    // The parabola over column q in units of columns: height(q) + (x - q)^2, and its constant height(q) + q^2.
    const double scale = __rowStep * __rowStep / (__columnStep * __columnStep);
    int last = -1;
    for (int q = 0; q < __columns; ++q) {
        if (nearestRow[q] == noMark)
            continue;
        const double rise = nearestRow[q] - row;
        const double constant = scale * rise * rise + double(q) * q;
        heights[q] = constant;
        double start = -infinity;
        while (last >= 0) {
            const int p = envelope[last];
            start = (constant - heights[p]) / (2.0 * (q - p));
            if (start > starts[last])
                break;
            --last;
            start = -infinity;
        }
        ++last;
        envelope[last] = q;
        starts[last] = start;
    }
    float* const squares = __squares.data() + offset;
    int* const nearest = __nearest.data() + offset;
    if (last < 0) {
        for (int x = 0; x < __columns; ++x) {
            squares[x] = std::numeric_limits<float>::infinity();
            nearest[x] = noMark;
        }
        return;
    }
    starts[last + 1] = infinity;
    const double unit = __columnStep * __columnStep;
    for (int k = 0, x = 0; k <= last; ++k) {
        const int q = envelope[k];
        const int number = nearestRow[q] * __columns + q;
        const double constant = heights[q];
        for (; x < __columns && x <= starts[k + 1]; ++x) {
            squares[x] = float(unit * (constant + double(x) * (x - 2.0 * q)));
            nearest[x] = number;
        }
    }
}

} // namespace vorlen
