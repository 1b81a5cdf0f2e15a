#include "editing/operations/outlineinbox.h"

#include "editing/operationfixture.h"
#include "support/testimages.h"

namespace vorlen {

TEST_F(OperationTest, anOutlineInABoxIsOneStepOrRefused) {
    Image image = TestImages::uniform(300, 200, 8, 200);
    for (int y = 60; y < 130; ++y)
        for (int x = 100; x < 180; ++x)
            image.getPixels()[y][x] = 40;
    const BoundingBox<int> box(pixel(80, 40), pixel(200, 150));
    expectStep([&] { return outlineInBox(stack, *slice, polygon, image, box, 0, {.threshold = 120}); });
    const auto extent = slice->getItem(0).getVertices().boundingBox();
    EXPECT_NEAR(double(extent.getVertex1()[0]), 99.5, 0.5);
    EXPECT_NEAR(double(extent.getVertex1()[1]), 59.5, 0.5);
    EXPECT_NEAR(double(extent.getVertex2()[0]), 179.5, 0.5);
    EXPECT_NEAR(double(extent.getVertex2()[1]), 129.5, 0.5);
    EXPECT_FALSE(slice->getItem(0).isClockwise());
    const BoundingBox<int> away(pixel(10, 10), pixel(40, 40));
    expectRefusal(
        [&] {
            return outlineInBox(stack, *slice, polygon, image, away, 0,
                                {.threshold = 120, .side = BoxOutline::Side::Darker});
        },
        "There is no outline in this box");
}

} // namespace vorlen
