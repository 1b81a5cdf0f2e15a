#pragma once

#include <memory>
#include <vector>

#include "ui/viewer/displaymodegl.h"
#include "ui/viewer/paintergl.h"

namespace vorlen {

class Model;
class ModelItem;
class VRLModelItemPainterGL;
class VRLModelPainterGL;

/// Draws one model of a stack: item by item, or as one surface, as its rendering mode says. Points never make a
/// surface.
///
/// The model is seen, not owned. Its shapes are copies of what it was when an operation last looked: drawing, box and
/// opacity do not touch it, so that a painter may outlive its model until somebody has the time to remove it.
class VRLRenderingPainterGL : public PainterGL<float> {
public:
    VRLRenderingPainterGL();
    ~VRLRenderingPainterGL() override;

    /// Builds everything anew. Throws ValueError for an unknown rendering mode; the painter then has the model and
    /// draws nothing.
    void setModel(const Model& model);
    const Model* getModel() const { return __model; }

    /// Changes of the model that have taken place, or of one of its items. A surface is made anew, of items the one
    /// concerned alone. Nothing without a model.
    void addItem(const ModelItem& item);
    void removeItem(const ModelItem& item);
    void processItemVertexChange(const ModelItem& item);
    /// Of the items of a surface nothing is shown that an item can have for itself.
    void processItemAttributeChange(const ModelItem& item);
    void processModelAttributeChange();

    /// Draws nothing until the next change; the model stays.
    void clear();

    BoundingBox<float> boundingBox() const override;
    bool isOpaque() const override;
    void glDraw() const override;
    void addPoints(std::vector<float>& points) const override;
    bool addTriangles(TrianglesGL& triangles) const override;
    std::uint64_t revision() const override;

    /// Null unless the model is drawn as a surface.
    const VRLModelPainterGL* getModelPainter() const { return __modelPainter.get(); }
    /// Empty unless the items are drawn one by one.
    const std::vector<std::unique_ptr<VRLModelItemPainterGL>>& getItemPainters() const { return __itemPainters; }

private:
    DisplayModeGL displayMode() const;
    bool itemMode() const;
    void updateItem(const ModelItem& item);
    void setItemPainter(const ModelItem& item);
    void buildModelPainter();

    const Model* __model = nullptr;
    bool __itemMode = false; // of the last setModel()
    std::unique_ptr<VRLModelPainterGL> __modelPainter;
    std::vector<std::unique_ptr<VRLModelItemPainterGL>> __itemPainters;
};

} // namespace vorlen
