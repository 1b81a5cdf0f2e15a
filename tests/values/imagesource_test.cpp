#include "values/imagesource.h"

#include <gtest/gtest.h>

#include "support/fixedsource.h"
#include "values/imagecolorcontent.h"

namespace vorlen {

TEST(ImageSource, sizeIsHeightThenWidth) {
    const Vector<int> size = FixedSource(30, 40).getSize();
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

} // namespace vorlen
