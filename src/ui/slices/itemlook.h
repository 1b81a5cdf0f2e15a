#pragma once

#include <algorithm>

#include "document/model.h"
#include "document/modelitem.h"

namespace vorlen {

/// The look of an item in force: its own, then its model's, then the defaults.
inline ModelItemProperties lookOf(const ModelItem& item) {
    ModelItemProperties look;
    look.setDefaults();
    if (item.getModel() != nullptr)
        look.update(item.getModel()->getItemProperties());
    look.update(item.getProperties());
    return look;
}

/// The geometry that an item is drawn by: its own, or that of a polyline where it is unknown.
inline MPrimitive drawnGeometryOf(const ModelItem& item) {
    return item.getGeometry() == UnknownPrimitive ? PolylinePrimitive : item.getGeometry();
}

/// Of the filling of an item's symbols, from 0 to 1.
inline double opacityOf(const ModelItem& item) {
    const Model* model = item.getModel();
    if (model == nullptr || !model->getProperties().definesSurfaceOpacity())
        return 1;
    return std::clamp(double(model->getProperties().getSurfaceOpacity()) / 255, 0.0, 1.0);
}

} // namespace vorlen
