#include <sstream>

#include <gtest/gtest.h>

#include "support/failures.h"
#include "support/vectors.h"
#include "ui/viewer/shapepainterattributesgl.h"

namespace vorlen {

TEST(ShapePainterAttributesGL, startsWithDefaultsAndTellsWhatIsUndefined) {
    ShapePainterAttributesGL attributes;
    EXPECT_EQ(attributes.getDisplayMode(), UndefinedDisplayGL);
    EXPECT_EQ(attributes.getLineWidth(), 1);
    EXPECT_EQ(attributes.getTransparency(), 255);
    EXPECT_EQ(attributes.getShininess(), 32);
    EXPECT_EQ(attributes.getSymbolSize(), 10);
    EXPECT_EQ(attributes.getVertexSymbol(), DotSymbolGL);
    EXPECT_TRUE(attributes.getVisibility());
    EXPECT_FALSE(attributes.useColor() || attributes.useSmoothing() || attributes.hasBeginCapFlag() ||
                 attributes.hasEndCapFlag());
    attributes.clear();
    EXPECT_FALSE(attributes.useDisplayMode() || attributes.useLineWidth() || attributes.useTransparency() ||
                 attributes.useShininess() || attributes.useSymbolSize() || attributes.useVertexSymbol());
    expectFailure<ProgramError>([&] { attributes.getVisibility(); },
                                "bool ShapePainterAttributesGL::getVisibility() const",
                                "Visibility: undefined attribute");
    expectFailure<ProgramError>([&] { attributes.getBeginCapFlag(); },
                                "bool ShapePainterAttributesGL::getBeginCapFlag() const",
                                "Begin cap flag: undefined attribute");
    expectFailure<ProgramError>([&] { attributes.getEndCapFlag(); },
                                "bool ShapePainterAttributesGL::getEndCapFlag() const",
                                "End cap flag: undefined attribute");
    EXPECT_THROW(attributes.getColor(), ProgramError);
    EXPECT_THROW(attributes.setColor(vectorOf<int>({1, 2})), SizeError);
}

TEST(ShapePainterAttributesGL, intersectionKeepsWhatIsEqualAndUpdateTakesWhatIsDefined) {
    ShapePainterAttributesGL a, b;
    a.setColor(vectorOf<int>({1, 2, 3}));
    b.setColor(vectorOf<int>({1, 2, 3}));
    a.setLineWidth(2);
    a.setBeginCapFlag(true); // undefined in the other
    const ShapePainterAttributesGL common = a.intersection(b);
    EXPECT_TRUE(common == b.intersection(a));
    EXPECT_FALSE(common.useLineWidth() || common.hasBeginCapFlag());
    EXPECT_EQ(common.getColor(), vectorOf<int>({1, 2, 3}));
    EXPECT_EQ(common.getShininess(), 32);

    ShapePainterAttributesGL change;
    change.clear();
    change.setSmoothing(3);
    change.setVisibility(false);
    a.update(change);
    EXPECT_EQ(a.getSmoothing(), 3);
    EXPECT_FALSE(a.getVisibility());
    EXPECT_EQ(a.getLineWidth(), 2);
    EXPECT_TRUE(a.getBeginCapFlag());
    EXPECT_TRUE(a != b);
}

TEST(ShapePainterAttributesGL, opacityEndsBelow255AndAlphaDropsTheFraction) {
    ShapePainterAttributesGL attributes;
    attributes.setTransparency(254.9f);
    EXPECT_FALSE(attributes.isOpaque());
    EXPECT_EQ(attributes.alpha(), 254);
    attributes.setTransparency(255);
    EXPECT_TRUE(attributes.isOpaque());
    attributes.clear();
    EXPECT_TRUE(attributes.isOpaque());
    EXPECT_EQ(attributes.alpha(), 255);
}

TEST(ShapePainterAttributesGL, printsUndefinedValuesAsNone) {
    ShapePainterAttributesGL attributes;
    attributes.setDisplayMode(SymbolCurveDisplayGL);
    std::ostringstream text;
    attributes.print("Shape", text);
    EXPECT_EQ(text.str().find("Shape\nColor        = (none)\nDisplay mode = Symbol+Curve\n"), 0u);
}

} // namespace vorlen
