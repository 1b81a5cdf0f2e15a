#pragma once

#include <array>
#include <cmath>
#include <vector>

#include "images/volumes/voxelmatrix.h"
#include "reconstruction/marchingcube.h"
#include "shapes/trimesh.h"

namespace vorlen {

/// Marching cubes in the plainest form: one table of vertex numbers for each direction and the whole volume, one visit
/// to each position and to each cube, with a test of the bounds at each corner. Tilings and face tests are those of the
/// library.
template <class T>
class PlainMarchingCubes {
public:
    PlainMarchingCubes(const VoxelMatrix<T>& matrix, T level, bool closed)
        : __matrix(matrix), __level(level), __first(closed ? -1 : 0) {
        const int sizes[3] = {matrix.getSize1(), matrix.getSize2(), matrix.getSize3()};
        for (int n = 0; n < 3; ++n) {
            __sizes[n] = sizes[n];
            __positions[n] = sizes[n] - 2 * __first;
        }
    }

    TriMesh<float> mesh() {
        for (std::vector<int>& table : __tables)
            table.assign(std::size_t(__positions[0]) * __positions[1] * __positions[2], -1);
        addVertices();
        addTriangles();
        TriMesh<float> result(3, int(__vertices.size()), int(__vertices.size()), int(__vertices.size()));
        for (std::size_t n = 0; n < __vertices.size(); ++n)
            for (int axis = 0; axis < 3; ++axis)
                result[int(n)][axis] = __vertices[n][axis];
        for (const std::array<int, 3>& t : __triangles)
            result.addTriangle(static_cast<unsigned int>(t[0]), static_cast<unsigned int>(t[1]),
                               static_cast<unsigned int>(t[2]));
        result.computeNormals();
        return result;
    }

    /// The cube whose corner 0 is voxel (i, j, k).
    MarchingCube<double> cube(int i, int j, int k) const {
        MarchingCube<double> result;
        for (int c = 0; c < 8; ++c)
            result.values[c] = value(i + (((c + 1) & 2) != 0), j + ((c & 2) != 0), k + (c >= 4));
        return result;
    }

private:
    double value(int i, int j, int k) const {
        return __matrix.contains(i, j, k) ? double(__matrix(i, j, k)) - double(__level) : -1.0;
    }
    int& number(int axis, int i, int j, int k) {
        return __tables[axis]
                       [(std::size_t(i - __first) * __positions[1] + (j - __first)) * __positions[2] + (k - __first)];
    }
    template <class Operation>
    void forEachPosition(int left, Operation operation) {
        for (int i = __first; i < __first + __positions[0] - left; ++i)
            for (int j = __first; j < __first + __positions[1] - left; ++j)
                for (int k = __first; k < __first + __positions[2] - left; ++k)
                    operation(i, j, k);
    }

    void addVertices() {
        for (int axis = 0; axis < 3; ++axis) {
            forEachPosition(0, [&](int i, int j, int k) {
                std::array<int, 3> place = {i, j, k}, after = place;
                ++after[axis];
                if (after[axis] >= __first + __positions[axis])
                    return;
                const double f = value(i, j, k), next = value(after[0], after[1], after[2]);
                if ((f >= 0) == (next >= 0))
                    return;
                std::array<float, 3> vertex = {float(i), float(j), float(k)};
                if (place[axis] < 0)
                    vertex[axis] = 0;
                else if (after[axis] < __sizes[axis])
                    vertex[axis] = float(place[axis] + std::abs(f / (f - next)));
                number(axis, i, j, k) = int(__vertices.size());
                __vertices.push_back(vertex);
            });
        }
    }

    void addTriangles() {
        static constexpr int axis[12] = {0, 1, 0, 1, 0, 1, 0, 1, 2, 2, 2, 2};
        static constexpr int offset[12][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}, {0, 0, 1}, {1, 0, 1},
                                              {0, 1, 1}, {0, 0, 1}, {0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
        forEachPosition(1, [&](int i, int j, int k) {
            const MarchingCube<double> corners = cube(i, j, k);
            if (corners.code() == 0 || corners.code() == 255)
                return;
            const auto tiling = corners.tiling(MarchingCubesTables::instance());
            int numbers[13];
            std::array<float, 3> mean = {0, 0, 0};
            int count = 0;
            for (int e = 0; e < 12; ++e) {
                numbers[e] = number(axis[e], i + offset[e][0], j + offset[e][1], k + offset[e][2]);
                if (numbers[e] < 0)
                    continue;
                for (int n = 0; n < 3; ++n)
                    mean[n] += __vertices[numbers[e]][n];
                ++count;
            }
            if (tiling.hasInnerVertex()) {
                numbers[12] = int(__vertices.size());
                for (float& n : mean)
                    n /= float(count);
                __vertices.push_back(mean);
            }
            for (int n = 0; n < 3 * tiling.numTriangles; n += 3)
                __triangles.push_back({numbers[tiling.row[n]], numbers[tiling.row[n + 1]], numbers[tiling.row[n + 2]]});
        });
    }

    const VoxelMatrix<T>& __matrix;
    T __level;
    int __first;
    int __sizes[3], __positions[3];
    std::vector<int> __tables[3];
    std::vector<std::array<float, 3>> __vertices;
    std::vector<std::array<int, 3>> __triangles;
};

} // namespace vorlen
