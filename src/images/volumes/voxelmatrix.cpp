#include "images/volumes/voxelmatrix.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <limits>
#include <type_traits>
#include <utility>

#include "images/files/voxelmatrixfile.h"
#include "numerics/elementarithmetic.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

// Bytes that a value of the 80-bit extended format occupies in memory without its padding.
constexpr int extendedBytes = 10;

constexpr char savePlace[] = "void VoxelMatrix<T>::save(...) const";

std::string argumentPlace(const char* operation) {
    return std::string("void VoxelMatrix<T>::operator") + operation + "(const VoxelMatrix&)";
}

// Converts elements to and from the 12 bytes that the file gives to a long double.
void unpackExtended(const unsigned char* packed, long double* values, int count) {
    for (int j = 0; j < count; ++j) {
        values[j] = 0.0L;
        std::memcpy(&values[j], packed + 12 * std::size_t(j), extendedBytes);
    }
}

void packExtended(const long double* values, unsigned char* packed, int count) {
    for (int j = 0; j < count; ++j) {
        std::memcpy(packed + 12 * std::size_t(j), &values[j], extendedBytes);
        std::memset(packed + 12 * std::size_t(j) + extendedBytes, 0, 2);
    }
}

template <class T, class Operation>
void forEachRow(std::vector<PixelMatrix<T>>& planes, Operation operation) {
    for (PixelMatrix<T>& plane : planes)
        for (int i = 0; i < plane.getSize1(); ++i)
            operation(plane[i].data(), plane.getSize2());
}

// Both volumes have the same sizes and all their planes.
template <class T, class Operation>
void forEachRowPair(std::vector<PixelMatrix<T>>& planes, const std::vector<PixelMatrix<T>>& others,
                    Operation operation) {
    const std::size_t count = std::min(planes.size(), others.size());
    for (std::size_t k = 0; k < count; ++k)
        for (int i = 0; i < planes[k].getSize1(); ++i)
            operation(planes[k][i].data(), others[k][i].data(), planes[k].getSize2());
}

// Of a number and a NaN both give the number.
template <class T>
T lesser(T a, T b) {
    return b < a || a != a ? b : a;
}

template <class T>
T greater(T a, T b) {
    return b > a || a != a ? b : a;
}

// Folds the planes, first to last, into one.
template <class T, class Operation>
PixelMatrix<T> foldPlanes(const std::vector<PixelMatrix<T>>& planes, Operation operation) {
    PixelMatrix<T> result = planes.front();
    const int columns = result.getSize2();
    for (std::size_t k = 1; k < planes.size(); ++k)
        for (int i = 0; i < result.getSize1(); ++i) {
            T* const target = result[i].data();
            const T* const row = planes[k][i].data();
            for (int j = 0; j < columns; ++j)
                target[j] = operation(target[j], row[j]);
        }
    return result;
}

} // namespace

template <class T>
VoxelMatrix<T>::VoxelMatrix() = default;

template <class T>
VoxelMatrix<T>::VoxelMatrix(int size1, int size2, int size3) {
    setSize(size1, size2, size3);
}

template <class T>
VoxelMatrix<T>::VoxelMatrix(const std::string& filename) {
    const char place[] = "VoxelMatrix<T>::VoxelMatrix(const string&)";
    try {
        load(filename);
    } catch (Exception& exception) {
        exception.addWhere(place);
        throw;
    }
}

template <class T>
VoxelMatrix<T>::VoxelMatrix(VoxelMatrix&& other) noexcept {
    swap(other);
}

template <class T>
VoxelMatrix<T>& VoxelMatrix<T>::operator=(const VoxelMatrix& other) {
    if (this == &other)
        return *this;
    if (other.__planes.empty()) {
        __planes.clear();
        __size1 = other.__size1;
        __size2 = other.__size2;
        __size3 = other.__size3;
    } else {
        setSize(other.__size1, other.__size2, other.__size3);
        forEachRowPair(__planes, other.__planes,
                       [](T* target, const T* source, int columns) { std::copy_n(source, columns, target); });
    }
    __calibration = other.__calibration;
    return *this;
}

template <class T>
VoxelMatrix<T>& VoxelMatrix<T>::operator=(VoxelMatrix&& other) noexcept {
    swap(other);
    return *this;
}

template <class T>
void VoxelMatrix<T>::swap(VoxelMatrix& other) {
    std::swap(__size1, other.__size1);
    std::swap(__size2, other.__size2);
    std::swap(__size3, other.__size3);
    __planes.swap(other.__planes);
    std::swap(__calibration, other.__calibration);
}

template <class T>
void VoxelMatrix<T>::setSize(int size1, int size2, int size3) {
    size1 = std::max(size1, 0);
    size2 = std::max(size2, 0);
    size3 = std::max(size3, 0);
    const bool hasPlanes = __planes.size() == static_cast<std::size_t>(__size3);
    if (hasPlanes && size1 == __size1 && size2 == __size2 && size3 == __size3)
        return;
    // The old planes go first, so that both do not stand in memory at once.
    __planes = std::vector<PixelMatrix<T>>();
    __size1 = __size2 = __size3 = 0;
    std::vector<PixelMatrix<T>> planes(static_cast<std::size_t>(size3));
    for (PixelMatrix<T>& plane : planes)
        plane.setSize(size1, size2);
    __planes.swap(planes);
    __size1 = size1;
    __size2 = size2;
    __size3 = size3;
}

template <class T>
void VoxelMatrix<T>::setSize(const Vector<int>& size) {
    if (size.getSize() != 3)
        throw SizeError("void VoxelMatrix<T>::setSize(const Vector<int>&)",
                        "Size vector does not contain three values as expected");
    setSize(size[0], size[1], size[2]);
}

template <class T>
int VoxelMatrix<T>::getSize(int index) const {
    switch (index) {
    case 1:
        return __size1;
    case 2:
        return __size2;
    case 3:
        return __size3;
    default:
        throw ValueError("unsigned int VoxelMatrix<T>::getSize(...) const",
                         "Invalid argument value (neither 1, 2 or 3)");
    }
}

template <class T>
Vector<int> VoxelMatrix<T>::getSize() const {
    Vector<int> size(3);
    size[0] = __size1;
    size[1] = __size2;
    size[2] = __size3;
    return size;
}

template <class T>
bool VoxelMatrix<T>::sameSizeAs(const VoxelMatrix& other) const {
    return __size1 == other.__size1 && __size2 == other.__size2 && __size3 == other.__size3;
}

template <class T>
void VoxelMatrix<T>::setVoxelCalibration(const VoxelCalibration& calibration) {
    __calibration = calibration;
}

template <class T>
const VoxelCalibration& VoxelMatrix<T>::getVoxelCalibration() const {
    return __calibration;
}

template <class T>
bool VoxelMatrix<T>::operator==(const VoxelMatrix& other) const {
    if (this == &other)
        return true;
    if (!sameSizeAs(other) || __planes.size() != other.__planes.size())
        return false;
    for (std::size_t k = 0; k < __planes.size(); ++k)
        for (int i = 0; i < __size1; ++i) {
            const T* const row = __planes[k][i].data();
            if (!std::equal(row, row + __size2, other.__planes[k][i].data()))
                return false;
        }
    return true;
}

template <class T>
bool VoxelMatrix<T>::operator!=(const VoxelMatrix& other) const {
    return !(*this == other);
}

template <class T>
void VoxelMatrix<T>::setZeros() {
    fill(T(0));
}

template <class T>
void VoxelMatrix<T>::setOnes() {
    fill(T(1));
}

template <class T>
void VoxelMatrix<T>::fill(const T& value) {
    const T copy = value; // the value may be an element of this matrix
    forEachRow(__planes, [copy](T* row, int columns) { std::fill_n(row, columns, copy); });
}

template <class T>
void VoxelMatrix<T>::apply(T (*function)(T)) {
    forEachRow(
        __planes,
        [function](T* row, int columns) {
            for (int j = 0; j < columns; ++j)
                row[j] = function(row[j]);
        });
}

template <class T>
void VoxelMatrix<T>::reverse() {
    for (std::size_t first = 0, last = __planes.size(); first + 1 < last; ++first)
        __planes[first].swap(__planes[--last]);
}

template <class T>
bool VoxelMatrix<T>::contains(int i, int j, int k) const {
    return i >= 0 && i < __size1 && j >= 0 && j < __size2 && k >= 0 && k < __size3;
}

template <class T>
void VoxelMatrix<T>::paste(int i, int j, int k, const VoxelMatrix& block) {
    const bool fits = i >= 0 && j >= 0 && k >= 0 && i <= __size1 - block.__size1 && j <= __size2 - block.__size2 &&
                      k <= __size3 - block.__size3;
    if (!fits)
        throw SizeError("void Matrix<T>::paste(...)", "Cannot paste block at specified position");
    if (this == &block)
        return;
    for (std::size_t p = 0; p < block.__planes.size(); ++p)
        for (int row = 0; row < block.__size1; ++row)
            std::copy_n(block.__planes[p][row].data(), block.__size2,
                        __planes[static_cast<std::size_t>(k) + p][i + row].data() + j);
}

template <class T>
VoxelMatrix<T> VoxelMatrix<T>::copy(int i1, int i2, int j1, int j2, int k1, int k2) const {
    const auto inRange = [](int first, int last, int size) { return first >= 0 && last < size && last >= first - 1; };
    if (!inRange(i1, i2, __size1) || !inRange(j1, j2, __size2) || !inRange(k1, k2, __size3))
        throw SizeError("VoxelMatrix<T> VoxelMatrix<T>::copy(...) const", "Bounds of the block leave this matrix");
    VoxelMatrix result(i2 - i1 + 1, j2 - j1 + 1, k2 - k1 + 1);
    result.__calibration = __calibration;
    for (int k = k1; k <= k2; ++k)
        for (int i = i1; i <= i2; ++i)
            std::copy_n((*this)[k][i].data() + j1, result.__size2, result[k - k1][i - i1].data());
    return result;
}

template <class T>
Vector<T> VoxelMatrix<T>::cat() const {
    const long long planeSize = static_cast<long long>(__size1) * __size2;
    const long long count = static_cast<long long>(__planes.size());
    if (count > 0 && planeSize > std::numeric_limits<int>::max() / count)
        throw SizeError("Vector<T> VoxelMatrix<T>::cat() const", "This matrix has too many elements for a vector");
    Vector<T> result(static_cast<unsigned int>(planeSize * count));
    T* target = result.data();
    for (const PixelMatrix<T>& plane : __planes)
        for (int i = 0; i < __size1; ++i)
            target = std::copy_n(plane[i].data(), __size2, target);
    return result;
}

template <class T>
VoxelMatrix<T>& VoxelMatrix<T>::operator+=(const VoxelMatrix& other) {
    if (!sameSizeAs(other))
        throw SizeError(argumentPlace("+="), "This matrix and matrix argument differ in size");
    forEachRowPair(__planes, other.__planes, [](T* row, const T* argument, int columns) {
        for (int j = 0; j < columns; ++j)
            row[j] = static_cast<T>(row[j] + argument[j]);
    });
    return *this;
}

template <class T>
VoxelMatrix<T>& VoxelMatrix<T>::operator-=(const VoxelMatrix& other) {
    if (!sameSizeAs(other))
        throw SizeError(argumentPlace("-="), "This matrix and matrix argument differ in size");
    forEachRowPair(__planes, other.__planes, [](T* row, const T* argument, int columns) {
        for (int j = 0; j < columns; ++j)
            row[j] = static_cast<T>(row[j] - argument[j]);
    });
    return *this;
}

template <class T>
VoxelMatrix<T>& VoxelMatrix<T>::operator*=(const VoxelMatrix& other) {
    if (!sameSizeAs(other))
        throw SizeError(argumentPlace("*="), "This matrix and matrix argument differ in size");
    forEachRowPair(__planes, other.__planes, [](T* row, const T* argument, int columns) {
        for (int j = 0; j < columns; ++j)
            row[j] = static_cast<T>(row[j] * argument[j]);
    });
    return *this;
}

template <class T>
VoxelMatrix<T>& VoxelMatrix<T>::operator+=(const T& value) {
    forEachRow(__planes, [x = value](T* row, int columns) {
        for (int j = 0; j < columns; ++j)
            row[j] = static_cast<T>(row[j] + x);
    });
    return *this;
}

template <class T>
VoxelMatrix<T>& VoxelMatrix<T>::operator-=(const T& value) {
    forEachRow(__planes, [x = value](T* row, int columns) {
        for (int j = 0; j < columns; ++j)
            row[j] = static_cast<T>(row[j] - x);
    });
    return *this;
}

template <class T>
VoxelMatrix<T>& VoxelMatrix<T>::operator*=(const T& value) {
    forEachRow(__planes, [x = value](T* row, int columns) {
        for (int j = 0; j < columns; ++j)
            row[j] = static_cast<T>(row[j] * x);
    });
    return *this;
}

template <class T>
VoxelMatrix<T>& VoxelMatrix<T>::operator/=(const T& value) {
    if (std::is_integral_v<T> && value == T(0))
        throw MathError("void VoxelMatrix<T>::operator/=(const T&)", "Division by zero");
    forEachRow(__planes, [x = value](T* row, int columns) {
        for (int j = 0; j < columns; ++j)
            row[j] = elements::quotientOf(row[j], x);
    });
    return *this;
}

template <class T>
Vector<unsigned int> VoxelMatrix<T>::histogram(T first, T width, unsigned int bins) const {
    Vector<unsigned int> result(bins);
    result.setZeros();
    for (const PixelMatrix<T>& plane : __planes)
        result += plane.histogram(first, width, bins);
    return result;
}

template <class T>
Vector<unsigned int> VoxelMatrix<T>::histogram(T first, T width, unsigned int bins, const VoxelMatrix& mask) const {
    if (!sameSizeAs(mask))
        throw SizeError("Vectorui VoxelMatrix<T>::histogram(...)", "Incompatible mask size");
    Vector<unsigned int> result(bins);
    result.setZeros();
    for (std::size_t k = 0; k < std::min(__planes.size(), mask.__planes.size()); ++k)
        result += __planes[k].histogram(first, width, bins, mask.__planes[k]);
    return result;
}

template <class T>
Vector<T> VoxelMatrix<T>::range() const {
    if (__isEmpty())
        throw SizeError("Vector<T> VoxelMatrix<T>::range() const", "This matrix is empty.");
    Vector<T> result = __planes.front().range();
    for (const PixelMatrix<T>& plane : __planes) {
        const Vector<T> planeRange = plane.range();
        // A plane of NaN alone has NaN for its range, which no comparison takes.
        result[0] = lesser(result[0], planeRange[0]);
        result[1] = greater(result[1], planeRange[1]);
    }
    return result;
}

template <class T>
long long VoxelMatrix<T>::countNaN() const {
    long long count = 0;
    for (const PixelMatrix<T>& plane : __planes)
        count += plane.countNaN();
    return count;
}

template <class T>
PixelMatrix<T> VoxelMatrix<T>::sum() const {
    if (__isEmpty())
        throw SizeError("PixelMatrix<T> VoxelMatrix<T>::sum() const", "This matrix is empty");
    return foldPlanes(__planes, [](T a, T b) { return static_cast<T>(a + b); });
}

template <class T>
PixelMatrix<T> VoxelMatrix<T>::min() const {
    if (__isEmpty())
        throw SizeError("PixelMatrix<T> VoxelMatrix<T>::min() const", "This matrix is empty");
    return foldPlanes(__planes, lesser<T>);
}

template <class T>
PixelMatrix<T> VoxelMatrix<T>::max() const {
    if (__isEmpty())
        throw SizeError("PixelMatrix<T> VoxelMatrix<T>::max() const", "This matrix is empty");
    return foldPlanes(__planes, greater<T>);
}

template <class T>
void VoxelMatrix<T>::print(const std::string& title) const {
    if (!title.empty())
        std::cout << title << '\n';
    for (std::size_t k = 0; k < __planes.size(); ++k) {
        std::cout << "-- Plane " << k << std::endl;
        __planes[k].print("", std::cout);
    }
}

template <class T>
int VoxelMatrix<T>::dataTypeId() const {
    if (std::is_same_v<T, int>)
        return 2;
    if (std::is_same_v<T, unsigned int>)
        return 3;
    if (std::is_same_v<T, float>)
        return 5;
    if (std::is_same_v<T, double>)
        return 6;
    if (std::is_same_v<T, long double>)
        return 7;
    return 0;
}

template <class T>
int VoxelMatrix<T>::fileElementSize() {
    return std::is_same_v<T, long double> ? 12 : static_cast<int>(sizeof(T));
}

namespace {

// Opens the file and compares its tag and length with what a matrix of this tag and element size can take.
void checkHeader(const VoxelMatrixHeader& header, int typeTag, int elementSize, const std::string& filename) {
    if (header.layout == 1 && header.typeTag != typeTag)
        throw TypeError("void VoxelMatrix<T>::load(ifstream&)",
                        "Type mismatch between template instantiation and file contents");
    if (!header.mayBeLoaded(elementSize))
        throw FileFormatError("void VoxelMatrix<T>::load(ifstream&)",
                              "File is far too short for the sizes that its header gives", filename);
}

void takeCalibration(const VoxelMatrixHeader& header, VoxelCalibration& calibration) {
    if (header.layout == 0)
        return;
    calibration.setLengthUnit(LengthUnit(header.lengthUnitScale));
    calibration.setVoxelHeight(header.voxelHeight);
    calibration.setVoxelWidth(header.voxelWidth);
    calibration.setVoxelDepth(header.voxelDepth);
}

} // namespace

template <class T>
void VoxelMatrix<T>::load(const std::string& filename) {
    VoxelMatrixFileReader reader(filename, "void VoxelMatrix<T>::load(const string&)");
    const VoxelMatrixHeader& header = reader.header();
    checkHeader(header, dataTypeId(), fileElementSize(), filename);
    if (__planes.size() != static_cast<std::size_t>(header.size3))
        __planes = std::vector<PixelMatrix<T>>(static_cast<std::size_t>(header.size3));
    __size1 = header.size1;
    __size2 = header.size2;
    __size3 = header.size3;
    try {
        std::vector<unsigned char> packed;
        if (std::is_same_v<T, long double>)
            packed.resize(12 * static_cast<std::size_t>(__size2));
        // Plane after plane, so that the rows are filled while the processor's cache still knows them.
        for (PixelMatrix<T>& plane : __planes) {
            plane.setSize(__size1, __size2);
            for (int i = 0; i < __size1; ++i) {
                T* const row = plane[i].data();
                if constexpr (std::is_same_v<T, long double>) {
                    reader.read(packed.data(), packed.size());
                    unpackExtended(packed.data(), row, __size2);
                } else {
                    reader.readRow(row, sizeof(T) * static_cast<std::size_t>(__size2));
                }
            }
            reader.finish();
        }
    } catch (...) {
        setSize(0, 0, 0);
        throw;
    }
    takeCalibration(header, __calibration);
}

template <class T>
void VoxelMatrix<T>::loadHeader(const std::string& filename) {
    const VoxelMatrixFileReader reader(filename, "void VoxelMatrix<T>::loadHeader(const string&)");
    const VoxelMatrixHeader& header = reader.header();
    checkHeader(header, dataTypeId(), fileElementSize(), filename);
    __planes = std::vector<PixelMatrix<T>>();
    __size1 = header.size1;
    __size2 = header.size2;
    __size3 = header.size3;
    takeCalibration(header, __calibration);
}

template <class T>
bool VoxelMatrix<T>::fileSizeMatchesHeader(const std::string& filename) {
    return VoxelMatrixHeader::read(filename).fileSizeMatches(fileElementSize());
}

template <class T>
void VoxelMatrix<T>::save(const std::string& filename, bool overwrite) const {
    __save(filename, overwrite, 1);
}

template <class T>
void VoxelMatrix<T>::saveUnderFormat0(const std::string& filename, bool overwrite) const {
    __save(filename, overwrite, 0);
}

template <class T>
template <class U>
VoxelMatrix<U> VoxelMatrix<T>::toType() const {
    VoxelMatrix<U> result;
    if (__planes.empty())
        return result;
    result.setSize(__size1, __size2, __size3);
    for (int k = 0; k < __size3; ++k)
        for (int i = 0; i < __size1; ++i) {
            const T* const source = (*this)[k][i].data();
            U* const target = result[k][i].data();
            for (int j = 0; j < __size2; ++j)
                target[j] = elements::converted<U>(source[j]);
        }
    return result;
}

template <class T>
bool VoxelMatrix<T>::__isEmpty() const {
    return __size1 == 0 || __size2 == 0 || __planes.empty();
}

template <class T>
void VoxelMatrix<T>::__save(const std::string& filename, bool overwrite, int layout) const {
    if (__planes.size() != static_cast<std::size_t>(__size3))
        throw UsageError(savePlace, "This matrix holds a header only and no planes");
    VoxelMatrixFileWriter writer(filename, overwrite, savePlace);
    const std::int32_t sizes[3] = {__size1, __size2, __size3};
    if (layout == 1) {
        writer.writeHeader(
            dataTypeId(), sizes, __calibration.getLengthUnit().getScale(),
            {__calibration.getVoxelHeight(), __calibration.getVoxelWidth(), __calibration.getVoxelDepth()});
    } else {
        writer.write(sizes, sizeof sizes);
    }
    std::vector<unsigned char> packed;
    if (std::is_same_v<T, long double>)
        packed.resize(12 * static_cast<std::size_t>(__size2));
    for (const PixelMatrix<T>& plane : __planes)
        for (int i = 0; i < __size1; ++i)
            if constexpr (std::is_same_v<T, long double>) {
                packExtended(plane[i].data(), packed.data(), __size2);
                writer.write(packed.data(), packed.size());
            } else {
                writer.writeRow(plane[i].data(), sizeof(T) * static_cast<std::size_t>(__size2));
            }
    writer.commit();
}

template class VoxelMatrix<char>;
template class VoxelMatrix<unsigned char>;
template class VoxelMatrix<short>;
template class VoxelMatrix<unsigned short>;
template class VoxelMatrix<int>;
template class VoxelMatrix<unsigned int>;
template class VoxelMatrix<float>;
template class VoxelMatrix<double>;
template class VoxelMatrix<long double>;

template VoxelMatrix<char> VoxelMatrix<char>::toType<char>() const;
template VoxelMatrix<unsigned char> VoxelMatrix<char>::toType<unsigned char>() const;
template VoxelMatrix<short> VoxelMatrix<char>::toType<short>() const;
template VoxelMatrix<unsigned short> VoxelMatrix<char>::toType<unsigned short>() const;
template VoxelMatrix<int> VoxelMatrix<char>::toType<int>() const;
template VoxelMatrix<unsigned int> VoxelMatrix<char>::toType<unsigned int>() const;
template VoxelMatrix<float> VoxelMatrix<char>::toType<float>() const;
template VoxelMatrix<double> VoxelMatrix<char>::toType<double>() const;
template VoxelMatrix<long double> VoxelMatrix<char>::toType<long double>() const;
template VoxelMatrix<char> VoxelMatrix<unsigned char>::toType<char>() const;
template VoxelMatrix<unsigned char> VoxelMatrix<unsigned char>::toType<unsigned char>() const;
template VoxelMatrix<short> VoxelMatrix<unsigned char>::toType<short>() const;
template VoxelMatrix<unsigned short> VoxelMatrix<unsigned char>::toType<unsigned short>() const;
template VoxelMatrix<int> VoxelMatrix<unsigned char>::toType<int>() const;
template VoxelMatrix<unsigned int> VoxelMatrix<unsigned char>::toType<unsigned int>() const;
template VoxelMatrix<float> VoxelMatrix<unsigned char>::toType<float>() const;
template VoxelMatrix<double> VoxelMatrix<unsigned char>::toType<double>() const;
template VoxelMatrix<long double> VoxelMatrix<unsigned char>::toType<long double>() const;
template VoxelMatrix<char> VoxelMatrix<short>::toType<char>() const;
template VoxelMatrix<unsigned char> VoxelMatrix<short>::toType<unsigned char>() const;
template VoxelMatrix<short> VoxelMatrix<short>::toType<short>() const;
template VoxelMatrix<unsigned short> VoxelMatrix<short>::toType<unsigned short>() const;
template VoxelMatrix<int> VoxelMatrix<short>::toType<int>() const;
template VoxelMatrix<unsigned int> VoxelMatrix<short>::toType<unsigned int>() const;
template VoxelMatrix<float> VoxelMatrix<short>::toType<float>() const;
template VoxelMatrix<double> VoxelMatrix<short>::toType<double>() const;
template VoxelMatrix<long double> VoxelMatrix<short>::toType<long double>() const;
template VoxelMatrix<char> VoxelMatrix<unsigned short>::toType<char>() const;
template VoxelMatrix<unsigned char> VoxelMatrix<unsigned short>::toType<unsigned char>() const;
template VoxelMatrix<short> VoxelMatrix<unsigned short>::toType<short>() const;
template VoxelMatrix<unsigned short> VoxelMatrix<unsigned short>::toType<unsigned short>() const;
template VoxelMatrix<int> VoxelMatrix<unsigned short>::toType<int>() const;
template VoxelMatrix<unsigned int> VoxelMatrix<unsigned short>::toType<unsigned int>() const;
template VoxelMatrix<float> VoxelMatrix<unsigned short>::toType<float>() const;
template VoxelMatrix<double> VoxelMatrix<unsigned short>::toType<double>() const;
template VoxelMatrix<long double> VoxelMatrix<unsigned short>::toType<long double>() const;
template VoxelMatrix<char> VoxelMatrix<int>::toType<char>() const;
template VoxelMatrix<unsigned char> VoxelMatrix<int>::toType<unsigned char>() const;
template VoxelMatrix<short> VoxelMatrix<int>::toType<short>() const;
template VoxelMatrix<unsigned short> VoxelMatrix<int>::toType<unsigned short>() const;
template VoxelMatrix<int> VoxelMatrix<int>::toType<int>() const;
template VoxelMatrix<unsigned int> VoxelMatrix<int>::toType<unsigned int>() const;
template VoxelMatrix<float> VoxelMatrix<int>::toType<float>() const;
template VoxelMatrix<double> VoxelMatrix<int>::toType<double>() const;
template VoxelMatrix<long double> VoxelMatrix<int>::toType<long double>() const;
template VoxelMatrix<char> VoxelMatrix<unsigned int>::toType<char>() const;
template VoxelMatrix<unsigned char> VoxelMatrix<unsigned int>::toType<unsigned char>() const;
template VoxelMatrix<short> VoxelMatrix<unsigned int>::toType<short>() const;
template VoxelMatrix<unsigned short> VoxelMatrix<unsigned int>::toType<unsigned short>() const;
template VoxelMatrix<int> VoxelMatrix<unsigned int>::toType<int>() const;
template VoxelMatrix<unsigned int> VoxelMatrix<unsigned int>::toType<unsigned int>() const;
template VoxelMatrix<float> VoxelMatrix<unsigned int>::toType<float>() const;
template VoxelMatrix<double> VoxelMatrix<unsigned int>::toType<double>() const;
template VoxelMatrix<long double> VoxelMatrix<unsigned int>::toType<long double>() const;
template VoxelMatrix<char> VoxelMatrix<float>::toType<char>() const;
template VoxelMatrix<unsigned char> VoxelMatrix<float>::toType<unsigned char>() const;
template VoxelMatrix<short> VoxelMatrix<float>::toType<short>() const;
template VoxelMatrix<unsigned short> VoxelMatrix<float>::toType<unsigned short>() const;
template VoxelMatrix<int> VoxelMatrix<float>::toType<int>() const;
template VoxelMatrix<unsigned int> VoxelMatrix<float>::toType<unsigned int>() const;
template VoxelMatrix<float> VoxelMatrix<float>::toType<float>() const;
template VoxelMatrix<double> VoxelMatrix<float>::toType<double>() const;
template VoxelMatrix<long double> VoxelMatrix<float>::toType<long double>() const;
template VoxelMatrix<char> VoxelMatrix<double>::toType<char>() const;
template VoxelMatrix<unsigned char> VoxelMatrix<double>::toType<unsigned char>() const;
template VoxelMatrix<short> VoxelMatrix<double>::toType<short>() const;
template VoxelMatrix<unsigned short> VoxelMatrix<double>::toType<unsigned short>() const;
template VoxelMatrix<int> VoxelMatrix<double>::toType<int>() const;
template VoxelMatrix<unsigned int> VoxelMatrix<double>::toType<unsigned int>() const;
template VoxelMatrix<float> VoxelMatrix<double>::toType<float>() const;
template VoxelMatrix<double> VoxelMatrix<double>::toType<double>() const;
template VoxelMatrix<long double> VoxelMatrix<double>::toType<long double>() const;
template VoxelMatrix<char> VoxelMatrix<long double>::toType<char>() const;
template VoxelMatrix<unsigned char> VoxelMatrix<long double>::toType<unsigned char>() const;
template VoxelMatrix<short> VoxelMatrix<long double>::toType<short>() const;
template VoxelMatrix<unsigned short> VoxelMatrix<long double>::toType<unsigned short>() const;
template VoxelMatrix<int> VoxelMatrix<long double>::toType<int>() const;
template VoxelMatrix<unsigned int> VoxelMatrix<long double>::toType<unsigned int>() const;
template VoxelMatrix<float> VoxelMatrix<long double>::toType<float>() const;
template VoxelMatrix<double> VoxelMatrix<long double>::toType<double>() const;
template VoxelMatrix<long double> VoxelMatrix<long double>::toType<long double>() const;

} // namespace vorlen
