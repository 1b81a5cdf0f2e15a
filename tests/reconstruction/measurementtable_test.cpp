#include "reconstruction/measurementtable.h"

#include <cmath>

#include <gtest/gtest.h>

#include "support/documentmaker.h"

namespace vorlen {

namespace {

using Kind = MeasurementTable::CellKind;

std::string rowText(const MeasurementTable& table, int row, const std::vector<std::string>& names) {
    std::string text;
    for (const int column : table.find(names)) {
        const Kind kind = table.getKind(row, column);
        if (!text.empty())
            text += ' ';
        if (kind == Kind::Text)
            text += table.getText(row, column);
        else
            text += kind == Kind::Missing ? "NA" : std::to_string(std::lround(table.getValue(row, column)));
    }
    return text;
}

/// Five slices, spaced by 10, with a closed tube of side 20, two outlines beside each other, a line, and points.
struct MeasurementTableTest : ::testing::Test {
    MeasurementTableTest() {
        stack.setDefaultSliceSpacing(10);
        addSlices(stack, 5);
        stack.setLengthUnit(LengthUnit(-3));
        Model& tube = addModel(stack, "tube");
        for (const int slice : {3, 0}) // not in the order of the stack
            addItem(tube, stack.getSlice(slice), {{0, 0}, {20, 0}, {20, 20}, {0, 20}});
        Model& pair = addModel(stack, "pair", PolylinePrimitive);
        for (int x : {0, 50})
            addItem(pair, stack.getSlice(1), {{x, 0}, {x + 30, 0}});
        addItem(addModel(stack, "dots", PolypointPrimitive), stack.getSlice(3), {{1, 2}, {3, 4}, {8, 6}});
    }

    Stack stack;
};

} // namespace

TEST_F(MeasurementTableTest, hasARowForEachModelAndSaysWhyAMeasureIsMissing) {
    const std::vector<std::string> names = {"Model", "Geometry", "Vertices", "Contours", "Area", "Volume"};
    const MeasurementTable table = MeasurementTable::ofModels(stack);
    ASSERT_EQ(table.getNumRows(), 3);
    EXPECT_EQ(rowText(table, 0, names), "tube Polygon 8 2 2400 16000"); // 80 * 30; 400 * (30 + 10)
    EXPECT_EQ(rowText(table, 1, names), "pair Polyline 4 2 NA NA");
    EXPECT_EQ(rowText(table, 2, names), "dots Polypoint 3 1 0 0");
    const int area = table.find({"Area"})[0];
    EXPECT_EQ(table.getText(1, area), "Not available: it has several lines on one slice");
    EXPECT_EQ(table.getColumns()[std::size_t(area)].unit, "mm^2");
    EXPECT_TRUE(table.getFailures().empty());
    const MeasurementTable some = MeasurementTable::ofModels(stack, {&stack.getModel(2)});
    EXPECT_EQ(some.getNumRows(), 1);
    EXPECT_EQ(rowText(some, 0, {"Model", "Nothing"}), "dots");
}

// A stack whose spacing is not known encloses no volume, rather than one of 0.
TEST_F(MeasurementTableTest, saysThatSectionsAtOneHeightHaveNoVolume) {
    Stack flat;
    flat.setDefaultSliceSpacing(0);
    addSlices(flat, 3);
    Model& tube = addModel(flat, "tube");
    for (int slice = 0; slice < 3; ++slice)
        addItem(tube, flat.getSlice(slice), {{0, 0}, {20, 0}, {20, 20}, {0, 20}});
    const MeasurementTable table = MeasurementTable::ofModels(flat);
    EXPECT_EQ(rowText(table, 0, {"Area", "Volume", "SectionVolume", "SlabVolume", "EquivRadius"}), "NA NA NA NA NA");
    EXPECT_EQ(table.getText(0, table.find({"Volume"})[0]),
              "Not available: contours on different slices lie at the same height");
}

TEST_F(MeasurementTableTest, goesSliceBySliceThroughItemsPointsAndCounts) {
    const std::vector<std::string> names = {"Model", "Slice", "Vertices", "Length", "Area", "AverageX", "Z"};
    const MeasurementTable items = MeasurementTable::ofItems(stack);
    ASSERT_EQ(items.getNumRows(), 5);
    EXPECT_EQ(rowText(items, 0, names), "tube s0 4 80 400 10 0");
    EXPECT_EQ(rowText(items, 2, names), "pair s1 2 30 0 65 10");
    EXPECT_EQ(rowText(items, 4, names), "dots s3 3 0 0 4 30");
    const MeasurementTable tube = MeasurementTable::ofItems(stack, stack.getModel(0));
    ASSERT_EQ(tube.getNumRows(), 2);
    EXPECT_EQ(rowText(tube, 1, names), "tube s3 4 80 400 10 30");
    EXPECT_EQ(tube.getValue(1, 1), 3); // its slice's rank

    const MeasurementTable points = MeasurementTable::ofPoints(stack, stack.getModel(2));
    ASSERT_EQ(points.getNumRows(), 3);
    EXPECT_EQ(rowText(points, 2, {"Slice", "X", "Y", "Z"}), "s3 8 6 30");

    const MeasurementTable slices = MeasurementTable::ofSlices(stack);
    ASSERT_EQ(slices.getNumRows(), 5);
    const std::vector<std::string> counts = {"Slice", "Position", "tube", "pair", "dots"};
    EXPECT_EQ(rowText(slices, 1, counts), "s1 10 0 2 0");
    EXPECT_EQ(rowText(slices, 3, counts), "s3 30 1 0 3");
}

// A tube of side 20 with a hole of side 10 for half of its length, beside a block: 5 sections, 10 apart.
TEST_F(MeasurementTableTest, tellsHowEachNumberWasComeByAndWhatHoldsOfTheSurface) {
    Model& model = addModel(stack, "m");
    for (int slice = 0; slice < 5; ++slice) {
        addItem(model, stack.getSlice(slice), {{0, 0}, {20, 0}, {20, 20}, {0, 20}});
        addItem(model, stack.getSlice(slice), {{5, 5}, {15, 5}, {15, 15}, {5, 15}});
        addItem(model, stack.getSlice(slice), {{50, 0}, {70, 0}, {70, 20}, {50, 20}});
    }
    const MeasurementTable table = MeasurementTable::ofModels(stack, {&model}, MeasurementTable::Errors::Estimated);
    const std::vector<std::string> names = {"Area",    "Volume", "SectionVolume", "SlabVolume", "ClosedArea",
                                            "Surface", "Parts",  "Euler",         "Genus"};
    // Walls of girth 80 + 40 + 80, 40 high without the ends and 50 with them, and twice the 700 of a section.
    EXPECT_EQ(rowText(table, 0, names), "8000 35000 35000 28000 11400 closed 2 2 1");
    EXPECT_EQ(rowText(table, 0, {"CentroidX", "CentroidY", "CentroidZ"}), "39 -10 20"); // (300 * 10 + 400 * 60) / 700
    EXPECT_EQ(rowText(table, 0, {"VolumeError", "AreaError", "ClosedAreaError"}), "0 2000 0");
    const int sphericity = table.find({"Sphericity"})[0], toVolume = table.find({"SurfaceToVolume"})[0];
    EXPECT_NEAR(table.getValue(0, sphericity), std::cbrt(36 * 3.14159265358979 * 35000.0 * 35000) / 11400, 1e-9);
    EXPECT_NEAR(table.getValue(0, toVolume), 11400.0 / 35000, 1e-12);
    EXPECT_EQ(table.getColumns()[std::size_t(toVolume)].unit, "mm^-1");
    const auto estimator = [&](const MeasurementTable& of, const char* name) {
        return of.getEstimator(0, of.find({name})[0]);
    };
    EXPECT_EQ(estimator(table, "Volume"), "closed surface");
    EXPECT_EQ(estimator(table, "SectionVolume"), "sum over sections");
    EXPECT_EQ(estimator(table, "Parts"), "");
    ASSERT_NE(table.getCertificate(0), nullptr);
    EXPECT_TRUE(table.getCertificate(0)->isSound());

    // Without a closed surface the sections have to do: two slices at one height.
    Model& flat = addModel(stack, "flat");
    for (int slice : {0, 1})
        addItem(flat, stack.getSlice(slice), {{0, 0}, {20, 0}, {20, 20}, {0, 20}});
    stack.getSlice(1).setAbsolutePosition(stack.getSlice(0).getAbsolutePosition());
    const MeasurementTable without = MeasurementTable::ofModels(stack, {&flat});
    EXPECT_EQ(without.getCertificate(0), nullptr);
    EXPECT_NE(estimator(without, "Volume"), "closed surface");
}

// A bar of 20 x 20, 50 long with its ends; and an open line, which has no form.
TEST_F(MeasurementTableTest, tellsTheFormOfModelsOnRequest) {
    Model& bar = addModel(stack, "bar");
    for (int slice = 0; slice < 5; ++slice)
        addItem(bar, stack.getSlice(slice), {{0, 0}, {20, 0}, {20, 20}, {0, 20}});
    Model& line = addModel(stack, "line", PolylinePrimitive);
    addItem(line, stack.getSlice(0), {{0, 0}, {20, 0}, {20, 20}});
    using Errors = MeasurementTable::Errors;
    const MeasurementTable table =
        MeasurementTable::ofModels(stack, {&bar, &line}, Errors::Unknown, MeasurementTable::Shape::Measured);
    const auto value = [&](const char* name) { return table.getValue(0, table.find({name})[0]); };
    EXPECT_EQ(rowText(table, 0, {"Width", "Height", "Depth", "Branches", "Ends"}), "20 20 50 1 2");
    EXPECT_NEAR(value("OrientedBox1"), 50, 0.1);
    EXPECT_NEAR(value("OrientedBox3"), 20, 0.1);
    EXPECT_NEAR(value("LargestFeret"), std::sqrt(3300.0), 1e-9);
    EXPECT_NEAR(value("SmallestFeret"), 20, 0.1);
    EXPECT_NEAR(value("LargestThickness"), 20, 1);
    EXPECT_NEAR(value("MeanThickness"), 18.5, 1.5); // less in the corners
    EXPECT_NEAR(value("SkeletonLength"), 50, 2);
    EXPECT_TRUE(MeasurementTable::ofModels(stack, {&bar}).find({"Width"}).empty());
    for (const char* name : {"Width", "MeanThickness", "Ends"}) {
        const int column = table.find({name})[0];
        EXPECT_EQ(table.getKind(1, column), MeasurementTable::CellKind::Missing);
        EXPECT_EQ(table.getText(1, column), "Not available: the model has no closed surface");
    }
}

// A round rod of radius 30, 40 long, drawn from pixel to pixel, of pixels twice as high as wide.
TEST_F(MeasurementTableTest, takesTheStepsOfThePixelGridOutOfLengthsAndAreas) {
    std::vector<std::pair<int, int>> circle;
    for (int k = 0; k < 10000; ++k) {
        const double angle = 2 * 3.14159265358979 * k / 10000;
        const std::pair<int, int> pixel(int(std::lround(100 + 60 * std::cos(angle))),
                                        int(std::lround(100 + 30 * std::sin(angle))));
        const auto isNear = [&](const std::pair<int, int>& other) {
            return std::abs(other.first - pixel.first) <= 1 && std::abs(other.second - pixel.second) <= 1;
        };
        if (!circle.empty() && circle.back() == pixel)
            continue;
        if (circle.size() > 1 && isNear(circle[circle.size() - 2]))
            circle.pop_back();
        circle.push_back(pixel);
    }
    Model& rod = addModel(stack, "rod");
    for (int slice = 0; slice < 5; ++slice) {
        PixelCalibration calibration = stack.getSlice(slice).getPixelCalibration();
        calibration.setPixelWidth(0.5f);
        calibration.setPixelHeight(1);
        stack.getSlice(slice).setPixelCalibration(calibration);
        addItem(rod, stack.getSlice(slice), circle);
    }
    const double girth = 2 * 3.14159265358979 * 30;
    const MeasurementTable items = MeasurementTable::ofItems(stack, rod);
    const auto item = [&](const char* name) { return items.getValue(0, items.find({name})[0]); };
    EXPECT_NEAR(item("Length"), girth, 0.008 * girth);
    EXPECT_GT(item("DrawnLength"), 1.03 * girth);
    EXPECT_EQ(items.getEstimator(0, items.find({"Length"})[0]), "digital straight segments");
    const MeasurementTable models = MeasurementTable::ofModels(stack, {&rod}, MeasurementTable::Errors::Estimated);
    const auto model = [&](const char* name) { return models.getValue(0, models.find({name})[0]); };
    EXPECT_NEAR(model("Area"), 40 * girth, 0.01 * 40 * girth);
    EXPECT_GT(model("DrawnArea"), 1.03 * 40 * girth);
    // Half a section more on both sides, and two lids.
    const double whole = 50 * girth + girth * 30;
    EXPECT_NEAR(model("ClosedArea"), whole, 0.01 * whole);
    EXPECT_LT(model("ClosedAreaError"), 0.01 * whole);
    EXPECT_NEAR(model("Sphericity"), std::cbrt(36 * 3.14159265358979 * std::pow(girth * 15 * 50, 2)) / whole, 0.01);
}

// One broken model leaves the others measured.
TEST_F(MeasurementTableTest, tellsWhatFailedAndKeepsTheRest) {
    auto* lost = new ModelItem; // the model owns it
    Model& broken = addModel(stack, "broken");
    lost->setModel(&broken);
    lost->setVertices(makeVertices({{0, 0}, {1, 0}, {1, 1}}));
    lost->attachToModel();
    const MeasurementTable table = MeasurementTable::ofModels(stack);
    ASSERT_EQ(table.getNumRows(), 4);
    EXPECT_EQ(rowText(table, 3, {"Model", "Vertices", "Axis3"}), "broken NA NA");
    EXPECT_EQ(rowText(table, 0, {"Model", "Vertices"}), "tube 8");
    ASSERT_EQ(table.getFailures().size(), 1u);
    EXPECT_EQ(table.getFailures()[0].rfind("model \"broken\": ", 0), 0u);
}

} // namespace vorlen
