#include "export/surfaceformat.h"

namespace vorlen {

const std::vector<SurfaceFormatInfo>& surfaceFormats() {
    static const std::vector<SurfaceFormatInfo> formats = {
        {SurfaceFormat::StlBinary, "stl", "stl", "STL, binary"},
        {SurfaceFormat::StlAscii, "stl-ascii", "stl", "STL, text"},
        {SurfaceFormat::Obj, "obj", "obj", "Wavefront OBJ with colours"},
        {SurfaceFormat::PlyBinary, "ply", "ply", "PLY with colours, binary"},
        {SurfaceFormat::PlyAscii, "ply-ascii", "ply", "PLY with colours, text"},
        {SurfaceFormat::Vtk, "vtk", "vtk", "VTK PolyData"},
        {SurfaceFormat::Glb, "glb", "glb", "glTF 2.0, all models in one file"},
    };
    return formats;
}

std::optional<SurfaceFormat> toSurfaceFormat(std::string_view word) {
    for (const SurfaceFormatInfo& info : surfaceFormats())
        if (info.word == word)
            return info.format;
    return std::nullopt;
}

const SurfaceFormatInfo& infoOf(SurfaceFormat format) {
    return surfaceFormats()[static_cast<std::size_t>(format)];
}

} // namespace vorlen
