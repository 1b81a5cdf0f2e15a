#include "shapes/trimesh.h"

#include "numerics/exception.h"
#include "shapes/trimeshinterior.h"
#include "support/temporaryfolder.h"
#include "support/testmeshes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <sstream>

namespace vorlen {

namespace {

using List = std::list<unsigned int>;
const double pi = 3.14159265358979323846;

Vector<double> point(double x, double y, double z) {
    return vectorOf<double>({x, y, z});
}

Vector<unsigned int> numbers(unsigned int a, unsigned int b, unsigned int c) {
    return vectorOf<unsigned int>({a, b, c});
}

/// A pyramid over the square (0, 0) to (2, 2): vertices 0 to 3 around, 4 the tip; and a triangle of its own beside it.
TriMesh<double> pyramid() {
    return meshOf<double>({point(0, 0, 0), point(2, 0, 0), point(2, 2, 0), point(0, 2, 0), point(1, 1, 1),
                           point(5, 0, 0), point(6, 0, 0), point(5, 1, 0)},
                          {numbers(0, 1, 4), numbers(5, 6, 7), numbers(1, 2, 4), numbers(2, 3, 4), numbers(3, 0, 4)});
}

template <class T>
TriMesh<T> reversed(const TriMesh<T>& mesh) {
    TriMesh<T> result = mesh;
    for (unsigned int i = 0; i < result.getNumTriangles(); i++) {
        std::swap(result.getTriangleIndexes(i)[0], result.getTriangleIndexes(i)[2]);
    }
    return result;
}

template <class E, class Function>
void expectError(Function function, const std::string& where, const std::string& what) {
    try {
        function();
        FAIL() << "no error: " << what;
    } catch (const E& error) {
        EXPECT_EQ(error.getWhere(), where);
        EXPECT_EQ(error.getWhat(), what);
    }
}

} // namespace

TEST(TriMesh, measuresTheCube) {
    const TriMesh<double> cube = cubeMesh<double>(3);
    EXPECT_DOUBLE_EQ(cube.area(), 54);
    EXPECT_DOUBLE_EQ(cube.volume(), 27);
    EXPECT_DOUBLE_EQ(cube.equivalentRadius(), std::cbrt(3 * 27 / (4 * pi)));
    EXPECT_EQ(cubeMesh<int>(3).volume(), 27);
    EXPECT_FLOAT_EQ(cubeMesh<float>(0.5f).area(), 1.5f);
}

TEST(TriMesh, measuresTheTetrahedron) {
    const TriMesh<double> mesh = tetrahedronMesh<double>(2);
    EXPECT_NEAR(mesh.area(), 3 * 2 + std::sqrt(3) / 4 * 8, 1e-14);
    EXPECT_NEAR(mesh.volume(), 8.0 / 6, 1e-15);
}

// The inscribed polyhedron falls short of the ball by a part that goes with the square of its edges.
TEST(TriMesh, measuresTheSphereEverBetter) {
    double areaError = 1e9, volumeError = 1e9;
    for (int divisions : {2, 3, 4}) {
        const TriMesh<double> sphere = sphereMesh<double>(2, divisions);
        const double areaLeft = 16 * pi - sphere.area();
        const double volumeLeft = 32 * pi / 3 - sphere.volume();
        EXPECT_GT(areaLeft, 0);
        EXPECT_GT(volumeLeft, 0);
        EXPECT_LT(areaLeft, areaError / 3);
        EXPECT_LT(volumeLeft, volumeError / 3);
        areaError = areaLeft;
        volumeError = volumeLeft;
    }
    EXPECT_NEAR(sphereMesh<double>(2, 5).equivalentRadius(), 2, 0.003);
}

TEST(TriMesh, volumeIsSignedAndDoesNotDependOnThePlace) {
    TriMesh<double> cube = cubeMesh<double>(2);
    cube.translate(point(1000, -500, 77));
    EXPECT_NEAR(cube.volume(), 8, 1e-9);
    const TriMesh<double> inward = reversed(cube);
    EXPECT_NEAR(inward.volume(), -8, 1e-9);
    EXPECT_NEAR(inward.equivalentRadius(), cube.equivalentRadius(), 1e-12);
}

TEST(TriMesh, withoutTrianglesMeasuresNothing) {
    const TriMesh<double> empty(3, 0);
    EXPECT_EQ(empty.area(), 0);
    EXPECT_EQ(empty.volume(), 0);
    EXPECT_EQ(empty.equivalentRadius(), 0);
    EXPECT_FALSE(empty.contains(point(0, 0, 0)));
    EXPECT_THROW(TriMesh<double>(2, 4).equivalentRadius(), SizeError);
}

TEST(TriMesh, givesItsTrianglesOnItsServer) {
    TriMesh<double> mesh = pyramid();
    Triangle<double> triangle = mesh.triangle(2);
    EXPECT_TRUE(triangle.isClosed());
    EXPECT_EQ(&triangle[2], &mesh[4]);
    EXPECT_EQ(mesh.getTriangleIndexes(2), numbers(1, 2, 4));
    expectError<ValueError>([&] { mesh.triangle(5); },
                            "Vector< unsigned int > TriMesh<T>::triangle(const unsigned int i)",
                            "Wrong value for searching a Triangle");
}

TEST(TriMesh, setTrianglesBuildsStarsAnewAndRefusesStrangeNumbers) {
    TriMesh<double> mesh = pyramid();
    EXPECT_EQ(mesh.star(4), (List{0, 2, 3, 4}));
    EXPECT_EQ(mesh.star(5), List{1});
    EXPECT_THROW(mesh.setTriangles({numbers(0, 1, 8)}), ValueError);
    EXPECT_THROW(mesh.setTriangles({vectorOf<unsigned int>({0, 1})}), SizeError);
    EXPECT_EQ(mesh.getNumTriangles(), 5u);
    mesh.setTriangles({numbers(0, 1, 2)});
    EXPECT_EQ(mesh.star(0), List{0});
    EXPECT_EQ(mesh.star(4), List{});
}

TEST(TriMesh, neighboursAreSortedAndEachOnce) {
    const TriMesh<double> mesh = pyramid();
    EXPECT_EQ(mesh.neighbours(4), (List{0, 1, 2, 3}));
    EXPECT_EQ(mesh.neighbours(1), (List{0, 2, 4}));
    EXPECT_EQ(mesh.neighbours(6), (List{5, 7}));
}

TEST(TriMesh, addedTrianglesHaveNoStarsUntilTheyAreBuilt) {
    TriMesh<double> mesh(3, 3);
    mesh.addTriangle(0, 1, 2);
    EXPECT_FALSE(mesh.hasStars());
    EXPECT_THROW(mesh.star(0), UsageError);
    EXPECT_THROW(mesh.neighbours(0), UsageError);
    EXPECT_THROW(mesh.smoothNormals(1), UsageError);
    mesh.buildStars();
    EXPECT_EQ(mesh.neighbours(0), (List{1, 2}));
}

TEST(TriMesh, removeTriangleClosesTheNumbersUp) {
    TriMesh<double> mesh = pyramid();
    mesh.removeTriangle(1);
    EXPECT_EQ(mesh.getNumTriangles(), 4u);
    EXPECT_EQ(mesh.getTriangleIndexes(1), numbers(1, 2, 4));
    EXPECT_EQ(mesh.star(4), (List{0, 1, 2, 3}));
    EXPECT_EQ(mesh.star(5), List{});
    expectError<ValueError>([&] { mesh.removeTriangle(4); },
                            "Vector< unsigned int > TriMesh<T>::removeTriangle(unsigned int i)",
                            "Wrong value for removing a Triangle");
}

TEST(TriMesh, removeOfAVertexTakesItsTrianglesAndKeepsTheNumbersOfTheOthers) {
    TriMesh<double> mesh = pyramid();
    mesh.computeNormals();
    // Vertex 7 is used by triangle 1 alone; no other triangle names a later vertex.
    mesh.remove(7u);
    EXPECT_EQ(mesh.getNumVertices(), 7);
    EXPECT_EQ(mesh.getNumTriangles(), 4u);
    EXPECT_EQ(mesh.star(4), (List{0, 1, 2, 3}));
    EXPECT_EQ(mesh.getTriangleIndexes(3), numbers(3, 0, 4));
    EXPECT_NEAR(mesh.getNormal(4)[2], 1, 1e-12);
    // The tip goes with all four triangles.
    mesh.remove(4u);
    EXPECT_EQ(mesh.getNumTriangles(), 0u);
    EXPECT_EQ(mesh.getNumVertices(), 6);
    EXPECT_THROW(mesh.remove(6u), RangeError);
}

TEST(TriMesh, removeOfAVertexOfThreeTrianglesLeavesTheFourth) {
    TriMesh<double> mesh = tetrahedronMesh<double>(1);
    mesh.remove(3u);
    ASSERT_EQ(mesh.getNumTriangles(), 1u);
    EXPECT_EQ(mesh.getTriangleIndexes(0), numbers(0, 2, 1));
    for (unsigned int i = 0; i < 3; i++) {
        EXPECT_EQ(mesh.star(i), List{0});
    }
}

TEST(TriMesh, saysWhenARemovalLeftATriangleWithoutAVertex) {
    TriMesh<double> mesh = pyramid();
    mesh.remove(0u);
    EXPECT_EQ(mesh.getTriangleIndexes(0), numbers(5, 6, 7));
    EXPECT_THROW(mesh.area(), RangeError);
    EXPECT_THROW(mesh.triangle(0), RangeError);
    EXPECT_NO_THROW(mesh.triangle(1));
}

TEST(TriMesh, appendedVerticesGetEmptyStars) {
    TriMesh<double> mesh = tetrahedronMesh<double>(1);
    const TriMesh<double> other = cubeMesh<double>(1);
    mesh.append(other);
    EXPECT_EQ(mesh.getNumVertices(), 12);
    EXPECT_EQ(mesh.star(11), List{});
    EXPECT_EQ(mesh.star(0), (List{0, 1, 2}));
}

TEST(TriMesh, cloneCarriesTheVerticesAndCopyTheTrianglesToo) {
    const TriMesh<double> cube = cubeMesh<double>(1);
    const std::unique_ptr<Shape<double>> clone(cube.clone());
    EXPECT_EQ(clone->getNumVertices(), 8);
    EXPECT_EQ(clone->getShapeType(), VerticesType);
    TriMesh<double> copy;
    copy = cube;
    EXPECT_EQ(copy.getNumTriangles(), 12u);
    EXPECT_EQ(copy.getServer(), cube.getServer());
}

TEST(TriMesh, normalsOfAFlatSquareAreAllThatOfItsTriangles) {
    TriMesh<double> square = meshOf<double>({point(0, 0, 3), point(1, 0, 3), point(1, 1, 3), point(0, 1, 3)},
                                            {numbers(0, 1, 2), numbers(0, 2, 3)});
    square.computeNormals();
    for (int i = 0; i < 4; i++) {
        EXPECT_EQ(square.getNormal(i), point(0, 0, 1));
    }
    square.smoothNormals(3);
    for (int i = 0; i < 4; i++) {
        EXPECT_EQ(square.getNormal(i), point(0, 0, 1));
    }
}

// Corner 0 of the cube lies in one or two triangles of each of its faces; each triangle counts once, by hand.
TEST(TriMesh, normalsWeighEachTriangleAlike) {
    TriMesh<double> cube = cubeMesh<double>(10);
    cube.computeNormals();
    Vector<double> expected = point(-1, -1, -1);
    expected.normalize();
    EXPECT_NEAR(cube.getNormal(0).distance(expected), 0, 1e-12);
    // Corner 1: two triangles below (0,2,1 and 1,2,3), two in front (0,1,4 and 1,5,4), one at the right (1,3,5).
    expected = point(1, -2, -2);
    expected.normalize();
    EXPECT_NEAR(cube.getNormal(1).distance(expected), 0, 1e-12);
}

TEST(TriMesh, smoothingAddsTheNeighboursOfThePassBefore) {
    TriMesh<double> mesh = tetrahedronMesh<double>(1);
    mesh.computeNormals();
    std::vector<Vector<double>> normals;
    Vector<double> sum = point(0, 0, 0);
    for (int i = 0; i < 4; i++) {
        normals.push_back(mesh.getNormal(i));
        sum += normals.back();
    }
    mesh.smoothNormals(0);
    EXPECT_EQ(mesh.getNormal(2), normals[2]);
    // All four vertices are neighbours of one another, so that one pass gives all of them the same normal.
    mesh.smoothNormals(1);
    sum.normalize();
    for (int i = 0; i < 4; i++) {
        EXPECT_NEAR(mesh.getNormal(i).distance(sum), 0, 1e-12);
    }
}

TEST(TriMesh, smoothingKeepsTheNormalOfAVertexWithoutNeighboursAndDegenerateTrianglesAreHarmless) {
    TriMesh<double> mesh =
        meshOf<double>({point(0, 0, 0), point(1, 0, 0), point(2, 0, 0), point(9, 9, 9)}, {numbers(0, 1, 2)});
    mesh.smoothNormals(2);
    EXPECT_EQ(mesh.getNormal(0), point(0, 0, 0));
    EXPECT_EQ(mesh.getNormal(3), point(0, 0, 0));
}

TEST(TriMesh, closestPointIsThatOfTheNearestTriangle) {
    const TriMesh<double> cube = cubeMesh<double>(2);
    Vector<double> out;
    EXPECT_DOUBLE_EQ(cube.closestPoint(point(1, 1.2, 5), out), 3);
    EXPECT_NEAR(out.distance(point(1, 1.2, 2)), 0, 1e-15);
    EXPECT_DOUBLE_EQ(cube.closestPoint(point(1, 1, 0.25), out), 0.25);
    EXPECT_NEAR(cube.closestPoint(point(4, 4, 4), out), std::sqrt(12.0), 1e-14);
    EXPECT_EQ(out, point(2, 2, 2));
    EXPECT_THROW(TriMesh<double>(3, 0).closestPoint(out, out), SizeError);
}

// A ball in nm, µm, mm and m: the same points are inside.
TEST(TriMesh, containsTheSamePointsInAnyUnit) {
    for (const float unit : {1e3f, 1.0f, 1e-3f, 1e-6f}) {
        const TriMesh<float> ball = sphereMesh<float>(10 * unit, 3);
        const TriMeshInterior<float> interior(ball);
        int wrong = 0;
        for (int k = 0; k < 300; ++k) {
            // Clear of the surface, whose facets lie up to a hundredth inside of the ball.
            const float radius = (k % 2 == 0 ? 9.8f : 10.01f) * unit, height = 1 - 2 * (float(k) + 0.5f) / 300;
            const float ring = radius * std::sqrt(1 - height * height), angle = 2.4f * float(k);
            const auto p = vectorOf<float>({ring * std::cos(angle), ring * std::sin(angle), radius * height});
            wrong += ball.contains(p) != (k % 2 == 0);
            wrong += interior.contains(p) != (k % 2 == 0);
        }
        EXPECT_EQ(wrong, 0) << "unit " << unit;
        EXPECT_TRUE(ball.contains(ball[5]) && interior.contains(ball[5]));
    }
}

TEST(TriMesh, containsTheInsideAndTheSurfaceOfTheCube) {
    const TriMesh<double> cube = cubeMesh<double>(4);
    for (const auto& contains :
         {std::function<bool(const Vector<double>&)>([&](const Vector<double>& p) { return cube.contains(p); }),
          std::function<bool(const Vector<double>&)>(
              [&](const Vector<double>& p) { return TriMeshInterior<double>(cube).contains(p); })}) {
        EXPECT_TRUE(contains(point(1, 2, 3)));
        EXPECT_TRUE(contains(point(2, 2, 2)));
        EXPECT_TRUE(contains(point(4, 2, 1)));
        EXPECT_TRUE(contains(point(0, 0, 0)));
        EXPECT_TRUE(contains(point(2, 2, 4)));
        EXPECT_FALSE(contains(point(4.01, 2, 2)));
        EXPECT_FALSE(contains(point(-1, -1, -1)));
    }
}

// From (1, 1, 1) the first ray goes towards (-1, -1, -1), straight through the corner at the origin.
TEST(TriMesh, aRayThroughACornerIsReplaced) {
    const TriMesh<double> cube = cubeMesh<double>(2);
    EXPECT_TRUE(cube.contains(point(1, 1, 1)));
    TriMesh<double> tetrahedron = tetrahedronMesh<double>(3);
    EXPECT_TRUE(tetrahedron.contains(point(0.5, 0.5, 0.5)));
    EXPECT_FALSE(tetrahedron.contains(point(2, 2, 2)));
}

// The ball cut by its polyhedron: points well inside or outside are told by their radius alone.
template <class T>
void checkSphere() {
    const TriMesh<T> sphere = sphereMesh<T>(5, 3);
    const TriMeshInterior<T> interior(sphere);
    std::mt19937 random(11);
    std::uniform_real_distribution<double> coordinate(-6, 6);
    int numInside = 0;
    for (int i = 0; i < 2000; i++) {
        Vector<T> p = vectorOf<T>({T(coordinate(random)), T(coordinate(random)), T(coordinate(random))});
        const bool inside = sphere.contains(p);
        EXPECT_EQ(interior.contains(p), inside);
        const T radius = p.norm();
        if (radius > 5 || radius < T(4.8)) {
            EXPECT_EQ(inside, radius < 5) << p[0] << ' ' << p[1] << ' ' << p[2];
        }
        numInside += inside;
    }
    EXPECT_GT(numInside, 200);
}

TEST(TriMesh, containsTellsTheBallInAllPrecisions) {
    checkSphere<float>();
    checkSphere<double>();
    checkSphere<long double>();
}

// On a lattice through vertices, sides and the symmetry planes of the mesh, where rays meet sides all the time.
TEST(TriMesh, interiorAgreesWithContainsOnALattice) {
    for (const TriMesh<double>& mesh : {cubeMesh<double>(4), tetrahedronMesh<double>(4), sphereMesh<double>(4, 1)}) {
        const TriMeshInterior<double> interior(mesh);
        for (int x = -4; x <= 5; x++) {
            for (int y = -4; y <= 5; y++) {
                for (int z = -4; z <= 5; z++) {
                    EXPECT_EQ(interior.contains(point(x, y, z)), mesh.contains(point(x, y, z)))
                        << x << ' ' << y << ' ' << z;
                }
            }
        }
    }
}

// All points of a lattice on the sides and corners of the cube, where two or three triangles at right angles meet.
TEST(TriMesh, containsItsSidesAndCornersAndNothingBeyondThem) {
    const TriMesh<double> cube = cubeMesh<double>(4);
    const TriMeshInterior<double> interior(cube);
    for (int x = -1; x <= 5; x++) {
        for (int y = -1; y <= 5; y++) {
            for (int z = -1; z <= 5; z++) {
                const bool inside = std::min({x, y, z}) >= 0 && std::max({x, y, z}) <= 4;
                EXPECT_EQ(cube.contains(point(x, y, z)), inside) << x << ' ' << y << ' ' << z;
                EXPECT_EQ(interior.contains(point(x, y, z)), inside) << x << ' ' << y << ' ' << z;
            }
        }
    }
}

TEST(TriMesh, containsCountsTheSurfacesOfAMeshWithAHollow) {
    TriMesh<double> outer = cubeMesh<double>(6);
    TriMesh<double> inner = cubeMesh<double>(2);
    inner.translate(point(2, 2, 2));
    std::vector<Vector<unsigned int>> triangles;
    for (unsigned int i = 0; i < 12; i++) {
        triangles.push_back(outer.getTriangleIndexes(i));
        const Vector<unsigned int>& t = inner.getTriangleIndexes(i);
        triangles.push_back(numbers(t[2] + 8, t[1] + 8, t[0] + 8));
    }
    outer.append(inner);
    outer.setTriangles(triangles);
    EXPECT_NEAR(outer.volume(), 216 - 8, 1e-9);
    EXPECT_TRUE(outer.contains(point(1, 2.5, 1.2)));
    EXPECT_FALSE(outer.contains(point(3, 3.1, 2.9)));
}

TEST(TriMesh, ofIntRefusesWhatNeedsRoots) {
    const TriMesh<int> cube = cubeMesh<int>(2);
    Vector<int> p = vectorOf<int>({1, 1, 1});
    expectError<UsageError>([&] { cube.closestPoint(p, p); }, "closestPoint(const Vectori&,Vectori&) const",
                            "Method not available for type 'int'");
    expectError<UsageError>([&] { cube.contains(p); }, "bool TriMesh<int>::contains(const Vector<int>&) const",
                            "Method not available for type 'int'");
    EXPECT_THROW(cube.area(), TypeError);
}

TEST(TriMesh, isWrittenLineByLine) {
    TriMesh<double> mesh = meshOf<double>({point(0, 0, 0), point(1.5, 0, 0), point(0, 2, 0)}, {numbers(0, 1, 2)});
    std::ostringstream stream;
    mesh.write(stream);
    EXPECT_EQ(stream.str(), "# 8\n# 3\n# 3\n0 0 0 \n1.5 0 0 \n0 2 0 \n# 1\n0 1 2\n# 0\n");
    mesh.computeNormals();
    stream.str("");
    mesh.write(stream);
    EXPECT_EQ(stream.str(), "# 8\n# 3\n# 3\n0 0 0 \n1.5 0 0 \n0 2 0 \n# 1\n0 1 2\n# 1\n0 0 1 \n0 0 1 \n0 0 1 \n");
}

TEST(TriMesh, fileGivesBackTrianglesNormalsAndStars) {
    const TemporaryFolder folder;
    const TriMesh<double> cube = cubeMesh<double>(3);
    cube.save(folder.file("a.b"), false);
    const std::unique_ptr<Shape<double>> shape(Shape<double>::loadFile(folder.file("a.b.tm")));
    const TriMesh<double>* mesh = dynamic_cast<const TriMesh<double>*>(shape.get());
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(mesh->getNumTriangles(), 12u);
    EXPECT_DOUBLE_EQ(mesh->volume(), 27);
    EXPECT_EQ(mesh->star(7), cube.star(7));
    EXPECT_TRUE(mesh->hasNormals());
    EXPECT_NEAR(mesh->getNormal(0)[0], -std::sqrt(1.0 / 3), 1e-12);
    EXPECT_EQ(TriMesh<int>(folder.file("a.b.tm")).volume(), 27);
}

TEST(TriMesh, normalsOfAFileAreNormalized) {
    const TemporaryFolder folder;
    const TriMesh<float> mesh(
        folder.write("m.tm", "# 8 # 3 # 3  0 0 0  1 0 0  0 1 0  # 1  0 1 2  # 1  0 3 4  1 0 0  0 0 0"));
    EXPECT_FLOAT_EQ(mesh.getNormal(0)[1], 0.6f);
    EXPECT_FLOAT_EQ(mesh.getNormal(0)[2], 0.8f);
    EXPECT_EQ(mesh.getNormal(2)[0], 0);
}

TEST(TriMesh, badFilesAreRefusedByName) {
    const TemporaryFolder folder;
    const std::string head = "# 8\n# 3\n# 3\n0 0 0\n1 0 0\n0 1 0\n";
    for (const std::string& text :
         {std::string("# 8\n# 3\n# 3\n0 0 0\n1 0"), head, head + "# 1\n0 1 3\n# 0\n", head + "# 1\n0 1 -1\n# 0\n",
          head + "# 2\n0 1 2\n# 0\n", head + "# 1\n0 1 2\n", head + "# 1\n0 1 2\n# 2\n", head + "# 1\n0 1 2\n# 1\n0 0",
          head + "# 2000000000\n0 1 2\n# 0\n", head + "# -1\n# 0\n", std::string("# 8\n# 3\n# 2000000000\n0 0 0\n"),
          head + "# 1\n0 x 2\n# 0\n"}) {
        const std::string file = folder.write("bad.tm", text);
        try {
            const TriMesh<float> mesh(file);
            ADD_FAILURE() << text;
        } catch (const FileError& error) {
            EXPECT_EQ(error.getFile(), file) << text;
        }
    }
}

TEST(TriMesh, failedReadLeavesTheMeshAsItWas) {
    TriMesh<double> cube = cubeMesh<double>(1);
    std::istringstream stream("# 8\n# 3\n# 1\n0 0 0\n# 1\n0 0 7\n# 0\n");
    EXPECT_THROW(cube.read(stream), FileFormatError);
    EXPECT_DOUBLE_EQ(cube.volume(), 1);
}

TEST(TriMesh, isExportedAsAsciiStl) {
    TriMesh<double> mesh(3, 3);
    mesh[0] = point(0, 0, 0);
    mesh[1] = point(10, 0, 0);
    mesh[2] = point(0, 10, 0);
    mesh.addTriangle(0, 1, 2);
    mesh.setName("Cortex");
    std::ostringstream stream;
    mesh.export2AsciiSTL(stream);
    EXPECT_EQ(stream.str(), "solid Cortex\n"
                            "  facet normal 0 0 1\n"
                            "    outer loop\n"
                            "      vertex 0 0 0\n"
                            "      vertex 10 0 0\n"
                            "      vertex 0 10 0\n"
                            "    endloop\n"
                            "  endfacet\n"
                            "endsolid Cortex\n");
    std::ostringstream failed;
    failed.setstate(std::ios::badbit);
    EXPECT_THROW(mesh.export2AsciiSTL(failed), FileWriteError);
}

template <class T>
class TriMeshOf : public ::testing::Test {};
using FloatingTypes = ::testing::Types<float, double, long double>;
TYPED_TEST_SUITE(TriMeshOf, FloatingTypes);

// Rays that run exactly through an edge are in doubt, and another one is taken.
TYPED_TEST(TriMeshOf, raysThroughEdgesDoNotMislead) {
    using T = TypeParam;
    TriMesh<T> box = cubeMesh<T>(T(1));
    box.scale(vectorOf<T>({2, 2, 4}));
    box.translate(vectorOf<T>({2, 2, 0}));
    const TriMeshInterior<T> interior(box);
    for (int i = 0; i <= 24; ++i)
        for (int j = 0; j <= 24; ++j)
            for (int k = 0; k <= 24; ++k) {
                const Vector<T> p = vectorOf<T>({T(1.5) + T(i) / 8, T(1.5) + T(j) / 8, T(-1) + T(k) / 4});
                const bool inside = p[0] >= 2 && p[0] <= 4 && p[1] >= 2 && p[1] <= 4 && p[2] >= 0 && p[2] <= 4;
                ASSERT_EQ(box.contains(p), inside) << i << " " << j << " " << k;
                ASSERT_EQ(interior.contains(p), inside) << i << " " << j << " " << k;
            }
}

} // namespace vorlen
