#pragma once

#include <cstdint>
#include <memory>

#include <QMutex>
#include <QOpenGLWidget>
#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QString>

#include "images/rasters/greyscale.h"
#include "numerics/vector.h"
#include "ui/slices/imagetextures.h"

namespace vorlen {

class Image;
class SectionView;
class TiledSection;
class VRLImageProxy;

/// Paints an image, or a part of it, at a zoom. Knows zoom and view; all input is left to event filters.
///
/// The view is a rectangle of whole image pixels. Its top left corner lies in the top left corner of the canvas, but
/// where less is seen than the canvas has room for, that lies in the middle (imagePlace()). In best fit mode the whole
/// image is seen and every change of size fits it again. A zoom of 1 shows the larger side of an image pixel as one
/// unit of the widget, the other side as its share of it (betaWidth(), betaHeight()).
///
/// The pixels are drawn from textures, which are made once for what is seen of an image and a contrast. The proxy's
/// smallest image that is larger than what is seen is taken. Where there is none of about that size (yet), only every
/// n-th pixel is taken, so that a paint never costs more than the screen has pixels.
///
/// Where the proxy's image is the overview of a section too large for memory, the tiles of what is seen are drawn over
/// it, as they come.
///
/// Decisions: an aspect ratio that is not above 0 counts as 1. The background is opaque, because a composed canvas with
/// an alpha below 1 may show what lies behind the window. Sizes in OpenGL calls are multiplied by the pixel density;
/// everything else is in units of the widget. Repaints are asked for by update(), so that many changes make one paint.
class VRLImageWidgetCanvas : public QOpenGLWidget {
    Q_OBJECT

public:
    explicit VRLImageWidgetCanvas(QWidget* parent = nullptr);
    ~VRLImageWidgetCanvas() override;

    /// Forgets the view: origin (0, 0), zoom 1, best fit. The proxy and the contrast stay.
    virtual void clear();

    /// The proxy of a new canvas, made by new.
    virtual VRLImageProxy* newImageProxy() const;

    /// With the context current: paints the image, or the notice where there is no image, and reports the errors of
    /// OpenGL on the standard error stream.
    virtual void paintImageGL();

    /// Makes the proxy at the first call.
    VRLImageProxy& getImageProxy();

    /// Width and height of an image pixel as shares of the larger of both.
    float betaWidth() const;
    float betaHeight() const;

    bool isBestFitMode() const { return __bestFitMode; }
    float getZoomFactor() const { return __zoomFactor; }

    /// Keeps the mode. A zoom that is not above 0 is ignored.
    void setZoomFactor(float zoomFactor);

    /// Leaving the mode takes the zoom to a neighbour in the sequence ..., 0.25, 0.5, 1, 2, 3, ...: to the next one
    /// from the present zoom up with roundUp, else to the next one down. Nothing when the mode is on, or off, already.
    void setBestFitMode(bool on, bool roundUp);

    /// Fits the image into the canvas, whatever the mode. Nothing without the size of an image.
    void setBestFitZoomFactor();

    /// In image pixels, at most the image.
    QSize computeMaxViewSize() const;
    QPoint computeMaxViewOrigin() const;

    QPoint getViewOrigin() const { return __viewOrigin; }
    /// Moves the origin into its range.
    void setViewOrigin(const QPoint& origin);
    void rectifyViewOrigin();
    QRect currentView() const;
    void setViewCenter(const QPoint& center);
    QPoint viewCenter() const;

    /// Where the view's top left corner lies on the canvas: on a pixel of the screen, from (0, 0) on.
    QPointF imagePlace() const;

    /// The image pixel at a position of the widget, which may lie outside of the image.
    QPoint convertToImagePosition(const QPoint& position) const;
    Vector<int> convertToVectori(const QPoint& position) const;
    /// The point of the image at a position of the widget, with the corner of the first pixel at (0, 0).
    QPointF convertToImagePoint(const QPointF& position) const;
    /// The position of such a point on the widget.
    QPointF convertToPosition(const QPointF& point) const;

    /// The section that is shown where the image is the overview of one, and it is open already; else null.
    std::shared_ptr<TiledSection> getSection() const;

    float getBlack() const { return __black; }
    float getWhite() const { return __white; }

    /// How images of 16 bits and of real numbers are shown; black and white are fractions of its range then.
    void setGreyScale(const GreyScale& scale);
    const GreyScale& getGreyScale() const { return __greyScale; }

    /// What is shown in the middle of the canvas as long as there is no image; nothing for an empty text.
    void setNotice(const QString& notice);
    const QString& getNotice() const { return __notice; }

    /// What images are drawn from; for tests and measurements.
    const ImageTextures& getTextures() const { return __textures; }

    /// Clears the canvas and sets up coordinates of the widget with y from 0 at the top to -height at the bottom, and
    /// the state that drawing pixels needs.
    void beforePaintGL();

public slots:
    /// The gray levels, as fractions of the whole range, that are shown as black and as white.
    void setBlackAndWhite(const float black, const float white);

    /// Fits the view to what the proxy has now, and repaints.
    void imageProxyChange();

protected:
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;

    /// The image that is painted at this zoom; null without one.
    const Image* paintedImage() const;
    /// Another number after each image that arrives.
    std::uint64_t getImageRevision() const { return __imageRevision; }

    /// What painters draw on in paintGL(): the canvas, in units of the widget.
    std::unique_ptr<QPaintDevice> newPaintDevice() const;

private:
    QSize originalSize() const;
    float aspectRatio() const;
    void paintImageGL(const Image& image, const std::shared_ptr<const Image>& owner, const QRectF& place);
    void paintSection(const Image& overview);
    void updateSection();
    void paintNotice();
    GreyScale shownScale() const;
    void forgetTextures();

    VRLImageProxy* __imageProxy = nullptr; // a child
    QPoint __viewOrigin{0, 0};
    float __zoomFactor = 1;
    bool __bestFitMode = true;
    float __black = 0;
    float __white = 1;
    GreyScale __greyScale;
    QString __notice;
    std::uint64_t __imageRevision = 0;
    std::unique_ptr<SectionView> __section; // of an image that is an overview only
    ImageTextures __textures;
    QMetaObject::Connection __contextGoes;
    QMutex __mutex; // held while the image is painted
};

} // namespace vorlen
