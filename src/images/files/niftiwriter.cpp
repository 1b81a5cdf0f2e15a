#include "images/files/niftiwriter.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string_view>
#include <vector>

#include "files/fileinfo.h"
#include "files/safestream.h"
#include "images/files/samplestream.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr const char* where = "void saveNifti(...)";
constexpr int greatestFirstSize = 32767;

bool endsWith(std::string_view name, std::string_view suffix) {
    return name.size() > suffix.size() && std::equal(
                                              suffix.begin(), suffix.end(), name.end() - std::ptrdiff_t(suffix.size()),
                                              [](unsigned char a, unsigned char b) { return std::tolower(b) == a; });
}

/// The unit of the format in which lengths are written: its code, and what a length of ours is in it.
struct WrittenUnit {
    explicit WrittenUnit(const std::optional<LengthUnit>& unit) {
        if (!unit)
            return;
        const int scale = unit->getScale() > -3 ? 0 : unit->getScale() > -6 ? -3 : -6;
        code = scale == 0 ? 1 : scale == -3 ? 2 : 3;
        factor = std::pow(10.0, unit->getScale() - scale);
    }

    int code = 0;
    double factor = 1;
};

/// Bytes of a header, in the machine's order, by which readers tell it.
class WrittenHeader {
public:
    explicit WrittenHeader(std::size_t length) : __bytes(length, '\0') {}

    template <class Number>
    void put(std::size_t at, Number number) {
        std::memcpy(&__bytes[at], &number, sizeof number);
    }
    void putText(std::size_t at, std::string_view text) { std::copy(text.begin(), text.end(), &__bytes[at]); }
    const std::string& bytes() const { return __bytes; }

private:
    std::string __bytes;
};

/// Where the fields of a version stand.
struct HeaderPlaces {
    std::size_t type, bits, sizes, steps, offset, slope, quaternionCode, affineCode, shift, rows, units;
};

constexpr HeaderPlaces firstPlaces = {70, 72, 40, 76, 108, 112, 252, 254, 268, 280, 123};
constexpr HeaderPlaces secondPlaces = {12, 14, 16, 104, 168, 176, 344, 348, 376, 400, 500};

/// Throws ValueError for lengths that the type of the header's numbers cannot tell.
template <class Size, class Real, class Code, class UnitCode>
void putFields(WrittenHeader& header, const HeaderPlaces& places, const int (&sizes)[3], const double (&origin)[3],
               const double (&steps)[3], const WrittenUnit& unit) {
    constexpr std::int16_t real32 = 16;
    constexpr Code alignedSpace = 2; // coordinates of a space that has its own origin
    header.put(places.type, real32);
    header.put(places.bits, std::int16_t(32));
    header.put(places.slope, Real(1));
    header.put(places.quaternionCode, alignedSpace); // its three other numbers are 0: no rotation
    header.put(places.affineCode, alignedSpace);
    header.put(places.units, static_cast<UnitCode>(unit.code));
    header.put(places.sizes, Size(3));
    header.put(places.steps, Real(1)); // planes follow one another along +z
    for (std::size_t a = 0; a < 7; ++a) {
        header.put(places.sizes + (a + 1) * sizeof(Size), a < 3 ? static_cast<Size>(sizes[a]) : Size(1));
        header.put(places.steps + (a + 1) * sizeof(Real), a < 3 ? static_cast<Real>(steps[a] * unit.factor) : Real(1));
    }
    for (std::size_t a = 0; a < 3; ++a) {
        const auto shift = static_cast<Real>(origin[a] * unit.factor), step = static_cast<Real>(steps[a] * unit.factor);
        if (!std::isfinite(shift) || !std::isfinite(step) || !(step > 0))
            throw ValueError(where, "Origin and steps are too large or too small for a header of NIfTI");
        header.put(places.shift + a * sizeof(Real), shift);
        header.put(places.rows + (4 * a + a) * sizeof(Real), step);
        header.put(places.rows + (4 * a + 3) * sizeof(Real), shift);
    }
}

std::string niftiHeaderOf(const int (&sizes)[3], const double (&origin)[3], const double (&steps)[3],
                          const WrittenUnit& unit) {
    constexpr std::size_t firstOffset = 352, secondOffset = 544; // four bytes tell that no extensions follow
    if (*std::max_element(std::begin(sizes), std::end(sizes)) <= greatestFirstSize) {
        WrittenHeader header(firstOffset);
        header.put(0, std::int32_t(348));
        header.put(38, 'r'); // as the older format has it
        header.putText(344, "n+1");
        header.put(firstPlaces.offset, float(firstOffset));
        putFields<std::int16_t, float, std::int16_t, char>(header, firstPlaces, sizes, origin, steps, unit);
        return header.bytes();
    }
    WrittenHeader header(secondOffset);
    header.put(0, std::int32_t(540));
    header.putText(4, std::string_view("n+2\0\r\n\x1a\n", 8));
    header.put(secondPlaces.offset, std::int64_t(secondOffset));
    putFields<std::int64_t, double, std::int32_t, std::int32_t>(header, secondPlaces, sizes, origin, steps, unit);
    return header.bytes();
}

} // namespace

bool isNiftiName(const std::string& fileName) {
    return endsWith(fileName, ".nii") || endsWith(fileName, ".nii.gz");
}

template <class T>
void saveNifti(const VoxelMatrix<T>& volume, const Vector<T>& origin, const Vector<T>& steps,
               const std::optional<LengthUnit>& unit, const std::string& fileName, bool overwrite) {
    if (origin.getSize() != 3 || steps.getSize() != 3 || volume.getSize().min() < 1)
        throw SizeError(where, "The volume has no place in space");
    const int sizes[3] = {volume.getSize1(), volume.getSize2(), volume.getSize3()};
    double from[3], distances[3];
    for (int a = 0; a < 3; ++a) {
        if (!std::isfinite(origin[a]) || !std::isfinite(steps[a]) || !(steps[a] > T(0)))
            throw ValueError(where, "Origin and steps are not finite and above 0");
        from[a] = double(origin[a]);
        distances[a] = double(steps[a]);
    }
    const std::string header = niftiHeaderOf(sizes, from, distances, WrittenUnit(unit));
    if (!overwrite)
        FileInfo::requireFree(fileName, where, "File already exists");
    const bool opened = saveStreamed(fileName, [&](std::ostream& stream) {
        SampleStream samples(stream, endsWith(fileName, ".gz"));
        samples.write(header.data(), header.size());
        std::vector<T> row(std::size_t(sizes[0]), T(0));
        for (int k = 0; k < sizes[2]; ++k) {
            for (int j = 0; j < sizes[1]; ++j) {
                for (int i = 0; i < sizes[0]; ++i)
                    row[std::size_t(i)] = volume(i, j, k);
                samples.write(row.data(), row.size() * sizeof(T));
            }
        }
        samples.end();
    });
    if (!opened)
        throw FileWriteError(where, "Cannot open file for writing", fileName);
}

template void saveNifti(const VoxelMatrix<float>& volume, const Vector<float>& origin, const Vector<float>& steps,
                        const std::optional<LengthUnit>& unit, const std::string& fileName, bool overwrite);

} // namespace vorlen
