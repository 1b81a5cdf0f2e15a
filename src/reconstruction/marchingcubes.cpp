#include "reconstruction/marchingcubes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "numerics/exception.h"
#include "reconstruction/marchingcube.h"

namespace vorlen {

namespace {

constexpr char buildPlace[] = "TriMesh<float> MarchingCubes<T>::buildMesh(const VoxelMatrix<T>&, T, bool)";

/// The type of field values, which holds the differences of two T, and the one in which products of them are compared.
template <class T>
using FieldValue = std::conditional_t<std::is_same_v<T, int>, double, T>;
template <class T>
using Wide = std::conditional_t<std::is_same_v<T, long double>, long double, double>;

/// What counts as field value beyond the border and for voxels that are not a number.
constexpr int outsideValue = -1;

using Word = std::uint32_t;
constexpr int wordBits = 32;

/// Vertices while their lists grow: the list in the upper two bits, the place in it in the others.
using VertexCode = std::uint32_t;
enum VertexList : VertexCode { ListX, ListY, ListZ, ListInner, numLists };
constexpr int placeBits = 30;
constexpr VertexCode placeMask = (VertexCode(1) << placeBits) - 1;

VertexCode vertexCode(VertexList list, std::size_t place) {
    return VertexCode(list) << placeBits | VertexCode(place);
}

/// A list that grows by blocks and moves nothing, so that long lists cost no copying and no second memory.
template <class Item>
class GrowingList {
public:
    std::size_t size() const { return __size; }
    void append(const Item& item) {
        if (__size % blockSize == 0)
            __blocks.push_back(std::make_unique_for_overwrite<Item[]>(blockSize));
        __blocks.back()[__size % blockSize] = item;
        ++__size;
    }
    const Item& operator[](std::size_t n) const { return __blocks[n / blockSize][n % blockSize]; }
    void clear() {
        __blocks.clear();
        __size = 0;
    }
    /// Calls operation(item) for all items in order.
    template <class Operation>
    void forEach(Operation operation) const {
        std::size_t left = __size;
        for (const std::unique_ptr<Item[]>& block : __blocks) {
            const Item* const end = block.get() + std::min(left, blockSize);
            for (const Item* item = block.get(); item != end; ++item)
                operation(*item);
            left -= std::min(left, blockSize);
        }
    }

private:
    static constexpr std::size_t blockSize = 8192;
    std::vector<std::unique_ptr<Item[]>> __blocks;
    std::size_t __size = 0;
};

using Point = std::array<float, 3>;

/// The grid positions of one first index: columns j and planes k, counted from 0 with the layer outside, if there is
/// one.
template <class Field>
struct Layer {
    std::vector<Field> values;         ///< (j, k) at k * columns + j
    std::vector<Word> inside;          ///< bit k % 32 of word (k / 32) * columns + j
    std::vector<VertexCode> verticesY; ///< of the edge from (j, k) to (j + 1, k), at j * planes + k where it is crossed
    std::vector<VertexCode> verticesZ; ///< of the edge from (j, k) to (j, k + 1)
};

/// Where the surface crosses an edge between the values f, at the index, and next, one further on, as the distance from
/// f. One of the two is inside.
template <class Field>
Field crossing(Field f, Field next) {
    const Field difference = f - next;
    if (std::isfinite(difference))
        return std::abs(f / difference);
    if (std::isinf(f))
        return std::isinf(next) ? Field(0.5) : Field(1);
    return std::isinf(next) ? Field(0) : std::abs((f / 2) / (f / 2 - next / 2));
}

/// One run of the marching cubes over a volume. Layers are made one after the other; two of them are kept.
template <class T>
class SurfaceBuilder {
public:
    SurfaceBuilder(const VoxelMatrix<T>& matrix, T level, bool closed)
        : __matrix(matrix), __level(level), __first(closed ? -1 : 0) {
        const int added = closed ? 2 : 0;
        __rows = matrix.getSize1() + added;
        __columns = matrix.getSize2() + added;
        __planes = matrix.getSize3() + added;
    }

    /// Layers of cubes.
    int numLayers() const { return isEmpty() ? 0 : __rows - 1; }

    /// Makes the first layer ready. Comes before the first addCubes().
    void start();
    /// The cubes between layer i and the next one.
    void addCubes(int i);
    /// Forgets all cubes added.
    void clear();
    /// The surface within the cubes added.
    TriMesh<float> mesh() const;

private:
    using Field = FieldValue<T>;
    using Tables = MarchingCubesTables;

    bool isEmpty() const {
        return __rows < 2 || __columns < 2 || __planes < 2 || __matrix.getSize1() == 0 || __matrix.getSize2() == 0 ||
               __matrix.getSize3() == 0;
    }
    void fillLayer(int i);
    void addLayerVertices(int i);
    void addRowVertices(int i);
    void findActiveCubes();
    void addColumnCubes(int j, int w);
    void addCube(int code, int j, int k);

    void addVertex(VertexList list, int axis, int i, int j, int k, Field f, Field next);
    VertexCode addInnerVertex(int code, const std::array<const VertexCode*, 12>& edges, int k);
    const Point& point(VertexCode vertex) const { return __vertices[vertex >> placeBits][vertex & placeMask]; }

    /// Words of one column of a layer.
    int words() const { return (__planes + wordBits - 1) / wordBits; }
    /// The bits of word w that stand for planes below count.
    static Word planesBelow(int count, int w) {
        const int n = std::clamp(count - w * wordBits, 0, wordBits);
        return n == wordBits ? ~Word(0) : (Word(1) << n) - 1;
    }
    /// Word w of column j with each bit moved to the plane before it.
    Word nextPlane(const std::vector<Word>& bits, int w, int j) const {
        const std::size_t at = std::size_t(w) * __columns + j;
        const Word carried = w + 1 < words() ? bits[at + __columns] << (wordBits - 1) : 0;
        return bits[at] >> 1 | carried;
    }
    /// Calls operation(k) for the planes of the bits set in word w.
    template <class Operation>
    static void forEachPlane(Word bits, int w, Operation operation) {
        for (; bits != 0; bits &= bits - 1)
            operation(w * wordBits + std::countr_zero(bits));
    }

    const VoxelMatrix<T>& __matrix;
    const T __level;
    const int __first; ///< index of the voxel at position 0
    int __rows, __columns, __planes;
    const Tables& __tables = Tables::instance();

    Layer<Field> __here, __next;
    std::vector<VertexCode> __verticesX; ///< of the edges from (j, k) of this layer to the next, at j * planes + k
    std::vector<Word> __anyInside, __allInside, __active; ///< for the cubes of a layer, at the places of inside
    GrowingList<Point> __vertices[numLists];
    GrowingList<std::array<VertexCode, 3>> __triangles;
};

template <class T>
void SurfaceBuilder<T>::start() {
    const std::size_t positions = std::size_t(__columns) * __planes, bits = std::size_t(__columns) * words();
    for (Layer<Field>* layer : {&__here, &__next}) {
        layer->values.resize(positions);
        layer->inside.resize(bits);
        layer->verticesY.resize(positions);
        layer->verticesZ.resize(positions);
    }
    __verticesX.resize(positions);
    for (std::vector<Word>* cubes : {&__anyInside, &__allInside, &__active})
        cubes->resize(bits);
    fillLayer(0);
    addLayerVertices(0);
    std::swap(__here, __next);
}

/// Fills __next with the field of layer i. Moves 4 to 16 bytes in and out for each voxel.
template <class T>
void SurfaceBuilder<T>::fillLayer(int i) {
    std::fill(__next.inside.begin(), __next.inside.end(), 0);
    const int row = i + __first;
    if (row < 0 || row >= __matrix.getSize1()) {
        std::fill(__next.values.begin(), __next.values.end(), Field(outsideValue));
        return;
    }
    const int size = __matrix.getSize2();
    const Field level = Field(__level);
    for (int k = 0; k < __planes; ++k) {
        Field* values = __next.values.data() + std::size_t(k) * __columns;
        const int plane = k + __first;
        if (plane < 0 || plane >= __matrix.getSize3()) {
            std::fill(values, values + __columns, Field(outsideValue));
            continue;
        }
        Word* inside = __next.inside.data() + std::size_t(k / wordBits) * __columns;
        const Word bit = Word(1) << k % wordBits;
        if (__first < 0) {
            values[0] = values[__columns - 1] = Field(outsideValue);
            ++values;
            ++inside;
        }
        const T* voxels = __matrix[plane][row].data();
        for (int j = 0; j < size; ++j) {
            const Field value = Field(voxels[j]) - level;
            values[j] = value == value ? value : Field(outsideValue);
            inside[j] |= value >= 0 ? bit : 0;
        }
    }
}

/// The vertices on the edges within __next, which is layer i.
template <class T>
void SurfaceBuilder<T>::addLayerVertices(int i) {
    const Field* values = __next.values.data();
    for (int j = 0; j < __columns; ++j) {
        VertexCode* verticesY = __next.verticesY.data() + std::size_t(j) * __planes;
        VertexCode* verticesZ = __next.verticesZ.data() + std::size_t(j) * __planes;
        for (int w = 0; w < words(); ++w) {
            const Word inside = __next.inside[std::size_t(w) * __columns + j];
            if (j + 1 < __columns) {
                const Word crossed = inside ^ __next.inside[std::size_t(w) * __columns + j + 1];
                forEachPlane(crossed, w, [&](int k) {
                    const Field* f = values + std::size_t(k) * __columns + j;
                    verticesY[k] = vertexCode(ListY, __vertices[ListY].size());
                    addVertex(ListY, 1, i, j, k, f[0], f[1]);
                });
            }
            const Word crossed = (inside ^ nextPlane(__next.inside, w, j)) & planesBelow(__planes - 1, w);
            forEachPlane(crossed, w, [&](int k) {
                const Field* f = values + std::size_t(k) * __columns + j;
                verticesZ[k] = vertexCode(ListZ, __vertices[ListZ].size());
                addVertex(ListZ, 2, i, j, k, f[0], f[__columns]);
            });
        }
    }
}

/// The vertices on the edges from __here, which is layer i, to __next.
template <class T>
void SurfaceBuilder<T>::addRowVertices(int i) {
    for (int j = 0; j < __columns; ++j) {
        VertexCode* verticesX = __verticesX.data() + std::size_t(j) * __planes;
        for (int w = 0; w < words(); ++w) {
            const std::size_t at = std::size_t(w) * __columns + j;
            forEachPlane(__here.inside[at] ^ __next.inside[at], w, [&](int k) {
                const std::size_t position = std::size_t(k) * __columns + j;
                verticesX[k] = vertexCode(ListX, __vertices[ListX].size());
                addVertex(ListX, 0, i, j, k, __here.values[position], __next.values[position]);
            });
        }
    }
}

/// Vertex of the edge along the axis from position (i, j, k). A crossing between a voxel and a place beyond the border
/// stands on the voxel.
template <class T>
void SurfaceBuilder<T>::addVertex(VertexList list, int axis, int i, int j, int k, Field f, Field next) {
    if (__vertices[list].size() > placeMask)
        throw SizeError(buildPlace, "The surface has too many vertices");
    const int position[3] = {i + __first, j + __first, k + __first};
    Point xyz = {float(position[0]), float(position[1]), float(position[2])};
    if (position[axis] < 0)
        xyz[axis] = 0;
    else if (position[axis] + 1 < __matrix.getSize(axis + 1))
        xyz[axis] = float(Field(position[axis]) + crossing(f, next));
    __vertices[list].append(xyz);
}

/// The cubes between __here and __next that have corners inside and outside, as bits at the place of corner 0.
template <class T>
void SurfaceBuilder<T>::findActiveCubes() {
    for (int w = 0; w < words(); ++w) {
        const std::size_t at = std::size_t(w) * __columns;
        const Word *a = __here.inside.data() + at, *b = __next.inside.data() + at;
        Word *any = __anyInside.data() + at, *all = __allInside.data() + at;
        for (int j = 0; j + 1 < __columns; ++j) {
            any[j] = a[j] | a[j + 1] | b[j] | b[j + 1];
            all[j] = a[j] & a[j + 1] & b[j] & b[j + 1];
        }
    }
    for (int w = 0; w < words(); ++w) {
        const std::size_t at = std::size_t(w) * __columns;
        const Word valid = planesBelow(__planes - 1, w);
        // Past the last word stands anything: its bits are not valid.
        const std::size_t after = w + 1 < words() ? at + __columns : at;
        const Word *any = __anyInside.data() + at, *all = __allInside.data() + at;
        const Word *anyAfter = __anyInside.data() + after, *allAfter = __allInside.data() + after;
        Word* active = __active.data() + at;
        for (int j = 0; j + 1 < __columns; ++j) {
            const Word anyOfBoth = any[j] | any[j] >> 1 | anyAfter[j] << (wordBits - 1);
            const Word allOfBoth = all[j] & (all[j] >> 1 | allAfter[j] << (wordBits - 1));
            active[j] = anyOfBoth & ~allOfBoth & valid;
        }
    }
}

template <class T>
void SurfaceBuilder<T>::addCubes(int i) {
    fillLayer(i + 1);
    addLayerVertices(i + 1);
    addRowVertices(i);
    findActiveCubes();
    for (int j = 0; j + 1 < __columns; ++j)
        for (int w = 0; w < words(); ++w)
            addColumnCubes(j, w);
    std::swap(__here, __next);
}

/// The cubes at column j and the planes of word w.
template <class T>
void SurfaceBuilder<T>::addColumnCubes(int j, int w) {
    const Word active = __active[std::size_t(w) * __columns + j];
    if (active == 0)
        return;
    const std::size_t at = std::size_t(w) * __columns + j;
    const Word corners[8] = {__here.inside[at],
                             __next.inside[at],
                             __next.inside[at + 1],
                             __here.inside[at + 1],
                             nextPlane(__here.inside, w, j),
                             nextPlane(__next.inside, w, j),
                             nextPlane(__next.inside, w, j + 1),
                             nextPlane(__here.inside, w, j + 1)};
    forEachPlane(active, w, [&](int k) {
        int code = 0;
        for (int c = 0; c < 8; ++c)
            code |= int(corners[c] >> k % wordBits & 1) << c;
        addCube(code, j, k);
    });
}

template <class T>
void SurfaceBuilder<T>::addCube(int code, int j, int k) {
    // Most codes are decided without the values.
    const auto cube = [&] {
        const Field* here = __here.values.data() + std::size_t(k) * __columns + j;
        const Field* next = __next.values.data() + std::size_t(k) * __columns + j;
        return MarchingCube<Wide<T>>{{here[0], next[0], next[1], here[1], here[__columns], next[__columns],
                                      next[__columns + 1], here[__columns + 1]}};
    };
    const CubeTiling<const Tables::Code> tiling = __tables.tiling(
        code, [&](int face) { return cube().testFace(face); },
        [&](bool inside, int edge) { return cube().testInterior(inside, edge); });

    const std::size_t column = std::size_t(j) * __planes, beside = column + __planes;
    const std::array<const VertexCode*, 12> edges = {
        &__verticesX[column],      &__next.verticesY[column],     &__verticesX[beside],
        &__here.verticesY[column], &__verticesX[column] + 1,      &__next.verticesY[column] + 1,
        &__verticesX[beside] + 1,  &__here.verticesY[column] + 1, &__here.verticesZ[column],
        &__next.verticesZ[column], &__next.verticesZ[beside],     &__here.verticesZ[beside]};
    VertexCode inner = 0;
    if (tiling.hasInnerVertex())
        inner = addInnerVertex(code, edges, k);
    const Tables::Code* row = tiling.row;
    for (int n = 0; n < tiling.numTriangles; ++n) {
        std::array<VertexCode, 3> triangle;
        for (VertexCode& vertex : triangle) {
            vertex = *row == Tables::innerVertex ? inner : edges[*row][k];
            ++row;
        }
        __triangles.append(triangle);
    }
}

/// The mean of the vertices on the cube's edges.
template <class T>
VertexCode SurfaceBuilder<T>::addInnerVertex(int code, const std::array<const VertexCode*, 12>& edges, int k) {
    Point mean = {0, 0, 0};
    int count = 0;
    for (int e = 0; e < 12; ++e) {
        if ((code >> Tables::edgeEnds[e][0] & 1) == (code >> Tables::edgeEnds[e][1] & 1))
            continue;
        const Point& vertex = point(edges[e][k]);
        for (int n = 0; n < 3; ++n)
            mean[n] += vertex[n];
        ++count;
    }
    GrowingList<Point>& vertices = __vertices[ListInner];
    if (vertices.size() > placeMask)
        throw SizeError(buildPlace, "The surface has too many vertices");
    for (float& coordinate : mean)
        coordinate /= float(count);
    vertices.append(mean);
    return vertexCode(ListInner, vertices.size() - 1);
}

template <class T>
void SurfaceBuilder<T>::clear() {
    for (GrowingList<Point>& list : __vertices)
        list.clear();
    __triangles.clear();
}

template <class T>
TriMesh<float> SurfaceBuilder<T>::mesh() const {
    std::size_t firsts[numLists];
    std::size_t total = 0;
    for (int list = 0; list < int(numLists); ++list) {
        firsts[list] = total;
        total += __vertices[list].size();
    }
    if (total > std::size_t(std::numeric_limits<int>::max()) ||
        __triangles.size() > std::size_t(std::numeric_limits<int>::max()))
        throw SizeError(buildPlace, "The surface has too many vertices");

    TriMesh<float> mesh(3, int(total), int(total), int(total));
    mesh.reserveTriangles(static_cast<unsigned int>(__triangles.size()));
    int number = 0;
    for (const GrowingList<Point>& list : __vertices)
        list.forEach([&](const Point& vertex) { std::copy_n(vertex.data(), 3, mesh[number++].data()); });
    __triangles.forEach([&](const std::array<VertexCode, 3>& triangle) {
        unsigned int numbers[3];
        for (int n = 0; n < 3; ++n)
            numbers[n] = static_cast<unsigned int>(firsts[triangle[n] >> placeBits] + (triangle[n] & placeMask));
        mesh.addTriangle(numbers[0], numbers[1], numbers[2]);
    });
    mesh.computeNormals();
    return mesh;
}

} // namespace

template <class T>
TriMesh<float> MarchingCubes<T>::buildMesh(const VoxelMatrix<T>& matrix, T level, bool closedSurface) {
    SurfaceBuilder<T> builder(matrix, level, closedSurface);
    const int layers = builder.numLayers();
    notifyStarted("Building the surface...");
    if (layers > 0)
        builder.start();
    for (int i = 0; i < layers && !isCanceled(); ++i) {
        builder.addCubes(i);
        notifyProgressed(static_cast<unsigned int>(i + 1), static_cast<unsigned int>(layers));
    }
    const bool canceled = isCanceled();
    if (canceled)
        builder.clear();
    TriMesh<float> mesh = builder.mesh();
    if (canceled)
        notifyCanceled("");
    else
        notifyFinished("");
    return mesh;
}

template class MarchingCubes<int>;
template class MarchingCubes<float>;
template class MarchingCubes<double>;
template class MarchingCubes<long double>;

} // namespace vorlen
