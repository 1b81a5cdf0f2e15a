#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "export/surfacewriter.h"

namespace vorlen {

/// Writes surfaces into one binary glTF 2.0 file (.glb): a node, a mesh and a material for each, with names, colours
/// and opacity, in a scene.
///
/// Takes one surface after the other, and keeps none of them: the JSON chunk, which stands in front and tells all
/// sizes, is written over room that was left for it, so that the stream must be able to go back. Vertices have normals
/// where the mesh has. Coordinates are in the stack's unit, unscaled, Y up; each node tells it among its "extras", with
/// the certificate.
///
/// Throws FileWriteError when the stream takes no more and when the file would be larger than the format's 4 GiB.
class GltfWriter {
public:
    /// A file of at most so many surfaces.
    GltfWriter(std::ostream& stream, std::size_t mostSurfaces);

    /// Throws SizeError for another space than 3 and UsageError for a surface more than was said.
    void add(const TriMesh<float>& mesh, const SurfaceDescription& description);

    /// To be called once, behind the last surface.
    void finish();

private:
    struct Part {
        SurfaceDescription description;
        int numVertices = 0;
        unsigned int numTriangles = 0;
        bool hasNormals = false;
        std::size_t begin = 0; ///< of its bytes in the binary chunk
        float low[3] = {};
        float high[3] = {};
    };

    std::string json() const;
    void writeBytes(const std::string& bytes);

    std::ostream& __stream;
    std::size_t __mostSurfaces;
    std::size_t __jsonLength;
    std::size_t __binaryLength = 0;
    std::vector<Part> __parts;
};

} // namespace vorlen
