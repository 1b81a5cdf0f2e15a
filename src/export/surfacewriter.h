#pragma once

#include <array>
#include <iosfwd>
#include <string>

#include "export/surfaceformat.h"
#include "shapes/surfacecertificate.h"

namespace vorlen {

template <class T>
class TriMesh;

/// What a file may tell of a surface besides its triangles.
struct SurfaceDescription {
    std::string name;
    std::string unit;                                  ///< of the coordinates: "µm"
    std::array<unsigned char, 3> color{192, 192, 192}; ///< red, green, blue
    double opacity = 1;                                ///< from 0 to 1
    SurfaceCertificate certificate;

    /// In one line: the certificate, and the volume of a closed surface.
    std::string toText() const;
};

/// Writes the mesh, of space 3, to a stream in a format of one surface a file; not as glTF, for which see GltfWriter.
/// The stream gets it piece by piece, with no copy of the mesh. Throws SizeError for another space, RangeError when a
/// triangle has a vertex that is not there, FileWriteError when the stream takes no more.
///
/// The formats are simple enough for code of our own: the libraries that write all of them hold the whole scene in
/// structures of their own, and the whole file in memory, several times the size of the mesh.
///
/// Numbers are the shortest that read back the same. Name, unit and certificate stand in comments, in the title of a
/// VTK file and in the header of a binary STL file as far as there is room; the one line of an ASCII STL file is the
/// name. Colours: of each vertex in PLY, by a material in OBJ, whose library is to be beside the file under the name
/// given (see writeMaterial()).
void writeSurface(std::ostream& stream, const TriMesh<float>& mesh, const SurfaceDescription& description,
                  SurfaceFormat format, const std::string& materialFile = "");

/// The material library of an OBJ file.
void writeMaterial(std::ostream& stream, const SurfaceDescription& description);

} // namespace vorlen
