#pragma once

#include "document/pose.h"
#include "numerics/matrix.h"
#include "numerics/vector.h"
#include "ui/viewer/backgroundgl.h"
#include "ui/viewer/boundingboxpaintergl.h"
#include "ui/viewer/projectiongl.h"
#include "ui/viewer/translucentscenegl.h"
#include "ui/viewer/viewercamera.h"

#include <QImage>
#include <QOpenGLWidget>
#include <QPoint>

#include <optional>
#include <set>
#include <vector>

namespace vorlen {

/// Shows a list of painters inside their bounding box, turned, moved and zoomed by the mouse.
///
/// Painters are seen, not owned: whoever added one removes it before deleting it. A change of the list, or of what a
/// painter draws, shows after initializeGL() and repaint(). Turning, moving and zooming change matrices only.
///
/// The camera looks along -z. With R the scene radius, 0.6 of the diagonal of the painters' box, a perspective eye
/// stands eyeDistance() * R before the box's centre, and zoom 1 shows 2 R across the larger side of the window; the
/// shorter side crops the picture. The light stands behind the viewer.
///
/// Decisions: each painter starts from white, unshining material, points and lines of one pixel, and leaves nothing
/// behind, so that the picture of one does not depend on the others. Boxes of the plane lie at z 0. A scene without
/// extent, as a single point, has radius 1. A zoom below 1 percent counts as 1 percent. A painter that fails is left
/// out of the picture, with a warning on the standard error stream. A scene that takes long to draw, as large ones do
/// without a graphics card, loses the smoothing of its edges during a drag and has it back at the release.
class ViewerCanvasGL : public QOpenGLWidget {
    Q_OBJECT

public:
    explicit ViewerCanvasGL(QWidget* parent = nullptr);

    const std::vector<PainterGL<float>*>& getPainters() const { return __painters; }
    void setPainters(const std::vector<PainterGL<float>*>& list);
    void addPainter(PainterGL<float>& painter);
    /// Removes every entry of this painter.
    void removePainter(PainterGL<float>& painter);
    void removePainters();

    /// The camera, rounded to thousandths of a pose's units. The translation is in percent of what the zoom shows.
    Pose getPose() const;
    /// One repaint. The picture does not depend on the camera before.
    void setPose(const Pose& pose);

    /// Sets the OpenGL state and takes the scene's box from the painters. May be called at any time, before the first
    /// show too.
    void initializeGL() override;
    /// Takes centre, radius and frame of the scene from the painters.
    void updateBoundingBox();

    const BackgroundGL& getBackground() const { return __background; }
    const ProjectionGL& getProjection() const { return __projection; }
    const BoundingBoxPainterGL<float>& getBoundingBoxPainter() const { return __boundingBoxPainter; }
    const Vector<float>& getCenter() const { return __center; }
    float getRadius() const { return __radius; }
    /// The present pose with the translation and the zoom that let the shapes fill the picture, a narrow margin apart.
    /// The frame around them may reach out of the picture. Without shapes that of zoom 1 in the middle.
    Pose fittingPose() const;
    /// In degrees about x, y, z.
    const Vector<float>& getRotation() const { return __rotation; }
    float getZoom() const { return __zoom; }

    /// What the mouse does, in pixels; each tells the new pose and repaints. The angles come out as multiples of a
    /// quarter of a degree.
    ///
    /// A quarter of a degree for each pixel: a about the screen's horizontal axis, b about its vertical one.
    void combineXYRotation(int a, int b);
    /// A degree for each pixel, about the line of sight.
    void combineZRotation(int a);
    void translateBy(int dx, int dy);
    /// Adds to the zoom, which stays within 0.01 and 5.
    void zoomBy(float difference);

    ViewerCamera getCamera() const;
    /// The camera of a pose, without its lights.
    static ViewerCamera cameraOf(const Pose& pose);

    /// The scene as the camera sees it, drawn beside the window in any size: what the window would show lies within the
    /// picture, in its middle. Null where the canvas was not shown yet, and for a size that OpenGL can't draw.
    QImage renderFrame(const QSize& size, const ViewerCamera& camera);

    /// Shows a painter, as all at first, or leaves it out of the picture; its box counts all the same.
    void setPainterShown(const PainterGL<float>& painter, bool shown);
    bool isPainterShown(const PainterGL<float>& painter) const { return !__hidden.contains(&painter); }

    /// A place of the world that is marked by three lines along the axes, and by a point that is seen through all; none
    /// for none. Not part of the scene's box, nor of frames drawn beside the window.
    void setMark(const std::optional<Vector<float>>& place);
    const std::optional<Vector<float>>& getMark() const { return __mark; }

    /// The place of the world that is seen nearest to the viewer at a position of the widget, or within 3 pixels of it.
    /// None where nothing is, and where the canvas was not shown yet.
    std::optional<Vector<float>> placeAt(const QPoint& position);

    /// Writes the picture as PNG; the size is that of the canvas in pixels of the screen. False when the file cannot be
    /// written, for the reason that is told; an old file of that name then stays as it was.
    bool saveSnapshot(const QString& file, QString* reason = nullptr);

    QSize sizeHint() const override;

public slots:
    /// Throws SizeError unless there are three angles.
    void setRotation(const Vector<float>& rotation);
    /// Throws SizeError unless there are two components.
    void setTranslation(const Vector<int>& translation);
    void setZoom(int zoom);
    void setBoundingBoxScaling(int scaling);
    void setAmbientLight(int light);
    void setDiffuseLight(int light);
    void setSpecularLight(int light);
    /// Camera of zoom 1 without rotation and translation; the lights stay.
    void resetPose();
    void setStandardPose1();
    void setStandardPose2();
    void setStandardPose3();
    void setRevStandardPose1();
    void setRevStandardPose2();
    void setRevStandardPose3();
    /// Keeps the background in the settings as well, for canvases to come.
    void setBackground(const BackgroundGL& background);
    void setProjection(const ProjectionGL& projection);
    void toggleBoundingBox(bool shown);
    /// Asks for a file name and saves the picture.
    void snapshot();

signals:
    void rotationChanged(const Vector<float>& rotation);
    void translationChanged(const Vector<int>& translation);
    void zoomChanged(int zoom);
    void poseChanged(const Pose& pose);
    /// The left button, without a modifier, was pressed and released here.
    void clicked(const QPoint& position);

protected:
    void resizeGL(int width, int height) override;
    void paintGL() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void __paint(bool smooth);
    void __restoreBackground();
    void __applyBackground(const BackgroundGL& background);
    void __scaleBoundingBox();
    void __initializeState();
    void __setViewport();
    void __updateGLProjection();
    void __updateGLLight();
    void __loadCamera() const;
    void __draw(const PainterGL<float>& painter) const;
    void __combine(const Matrix<float>& turn);
    void __applyTranslation(double x, double y);
    void __applyZoom(double zoom);
    Vector<int> __translation() const;

    void __drawTranslucent() const;
    void __setCamera(const ViewerCamera& camera);
    void __clipUnrevealed() const;
    void __drawMark() const;
    std::optional<Vector<float>> __placeDrawnAt(const QPoint& pixel, const QSize& frame) const;

    std::vector<PainterGL<float>*> __painters;
    std::set<const PainterGL<float>*> __hidden;
    TranslucentSceneGL __translucent;
    Vector<float> __center;
    float __radius = 1.0f;
    BoundingBox<float> __sceneBox;
    int __boundingBoxScaling = 110;
    bool __projectionDirty = true;
    bool __lightDirty = true;
    BackgroundGL __background;
    ProjectionGL __projection;
    BoundingBoxPainterGL<float> __boundingBoxPainter;
    Vector<float> __rotation;
    float __tx = 0;
    float __ty = 0;
    float __zoom = 1.0f;
    float __revealed = 1.0f;
    QSize __frameSize; ///< in pixels, of the frame that is drawn beside the window; empty otherwise
    std::optional<Vector<float>> __mark;
    QPoint __pressed;
    bool __moving = false;
    bool __coarse = false; ///< edges are not smoothed, as the present drag would be slow
    int __lastX = 0;
    int __lastY = 0;
    float __ambient = 80 / 255.0f;
    float __diffuse = 128 / 255.0f;
    float __specular = 128 / 255.0f;
};

} // namespace vorlen
