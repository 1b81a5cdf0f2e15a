#include "editing/operations/spotoperations.h"

#include "editing/operationfixture.h"

namespace vorlen {

namespace {

/// Two spots on two planes: three voxels, one of them on the first plane, and one voxel.
SpotLabels twoSpots() {
    SpotLabels found;
    found.labels.setSize(8, 8, 2);
    found.labels.setZeros();
    found.labels(1, 2, 0) = found.labels(1, 2, 1) = found.labels(1, 3, 1) = 1;
    found.labels(6, 6, 1) = 2;
    found.spots.resize(2);
    found.spots[0].numVoxels = 3;
    found.spots[0].row = 1;
    found.spots[0].column = 7 / 3.0;
    found.spots[0].plane = 2 / 3.0;
    found.spots[1].numVoxels = 1;
    found.spots[1].row = found.spots[1].column = 6;
    found.spots[1].plane = 1;
    return found;
}

class SpotOperationTest : public OperationTest {
protected:
    SpotOperationTest() {
        Image plain(8, 8, 8);
        plain.clear();
        addImage(plain);
        config.setBasename("spot");
    }

    VRLSpotExtractionConfig config;
};

} // namespace

TEST_F(SpotOperationTest, eachSpotBecomesAModelInOneStep) {
    addModel(stack, "spot001");
    expectStep([&] { return addSpots(stack, twoSpots(), config); });
    ASSERT_EQ(stack.getNumModels(), 7);
    Model& first = stack.getModel(5);
    EXPECT_EQ(first.getName(), "spot000");
    EXPECT_EQ(stack.getModel(6).getName(), "spot001 (2)");
    EXPECT_EQ(first.getProperties().getGeometry(), PolypointPrimitive);
    EXPECT_EQ(first.getItemProperties().getVertexSymbol(), CubeSymbol);
    EXPECT_EQ(first.getItemProperties().getPointSize(), 1);
    EXPECT_EQ(stack.getModel(6).getItemProperties().getColor()[2], 255); // (85, 0, 255)
    ASSERT_EQ(first.getNumItems(), 2);
    EXPECT_EQ(first.getItem(0).getSlice(), &stack.getSlice(0));
    EXPECT_EQ(verticesOf(first.getItem(0)), (Points{{2, 1}}));
    EXPECT_EQ(verticesOf(first.getItem(1)), (Points{{2, 1}, {3, 1}}));
    EXPECT_EQ(stack.getSlice(1).getNumItems(), 2);
}

TEST_F(SpotOperationTest, oneModelAndSpheres) {
    config.setSeparateModelsEnabled(false);
    config.setEquivalentSpheresEnabled(true);
    config.setBasename("s%s%n");
    SpotLabels found = twoSpots();
    found.spots[0].numVoxels = 1000; // radius 6.2
    for (int i = 0; i < 2; ++i) {
        PixelCalibration calibration;
        calibration.setPixelWidth(1);
        calibration.setPixelHeight(1);
        stack.getSlice(i).setPixelCalibration(calibration);
    }
    stack.setDefaultSliceSpacing(1);
    expectStep([&] { return addSpots(stack, found, config); });
    Model& model = stack.getModel(4);
    EXPECT_EQ(model.getName(), "s%s%n");
    EXPECT_EQ(model.getItemProperties().getVertexSymbol(), SphereSymbol);
    ASSERT_EQ(model.getNumItems(), 2);
    EXPECT_EQ(verticesOf(model.getItem(0)), (Points{{2, 1}}));
    EXPECT_EQ(model.getItem(0).getSlice(), &stack.getSlice(1));
    EXPECT_EQ(model.getItem(0).getProperties().getPointSize(), 6);
    EXPECT_EQ(model.getItem(1).getProperties().getPointSize(), 1);
}

TEST_F(SpotOperationTest, pointsOnARegisteredSliceLieInItsImage) {
    for (int i = 0; i < 2; ++i) {
        PixelCalibration calibration;
        calibration.setPixelWidth(1);
        calibration.setPixelHeight(1);
        stack.getSlice(i).setPixelCalibration(calibration);
    }
    stack.getSlice(1).setRegistration(Registration(-2, 1, 0));
    expectStep([&] { return addSpots(stack, twoSpots(), config); });
    EXPECT_EQ(verticesOf(stack.getModel(4).getItem(0)), (Points{{2, 1}}));
    EXPECT_EQ(verticesOf(stack.getModel(4).getItem(1)), (Points{{4, 0}, {5, 0}}));
}

TEST_F(SpotOperationTest, whatIsNoSpotIsRefused) {
    expectRefusal([&] { return addSpots(stack, SpotLabels(), config); }, "There are no spots to add");
    SpotLabels deeper = twoSpots();
    deeper.labels.setSize(8, 8, 3);
    expectRefusal([&] { return addSpots(stack, deeper, config); },
                  "The stack has other slices than when its spots were sought");
    SpotLabels none = twoSpots();
    none.spots.clear();
    none.labels.setZeros();
    config.setSeparateModelsEnabled(false);
    expectStep([&] { return addSpots(stack, none, config); });
    EXPECT_EQ(stack.getModel(stack.getNumModels() - 1).getNumItems(), 0);
    config.setBasename("");
    expectRefusal([&] { return addSpots(stack, twoSpots(), config); }, "The spots have no name");
}

} // namespace vorlen
