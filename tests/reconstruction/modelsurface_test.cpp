#include "reconstruction/modelsurface.h"

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "reconstruction/stackreconstruction.h"
#include "support/documentmaker.h"

namespace vorlen {

namespace {

/// Four slices, spaced by 10.
struct ModelSurfaceTest : ::testing::Test {
    ModelSurfaceTest() {
        stack.setDefaultSliceSpacing(10);
        addSlices(stack, 4);
    }

    void addSquare(Model& model, int slice, int x = 0) {
        addItem(model, stack.getSlice(slice), {{x, 0}, {x + 20, 0}, {x + 20, 20}, {x, 20}});
    }

    ModelSurface<double> surfaceOf(const Model& model) {
        return ModelSurface<double>(model, StackReconstruction<double>(stack));
    }

    void expectNone(const Model& model, SurfaceKind kind, const std::string& reason) {
        ModelSurface<double> surface = surfaceOf(model);
        EXPECT_EQ(surface.getKind(), kind);
        EXPECT_FALSE(surface.exists());
        EXPECT_EQ(surface.reason(), reason);
        EXPECT_THROW(surface.tile(2), UsageError);
        try {
            surface.resample(3, 4);
            FAIL();
        } catch (const UsageError& error) {
            EXPECT_NE(error.getWhat().find(reason), std::string::npos);
        }
    }

    Stack stack;
};

} // namespace

TEST_F(ModelSurfaceTest, oneContourOnEachHeightIsASurfaceWhateverIsEmpty) {
    Model& model = addModel(stack, "m");
    for (const int slice : {0, 3, 1})
        addSquare(model, slice);
    for (int slice = 0; slice < 4; ++slice)
        addItem(model, stack.getSlice(slice), {});
    model.getProperties().setQuadMeshHeight(7);
    model.getProperties().setQuadMeshWidth(8);
    ModelSurface<double> surface = surfaceOf(model);
    EXPECT_EQ(surface.getKind(), SurfaceKind::Simple);
    EXPECT_EQ(surface.reason(), "");
    EXPECT_NEAR(surface.tile(2).area(), 80 * 30, 1e-9);
    EXPECT_EQ(surface.getMeshSize(model.getProperties()).rows, 7);
    EXPECT_EQ(surface.getMeshSize(model.getProperties()).columns, 8);
    const auto mesh = surface.resample(7, 8);
    EXPECT_EQ(mesh->getNumVertices(), 56);
    EXPECT_NEAR(mesh->toTriMesh(true).area(), 80 * 30, 1e-9);
    EXPECT_EQ(surface.takeContours()->getHeight(), 3);

    Model& sheet = addModel(stack, "sheet", PolylinePrimitive);
    for (const int slice : {0, 1})
        addItem(sheet, stack.getSlice(slice), {{0, 0}, {30, 0}});
    EXPECT_TRUE(surfaceOf(sheet).resample(2, 5)->isOpen());
    EXPECT_NEAR(surfaceOf(sheet).tile(2).area(), 300, 1e-9);
}

TEST_F(ModelSurfaceTest, oneContourIsASurfaceWithoutHeight) {
    Model& model = addModel(stack, "m");
    addSquare(model, 2);
    model.getProperties().setQuadMeshHeight(7);
    const ModelSurface<double> surface = surfaceOf(model);
    EXPECT_EQ(surface.getKind(), SurfaceKind::Outline);
    EXPECT_TRUE(surface.exists());
    EXPECT_EQ(surface.getMeshSize(model.getProperties()).rows, 1);
    EXPECT_EQ(surface.tile(2).getNumTriangles(), 0);
}

TEST_F(ModelSurfaceTest, tellsWhyThereIsNone) {
    Model& dots = addModel(stack, "dots", PolypointPrimitive);
    addItem(dots, stack.getSlice(1), {{1, 2}, {3, 4}});
    expectNone(dots, SurfaceKind::Points, "points have no surface");
    EXPECT_EQ(surfaceOf(dots).getShape().getNumVertices(), 2);
    EXPECT_EQ(surfaceOf(dots).takeContours(), nullptr);

    Model& model = addModel(stack, "m");
    addItem(model, stack.getSlice(1), {});
    expectNone(model, SurfaceKind::Empty, "it has no contours");
    EXPECT_EQ(surfaceOf(model).takeContours(), nullptr);

    for (int slice = 0; slice < 4; ++slice)
        addSquare(model, slice);
    addSquare(model, 2, 50);
    expectNone(model, SurfaceKind::Branching, "it has several contours on one slice");
    EXPECT_EQ(surfaceOf(model).takeContours()->getHeight(), 5);

    Model& flat = addModel(stack, "flat");
    addSquare(flat, 0);
    addSquare(flat, 1);
    stack.getSlice(1).setAbsolutePosition(stack.getSlice(0).getAbsolutePosition());
    expectNone(flat, SurfaceKind::Unspaced, "contours on different slices lie at the same height");
}

TEST_F(ModelSurfaceTest, anySizeOfAMeshCanBeAskedFor) {
    const ModelSurface<float>::MeshSize most{4294967295, 4294967295}, none{0, 5}, fits{10, 20};
    EXPECT_TRUE(most.exceeds(1000000) && none.isEmpty() && !fits.isEmpty());
    EXPECT_TRUE(fits.exceeds(199) && !fits.exceeds(200));
}

} // namespace vorlen
