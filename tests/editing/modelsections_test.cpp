#include "editing/operations/modelsections.h"

#include "editing/operationfixture.h"
#include "editing/operations/modeloperations.h"

namespace vorlen {

class ModelSectionsTest : public OperationTest {};

TEST_F(ModelSectionsTest, slicesThatLackAModelBetweenOthersAreFoundOneAfterTheOther) {
    for (int i = 1; i < 8; ++i)
        stack.addSlice(new StackSlice);
    EXPECT_EQ(nextLacking(stack, polygon, 0), -1);
    for (const int rank : {5, 1, 2})
        addItem(polygon, stack.getSlice(rank), {{1, 1}, {1, 5}, {5, 5}});
    addItem(other, stack.getSlice(3), {{1, 1}, {1, 5}, {5, 5}});
    const ModelSections sections = sectionsOf(stack, polygon);
    EXPECT_EQ(sections.outlined, (std::vector<int>{1, 2, 5}));
    EXPECT_EQ(sections.lacking, (std::vector<int>{3, 4}));
    EXPECT_EQ(nextLacking(stack, polygon, 0), 3);
    EXPECT_EQ(nextLacking(stack, polygon, 3), 4);
    EXPECT_EQ(nextLacking(stack, polygon, 4), 3); // from the beginning
    EXPECT_EQ(nextLacking(stack, other, -1), -1);
}

TEST_F(ModelSectionsTest, newModelsDifferInNameAndColour) {
    std::vector<std::vector<int>> colours;
    for (int i = 0; i < 6; ++i) {
        const ModelChange next = nextModel(stack, PolylinePrimitive);
        ASSERT_TRUE(createModel(stack, next));
        const Model& made = stack.getModel(stack.findModel(*next.name));
        EXPECT_EQ(made.getProperties().getGeometry(), PolylinePrimitive);
        const Vector<int>& colour = made.getItemProperties().getColor();
        for (const std::vector<int>& before : colours)
            EXPECT_GT(std::abs(before[0] - colour[0]) + std::abs(before[1] - colour[1]) +
                          std::abs(before[2] - colour[2]),
                      60);
        colours.push_back({colour[0], colour[1], colour[2]});
    }
}

} // namespace vorlen
