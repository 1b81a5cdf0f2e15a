#pragma once

#include "shapes/quadmesh.h"
#include "shapes/trimesh.h"
#include "support/vectors.h"

#include <cmath>
#include <utility>
#include <vector>

namespace vorlen {

/// Mesh with its stars built.
template <class T>
TriMesh<T> meshOf(const std::vector<Vector<T>>& vertices, const std::vector<Vector<unsigned int>>& triangles) {
    const int size = int(vertices.size());
    TriMesh<T> mesh(3, size, size, size);
    for (int i = 0; i < size; i++) {
        mesh[i] = vertices[i];
    }
    mesh.setTriangles(triangles);
    return mesh;
}

/// The box from (0, 0, 0) to (size, size, size) with outward normals; vertex x + 2 y + 4 z is at the corner of these
/// bits.
template <class T>
TriMesh<T> cubeMesh(T size) {
    std::vector<Vector<T>> vertices;
    for (int i = 0; i < 8; i++) {
        vertices.push_back(vectorOf<T>({size * T(i & 1), size * T((i >> 1) & 1), size * T(i >> 2)}));
    }
    using U = unsigned int;
    return meshOf<T>(vertices,
                     {vectorOf<U>({0, 2, 1}), vectorOf<U>({1, 2, 3}), vectorOf<U>({4, 5, 6}), vectorOf<U>({5, 7, 6}),
                      vectorOf<U>({0, 1, 4}), vectorOf<U>({1, 5, 4}), vectorOf<U>({2, 6, 3}), vectorOf<U>({3, 6, 7}),
                      vectorOf<U>({0, 4, 2}), vectorOf<U>({2, 4, 6}), vectorOf<U>({1, 3, 5}), vectorOf<U>({3, 7, 5})});
}

/// The corner cut from space by the plane x + y + z = size, with outward normals.
template <class T>
TriMesh<T> tetrahedronMesh(T size) {
    using U = unsigned int;
    return meshOf<T>(
        {vectorOf<T>({0, 0, 0}), vectorOf<T>({size, 0, 0}), vectorOf<T>({0, size, 0}), vectorOf<T>({0, 0, size})},
        {vectorOf<U>({0, 2, 1}), vectorOf<U>({0, 1, 3}), vectorOf<U>({0, 3, 2}), vectorOf<U>({1, 2, 3})});
}

/// Ball about the origin: an octahedron whose triangles are divided in four as many times, with outward normals.
template <class T>
TriMesh<T> sphereMesh(T radius, int divisions) {
    std::vector<Vector<double>> points;
    for (int axis = 0; axis < 3; axis++) {
        for (double sign : {1.0, -1.0}) {
            Vector<double> point(3);
            point.setZeros();
            point[axis] = sign;
            points.push_back(point);
        }
    }
    using U = unsigned int;
    std::vector<Vector<U>> triangles;
    for (U x : {0u, 1u}) {
        for (U y : {2u, 3u}) {
            for (U z : {4u, 5u}) {
                const bool turned = (x + y + z) % 2 != 0;
                triangles.push_back(turned ? vectorOf<U>({x, z, y}) : vectorOf<U>({x, y, z}));
            }
        }
    }
    for (int division = 0; division < divisions; division++) {
        std::vector<std::vector<std::pair<U, U>>> middles(points.size());
        const auto middle = [&](U a, U b) {
            if (a > b) {
                std::swap(a, b);
            }
            for (const std::pair<U, U>& known : middles[a]) {
                if (known.first == b) {
                    return known.second;
                }
            }
            Vector<double> point = points[a] + points[b];
            point.normalize();
            points.push_back(point);
            middles[a].push_back({b, U(points.size() - 1)});
            return U(points.size() - 1);
        };
        std::vector<Vector<U>> finer;
        for (const Vector<U>& t : triangles) {
            const U ab = middle(t[0], t[1]), bc = middle(t[1], t[2]), ca = middle(t[2], t[0]);
            finer.push_back(vectorOf<U>({t[0], ab, ca}));
            finer.push_back(vectorOf<U>({ab, t[1], bc}));
            finer.push_back(vectorOf<U>({ca, bc, t[2]}));
            finer.push_back(vectorOf<U>({ab, bc, ca}));
        }
        triangles.swap(finer);
    }
    std::vector<Vector<T>> vertices;
    for (const Vector<double>& point : points) {
        vertices.push_back(vectorOf<T>({T(radius * point[0]), T(radius * point[1]), T(radius * point[2])}));
    }
    return meshOf<T>(vertices, triangles);
}

/// Tube about the z axis: level r is a regular polygon of the given radius at height r.
template <class T>
QuadMesh<T> tubeMesh(int height, int width, T radius, bool open = false) {
    QuadMesh<T> mesh(3, height, width, height * width, height * width, open);
    for (int r = 0; r < height; r++) {
        for (int c = 0; c < width; c++) {
            const double angle = 2 * 3.14159265358979323846 * c / width;
            mesh.level(r)[c] = vectorOf<T>({T(radius * std::cos(angle)), T(radius * std::sin(angle)), T(r)});
        }
    }
    return mesh;
}

} // namespace vorlen
