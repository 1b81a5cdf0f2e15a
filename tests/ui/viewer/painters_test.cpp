#include <map>

#include "support/testcurves.h"
#include "ui/viewer/curvepaintergl.h"
#include "ui/viewer/curvestackpaintergl.h"
#include "ui/viewer/scene.h"
#include "ui/viewer/shapeviewerpaintergl.h"
#include "ui/viewer/verticespaintergl.h"
#include "ui/viewer/voxelmatrixpaintergl.h"

namespace vorlen {

namespace {

const VertexSymbolGL bodies[] = {SphereSymbolGL, CubeSymbolGL, TetrahedronSymbolGL, DiamondSymbolGL};
const double pi = 3.14159265358979;
const QColor pureGreen(0, 255, 0);

Vector<double> pointOf(const std::vector<float>& values, unsigned int i) {
    return vectorOf<double>({values[3 * i], values[3 * i + 1], values[3 * i + 2]});
}

ShapePainterAttributesGL symbolsOf(VertexSymbolGL symbol, float size) {
    ShapePainterAttributesGL attributes = attributesOf(SymbolDisplayGL, {0, 255, 0});
    attributes.setVertexSymbol(symbol);
    attributes.setSymbolSize(size);
    return attributes;
}

} // namespace

TEST(SymbolMeshGL, bodiesAreClosedFaceOutwardAndHaveOneVolume) {
    for (VertexSymbolGL symbol : bodies) {
        const SymbolMeshGL mesh = SymbolMeshGL::of(symbol);
        double volume = 0;
        std::map<std::pair<std::vector<long>, std::vector<long>>, int> edges;
        for (std::size_t t = 0; t < mesh.indexes.size(); t += 3) {
            Vector<double> p[3];
            std::vector<long> key[3];
            for (int k = 0; k < 3; ++k) {
                p[k] = pointOf(mesh.positions, mesh.indexes[t + k]);
                for (double x : p[k])
                    key[k].push_back(std::lround(x * 1e4));
            }
            volume += p[0].scalarProduct(p[1].vectorProduct(p[2])) / 6;
            Vector<double> normal = (p[1] - p[0]).vectorProduct(p[2] - p[1]);
            normal.normalize();
            for (int k = 0; k < 3; ++k) {
                ++edges[{key[k], key[(k + 1) % 3]}];
                --edges[{key[(k + 1) % 3], key[k]}];
                const Vector<double> given = pointOf(mesh.normals, mesh.indexes[t + k]);
                if (symbol == SphereSymbolGL)
                    EXPECT_LT(given.distance(p[k]), 1e-6);
                else
                    EXPECT_LT(given.distance(normal), 1e-5);
                EXPECT_NEAR(given.norm(), 1, 1e-5);
            }
        }
        for (const auto& [edge, balance] : edges)
            EXPECT_EQ(balance, 0) << symbol;
        // The sphere's polyhedron of 8 slices and 6 stacks, by its frustums and pyramids of octagons of area 2 sqrt(2).
        double expected = 4 * pi / 3;
        if (symbol == SphereSymbolGL) {
            expected = 0;
            for (int j = 0; j < 6; ++j) {
                const double a = std::sin(pi * j / 6), b = std::sin(pi * (j + 1) / 6);
                expected += (std::cos(pi * j / 6) - std::cos(pi * (j + 1) / 6)) / 3 * (a * a + a * b + b * b);
            }
            expected *= 2 * std::sqrt(2.0);
        }
        EXPECT_NEAR(volume, expected, 1e-4) << symbol;
    }
    EXPECT_TRUE(SymbolMeshGL::of(DotSymbolGL).indexes.empty());
}

// Seen along z: an octagon, a square, a triangle and a square, about each vertex.
TEST(VerticesPainterGL, drawsEachSymbolAtItsSizeAndPlace) {
    const Vertices<float> vertices = verticesOf<float>({{-7, 0, 0}, {7, 4, 9}});
    Scene scene;
    VerticesPainterGL<float> painter;
    painter.setShape(vertices);
    scene.add(painter);
    const double pixel = scene.canvas.getRadius() / 200; // in world units
    const float size = 1.8f;
    const double h[] = {0, 0.805996 * size, 1.6439488 * size, 1.16244735 * size};
    const double areas[] = {2 * std::sqrt(2.0) * size * size, 4 * h[1] * h[1], std::sqrt(3.0) * h[2] * h[2],
                            4 * h[3] * h[3]};
    for (int k = 0; k < 4; ++k) {
        painter.setAttributes(symbolsOf(bodies[k], size));
        const QImage picture = scene.picture();
        const Spot spot = spotOf(picture, pureGreen, 128);
        EXPECT_NEAR(spot.count * pixel * pixel, 2 * areas[k], 0.05 * areas[k]) << k;
        EXPECT_NEAR(spot.x, 200, 0.8);
        EXPECT_NEAR(spot.y, 200, 0.8);
        EXPECT_TRUE(hasColor(picture, int(200 - 7 / pixel), int(200 + 2 / pixel), pureGreen));
    }
    painter.setAttributes(symbolsOf(DotSymbolGL, 9));
    EXPECT_NEAR(spotOf(scene.picture(), pureGreen, 128).count, 2 * pi * 4.5 * 4.5, 60); // round or square
    painter.setAttributes(symbolsOf(SphereSymbolGL, 0));
    EXPECT_EQ(spotOf(scene.picture(), pureGreen, 128).count, 0);
}

TEST(SymbolArrayGL, drawsManyBlocksPreparedOrNot) {
    class Field : public PainterGL<float> {
    public:
        BoundingBox<float> boundingBox() const override {
            return {vectorOf<float>({-35, -35, 0}), vectorOf<float>({35, 35, 0})};
        }
        void glDraw() const override {
            glColor4ub(0, 255, 0, 255);
            symbols.glDraw();
        }
        SymbolArrayGL symbols;
    };
    std::vector<float> centers, sizes;
    for (int i = 0; i < 50 * 50; ++i) {
        centers.insert(centers.end(), {float(i % 50) - 24.5f, float(i / 50) - 24.5f, 0});
        sizes.push_back(i % 50 < 25 ? 0.5f : 0.25f);
    }
    Field field;
    Scene scene;
    scene.add(field);
    QImage pictures[2];
    for (std::size_t limit : {SymbolArrayGL::maxPreparedVertices, std::size_t(0)}) {
        field.symbols.prepare(CubeSymbolGL, centers, sizes, limit);
        pictures[limit == 0] = scene.picture();
    }
    EXPECT_EQ(pictures[0], pictures[1]);
    const double pixel = scene.canvas.getRadius() / 200;
    const double covered = 1250 * (1.611992 * 1.611992) * (0.25 + 0.0625);
    double found = 0; // pixels, and parts of them
    for (int y = 0; y < 400; ++y)
        for (int x = 0; x < 400; ++x)
            found += pictures[0].pixelColor(x, y).green() / 255.0;
    EXPECT_NEAR(found * pixel * pixel, covered, 0.03 * covered);
}

TEST(CurvePainterGL, joinsTheEndsOfClosedCurvesAndMarksVerticesWhereAsked) {
    Curve<float> square = curveOf<float>({{-8, -8, 0}, {8, -8, 0}, {8, 8, 0}, {-8, 8, 0}});
    CurvePainterGL<float> painter;
    painter.setShape(square);
    ShapePainterAttributesGL attributes = attributesOf(UndefinedDisplayGL, {0, 255, 0});
    attributes.setLineWidth(5);
    attributes.setSymbolSize(15);
    painter.setAttributes(attributes);
    Scene scene;
    scene.add(painter);
    const int near = 200 - int(8 * 200 / scene.canvas.getRadius()), far = 400 - near;
    const auto seen = [&](int x, int y) { return hasColor(scene.picture(), x, y, pureGreen, 20); };
    EXPECT_TRUE(seen(near, 200)); // the closing side
    EXPECT_TRUE(seen(far, 200));
    EXPECT_FALSE(seen(near + 4, near + 4));
    // Not dimmed where a surface would turn away.
    scene.setLights(0, 255, 0);
    scene.canvas.setRotation(vectorOf<float>({0, 180, 0}));
    EXPECT_TRUE(seen(far, 200));
    scene.canvas.setRotation(vectorOf<float>({0, 0, 0}));

    square.setOpen(true);
    painter.setShape(square);
    EXPECT_FALSE(seen(near, 200));
    EXPECT_TRUE(seen(200, near));
    attributes.setDisplayMode(SymbolCurveDisplayGL);
    painter.setAttributes(attributes);
    EXPECT_TRUE(seen(near + 4, near + 4) && seen(200, near));
    attributes.setDisplayMode(SymbolDisplayGL);
    painter.setAttributes(attributes);
    EXPECT_TRUE(seen(near + 4, near + 4));
    EXPECT_FALSE(seen(200, near));
    attributes.setVisibility(false);
    painter.setAttributes(attributes);
    EXPECT_EQ(spotOf(scene.picture(), pureGreen).count, 0);
}

TEST(CurveStackPainterGL, drawsEachLevelByItself) {
    CurveStack<float> stack;
    stack.append(polygonOf<float>(4, 8, -10, 0, 0, 3, 0));
    stack.append(polygonOf<float>(4, 8, 10, 0, 0, 3, 5));
    CurveStackPainterGL<float> painter;
    painter.setShape(stack);
    painter.setAttributes(attributesOf(CurveDisplayGL, {0, 255, 0}));
    Scene scene;
    scene.add(painter);
    const QImage picture = scene.picture();
    const double scale = 200 / scene.canvas.getRadius();
    const auto hits = [&](double x, double y) {
        int count = 0;
        for (int dx = -2; dx <= 2; ++dx)
            count += hasColor(picture, int(200 + x * scale) + dx, int(200 - y * scale), pureGreen, 180);
        return count > 0;
    };
    for (int level : {-1, 1})
        for (int side : {-1, 1})
            EXPECT_TRUE(hits(10 * level + 4 * side, 4) && hits(10 * level + 4 * side, -4));
    EXPECT_FALSE(hits(0, 0)); // no line from level to level
}

TEST(ShapePainterGL, drawsNothingOfAShapeOfAnotherKindAndHasNoBoxWithoutVertices) {
    Scene scene;
    CurvePainterGL<float> painter;
    EXPECT_FALSE(painter.boundingBox().isValid());
    const Vertices<float> vertices = verticesOf<float>({{0, 0, 0}, {1, 1, 1}});
    static_cast<ShapePainterGL<float>&>(painter).setShape(vertices);
    painter.setAttributes(attributesOf(SymbolCurveDisplayGL, {0, 255, 0}));
    scene.add(painter);
    EXPECT_EQ(spotOf(scene.picture(), pureGreen).count, 0);
    EXPECT_EQ(painter.boundingBox().getVertex2(), vectorOf<float>({1, 1, 1}));
    const Curve<float> empty;
    painter.setShape(empty);
    EXPECT_FALSE(painter.boundingBox().isValid());
}

TEST(ShapeViewerPainterGL, standsForItsProxy) {
    ShapeViewerPainterGL painter;
    EXPECT_TRUE(painter.isOpaque() && painter.isSelected());
    EXPECT_FALSE(painter.boundingBox().isValid());
    painter.glDraw();
    const Vertices<float> vertices = verticesOf<float>({{0, 0, 0}, {3, 1, 1}});
    VerticesPainterGL<float> proxy;
    proxy.setShape(vertices);
    proxy.setAttributes(symbolsOf(DotSymbolGL, 5));
    painter.setProxy(&proxy);
    Scene scene;
    scene.add(painter);
    EXPECT_EQ(painter.boundingBox().getVertex2(), vectorOf<float>({3, 1, 1}));
    EXPECT_GT(spotOf(scene.picture(), pureGreen).count, 20);
}

TEST(VoxelMatrixPainterGL, sizesSymbolsByValue) {
    VoxelMatrix<float> matrix(2, 4, 3);
    matrix.setZeros();
    matrix(0, 1, 1) = 8;
    matrix(1, 3, 1) = 4;
    matrix(1, 0, 0) = -5;
    VoxelMatrixPainterGL<float> painter;
    painter.setVoxelMatrix(matrix);
    painter.setBoundingBox({vectorOf<float>({-4, -4, -4}), vectorOf<float>({4, 4, 4})}); // cells of 4, 2 and 8/3
    ShapePainterAttributesGL attributes = symbolsOf(CubeSymbolGL, 1);
    painter.setAttributes(attributes);
    Scene scene;
    scene.add(painter);
    const double scale = 200 / scene.canvas.getRadius();
    const double large = 4 * std::pow(0.9 * 0.805996 * scale, 2); // 0.45 of the step of 2
    const QImage picture = scene.picture();
    const auto part = [&](bool upper) { return spotOf(picture.copy(0, upper ? 0 : 200, 400, 200), pureGreen, 128); };
    EXPECT_NEAR(part(false).count, large, 0.05 * large);
    EXPECT_NEAR(part(true).count, large / 4, 0.05 * large);
    EXPECT_NEAR(part(false).x, 200 - 2 * scale, 1);
    EXPECT_NEAR(part(false).y, 1 * scale, 1);
    EXPECT_NEAR(part(true).x, 200 + 2 * scale, 1);

    matrix.setZeros();
    painter.setVoxelMatrix(matrix);
    EXPECT_EQ(spotOf(scene.picture(), pureGreen).count, 0);
}

} // namespace vorlen
