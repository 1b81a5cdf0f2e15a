#include "shapes/surfacecertificate.h"

#include <gtest/gtest.h>

#include "support/testmeshes.h"

namespace vorlen {

namespace {

/// A ring of tubes: n times n vertices round both ways.
TriMesh<double> torusMesh(int n, double radius, double thickness) {
    std::vector<Vector<double>> vertices;
    std::vector<Vector<unsigned int>> triangles;
    const auto number = [n](int i, int j) { return static_cast<unsigned int>(i % n * n + j % n); };
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const double a = 6.283185307179586 * i / n, b = 6.283185307179586 * j / n;
            const double r = radius + thickness * std::cos(b);
            vertices.push_back(vectorOf<double>({r * std::cos(a), r * std::sin(a), thickness * std::sin(b)}));
            triangles.push_back(vectorOf<unsigned int>({number(i, j), number(i + 1, j), number(i, j + 1)}));
            triangles.push_back(vectorOf<unsigned int>({number(i + 1, j), number(i + 1, j + 1), number(i, j + 1)}));
        }
    return meshOf<double>(vertices, triangles);
}

} // namespace

TEST(SurfaceCertificate, tellsASoundSurfaceByItsHandlesAndParts) {
    const SurfaceCertificate cube = SurfaceCertificate::of(cubeMesh<double>(3));
    EXPECT_TRUE(cube.isSound());
    EXPECT_EQ(cube.toText(), "closed, oriented outward, manifold, 1 part, Euler number 2, genus 0");
    EXPECT_NEAR(cube.volume, 27, 1e-12);
    for (const double middle : cube.centroid)
        EXPECT_NEAR(middle, 1.5, 1e-12);
    EXPECT_EQ(SurfaceCertificate::of(torusMesh(20, 3, 1)).toText(),
              "closed, oriented outward, manifold, 1 part, Euler number 0, genus 1");

    TriMesh<double> two = cubeMesh<double>(1);
    const TriMesh<double> other = cubeMesh<double>(2);
    two.append(static_cast<const Vertices<double>&>(other));
    for (unsigned int i = 0; i < 12; ++i)
        two.addTriangle(8 + other.getTriangleIndexes(i)[0], 8 + other.getTriangleIndexes(i)[1],
                        8 + other.getTriangleIndexes(i)[2]);
    EXPECT_EQ(SurfaceCertificate::of(two).toText(),
              "closed, oriented outward, manifold, 2 parts, Euler number 4, genus 0");
}

TEST(SurfaceCertificate, tellsWhatIsWrong) {
    TriMesh<double> inward = cubeMesh<double>(3);
    for (unsigned int i = 0; i < 12; ++i)
        std::swap(inward.getTriangleIndexes(i)[0], inward.getTriangleIndexes(i)[1]);
    EXPECT_EQ(SurfaceCertificate::of(inward).toText(),
              "closed, oriented inward, manifold, 1 part, Euler number 2, genus 0");

    TriMesh<double> twisted = cubeMesh<double>(3);
    std::swap(twisted.getTriangleIndexes(4)[0], twisted.getTriangleIndexes(4)[1]);
    EXPECT_EQ(SurfaceCertificate::of(twisted).toText(), "closed, not oriented, manifold, 1 part, Euler number 2");

    TriMesh<double> open = cubeMesh<double>(3);
    open.removeTriangle(11);
    EXPECT_EQ(SurfaceCertificate::of(open).toText(), "open (3 open edges), oriented, manifold, 1 part, Euler number 1");
    EXPECT_EQ(SurfaceCertificate::of(open).volume, 0);

    // Two tetrahedra at one tip: each edge is sound, the vertex is not.
    TriMesh<double> touching = tetrahedronMesh<double>(1);
    const TriMesh<double> mirrored = tetrahedronMesh<double>(-1);
    touching.append(static_cast<const Vertices<double>&>(mirrored));
    for (unsigned int i = 0; i < 4; ++i) {
        const auto number = [&](int k) {
            const unsigned int v = mirrored.getTriangleIndexes(i)[k];
            return v == 0 ? 0 : v + 4;
        };
        touching.addTriangle(number(1), number(0), number(2));
    }
    const SurfaceCertificate certificate = SurfaceCertificate::of(touching);
    EXPECT_TRUE(certificate.closed && certificate.oriented && !certificate.manifold);
    EXPECT_EQ(certificate.parts, 1);
    EXPECT_EQ(SurfaceCertificate::of(TriMesh<double>()).toText(),
              "open (0 open edges), oriented, manifold, 0 parts, Euler number 0");
}

} // namespace vorlen
