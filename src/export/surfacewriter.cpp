#include "export/surfacewriter.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ostream>

#include "numerics/exception.h"
#include "shapes/trianglegeometry.h"
#include "shapes/trimesh.h"

namespace vorlen {

namespace {

constexpr char writingSurface[] = "void writeSurface(...)";

/// Hands text and numbers to a stream in pieces.
class PieceWriter {
public:
    explicit PieceWriter(std::ostream& stream) : __stream(stream) { __piece.reserve(pieceSize + 4096); }

    PieceWriter& text(std::string_view text) {
        __piece += text;
        return *this;
    }

    /// The shortest decimal number that reads back the same.
    template <class Number>
    PieceWriter& decimal(Number value) {
        char digits[64];
        __piece.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
        return *this;
    }

    /// The bytes of the number, the least first.
    template <class Number>
    PieceWriter& bytes(Number value) {
        static_assert(std::endian::native == std::endian::little);
        char raw[sizeof value];
        std::memcpy(raw, &value, sizeof value);
        __piece.append(raw, sizeof value);
        return *this;
    }

    /// After each part of a file that is small against a piece.
    void handOn() {
        if (__piece.size() > pieceSize)
            flush();
    }

    void flush() {
        __stream.write(__piece.data(), static_cast<std::streamsize>(__piece.size()));
        __piece.clear();
        if (!__stream)
            throw FileWriteError(writingSurface, "Cannot write the surface");
    }

private:
    static constexpr std::size_t pieceSize = 1 << 16;

    std::ostream& __stream;
    std::string __piece;
};

/// Without what would end the line.
std::string inOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 127; }, ' ');
    return text;
}

/// A word of the formats whose names end at a blank.
std::string asWord(std::string text) {
    text = inOneLine(std::move(text));
    std::replace(text.begin(), text.end(), ' ', '_');
    return text.empty() ? "surface" : text;
}

const float* cornerOf(const TriMesh<float>& mesh, unsigned int triangle, int k) {
    return mesh[static_cast<int>(mesh.getTriangleIndexes(triangle)[k])].data();
}

/// The unit normal; null for a triangle without area.
std::array<float, 3> normalOf(const TriMesh<float>& mesh, unsigned int triangle) {
    const float *a = cornerOf(mesh, triangle, 0), *b = cornerOf(mesh, triangle, 1), *c = cornerOf(mesh, triangle, 2);
    double u[3], v[3];
    for (int k = 0; k < 3; ++k) {
        u[k] = double(b[k]) - double(a[k]);
        v[k] = double(c[k]) - double(a[k]);
    }
    const double n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    const double length = std::hypot(n[0], n[1], n[2]);
    std::array<float, 3> normal{};
    for (std::size_t k = 0; k < 3 && length > 0; ++k)
        normal[k] = float(n[k] / length) + 0.0f; // -0 becomes 0
    return normal;
}

/// 80 bytes of anything but "solid" at the beginning, the number of triangles, and 50 bytes for each.
void writeBinaryStl(PieceWriter& writer, const TriMesh<float>& mesh, const SurfaceDescription& description) {
    constexpr std::size_t headerLength = 80;
    std::string header =
        "Binary STL, " + inOneLine(description.name) + " [" + description.unit + "], " + description.toText();
    header.resize(headerLength, ' ');
    writer.text(header).bytes(std::uint32_t(mesh.getNumTriangles()));
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        for (const float component : normalOf(mesh, i))
            writer.bytes(component);
        for (int k = 0; k < 3; ++k)
            for (int axis = 0; axis < 3; ++axis)
                writer.bytes(cornerOf(mesh, i, k)[axis]);
        writer.bytes(std::uint16_t(0)).handOn();
    }
}

void writeVertices(PieceWriter& writer, const TriMesh<float>& mesh, std::string_view before, std::string_view behind) {
    for (int i = 0; i < mesh.getNumVertices(); ++i) {
        const Vector<float>& vertex = mesh[i];
        writer.text(before).decimal(vertex[0]).text(" ").decimal(vertex[1]).text(" ").decimal(vertex[2]).text(behind);
        writer.handOn();
    }
}

/// Numbers of vertices from this first one on.
void writeTriangles(PieceWriter& writer, const TriMesh<float>& mesh, std::string_view before, unsigned int first) {
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        writer.text(before);
        for (int k = 0; k < 3; ++k)
            writer.text(" ").decimal(mesh.getTriangleIndexes(i)[k] + first);
        writer.text("\n").handOn();
    }
}

void writeObj(PieceWriter& writer, const TriMesh<float>& mesh, const SurfaceDescription& description,
              const std::string& materialFile) {
    writer.text("# ").text(inOneLine(description.name)).text("\n# unit ").text(description.unit).text("\n# ");
    writer.text(description.toText()).text("\n");
    if (!materialFile.empty())
        writer.text("mtllib ").text(inOneLine(materialFile)).text("\n");
    writer.text("o ").text(asWord(description.name)).text("\n");
    writeVertices(writer, mesh, "v ", "\n");
    if (!materialFile.empty())
        writer.text("usemtl ").text(asWord(description.name)).text("\n");
    writeTriangles(writer, mesh, "f", 1);
}

void writePly(PieceWriter& writer, const TriMesh<float>& mesh, const SurfaceDescription& description, bool binary) {
    writer.text(binary ? "ply\nformat binary_little_endian 1.0\n" : "ply\nformat ascii 1.0\n");
    writer.text("comment model ").text(inOneLine(description.name)).text("\ncomment unit ").text(description.unit);
    writer.text("\ncomment surface ").text(description.toText());
    writer.text("\nelement vertex ").decimal(mesh.getNumVertices());
    writer.text("\nproperty float x\nproperty float y\nproperty float z\n"
                "property uchar red\nproperty uchar green\nproperty uchar blue\nelement face ");
    writer.decimal(mesh.getNumTriangles()).text("\nproperty list uchar int vertex_indices\nend_header\n");
    const auto& color = description.color;
    if (!binary) {
        const std::string colored =
            " " + std::to_string(color[0]) + " " + std::to_string(color[1]) + " " + std::to_string(color[2]) + "\n";
        writeVertices(writer, mesh, "", colored);
        writeTriangles(writer, mesh, "3", 0);
        return;
    }
    for (int i = 0; i < mesh.getNumVertices(); ++i) {
        for (int axis = 0; axis < 3; ++axis)
            writer.bytes(mesh[i][axis]);
        writer.bytes(color[0]).bytes(color[1]).bytes(color[2]).handOn();
    }
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        writer.bytes(std::uint8_t(3));
        for (int k = 0; k < 3; ++k)
            writer.bytes(std::int32_t(mesh.getTriangleIndexes(i)[k]));
        writer.handOn();
    }
}

/// The title is one line of at most 255 characters.
void writeVtk(PieceWriter& writer, const TriMesh<float>& mesh, const SurfaceDescription& description) {
    std::string title = inOneLine(description.name) + " [" + description.unit + "], " + description.toText();
    title.resize(std::min<std::size_t>(title.size(), 255));
    writer.text("# vtk DataFile Version 3.0\n").text(title).text("\nASCII\nDATASET POLYDATA\nPOINTS ");
    writer.decimal(mesh.getNumVertices()).text(" float\n");
    writeVertices(writer, mesh, "", "\n");
    writer.text("POLYGONS ")
        .decimal(mesh.getNumTriangles())
        .text(" ")
        .decimal(4ULL * mesh.getNumTriangles())
        .text("\n");
    writeTriangles(writer, mesh, "3", 0);
}

} // namespace

std::string SurfaceDescription::toText() const {
    std::string text = certificate.toText();
    if (!certificate.closed || !certificate.oriented)
        return text;
    char digits[40];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, certificate.volume, std::chars_format::general, 9).ptr;
    return text + ", volume " + std::string(digits, end) + " " + unit + "^3";
}

void writeSurface(std::ostream& stream, const TriMesh<float>& mesh, const SurfaceDescription& description,
                  SurfaceFormat format, const std::string& materialFile) {
    if (mesh.getSpace() != 3)
        throw SizeError(writingSurface, "The surface is not in space");
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i)
        for (int k = 0; k < 3; ++k)
            if (mesh.getTriangleIndexes(i)[k] >= static_cast<unsigned int>(mesh.getNumVertices()))
                throw RangeError(writingSurface, "A triangle has a vertex that is not there");
    PieceWriter writer(stream);
    switch (format) {
    case SurfaceFormat::StlBinary:
        writeBinaryStl(writer, mesh, description);
        break;
    case SurfaceFormat::StlAscii:
        writer.flush();
        mesh.export2AsciiSTL(stream, inOneLine(description.name));
        break;
    case SurfaceFormat::Obj:
        writeObj(writer, mesh, description, materialFile);
        break;
    case SurfaceFormat::PlyBinary:
    case SurfaceFormat::PlyAscii:
        writePly(writer, mesh, description, format == SurfaceFormat::PlyBinary);
        break;
    case SurfaceFormat::Vtk:
        writeVtk(writer, mesh, description);
        break;
    case SurfaceFormat::Glb:
        throw TypeError(writingSurface, "A glTF file is written by GltfWriter");
    }
    writer.flush();
}

void writeMaterial(std::ostream& stream, const SurfaceDescription& description) {
    PieceWriter writer(stream);
    writer.text("newmtl ").text(asWord(description.name)).text("\nKd");
    for (const unsigned char component : description.color)
        writer.text(" ").decimal(std::round(component / 255.0 * 10000) / 10000);
    writer.text("\nd ").decimal(std::round(description.opacity * 10000) / 10000).text("\n");
    writer.flush();
}

} // namespace vorlen
