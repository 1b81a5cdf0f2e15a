#pragma once

#include <string>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelcalibration.h"
#include "numerics/vector.h"

namespace vorlen {

/// Volume: planes of PixelMatrix<T>, one behind the other, with the size of a voxel.
///
/// An element is addressed (row, column, plane); the first index runs over the rows of a plane, the second over its
/// columns, the third over the planes. Copies are deep and take the calibration along.
///
/// Compiled for char, unsigned char, short, unsigned short, int, unsigned int, float, double and long double.
///
/// Decisions on files. A file whose data end early is loaded as far as it goes and the rest is 0, as long as at least
/// half of the data are there or the volume is small (see VoxelMatrixHeader::mayBeLoaded()); otherwise, and when the
/// file ends inside its header or has a negative size, load() throws FileFormatError before any plane is made. Bytes
/// behind the data are ignored. A program that wants a whole file or none asks fileSizeMatchesHeader() first. The
/// four small integer types share a tag in the file, so that load() cannot tell them apart, while
/// fileSizeMatchesHeader() can. Saving writes a new file beside the old one, flushes it to the disk and renames it, so
/// that a failed save leaves the old file whole.
template <class T>
class VoxelMatrix {
public:
    VoxelMatrix();

    /// Contents are not cleared.
    VoxelMatrix(int size1, int size2, int size3);

    /// Loads the file. Throws as load(), with this constructor added to the places of the exception.
    explicit VoxelMatrix(const std::string& filename);

    VoxelMatrix(const VoxelMatrix& other) = default;
    VoxelMatrix(VoxelMatrix&& other) noexcept;
    VoxelMatrix& operator=(const VoxelMatrix& other);
    VoxelMatrix& operator=(VoxelMatrix&& other) noexcept;
    ~VoxelMatrix() = default;

    /// Exchanges sizes, planes and calibrations in constant time.
    void swap(VoxelMatrix& other);

    /// Keeps the contents when the sizes are those of now; otherwise drops all planes and makes new ones, whose
    /// contents are not cleared. Sizes below 0 count as 0. When memory runs out the matrix is left empty.
    void setSize(int size1, int size2, int size3);

    /// Throws SizeError on a vector that does not hold three values.
    void setSize(const Vector<int>& size);

    int getSize1() const { return __size1; }
    int getSize2() const { return __size2; }
    int getSize3() const { return __size3; }

    /// Size along index 1, 2 or 3. Throws ValueError for another index.
    int getSize(int index) const;

    /// Rows, columns, planes.
    Vector<int> getSize() const;

    bool sameSizeAs(const VoxelMatrix& other) const;

    void setVoxelCalibration(const VoxelCalibration& calibration);
    const VoxelCalibration& getVoxelCalibration() const;

    /// Same sizes and same elements; the calibration takes no part. A matrix equals itself even where it holds NaN.
    bool operator==(const VoxelMatrix& other) const;
    bool operator!=(const VoxelMatrix& other) const;

    void setZeros();
    void setOnes();
    void fill(const T& value);
    void apply(T (*function)(T));

    /// Exchanges the planes end for end; rows and columns of a plane stay.
    void reverse();

    /// Plane k, unchecked.
    PixelMatrix<T>& operator[](int k) { return __planes[static_cast<std::size_t>(k)]; }
    const PixelMatrix<T>& operator[](int k) const { return __planes[static_cast<std::size_t>(k)]; }

    /// Element of row i, column j, plane k, unchecked.
    T& operator()(int i, int j, int k) { return __planes[static_cast<std::size_t>(k)][i][j]; }
    const T& operator()(int i, int j, int k) const { return __planes[static_cast<std::size_t>(k)][i][j]; }

    bool contains(int i, int j, int k) const;

    /// Copies the block so that its element (0, 0, 0) falls on (i, j, k). Throws SizeError when it does not fit.
    void paste(int i, int j, int k, const VoxelMatrix& block);

    /// The sub-volume of rows i1 to i2, columns j1 to j2 and planes k1 to k2, all inclusive, with the calibration.
    /// An upper bound one below its lower bound gives a size of 0. Throws SizeError when the bounds leave the matrix.
    VoxelMatrix copy(int i1, int i2, int j1, int j2, int k1, int k2) const;

    /// All elements, plane after plane, each plane row after row. Throws SizeError above 2^31 - 1 elements.
    Vector<T> cat() const;

    /// Element by element. Throw SizeError on a matrix of another size.
    VoxelMatrix& operator+=(const VoxelMatrix& other);
    VoxelMatrix& operator-=(const VoxelMatrix& other);
    VoxelMatrix& operator*=(const VoxelMatrix& other);

    /// Every element with the value. Dividing integers by 0 throws MathError; other types follow IEEE 754. The least
    /// integer by -1 gives the greatest.
    VoxelMatrix& operator+=(const T& value);
    VoxelMatrix& operator-=(const T& value);
    VoxelMatrix& operator*=(const T& value);
    VoxelMatrix& operator/=(const T& value);

    /// Counts in bins of the given width, the first of which starts at first; values outside fall into the end bins,
    /// and NaNs into none.
    Vector<unsigned int> histogram(T first, T width, unsigned int bins) const;

    /// The same over the elements whose mask is not 0. Throws SizeError on a mask of another size.
    Vector<unsigned int> histogram(T first, T width, unsigned int bins, const VoxelMatrix& mask) const;

    /// Minimum and maximum of all elements that are not NaN; NaN when there are none. Throws SizeError on an empty
    /// matrix.
    Vector<T> range() const;

    /// How many elements are NaN, which histogram() and range() leave out.
    long long countNaN() const;

    /// Sum, minimum and maximum along the third index, size1 by size2. Throw SizeError on an empty matrix. The sum with
    /// a NaN is NaN; minimum and maximum leave NaN out where there is another element.
    PixelMatrix<T> sum() const;
    PixelMatrix<T> min() const;
    PixelMatrix<T> max() const;

    /// To standard output: the title, unless empty, then each plane with its number.
    void print(const std::string& title) const;

    /// Tag of T in a file: 0 for the integers of 1 and 2 bytes, 2 int, 3 unsigned int, 5 float, 6 double,
    /// 7 long double.
    int dataTypeId() const;

    /// Bytes of one element in a file: sizeof(T), but 12 for long double.
    static int fileElementSize();

    /// Reads a file of either layout; a file of layout 0 leaves the calibration as it is. Throws FileReadError when
    /// the file cannot be opened or read, TypeError when its tag is not that of T, FileFormatError when the header is
    /// cut off or asks for sizes that the file's length does not bear out. All but a read that fails half-way, which
    /// leaves it empty, leave the matrix as it was.
    void load(const std::string& filename);

    /// Takes sizes and calibration from the file and lets the planes go: only the size operations and the calibration
    /// mean something afterwards, until a setSize() or load(). Throws as load().
    void loadHeader(const std::string& filename);

    /// Whether the file's length is exactly that which its header and this T ask for. Makes no volume and does not
    /// compare the tag. Throws as VoxelMatrixHeader::read().
    static bool fileSizeMatchesHeader(const std::string& filename);

    /// Writes layout 1. Throws FileWriteError when the file exists and overwrite is false, when it cannot be opened
    /// for writing, or when the disk does not take the data; an old file of that name then stays as it was.
    /// Throws UsageError after loadHeader(), when there are no planes to write.
    void save(const std::string& filename, bool overwrite) const;

    /// Writes layout 0, without tag and calibration; otherwise as save().
    void saveUnderFormat0(const std::string& filename, bool overwrite) const;

    /// A volume of the same size with each element converted, toward zero where T has fractions and U has none. What
    /// lies beyond an integer U becomes its least or greatest value, and NaN 0. The calibration is not carried over.
    /// For all pairs of the types above.
    template <class U>
    VoxelMatrix<U> toType() const;

private:
    bool __isEmpty() const;
    void __save(const std::string& filename, bool overwrite, int layout) const;

    int __size1 = 0;
    int __size2 = 0;
    int __size3 = 0;
    std::vector<PixelMatrix<T>> __planes; ///< empty after loadHeader(), otherwise size3 planes
    VoxelCalibration __calibration;
};

} // namespace vorlen
