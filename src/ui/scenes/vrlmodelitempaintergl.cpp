#include "ui/scenes/vrlmodelitempaintergl.h"

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "ui/scenes/vrlrenderingutils.h"
#include "ui/viewer/curvepaintergl.h"

namespace vorlen {

VRLModelItemPainterGL::VRLModelItemPainterGL(const ModelItem& item) {
    setItem(item);
}

VRLModelItemPainterGL::~VRLModelItemPainterGL() = default;

void VRLModelItemPainterGL::setItem(const ModelItem& item) {
    __painter.reset();
    __shape.reset();
    __item = &item;
    if (item.getModel() == nullptr || item.getSlice() == nullptr)
        return;
    const auto* stack = dynamic_cast<const VRLStack*>(item.getSlice()->getStack());
    if (stack == nullptr)
        return;
    const Model& model = *item.getModel();
    ShapePainterAttributesGL attributes = convertProperties(item.getProperties(), model.getItemProperties());
    // Symbol sizes are stored in pixels and drawn in world units.
    if (attributes.useSymbolSize())
        attributes.setSymbolSize(attributes.getSymbolSize() * stack->getDefaultPixelCalibration().getPixelWidth());
    __shape = stack->getReconstruction().apply(item);
    const auto& vertices = static_cast<const Vertices<float>&>(*__shape);
    if (const auto* curve = dynamic_cast<const Curve<float>*>(&vertices)) {
        attributes.setDisplayMode(model.getProperties().getRenderingMode() == DotRendering ? SymbolDisplayGL
                                                                                           : CurveDisplayGL);
        auto painter = std::make_unique<CurvePainterGL<float>>();
        painter->setShape(*curve);
        __painter = std::move(painter);
    } else {
        auto painter = std::make_unique<VerticesPainterGL<float>>();
        painter->setShape(vertices);
        __painter = std::move(painter);
    }
    __painter->setAttributes(attributes);
}

void VRLModelItemPainterGL::glDraw() const {
    if (__painter != nullptr)
        __painter->glDraw();
}

} // namespace vorlen
