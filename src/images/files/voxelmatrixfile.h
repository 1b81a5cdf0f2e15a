#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/uio.h>
#include <vector>

#include "files/safefile.h"
#include "images/files/voxelmatrixheader.h"

namespace vorlen {

/// A voxel matrix file opened for reading, row after row.
///
/// Short rows are served from a buffer that stays in the processor's cache; longer rows are gathered and filled by the
/// system, many at a call, without a copy in between.
class VoxelMatrixFileReader {
public:
    /// Opens the file and reads its header. Errors carry this place; see VoxelMatrixHeader::read().
    VoxelMatrixFileReader(const std::string& filename, const std::string& where);
    ~VoxelMatrixFileReader();
    VoxelMatrixFileReader(const VoxelMatrixFileReader&) = delete;
    VoxelMatrixFileReader& operator=(const VoxelMatrixFileReader&) = delete;

    const VoxelMatrixHeader& header() const { return __header; }

    /// Reads the next bytes of the data; what the file does not hold is set to 0. Throws FileReadError when the disk
    /// fails.
    void read(void* destination, std::size_t numBytes);

    /// The same, but the row may be filled as late as in the next finish(); until then it has to stay where it is.
    void readRow(void* destination, std::size_t numBytes);
    void finish();

private:
    std::size_t __readFile(void* destination, std::size_t numBytes);

    std::string __filename;
    std::string __where;
    int __descriptor = -1;
    VoxelMatrixHeader __header;
    std::unique_ptr<unsigned char[]> __buffer;
    std::size_t __begin = 0; // unread part of the buffer
    std::size_t __end = 0;
    std::vector<iovec> __rows; // gathered, not read yet
};

/// A voxel matrix file being written, row after row.
///
/// The bytes go to a SafeFile, so that an old file stays whole until commit() replaces it.
class VoxelMatrixFileWriter {
public:
    /// Throws FileWriteError with this place, "File already exists" or "Cannot open file for writing".
    VoxelMatrixFileWriter(const std::string& filename, bool overwrite, const std::string& where);
    VoxelMatrixFileWriter(const VoxelMatrixFileWriter&) = delete;
    VoxelMatrixFileWriter& operator=(const VoxelMatrixFileWriter&) = delete;

    /// The header with calibration: the tag of the elements' type, sizes, the scale of the unit, height, width and
    /// depth of a voxel.
    void writeHeader(int dataType, const std::int32_t (&sizes)[3], int unitScale, const float (&voxel)[3]);

    /// Writes header and later rows alike. Throws FileWriteError when the disk does not take them.
    void write(const void* source, std::size_t numBytes);

    /// The same, but the row may be written as late as in commit(); until then it has to stay as it is.
    void writeRow(const void* source, std::size_t numBytes);
    void commit();

private:
    void __flush();
    [[noreturn]] void __fail() const;

    std::string __filename;
    std::string __where;
    std::unique_ptr<SafeFile> __file;
    std::unique_ptr<unsigned char[]> __buffer;
    std::size_t __fill = 0;
    std::vector<iovec> __rows; // gathered, not written yet; the buffer comes before them
};

} // namespace vorlen
