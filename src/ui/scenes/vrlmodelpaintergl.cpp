#include "ui/scenes/vrlmodelpaintergl.h"

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "reconstruction/modelsurface.h"
#include "shapes/curvestack.h"
#include "shapes/quadmesh.h"
#include "ui/scenes/vrlrenderingutils.h"
#include "ui/viewer/curvestackpaintergl.h"
#include "ui/viewer/quadmeshpaintergl.h"
#include "ui/viewer/trimeshpaintergl.h"

namespace vorlen {

namespace {

std::unique_ptr<CurveStack<float>> stackOf(const Curve<float>& curve) {
    auto stack = std::make_unique<CurveStack<float>>(3, 0, 0, 0, 0, true);
    stack->append(static_cast<const Vertices<float>&>(curve));
    return stack;
}

} // namespace

VRLModelPainterGL::VRLModelPainterGL(const Model& model) {
    setModel(model);
}

VRLModelPainterGL::~VRLModelPainterGL() = default;

void VRLModelPainterGL::setModel(const Model& model) {
    __painter.reset();
    __shape.reset();
    __model = &model;
    if (model.getNumItems() == 0 || model.getItem(0).getSlice() == nullptr)
        return;
    const auto* stack = dynamic_cast<const VRLStack*>(model.getItem(0).getSlice()->getStack());
    if (stack == nullptr)
        return;
    ModelSurface<float> surface(model, stack->getReconstruction());
    if (surface.getKind() == SurfaceKind::Points || surface.getKind() == SurfaceKind::Empty)
        return;

    const ModelProperties& properties = model.getProperties();
    ShapePainterAttributesGL attributes =
        convertProperties(properties, model.getItemProperties(), model.getItemProperties());
    const ModelSurface<float>::MeshSize size = surface.getMeshSize(properties);
    if (surface.exists() && surface.isGrid() && !surface.isPath() && !size.isEmpty() && !size.exceeds(maxNumVertices)) {
        auto mesh = surface.resample(static_cast<int>(size.rows), static_cast<int>(size.columns));
        mesh->buildCaps();
        attributes.setDisplayMode(properties.getRenderingMode() == WireframeRendering ? MeshDisplayGL
                                                                                      : SurfaceDisplayGL);
        auto painter = std::make_unique<QuadMeshPainterGL<float>>();
        painter->setShape(*mesh);
        __painter = std::move(painter);
        __shape = std::move(mesh);
    } else if (surface.exists() && !surface.isGrid()) {
        auto mesh = std::make_unique<TriMesh<float>>(surface.closed(ModelSurface<float>::getEnds(properties)));
        attributes.setDisplayMode(properties.getRenderingMode() == WireframeRendering ? MeshDisplayGL
                                                                                      : SurfaceDisplayGL);
        auto painter = std::make_unique<TriMeshPainterGL<float>>();
        painter->setShape(*mesh);
        __painter = std::move(painter);
        __shape = std::move(mesh);
    } else {
        auto curves = surface.isPath() ? stackOf(surface.path()) : surface.takeContours();
        attributes.setDisplayMode(CurveDisplayGL);
        auto painter = std::make_unique<CurveStackPainterGL<float>>();
        painter->setShape(*curves);
        __painter = std::move(painter);
        __shape = std::move(curves);
    }
    __painter->setAttributes(attributes);
}

void VRLModelPainterGL::glDraw() const {
    if (__painter != nullptr)
        __painter->glDraw();
}

bool VRLModelPainterGL::isOpaque() const {
    return __painter == nullptr || __painter->isOpaque();
}

} // namespace vorlen
