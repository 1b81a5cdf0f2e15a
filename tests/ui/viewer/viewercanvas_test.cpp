#include <QFileDialog>
#include <QSignalSpy>

#include "numerics/exception.h"
#include "support/modalscript.h"
#include "support/temporaryfolder.h"
#include "support/testcurves.h"
#include "ui/viewer/scene.h"
#include "ui/viewer/trimeshpaintergl.h"
#include "ui/viewer/verticespaintergl.h"

namespace vorlen {

namespace {

struct Dot {
    Vertices<float> vertices;
    VerticesPainterGL<float> painter;

    Dot(std::vector<float> position, std::initializer_list<int> color) : vertices(verticesOf<float>({position})) {
        painter.setShape(vertices);
        ShapePainterAttributesGL attributes = attributesOf(SymbolDisplayGL, color);
        attributes.setSymbolSize(7);
        painter.setAttributes(attributes);
    }
};

/// Where a point lies relative to the centre, turned about z, then y, then x.
Vector<double> turned(Vector<double> v, const Vector<float>& degrees) {
    for (int axis : {2, 1, 0}) {
        const double angle = degrees[axis] * 3.14159265358979 / 180;
        const int i = (axis + 1) % 3, j = (axis + 2) % 3;
        const double a = v[i], b = v[j];
        v[i] = a * std::cos(angle) - b * std::sin(angle);
        v[j] = a * std::sin(angle) + b * std::cos(angle);
    }
    return v;
}

} // namespace

TEST(ViewerCanvasGL, showsTheGroundAndNothingElseWithoutPainters) {
    Scene scene(300, 300);
    BackgroundGL ground;
    ground.setColor(vectorOf<int>({90, 150, 240}));
    EXPECT_EQ(ground.getColor(), vectorOf<int>({90, 150, 240, 255}));
    EXPECT_THROW(ground.setColor(vectorOf<int>({1, 2, 3, 4, 5})), SizeError);
    scene.canvas.setBackground(ground);
    scene.canvas.toggleBoundingBox(true);
    scene.canvas.initializeGL();
    EXPECT_EQ(scene.canvas.getRadius(), 1);
    EXPECT_EQ(scene.canvas.getCenter(), vectorOf<float>({0, 0, 0}));
    const QImage gradient = scene.picture();
    for (int y : {0, 70, 150, 299}) {
        const double top = 1 - (y + 0.5) / 300;
        const auto mixed = [top](int c) { return int(c / 3 + top * (c - c / 3)); };
        EXPECT_TRUE(hasColor(gradient, 5, y, QColor(mixed(90), mixed(150), mixed(240)), 3)) << y;
        EXPECT_EQ(gradient.pixel(5, y), gradient.pixel(295, y));
    }
    ground.setGradientEnabled(false);
    scene.canvas.setBackground(ground);
    const QImage uniform = scene.picture();
    EXPECT_EQ(spotOf(uniform, QColor(90, 150, 240), 1).count, 300 * 300);

    // A new canvas comes up with it.
    ViewerCanvasGL other;
    EXPECT_EQ(other.getBackground().getColor(), vectorOf<int>({90, 150, 240, 255}));
    EXPECT_FALSE(other.getBackground().isGradientEnabled());
}

TEST(ViewerCanvasGL, theFrameIsWhiteOnDarkGroundsAndBlackOnOthers) {
    Scene scene;
    EXPECT_EQ(scene.canvas.getBoundingBoxPainter().getColor(), vectorOf<int>({255, 255, 255}));
    BackgroundGL ground;
    ground.setColor(vectorOf<int>({0, 127, 0}));
    scene.canvas.setBackground(ground);
    EXPECT_EQ(scene.canvas.getBoundingBoxPainter().getColor(), vectorOf<int>({0, 0, 0}));
}

// The expected pixels are those of the projections' formulas, in windows of either shape.
TEST(ViewerCanvasGL, bringsPointsToThePixelsOfTheCamera) {
    Dot red({0, 0, 0}, {255, 0, 0}), green({10, 2, 4}, {0, 255, 0}), blue({3, 8, 1}, {0, 0, 255}),
        yellow({6, 5, 9}, {255, 255, 0});
    const struct {
        Dot* dot;
        QColor color;
    } dots[] = {{&red, Qt::red}, {&green, QColor(0, 255, 0)}, {&blue, Qt::blue}, {&yellow, Qt::yellow}};
    for (const QSize size : {QSize(600, 420), QSize(380, 500)}) {
        Scene scene(size.width(), size.height());
        for (const auto& dot : dots)
            scene.add(dot.dot->painter);
        const double radius = 0.6 * std::sqrt(10.0 * 10 + 8 * 8 + 9 * 9);
        EXPECT_NEAR(scene.canvas.getRadius(), radius, 1e-4);
        const Vector<float> rotation = vectorOf<float>({20, -35, 50});
        for (float strength : {0.0f, 1.0f, 4.0f}) { // 0: orthographic
            ProjectionGL projection;
            if (strength > 0)
                projection.setPerspectiveStrength(strength);
            else
                projection.setOrthographic();
            scene.canvas.setProjection(projection);
            scene.canvas.setRotation(rotation);
            scene.canvas.setZoom(80);
            scene.canvas.setTranslation(vectorOf<int>({6, -4}));
            const double zoom = 0.8, shown = (1 + 1 / zoom) / 100;
            const double px = -6 * shown * radius, py = 4 * shown * radius, r = radius / zoom;
            const QImage picture = scene.picture();
            for (const auto& dot : dots) {
                Vector<double> v = dot.dot->vertices[0].toType<double>();
                v -= vectorOf<double>({5, 4, 4.5});
                v = turned(v, rotation);
                const double eye = (7 - strength) * radius;
                const double scale = strength > 0 ? (eye - radius) / (eye - v[2]) : 1;
                const double side = std::max(size.width(), size.height());
                const double x = size.width() / 2.0 + side / 2 * (v[0] * scale - px) / r;
                const double y = size.height() / 2.0 - side / 2 * (v[1] * scale - py) / r;
                const Spot spot = spotOf(picture, dot.color);
                EXPECT_GT(spot.count, 20);
                EXPECT_NEAR(spot.x, x, 1) << strength;
                EXPECT_NEAR(spot.y, y, 1) << strength;
            }
        }
    }
}

TEST(ViewerCanvasGL, poseAndCameraAreConvertedBothWays) {
    Scene scene;
    Pose pose;
    pose.setRotation(vectorOf<float>({10.25f, -20, 170}));
    pose.setZoom(250);
    pose.setAmbientLight(17);
    pose.setDiffuseLight(200);
    pose.setSpecularLight(255);
    scene.canvas.setPose(pose);
    for (int x : {-100, -33, 0, 7, 100}) {
        pose.setTranslation(vectorOf<int>({x, -x / 2}));
        scene.canvas.setPose(pose);
        const Pose found = scene.canvas.getPose();
        EXPECT_EQ(found.getRotation(), pose.getRotation());
        EXPECT_EQ(found.getTranslation(), pose.getTranslation());
        EXPECT_EQ(found.getZoom(), 250);
        EXPECT_EQ(found.getAmbientLight(), 17);
        EXPECT_EQ(found.getDiffuseLight(), 200);
        EXPECT_EQ(found.getSpecularLight(), 255);
    }
    // To the decimal.
    pose.setXTranslation(-12.625);
    pose.setZoom(33.3);
    pose.setAmbientLight(17.5);
    scene.canvas.setPose(pose);
    EXPECT_EQ(scene.canvas.getPose().getExactXTranslation(), -12.625);
    EXPECT_EQ(scene.canvas.getPose().getExactZoom(), 33.3);
    EXPECT_EQ(scene.canvas.getPose().getExactAmbientLight(), 17.5);
    EXPECT_FLOAT_EQ(ViewerCanvasGL::cameraOf(pose).zoom, 0.333f);
    // Whatever the zoom was before.
    pose.setTranslation(vectorOf<int>({60, 0}));
    pose.setZoom(100);
    scene.canvas.setPose(pose);
    EXPECT_EQ(scene.canvas.getPose().getXTranslation(), 60);

    scene.canvas.setStandardPose2();
    EXPECT_EQ(scene.canvas.getRotation(), vectorOf<float>({0, 90, 0}));
    scene.canvas.setZoom(0);
    EXPECT_GT(scene.canvas.getZoom(), 0);
}

TEST(ViewerCanvasGL, aDragTurnsAboutTheAxesOfTheScreen) {
    Scene scene;
    QSignalSpy poses(&scene.canvas, &ViewerCanvasGL::poseChanged);
    scene.drag(4, 0);
    EXPECT_EQ(scene.canvas.getRotation(), vectorOf<float>({0, 1, 0}));
    EXPECT_EQ(poses.count(), 1);
    scene.canvas.resetPose();
    scene.drag(4, 0, Qt::ShiftModifier);
    EXPECT_EQ(scene.canvas.getRotation(), vectorOf<float>({0, 0, 4}));

    // From a turned scene: the drag's rotation comes before that of the scene, in quarters of a degree.
    scene.canvas.setRotation(vectorOf<float>({30, 40, -70}));
    scene.drag(60, -28);
    const Vector<float> found = scene.canvas.getRotation();
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(found[k] * 4, std::round(found[k] * 4));
    for (int axis = 0; axis < 3; ++axis) {
        Vector<double> v(3);
        v.setCanonical(axis);
        const Vector<double> expected = turned(turned(v, vectorOf<float>({30, 40, -70})), vectorOf<float>({-7, 15, 0}));
        EXPECT_LT(expected.distance(turned(v, found)), 0.01);
    }
}

TEST(ViewerCanvasGL, modifiersMoveAndZoomAndOtherDragsDoNothing) {
    Scene scene(400, 200);
    scene.drag(40, 30, Qt::AltModifier);
    // tx = -0.1, ty = 0.15, in percent of 2; the half is rounded up before the sign.
    EXPECT_EQ(scene.canvas.getPose().getTranslation(), vectorOf<int>({5, -8}));
    scene.drag(20, 99, Qt::ControlModifier);
    EXPECT_NEAR(scene.canvas.getZoom(), 1.15, 1e-5);
    scene.drag(1000, 0, Qt::ControlModifier);
    EXPECT_EQ(scene.canvas.getZoom(), 5);
    scene.drag(-4000, 0, Qt::ControlModifier);
    EXPECT_FLOAT_EQ(scene.canvas.getZoom(), 0.01f);
    scene.mouse(QEvent::MouseButtonDblClick, 5, 5);
    EXPECT_EQ(scene.canvas.getZoom(), 1);
    EXPECT_EQ(scene.canvas.getPose().getTranslation(), vectorOf<int>({0, 0}));

    QSignalSpy poses(&scene.canvas, &ViewerCanvasGL::poseChanged);
    scene.drag(50, 50, Qt::ControlModifier | Qt::ShiftModifier);
    scene.drag(50, 50, Qt::NoModifier, Qt::RightButton);
    EXPECT_EQ(poses.count(), 0);
    EXPECT_EQ(scene.canvas.getRotation(), vectorOf<float>({0, 0, 0}));

    scene.wheel(120);
    EXPECT_NEAR(scene.canvas.getZoom(), 0.85, 1e-5);
    EXPECT_EQ(poses.count(), 1);
    scene.wheel(8000);
    EXPECT_FLOAT_EQ(scene.canvas.getZoom(), 0.01f);
    scene.wheel(-8000);
    EXPECT_EQ(scene.canvas.getZoom(), 5);
}

TEST(ViewerCanvasGL, theFrameStandsAroundTheSceneByItsScaling) {
    Dot low({-5, 0, 2}, {255, 0, 0}), high({5, 4, 10}, {255, 0, 0});
    Scene scene;
    scene.add(low.painter);
    scene.add(high.painter);
    const BoundingBox<float> frame = scene.canvas.getBoundingBoxPainter().getBoundingBox();
    const float low110[] = {-6, -0.4f, 1.2f}, high110[] = {6, 4.4f, 10.8f};
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(frame.min(k), low110[k], 1e-5);
        EXPECT_NEAR(frame.max(k), high110[k], 1e-5);
    }
    scene.canvas.setBoundingBoxScaling(100);
    EXPECT_EQ(scene.canvas.getBoundingBoxPainter().getBoundingBox().getVertex1(), vectorOf<float>({-5, 0, 2}));

    // The frame's left edge, seen from the front: 5 left of the centre, 200 pixels for the radius.
    EXPECT_EQ(spotOf(scene.picture(), Qt::white).count, 0);
    scene.canvas.toggleBoundingBox(true);
    const int left = int(200 - 5 * 200 / scene.canvas.getRadius());
    const QImage picture = scene.picture();
    EXPECT_TRUE(hasColor(picture, left, 200, Qt::white, 130) || hasColor(picture, left - 1, 200, Qt::white, 130));
    EXPECT_TRUE(hasColor(picture, left + 20, 200, Qt::black));

    scene.canvas.removePainter(low.painter);
    scene.canvas.initializeGL();
    EXPECT_EQ(scene.canvas.getCenter(), vectorOf<float>({5, 4, 10}));
    EXPECT_EQ(scene.canvas.getRadius(), 1);
}

TEST(ViewerCanvasGL, transparentPaintersFollowTheOpaqueOnesWhereverTheyStandInTheList) {
    const TriMesh<float> back = squareMesh(4, 0), middle = squareMesh(4, 1), front = squareMesh(4, 2);
    TriMeshPainterGL<float> blue, green, red;
    blue.setShape(back);
    blue.setAttributes(attributesOf(SurfaceDisplayGL, {0, 0, 255}));
    green.setShape(middle);
    green.setAttributes(attributesOf(SurfaceDisplayGL, {0, 255, 0}, 128));
    red.setShape(front);
    red.setAttributes(attributesOf(SurfaceDisplayGL, {255, 0, 0}, 128));
    Scene scene;
    scene.add(red);
    scene.add(blue);
    EXPECT_TRUE(hasColor(scene.picture(), 200, 200, QColor(128, 0, 127)));
    // Blended from the back to the front, whatever the order of the list.
    scene.add(green);
    EXPECT_TRUE(hasColor(scene.picture(), 200, 200, QColor(128, 64, 63)));
    EXPECT_TRUE(hasColor(scene.canvas.grab().toImage(), 200, 200, QColor(128, 64, 63))); // as the window shows it
    // From behind, the opaque square hides them.
    scene.canvas.setRotation(vectorOf<float>({0, 180, 0}));
    EXPECT_TRUE(hasColor(scene.picture(), 200, 200, QColor(0, 0, 255)));
}

// Three surfaces that go through each other in depth: no order of whole surfaces would do.
TEST(ViewerCanvasGL, translucentSurfacesLookRightFromEverySide) {
    const TriMesh<float> core = squareMesh(4, 0);
    using U = unsigned int;
    TriMesh<float> shell =
        meshOf<float>({vectorOf<float>({-4, -4, -3}), vectorOf<float>({4, -4, -3}), vectorOf<float>({4, 4, -3}),
                       vectorOf<float>({-4, 4, -3}), vectorOf<float>({-4, -4, 3}), vectorOf<float>({4, -4, 3}),
                       vectorOf<float>({4, 4, 3}), vectorOf<float>({-4, 4, 3})},
                      {vectorOf<U>({0, 1, 2}), vectorOf<U>({0, 2, 3}), vectorOf<U>({4, 5, 6}), vectorOf<U>({4, 6, 7})});
    shell.computeNormals();
    TriMeshPainterGL<float> red, green;
    red.setShape(shell);
    red.setAttributes(attributesOf(SurfaceDisplayGL, {255, 0, 0}, 128));
    green.setShape(core);
    green.setAttributes(attributesOf(SurfaceDisplayGL, {0, 255, 0}, 128));
    Scene scene;
    scene.add(red);
    scene.add(green);
    for (const bool isPerspective : {false, true}) {
        ProjectionGL projection;
        if (!isPerspective)
            projection.setOrthographic();
        scene.canvas.setProjection(projection);
        for (const float angle : {0.0f, 25.0f, 180.0f, 205.0f}) {
            scene.canvas.setRotation(vectorOf<float>({0, angle, 0}));
            // Red over green over red: 128, then half of it with green, then red again.
            EXPECT_TRUE(hasColor(scene.picture(), 200, 200, QColor(160, 64, 0))) << angle;
        }
    }
    // Colours, and which of them is seen, follow at once.
    green.setAttributes(attributesOf(SurfaceDisplayGL, {0, 0, 255}, 128));
    EXPECT_TRUE(hasColor(scene.picture(), 200, 200, QColor(160, 0, 64)));
    ShapePainterAttributesGL hidden = attributesOf(SurfaceDisplayGL, {0, 0, 255}, 128);
    hidden.setVisibility(false);
    green.setAttributes(hidden);
    EXPECT_TRUE(hasColor(scene.picture(), 200, 200, QColor(192, 0, 0)));
}

TEST(ViewerCanvasGL, aPainterLeavesNothingBehindForTheNext) {
    const TriMesh<float> left = squareMesh(1, 0);
    Vertices<float> dots = verticesOf<float>({{3, 0, 0}});
    TriMeshPainterGL<float> shining;
    shining.setShape(left);
    shining.setAttributes(attributesOf(SurfaceDisplayGL, {255, 0, 0}));
    VerticesPainterGL<float> plain;
    plain.setShape(dots);
    ShapePainterAttributesGL undefined;
    undefined.clear();
    plain.setAttributes(undefined);
    Scene scene;
    scene.add(shining);
    scene.add(plain);
    // White and of one pixel, which may lie across four.
    const int count = spotOf(scene.picture(), Qt::white, 200).count;
    EXPECT_GE(count, 1);
    EXPECT_LE(count, 4);
}

TEST(ViewerCanvasGL, aDragPreparesNothing) {
    TriMesh<float> square = squareMesh(2, 0);
    TriMeshPainterGL<float> painter;
    painter.setShape(square);
    painter.setAttributes(attributesOf(SurfaceDisplayGL, {0, 255, 0}));
    Scene scene;
    scene.add(painter);
    const int before = spotOf(scene.picture(), QColor(0, 255, 0)).count;
    for (int i = 0; i < 4; ++i)
        square[i] *= 0.5f; // seen only when the painter looks at the shape again
    scene.drag(0, 0);
    EXPECT_EQ(spotOf(scene.picture(), QColor(0, 255, 0)).count, before);
    painter.setShape(square);
    EXPECT_NEAR(spotOf(scene.picture(), QColor(0, 255, 0)).count, before / 4, before / 40);
}

TEST(ViewerCanvasGL, aSnapshotIsThePictureAndAFailureIsTold) {
    Scene scene(320, 240);
    Dot dot({0, 0, 0}, {255, 0, 0});
    scene.add(dot.painter);
    const TemporaryFolder folder;
    const QString file = QString::fromStdString(folder.file("picture.png"));
    {
        ModalScript user;
        user.thenChoose({file});
        scene.canvas.snapshot();
        user.thenReject();
        scene.canvas.snapshot();
        EXPECT_EQ(user.seen[0], "Enter output filename");
    }
    const QImage saved(file);
    EXPECT_EQ(saved.size(), QSize(320, 240));
    EXPECT_EQ(saved.convertToFormat(QImage::Format_RGB32), scene.picture());

    const QString nowhere = QString::fromStdString(folder.file("gone/picture.png"));
    ModalScript user;
    user.thenChoose({nowhere});
    user.thenClick("OK");
    scene.canvas.snapshot();
    EXPECT_EQ(user.seen.back(), ": Could not write file\n\n" + nowhere.toStdString());
}

TEST(ViewerCanvasGL, theFittingPoseLetsTheShapesFillThePicture) {
    // Not symmetric: without being moved it could not fill the picture.
    const TriMesh<float> shape = meshOf<float>({vectorOf<float>({-5, 0, 2}), vectorOf<float>({5, 4, 10}),
                                                vectorOf<float>({-5, 4, 10}), vectorOf<float>({0, 0, 12})},
                                               {vectorOf<unsigned int>({0, 1, 2}), vectorOf<unsigned int>({0, 1, 3})});
    TriMeshPainterGL<float> painter;
    painter.setShape(shape);
    painter.setAttributes(attributesOf(SurfaceDisplayGL, {255, 0, 0}));
    for (const QSize size : {QSize(600, 240), QSize(240, 600)}) {
        Scene scene(size.width(), size.height());
        EXPECT_EQ(scene.canvas.fittingPose().getZoom(), 100); // of nothing
        scene.add(painter);
        for (bool perspective : {false, true}) {
            ProjectionGL projection;
            if (!perspective)
                projection.setOrthographic();
            scene.canvas.setProjection(projection);
            scene.canvas.setRotation(vectorOf<float>({20, 65, -30}));
            const Pose fitting = scene.canvas.fittingPose();
            scene.canvas.setPose(fitting);
            EXPECT_EQ(scene.canvas.getPose().getTranslation(), fitting.getTranslation());
            scene.setLights(255, 0, 0);
            const QImage picture = scene.picture();
            int margins[4] = {1000, 1000, 1000, 1000}; // left, top, right, bottom
            for (int y = 0; y < picture.height(); ++y)
                for (int x = 0; x < picture.width(); ++x)
                    if (!hasColor(picture, x, y, Qt::black, 20)) {
                        const int distances[] = {x, y, picture.width() - 1 - x, picture.height() - 1 - y};
                        for (int k = 0; k < 4; ++k)
                            margins[k] = std::min(margins[k], distances[k]);
                    }
            for (const int margin : margins)
                EXPECT_GE(margin, 1);
            EXPECT_LE(std::min(margins[0] + margins[2], margins[1] + margins[3]), 40);
            EXPECT_NEAR(margins[0], margins[2], 16);
            EXPECT_NEAR(margins[1], margins[3], 16);
        }
    }
}

TEST(ViewerCanvasGL, edgesAreSmoothInTheSnapshotToo) {
    const TriMesh<float> square = squareMesh(4, 0);
    TriMeshPainterGL<float> painter;
    painter.setShape(square);
    painter.setAttributes(attributesOf(SurfaceDisplayGL, {255, 0, 0}));
    Scene scene;
    scene.add(painter);
    scene.canvas.setRotation(vectorOf<float>({0, 0, 20}));
    const TemporaryFolder folder;
    const QString file = QString::fromStdString(folder.file("picture.png"));
    ASSERT_TRUE(scene.canvas.saveSnapshot(file));
    const QImage saved(file);
    int between = 0;
    for (int y = 0; y < saved.height(); ++y)
        for (int x = 0; x < saved.width(); ++x)
            between += saved.pixelColor(x, y).red() > 30 && saved.pixelColor(x, y).red() < 225;
    EXPECT_GT(between, 300); // four sides of 190 pixels
}

} // namespace vorlen
