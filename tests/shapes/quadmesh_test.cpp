#include "shapes/quadmesh.h"

#include "numerics/exception.h"
#include "shapes/shapeinterpolation.h"
#include "shapes/shapeset.h"
#include "support/temporaryfolder.h"
#include "support/testmeshes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vorlen {

namespace {

Vector<double> point(double x, double y, double z) {
    return vectorOf<double>({x, y, z});
}

/// 256 colours: index, 255 - index, 7. Has what a colour map has.
class TestColors {
public:
    explicit TestColors(int size = 256) : __red(size), __green(size), __blue(size, 7) {
        for (int i = 0; i < size; i++) {
            __red[i] = static_cast<unsigned char>(i);
            __green[i] = static_cast<unsigned char>(255 - i);
        }
    }
    int getSize() const { return int(__red.size()); }
    const unsigned char* getRed() const { return __red.data(); }
    const unsigned char* getGreen() const { return __green.data(); }
    const unsigned char* getBlue() const { return __blue.data(); }

private:
    std::vector<unsigned char> __red, __green, __blue;
};

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

TEST(QuadMesh, hasAHeightAWidthAndATypeByClosure) {
    EXPECT_EQ(QuadMesh<float>().getWidth(), 0);
    const QuadMesh<float> mesh = tubeMesh<float>(4, 7, 1);
    EXPECT_EQ(mesh.getHeight(), 4);
    EXPECT_EQ(mesh.getWidth(), 7);
    EXPECT_EQ(mesh.getShapeType(), ClosedQuadMeshType);
    EXPECT_EQ(tubeMesh<float>(4, 7, 1, true).getShapeType(), OpenQuadMeshType);
}

TEST(QuadMesh, isMadeFromRegularStacksOnly) {
    CurveStack<double> stack = tubeMesh<double>(3, 6, 1);
    EXPECT_EQ(QuadMesh<double>(stack).getWidth(), 6);
    stack.level(1).remove(2);
    expectError<SizeError>([&] { QuadMesh<double> mesh(stack); }, "QuadMesh<T>::QuadMesh(const Curvestack<T>&)",
                           "Curve size is not constant along the curve stack");
}

// At the rim the cap is the boundary, at its end a hundredth of it; ring k between at 1 - sqrt((9 - k) / 9) of the way.
TEST(QuadMesh, capsShrinkTheBoundaryToItsCentre) {
    QuadMesh<double> mesh = tubeMesh<double>(3, 8, 2);
    mesh.translate(point(10, 20, 30));
    mesh.buildCaps();
    ASSERT_TRUE(mesh.hasBeginCap() && mesh.hasEndCap());
    for (int end = 0; end < 2; end++) {
        const QuadMesh<double>& cap = end ? mesh.getEndCap() : mesh.getBeginCap();
        const double z = end ? 32 : 30;
        ASSERT_EQ(cap.getHeight(), 10);
        ASSERT_EQ(cap.getWidth(), 8);
        EXPECT_TRUE(cap.isClosed());
        EXPECT_NE(cap.getServer(), mesh.getServer());
        for (int k = 0; k < 10; k++) {
            const double step = 1 - std::sqrt((9 - k) / 9.0);
            const double radius = 2 * (1 - step) + 0.02 * step;
            for (int c = 0; c < 8; c++) {
                EXPECT_NEAR(cap.level(k)[c].distance(point(10, 20, z)), radius, 1e-12);
                EXPECT_NEAR(cap.level(k)[c][2], z, 1e-12);
            }
        }
    }
}

TEST(QuadMesh, openMeshGetsNoCapsAndAnEmptyOneAnError) {
    QuadMesh<double> open = tubeMesh<double>(3, 8, 2, true);
    open.buildCaps();
    EXPECT_FALSE(open.hasBeginCap() || open.hasEndCap());
    QuadMesh<double> empty;
    expectError<SizeError>([&] { empty.buildBeginCap(); }, "void QuadMesh<T>::buildBeginCap()",
                           "This mesh contains no contour");
    expectError<SizeError>([&] { empty.buildEndCap(); }, "void QuadMesh<T>::buildEndCap()",
                           "This mesh contains no contour");
    QuadMesh<int> integers = tubeMesh<int>(2, 4, 5);
    expectError<UsageError>([&] { integers.buildBeginCap(); },
                            "void QuadMesh<int>::buildCap(const Curve<int>&, QuadMesh&)",
                            "Method undefined for type 'int'");
}

TEST(QuadMesh, capsStandInTheExtensionsAsLongAsTheyExist) {
    QuadMesh<double> mesh = tubeMesh<double>(3, 8, 2);
    EXPECT_FALSE(mesh.hasExtensions());
    mesh.buildCaps();
    mesh.buildCaps();
    ASSERT_EQ(mesh.getExtensions().getSize(), 2);
    EXPECT_EQ(mesh.getExtensions()[0], &mesh.getBeginCap());
    mesh /= 2;
    EXPECT_NEAR(mesh.getBeginCap().level(0)[0][0], 1, 1e-12);
    mesh.destroyBeginCap();
    ASSERT_EQ(mesh.getExtensions().getSize(), 1);
    EXPECT_EQ(mesh.getExtensions()[0], &mesh.getEndCap());
    mesh.destroyCaps();
    EXPECT_FALSE(mesh.hasExtensions());
}

TEST(QuadMesh, copiesHaveCapsOfTheirOwn) {
    QuadMesh<double> mesh = tubeMesh<double>(3, 8, 2);
    mesh.buildCaps();
    mesh.setVertexColors(new QuadMesh<int>(tubeMesh<int>(3, 8, 200)));
    QuadMesh<double> copy(mesh), assigned;
    assigned = mesh;
    EXPECT_FALSE(copy.hasVertexColors());
    EXPECT_TRUE(assigned.hasVertexColors());
    for (QuadMesh<double>* other : {&copy, &assigned}) {
        ASSERT_TRUE(other->hasBeginCap() && other->hasEndCap());
        EXPECT_EQ(other->getExtensions().getSize(), 2);
        other->getBeginCap().translate(point(0, 0, 50));
        EXPECT_NEAR(mesh.getBeginCap().level(3)[0][2], 0, 1e-12);
    }
    assigned = QuadMesh<double>(tubeMesh<double>(2, 4, 1));
    EXPECT_FALSE(assigned.hasBeginCap() || assigned.hasVertexColors() || assigned.hasExtensions());
    QuadMesh<double>& self = mesh;
    mesh = self;
    EXPECT_TRUE(mesh.hasBeginCap() && mesh.hasVertexColors());
}

TEST(QuadMesh, assignmentAsAShapeTakesTheLevels) {
    QuadMesh<double> mesh = tubeMesh<double>(3, 8, 2);
    mesh.buildCaps();
    const QuadMesh<double> other = tubeMesh<double>(5, 4, 1);
    static_cast<Shape<double>&>(mesh) = other;
    EXPECT_EQ(mesh.getHeight(), 5);
    EXPECT_EQ(mesh.getWidth(), 4);
    EXPECT_FALSE(mesh.hasBeginCap() || mesh.hasEndCap());
}

TEST(QuadMesh, extendsToItsCaps) {
    QuadMesh<double> mesh = tubeMesh<double>(4, 8, 2);
    mesh.buildCaps();
    mesh.extendToCaps();
    ASSERT_EQ(mesh.getHeight(), 22);
    EXPECT_FALSE(mesh.hasBeginCap() || mesh.hasEndCap() || mesh.hasExtensions());
    EXPECT_NEAR(mesh.level(0)[0][0], 0.02, 1e-12);
    EXPECT_NEAR(mesh.level(21)[0][0], 0.02, 1e-12);
    EXPECT_NEAR(mesh.level(9)[0][0], 2, 1e-12);
    for (int r = 1; r <= 9; r++) {
        EXPECT_GT(mesh.level(r)[0][0], mesh.level(r - 1)[0][0]);
        EXPECT_LT(mesh.level(12 + r)[0][0], mesh.level(11 + r)[0][0]);
    }
    EXPECT_NEAR(mesh.level(21)[0][2], 3, 1e-12);
}

TEST(QuadMesh, takesCurvesOfItsWidthOnlyAndLosesTheCapThere) {
    QuadMesh<double> mesh = tubeMesh<double>(3, 8, 2);
    const QuadMesh<double> more = tubeMesh<double>(1, 8, 9), other = tubeMesh<double>(1, 7, 2);
    mesh.buildCaps();
    expectError<SizeError>([&] { mesh.append(other.level(0)); }, "void QuadMesh<T>::append(const Curve<T>&)",
                           "Incompatible curve size");
    expectError<SizeError>([&] { mesh.prepend(other.level(0)); }, "void QuadMesh<T>::prepend(const Curve<T>&)",
                           "Incompatible curve size");
    expectError<SizeError>([&] { mesh.insert(1, other.level(0)); },
                           "void QuadMesh<T>::insert(const unsigned int,const Curve<T>&)", "Incompatible curve size");
    ASSERT_TRUE(mesh.hasBeginCap() && mesh.hasEndCap());
    mesh.insert(1, more.level(0));
    EXPECT_TRUE(mesh.hasBeginCap() && mesh.hasEndCap());
    EXPECT_NEAR(mesh.level(1)[0][0], 9, 1e-12);
    mesh.append(more.level(0));
    EXPECT_TRUE(mesh.hasBeginCap());
    EXPECT_FALSE(mesh.hasEndCap());
    mesh.buildEndCap();
    mesh.prepend(more.level(0));
    EXPECT_FALSE(mesh.hasBeginCap());
    EXPECT_TRUE(mesh.hasEndCap());
    EXPECT_EQ(mesh.getHeight(), 6);
    QuadMesh<double> empty;
    empty.append(other.level(0));
    EXPECT_EQ(empty.getWidth(), 7);
}

TEST(QuadMesh, findMatchUndoesARotation) {
    QuadMesh<double> mesh = tubeMesh<double>(5, 12, 2);
    EXPECT_EQ(mesh.findMatch(mesh), 0u);
    QuadMesh<double> turned(mesh);
    for (int r = 0; r < 5; r++) {
        turned.level(r).setOrigin(3);
    }
    EXPECT_EQ(turned.findMatch(mesh), 9u);
    EXPECT_EQ(mesh.findMatch(turned), 3u);
    turned.buildCaps();
    turned.match(mesh);
    for (int r = 0; r < 5; r++) {
        for (int c = 0; c < 12; c++) {
            EXPECT_EQ(&turned.level(r)[c], &mesh.level(r)[c]);
        }
    }
    EXPECT_NEAR(turned.getEndCap().level(0)[1].distance(mesh.level(4)[1]), 0, 1e-12);
}

TEST(QuadMesh, findMatchTakesTheSmallestOfEqualShifts) {
    // The same four points twice round: shifts 1 and 5 are as good as each other.
    QuadMesh<double> mesh = tubeMesh<double>(2, 8, 2);
    for (int r = 0; r < 2; r++) {
        for (int c = 0; c < 8; c++) {
            mesh.level(r)[c] = point(c % 4 == 1, c % 4 == 2, c % 4 == 3);
        }
    }
    QuadMesh<double> turned(mesh);
    turned.level(0).setOrigin(3);
    turned.level(1).setOrigin(3);
    EXPECT_EQ(turned.findMatch(mesh), 1u);
}

TEST(QuadMesh, findMatchRefusesOtherDimensionsAndOpenMeshes) {
    const QuadMesh<double> mesh = tubeMesh<double>(3, 8, 2);
    expectError<SizeError>([&] { mesh.findMatch(tubeMesh<double>(3, 9, 2)); },
                           "unsigned int QuadMesh::findMatch(const QuadMesh&) const", "Incompatible mesh dimensions");
    expectError<TypeError>([&] { mesh.findMatch(tubeMesh<double>(3, 8, 2, true)); },
                           "unsigned int QuadMesh<T>::findMatch(const QuadMesh&) const", "Cannot match open meshes");
}

TEST(QuadMesh, becomesTwoTrianglesForEachQuadrilateral) {
    const QuadMesh<double> tube = tubeMesh<double>(4, 50, 2);
    const TriMesh<double> mesh = tube.toTriMesh(true);
    EXPECT_EQ(mesh.getNumTriangles(), 2u * 50 * 3);
    EXPECT_EQ(mesh.getNumVertices(), 200);
    EXPECT_FALSE(mesh.hasNormals() || mesh.hasStars());
    for (int r = 0; r < 4; r++) {
        for (int c = 0; c < 50; c++) {
            EXPECT_EQ(mesh[r * 50 + c], tube.level(r)[c]);
        }
    }
    // The side of the prism: its edges times its height.
    EXPECT_NEAR(mesh.area(), 50 * 2 * 2 * std::sin(3.14159265358979323846 / 50) * 3, 1e-9);
    EXPECT_EQ(tubeMesh<double>(4, 50, 2, true).toTriMesh(true).getNumTriangles(), 2u * 49 * 3);
    EXPECT_EQ(QuadMesh<double>().toTriMesh(false).getNumTriangles(), 0u);
}

TEST(QuadMesh, trianglesOfAClosedBandAreThoseToldAndFaceOutward) {
    const TriMesh<double> mesh = tubeMesh<double>(2, 3, 1).toTriMesh(false);
    const unsigned int expected[6][3] = {{0, 1, 3}, {3, 1, 4}, {1, 2, 4}, {4, 2, 5}, {2, 0, 5}, {5, 0, 3}};
    ASSERT_EQ(mesh.getNumTriangles(), 6u);
    for (unsigned int i = 0; i < 6; i++) {
        for (int k = 0; k < 3; k++) {
            EXPECT_EQ(mesh.getTriangleIndexes(i)[k], expected[i][k]);
        }
        Triangle<double> triangle = mesh.triangle(i);
        Vector<double> outward = triangle.cog();
        outward[2] = 0;
        EXPECT_GT(triangle.normal(true).scalarProduct(outward), 0);
    }
}

TEST(QuadMesh, extendedToItsCapsEnclosesItsVolume) {
    QuadMesh<double> tube = tubeMesh<double>(4, 40, 2);
    tube.buildCaps();
    tube.extendToCaps();
    const double base = 0.5 * 40 * 4 * std::sin(2 * 3.14159265358979323846 / 40);
    // The holes at the centres take a ten-thousandth of each base.
    EXPECT_NEAR(tube.toTriMesh(true).volume(), base * 3, base * 3 * 2e-4);
}

TEST(QuadMesh, ofIntIsNoTriangleMesh) {
    const QuadMesh<int> mesh = tubeMesh<int>(2, 4, 5);
    expectError<UsageError>([&] { mesh.toTriMesh(true); }, "TriMesh<int> QuadMesh<int>::toTriMesh(const bool) const",
                            "Method undefined for type 'int'");
}

TEST(QuadMesh, coloursSpreadTheValuesOverTheMap) {
    Matrix<double> values(2, 3);
    for (int r = 0; r < 2; r++) {
        for (int c = 0; c < 3; c++) {
            values(r, c) = 10 + 3 * r + c;
        }
    }
    const QuadMesh<int> colors = QuadMesh<double>::buildVertexColors(values, TestColors());
    EXPECT_EQ(colors.getHeight(), 2);
    EXPECT_EQ(colors.getWidth(), 3);
    EXPECT_TRUE(colors.isClosed());
    EXPECT_EQ(colors.level(0)[0], vectorOf<int>({0, 255, 7}));
    EXPECT_EQ(colors.level(0)[1], vectorOf<int>({51, 204, 7}));
    EXPECT_EQ(colors.level(1)[2], vectorOf<int>({255, 0, 7}));
    EXPECT_THROW(QuadMesh<double>::buildVertexColors(values, TestColors(255)), SizeError);
}

TEST(QuadMesh, coloursOfEqualOrUndefinedValuesAreTheFirst) {
    Matrix<double> values(1, 2);
    values.fill(3);
    EXPECT_EQ(QuadMesh<double>::buildVertexColors(values, TestColors()).level(0)[1], vectorOf<int>({0, 255, 7}));
    values(0, 1) = std::nan("");
    EXPECT_EQ(QuadMesh<double>::buildVertexColors(values, TestColors()).level(0)[1], vectorOf<int>({0, 255, 7}));
}

TEST(QuadMesh, coloursMustHaveItsDimensions) {
    QuadMesh<float> mesh = tubeMesh<float>(3, 8, 2);
    mesh.setVertexColors(new QuadMesh<int>(tubeMesh<int>(3, 8, 100)));
    EXPECT_TRUE(mesh.hasVertexColors());
    EXPECT_EQ(mesh.getVertexColors().level(0)[0][0], 100);
    mesh.setVertexColors(&mesh.getVertexColors());
    EXPECT_TRUE(mesh.hasVertexColors());
    QuadMesh<int> other = tubeMesh<int>(3, 7, 100);
    expectError<SizeError>([&] { mesh.setVertexColors(&other); }, "void QuadMesh<T>::setVertexColors(...)",
                           "Incompatible color array dimensions");
    EXPECT_FALSE(mesh.hasVertexColors());
    mesh.setVertexColors(nullptr);
    EXPECT_FALSE(mesh.hasVertexColors());
}

TEST(QuadMesh, varianceIsTheMeanSquaredDistance) {
    const QuadMesh<double> mean = tubeMesh<double>(2, 4, 2);
    QuadMesh<double> near = mean, far = mean;
    near.detach();
    far.detach();
    near.level(1)[2] += point(0, 0, 1);
    far.level(1)[2] += point(3, 0, 0);
    const Matrix<double> map = QuadMesh<double>::varianceMap(mean, {&near, &far});
    EXPECT_EQ(map.getSize1(), 2);
    EXPECT_EQ(map.getSize2(), 4);
    EXPECT_NEAR(map(1, 2), 5, 1e-12);
    EXPECT_EQ(map(0, 0), 0);
    EXPECT_EQ(QuadMesh<double>::varianceMap(mean, {})(1, 3), 0);
    const QuadMesh<double> other = tubeMesh<double>(2, 5, 2);
    EXPECT_THROW(QuadMesh<double>::varianceMap(mean, {&other}), SizeError);
}

TEST(QuadMesh, meanTakesVerticesAndCapsOfAll) {
    QuadMesh<double> first = tubeMesh<double>(3, 8, 2), second = tubeMesh<double>(3, 8, 4);
    first.buildCaps();
    second.buildCaps();
    const QuadMesh<double> mean = QuadMesh<double>::mean({&first, &second});
    EXPECT_NEAR(mean.level(1)[0].distance(point(3, 0, 1)), 0, 1e-12);
    ASSERT_TRUE(mean.hasBeginCap() && mean.hasEndCap());
    EXPECT_NEAR(mean.getEndCap().level(0)[0].distance(point(3, 0, 2)), 0, 1e-12);
    EXPECT_NEAR(first.level(1)[0][0], 2, 1e-12);
    second.destroyEndCap();
    const QuadMesh<double> less = QuadMesh<double>::mean({&first, &second});
    EXPECT_TRUE(less.hasBeginCap());
    EXPECT_FALSE(less.hasEndCap());
    EXPECT_EQ(QuadMesh<double>::mean({}).getHeight(), 0);
}

TEST(QuadMesh, failureOfTheMeanNamesItsWay) {
    const QuadMesh<double> first = tubeMesh<double>(3, 8, 2), higher = tubeMesh<double>(4, 8, 2),
                           wider = tubeMesh<double>(3, 9, 2);
    try {
        QuadMesh<double>::mean({&first, &higher});
        FAIL();
    } catch (const SizeError& error) {
        EXPECT_EQ(error.getWhat(), "Incompatible mesh heights");
        EXPECT_EQ(error.getWhere(), "void QuadMesh<T>::operator+=(const QuadMesh&)");
        EXPECT_NE(error.callStack().find("QuadMesh<T> QuadMesh<T>::mean(...)"), std::string::npos);
    }
    QuadMesh<double> sum = first;
    try {
        sum += wider;
        FAIL();
    } catch (const UsageError& error) {
        EXPECT_NE(error.callStack().find("[1] void QuadMesh<T>::operator+=(const QuadMesh&)"), std::string::npos);
    }
}

TEST(QuadMesh, differenceTakesCapsToo) {
    QuadMesh<double> first = tubeMesh<double>(3, 8, 5), second = tubeMesh<double>(3, 8, 4);
    first.buildCaps();
    second.buildBeginCap();
    first -= second;
    EXPECT_NEAR(first.level(2)[0].distance(point(1, 0, 0)), 0, 1e-12);
    ASSERT_TRUE(first.hasBeginCap());
    EXPECT_NEAR(first.getBeginCap().level(0)[0].distance(point(1, 0, 0)), 0, 1e-12);
    EXPECT_FALSE(first.hasEndCap());
    expectError<SizeError>([&] { first -= tubeMesh<double>(2, 8, 5); }, "void QuadMesh<T>::operator-=(const QuadMesh&)",
                           "Incompatible mesh heights");
}

TEST(QuadMesh, comesBackFromItsFileWithItsClosure) {
    const TemporaryFolder folder;
    for (bool open : {false, true}) {
        QuadMesh<double> mesh = tubeMesh<double>(3, 4, 2, open);
        mesh.buildCaps();
        mesh.save(folder.file("m"), true);
        const std::unique_ptr<Shape<double>> shape(Shape<double>::loadFile(folder.file("m.qm")));
        const QuadMesh<double>* read = dynamic_cast<const QuadMesh<double>*>(shape.get());
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(read->isOpen(), open);
        EXPECT_EQ(read->level(2).isOpen(), open);
        EXPECT_EQ(read->getHeight(), 3);
        EXPECT_NEAR(read->level(2)[1].distance(mesh.level(2)[1]), 0, 1e-6);
        EXPECT_FALSE(read->hasBeginCap());
    }
}

TEST(QuadMesh, refusesAFileOfUnequalLevels) {
    const TemporaryFolder folder;
    const std::string file = folder.write("m.qm", "# 4\n# 2\n# 2\n\n\n# 2\n0 0\n1 0\n\n\n# 1\n0 0\n");
    try {
        const QuadMesh<float> mesh(file);
        FAIL();
    } catch (const FileFormatError& error) {
        EXPECT_EQ(error.getFile(), file);
    }
}

TEST(QuadMesh, closestPointMapHoldsLevelAndPosition) {
    const QuadMesh<double> mesh = tubeMesh<double>(4, 6, 2), other = tubeMesh<double>(2, 6, 3);
    const QuadMesh<double> map = mesh.closestPointMap(other);
    EXPECT_EQ(map.getHeight(), 4);
    EXPECT_EQ(map.getSpace(), 2);
    EXPECT_EQ(map.level(0)[5], vectorOf<double>({0, 5}));
    EXPECT_EQ(map.level(3)[2], vectorOf<double>({1, 2}));
}

TEST(ShapeInterpolation, goesFromSourceToTarget) {
    const QuadMesh<double> source = tubeMesh<double>(2, 5, 1), target = tubeMesh<double>(2, 5, 5);
    ShapeInterpolation<double> interpolation;
    QuadMesh<double> result;
    expectError<ProgramError>([&] { interpolation.apply(0.5, result); },
                              "void ShapeInterpolation<T>::apply(const T, Shape<T>&)",
                              "Missing source and/or target shape");
    interpolation.setSourceShape(source);
    interpolation.setTargetShape(target);
    for (double step : {0.0, 0.25, 1.0}) {
        interpolation.apply(step, result);
        EXPECT_NE(result.getServer(), source.getServer());
        EXPECT_NE(result.getServer(), target.getServer());
        EXPECT_NEAR(result.level(1)[0][0], 1 + 4 * step, 1e-12);
    }
    EXPECT_NEAR(source.level(1)[0][0], 1, 1e-12);
    for (double step : {-0.1, 1.1}) {
        expectError<UsageError>([&] { interpolation.apply(step, result); },
                                "void ShapeInterpolation<T>::apply(const T, Shape<T>&)",
                                "Interpolation step out of [0-1] range");
    }
}

TEST(ShapeInterpolation, mayWriteIntoItsTarget) {
    const QuadMesh<double> source = tubeMesh<double>(2, 5, 1);
    QuadMesh<double> target = tubeMesh<double>(2, 5, 5);
    ShapeInterpolation<double> interpolation;
    interpolation.setSourceShape(source);
    interpolation.setTargetShape(target);
    interpolation.apply(0.5, target);
    EXPECT_NEAR(target.level(0)[0][0], 3, 1e-12);
    const QuadMesh<double> other = tubeMesh<double>(2, 6, 5);
    interpolation.setTargetShape(other);
    EXPECT_THROW(interpolation.apply(0.5, target), SizeError);
}

} // namespace vorlen
