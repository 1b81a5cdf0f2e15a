#include "shapes/shapeset.h"

#include <algorithm>

#include "shapes/shape.h"

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
    for (const Shape<T>* shape : __shapes) {
        n += shape ? shape->getNumVertices() : 0;
    }
    return n;
}

template <class T>
bool ShapeSet<T>::onlyShapeType(ShapeType type) const {
    return !__shapes.empty() && std::all_of(__shapes.begin(), __shapes.end(), [type](const Shape<T>* shape) {
        return shape && shape->getShapeType() == type;
    });
}

template <class T>
bool ShapeSet<T>::onlyReference() const {
    return !__references.empty() && std::all_of(__references.begin(), __references.end(), [](bool r) { return r; });
}

template <class T>
ShapeSet<T> ShapeSet<T>::referenceShapeSet() const {
    ShapeSet set;
    set.setName(__name);
    for (int i = 0; i < getSize(); ++i) {
        if (__references[i]) {
            set.addShape(__shapes[i], true);
        }
    }
    return set;
}

template <class T>
void ShapeSet<T>::clear() {
    std::vector<Shape<T>*> shapes;
    shapes.swap(__shapes);
    __references.clear();
    std::sort(shapes.begin(), shapes.end());
    shapes.erase(std::unique(shapes.begin(), shapes.end()), shapes.end());
    for (Shape<T>* shape : shapes) {
        delete shape; // told ownership: the set that is cleared destroys its shapes
    }
}

template class ShapeSet<int>;
template class ShapeSet<float>;
template class ShapeSet<double>;
template class ShapeSet<long double>;
