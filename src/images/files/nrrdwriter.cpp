#include "images/files/nrrdwriter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <vector>

#include <zlib.h>

#include "files/fileinfo.h"
#include "files/safestream.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr const char* place = "void saveNrrd(...)";

/// Takes bytes to a stream, compressed or as they are.
class Samples {
public:
    Samples(std::ostream& stream, NrrdEncoding encoding)
        : __stream(stream), __compresses(encoding == NrrdEncoding::Gzip) {
        constexpr int gzipWindow = 15 + 16;
        if (__compresses && deflateInit2(&__state, 1, Z_DEFLATED, gzipWindow, 8, Z_DEFAULT_STRATEGY) != Z_OK)
            throw FileWriteError(place, "The compression cannot be started", "");
    }
    ~Samples() {
        if (__compresses)
            deflateEnd(&__state);
    }
    Samples(const Samples&) = delete;
    Samples& operator=(const Samples&) = delete;

    void write(const void* bytes, std::size_t count) {
        if (__compresses)
            compress(bytes, count, Z_NO_FLUSH);
        else
            __stream.write(static_cast<const char*>(bytes), std::streamsize(count));
    }
    void end() {
        if (__compresses)
            compress(nullptr, 0, Z_FINISH);
    }

private:
    void compress(const void* bytes, std::size_t count, int flush) {
        // zlib only reads what its old interface takes as not constant.
        __state.next_in =
            static_cast<Bytef*>(const_cast<void*>(bytes)); // NOLINT(cppcoreguidelines-pro-type-const-cast)
        __state.avail_in = static_cast<uInt>(count);
        do {
            __state.next_out = __buffer.data();
            __state.avail_out = static_cast<uInt>(__buffer.size());
            deflate(&__state, flush);
            __stream.write(static_cast<const char*>(static_cast<const void*>(__buffer.data())),
                           std::streamsize(__buffer.size() - __state.avail_out));
        } while (__state.avail_out == 0);
    }

    std::ostream& __stream;
    bool __compresses;
    z_stream __state{};
    std::array<Bytef, 65536> __buffer;
};

std::string numberText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

template <class T>
std::string headerOf(const VoxelMatrix<T>& volume, const Vector<T>& origin, const Vector<T>& steps,
                     const std::string& unit, NrrdEncoding encoding) {
    std::string header = "NRRD0004\ntype: float\ndimension: 3\nspace dimension: 3\nsizes:";
    for (int a = 1; a <= 3; ++a)
        header += " " + std::to_string(volume.getSize(a));
    header += "\nspace directions:";
    for (int a = 0; a < 3; ++a) {
        header += " (";
        for (int b = 0; b < 3; ++b)
            header += (b > 0 ? "," : "") + (a == b ? numberText(double(steps[a])) : std::string("0"));
        header += ")";
    }
    header += "\nkinds: domain domain domain\ncenters: cell cell cell\nspace origin: (" +
              numberText(double(origin[0])) + "," + numberText(double(origin[1])) + "," +
              numberText(double(origin[2])) + ")\n";
    if (!unit.empty())
        header += "space units: \"" + unit + "\" \"" + unit + "\" \"" + unit + "\"\n";
    header += std::endian::native == std::endian::little ? "endian: little\n" : "endian: big\n";
    return header + (encoding == NrrdEncoding::Gzip ? "encoding: gzip\n\n" : "encoding: raw\n\n");
}

} // namespace

template <class T>
void saveNrrd(const VoxelMatrix<T>& volume, const Vector<T>& origin, const Vector<T>& steps, const std::string& unit,
              NrrdEncoding encoding, const std::string& fileName, bool overwrite) {
    if (origin.getSize() != 3 || steps.getSize() != 3 || volume.getSize().min() < 1)
        throw SizeError(place, "The volume has no place in space");
    for (int a = 0; a < 3; ++a)
        if (!std::isfinite(origin[a]) || !std::isfinite(steps[a]) || !(steps[a] > T(0)))
            throw ValueError(place, "Origin and steps are not finite and above 0");
    if (!overwrite)
        FileInfo::requireFree(fileName, place, "File already exists");
    const bool opened = saveStreamed(fileName, [&](std::ostream& stream) {
        stream << headerOf(volume, origin, steps, unit, encoding);
        Samples samples(stream, encoding);
        const int n1 = volume.getSize1(), n2 = volume.getSize2();
        std::vector<T> row(std::size_t(n1), T(0));
        for (int k = 0; k < volume.getSize3(); ++k) {
            for (int j = 0; j < n2; ++j) {
                for (int i = 0; i < n1; ++i)
                    row[std::size_t(i)] = volume(i, j, k);
                samples.write(row.data(), row.size() * sizeof(T));
            }
        }
        samples.end();
    });
    if (!opened)
        throw FileWriteError(place, "Cannot open file for writing", fileName);
}

template void saveNrrd(const VoxelMatrix<float>& volume, const Vector<float>& origin, const Vector<float>& steps,
                       const std::string& unit, NrrdEncoding encoding, const std::string& fileName, bool overwrite);

} // namespace vorlen
