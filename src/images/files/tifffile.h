#pragma once

#include <string>

#include <tiffio.h>

namespace vorlen {

/// Owner of an open TIFF file. libtiff prints nothing through it: warnings are dropped, and the first error of the
/// file is kept, to be told with the exception that follows.
class TiffFile {
public:
    /// Opens a file for reading; isOpen() tells whether that succeeded. No single allocation of libtiff may exceed
    /// what a file of this length can ask for.
    explicit TiffFile(const std::string& filename);
    /// Writes a new TIFF file, or BigTIFF file, through a duplicate of the descriptor, that of an empty file.
    TiffFile(int descriptor, const std::string& filename, bool big = false);
    ~TiffFile();
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;

    bool isOpen() const { return __tiff != nullptr; }
    TIFF* get() const { return __tiff; }
    void close();

    /// " (...)" with the first error of a file that a TiffFile opened, else an empty text; fit to end a sentence.
    static std::string reason(TIFF* tiff);
    std::string reason() const;

private:
    TIFFOpenOptions* makeOptions();

    TIFF* __tiff = nullptr;
    std::string __firstError;
};

} // namespace vorlen
