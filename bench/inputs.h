#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vorlen {

/// Inputs of the benchmarks, made by formula, so that every run and every program measures the same numbers.
namespace inputs {

/// Mixes the bits of an index: the source of everything irregular here.
inline std::uint32_t hash(std::uint32_t x) {
    x = (x ^ (x >> 16)) * 0x7feb352dU;
    x = (x ^ (x >> 15)) * 0x846ca68bU;
    return x ^ (x >> 16);
}

/// Number from 0 up to, but not including, 1.
inline float unit(std::uint32_t x) {
    return static_cast<float>(hash(x) >> 8) / 16777216.0f;
}

/// Grey value of smooth blobs with noise at row i, column j and plane k, within 0 to 255.
inline float blobs(int i, int j, int k) {
    const float smooth = std::sin(0.11f * float(i)) * std::sin(0.13f * float(j)) +
                         std::sin(0.17f * float(j)) * std::sin(0.07f * float(k)) +
                         std::sin(0.05f * float(k)) * std::sin(0.09f * float(i));
    const std::uint32_t place =
        std::uint32_t(i) * 73856093U ^ std::uint32_t(j) * 19349663U ^ std::uint32_t(k) * 83492791U;
    return 127.5f + 38.0f * smooth + 12.0f * (unit(place) - 0.5f);
}

/// blobs() for all voxels; columns run fastest, planes slowest.
inline std::vector<float> volume(int rows, int cols, int planes) {
    std::vector<float> v;
    v.reserve(std::size_t(rows) * std::size_t(cols) * std::size_t(planes));
    for (int k = 0; k < planes; ++k)
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < cols; ++j)
                v.push_back(blobs(i, j, k));
    return v;
}

/// Two periods of the gyroid's field on n^3 nodes, in the order of volume(); the surface is at 0.
inline std::vector<float> gyroid(int n) {
    const float step = 4.0f * 3.14159265f / float(n - 1);
    std::vector<float> v;
    v.reserve(std::size_t(n) * std::size_t(n) * std::size_t(n));
    for (int k = 0; k < n; ++k)
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) {
                const float x = step * float(i), y = step * float(j), z = step * float(k);
                v.push_back(std::sin(x) * std::cos(y) + std::sin(y) * std::cos(z) + std::sin(z) * std::cos(x));
            }
    return v;
}

/// n points of the unit cube, three coordinates each.
inline std::vector<float> points(int n, std::uint32_t seed = 1) {
    std::vector<float> v(3 * std::size_t(n));
    for (std::size_t i = 0; i < v.size(); ++i)
        v[i] = unit(std::uint32_t(i) + seed * 0x9e3779b9U);
    return v;
}

/// Wavy closed contour of n vertices (x, y) around the origin, of mean radius r, in whole pixels.
inline std::vector<int> contour(int n, double r, double phase) {
    std::vector<int> v;
    v.reserve(2 * std::size_t(n));
    for (int i = 0; i < n; ++i) {
        const double angle = 6.283185307179586 * i / n;
        const double radius = r * (1 + 0.2 * std::sin(3 * angle + phase) + 0.05 * std::sin(17 * angle));
        v.push_back(int(std::floor(radius * std::cos(angle) + 0.5)));
        v.push_back(int(std::floor(radius * std::sin(angle) + 0.5)));
    }
    return v;
}

/// Dense matrix, row by row, entries within -0.5 to 0.5; a square one has its diagonal raised in proportion to its
/// size, so that it is well conditioned.
inline std::vector<double> matrix(int rows, int cols) {
    std::vector<double> m;
    m.reserve(std::size_t(rows) * std::size_t(cols));
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) {
            const double raised = rows == cols && i == j ? 0.05 * rows : 0.0;
            m.push_back(double(unit(std::uint32_t(i) * 31337U + std::uint32_t(j))) - 0.5 + raised);
        }
    return m;
}

} // namespace inputs

} // namespace vorlen
