#include "images/rasters/pixelmatrix.h"

#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "numerics/randomgenerator.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace vorlen {

namespace {

/// The type in which gray levels are computed: wide for integers, so that no difference overflows.
template <class T>
using Wide = std::conditional_t<std::is_floating_point_v<T>, T, long long>;

/// Low byte of the integer part, 0 where no int holds it; defined for every value.
template <class T>
unsigned char toByte(T value) {
    if constexpr (std::is_floating_point_v<T>) {
        const T limit = T(2147483648.0);
        return static_cast<unsigned char>(value > -limit && value < limit ? static_cast<int>(value) : 0);
    } else {
        return static_cast<unsigned char>(value);
    }
}

/// The value as an element: the nearest that the type holds, 0 for what is no number.
template <class T>
T toElement(float value) {
    if constexpr (std::is_integral_v<T>) {
        if (std::isnan(value))
            return T(0);
        const long double wide = value;
        if (wide <= static_cast<long double>(std::numeric_limits<T>::lowest()))
            return std::numeric_limits<T>::lowest();
        if (wide >= static_cast<long double>(std::numeric_limits<T>::max()))
            return std::numeric_limits<T>::max();
    }
    return static_cast<T>(value);
}

/// Makes target a plain 8-bit image of this size.
void initPlain(Image& target, int rows, int cols) {
    target.init(cols, rows, 8);
    target.setGrayscale(0);
}

template <class T>
void copyBytes(PixelMatrix<T>& matrix, const Image& image, int offset) {
    const int step = image.bytesPerPixel();
    for (int i = 0; i < matrix.getSize1(); ++i) {
        const unsigned char* source = image.getPixels()[i] + offset;
        T* target = matrix[i].data();
        for (int j = 0; j < matrix.getSize2(); ++j, source += step)
            target[j] = static_cast<T>(*source);
    }
}

/// Truncated.
int meanOf(int red, int green, int blue) {
    return (red + green + blue) / 3;
}

} // namespace

template <class T>
PixelMatrix<T>::PixelMatrix(int rows, int cols)
    : Matrix<T>(static_cast<unsigned int>(std::max(rows, 0)), static_cast<unsigned int>(std::max(cols, 0))) {
}

template <class T>
PixelMatrix<T>::PixelMatrix(const Matrix<T>& matrix) : Matrix<T>(matrix) {
}

template <class T>
PixelMatrix<T>::PixelMatrix(const Image& image) {
    convertFromImage(image);
}

template <class T>
void PixelMatrix<T>::convertFromImage(const Image& image) {
    this->setSize(image.getHeight(), image.getWidth());
    if (image.getData() == nullptr)
        return;
    if (image.isReal()) {
        for (int i = 0; i < this->getSize1(); ++i)
            std::transform(image.realRow(i), image.realRow(i) + this->getSize2(), (*this)[i].data(), toElement<T>);
    } else if (image.getDepth() == 8) {
        copyBytes(*this, image, 0);
    } else if (image.getDepth() == 16) {
        for (int i = 0; i < this->getSize1(); ++i) {
            const unsigned char* source = image.getPixels()[i];
            T* target = (*this)[i].data();
            for (int j = 0; j < this->getSize2(); ++j) {
                unsigned short word;
                std::memcpy(&word, source + 2 * static_cast<std::size_t>(j), 2);
                target[j] = static_cast<T>(word);
            }
        }
    }
}

template <class T>
void PixelMatrix<T>::convertFromImage(const Image& image, ImageChannel channel) {
    if (image.isReal() || (image.getDepth() <= 16 && !image.isIndexed())) {
        convertFromImage(image);
        return;
    }
    this->setSize(image.getHeight(), image.getWidth());
    if (image.getData() == nullptr)
        return;
    if (!image.isIndexed()) {
        if (channel < image.bytesPerPixel())
            copyBytes(*this, image, channel);
        return;
    }
    if (channel == AlphaChannel)
        return;
    const Colormap& colormap = *image.getColormap();
    const unsigned char* const components[] = {colormap.getRed(), colormap.getGreen(), colormap.getBlue()};
    T table[256] = {};
    for (int k = 0; k < std::min(colormap.getSize(), 256); ++k)
        table[k] = static_cast<T>(components[channel][k]);
    for (int i = 0; i < this->getSize1(); ++i) {
        const unsigned char* source = image.getPixels()[i];
        T* target = (*this)[i].data();
        for (int j = 0; j < this->getSize2(); ++j)
            target[j] = table[source[j]];
    }
}

template <class T>
void PixelMatrix<T>::convertGreyFromImage(const Image& image) {
    const bool colours = image.isIndexed() || (image.getDepth() > 16 && !image.isReal());
    if (!colours || image.getData() == nullptr)
        return convertFromImage(image);
    this->setSize(image.getHeight(), image.getWidth());
    T table[256] = {};
    if (image.isIndexed()) {
        const Colormap& colormap = *image.getColormap();
        for (int k = 0; k < std::min(colormap.getSize(), 256); ++k)
            table[k] = static_cast<T>(meanOf(colormap.getRed()[k], colormap.getGreen()[k], colormap.getBlue()[k]));
    }
    const int step = image.bytesPerPixel();
    for (int i = 0; i < this->getSize1(); ++i) {
        const unsigned char* source = image.getPixels()[i];
        T* target = (*this)[i].data();
        for (int j = 0; j < this->getSize2(); ++j, source += step)
            target[j] = step == 1 ? table[*source] : static_cast<T>(meanOf(source[0], source[1], source[2]));
    }
}

template <class T>
void PixelMatrix<T>::convertToImage(Image& image) const {
    initPlain(image, this->getSize1(), this->getSize2());
    for (int i = 0; i < this->getSize1(); ++i) {
        const T* source = (*this)[i].data();
        unsigned char* target = image.getPixels()[i];
        for (int j = 0; j < this->getSize2(); ++j)
            target[j] = toByte(source[j]);
    }
}

template <class T>
void PixelMatrix<T>::convertToImage(Image& image, unsigned char low, unsigned char high) const {
    const bool empty = this->getSize1() == 0 || this->getSize2() == 0;
    Wide<T> first = 0;
    Wide<T> factor = 0;
    Wide<T> divisor = 1;
    if (!empty) {
        const Vector<T> range = this->range();
        first = static_cast<Wide<T>>(range[0]);
        const Wide<T> last = static_cast<Wide<T>>(range[1]);
        if (first < last)
            factor = static_cast<Wide<T>>(high - low) / (last - first);
        if (factor == 0 && first < last && high != low) {
            factor = static_cast<Wide<T>>(high - low);
            divisor = last - first;
        }
    }
    initPlain(image, this->getSize1(), this->getSize2());
    for (int i = 0; i < this->getSize1(); ++i) {
        const T* source = (*this)[i].data();
        unsigned char* target = image.getPixels()[i];
        for (int j = 0; j < this->getSize2(); ++j)
            target[j] =
                static_cast<unsigned char>(low + toByte((static_cast<Wide<T>>(source[j]) - first) * factor / divisor));
    }
}

template <class T>
void PixelMatrix<T>::convertToImage(Image& image, T first, T last, unsigned char low, unsigned char high) const {
    const Wide<T> start = static_cast<Wide<T>>(first);
    const Wide<T> height = static_cast<Wide<T>>(high - low);
    const Wide<T> width = static_cast<Wide<T>>(last) - start;
    initPlain(image, this->getSize1(), this->getSize2());
    for (int i = 0; i < this->getSize1(); ++i) {
        const T* source = (*this)[i].data();
        unsigned char* target = image.getPixels()[i];
        for (int j = 0; j < this->getSize2(); ++j) {
            const T value = source[j];
            if (value >= last && !(value <= first))
                target[j] = high;
            else if (value > first)
                target[j] = toByte(static_cast<Wide<T>>(low) + (static_cast<Wide<T>>(value) - start) * height / width);
            else
                target[j] = low;
        }
    }
}

template <class T>
bool PixelMatrix<T>::contains(int row, int col) const {
    return row >= 0 && row < this->getSize1() && col >= 0 && col < this->getSize2();
}

template <class T>
void PixelMatrix<T>::randomise(int low, int high, RandomGenerator& generator) {
    for (int i = 0; i < this->getSize1(); ++i) {
        T* row = (*this)[i].data();
        for (int j = 0; j < this->getSize2(); ++j)
            row[j] = static_cast<T>(generator.uniformL(static_cast<long>(low), static_cast<long>(high)));
    }
}

template <class T>
void PixelMatrix<T>::randomise(int low, int high) {
    RandomGenerator generator;
    randomise(low, high, generator);
}

template <class T>
void PixelMatrix<T>::randomise(int high) {
    randomise(0, high);
}

template <class T>
void PixelMatrix<T>::randomise() {
    randomise(0, 255);
}

template <class T>
void PixelMatrix<T>::fillBorder(T value) {
    fillBorder(1, value);
}

template <class T>
void PixelMatrix<T>::fillBorder(int width, T value) {
    if (width <= 0)
        return;
    const int rows = this->getSize1();
    const int cols = this->getSize2();
    const int side = std::min(width, cols);
    for (int i = 0; i < rows; ++i) {
        T* row = (*this)[i].data();
        if (i < width || rows - i <= width) {
            std::fill_n(row, cols, value);
        } else {
            std::fill_n(row, side, value);
            std::fill_n(row + cols - side, side, value);
        }
    }
}

template <class T>
Vector<unsigned int> PixelMatrix<T>::histogram(T first, T width, unsigned int bins) const {
    Vector<unsigned int> counts = Matrix<T>::histogram(first, width, bins);
    if (bins > 0)
        counts[static_cast<int>(bins) - 1] -= static_cast<unsigned int>(countNaN()); // that is where they are put
    return counts;
}

template <class T>
Vector<unsigned int> PixelMatrix<T>::histogram(T first, T width, unsigned int bins, const PixelMatrix& mask) const {
    if (mask.getSize1() != this->getSize1() || mask.getSize2() != this->getSize2())
        throw SizeError("Vectorui PixelMatrix<T>::histogram(...)", "Incompatible mask size");
    Vector<unsigned int> counts(bins);
    counts.setZeros();
    for (int i = 0; i < this->getSize1(); ++i) {
        const Vector<unsigned int> rowCounts = (*this)[i].histogram(first, width, static_cast<int>(bins), mask[i]);
        for (unsigned int k = 0; k < bins; ++k)
            counts[static_cast<int>(k)] += rowCounts[static_cast<int>(k)];
    }
    if (bins > 0)
        counts[static_cast<int>(bins) - 1] -= static_cast<unsigned int>(countNaN(mask));
    return counts;
}

template <class T>
long long PixelMatrix<T>::countNaN() const {
    long long count = 0;
    for (int i = 0; std::is_floating_point_v<T> && i < this->getSize1(); ++i) {
        const T* const row = (*this)[i].data();
        for (int j = 0; j < this->getSize2(); ++j)
            count += row[j] != row[j];
    }
    return count;
}

template <class T>
long long PixelMatrix<T>::countNaN(const PixelMatrix& mask) const {
    if (mask.getSize1() != this->getSize1() || mask.getSize2() != this->getSize2())
        throw SizeError("long long PixelMatrix<T>::countNaN(...) const", "Incompatible mask size");
    long long count = 0;
    for (int i = 0; std::is_floating_point_v<T> && i < this->getSize1(); ++i) {
        const T* const row = (*this)[i].data();
        const T* const maskRow = mask[i].data();
        for (int j = 0; j < this->getSize2(); ++j)
            count += row[j] != row[j] && maskRow[j] != T(0);
    }
    return count;
}

template class PixelMatrix<bool>;
template class PixelMatrix<char>;
template class PixelMatrix<unsigned char>;
template class PixelMatrix<short>;
template class PixelMatrix<unsigned short>;
template class PixelMatrix<int>;
template class PixelMatrix<unsigned int>;
template class PixelMatrix<float>;
template class PixelMatrix<double>;
template class PixelMatrix<long double>;

} // namespace vorlen
