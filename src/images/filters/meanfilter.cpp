#include "images/filters/meanfilter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <limits>
#include <type_traits>
#include <vector>

#include "images/rasters/image.h"
#include "images/rasters/imageconversion.h"
#include "numerics/widevectors.h"

namespace vorlen {

namespace {

// Sums along one row of count values, of which those of one channel lie step apart: target[j] gets the sum of the
// length values from source[j] on. Windows of doubling length are added up by the binary digits of the length. source
// and spare have room for count + (length - 1) * step values; source is lost.
template <class Sum>
void sumWindows(Sum* source, Sum* spare, Sum* target, int count, int step, int length) {
    long long valid = count + static_cast<long long>(length - 1) * step;
    long long size = 1;    // of the windows in source
    long long covered = 0; // by the windows in target
    for (int rest = length; rest > 0; rest >>= 1) {
        if (rest & 1) {
            const Sum* const from = source + covered * step;
            const bool first = covered == 0;
            widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
                if (first)
                    for (int j = 0; j < count; ++j)
                        target[j] = from[j];
                else
                    for (int j = 0; j < count; ++j)
                        target[j] = static_cast<Sum>(target[j] + from[j]);
            });
            covered += size;
        }
        if (rest == 1)
            break;
        valid -= size * step;
        const Sum* const a = source;
        const Sum* const b = source + size * step;
        const long long n = valid;
        widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
            for (long long j = 0; j < n; ++j)
                spare[j] = static_cast<Sum>(a[j] + b[j]);
        });
        std::swap(source, spare);
        size *= 2;
    }
}

// target = truncated quotient of the sums and the divisor. Half a unit is added first: the true quotient of a sum plus
// one half lies at least half a divisor's part away from every whole number, which no rounding of the product reaches
// as long as quotient times divisor stays below the precision of the type.
template <class Pixel, class Sum, class Work>
VORLEN_INLINED Pixel quotient(Sum sum, Work inverse) {
    if constexpr (std::is_floating_point_v<Work>)
        return static_cast<Pixel>(static_cast<std::int32_t>((static_cast<Work>(sum) + Work(0.5)) * inverse));
    else
        return static_cast<Pixel>(sum / inverse);
}

// The running sums of columns take in the row that enters and give the means of the row; the row that leaves is taken
// off after.
template <class Pixel, class Row, class Sum, class Work>
void stepColumns(Sum* sums, const Row* entering, const Row* leaving, Pixel* target, int count, Work divisor) {
    const Work factor = std::is_floating_point_v<Work> ? Work(1) / divisor : divisor;
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        for (int j = 0; j < count; ++j) {
            const Sum sum = sums[j] + static_cast<Sum>(entering[j]);
            target[j] = quotient<Pixel>(sum, factor);
            sums[j] = sum - static_cast<Sum>(leaving[j]);
        }
    });
}

// Means of rows of values of type Pixel, step values for each pixel. Row holds the sum of a row's window, Sum that of
// the whole window, and Work is the type of the division: a floating-point type that is exact for these sums, or Sum.
template <class Pixel, class Row, class Sum, class Work>
void filterRows(Pixel* pixels, std::size_t stride, int rows, int columns, int step, int h) {
    const int count = columns * step;
    const int window = 2 * h + 1;
    const bool shortRows = columns < window;
    const int border = shortRows ? 0 : h * step;
    const bool shortColumns = rows < window;
    const int slots = shortColumns ? 1 : window;
    const auto width = static_cast<std::size_t>(count);
    std::vector<Row> ring(width * static_cast<std::size_t>(slots));
    std::vector<Row> work(shortRows ? 0 : 2 * width);
    const auto row = [&](int i) { return pixels + stride * static_cast<std::size_t>(i); };
    const auto slot = [&](int i) { return ring.data() + width * static_cast<std::size_t>(i % slots); };
    const long long area = (shortRows ? 1LL : window) * (shortColumns ? 1LL : window);
    // A row's sums go into its slot: the pixels themselves along a short axis.
    const auto sumRow = [&](int i) {
        Row* const sums = slot(i);
        const Pixel* const values = row(i);
        if (shortRows) {
            std::copy_n(values, count, sums);
            return;
        }
        std::copy_n(values, count, work.data());
        sumWindows(work.data(), work.data() + width, sums + border, count - 2 * border, step, window);
        for (int j = 0; j < border; ++j) {
            sums[j] = static_cast<Row>(values[j] * static_cast<Row>(window));
            sums[count - 1 - j] = static_cast<Row>(values[count - 1 - j] * static_cast<Row>(window));
        }
    };
    const auto rowMeans = [&](int i) {
        const Row* const sums = slot(i);
        Pixel* const target = row(i);
        const Row divisor = shortRows ? Row(1) : static_cast<Row>(window);
        for (int j = 0; j < count; ++j)
            target[j] = static_cast<Pixel>(sums[j] / divisor);
    };
    if (shortColumns) {
        for (int i = 0; i < rows; ++i) {
            sumRow(i);
            rowMeans(i);
        }
        return;
    }
    // A row may be replaced as soon as its own sums are formed; its sums stay in the ring until they have left.
    std::vector<Sum> sums(width, Sum(0));
    for (int i = 0; i < 2 * h; ++i) {
        sumRow(i);
        for (std::size_t j = 0; j < width; ++j)
            sums[j] += static_cast<Sum>(slot(i)[j]);
    }
    for (int i = 0; i < h; ++i)
        rowMeans(i);
    for (int i = h; i < rows - h; ++i) {
        sumRow(i + h);
        stepColumns<Pixel, Row, Sum, Work>(sums.data(), slot(i + h), slot(i - h), row(i), count,
                                           static_cast<Work>(area));
    }
    for (int i = rows - h; i < rows; ++i)
        rowMeans(i);
}

// Chooses the widths of the sums. A half size that makes the window longer than both axes changes nothing.
template <class Pixel>
void filter(Pixel* pixels, std::size_t stride, int rows, int columns, int step, int halfSize) {
    const int longest = std::max(rows, columns);
    if (halfSize > (longest - 1) / 2)
        return; // each pixel stands for all of its window
    const int h = halfSize;
    const unsigned long long window = 2ULL * static_cast<unsigned long long>(h) + 1;
    constexpr unsigned long long greatest = std::numeric_limits<Pixel>::max();
    const unsigned long long row = greatest * window, all = row * window;
    // A float holds sums below 2^24, and half a part of a window of at most 101 x 101 in a quotient below 256.
    if constexpr (sizeof(Pixel) == 1)
        if (window <= 101) {
            filterRows<Pixel, std::uint16_t, std::uint32_t, float>(pixels, stride, rows, columns, step, h);
            return;
        }
    if (all <= std::numeric_limits<std::int32_t>::max())
        filterRows<Pixel, std::uint32_t, std::uint32_t, double>(pixels, stride, rows, columns, step, h);
    else if (row <= std::numeric_limits<std::uint32_t>::max())
        filterRows<Pixel, std::uint32_t, std::uint64_t, std::uint64_t>(pixels, stride, rows, columns, step, h);
    else
        filterRows<Pixel, std::uint64_t, std::uint64_t, std::uint64_t>(pixels, stride, rows, columns, step, h);
}

/// Means of what is a number in the window, which at the border is cut off; other values stay where they are.
void filterReals(Image& image, int halfSize) {
    const int rows = image.getHeight(), columns = image.getWidth();
    const auto width = static_cast<std::size_t>(columns);
    const auto first = [halfSize](int at) { return std::max(at - halfSize, 0); };
    const auto last = [halfSize](int at, int size) { return std::min(at + halfSize, size - 1); };
    std::vector<double> sums(width * static_cast<std::size_t>(rows)), counts(sums.size());
    std::vector<double> sumsTo(static_cast<std::size_t>(std::max(rows, columns)) + 1), countsTo(sumsTo.size());
    // The sum over a window is the difference of two sums from the beginning.
    for (int i = 0; i < rows; ++i) {
        const float* const values = image.realRow(i);
        for (std::size_t j = 0; j < width; ++j) {
            sumsTo[j + 1] = sumsTo[j] + (std::isfinite(values[j]) ? double(values[j]) : 0);
            countsTo[j + 1] = countsTo[j] + (std::isfinite(values[j]) ? 1 : 0);
        }
        for (int j = 0; j < columns; ++j) {
            const std::size_t place = static_cast<std::size_t>(i) * width + static_cast<std::size_t>(j);
            const auto from = static_cast<std::size_t>(first(j)), to = static_cast<std::size_t>(last(j, columns)) + 1;
            sums[place] = sumsTo[to] - sumsTo[from];
            counts[place] = countsTo[to] - countsTo[from];
        }
    }
    for (int j = 0; j < columns; ++j) {
        for (std::size_t i = 0; i < static_cast<std::size_t>(rows); ++i) {
            const std::size_t place = i * width + static_cast<std::size_t>(j);
            sumsTo[i + 1] = sumsTo[i] + sums[place];
            countsTo[i + 1] = countsTo[i] + counts[place];
        }
        for (int i = 0; i < rows; ++i) {
            const auto from = static_cast<std::size_t>(first(i)), to = static_cast<std::size_t>(last(i, rows)) + 1;
            float& value = image.realRow(i)[j];
            if (std::isfinite(value))
                value = static_cast<float>((sumsTo[to] - sumsTo[from]) / (countsTo[to] - countsTo[from]));
        }
    }
}

void filterBytes(Image& image, int halfSize) {
    filter<unsigned char>(image.getData(), static_cast<std::size_t>(image.bytesPerLine()), image.getHeight(),
                          image.getWidth(), image.bytesPerPixel(), halfSize);
}

} // namespace

void MeanFilter::apply(Image& image) const {
    if (getHalfSize() < 1)
        return;
    if (image.isIndexed()) {
        if (image.isGrayscale()) {
            ImageConversion conversion;
            conversion.targetGrayscale = true;
            conversion.targetIndexed = false;
            conversion.targetDepth = 8;
            conversion.apply(image);
        } else {
            image.make24bits();
        }
    }
    if (image.isReal()) {
        filterReals(image, getHalfSize());
        return;
    }
    switch (image.getDepth()) {
    case 8:
        if (__optimization)
            optMeanFilter8(image);
        else
            meanFilter8(image);
        break;
    case 16:
        meanFilter16(image);
        break;
    case 24:
        meanFilter24(image);
        break;
    case 32:
        meanFilter32(image);
        break;
    default:
        std::cerr << "MeanFilter::apply(): cannot filter this type of image.\n"
                  << "MeanFilter::apply(): [ image depth = " << image.getDepth() << ", "
                  << (image.isIndexed() ? "" : "non-") << "indexed image ]\n";
    }
}

void MeanFilter::apply(Image& target, const Image& source) const {
    target = source;
    apply(target);
}

void MeanFilter::optMeanFilter8(Image& image) const {
    filterBytes(image, getHalfSize());
}

// The sums of all rows first, then of all columns, straight from the definition.
void MeanFilter::meanFilter8(Image& image) const {
    const int rows = image.getHeight();
    const int columns = image.getWidth();
    const long long h = getHalfSize();
    const auto window = static_cast<std::uint64_t>(2 * h + 1);
    const auto width = static_cast<std::size_t>(columns);
    unsigned char** const pixels = image.getPixels();
    std::vector<std::uint64_t> buffer(width * static_cast<std::size_t>(rows));
    for (int i = 0; i < rows; ++i) {
        std::uint64_t sum = 0;
        for (int j = 0; j < columns && j < 2 * h; ++j)
            sum += pixels[i][j];
        for (int j = 0; j < columns; ++j) {
            std::uint64_t& place = buffer[static_cast<std::size_t>(i) * width + static_cast<std::size_t>(j)];
            if (j < h || j >= columns - h) {
                place = pixels[i][j] * window;
                continue;
            }
            sum += pixels[i][j + h];
            place = sum;
            sum -= pixels[i][j - h];
        }
    }
    for (int j = 0; j < columns; ++j) {
        const auto at = [&](long long i) { return buffer[static_cast<std::size_t>(i) * width + std::size_t(j)]; };
        std::uint64_t sum = 0;
        for (int i = 0; i < rows && i < 2 * h; ++i)
            sum += at(i);
        for (int i = 0; i < rows; ++i) {
            if (i < h || i >= rows - h) {
                pixels[i][j] = static_cast<unsigned char>(at(i) / window);
                continue;
            }
            sum += at(i + h);
            pixels[i][j] = static_cast<unsigned char>(sum / (window * window));
            sum -= at(i - h);
        }
    }
}

void MeanFilter::meanFilter16(Image& image) const {
    // The pixels of a 16-bit image are 16-bit words in the machine's order; the data are allocated for any type.
    filter<std::uint16_t>(reinterpret_cast<std::uint16_t*>(image.getData()), static_cast<std::size_t>(image.getWidth()),
                          image.getHeight(), image.getWidth(), 1, getHalfSize());
}

void MeanFilter::meanFilter24(Image& image) const {
    filterBytes(image, getHalfSize());
}

void MeanFilter::meanFilter32(Image& image) const {
    filterBytes(image, getHalfSize());
}

} // namespace vorlen
