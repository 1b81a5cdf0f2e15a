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

/// The geometry of an item's model; that of a polyline for an item that has none.
inline MPrimitive geometryOf(const ModelItem& item) {
    const Model* model = item.getModel();
    return model != nullptr && model->getProperties().definesGeometry() ? model->getProperties().getGeometry()
                                                                        : PolylinePrimitive;
}

/// Of the filling of an item's symbols, from 0 to 1.
inline double opacityOf(const ModelItem& item) {
    const Model* model = item.getModel();
    if (model == nullptr || !model->getProperties().definesSurfaceOpacity())
        return 1;
    return std::clamp(double(model->getProperties().getSurfaceOpacity()) / 255, 0.0, 1.0);
}

} // namespace vorlen
