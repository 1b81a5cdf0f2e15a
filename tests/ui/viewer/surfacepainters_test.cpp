#include <memory>
#include <random>

#include "shapes/triangle.h"
#include "support/failures.h"
#include "ui/viewer/buffergl.h"
#include "ui/viewer/curvepaintergl.h"
#include "ui/viewer/quadmeshpaintergl.h"
#include "ui/viewer/scene.h"
#include "ui/viewer/trimeshpaintergl.h"

namespace vorlen {

namespace {

/// The normal in its plainest form: the sum over the triangles of the four cells around it.
Vector<float> plainNormal(const QuadMesh<float>& mesh, int r, int c) {
    const int width = mesh.getWidth();
    Vector<float> sum(3);
    sum.setZeros();
    for (int band : {r - 1, r})
        for (int cell : {c - 1, c}) {
            if (band < 0 || band + 1 >= mesh.getHeight())
                continue;
            if (mesh.isOpen() && (cell < 0 || cell + 1 >= width))
                continue;
            const int a = (cell + width) % width, b = (cell + 1) % width;
            const Vector<float>&la = mesh.level(band)[a], &lb = mesh.level(band)[b], &ua = mesh.level(band + 1)[a],
                  &ub = mesh.level(band + 1)[b];
            Triangle<float> triangle(3);
            triangle[0] = la;
            triangle[1] = lb;
            triangle[2] = ua;
            sum -= triangle.normal(true);
            triangle[0] = lb;
            triangle[1] = ub;
            sum -= triangle.normal(true);
        }
    sum.normalize();
    return sum;
}

int greenAt(Scene& scene, int x, int y) {
    return scene.picture().pixelColor(x, y).green();
}

} // namespace

TEST(QuadMeshPainterGL, normalsAreTheSumsOfTheTrianglesAround) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> jitter(-0.3f, 0.3f);
    for (bool open : {true, false})
        for (int height : {1, 2, 5}) {
            QuadMesh<float> mesh = tubeMesh<float>(height, 7, 3, open);
            for (int r = 0; r < height; ++r)
                for (int c = 0; c < 7; ++c)
                    for (float& x : mesh.level(r)[c])
                        x += jitter(random);
            QuadMeshPainterGL<float> painter;
            painter.setShape(mesh);
            ASSERT_EQ(painter.getNormals().getHeight(), height);
            for (int r = 0; r < height; ++r)
                for (int c = 0; c < 7; ++c)
                    EXPECT_LT(painter.getNormals().level(r)[c].distance(plainNormal(mesh, r, c)), 1e-5);
        }
}

TEST(QuadMeshPainterGL, aClosedMeshHasNoSeam) {
    const QuadMesh<float> mesh = tubeMesh<float>(4, 24, 3);
    QuadMeshPainterGL<float> painter;
    painter.setShape(mesh);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 24; ++c) {
            // Every normal is the radius turned by one and the same small angle.
            const Vector<float>& v = mesh.level(r)[c];
            const Vector<float>& n = painter.getNormals().level(r)[c];
            EXPECT_NEAR((n[0] * v[0] + n[1] * v[1]) / 3,
                        (painter.getNormals().level(r)[5][0] * mesh.level(r)[5][0] +
                         painter.getNormals().level(r)[5][1] * mesh.level(r)[5][1]) /
                            3,
                        1e-5);
            EXPECT_LT(n[0] * v[0] + n[1] * v[1], -2.9); // the levels run counter-clockwise
        }
    // In the picture: columns 23 to 0 to 1 shade as their mirror images about the line of sight do.
    painter.setAttributes(attributesOf(SurfaceDisplayGL, {0, 255, 0}));
    Scene scene;
    scene.setLights(0, 255, 0);
    scene.add(painter);
    std::vector<int> shades[2];
    for (int turn : {0, 1}) {
        scene.canvas.setRotation(vectorOf<float>({-90, 0, turn == 0 ? -90.0f : 90.0f})); // column 0, column 12 in front
        const QImage picture = scene.picture();
        for (int x = 130; x < 270; ++x)
            shades[turn].push_back(picture.pixelColor(x, 200).green());
    }
    for (std::size_t i = 0; i < shades[0].size(); ++i)
        EXPECT_NEAR(shades[0][i], shades[1][i], 2) << i;
    EXPECT_GT(shades[0][70], 240); // faces the light
    EXPECT_LT(shades[0][0], shades[0][70] - 5);
}

TEST(QuadMeshPainterGL, drawsCapsWhereTheFlagsAskForThem) {
    QuadMesh<float> mesh = tubeMesh<float>(4, 24, 3);
    mesh.buildCaps();
    QuadMeshPainterGL<float> painter;
    painter.setShape(mesh);
    ShapePainterAttributesGL attributes = attributesOf(SurfaceDisplayGL, {0, 255, 0});
    Scene scene;
    scene.setLights(0, 255, 0);
    scene.add(painter);
    // Off the axis, inside the opening; the last ring leaves a hole of a hundredth.
    const auto closed = [&](bool begin, bool end) {
        attributes.setBeginCapFlag(begin);
        attributes.setEndCapFlag(end);
        painter.setAttributes(attributes);
        return greenAt(scene, 200 + 20, 200);
    };
    EXPECT_EQ(closed(false, false), 0);
    for (float turn : {0.0f, 180.0f}) {
        scene.canvas.setRotation(vectorOf<float>({turn, 0, 0}));
        EXPECT_GT(closed(true, false), 240);
        EXPECT_GT(closed(false, true), 240);
    }
    // The cap on the side of the viewer is the end cap.
    scene.canvas.setRotation(vectorOf<float>({0, 0, 0}));
    mesh.destroyBeginCap();
    painter.setShape(mesh);
    EXPECT_EQ(closed(true, false), 0);
    EXPECT_GT(closed(true, true), 240);
}

TEST(QuadMeshPainterGL, capsFollowTheColor) {
    QuadMesh<float> mesh = tubeMesh<float>(4, 24, 3);
    mesh.buildCaps();
    QuadMeshPainterGL<float> painter;
    painter.setShape(mesh);
    Scene scene;
    scene.add(painter);
    for (const QColor& color : {QColor(0, 255, 0), QColor(255, 0, 0)}) {
        ShapePainterAttributesGL attributes =
            attributesOf(SurfaceDisplayGL, {color.red(), color.green(), color.blue()});
        attributes.setBeginCapFlag(true);
        attributes.setEndCapFlag(true);
        painter.setAttributes(attributes);
        EXPECT_TRUE(hasColor(scene.picture(), 200 + 20, 200, color)); // off the axis, inside the opening
    }
}

TEST(QuadMeshPainterGL, vertexColorsWinOnTheSurface) {
    QuadMesh<float> mesh(3, 2, 2, 4, 4, true);
    auto colors = std::make_unique<QuadMesh<int>>(3, 2, 2, 4, 4, true);
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < 2; ++c) {
            mesh.level(r)[c] = vectorOf<float>({2.0f * float(c) - 1, 2.0f * float(r) - 1, 0});
            colors->level(r)[c] = r == 0 ? vectorOf<int>({255, 0, 0}) : vectorOf<int>({0, 0, 300});
        }
    mesh.setVertexColors(colors.release());
    QuadMeshPainterGL<float> painter;
    painter.setShape(mesh);
    Scene scene;
    scene.add(painter);
    const int near = 200 - int(0.98 * 200 / scene.canvas.getRadius());
    for (float transparency : {255.0f, 128.9f}) {
        const int full = int(transparency);
        painter.setAttributes(attributesOf(SurfaceDisplayGL, {0, 255, 0}, transparency));
        EXPECT_EQ(painter.isOpaque(), transparency == 255);
        const QImage picture = scene.picture();
        EXPECT_TRUE(hasColor(picture, 200, 400 - near, QColor(full, 0, 0), 6));
        EXPECT_TRUE(hasColor(picture, 200, near, QColor(0, 0, full), 6));
        EXPECT_TRUE(hasColor(picture, 200, 200, QColor(full / 2, 0, full / 2), 6));
    }
    // Lines keep the colour attribute.
    painter.setAttributes(attributesOf(MeshDisplayGL, {0, 255, 0}));
    const QImage wires = scene.picture();
    EXPECT_GT(spotOf(wires, QColor(0, 255, 0), 150).count, 200);
    EXPECT_EQ(spotOf(wires, Qt::red, 150).count, 0);
}

TEST(QuadMeshPainterGL, theWireFrameRunsAlongLevelsAndColumns) {
    const QuadMesh<float> mesh = tubeMesh<float>(3, 4, 5);
    QuadMeshPainterGL<float> painter;
    painter.setShape(mesh);
    ShapePainterAttributesGL attributes = attributesOf(MeshDisplayGL, {0, 255, 0});
    attributes.setLineWidth(3);
    painter.setAttributes(attributes);
    Scene scene;
    scene.add(painter);
    scene.canvas.setRotation(vectorOf<float>({-90, 0, 20})); // from the side
    const double scale = 200 / scene.canvas.getRadius();
    const QImage picture = scene.picture();
    const double degree = 3.14159265358979 / 180;
    for (int column = 0; column < 4; ++column) {
        const double x = 5 * std::cos((90 * column + 20) * degree);
        EXPECT_TRUE(hasColor(picture, int(200 + x * scale), int(200 - 0.5 * scale), QColor(0, 255, 0), 130)) << column;
    }
    for (int level : {-1, 0, 1})
        EXPECT_TRUE(hasColor(picture, 200, int(200 - level * scale), QColor(0, 255, 0), 130));
    EXPECT_TRUE(hasColor(picture, 200, int(200 - 0.5 * scale), Qt::black));
}

TEST(QuadMeshPainterGL, refusesOtherShapesAndKeepsItsOwn) {
    const QuadMesh<float> mesh = tubeMesh<float>(2, 5, 1);
    const TriMesh<float> other = cubeMesh<float>(1);
    QuadMeshPainterGL<float> painter;
    painter.setShape(mesh);
    expectFailure<TypeError>([&] { painter.setShape(other); }, "void QuadMeshPainterGL<T>::setShape(...)",
                             "Non QuadMesh shape passed as function argument");
    EXPECT_EQ(painter.getShape(), &mesh);
    TriMeshPainterGL<float> triangles;
    expectFailure<TypeError>([&] { triangles.setShape(static_cast<const Shape<float>&>(mesh)); },
                             "void TriMeshPainterGL<T>::setShape(...)",
                             "Non TriMesh shape passed as function argument");
}

TEST(TriMeshPainterGL, smoothsTheNormalsWhenTheSmoothingChangesOnly) {
    TriMesh<float> cube = cubeMesh<float>(2);
    cube.computeNormals();
    const Vector<float> sharp = cube.getNormal(3);
    TriMeshPainterGL<float> painter;
    EXPECT_EQ(painter.getAttributes().getDisplayMode(), SurfaceDisplayGL);
    painter.setShape(cube);
    ShapePainterAttributesGL attributes = attributesOf(SurfaceDisplayGL, {0, 255, 0});
    attributes.setSmoothing(2);
    painter.setAttributes(attributes);
    TriMesh<float> expected = cubeMesh<float>(2);
    expected.smoothNormals(2);
    EXPECT_EQ(cube.getNormal(3), expected.getNormal(3));
    EXPECT_NE(cube.getNormal(3), sharp);
    cube.setNormal(3, vectorOf<float>({1, 0, 0}));
    attributes.setColor(vectorOf<int>({1, 2, 3}));
    painter.setAttributes(attributes);
    EXPECT_EQ(cube.getNormal(3), vectorOf<float>({1, 0, 0}));
}

TEST(TriMeshPainterGL, lightsBothSidesAndDrawsMeshesWithoutNormals) {
    const TriMesh<float> sphere = sphereMesh<float>(3, 4);
    ASSERT_FALSE(sphere.hasNormals());
    TriMeshPainterGL<float> painter;
    painter.setShape(sphere);
    ShapePainterAttributesGL attributes = attributesOf(SurfaceDisplayGL, {0, 200, 0});
    painter.setAttributes(attributes);
    Scene scene;
    scene.setLights(0, 255, 0);
    scene.add(painter);
    EXPECT_FALSE(sphere.hasNormals());
    // Ambient 0.2 of the light model and the cosine between normal and line of sight.
    const double scale = 200 / scene.canvas.getRadius();
    for (double x : {0.0, 1.5, 2.6})
        EXPECT_NEAR(greenAt(scene, int(200 + x * scale), 200), std::min(255.0, 200 * (0.2 + std::sqrt(1 - x * x / 9))),
                    6);
    scene.setLights(0, 0, 255);
    EXPECT_GT(scene.picture().pixelColor(200, 200).red(), 240); // a white highlight
    EXPECT_LT(scene.picture().pixelColor(int(200 + 2 * scale), 200).red(), 20);
    scene.setLights(0, 255, 0);

    using U = unsigned int;
    TriMesh<float> back =
        meshOf<float>({vectorOf<float>({-1, -1, 0}), vectorOf<float>({0, 1, 0}), vectorOf<float>({1, -1, 0})},
                      {vectorOf<U>({0, 1, 2})}); // faces away
    painter.setShape(back);
    scene.canvas.initializeGL();
    EXPECT_GT(greenAt(scene, 200, 200), 230);
    back.computeNormals();
    back.addTriangle(0, 1, 77); // a number that is no vertex
    painter.setShape(back);
    EXPECT_GT(greenAt(scene, 200, 200), 230);
    attributes.setDisplayMode(MeshDisplayGL);
    painter.setAttributes(attributes);
    EXPECT_EQ(greenAt(scene, 200, 200), 0);
    EXPECT_GT(spotOf(scene.picture(), QColor(0, 200, 0), 100).count, 100);
}

// Large arrays go to the memory of the graphics, once for each context. The reference hands over each vertex.
TEST(QuadMeshPainterGL, largeMeshesLookAlikeInEveryCanvasAndAfterEveryChange) {
    class Plain : public PainterGL<float> {
    public:
        explicit Plain(const QuadMeshPainterGL<float>& painter) : __painter(painter) {}
        BoundingBox<float> boundingBox() const override { return __painter.boundingBox(); }
        void glDraw() const override {
            const auto& mesh = static_cast<const QuadMesh<float>&>(*__painter.getShape());
            const Vector<int>& color = __painter.getAttributes().getColor();
            glColor4ub(GLubyte(color[0]), GLubyte(color[1]), GLubyte(color[2]), 255);
            for (int r = 0; r + 1 < mesh.getHeight(); ++r) {
                glBegin(GL_TRIANGLE_STRIP);
                for (int c = 0; c <= mesh.getWidth(); ++c)
                    for (int level : {r, r + 1}) {
                        const int column = c % mesh.getWidth();
                        glNormal3fv(__painter.getNormals().level(level)[column].data());
                        glVertex3fv(mesh.level(level)[column].data());
                    }
                glEnd();
            }
        }

    private:
        const QuadMeshPainterGL<float>& __painter;
    };
    const QuadMesh<float> first = tubeMesh<float>(60, 90, 20), second = tubeMesh<float>(90, 60, 40);
    ASSERT_GE(sizeof(float) * 3 * 60 * 90, BufferGL::smallest);
    QuadMeshPainterGL<float> painter;
    const Plain plain(painter);
    const auto alike = [](const QImage& a, const QImage& b) {
        int others = 0;
        for (int y = 0; y < a.height(); ++y)
            for (int x = 0; x < a.width(); ++x)
                others += !hasColor(a, x, y, b.pixelColor(x, y), 3);
        return others < 20; // at the edges of triangles
    };
    auto one = std::make_unique<Scene>(300, 300), two = std::make_unique<Scene>(300, 300);
    for (int step = 0; step < 4; ++step) {
        if (step % 2 == 0)
            painter.setShape(step == 0 ? first : second);
        painter.setAttributes(attributesOf(SurfaceDisplayGL, {step % 2 == 0 ? 255 : 90, 200, 0}));
        QImage pictures[3];
        for (int k = 0; k < 3; ++k) {
            Scene& scene = k == 1 ? *two : *one;
            scene.canvas.removePainters();
            scene.setLights(60, 180, 0);
            scene.add(k == 2 ? const_cast<Plain&>(plain) : static_cast<PainterGL<float>&>(painter));
            scene.canvas.setRotation(vectorOf<float>({-50, 20, 0}));
            pictures[k] = scene.picture();
        }
        EXPECT_GT(spotOf(pictures[0], Qt::black, 3).count, 100);
        EXPECT_LT(spotOf(pictures[0], Qt::black, 3).count, 80000);
        EXPECT_TRUE(alike(pictures[0], pictures[1])) << step;
        EXPECT_TRUE(alike(pictures[0], pictures[2])) << step;
    }
    // The context goes before the painter.
    one.reset();
    two->canvas.removePainters();
    two->add(painter);
    EXPECT_LT(spotOf(two->picture(), Qt::black, 3).count, 80000);
    two.reset();
}

} // namespace vorlen
