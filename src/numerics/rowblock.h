#pragma once

#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace vorlen {

/// Working storage of the dense linear algebra: rows in one aligned block, reached by a pointer each, so that two rows
/// are exchanged by exchanging their pointers.
///
/// A row begins on a cache line and is padded with zeros to whole strips of stripBytes. The distance of two rows is an
/// odd number of cache lines, so that a strip of columns spreads over all sets of the cache whatever the width.
template <class T>
class RowBlock {
public:
    static constexpr int lineBytes = 64;
    static constexpr int stripBytes = 2 * lineBytes;
    /// Elements of a strip.
    static constexpr int stripWidth = stripBytes / int(sizeof(T));

    /// rows by columns zeros.
    RowBlock(int rows, int columns);

    int getRows() const { return int(__rows.size()); }
    int getColumns() const { return __columns; }
    /// Number of strips that cover the columns.
    int getStrips() const { return (__columns + stripWidth - 1) / stripWidth; }
    T* operator[](int row) { return __rows[row]; }
    const T* operator[](int row) const { return __rows[row]; }
    T* const* rows() { return __rows.data(); }
    void swapRows(int row1, int row2) { std::swap(__rows[row1], __rows[row2]); }

private:
    struct Release {
        void operator()(T* data) const { ::operator delete[](data, std::align_val_t(lineBytes)); }
    };

    int __columns;
    std::unique_ptr<T[], Release> __data;
    std::vector<T*> __rows;
};

} // namespace vorlen
