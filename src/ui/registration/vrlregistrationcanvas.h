#pragma once

#include <memory>
#include <vector>

#include <QFrame>
#include <QImage>
#include <QPointF>

#include "progress/progresssubject.h"
#include "ui/registration/imagetransparencymode.h"
#include "ui/registration/sectionlandmarks.h"
#include "ui/registration/sectionoverlay.h"
#include "ui/slices/canvasmode.h"
#include "ui/slices/vrlwmconverter.h"
#include "values/registration.h"

class QTimer;

namespace vorlen {

class Image;
class StackSlice;
class VRLPainter;

/// Shows a slice, the foreground, over the one before it, the background, at one physical scale, with the items on
/// both. Dragged with the left button the foreground is shifted, with the right one turned.
///
/// The registration of the foreground is kept in pixels of the display, and told outside in pixels of the image. A drag
/// turns by whole tenths of a degree. Slices are seen, not owned. Errors of reading leave setSlice(), setScale(),
/// setCanvasMode() and refresh(); no image is shown then.
///
/// Decisions: images are smoothed by how many of their own pixels one of the display stands for, whatever a pixel
/// measures. Around the sections is the palette's base, so that it does not dazzle among dark windows; a section
/// that lies beside the other is mixed with white all the same. Drags take effect while the left or the right button is
/// down.
class VRLRegistrationCanvas : public QFrame, public ProgressSubject {
    Q_OBJECT

public:
    explicit VRLRegistrationCanvas(QWidget* parent = nullptr);
    ~VRLRegistrationCanvas() override;

    /// Shows the slice over the one before it, with the registration that it has.
    void setSlice(StackSlice& slice);
    StackSlice* foregroundSlice() const { return __foregroundSlice; }
    StackSlice* backgroundSlice() const { return __backgroundSlice; }

    /// In pixels of the foreground's image.
    void setRegistration(const Registration& registration);
    /// The same in pixels of the display.
    const Registration& modelRegistration() const { return __modelRegistration; }

    /// Largest share of the desktop that an image takes, in percent.
    void setScale(unsigned int scale);
    unsigned int getScale() const { return __scale; }
    /// The largest scale, in tens and not above the present one, at which the slice and the one before it are seen
    /// whole; 10 when there is none.
    unsigned int fittingScale(const StackSlice& slice) const;

    void setTransparencyMode(ImageTransparencyMode mode);
    void setFramesEnabled(bool enabled);
    void setCanvasMode(CanvasMode mode);
    CanvasMode getCanvasMode() const { return __canvasMode; }

    /// Blinking shows the two sections in turns, twice a second.
    void setComparison(SectionComparison comparison);
    SectionComparison getComparison() const { return __comparison; }
    void setBlinking(bool blinking);
    bool isBlinking() const;

    /// Forgets slices and images; shows nothing right away, if asked, else when it is painted next.
    void clear(bool repaintNow);

    /// Reads the images anew.
    void refresh();

    /// Whether drags move the foreground.
    void setEditable(bool editable);

    /// While landmarks are set a click sets one in place of starting a drag.
    void setLandmarkMode(bool on);
    bool isLandmarkMode() const { return __landmarkMode; }
    void setLandmarks(const std::vector<Landmark>& landmarks);

    /// From pixels of the images' files to places on the canvas, and back.
    QPointF backgroundToCanvas(QPointF pixel) const;
    QPointF foregroundToCanvas(QPointF pixel) const;
    QPointF canvasToBackground(QPointF place) const;
    QPointF canvasToForeground(QPointF place) const;

    /// What was painted last of the images, and where they lay on it; the size of contentsRect().
    const QImage& displayImage() const { return __display; }
    SectionPlaces places() const;

signals:
    /// By the mouse, in pixels of the foreground's image.
    void registrationChanged(const Registration& registration);
    /// A click in landmark mode, on the canvas.
    void landmarkClicked(QPointF place);
    /// A notch of the wheel, away from the user or towards.
    void biggerWanted();
    void smallerWanted();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    enum DragMode { ShiftDrag = 0, RotateDrag = 1 };

    void updateImages();
    void updateConverters();
    std::unique_ptr<Image> loadImage(const StackSlice& slice, const char* name, const VRLWMConverter& converter);
    void updateDisplay();
    void changed();
    void drawImages(QPainter& painter);
    void drawFrames(QPainter& painter) const;
    void drawItems();
    void drawItemsOf(VRLPainter& painter, const StackSlice& slice) const;
    void drawLandmarks(QPainter& painter) const;
    bool shows(SectionComparison side) const;
    Registration toWorld(const Registration& model) const;
    Registration toModel(const Registration& world) const;
    void rotateBy(const QPoint& position);

    StackSlice* __foregroundSlice = nullptr;
    StackSlice* __backgroundSlice = nullptr;
    VRLWMConverter __foregroundConverter, __backgroundConverter;
    double __foregroundStep[2] = {1, 1}; // pixels of the display for one of the image, to the right and down
    double __backgroundStep[2] = {1, 1};
    std::unique_ptr<Image> __foregroundImage, __backgroundImage;
    QImage __display;
    QImage __onGround; // the same as it is seen on a ground that is not white
    Registration __modelRegistration;
    CanvasMode __canvasMode = AllgroundMode;
    unsigned int __scale = 80;
    bool __framesEnabled = false;
    TransparencyMap __transparencyMap;
    SectionComparison __comparison = SectionComparison::Overlay;
    QTimer* __blinkTimer;
    double __rotationAngle = 0; // as it is dragged, not yet in tenths
    DragMode __dragMode = ShiftDrag;
    QPoint __lastPosition;
    int __wheel = 0; // that has not made a notch yet, in eighths of a degree
    bool __updating = false;
    bool __displayIsOld = true;
    bool __editable = true;
    bool __landmarkMode = false;
    std::vector<Landmark> __landmarks;
};

} // namespace vorlen
