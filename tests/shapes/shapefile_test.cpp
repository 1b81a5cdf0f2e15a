#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>
#include <sstream>

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/shapeset.h"
#include "support/failures.h"
#include "support/temporaryfolder.h"
#include "support/testcurves.h"
#include "support/testmeshes.h"

namespace vorlen {

namespace {

template <class T>
std::string textOf(const Shape<T>& shape) {
    std::ostringstream stream;
    shape.write(stream);
    return stream.str();
}

template <class T>
ShapeType readInto(Shape<T>& shape, const std::string& text) {
    std::istringstream stream(text);
    return shape.read(stream);
}

/// Saves, loads through the factory and compares type, name, and the text that the loaded shape writes.
template <class T>
std::unique_ptr<Shape<T>> expectRoundTrip(const Shape<T>& shape, const std::string& extension) {
    const TemporaryFolder folder;
    shape.save(folder.file("shape"), false);
    EXPECT_EQ(folder.numFiles(), 1);
    const std::string file = folder.file("shape." + extension);
    std::unique_ptr<Shape<T>> loaded(Shape<T>::loadFile(file));
    EXPECT_EQ(loaded->getShapeType(), shape.getShapeType());
    EXPECT_EQ(loaded->getName(), "shape");
    EXPECT_EQ(textOf(*loaded), folder.read("shape." + extension));
    return loaded;
}

template <class T>
class ShapeFileOf : public testing::Test {};

using AllTypes = testing::Types<int, float, double, long double>;
TYPED_TEST_SUITE(ShapeFileOf, AllTypes);

} // namespace

TYPED_TEST(ShapeFileOf, everyKindComesBackFromItsFile) {
    using T = TypeParam;
    const Vertices<T> vertices = randomVertices<T>(3, 25, 1000, 6);
    const auto loadedVertices = expectRoundTrip<T>(vertices, "vx");
    EXPECT_EQ(coordinatesOf(*loadedVertices), coordinatesOf(vertices));
    for (const bool open : {false, true}) {
        const auto curve = expectRoundTrip<T>(Curve<T>(vertices, open), "cv");
        EXPECT_EQ(dynamic_cast<Curve<T>&>(*curve).isOpen(), open);
        CurveStack<T> stack;
        stack.setOpen(open);
        for (const int size : {3, 0, 7}) {
            stack.append(Curve<T>(randomVertices<T>(3, size, 100, unsigned(size)), open));
        }
        const auto loadedStack = expectRoundTrip<T>(stack, "cs");
        const auto& curves = dynamic_cast<CurveStack<T>&>(*loadedStack);
        EXPECT_EQ(curves[1].getSize(), 0);
        EXPECT_EQ(curves[2].isOpen(), open);
        EXPECT_EQ(curves[2].getServer(), curves.getServer());
        EXPECT_EQ(curves[2].getIndex(0), 3);
        EXPECT_EQ(curves.getServer()->getSize(), 10);
        const auto mesh = expectRoundTrip<T>(tubeMesh<T>(4, 5, T(20), open), "qm");
        EXPECT_EQ(dynamic_cast<QuadMesh<T>&>(*mesh).getWidth(), 5);
        EXPECT_EQ(dynamic_cast<QuadMesh<T>&>(*mesh)[3].isOpen(), open);
    }
    VertexStack<T> levels;
    levels.append(randomVertices<T>(2, 4, 9, 1));
    levels.append(randomVertices<T>(2, 6, 9, 2));
    expectRoundTrip<T>(levels, "vs");
    TriMesh<T> solid = cubeMesh<T>(T(8));
    if constexpr (!std::is_same_v<T, int>) {
        solid.computeNormals(); // the reader would compute them
    }
    const auto cube = expectRoundTrip<T>(solid, "tm");
    EXPECT_EQ(dynamic_cast<TriMesh<T>&>(*cube).getNumTriangles(), 12u);
    expectRoundTrip<T>(VertexStack<T>(), "vs");
    expectRoundTrip<T>(CurveStack<T>(), "cs");
    expectRoundTrip<T>(Curve<T>(), "cv");
}

TEST(ShapeFile, theTextIsLaidOutAsTold) {
    const Vertices<float> points = verticesOf<float>({{0.1f, -2}, {1234567, 3e-9f}});
    EXPECT_EQ(textOf(points), "# 6\n# 2\n# 2\n0.1 -2\n1.234567e+06 3e-09\n");
    EXPECT_EQ(textOf(Curve<float>(points, true)).substr(0, 4), "# 1\n");
    VertexStack<int> stack;
    stack.append(verticesOf<int>({{1, 2}}));
    stack.append(verticesOf<int>({{3, 4}, {5, 6}}));
    EXPECT_EQ(textOf(stack), "# 7\n# 2\n# 2\n\n\n# 1\n1 2\n\n\n# 2\n3 4\n5 6\n");
    EXPECT_EQ(textOf(VertexStack<int>()), "# 7\n# 0\n# 0\n");
    TriMesh<int> mesh(3, 3, 3, 3);
    for (int i = 0; i < 3; ++i) {
        mesh[i] = vectorOf<int>({i, 0, 7});
    }
    mesh.addTriangle(0, 1, 2);
    EXPECT_EQ(textOf(mesh), "# 8\n# 3\n# 3\n0 0 7 \n1 0 7 \n2 0 7 \n# 1\n0 1 2\n# 0\n");
}

TEST(ShapeFile, coordinatesReadBackAsTheyWere) {
    const Vertices<double> written = verticesOf<double>({{3.14159265358979, 1e-300, 1234567.89}});
    Vertices<double> read;
    readInto(read, textOf(written));
    EXPECT_EQ(read[0], written[0]);
}

TEST(ShapeFile, blanksAndLineEndsDoNotMatterAndWhatFollowsStaysInTheStream) {
    std::istringstream stream("#1 \t# 2\r\n\r\n#2 +1\n2\n3 4e0 # 6 # 1 # 1 9 rest");
    Curve<double> curve;
    EXPECT_EQ(curve.read(stream), OpenCurveType);
    EXPECT_TRUE(curve.isOpen());
    EXPECT_EQ(coordinatesOf(curve), (std::vector<double>{1, 2, 3, 4}));
    Vertices<double> vertices;
    EXPECT_EQ(vertices.read(stream), VerticesType);
    EXPECT_EQ(coordinatesOf(vertices), std::vector<double>{9});
    std::string rest;
    stream >> rest;
    EXPECT_EQ(rest, "rest");
}

// Every shortening of a file up to its last number must fail, and leave the shape as it was.
TEST(ShapeFile, truncatedBodiesAreRefusedAndLeaveTheShape) {
    TriMesh<float> tetrahedron = tetrahedronMesh<float>(2);
    tetrahedron.computeNormals();
    CurveStack<float> stack;
    stack.append(polygonOf<float>(3, 1));
    stack.append(polygonOf<float>(4, 1));
    const QuadMesh<float> mesh = tubeMesh<float>(2, 3, 1.f);
    const Curve<float> curve = polygonOf<float>(3, 1);
    for (const Shape<float>* shape : std::initializer_list<const Shape<float>*>{&tetrahedron, &stack, &mesh, &curve}) {
        const std::string text = textOf(*shape);
        const TemporaryFolder folder;
        const std::string file = folder.file("whole");
        shape->save(file, true);
        const std::string name = folder.file(std::filesystem::directory_iterator(folder.path())->path().filename());
        std::unique_ptr<Shape<float>> own(Shape<float>::loadFile(name));
        for (std::size_t length = 0; text.find_first_of("0123456789", length) != std::string::npos; ++length) {
            // A cut within the last number leaves another number, that is no error.
            if (text.find_first_of(" \n", length) == std::string::npos ||
                text.find_first_of("0123456789", text.find_first_of(" \n", length)) == std::string::npos) {
                break;
            }
            EXPECT_THROW(readInto(*own, text.substr(0, length)), FileError) << text.substr(0, length);
            EXPECT_EQ(textOf(*own), text);
        }
    }
}

TEST(ShapeFile, malformedBodiesAreRefused) {
    Vertices<float> vertices;
    for (const char* text :
         {"# 6\n# 2\n# x\n", "# 6\n2\n# 1\n", "# 6\n# 2\n# -1\n", "# 6\n# -2\n# 1\n1 2\n", "# 6\n# 0\n# 3\n",
          "# 6\n# 2\n# 1\n1 nan\n", "# 6\n# 2\n# 1\n1 inf\n", "# 6\n# 2\n# 1\n1 1e999\n", "# 6\n# 2\n# 1\n1 2x\n",
          "# 6\n# 2\n# 1\n1,2\n", "# 6\n# 2000\n# 0\n", "# 6.5\n# 2\n# 0\n", "# 99999999999\n# 2\n# 0\n",
          "# 6\n# 2\n# 1\n+-1 2\n"}) {
        EXPECT_THROW(readInto(vertices, text), FileFormatError) << text;
    }
    Vertices<int> whole;
    EXPECT_THROW(readInto(whole, "# 6\n# 1\n# 1\n1.5\n"), FileFormatError);
    EXPECT_THROW(readInto(whole, "# 6\n# 1\n# 1\n3000000000\n"), FileFormatError);
    TriMesh<float> mesh;
    const std::string corners = "# 8\n# 3\n# 3\n0 0 0 1 0 0 0 1 0\n";
    readInto(mesh, corners + "# 1\n0 1 2\n# 0\n");
    EXPECT_EQ(mesh.getNormal(0), vectorOf<float>({0, 0, 1}));
    for (const char* rest : {"# 1\n0 1 3\n# 0\n", "# 1\n0 -1 2\n# 0\n", "# 1\n0 1 2\n# 2\n", "# -1\n# 0\n"}) {
        EXPECT_THROW(readInto(mesh, corners + rest), FileFormatError) << rest;
    }
    QuadMesh<float> quads;
    EXPECT_THROW(readInto(quads, "# 4\n# 1\n# 2\n# 1\n5\n# 2\n5 6\n"), FileFormatError);
}

// A count is held against the text that is left before anything is made of its size.
TEST(ShapeFile, countsBeyondTheTextAreRefusedBeforeMemoryIsTaken) {
    Vertices<long double> vertices;
    EXPECT_THROW(readInto(vertices, "# 6\n# 3\n# 2000000000\n1 2 3\n"), FileReadError);
    EXPECT_THROW(readInto(vertices, "# 6\n# 1024\n# 2000000\n1 2 3\n"), FileReadError);
    VertexStack<long double> stack;
    EXPECT_THROW(readInto(stack, "# 7\n# 3\n# 2000000000\n# 0\n"), FileReadError);
    EXPECT_THROW(readInto(stack, "# 7\n# 3\n# 1\n# 2000000000\n1 2 3\n"), FileReadError);
    TriMesh<long double> mesh;
    EXPECT_THROW(readInto(mesh, "# 8\n# 3\n# 1\n1 2 3\n# 2000000000\n0 0 0\n"), FileReadError);
}

TEST(ShapeFile, theFactoryTellsWhatIsWrongWithAFile) {
    const TemporaryFolder folder;
    const char* where = "Shape<T>* Shape<T>::loadFile(const string&)";
    const auto load = [&](const std::string& text) {
        const std::string file = folder.write("odd.cv", text);
        return [file] { std::unique_ptr<Shape<float>>(Shape<float>::loadFile(file)); };
    };
    for (const char* text : {"# 9\n# 2\n# 0\n", "# -1\n# 2\n# 0\n", "# 4294967296\n", "# 99999999999999999999\n"}) {
        expectFailure<FileFormatError>(load(text), where, "Unknown shape type");
    }
    for (const char* text : {"", "6\n", "x# 6\n", "# six\n", "#"}) {
        expectFailure<FileFormatError>(load(text), where, "Invalid shape description format");
    }
    expectFailure<FileReadError>([&] { Shape<float>::loadFile(folder.file("nowhere.cv")); }, where,
                                 "Cannot open file for reading");
    // Nor is a folder, or a pipe that nobody writes into, read.
    const std::string pipe = folder.file("pipe.vx");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& special : {folder.path(), pipe}) {
        expectFailure<FileReadError>([&] { Shape<float>::loadFile(special); }, where, "Not an ordinary file");
        EXPECT_THROW(Vertices<float>{special}, FileReadError);
    }
    try {
        load("# 6\n# 2\n# 1\n1 x\n")();
        FAIL();
    } catch (const FileFormatError& error) {
        EXPECT_EQ(error.getFile(), folder.file("odd.cv"));
    }
}

TEST(ShapeFile, theNameIsTheBaseNameOfTheFileWhateverItsExtension) {
    const TemporaryFolder folder;
    tetrahedronMesh<float>(1).save(folder.file("my.mesh.tm"), false);
    std::filesystem::rename(folder.file("my.mesh.tm"), folder.file("my.mesh.txt"));
    const std::unique_ptr<Shape<float>> shape(Shape<float>::loadFile(folder.file("my.mesh.txt")));
    EXPECT_NE(dynamic_cast<TriMesh<float>*>(shape.get()), nullptr);
    EXPECT_EQ(shape->getName(), "my.mesh");
}

// Constructors from a name read whatever stands there; only the factory asks for the type.
TEST(ShapeFile, constructorsReadFilesOfOtherTypesAsTheirOwn) {
    const TemporaryFolder folder;
    polygonOf<float>(5, 3).save(folder.file("a.cv"), false);
    EXPECT_EQ(Vertices<float>(folder.file("a.cv")).getSize(), 5);
    EXPECT_TRUE(Curve<float>(folder.file("a.cv")).isClosed());
    expectFailure<FileReadError>([&] { Curve<float> curve(folder.file("none.cv")); }, "Shape<T>::load(const string&)",
                                 "Cannot open file for reading");
    EXPECT_THROW(CurveStack<float>(folder.file("a.cv")), FileFormatError);
}

TEST(ShapeFile, savingCompletesTheNameAndOverwritesOnlyWhenTold) {
    const TemporaryFolder folder;
    const QuadMesh<float> mesh = tubeMesh<float>(2, 3, 1.f);
    mesh.save(folder.file("m"), false);
    mesh.save(folder.file("a.txt"), false);
    polygonOf<float>(3, 1).save(folder.file("a.txt"), false);
    polygonOf<float>(3, 1).save(folder.file("b.cv"), false);
    std::filesystem::create_directory(folder.file("folder.qm"));
    mesh.save(folder.file("folder.qm/plain"), false);
    EXPECT_EQ(folder.read("m.qm"), textOf(mesh));
    EXPECT_EQ(folder.read("folder.qm/plain.qm"), textOf(mesh));
    EXPECT_TRUE(std::filesystem::exists(folder.file("a.txt.qm")));
    EXPECT_TRUE(std::filesystem::exists(folder.file("a.txt.cv")));
    EXPECT_TRUE(std::filesystem::exists(folder.file("b.cv")));
    EXPECT_EQ(folder.numFiles(), 5);
    for (const char* name : {"m", "m.qm"}) {
        try {
            mesh.save(folder.file(name), false);
            FAIL();
        } catch (const FileWriteError& error) {
            EXPECT_EQ(error.getWhat(), "File already exists");
            EXPECT_EQ(error.getWhere(), "void Shape::save(const string&,const bool) const");
            EXPECT_EQ(error.getFile(), folder.file("m.qm"));
        }
    }
    tubeMesh<float>(3, 3, 1.f).save(folder.file("m"), true);
    EXPECT_EQ(folder.read("m.qm"), textOf(tubeMesh<float>(3, 3, 1.f)));
}

TEST(ShapeFile, aSaveKeepsModeAndLinkAndWhatCannotBeWrittenIsReported) {
    const TemporaryFolder folder;
    const Curve<float> curve = polygonOf<float>(3, 1);
    folder.write("real.cv", "old");
    ASSERT_EQ(::chmod(folder.file("real.cv").c_str(), 0640), 0);
    std::filesystem::create_symlink("real.cv", folder.file("link.cv"));
    curve.save(folder.file("link.cv"), true);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.cv")));
    EXPECT_EQ(folder.read("real.cv"), textOf(curve));
    struct stat status {};
    ASSERT_EQ(::stat(folder.file("real.cv").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, mode_t(0640));
    EXPECT_EQ(folder.numFiles(), 2);
    try {
        curve.save(folder.file("nowhere/a.cv"), true);
        FAIL();
    } catch (const FileWriteError& error) {
        EXPECT_EQ(error.getWhere(), "void Vertices<T>::write(ostream&) const");
        EXPECT_EQ(error.getFile(), folder.file("nowhere/a.cv"));
    }
    if (std::filesystem::exists("/dev/full")) {
        std::filesystem::create_symlink("/dev/full", folder.file("full.cv"));
        EXPECT_THROW(curve.save(folder.file("full.cv"), true), FileWriteError);
    }
}

TEST(ShapeFile, aFailedStreamIsReportedAndItsExceptionsStayAsTheyWere) {
    std::ostringstream stream;
    stream.exceptions(std::ios::badbit);
    textOf(polygonOf<float>(3, 1));
    polygonOf<float>(3, 1).write(stream);
    EXPECT_EQ(stream.exceptions(), std::ios::badbit);
    std::ostringstream failed;
    failed.setstate(std::ios::failbit);
    EXPECT_THROW(polygonOf<float>(3, 1).write(failed), FileWriteError);
    EXPECT_EQ(failed.exceptions(), std::ios::goodbit);
    EXPECT_THROW(tubeMesh<float>(2, 3, 1.f).write(failed), FileWriteError);
    EXPECT_THROW(cubeMesh<float>(2).write(failed), FileWriteError);
}

TEST(ShapeFile, theDeformationTableHoldsCoordinatesAndDifferences) {
    const TemporaryFolder folder;
    const auto from = verticesOf<float>({{1, 2}, {0.5f, -1}});
    const auto to = verticesOf<float>({{1, 5}, {1.5f, -1}});
    const std::string file = folder.file("table.txt");
    from.saveDeformations(to, file, false);
    EXPECT_EQ(folder.read("table.txt"), "1\t2\t0\t3\t\n0.5\t-1\t1\t0\t\n");
    expectFailure<FileWriteError>([&] { from.saveDeformations(to, file, false); },
                                  "void Shape<T>::saveDeformations(const Shape&,const string&) const",
                                  "File " + file + " already exists");
    from.saveDeformations(Vertices<float>(from), file, true);
    EXPECT_EQ(folder.read("table.txt"), "1\t2\t0\t0\t\n0.5\t-1\t0\t0\t\n");
    expectFailure<SizeError>([&] { from.saveDeformations(Vertices<float>(2, 3, 3, 3), file, true); },
                             "void Shape<T>::saveDeformations(const Shape&,const string&) const",
                             "Space or size mismatch between shapes");
    EXPECT_THROW(from.saveDeformations(to, folder.file("nowhere/t.txt"), true), FileWriteError);
}

} // namespace vorlen
