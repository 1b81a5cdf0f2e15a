#include "document/modelitemselection.h"

#include <gtest/gtest.h>

namespace vorlen {

namespace {

std::string bits(const ModelItemSelection& selection) {
    std::string text;
    for (int i = 0; i < selection.getNumBits(); ++i)
        text += selection.isSelected(i) ? '1' : '0';
    return text;
}

ModelItemSelection make(const std::string& text) {
    ModelItemSelection selection;
    selection.reset(int(text.size()));
    for (int i = 0; i < int(text.size()); ++i)
        selection.set(text[std::size_t(i)] == '1', i, false);
    return selection;
}

TEST(ModelItemSelection, ofNoBitsIsBothEmptyAndComplete) {
    ModelItemSelection selection;
    EXPECT_TRUE(selection.isEmpty());
    EXPECT_TRUE(selection.isComplete());
    selection.reset(2);
    EXPECT_TRUE(selection.isEmpty());
    EXPECT_FALSE(selection.isComplete());
    selection.set(true);
    EXPECT_FALSE(selection.isEmpty());
    EXPECT_TRUE(selection.isComplete());
}

TEST(ModelItemSelection, countsABitThatIsSetTwiceOnce) {
    ModelItemSelection selection = make("000");
    selection.set(true, 1, false);
    selection.set(true, 1, false);
    EXPECT_EQ(selection.getSize(), 1);
    selection.set(false, 0, false);
    EXPECT_EQ(selection.getSize(), 1);
    selection.set(false, 1, false);
    EXPECT_TRUE(selection.isEmpty());
}

TEST(ModelItemSelection, exclusiveClearsTheOthersFirst) {
    ModelItemSelection selection = make("1101");
    selection.set(true, 2, true);
    EXPECT_EQ(bits(selection), "0010");
    EXPECT_EQ(selection.getSize(), 1);
    selection.set(false, 2, true);
    EXPECT_TRUE(selection.isEmpty());
}

TEST(ModelItemSelection, editsKeepTheOtherBitsInPlace) {
    ModelItemSelection selection = make("110100");
    selection.insert(1, true);
    EXPECT_EQ(bits(selection), "1110100");
    EXPECT_EQ(selection.getSize(), 4);
    selection.remove(0);
    EXPECT_EQ(bits(selection), "110100");
    EXPECT_EQ(selection.getSize(), 3);
    selection.remove(1, 3);
    EXPECT_EQ(bits(selection), "100");
    EXPECT_EQ(selection.getSize(), 1);
    selection.remove(2, 1);
    EXPECT_EQ(bits(selection), "100");
    selection.invert();
    EXPECT_EQ(bits(selection), "011");
    EXPECT_EQ(selection.getSize(), 2);
    selection.insert(3, false);
    EXPECT_EQ(bits(selection), "0110");
    selection.reset(1);
    EXPECT_EQ(bits(selection), "0");
    EXPECT_TRUE(selection.isEmpty());
}

} // namespace

} // namespace vorlen
