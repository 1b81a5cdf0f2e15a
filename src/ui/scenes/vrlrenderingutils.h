#pragma once

#include "document/modelitemproperties.h"
#include "document/modelproperties.h"
#include "ui/viewer/shapepainterattributesgl.h"

namespace vorlen {

/// How an item is drawn: each of color, symbol, line width, point size and visibility is the item's own where it
/// defines it, else the default. What neither defines stays as in a new record. The point size, in pixels, becomes the
/// symbol size.
ShapePainterAttributesGL convertProperties(const ModelItemProperties& item, const ModelItemProperties& defaults);

/// The same for a model as a whole, with opacity, shininess and caps from the model where it defines them.
ShapePainterAttributesGL convertProperties(const ModelProperties& model, const ModelItemProperties& item,
                                           const ModelItemProperties& defaults);

} // namespace vorlen
