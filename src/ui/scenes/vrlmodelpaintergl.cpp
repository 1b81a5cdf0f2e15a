#include "ui/scenes/vrlmodelpaintergl.h"

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "reconstruction/emptylevels.h"
#include "shapes/quadmesh.h"
#include "ui/scenes/vrlrenderingutils.h"
#include "ui/viewer/curvestackpaintergl.h"
#include "ui/viewer/quadmeshpaintergl.h"

namespace vorlen {

namespace {

/// No two levels in a row at one height.
bool simpleCurveStack(const CurveStack<float>& stack) {
    for (int k = 1; k < stack.getHeight(); ++k)
        if (stack[k][0][2] == stack[k - 1][0][2])
            return false;
    return true;
}

/// Null when the mesh is to have no or too many vertices.
std::unique_ptr<QuadMesh<float>> makeMesh(const CurveStack<float>& stack, const ModelProperties& properties) {
    const long long height = stack.getHeight() < 2 ? 1 : properties.getQuadMeshHeight();
    const long long width = properties.getQuadMeshWidth();
    const long long most = VRLModelPainterGL::maxNumVertices;
    if (height == 0 || width == 0 || height > most || width > most || height * width > most)
        return nullptr;
    auto mesh = std::make_unique<QuadMesh<float>>(3, static_cast<int>(height), static_cast<int>(width));
    stack.resample(*mesh);
    mesh->buildCaps();
    return mesh;
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
    std::unique_ptr<Shape<float>> shape = stack->getReconstruction().apply(model);
    auto* curves = dynamic_cast<CurveStack<float>*>(shape.get());
    if (curves == nullptr)
        return;
    removeEmptyLevels(*curves);
    if (curves->getHeight() == 0)
        return;

    const ModelProperties& properties = model.getProperties();
    ShapePainterAttributesGL attributes =
        convertProperties(properties, model.getItemProperties(), model.getItemProperties());
    std::unique_ptr<QuadMesh<float>> mesh;
    if (simpleCurveStack(*curves))
        mesh = makeMesh(*curves, properties);
    if (mesh != nullptr) {
        attributes.setDisplayMode(properties.getRenderingMode() == WireframeRendering ? MeshDisplayGL
                                                                                      : SurfaceDisplayGL);
        auto painter = std::make_unique<QuadMeshPainterGL<float>>();
        painter->setShape(*mesh);
        __painter = std::move(painter);
        __shape = std::move(mesh);
    } else {
        attributes.setDisplayMode(CurveDisplayGL);
        auto painter = std::make_unique<CurveStackPainterGL<float>>();
        painter->setShape(*curves);
        __painter = std::move(painter);
        __shape = std::move(shape);
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
