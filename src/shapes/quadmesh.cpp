#include "shapes/quadmesh.h"

#include "numerics/elementtype.h"
#include "numerics/rowkernels.h"
#include "shapes/shapearithmetic.h"
#include "shapes/shapeinterpolation.h"
#include "shapes/shapeset.h"

#include <algorithm>
#include <cmath>

namespace vorlen {

namespace {

constexpr int capHeight = 10;

/// Whether all levels of the stack have one size.
template <class T>
bool isRegular(const CurveStack<T>& stack) {
    for (int r = 1; r < stack.getHeight(); r++)
        if (stack.level(r).getNumVertices() != stack.level(0).getNumVertices())
            return false;
    return true;
}

/// See toTriMesh(). The mesh is a variable of the whole function, so that it is made in its place: a copy of a large
/// one takes as much again.
template <class T>
TriMesh<T> trianglesOf(const QuadMesh<T>& levels) {
    const int height = levels.getHeight(), width = levels.getWidth(), size = height * width;
    if (size > 0 && levels.getSpace() != 3)
        throw SizeError("TriMesh<T> QuadMesh<T>::toTriMesh(const bool) const", "The mesh is not of space 3");
    TriMesh<T> mesh(3, size, size, size);
    for (int r = 0; r < height; r++)
        for (int c = 0; c < width; c++)
            mesh[r * width + c] = levels[r][c];
    // With room for two ends of a ring and a lid each, which are often added.
    const auto w = static_cast<unsigned int>(width);
    mesh.reserveTriangles(w * static_cast<unsigned int>(2 * height + 6));
    for (int r = 1; r < height && width > 0; r++) {
        const unsigned int begin = static_cast<unsigned int>(r - 1) * w;
        for (unsigned int a = begin; a + 1 < begin + w; a++) {
            mesh.addTriangle(a, a + 1, a + w);
            mesh.addTriangle(a + w, a + 1, a + 1 + w);
        }
        if (levels.isClosed()) {
            mesh.addTriangle(begin + w - 1, begin, begin + 2 * w - 1);
            mesh.addTriangle(begin + 2 * w - 1, begin, begin + w);
        }
    }
    return mesh;
}

} // namespace

template <class T>
QuadMesh<T>::QuadMesh() = default;

template <class T>
QuadMesh<T>::QuadMesh(int space, int height, int width, int capacity, int growth, bool open)
    : CurveStack<T>(space, height, width, capacity, growth, open) {
}

template <class T>
QuadMesh<T>::QuadMesh(const CurveStack<T>& stack) : CurveStack<T>(stack) {
    if (!isRegular(stack)) {
        throw SizeError("QuadMesh<T>::QuadMesh(const Curvestack<T>&)",
                        "Curve size is not constant along the curve stack");
    }
}

template <class T>
QuadMesh<T>::QuadMesh(const QuadMesh& mesh) : CurveStack<T>(mesh) {
    if (mesh.__beginCap) {
        __setCap(__beginCap, std::make_unique<QuadMesh>(*mesh.__beginCap));
        __beginCap->detach();
    }
    if (mesh.__endCap) {
        __setCap(__endCap, std::make_unique<QuadMesh>(*mesh.__endCap));
        __endCap->detach();
    }
}

template <class T>
QuadMesh<T>::QuadMesh(const std::string& filename) {
    this->load(filename);
}

template <class T>
QuadMesh<T>::~QuadMesh() = default;

template <class T>
QuadMesh<T>& QuadMesh<T>::operator=(const QuadMesh& mesh) {
    if (this != &mesh) {
        QuadMesh copy(mesh);
        std::unique_ptr<QuadMesh<int>> colors;
        if (mesh.__vertexColors) {
            colors = std::make_unique<QuadMesh<int>>(*mesh.__vertexColors);
            colors->detach();
        }
        CurveStack<T>::operator=(mesh);
        __setCap(__beginCap, std::move(copy.__beginCap));
        __setCap(__endCap, std::move(copy.__endCap));
        __vertexColors = std::move(colors);
    }
    return *this;
}

template <class T>
void QuadMesh<T>::assign(const VertexClient<T>& other) {
    if (this == &other)
        return;
    if (!isRegular(dynamic_cast<const CurveStack<T>&>(other))) {
        throw SizeError("void QuadMesh<T>::assign(const VertexClient<T>&)",
                        "Curve size is not constant along the curve stack");
    }
    CurveStack<T>::assign(other);
    destroyCaps();
    __vertexColors.reset();
}

template <class T>
void QuadMesh<T>::detach() {
    CurveStack<T>::detach();
    if (__beginCap)
        __beginCap->detach();
    if (__endCap)
        __endCap->detach();
}

template <class T>
QuadMesh<T>* QuadMesh<T>::clone() const {
    return new QuadMesh(*this);
}

template <class T>
ShapeType QuadMesh<T>::getShapeType() const {
    return this->isOpen() ? OpenQuadMeshType : ClosedQuadMeshType;
}

template <class T>
void QuadMesh<T>::operator+=(const Shape<T>& shape) {
    __combine(shape, false, "void QuadMesh<T>::operator+=(const QuadMesh&)");
}

template <class T>
void QuadMesh<T>::operator-=(const Shape<T>& shape) {
    __combine(shape, true, "void QuadMesh<T>::operator-=(const QuadMesh&)");
}

/// All levels have one size and closure, so that a failure comes with the first level, before any change.
template <class T>
void QuadMesh<T>::__combine(const Shape<T>& shape, bool subtract, const char* where) {
    const QuadMesh* mesh = dynamic_cast<const QuadMesh*>(&shape);
    if (!mesh) {
        throw UsageError(where, subtract ? "Shapes are not compatible for subtraction"
                                         : "Shapes are not compatible for addition");
    }
    if (this->getHeight() != mesh->getHeight())
        throw SizeError(where, "Incompatible mesh heights");
    try {
        for (int r = 0; r < this->getHeight(); r++)
            if (subtract)
                this->level(r) -= mesh->level(r);
            else
                this->level(r) += mesh->level(r);
        __combineCap(__beginCap, mesh->__beginCap.get(), subtract);
        __combineCap(__endCap, mesh->__endCap.get(), subtract);
    } catch (Exception& exception) {
        exception.addCall(where);
        throw;
    }
}

template <class T>
void QuadMesh<T>::__combineCap(std::unique_ptr<QuadMesh>& cap, const QuadMesh* other, bool subtract) {
    if (!cap)
        return;
    if (!other)
        __setCap(cap, nullptr);
    else if (subtract)
        *cap -= *other;
    else
        *cap += *other;
}

template <class T>
ShapeType QuadMesh<T>::read(std::istream& stream) {
    CurveStack<T> stack;
    const ShapeType type = stack.read(stream);
    if (!isRegular(stack))
        throw FileFormatError("ShapeType QuadMesh<T>::read(istream&)", "The levels of the mesh differ in size");
    stack.setOpen(type == OpenQuadMeshType);
    assign(stack);
    return type;
}

template <class T>
int QuadMesh<T>::getWidth() const {
    return this->getHeight() > 0 ? this->level(0).getNumVertices() : 0;
}

template <class T>
bool QuadMesh<T>::__hasDimensionsOf(const QuadMesh& mesh) const {
    return this->getHeight() == mesh.getHeight() && getWidth() == mesh.getWidth();
}

template <class T>
std::unique_ptr<QuadMesh<T>> QuadMesh<T>::__buildCap(const Curve<T>& boundary) const {
    if constexpr (std::is_same_v<T, int>) {
        (void)boundary;
        throw UsageError("void QuadMesh<int>::buildCap(const Curve<int>&, QuadMesh&)",
                         "Method undefined for type 'int'");
    } else {
        Curve<T> center = boundary;
        center.detach();
        const Vector<T> cog = center.cog();
        center.translate(-cog);
        center *= T(0.01);
        center.translate(cog);

        const int width = boundary.getNumVertices();
        const int size = capHeight * width;
        auto cap = std::make_unique<QuadMesh>(boundary.getSpace(), capHeight, width, size, size, false);
        ShapeInterpolation<T> interpolation;
        interpolation.setSourceShape(boundary);
        interpolation.setTargetShape(center);
        Curve<T> ring;
        for (int r = 0; r < capHeight; r++) {
            const T step = 1 - std::sqrt(T(capHeight - 1 - r) / (capHeight - 1));
            interpolation.apply(step, ring);
            Curve<T>& level = cap->level(r);
            for (int c = 0; c < width; c++)
                level[c] = ring[c];
        }
        return cap;
    }
}

/// Replaces the cap in the slot, in the extensions as well; null takes it away.
template <class T>
void QuadMesh<T>::__setCap(std::unique_ptr<QuadMesh>& slot, std::unique_ptr<QuadMesh> cap) {
    if (slot)
        this->getExtensions().removeShape(slot.get());
    slot = std::move(cap);
    if (slot)
        this->getExtensions().addShape(slot.get(), false);
}

template <class T>
void QuadMesh<T>::buildBeginCap() {
    if (this->isOpen())
        return;
    if (getWidth() == 0)
        throw SizeError("void QuadMesh<T>::buildBeginCap()", "This mesh contains no contour");
    __setCap(__beginCap, __buildCap(this->getFirstCurve()));
}

template <class T>
void QuadMesh<T>::buildEndCap() {
    if (this->isOpen())
        return;
    if (getWidth() == 0)
        throw SizeError("void QuadMesh<T>::buildEndCap()", "This mesh contains no contour");
    __setCap(__endCap, __buildCap(this->getLastCurve()));
}

template <class T>
void QuadMesh<T>::buildCaps() {
    buildBeginCap();
    buildEndCap();
}

template <class T>
void QuadMesh<T>::destroyBeginCap() {
    __setCap(__beginCap, nullptr);
}

template <class T>
void QuadMesh<T>::destroyEndCap() {
    __setCap(__endCap, nullptr);
}

template <class T>
void QuadMesh<T>::destroyCaps() {
    destroyBeginCap();
    destroyEndCap();
}

template <class T>
void QuadMesh<T>::extendToCaps() {
    // The caps outlive the mesh's hold on them: a level that is added at an end takes the cap there away.
    std::unique_ptr<QuadMesh> beginCap, endCap;
    if (__beginCap)
        beginCap = std::make_unique<QuadMesh>(*__beginCap);
    if (__endCap)
        endCap = std::make_unique<QuadMesh>(*__endCap);
    destroyCaps();
    if (beginCap)
        for (int r = 1; r < beginCap->getHeight(); r++)
            prepend(beginCap->level(r));
    if (endCap)
        for (int r = 1; r < endCap->getHeight(); r++)
            append(endCap->level(r));
}

template <class T>
void QuadMesh<T>::prepend(const Vertices<T>& curve) {
    __insert(0, curve, "void QuadMesh<T>::prepend(const Curve<T>&)");
}

template <class T>
void QuadMesh<T>::append(const Vertices<T>& curve) {
    __insert(this->getHeight(), curve, "void QuadMesh<T>::append(const Curve<T>&)");
}

template <class T>
void QuadMesh<T>::insert(unsigned int pos, const Vertices<T>& curve) {
    __insert(pos, curve, "void QuadMesh<T>::insert(const unsigned int,const Curve<T>&)");
}

template <class T>
void QuadMesh<T>::__insert(unsigned int pos, const Vertices<T>& curve, const char* where) {
    const int height = this->getHeight();
    if (height > 0 && curve.getNumVertices() != getWidth())
        throw SizeError(where, "Incompatible curve size");
    CurveStack<T>::insert(pos, curve);
    if (pos == 0)
        destroyBeginCap();
    if (int(pos) == height)
        destroyEndCap();
    __vertexColors.reset();
}

template <class T>
unsigned int QuadMesh<T>::findMatch(const QuadMesh& mesh) const {
    if (!__hasDimensionsOf(mesh))
        throw SizeError("unsigned int QuadMesh::findMatch(const QuadMesh&) const", "Incompatible mesh dimensions");
    if (this->isOpen() || mesh.isOpen())
        throw TypeError("unsigned int QuadMesh<T>::findMatch(const QuadMesh&) const", "Cannot match open meshes");
    const int width = getWidth();
    if (width < 2)
        return 0;
    if (this->getSpace() != mesh.getSpace()) {
        throw SizeError("unsigned int QuadMesh<T>::findMatch(const QuadMesh&) const",
                        "The two vectors have different sizes");
    }
    // One coordinate of one level at a time, this mesh's twice in a row, so that a shift is a plain scalar product.
    using W = WideCoordinate<T>;
    const int space = this->getSpace();
    std::vector<W> scores(width, W(0)), x(2 * std::size_t(width)), y(width);
    std::vector<W*> shifted(width); // by 0, 1, ...: row c holds what vertex c of the other meets under each shift
    for (int c = 0; c < width; c++)
        shifted[c] = x.data() + c;
    for (int r = 0; r < this->getHeight(); r++) {
        const Curve<T>& level = this->level(r);
        const Curve<T>& otherLevel = mesh.level(r);
        for (int axis = 0; axis < space; axis++) {
            for (int c = 0; c < width; c++) {
                x[c] = x[c + width] = level[c][axis];
                y[c] = otherLevel[c][axis];
            }
            rowkernels::addRows(scores.data(), y.data(), shifted.data(), width, 0, width);
        }
    }
    return static_cast<unsigned int>(std::max_element(scores.begin(), scores.end()) - scores.begin());
}

template <class T>
unsigned int QuadMesh<T>::match(const QuadMesh& mesh) {
    const int shift = int(findMatch(mesh));
    for (int r = 0; r < this->getHeight(); r++)
        this->level(r).setOrigin(shift);
    for (QuadMesh* cap : {__beginCap.get(), __endCap.get()})
        for (int r = 0; cap && r < cap->getHeight(); r++)
            cap->level(r).setOrigin(shift);
    return static_cast<unsigned int>(shift);
}

template <class T>
void QuadMesh<T>::setVertexColors(QuadMesh<int>* colors) {
    if (colors && colors == __vertexColors.get())
        return;
    __vertexColors.reset();
    if (colors && (colors->getHeight() != this->getHeight() || colors->getWidth() != getWidth()))
        throw SizeError("void QuadMesh<T>::setVertexColors(...)", "Incompatible color array dimensions");
    __vertexColors.reset(colors);
}

template <class T>
QuadMesh<int> QuadMesh<T>::__buildVertexColors(const Matrix<T>& values, int size, const unsigned char* red,
                                               const unsigned char* green, const unsigned char* blue) {
    constexpr int numColors = 256;
    if (size < numColors) {
        throw SizeError("QuadMesh<int> QuadMesh<T>::buildVertexColors(const Matrix<T>&,const Colormap&)",
                        "The color map has fewer than 256 colors");
    }
    using W = WideCoordinate<T>;
    const int rows = values.getSize1();
    const int columns = values.getSize2();
    QuadMesh<int> colors(3, rows, columns, rows * columns, rows * columns, false);
    if (rows == 0 || columns == 0)
        return colors;
    T min = values(0, 0);
    T max = min;
    for (int r = 0; r < rows; r++) {
        for (T value : values[r]) {
            min = value < min ? value : min;
            max = value > max ? value : max;
        }
    }
    const W width = W(max) - W(min);
    for (int r = 0; r < rows; r++) {
        Curve<int>& level = colors.level(r);
        for (int c = 0; c < columns; c++) {
            const W position = (W(values(r, c)) - W(min)) / width * (numColors - 1);
            // Also false for what is undefined, as it is everywhere when the width is 0.
            const int index = position >= 0 ? int(std::min<W>(std::floor(position), numColors - 1)) : 0;
            Vector<int>& color = level[c];
            color[0] = red[index];
            color[1] = green[index];
            color[2] = blue[index];
        }
    }
    return colors;
}

template <class T>
Matrix<T> QuadMesh<T>::varianceMap(const QuadMesh& mean, const std::vector<const QuadMesh*>& meshes) {
    const int height = mean.getHeight();
    const int width = mean.getWidth();
    const int space = mean.getSpace();
    for (const QuadMesh* mesh : meshes)
        if (!mean.__hasDimensionsOf(*mesh) || mesh->getSpace() != space)
            throw SizeError("Matrix<T> QuadMesh<T>::varianceMap(const QuadMesh&,...)", "Incompatible mesh dimensions");
    using W = WideCoordinate<T>;
    Matrix<T> map(height, width);
    std::vector<W> sums(width);
    for (int r = 0; r < height; r++) {
        std::fill(sums.begin(), sums.end(), W(0));
        for (const QuadMesh* mesh : meshes) {
            for (int c = 0; c < width; c++) {
                const T* x = mean.level(r)[c].data();
                const T* y = mesh->level(r)[c].data();
                for (int k = 0; k < space; k++)
                    sums[c] += (W(x[k]) - W(y[k])) * (W(x[k]) - W(y[k]));
            }
        }
        for (int c = 0; c < width; c++)
            map(r, c) = meshes.empty() ? T(0) : toCoordinate<T>(sums[c] / W(meshes.size()));
    }
    return map;
}

template <class T>
QuadMesh<T> QuadMesh<T>::mean(const std::vector<const QuadMesh*>& meshes) {
    if (meshes.empty())
        return QuadMesh();
    try {
        QuadMesh sum(*meshes.front());
        sum.detach();
        for (std::size_t i = 1; i < meshes.size(); i++)
            sum += *meshes[i];
        sum /= T(meshes.size());
        return sum;
    } catch (Exception& exception) {
        exception.addWhere("QuadMesh<T> QuadMesh<T>::mean(...)");
        throw;
    }
}

template <class T>
TriMesh<T> QuadMesh<T>::toTriMesh(bool) const {
    if constexpr (std::is_same_v<T, int>)
        throw UsageError("TriMesh<int> QuadMesh<int>::toTriMesh(const bool) const", "Method undefined for type 'int'");
    else
        return trianglesOf(*this);
}

template <class T>
QuadMesh<T> QuadMesh<T>::closestPointMap(const QuadMesh& mesh) const {
    return QuadMesh(CurveStack<T>::closestPointMap(mesh));
}

template class QuadMesh<int>;
template class QuadMesh<float>;
template class QuadMesh<double>;
template class QuadMesh<long double>;

} // namespace vorlen
