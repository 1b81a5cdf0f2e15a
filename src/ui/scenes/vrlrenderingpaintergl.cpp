#include "ui/scenes/vrlrenderingpaintergl.h"

#include <algorithm>

#include "document/model.h"
#include "document/modelitem.h"
#include "numerics/exception.h"
#include "ui/scenes/vrlmodelitempaintergl.h"
#include "ui/scenes/vrlmodelpaintergl.h"

namespace vorlen {

namespace {

/// Whether all lines of a model are points, which show nothing alone.
bool mayBePath(const Model& model) {
    if (model.getProperties().getGeometry() != PolylinePrimitive || model.getNumItems() < 2)
        return false;
    for (int i = 0; i < model.getNumItems(); ++i)
        if (model.getItem(i).getSize() != 1)
            return false;
    return true;
}

} // namespace

VRLRenderingPainterGL::VRLRenderingPainterGL() = default;

VRLRenderingPainterGL::~VRLRenderingPainterGL() = default;

void VRLRenderingPainterGL::setModel(const Model& model) {
    clear();
    __model = &model;
    __itemMode = true; // if the mode is refused, nothing is there to draw
    __itemMode = itemMode();
    if (!__itemMode) {
        buildModelPainter();
        return;
    }
    for (int k = 0; k < model.getNumItems(); ++k)
        __itemPainters.push_back(std::make_unique<VRLModelItemPainterGL>(model.getItem(k)));
}

void VRLRenderingPainterGL::addItem(const ModelItem& item) {
    processItemVertexChange(item);
}

void VRLRenderingPainterGL::removeItem(const ModelItem& item) {
    if (__itemMode)
        std::erase_if(__itemPainters, [&item](const auto& painter) { return painter->getItem() == &item; });
    else
        buildModelPainter();
}

void VRLRenderingPainterGL::processItemVertexChange(const ModelItem& item) {
    if (__model == nullptr)
        return;
    // A line of several points is no part of a path any more, or the path has got its second point.
    if (__model->getProperties().getRenderingMode() == CurveRendering && __itemMode != itemMode())
        setModel(*__model);
    else if (__itemMode)
        updateItem(item);
    else
        buildModelPainter();
}

void VRLRenderingPainterGL::processItemAttributeChange(const ModelItem& item) {
    if (__itemMode && __model != nullptr)
        updateItem(item);
}

void VRLRenderingPainterGL::processModelAttributeChange() {
    if (__model != nullptr)
        setModel(*__model);
}

void VRLRenderingPainterGL::clear() {
    __modelPainter.reset();
    __itemPainters.clear();
}

BoundingBox<float> VRLRenderingPainterGL::boundingBox() const {
    BoundingBox<float> box;
    const auto merge = [&box](const ShapePainterGL<float>* painter) {
        const BoundingBox<float> other = painter == nullptr ? BoundingBox<float>() : painter->boundingBox();
        if (other.isValid())
            box = box.merge(other);
    };
    if (__modelPainter != nullptr)
        merge(__modelPainter->getPainter());
    for (const auto& painter : __itemPainters)
        merge(painter->getPainter());
    return box;
}

bool VRLRenderingPainterGL::isOpaque() const {
    return __modelPainter == nullptr || __modelPainter->isOpaque();
}

void VRLRenderingPainterGL::glDraw() const {
    for (const auto& painter : __itemPainters)
        painter->glDraw();
    if (__modelPainter != nullptr)
        __modelPainter->glDraw();
}

void VRLRenderingPainterGL::addPoints(std::vector<float>& points) const {
    for (const auto& painter : __itemPainters)
        if (painter->getPainter() != nullptr)
            painter->getPainter()->addPoints(points);
    if (__modelPainter != nullptr && __modelPainter->getPainter() != nullptr)
        __modelPainter->getPainter()->addPoints(points);
}

/// Items are lines and symbols.
bool VRLRenderingPainterGL::addTriangles(TrianglesGL& triangles) const {
    return __itemPainters.empty() && __modelPainter != nullptr && __modelPainter->getPainter() != nullptr &&
           __modelPainter->getPainter()->addTriangles(triangles);
}

std::uint64_t VRLRenderingPainterGL::revision() const {
    return __modelPainter != nullptr && __modelPainter->getPainter() != nullptr
               ? __modelPainter->getPainter()->revision()
               : 0;
}

DisplayModeGL VRLRenderingPainterGL::displayMode() const {
    switch (__model->getProperties().getRenderingMode()) {
    case DotRendering:
        return SymbolDisplayGL;
    case CurveRendering:
        return CurveDisplayGL;
    case WireframeRendering:
        return MeshDisplayGL;
    case SurfaceRendering:
        return SurfaceDisplayGL;
    default:
        throw ValueError("DisplayModeGL VRLRenderingPainterGL::displayMode() const", "Unexpected model rendering mode");
    }
}

bool VRLRenderingPainterGL::itemMode() const {
    const DisplayModeGL mode = displayMode();
    return __model->getProperties().getGeometry() == PolypointPrimitive || mode == SymbolDisplayGL ||
           (mode == CurveDisplayGL && !mayBePath(*__model));
}

/// After clear() the item does not come back without the others.
void VRLRenderingPainterGL::updateItem(const ModelItem& item) {
    if (__itemPainters.empty() && __model->getNumItems() > 1)
        setModel(*__model);
    else
        setItemPainter(item);
}

/// In the place of the item's painter, or behind the others.
void VRLRenderingPainterGL::setItemPainter(const ModelItem& item) {
    auto fresh = std::make_unique<VRLModelItemPainterGL>(item);
    const auto old = std::find_if(__itemPainters.begin(), __itemPainters.end(),
                                  [&item](const auto& painter) { return painter->getItem() == &item; });
    if (old != __itemPainters.end())
        *old = std::move(fresh);
    else
        __itemPainters.push_back(std::move(fresh));
}

void VRLRenderingPainterGL::buildModelPainter() {
    clear();
    if (__model != nullptr && __model->getNumItems() > 0)
        __modelPainter = std::make_unique<VRLModelPainterGL>(*__model);
}

} // namespace vorlen
