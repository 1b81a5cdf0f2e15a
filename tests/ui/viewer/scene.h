#pragma once

#include <cmath>
#include <initializer_list>

#include <QApplication>
#include <QImage>
#include <QMouseEvent>
#include <QSettings>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include "support/testmeshes.h"
#include "ui/viewer/shapepaintergl.h"
#include "ui/viewer/viewercanvasgl.h"

namespace vorlen {

/// A canvas in a real window: orthographic, black ground, no frame, and only ambient light, so that lit surfaces appear
/// in their plain colour.
class Scene {
public:
    explicit Scene(int width = 400, int height = 400) {
        QSettings().clear();
        canvas.resize(width, height);
        BackgroundGL black;
        black.setColor(vectorOf<int>({0, 0, 0}));
        black.setGradientEnabled(false);
        canvas.setBackground(black);
        ProjectionGL orthographic;
        orthographic.setOrthographic();
        canvas.setProjection(orthographic);
        canvas.toggleBoundingBox(false);
        setLights(255, 0, 0);
        canvas.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&canvas));
    }

    void setLights(int ambient, int diffuse, int specular) {
        canvas.setAmbientLight(ambient);
        canvas.setDiffuseLight(diffuse);
        canvas.setSpecularLight(specular);
    }

    void add(PainterGL<float>& painter) {
        canvas.addPainter(painter);
        canvas.initializeGL();
    }

    QImage picture() { return canvas.grabFramebuffer().convertToFormat(QImage::Format_RGB32); }

    void mouse(QEvent::Type type, int x, int y, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
               Qt::MouseButton button = Qt::LeftButton) {
        const bool moves = type == QEvent::MouseMove;
        QMouseEvent event(type, QPointF(x, y), canvas.mapToGlobal(QPointF(x, y)), moves ? Qt::NoButton : button,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : button, modifiers);
        QApplication::sendEvent(&canvas, &event);
    }

    void drag(int dx, int dy, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
              Qt::MouseButton button = Qt::LeftButton) {
        mouse(QEvent::MouseButtonPress, 100, 100, modifiers, button);
        mouse(QEvent::MouseMove, 100 + dx, 100 + dy, modifiers, button);
        mouse(QEvent::MouseButtonRelease, 100 + dx, 100 + dy, modifiers, button);
    }

    void wheel(int delta) {
        QWheelEvent event(QPointF(50, 50), canvas.mapToGlobal(QPointF(50, 50)), QPoint(), QPoint(0, delta),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&canvas, &event);
    }

    ViewerCanvasGL canvas;
};

inline ShapePainterAttributesGL attributesOf(DisplayModeGL mode, std::initializer_list<int> color,
                                             float transparency = 255) {
    ShapePainterAttributesGL attributes;
    attributes.setDisplayMode(mode);
    attributes.setColor(vectorOf<int>(color));
    attributes.setTransparency(transparency);
    return attributes;
}

/// The color's channels at a pixel differ by no more than the tolerance.
inline bool hasColor(const QImage& picture, int x, int y, QColor color, int tolerance = 2) {
    const QColor found = picture.pixelColor(x, y);
    return std::abs(found.red() - color.red()) <= tolerance && std::abs(found.green() - color.green()) <= tolerance &&
           std::abs(found.blue() - color.blue()) <= tolerance;
}

/// Pixels of a color and the middle of them.
struct Spot {
    int count = 0;
    double x = 0;
    double y = 0;
};

inline Spot spotOf(const QImage& picture, QColor color, int tolerance = 60) {
    Spot spot;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (hasColor(picture, x, y, color, tolerance)) {
                ++spot.count;
                spot.x += x + 0.5;
                spot.y += y + 0.5;
            }
    if (spot.count > 0) {
        spot.x /= spot.count;
        spot.y /= spot.count;
    }
    return spot;
}

/// The square of the given half side about the z axis, at height z, facing up.
inline TriMesh<float> squareMesh(float half, float z) {
    using U = unsigned int;
    TriMesh<float> mesh = meshOf<float>({vectorOf<float>({-half, -half, z}), vectorOf<float>({half, -half, z}),
                                         vectorOf<float>({half, half, z}), vectorOf<float>({-half, half, z})},
                                        {vectorOf<U>({0, 1, 2}), vectorOf<U>({0, 2, 3})});
    mesh.computeNormals();
    return mesh;
}

} // namespace vorlen
