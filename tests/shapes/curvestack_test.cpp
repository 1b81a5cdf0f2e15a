#include "shapes/curvestack.h"

#include <cmath>
#include <limits>
#include <memory>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/quadmesh.h"
#include "support/failures.h"
#include "support/testcurves.h"

namespace vorlen {

namespace {

/// Contours around the z axis of the given numbers of vertices, at heights 0, 2, 4, ...; the radius is a function of
/// the height, and each contour starts at another angle.
template <class T, class Radius>
CurveStack<T> coneOf(const std::vector<int>& sizes, Radius radius) {
    CurveStack<T> stack;
    for (int l = 0; l < int(sizes.size()); ++l) {
        stack.append(polygonOf<T>(sizes[l], radius(2.0 * l), 0, 0, 1.7 * l, 3, 2.0 * l));
    }
    return stack;
}

double steady(double) {
    return 5;
}

double scoreOf(const Curve<double>& above, const Curve<double>& below, int shift) {
    double sum = 0;
    for (int c = 0; c < above.getSize(); ++c) {
        sum += above[(c + shift) % above.getSize()].scalarProduct(below[c]);
    }
    return sum;
}

} // namespace

TEST(CurveStack, allLevelsHaveTheClosureOfTheStack) {
    CurveStack<float> stack(2, 2, 3, 0, 0, true);
    EXPECT_TRUE(stack[1].isOpen());
    EXPECT_EQ(stack.getShapeType(), OpenCurveStackType);
    stack.setOpen(false);
    EXPECT_TRUE(stack.level(0).isClosed());
    EXPECT_EQ(stack.getShapeType(), ClosedCurveStackType);
    const CurveStack<float> opened(stack, true);
    EXPECT_TRUE(opened.getFirstCurve().isOpen());
    EXPECT_TRUE(opened.getLastCurve().isOpen());
    EXPECT_TRUE(stack.getFirstCurve().isClosed());
    CurveStack<float> assigned;
    assigned = opened;
    EXPECT_TRUE(assigned.isOpen());
    EXPECT_TRUE(assigned[0].isOpen());
    EXPECT_TRUE(std::unique_ptr<CurveStack<float>>(opened.clone())->isOpen());
}

TEST(CurveStack, curvesOfTheOtherClosureAndMereVerticesAreRefused) {
    CurveStack<int> stack;
    stack.append(curveOf<int>({{0}, {1}}));
    const auto append = [&] { stack.append(curveOf<int>({{0}, {1}}, true)); };
    expectFailure<TypeError>(append, "void CurveStack<T>::insert(...)", "Closure mismatch");
    EXPECT_THROW(stack.prepend(curveOf<int>({{0}, {1}}, true)), TypeError);
    EXPECT_THROW(stack.append(verticesOf<int>({{0}, {1}})), std::bad_cast);
    EXPECT_EQ(stack.getHeight(), 1);
}

TEST(CurveStack, branchesWhereTwoLevelsInARowLieOnOneHeight) {
    CurveStack<float> stack = coneOf<float>({3, 4, 5, 6}, steady);
    EXPECT_FALSE(stack.isBranching());
    stack[3].translate(vectorOf<float>({0, 0, -2}));
    EXPECT_TRUE(stack.isBranching());
    stack[3].translate(vectorOf<float>({0, 0, -2}));
    EXPECT_FALSE(stack.isBranching()); // equal, but not in a row
    stack[2].setSize(0, false);
    stack[1].setSize(0, false);
    stack[3].translate(vectorOf<float>({0, 0, -2}));
    EXPECT_EQ(stack[3][0][2], stack[0][0][2]);
    EXPECT_TRUE(stack.isBranching()); // only empty levels between
    EXPECT_FALSE(CurveStack<float>().isBranching());
    EXPECT_FALSE((coneOf<float>({3}, steady).isBranching()));
    EXPECT_FALSE(CurveStack<float>(2, 2, 2, 0, 0, false).isBranching());
}

TEST(CurveStack, sortAndReverseActOnTheHeights) {
    CurveStack<float> stack = coneOf<float>({3, 4, 5}, steady);
    stack.reverse();
    EXPECT_EQ(stack[0].getSize(), 5);
    stack.sort(2);
    EXPECT_EQ(stack[0].getSize(), 3);
    EXPECT_EQ(stack[2][0][2], 4);
}

TEST(CurveStack, resampleKeepsLevelZeroAndTurnsTheOthersIntoRegister) {
    const auto stack = coneOf<double>({30, 17, 44, 25}, [](double z) { return 5 + z; });
    const int width = 20;
    const QuadMesh<double> mesh = stack.resample(4, width);
    ASSERT_EQ(mesh.getHeight(), 4);
    ASSERT_EQ(mesh.getWidth(), width);
    EXPECT_TRUE(mesh.isClosed());
    const Curve<double> first = stack[0].resample(width);
    for (int c = 0; c < width; ++c) {
        EXPECT_LT(mesh[0][c].distance(first[c]), 1e-12);
    }
    for (int l = 1; l < 4; ++l) {
        const Curve<double> plain = stack[l].resample(width);
        // As many rows as contours: the columns' own spacing differs from the contours', but not at the ends.
        if (l == 3) {
            int turn = 0;
            for (int c = 1; c < width; ++c) {
                turn = mesh[l][0].distance(plain[c]) < mesh[l][0].distance(plain[turn]) ? c : turn;
            }
            for (int c = 0; c < width; ++c) {
                EXPECT_LT(mesh[l][c].distance(plain[(c + turn) % width]), 1e-12);
            }
        }
        for (int shift = 1; shift < width; ++shift) {
            EXPECT_GE(scoreOf(mesh[l], mesh[l - 1], 0), scoreOf(mesh[l], mesh[l - 1], shift));
        }
    }
}

TEST(CurveStack, resampledColumnsAreEvenlySpacedAndEndOnTheFirstAndLastContour) {
    const auto stack = coneOf<double>({24, 24, 24}, [](double z) { return 5 + z; });
    const QuadMesh<double> mesh = stack.resample(9, 12);
    for (int c = 0; c < 12; ++c) {
        EXPECT_EQ(mesh[0][c][2], 0);
        EXPECT_EQ(mesh[8][c][2], 4);
        // The contours are turned against each other, so that a column bends, but by less than a tenth of its step.
        const double step = mesh[0][c].distance(mesh[1][c]);
        for (int r = 1; r < 9; ++r) {
            EXPECT_NEAR(mesh[r - 1][c].distance(mesh[r][c]), step, 0.1 * step);
        }
    }
}

TEST(CurveStack, openStacksResampleWithoutClosingAndOneContourFillsAllRows) {
    CurveStack<float> stack(3, 1, 2, 0, 0, true);
    stack[0][0] = vectorOf<float>({0, 0, 7});
    stack[0][1] = vectorOf<float>({4, 0, 7});
    const QuadMesh<float> mesh = stack.resample(3, 5);
    EXPECT_TRUE(mesh.isOpen());
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 5; ++c) {
            EXPECT_EQ(mesh[r][c], vectorOf<float>({float(c), 0, 7}));
        }
    }
    EXPECT_EQ(stack.resample(1, 1)[0][0], vectorOf<float>({0, 0, 7}));
    EXPECT_THROW(CurveStack<float>().resample(3, 3), SizeError);
    EXPECT_THROW(stack.resample(0, 3), SizeError);
    stack.append(Curve<float>(3, 0, 0, 0, true));
    EXPECT_THROW(stack.resample(2, 2), SizeError);
    QuadMesh<float> plane(2, 2, 2);
    EXPECT_THROW((coneOf<float>({3, 3}, steady).resample(plane)), SizeError);
    CurveStack<int> closed(3, 1, 3, 0, 0, false);
    closed[0][0].setZeros();
    closed[0][1].setZeros();
    closed[0][2].setZeros();
    EXPECT_THROW(closed.resample(2, 2), UsageError);
}

TEST(CurveStack, interpolationFindsTheMeshAtTheHeightsOfTheContours) {
    // A cone whose radius is 5 + z; the mesh has other heights than the contours.
    CurveStack<double> contours;
    for (const double z : {0.25, 3.0, 3.5, 1.0, 4.0, 0.0}) {
        contours.append(polygonOf<double>(7, 1, 0, 0, 0, 3, z));
    }
    QuadMesh<double> mesh(3, 9, 16);
    for (int r = 0; r < 9; ++r) {
        const Curve<double> ring = polygonOf<double>(16, 5 + 0.5 * r, 0, 0, 0, 3, 0.5 * r);
        for (int c = 0; c < 16; ++c) {
            mesh[r][c] = ring[c];
        }
    }
    const QuadMesh<double> result = contours.interpolate(mesh);
    ASSERT_EQ(result.getHeight(), 6);
    ASSERT_EQ(result.getWidth(), 16);
    for (int l = 0; l < 6; ++l) {
        const double z = contours[l][0][2];
        for (int c = 0; c < 16; ++c) {
            EXPECT_NEAR(result[l][c][2], z, 1e-12);
            EXPECT_NEAR(std::hypot(result[l][c][0], result[l][c][1]), 5 + z, 1e-12);
        }
    }
    // Beyond the ends, the nearest row.
    CurveStack<double> beyond;
    beyond.append(polygonOf<double>(3, 1, 0, 0, 0, 3, -7));
    beyond.append(polygonOf<double>(3, 1, 0, 0, 0, 3, 70));
    const QuadMesh<double> ends = beyond.interpolate(mesh);
    EXPECT_EQ(ends[0][3], mesh[0][3]);
    EXPECT_EQ(ends[1][3], mesh[8][3]);
    EXPECT_THROW(CurveStack<int>(3, 1, 1, 0, 0, false).interpolate(QuadMesh<int>(3, 1, 1)), UsageError);
    EXPECT_THROW(beyond.interpolate(QuadMesh<double>()), SizeError);
}

TEST(CurveStack, resamplingErrorIsTheLargestDistanceToTheInterpolatedMesh) {
    const auto stack = coneOf<double>({40, 31, 50}, [](double z) { return 5 + z; });
    const QuadMesh<double> mesh = stack.resample(6, 14);
    const QuadMesh<double> interpolated = stack.interpolate(mesh);
    const Vector<double> errors = stack.resamplingError(mesh);
    ASSERT_EQ(errors.getSize(), 3);
    for (int l = 0; l < 3; ++l) {
        double worst = 0;
        for (int k = 0; k < stack[l].getSize(); ++k) {
            double nearest = std::numeric_limits<double>::max();
            for (ConstVertexIterator<double> it(interpolated); it.current(); ++it) {
                nearest = std::min(nearest, it.current()->distance(stack[l][k]));
            }
            worst = std::max(worst, nearest);
        }
        EXPECT_NEAR(errors[l], worst, 1e-12);
    }
}

TEST(CurveStack, optimalResamplingReachesTheErrorWithAGridThatFits) {
    const auto stack = coneOf<double>({60, 50, 70, 40}, [](double z) { return 5 + 0.2 * z; });
    for (const double wanted : {2.0, 0.7}) {
        unsigned int height = 0;
        unsigned int width = 0;
        const double error = stack.optimalResampling(wanted, height, width);
        EXPECT_NEAR(stack.resamplingError(stack.resample(int(height), int(width))).max(), error, 1e-12);
        EXPECT_LE(error, wanted * 1.6); // the last step weighs two neighbouring widths against each other
        EXPECT_LT(width, 140u);
        // Rows about as far apart as columns: the extent in z is 6.
        const Curve<double> first = stack[0].resample(int(width));
        EXPECT_NEAR(height, 6 / first[0].distance(first[1]), 1.0);
    }
}

TEST(CurveStack, optimalResamplingOfTrianglesLeavesTheWidthAndImpossibleErrorsAreRefused) {
    const auto triangles = coneOf<double>({3, 3}, steady);
    unsigned int height = 0;
    unsigned int width = 77;
    EXPECT_EQ(triangles.optimalResampling(100, height, width), 0);
    EXPECT_EQ(width, 77u);
    EXPECT_EQ(height, 2u);
    EXPECT_THROW(triangles.optimalResampling(-1, height, width), MathError);
    const auto points = coneOf<double>({4, 4}, [](double) { return 0; });
    EXPECT_THROW(points.optimalResampling(1, height, width), MathError);
    EXPECT_THROW(CurveStack<double>().optimalResampling(1, height, width), SizeError);
    CurveStack<double> plane(2, 2, 4, 0, 0, false);
    EXPECT_THROW(plane.optimalResampling(1, height, width), SizeError);
}

TEST(CurveStack, closestPointMapKeepsTheClosure) {
    const CurveStack<float> open(3, 1, 2, 0, 0, true);
    EXPECT_TRUE(open.closestPointMap(coneOf<float>({5}, steady)).isOpen());
    const auto stack = coneOf<float>({5, 6}, steady);
    const CurveStack<float> map = stack.closestPointMap(stack);
    EXPECT_TRUE(map.isClosed());
    EXPECT_EQ(map[1][4], vectorOf<float>({1, 4}));
}

} // namespace vorlen
