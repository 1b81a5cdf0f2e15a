#include "normalization/shapesetgroup.h"

#include <algorithm>
#include <memory>

#include "shapes/shape.h"
#include "shapes/shapeset.h"

namespace vorlen {

template <class T>
void ShapeSetGroup<T>::addShapeSet(ShapeSet<T>& set) {
    __sets.push_back(&set);
}

template <class T>
void ShapeSetGroup<T>::removeShapeSet(ShapeSet<T>& set) {
    const auto found = std::find(__sets.begin(), __sets.end(), &set);
    if (found != __sets.end())
        __sets.erase(found);
}

template <class T>
ShapeSet<T> ShapeSetGroup<T>::average() const {
    ShapeSet<T> result;
    try {
        for (int k = 0; !__sets.empty() && k < __sets.front()->getSize(); ++k) {
            ShapeSet<T> entries;
            for (const ShapeSet<T>* set : __sets)
                if (k < set->getSize())
                    entries.addShape((*set)[k], set->isReference(k));
            std::unique_ptr<Shape<T>> shape(entries.average());
            result.addShape(shape.get(), entries.onlyReference());
            static_cast<void>(shape.release()); // the set's from here on
        }
    } catch (...) {
        result.clear();
        throw;
    }
    return result;
}

template class ShapeSetGroup<float>;
template class ShapeSetGroup<double>;
template class ShapeSetGroup<long double>;

} // namespace vorlen
