#include "document/stackwriter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "document/calibrationcurve.h"
#include "document/model.h"
#include "document/modelitem.h"
#include "document/pose.h"
#include "document/stack.h"
#include "document/stackreader.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagesourcefilemosaic.h"
#include "images/files/imagesourcekinds.h"
#include "images/files/imagesourceplaceholder.h"
#include "images/files/imagesourcevoxelmatrixplane.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "support/stackfolder.h"

namespace vorlen {

namespace {

StackSlice& addSlice(Stack& stack, const std::string& name, const ImageSource& source) {
    auto* slice = new StackSlice;
    slice->setName(name);
    slice->setImageSource(source);
    slice->setPixelCalibration(stack.getDefaultPixelCalibration());
    stack.addSlice(slice);
    return *slice;
}

StackSlice& addFile(Stack& stack, const std::string& name, const std::string& file) {
    ImageSourceFile source;
    source.setFilename(file);
    return addSlice(stack, name, source);
}

StackSlice& addMosaic(Stack& stack, const std::string& name) {
    return addSlice(stack, name, ImageSourceFileMosaic(1, 1));
}

Model& modelOf(Stack& stack, const std::string& name) {
    auto* model = new Model;
    model->setName(name);
    stack.addModel(model);
    return *model;
}

ModelItem& itemOf(Model& model, StackSlice& slice, const std::vector<std::pair<int, int>>& points) {
    auto* item = new ModelItem;
    item->setModel(&model);
    item->setSlice(&slice);
    item->attach();
    const int size = static_cast<int>(points.size());
    if (size > 0) {
        Vertices<double> vertices(2, size, size, size);
        for (int i = 0; i < size; ++i) {
            vertices[i][0] = points[static_cast<std::size_t>(i)].first;
            vertices[i][1] = points[static_cast<std::size_t>(i)].second;
        }
        item->setVertices(vertices);
    }
    return *item;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// Writes, reads, and writes again, and demands that the second text is the first. The stack read is left in copy.
void roundTrip(const Stack& stack, const StackFolder& folder, Stack& copy, int numLogLines = 0) {
    ASSERT_TRUE(StackWriter().write(stack, folder.file("stack.sdf")));
    StackReader reader;
    ASSERT_TRUE(reader.read(copy, folder.file("stack.sdf")));
    EXPECT_EQ(static_cast<int>(reader.getLog().size()), numLogLines)
        << (reader.getLog().empty() ? "" : reader.getLog()[0]);
    EXPECT_EQ(reader.getNumFatalErrors(), 0);
    ASSERT_TRUE(StackWriter().write(copy, folder.file("again.sdf")));
    EXPECT_EQ(folder.read("again.sdf"), folder.read("stack.sdf"));
}

} // namespace

TEST(StackWriter, shiftsAreWrittenInTheFewestDigits) {
    const StackFolder folder;
    Stack stack;
    StackSlice& slice = addFile(stack, "a", folder.writeImage("a.tif", 4, 3));
    const std::pair<Registration, const char*> cases[] = {{{3, -2, 0}, "SHIFT 3 -2;"},
                                                          {{0.1, -0.0, -90}, "ROTATE 270;\nSHIFT 0.1 0;"},
                                                          {{-12.0625, 100000, 0}, "SHIFT -12.0625 100000;"}};
    for (const auto& [registration, text] : cases) {
        slice.setRegistration(registration);
        EXPECT_NE(StackWriter().toText(stack, folder.path()).find(text), std::string::npos) << text;
    }
    slice.setRegistration(Registration(-0.0, 0, 0));
    EXPECT_EQ(StackWriter().toText(stack, folder.path()).find("SHIFT"), std::string::npos);
}

TEST(StackWriter, aSmallStackGivesThisText) {
    const StackFolder folder;
    Stack stack;
    stack.setName("brain");
    PixelCalibration calibration;
    calibration.setLengthUnit(LengthUnit(-6));
    calibration.setPixelWidth(0.5);
    calibration.compute();
    stack.setDefaultPixelCalibration(calibration);
    stack.setDefaultRelativePosition(10);
    stack.setLastSegmentedSlice("s2");
    stack.setAnnotation("first line\nsecond line");
    addFile(stack, "s1", folder.writeImage("images/s1.tif", 768, 512));
    StackSlice& second = addFile(stack, "s2", folder.writeImage("images/s2.tif", 768, 512));
    second.setRegistration(Registration(3, -2, 0));
    Model& model = modelOf(stack, "cortex");
    itemOf(model, second, {{10, 10}, {20, 10}, {30, 15}, {40, 20}, {40, 30}, {30, 35}, {20, 40}, {10, 30}});
    auto* pose = new Pose(Pose::canonicalPose2());
    pose->setName("lateral");
    stack.addPose(pose);
    ASSERT_TRUE(StackWriter().write(stack, folder.file("brain.sdf")));
    EXPECT_EQ(folder.read("brain.sdf"), "FileFormatVersion 1.03;\n"
                                        "# The last line of a whole file says so.\n"
                                        "STACK \"brain\";\n"
                                        "LengthUnitScale -6;\n"
                                        "PIXASPECT 1;\n"
                                        "PIXWIDTH 0.5;\n"
                                        "RELPOSITION 10;\n"
                                        "LASTSEGMENTEDSLICE \"s2\";\n"
                                        "LASTREGISTEREDSLICE \"\";\n"
                                        "Annotation \"first line__NL__second line\";\n"
                                        "AbsoluteImagesPathPolicy false;\n"
                                        "\n"
                                        "ImagesPath \"images/\";\n"
                                        "\n"
                                        "SLICE \"s1\" \"s1.tif\";\n"
                                        "SliceSize1 512;\n"
                                        "SliceSize2 768;\n"
                                        "\n"
                                        "SLICE \"s2\" \"s2.tif\";\n"
                                        "SliceSize1 512;\n"
                                        "SliceSize2 768;\n"
                                        "SHIFT 3 -2;\n"
                                        "\n"
                                        "MODEL \"cortex\";\n"
                                        "BRILLIANCY 32;\n"
                                        "COLOR 255 0 0;\n"
                                        "ECORENDERING false;\n"
                                        "FILLEDIN true;\n"
                                        "HIDDEN3D false;\n"
                                        "POINTSIZE 3;\n"
                                        "PRIMITIVE Polygon;\n"
                                        "RENDERINGMODE Surface;\n"
                                        "RESAMPLING 100 100;\n"
                                        "THICKNESS 1;\n"
                                        "TRANSPARENCY 255;\n"
                                        "VERTEXSYMBOL Sphere;\n"
                                        "\n"
                                        "MODELITEM \"cortex\" \"s2\";\n"
                                        "MODELITEMDATA\n"
                                        " 10,10 20,10 30,15 40,20 40,30 30,35 20,40\n"
                                        " 10,30;\n"
                                        "\n"
                                        "POSE \"lateral\";\n"
                                        "POSEROTATION 0 90 0;\n"
                                        "POSESHIFT 0 0;\n"
                                        "POSEZOOM 100;\n"
                                        "AMBIENTLIGHT 0;\n"
                                        "DIFFUSELIGHT 0;\n"
                                        "SPECULARLIGHT 0;\n"
                                        "\n# This file is whole.\n");
}

TEST(StackWriter, aLineBreakFollowsEverySeventhVertexButTheLast) {
    const StackFolder folder;
    Stack stack;
    StackSlice& slice = addMosaic(stack, "s");
    Model& model = modelOf(stack, "m");
    model.getProperties().setGeometry(PolylinePrimitive);
    std::vector<std::pair<int, int>> points(7, {1, 2});
    itemOf(model, slice, points);
    points.resize(14, {3, -4});
    itemOf(model, slice, points);
    itemOf(model, slice, {});
    const double decimals[] = {0.1, -0.05, 1234.5, -2000000, -0.001, 1999999.25};
    itemOf(model, slice, {}).setVertices(decimals, 3);
    const std::string text = StackWriter().toText(stack, folder.path());
    EXPECT_TRUE(contains(text, "DATA\n 0.1,-0.05 1234.5,-2000000 -0.001,1999999.25;\n"));
    EXPECT_TRUE(contains(text, "DATA\n 1,2 1,2 1,2 1,2 1,2 1,2 1,2;\n"));
    EXPECT_TRUE(contains(text, " 1,2\n 3,-4 3,-4 3,-4 3,-4 3,-4 3,-4 3,-4;\n"));
    EXPECT_TRUE(contains(text, "MODELITEMDATA\n;\n"));
}

TEST(StackWriter, wholePixelsOfEveryLengthAreWritten) {
    const StackFolder folder;
    Stack stack;
    StackSlice& slice = addMosaic(stack, "s");
    Model& model = modelOf(stack, "m");
    model.getProperties().setGeometry(PolylinePrimitive);
    std::vector<std::pair<int, int>> points;
    std::string expected = "DATA\n";
    for (int i = 0; i < 3000; ++i) {
        const int sizes[] = {0, 9, 10, 99, 100, 999, 1000, 9999, 10000, 32767, i};
        points.emplace_back(sizes[i % 11], -sizes[i % 11] - i % 2);
        expected += ' ' + std::to_string(points[std::size_t(i)].first) + ',' +
                    std::to_string(points[std::size_t(i)].second) + (i % 7 == 6 ? "\n" : "");
    }
    itemOf(model, slice, points);
    EXPECT_TRUE(contains(StackWriter().toText(stack, folder.path()), expected + ";\n"));
}

// Whole numbers stay whole, for readers that know no others, and the digits in front of a point are those of the place.
TEST(StackWriter, verticesBetweenPixelsAreWrittenInTheFewestDigitsThatReadBackTheSame) {
    const StackFolder folder;
    Stack stack, copy;
    StackSlice& slice = addMosaic(stack, "s");
    Model& model = modelOf(stack, "m");
    model.getProperties().setGeometry(PolypointPrimitive);
    ModelItem& points = itemOf(model, slice, {{5, -7}});
    const std::vector<std::pair<double, double>> places = {
        {0.1, 2}, {1.0 / 3, -7.25}, {1e-7, 123456.789}, {-0.0, 2147483647}, {99999.99999999999, -4.9e-324}};
    for (const auto& [x, y] : places) {
        Vector<double> vertex(2);
        vertex[0] = x;
        vertex[1] = y;
        points.appendVertex(vertex);
    }
    const std::string text = StackWriter().toText(stack, folder.path());
    EXPECT_TRUE(contains(text, "DATA\n 5,-7 0.1,2 0.3333333333333333,-7.25 0.0000001,123456.789 0,2147483647 99999.9"));
    roundTrip(stack, folder, copy);
    const Vertices<double>& read = copy.getModel(0).getItem(0).getVertices();
    ASSERT_EQ(read.getNumVertices(), 6);
    for (int i = 0; i < 6; ++i)
        for (const int axis : {0, 1})
            EXPECT_EQ(read[i][axis], points.getVertices()[i][axis]) << i;
}

TEST(StackWriter, readAndWrittenAgainEveryPartOfTheDocumentIsTheSame) {
    const StackFolder folder;
    Stack stack, copy;
    stack.setName("all of it");
    stack.setLengthUnit(LengthUnit(-9));
    stack.setDefaultRelativePosition(1.0f / 3);
    stack.setLastRegisteredSlice("b");
    stack.setAnnotation("a; \"b\"\n\nc # d");
    addFile(stack, "a", folder.writeImage("a.tif", 4, 3));
    StackSlice& b = addFile(stack, "b", folder.writeImage("images/b.tif", 5, 6));
    b.setRelativePosition(2.5);
    b.setRegistration(Registration(-3.0625, 1.0 / 3, -12.25f));
    b.setAnnotation("note;");
    PixelCalibration own = stack.getDefaultPixelCalibration();
    own.setPixelWidth(0.3f);
    own.setPixelHeight(0.7f);
    own.compute();
    b.setPixelCalibration(own);
    addFile(stack, "c", folder.writeImage("c.tif", 4, 3)).setAbsolutePosition(-7);
    Model& model = modelOf(stack, "m");
    model.getProperties().setGeometry(PolylinePrimitive);
    model.getProperties().setRenderingMode(DotRendering);
    model.getProperties().setBeginCapFlag(true);
    model.getProperties().setQuadMeshWidth(17);
    model.getProperties().setSurfaceOpacity(12);
    model.getProperties().setGroup("the \"left\"; # 1  ");
    model.getItemProperties().setRenderingVisibility(false);
    ModelItem& item = itemOf(model, b, {{1, 2}, {-3, 4}, {2147483647, -2147483647}});
    item.getProperties().setColor(1, 2, 3);
    item.getProperties().setVertexSymbol(TetrahedronSymbol);
    roundTrip(stack, folder, copy);

    EXPECT_EQ(copy.getName(), "all of it");
    EXPECT_EQ(copy.getLengthUnit().getScale(), -9);
    EXPECT_NEAR(copy.getDefaultRelativePosition(), 1.0 / 3, 1e-6);
    EXPECT_EQ(copy.getLastRegisteredSlice(), "b");
    EXPECT_EQ(copy.getAnnotation(), stack.getAnnotation());
    ASSERT_EQ(copy.getNumSlices(), 3);
    const StackSlice& readB = copy.getSlice(1);
    EXPECT_EQ(readB.getRelativePosition(), 2.5f);
    EXPECT_TRUE(readB.getRegistration() == b.getRegistration());
    EXPECT_EQ(readB.getAnnotation(), "note;");
    EXPECT_NEAR(readB.getPixelCalibration().getPixelHeight(), 0.7, 1e-5);
    EXPECT_FALSE(copy.getSlice(2).useRelativePosition());
    EXPECT_EQ(copy.getSlice(2).getAbsolutePosition(), -7);
    EXPECT_FLOAT_EQ(copy.getSlice(0).getPixelCalibration().getPixelWidth(), 1);
    ASSERT_EQ(copy.getNumModels(), 1);
    EXPECT_TRUE(copy.getModel(0).getProperties() == model.getProperties());
    EXPECT_TRUE(copy.getModel(0).getItemProperties() == model.getItemProperties());
    const ModelItem& readItem = copy.getModel(0).getItem(0);
    EXPECT_TRUE(readItem.getProperties() == item.getProperties());
    ASSERT_EQ(readItem.getSize(), 3);
    EXPECT_EQ(readItem.getVertices()[2][0], 2147483647);
    EXPECT_EQ(readItem.getSlice(), &readB);
}

TEST(StackWriter, imageDirectoriesAreNamedOnlyWhereTheyChange) {
    const StackFolder folder;
    Stack stack, copy;
    addFile(stack, "a", folder.writeImage("a.tif", 4, 3));
    addFile(stack, "b", folder.writeImage("one/b.tif", 4, 3));
    addFile(stack, "c", folder.writeImage("one/c.tif", 4, 3));
    addFile(stack, "d", folder.writeImage("one/two/d.tif", 4, 3));
    addFile(stack, "e", folder.file("a.tif"));
    roundTrip(stack, folder, copy);
    const std::string text = folder.read("stack.sdf");
    EXPECT_FALSE(contains(text.substr(0, text.find("SLICE \"a\"")), "ImagesPath \""));
    EXPECT_TRUE(contains(text, "ImagesPath \"one/\";\n\nSLICE \"b\""));
    EXPECT_TRUE(contains(text, "\n\nSLICE \"c\""));
    EXPECT_TRUE(contains(text, "ImagesPath \"one/two/\";\n\nSLICE \"d\""));
    EXPECT_TRUE(contains(text, "ImagesPath \"\";\n\nSLICE \"e\""));
}

TEST(StackWriter, theFileAndItsImagesMayMoveTogether) {
    const StackFolder folder;
    Stack stack, copy;
    addFile(stack, "a", folder.writeImage("old/images/a.tif", 4, 3));
    ASSERT_TRUE(StackWriter().write(stack, folder.file("old/stack.sdf")));
    std::filesystem::rename(folder.file("old"), folder.file("new"));
    StackReader reader;
    ASSERT_TRUE(reader.read(copy, folder.file("new/stack.sdf")));
    EXPECT_TRUE(reader.getLog().empty());
    EXPECT_FALSE(copy.getSlice(0).isEmpty());
}

TEST(StackWriter, theAbsolutePolicyNamesWholeDirectories) {
    const StackFolder folder;
    Stack stack, copy;
    stack.setAbsoluteImagesPathPolicy(true);
    addFile(stack, "a", folder.writeImage("images/a.tif", 4, 3));
    roundTrip(stack, folder, copy);
    EXPECT_TRUE(contains(folder.read("stack.sdf"), "ImagesPath \"" + folder.file("images") + "/\";"));
}

TEST(StackWriter, relativeNamesOfFileAndImagesGiveTheSameText) {
    const StackFolder folder;
    folder.writeImage("data/images/a.tif", 4, 3);
    folder.write("data/stack.sdf", "FileFormatVersion 1.03;\nImagesPath \"images\";\nSLICE \"a\" \"a.tif\";\n");
    const std::filesystem::path before = std::filesystem::current_path();
    std::string texts[4];
    const auto save = [](const std::string& name) {
        Stack stack;
        return StackReader().read(stack, name) && StackWriter().write(stack, name);
    };
    bool good = save(folder.file("data/stack.sdf"));
    texts[0] = folder.read("data/stack.sdf");
    std::filesystem::current_path(folder.path());
    good = good && save("data/stack.sdf");
    texts[1] = folder.read("data/stack.sdf");
    std::filesystem::current_path(folder.file("data"));
    good = good && save("stack.sdf");
    texts[2] = folder.read("data/stack.sdf");
    good = good && save("../data/stack.sdf");
    texts[3] = folder.read("data/stack.sdf");
    std::filesystem::current_path(before);
    EXPECT_TRUE(good);
    EXPECT_TRUE(contains(texts[0], "ImagesPath \"images/\";"));
    for (const std::string& text : texts)
        EXPECT_EQ(text, texts[0]);
}

TEST(StackWriter, mosaicsOpenAgainWhereverTheirTilesLie) {
    const StackFolder folder;
    Stack stack, copy;
    ImageSourceFileMosaic mosaic(2, 2);
    mosaic.setFilename(0, 0, folder.writeImage("one/a b.tif", 4, 3));
    mosaic.setFilename(1, 1, folder.writeImage("two/d.tif", 5, 6));
    addSlice(stack, "m", mosaic);
    addMosaic(stack, "empty");
    addFile(stack, "f", folder.writeImage("two/f.tif", 4, 3));
    roundTrip(stack, folder, copy);
    EXPECT_TRUE(contains(folder.read("stack.sdf"), "ImagesPath \"one/\";\n\nSLICE \"m\" 2 2;\nIMAGE 1 1 \"a b.tif\";\n"
                                                   "ImagesPath \"two/\";\nIMAGE 2 2 d.tif;\nSliceSize1 9;\n"));
    const auto& read = dynamic_cast<const ImageSourceFileMosaic&>(copy.getSlice(0).getImageSource());
    EXPECT_EQ(read.getSize2(), 9);
    EXPECT_EQ(std::filesystem::canonical(read.getFilename(0, 0)), folder.file("one/a b.tif"));
    EXPECT_EQ(read.getFilename(0, 1), "");
}

TEST(StackWriter, planesOfAVolumeOpenAgain) {
    const StackFolder folder;
    VoxelMatrix<float> volume(3, 4, 2);
    for (int k = 0; k < 2; ++k)
        volume[k].fill(0);
    volume.save(folder.file("v.vm"), true);
    Stack stack, copy;
    ImageSourceVoxelMatrixPlane plane;
    plane.setVoxelMatrixFilename(folder.file("v.vm"));
    plane.setPlane(1);
    addSlice(stack, "p", plane).setRegistration(Registration(1, 2, 3));
    roundTrip(stack, folder, copy);
    EXPECT_TRUE(contains(folder.read("stack.sdf"), "StackSlice \"p\" \"v.vm\" 1;\nSliceSize1 3;\nSliceSize2 4;\n"));
    EXPECT_EQ(copy.getSlice(0).getImageSource().getType(), 2);
}

TEST(StackWriter, standardImagesOpenAgainAlsoWithoutTheirFile) {
    const StackFolder folder;
    folder.writeImage("scale/there.tif", 4, 3);
    folder.write("first.sdf", "FileFormatVersion 1.03;\nImagesPath \"scale\";\nSTANDARDIMAGE \"one\" \"there.tif\";\n"
                              "CALIBRATIONCURVE \"c\";\nFIT Polynomial3;\nSAMPLE \"s\";\nSAMPLECOORDS 1 2 3 4;\n"
                              "SAMPLEVALUE 0.25;\nSAMPLE \"t\";\nSTANDARDIMAGE \"two\" \"gone.tif\";\n"
                              "STANDARDIMAGE \"three\" \"\";\n");
    Stack stack, copy;
    ASSERT_TRUE(StackReader().read(stack, folder.file("first.sdf")));
    roundTrip(stack, folder, copy);
    ASSERT_EQ(copy.getNumCalibration(), 3);
    EXPECT_EQ(copy.getStandardImage(0).getImageSource().getSize2(), 4);
    const CalibrationCurve& curve = *copy.getCalibration("one");
    EXPECT_EQ(curve.getFitMode(), 2);
    ASSERT_EQ(curve.getNumSamples(), 2);
    EXPECT_EQ(curve.getSample(0).getValue(), 0.25);
    EXPECT_EQ(curve.getSample(0).getRegion().getVertex1()[1], 2);
    EXPECT_EQ(copy.getCalibration("two"), nullptr);
    EXPECT_TRUE(contains(folder.read("stack.sdf"), "STANDARDIMAGE \"two\" \"gone.tif\";"));
}

TEST(StackWriter, awkwardNamesSurvive) {
    const StackFolder folder;
    Stack stack, copy;
    stack.setName(" # \"x\" ");
    StackSlice& slice = addFile(stack, "a  b;c#1", folder.writeImage("im #1/a;  #2.tif", 4, 3));
    Model& model = modelOf(stack, "m\n");
    itemOf(model, slice, {{1, 2}, {3, 4}, {1, 5}});
    stack.setAnnotation(" leading #");
    roundTrip(stack, folder, copy);
    EXPECT_EQ(copy.getName(), stack.getName());
    EXPECT_EQ(copy.getSlice(0).getName(), slice.getName());
    EXPECT_EQ(copy.getModel(0).getName(), "m\n");
    EXPECT_EQ(copy.getModel(0).getNumItems(), 1);
    EXPECT_EQ(copy.getAnnotation(), " leading #");
}

TEST(StackWriter, aPixelHeightOfItsOwnIsKept) {
    const StackFolder folder;
    Stack stack, copy;
    PixelCalibration calibration = stack.getDefaultPixelCalibration();
    calibration.setPixelWidth(2);
    calibration.setPixelHeight(5);
    calibration.setAspectRatio(1);
    stack.setDefaultPixelCalibration(calibration);
    addMosaic(stack, "as the stack");
    StackSlice& other = addMosaic(stack, "its own");
    calibration.setPixelHeight(2);
    other.setPixelCalibration(calibration);
    roundTrip(stack, folder, copy);
    EXPECT_EQ(copy.getDefaultPixelCalibration().getPixelHeight(), 5);
    EXPECT_EQ(copy.getSlice(0).getPixelCalibration().getPixelHeight(), 5);
    EXPECT_EQ(copy.getSlice(1).getPixelCalibration().getPixelHeight(), 2);
}

TEST(StackWriter, wholeNumbersAreWrittenWithoutExponent) {
    const StackFolder folder;
    Stack stack, copy;
    Model& model = modelOf(stack, "m");
    model.getItemProperties().setPointSize(1234567);
    model.getItemProperties().setLineWidth(0.00001f);
    model.getProperties().setSurfaceShininess(1e6f);
    roundTrip(stack, folder, copy);
    EXPECT_EQ(copy.getModel(0).getItemProperties().getPointSize(), 1234567);
    EXPECT_EQ(copy.getModel(0).getItemProperties().getLineWidth(), 0.00001f);
    EXPECT_EQ(copy.getModel(0).getProperties().getSurfaceShininess(), 1e6f);
}

TEST(StackWriter, anOldFileIsWrittenAsAnewOne) {
    const StackFolder folder;
    folder.writeImage("images/a.tif", 4, 3);
    folder.write("old.sdf", "IMAGESPATH \"images\";\nASPECT 1.5;\nSLICE \"a\" \"a.tif\";\nM2DCLASS \"m\";\n");
    Stack stack, copy;
    StackReader reader;
    ASSERT_TRUE(reader.read(stack, folder.file("old.sdf")));
    EXPECT_TRUE(reader.getLog().empty());
    roundTrip(stack, folder, copy);
    EXPECT_EQ(folder.read("stack.sdf").rfind("FileFormatVersion 1.03;\n", 0), 0u);
    EXPECT_FLOAT_EQ(copy.getSlice(0).getPixelCalibration().getPixelHeight(), 1.5);
}

TEST(StackWriter, realNumbersReadBackAsTheyWere) {
    const StackFolder folder;
    folder.writeImage("images/a.tif", 4, 3);
    Stack stack, copy;
    for (int i = 0; i < 20; ++i) {
        StackSlice& slice = addFile(stack, std::to_string(i), folder.file("images/a.tif"));
        slice.setAbsolutePosition(100000 + 0.35 * i);
    }
    modelOf(stack, "m").getItemProperties().setLineWidth(1.75f);
    roundTrip(stack, folder, copy);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(copy.getSlice(i).getAbsolutePosition(), 100000 + 0.35 * i);
    EXPECT_EQ(copy.getModel(0).getItemProperties().getLineWidth(), 1.75f);
}

TEST(StackWriter, numbersDoNotDependOnTheLocale) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const StackFolder folder;
    Stack stack;
    stack.setDefaultRelativePosition(0.25);
    stack.setLengthUnit(LengthUnit(-1000000));
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
    const std::string text = StackWriter().toText(stack, folder.path());
    std::locale::global(before);
    EXPECT_TRUE(contains(text, "RELPOSITION 0.25;\n"));
    EXPECT_TRUE(contains(text, "LengthUnitScale -1000000;\n"));
}

TEST(StackWriter, aSliceWithoutAnImageFailsAndLeavesTheOldFileWhole) {
    const StackFolder folder;
    folder.write("stack.sdf", "old");
    Stack stack;
    stack.addSlice(new StackSlice);
    EXPECT_THROW(StackWriter().write(stack, folder.file("stack.sdf")), ProgramError);
    EXPECT_EQ(folder.read("stack.sdf"), "old");
    EXPECT_EQ(folder.numFiles(), 1);
}

TEST(StackWriter, aFileThatCannotBeOpenedGivesFalse) {
    const StackFolder folder;
    EXPECT_FALSE(StackWriter().write(Stack(), folder.file("none/stack.sdf")));
    EXPECT_FALSE(StackWriter().write(Stack(), folder.path()));
}

TEST(StackWriter, aVolumeIsSavedAsAStackOfItsPlanes) {
    const StackFolder folder;
    std::filesystem::create_directory(folder.file("images"));
    VoxelMatrix<float> volume(3, 4, 2);
    for (int k = 0; k < 2; ++k)
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 4; ++j)
                volume(i, j, k) = static_cast<float>(100 * k + 10 * i + j) + 0.75f;
    PixelCalibration calibration;
    calibration.setLengthUnit(LengthUnit(-3));
    calibration.setPixelWidth(0.5);
    calibration.compute();
    StackWriter::saveAsStack(volume, "v", folder.file("images/"), folder.path() + "/", calibration, 2.5f);
    Stack stack;
    StackReader reader;
    ASSERT_TRUE(reader.read(stack, folder.file("v.sdf")));
    EXPECT_TRUE(reader.getLog().empty());
    ASSERT_EQ(stack.getNumSlices(), 2);
    EXPECT_EQ(stack.getSlice(1).getName(), "v_001.tif");
    EXPECT_EQ(stack.getSlice(1).getAbsolutePosition(), 2.5f);
    EXPECT_EQ(stack.getLengthUnit().getScale(), -3);
    EXPECT_EQ(stack.getDefaultPixelCalibration().getPixelHeight(), 0.5f);
    Image image;
    stack.getSlice(1).load(image);
    ASSERT_EQ(image.getWidth(), 4);
    ASSERT_EQ(image.getHeight(), 3);
    EXPECT_EQ(image.getData()[1 * 4 + 2], 112);
    EXPECT_THROW(StackWriter::saveAsStack(volume, "v", folder.file("images/"), folder.file("none/"), calibration, 1),
                 FileWriteError);
}

// A file image, a mosaic that loses one tile, and a plane of a volume: all named as before, with the sizes they had.
TEST(StackWriter, aStackThatHasLostItsImagesIsWrittenAsItWas) {
    const StackFolder folder;
    folder.writeImage("images/a.tif", 7, 5);
    folder.writeImage("tiles/b.tif", 6, 4);
    VoxelMatrix<float> volume(3, 4, 2);
    volume.setZeros();
    volume.save(folder.file("v.vm"), true);
    folder.write("first.sdf",
                 "FileFormatVersion 1.03;\nRELPOSITION 10;\nImagesPath \"images/\";\nSLICE \"a\" \"a.tif\";\n"
                 "ImagesPath \"tiles/\";\nSLICE \"m\" 1 2;\nIMAGE 1 1 b.tif;\nImagesPath \"images/\";\n"
                 "IMAGE 1 2 a2.tif;\nImagesPath \"./\";\nStackSlice \"p\" \"v.vm\" 1;\nSHIFT 3 4;\n"
                 "MODEL \"x\";\nMODELITEM \"x\" \"a\";\nMODELITEMDATA 1,1 2,2 3,1;\n");
    folder.writeImage("images/a2.tif", 9, 4);
    Stack whole, lost, back;
    StackReader reader;
    ASSERT_TRUE(reader.read(whole, folder.file("first.sdf")));
    ASSERT_TRUE(reader.getLog().empty()) << reader.getLog()[0];
    ASSERT_TRUE(StackWriter().write(whole, folder.file("s.sdf")));
    const std::string text = folder.read("s.sdf");

    std::filesystem::rename(folder.file("images"), folder.file("elsewhere"));
    std::filesystem::rename(folder.file("v.vm"), folder.file("elsewhere/v.vm"));
    ASSERT_TRUE(reader.read(lost, folder.file("s.sdf")));
    EXPECT_EQ(reader.getProblems().size(), 3u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(lost.getSlice(i).isEmpty()) << i;
        EXPECT_EQ(lost.getSlice(i).getImageSource().getSize(), whole.getSlice(i).getImageSource().getSize()) << i;
        Image image;
        EXPECT_THROW(lost.getSlice(i).load(image), FileReadError) << i;
    }
    EXPECT_EQ(lost.getModel(0).getItem(0).getSize(), 3);
    ASSERT_TRUE(StackWriter().write(lost, folder.file("s.sdf")));
    EXPECT_EQ(folder.read("s.sdf"), text);

    const auto& placeholder = dynamic_cast<const ImageSourcePlaceholder&>(lost.getSlice(2).getImageSource());
    const auto found = placeholder.resolve(imageSourceKinds(), folder.file("elsewhere"));
    EXPECT_EQ(found->getStatement().file(0), folder.file("elsewhere/v.vm"));
    EXPECT_THROW(placeholder.resolve(imageSourceKinds(), ""), FileReadError);

    std::filesystem::rename(folder.file("elsewhere/v.vm"), folder.file("v.vm"));
    std::filesystem::rename(folder.file("elsewhere"), folder.file("images"));
    ASSERT_TRUE(reader.read(back, folder.file("s.sdf")));
    EXPECT_TRUE(reader.getLog().empty());
}

TEST(StackWriter, voxelsBeyondBytesAreCutOrScaledAndNeverWrapped) {
    const StackFolder folder;
    VoxelMatrix<int> volume(1, 4, 2);
    const int values[] = {-5, 100, 255, 300};
    for (int k = 0; k < 2; ++k)
        for (int j = 0; j < 4; ++j)
            volume(0, j, k) = values[j] + (k == 1 && j == 3 ? 215 : 0); // up to 515
    const auto saved = [&](StackWriter::VoxelBytes bytes, int plane) {
        StackWriter::saveAsStack(volume, "v", folder.path() + "/", folder.path() + "/", PixelCalibration(), 1, bytes);
        const Image image(folder.file(plane == 0 ? "v_000.tif" : "v_001.tif"), "");
        return std::vector<int>(image.getData(), image.getData() + 4);
    };
    EXPECT_EQ(saved(StackWriter::VoxelBytes::Clamped, 0), (std::vector<int>{0, 100, 255, 255}));
    EXPECT_EQ(saved(StackWriter::VoxelBytes::Scaled, 0), (std::vector<int>{0, 51, 127, 149}));
    EXPECT_EQ(saved(StackWriter::VoxelBytes::Scaled, 1), (std::vector<int>{0, 51, 127, 255}));
}

} // namespace vorlen
