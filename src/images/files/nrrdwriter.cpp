#include "images/files/nrrdwriter.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <utility>
#include <vector>

#include "files/fileinfo.h"
#include "files/safestream.h"
#include "images/files/samplestream.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr const char* place = "void saveNrrd(...)";

std::string numberText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

template <class T>
std::string headerOf(const Vector<int>& size, const Vector<T>& origin, const Vector<T>& steps, const std::string& unit,
                     NrrdEncoding encoding) {
    std::string header = "NRRD0004\ntype: float\ndimension: 3\nspace dimension: 3\nsizes:";
    for (int a = 0; a < 3; ++a)
        header += " " + std::to_string(size[a]);
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

std::string nrrdUnit(const std::optional<LengthUnit>& unit) {
    constexpr std::pair<const char*, int> names[] = {{"m", 0}, {"cm", -2}, {"mm", -3}, {"um", -6}, {"nm", -9}};
    for (const auto& [name, scale] : names)
        if (unit && unit->getScale() == scale)
            return name;
    return "";
}

template <class T>
void saveNrrd(const VoxelMatrix<T>& volume, const Vector<T>& origin, const Vector<T>& steps, const std::string& unit,
              NrrdEncoding encoding, const std::string& fileName, bool overwrite) {
    saveNrrd<T>(
        volume.getSize(), [&volume](int k) -> const PixelMatrix<T>& { return volume[k]; }, origin, steps, unit,
        encoding, fileName, overwrite);
}

template <class T>
void saveNrrd(const Vector<int>& size, const std::function<const PixelMatrix<T>&(int)>& plane, const Vector<T>& origin,
              const Vector<T>& steps, const std::string& unit, NrrdEncoding encoding, const std::string& fileName,
              bool overwrite) {
    if (origin.getSize() != 3 || steps.getSize() != 3 || size.getSize() != 3 || size.min() < 1)
        throw SizeError(place, "The volume has no place in space");
    for (int a = 0; a < 3; ++a)
        if (!std::isfinite(origin[a]) || !std::isfinite(steps[a]) || !(steps[a] > T(0)))
            throw ValueError(place, "Origin and steps are not finite and above 0");
    if (!overwrite)
        FileInfo::requireFree(fileName, place, "File already exists");
    const bool opened = saveStreamed(fileName, [&](std::ostream& stream) {
        stream << headerOf(size, origin, steps, unit, encoding);
        SampleStream samples(stream, encoding == NrrdEncoding::Gzip);
        std::vector<T> row(std::size_t(size[0]), T(0));
        for (int k = 0; k < size[2]; ++k) {
            const PixelMatrix<T>& values = plane(k);
            for (int j = 0; j < size[1]; ++j) {
                for (int i = 0; i < size[0]; ++i)
                    row[std::size_t(i)] = values(i, j);
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
template void saveNrrd(const Vector<int>& size, const std::function<const PixelMatrix<float>&(int)>& plane,
                       const Vector<float>& origin, const Vector<float>& steps, const std::string& unit,
                       NrrdEncoding encoding, const std::string& fileName, bool overwrite);

} // namespace vorlen
