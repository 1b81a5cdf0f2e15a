#include "ui/viewer/trimeshpaintergl.h"

#include "numerics/exception.h"
#include "ui/viewer/trianglesgl.h"

namespace vorlen {

namespace {

int smoothingOf(const ShapePainterAttributesGL& attributes) {
    return attributes.useSmoothing() ? attributes.getSmoothing() : -1;
}

template <class T>
void appendNormals(const TriMesh<T>& mesh, std::vector<float>& normals) {
    normals.reserve(std::size_t(3) * mesh.getNumVertices());
    for (int i = 0; i < mesh.getNumVertices(); ++i)
        for (T x : mesh.getNormal(i))
            normals.push_back(float(x));
}

} // namespace

template <class T>
TriMeshPainterGL<T>::TriMeshPainterGL() {
    ShapePainterAttributesGL attributes = this->getAttributes();
    attributes.setDisplayMode(SurfaceDisplayGL);
    ShapePainterGL<T>::setAttributes(attributes);
}

template <class T>
bool TriMeshPainterGL<T>::isOpaque() const {
    return this->getAttributes().isOpaque();
}

template <class T>
void TriMeshPainterGL<T>::setShape(const Shape<T>& shape) {
    const auto* mesh = dynamic_cast<const TriMesh<T>*>(&shape);
    if (mesh == nullptr)
        throw TypeError("void TriMeshPainterGL<T>::setShape(...)", "Non TriMesh shape passed as function argument");
    std::unique_ptr<TriMesh<T>> copy;
    if (!mesh->hasNormals() && mesh->getSpace() == 3) {
        copy = std::make_unique<TriMesh<T>>(*mesh);
        copy->computeNormals();
    }
    __copyWithNormals = std::move(copy);
    ShapePainterGL<T>::setShape(shape);
    if (this->getAttributes().useSmoothing())
        __smoothNormals(smoothingOf(this->getAttributes()));
}

template <class T>
void TriMeshPainterGL<T>::setAttributes(const ShapePainterAttributesGL& attributes) {
    const int oldPasses = smoothingOf(this->getAttributes());
    ShapePainterGL<T>::setAttributes(attributes);
    if (smoothingOf(attributes) != oldPasses && this->getShape() != nullptr)
        __smoothNormals(smoothingOf(attributes));
}

template <class T>
void TriMeshPainterGL<T>::glDrawShape() const {
    if (this->displayMode() == SurfaceDisplayGL)
        this->array.drawLit(GL_TRIANGLES);
    else if (this->displayMode() == MeshDisplayGL)
        this->array.drawPlain(GL_LINES);
    else
        this->drawVertices();
}

template <class T>
bool TriMeshPainterGL<T>::addShapeTriangles(TrianglesGL& triangles) const {
    return this->displayMode() == SurfaceDisplayGL && triangles.add(this->array, this->getAttributes());
}

template <class T>
void TriMeshPainterGL<T>::prepareShape() const {
    VerticesPainterGL<T>::prepareShape();
    if (__mesh()->hasNormals())
        appendNormals(*__mesh(), this->array.normals);
    else if (__copyWithNormals != nullptr)
        appendNormals(*__copyWithNormals, this->array.normals);
}

template <class T>
void TriMeshPainterGL<T>::prepareAttributes() const {
    VerticesPainterGL<T>::prepareAttributes();
    this->array.indexes.clear();
    if (this->displayMode() != SurfaceDisplayGL && this->displayMode() != MeshDisplayGL)
        return;
    const bool wires = this->displayMode() == MeshDisplayGL;
    const unsigned int size = unsigned(this->array.getSize());
    this->array.indexes.reserve(std::size_t(wires ? 6 : 3) * __mesh()->getNumTriangles());
    for (unsigned int i = 0; i < __mesh()->getNumTriangles(); ++i) {
        const Vector<unsigned int>& t = __mesh()->getTriangleIndexes(i);
        // A mesh takes any numbers; one beyond the vertices must not reach the driver.
        if (t[0] >= size || t[1] >= size || t[2] >= size)
            continue;
        if (wires)
            this->array.indexes.insert(this->array.indexes.end(), {t[0], t[1], t[1], t[2], t[2], t[0]});
        else
            this->array.indexes.insert(this->array.indexes.end(), {t[0], t[1], t[2]});
    }
}

template <class T>
bool TriMeshPainterGL<T>::showsVertices() const {
    return this->displayMode() != SurfaceDisplayGL && this->displayMode() != MeshDisplayGL;
}

// The normals belong to the mesh, which the painter otherwise only sees.
template <class T>
void TriMeshPainterGL<T>::__smoothNormals(int passes) {
    auto* mesh = const_cast<TriMesh<T>*>(__mesh());
    if (passes > 0 && !mesh->hasStars())
        mesh->buildStars();
    mesh->smoothNormals(passes);
    this->invalidate();
}

template class TriMeshPainterGL<float>;
template class TriMeshPainterGL<double>;
template class TriMeshPainterGL<long double>;

} // namespace vorlen
