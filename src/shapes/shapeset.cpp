#include "shapes/shapeset.h"

#include <algorithm>
#include <memory>

#include "numerics/exception.h"
#include "shapes/quadmesh.h"
#include "shapes/shape.h"
#include "shapes/vertexstack.h"

namespace vorlen {

namespace {

template <class T>
void appendVertices(VertexStack<T>& stack, const ShapeSet<T>& set) {
    for (int i = 0; i < set.getSize(); ++i) {
        const Shape<T>* shape = set[i];
        if (!shape)
            continue;
        if (const auto* levels = dynamic_cast<const VertexStack<T>*>(shape))
            stack.append(*levels);
        else
            stack.append(dynamic_cast<const Vertices<T>&>(*shape));
        if (shape->hasExtensions())
            appendVertices(stack, shape->getExtensions());
    }
}

} // namespace

template <class T>
void ShapeSet<T>::addShape(Shape<T>* shape, bool reference) {
    __references.reserve(__references.size() + 1);
    __shapes.push_back(shape);
    __references.push_back(reference);
}

template <class T>
void ShapeSet<T>::removeShape(Shape<T>* shape) {
    const auto found = std::find(__shapes.begin(), __shapes.end(), shape);
    if (found != __shapes.end()) {
        __references.erase(__references.begin() + (found - __shapes.begin()));
        __shapes.erase(found);
    }
}

template <class T>
int ShapeSet<T>::numVertices() const {
    int n = 0;
    for (const Shape<T>* shape : __shapes)
        n += shape ? shape->getNumVertices() : 0;
    return n;
}

template <class T>
bool ShapeSet<T>::onlyShapeType(ShapeType type) const {
    return !__shapes.empty() && std::all_of(
                                    __shapes.begin(), __shapes.end(),
                                    [type](const Shape<T>* shape) { return shape && shape->getShapeType() == type; });
}

template <class T>
bool ShapeSet<T>::onlyReference() const {
    return !__references.empty() && std::all_of(
                                        __references.begin(), __references.end(), [](bool r) { return r; });
}

template <class T>
ShapeSet<T> ShapeSet<T>::referenceShapeSet() const {
    ShapeSet set;
    set.setName(__name);
    for (int i = 0; i < getSize(); ++i)
        if (__references[i])
            set.addShape(__shapes[i], true);
    return set;
}

template <class T>
VertexStack<T> ShapeSet<T>::asVertexStack() const {
    VertexStack<T> stack;
    appendVertices(stack, *this);
    return stack;
}

template <class T>
Vector<int> ShapeSet<T>::matchSurfaces(const ShapeSet& other) {
    Vector<int> shifts(getSize());
    shifts.setZeros();
    for (int i = 0; i < std::min(getSize(), other.getSize()); ++i) {
        auto* mesh = dynamic_cast<QuadMesh<T>*>(__shapes[i]);
        const auto* target = dynamic_cast<const QuadMesh<T>*>(other[i]);
        if (mesh && target && mesh->isClosed() && target->isClosed() && mesh->getHeight() == target->getHeight() &&
            mesh->getWidth() == target->getWidth())
            shifts[i] = int(mesh->match(*target));
    }
    return shifts;
}

template <class T>
Vector<float> ShapeSet<T>::rmsDistances(const ShapeSet& other) const {
    const char* where = "Vector<float> ShapeSet<T>::rmsDistances(const ShapeSet<T>&) const";
    if (getSize() != other.getSize())
        throw SizeError(where, "The two shape sets have distinct sizes");
    Vector<float> distances(getSize());
    for (int i = 0; i < getSize(); ++i) {
        if (!__shapes[i] || !other[i])
            throw UsageError(where, "A shape is missing");
        distances[i] = float(__shapes[i]->rmsDistance(*other[i]));
    }
    return distances;
}

template <class T>
Shape<T>* ShapeSet<T>::average() const {
    const char* where = "Shape<T>& ShapeSet<T>::average() const";
    std::vector<const Shape<T>*> shapes;
    for (const Shape<T>* shape : __shapes)
        if (shape)
            shapes.push_back(shape);
    if (shapes.empty())
        return nullptr;
    for (const Shape<T>* shape : shapes)
        if (shape->getShapeType() != shapes.front()->getShapeType())
            throw UsageError(where, "Shapes in this set are not of the same type");
    std::unique_ptr<Shape<T>> sum(shapes.front()->clone());
    sum->detach();
    sum->setName(shapes.front()->getName());
    for (std::size_t i = 1; i < shapes.size(); ++i)
        *sum += *shapes[i];
    if (shapes.size() > 1)
        *sum /= T(shapes.size());
    return sum.release(); // told ownership: the caller's
}

template <class T>
ShapeSet<T> ShapeSet<T>::computeMean(const std::vector<ShapeSet*>& sets) {
    ShapeSet mean;
    mean.setName("mean");
    try {
        for (int k = 0; !sets.empty() && k < sets.front()->getSize(); ++k) {
            std::vector<const QuadMesh<T>*> meshes;
            bool reference = false;
            for (const ShapeSet* set : sets) {
                const auto* mesh = k < set->getSize() ? dynamic_cast<const QuadMesh<T>*>((*set)[k]) : nullptr;
                if (mesh && (meshes.empty() || mesh->isOpen() == meshes.front()->isOpen())) {
                    reference = meshes.empty() ? set->isReference(k) : reference;
                    meshes.push_back(mesh);
                }
            }
            std::unique_ptr<QuadMesh<T>> shape;
            if (!meshes.empty()) {
                shape = std::make_unique<QuadMesh<T>>(QuadMesh<T>::mean(meshes));
                shape->setName(meshes.front()->getName());
            }
            mean.addShape(shape.get(), reference);
            static_cast<void>(shape.release()); // the set's from here on
        }
    } catch (...) {
        mean.clear();
        throw;
    }
    return mean;
}

template <class T>
void ShapeSet<T>::clear() {
    std::vector<Shape<T>*> shapes;
    shapes.swap(__shapes);
    __references.clear();
    std::sort(shapes.begin(), shapes.end());
    shapes.erase(std::unique(shapes.begin(), shapes.end()), shapes.end());
    for (Shape<T>* shape : shapes)
        delete shape; // told ownership: the set that is cleared destroys its shapes
}

template class ShapeSet<int>;
template class ShapeSet<float>;
template class ShapeSet<double>;
template class ShapeSet<long double>;

} // namespace vorlen
