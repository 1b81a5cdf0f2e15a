#include "export/surfacewriter.h"

#include <cstdint>
#include <cstring>
#include <sstream>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include "export/gltfwriter.h"
#include "numerics/exception.h"
#include "support/heldmemory.h"
#include "support/testmeshes.h"

namespace vorlen {

namespace {

/// What a reader of one of the formats has found: corners of triangles, in their order.
using Corners = std::vector<std::array<float, 3>>;

/// A tetrahedron with coordinates that no six digits hold.
TriMesh<float> oddMesh() {
    TriMesh<float> mesh = tetrahedronMesh<float>(0.1f);
    for (int i = 0; i < 4; ++i)
        mesh[i][0] = mesh[i][0] / 3 + 1000000.5f;
    return mesh;
}

Corners cornersOf(const TriMesh<float>& mesh) {
    Corners corners;
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i)
        for (int k = 0; k < 3; ++k) {
            const Vector<float>& v = mesh[int(mesh.getTriangleIndexes(i)[k])];
            corners.push_back({v[0], v[1], v[2]});
        }
    return corners;
}

SurfaceDescription describe(const TriMesh<float>& mesh, const std::string& name) {
    SurfaceDescription description;
    description.name = name;
    description.unit = "nm";
    description.color = {255, 128, 0};
    description.opacity = 0.5;
    description.certificate = SurfaceCertificate::of(mesh);
    return description;
}

std::string written(const TriMesh<float>& mesh, SurfaceFormat format, const std::string& name = "a b") {
    std::ostringstream stream;
    writeSurface(stream, mesh, describe(mesh, name), format, "x.mtl");
    return stream.str();
}

/// A number of the bytes at a place.
template <class Number>
Number numberAt(const std::string& bytes, std::size_t at) {
    Number number{};
    if (at + sizeof number <= bytes.size())
        std::memcpy(&number, bytes.data() + at, sizeof number);
    else
        ADD_FAILURE() << "the file is too short";
    return number;
}

Corners readBinaryStl(const std::string& bytes) {
    Corners corners;
    const auto n = numberAt<std::uint32_t>(bytes, 80);
    EXPECT_EQ(bytes.size(), 84 + 50 * std::size_t(n));
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t at = 84 + 50 * i + 12 + 12 * k;
            corners.push_back(
                {numberAt<float>(bytes, at), numberAt<float>(bytes, at + 4), numberAt<float>(bytes, at + 8)});
        }
    return corners;
}

Corners readAsciiStl(const std::string& text) {
    std::istringstream stream(text);
    Corners corners;
    for (std::string word; stream >> word;)
        if (word == "vertex") {
            std::array<float, 3> v{};
            stream >> v[0] >> v[1] >> v[2];
            corners.push_back(v);
        }
    return corners;
}

/// Lines "v x y z" and "f a b c", counted from 1.
Corners readObj(const std::string& text) {
    std::istringstream stream(text);
    Corners vertices, corners;
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word == "v") {
            std::array<float, 3> v{};
            words >> v[0] >> v[1] >> v[2];
            vertices.push_back(v);
        }
        for (std::size_t i = 0; word == "f" && words >> i;)
            corners.push_back(vertices.at(i - 1));
    }
    return corners;
}

/// So many vertices, with so many further numbers each, and triangles "3 a b c".
Corners readLists(std::istream& stream, std::size_t numVertices, std::size_t numFurther, std::size_t numTriangles) {
    Corners vertices(numVertices), corners;
    for (auto& v : vertices) {
        stream >> v[0] >> v[1] >> v[2];
        for (std::size_t k = 0; k < numFurther; ++k) {
            int further = -1;
            stream >> further;
            EXPECT_EQ(further, k == 0 ? 255 : k == 1 ? 128 : 0);
        }
    }
    for (std::size_t i = 0, n = 0; i < numTriangles; ++i) {
        stream >> n;
        EXPECT_EQ(n, 3u);
        for (std::size_t k = 0, number = 0; k < 3; ++k) {
            stream >> number;
            corners.push_back(vertices.at(number));
        }
    }
    EXPECT_TRUE(bool(stream));
    return corners;
}

Corners readPly(const std::string& bytes) {
    const std::string endOfHeader = "end_header\n";
    const std::size_t end = bytes.find(endOfHeader) + endOfHeader.size();
    std::istringstream header(bytes.substr(0, end));
    std::size_t numVertices = 0, numTriangles = 0;
    for (std::string line; std::getline(header, line);) {
        std::sscanf(line.c_str(), "element vertex %zu", &numVertices);
        std::sscanf(line.c_str(), "element face %zu", &numTriangles);
    }
    if (bytes.find("format ascii 1.0\n") != std::string::npos) {
        std::istringstream body(bytes.substr(end));
        return readLists(body, numVertices, 3, numTriangles);
    }
    EXPECT_EQ(bytes.size(), end + 15 * numVertices + 13 * numTriangles);
    Corners corners;
    for (std::size_t i = 0; i < numTriangles; ++i) {
        const std::size_t triangle = end + 15 * numVertices + 13 * i;
        EXPECT_EQ(bytes[triangle], 3);
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t v = end + 15 * std::size_t(numberAt<std::int32_t>(bytes, triangle + 1 + 4 * k));
            corners.push_back(
                {numberAt<float>(bytes, v), numberAt<float>(bytes, v + 4), numberAt<float>(bytes, v + 8)});
            EXPECT_EQ(bytes.substr(v + 12, 3), "\xFF\x80" + std::string(1, '\0'));
        }
    }
    return corners;
}

Corners readVtk(const std::string& text) {
    std::istringstream stream(text);
    std::string line, word;
    std::getline(stream, line);
    EXPECT_EQ(line, "# vtk DataFile Version 3.0");
    std::getline(stream, line);
    EXPECT_LT(line.size(), 256u);
    std::getline(stream, line);
    EXPECT_EQ(line, "ASCII");
    std::getline(stream, line);
    EXPECT_EQ(line, "DATASET POLYDATA");
    std::size_t numVertices = 0, numTriangles = 0, size = 0;
    stream >> word >> numVertices >> word;
    std::vector<std::array<float, 3>> vertices(numVertices);
    for (auto& v : vertices)
        stream >> v[0] >> v[1] >> v[2];
    stream >> word >> numTriangles >> size;
    EXPECT_EQ(word, "POLYGONS");
    EXPECT_EQ(size, 4 * numTriangles);
    Corners corners;
    for (std::size_t i = 0, n = 0; i < 4 * numTriangles && stream >> n; ++i)
        if (i % 4 != 0)
            corners.push_back(vertices.at(n));
    return corners;
}

/// The chunks of a glTF file.
struct Gltf {
    QJsonObject json;
    std::string binary;
};

Gltf readGltf(const std::string& bytes) {
    Gltf file;
    EXPECT_EQ(bytes.substr(0, 4), "glTF");
    EXPECT_EQ(numberAt<std::uint32_t>(bytes, 4), 2u);
    EXPECT_EQ(numberAt<std::uint32_t>(bytes, 8), bytes.size());
    const std::size_t length = numberAt<std::uint32_t>(bytes, 12);
    EXPECT_EQ(length % 4, 0u);
    EXPECT_EQ(bytes.substr(16, 4), "JSON");
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(bytes.substr(20, length)));
    EXPECT_TRUE(document.isObject());
    file.json = document.object();
    EXPECT_EQ(bytes.substr(24 + length, 4), std::string("BIN\0", 4));
    file.binary = bytes.substr(28 + length);
    EXPECT_EQ(numberAt<std::uint32_t>(bytes, 20 + length), file.binary.size());
    return file;
}

/// The corners of a mesh by its accessors, whose ranges must hold.
Corners cornersOf(const Gltf& file, int mesh) {
    const QJsonObject primitive = file.json["meshes"].toArray()[mesh].toObject()["primitives"].toArray()[0].toObject();
    const auto accessor = [&](const QJsonValue& number) {
        return file.json["accessors"].toArray()[number.toInt()].toObject();
    };
    const auto begin = [&](const QJsonObject& of) {
        return std::size_t(
            file.json["bufferViews"].toArray()[of["bufferView"].toInt()].toObject()["byteOffset"].toInt());
    };
    const QJsonObject positions = accessor(primitive["attributes"].toObject()["POSITION"]);
    const QJsonObject indices = accessor(primitive["indices"]);
    EXPECT_EQ(positions["componentType"].toInt(), 5126);
    EXPECT_EQ(indices["componentType"].toInt(), 5125);
    Corners corners;
    for (std::size_t i = 0; i < std::size_t(indices["count"].toInt()); ++i) {
        const auto vertex = numberAt<std::uint32_t>(file.binary, begin(indices) + 4 * i);
        EXPECT_LT(int(vertex), positions["count"].toInt());
        std::array<float, 3> v{};
        for (std::size_t k = 0; k < 3; ++k) {
            v[k] = numberAt<float>(file.binary, begin(positions) + 12 * vertex + 4 * k);
            EXPECT_GE(v[k], float(positions["min"].toArray()[int(k)].toDouble()));
            EXPECT_LE(v[k], float(positions["max"].toArray()[int(k)].toDouble()));
        }
        corners.push_back(v);
    }
    return corners;
}

} // namespace

TEST(SurfaceWriter, readersFindTheSameTrianglesToTheLastBit) {
    const TriMesh<float> mesh = oddMesh();
    const Corners corners = cornersOf(mesh);
    EXPECT_EQ(readBinaryStl(written(mesh, SurfaceFormat::StlBinary)), corners);
    EXPECT_EQ(readAsciiStl(written(mesh, SurfaceFormat::StlAscii)), corners);
    EXPECT_EQ(readObj(written(mesh, SurfaceFormat::Obj)), corners);
    EXPECT_EQ(readPly(written(mesh, SurfaceFormat::PlyBinary)), corners);
    EXPECT_EQ(readPly(written(mesh, SurfaceFormat::PlyAscii)), corners);
    EXPECT_EQ(readVtk(written(mesh, SurfaceFormat::Vtk)), corners);
}

TEST(SurfaceWriter, filesTellNameUnitAndCertificate) {
    const TriMesh<float> cube = cubeMesh<float>(2);
    const std::string told = "closed, oriented outward, manifold, 1 part, Euler number 2, genus 0, volume 8 nm^3";
    for (const SurfaceFormat format :
         {SurfaceFormat::Obj, SurfaceFormat::PlyBinary, SurfaceFormat::PlyAscii, SurfaceFormat::Vtk}) {
        const std::string text = written(cube, format, "a\nb");
        EXPECT_NE(text.find(told), std::string::npos);
        EXPECT_NE(text.find("a b"), std::string::npos) << "a line end in the name is none in the file";
        EXPECT_NE(text.find("nm"), std::string::npos);
    }
    const std::string stl = written(cube, SurfaceFormat::StlBinary, "solid");
    EXPECT_EQ(stl.rfind("Binary STL, solid [nm], closed, oriented outward", 0), 0u);
    std::ostringstream itself;
    cube.export2AsciiSTL(itself, "a b");
    EXPECT_EQ(written(cube, SurfaceFormat::StlAscii, "a\nb"), itself.str()) << "as the mesh itself writes it";
    std::ostringstream material;
    writeMaterial(material, describe(cube, "a b"));
    EXPECT_EQ(material.str(), "newmtl a_b\nKd 1 0.502 0\nd 0.5\n");
    EXPECT_NE(written(cube, SurfaceFormat::Obj).find("mtllib x.mtl\no a_b\n"), std::string::npos);

    TriMesh<float> open = cubeMesh<float>(2);
    open.removeTriangle(0);
    EXPECT_NE(written(open, SurfaceFormat::PlyAscii).find("comment surface open (3 open edges)"), std::string::npos);
}

TEST(SurfaceWriter, refusesWhatIsNoSurface) {
    TriMesh<float> broken = cubeMesh<float>(1);
    broken.getTriangleIndexes(3)[1] = 99;
    std::ostringstream stream;
    EXPECT_THROW(writeSurface(stream, broken, SurfaceDescription(), SurfaceFormat::PlyBinary), RangeError);
    std::ostringstream full;
    full.setstate(std::ios::badbit);
    EXPECT_THROW(writeSurface(full, cubeMesh<float>(1), SurfaceDescription(), SurfaceFormat::Obj), FileWriteError);
}

TEST(GltfWriter, aFileHasANodeAMeshAndAMaterialForEachSurface) {
    TriMesh<float> cube = cubeMesh<float>(2);
    cube.computeNormals();
    const TriMesh<float> odd = oddMesh();
    const std::string name = "quo\"te \\ \xC2\xB5\xFF\n";
    std::ostringstream stream;
    GltfWriter writer(stream, 5);
    writer.add(cube, describe(cube, "cube"));
    writer.add(odd, describe(odd, name));
    writer.finish();
    const Gltf file = readGltf(stream.str());
    EXPECT_EQ(file.json["asset"].toObject()["version"].toString(), "2.0");
    ASSERT_EQ(file.json["nodes"].toArray().size(), 2);
    EXPECT_EQ(file.json["scenes"].toArray()[0].toObject()["nodes"].toArray().size(), 2);
    EXPECT_EQ(cornersOf(file, 0), cornersOf(cube));
    EXPECT_EQ(cornersOf(file, 1), cornersOf(odd));
    const QJsonObject node = file.json["nodes"].toArray()[1].toObject();
    EXPECT_EQ(node["name"].toString(), QString::fromUtf8("quo\"te \\ \xC2\xB5??"));
    EXPECT_EQ(node["mesh"].toInt(), 1);
    EXPECT_EQ(node["extras"].toObject()["unit"].toString(), "nm");
    EXPECT_TRUE(node["extras"].toObject()["closed"].toBool());
    EXPECT_NEAR(file.json["nodes"].toArray()[0].toObject()["extras"].toObject()["volume"].toDouble(), 8, 1e-6);
    const QJsonObject material = file.json["materials"].toArray()[0].toObject();
    const QJsonArray color = material["pbrMetallicRoughness"].toObject()["baseColorFactor"].toArray();
    EXPECT_EQ(color[0].toDouble(), 1);
    EXPECT_NEAR(color[1].toDouble(), 0.2159, 1e-4); // of 128, as a linear value
    EXPECT_EQ(color[3].toDouble(), 0.5);
    EXPECT_EQ(material["alphaMode"].toString(), "BLEND");
    const QJsonObject attributes =
        file.json["meshes"].toArray()[0].toObject()["primitives"].toArray()[0].toObject()["attributes"].toObject();
    EXPECT_TRUE(attributes.contains("NORMAL"));
    EXPECT_EQ(std::size_t(file.json["buffers"].toArray()[0].toObject()["byteLength"].toInt()), file.binary.size());

    std::ostringstream empty;
    GltfWriter nothing(empty, 0);
    nothing.finish();
    EXPECT_FALSE(readGltf(empty.str()).json.contains("nodes"));
    EXPECT_THROW(nothing.add(cube, describe(cube, "x")), UsageError);
}

// Less than a fifth of the mesh in memory beside it, for the certificate and any format.
TEST(SurfaceWriter, aLargeMeshIsWrittenInPieces) {
    /// Takes all, keeps nothing, and looks at the memory now and then.
    class Sink : public std::streambuf {
    public:
        long most = 0;

    protected:
        std::streamsize xsputn(const char*, std::streamsize n) override {
            if (__count++ % 64 == 0)
                most = std::max(most, heldMemory());
            return n;
        }
        int_type overflow(int_type c) override { return traits_type::not_eof(c); }
        pos_type seekpos(pos_type, std::ios_base::openmode) override { return 0; }
        pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override { return 0; }

    private:
        long __count = 0;
    };
    constexpr int n = 1000;
    const long before = heldMemory();
    TriMesh<float> mesh(3, n * n, n * n, n * n);
    mesh.reserveTriangles(2 * (n - 1) * (n - 1));
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            mesh[i * n + j][0] = 0.1f * float(i);
            mesh[i * n + j][1] = 0.1f * float(j);
            mesh[i * n + j][2] = std::sin(0.01f * float(i * j));
            const auto corner = static_cast<unsigned int>(i * n + j);
            if (i + 1 < n && j + 1 < n) {
                mesh.addTriangle(corner, corner + n, corner + 1);
                mesh.addTriangle(corner + 1, corner + n, corner + n + 1);
            }
        }
    const long size = heldMemory() - before;
    const SurfaceDescription description = describe(mesh, "large");
    EXPECT_EQ(description.certificate.openEdges, 4 * (n - 1));
    EXPECT_EQ(description.certificate.euler, 1);
    Sink sink;
    std::ostream stream(&sink);
    for (const SurfaceFormatInfo& info : surfaceFormats())
        if (info.format != SurfaceFormat::Glb)
            writeSurface(stream, mesh, description, info.format);
    GltfWriter writer(stream, 1);
    writer.add(mesh, description);
    writer.finish();
    EXPECT_GT(size, 50L << 20);
    EXPECT_LT(sink.most - before, size + size / 5);
}

} // namespace vorlen
