#include "document/stack.h"

#include <cmath>
#include <memory>

#include <gtest/gtest.h>

#include "images/files/imagesourcefile.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "support/documentmaker.h"
#include "support/fixedsource.h"
#include "support/temporaryfolder.h"

namespace vorlen {

namespace {

/// A TIFF file that lives as long as the object; pixels by a formula of (row, column, channel).
class ImageFile {
public:
    template <class Pixel>
    ImageFile(const std::string& name, int width, int height, int depth, Pixel&& pixel)
        : __path(__folder.file(name + ".tif")) {
        Image image(width, height, depth);
        for (int row = 0; row < height; ++row)
            for (int column = 0; column < width; ++column)
                for (int k = 0; k < depth / 8; ++k)
                    image.getPixels()[row][column * (depth / 8) + k] =
                        static_cast<unsigned char>(pixel(row, column, k));
        image.writeFile(__path, "", true);
    }
    ImageSourceFile source() const {
        ImageSourceFile source;
        source.setFilename(__path);
        return source;
    }

private:
    TemporaryFolder __folder;
    std::string __path;
};

int grayRamp(int row, int column, int) {
    return 10 * row + column;
}

int redOnly(int row, int column, int channel) {
    return channel == 0 ? 1 + 10 * row + column : 0;
}

TEST(Slice, hasItsDefaults) {
    const Slice slice;
    EXPECT_EQ(slice.getName(), "<slice>");
    EXPECT_EQ(slice.getAnnotation(), "");
    EXPECT_TRUE(slice.isEmpty());
    try {
        slice.getImageSource();
        FAIL();
    } catch (const ProgramError& error) {
        EXPECT_EQ(error.getWhat(), "This slice has no image source");
    }
}

TEST(Slice, keepsACloneOfItsSource) {
    Slice slice;
    {
        const FixedSource source(30, 40);
        slice.setImageSource(source);
        EXPECT_NE(&slice.getImageSource(), &source);
    }
    EXPECT_FALSE(slice.isEmpty());
    EXPECT_EQ(slice.height(), 30);
    slice.setImageSource(FixedSource(5, 6, false));
    EXPECT_TRUE(slice.isEmpty());
    EXPECT_EQ(slice.width(), 6);
}

TEST(Slice, displaysSquarePixels) {
    Slice slice;
    slice.setImageSource(FixedSource(30, 45));
    const auto size = [&](float aspect) {
        slice.getPixelCalibration().setAspectRatio(aspect);
        return std::pair(slice.width(), slice.height());
    };
    EXPECT_EQ(size(1), std::pair(45, 30));
    EXPECT_EQ(size(2), std::pair(23, 30)); // 22.5 goes up
    EXPECT_EQ(size(0.25f), std::pair(45, 8));
    EXPECT_EQ(size(0), std::pair(45, 30));
    EXPECT_EQ(size(-3), std::pair(45, 30));
    size(2);
    EXPECT_EQ(corners(slice.boundingBox()), (std::vector<int>{0, 0, 22, 29}));
}

TEST(Slice, sizeForSizeShrinksTheSideThatIsTooLong) {
    Slice slice;
    slice.setImageSource(FixedSource(20, 30)); // 3 : 2
    unsigned int w = 90, h = 90;
    slice.sizeForSize(w, h);
    EXPECT_EQ(w, 90u);
    EXPECT_EQ(h, 60u);
    w = 90, h = 45;
    slice.sizeForSize(w, h);
    EXPECT_EQ(w, 68u); // 67.5 goes up
    EXPECT_EQ(h, 45u);
    w = 3, h = 2;
    slice.sizeForSize(w, h);
    EXPECT_EQ(w, 3u);
    EXPECT_EQ(h, 2u);
    w = 4000000000u, h = 4000000000u;
    slice.sizeForSize(w, h);
    EXPECT_EQ(w, 4000000000u);
    EXPECT_EQ(h, 2666666667u);
    slice.setImageSource(FixedSource(0, 0));
    slice.sizeForSize(w, h);
    EXPECT_EQ(h, 2666666667u);
}

TEST(Slice, loadsItsImageOnTheDisplayedGrid) {
    const ImageFile file("load", 6, 4, 8, grayRamp);
    Slice slice;
    slice.setImageSource(file.source());
    Image image;
    slice.load(image);
    EXPECT_EQ(image.getWidth(), 6);
    EXPECT_EQ(image.getHeight(), 4);
    EXPECT_EQ(image.getPixels()[3][5], 35);
    slice.getPixelCalibration().setAspectRatio(2);
    slice.load(image);
    EXPECT_EQ(image.getWidth(), 3);
    EXPECT_EQ(image.getHeight(), 4);
    slice.getPixelCalibration().setAspectRatio(1e9f);
    EXPECT_THROW(slice.load(image), ValueError);
    EXPECT_THROW(Slice().load(image), ProgramError);
}

TEST(Stack, isEmptyAtFirst) {
    const Stack stack;
    EXPECT_EQ(stack.getName() + stack.getAnnotation() + stack.getImagesPath(), "");
    EXPECT_FALSE(stack.getAbsoluteImagesPathPolicy());
    EXPECT_EQ(stack.getNumSlices() + stack.getNumModels() + stack.getNumPoses() + stack.getNumCalibration(), 0);
    EXPECT_EQ(stack.getDefaultSliceSpacing(), 0);
    EXPECT_EQ(stack.getDefaultSliceThickness(), 0);
    EXPECT_EQ(stack.getLengthUnit().getScale(), -6);
    EXPECT_FALSE(stack.isRegular());
    EXPECT_EQ(stack.colorContent(), 5);
    EXPECT_EQ(stack.getLastSegmentedSlice() + stack.getLastRegisteredSlice(), "");
}

TEST(Stack, theImagesPathEndsInASeparator) {
    Stack stack;
    stack.setImagesPath("/data/images");
    EXPECT_EQ(stack.getImagesPath(), "/data/images/");
    stack.setImagesPath("/data/images/");
    EXPECT_EQ(stack.getImagesPath(), "/data/images/");
    stack.setImagesPath("");
    EXPECT_EQ(stack.getImagesPath(), "");
}

TEST(Stack, theLengthUnitGoesToAllSlices) {
    Stack stack;
    addSlices(stack, 2);
    stack.getSlice(1).getPixelCalibration().setPixelWidth(3);
    stack.setLengthUnit(LengthUnit(-9));
    EXPECT_EQ(stack.getLengthUnit().getScale(), -9);
    EXPECT_EQ(stack.getSlice(0).getPixelCalibration().getLengthUnit().getScale(), -9);
    EXPECT_EQ(stack.getSlice(1).getPixelCalibration().getLengthUnit().getScale(), -9);
    EXPECT_EQ(stack.getSlice(1).getPixelCalibration().getPixelWidth(), 3);
}

TEST(Stack, spacingAndRelativePositionAreOneValue) {
    Stack stack;
    stack.setDefaultRelativePosition(4);
    EXPECT_EQ(stack.getDefaultSliceSpacing(), 4);
    stack.setDefaultSliceSpacing(5);
    EXPECT_EQ(stack.getDefaultRelativePosition(), 5);
}

TEST(Stack, findsSlicesByNameAndByObject) {
    Stack stack;
    addSlices(stack, 3);
    stack.getSlice(2).setName("s1");
    EXPECT_EQ(stack.findSlice("s1"), 1);
    EXPECT_EQ(stack.findSlice("S1"), -1);
    EXPECT_EQ(stack.findSlice(stack.getSlice(2)), 2);
    const StackSlice stranger;
    EXPECT_EQ(stack.findSlice(stranger), -1);
    Stack other;
    addSlices(other, 3);
    EXPECT_EQ(stack.findSlice(other.getSlice(1)), -1);
}

TEST(Stack, insertedAndRemovedSlicesRenumberTheRest) {
    Stack stack;
    addSlices(stack, 3);
    auto* inserted = new StackSlice;
    stack.addSlice(inserted, 1);
    stack.addSlice(inserted);
    ASSERT_EQ(stack.getSize(), 4);
    EXPECT_EQ(inserted->getStack(), &stack);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(stack.findSlice(stack.getSlice(i)), i);
    EXPECT_EQ(stack.getSlice(2).getName(), "s1");
    const std::unique_ptr<StackSlice> removed(stack.removeSlice(0));
    EXPECT_EQ(removed->getName(), "s0");
    EXPECT_EQ(stack.findSlice(*removed), -1);
    EXPECT_TRUE(inserted->isFirstSlice());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(stack.findSlice(stack.getSlice(i)), i);
}

TEST(Stack, neighboursStopAtTheEnds) {
    Stack stack;
    addSlices(stack, 3);
    EXPECT_EQ(&stack.getPreviousSlice(stack.getFirstSlice()), &stack.getSlice(0));
    EXPECT_EQ(&stack.getNextSlice(stack.getLastSlice()), &stack.getSlice(2));
    EXPECT_EQ(&stack.getNextSlice(stack.getSlice(0)), &stack.getSlice(1));
    EXPECT_EQ(&stack.getSlice(2).prevSlice(), &stack.getSlice(1));
    EXPECT_EQ(&stack.getSlice(2).nextSlice(), &stack.getSlice(2));
    EXPECT_TRUE(stack.getSlice(0).isFirstSlice() && stack.getSlice(2).isLastSlice());
    EXPECT_FALSE(stack.getSlice(1).isFirstSlice() || stack.getSlice(1).isLastSlice());
    StackSlice alone;
    EXPECT_TRUE(alone.isFirstSlice() && alone.isLastSlice());
    EXPECT_EQ(&alone.nextSlice(), &alone);
    EXPECT_EQ(alone.getAbsolutePosition(), 0);
}

TEST(Stack, positionsMixDefaultsDistancesAndAbsolutes) {
    Stack stack;
    addSlices(stack, 6);
    stack.setDefaultSliceSpacing(2);
    stack.getSlice(2).setRelativePosition(5);
    stack.getSlice(4).setAbsolutePosition(100);
    // 0, 0 + 2, 2 + 5, 7 + 2, 100, 100 + 2
    const std::vector<double> absolute = {0, 2, 7, 9, 100, 102};
    const std::vector<double> relative = {2, 2, 5, 2, 91, 2};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(stack.getSlice(i).getAbsolutePosition(), absolute[std::size_t(i)]) << i;
        EXPECT_EQ(stack.getSlice(i).getRelativePosition(), relative[std::size_t(i)]) << i;
    }
    EXPECT_EQ(stack.getAbsolutePositions(), absolute);
    stack.getSlice(0).setAbsolutePosition(10);
    EXPECT_EQ(stack.getSlice(3).getAbsolutePosition(), 19);
    EXPECT_EQ(stack.getSlice(0).getRelativePosition(), 0);
    stack.getSlice(0).setRelativePosition(50);
    EXPECT_EQ(stack.getSlice(0).getAbsolutePosition(), 0);
    EXPECT_FALSE(stack.getSlice(0).isDefaultRelativePosition());
}

TEST(Stack, aDeepStackOfRelativePositionsIsNoTrouble) {
    Stack stack;
    addSlices(stack, 200000);
    stack.setDefaultSliceSpacing(1);
    EXPECT_EQ(stack.getLastSlice().getAbsolutePosition(), 199999);
    EXPECT_EQ(stack.getAbsolutePositions().back(), 199999);
}

TEST(Stack, aSliceBehindADeletedOneStaysWhereItIs) {
    Stack stack;
    addSlices(stack, 5);
    stack.setDefaultSliceSpacing(2);
    stack.deleteSlice(2);
    EXPECT_EQ(stack.getAbsolutePositions(), (std::vector<double>{0, 2, 6, 8}));
    EXPECT_EQ(stack.getSlice(2).getRelativePosition(), 4);
    EXPECT_TRUE(stack.getSlice(3).isDefaultRelativePosition());
    std::unique_ptr<StackSlice> removed(stack.removeSlice(1));
    EXPECT_EQ(stack.getAbsolutePositions(), (std::vector<double>{0, 6, 8}));
}

TEST(Stack, deletionAtAnEndChangesNoStoredPosition) {
    Stack stack;
    addSlices(stack, 4);
    stack.setDefaultSliceSpacing(2);
    stack.deleteSlice(0);
    stack.deleteSlice(2);
    EXPECT_TRUE(stack.getSlice(0).isDefaultRelativePosition());
    EXPECT_TRUE(stack.getSlice(1).isDefaultRelativePosition());
    EXPECT_EQ(stack.getAbsolutePositions(), (std::vector<double>{0, 2}));
}

TEST(Stack, isRegularWhereStepsDifferByTheirRounding) {
    Stack stack;
    addSlices(stack, 50);
    for (int i = 0; i < 50; ++i)
        stack.getSlice(i).setAbsolutePosition(0.1f * float(i) + 3.7f);
    EXPECT_TRUE(stack.isRegular());
    stack.getSlice(30).setAbsolutePosition(stack.getSlice(30).getAbsolutePosition() + 1e-4f);
    EXPECT_FALSE(stack.isRegular());
}

TEST(Stack, isRegularWithEqualSizesSpacingsAndNoRegistration) {
    Stack stack;
    addSlices(stack, 3);
    for (int i = 0; i < 3; ++i)
        stack.getSlice(i).setImageSource(FixedSource(10, 20));
    EXPECT_TRUE(stack.isRegular());
    stack.getSlice(0).setRegistration(Registration(1, 2, 3));
    EXPECT_TRUE(stack.isRegular()) << "the first slice's registration is not looked at";
    stack.getSlice(2).setRegistration(Registration(1, 0, 0));
    EXPECT_FALSE(stack.isRegular());
    stack.getSlice(2).setRegistration(Registration());
    stack.getSlice(1).setRelativePosition(3);
    EXPECT_FALSE(stack.isRegular());
    stack.getSlice(2).setAbsolutePosition(6);
    EXPECT_TRUE(stack.isRegular());
    stack.getSlice(2).setImageSource(FixedSource(10, 21));
    EXPECT_FALSE(stack.isRegular());
}

TEST(Stack, oneOrTwoSlicesAreRegularWhateverTheirDistance) {
    Stack stack;
    addSlices(stack, 2);
    stack.getSlice(0).setImageSource(FixedSource(10, 20));
    stack.getSlice(1).setImageSource(FixedSource(10, 20));
    stack.getSlice(1).setRelativePosition(-7);
    EXPECT_TRUE(stack.isRegular());
    stack.deleteSlice(1);
    EXPECT_TRUE(stack.isRegular());
}

TEST(Stack, aRemovedModelKeepsItsItemsAndBringsThemBack) {
    Stack stack;
    addSlices(stack, 2);
    Model& model = addModel(stack, "a");
    addModel(stack, "b");
    ModelItem& item = addItem(model, stack.getSlice(1));
    ModelItem& other = addItem(stack.getModel(1), stack.getSlice(1));
    stack.removeModel(model);
    EXPECT_EQ(stack.findModel("a"), -1);
    EXPECT_EQ(stack.getNumModels(), 1);
    EXPECT_EQ(model.getNumItems(), 1);
    EXPECT_EQ(stack.getSlice(1).getNumItems(), 1);
    EXPECT_EQ(&stack.getSlice(1).getItem(0), &other);
    stack.removeModel(model);
    stack.addModel(&model);
    stack.addModel(&model);
    EXPECT_EQ(stack.findModel(model), 1);
    EXPECT_EQ(stack.getNumModels(), 2);
    EXPECT_EQ(&stack.getSlice(1).getItem(1), &item);
}

TEST(Stack, aRemovedModelMayOutliveTheStack) {
    Model* model;
    {
        Stack stack;
        addSlices(stack, 1);
        model = &addModel(stack, "a");
        addItem(*model, stack.getSlice(0));
        stack.removeModel(*model);
    }
    EXPECT_EQ(model->getNumItems(), 1);
    delete model;
}

TEST(Stack, tellsWhichGeometriesItHas) {
    Stack stack;
    addSlices(stack, 1);
    EXPECT_FALSE(stack.hasGeometryModels(PolygonPrimitive));
    addModel(stack, "a");
    Model& lines = addModel(stack, "b", PolylinePrimitive);
    EXPECT_TRUE(stack.hasGeometryModels(PolygonPrimitive));
    EXPECT_FALSE(stack.hasGeometryModels(PolypointPrimitive));
    EXPECT_FALSE(stack.hasGeometryModelItems(PolylinePrimitive));
    addItem(lines, stack.getSlice(0));
    EXPECT_TRUE(stack.hasGeometryModelItems(PolylinePrimitive));
    EXPECT_FALSE(stack.hasGeometryModelItems(PolygonPrimitive));
    stack.deleteAllModels();
    EXPECT_EQ(stack.getNumModels(), 0);
    EXPECT_EQ(stack.getSlice(0).getNumItems(), 0);
}

TEST(Stack, clearKeepsThePoses) {
    Stack stack;
    addSlices(stack, 2);
    addItem(addModel(stack, "a"), stack.getSlice(0));
    stack.addStandardImage(new StandardImage);
    stack.setLastSegmentedSlice("s0");
    stack.setLastRegisteredSlice("s1");
    auto* pose = new Pose;
    pose->setStack(&stack);
    pose->attach();
    stack.clear();
    EXPECT_EQ(stack.getNumSlices() + stack.getNumModels() + stack.getNumCalibration(), 0);
    EXPECT_EQ(stack.getLastSegmentedSlice() + stack.getLastRegisteredSlice(), "");
    EXPECT_EQ(stack.getNumPoses(), 1);
}

TEST(Stack, colorContentIsThatOfAllImages) {
    const ImageFile gray("gray", 4, 3, 8, grayRamp), red("red", 4, 3, 24, redOnly);
    Stack stack;
    addSlices(stack, 2);
    stack.getSlice(0).setImageSource(red.source());
    stack.getSlice(1).setImageSource(red.source());
    EXPECT_EQ(stack.colorContent(), RedContent);
    stack.getSlice(1).setImageSource(gray.source());
    EXPECT_EQ(stack.colorContent(), MixedContent);
    stack.deleteSlice(0);
    EXPECT_EQ(stack.colorContent(), GrayContent);
}

TEST(Stack, becomesAVolumeOfItsImages) {
    const ImageFile gray("gray", 4, 3, 8, grayRamp), red("red", 4, 3, 24, redOnly), wide("wide", 5, 3, 8, grayRamp);
    Stack stack;
    EXPECT_EQ(stack.toVoxelMatrix<float>(GrayContent).getSize3(), 0);
    addSlices(stack, 2);
    stack.getDefaultPixelCalibration().setPixelWidth(2);
    stack.getDefaultPixelCalibration().setPixelHeight(3);
    stack.setDefaultSliceSpacing(4);
    stack.getSlice(0).setImageSource(gray.source());
    stack.getSlice(1).setImageSource(red.source());
    VoxelMatrix<double> volume = stack.toVoxelMatrix<double>(GrayContent);
    ASSERT_EQ(volume.getSize1(), 3);
    ASSERT_EQ(volume.getSize2(), 4);
    ASSERT_EQ(volume.getSize3(), 2);
    EXPECT_EQ(volume[0][2][3], 23);
    EXPECT_EQ(volume[1][2][3], 8); // (24 + 0 + 0) / 3
    EXPECT_EQ(volume.getVoxelCalibration().getVoxelWidth(), 2);
    EXPECT_EQ(volume.getVoxelCalibration().getVoxelHeight(), 3);
    EXPECT_EQ(volume.getVoxelCalibration().getVoxelDepth(), 4);
    EXPECT_EQ(volume.getVoxelCalibration().getLengthUnit().getScale(), -6);
    EXPECT_EQ(stack.toVoxelMatrix<unsigned char>(RedContent)[1][2][3], 24);
    EXPECT_EQ(stack.toVoxelMatrix<int>(GreenContent)[1][2][3], 0);
    stackToVolume(stack, volume, MixedContent);
    EXPECT_EQ(volume[0][2][3], 23) << "left as it was";
    stack.getSlice(1).setImageSource(wide.source());
    EXPECT_THROW(stack.toVoxelMatrix<float>(GrayContent), SizeError);
}

TEST(Pose, hasItsDefaultsAndChecksItsSizes) {
    Pose pose;
    EXPECT_EQ(pose.getName(), "");
    EXPECT_EQ(pose.getZoom(), 100);
    EXPECT_EQ(pose.getAmbientLight() + pose.getDiffuseLight() + pose.getSpecularLight(), 0);
    EXPECT_EQ(pose.getXRotation() + pose.getYRotation() + pose.getZRotation(), 0);
    EXPECT_EQ(pose.getXTranslation() + pose.getYTranslation(), 0);
    Vector<float> rotation(3);
    rotation[0] = 1.9f;
    rotation[1] = -1.9f;
    rotation[2] = 0;
    pose.setRotation(rotation);
    EXPECT_EQ(pose.getXRotation(), 1);
    EXPECT_EQ(pose.getYRotation(), -1);
    EXPECT_THROW(pose.setRotation(Vector<float>(2)), SizeError);
    EXPECT_THROW(pose.setTranslation(Vector<int>(3)), SizeError);
    EXPECT_FLOAT_EQ(pose.getRotation()[0], 1.9f);
}

TEST(Pose, canonicalViewsTurnAroundOneAxis) {
    const auto angles = [](const Pose& pose) {
        return std::vector<int>{pose.getXRotation(), pose.getYRotation(), pose.getZRotation()};
    };
    EXPECT_EQ(angles(Pose::canonicalPose1()), (std::vector<int>{0, 180, 0}));
    EXPECT_EQ(angles(Pose::canonicalPose2()), (std::vector<int>{0, 90, 0}));
    EXPECT_EQ(angles(Pose::canonicalPose3()), (std::vector<int>{90, 0, 0}));
    EXPECT_EQ(angles(Pose::reverseCanonicalPose1()), (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(angles(Pose::reverseCanonicalPose2()), (std::vector<int>{0, -90, 0}));
    EXPECT_EQ(angles(Pose::reverseCanonicalPose3()), (std::vector<int>{-90, 0, 0}));
}

TEST(PoseOwner, listsAPoseOnceAndGivesItBack) {
    Stack stack;
    auto* first = new Pose;
    auto* second = new Pose;
    for (Pose* pose : {first, second}) {
        pose->setStack(&stack);
        pose->attach();
        pose->attach();
    }
    ASSERT_EQ(stack.getNumPoses(), 2);
    EXPECT_EQ(stack.findPose(*second), 1);
    EXPECT_EQ(stack.findPose(Pose()), -1);
    first->detach();
    first->detach();
    EXPECT_EQ(&stack.getPose(0), second);
    EXPECT_EQ(stack.getNumPoses(), 1);
    delete first;
    stack.removePose(0);
    EXPECT_EQ(stack.getNumPoses(), 0);
    delete second;
    Pose loose;
    loose.attach();
    EXPECT_EQ(stack.getNumPoses(), 0);
}

class CalibrationCurveTest : public testing::Test {
protected:
    void add(double grayLevel, double value) {
        auto* sample = new StandardSample;
        sample->setGrayLevel(grayLevel);
        sample->setValue(value);
        curve.addSample(sample);
    }

    void addRegion(int left, int top, int right, int bottom) {
        auto* sample = new StandardSample;
        sample->setRegion(BoundingBox<int>(pixel(left, top), pixel(right, bottom)));
        curve.addSample(sample);
    }

    StandardImage image;
    CalibrationCurve curve{image};
};

TEST_F(CalibrationCurveTest, fitsALineByLeastSquares) {
    add(0, 1);
    add(10, 21);
    EXPECT_NEAR(curve.eval(5), 11, 1e-9);
    EXPECT_FALSE(curve.needsFit());
    // Through (0, 1), (10, 21), (20, 26): slope 25 / 20, mean value 16 at 10.
    add(20, 26);
    EXPECT_TRUE(curve.needsFit());
    EXPECT_NEAR(curve.eval(10), 16, 1e-9);
    EXPECT_NEAR(curve.eval(12), 18.5, 1e-9);
}

TEST_F(CalibrationCurveTest, anotherFitModeFitsAgain) {
    for (int g = 0; g <= 4; ++g)
        add(g, g * g);
    // The line through (g, g^2) for g from 0 to 4 is 4 g - 2.
    EXPECT_NEAR(curve.eval(10), 38, 1e-9);
    curve.setFitMode(CalibrationCurve::Polynomial2Fit);
    EXPECT_NEAR(curve.eval(10), 100, 1e-7);
    curve.setFitMode(CalibrationCurve::Polynomial3Fit);
    EXPECT_NEAR(curve.eval(10), 100, 1e-6);
    EXPECT_THROW(curve.setFitMode(3), ValueError);
    EXPECT_EQ(curve.getFitMode(), 2);
}

TEST_F(CalibrationCurveTest, tooFewSamplesFailAtEveryEvaluation) {
    add(1, 1);
    EXPECT_THROW(curve.eval(1), ValueError);
    EXPECT_THROW(curve.eval(1), ValueError);
    add(2, 2);
    EXPECT_NEAR(curve.eval(3), 3, 1e-9);
    curve.setFitMode(1);
    EXPECT_THROW(curve.eval(1), ValueError);
    add(3, 5);
    EXPECT_NO_THROW(curve.eval(1));
    curve.setFitMode(2);
    EXPECT_THROW(curve.eval(1), ValueError);
}

TEST_F(CalibrationCurveTest, refusesGrayLevelsAbove255) {
    add(0, 0);
    add(1, 1);
    EXPECT_NEAR(curve.eval(255), 255, 1e-9);
    EXPECT_THROW(curve.eval(255.5), ValueError);
    EXPECT_THROW(curve.eval(NAN), ValueError);
}

TEST_F(CalibrationCurveTest, samplesTakeTheMeanOfTheirRegion) {
    const ImageFile file("standard", 6, 4, 8, grayRamp);
    image.setImageSource(file.source());
    addRegion(1, 1, 2, 2);     // 11, 12, 21, 22
    addRegion(5, 3, 4, 3);     // corners exchanged: 34, 35
    addRegion(-5, -5, 0, 0);   // one pixel of it on the image: 0
    addRegion(4, 2, 900, 900); // 24, 25, 34, 35
    curve.computeSampleGrayLevels();
    EXPECT_DOUBLE_EQ(curve.getSample(0).getGrayLevel(), 16.5);
    EXPECT_DOUBLE_EQ(curve.getSample(1).getGrayLevel(), 34.5);
    EXPECT_DOUBLE_EQ(curve.getSample(2).getGrayLevel(), 0);
    EXPECT_DOUBLE_EQ(curve.getSample(3).getGrayLevel(), 29.5);
    addRegion(6, 0, 7, 1);
    curve.getSample(0).setGrayLevel(99);
    EXPECT_THROW(curve.computeSampleGrayLevels(), ValueError);
    EXPECT_EQ(curve.getSample(0).getGrayLevel(), 99) << "a failure changes nothing";
}

TEST_F(CalibrationCurveTest, samplesOfAnImageThatIsNotThereFail) {
    addRegion(0, 0, 1, 1);
    EXPECT_THROW(curve.computeSampleGrayLevels(), ProgramError);
}

TEST(StandardImage, ownsItsCurveAndTheStackFindsItByName) {
    Stack stack;
    auto* first = new StandardImage;
    auto* second = new StandardImage;
    first->setName("scale");
    second->setName("scale");
    first->setStack(stack);
    stack.addStandardImage(first);
    stack.addStandardImage(second);
    EXPECT_EQ(first->getStack(), &stack);
    EXPECT_EQ(stack.getCalibration("scale"), nullptr);
    auto* curve = new CalibrationCurve(*first);
    second->setCalibrationCurve(new CalibrationCurve(*second));
    first->setCalibrationCurve(curve);
    first->setCalibrationCurve(curve);
    EXPECT_EQ(stack.getCalibration("scale"), curve);
    EXPECT_EQ(stack.getCalibration("other"), nullptr);
    EXPECT_EQ(&stack.getCalibration(1)->getStandardImage(), second);
    EXPECT_EQ(curve->getName(), "");
    EXPECT_EQ(StandardSample().getName(), "<?>");
    first->deleteCalibrationCurve();
    EXPECT_EQ(stack.getCalibration(0), nullptr);
    EXPECT_EQ(stack.getNumCalibration(), 2);
    EXPECT_EQ(&stack.getStandardImage(1), second);
}

} // namespace

} // namespace vorlen
