#include "editing/operations/gapfilling.h"

#include <cmath>
#include <utility>
#include <vector>

#include "editing/operationfixture.h"
#include "reconstruction/sectionparts.h"
#include "support/testimages.h"

namespace vorlen {

class GapFillingTest : public OperationTest {
protected:
    /// Slices 1 to 9 with images of 200 x 160 pixels, spaced by 5.
    GapFillingTest() {
        stack.setDefaultSliceSpacing(5);
        for (int i = 0; i < 9; ++i)
            addImage(TestImages::uniform(200, 160, 8, 100));
    }

    ModelItem& addDisc(int rank, double x, double y, double radius, Model& model) {
        Points points;
        for (int k = 0; k < 60; ++k)
            points.emplace_back(int(std::lround(x + radius * std::cos(k * M_PI / 30))),
                                int(std::lround(y + radius * std::sin(k * M_PI / 30))));
        return addItem(model, stack.getSlice(rank), points);
    }
    ModelItem& addDisc(int rank, double x, double y, double radius) { return addDisc(rank, x, y, radius, polygon); }

    /// Of the outlines on a slice.
    SectionParts partsOn(int rank) {
        SectionParts parts(0);
        for (int i = 0; i < stack.getSlice(rank).getNumItems(); ++i) {
            std::vector<PlanePoint> outline;
            for (const auto& [x, y] : decimals(stack.getSlice(rank).getItem(i).getVertices()))
                outline.push_back({x, y});
            parts.add(std::move(outline));
        }
        parts.build();
        return parts;
    }
};

TEST_F(GapFillingTest, slicesBetweenGetTheShapesBetweenAsOneStep) {
    addDisc(2, 60, 60, 20);
    addDisc(6, 100, 80, 40);
    expectStep([&] { return fillGap(stack, polygon, 6, 2); });
    for (int i = 3; i <= 5; ++i) {
        ASSERT_EQ(stack.getSlice(i).getNumItems(), 1) << i;
        const SectionPart part = partsOn(i).getParts()[0];
        const double share = (i - 2) / 4.0, radius = 20 + 20 * share;
        EXPECT_NEAR(part.area, M_PI * radius * radius, 0.02 * M_PI * radius * radius) << i;
        EXPECT_NEAR(part.centroid.x, 60 + 40 * share, 0.5) << i;
        EXPECT_NEAR(part.centroid.y, 60 + 20 * share, 0.5) << i;
        EXPECT_LT(stack.getSlice(i).getItem(0).getSize(), 60) << "vertices that the shape does not need";
    }
    EXPECT_EQ(stack.getSlice(1).getNumItems() + stack.getSlice(7).getNumItems(), 0);
}

TEST_F(GapFillingTest, placesInSpaceCountAndNotThePixelsOfTheSlices) {
    // The fourth slice is shifted, turned and of smaller pixels; the sixth is turned back.
    StackSlice& odd = stack.getSlice(4);
    odd.setRegistration(Registration(7, -4, 30));
    stack.getSlice(5).setRegistration(Registration(-7, 4, -30));
    odd.getPixelCalibration().setPixelWidth(0.5f);
    odd.getPixelCalibration().setPixelHeight(0.5f);
    stack.getSlice(4).setAbsolutePosition(stack.getSlice(3).getAbsolutePosition() + 1);
    addDisc(3, 60, 60, 20);
    addDisc(5, 90, 70, 30);
    expectStep([&] { return fillGap(stack, polygon, 3, 5); });
    const double bottom = stack.getSlice(3).getAbsolutePosition(), top = stack.getSlice(5).getAbsolutePosition();
    const double radius = 20 + 10 * (1 / (top - bottom));
    const StackReconstruction<double> space(stack);
    SectionParts parts(0);
    std::vector<PlanePoint> outline;
    const Vertices<double>& vertices = odd.getItem(0).getVertices();
    for (int k = 0; k < vertices.getNumVertices(); ++k) {
        const Vector<double> place = space.toWorld(4, vertices[k][0], vertices[k][1]);
        outline.push_back({place[0], place[1]});
    }
    parts.add(std::move(outline));
    parts.build();
    EXPECT_NEAR(parts.area(), M_PI * radius * radius, 0.02 * M_PI * radius * radius);
}

TEST_F(GapFillingTest, allGapsAreFilledAndOutlinesThatAreThereStay) {
    addDisc(1, 60, 60, 20);
    addDisc(3, 60, 60, 20);
    const Points drawn = verticesOf(addDisc(4, 60, 60, 35));
    addDisc(8, 70, 60, 20);
    addDisc(5, 60, 60, 20, other); // another model is none of its
    int numFilled = 0;
    EXPECT_EQ(otherSideOfGap(stack, polygon, 4), 8);
    EXPECT_EQ(otherSideOfGap(stack, polygon, 3), 1);
    EXPECT_EQ(otherSideOfGap(stack, polygon, 8), 4);
    expectStep([&] { return fillAllGaps(stack, polygon, numFilled); });
    EXPECT_EQ(numFilled, 4);
    EXPECT_EQ(polygon.getNumItems(), 8);
    EXPECT_EQ(verticesOf(stack.getSlice(4).getItem(0)), drawn);
    EXPECT_EQ(otherSideOfGap(stack, polygon, 4), -1);
}

TEST_F(GapFillingTest, whatHasNoShapeBetweenIsRefused) {
    int numFilled = 0;
    addDisc(2, 40, 40, 10);
    expectRefusal([&] { return fillAllGaps(stack, polygon, numFilled); },
                  "There is no gap between outlines of this model");
    expectRefusal([&] { return fillGap(stack, polygon, 2, 6); }, "The model has no outline on one of the two slices");
    addDisc(3, 40, 40, 10);
    expectRefusal([&] { return fillGap(stack, polygon, 2, 3); }, "There is no gap between outlines of this model");
    addItem(polygon, stack.getSlice(6), {{10, 10}, {20, 20}, {30, 30}}); // encloses nothing
    expectRefusal([&] { return fillGap(stack, polygon, 3, 6); },
                  "The outlines on the two sides of the gap have nothing in common");
    expectRefusal([&] { return fillGap(stack, line, 2, 6); }, "Gaps are filled between closed outlines");
    stack.getSlice(6).getPixelCalibration().setPixelWidth(0);
    expectRefusal([&] { return fillGap(stack, polygon, 3, 6); }, "The size of a pixel is not known");
}

} // namespace vorlen
