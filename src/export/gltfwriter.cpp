#include "export/gltfwriter.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <utility>

#include "numerics/exception.h"
#include "shapes/trimesh.h"

namespace vorlen {

namespace {

constexpr char addingSurface[] = "void GltfWriter::add(...)";
constexpr std::size_t headerLength = 12 + 8; // of the file and of the first chunk
constexpr std::size_t longestName = 200;
constexpr std::size_t roomForSurface = 4000;
constexpr std::size_t pieceLength = 1 << 16;

template <class Number>
void appendBytes(std::string& bytes, Number value) {
    static_assert(std::endian::native == std::endian::little);
    char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.append(raw, sizeof value);
}

template <class Number>
std::string decimal(Number value) {
    char digits[64];
    return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

/// Bytes that are not of a whole UTF-8 character become "?", and those of a control character an escape.
std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        const std::size_t length = c < 0x80                ? 1
                                   : c >= 0xC2 && c < 0xE0 ? 2
                                   : c >= 0xE0 && c < 0xF0 ? 3
                                   : c >= 0xF0 && c < 0xF5 ? 4
                                                           : 0;
        bool whole = length > 0 && i + length <= text.size();
        for (std::size_t k = 1; whole && k < length; ++k)
            whole = (static_cast<unsigned char>(text[i + k]) & 0xC0) == 0x80;
        if (!whole || c < ' ') {
            result += '?';
            ++i;
            continue;
        }
        if (c == '"' || c == '\\')
            result += '\\';
        result.append(text, i, length);
        i += length;
    }
    return result + '"';
}

/// glTF's colours are linear.
double linear(unsigned char component) {
    const double c = component / 255.0;
    const double value = c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    return std::round(value * 1e6) / 1e6;
}

std::string triple(const float* values) {
    return "[" + decimal(values[0]) + "," + decimal(values[1]) + "," + decimal(values[2]) + "]";
}

/// Whether each vertex has a normal of length 1, as the format demands.
bool hasUnitNormals(const TriMesh<float>& mesh) {
    if (!mesh.hasNormals())
        return false;
    for (int i = 0; i < mesh.getNumVertices(); ++i) {
        const Vector<float>& n = mesh.getNormal(i);
        if (!(std::abs(n[0] * n[0] + n[1] * n[1] + n[2] * n[2] - 1) < 1e-3f))
            return false;
    }
    return true;
}

} // namespace

GltfWriter::GltfWriter(std::ostream& stream, std::size_t mostSurfaces)
    : __stream(stream), __mostSurfaces(mostSurfaces), __jsonLength(1024 + mostSurfaces * roomForSurface) {
    const std::string room(pieceLength, ' ');
    for (std::size_t left = headerLength + __jsonLength + 8; left > 0; left -= std::min(left, room.size()))
        __stream.write(room.data(), static_cast<std::streamsize>(std::min(left, room.size())));
}

void GltfWriter::add(const TriMesh<float>& mesh, const SurfaceDescription& description) {
    if (mesh.getSpace() != 3)
        throw SizeError(addingSurface, "The surface is not in space");
    if (__parts.size() == __mostSurfaces)
        throw UsageError(addingSurface, "There are more surfaces than were announced");
    Part part;
    part.description = description;
    part.description.name.resize(std::min(description.name.size(), longestName));
    part.numVertices = mesh.getNumVertices();
    part.numTriangles = mesh.getNumTriangles();
    part.hasNormals = hasUnitNormals(mesh);
    part.begin = __binaryLength;
    const std::size_t length =
        std::size_t(part.numVertices) * (part.hasNormals ? 24 : 12) + 12 * std::size_t(part.numTriangles);
    if (headerLength + __jsonLength + 8 + __binaryLength + length > std::numeric_limits<std::uint32_t>::max())
        throw FileWriteError(addingSurface, "A glTF file holds no more than 4 GiB");
    std::string bytes;
    bytes.reserve(pieceLength + 64);
    const auto handOn = [&](std::size_t most) {
        if (bytes.size() > most)
            writeBytes(std::exchange(bytes, std::string()));
    };
    for (int i = 0; i < part.numVertices; ++i) {
        for (int k = 0; k < 3; ++k) {
            const float value = mesh[i][k];
            part.low[k] = i == 0 ? value : std::min(part.low[k], value);
            part.high[k] = i == 0 ? value : std::max(part.high[k], value);
            appendBytes(bytes, value);
        }
        handOn(pieceLength);
    }
    for (int i = 0; part.hasNormals && i < part.numVertices; ++i) {
        for (int k = 0; k < 3; ++k)
            appendBytes(bytes, mesh.getNormal(i)[k]);
        handOn(pieceLength);
    }
    for (unsigned int i = 0; i < part.numTriangles; ++i) {
        for (int k = 0; k < 3; ++k)
            appendBytes(bytes, std::uint32_t(mesh.getTriangleIndexes(i)[k]));
        handOn(pieceLength);
    }
    handOn(0);
    __parts.push_back(std::move(part));
}

void GltfWriter::writeBytes(const std::string& bytes) {
    __stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!__stream)
        throw FileWriteError(addingSurface, "Cannot write the surface");
    __binaryLength += bytes.size();
}

// NOLINTBEGIN(performance-inefficient-string-concatenation): a few texts for each model
std::string GltfWriter::json() const {
    std::string nodes, numbers, meshes, materials, accessors, views;
    int accessor = 0;
    const auto separate = [](std::string& list) { list += list.empty() ? "" : ","; };
    const auto addAccessor = [&](std::size_t begin, std::size_t length, bool isIndex, long long count,
                                 const std::string& range) {
        separate(views);
        views += "{\"buffer\":0,\"byteOffset\":" + decimal(begin) + ",\"byteLength\":" + decimal(length) +
                 ",\"target\":" + (isIndex ? "34963" : "34962") + "}";
        separate(accessors);
        accessors += "{\"bufferView\":" + decimal(accessor) + ",\"componentType\":" + (isIndex ? "5125" : "5126") +
                     ",\"count\":" + decimal(count) + ",\"type\":" + (isIndex ? "\"SCALAR\"" : "\"VEC3\"") + range +
                     "}";
        return decimal(accessor++);
    };
    int mesh = 0;
    for (const Part& part : __parts) {
        if (part.numVertices == 0 || part.numTriangles == 0)
            continue;
        const std::string name = quoted(part.description.name), number = decimal(mesh++);
        const std::size_t plane = 12 * std::size_t(part.numVertices);
        std::size_t begin = part.begin;
        std::string attributes =
            "\"POSITION\":" + addAccessor(begin, plane, false, part.numVertices,
                                          ",\"min\":" + triple(part.low) + ",\"max\":" + triple(part.high));
        begin += plane;
        if (part.hasNormals) {
            attributes += ",\"NORMAL\":" + addAccessor(begin, plane, false, part.numVertices, "");
            begin += plane;
        }
        const std::size_t triangles = 12 * std::size_t(part.numTriangles);
        const std::string indices = addAccessor(begin, triangles, true, 3LL * part.numTriangles, "");
        separate(nodes);
        const SurfaceCertificate& certificate = part.description.certificate;
        nodes += "{\"name\":" + name + ",\"mesh\":" + number +
                 ",\"extras\":{\"unit\":" + quoted(part.description.unit) +
                 ",\"surface\":" + quoted(part.description.toText()) +
                 ",\"closed\":" + (certificate.closed ? "true" : "false") +
                 (std::isfinite(certificate.volume) ? ",\"volume\":" + decimal(certificate.volume) : "") + "}}";
        separate(numbers);
        numbers += number;
        separate(meshes);
        meshes += "{\"name\":" + name + ",\"primitives\":[{\"attributes\":{" + attributes + "},\"indices\":" + indices +
                  ",\"material\":" + number + "}]}";
        separate(materials);
        const auto& color = part.description.color;
        materials += "{\"name\":" + name + ",\"doubleSided\":true,\"pbrMetallicRoughness\":{\"baseColorFactor\":[" +
                     decimal(linear(color[0])) + "," + decimal(linear(color[1])) + "," + decimal(linear(color[2])) +
                     "," + decimal(part.description.opacity) + "],\"metallicFactor\":0,\"roughnessFactor\":0.6}" +
                     (part.description.opacity < 1 ? ",\"alphaMode\":\"BLEND\"" : "") + "}";
    }
    std::string text = "{\"asset\":{\"version\":\"2.0\",\"generator\":\"Vorlen\"},\"scene\":0,\"scenes\":[{";
    if (nodes.empty())
        return text + "}]}";
    return text + "\"nodes\":[" + numbers + "]}],\"nodes\":[" + nodes + "],\"meshes\":[" + meshes +
           "],\"materials\":[" + materials + "],\"accessors\":[" + accessors + "],\"bufferViews\":[" + views +
           "],\"buffers\":[{\"byteLength\":" + decimal(__binaryLength) + "}]}";
}
// NOLINTEND(performance-inefficient-string-concatenation)

void GltfWriter::finish() {
    std::string text = json();
    if (text.size() > __jsonLength)
        throw ProgramError("void GltfWriter::finish()", "The room for the JSON chunk is too small");
    text.resize(__jsonLength, ' ');
    std::string bytes = "glTF";
    appendBytes(bytes, std::uint32_t(2));
    appendBytes(bytes, std::uint32_t(headerLength + __jsonLength + 8 + __binaryLength));
    appendBytes(bytes, std::uint32_t(__jsonLength));
    bytes += "JSON" + text;
    appendBytes(bytes, std::uint32_t(__binaryLength));
    bytes += std::string("BIN\0", 4);
    __stream.seekp(0);
    __stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    __stream.seekp(0, std::ios::end);
    if (!__stream)
        throw FileWriteError("void GltfWriter::finish()", "Cannot write the surfaces");
}

} // namespace vorlen
