#include "ui/viewer/symbolarraygl.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace vorlen {

namespace {

using Point = std::array<float, 3>;

/// Adds a flat face, corners counter-clockwise from outside, as a fan.
void addFace(SymbolMeshGL& mesh, const std::vector<Point>& corners) {
    const unsigned int first = unsigned(mesh.positions.size() / 3);
    Point a, b, normal;
    for (int k = 0; k < 3; ++k) {
        a[k] = corners[1][k] - corners[0][k];
        b[k] = corners[2][k] - corners[1][k];
    }
    for (int k = 0; k < 3; ++k)
        normal[k] = a[(k + 1) % 3] * b[(k + 2) % 3] - a[(k + 2) % 3] * b[(k + 1) % 3];
    const float norm = std::hypot(normal[0], normal[1], normal[2]);
    for (const Point& corner : corners) {
        mesh.positions.insert(mesh.positions.end(), corner.begin(), corner.end());
        for (float x : normal)
            mesh.normals.push_back(x / norm);
    }
    for (unsigned int k = 2; k < corners.size(); ++k)
        mesh.indexes.insert(mesh.indexes.end(), {first, first + k - 1, first + k});
}

/// 8 slices about the z axis, 6 stacks from the upper pole to the lower one, with the normals of the sphere.
SymbolMeshGL sphere() {
    constexpr int slices = 8, stacks = 6;
    constexpr double pi = 3.14159265358979323846;
    SymbolMeshGL mesh;
    const auto addVertex = [&mesh](double x, double y, double z) {
        for (double value : {x, y, z})
            mesh.positions.push_back(float(value));
    };
    addVertex(0, 0, 1);
    for (int j = 1; j < stacks; ++j)
        for (int i = 0; i < slices; ++i)
            addVertex(std::sin(pi * j / stacks) * std::cos(2 * pi * i / slices),
                      std::sin(pi * j / stacks) * std::sin(2 * pi * i / slices), std::cos(pi * j / stacks));
    addVertex(0, 0, -1);
    mesh.normals = mesh.positions;
    const auto ring = [](int j, int i) { return unsigned(1 + (j - 1) * slices + i % slices); };
    const unsigned int last = 1 + (stacks - 1) * slices;
    for (int i = 0; i < slices; ++i) {
        mesh.indexes.insert(mesh.indexes.end(), {0, ring(1, i), ring(1, i + 1)});
        for (int j = 1; j + 1 < stacks; ++j)
            mesh.indexes.insert(mesh.indexes.end(), {ring(j, i), ring(j + 1, i), ring(j + 1, i + 1), ring(j, i),
                                                     ring(j + 1, i + 1), ring(j, i + 1)});
        mesh.indexes.insert(mesh.indexes.end(), {last, ring(stacks - 1, i + 1), ring(stacks - 1, i)});
    }
    return mesh;
}

SymbolMeshGL cube() {
    const float h = 0.5f * 1.611992f; // cube root of 4/3 pi
    SymbolMeshGL mesh;
    addFace(mesh, {{h, -h, -h}, {h, h, -h}, {h, h, h}, {h, -h, h}});
    addFace(mesh, {{-h, -h, -h}, {-h, -h, h}, {-h, h, h}, {-h, h, -h}});
    addFace(mesh, {{-h, h, -h}, {-h, h, h}, {h, h, h}, {h, h, -h}});
    addFace(mesh, {{-h, -h, -h}, {h, -h, -h}, {h, -h, h}, {-h, -h, h}});
    addFace(mesh, {{-h, -h, h}, {h, -h, h}, {h, h, h}, {-h, h, h}});
    addFace(mesh, {{-h, -h, -h}, {-h, h, -h}, {h, h, -h}, {h, -h, -h}});
    return mesh;
}

SymbolMeshGL diamond() {
    const float h = 0.5f * 2.3248947f; // cube root of 4 pi
    const std::array<Point, 4> square = {{{h, h, 0}, {-h, h, 0}, {-h, -h, 0}, {h, -h, 0}}};
    SymbolMeshGL mesh;
    for (int k = 0; k < 4; ++k) {
        addFace(mesh, {square[k], square[(k + 1) % 4], {0, 0, h}});
        addFace(mesh, {square[(k + 1) % 4], square[k], {0, 0, -h}});
    }
    return mesh;
}

SymbolMeshGL tetrahedron() {
    const float a = 0.5f * 3.2878976f; // half the side
    const float b = a / std::sqrt(3.0f);
    const float c = std::sqrt(0.5f) * b;
    const Point p0 = {-a, -b, -c}, p1 = {0, 2 * b, -c}, p2 = {a, -b, -c}, apex = {0, 0, 3 * c};
    SymbolMeshGL mesh;
    addFace(mesh, {p0, p1, p2});
    addFace(mesh, {p1, p0, apex});
    addFace(mesh, {p2, p1, apex});
    addFace(mesh, {p0, p2, apex});
    return mesh;
}

} // namespace

SymbolMeshGL SymbolMeshGL::of(VertexSymbolGL symbol) {
    switch (symbol) {
    case SphereSymbolGL:
        return sphere();
    case CubeSymbolGL:
        return cube();
    case TetrahedronSymbolGL:
        return tetrahedron();
    case DiamondSymbolGL:
        return diamond();
    case UndefinedSymbolGL:
    case DotSymbolGL:
        break;
    }
    return {};
}

void SymbolArrayGL::clear() {
    *this = SymbolArrayGL();
}

void SymbolArrayGL::prepare(VertexSymbolGL symbol, std::vector<float> centers, std::vector<float> sizes,
                            std::size_t limit) {
    clear();
    __mesh = SymbolMeshGL::of(symbol);
    __centers = std::move(centers);
    __sizes = std::move(sizes);
    const unsigned int verticesEach = unsigned(__mesh.positions.size() / 3);
    const int inBlock = std::min(getSize(), blockSize);
    for (int s = 0; s < inBlock; ++s) {
        __normals.insert(__normals.end(), __mesh.normals.begin(), __mesh.normals.end());
        for (unsigned int index : __mesh.indexes)
            __indexes.push_back(unsigned(s) * verticesEach + index);
    }
    if (std::size_t(getSize()) * verticesEach <= limit) {
        __positions.resize(std::size_t(getSize()) * __mesh.positions.size());
        __write(0, getSize(), __positions.data());
    }
}

void SymbolArrayGL::glDraw() const {
    if (getSize() == 0 || __mesh.indexes.empty())
        return;
    const GLboolean culled = glIsEnabled(GL_CULL_FACE);
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    glNormalPointer(GL_FLOAT, 0, __normalBuffer.bind(__normals.data(), __normals.size() * sizeof(float)));
    __normalBuffer.release();
    const char* indexes = __indexBuffer.bind(__indexes.data(), __indexes.size() * sizeof(unsigned int));
    const char* positions = __positionBuffer.bind(__positions.data(), __positions.size() * sizeof(float));
    std::vector<float> block;
    for (int first = 0; first < getSize(); first += blockSize) {
        const int count = std::min(blockSize, getSize() - first);
        if (__positions.empty()) {
            block.resize(std::size_t(blockSize) * __mesh.positions.size());
            __write(first, count, block.data());
            __drawBlock(block.data(), indexes, count);
        } else {
            // The address counts from null where the graphics have the positions.
            const std::uintptr_t offset = std::size_t(first) * __mesh.positions.size() * sizeof(float);
            __drawBlock(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(positions) + offset), indexes,
                        count);
        }
    }
    __positionBuffer.release();
    __indexBuffer.release();
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
    if (!culled)
        glDisable(GL_CULL_FACE);
}

void SymbolArrayGL::__write(int first, int count, float* out) const {
    const std::size_t n = __mesh.positions.size();
    for (int s = first; s < first + count; ++s) {
        const float size = __sizes.size() == 1 ? __sizes[0] : __sizes[std::size_t(s)];
        const float* center = __centers.data() + 3 * std::size_t(s);
        for (std::size_t i = 0; i < n; i += 3)
            for (std::size_t k = 0; k < 3; ++k)
                *out++ = center[k] + size * __mesh.positions[i + k];
    }
}

void SymbolArrayGL::__drawBlock(const void* positions, const void* indexes, int count) const {
    glVertexPointer(3, GL_FLOAT, 0, positions);
    glDrawRangeElements(GL_TRIANGLES, 0, GLuint(count * int(__mesh.positions.size() / 3) - 1),
                        GLsizei(count * int(__mesh.indexes.size())), GL_UNSIGNED_INT, indexes);
}

} // namespace vorlen
