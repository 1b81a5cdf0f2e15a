#include "ui/viewer/quadmeshpaintergl.h"

#include "numerics/exception.h"
#include "ui/viewer/trianglesgl.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vorlen {

namespace {

template <class T>
using Point = std::array<T, 3>;

/// The negated unit normal of the triangle is added to sum; nothing for a triangle of area 0.
template <class T>
void addNormal(const Point<T>& t0, const Point<T>& t1, const Point<T>& t2, Point<T>& sum) {
    Point<T> a, b, normal;
    for (int k = 0; k < 3; ++k) {
        a[k] = t1[k] - t0[k];
        b[k] = t2[k] - t1[k];
    }
    for (int k = 0; k < 3; ++k)
        normal[k] = a[(k + 1) % 3] * b[(k + 2) % 3] - a[(k + 2) % 3] * b[(k + 1) % 3];
    const T norm = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    if (norm > 0)
        for (int k = 0; k < 3; ++k)
            sum[k] -= normal[k] / norm;
}

template <class T>
std::vector<Point<T>> pointsOf(const Curve<T>& level) {
    std::vector<Point<T>> points(std::size_t(level.getNumVertices()));
    for (int c = 0; c < level.getNumVertices(); ++c) {
        points[c] = {0, 0, 0};
        std::copy_n(level[c].data(), std::min(level[c].getSize(), 3), points[c].data());
    }
    return points;
}

/// Each cell gives the sum of its triangles' normals to its four corners: the cost is linear and no buffer is needed.
template <class T>
QuadMesh<T> normalsOf(const QuadMesh<T>& mesh) {
    const int height = mesh.getHeight();
    const int width = mesh.getWidth();
    QuadMesh<T> normals(3, height, width, 0, 0, mesh.isOpen());
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c)
            normals.level(r)[c].setZeros();
    const int numCells = mesh.isClosed() ? width : width - 1;
    std::vector<Point<T>> lower, upper;
    if (height > 0)
        upper = pointsOf(mesh.level(0));
    for (int l = 0; l + 1 < height; ++l) {
        lower.swap(upper);
        upper = pointsOf(mesh.level(l + 1));
        for (int c = 0; c < numCells; ++c) {
            const int next = c + 1 < width ? c + 1 : 0;
            Point<T> sum = {0, 0, 0};
            addNormal(lower[c], lower[next], upper[c], sum);
            addNormal(lower[next], upper[next], upper[c], sum);
            for (Vector<T>* normal :
                 {&normals.level(l)[c], &normals.level(l)[next], &normals.level(l + 1)[c], &normals.level(l + 1)[next]})
                for (int k = 0; k < 3; ++k)
                    (*normal)[k] += sum[k];
        }
    }
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c)
            normals.level(r)[c].normalize();
    return normals;
}

} // namespace

template <class T>
QuadMeshPainterGL<T>::QuadMeshPainterGL() = default;

template <class T>
QuadMeshPainterGL<T>::~QuadMeshPainterGL() = default;

template <class T>
bool QuadMeshPainterGL<T>::isOpaque() const {
    return this->getAttributes().isOpaque();
}

template <class T>
void QuadMeshPainterGL<T>::setShape(const Shape<T>& shape) {
    const auto* mesh = dynamic_cast<const QuadMesh<T>*>(&shape);
    if (mesh == nullptr)
        throw TypeError("void QuadMeshPainterGL<T>::setShape(...)", "Non QuadMesh shape passed as function argument");
    __normals = normalsOf(*mesh);
    ShapePainterGL<T>::setShape(shape);
}

template <class T>
void QuadMeshPainterGL<T>::glDrawShape() const {
    if (this->displayMode() == SurfaceDisplayGL)
        this->array.drawLit(GL_TRIANGLES);
    else if (this->displayMode() == MeshDisplayGL)
        this->array.drawPlain(GL_LINES);
    else
        CurveStackPainterGL<T>::glDrawShape();
    for (auto* cap : {__beginCap.get(), __endCap.get()})
        if (cap != nullptr) {
            cap->setAttributes(this->getAttributes()); // changes for which nothing is prepared come here alone
            cap->glDraw();
        }
}

template <class T>
bool QuadMeshPainterGL<T>::addShapeTriangles(TrianglesGL& triangles) const {
    if (this->displayMode() != SurfaceDisplayGL || !triangles.add(this->array, this->getAttributes()))
        return false;
    for (auto* cap : {__beginCap.get(), __endCap.get()})
        if (cap != nullptr) {
            cap->setAttributes(this->getAttributes());
            cap->addTriangles(triangles);
        }
    return true;
}

template <class T>
void QuadMeshPainterGL<T>::prepareShape() const {
    __beginCap.reset();
    __endCap.reset();
    // A mesh whose size has changed since setShape() is not what the normals are of.
    if (__mesh()->getHeight() != __normals.getHeight() || __mesh()->getWidth() != __normals.getWidth())
        return;
    CurveStackPainterGL<T>::prepareShape();
    this->array.normals.reserve(this->array.positions.size());
    for (int r = 0; r < __normals.getHeight(); ++r)
        for (int c = 0; c < __normals.getWidth(); ++c)
            for (T x : __normals.level(r)[c])
                this->array.normals.push_back(float(x));
}

template <class T>
void QuadMeshPainterGL<T>::prepareAttributes() const {
    CurveStackPainterGL<T>::prepareAttributes();
    this->array.indexes.clear();
    this->array.colors.clear();
    if (this->array.getSize() == 0)
        return;
    if (this->displayMode() == SurfaceDisplayGL)
        __prepareSurface();
    else if (this->displayMode() == MeshDisplayGL)
        __prepareWires();
    const ShapePainterAttributesGL& attributes = this->getAttributes();
    __beginCap = attributes.hasBeginCapFlag() && attributes.getBeginCapFlag() && __mesh()->hasBeginCap()
                     ? __capPainter(__mesh()->getBeginCap())
                     : nullptr;
    __endCap = attributes.hasEndCapFlag() && attributes.getEndCapFlag() && __mesh()->hasEndCap()
                   ? __capPainter(__mesh()->getEndCap())
                   : nullptr;
}

// Between two levels the triangles of a strip that takes lower and upper vertices in turn; their front is the side of
// the normals. Of an opaque mesh a few columns are gone up at a time, so that a vertex is still at hand when the next
// level comes back to it; what is behind what of a transparent one depends on the order, which is level by level.
template <class T>
void QuadMeshPainterGL<T>::__prepareSurface() const {
    const unsigned int height = unsigned(__normals.getHeight());
    const unsigned int width = unsigned(__normals.getWidth());
    const unsigned int numCells = __normals.isClosed() || width == 0 ? width : width - 1;
    if (height > 1)
        this->array.indexes.reserve(std::size_t(6) * (height - 1) * numCells);
    const unsigned int atOnce = isOpaque() ? 12 : std::max(numCells, 1u);
    for (unsigned int first = 0; first < numCells; first += atOnce)
        for (unsigned int l = 0; l + 1 < height; ++l)
            for (unsigned int c = first; c < std::min(first + atOnce, numCells); ++c) {
                const unsigned int next = c + 1 < width ? c + 1 : 0;
                const unsigned int lower = l * width, upper = lower + width;
                this->array.indexes.insert(this->array.indexes.end(),
                                           {lower + c, upper + c, lower + next, lower + next, upper + c, upper + next});
            }
    if (!__mesh()->hasVertexColors())
        return;
    const QuadMesh<int>& colors = __mesh()->getVertexColors();
    if (colors.getHeight() != __normals.getHeight() || colors.getWidth() != __normals.getWidth())
        return;
    this->array.colors.reserve(std::size_t(4) * height * width);
    for (int r = 0; r < colors.getHeight(); ++r)
        for (int c = 0; c < colors.getWidth(); ++c) {
            for (int k = 0; k < 3; ++k)
                this->array.colors.push_back(static_cast<unsigned char>(std::clamp(colors.level(r)[c][k], 0, 255)));
            this->array.colors.push_back(this->getAttributes().alpha());
        }
}

template <class T>
void QuadMeshPainterGL<T>::__prepareWires() const {
    const unsigned int height = unsigned(__normals.getHeight());
    const unsigned int width = unsigned(__normals.getWidth());
    for (unsigned int l = 0; l < height; ++l)
        for (unsigned int c = 0; c < width; ++c) {
            const unsigned int vertex = l * width + c;
            if (c + 1 < width)
                this->array.indexes.insert(this->array.indexes.end(), {vertex, vertex + 1});
            else if (__normals.isClosed())
                this->array.indexes.insert(this->array.indexes.end(), {vertex, l * width});
            if (l + 1 < height)
                this->array.indexes.insert(this->array.indexes.end(), {vertex, vertex + width});
        }
}

template <class T>
std::unique_ptr<QuadMeshPainterGL<T>> QuadMeshPainterGL<T>::__capPainter(const QuadMesh<T>& cap) const {
    auto painter = std::make_unique<QuadMeshPainterGL>();
    painter->setShape(cap);
    return painter;
}

template class QuadMeshPainterGL<float>;
template class QuadMeshPainterGL<double>;
template class QuadMeshPainterGL<long double>;

} // namespace vorlen
