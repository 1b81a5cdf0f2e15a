#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorlen {

/// Formats in which surfaces leave the program.
enum class SurfaceFormat {
    StlBinary,
    StlAscii,
    Obj,
    PlyBinary,
    PlyAscii,
    Vtk, ///< PolyData of the legacy format, as text
    Glb  ///< glTF 2.0, all models in one file
};

/// What there is to say about a format.
struct SurfaceFormatInfo {
    SurfaceFormat format;
    std::string_view word;   ///< on a command line: "ply-ascii"
    std::string_view suffix; ///< of its files, without the point
    std::string_view name;   ///< for a list to choose from
};

/// All formats, in the order of the enumeration.
const std::vector<SurfaceFormatInfo>& surfaceFormats();

/// Nothing for another word.
std::optional<SurfaceFormat> toSurfaceFormat(std::string_view word);

const SurfaceFormatInfo& infoOf(SurfaceFormat format);

} // namespace vorlen
