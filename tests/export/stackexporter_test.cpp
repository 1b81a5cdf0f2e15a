#include "export/stackexporter.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "document/stackreader.h"
#include "export/savevolumeasstack.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/quadmesh.h"
#include "support/documentmaker.h"
#include "support/failures.h"
#include "support/fixedsource.h"
#include "support/temporaryfolder.h"

namespace vorlen {

namespace {

/// Three slices with a closed, an open, a branching and a point model, on meshes of 6 by 4 vertices.
class StackExporterTest : public ::testing::Test {
protected:
    StackExporterTest() {
        stack.setName("S");
        stack.setDefaultSliceSpacing(10);
        addSlices(stack, 3);
        for (int i = 0; i < 3; ++i) {
            stack.getSlice(i).setImageSource(FixedSource(100, 100));
            PixelCalibration calibration;
            calibration.setPixelWidth(1);
            calibration.setPixelHeight(1);
            stack.getSlice(i).setPixelCalibration(calibration);
        }
    }

    Model& add(const std::string& name, MPrimitive geometry, int contoursOnASlice = 1, int slices = 3) {
        Model& model = addModel(stack, name, geometry);
        model.getProperties().setQuadMeshWidth(6);
        model.getProperties().setQuadMeshHeight(4);
        for (int i = 0; i < slices; ++i)
            for (int k = 0; k < contoursOnASlice; ++k)
                addItem(model, stack.getSlice(i), {{40, 40}, {60, 40}, {60, 60}, {40, 60}});
        return model;
    }

    Stack stack;
    TemporaryFolder folder;
};

int countLines(const std::string& text, const std::string& line) {
    std::istringstream stream(text);
    int count = 0;
    for (std::string next; std::getline(stream, next);)
        count += next.rfind(line, 0) == 0;
    return count;
}

} // namespace

TEST_F(StackExporterTest, surfacesAreWrittenAndTheRestIsSkippedWithoutAWord) {
    add("closed", PolygonPrimitive);
    add("open", PolylinePrimitive);
    add("branching", PolygonPrimitive, 2);
    add("points", PolypointPrimitive);
    add("empty", PolygonPrimitive, 0);
    StackExporter().export2AsciiSTL(stack, folder.path(), false);
    EXPECT_EQ(folder.numFiles(), 5); // no mesh of rows for what branches

    const std::string closed = folder.read("S-closed.stl");
    EXPECT_EQ(closed.rfind("solid closed\n  facet normal ", 0), 0u);
    EXPECT_NE(closed.find("\nendsolid closed\n"), std::string::npos);
    // Three bands of six quadrangles, of two triangles each, and one more with a lid of four at each end; an open mesh
    // has five of them on a band, and no ends.
    EXPECT_EQ(countLines(closed, "  facet normal"), 68);
    EXPECT_EQ(countLines(closed, "      vertex"), 204);
    EXPECT_EQ(countLines(folder.read("S-open.stl"), "  facet normal"), 30);

    QuadMesh<float> mesh;
    mesh.load(folder.file("S-closed.qm"));
    EXPECT_EQ(mesh.getNumVertices(), 24);
    EXPECT_FLOAT_EQ(mesh.boundingBox().getVertex2()[2], 20);
}

// A prism of squares of side 20 that reaches half a section of 10 beyond either end; six columns cut its corners.
TEST_F(StackExporterTest, formatsGoThroughTheOutlinesOrThroughRowsAndColumns) {
    Model& model = add("a", PolygonPrimitive);
    StackReconstruction<float> reconstruction(stack);
    StackExporter exporter;
    const auto volume = [&] {
        const auto certificate =
            exporter.exportModel(model, reconstruction, folder.path(), "", SurfaceFormat::StlBinary, "m", true);
        EXPECT_TRUE(certificate && certificate->isSound());
        return certificate->volume;
    };
    EXPECT_NEAR(volume(), 400 * 30, 0.01);
    exporter.setResampled(true);
    EXPECT_LT(volume(), 400 * 29);
}

TEST_F(StackExporterTest, oneItemGivesAMeshOfOneRow) {
    add("flat", PolygonPrimitive, 1, 1);
    StackExporter().export2AsciiSTL(stack, folder.path(), false);
    QuadMesh<float> mesh;
    mesh.load(folder.file("S-flat.qm"));
    EXPECT_EQ(mesh.getNumVertices(), 6);
    EXPECT_EQ(countLines(folder.read("S-flat.stl"), "  facet normal"), 32);
}

TEST_F(StackExporterTest, surfacesEndAsTheModelOrTheCallerAsks) {
    Model& model = add("a", PolygonPrimitive);
    StackReconstruction<float> reconstruction(stack);
    StackExporter exporter;
    const auto volume = [&] {
        const auto certificate = exporter.export2AsciiSTL(model, reconstruction, folder.path(), "", true);
        EXPECT_TRUE(certificate && certificate->isSound());
        return certificate->volume;
    };
    const double blunt = volume();
    model.getProperties().setEndCapFlag(true);
    const double bluntAndLid = volume();
    model.getProperties().setBeginCapFlag(true);
    const double lids = volume();
    EXPECT_NEAR(blunt - bluntAndLid, bluntAndLid - lids, 1e-2);
    EXPECT_NEAR(4 * (blunt - bluntAndLid), lids, 1e-2); // 5 more on a prism 20 high
    exporter.setEnds({SurfaceEnd::NextSection, SurfaceEnd::Flat});
    EXPECT_NEAR(6 * (volume() - lids), lids, 1e-2); // a pyramid 10 high
    exporter.setEnds({SurfaceEnd::Open, SurfaceEnd::Open});
    const auto open = exporter.export2AsciiSTL(model, reconstruction, folder.path(), "", true);
    EXPECT_EQ(open->openEdges, 12);
    EXPECT_EQ(countLines(folder.read("a.stl"), "  facet normal"), 36);
}

TEST_F(StackExporterTest, anItemWithoutVerticesIsPassedOver) {
    Model& model = add("a", PolygonPrimitive, 0);
    Model& plain = add("b", PolygonPrimitive, 0);
    for (int i : {0, 2})
        for (Model* made : {&model, &plain})
            addItem(*made, stack.getSlice(i), {{40, 40}, {60, 40}, {60, 60}, {40, 60}});
    addItem(model, stack.getSlice(1), {});
    Model& flat = add("flat", PolygonPrimitive, 1, 1);
    addItem(flat, stack.getSlice(1), {});
    StackExporter().export2AsciiSTL(stack, folder.path(), false);
    const std::string expected = folder.read("S-b.stl");
    EXPECT_EQ(countLines(expected, "  facet normal"), 68);
    EXPECT_EQ(countLines(folder.read("S-a.stl"), "  facet normal"), 68);
    EXPECT_EQ(folder.read("S-a.qm"), folder.read("S-b.qm"));
    EXPECT_EQ(countLines(folder.read("S-flat.stl"), "  facet normal"), 32);
}

TEST_F(StackExporterTest, anExistingFileIsKeptUnlessOverwritingIsAllowed) {
    add("a", PolygonPrimitive);
    add("b", PolygonPrimitive);
    folder.write("S-b.stl", "mine");
    const std::string name = folder.file("S-b.stl");
    expectFailure<FileWriteError>([&] { StackExporter().export2AsciiSTL(stack, folder.path(), false); },
                                  "void StackExporter::export2AsciiSTL(...)", name + " : file exists");
    EXPECT_EQ(folder.read("S-b.stl"), "mine");
    EXPECT_NE(folder.read("S-a.stl"), "");
    EXPECT_EQ(folder.read("S-b.qm"), "");
    StackExporter().export2AsciiSTL(stack, folder.path(), true);
    EXPECT_EQ(folder.read("S-b.stl").rfind("solid b\n", 0), 0u);
}

TEST_F(StackExporterTest, aMeshFileInTheWayStopsBeforeAnythingIsWritten) {
    add("a", PolygonPrimitive);
    folder.write("S-a.qm", "mine");
    EXPECT_THROW(StackExporter().export2AsciiSTL(stack, folder.path(), false), FileWriteError);
    EXPECT_EQ(folder.read("S-a.stl"), "");
    EXPECT_EQ(folder.read("S-a.qm"), "mine");
}

TEST_F(StackExporterTest, namesAndSizesThatCannotBeAreRefused) {
    Model& model = add("../up", PolygonPrimitive);
    EXPECT_THROW(StackExporter().export2AsciiSTL(stack, folder.path(), true), FileWriteError);
    model.setName("huge");
    model.getProperties().setQuadMeshHeight(4000000000u);
    EXPECT_THROW(StackExporter().export2AsciiSTL(stack, folder.path(), true), FileWriteError);
    model.getProperties().setQuadMeshHeight(4);
    EXPECT_THROW(StackExporter().export2AsciiSTL(stack, folder.file("missing"), true), FileWriteError);
    EXPECT_EQ(folder.numFiles(), 0);
}

TEST_F(StackExporterTest, aModelIsExportedUnderThePrefix) {
    Model& model = add("a", PolygonPrimitive);
    StackReconstruction<float> reconstruction(stack);
    StackExporter().export2AsciiSTL(model, reconstruction, folder.path(), "", false);
    StackExporter().export2AsciiSTL(model, reconstruction, folder.path(), "p", false);
    EXPECT_EQ(folder.numFiles(), 4);
    EXPECT_NE(folder.read("a.stl"), "");
    EXPECT_EQ(folder.read("p-a.stl"), folder.read("a.stl"));
}

TEST(SaveVolumeAsStack, givesAStackOfThePlanes) {
    const TemporaryFolder folder;
    VoxelMatrix<float> volume(4, 5, 2);
    for (int k = 0; k < 2; ++k)
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 5; ++j)
                volume[k][i][j] = float(10 * i + j + 100 * k);
    PixelCalibration calibration;
    calibration.setPixelWidth(2);
    calibration.setPixelHeight(2);
    saveVolumeAsStack(volume, "v", folder.path() + "/", folder.path() + "/", calibration, 3.5f);

    Stack stack;
    StackReader reader;
    ASSERT_TRUE(reader.read(stack, folder.file("v.sdf")));
    EXPECT_TRUE(reader.getLog().empty());
    ASSERT_EQ(stack.getNumSlices(), 2);
    EXPECT_EQ(stack.getSlice(1).getName(), "v_001.tif");
    EXPECT_DOUBLE_EQ(stack.getSlice(1).getAbsolutePosition(), 3.5f);
    EXPECT_FLOAT_EQ(stack.getSlice(1).getPixelCalibration().getPixelWidth(), 2);
    Image image;
    stack.getSlice(1).load(image);
    ASSERT_EQ(image.getWidth(), 5);
    ASSERT_EQ(image.getHeight(), 4);
}

} // namespace vorlen
