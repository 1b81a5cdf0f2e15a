#include "ui/scenes/vrlrenderingpaintergl.h"

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/curvestack.h"
#include "shapes/quadmesh.h"
#include "shapes/surfacecertificate.h"
#include "shapes/trimesh.h"
#include "ui/scenes/renderingstack.h"
#include "ui/scenes/vrlmodelitempaintergl.h"
#include "ui/scenes/vrlmodelpaintergl.h"
#include "ui/scenes/vrlrenderingutils.h"

namespace vorlen {

namespace {

class VRLRenderingPainterGLTest : public ::testing::Test {
protected:
    /// The shape of the surface painter as a mesh; null when it is none.
    const QuadMesh<float>* mesh() const {
        return painter.getModelPainter() == nullptr
                   ? nullptr
                   : dynamic_cast<const QuadMesh<float>*>(painter.getModelPainter()->getShape());
    }
    DisplayModeGL itemDisplay(int k) const { return itemAttributes(k).getDisplayMode(); }
    const ShapePainterAttributesGL& itemAttributes(int k) const {
        return painter.getItemPainters()[std::size_t(k)]->getPainter()->getAttributes();
    }

    std::unique_ptr<VRLStack> stack = makeRenderingStack();
    Model& cube = stack->getModel(0);
    Model& dots = stack->getModel(1);
    VRLRenderingPainterGL painter;
};

} // namespace

TEST(ConvertProperties, takesTheItemsValuesFirstAndMapsSymbols) {
    ModelItemProperties item, defaults;
    defaults.setDefaults();
    defaults.setPointSize(7);
    defaults.setRenderingVisibility(false);
    item.setColor(1, 2, 3);
    item.setLineWidth(4);
    const ShapePainterAttributesGL attributes = convertProperties(item, defaults);
    EXPECT_EQ(attributes.getColor()[2], 3);
    EXPECT_EQ(attributes.getLineWidth(), 4);
    EXPECT_EQ(attributes.getSymbolSize(), 7);
    EXPECT_FALSE(attributes.getVisibility());
    EXPECT_EQ(attributes.getVertexSymbol(), SphereSymbolGL);
    const std::pair<VertexSymbol, VertexSymbolGL> symbols[] = {{CubeSymbol, CubeSymbolGL},
                                                               {DotSymbol, DotSymbolGL},
                                                               {DiamondSymbol, DiamondSymbolGL},
                                                               {TetrahedronSymbol, TetrahedronSymbolGL},
                                                               {UnknownSymbol, UndefinedSymbolGL}};
    for (const auto& [symbol, expected] : symbols) {
        item.setVertexSymbol(symbol);
        EXPECT_EQ(convertProperties(item, defaults).getVertexSymbol(), expected);
    }
    ModelProperties model;
    model.setSurfaceOpacity(100);
    model.setSurfaceShininess(9);
    model.setEndCapFlag(true);
    const ShapePainterAttributesGL surface = convertProperties(model, item, defaults);
    EXPECT_EQ(surface.getTransparency(), 100);
    EXPECT_EQ(surface.getShininess(), 9);
    EXPECT_FALSE(surface.hasBeginCapFlag());
    EXPECT_TRUE(surface.getEndCapFlag());
}

TEST_F(VRLRenderingPainterGLTest, aSurfaceIsAClosedMeshWithCapsOfTheModelsGrid) {
    painter.setModel(cube);
    ASSERT_NE(mesh(), nullptr);
    EXPECT_EQ(mesh()->getHeight(), 12);
    EXPECT_EQ(mesh()->getWidth(), 8);
    EXPECT_TRUE(mesh()->isClosed() && mesh()->hasBeginCap() && mesh()->hasEndCap());
    EXPECT_EQ(painter.getModelPainter()->getPainter()->getAttributes().getDisplayMode(), SurfaceDisplayGL);
    // 20 pixels of width 2 over slices 0 to 30.
    const BoundingBox<float> box = painter.boundingBox();
    EXPECT_NEAR(box.width(0), 40, 1e-3);
    EXPECT_NEAR(box.width(1), 40, 1e-3);
    EXPECT_NEAR(box.width(2), 30, 1e-3);
    EXPECT_TRUE(painter.isOpaque());
    cube.getProperties().setSurfaceOpacity(100);
    cube.getProperties().setRenderingMode(WireframeRendering);
    painter.processModelAttributeChange();
    EXPECT_FALSE(painter.isOpaque());
    EXPECT_EQ(painter.getModelPainter()->getPainter()->getAttributes().getDisplayMode(), MeshDisplayGL);
}

TEST_F(VRLRenderingPainterGLTest, dotsAndCurvesAreDrawnItemByItem) {
    cube.getProperties().setRenderingMode(CurveRendering);
    painter.setModel(cube);
    ASSERT_EQ(painter.getItemPainters().size(), 4u);
    EXPECT_EQ(painter.getModelPainter(), nullptr);
    EXPECT_EQ(itemDisplay(0), CurveDisplayGL);
    cube.getProperties().setRenderingMode(DotRendering);
    painter.processModelAttributeChange();
    EXPECT_EQ(itemDisplay(3), SymbolDisplayGL);
    // A model's point size of 3 pixels is 6 long.
    EXPECT_EQ(itemAttributes(3).getSymbolSize(), 6);

    // An attribute of one item makes that item anew and no other.
    const auto before = painter.getItemPainters()[0].get();
    ModelItem& item = cube.getItem(1);
    item.getProperties().setColor(9, 8, 7);
    painter.processItemAttributeChange(item);
    EXPECT_EQ(itemAttributes(1).getColor()[0], 9);
    EXPECT_EQ(painter.getItemPainters()[0].get(), before);
    item.setVertices(makeVertices(square(100)));
    painter.processItemVertexChange(item);
    EXPECT_EQ(painter.getItemPainters().size(), 4u);
    EXPECT_NEAR(painter.boundingBox().width(0), 200, 1e-3);
    painter.removeItem(item);
    EXPECT_EQ(painter.getItemPainters().size(), 3u);
    EXPECT_NEAR(painter.boundingBox().width(0), 40, 1e-3);
    painter.addItem(item);
    EXPECT_EQ(painter.getItemPainters().back()->getItem(), &item);

    // After a failure has cleared the picture, an item comes back with all others.
    painter.clear();
    painter.processItemVertexChange(item);
    EXPECT_EQ(painter.getItemPainters().size(), 4u);
    painter.clear();
    painter.processItemAttributeChange(item);
    EXPECT_EQ(painter.getItemPainters().size(), 4u);
}

TEST_F(VRLRenderingPainterGLTest, linesOfOnePointOnEachSliceAreAPathUntilOneGetsAnother) {
    Model& axis = addModel(*stack, "axis", PolylinePrimitive);
    const Points places = {{0, 0}, {10, 0}, {10, 20}, {5, 20}};
    for (std::size_t k = 0; k < places.size(); ++k)
        addItem(axis, stack->getSlice(int(k)), {places[k]});
    for (const RenderingMode mode : {CurveRendering, SurfaceRendering}) {
        axis.getProperties().setRenderingMode(mode);
        painter.setModel(axis);
        EXPECT_TRUE(painter.getItemPainters().empty());
        ASSERT_NE(painter.getModelPainter(), nullptr);
        EXPECT_EQ(painter.getModelPainter()->getPainter()->getAttributes().getDisplayMode(), CurveDisplayGL);
        const auto* const path = dynamic_cast<const CurveStack<float>*>(painter.getModelPainter()->getShape());
        ASSERT_NE(path, nullptr);
        ASSERT_EQ(path->getHeight(), 1);
        ASSERT_EQ((*path)[0].getNumVertices(), 4); // in the order of the slices
        for (int k = 0; k < 4; ++k)
            EXPECT_NEAR((*path)[0][k][2], 10 * k, 1e-3);
        // 10 and 20 pixels of side 2 over slices 0 to 30.
        const BoundingBox<float> box = painter.boundingBox();
        EXPECT_NEAR(box.width(0), 20, 1e-3);
        EXPECT_NEAR(box.width(1), 40, 1e-3);
        EXPECT_NEAR(box.width(2), 30, 1e-3);
    }
    // One point moves, and the path with it.
    axis.getItem(3).setVertices(makeVertices({{40, 20}}));
    painter.processItemVertexChange(axis.getItem(3));
    EXPECT_NEAR(painter.boundingBox().width(0), 80, 1e-3);
    // A second point on a slice: each line by itself.
    axis.getProperties().setRenderingMode(CurveRendering);
    painter.processModelAttributeChange();
    axis.getItem(1).setVertices(makeVertices({{10, 0}, {12, 0}}));
    painter.processItemVertexChange(axis.getItem(1));
    EXPECT_EQ(painter.getModelPainter(), nullptr);
    ASSERT_EQ(painter.getItemPainters().size(), 4u);
    axis.getItem(1).setVertices(makeVertices({{10, 0}}));
    painter.processItemVertexChange(axis.getItem(1));
    EXPECT_TRUE(painter.getItemPainters().empty());
    EXPECT_NE(painter.getModelPainter(), nullptr);
}

TEST_F(VRLRenderingPainterGLTest, pointsNeverMakeASurface) {
    ASSERT_EQ(dots.getProperties().getRenderingMode(), SurfaceRendering);
    painter.setModel(dots);
    ASSERT_EQ(painter.getItemPainters().size(), 1u);
    EXPECT_EQ(itemAttributes(0).getVertexSymbol(), SphereSymbolGL);
    EXPECT_NEAR(painter.boundingBox().width(0), 20, 1e-3); // 10 pixels
    EXPECT_TRUE(painter.isOpaque());
}

TEST_F(VRLRenderingPainterGLTest, twoContoursOnOneSliceMakeAClosedSurfaceUntilOneGoes) {
    painter.setModel(cube);
    ModelItem& branch = addItem(cube, stack->getSlice(2), square(5, 50, 0));
    painter.addItem(branch);
    EXPECT_EQ(mesh(), nullptr);
    const auto* surface = dynamic_cast<const TriMesh<float>*>(painter.getModelPainter()->getShape());
    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(SurfaceCertificate::of(*surface).toText(),
              "closed, oriented outward, manifold, 2 parts, Euler number 4, genus 0");
    EXPECT_EQ(painter.getModelPainter()->getPainter()->getAttributes().getDisplayMode(), SurfaceDisplayGL);
    branch.detach();
    painter.removeItem(branch);
    ASSERT_NE(mesh(), nullptr);
    EXPECT_EQ(mesh()->getHeight(), 12);
    delete &branch;
}

TEST_F(VRLRenderingPainterGLTest, fewContoursAndOddOnesAreDrawnSafely) {
    Model& thin = addModel(*stack, "thin");
    painter.setModel(thin);
    EXPECT_EQ(painter.getModelPainter(), nullptr);
    EXPECT_FALSE(painter.boundingBox().isValid());
    painter.glDraw();

    // A contour that has no vertices yet, then one level with its caps.
    ModelItem& empty = addItem(thin, stack->getSlice(0));
    painter.addItem(empty);
    EXPECT_FALSE(painter.boundingBox().isValid());
    EXPECT_TRUE(painter.isOpaque());
    ModelItem& item = addItem(thin, stack->getSlice(1), square(20));
    painter.addItem(item);
    ASSERT_NE(mesh(), nullptr);
    EXPECT_EQ(mesh()->getHeight(), 1);
    EXPECT_TRUE(mesh()->hasBeginCap() && mesh()->hasEndCap());

    // Attributes of an item of a surface change nothing.
    const VRLModelPainterGL* before = painter.getModelPainter();
    painter.processItemAttributeChange(item);
    EXPECT_EQ(painter.getModelPainter(), before);

    // Meshes that cannot be.
    for (const unsigned int width : {0u, 4000000000u}) {
        thin.getProperties().setQuadMeshWidth(width);
        painter.processModelAttributeChange();
        EXPECT_EQ(mesh(), nullptr);
        EXPECT_NEAR(painter.boundingBox().width(0), 40, 1e-3);
    }

    thin.getProperties().setRenderingMode(UnknownRendering);
    try {
        painter.processModelAttributeChange();
        FAIL() << "no error";
    } catch (const ValueError& error) {
        EXPECT_EQ(error.getWhat(), "Unexpected model rendering mode");
        EXPECT_EQ(error.getWhere(), "DisplayModeGL VRLRenderingPainterGL::displayMode() const");
    }
    EXPECT_FALSE(painter.boundingBox().isValid());
}

} // namespace vorlen
