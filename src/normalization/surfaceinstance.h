#pragma once

#include <memory>

#include "document/model.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/curvestack.h"

namespace vorlen {

/// The contours of a model in world coordinates, without empty levels; null when the model is made of points or has no
/// vertices.
template <class T>
std::unique_ptr<CurveStack<T>> surfaceInstance(const StackReconstruction<T>& reconstruction, const Model& model) {
    if (model.getProperties().getGeometry() == PolypointPrimitive) {
        return nullptr;
    }
    std::unique_ptr<Shape<T>> shape = reconstruction.apply(model);
    std::unique_ptr<CurveStack<T>> curves(dynamic_cast<CurveStack<T>*>(shape.get()));
    if (curves) {
        static_cast<void>(shape.release()); // the same object
        for (int l = curves->getHeight() - 1; l >= 0; --l) {
            if (curves->level(l).getSize() == 0) {
                curves->remove(static_cast<unsigned int>(l));
            }
        }
    }
    return curves && curves->getHeight() > 0 ? std::move(curves) : nullptr;
}

} // namespace vorlen
