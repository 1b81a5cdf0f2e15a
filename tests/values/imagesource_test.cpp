#include "values/imagesource.h"

#include <gtest/gtest.h>

#include "values/imagecolorcontent.h"

namespace vorlen {

namespace {

class FixedSource : public ImageSource {
public:
    FixedSource* clone() const override { return new FixedSource(*this); }
    int getType() const override { return 9; }
    bool isDefined() const override { return true; }
    int getSize1() const override { return 30; }
    int getSize2() const override { return 40; }
    int getDepth() const override { return 8; }
    const Colormap* getColormap() const override { return nullptr; }
};

TEST(ImageSource, sizeIsHeightThenWidth) {
    const Vector<int> size = FixedSource().getSize();
    ASSERT_EQ(size.getSize(), 2);
    EXPECT_EQ(size[0], 30);
    EXPECT_EQ(size[1], 40);
}

TEST(ImageColorContent, hasNamesAndOneForTheRest) {
    EXPECT_EQ(toString(ImageColorContent(0)), "Gray");
    EXPECT_EQ(toString(ImageColorContent(2)), "Green");
    EXPECT_EQ(toString(ImageColorContent(4)), "Mixed");
    EXPECT_EQ(toString(ImageColorContent(5)), "Unknown");
}

} // namespace

} // namespace vorlen
