#include "reconstruction/modelsurface.h"

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/surfacecertificate.h"
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

// A crescent, whose centroid lies outside of it, and a square, on slices 1 and 2 of four: the walls between them, and
// each way to end.
TEST_F(ModelSurfaceTest, closesInAnyWayAndFacesOutward) {
    const std::vector<std::pair<int, int>> crescent = {{0, 0},  {60, 0},  {60, 60}, {0, 60},
                                                       {0, 50}, {50, 50}, {50, 10}, {0, 10}};
    for (const bool descending : {false, true}) {
        for (int slice = 0; slice < 4; ++slice)
            stack.getSlice(slice).setAbsolutePosition(float(descending ? -10 * slice : 10 * slice));
        Model& model = addModel(stack, "m");
        addSquare(model, 1);
        addSquare(model, 2);
        Model& bent = addModel(stack, "bent");
        addItem(bent, stack.getSlice(1), crescent);
        addItem(bent, stack.getSlice(2), crescent);
        // Heights of the prisms: equal contours go on half a section; a pyramid has a third of a section's prism.
        const std::pair<SurfaceEnd, double> ways[] = {
            {SurfaceEnd::Flat, 10}, {SurfaceEnd::HalfSection, 20}, {SurfaceEnd::NextSection, 10 + 20 / 3.0}};
        for (const auto& [way, height] : ways) {
            const double volume = 400 * height;
            const ModelSurface<double> surface = surfaceOf(model), bentSurface = surfaceOf(bent);
            for (int method = 1; method <= 4; ++method) {
                testing::internal::CaptureStdout();
                const auto certificate = SurfaceCertificate::of(surface.close(surface.tile(method), {way, way}));
                const auto lidded = SurfaceCertificate::of(bentSurface.close(bentSurface.tile(method), {way, way}));
                testing::internal::GetCapturedStdout();
                EXPECT_TRUE(certificate.isSound()) << certificate.toText();
                EXPECT_NEAR(certificate.volume, volume, 1e-9);
                EXPECT_TRUE(lidded.isSound()) << lidded.toText();
                EXPECT_NEAR(lidded.volume, 1600 * height, 1e-9);
            }
            const auto resampled = SurfaceCertificate::of(surface.close(*surface.resample(5, 8), {way, way}));
            EXPECT_TRUE(resampled.isSound()) << resampled.toText();
            EXPECT_NEAR(resampled.volume, volume, 1e-9);
        }
        EXPECT_NEAR(surfaceOf(bent).close(surfaceOf(bent).tile(2), {SurfaceEnd::Flat, SurfaceEnd::Flat}).area(),
                    340 * 10 + 2 * 1600, 1e-9);
        EXPECT_FALSE(SurfaceCertificate::of(
                         surfaceOf(model).close(surfaceOf(model).tile(2), {SurfaceEnd::Open, SurfaceEnd::Flat}))
                         .closed);
        // One contour alone becomes a section's prism.
        Model& flat = addModel(stack, "flat");
        addSquare(flat, 1);
        const auto certificate = SurfaceCertificate::of(surfaceOf(flat).close(surfaceOf(flat).tile(2), SurfaceEnds()));
        EXPECT_TRUE(certificate.isSound()) << certificate.toText();
        EXPECT_NEAR(certificate.volume, 400 * 10, 1e-9);
    }
}

// A column with a hole and a block beside it, in descending order of the slices too: walls, ends, and no rows.
TEST_F(ModelSurfaceTest, severalContoursOnASliceAreJoinedPartByPart) {
    for (const bool descending : {false, true}) {
        for (int slice = 0; slice < 4; ++slice)
            stack.getSlice(slice).setAbsolutePosition(float(descending ? -10 * slice : 10 * slice));
        Model& model = addModel(stack, "m");
        for (int slice = 0; slice < 4; ++slice) {
            addSquare(model, slice);
            addItem(model, stack.getSlice(slice), {{5, 5}, {15, 5}, {15, 15}, {5, 15}});
        }
        addSquare(model, 0, 50);
        ModelSurface<float> surface(model, StackReconstruction<float>(stack));
        EXPECT_EQ(surface.getKind(), SurfaceKind::Branching);
        EXPECT_TRUE(surface.exists() && !surface.isGrid());
        EXPECT_EQ(surface.reason(), "");
        EXPECT_THROW(surface.resample(3, 4), UsageError);
        EXPECT_NEAR(surface.tile(2).area(), 30 * (80 + 40), 1e-2);
        const auto flat = SurfaceCertificate::of(surface.closed({SurfaceEnd::HalfSection, SurfaceEnd::Flat}));
        EXPECT_TRUE(flat.isSound()) << flat.toText();
        EXPECT_EQ(flat.parts, 2);
        EXPECT_EQ(flat.euler, 2);
        EXPECT_NEAR(flat.volume, 35 * 300 + 5 * 400, 1e-2); // the block goes on at its beginning alone
        EXPECT_FALSE(SurfaceCertificate::of(surface.tile(2)).closed);
        EXPECT_EQ(surface.takeContours()->getHeight(), 9);
    }
}

// Figures of eight with lobes of 3600 and of 400, and with equal ones, whose areas cancel; a loop within an outline,
// which encloses all but its loop.
TEST_F(ModelSurfaceTest, outlinesThatCrossThemselvesEncloseTheirParts) {
    const std::pair<std::vector<std::pair<int, int>>, double> cases[] = {
        {{{0, 0}, {80, 80}, {80, 40}, {0, 120}}, 3600 + 400},
        {{{0, 0}, {80, 80}, {80, 0}, {0, 80}}, 1600 + 1600},
        {{{0, 0}, {60, 0}, {60, 60}, {20, 60}, {20, 20}, {40, 20}, {40, 40}, {0, 40}}, 2400 + 1200 - 2 * 400}};
    for (const auto& [outline, area] : cases) {
        Model& model = addModel(stack, "m");
        for (int slice = 0; slice < 4; ++slice)
            addItem(model, stack.getSlice(slice), outline);
        const ModelSurface<double> surface = surfaceOf(model);
        const SurfaceEnds flat{SurfaceEnd::Flat, SurfaceEnd::Flat};
        for (const TriMesh<double>& mesh : {surface.closed(flat), surface.close(*surface.resample(5, 40), flat)}) {
            const auto certificate = SurfaceCertificate::of(mesh);
            EXPECT_TRUE(certificate.isSound()) << certificate.toText();
            EXPECT_NEAR(certificate.volume, 30 * area, 1e-6 * 30 * area);
        }
    }
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

    Model& sheet = addModel(stack, "sheet", PolylinePrimitive);
    for (const int slice : {0, 1, 1})
        addItem(sheet, stack.getSlice(slice), {{0, 0}, {30, 0}});
    expectNone(sheet, SurfaceKind::Branching, "it has several lines on one slice");
    EXPECT_EQ(surfaceOf(sheet).takeContours()->getHeight(), 3);

    Model& flat = addModel(stack, "flat");
    addSquare(flat, 0);
    addSquare(flat, 1);
    addSquare(flat, 1, 50);
    stack.getSlice(1).setAbsolutePosition(stack.getSlice(0).getAbsolutePosition());
    expectNone(flat, SurfaceKind::Unspaced, "contours on different slices lie at the same height");
}

TEST_F(ModelSurfaceTest, anySizeOfAMeshCanBeAskedFor) {
    const ModelSurface<float>::MeshSize most{4294967295, 4294967295}, none{0, 5}, fits{10, 20};
    EXPECT_TRUE(most.exceeds(1000000) && none.isEmpty() && !fits.isEmpty());
    EXPECT_TRUE(fits.exceeds(199) && !fits.exceeds(200));
}

} // namespace vorlen
