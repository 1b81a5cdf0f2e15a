#include "shapes/kdtree.h"

#include "numerics/exception.h"
#include "shapes/curvestack.h"
#include "support/testmeshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <set>

namespace vorlen {

namespace {

/// Points with coordinates among a few values, so that many distances are equal and many points coincide, or among so
/// many that none are.
template <class T>
Vertices<T> roughVertices(int space, int size, int numValues, unsigned int seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> value(0, numValues - 1);
    Vertices<T> vertices(space, size, size, size);
    for (int i = 0; i < size; i++) {
        for (int k = 0; k < space; k++) {
            vertices[i][k] = T(value(random)) / (std::is_same_v<T, int> ? 1 : 7);
        }
    }
    return vertices;
}

template <class T>
std::vector<double> bruteForce(const Vertices<T>& vertices, const Vector<T>& point) {
    std::vector<double> distances;
    for (int i = 0; i < vertices.getNumVertices(); i++) {
        distances.push_back(double(vertices[i].sdistance(point)));
    }
    std::sort(distances.begin(), distances.end());
    return distances;
}

template <class T>
void compareWithBruteForce(int space, int size, int numValues) {
    Vertices<T> vertices = roughVertices<T>(space, size, numValues, size + space);
    KDTree<T> tree;
    tree.setShape(vertices);
    tree.build();
    std::mt19937 random(3);
    // A third of the range beyond the points on both sides.
    std::uniform_int_distribution<int> value(-numValues / 3, numValues + numValues / 3);
    for (int query = 0; query < 60; query++) {
        Vector<T> point(space);
        for (int k = 0; k < space; k++) {
            point[k] = T(value(random)) / (std::is_same_v<T, int> ? 1 : 7);
        }
        const std::vector<double> expected = bruteForce(vertices, point);
        EXPECT_EQ(double(tree.nearestVertex(point).sdistance(point)), expected[0]);
        for (int k : {1, 2, 10, 40}) {
            Vertices<T> nearest;
            tree.nearestVertices(nearest, point, k);
            ASSERT_EQ(nearest.getNumVertices(), std::min(k, size));
            EXPECT_EQ(nearest.getServer(), vertices.getServer());
            std::set<int> indexes;
            for (int i = 0; i < nearest.getNumVertices(); i++) {
                EXPECT_EQ(double(nearest[i].sdistance(point)), expected[i]);
                indexes.insert(nearest.getIndex(i));
            }
            EXPECT_EQ(int(indexes.size()), nearest.getNumVertices());
        }
    }
}

} // namespace

TEST(KDTree, findsTheSameDistancesAsBruteForceInSpace3) {
    for (int size : {1, 2, 3, 12, 13, 25, 100, 1000}) {
        compareWithBruteForce<float>(3, size, 1000000);
        compareWithBruteForce<double>(3, size, 5);
    }
}

TEST(KDTree, findsTheSameDistancesAsBruteForceInOtherSpaces) {
    for (int space : {1, 2, 4, 7}) {
        compareWithBruteForce<double>(space, 500, 1000);
        compareWithBruteForce<float>(space, 300, 4);
    }
}

TEST(KDTree, worksOnIntAndLongDouble) {
    compareWithBruteForce<int>(2, 400, 50);
    compareWithBruteForce<int>(3, 400, 900);
    compareWithBruteForce<long double>(3, 400, 50);
}

TEST(KDTree, squaredDistancesOfIntDoNotOverflow) {
    Vertices<int> vertices(2, 2, 2, 2);
    vertices[0] = vectorOf<int>({-1000000, -1000000});
    vertices[1] = vectorOf<int>({900000, 900000});
    KDTree<int> tree;
    tree.setShape(vertices);
    tree.build();
    EXPECT_EQ(tree.nearestVertex(vectorOf<int>({1000000, 1000000}))[0], 900000);
}

TEST(KDTree, nearestVertexIsTheServersOwn) {
    Vertices<float> vertices = roughVertices<float>(3, 200, 100000, 1);
    KDTree<float> tree;
    tree.setShape(vertices);
    tree.build();
    for (int i = 0; i < 200; i++) {
        EXPECT_EQ(&tree.nearestVertex(vertices[i]), &vertices[i]);
    }
}

TEST(KDTree, ofOneVertexAlwaysFindsIt) {
    Vertices<double> vertices(2, 1, 1, 1);
    vertices[0] = vectorOf<double>({1, 2});
    KDTree<double> tree;
    tree.setShape(vertices);
    tree.build();
    EXPECT_EQ(&tree.nearestVertex(vectorOf<double>({-50, 80})), &vertices[0]);
    EXPECT_EQ(tree.getShape(), &vertices);
}

TEST(KDTree, indexesTheListAndNotTheServer) {
    Vertices<double> vertices = roughVertices<double>(3, 100, 1000000, 2);
    Vertices<double> some = vertices;
    some.removeOutside(40, 59);
    KDTree<double> tree;
    tree.setShape(some);
    tree.build();
    for (int i = 0; i < 100; i++) {
        Vertices<double> nearest;
        tree.nearestVertices(nearest, vertices[i], 1);
        EXPECT_GE(nearest.getIndex(0), 40);
        EXPECT_LE(nearest.getIndex(0), 59);
        if (i >= 40 && i <= 59) {
            EXPECT_EQ(nearest.getIndex(0), i);
        }
    }
}

TEST(KDTree, takesTheLevelsOfAStackOnOneServer) {
    QuadMesh<float> tube = tubeMesh<float>(9, 20, 3);
    KDTree<float> tree;
    tree.setShape(tube);
    tree.build();
    for (int r = 0; r < 9; r++) {
        for (int c = 0; c < 20; c++) {
            EXPECT_EQ(&tree.nearestVertex(tube.level(r)[c]), &tube.level(r)[c]);
        }
    }
}

TEST(KDTree, refusesEmptyShapesAndLevelsOnSeveralServers) {
    KDTree<double> tree;
    Vertices<double> empty(3, 0, 0, 0);
    try {
        tree.setShape(empty);
        FAIL();
    } catch (const UsageError& error) {
        EXPECT_EQ(error.getWhat(), "The shape is empty");
        EXPECT_EQ(error.getWhere(), "void KDTree<T>::setShape(Shape<T>&)");
    }
    QuadMesh<double> mesh = tubeMesh<double>(3, 5, 1);
    Curve<double> other = mesh.level(0);
    other.detach();
    mesh.append(other);
    try {
        tree.setShape(mesh);
        FAIL();
    } catch (const UsageError& error) {
        EXPECT_EQ(error.getWhat(), "The shape is indexed on several servers");
    }
    mesh.detach();
    EXPECT_NO_THROW(tree.setShape(mesh));
}

TEST(KDTree, refusesQueriesBeforeBuildingAndOfAnotherSpace) {
    Vertices<double> vertices = roughVertices<double>(3, 5, 10, 1);
    KDTree<double> tree;
    EXPECT_THROW(tree.build(), UsageError);
    tree.setShape(vertices);
    EXPECT_THROW(tree.nearestVertex(vertices[0]), UsageError);
    tree.build();
    EXPECT_THROW(tree.nearestVertex(vectorOf<double>({1, 2})), SizeError);
}

TEST(KDTree, seesChangesOfTheShapeAfterBuilding) {
    Vertices<double> vertices = roughVertices<double>(2, 50, 1000, 4);
    KDTree<double> tree;
    tree.setShape(vertices);
    tree.build();
    vertices.append(vectorOf<double>({-500, -500}));
    tree.build();
    EXPECT_EQ(tree.nearestVertex(vectorOf<double>({-400, -400}))[0], -500);
}

TEST(KDTree, givesAllVerticesWhenMoreAreAskedForAndNoneForZero) {
    Vertices<double> vertices = roughVertices<double>(3, 30, 10, 1);
    KDTree<double> tree;
    tree.setShape(vertices);
    tree.build();
    Vertices<double> nearest;
    tree.nearestVertices(nearest, vertices[3], 1000);
    EXPECT_EQ(nearest.getNumVertices(), 30);
    tree.nearestVertices(nearest, vertices[3], 0);
    EXPECT_EQ(nearest.getNumVertices(), 0);
    tree.nearestVertices(nearest, vertices[3], -4);
    EXPECT_EQ(nearest.getNumVertices(), 0);
}

TEST(KDTree, countsUndefinedCoordinatesAsInfinitelyFar) {
    Vertices<double> vertices = roughVertices<double>(3, 60, 1000, 9);
    for (int i = 0; i < 60; i += 2) {
        vertices[i][i % 3] = std::numeric_limits<double>::quiet_NaN();
    }
    KDTree<double> tree;
    tree.setShape(vertices);
    tree.build();
    for (int i = 1; i < 60; i += 2) {
        EXPECT_EQ(&tree.nearestVertex(vertices[i]), &vertices[i]);
    }
    Vertices<double> all;
    tree.nearestVertices(all, vertices[1], 60);
    std::set<int> indexes;
    for (int i = 0; i < 60; i++) {
        indexes.insert(all.getIndex(i));
        EXPECT_EQ(all.getIndex(i) % 2, i < 30 ? 1 : 0);
    }
    EXPECT_EQ(indexes.size(), 60u);
}

} // namespace vorlen
