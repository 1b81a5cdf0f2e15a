#include "ui/scenes/vrlrenderingutils.h"

namespace vorlen {

namespace {

VertexSymbolGL convertSymbol(VertexSymbol symbol) {
    switch (symbol) {
    case CubeSymbol:
        return CubeSymbolGL;
    case DotSymbol:
        return DotSymbolGL;
    case DiamondSymbol:
        return DiamondSymbolGL;
    case SphereSymbol:
        return SphereSymbolGL;
    case TetrahedronSymbol:
        return TetrahedronSymbolGL;
    default:
        return UndefinedSymbolGL;
    }
}

} // namespace

ShapePainterAttributesGL convertProperties(const ModelItemProperties& item, const ModelItemProperties& defaults) {
    const ModelItemProperties look = item + defaults;
    ShapePainterAttributesGL attributes;
    if (look.definesColor())
        attributes.setColor(look.getColor());
    if (look.definesVertexSymbol())
        attributes.setVertexSymbol(convertSymbol(look.getVertexSymbol()));
    if (look.definesLineWidth())
        attributes.setLineWidth(look.getLineWidth());
    if (look.definesPointSize())
        attributes.setSymbolSize(look.getPointSize());
    if (look.definesRenderingVisibility())
        attributes.setVisibility(look.getRenderingVisibility());
    return attributes;
}

ShapePainterAttributesGL convertProperties(const ModelProperties& model, const ModelItemProperties& item,
                                           const ModelItemProperties& defaults) {
    ShapePainterAttributesGL attributes = convertProperties(item, defaults);
    if (model.definesSurfaceOpacity())
        attributes.setTransparency(model.getSurfaceOpacity());
    if (model.definesSurfaceShininess())
        attributes.setShininess(model.getSurfaceShininess());
    if (model.hasBeginCapFlag())
        attributes.setBeginCapFlag(model.getBeginCapFlag());
    if (model.hasEndCapFlag())
        attributes.setEndCapFlag(model.getEndCapFlag());
    return attributes;
}

} // namespace vorlen
