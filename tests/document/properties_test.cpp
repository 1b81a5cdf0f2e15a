#include <functional>

#include <gtest/gtest.h>

#include "document/model.h"
#include "numerics/exception.h"
#include "snake/snakeconfig.h"

namespace vorlen {

namespace {

std::string failure(const std::function<void()>& call) {
    try {
        call();
    } catch (const ProgramError& error) {
        return error.getWhat();
    }
    return "";
}

TEST(ModelProperties, nothingIsDefinedAtFirstAndEachGetterNamesWhatIsMissing) {
    const ModelProperties p;
    EXPECT_FALSE(p.definesGeometry() || p.definesRenderingMode() || p.definesSurfaceOpacity() ||
                 p.definesSurfaceShininess() || p.definesQuadMeshWidth() || p.definesQuadMeshHeight() ||
                 p.definesEconomicRendering() || p.hasBeginCapFlag() || p.hasEndCapFlag());
    EXPECT_EQ(failure([&] { p.getGeometry(); }), "Geometry: undefined attribute");
    EXPECT_EQ(failure([&] { p.getRenderingMode(); }), "Rendering mode: undefined attribute");
    EXPECT_EQ(failure([&] { p.getSurfaceOpacity(); }), "Surface opacity: undefined attribute");
    EXPECT_EQ(failure([&] { p.getSurfaceShininess(); }), "Surface shininess: undefined attribute");
    EXPECT_EQ(failure([&] { p.getQuadMeshWidth(); }), "Quad mesh width: undefined attribute");
    EXPECT_EQ(failure([&] { p.getQuadMeshHeight(); }), "Quad mesh height: undefined attribute");
    EXPECT_EQ(failure([&] { p.getEconomicRendering(); }), "Economic rendering: undefined attribute");
    EXPECT_EQ(failure([&] { p.getBeginCapFlag(); }), "Begin cap flag: undefined attribute");
    EXPECT_EQ(failure([&] { p.getEndCapFlag(); }), "End cap flag: undefined attribute");
}

TEST(ModelProperties, defaultsDifferFromANewModelInTheCaps) {
    ModelProperties defaults;
    defaults.setDefaults();
    EXPECT_FALSE(defaults.getBeginCapFlag());
    EXPECT_FALSE(defaults.getEndCapFlag());
    const Model model;
    const ModelProperties& p = model.getProperties();
    EXPECT_EQ(p.getGeometry(), 0);
    EXPECT_EQ(p.getRenderingMode(), 3);
    EXPECT_EQ(p.getSurfaceOpacity(), 255);
    EXPECT_EQ(p.getSurfaceShininess(), 32);
    EXPECT_EQ(p.getQuadMeshWidth(), 100u);
    EXPECT_EQ(p.getQuadMeshHeight(), 100u);
    EXPECT_FALSE(p.getEconomicRendering());
    EXPECT_FALSE(p.hasBeginCapFlag() || p.hasEndCapFlag());
    EXPECT_FALSE(p == defaults);
    defaults.clear();
    EXPECT_EQ(defaults, ModelProperties());
}

TEST(ModelProperties, updateTakesWhatTheOtherDefinesOnly) {
    ModelProperties p, other;
    p.setSurfaceOpacity(10);
    p.setQuadMeshWidth(5);
    other.setSurfaceOpacity(20);
    other.setEndCapFlag(true);
    p.update(other);
    EXPECT_EQ(p.getSurfaceOpacity(), 20);
    EXPECT_EQ(p.getQuadMeshWidth(), 5u);
    EXPECT_TRUE(p.getEndCapFlag());
    EXPECT_FALSE(p.definesGeometry());
}

TEST(ModelProperties, intersectionKeepsWhatIsDefinedAndEqualInBoth) {
    ModelProperties a, b;
    a.setDefaults();
    b.setDefaults();
    b.setRenderingMode(DotRendering);
    a.setBeginCapFlag(true);
    ModelProperties onlyGeometry;
    onlyGeometry.setGeometry(PolygonPrimitive);
    const ModelProperties common = a.intersection(b);
    EXPECT_FALSE(common.definesRenderingMode());
    EXPECT_FALSE(common.hasBeginCapFlag());
    EXPECT_TRUE(common.hasEndCapFlag());
    EXPECT_EQ(common.getQuadMeshHeight(), 100u);
    EXPECT_EQ(a.intersection(onlyGeometry), onlyGeometry);
    EXPECT_EQ(onlyGeometry.intersection(a), onlyGeometry);
}

TEST(ModelProperties, textsAndValuesConvertBothWays) {
    const std::vector<std::string> geometries = {"Polygon", "Polyline", "Polypoint", "Unknown"};
    for (int i = 0; i <= 3; ++i) {
        EXPECT_EQ(ModelProperties::toString(MPrimitive(i)), geometries[std::size_t(i)]);
        EXPECT_EQ(ModelProperties::toPrimitive(geometries[std::size_t(i)]), i);
    }
    const std::vector<std::string> modes = {"Dot", "Curve", "Wireframe", "Surface", "Unknown"};
    for (int i = 0; i <= 4; ++i) {
        EXPECT_EQ(ModelProperties::toString(RenderingMode(i)), modes[std::size_t(i)]);
        EXPECT_EQ(ModelProperties::toRenderingMode(modes[std::size_t(i)]), i);
    }
    EXPECT_EQ(ModelProperties::toPrimitive("polygon"), UnknownPrimitive);
    EXPECT_EQ(ModelProperties::toRenderingMode(""), UnknownRendering);
}

TEST(ModelItemProperties, nothingIsDefinedAtFirstAndEachGetterNamesWhatIsMissing) {
    const ModelItemProperties p;
    EXPECT_FALSE(p.definesAny());
    EXPECT_EQ(failure([&] { p.getColor(); }), "Color: undefined attribute");
    EXPECT_EQ(failure([&] { p.getLineWidth(); }), "Line width: undefined attribute");
    EXPECT_EQ(failure([&] { p.getPointSize(); }), "Point size: undefined attribute");
    EXPECT_EQ(failure([&] { p.getVertexSymbol(); }), "Vertex symbol: undefined attribute");
    EXPECT_EQ(failure([&] { p.getVertexSymbolFilling(); }), "Vertex symbol filling: undefined attribute");
    EXPECT_EQ(failure([&] { p.getRenderingVisibility(); }), "Rendering visibility: undefined attribute");
}

TEST(ModelItemProperties, defaultsDifferFromANewModelInThePointSize) {
    ModelItemProperties p;
    p.setDefaults();
    EXPECT_TRUE(p.definesAny());
    EXPECT_EQ(p.getColor()[0], 255);
    EXPECT_EQ(p.getColor()[1], 0);
    EXPECT_EQ(p.getColor()[2], 0);
    EXPECT_EQ(p.getVertexSymbol(), SphereSymbol);
    EXPECT_EQ(p.getLineWidth(), 1);
    EXPECT_TRUE(p.getVertexSymbolFilling());
    EXPECT_TRUE(p.getRenderingVisibility());
    EXPECT_EQ(p.getPointSize(), 1);
    const Model model;
    EXPECT_FALSE(model.getItemProperties() == p);
    p.setPointSize(3);
    EXPECT_EQ(model.getItemProperties(), p);
}

TEST(ModelItemProperties, differenceSumAndIntersectionWorkValueByValue) {
    ModelItemProperties a, b;
    a.setLineWidth(1);
    a.setPointSize(2);
    a.setColor(1, 2, 3);
    b.setLineWidth(1);
    b.setPointSize(5);
    b.setRenderingVisibility(false);

    const ModelItemProperties difference = a - b;
    EXPECT_FALSE(difference.definesLineWidth());
    EXPECT_EQ(difference.getPointSize(), 2);
    EXPECT_EQ(difference.getColor()[2], 3);
    EXPECT_FALSE(difference.definesRenderingVisibility());

    const ModelItemProperties sum = a + b;
    EXPECT_EQ(sum.getLineWidth(), 1);
    EXPECT_EQ(sum.getPointSize(), 2);
    EXPECT_FALSE(sum.getRenderingVisibility());
    EXPECT_TRUE(sum.definesColor());

    ModelItemProperties lineOnly;
    lineOnly.setLineWidth(1);
    EXPECT_EQ(a.intersection(b), lineOnly);
    ModelItemProperties otherColor = a;
    otherColor.setColor(1, 2, 4);
    EXPECT_FALSE(a == otherColor);
    EXPECT_FALSE((otherColor - a).definesLineWidth());
    EXPECT_TRUE((otherColor - a).definesColor());

    a.update(b);
    EXPECT_EQ(a.getPointSize(), 5);
    EXPECT_EQ(a.getColor()[0], 1);
    a.clear();
    EXPECT_FALSE(a.definesAny());
}

TEST(ModelItemProperties, aColorHasThreeValues) {
    ModelItemProperties p;
    EXPECT_THROW(p.setColor(Vector<int>(4)), SizeError);
    EXPECT_FALSE(p.definesColor());
}

TEST(ModelItemProperties, symbolsConvertBothWays) {
    const std::vector<std::string> symbols = {"Cube", "Dot", "Diamond", "Sphere", "Tetrahedron", "Unknown"};
    for (int i = 0; i <= 5; ++i) {
        EXPECT_EQ(ModelItemProperties::toString(VertexSymbol(i)), symbols[std::size_t(i)]);
        EXPECT_EQ(ModelItemProperties::toVertexSymbol(symbols[std::size_t(i)]), i);
    }
    EXPECT_EQ(ModelItemProperties::toVertexSymbol("Ball"), UnknownSymbol);
}

TEST(SnakeConfig, hasItsDefaultsAndCopiesAllValues) {
    SnakeConfig config;
    EXPECT_EQ(config.getGradThreshold(), 20.0f);
    EXPECT_EQ(config.getDistance(), 100);
    EXPECT_EQ(config.getRegMin(), 0.5f);
    EXPECT_EQ(config.getRegMax(), 1.0f);
    EXPECT_EQ(config.getAlpha(), 1.0f);
    EXPECT_FALSE(config.isAdaptive());
    EXPECT_EQ(config.getScale(), 1u);
    config.setGradThreshold(1);
    config.setDistance(2);
    config.setRegMin(3);
    config.setRegMax(4);
    config.setAlpha(5);
    config.setAdaptive(true);
    config.setScale(6);
    const SnakeConfig copy = config;
    EXPECT_EQ(copy.getGradThreshold(), 1);
    EXPECT_EQ(copy.getDistance(), 2);
    EXPECT_EQ(copy.getRegMin(), 3);
    EXPECT_EQ(copy.getRegMax(), 4);
    EXPECT_EQ(copy.getAlpha(), 5);
    EXPECT_TRUE(copy.isAdaptive());
    EXPECT_EQ(copy.getScale(), 6u);
}

TEST(Model, keepsTheLastSnakeParameters) {
    Model model;
    EXPECT_EQ(model.getName(), "<model>");
    EXPECT_FALSE(model.hasSnakeConfig());
    EXPECT_THROW(model.getSnakeConfig(), ProgramError);
    SnakeConfig config;
    config.setDistance(7);
    model.setSnakeConfig(config);
    config.setDistance(8);
    EXPECT_EQ(model.getSnakeConfig().getDistance(), 7);
    model.setSnakeConfig(config);
    EXPECT_TRUE(model.hasSnakeConfig());
    EXPECT_EQ(model.getSnakeConfig().getDistance(), 8);
}

} // namespace

} // namespace vorlen
